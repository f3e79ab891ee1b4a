#include "oci/engine/block.h"

#include "oci/engine/cursor.h"
#include "oci/engine/translate.h"
#include "oci/sql/token_reader.h"

#include <algorithm>
#include <utility>
#include <sqlite3.h>

namespace oci {
namespace {

constexpr int deepest_call = 50;

[[noreturn]] void refuse(const std::string& text) { throw OracleError(6550, text); }

struct Parameter {
    std::string name;
    bool in = true;
    bool out = false;
    ColumnType type;
};

struct Procedure {
    std::string name;
    std::vector<Parameter> parameters;
    Tokens body; ///< the statements between BEGIN and END
};

/// A variable of a block: a placeholder, whose value the caller's buffer has, or a parameter of a procedure.
struct Variable {
    std::string name;
    OwnedValue value;
    ColumnType type;             ///< of a parameter: what it is assigned is made to fit
    const Buffer* bind = nullptr;   ///< of a placeholder: where what it is assigned has to find room
    const Buffer* unread = nullptr; ///< the same, until the value is needed: that of an OUT parameter may hold nothing yet
    bool assigned = false;
    bool writable = true;
};

/// Reads a block and refuses what it does not know in the server's words.
class Reader : public TokenReader {
  public:
    using TokenReader::TokenReader;

    void expect(std::string_view wanted) {
        if (accept(wanted)) return;
        refuse("PLS-00103: encountered \"" + std::string(peek().text) + "\" when expecting \"" + std::string(wanted) + "\"");
    }
    std::string name() {
        if (!peek().is_name()) refuse("PLS-00103: encountered \"" + std::string(peek().text) + "\" when expecting a name");
        return upper(plain_name(take()));
    }
    /// The tokens up to one of the symbols outside of parentheses, which is next then.
    Tokens until(std::string_view first, std::string_view second = {}) {
        const std::size_t from = m_at;
        for (int depth = 0; !at_end(); take()) {
            if (depth == 0 && (peek().is(first) || (!second.empty() && peek().is(second)))) break;
            if (peek().is("(")) ++depth;
            if (peek().is(")")) --depth;
        }
        return m_tokens.subspan(from, m_at - from);
    }
};

void check_call(Tokens statement) {
    Reader call(statement);
    call.name();
    if (call.accept(".")) call.name();
    if (call.accept("(")) {
        call.until(")");
        call.expect(")");
    }
    if (!call.at_end()) refuse("PLS-00103: encountered \"" + std::string(call.peek().text) + "\" when expecting \";\"");
}

/// COMMIT or ROLLBACK of the whole transaction.
bool ends_transaction(Tokens statement) {
    return statement.size() == 1 || (statement.size() == 2 && statement[1].is("WORK"));
}

/// Refuses what is no statement that a block can carry out, before any of its block runs.
void check_statement(Tokens statement) {
    static constexpr std::string_view refused[] = {
        "<",    "BEGIN", "CASE", "CLOSE", "CONTINUE", "DECLARE", "EXCEPTION", "EXECUTE",   "EXIT",
        "FOR",  "FETCH", "GOTO", "IF",    "FORALL",   "LOCK",    "LOOP",      "MERGE",     "OPEN",
        "PIPE", "RAISE", "SET",  "WHILE", "PRAGMA",   "RETURN",  "SAVEPOINT", "RAISE_APPLICATION_ERROR"};
    if (statement.empty()) refuse("PLS-00103: encountered \";\" when expecting a statement");
    const Token& first = statement.front();
    if (first.is("END")) refuse("PLS-00103: encountered \"END\" when expecting a statement");
    if (statement.size() > 2 && statement[1].is(":=")) return;
    for (const auto word : refused) {
        if (!first.is(word)) continue;
        const std::string name(word == "<" ? "a label" : word);
        refuse("PLS-00103: " + name + " is not supported: blocks are straight-line here");
    }
    for (const std::string_view word : {"SELECT", "WITH", "INSERT", "UPDATE", "DELETE"}) {
        if (first.is(word)) return;
    }
    if (first.is("NULL") && statement.size() == 1) return;
    if ((first.is("COMMIT") || first.is("ROLLBACK")) && ends_transaction(statement)) return;
    check_call(statement);
}

/// The statements between BEGIN and END, behind which nothing but the name of the procedure stands.
Tokens body_of(Reader& reader) {
    reader.expect("BEGIN");
    const Token* first = &reader.peek();
    do {
        if (reader.at_end()) refuse("PLS-00103: encountered the end of the text when expecting \"END\"");
        check_statement(reader.until(";"));
        reader.expect(";");
    } while (!reader.peek().is("END"));
    const Tokens body(first, &reader.take());
    if (reader.peek().is_name()) reader.take();
    reader.accept(";");
    if (!reader.at_end())
        refuse("PLS-00103: encountered \"" + std::string(reader.peek().text) + "\" behind the end of the block");
    return body;
}

Procedure read_procedure(Tokens tokens) {
    Reader reader(tokens);
    Procedure procedure;
    procedure.name = reader.name();
    if (reader.accept(".")) procedure.name = reader.name();
    if (reader.accept("(")) {
        do {
            Parameter parameter;
            parameter.name = reader.name();
            const bool in = reader.accept("IN");
            parameter.out = reader.accept("OUT");
            parameter.in = in || !parameter.out;
            std::string type;
            for (const Token& token : reader.until(",", ")")) type += (type.empty() ? "" : " ") + std::string(token.text);
            const auto parsed = ColumnType::parse(type == "BOOLEAN" ? "" : type);
            if (!parsed) refuse("PLS-00201: identifier '" + upper(type) + "' must be declared");
            parameter.type = *parsed;
            if (parameter.type.family != Family::number) parameter.type.size = 0; // a parameter's type has no size
            procedure.parameters.push_back(parameter);
        } while (reader.accept(","));
        reader.expect(")");
    }
    if (!reader.accept("IS")) reader.expect("AS");
    procedure.body = body_of(reader);
    return procedure;
}

/// Runs the statements of one block or procedure over its variables.
class Frame {
  public:
    Frame(Session& session, int depth) : m_session(session), m_depth(depth) {
        if (depth > deepest_call) refuse("PLS-00123: procedures call each other too deeply");
    }

