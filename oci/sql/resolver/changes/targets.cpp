#include "oci/sql/resolver/changes/targets.h"

#include "oci/sql/parser.h"
#include "oci/sql/resolver/queries/queries.h"
#include "oci/sql/resolver/queries/sources.h"

#include <algorithm>

namespace oci::sql {
namespace {

/// Is it the query of one table, of which it shows columns and leaves out rows, and nothing more?
bool is_simple(const Select& plan) {
    return plan.left == nullptr && plan.with.empty() && !plan.distinct && plan.group.empty() &&
           plan.having == nullptr && plan.limit == nullptr && plan.from.size() == 1 && !plan.from.front().table.empty();
}

const RelationColumn* find(const Relation& relation, std::string_view name) {
    const auto found = std::find_if(relation.columns.begin(), relation.columns.end(),
                                    [&](const RelationColumn& column) { return column.name == name; });
    return found == relation.columns.end() ? nullptr : &*found;
}

/// A query in the place of a table: its items stand for the columns.
ChangedTable through_query(Resolution& resolution, const ResolvedQuery& query) {
    const Select& plan = *query.plan;
    if (!is_simple(plan)) {
        const bool join = plan.left == nullptr && plan.from.size() > 1;
        throw OracleError(join ? error::not_key_preserved : error::view_not_updatable);
    }
    ChangedTable target;
    target.relation = resolution.catalogue.relation({}, plan.from.front().table);
    if (target.relation == nullptr) throw OracleError(error::view_not_updatable);
    target.condition = plan.where;
    target.source = resolution.arena.make<RowSource>();
    target.source->number = plan.from.front().number;
    target.source->columns = query.columns;
    target.source->values = plan.items;
    return target;
}

} // namespace

const RelationColumn& ChangedTable::column(std::size_t index) const {
    if (source->values.empty()) return relation->columns[index];
    const Node& value = *source->values[index];
    const bool own = value.kind == Node::Kind::column && value.number == source->number && value.quoted;
    const RelationColumn* found = own ? find(*relation, value.text) : nullptr;
    if (found == nullptr) throw OracleError(error::virtual_column_not_allowed);
    return *found;
}

std::size_t ChangedTable::index_of(std::string_view name) const {
    for (std::size_t i = 0; i < source->columns.size(); ++i) {
        if (source->columns[i].name == name) return i;
    }
    throw OracleError(error::invalid_identifier, quoted_path({source->name, name}));
}

ChangedTable resolve_changed_table(Resolution& resolution, Scope& scope, const ModifiedTable& written) {
    ChangedTable target;
    if (written.query != nullptr) {
        target = through_query(resolution, resolve_query(resolution, nullptr, *written.query));
    } else {
        const Relation& relation = find_relation(resolution, written.table);
        if (relation.of_server) throw OracleError(error::insufficient_privileges);
        if (relation.read_only) throw OracleError(error::read_only_view, relation.name);
        if (relation.kind == Relation::Kind::view) {
            std::span<OutColumn> columns;
            Select* plan = query_of_view(resolution, relation, columns);
            target = through_query(resolution, {plan, columns});
        } else {
            target.relation = &relation;
            target.source = resolution.arena.make<RowSource>();
            target.source->number = ++resolution.sources;
            target.source->relation = &relation;
            target.source->columns = columns_of(resolution, relation);
        }
        target.source->name = written.table.name.text;
        target.source->schema = written.table.schema.text;
    }
    if (written.alias) {
        target.source->name = written.alias.text;
        target.source->schema = {};
    }
    scope.sources.push_back(target.source);
    return target;
}

} // namespace oci::sql
