#pragma once

#include "oci/sql/resolver/queries/queries.h"

namespace oci::sql {

/// OFFSET and FETCH FIRST in all their forms.
void limit_rows(Resolution& resolution, Scope* outer, ResolvedQuery& query, const RowLimit& limit);

} // namespace oci::sql