    std::vector<Variable> variables;
    ub4 iteration = 0; ///< the element of the buffers that is meant

    void run(Tokens body) {
        Reader reader(body);
        while (!reader.at_end()) {
            const Tokens statement = reader.until(";");
            reader.expect(";");
            run_statement(statement);
        }
    }

    Value value_of(Variable& variable) {
        if (const Buffer* bind = std::exchange(variable.unread, nullptr)) {
            Scratch scratch;
            variable.value.assign(read(*bind, iteration, scratch));
        }
        return variable.value.get();
    }

    void assign(Variable& variable, const Value& value) {
        if (!variable.writable) refuse("PLS-00363: expression '" + variable.name + "' cannot be used as an assignment target");
        const bool too_long = variable.bind != nullptr && !has_room(*variable.bind, value);
        if (too_long) throw OracleError(6502, "character string buffer too small");
        std::string scratch;
        variable.value.assign(fit(value, variable.type, variable.name, scratch));
        variable.unread = nullptr;
        variable.assigned = true;
    }

  private:
    void run_statement(Tokens statement) {
        const Token& first = statement.front();
        if (first.is("NULL") && statement.size() == 1) return;
        if (first.is("COMMIT") && ends_transaction(statement)) return m_session.commit();
        if (first.is("ROLLBACK") && ends_transaction(statement)) return m_session.rollback();
        if (first.is("SELECT") || first.is("WITH")) return run_sql(statement, true);
        if (first.is("INSERT") || first.is("UPDATE") || first.is("DELETE")) return run_sql(statement, false);
        if (statement.size() > 2 && statement[1].is(":=")) return assign(variable(first), evaluate(statement.subspan(2)).get());
        call(statement);
    }

    Variable* find(const Token& token) {
        const std::string name = upper(plain_name(token));
        const auto found = std::find_if(variables.begin(), variables.end(), [&](const Variable& v) { return v.name == name; });
        return found != variables.end() ? &*found : nullptr;
    }

    Variable& variable(const Token& token) {
        Variable* found = find(token);
        if (found == nullptr) refuse("PLS-00201: identifier '" + upper(token.text) + "' must be declared");
        return *found;
    }

    Positions positions() {
        return [this](const Token& token) -> unsigned {
            if (token.kind == Token::Kind::placeholder) return static_cast<unsigned>(&variable(token) - variables.data()) + 1;
            const Variable* found = find(token);
            return found != nullptr ? static_cast<unsigned>(found - variables.data()) + 1 : 0;
        };
    }

