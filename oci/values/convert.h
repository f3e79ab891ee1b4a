#pragma once

#include "oci/values/settings.h"
#include "oci/values/values.h"

namespace oci {

/// The value as one of another family, as assigning or comparing converts it: texts by the session's formats.
/// @param from     of the unknown family the value tells: a text in the form that a date is stored in is one
/// @param scratch  holds what is made; the result may point into it
/// @throws ORA-00932 where there is no such conversion
Value convert(const Value& value, const ColumnType& from, Family to, const SessionSettings& settings,
              std::string& scratch);

} // namespace oci
