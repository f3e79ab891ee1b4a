#include "oci/sql/resolver/queries/queries.h"

#include "oci/sql/resolver/expressions/calls.h"
#include "oci/sql/resolver/expressions/conversions.h"
#include "oci/sql/resolver/expressions/expressions.h"
#include "oci/sql/resolver/queries/blocks.h"
#include "oci/sql/resolver/queries/limits.h"

#include <algorithm>

namespace oci::sql {
namespace {

constexpr std::size_t most_combined = 500; // SQLite's limit
constexpr int deepest_queries = 60;

std::string_view words_of(SetOperator op) {
    static constexpr std::string_view words[] = {" UNION ", " UNION ALL ", " INTERSECT ", " EXCEPT "};
    return words[static_cast<std::size_t>(op)];
}

/// Gives the columns of the query names, by which the query around it knows them.
void name_columns(Select* query) {
    for (; query->left != nullptr; query = query->left) {
    }
    query->named = true;
}

void convert_column(Resolution& resolution, Select& query, std::size_t index, const ColumnType& type) {
    if (query.left != nullptr) {
        convert_column(resolution, *query.left, index, type);
        convert_column(resolution, *query.right, index, type);
        return;
    }
    Node*& item = query.items[index];
    const bool unpadded = type.family == Family::text && item->type.family == Family::fixed_text && !item->literal;
    item = unpadded ? resolution.build.suffix(item, " COLLATE BINARY", type) : convert(resolution, item, type);
}

void combine_columns(Resolution& resolution, ResolvedQuery& left, ResolvedQuery& right, bool distinct) {
    if (left.columns.size() != right.columns.size()) throw OracleError(error::wrong_result_column_count);
    for (std::size_t i = 0; i < left.columns.size(); ++i) {
        OutColumn& column = left.columns[i];
        const OutColumn& other = right.columns[i];
        ColumnType type = common_type(column.type, other.type, Mixing::set_operator);
        const bool large = group_of(type) == TypeGroup::lob;
        if (large && distinct) inconsistent("-", type);
        const bool known = !column.null && !other.null;
        if (known && (column.type.family == Family::unknown || other.type.family == Family::unknown)) type = {};
        if (column.type.family != type.family) convert_column(resolution, *left.plan, i, type);
        if (other.type.family != type.family) convert_column(resolution, *right.plan, i, type);
        column.type = type;
        column.stored = column.stored && other.stored;
        column.never_null = column.never_null && other.never_null;
        column.digits =
            column.digits != 0 && other.digits != 0 ? std::max(column.digits, other.digits) : std::uint8_t{0};
        column.null = column.null && other.null;
    }
}

ResolvedQuery combined(Resolution& resolution, Scope* outer, const Query& last) {
    std::vector<const Query*> chain{&last};
    // What has an order or a limit of its own is a query in parentheses.
    const auto is_link = [](const Query& query) {
        return query.block == nullptr && query.order_by.empty() && query.with.empty() && query.limit.count == nullptr &&
               query.limit.offset == nullptr;
    };
    while (is_link(*chain.back()->left)) chain.push_back(chain.back()->left);
    if (chain.size() >= most_combined) throw OracleError(error::unimplemented, "more than 500 combined queries");
    const int sequences = resolution.sequences;
    ResolvedQuery query = resolve_query(resolution, outer, *chain.back()->left);
    for (auto link = chain.rbegin(); link != chain.rend(); ++link) {
        ResolvedQuery right = resolve_query(resolution, outer, *(*link)->right);
        combine_columns(resolution, query, right, (*link)->op != SetOperator::union_all);
        Select* plan = resolution.arena.make<Select>();
        plan->set_operator = words_of((*link)->op);
        plan->left = query.plan;
        plan->right = right.plan;
        plan->items = resolution.arena.list(std::vector<Node*>(query.columns.size()));
        query.plan = plan;
    }
    if (resolution.sequences > sequences) throw OracleError(error::sequence_not_allowed);
    return query;
}

std::size_t position_in(const ResolvedQuery& query, const Expression& key) {
    if (key.kind == ExpressionKind::number) {
        const std::string_view text = key.as<NumberLiteral>().text;
        const std::size_t position = text.size() < 6 ? std::stoul(std::string(text)) : 0;
        if (position == 0 || position > query.columns.size()) throw OracleError(error::order_by_not_a_number);
        return position - 1;
    }
    if (key.kind == ExpressionKind::column && !key.as<ColumnReference>().table) {
        for (std::size_t i = 0; i < query.columns.size(); ++i) {
            if (query.columns[i].name == key.as<ColumnReference>().column.text) return i;
        }
        throw OracleError(error::invalid_identifier, quoted_path({key.as<ColumnReference>().column.text}));
    }
    throw OracleError(error::order_by_not_a_number);
}

void order_combined(Resolution& resolution, ResolvedQuery& query, std::span<const OrderItem> items) {
    std::vector<SortKey> keys;
    for (const OrderItem& item : items) {
        const std::size_t index = position_in(query, *item.key);
        Node* key = resolution.build.raw(resolution.arena.text(std::to_string(index + 1)));
        key->never_null = query.columns[index].never_null;
        keys.push_back(sort_key(resolution, key, item));
    }
    query.plan->order = resolution.arena.list(keys);
}

/// WITH queries see those before them, and themselves.
class WithClause {
  public:
    WithClause(Resolution& resolution, Scope& scope) : m_resolution(resolution), m_scope(scope) {}

