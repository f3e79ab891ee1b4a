#include "oci/plsql/library.h"
#include "oci/plsql/parser/parser.h"

#include "oci/plsql/runtime.h"

namespace oci::plsql {

std::string Parser::name_of_unit() {
    m_tokens.take();
    m_tokens.accept("BODY");
    sql::Name last = name();
    if (m_tokens.accept(".")) last = name();
    m_tokens.rewind(0);
    return text(last);
}

void Parser::trigger_event(TriggerHead& head) {
    if (m_tokens.accept("INSERT")) {
        head.inserts = true;
    } else if (m_tokens.accept("DELETE")) {
        head.removes = true;
    } else if (m_tokens.accept("UPDATE")) {
        head.updates = true;
        if (!m_tokens.accept("OF")) return;
        do {
            head.columns.push_back(text(name()));
        } while (m_tokens.accept(","));
    } else {
        unsupported("a trigger on anything but INSERT, UPDATE and DELETE");
    }
}

void Parser::trigger_head(TriggerHead& head) {
    using Timing = TriggerHead::Timing;
    m_tokens.take();
    name();
    if (m_tokens.accept(".")) name();
    if (!m_tokens.at("BEFORE") && !m_tokens.at("AFTER")) unsupported("INSTEAD OF and other kinds of triggers");
    head.timing = m_tokens.take().is("BEFORE") ? Timing::before : Timing::after;
    do {
        trigger_event(head);
    } while (m_tokens.accept("OR"));
    expect("ON");
    if (m_tokens.at("NESTED") || m_tokens.at("SCHEMA") || m_tokens.at("DATABASE")) unsupported("this kind of trigger");
    head.table = text(name());
    if (m_tokens.accept(".")) head.table = text(name());
    if (m_tokens.accept("REFERENCING")) {
        while (m_tokens.at("NEW") || m_tokens.at("OLD")) {
            std::string& called = m_tokens.take().is("NEW") ? head.new_name : head.old_name;
            m_tokens.accept("AS");
            called = text(name());
        }
    }
    if (m_tokens.accept("FOR", "EACH")) {
        expect("ROW");
        head.for_each_row = true;
    }
    if (m_tokens.at("FOLLOWS") || m_tokens.at("PRECEDES")) unsupported("an order of triggers");
    head.enabled = !m_tokens.accept("DISABLE");
    m_tokens.accept("ENABLE");
}

void Parser::trigger_scope(const TriggerHead& head) {
    m_routine->slots = TriggerHead::slots;
    open_scope({});
    const char* const events[] = {"INSERTING", "UPDATING", "DELETING"};
    for (unsigned i = 0; i < std::size(events); ++i) {
        Declaration& event = m_scope->names[events[i]];
        event.type = boolean_type();
        event.slot = TriggerHead::event_slot + i;
        event.writable = false;
    }
    if (!head.for_each_row) return;
    const TypePtr row = row_type(Path{{head.table}}, 0);
    Declaration& fresh = m_scope->names[head.new_name];
    fresh.type = row;
    fresh.slot = TriggerHead::new_slot;
    fresh.writable = head.timing == TriggerHead::Timing::before;
    Declaration& old = m_scope->names[head.old_name];
    old.type = row;
    old.slot = TriggerHead::old_slot;
    old.writable = false;
}

void Parser::trigger() {
    m_unit.trigger = std::make_unique<TriggerHead>();
    TriggerHead& head = *m_unit.trigger;
    m_unit.routines.emplace_back();
    m_routine = &m_unit.routines.back();
    m_routine->unit = &m_unit;
    m_routine->name = m_unit.name;
    trigger_head(head);
    // In the block :NEW.x is the field x of the record NEW.
    const auto from = m_tokens.position();
    for (; !m_tokens.at_end(); m_tokens.take()) {
        const sql::Token token = m_tokens.peek();
        const bool row =
            token.kind == sql::Token::Kind::placeholder && (token.text == head.new_name || token.text == head.old_name);
        if (row) m_unit.text[token.at] = ' ';
    }
    m_unit.placeholders.clear();
    m_tokens.rewind(from);
    trigger_scope(head);
    if (m_tokens.accept("WHEN")) {
        expect("(");
        head.when = condition();
        expect(")");
    }
    if (m_tokens.at("COMPOUND")) unsupported("compound triggers");
    open_scope({});
    if (m_tokens.accept("CALL")) {
        const unsigned at = line();
        m_routine->body.statements.push_back(std::make_unique<Evaluation>(at, binder().call_statement(tree())));
        m_tokens.accept(";");
    } else {
        if (m_tokens.accept("DECLARE")) declarations(m_routine->body);
        body(m_routine->body, m_unit.name);
        expect(";");
    }
    m_tokens.accept("/");
    if (!m_tokens.at_end()) unexpected("end-of-file");
    m_routine->defined = true;
}

} // namespace oci::plsql
