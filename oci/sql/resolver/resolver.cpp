#include "oci/sql/resolver/resolver.h"

#include "oci/functions/operators.h"
#include "oci/sql/resolver/changes/changes.h"
#include "oci/sql/resolver/changes/row_changes.h"
#include "oci/sql/resolver/expressions/conversions.h"
#include "oci/sql/resolver/expressions/expressions.h"
#include "oci/sql/resolver/printer.h"
#include "oci/sql/resolver/queries/queries.h"

#include <algorithm>

namespace oci::sql {
namespace {

constexpr std::size_t usual_size = 512;

void translate_query(Resolution& resolution, const Query& query) {
    const ResolvedQuery resolved = resolve_outermost_query(resolution, query);
    Translation& result = resolution.result;
    result.columns.reserve(resolved.columns.size());
    for (const OutColumn& column : resolved.columns) {
        result.columns.push_back({std::string(column.name), column.type, column.stored});
        if (column.type.size == 0 && is_text(column.type) && column.type.family != Family::long_text)
            result.columns.back().type.size = longest_text;
    }
    print(result.sql, *resolved.plan);
}

void add_columns(Resolution& resolution, Scope& scope, const Relation* table) {
    if (table == nullptr) return;
    RowSource* row = resolution.arena.make<RowSource>();
    row->name = table->name;
    row->relation = table;
    row->columns = columns_of(resolution, *table);
    scope.sources.push_back(row);
}

/// Placeholders that are numbered in their order need not say so, and many are read sooner then: SQLite looks each
/// number up among all that have come before it.
void drop_numbers(std::string& sql) {
    std::string shorter;
    shorter.reserve(sql.size());
    std::size_t last = 0;
    for (std::size_t at = 0; at < sql.size();) {
        const std::size_t from = at++;
        if (sql[from] == '\'' || sql[from] == '"') at = sql.find(sql[from], at) + 1;
        std::size_t number = 0;
        if (sql[from] == '?') {
            while (at < sql.size() && sql[at] >= '0' && sql[at] <= '9')
                number = number * 10 + static_cast<std::size_t>(sql[at++] - '0');
        }
        shorter.append(sql, from, number == last + 1 ? 1 : at - from);
        last = std::max(last, number);
    }
    sql = std::move(shorter);
}

} // namespace

Translation translate(const Statement& statement, Arena& arena, Catalogue& catalogue, Variables* variables) {
    Resolution resolution(arena, catalogue, variables);
    Translation& result = resolution.result;
    result.sql.reserve(usual_size);
    switch (statement.kind) {
    case StatementKind::query: translate_query(resolution, *statement.as<QueryStatement>().query); break;
    case StatementKind::insert: resolve_insert(resolution, statement.as<Insert>()); break;
    case StatementKind::update: resolve_update(resolution, statement.as<Update>()); break;
    case StatementKind::remove: resolve_remove(resolution, statement.as<Remove>()); break;
    case StatementKind::merge: resolve_merge(resolution, statement.as<Merge>()); break;
    default: throw OracleError(error::invalid_statement);
    }
    constexpr std::size_t many_placeholders = 1000;
    if (result.names.size() > many_placeholders) drop_numbers(result.sql);
    return std::move(resolution.result);
}

Translation translate_value(const Expression& expression, Arena& arena, Catalogue& catalogue, Variables* variables) {
    Resolution resolution(arena, catalogue, variables);
    Scope scope;
    const Node* value = resolve(resolution, scope, expression);
    resolution.result.columns.push_back({{}, value->type, false});
    resolution.result.sql = "SELECT ";
    print(resolution.result.sql, *value);
    return std::move(resolution.result);
}

std::string translate_column_expression(const Expression& expression, Arena& arena, Catalogue& catalogue,
                                        const Relation& table) {
    Resolution resolution(arena, catalogue, nullptr);
    Scope scope;
    add_columns(resolution, scope, &table);
    std::string sql;
    print(sql, is_condition(expression) ? *resolve_condition(resolution, scope, expression)
                                        : *resolve(resolution, scope, expression));
    return sql;
}

std::string translate_column_value(const Expression& expression, Arena& arena, Catalogue& catalogue,
                                   const Relation* table, ColumnType& type, std::string_view column) {
    Resolution resolution(arena, catalogue, nullptr);
    Scope scope;
    scope.clause = Clause::values;
    add_columns(resolution, scope, table);
    Node* value = resolve(resolution, scope, expression);
    if (type.family == Family::unknown) type = value->type;
    std::string sql;
    print(sql, *store(resolution, value, type, column));
    return sql;
}

std::string fit_call(std::string_view sql, const ColumnType& type, std::string_view column) {
    Arena arena;
    const Builder build(arena);
    std::string call = std::string(operators::fit) + "(" + std::string(sql);
    for (const int part : {static_cast<int>(type.family), type.signed_size(), int{type.precision}, int{type.scale}})
        call += "," + std::to_string(part);
    call += ',';
    print(call, *build.string(column));
    return call + ")";
}

} // namespace oci::sql