    void bind(sqlite3_stmt* compiled) {
        const int count = sqlite3_bind_parameter_count(compiled);
        for (int position = 1; position <= count; ++position) {
            if (sqlite3_bind_parameter_name(compiled, position) == nullptr) continue; // not used by this statement
            value_of(variables[static_cast<std::size_t>(position) - 1]).bind(compiled, position);
        }
    }

    /// Steps and reports a failure.
    bool step(sqlite3_stmt* compiled) {
        const int status = sqlite3_step(compiled);
        if (status == SQLITE_ROW) return true;
        if (status == SQLITE_DONE) return false;
        const OracleError error = sqlite_error(compiled);
        m_session.failed();
        throw error;
    }

    void run_sql(Tokens statement, bool query) {
        if (!query) m_session.begin();
        const Translation translation = translate(m_session, statement, positions());
        if (translation.for_update) m_session.begin(translation.patience);
        if (query && translation.into.empty()) refuse("PLS-00428: an INTO clause is expected in this SELECT statement");
        const Compiled compiled = m_session.compile_for_application(translation.sql);
        check_targets(compiled.get(), translation);
        bind(compiled.get());
        if (!step(compiled.get())) {
            if (query) throw OracleError(1403);
            return;
        }
        std::vector<OwnedValue> row;
        for (std::size_t i = 0; i < translation.into.size(); ++i) {
            row.emplace_back(Value::of(sqlite3_column_value(compiled.get(), static_cast<int>(i))));
        }
        if (step(compiled.get())) throw OracleError(1422);
        for (std::size_t i = 0; i < row.size(); ++i) assign(variables[translation.into[i] - 1], row[i].get());
    }

    OwnedValue evaluate(Tokens expression) {
        const Compiled compiled = m_session.compile_for_application(translate_value(m_session, expression, positions()).sql);
        if (sqlite3_column_count(compiled.get()) != 1) refuse("PLS-00306: one value is expected");
        bind(compiled.get());
        step(compiled.get());
        return OwnedValue(Value::of(sqlite3_column_value(compiled.get(), 0)));
    }

    void call(Tokens statement) {
        Reader reader(statement);
        std::string name = reader.name();
        if (reader.accept(".")) name = reader.name();
        const std::string source = source_of(name);
        const std::vector<Token> tokens = tokenize(source);
        const Procedure procedure = read_procedure(Tokens(tokens).first(tokens.size() - 1));
        std::vector<Tokens> arguments(procedure.parameters.size());
        if (reader.accept("(")) read_arguments(reader, procedure, arguments);
        if (!reader.at_end()) refuse("PLS-00103: encountered \"" + std::string(reader.peek().text) + "\"");
        run_procedure(procedure, arguments);
    }

    /// Arguments by position, or by name with =>.
    static void read_arguments(Reader& reader, const Procedure& procedure, std::vector<Tokens>& arguments) {
        if (reader.accept(")")) return;
        const auto& parameters = procedure.parameters;
        std::size_t at = 0;
        do {
            if (reader.peek(1).is("=>")) {
                const std::string name = reader.name();
                reader.take();
                at = static_cast<std::size_t>(std::find_if(parameters.begin(), parameters.end(), [&](const Parameter& p) { return p.name == name; }) -
                                              parameters.begin());
            }
            const Tokens argument = reader.until(",", ")");
            if (at >= arguments.size() || argument.empty() || !arguments[at].empty()) wrong_arguments(procedure);
            arguments[at++] = argument;
        } while (reader.accept(","));
        reader.expect(")");
    }

    [[noreturn]] static void wrong_arguments(const Procedure& procedure) {
        refuse("PLS-00306: wrong number or types of arguments in call to '" + procedure.name + "'");
    }

    void run_procedure(const Procedure& procedure, const std::vector<Tokens>& arguments) {
        Frame frame(m_session, m_depth + 1);
        for (std::size_t i = 0; i < arguments.size(); ++i) {
            const Parameter& parameter = procedure.parameters[i];
            const Tokens argument = arguments[i];
            if (argument.empty()) wrong_arguments(procedure);
            if (parameter.out && (argument.size() != 1 || !variable(argument.front()).writable)) wrong_arguments(procedure);
            Variable local;
            local.name = parameter.name;
            local.type = parameter.type;
            if (parameter.in) {
                std::string scratch;
                local.value.assign(fit(evaluate(argument).get(), parameter.type, parameter.name, scratch));
            }
            local.writable = parameter.out;
            frame.variables.push_back(std::move(local));
        }
        frame.run(procedure.body);
        for (std::size_t i = 0; i < arguments.size(); ++i) {
            if (procedure.parameters[i].out) assign(variable(arguments[i].front()), frame.variables[i].value.get());
        }
    }

