#include "oci/sql/resolver/queries/grouping.h"

#include "oci/sql/resolver/expressions/calls.h"
#include "oci/sql/resolver/expressions/conversions.h"
#include "oci/sql/resolver/expressions/expressions.h"
#include "oci/sql/resolver/queries/queries.h"
#include "oci/sql/resolver/walk.h"

#include <algorithm>

namespace oci::sql {
namespace {

constexpr std::size_t most_keys = 64;
constexpr std::size_t most_sets = 256;
constexpr std::string_view grouping_name = "GROUPING"; ///< of a call that finish() replaces

bool is_constant(const Node& node) {
    return node.literal || node.kind == Node::Kind::string;
}

} // namespace

Grouping::Grouping(Resolution& resolution, Scope& scope, const Block& block)
    : m_resolution(resolution),
      m_scope(scope),
      m_block(block) {
    m_scope.clause = Clause::group_by;
    for (const GroupItem& item : block.group_by) {
        if (item.kind != GroupItem::Kind::expression) m_plain = false;
        std::vector<Set> product;
        for (const Set left : m_sets) {
            for (const Set right : sets_of(item)) product.push_back(left | right);
        }
        if (product.size() > most_sets) throw OracleError(error::unimplemented, "so many grouping sets");
        m_sets = std::move(product);
    }
    m_scope.has_grouping_sets = m_sets.size() > 1;
}

Grouping::Set Grouping::key(const Expression& expression) {
    Node* node = resolve(m_resolution, m_scope, expression);
    if (group_of(node->type) == TypeGroup::lob) inconsistent("-", node->type);
    for (std::size_t i = 0; i < m_keys.size(); ++i) {
        if (equal(*m_keys[i], *node)) return Set{1} << i;
    }
    m_keys.push_back(node);
    if (m_keys.size() > most_keys) throw OracleError(error::unimplemented, "more than 64 expressions in GROUP BY");
    return Set{1} << (m_keys.size() - 1);
}

Grouping::Set Grouping::keys(const Expression& expression) {
    if (expression.kind != ExpressionKind::list) return key(expression);
    Set set = 0;
    for (const Expression* item : expression.as<ExpressionList>().items) set |= key(*item);
    return set;
}

std::vector<Grouping::Set> Grouping::sets_of(const GroupItem& item) {
    std::vector<Set> parts;
    for (const Expression* expression : item.keys) parts.push_back(keys(*expression));
    std::vector<Set> sets;
    switch (item.kind) {
    case GroupItem::Kind::expression: {
        Set all = 0;
        for (const Set part : parts) all |= part;
        return {all};
    }
    case GroupItem::Kind::rollup:
        for (std::size_t count = parts.size() + 1; count-- > 0;) {
            Set set = 0;
            for (std::size_t i = 0; i < count; ++i) set |= parts[i];
            sets.push_back(set);
        }
        return sets;
    case GroupItem::Kind::cube:
        if (parts.size() > 8) throw OracleError(error::unimplemented, "CUBE of more than 8 expressions");
        for (std::size_t choice = std::size_t{1} << parts.size(); choice-- > 0;) {
            Set set = 0;
            for (std::size_t i = 0; i < parts.size(); ++i) {
                if ((choice >> (parts.size() - 1 - i) & 1) != 0) set |= parts[i];
            }
            sets.push_back(set);
        }
        return sets;
    case GroupItem::Kind::grouping_sets: break;
    }
    for (const Set part : parts) sets.push_back(part);
    for (const GroupItem& nested : item.nested) {
        for (const Set set : sets_of(nested)) sets.push_back(set);
    }
    return sets;
}

void Grouping::having(Select& plan) {
    if (m_block.having == nullptr) return;
    m_scope.clause = Clause::having;
    plan.having = resolve_condition(m_resolution, m_scope, *m_block.having);
}

bool Grouping::is_key(const Node& node) const {
    return std::any_of(m_keys.begin(), m_keys.end(), [&](const Node* key) { return equal(*key, node); });
}

bool Grouping::is_own_column(const Node& node) const {
    const auto& numbers = m_scope.row_numbers;
    if (std::find(numbers.begin(), numbers.end(), &node) != numbers.end()) return true;
    return node.kind == Node::Kind::column &&
           std::any_of(m_scope.sources.begin(), m_scope.sources.end(),
                       [&](const RowSource* source) { return source->number == node.number; });
}

void Grouping::mark(Node& node) {
    if (node.kind == Node::Kind::column) m_placed.push_back(&node);
    for_each_child(node, [&](Node*& child) { mark(*child); });
}

void Grouping::check(Node& node) {
    if (node.aggregate || is_key(node)) return mark(node);
    if (is_own_column(node))
        throw OracleError(m_block.grouped ? error::not_a_group_by_expression : error::not_a_single_group);
    for_each_child(node, [&](Node*& child) { check(*child); });
}

void Grouping::check(const Select& plan, std::size_t from) {
    const auto aggregates = [](const Node* item) { return item->aggregates; };
    const bool grouped =
        m_block.grouped || m_block.having != nullptr || std::any_of(plan.items.begin(), plan.items.end(), aggregates) ||
        std::any_of(plan.order.begin(), plan.order.end(), [](const SortKey& k) { return k.key->aggregates; });
    if (!grouped || m_scope.hierarchy != nullptr) return;
    for (Node* key : m_keys) mark(*key);
    for (Node* item : plan.items) check(*item);
    if (plan.having != nullptr) check(*plan.having);
    for (const SortKey& key : plan.order) check(*key.key);
    // Those that are left stand in queries within.
    for (std::size_t i = from; i < m_scope.columns.size(); ++i) {
        const Node* column = m_scope.columns[i];
        if (std::find(m_placed.begin(), m_placed.end(), column) == m_placed.end() && !is_key(*column))
            throw OracleError(m_block.grouped ? error::not_a_group_by_expression : error::not_a_single_group);
    }
}

Node* Grouping::in_set(Node& node, Set set) const {
    const Builder& build = m_resolution.build;
    return clone(build, node, [&](Node& part) -> Node* {
        for (std::size_t i = 0; i < m_keys.size(); ++i) {
            if ((set >> i & 1) == 0 && equal(*m_keys[i], part)) {
                Node* null = build.null();
                null->type = part.type;
                return null;
            }
        }
        if (part.kind == Node::Kind::call && part.text == grouping_name) {
            std::int64_t number = 0;
            for (const Node* key : part.operands) {
                std::size_t i = 0;
                while (i < m_keys.size() && !equal(*m_keys[i], *key)) ++i;
                number = number * 2 + (i < m_keys.size() && (set >> i & 1) != 0 ? 0 : 1);
            }
            return build.integer(number);
        }
        return part.aggregate ? build.copy(part) : nullptr;
    });
}

/// A key that is the position of an item stands for the item.
Node& Grouping::sorted_by(const Select& plan, Node& key) {
    const bool position = key.kind == Node::Kind::raw && key.text.find_first_not_of("0123456789") == std::string::npos;
    return position ? *plan.items[std::stoul(std::string(key.text)) - 1] : key;
}

Select* Grouping::of_set(const Select& plan, Set set) {
    const Builder& build = m_resolution.build;
    Select* part = m_resolution.arena.make<Select>(plan);
    std::vector<Node*> items;
    bool aggregates = false;
    for (Node* item : plan.items) {
        items.push_back(in_set(*item, set));
        aggregates = aggregates || item->aggregates;
    }
    for (const SortKey& key : plan.order) items.push_back(in_set(sorted_by(plan, *key.key), set));
    part->items = m_resolution.arena.list(items);
    part->order = {};
    std::vector<Node*> keys;
    for (std::size_t i = 0; i < m_keys.size(); ++i) {
        if ((set >> i & 1) != 0) keys.push_back(m_keys[i]);
    }
    if (keys.empty() && !aggregates) keys.push_back(build.raw("NULL")); // one group, of all rows
    part->group = m_resolution.arena.list(keys);
    if (plan.having != nullptr) part->having = in_set(*plan.having, set);
    return part;
}

Select* Grouping::nest(Select& plan) {
    if (!m_block.grouped) throw OracleError(error::nested_group_without_group_by);
    if (!m_plain) throw OracleError(error::unimplemented, "aggregates of aggregates beside grouping sets");
    const Builder& build = m_resolution.build;
    RowSource source;
    source.number = ++m_resolution.sources;
    Captures captures;
    const auto to_column = [&](Node& node) -> Node* {
        if (!node.aggregate && !is_key(node)) return nullptr;
        Node* column = build.copy(node);
        become_column(build, *column, source.number, captures.index_of(build, node));
        return column;
    };
    std::vector<Node*> items;
    for (Node* item : plan.items) {
        items.push_back(clone(build, *item, [&](Node& node) -> Node* {
            if (is_own_column(node)) throw OracleError(error::not_a_single_group);
            if (!node.aggregate) return nullptr;
            Node* outer = build.copy(node);
            outer->operands = m_resolution.arena.list(std::vector<Node*>(node.operands.begin(), node.operands.end()));
            const std::size_t before = captures.items.size();
            for (Node*& operand : outer->operands) operand = clone(build, *operand, to_column);
            if (captures.items.size() == before && !node.operands.empty() && node.operands.front()->text == "*")
                throw OracleError(error::not_a_single_group);
            return outer;
        }));
    }
    Select* groups = m_resolution.arena.make<Select>(plan);
    groups->items = m_resolution.arena.list(captures.items);
    groups->group = m_resolution.arena.list(m_keys);
    groups->order = {}; // of the one row
    groups->named = true;
    return select_from(m_resolution, source, groups, items);
}

/// SQLite takes HAVING without GROUP BY only where the select list has an aggregate.
void Grouping::aggregate_items(Select& plan) const {
    const Builder& build = m_resolution.build;
    if (std::any_of(plan.items.begin(), plan.items.end(), [](const Node* item) { return item->aggregates; })) return;
    Node* always = build.infix(">=", {build.call("count", {build.raw("*")}, {}), build.integer(0)});
    plan.items.front() = build.conditional({always, plan.items.front()}, plan.items.front()->type);
}

Select* Grouping::finish(Select& plan) {
    if (m_scope.nested_aggregates) return nest(plan);
    const bool one_set = m_sets.size() == 1;
    if (one_set && !m_scope.uses_grouping) {
        std::vector<Node*> keys;
        for (Node* key : m_keys) {
            if (!is_constant(*key)) keys.push_back(key); // a number would be a position for SQLite
        }
        if (keys.empty() && m_block.grouped) keys.push_back(m_resolution.build.raw("NULL"));
        plan.group = m_resolution.arena.list(keys);
        if (plan.having != nullptr && keys.empty()) aggregate_items(plan);
        return &plan;
    }
    Select* all = nullptr;
    for (const Set set : m_sets) {
        Select* part = of_set(plan, set);
        if (all == nullptr) {
            all = part;
            continue;
        }
        Select* both = m_resolution.arena.make<Select>();
        both->set_operator = " UNION ALL ";
        both->left = all;
        both->right = part;
        all = both;
    }
    const Builder& build = m_resolution.build;
    std::vector<OutColumn> columns(plan.items.size() + plan.order.size());
    const RowSource source = source_of_query(m_resolution, {all, m_resolution.arena.list(columns)});
    std::vector<Node*> items;
    for (std::size_t i = 0; i < plan.items.size(); ++i)
        items.push_back(build.derived(source.number, i, plan.items[i]->type));
    Select* outer = select_from(m_resolution, source, all, items);
    std::vector<SortKey> keys(plan.order.begin(), plan.order.end());
    for (std::size_t i = 0; i < keys.size(); ++i) keys[i].key = build.derived(source.number, plan.items.size() + i, {});
    outer->order = m_resolution.arena.list(keys);
    outer->distinct = plan.distinct;
    return outer;
}

Node* grouping_call(Resolution& resolution, Scope& scope, const Call& call) {
    if (call.arguments.empty()) throw OracleError(error::not_enough_arguments, call.name.text);
    if (call.name.text == "GROUPING" && call.arguments.size() > 1)
        throw OracleError(error::too_many_arguments, call.name.text);
    const bool allowed =
        scope.clause == Clause::select || scope.clause == Clause::having || scope.clause == Clause::order_by;
    if (!allowed) throw OracleError(error::grouping_not_supported);
    scope.uses_grouping = true;
    Node* node = resolution.build.call(
        grouping_name, resolution.arena.list(resolve_all(resolution, scope, call.arguments)), ColumnType::number());
    return node;
}

} // namespace oci::sql
