#include "oci/sql/resolver/changes/changes.h"

#include "oci/sql/resolver/changes/column_values.h"
#include "oci/sql/resolver/changes/row_changes.h"
#include "oci/sql/resolver/changes/targets.h"
#include "oci/sql/resolver/expressions/conversions.h"
#include "oci/sql/resolver/expressions/expressions.h"
#include "oci/sql/resolver/printer.h"
#include "oci/sql/resolver/queries/queries.h"
#include "oci/sql/resolver/queries/row_numbers.h"
#include "oci/sql/resolver/walk.h"

#include <algorithm>

namespace oci::sql {
namespace {

// RETURNING

void returning(Resolution& resolution, const ChangedTable& target, const Returning& written, Change& change) {
    if (written.values.empty()) return;
    Scope scope;
    RowSource row = *target.source;
    if (!row.values.empty()) throw OracleError(error::unimplemented, "RETURNING from a view");
    row.number = 0;
    scope.sources.push_back(&row);
    scope.clause = Clause::values;
    check_value_count(written.into.size(), written.values.size());
    std::vector<Node*> values = resolve_all(resolution, scope, written.values);
    Translation& result = resolution.result;
    for (const Expression* into : written.into) result.into.push_back(position_of_target(resolution, *into));
    result.bulk_into = written.bulk;
    for (const Node* value : values) result.columns.push_back({{}, value->type, value->stored});
    const auto is_large = [](const Node* value) { return group_of(value->type) == TypeGroup::lob; };
    if (std::any_of(values.begin(), values.end(), is_large)) {
        result.locked_table = target.relation->stored_name;
        values.push_back(resolution.build.row_number(0));
    }
    change.returning = resolution.arena.list(values);
}

// Which rows

Node* current_row(Resolution& resolution, const ChangedTable& target, const Name& cursor) {
    const auto row =
        resolution.variables == nullptr ? std::nullopt : resolution.variables->variable({}, cursor.text, "ROWID");
    if (!row) throw OracleError(error::block_error, "PLS-00413: identifier in CURRENT OF clause is not a cursor name");
    return resolution.build.infix("=", {resolution.build.row_number(target.source->number),
                                        resolution.build.parameter(row->position, row->type)});
}

Node* rows_of(Resolution& resolution, Scope& scope, const ChangedTable& target, const Expression* where,
              const Name& current_of) {
    const Builder& build = resolution.build;
    if (current_of) return current_row(resolution, target, current_of);
    scope.clause = Clause::where;
    std::vector<const Expression*> written;
    split_conjunction(where, written);
    std::vector<Node*> conditions;
    if (target.condition != nullptr) conditions.push_back(target.condition);
    Node* limit = nullptr;
    for (const Expression* expression : written) {
        const std::size_t before = scope.row_numbers.size();
        Node* condition = resolve_condition(resolution, scope, *expression);
        if (scope.row_numbers.size() == before) {
            conditions.push_back(condition);
            continue;
        }
        Node* bound = limit_of_row_number(resolution, scope, *expression);
        limit = limit == nullptr ? bound : build.call("min", {limit, bound}, ColumnType::number());
    }
    Node* condition = build.conjunction(conditions);
    if (limit == nullptr) return condition;
    Joined table;
    table.table = target.relation->stored_name;
    table.number = target.source->number;
    Select* rows = resolution.arena.make<Select>();
    rows->items = build.list({build.row_number(table.number)});
    rows->from = resolution.arena.list(std::vector<Joined>{table});
    rows->where = condition;
    rows->limit = limit;
    return build.in(build.row_number(table.number), rows, false);
}

// UPDATE

bool has_query(Node& node) {
    bool found = node.query != nullptr;
    for_each_child(node, [&](Node*& child) { found = found || has_query(*child); });
    return found;
}

/// A query in an assignment or condition must not see the rows that the statement has changed already: all rows and
/// values are found first.
void find_values_first(Resolution& resolution, Change& change) {
    const Builder& build = resolution.build;
    const bool queries = std::any_of(change.assignments.begin(), change.assignments.end(),
                                     [](const Change::Assignment& a) { return has_query(*a.value); });
    if (!queries && (change.where == nullptr || !has_query(*change.where))) return;
    Joined table;
    table.table = change.table;
    table.number = change.number;
    Select* rows = resolution.arena.make<Select>();
    RowSource source;
    source.number = ++resolution.sources;
    std::vector<Node*> items{build.row_number(change.number)};
    for (Change::Assignment& assignment : change.assignments) {
        items.push_back(assignment.value);
        assignment.value = build.derived(source.number, items.size() - 1, assignment.value->type);
    }
    rows->items = resolution.arena.list(items);
    rows->named = true;
    rows->from = resolution.arena.list(std::vector<Joined>{table});
    rows->where = change.where;
    Joined values;
    values.query = rows;
    values.number = source.number;
    change.number = ++resolution.sources;
    change.from = resolution.arena.list(std::vector<Joined>{values});
    change.where = build.infix("=", {build.row_number(change.number), build.derived(source.number, 0, {})});
}

} // namespace

void resolve_insert(Resolution& resolution, const Insert& insert) {
    if (insert.multiple) return insert_into_several(resolution, insert);
    const InsertTarget& written = insert.targets.front();
    Scope scope;
    const ChangedTable target = resolve_changed_table(resolution, scope, written.table);
    scope.sources.clear();
    scope.clause = Clause::values;
    Change change;
    change.kind = Change::Kind::insert;
    change.table = target.relation->stored_name;
    resolution.result.modified_table = target.relation->stored_name;
    if (written.record != nullptr) throw OracleError(error::unimplemented, "VALUES of a record");
    ColumnValues values(resolution, target);
    if (insert.query == nullptr) {
        values.give(scope, written.columns, written.values);
        returning(resolution, target, insert.returning, change);
        if (target.relation->has_triggers) return insert_by_rows(resolution, target, values, nullptr, change);
        change.values = values.values();
    } else {
        change.query = values.give(written.columns, resolve_query(resolution, nullptr, *insert.query));
        returning(resolution, target, insert.returning, change);
        if (target.relation->has_triggers) return insert_by_rows(resolution, target, values, change.query, change);
    }
    change.columns = values.names();
    print(resolution.result.sql, change);
}

void resolve_update(Resolution& resolution, const Update& update) {
    if (update.row != nullptr) throw OracleError(error::unimplemented, "SET ROW");
    Scope scope;
    const ChangedTable target = resolve_changed_table(resolution, scope, update.table);
    Change change;
    change.kind = Change::Kind::update;
    change.table = target.relation->stored_name;
    resolution.result.modified_table = target.relation->stored_name;
    change.number = target.source->number;
    scope.clause = Clause::values;
    change.assignments = resolve_assignments(resolution, scope, target, update.assignments);
    change.where = rows_of(resolution, scope, target, update.where, update.current_of);
    returning(resolution, target, update.returning, change);
    if (target.relation->has_triggers) return change_by_rows(resolution, target, change);
    find_values_first(resolution, change);
    print(resolution.result.sql, change);
}

void resolve_remove(Resolution& resolution, const Remove& remove) {
    Scope scope;
    const ChangedTable target = resolve_changed_table(resolution, scope, remove.table);
    Change change;
    change.kind = Change::Kind::remove;
    change.table = target.relation->stored_name;
    resolution.result.modified_table = target.relation->stored_name;
    change.number = target.source->number;
    change.where = rows_of(resolution, scope, target, remove.where, remove.current_of);
    returning(resolution, target, remove.returning, change);
    if (target.relation->has_triggers) return change_by_rows(resolution, target, change);
    print(resolution.result.sql, change);
}

} // namespace oci::sql
