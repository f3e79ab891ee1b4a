#pragma once

#include "oci/sql/resolver/expressions/conversions.h"
#include "oci/sql/resolver/scope.h"

// Expressions: every name gets its column, every operator its types.
namespace oci::sql {

/// A value.
Node* resolve(Resolution& resolution, Scope& scope, const Expression& expression);
bool is_condition(const Expression& expression);
/// A condition; ORA-00920 where a value stands.
Node* resolve_condition(Resolution& resolution, Scope& scope, const Expression& expression);
std::vector<Node*> resolve_all(Resolution& resolution, Scope& scope, std::span<Expression* const> expressions);

/// The conditions that AND joins, one by one.
void split_conjunction(const Expression* condition, std::vector<const Expression*>& conditions);

/// The position of what stands behind INTO.
unsigned position_of_target(Resolution& resolution, const Expression& target);

/// + - * / of two values.
Node* combine(Resolution& resolution, BinaryOperator op, Node* left, Node* right);
/// Makes values, of which null ones are left out, have one type.
ColumnType unify(Resolution& resolution, std::span<Node*> values, Mixing mixing);

} // namespace oci::sql
