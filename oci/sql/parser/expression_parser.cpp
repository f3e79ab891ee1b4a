#include "oci/sql/parser/expression_parser.h"

#include "oci/sql/parser/operand_parser.h"
#include "oci/sql/parser/query_parser.h"

#include <optional>

namespace oci::sql {
namespace {

/// A chain of + - * / is as deep as it is long, and what reads the tree goes down into it.
constexpr int longest_chain = 1000;
/// SQLite compares each constant of a statement with all before it, unless they stand in a list of IN.
constexpr std::size_t most_conditions = 10'000;

bool is_condition(const Expression& expression) {
    switch (expression.kind) {
    case ExpressionKind::comparison:
    case ExpressionKind::logical:
    case ExpressionKind::negation:
    case ExpressionKind::between:
    case ExpressionKind::in:
    case ExpressionKind::like:
    case ExpressionKind::is_null:
    case ExpressionKind::exists: return true;
    case ExpressionKind::call: {
        const auto& name = expression.as<Call>().name.text;
        return name == "REGEXP_LIKE" || name == "LNNVL";
    }
    default: return false;
    }
}

std::optional<ComparisonOperator> comparison_operator(const Token& token) {
    if (token.kind != Token::Kind::symbol) return std::nullopt;
    if (token.text == "=") return ComparisonOperator::equal;
    if (token.text == "!=") return ComparisonOperator::unequal;
    if (token.text == "<") return ComparisonOperator::less;
    if (token.text == "<=") return ComparisonOperator::less_equal;
    if (token.text == ">") return ComparisonOperator::greater;
    if (token.text == ">=") return ComparisonOperator::greater_equal;
    return std::nullopt;
}

bool is_like(const Token& token) {
    return token.is("LIKE") || token.is("LIKEC") || token.is("LIKE2") || token.is("LIKE4");
}

} // namespace

Expression* ExpressionParser::expression() {
    return m_tokens.has_boolean_values() ? any_condition() : value();
}

Expression* ExpressionParser::value() {
    const Nesting nesting(m_tokens);
    return sum(operand(false));
}

Expression* ExpressionParser::condition() {
    Expression* const found = any_condition();
    if (!m_tokens.has_boolean_values() && !is_condition(*found)) m_tokens.fail(error::invalid_relational_operator);
    return found;
}

Expressions ExpressionParser::values() {
    ListBuilder<Expression*> values(m_tokens.arena());
    do {
        values.add(expression());
    } while (m_tokens.accept(","));
    return values.list();
}

Expression* ExpressionParser::operand() {
    return operand(false);
}

std::span<OrderItem> ExpressionParser::order_items() {
    ListBuilder<OrderItem> items(m_tokens.arena());
    do {
        OrderItem item{value()};
        item.descending = m_tokens.accept("DESC");
        if (!item.descending) m_tokens.accept("ASC");
        if (m_tokens.accept("NULLS")) {
            item.nulls = m_tokens.at("FIRST") ? -1 : 1;
            if (!m_tokens.accept("FIRST")) m_tokens.expect("LAST", error::missing_keyword);
        }
        items.add(item);
    } while (m_tokens.accept(","));
    return items.list();
}

/// Conditions that OR joins; a value where only one stands.
Expression* ExpressionParser::any_condition() {
    const Nesting nesting(m_tokens);
    Expression* const first = conjunction();
    if (!m_tokens.at("OR")) return first;
    ListBuilder<Expression*> operands(m_tokens.arena());
    operands.add(first);
    while (m_tokens.accept("OR")) operands.add(conjunction());
    if (operands.size() > most_conditions) m_tokens.unsupported("more than 10000 conditions joined by OR");
    auto* const found = m_tokens.make<Logical>(first->at);
    found->disjunction = true;
    found->operands = operands.list();
    return found;
}

Expression* ExpressionParser::conjunction() {
    Expression* const first = negation();
    if (!m_tokens.at("AND")) return first;
    ListBuilder<Expression*> operands(m_tokens.arena());
    operands.add(first);
    while (m_tokens.accept("AND")) operands.add(negation());
    if (operands.size() > most_conditions) m_tokens.unsupported("more than 10000 conditions joined by AND");
    auto* const found = m_tokens.make<Logical>(first->at);
    found->operands = operands.list();
    return found;
}

Expression* ExpressionParser::negation() {
    const Offset at = m_tokens.position();
    int count = 0;
    while (m_tokens.accept("NOT")) ++count;
    Expression* const operand = predicate();
    if (!m_tokens.has_boolean_values() && (count > 0 || m_tokens.at("AND") || m_tokens.at("OR")) &&
        !is_condition(*operand)) {
        m_tokens.fail(error::invalid_relational_operator);
    }
    if (count == 0) return operand;
    auto* const negated = m_tokens.make<Negation>(at);
    negated->operand = operand;
    if (count % 2 == 1) return negated;
    auto* const twice = m_tokens.make<Negation>(at);
    twice->operand = negated;
    return twice;
}

Expression* ExpressionParser::predicate() {
    Expression* const first = operand(true);
    if (is_condition(*first) && !m_tokens.has_boolean_values()) return first;
    return predicate_of(sum(first));
}

Expression* ExpressionParser::predicate_of(Expression* left) {
    const Token& next = m_tokens.peek();
    if (const auto op = comparison_operator(next)) {
        m_tokens.take();
        return comparison(left, *op);
    }
    if (next.kind != Token::Kind::word) return left;
    if (next.text == "IS") return is_test(left);
    const bool negated = next.text == "NOT";
    const Token& word = m_tokens.peek(negated ? 1 : 0);
    const bool known = word.is("IN") || word.is("BETWEEN") || is_like(word);
    if (word.is("MEMBER") || word.is("SUBMULTISET")) return collection_test(left, negated);
    if (!known) return left;
    if (negated) m_tokens.take();
    if (m_tokens.accept("IN")) return in(left, negated);
    if (m_tokens.accept("BETWEEN")) return between(left, negated);
    return like(left, negated);
}

Expression* ExpressionParser::comparison(Expression* left, ComparisonOperator op) {
    auto* const found = m_tokens.make<Comparison>(left->at);
    found->op = op;
    found->left = left;
    const bool any = m_tokens.at("ANY") || m_tokens.at("SOME");
    if ((any || m_tokens.at("ALL")) && m_tokens.peek(1).is("(")) {
        m_tokens.take();
        found->quantifier = any ? Quantifier::any : Quantifier::all;
        const Offset at = m_tokens.position();
        found->right = parenthesized(false);
        if (found->right->kind == ExpressionKind::subquery || found->right->kind == ExpressionKind::list) return found;
        auto* const list = m_tokens.make<ExpressionList>(at);
        ListBuilder<Expression*> items(m_tokens.arena());
        items.add(found->right);
        list->items = items.list();
        found->right = list;
        return found;
    }
    found->right = value();
    return found;
}

Expression* ExpressionParser::is_test(Expression* left) {
    m_tokens.take();
    auto* const found = m_tokens.make<IsNull>(left->at);
    found->operand = left;
    found->negated = m_tokens.accept("NOT");
    if (m_tokens.accept("NULL")) return found;
    if (m_tokens.has_boolean_values() && (m_tokens.at("EMPTY") || m_tokens.at("A", "SET"))) {
        const bool empty = m_tokens.take().is("EMPTY");
        if (!empty) m_tokens.take();
        return collection_call(empty ? "IS EMPTY" : "IS A SET", left, nullptr, found->negated);
    }
    if (m_tokens.accept("NAN")) {
        found->test = IsNull::Test::nan;
    } else if (m_tokens.accept("INFINITE")) {
        found->test = IsNull::Test::infinite;
    } else {
        m_tokens.fail(error::missing_null);
    }
    return found;
}

/// x MEMBER OF y, x SUBMULTISET OF y
Expression* ExpressionParser::collection_test(Expression* left, bool negated) {
    if (!m_tokens.has_boolean_values()) m_tokens.unsupported("conditions on collections");
    if (negated) m_tokens.take();
    const bool member = m_tokens.take().is("MEMBER");
    m_tokens.accept("OF");
    return collection_call(member ? "MEMBER OF" : "SUBMULTISET OF", left, value(), negated);
}

/// What is written as an operator on collections is a call of a function that no program can name.
Expression* ExpressionParser::collection_call(std::string_view name, Expression* left, Expression* right,
                                              bool negated) {
    auto* const call = m_tokens.make<Call>(left->at);
    call->name = {name, left->at};
    ListBuilder<Expression*> arguments(m_tokens.arena());
    arguments.add(left);
    if (right != nullptr) arguments.add(right);
    call->arguments = arguments.list();
    if (!negated) return call;
    auto* const found = m_tokens.make<Negation>(left->at);
    found->operand = call;
    return found;
}

/// x MULTISET UNION y
Expression* ExpressionParser::multiset(Expression* left) {
    const Token kind = m_tokens.take();
    const bool distinct = m_tokens.accept("DISTINCT");
    if (!distinct) m_tokens.accept("ALL");
    const std::string_view name = kind.is("UNION")       ? "MULTISET UNION"
                                  : kind.is("INTERSECT") ? "MULTISET INTERSECT"
                                                         : "MULTISET EXCEPT";
    auto* const call = collection_call(name, left, product(operand(false)), false);
    call->as<Call>().distinct = distinct;
    return call;
}

Expression* ExpressionParser::in(Expression* left, bool negated) {
    auto* const found = m_tokens.make<In>(left->at);
    found->negated = negated;
    found->operand = left;
    if (!m_tokens.at("(")) m_tokens.fail(error::missing_left_parenthesis);
    Expression* const right = parenthesized(false);
    if (right->kind == ExpressionKind::subquery) {
        found->query = right->as<Subquery>().query;
    } else if (right->kind == ExpressionKind::list && left->kind != ExpressionKind::list) {
        found->values = right->as<ExpressionList>().items;
    } else if (right->kind == ExpressionKind::list &&
               right->as<ExpressionList>().items[0]->kind == ExpressionKind::list) {
        found->values = right->as<ExpressionList>().items;
    } else {
        ListBuilder<Expression*> single(m_tokens.arena());
        single.add(right);
        found->values = single.list();
    }
    return found;
}

Expression* ExpressionParser::like(Expression* left, bool negated) {
    m_tokens.take();
    auto* const found = m_tokens.make<Like>(left->at);
    found->negated = negated;
    found->operand = left;
    found->pattern = value();
    if (m_tokens.accept("ESCAPE")) found->escape = value();
    return found;
}

Expression* ExpressionParser::between(Expression* left, bool negated) {
    auto* const found = m_tokens.make<Between>(left->at);
    found->negated = negated;
    found->operand = left;
    found->low = value();
    m_tokens.expect("AND", error::missing_keyword);
    found->high = value();
    return found;
}

Expression* ExpressionParser::binary(BinaryOperator op, Offset at, Expression* left, Expression* right) {
    auto* const found = m_tokens.make<Binary>(at);
    found->op = op;
    found->left = left;
    found->right = right;
    return found;
}

Expression* ExpressionParser::sum(Expression* first) {
    Expression* left = product(first);
    for (int length = 0;; ++length) {
        if (length == longest_chain) m_tokens.unsupported("sums of more than 1000 parts");
        const Offset at = m_tokens.position();
        if (m_tokens.at("||")) {
            left = concatenation(left);
        } else if (m_tokens.accept("+")) {
            left = binary(BinaryOperator::add, at, left, product(operand(false)));
        } else if (m_tokens.accept("-")) {
            left = binary(BinaryOperator::subtract, at, left, product(operand(false)));
        } else if (m_tokens.has_boolean_values() && m_tokens.accept("MULTISET")) {
            left = multiset(left);
        } else {
            return left;
        }
    }
}

/// A run of || may be joined in any order: so that a long one does not become a deep tree, half by half.
Expression* ExpressionParser::concatenation(Expression* first) {
    ListBuilder<Expression*> operands(m_tokens.arena());
    operands.add(first);
    while (m_tokens.accept("||")) operands.add(product(operand(false)));
    return balanced(operands.list());
}

Expression* ExpressionParser::balanced(Expressions operands) {
    if (operands.size() == 1) return operands[0];
    const std::size_t half = (operands.size() + 1) / 2;
    Expression* const left =
        operands.size() < 16 ? balanced(operands.first(operands.size() - 1)) : balanced(operands.first(half));
    Expression* const right = operands.size() < 16 ? operands.back() : balanced(operands.subspan(half));
    return binary(BinaryOperator::concatenate, left->at, left, right);
}

Expression* ExpressionParser::product(Expression* first) {
    Expression* left = first;
    for (int length = 0;; ++length) {
        if (length == longest_chain) m_tokens.unsupported("products of more than 1000 parts");
        const Offset at = m_tokens.position();
        if (m_tokens.accept("*")) {
            left = binary(BinaryOperator::multiply, at, left, operand(false));
        } else if (m_tokens.accept("/")) {
            left = binary(BinaryOperator::divide, at, left, operand(false));
        } else {
            return left;
        }
    }
}

Expression* ExpressionParser::operand(bool or_condition) {
    const Token& next = m_tokens.peek();
    if (next.is("-")) return sign(UnaryOperator::minus);
    if (next.is("+")) return sign(UnaryOperator::plus);
    if (next.is("PRIOR")) return prior(false);
    if (next.is("CONNECT_BY_ROOT")) return prior(true);
    Expression* found = next.is("(") ? parenthesized(or_condition) : OperandParser(m_tokens).operand();
    if (!or_condition && !m_tokens.has_boolean_values() && is_condition(*found))
        m_tokens.fail(error::missing_expression, found->at, {});
    if (m_tokens.at("AT")) found = time_zone(found);
    if (!m_tokens.has_boolean_values() || !m_tokens.at("**")) return found;
    const Offset at = m_tokens.take().at;
    const Nesting nesting(m_tokens);
    return binary(BinaryOperator::power, at, found, operand(false));
}

Expression* ExpressionParser::sign(UnaryOperator op) {
    const Nesting nesting(m_tokens);
    auto* const found = m_tokens.make<Unary>(m_tokens.take().at);
    found->op = op;
    found->operand = operand(false);
    return found;
}

Expression* ExpressionParser::prior(bool root) {
    const Nesting nesting(m_tokens);
    auto* const found = m_tokens.make<Prior>(m_tokens.take().at);
    found->root = root;
    found->operand = operand(false);
    return found;
}

Expression* ExpressionParser::time_zone(Expression* operand) {
    const bool local = m_tokens.peek(1).is("LOCAL");
    if (!local && !(m_tokens.peek(1).is("TIME") && m_tokens.peek(2).is("ZONE"))) return operand;
    auto* const found = m_tokens.make<AtTimeZone>(m_tokens.take().at);
    found->operand = operand;
    m_tokens.take();
    if (local) return found;
    m_tokens.take();
    found->zone = this->operand(false);
    return found;
}

/// A query, a list of several, or what stands in parentheses for itself.
Expression* ExpressionParser::parenthesized(bool or_condition) {
    const Nesting nesting(m_tokens);
    const Offset at = m_tokens.position();
    m_tokens.expect("(", error::missing_left_parenthesis);
    if (QueryParser::begins(m_tokens)) {
        auto* const subquery = m_tokens.make<Subquery>(at);
        subquery->query = QueryParser(m_tokens).subquery();
        m_tokens.expect(")", error::missing_right_parenthesis);
        return subquery;
    }
    Expression* const first = or_condition || m_tokens.has_boolean_values() ? any_condition() : value();
    if (m_tokens.at(",")) {
        ListBuilder<Expression*> items(m_tokens.arena());
        items.add(first);
        while (m_tokens.accept(",")) items.add(value());
        m_tokens.expect(")", error::missing_right_parenthesis);
        auto* const list = m_tokens.make<ExpressionList>(at);
        list->items = items.list();
        return list;
    }
    if (first->kind == ExpressionKind::subquery) {
        Subquery& subquery = first->as<Subquery>();
        subquery.query = QueryParser(m_tokens).continued(subquery.query);
    }
    m_tokens.expect(")", error::missing_right_parenthesis);
    return first;
}

} // namespace oci::sql
