#include "oci/sql/resolver/changes/column_values.h"

#include "oci/sql/parser.h"
#include "oci/sql/resolver/expressions/conversions.h"
#include "oci/sql/resolver/expressions/expressions.h"

#include <algorithm>

namespace oci::sql {
namespace {

Node* with_default(Resolution& resolution, Node* value, const RelationColumn& column) {
    value = store(resolution, value, column.type, column.path);
    if (!column.default_on_null) return value;
    return resolution.build.call("coalesce", {value, default_value(resolution, column)}, column.type);
}

Node* assigned(Resolution& resolution, Scope& scope, const Expression* value, const RelationColumn& column) {
    if (value == nullptr) return default_value(resolution, column);
    return store(resolution, resolve(resolution, scope, *value), column.type, column.path);
}

/// One column of the only row of a query.
Node* column_of_row(Resolution& resolution, Scope& scope, const Query& query, std::size_t index, std::size_t count) {
    const ResolvedQuery rows = resolve_query(resolution, &scope, query);
    check_value_count(count, rows.columns.size());
    const RowSource source = source_of_query(resolution, rows);
    Node* value = resolution.build.derived(source.number, index, rows.columns[index].type);
    ResolvedQuery column{select_from(resolution, source, rows.plan, {value}), rows.columns.subspan(index, 1),
                         rows.at_most_one_row};
    return resolution.build.subquery(single_row(resolution, column).plan, value->type);
}

} // namespace

void check_value_count(std::size_t wanted, std::size_t given) {
    if (given > wanted) throw OracleError(error::too_many_values);
    if (given < wanted) throw OracleError(error::not_enough_values);
}

Node* default_value(Resolution& resolution, const RelationColumn& column) {
    if (column.default_text.empty()) return resolution.build.null();
    TokenStream tokens(resolution.arena.text(column.default_text), resolution.arena);
    Scope scope;
    scope.clause = Clause::values;
    Node* value = resolve(resolution, scope, *parse_expression(tokens));
    return store(resolution, value, column.type, column.path);
}

std::span<Change::Assignment> resolve_assignments(Resolution& resolution, Scope& scope, const ChangedTable& target,
                                                  std::span<const Assignment> written) {
    std::vector<Change::Assignment> assignments;
    for (const Assignment& assignment : written) {
        const std::size_t count = assignment.columns.size();
        for (std::size_t i = 0; i < count; ++i) {
            const ColumnReference& name = *assignment.columns[i];
            if (name.table && name.table.text != target.source->name)
                throw OracleError(error::invalid_identifier, quoted_path({name.table.text, name.column.text}));
            const RelationColumn& column = target.column(target.index_of(name.column.text));
            if (column.virtual_column) throw OracleError(error::update_of_virtual_column);
            if (column.identity_always && assignment.value != nullptr)
                throw OracleError(error::update_of_generated_always);
            for (const Change::Assignment& other : assignments) {
                if (other.column == column.name) throw OracleError(error::duplicate_column);
            }
            const bool several =
                count > 1 || (assignment.value != nullptr && assignment.value->kind == ExpressionKind::list);
            if (several && (assignment.value == nullptr || assignment.value->kind != ExpressionKind::subquery))
                throw OracleError(error::invalid_column_specification);
            Node* value = nullptr;
            if (several) {
                value = column_of_row(resolution, scope, *assignment.value->as<Subquery>().query, i, count);
                value = store(resolution, value, column.type, column.path);
            } else {
                value = assigned(resolution, scope, assignment.value, column);
            }
            assignments.push_back({column.name, value});
        }
    }
    return resolution.arena.list(assignments);
}

void ColumnValues::list(std::span<const Name> columns) {
    for (const Name& name : columns)
        m_given.push_back({&m_target.column(m_target.index_of(name.text)), m_given.size()});
    if (columns.empty()) {
        for (std::size_t i = 0; i < m_target.source->columns.size(); ++i) {
            if (m_target.source->columns[i].hidden || m_target.column(i).virtual_column) continue;
            m_given.push_back({&m_target.column(i), m_given.size()});
        }
    }
    std::stable_sort(m_given.begin(), m_given.end(),
                     [](const Given& a, const Given& b) { return a.column < b.column; });
    for (std::size_t i = 0; i < m_given.size(); ++i) {
        if (i > 0 && m_given[i].column == m_given[i - 1].column) throw OracleError(error::duplicate_column);
        if (m_given[i].column->virtual_column) throw OracleError(error::insert_into_virtual_column);
    }
}

Node* ColumnValues::stored(Node* value, const RelationColumn& column) const {
    if (column.identity_always) throw OracleError(error::generated_always);
    return with_default(m_resolution, value, column);
}

/// Some defaults are not SQLite's to give: numbers of sequences.
void ColumnValues::add_sequence_defaults() {
    for (const RelationColumn& column : m_target.relation->columns) {
        const bool given =
            std::any_of(m_given.begin(), m_given.end(), [&](const Given& g) { return g.column == &column; });
        if (given || column.default_text.find("NEXTVAL") == std::string::npos) continue;
        m_given.push_back({&column, m_given.size(), default_value(m_resolution, column)});
    }
}

void ColumnValues::give(Scope& scope, std::span<const Name> columns, std::span<Expression* const> values) {
    list(columns);
    check_value_count(m_given.size(), values.size());
    for (Given& given : m_given) {
        const Expression* value = values[given.position];
        given.value = value == nullptr ? default_value(m_resolution, *given.column)
                                       : stored(resolve(m_resolution, scope, *value), *given.column);
    }
    add_sequence_defaults();
}

Select* ColumnValues::give(std::span<const Name> columns, const ResolvedQuery& query) {
    list(columns);
    check_value_count(m_given.size(), query.columns.size());
    Select* plan = query.plan;
    const bool direct = plan->left == nullptr && !plan->distinct && plan->with.empty() && plan->order.empty();
    const std::vector<Node*> items(plan->items.begin(), plan->items.end());
    const RowSource source = direct ? RowSource{} : source_of_query(m_resolution, query);
    for (Given& given : m_given) {
        Node* value =
            direct ? items[given.position]
                   : m_resolution.build.derived(source.number, given.position, query.columns[given.position].type);
        given.value = stored(value, *given.column);
    }
    add_sequence_defaults();
    std::vector<Node*> stored_items;
    for (const Given& given : m_given) stored_items.push_back(given.value);
    if (!direct) return select_from(m_resolution, source, plan, stored_items);
    plan->items = m_resolution.arena.list(stored_items);
    return plan;
}

std::span<std::string_view> ColumnValues::names() const {
    std::vector<std::string_view> names;
    for (const Given& given : m_given) names.push_back(given.column->name);
    return m_resolution.arena.list(names);
}

Nodes ColumnValues::values() const {
    std::vector<Node*> values;
    for (const Given& given : m_given) values.push_back(given.value);
    return m_resolution.arena.list(values);
}

Node* ColumnValues::value_of(const RelationColumn& column) const {
    for (const Given& given : m_given) {
        if (given.column == &column) return given.value;
    }
    return nullptr;
}

} // namespace oci::sql
