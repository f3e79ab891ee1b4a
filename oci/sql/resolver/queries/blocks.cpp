#include "oci/sql/resolver/queries/blocks.h"

#include "oci/sql/resolver/expressions/calls.h"
#include "oci/sql/resolver/expressions/conversions.h"
#include "oci/sql/resolver/expressions/expressions.h"
#include "oci/sql/resolver/queries/grouping.h"
#include "oci/sql/resolver/queries/hierarchy.h"
#include "oci/sql/resolver/queries/limits.h"
#include "oci/sql/resolver/queries/row_numbers.h"
#include "oci/sql/resolver/queries/sources.h"

#include <algorithm>

namespace oci::sql {
namespace {

/// The name that an item has outside of its query: its alias, or that of the column it is.
std::string_view name_of(const SelectItem& item) {
    if (item.alias) return item.alias.text;
    if (item.value->kind == ExpressionKind::column) return item.value->as<ColumnReference>().column.text;
    return {};
}

class BlockResolver {
  public:
    BlockResolver(Resolution& resolution, Scope* outer, const Query& query, bool outermost)
        : m_resolution(resolution),
          m_scope(outer),
          m_query(query),
          m_block(*query.block),
          m_outermost(outermost),
          m_plan(*resolution.arena.make<Select>()) {}

    ResolvedQuery resolve() {
        const bool hierarchical = m_block.connect_by != nullptr;
        Hierarchy hierarchy;
        if (hierarchical) {
            prepare_hierarchy(m_resolution, hierarchy);
            m_scope.hierarchy = &hierarchy;
        }
        std::vector<Joined> joins = resolve_from(m_resolution, m_scope, m_block.from);
        where(joins);
        if (hierarchical) begin_rows(hierarchy, joins);
        const std::size_t in_rows = m_scope.columns.size();
        m_plan.from = m_resolution.arena.list(joins);
        if (hierarchical) m_plan.where = later_conditions();
        Grouping grouping(m_resolution, m_scope, m_block);
        items();
        grouping.having(m_plan);
        order();
        grouping.check(m_plan, in_rows);
        m_plan.distinct = m_block.distinct;
        if (hierarchical) {
            end_hierarchy(m_resolution, m_scope, hierarchy, m_plan, in_rows);
        } else if (m_row_limit != nullptr || (!m_scope.row_numbers.empty() && aggregates())) {
            limit_by_row_numbers(in_rows);
        }
        ResolvedQuery result{grouping.finish(m_plan), m_resolution.arena.list(m_columns), at_most_one_row()};
        if (m_outermost) outermost();
        limit_rows(m_resolution, m_scope.outer, result, m_query.limit);
        return result;
    }

  private:
    void where(std::vector<Joined>& joins) {
        std::vector<const Expression*> written;
        split_conjunction(m_block.where, written);
        std::vector<Node*> conditions;
        OuterJoins outer_joins(m_resolution, m_scope);
        m_scope.clause = Clause::where;
        m_scope.notes_sources = true;
        for (const Expression* expression : written) {
            const std::size_t mentions = m_scope.columns.size();
            const std::size_t numbers = m_scope.row_numbers.size();
            m_scope.mentioned.clear();
            m_scope.outer_joined = nullptr;
            if (m_scope.hierarchy != nullptr) m_scope.hierarchy->asked_early = false;
            Node* condition = resolve_condition(m_resolution, m_scope, *expression);
            if (m_scope.row_numbers.size() > numbers) {
                bound_row_number(*expression);
            } else if (m_scope.outer_joined != nullptr) {
                if (expression->kind == ExpressionKind::logical) throw OracleError(error::outer_join_in_or);
                outer_joins.add(condition);
            } else if (m_block.connect_by != nullptr && !joins_sources()) {
                m_scope.columns.resize(mentions);
                m_later.push_back(expression);
            } else {
                if (m_scope.hierarchy != nullptr && m_scope.hierarchy->asked_early)
                    throw OracleError(error::unimplemented, "CONNECT_BY_ISLEAF in a condition that joins tables");
                conditions.push_back(condition);
            }
        }
        m_scope.notes_sources = false;
        outer_joins.apply(joins);
        m_plan.where = m_resolution.build.conjunction(conditions);
    }

    bool joins_sources() const {
        return std::any_of(m_scope.mentioned.begin(), m_scope.mentioned.end(),
                           [&](const RowSource* source) { return source != m_scope.mentioned.front(); });
    }

    // CONNECT BY comes between the conditions of WHERE that join sources and the others.

    void begin_rows(Hierarchy& hierarchy, const std::vector<Joined>& joins) {
        if (m_row_limit != nullptr) throw OracleError(error::unimplemented, "ROWNUM in WHERE beside CONNECT BY");
        hierarchy.from = joins;
        hierarchy.joined = m_plan.where;
        begin_hierarchy(m_resolution, m_scope, m_query, hierarchy);
    }

