#include "oci/plsql/library.h"
#include "oci/plsql/parser/parser.h"

#include "oci/plsql/runtime.h"

namespace oci::plsql {
namespace {

constexpr std::size_t section_count = 4; ///< of a compound trigger

} // namespace

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
    const bool compound = m_tokens.at("FOR");
    if (!compound && !m_tokens.at("BEFORE") && !m_tokens.at("AFTER")) unsupported("INSTEAD OF triggers");
    head.timing = m_tokens.take().is("AFTER") ? Timing::after : Timing::before;
    if (compound) head.sections.resize(section_count);
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
    trigger_order(head);
    head.enabled = !m_tokens.accept("DISABLE");
    m_tokens.accept("ENABLE");
}

void Parser::trigger_order(TriggerHead& head) {
    if (m_tokens.at("PRECEDES")) unsupported("PRECEDES");
    if (!m_tokens.accept("FOLLOWS")) return;
    do {
        head.follows.emplace_back(path().parts.back());
    } while (m_tokens.accept(","));
}

void Parser::trigger_scope(TriggerHead& head) {
    m_routine->slots = TriggerHead::slots;
    open_scope({});
    const char* const events[] = {"INSERTING", "UPDATING", "DELETING"};
    for (unsigned i = 0; i < std::size(events); ++i) {
        Declaration& event = m_scope->names[events[i]];
        event.type = boolean_type();
        event.slot = TriggerHead::event_slot + i;
        event.writable = false;
    }
    if (head.for_each_row) trigger_rows(head, head.timing == TriggerHead::Timing::before);
}

/// What :NEW and :OLD are.
void Parser::trigger_rows(TriggerHead& head, bool before) {
    const TypePtr row = head.row = row_type(Path{{head.table}}, 0);
    Declaration& fresh = m_scope->names[head.new_name];
    fresh.type = row;
    fresh.slot = TriggerHead::new_slot;
    fresh.writable = before;
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
        const bool fresh = token.text == head.new_name;
        if (token.kind != sql::Token::Kind::placeholder || (!fresh && token.text != head.old_name)) continue;
        if (!head.for_each_row && head.sections.empty()) throw OracleError(error::new_or_old_in_table_trigger);
        const bool assigned = m_tokens.peek(1).is(".") && m_tokens.peek(3).is(":=");
        if (assigned && !fresh) throw OracleError(error::cannot_change_old);
        if (assigned && head.timing == TriggerHead::Timing::after) throw OracleError(error::cannot_change_new);
        m_unit.text[token.at] = ' ';
    }
    m_unit.placeholders.clear();
    m_tokens.rewind(from);
    trigger_scope(head);
    if (m_tokens.accept("WHEN")) {
        if (!head.sections.empty()) unsupported("WHEN of a compound trigger");
        expect("(");
        head.when = condition();
        expect(")");
    }
    m_unit.lines_before = line() - 1;
    open_scope({});
    head.sections.empty() ? trigger_block() : compound_trigger(head);
    m_tokens.accept("/");
    if (!m_tokens.at_end()) unexpected("end-of-file");
    m_routine->defined = true;
}

void Parser::trigger_block() {
    if (m_tokens.accept("CALL")) {
        const unsigned at = line();
        m_routine->body.statements.push_back(std::make_unique<Evaluation>(at, binder().call_statement(tree())));
        m_tokens.accept(";");
        return;
    }
    if (m_tokens.accept("DECLARE")) declarations(m_routine->body);
    body(m_routine->body, m_unit.name);
    expect(";");
    refuse_pending_gotos();
}

void Parser::compound_trigger(TriggerHead& head) {
    expect("COMPOUND");
    expect("TRIGGER");
    while (!m_tokens.at("BEFORE") && !m_tokens.at("AFTER") && !m_tokens.at_end()) declaration(m_routine->body);
    while (!m_tokens.accept("END")) {
        const bool after = m_tokens.accept("AFTER");
        if (!after) expect("BEFORE");
        const bool row = m_tokens.accept("EACH");
        expect(row ? "ROW" : "STATEMENT");
        expect("IS");
        // In the order of Language::Timing.
        const std::size_t section = after ? (row ? 2 : 3) : (row ? 1 : 0);
        Body& made = head.sections[section].emplace();
        open_scope({});
        if (row) trigger_rows(head, !after);
        m_tokens.accept("DECLARE");
        declarations(made);
        body(made, after ? "AFTER" : "BEFORE");
        if (m_tokens.accept("EACH")) {
            expect("ROW");
        } else {
            expect("STATEMENT");
        }
        expect(";");
        close_scope();
    }
    if (m_tokens.at_name()) m_tokens.take();
    expect(";");
    refuse_pending_gotos();
}

} // namespace oci::plsql
