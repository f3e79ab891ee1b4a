#include "oci/sql/resolver/queries/limits.h"

#include "oci/sql/resolver/expressions/conversions.h"
#include "oci/sql/resolver/expressions/expressions.h"

namespace oci::sql {
namespace {

Node* ranking(Resolution& resolution, std::string_view function, std::span<SortKey> order) {
    Nodes arguments;
    if (function == "count") arguments = resolution.build.list({resolution.build.raw("*")});
    Node* node = resolution.build.call(function, arguments, ColumnType::number());
    node->over = resolution.arena.make<Over>();
    node->over->order = order;
    return node;
}

/// The keys of ORDER BY as columns of the query, which get places behind those that it has.
std::vector<SortKey> keys_as_columns(Resolution& resolution, Select& plan, unsigned source) {
    std::vector<Node*> items(plan.items.begin(), plan.items.end());
    std::vector<SortKey> keys(plan.order.begin(), plan.order.end());
    for (SortKey& key : keys) {
        std::size_t index = items.size();
        const bool position = key.key->kind == Node::Kind::raw && plan.left != nullptr;
        if (position) {
            index = std::stoul(std::string(key.key->text)) - 1;
        } else {
            items.push_back(key.key);
        }
        key.key = resolution.build.derived(source, index, {});
    }
    plan.items = resolution.arena.list(items);
    plan.order = {};
    return keys;
}

/// WITH TIES and PERCENT ask for the place of each row among all.
Select* ranked(Resolution& resolution, ResolvedQuery& query, const RowLimit& limit, Node* offset, Node* count) {
    const Builder& build = resolution.build;
    const std::size_t width = query.columns.size();
    const RowSource rows = source_of_query(resolution, query);
    const auto order = resolution.arena.list(keys_as_columns(resolution, *query.plan, rows.number));
    std::vector<Node*> items;
    for (std::size_t i = 0; i < width; ++i) items.push_back(build.derived(rows.number, i, query.columns[i].type));
    items.push_back(ranking(resolution, "row_number", order));
    items.push_back(ranking(resolution, limit.with_ties && !order.empty() ? "rank" : "row_number", order));
    items.push_back(ranking(resolution, "count", {}));
    Select* with_places = select_from(resolution, rows, query.plan, items);
    const RowSource places = source_of_query(resolution, {with_places, query.columns});
    const auto place = [&](std::size_t index) {
        return build.derived(places.number, width + index, ColumnType::number());
    };
    if (limit.percent) {
        Node* share = build.infix("/", {build.infix("*", {place(2), count}), build.raw("100.0")});
        count = build.call(sqlite_name("CEIL"), {share}, ColumnType::number());
    }
    std::vector<Node*> selected;
    for (std::size_t i = 0; i < width; ++i) selected.push_back(build.derived(places.number, i, query.columns[i].type));
    Select* chosen = select_from(resolution, places, with_places, selected);
    Node* last = offset != nullptr ? build.infix("+", {offset, count}) : count;
    std::vector<Node*> conditions{build.infix("<=", {place(1), last})};
    if (offset != nullptr) conditions.push_back(build.infix(">", {place(0), offset}));
    chosen->where = build.conjunction(conditions);
    chosen->order = resolution.arena.list(std::vector<SortKey>{{place(0), false, 0}});
    return chosen;
}

} // namespace

void limit_rows(Resolution& resolution, Scope* outer, ResolvedQuery& query, const RowLimit& limit) {
    if (limit.count == nullptr && limit.offset == nullptr) return;
    const Builder& build = resolution.build;
    Scope scope(outer);
    Node* offset = nullptr;
    Node* count = nullptr;
    if (limit.offset != nullptr) offset = row_limit(resolution, "<=", resolve(resolution, scope, *limit.offset));
    if (limit.count != nullptr) {
        count = resolve(resolution, scope, *limit.count);
        count = limit.percent ? as_number(resolution, count) : row_limit(resolution, "<=", count);
    }
    if (limit.percent || limit.with_ties) {
        query.plan = ranked(resolution, query, limit, offset, count);
        return;
    }
    query.plan->limit = count != nullptr ? count : build.integer(-1);
    query.plan->offset = offset;
    if (count != nullptr && count->kind == Node::Kind::raw && count->text == "1") query.at_most_one_row = true;
}

} // namespace oci::sql