    Common resolve(const WithQuery& with) {
        const bool recursive = with.query->left != nullptr && !with.columns.empty();
        return recursive ? resolve_recursive(with) : resolve_plain(with);
    }

  private:
    void rename(ResolvedQuery& query, const WithQuery& with) const {
        if (with.columns.empty()) return;
        if (with.columns.size() != query.columns.size()) throw OracleError(error::with_column_count);
        for (std::size_t i = 0; i < query.columns.size(); ++i) query.columns[i].name = with.columns[i].text;
    }

    Common resolve_plain(const WithQuery& with) {
        const std::string_view around =
            std::exchange(m_resolution.defining, with.columns.empty() ? with.name.text : std::string_view());
        ResolvedQuery query = resolve_query(m_resolution, &m_scope, *with.query);
        m_resolution.defining = around;
        rename(query, with);
        const unsigned number = ++m_resolution.commons;
        m_scope.queries.push_back({with.name.text, number, query.columns});
        return {number, query.columns.size(), query.plan};
    }

    /// The first of the combined queries gives the types.
    Common resolve_recursive(const WithQuery& with) {
        const Query& whole = *with.query;
        ResolvedQuery anchor = resolve_query(m_resolution, &m_scope, *whole.left);
        rename(anchor, with);
        for (OutColumn& column : anchor.columns) {
            column.stored = column.never_null = false;
            column.digits = 0;
            if (column.type.family == Family::number) column.type = ColumnType::number();
        }
        const unsigned number = ++m_resolution.commons;
        m_scope.queries.push_back({with.name.text, number, anchor.columns});
        ResolvedQuery next = resolve_query(m_resolution, &m_scope, *whole.right);
        combine_columns(m_resolution, anchor, next, whole.op != SetOperator::union_all);
        Select* plan = m_resolution.arena.make<Select>();
        plan->set_operator = words_of(whole.op);
        plan->left = anchor.plan;
        plan->right = next.plan;
        return {number, anchor.columns.size(), plan};
    }

    Resolution& m_resolution;
    Scope& m_scope;
};

ResolvedQuery resolve_body(Resolution& resolution, Scope* outer, const Query& query, bool outermost) {
    if (query.block != nullptr) return resolve_block(resolution, outer, query, outermost);
    if (query.lock.locks) throw OracleError(error::for_update_not_allowed);
    ResolvedQuery result = combined(resolution, outer, query);
    if (!query.order_by.empty()) order_combined(resolution, result, query.order_by);
    limit_rows(resolution, outer, result, query.limit);
    return result;
}

/// Counts queries that stand within each other.
class Depth {
  public:
    explicit Depth(int& depth) : m_depth(depth) {
        if (++m_depth > deepest_queries) throw OracleError(error::unimplemented, "queries nested so deeply");
    }
    ~Depth() { --m_depth; }
    Depth(const Depth&) = delete;
    Depth& operator=(const Depth&) = delete;

