#pragma once

#include "oci/sql/resolver/scope.h"

// ROWNUM: rows get their numbers as they pass WHERE, before they are grouped or sorted.
namespace oci::sql {

/// How many rows a condition on ROWNUM lets pass. ORA-03001 where it depends on more than ROWNUM and constants.
Node* limit_of_row_number(Resolution& resolution, Scope& scope, const Expression& written);

/// Moves FROM and WHERE into a query of their own, from which everything else then comes.
/// @param from  the first of the scope's mentions of columns that do not belong to FROM and WHERE
Select& take_rows_apart(Resolution& resolution, Scope& scope, Select& plan, std::size_t from);

} // namespace oci::sql
