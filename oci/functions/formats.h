#pragma once

#include "oci/values/values.h"

namespace oci {

constexpr std::string_view default_date_format = "YYYY-MM-DD HH24:MI:SS";

/// The date as TO_CHAR writes it. ORA-01821 for a format that is none.
std::string format_date(const Civil& date, std::string_view format);
/// The date that TO_DATE reads, lenient as Oracle's about punctuation and leading zeros. A year or month that the
/// format lacks is the current one, a day is 1, a time midnight.
Civil parse_date(std::string_view text, std::string_view format);
/// The weekday, 0 for Sunday, that a name or its first three letters say (ORA-01846).
int parse_weekday(std::string_view name);

/// The number as TO_CHAR writes it, made of '#' when the format has too few digits. ORA-01481 for a format that is
/// none.
std::string format_number(const Value& number, std::string_view format);
/// The number that TO_NUMBER reads; ORA-01722 when the text is not of the format.
Value parse_number(std::string_view text, std::string_view format);

} // namespace oci
