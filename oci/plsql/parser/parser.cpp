#include "oci/plsql/parser/parser.h"

#include "oci/plsql/runtime.h"

#include <algorithm>
#include <utility>

namespace oci::plsql {

Parser::Parser(Runtime& runtime, Unit& unit)
    : m_runtime(runtime),
      m_unit(unit),
      m_tokens(unit.text, m_arena, sql::Dialect::block) {
    while (!at_end_of_text()) {
        const sql::Token token = m_tokens.take();
        if (token.kind != sql::Token::Kind::placeholder) continue;
        auto& names = unit.placeholders;
        if (std::find(names.begin(), names.end(), token.text) == names.end()) names.emplace_back(token.text);
    }
    m_tokens.rewind(0);
}

unsigned Parser::line() {
    const sql::Offset at = m_tokens.position();
    if (at < m_line_at) {
        m_line_at = 0;
        m_line = 1;
    }
    const auto read = std::string_view(m_unit.text).substr(m_line_at, at - m_line_at);
    m_line += static_cast<unsigned>(std::count(read.begin(), read.end(), '\n'));
    m_line_at = at;
    return m_line - m_unit.lines_before;
}

/// What is no token at all is found here, before anything else.
bool Parser::at_end_of_text() {
    const auto at = m_tokens.last_end();
    try {
        return m_tokens.at_end();
    } catch (const OracleError& error) {
        fail("PLS-00103: " + error.text().substr(0, error.text().size() - 1), at);
    }
}

void Parser::unexpected(std::string_view wanted) {
    const sql::Token& found = m_tokens.peek();
    const std::string what = found.kind == sql::Token::Kind::end ? "end-of-file" : std::string(found.text);
    fail("PLS-00103: Encountered the symbol \"" + what + "\" when expecting \"" + std::string(wanted) + "\"", found.at);
}

void Parser::fail(std::string_view text, sql::Offset at, bool missing_object) {
    throw CompileError(compile_message(m_unit, at, text), missing_object);
}

void Parser::unsupported(std::string_view what) {
    fail("PLS-00103: " + std::string(what) + " cannot be carried out here", m_tokens.position());
}

void Parser::expect(std::string_view wanted) {
    if (!m_tokens.accept(wanted)) unexpected(wanted);
}

sql::Name Parser::name() {
    if (!m_tokens.at_name()) unexpected("an identifier");
    const sql::Token token = m_tokens.take();
    return {token.text, token.at};
}

Path Parser::path() {
    Path path{{name().text}};
    while (path.parts.size() < 3 && m_tokens.at(".") && m_tokens.peek(1).is_name()) {
        m_tokens.take();
        path.parts.push_back(m_tokens.take().text);
    }
    return path;
}

const sql::Expression& Parser::tree() {
    const auto at = m_tokens.position();
    try {
        return *sql::parse_expression(m_tokens);
    } catch (const OracleError& error) {
        fail("PLS-00103: " + error.text(), at);
    }
}

ExpressionPtr Parser::expression() {
    return binder().bind(tree());
}
ExpressionPtr Parser::scalar() {
    const auto at = m_tokens.position();
    ExpressionPtr made = expression();
    if (!made->type()->is_scalar()) fail("PLS-00382: expression is of wrong type", at);
    return made;
}

ExpressionPtr Parser::condition() {
    return binder().condition(tree());
}
ExpressionPtr Parser::expression_for(const TypePtr& type) {
    return binder().value_for(tree(), type);
}

void Parser::block() {
    m_unit.routines.emplace_back();
    Routine& routine = m_unit.routines.back();
    routine.unit = &m_unit;
    m_routine = &routine;
    open_scope({});
    if (m_tokens.accept("CALL")) {
        const unsigned at = line();
        if (m_tokens.at_end()) unexpected("a procedure");
        const sql::Expression& call = tree();
        if (call.kind != sql::ExpressionKind::call) unexpected("(");
        routine.body.statements.push_back(std::make_unique<Evaluation>(at, binder().call_statement(call)));
        m_tokens.accept(";");
    } else {
        std::string label;
        if (m_tokens.accept("<<")) {
            label = text(name());
            expect(">>");
        }
        m_scope->label = label;
        if (m_tokens.accept("DECLARE")) declarations(routine.body);
        body(routine.body, label);
        expect(";");
        refuse_pending_gotos();
    }
    m_tokens.accept("/");
    if (!m_tokens.at_end()) unexpected("end-of-file");
    routine.defined = true;
}

void Parser::routine() {
    m_unit.routines.emplace_back(); // what the routine stands in: nothing of its own
    m_routine = &m_unit.routines.back();
    m_routine->unit = &m_unit;
    m_routine->level = 0;
    open_scope({});
    subprogram();
    m_tokens.accept("/");
    if (!m_tokens.at_end()) unexpected("end-of-file");
}

void Parser::package() {
    m_unit.routines.emplace_back();
    Routine& setup = m_unit.routines.back();
    setup.unit = &m_unit;
    setup.level = 0;
    setup.defined = true;
    m_routine = &setup;
    skip_head();
    open_scope(m_unit.name);
    if (m_tokens.accept("AUTHID")) m_tokens.take();
    if (!m_tokens.accept("IS")) expect("AS");
    declarations(setup.body);
    end_of_unit();
}

void Parser::package_body(Scope& head) {
    m_routine = head.routine;
    m_scope = &head;
    skip_head();
    open_scope(m_unit.name);
    if (!m_tokens.accept("IS")) expect("AS");
    Body& setup = m_routine->body;
    declarations(setup);
    if (m_tokens.accept("BEGIN")) {
        setup.statements = statements();
        handlers(setup);
        refuse_pending_gotos();
    }
    end_of_unit();
    for (const auto& [name, declaration] : head.names) {
        for (const Routine* routine : declaration.routines) {
            if (!routine->defined)
                fail("PLS-00323: subprogram or cursor '" + name +
                         "' is declared in a package specification and must be "
                         "defined in the package body",
                     0);
        }
    }
}

void Parser::skip_head() {
    while (!m_tokens.at("IS") && !m_tokens.at("AS") && !m_tokens.at("AUTHID") && !m_tokens.at_end()) m_tokens.take();
}

void Parser::end_of_unit() {
    expect("END");
    if (m_tokens.at_name()) m_tokens.take();
    expect(";");
    m_tokens.accept("/");
    if (!m_tokens.at_end()) unexpected("end-of-file");
}

void Parser::body(Body& body, std::string_view label) {
    expect("BEGIN");
    body.statements = statements();
    handlers(body);
    expect("END");
    if (!m_tokens.at_name()) return;
    const sql::Name closed = name();
    if (!label.empty() && closed.text != label)
        fail("PLS-00113: END identifier '" + text(closed) + "' must match '" + std::string(label) + "'", closed.at);
}

void Parser::handlers(Body& body) {
    if (!m_tokens.accept("EXCEPTION")) return;
    const bool around = std::exchange(m_in_handler, true);
    while (m_tokens.at("WHEN")) {
        const auto at = m_tokens.take().at;
        if (!body.handlers.empty() && body.handlers.back().names.empty())
            fail("PLS-00370: OTHERS handler must be last among the exception handlers of a block", at);
        Handler handler;
        if (!m_tokens.accept("OTHERS")) {
            do {
                handler.names.push_back(exception());
            } while (m_tokens.accept("OR"));
        }
        expect("THEN");
        handler.statements = statements();
        body.handlers.push_back(std::move(handler));
    }
    m_in_handler = around;
    if (body.handlers.empty()) unexpected("WHEN");
}

const ExceptionName* Parser::exception() {
    const auto at = m_tokens.position();
    Path path = this->path();
    const Found found = find(m_runtime, *m_scope, path);
    if (found && found.declaration->kind == Declaration::Kind::exception && path.used == path.parts.size())
        return found.declaration->exception;
    if (const ExceptionName* known = predefined_exception(path.parts.back()); known != nullptr) return known;
    fail("PLS-00201: identifier '" + std::string(path.parts.back()) + "' must be declared", at, true);
}

bool Parser::ends_statements() {
    for (const auto word : {"END", "ELSE", "ELSIF", "WHEN", "EXCEPTION"}) {
        if (m_tokens.at(word)) return true;
    }
    return m_tokens.at_end();
}

Statements Parser::statements() {
    const sql::Nesting nesting(m_tokens);
    Statements made;
    std::vector<std::string> names;
    const std::size_t before = m_gotos.size();
    while (!ends_statements()) {
        std::string label = labels(made, names);
        if (!ends_statements()) made.push_back(statement(std::move(label)));
    }
    if (made.empty()) unexpected("a statement");
    resolve_gotos(before, names);
    return made;
}

/// @return the last of them, which loops and blocks bear
std::string Parser::labels(Statements& into, std::vector<std::string>& names) {
    std::string last;
    while (m_tokens.accept("<<")) {
        const unsigned at = line();
        last = text(name());
        expect(">>");
        names.push_back(last);
        into.push_back(std::make_unique<Label>(at, number_of_label(last)));
    }
    return last;
}

unsigned Parser::number_of_label(const std::string& label) {
    return m_labels.try_emplace(label, static_cast<unsigned>(m_labels.size()) + 1).first->second;
}

StatementPtr Parser::goto_statement() {
    const unsigned at = line();
    const auto position = m_tokens.take().at;
    std::string label = text(name());
    expect(";");
    const unsigned number = number_of_label(label);
    m_gotos.push_back({std::move(label), position});
    return std::make_unique<Goto>(at, number);
}

/// GOTO leads to a label of the statements that it stands in, or of those around them.
void Parser::resolve_gotos(std::size_t from, const std::vector<std::string>& labels) {
    const auto known = [&](const PendingGoto& jump) {
        return std::find(labels.begin(), labels.end(), jump.label) != labels.end();
    };
    m_gotos.erase(std::remove_if(m_gotos.begin() + static_cast<std::ptrdiff_t>(from), m_gotos.end(), known),
                  m_gotos.end());
}

void Parser::refuse_pending_gotos() {
    if (m_gotos.empty()) return;
    const PendingGoto jump = m_gotos.front();
    fail("PLS-00375: illegal GOTO statement; this GOTO cannot branch to label '" + jump.label + "'", jump.at);
}

StatementPtr Parser::statement(std::string label) {
    const auto at = m_tokens.position();
    try {
        const bool plain = label.empty() && !m_tokens.at("<<");
        return plain ? simple_statement() : labelled(std::move(label));
    } catch (CompileError& error) {
        error.leaves_out(compile_message(m_unit, at, {}), "Statement");
        throw;
    } catch (const OracleError& error) {
        constexpr int last_of_grammar = 999; // numbers that say what is wrong with a text
        if (error.code() > last_of_grammar) throw;
        fail("PLS-00103: " + error.text().substr(0, error.text().size() - 1), at);
    }
}

StatementPtr Parser::simple_statement() {
    using Read = StatementPtr (Parser::*)();
    struct Word {
        std::string_view word;
        Read read;
    };
    static constexpr Word words[] = {
        {"IF", &Parser::if_statement},
        {"CASE", &Parser::case_statement},
        {"RETURN", &Parser::return_statement},
        {"RAISE", &Parser::raise_statement},
        {"FORALL", &Parser::for_all},
        {"OPEN", &Parser::open_statement},
        {"FETCH", &Parser::fetch_statement},
        {"COMMIT", &Parser::transaction_statement},
        {"ROLLBACK", &Parser::transaction_statement},
        {"SAVEPOINT", &Parser::transaction_statement},
        {"SELECT", &Parser::sql_statement},
        {"WITH", &Parser::sql_statement},
        {"INSERT", &Parser::sql_statement},
        {"UPDATE", &Parser::sql_statement},
        {"DELETE", &Parser::sql_statement},
        {"MERGE", &Parser::sql_statement},
    };
    const bool named = m_tokens.peek(1).is(":=") || m_tokens.peek(1).is(".") || m_tokens.peek(1).is("(");
    for (const Word& known : words) {
        const bool call =
            named && known.word != "IF" && known.word != "SELECT" && known.word != "CASE" && known.word != "RETURN";
        if (m_tokens.at(known.word) && !call) return (this->*known.read)();
    }
    if (m_tokens.at("EXIT")) return leave_loop(Flow::exit);
    if (m_tokens.at("CONTINUE")) return leave_loop(Flow::repeat);
    if (m_tokens.at("GOTO")) return goto_statement();
    if (m_tokens.at("PIPE")) unsupported("PIPE ROW");
    return labelled({});
}

StatementPtr Parser::labelled(std::string label) {
    if (m_tokens.at("LOOP") || m_tokens.at("WHILE")) return loop(std::move(label));
    if (m_tokens.at("FOR")) return for_loop(std::move(label));
    if (m_tokens.at("DECLARE") || m_tokens.at("BEGIN")) return nested_block(std::move(label));
    return label.empty() ? other_statement() : simple_statement();
}

StatementPtr Parser::if_statement() {
    const unsigned at = line();
    m_tokens.take();
    std::vector<If::Branch> branches;
    do {
        ExpressionPtr when = condition();
        expect("THEN");
        branches.push_back({std::move(when), statements()});
    } while (m_tokens.accept("ELSIF"));
    Statements otherwise;
    if (m_tokens.accept("ELSE")) otherwise = statements();
    expect("END");
    expect("IF");
    expect(";");
    return std::make_unique<If>(at, std::move(branches), If::Otherwise::statements, std::move(otherwise));
}

StatementPtr Parser::case_statement() {
    const unsigned at = line();
    m_tokens.take();
    std::optional<Binder::Kept> kept;
    Statements both;
    if (!m_tokens.at("WHEN")) {
        ExpressionPtr operand = scalar();
        kept = binder().keep(operand->type());
        auto variable = std::make_shared<Variable>(operand->type(), 0, kept->slot, true);
        both.push_back(std::make_unique<Assignment>(at, std::move(variable), std::move(operand)));
    }
    std::vector<If::Branch> branches;
    while (m_tokens.accept("WHEN")) {
        ExpressionPtr when = kept ? binder().equality(kept->variable, scalar()) : condition();
        expect("THEN");
        branches.push_back({std::move(when), statements()});
    }
    if (branches.empty()) unexpected("WHEN");
    Statements otherwise;
    const bool has_else = m_tokens.accept("ELSE");
    if (has_else) otherwise = statements();
    expect("END");
    expect("CASE");
    if (m_tokens.at_name()) m_tokens.take();
    expect(";");
    both.push_back(std::make_unique<If>(at, std::move(branches),
                                        has_else ? If::Otherwise::statements : If::Otherwise::case_not_found,
                                        std::move(otherwise)));
    Body body;
    body.statements = std::move(both);
    return std::make_unique<NestedBlock>(at, std::move(body));
}

StatementPtr Parser::loop(std::string label) {
    const unsigned at = line();
    ExpressionPtr when;
    if (m_tokens.accept("WHILE")) when = condition();
    auto made = std::make_unique<ConditionLoop>(at, ++m_loop_count, std::move(when));
    m_loops.push_back({label, m_loop_count});
    end_of_loop(*made, label);
    return made;
}

void Parser::end_of_loop(Loop& loop, const std::string& label) {
    expect("LOOP");
    loop.statements = statements();
    expect("END");
    expect("LOOP");
    if (m_tokens.at_name()) {
        const sql::Name closed = name();
        if (closed.text != label)
            fail("PLS-00113: END identifier '" + text(closed) + "' must match the loop's label", closed.at);
    }
    expect(";");
    m_loops.pop_back();
}

StatementPtr Parser::for_loop(std::string label) {
    const unsigned at = line();
    m_tokens.take();
    const sql::Name variable = name();
    expect("IN");
    const unsigned slot = m_routine->slots++;
    const unsigned number = ++m_loop_count;
    std::unique_ptr<Loop> made;
    TypePtr type = integer_type();
    const auto query = [&](Opening opening, TypePtr row) {
        type = row;
        made = std::make_unique<QueryLoop>(at, number, slot, std::move(row), std::move(opening));
    };
    const bool parenthesis = m_tokens.at("(", "SELECT") || m_tokens.at("(", "WITH") || m_tokens.at("(", "(");
    Path cursor;
    const auto from = m_tokens.position();
    Found found;
    if (!parenthesis && !m_tokens.at("REVERSE") && m_tokens.at_name()) {
        cursor = path();
        found = find(m_runtime, *m_scope, cursor);
    }
    if (parenthesis) {
        m_tokens.take();
        Opening opening;
        Into none;
        opening.query = sql(")", none);
        expect(")");
        TypePtr row = check(*opening.query, from);
        query(std::move(opening), std::move(row));
    } else if (found && found.declaration->kind == Declaration::Kind::cursor) {
        query(opening(found), found.declaration->cursor->row);
    } else {
        m_tokens.rewind(from);
        const bool reverse = m_tokens.accept("REVERSE");
        ExpressionPtr low = scalar();
        expect("..");
        made = std::make_unique<RangeLoop>(at, number, slot, reverse, std::move(low), scalar());
    }
    m_loops.push_back({label, number});
    Declaration& declared = open_scope(label).names[text(variable)];
    declared.type = type;
    declared.slot = slot;
    declared.writable = type->kind == Type::Kind::record;
    end_of_loop(*made, label);
    close_scope();
    return made;
}

StatementPtr Parser::nested_block(std::string label) {
    const unsigned at = line();
    open_scope(label);
    Body body;
    if (m_tokens.accept("DECLARE")) declarations(body);
    this->body(body, label);
    expect(";");
    close_scope();
    return std::make_unique<NestedBlock>(at, std::move(body));
}

StatementPtr Parser::leave_loop(Flow flow) {
    const unsigned at = line();
    const auto position = m_tokens.take().at;
    unsigned number = 0;
    if (m_loops.empty()) fail("PLS-00376: illegal EXIT/CONTINUE statement; it must appear inside a loop", position);
    if (m_tokens.at_name() && !m_tokens.at("WHEN")) {
        const sql::Name label = name();
        const auto found =
            std::find_if(m_loops.rbegin(), m_loops.rend(), [&](const auto& loop) { return loop.label == label.text; });
        if (found == m_loops.rend()) fail("PLS-00201: identifier '" + text(label) + "' must be declared", label.at);
        number = found->number;
    }
    ExpressionPtr when;
    if (m_tokens.accept("WHEN")) when = condition();
    expect(";");
    return std::make_unique<LeaveLoop>(at, flow, number, std::move(when));
}

StatementPtr Parser::return_statement() {
    const unsigned at = line();
    const auto position = m_tokens.position();
    m_tokens.take();
    ExpressionPtr value;
    if (m_routine->result && m_tokens.at(";"))
        fail("PLS-00503: RETURN <value> statement is required for this return from function", position);
    if (m_routine->result) {
        value = expression_for(m_routine->result);
    } else if (!m_tokens.at(";")) {
        fail("PLS-00372: In a procedure, RETURN statement cannot contain an expression", position);
    }
    expect(";");
    return std::make_unique<Return>(at, std::move(value));
}

StatementPtr Parser::raise_statement() {
    const unsigned at = line();
    const auto position = m_tokens.take().at;
    if (m_tokens.at(";") && !m_in_handler)
        fail("PLS-00367: a RAISE statement with no exception name must be inside an exception handler", position);
    const ExceptionName* raised = m_tokens.at(";") ? nullptr : exception();
    expect(";");
    return std::make_unique<Raise>(at, raised);
}

StatementPtr Parser::other_statement() {
    const unsigned at = line();
    if (m_tokens.accept("NULL")) {
        expect(";");
        return std::make_unique<Evaluation>(at, nullptr);
    }
    if (m_tokens.accept("CLOSE")) {
        ExpressionPtr cursor = expression();
        expect(";");
        return std::make_unique<Close>(at, std::move(cursor));
    }
    if (m_tokens.at("EXECUTE", "IMMEDIATE")) return execute_immediate();
    const sql::Expression& left = tree();
    if (m_tokens.accept(":=")) {
        ExpressionPtr target = binder().target(left);
        ExpressionPtr value = expression_for(target->type());
        expect(";");
        return std::make_unique<Assignment>(at, std::move(target), std::move(value));
    }
    ExpressionPtr call = binder().call_statement(left);
    expect(";");
    return std::make_unique<Evaluation>(at, std::move(call));
}

} // namespace oci::plsql
