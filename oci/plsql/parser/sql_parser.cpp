#include "oci/plsql/parser/parser.h"

#include "oci/plsql/runtime.h"
#include "oci/sql/parser/expression_parser.h"

#include <algorithm>

namespace oci::plsql {

TypePtr Parser::row_of(const std::vector<sql::ResultColumn>& columns) {
    auto record = std::make_shared<Type>();
    record->kind = Type::Kind::record;
    for (const auto& column : columns) {
        ColumnType type = column.type;
        // An expression's size is what its values happen to have; a variable of it takes any.
        if (!column.stored && type.family != Family::number) type.size = 0;
        record->fields.push_back({column.name, scalar_type(type), nullptr});
    }
    return record;
}

TypePtr Parser::check(SqlText& text, sql::Offset at, Into* into) {
    try {
        auto compiled = text.take();
        const TypePtr row = row_of(compiled->columns());
        text.give_back(std::move(compiled));
        if (into == nullptr || into->empty() || row->fields.empty()) return row;
        const auto too_few = [&row](std::size_t taken) -> const error::Cause& {
            return taken < row->fields.size() ? error::not_enough_values : error::too_many_values;
        };
        const Type* only = into->items.size() == 1 ? into->items[0].target->type().get() : nullptr;
        if (only != nullptr && only->kind == Type::Kind::collection) only = only->element.get();
        if (only != nullptr && only->kind == Type::Kind::record) {
            if (only->fields.size() != row->fields.size()) throw OracleError(too_few(only->fields.size()));
            return row;
        }
        if (into->items.size() != row->fields.size()) throw OracleError(too_few(into->items.size()));
        for (std::size_t i = 0; i < row->fields.size() && !into->bulk; ++i) {
            Into::Item& item = into->items[i];
            const Binder::Kept kept = binder().keep(row->fields[i].type);
            ExpressionPtr converted = binder().convert(kept.variable, *item.target->type());
            if (converted == kept.variable) continue;
            item.slot = kept.slot;
            item.converted = std::move(converted);
        }
        return row;
    } catch (const OracleError& error) {
        constexpr int missing[] = {error::invalid_identifier, error::no_such_table, error::no_such_sequence,
                                   error::no_such_object, error::looping_synonyms};
        const bool is_missing = std::find(std::begin(missing), std::end(missing), error.code()) != std::end(missing);
        const auto message = error.text().substr(0, error.text().size() - 1);
        fail("PL/SQL: " + message, place_of(message, at), is_missing);
    }
}

/// Where the name that an error quotes stands in the statement that has just been read.
sql::Offset Parser::place_of(std::string_view error, sql::Offset from) {
    const auto last = error.rfind('"');
    const auto first = last == std::string_view::npos || last == 0 ? last : error.rfind('"', last - 1);
    if (first == std::string_view::npos) return from;
    const auto name = error.substr(first + 1, last - first - 1);
    const auto end = m_tokens.position();
    for (m_tokens.rewind(from); m_tokens.position() < end;) {
        const sql::Token token = m_tokens.take();
        if (token.is_name() && token.text == name) return token.at;
    }
    return from;
}

std::shared_ptr<SqlText> Parser::sql(std::string_view end, Into& into) {
    auto made = std::make_shared<SqlText>(m_runtime, *m_scope);
    const bool inserts = m_tokens.at("INSERT") || m_tokens.at("MERGE");
    const bool query = !inserts && !m_tokens.at("UPDATE") && !m_tokens.at("DELETE");
    const bool several = m_tokens.at("INSERT", "ALL") || m_tokens.at("INSERT", "FIRST");
    sql::Offset copied = m_tokens.position();
    note_words(*made, end);
    bool returning = false;
    for (int depth = 0; depth > 0 || !m_tokens.at(end);) {
        if (m_tokens.at_end()) unexpected(end);
        if (m_tokens.at("(")) ++depth;
        if (m_tokens.at(")") && --depth < 0) unexpected(end);
        returning = returning || (depth == 0 && !query && (m_tokens.at("RETURNING") || m_tokens.at("RETURN")));
        if (depth == 0 && !query && !several && sql_record(*made, copied)) continue;
        const bool bulk = m_tokens.at("BULK", "COLLECT");
        const bool takes = (bulk || m_tokens.at("INTO")) && depth == 0 && !several && (query || returning);
        if (!takes) {
            sql_token(*made, copied);
            continue;
        }
        made->text += m_tokens.text().substr(copied, m_tokens.position() - copied);
        into = this->into();
        copied = m_tokens.position();
        made->text += ' ';
        if (returning) {
            for (std::size_t i = 0; i < into.width(); ++i) made->text += (i == 0 ? "INTO " : ", ") + made->output();
        }
    }
    made->text += m_tokens.text().substr(copied, m_tokens.position() - copied);
    return made;
}

/// Passes one token, or an element of a collection or another value of the block that SQL has no form for: a name for
/// it is written in its place.
void Parser::sql_token(SqlText& made, sql::Offset& copied) {
    const sql::Token token = m_tokens.peek();
    if (m_tokens.at("CURRENT", "OF")) {
        made.text += m_tokens.text().substr(copied, token.at - copied);
        m_tokens.take();
        m_tokens.take();
        ExpressionPtr cursor = expression();
        if (cursor->type()->kind != Type::Kind::cursor)
            fail("PLS-00413: identifier in CURRENT OF clause is not a cursor name", token.at);
        made.text +=
            "ROWID = " + made.name_of(std::make_shared<Computed>(scalar_type(Family::unknown), [cursor](Frame& frame) {
                const auto open = cursor->place(frame).cursor();
                if (!open || !open->found.value_or(false)) throw OracleError(error::invalid_rowid);
                return Datum(Value::of(open->locked_row));
            }));
        copied = m_tokens.last_end();
        return;
    }
    const bool named = token.is_name() && sql::TokenStream::is_name(token);
    if (!named || (!m_tokens.peek(1).is(".") && !m_tokens.peek(1).is("("))) {
        const bool behind_point = m_tokens.take().is(".");
        if (behind_point && m_tokens.peek().is_name()) m_tokens.take();
        return;
    }
    Path path = this->path();
    const Found found = find(m_runtime, *m_scope, path);
    const bool variable = found && found.declaration->kind == Declaration::Kind::variable;
    ExpressionPtr value;
    if (variable) {
        Path again{path.parts};
        value = find_variable(m_runtime, *m_scope, again);
        const bool element = value && value->type()->kind == Type::Kind::collection;
        const bool method = element && again.used + 1 == path.parts.size();
        // Where the first part names a table of the statement, too, it is that table's column.
        const bool field =
            value && path.parts.size() > 1 && value->type()->is_scalar() && !made.words.contains(path.parts[0]);
        if (!field && (!element || (!method && !m_tokens.at("(")))) value = nullptr;
    }
    if (!value) return;
    made.text += m_tokens.text().substr(copied, token.at - copied);
    m_tokens.rewind(token.at);
    value = binder().bind(*sql::ExpressionParser(m_tokens).operand());
    if (!value->type()->is_scalar()) fail("PLS-00382: expression is of wrong type", token.at);
    made.text += made.name_of(std::move(value));
    copied = m_tokens.last_end();
}

/// Notes the names that stand alone or behind a schema: those of tables and aliases are among them.
void Parser::note_words(SqlText& made, std::string_view end) {
    const auto from = m_tokens.position();
    int depth = 0;
    while (!m_tokens.at_end() && (depth > 0 || !m_tokens.at(end))) {
        depth += m_tokens.at("(") ? 1 : m_tokens.at(")") ? -1 : 0;
        const sql::Token token = m_tokens.take();
        if (token.is_name() && !m_tokens.at(".")) made.words.emplace(token.text);
    }
    m_tokens.rewind(from);
}

/// VALUES record, and SET ROW = record: the fields are written out.
bool Parser::sql_record(SqlText& made, sql::Offset& copied) {
    const bool values = m_tokens.at("VALUES") && !m_tokens.peek(1).is("(");
    const bool row = m_tokens.at("SET", "ROW");
    if (!values && !row) return false;
    made.text += m_tokens.text().substr(copied, m_tokens.position() - copied);
    m_tokens.take();
    if (row) {
        m_tokens.take();
        expect("=");
    }
    const auto at = m_tokens.position();
    ExpressionPtr record = binder().bind(*sql::ExpressionParser(m_tokens).operand());
    if (record->type()->kind != Type::Kind::record) fail("PLS-00382: expression is of wrong type", at);
    made.text += values ? "VALUES (" : "SET ";
    for (const Field& field : record->type()->fields) {
        if (&field != &record->type()->fields.front()) made.text += ", ";
        if (row) made.text += "\"" + field.name + "\" = ";
        made.text += made.name_of(field_of(record, field.name));
    }
    if (values) made.text += ")";
    made.text += ' ';
    copied = m_tokens.last_end();
    return true;
}

Into Parser::into() {
    Into made;
    if (m_tokens.accept("BULK", "COLLECT")) made.bulk = true;
    expect("INTO");
    do {
        const auto at = m_tokens.position();
        ExpressionPtr target = binder().target(tree());
        const bool collection = target->type()->kind == Type::Kind::collection;
        if (made.bulk != collection) fail("PLS-00597: expression in the INTO list is of wrong type", at);
        made.items.push_back({std::move(target), nullptr, 0});
    } while (m_tokens.accept(","));
    return made;
}

StatementPtr Parser::sql_statement() {
    const unsigned at = line();
    const auto position = m_tokens.position();
    const bool query = m_tokens.at("SELECT") || m_tokens.at("WITH");
    Into into;
    std::shared_ptr<SqlText> text = sql(";", into);
    if (query && into.empty()) fail("PLS-00428: an INTO clause is expected in this SELECT statement", position);
    check(*text, position, &into);
    expect(";");
    return std::make_unique<SqlStatement>(at, std::move(text), query, std::move(into));
}

StatementPtr Parser::for_all() {
    const unsigned at = line();
    m_tokens.take();
    const sql::Name variable = name();
    expect("IN");
    ForAllIndexes indexes;
    indexes.values = m_tokens.at("VALUES", "OF");
    if (indexes.values || m_tokens.at("INDICES", "OF")) {
        m_tokens.take();
        m_tokens.take();
        const auto position = m_tokens.position();
        indexes.collection = binder().bind(*sql::ExpressionParser(m_tokens).operand());
        if (indexes.collection->type()->kind != Type::Kind::collection || !indexes.collection->is_stored())
            fail("PLS-00758: the collection of INDICES OF or VALUES OF is no collection", position);
    }
    if (!indexes.collection || m_tokens.accept("BETWEEN")) {
        const auto bound = [this] { return binder().bind(*sql::ExpressionParser(m_tokens).value()); };
        indexes.low = bound();
        expect(indexes.collection ? "AND" : "..");
        indexes.high = bound();
    }
    const bool saves = m_tokens.accept("SAVE");
    if (saves) expect("EXCEPTIONS");
    Declaration& declared = open_scope({}).names[text(variable)];
    declared.type = integer_type();
    declared.slot = m_routine->slots++;
    declared.writable = false;
    const unsigned slot = declared.slot;
    const auto position = m_tokens.position();
    Into into;
    std::shared_ptr<SqlText> text = sql(";", into);
    check(*text, position, &into);
    close_scope();
    expect(";");
    return std::make_unique<ForAll>(at, slot, std::move(indexes), saves,
                                    std::make_unique<SqlStatement>(at, std::move(text), false, std::move(into)));
}

Opening Parser::opening(const Found& found) {
    Opening made;
    made.declared = found.declaration->cursor;
    made.variable = variable_of(found);
    made.levels_up = found.levels_up;
    made.package = found.package;
    const auto& parameters = made.declared->parameters;
    made.arguments.resize(parameters.size());
    std::size_t next = 0;
    if (m_tokens.accept("(")) {
        do {
            if (m_tokens.peek(1).is("=>")) {
                const sql::Name given = name();
                m_tokens.take();
                next = static_cast<std::size_t>(std::find_if(parameters.begin(), parameters.end(),
                                                             [&](const auto& p) { return p.name == given.text; }) -
                                                parameters.begin());
            }
            if (next >= parameters.size())
                fail("PLS-00306: wrong number or types of arguments in call to '" + made.declared->name + "'",
                     m_tokens.position());
            made.arguments[next] = expression_for(parameters[next].type);
            ++next;
        } while (m_tokens.accept(","));
        expect(")");
    }
    for (std::size_t i = 0; i < parameters.size(); ++i) {
        if (!made.arguments[i] && !parameters[i].initial)
            fail("PLS-00306: wrong number or types of arguments in call to '" + made.declared->name + "'",
                 m_tokens.position());
    }
    return made;
}

StatementPtr Parser::open_statement() {
    const unsigned at = line();
    m_tokens.take();
    const auto from = m_tokens.position();
    if (m_tokens.at_name()) {
        Path cursor = path();
        const Found found = find(m_runtime, *m_scope, cursor);
        if (found && found.declaration->kind == Declaration::Kind::cursor) {
            Opening declared = opening(found);
            expect(";");
            return std::make_unique<Open>(at, variable_of(found), std::move(declared));
        }
        m_tokens.rewind(from);
    }
    ExpressionPtr cursor = binder().target(tree());
    if (cursor->type()->kind != Type::Kind::cursor) fail("PLS-00456: item is not a cursor", from);
    expect("FOR");
    if (m_tokens.at("SELECT") || m_tokens.at("WITH")) {
        const auto position = m_tokens.position();
        Opening query;
        Into none;
        query.query = sql(";", none);
        check(*query.query, position);
        expect(";");
        return std::make_unique<Open>(at, std::move(cursor), std::move(query));
    }
    ExpressionPtr text = scalar();
    auto arguments = using_arguments();
    expect(";");
    return std::make_unique<Dynamic>(at, std::move(text), Into{}, std::move(arguments), std::move(cursor));
}

StatementPtr Parser::fetch_statement() {
    const unsigned at = line();
    const auto position = m_tokens.take().at;
    const auto from = m_tokens.position();
    Path path = m_tokens.at_name() ? this->path() : Path{};
    const Found found = path.parts.empty() ? Found{} : find(m_runtime, *m_scope, path);
    const auto declared = found ? found.declaration->cursor : nullptr;
    m_tokens.rewind(from);
    ExpressionPtr cursor = expression();
    if (cursor->type()->kind != Type::Kind::cursor) fail("PLS-00456: item is not a cursor", from);
    Into made = into();
    if (declared != nullptr && declared->row->fields.size() != made.width())
        fail("PLS-00394: wrong number of values in the INTO list of a FETCH statement", position);
    ExpressionPtr limit;
    if (m_tokens.accept("LIMIT")) limit = scalar();
    expect(";");
    return std::make_unique<Fetch>(at, std::move(cursor), std::move(made), std::move(limit));
}

std::vector<Dynamic::Argument> Parser::using_arguments() {
    std::vector<Dynamic::Argument> made;
    if (!m_tokens.accept("USING")) return made;
    do {
        Dynamic::Argument argument;
        const bool in = m_tokens.accept("IN");
        argument.out = m_tokens.accept("OUT");
        argument.in = in || !argument.out;
        argument.value = argument.out ? binder().target(tree()) : scalar();
        made.push_back(std::move(argument));
    } while (m_tokens.accept(","));
    return made;
}

StatementPtr Parser::execute_immediate() {
    const unsigned at = line();
    m_tokens.take();
    m_tokens.take();
    ExpressionPtr text = scalar();
    Into made;
    if (m_tokens.at("INTO") || m_tokens.at("BULK")) made = into();
    auto arguments = using_arguments();
    if (m_tokens.accept("RETURNING") || m_tokens.accept("RETURN")) made = into();
    expect(";");
    return std::make_unique<Dynamic>(at, std::move(text), std::move(made), std::move(arguments), nullptr);
}

StatementPtr Parser::transaction_statement() {
    using Action = TransactionControl::Action;
    const unsigned at = line();
    const std::string word(m_tokens.take().text);
    Action action = word == "COMMIT" ? Action::commit : word == "ROLLBACK" ? Action::rollback : Action::savepoint;
    std::string savepoint;
    if (action != Action::savepoint) m_tokens.accept("WORK");
    if (action == Action::rollback && m_tokens.accept("TO")) {
        m_tokens.accept("SAVEPOINT");
        action = Action::rollback_to;
    }
    if (action == Action::savepoint || action == Action::rollback_to) savepoint = text(name());
    expect(";");
    return std::make_unique<TransactionControl>(at, action, std::move(savepoint));
}

} // namespace oci::plsql
