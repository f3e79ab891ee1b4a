#include "oci/sql/resolver/changes/row_changes.h"

#include "oci/sql/resolver/expressions/conversions.h"
#include "oci/sql/resolver/expressions/expressions.h"
#include "oci/sql/resolver/printer.h"
#include "oci/sql/resolver/queries/sources.h"
#include "oci/sql/resolver/walk.h"

#include <algorithm>

namespace oci::sql {
namespace {

/// The query that finds the rows, and what is done with each.
class DrivingQuery {
  public:
    explicit DrivingQuery(Resolution& resolution) : m_resolution(resolution) {}

    /// The index of the column that has the value.
    int column(Node* value) {
        for (std::size_t i = 0; i < m_items.size(); ++i) {
            if (m_items[i] == value) return static_cast<int>(i);
        }
        m_items.push_back(value);
        return static_cast<int>(m_items.size() - 1);
    }

    int condition(Node* condition) {
        const Builder& build = m_resolution.build;
        return condition == nullptr ? -1
                                    : column(build.conditional({condition, build.integer(1), build.integer(0)}, {}));
    }

    void insert(const ChangedTable& target, const ColumnValues& values, Node* when, Nodes returning = {}) {
        const Relation& relation = *target.relation;
        RowAction action = action_of(RowAction::Event::insert, relation, when);
        Change change = change_of(Change::Kind::insert, relation, returning);
        std::vector<std::string_view> names;
        std::vector<Node*> parameters;
        for (const RelationColumn& column : relation.columns) {
            Node* value = values.value_of(column);
            if (relation.has_triggers && value == nullptr && !column.virtual_column)
                value = default_value(m_resolution, column);
            if (relation.has_triggers && !column.hidden)
                action.new_values.push_back(value == nullptr ? -1 : this->column(value));
            if (value == nullptr) continue;
            names.push_back(column.name);
            parameters.push_back(parameter(action, value));
        }
        change.columns = m_resolution.arena.list(names);
        change.values = m_resolution.arena.list(parameters);
        finish(std::move(action), change);
    }

    void update(const ChangedTable& target, std::span<const Change::Assignment> assignments, Node* row, Node* when,
                Nodes returning = {}) {
        RowAction action = action_of(RowAction::Event::update, *target.relation, when);
        Change change = change_of(Change::Kind::update, *target.relation, returning);
        std::vector<Change::Assignment> parameters;
        for (const auto& [name, value] : assignments) parameters.push_back({name, parameter(action, value)});
        change.assignments = m_resolution.arena.list(parameters);
        note_images(action, target, assignments);
        of_row(action, change, row);
        finish(std::move(action), change);
    }

    void remove(const ChangedTable& target, Node* row, Node* when, Nodes returning = {}) {
        RowAction action = action_of(RowAction::Event::remove, *target.relation, when);
        Change change = change_of(Change::Kind::remove, *target.relation, returning);
        note_images(action, target, {});
        of_row(action, change, row);
        finish(std::move(action), change);
    }

    void print_over(Select& query) {
        query.items = m_resolution.arena.list(m_items);
        print(m_resolution.result.sql, query);
    }

  private:
    RowAction action_of(RowAction::Event event, const Relation& relation, Node* when) {
        RowAction action;
        action.event = event;
        action.table = relation.stored_name;
        action.condition = condition(when);
        return action;
    }

    static Change change_of(Change::Kind kind, const Relation& relation, Nodes returning) {
        Change change;
        change.kind = kind;
        change.table = relation.stored_name;
        change.returning = returning;
        return change;
    }

    Node* parameter(RowAction& action, Node* value) {
        action.values.push_back(column(value));
        return m_resolution.build.parameter(static_cast<unsigned>(action.values.size()), value->type);
    }

    void of_row(RowAction& action, Change& change, Node* row) {
        Node* number = parameter(action, row);
        action.row = action.values.back();
        change.where = m_resolution.build.infix("=", {m_resolution.build.row_number(0), number});
    }

