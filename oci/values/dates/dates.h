#pragma once

#include "oci/values/decimal.h"

namespace oci {

constexpr std::int64_t seconds_per_day = 86400;

/// The local date and time.
Civil local_time();
/// Seconds since 1970-01-01, and back (ORA-01841 outside the years 1 to 9999).
std::int64_t seconds_of(const Civil& date);
Civil date_of_seconds(std::int64_t seconds);
/// 0 is Sunday.
int weekday(std::int64_t days);
/// The last day of a month stays the last day.
Civil add_months(const Civil& date, std::int64_t months);
/// Whole between equal days and between last days; otherwise a month counts 31 days.
Decimal months_between(const Civil& later, const Civil& earlier);
/// The start of the unit that a date stands in, or the nearest start. ORA-01821 when the name is no unit's.
enum class Nearest : bool { below, either };
/// @param first_weekday  what day 1 of the week is; 0 is Sunday.
Civil start_of(std::string_view unit, const Civil& date, Nearest nearest, int first_weekday);

} // namespace oci
