#include "oci/sql/resolver/expressions/predicates.h"

#include "oci/functions/operators.h"
#include "oci/sql/resolver/expressions/calls.h"
#include "oci/sql/resolver/expressions/conversions.h"
#include "oci/sql/resolver/expressions/expressions.h"
#include "oci/sql/resolver/queries/queries.h"

namespace oci::sql {
namespace {

std::string_view sign_of(ComparisonOperator op) {
    static constexpr std::string_view signs[] = {"=", "<>", "<", "<=", ">", ">="};
    return signs[static_cast<std::size_t>(op)];
}

/// The members of (a, b), or the value alone.
std::vector<Node*> members(Resolution& resolution, Scope& scope, const Expression& expression) {
    if (expression.kind == ExpressionKind::list)
        return resolve_all(resolution, scope, expression.as<ExpressionList>().items);
    return {resolve(resolution, scope, expression)};
}

void check_count(std::size_t left, std::size_t right) {
    if (right > left) throw OracleError(error::too_many_values);
    if (right < left) throw OracleError(error::not_enough_values);
}

Node* compare_members(Resolution& resolution, const std::vector<Node*>& left, const std::vector<Node*>& right) {
    check_count(left.size(), right.size());
    std::vector<Node*> pairs;
    for (std::size_t i = 0; i < left.size(); ++i) pairs.push_back(compare(resolution, "=", left[i], right[i]));
    return resolution.build.conjunction(pairs);
}

/// A query whose columns are such as the values that they are compared with ask for, which are converted too.
Select* aligned_query(Resolution& resolution, ResolvedQuery query, std::vector<Node*>& values) {
    check_count(values.size(), query.columns.size());
    const RowSource source = source_of_query(resolution, query);
    std::vector<Node*> items;
    bool converted = false;
    for (std::size_t i = 0; i < values.size(); ++i) {
        Node* const column = resolution.build.derived(source.number, i, query.columns[i].type);
        Node* item = column;
        align(resolution, values[i], item);
        converted = converted || item != column;
        items.push_back(item);
    }
    return converted ? select_from(resolution, source, query.plan, items) : query.plan;
}

Node* in_query(Resolution& resolution, Scope& scope, const Expression& operand, const Query& query, bool negated) {
    std::vector<Node*> values = members(resolution, scope, operand);
    Select* plan = aligned_query(resolution, resolve_query(resolution, &scope, query), values);
    Node* left = values.size() == 1 ? values.front() : resolution.build.row(resolution.arena.list(values));
    return resolution.build.in(left, plan, negated);
}

Node* in_rows(Resolution& resolution, Scope& scope, const In& in) {
    const std::vector<Node*> values = members(resolution, scope, *in.operand);
    std::vector<Node*> alternatives;
    for (const Expression* row : in.values)
        alternatives.push_back(compare_members(resolution, values, members(resolution, scope, *row)));
    Node* any = resolution.build.infix(" OR ", resolution.arena.list(alternatives));
    return in.negated ? resolution.build.negation(any) : any;
}

/// Elements of one type stand in one list; those of which the type asks for another conversion of the value stand in
/// lists of their own.
struct ElementList {
    TypeGroup group;
    Node* operand;
    std::vector<Node*> elements;
};

void add_element(Resolution& resolution, std::vector<ElementList>& lists, Node* operand, Node* element) {
    const TypeGroup group = group_of(comparison_type(operand->type, element->type));
    Node* aligned = operand;
    align(resolution, aligned, element);
    for (ElementList& list : lists) {
        if (list.group != group || !equal(*list.operand, *aligned)) continue;
        list.elements.push_back(element);
        return;
    }
    lists.push_back({group, aligned, {element}});
}

Node* in_list(Resolution& resolution, Scope& scope, const In& in) {
    Node* operand = resolve(resolution, scope, *in.operand);
    std::vector<Node*> elements = resolve_all(resolution, scope, in.values);
    for (const Node* element : elements) {
        // A placeholder takes the type of the first element that has one.
        if (group_of(operand->type) == TypeGroup::unknown) operand = convert(resolution, operand, element->type);
    }
    std::vector<ElementList> lists;
    for (Node* element : elements) add_element(resolution, lists, operand, element);
    std::vector<Node*> conditions;
    for (const ElementList& list : lists)
        conditions.push_back(resolution.build.in(list.operand, resolution.arena.list(list.elements), in.negated));
    if (conditions.size() == 1) return conditions.front();
    return resolution.build.infix(in.negated ? " AND " : " OR ", resolution.arena.list(conditions));
}

Node* resolve_in(Resolution& resolution, Scope& scope, const In& in) {
    if (in.query != nullptr) return in_query(resolution, scope, *in.operand, *in.query, in.negated);
    return in.operand->kind == ExpressionKind::list ? in_rows(resolution, scope, in) : in_list(resolution, scope, in);
}

Node* quantified_list(Resolution& resolution, Scope& scope, const Comparison& comparison) {
    const bool any = comparison.quantifier == Quantifier::any;
    Node* left = resolve(resolution, scope, *comparison.left);
    std::vector<Node*> conditions;
    for (Node* element : members(resolution, scope, *comparison.right))
        conditions.push_back(compare(resolution, sign_of(comparison.op), left, element));
    return resolution.build.infix(any ? " OR " : " AND ", resolution.arena.list(conditions));
}

/// ANY is true where the comparison with one row is, unknown where it is unknown with one; ALL is false likewise.
Node* quantified_query(Resolution& resolution, Scope& scope, const Comparison& comparison, const Query& query) {
    const Builder& build = resolution.build;
    const bool any = comparison.quantifier == Quantifier::any;
    Node* left = resolve(resolution, scope, *comparison.left);
    const ResolvedQuery resolved = resolve_query(resolution, &scope, query);
    check_count(1, resolved.columns.size());
    const RowSource source = source_of_query(resolution, resolved);
    Node* column = build.derived(source.number, 0, resolved.columns.front().type);
    Node* condition = compare(resolution, sign_of(comparison.op), left, column);
    const auto exists_where = [&](Node* where) {
        Select* select = select_from(resolution, source, resolved.plan, {build.integer(1)});
        select->where = where;
        return build.exists(select, false);
    };
    return build.conditional({exists_where(any ? condition : build.negation(condition)), build.integer(any ? 1 : 0),
                              exists_where(build.suffix(condition, " IS NULL")), build.null(),
                              build.integer(any ? 0 : 1)},
                             {});
}

Node* quantified(Resolution& resolution, Scope& scope, const Comparison& comparison) {
    if (comparison.right->kind != ExpressionKind::subquery) return quantified_list(resolution, scope, comparison);
    const Query& query = *comparison.right->as<Subquery>().query;
    const bool any = comparison.quantifier == Quantifier::any;
    if (comparison.op == ComparisonOperator::equal && any)
        return in_query(resolution, scope, *comparison.left, query, false);
    if (comparison.op == ComparisonOperator::unequal && !any)
        return in_query(resolution, scope, *comparison.left, query, true);
    return quantified_query(resolution, scope, comparison, query);
}

/// (a, b) = (SELECT ...) or (a, b) = ((1, 2))
Node* compare_rows(Resolution& resolution, Scope& scope, const Comparison& comparison) {
    const bool equal = comparison.op == ComparisonOperator::equal;
    if (!equal && comparison.op != ComparisonOperator::unequal) throw OracleError(error::operator_needs_any_or_all);
    std::vector<Node*> left = members(resolution, scope, *comparison.left);
    Node* condition = nullptr;
    if (comparison.right->kind == ExpressionKind::subquery) {
        ResolvedQuery query = resolve_query(resolution, &scope, *comparison.right->as<Subquery>().query);
        query.plan = aligned_query(resolution, single_row(resolution, query), left);
        condition = resolution.build.infix(
            "=", {resolution.build.row(resolution.arena.list(left)), resolution.build.subquery(query.plan, {})});
    } else {
        condition = compare_members(resolution, left, members(resolution, scope, *comparison.right));
    }
    return equal ? condition : resolution.build.negation(condition);
}

Node* comparison(Resolution& resolution, Scope& scope, const Comparison& comparison) {
    if (comparison.quantifier != Quantifier::none) return quantified(resolution, scope, comparison);
    if (comparison.left->kind == ExpressionKind::list) return compare_rows(resolution, scope, comparison);
    Node* left = resolve(resolution, scope, *comparison.left);
    return compare(resolution, sign_of(comparison.op), left, resolve(resolution, scope, *comparison.right));
}

Node* resolve_between(Resolution& resolution, Scope& scope, const Between& between) {
    Node* operand = resolve(resolution, scope, *between.operand);
    Node* low = resolve(resolution, scope, *between.low);
    Node* high = resolve(resolution, scope, *between.high);
    if (group_of(operand->type) == TypeGroup::unknown) operand = convert(resolution, operand, low->type);
    if (group_of(operand->type) == TypeGroup::unknown) operand = convert(resolution, operand, high->type);
    Node* with_low = operand;
    Node* with_high = operand;
    align(resolution, with_low, low);
    align(resolution, with_high, high);
    const Builder& build = resolution.build;
    if (equal(*with_low, *with_high)) return build.between(with_low, low, high, between.negated);
    Node* both = build.infix(" AND ", {build.infix(">=", {with_low, low}), build.infix("<=", {with_high, high})});
    return between.negated ? build.negation(both) : both;
}

Node* resolve_like(Resolution& resolution, Scope& scope, const Like& like) {
    const Builder& build = resolution.build;
    Node* operand = as_text(resolution, resolve(resolution, scope, *like.operand));
    Node* pattern = as_text(resolution, resolve(resolution, scope, *like.pattern));
    Node* condition = nullptr;
    if (like.escape != nullptr) {
        Node* escape = as_text(resolution, resolve(resolution, scope, *like.escape));
        condition = build.call(operators::like, {operand, pattern, escape}, {});
    } else {
        condition = build.infix(" LIKE ", {operand, pattern});
    }
    return like.negated ? build.negation(condition) : condition;
}

Node* resolve_is_null(Resolution& resolution, Scope& scope, const IsNull& test) {
    const Builder& build = resolution.build;
    Node* operand = resolve(resolution, scope, *test.operand);
    if (test.test == IsNull::Test::null) return build.suffix(operand, test.negated ? " IS NOT NULL" : " IS NULL");
    operand = as_number(resolution, operand); // which is always finite
    return build.infix(test.negated ? "=" : "<>", {operand, operand});
}

Node* logical(Resolution& resolution, Scope& scope, const Logical& logical) {
    std::vector<Node*> operands;
    operands.reserve(logical.operands.size());
    for (const Expression* operand : logical.operands)
        operands.push_back(resolve_condition(resolution, scope, *operand));
    return resolution.build.infix(logical.disjunction ? " OR " : " AND ", resolution.arena.list(operands));
}

} // namespace

Node* compare(Resolution& resolution, std::string_view sign, Node* left, Node* right) {
    align(resolution, left, right);
    // A column is compared as it is, so that an index can be used; all it holds has few digits.
    const bool numbers = left->type.family == Family::number && right->type.family == Family::number;
    const bool quotients = numbers && (left->divides || right->divides) && !left->stored && !right->stored;
    if (!left->unheld && !right->unheld && !quotients) return resolution.build.infix(sign, {left, right});
    Node* order = resolution.build.call(operators::compare_numbers, {spell(resolution, left), spell(resolution, right)},
                                        ColumnType::number());
    order->unheld = order->divides = false;
    return resolution.build.infix(sign, {order, resolution.build.integer(0)});
}

Node* resolve_predicate(Resolution& resolution, Scope& scope, const Expression& expression) {
    switch (expression.kind) {
    case ExpressionKind::comparison: return comparison(resolution, scope, expression.as<Comparison>());
    case ExpressionKind::logical: return logical(resolution, scope, expression.as<Logical>());
    case ExpressionKind::negation:
        return resolution.build.negation(resolve_condition(resolution, scope, *expression.as<Negation>().operand));
    case ExpressionKind::between: return resolve_between(resolution, scope, expression.as<Between>());
    case ExpressionKind::in: return resolve_in(resolution, scope, expression.as<In>());
    case ExpressionKind::like: return resolve_like(resolution, scope, expression.as<Like>());
    case ExpressionKind::is_null: return resolve_is_null(resolution, scope, expression.as<IsNull>());
    case ExpressionKind::exists:
        return resolution.build.exists(resolve_query(resolution, &scope, *expression.as<Exists>().query).plan, false);
    default: throw OracleError(error::invalid_relational_operator);
    }
}

} // namespace oci::sql