    /// What triggers see.
    void note_images(RowAction& action, const ChangedTable& target, std::span<const Change::Assignment> assignments) {
        const Relation& relation = *target.relation;
        if (!relation.has_triggers) return;
        for (const RelationColumn& known : relation.columns) {
            if (known.hidden) continue;
            action.old_values.push_back(
                column(m_resolution.build.column(target.source->number, known.name, known.type)));
            if (action.event != RowAction::Event::update) continue;
            action.columns.emplace_back(known.name);
            const auto set =
                std::find_if(assignments.begin(), assignments.end(),
                             [&](const Change::Assignment& assignment) { return assignment.column == known.name; });
            action.new_values.push_back(set == assignments.end() ? -1 : column(set->value));
        }
    }

    void finish(RowAction action, const Change& change) {
        print(action.sql, change);
        m_resolution.result.actions.push_back(std::move(action));
    }

    Resolution& m_resolution;
    std::vector<Node*> m_items;
};

Joined joined_table(const ChangedTable& target) {
    Joined joined;
    joined.table = target.relation->stored_name;
    joined.number = target.source->number;
    return joined;
}

/// MERGE finds for each row of its source the rows of the table that belong to it.
class MergeResolver {
  public:
    MergeResolver(Resolution& resolution, const Merge& merge)
        : m_resolution(resolution),
          m_build(resolution.build),
          m_merge(merge),
          m_driving(resolution) {}

    void resolve() {
        Source* from[] = {m_merge.source};
        std::vector<Joined> joins = resolve_from(m_resolution, m_scope, from);
        m_one_row = joins.empty();
        if (m_one_row) joins.push_back(one_row());
        m_target = resolve_changed_table(m_resolution, m_scope, m_merge.table);
        if (m_target.condition != nullptr) throw OracleError(error::view_not_updatable);
        m_target.source->optional = true;
        m_row = m_build.row_number(m_target.source->number);
        Joined table = joined_table(m_target);
        table.kind = Joined::Kind::left;
        table.condition = condition();
        joins.push_back(table);
        if (m_merge.updates) update();
        if (m_merge.inserts) insert();
        Select query;
        query.from = m_resolution.arena.list(joins);
        m_driving.print_over(query);
        m_resolution.result.modified_table = m_target.relation->stored_name;
    }

  private:
    Joined one_row() {
        Joined joined;
        joined.query = m_resolution.arena.make<Select>();
        joined.query->items = m_build.list({m_build.integer(1)});
        joined.number = ++m_resolution.sources;
        return joined;
    }

    Node* condition() {
        m_scope.clause = Clause::join;
        Node* condition = resolve_condition(m_resolution, m_scope, *m_merge.condition);
        for (const Node* column : m_scope.columns) {
            if (column->number == m_target.source->number) m_compared.push_back(column->text);
        }
        return condition;
    }

    Node* both(Node* condition, const Expression* where) {
        if (where == nullptr) return condition;
        m_scope.clause = Clause::where;
        return m_build.infix(" AND ", {condition, resolve_condition(m_resolution, m_scope, *where)});
    }

    void update() {
        m_scope.clause = Clause::values;
        const auto assignments = resolve_assignments(m_resolution, m_scope, m_target, m_merge.assignments);
        for (const Change::Assignment& assignment : assignments) {
            if (std::find(m_compared.begin(), m_compared.end(), assignment.column) != m_compared.end())
                throw OracleError(error::on_clause_column_updated,
                                  quoted_path({m_target.source->name, assignment.column}));
        }
        Node* matched = both(m_build.suffix(m_row, " IS NOT NULL"), m_merge.update_where);
        m_driving.update(m_target, assignments, m_one_row ? m_row : row_changed_once(matched), matched);
        if (m_merge.delete_where == nullptr) return;
        Node* removed = both(matched, m_merge.delete_where);
        // DELETE WHERE looks at the row as UPDATE has left it.
        removed->operands[1] = clone(m_build, *removed->operands[1], [&](Node& node) -> Node* {
            if (node.kind != Node::Kind::column || node.number != m_target.source->number) return nullptr;
            for (const Change::Assignment& assignment : assignments) {
                if (assignment.column == node.text) return assignment.value;
            }
            return nullptr;
        });
        m_driving.remove(m_target, m_row, removed);
    }

