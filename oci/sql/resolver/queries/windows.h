#pragma once

#include "oci/sql/resolver/scope.h"

// Aggregates and functions over windows.
namespace oci::sql {

/// f(...) of rows, f(...) OVER (...), LISTAGG(...) WITHIN GROUP (ORDER BY ...), MAX(...) KEEP (DENSE_RANK FIRST ...)
Node* aggregate_call(Resolution& resolution, Scope& scope, const Call& call, const FunctionEntry& function);

} // namespace oci::sql
