#pragma once

#include "oci/sql/resolver/scope.h"

// INSERT, UPDATE and DELETE. Each writes the translation of its statement.
namespace oci::sql {

void resolve_insert(Resolution& resolution, const Insert& insert);
void resolve_update(Resolution& resolution, const Update& update);
void resolve_remove(Resolution& resolution, const Remove& remove);

} // namespace oci::sql