    /// ORA-30926 when several rows of the source would change the same row.
    Node* row_changed_once(Node* matched) {
        Node* count = m_build.call("count", {m_build.conditional({matched, m_build.integer(1)}, {})}, {});
        count->over = m_resolution.arena.make<Over>();
        count->over->partition = m_build.list({m_row});
        Node* again = m_build.infix(
            " AND ", {m_build.suffix(m_row, " IS NOT NULL"), m_build.infix(">", {count, m_build.integer(1)})});
        Node* refused = m_build.call("ora_raise", {m_build.integer(error::unstable_rows.code)}, {});
        return m_build.conditional({again, refused, m_row}, {});
    }

    void insert() {
        m_scope.clause = Clause::values;
        ColumnValues values(m_resolution, m_target);
        values.give(m_scope, m_merge.insert_columns, m_merge.insert_values);
        m_driving.insert(m_target, values, both(m_build.suffix(m_row, " IS NULL"), m_merge.insert_where));
    }

    Resolution& m_resolution;
    const Builder& m_build;
    const Merge& m_merge;
    DrivingQuery m_driving;
    Scope m_scope;
    ChangedTable m_target;
    Node* m_row = nullptr;
    bool m_one_row = false;
    std::vector<std::string_view> m_compared; ///< columns of the table that ON mentions
};

} // namespace

void insert_by_rows(Resolution& resolution, const ChangedTable& target, const ColumnValues& values, Select* query,
                    const Change& change) {
    DrivingQuery driving(resolution);
    if (query != nullptr) {
        for (Node* item : query->items) driving.column(item);
    }
    driving.insert(target, values, nullptr, change.returning);
    Select one_row;
    driving.print_over(query != nullptr ? *query : one_row);
    resolution.result.modified_table = target.relation->stored_name;
}

void change_by_rows(Resolution& resolution, const ChangedTable& target, const Change& change) {
    DrivingQuery driving(resolution);
    Node* row = resolution.build.row_number(target.source->number);
    if (change.kind == Change::Kind::update) {
        driving.update(target, change.assignments, row, nullptr, change.returning);
    } else {
        driving.remove(target, row, nullptr, change.returning);
    }
    Select query;
    query.from = resolution.arena.list(std::vector<Joined>{joined_table(target)});
    query.where = change.where;
    driving.print_over(query);
}

void insert_into_several(Resolution& resolution, const Insert& insert) {
    const Builder& build = resolution.build;
    const ResolvedQuery query = resolve_query(resolution, nullptr, *insert.query);
    RowSource* source = resolution.arena.make<RowSource>(source_of_query(resolution, query));
    Scope scope;
    scope.sources.push_back(source);
    DrivingQuery driving(resolution);
    std::vector<Node*> earlier; // conditions of the targets before
    const Expression* last = nullptr;
    Node* when = nullptr;
    for (const InsertTarget& written : insert.targets) {
        Scope of_target;
        const ChangedTable target = resolve_changed_table(resolution, of_target, written.table);
        const bool same = written.when != nullptr && written.when == last; // several INTO of one WHEN
        if (written.when != nullptr && !same) {
            scope.clause = Clause::where;
            Node* condition = resolve_condition(resolution, scope, *written.when);
            when = condition;
            if (insert.first_match && !earlier.empty()) {
                Node* none = build.suffix(build.infix(" OR ", resolution.arena.list(earlier)), " IS NOT TRUE");
                when = build.infix(" AND ", {none, condition});
            }
            earlier.push_back(condition);
            last = written.when;
        } else if (written.otherwise && !earlier.empty()) {
            when = build.suffix(build.infix(" OR ", resolution.arena.list(earlier)), " IS NOT TRUE");
        } else if (written.when == nullptr) {
            when = nullptr;
        }
        scope.clause = Clause::values;
        ColumnValues values(resolution, target);
        if (written.values.empty()) {
            std::vector<Node*> items;
            for (std::size_t i = 0; i < source->columns.size(); ++i)
                items.push_back(column_node(resolution, scope, *source, i));
            values.give(written.columns, {select_from(resolution, *source, query.plan, items), query.columns});
        } else {
            values.give(scope, written.columns, written.values);
        }
        driving.insert(target, values, when);
        resolution.result.modified_table = target.relation->stored_name;
    }
    Select* rows = select_from(resolution, *source, query.plan, {});
    driving.print_over(*rows);
}

void resolve_merge(Resolution& resolution, const Merge& merge) {
    MergeResolver(resolution, merge).resolve();
}

} // namespace oci::sql
