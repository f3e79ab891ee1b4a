#pragma once

#include "oci/sql/resolver/resolution.h"
#include "oci/sql/tree.h"

namespace oci::sql {

Node* number_literal(Resolution& resolution, const NumberLiteral& literal, bool negative = false);
Node* datetime_literal(Resolution& resolution, const DatetimeLiteral& literal);

} // namespace oci::sql
