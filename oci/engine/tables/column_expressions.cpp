#include "oci/engine/tables/column_expressions.h"

#include "oci/engine/catalogue/dictionary.h"
#include "oci/engine/session/session.h"
#include "oci/sql/parser.h"
#include "oci/sql/resolver/resolver.h"

#include <algorithm>

namespace oci {
namespace {

/// Calls `found` with each token that may name a column: no function, no part of another name.
template <class Found> void for_each_name(std::string_view text, Found&& found) {
    sql::Arena arena;
    sql::TokenStream tokens(text, arena);
    bool behind_point = false;
    while (!tokens.at_end()) {
        const sql::Token token = tokens.take();
        const bool called = tokens.at("(") && token.kind == sql::Token::Kind::word;
        if (token.is_name() && !behind_point && !called && !tokens.at(".")) found(token);
        behind_point = token.is(".");
    }
}

} // namespace

std::string quoted(std::string_view name) {
    std::string sql = "\"";
    for (const char c : name) sql.append(c == '"' ? 2 : 1, c);
    return sql + '"';
}

std::string default_sql(Session& session, const TableColumn& column) {
    sql::Arena arena;
    sql::TokenStream tokens(column.default_text, arena);
    ColumnType type = column.type;
    const sql::Expression& value = *sql::parse_expression(tokens);
    try {
        return sql::translate_column_value(value, arena, session.dictionary(), nullptr, type, column.name);
    } catch (const OracleError& error) {
        const bool names_column =
            value.kind == sql::ExpressionKind::column && error.code() == error::invalid_identifier.code;
        throw names_column ? OracleError(error::column_not_allowed) : error;
    }
}

std::string condition_sql(Session& session, const Table& table, std::string_view text) {
    sql::Arena arena;
    sql::TokenStream tokens(text, arena);
    const sql::Relation relation = relation_of(table);
    return sql::translate_column_expression(*sql::parse_condition(tokens), arena, session.dictionary(), relation);
}

std::string key_sql(Session& session, const Table& table, std::string_view text) {
    sql::Arena arena;
    sql::TokenStream tokens(text, arena);
    const sql::Relation relation = relation_of(table);
    return sql::translate_column_expression(*sql::parse_expression(tokens), arena, session.dictionary(), relation);
}

std::string virtual_sql(Session& session, const Table& table, const TableColumn& column) {
    sql::Arena arena;
    sql::TokenStream tokens(column.virtual_text, arena);
    const sql::Relation relation = relation_of(table);
    ColumnType type = column.type;
    return sql::translate_column_value(*sql::parse_expression(tokens), arena, session.dictionary(), &relation, type,
                                       column.name);
}

std::vector<std::string> columns_named(const Table& table, std::string_view text) {
    std::vector<std::string> columns;
    for_each_name(text, [&](const sql::Token& token) {
        const bool is_new = std::ranges::find(columns, token.text) == columns.end();
        if (is_new && table.column_index(token.text) >= 0) columns.emplace_back(token.text);
    });
    return columns;
}

std::string with_column_renamed(std::string_view text, std::string_view old_name, std::string_view new_name) {
    std::string renamed;
    std::size_t copied = 0;
    for_each_name(text, [&](const sql::Token& token) {
        if (token.text != old_name) return;
        renamed.append(text.substr(copied, token.at - copied)).append(quoted(new_name));
        copied = token.end;
    });
    return renamed.append(text.substr(copied));
}

} // namespace oci
