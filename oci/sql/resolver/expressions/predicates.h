#pragma once

#include "oci/sql/resolver/scope.h"

// Conditions: comparisons with the conversions that the types ask for.
namespace oci::sql {

Node* resolve_predicate(Resolution& resolution, Scope& scope, const Expression& expression);

/// @param sign  an operator of SQLite's: =, <>, <, <=, >, >=, IS
Node* compare(Resolution& resolution, std::string_view sign, Node* left, Node* right);

} // namespace oci::sql