  private:
    int& m_depth;
};

ResolvedQuery resolve_any(Resolution& resolution, Scope* outer, const Query& query, bool outermost) {
    const Depth depth(resolution.queries);
    if (query.with.empty()) return resolve_body(resolution, outer, query, outermost);
    Scope scope(outer);
    WithClause clause(resolution, scope);
    std::vector<Common> commons;
    for (const WithQuery& with : query.with) commons.push_back(clause.resolve(with));
    ResolvedQuery result = resolve_body(resolution, &scope, query, outermost);
    commons.insert(commons.end(), result.plan->with.begin(), result.plan->with.end());
    result.plan->with = resolution.arena.list(commons);
    return result;
}

} // namespace

ResolvedQuery resolve_query(Resolution& resolution, Scope* outer, const Query& query) {
    if (query.lock.locks) throw OracleError(error::missing_right_parenthesis);
    return resolve_any(resolution, outer, query, false);
}

ResolvedQuery resolve_outermost_query(Resolution& resolution, const Query& query) {
    return resolve_any(resolution, nullptr, query, true);
}

RowSource source_of_query(Resolution& resolution, const ResolvedQuery& query) {
    name_columns(query.plan);
    RowSource source;
    source.number = ++resolution.sources;
    source.columns = query.columns;
    return source;
}

Select* select_from(Resolution& resolution, const RowSource& source, Select* query, const std::vector<Node*>& items) {
    Joined joined;
    joined.number = source.number;
    joined.query = query;
    Select* select = resolution.arena.make<Select>();
    select->items = resolution.arena.list(items);
    select->from = resolution.arena.list(std::vector<Joined>{joined});
    return select;
}

ResolvedQuery single_row(Resolution& resolution, ResolvedQuery query) {
    if (query.at_most_one_row) return query;
    const Builder& build = resolution.build;
    Select& plan = *query.plan;
    const auto one_of = [&](Node* item) { return build.call("ora_single", {item}, item->type); };
    const bool simple = plan.left == nullptr && !plan.distinct && plan.group.empty() && plan.having == nullptr &&
                        plan.limit == nullptr && plan.with.empty() && !plan.items.front()->windows &&
                        plan.items.size() == 1;
    if (simple) {
        plan.items.front() = one_of(plan.items.front());
        plan.order = {};
        return query;
    }
    const RowSource source = source_of_query(resolution, query);
    std::vector<Node*> items;
    for (std::size_t i = 0; i < query.columns.size(); ++i)
        items.push_back(one_of(build.derived(source.number, i, query.columns[i].type)));
    query.plan = select_from(resolution, source, query.plan, items);
    return query;
}

Node* scalar_subquery(Resolution& resolution, Scope& scope, const Query& query) {
    const ResolvedQuery result = single_row(resolution, resolve_query(resolution, &scope, query));
    if (result.columns.size() != 1) throw OracleError(error::too_many_values);
    Node* node = resolution.build.subquery(result.plan, result.columns.front().type);
    node->digits = result.columns.front().digits;
    return node;
}

Node* row_limit(Resolution& resolution, std::string_view sign, Node* value) {
    const Builder& build = resolution.build;
    if (value->kind == Node::Kind::raw && value->literal && value->digits != 0 && value->digits < 18) {
        const long long number = std::stoll(std::string(value->text));
        if (sign == "<=") return build.integer(number);
        if (sign == "<") return build.integer(std::max(number - 1, 0LL));
        if (sign == "=") return build.integer(number == 1 ? 1 : 0);
    }
    value = as_number(resolution, value);
    return build.call("ora_row_limit", {build.string(sign), value}, ColumnType::number());
}

} // namespace oci::sql
