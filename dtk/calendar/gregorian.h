#pragma once

#include <limits>

/// The proleptic Gregorian calendar that the calendar types share.
namespace dtk::calendar {

inline constexpr long long seconds_per_day = 86400;

/// The year is wider than an int, so that no month sum overflows.
struct CivilDate {
    long long year;
    int month;
    int day;
};

constexpr bool is_leap_year(long long year) {
    return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

/// 0 for a month outside 1 to 12, so that no day of it is valid.
constexpr int days_in_month(long long year, int month) {
    constexpr int days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (month < 1 || month > 12) return 0;
    return month == 2 && is_leap_year(year) ? 29 : days[month - 1];
}

/// Whether the month has such a day, in a year that an int holds.
constexpr bool is_valid(const CivilDate& date) {
    using Year = std::numeric_limits<int>;
    return date.year >= Year::min() && date.year <= Year::max() && date.day >= 1 &&
           date.day <= days_in_month(date.year, date.month);
}

/// The Julian Day Number of a date, by Fliegel and Van Flandern. Divisions truncate toward zero.
constexpr long long day_number(const CivilDate& date) {
    const long long a = (date.month - 14) / 12;
    return date.day - 32075 + 1461 * (date.year + 4800 + a) / 4 + 367 * (date.month - 2 - 12 * a) / 12 -
           3 * ((date.year + 4900 + a) / 100) / 4;
}

/// The inverse of day_number, for day numbers within 2^60 of zero.
constexpr CivilDate civil_date(long long day_number) {
    long long l = day_number + 68569;
    const long long n = 4 * l / 146097;
    l -= (146097 * n + 3) / 4;
    const long long i = 4000 * (l + 1) / 1461001;
    l += 31 - 1461 * i / 4;
    const long long j = 80 * l / 2447;
    const long long k = j / 11;
    return {100 * (n - 49) + i + k, static_cast<int>(j + 2 - 12 * k), static_cast<int>(l - 2447 * j / 80)};
}

/// What becomes of the month 0 that a step back from a later month reaches.
enum class MonthZero { is_december, is_invalid };

/// The date moved by some months: the last day of a month stays the last day, other days are cut to the new month.
constexpr CivilDate plus_months(const CivilDate& start, int months, MonthZero monthZero) {
    CivilDate moved{start.year + months / 12, start.month + months % 12, start.day};
    const int lowest_month = monthZero == MonthZero::is_december ? 1 : 0;
    if (months < 0 && moved.month < lowest_month) {
        moved.month += 12;
        --moved.year;
    }
    if (moved.month > 12) {
        moved.month -= 12;
        ++moved.year;
    }
    const int last_day = days_in_month(moved.year, moved.month);
    const bool was_last_day = start.day == days_in_month(start.year, start.month);
    if (was_last_day || moved.day > last_day) moved.day = last_day;
    return moved;
}

} // namespace dtk::calendar