    std::string source_of(const std::string& name) {
        const auto query = m_session.compile("SELECT source FROM \"DTK$PROCEDURES\" WHERE name = ?1");
        Value::of(name).bind(query.get(), 1);
        if (!step(query.get())) refuse("PLS-00201: identifier '" + name + "' must be declared");
        return reinterpret_cast<const char*>(sqlite3_column_text(query.get(), 0));
    }

    Session& m_session;
    const int m_depth;
};

void run_once(Cursor& cursor, Tokens body, ub4 iteration) {
    Session& session = cursor.session();
    Frame frame(session, 0);
    frame.iteration = iteration;
    const auto& names = cursor.statement().names();
    for (std::size_t i = 0; i < names.size(); ++i) {
        Variable variable;
        variable.name = names[i];
        variable.bind = variable.unread = &cursor.binds().at(static_cast<unsigned>(i + 1));
        frame.variables.push_back(std::move(variable));
    }
    Savepoint savepoint(session);
    try {
        frame.run(body);
        for (const Variable& variable : frame.variables) {
            if (variable.assigned) write(*variable.bind, iteration, variable.value.get());
        }
        savepoint.keep();
    } catch (...) {
        savepoint.undo();
        throw;
    }
}

} // namespace

void execute_block(Cursor& cursor, ub4 iterations, ub4 first, ub4& done) {
    cursor.session().check_connected_lately();
    if (iterations == 0) throw OracleError(24333);
    const Tokens tokens = cursor.statement().tokens();
    Reader reader(tokens.first(tokens.size() - 1));
    std::vector<Token> body;
    if (reader.accept("CALL")) {
        const Tokens call = reader.until(";");
        reader.accept(";");
        check_call(call);
        if (!call.back().is(")")) refuse("PLS-00103: encountered the end of the call when expecting \"(\"");
        if (!reader.at_end()) refuse("PLS-00103: encountered \"" + std::string(reader.peek().text) + "\" behind the call");
        body.assign(call.begin(), call.end());
        body.push_back({Token::Kind::symbol, ";"});
    } else {
        if (reader.peek().is("DECLARE")) refuse("PLS-00103: DECLARE is not supported: blocks are straight-line here");
        const Tokens inner = body_of(reader);
        const bool ended = tokens[tokens.size() - 2].is(";");
        if (!ended) refuse("PLS-00103: encountered the end of the text when expecting \";\"");
        body.assign(inner.begin(), inner.end());
    }
    for (ub4 i = first; i < iterations; ++i) {
        run_once(cursor, body, i);
        ++done;
    }
}

void create_procedure(Session& session, const std::string& text, std::span<const Token> tokens, bool replace) {
    const Procedure procedure = read_procedure(tokens);
    const auto offset = static_cast<std::size_t>(tokens.front().text.data() - text.data());
    const auto insert = session.compile(replace ? "INSERT OR REPLACE INTO \"DTK$PROCEDURES\" VALUES(?1, ?2)"
                                                : "INSERT INTO \"DTK$PROCEDURES\" VALUES(?1, ?2)");
    Value::of(procedure.name).bind(insert.get(), 1);
    Value::of(std::string_view(text).substr(offset)).bind(insert.get(), 2);
    const int status = sqlite3_step(insert.get());
    if (status == SQLITE_CONSTRAINT_PRIMARYKEY) throw OracleError(955);
    if (status != SQLITE_DONE) throw sqlite_error(session.db());
}

void drop_procedure(Session& session, const std::string& name) {
    const auto erase = session.compile("DELETE FROM \"DTK$PROCEDURES\" WHERE name = ?1");
    Value::of(name).bind(erase.get(), 1);
    if (sqlite3_step(erase.get()) != SQLITE_DONE) throw sqlite_error(session.db());
    if (sqlite3_changes(session.db()) == 0) throw OracleError(4043, name);
}

} // namespace oci
