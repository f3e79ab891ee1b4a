#pragma once

#include "oci/sql/resolver/queries/queries.h"

namespace oci::sql {

/// SELECT ... up to HAVING, with the ORDER BY and FETCH FIRST of the query that consists of it.
ResolvedQuery resolve_block(Resolution& resolution, Scope* outer, const Query& query, bool outermost);

} // namespace oci::sql
