#pragma once

#include "oci/values/dates/moments.h"
#include "oci/values/decimal.h"

namespace oci {

/// The moment as TO_CHAR writes it. ORA-01821 for a format that is none, or has elements that the family lacks.
/// @param scale  digits of FF
std::string format_moment(const Moment& moment, Family family, int scale, std::string_view format,
                          const SessionSettings& settings);
/// The moment that TO_DATE, TO_TIMESTAMP and TO_TIMESTAMP_TZ read, lenient about punctuation and leading zeros. A year
/// or month that the format lacks is the current one, a day is 1, a time midnight, a zone the session's.
Moment parse_moment(std::string_view text, std::string_view format, Family family, const SessionSettings& settings);
/// The format of a family's texts where none is given.
const std::string& default_format(Family family, const SessionSettings& settings);
/// The weekday, 0 for Sunday, that a name or its first three letters say (ORA-01846).
int parse_weekday(std::string_view name);

/// The number as TO_CHAR writes it, made of '#' when the format has too few digits. ORA-01481 for a format that is
/// none.
std::string format_number(const Decimal& number, std::string_view format, const SessionSettings& settings);
/// The number that TO_NUMBER reads; ORA-01722 when the text is not of the format.
Decimal parse_number(std::string_view text, std::string_view format, const SessionSettings& settings);
/// 21 is TWENTY-ONE.
std::string spelled(std::uint64_t number);

} // namespace oci