    Node* later_conditions() {
        m_scope.clause = Clause::where;
        std::vector<Node*> conditions;
        for (const Expression* expression : m_later)
            conditions.push_back(resolve_condition(m_resolution, m_scope, *expression));
        return m_resolution.build.conjunction(conditions);
    }

    void bound_row_number(const Expression& written) {
        Node* limit = limit_of_row_number(m_resolution, m_scope, written);
        m_scope.row_numbers.clear();
        if (m_row_limit != nullptr) limit = m_resolution.build.call("min", {m_row_limit, limit}, ColumnType::number());
        m_row_limit = limit;
    }

    // The select list

    void add_item(Node* node, std::string_view name) {
        OutColumn column{name, node->type};
        column.stored = node->stored;
        column.never_null = node->never_null && !m_scope.has_grouping_sets;
        column.digits = node->digits;
        column.null = is_null_literal(*node);
        m_items.push_back(node);
        m_columns.push_back(column);
    }

    void add_columns(RowSource& source, bool all) {
        for (std::size_t i = 0; i < source.columns.size(); ++i) {
            const OutColumn& column = source.columns[i];
            if (column.hidden || (column.merged && !all)) continue;
            add_item(column_node(m_resolution, m_scope, source, i), column.name);
        }
    }

    void add_star(const Star& star) {
        bool found = false;
        if (!star.table) {
            for (const MergedColumn& merged : m_scope.merged)
                add_item(mention_again(m_resolution, m_scope, *merged.value), merged.name);
        }
        for (RowSource* source : m_scope.sources) {
            const bool meant =
                !star.table || (source->name == star.table.text &&
                                (!star.schema || source->schema.empty() || source->schema == star.schema.text));
            if (!meant) continue;
            add_columns(*source, static_cast<bool>(star.table));
            found = true;
        }
        if (!found) throw OracleError(error::invalid_identifier, quoted_path({star.schema.text, star.table.text}));
    }

    void items() {
        m_scope.clause = Clause::select;
        for (const SelectItem& item : m_block.items) {
            if (item.value->kind == ExpressionKind::star) {
                add_star(item.value->as<Star>());
            } else {
                add_item(sql::resolve(m_resolution, m_scope, *item.value), name_of(item));
            }
        }
        const bool sorts = m_block.distinct || m_block.grouped || !m_query.order_by.empty();
        if (sorts && !m_scope.sequences.empty()) throw OracleError(error::sequence_not_allowed);
        m_plan.items = m_resolution.arena.list(m_items);
    }

    // ORDER BY

    /// The item that a key means by its position or name; null when it is an expression.
    std::size_t item_of(const Expression& key) const {
        if (key.kind == ExpressionKind::number) {
            const std::string_view text = key.as<NumberLiteral>().text;
            const bool whole = text.size() < 6 && text.find_first_not_of("0123456789") == std::string_view::npos;
            const std::size_t position = whole ? std::stoul(std::string(text)) : 0;
            if (position == 0 || position > m_items.size()) throw OracleError(error::order_by_not_a_number);
            return position - 1;
        }
        if (key.kind != ExpressionKind::column || key.as<ColumnReference>().table) return m_items.size();
        std::size_t found = m_items.size();
        for (std::size_t i = 0; i < m_columns.size(); ++i) {
            if (m_columns[i].name.empty() || m_columns[i].name != key.as<ColumnReference>().column.text) continue;
            if (found < m_items.size() && !equal(*m_items[found], *m_items[i]))
                throw OracleError(error::ambiguous_column, quoted_path({m_columns[i].name}));
            found = std::min(found, i);
        }
        return found;
    }

    Node* position(std::size_t index) const {
        Node* key = m_resolution.build.raw(m_resolution.arena.text(std::to_string(index + 1)));
        key->never_null = m_columns[index].never_null;
        return key;
    }

    /// The index of the item that always has the same value; behind the last when there is none.
    std::size_t equal_item(const Node& key) const {
        std::size_t index = 0;
        while (index < m_items.size() && !equal(*m_items[index], key)) ++index;
        return index;
    }

