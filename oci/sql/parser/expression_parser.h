#pragma once

#include "oci/sql/token_stream.h"

namespace oci::sql {

/// Operators by precedence: OR, AND, NOT, conditions, + - ||, * /, and what stands between them.
/// A condition is no value, but in a block's own expressions.
class ExpressionParser {
  public:
    explicit ExpressionParser(TokenStream& tokens) : m_tokens(tokens) {}

    Expression* value();
    Expression* condition();
    /// A value, or a condition where a block may have one.
    Expression* expression();
    /// Values separated by commas; their parentheses are the caller's.
    Expressions values();
    /// A value that no operator of two operands is part of.
    Expression* operand();
    /// Behind ORDER BY.
    std::span<OrderItem> order_items();

  private:
    Expression* any_condition();
    Expression* conjunction();
    Expression* negation();
    Expression* predicate();
    Expression* predicate_of(Expression* left);
    Expression* comparison(Expression* left, ComparisonOperator op);
    Expression* is_test(Expression* left);
    Expression* collection_test(Expression* left, bool negated);
    Expression* collection_call(std::string_view name, Expression* left, Expression* right, bool negated);
    Expression* multiset(Expression* left);
    Expression* in(Expression* left, bool negated);
    Expression* like(Expression* left, bool negated);
    Expression* between(Expression* left, bool negated);
    Expression* sum(Expression* first);
    Expression* product(Expression* first);
    Expression* concatenation(Expression* first);
    Expression* balanced(Expressions operands);
    Expression* binary(BinaryOperator op, Offset at, Expression* left, Expression* right);
    /// @param or_condition  what stands in parentheses may be a condition
    Expression* operand(bool or_condition);
    Expression* parenthesized(bool or_condition);
    Expression* time_zone(Expression* operand);
    Expression* prior(bool root);
    Expression* sign(UnaryOperator op);

    TokenStream& m_tokens;
};

} // namespace oci::sql