    SortKey order_key(const OrderItem& item) {
        std::size_t index = item_of(*item.key);
        const std::size_t mentions = m_scope.columns.size();
        Node* key = index < m_items.size() ? m_items[index] : sql::resolve(m_resolution, m_scope, *item.key);
        if (index == m_items.size()) index = equal_item(*key);
        if (group_of(key->type) == TypeGroup::lob) inconsistent("-", key->type);
        if (m_block.distinct && index == m_items.size()) throw OracleError(error::not_a_selected_expression);
        const bool plain =
            index < m_items.size() && sort_key(m_resolution, key) == key && m_query.limit.count == nullptr;
        if (key->literal) key = m_resolution.build.null(); // a number would be a position for SQLite
        if (m_scope.has_grouping_sets) {
            key = m_resolution.build.copy(*key);
            key->never_null = false;
        }
        if (!plain) return sort_key(m_resolution, key, item);
        m_scope.columns.resize(mentions);
        return sort_key(m_resolution, position(index), item);
    }

    void order() {
        if (m_query.siblings) return;
        m_scope.clause = Clause::order_by;
        m_scope.aliases = m_columns;
        m_scope.selected = m_items;
        std::vector<SortKey> keys;
        for (const OrderItem& item : m_query.order_by) keys.push_back(order_key(item));
        m_plan.order = m_resolution.arena.list(keys);
    }

    // Rows

    /// Numbers are given to rows before they are grouped or sorted.
    void limit_by_row_numbers(std::size_t in_rows) {
        const auto windows = [](const Node* item) { return item->windows || item->aggregates; };
        const bool plain = m_plan.order.empty() && m_plan.group.empty() && !m_plan.distinct &&
                           m_plan.having == nullptr && m_scope.row_numbers.empty() && m_query.limit.count == nullptr &&
                           m_query.limit.offset == nullptr && std::none_of(m_items.begin(), m_items.end(), windows);
        if (!plain) {
            Select& rows = take_rows_apart(m_resolution, m_scope, m_plan, in_rows);
            rows.limit = m_row_limit;
        } else {
            m_plan.limit = m_row_limit;
        }
    }

    bool aggregates() const {
        return m_block.grouped ||
               std::any_of(m_items.begin(), m_items.end(), [](const Node* i) { return i->aggregates; });
    }

    bool at_most_one_row() const {
        if (m_plan.group.empty() && !m_block.grouped && aggregates()) return true;
        const bool dual = m_plan.from.empty() && m_block.connect_by == nullptr;
        const Node* limit = m_row_limit;
        return dual ||
               (limit != nullptr && limit->kind == Node::Kind::raw && (limit->text == "1" || limit->text == "0"));
    }

    // What only the statement's own query has

    void outermost() {
        Translation& result = m_resolution.result;
        for (const Expression* target : m_block.into) result.into.push_back(position_of_target(m_resolution, *target));
        result.bulk_into = m_block.bulk_into;
        if (!m_query.lock.locks) return;
        if (m_block.distinct || m_block.grouped || m_scope.outer != nullptr || !m_plan.group.empty())
            throw OracleError(error::for_update_not_allowed);
        result.for_update = true;
        result.skip_locked = m_query.lock.wait == RowLock::Wait::skip_locked;
        if (m_query.lock.wait == RowLock::Wait::nowait) result.wait_seconds = 0;
        if (m_query.lock.wait == RowLock::Wait::seconds) result.wait_seconds = m_query.lock.seconds;
        add_row_number();
    }

    /// A large object of a row that is locked can be written: the row's number tells which it is.
    void add_row_number() {
        const RowSource* locked = nullptr;
        for (const Expression* column : m_query.lock.of) {
            const FoundColumn found = find_column(m_scope, column->as<ColumnReference>());
            if (!found)
                throw OracleError(error::invalid_identifier, quoted_path({column->as<ColumnReference>().column.text}));
            locked = found.source;
        }
        if (locked == nullptr && m_scope.sources.size() == 1) locked = m_scope.sources.front();
        const bool direct = locked != nullptr && locked->relation != nullptr && m_block.connect_by == nullptr &&
                            std::any_of(m_plan.from.begin(), m_plan.from.end(),
                                        [&](const Joined& joined) { return joined.number == locked->number; });
        if (!direct) return;
        m_resolution.result.locked_table = locked->relation->stored_name;
        std::vector<Node*> items(m_plan.items.begin(), m_plan.items.end());
        items.push_back(m_resolution.build.row_number(locked->number));
        m_plan.items = m_resolution.arena.list(items);
    }

    Resolution& m_resolution;
    Scope m_scope;
    const Query& m_query;
    const Block& m_block;
    const bool m_outermost;
    Select& m_plan;
    std::vector<Node*> m_items;
    std::vector<OutColumn> m_columns;
    std::vector<const Expression*> m_later; ///< conditions of WHERE for the rows that CONNECT BY has found
    Node* m_row_limit = nullptr;
};

} // namespace

ResolvedQuery resolve_block(Resolution& resolution, Scope* outer, const Query& query, bool outermost) {
    return BlockResolver(resolution, outer, query, outermost).resolve();
}

} // namespace oci::sql
