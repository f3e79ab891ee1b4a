#include "oci/values/dates/dates.h"

#include <algorithm>
#include <ctime>

namespace oci {
namespace {

/// What TRUNC and ROUND go by: a number of months, or a number of seconds counted from an origin.
struct Unit {
    std::string_view name;
    int months;
    int seconds;
    int detail; ///< of months: 100 * month + day of the unit from which it is rounded up; of seconds: the origin
    int first_month = 0; ///< of months: where the first unit begins
};

constexpr int day = static_cast<int>(seconds_per_day);
constexpr int first_monday = 4 * day; ///< 1970-01-05
constexpr int first_sunday = 3 * day;
constexpr Unit units[] = {
    {"DD", 0, day, 0},
    {"DDD", 0, day, 0},
    {"J", 0, day, 0},
    {"HH24", 0, 3600, 0},
    {"HH", 0, 3600, 0},
    {"HH12", 0, 3600, 0},
    {"MI", 0, 60, 0},
    {"IW", 0, 7 * day, first_monday},
    {"DAY", 0, 7 * day, first_sunday},
    {"DY", 0, 7 * day, first_sunday},
    {"D", 0, 7 * day, first_sunday},
    {"MM", 1, 0, 16},
    {"MON", 1, 0, 16},
    {"MONTH", 1, 0, 16},
    {"Q", 3, 0, 116},
    {"RM", 1, 0, 16},
    {"CC", 1200, 0, 60001, 12},
    {"SCC", 1200, 0, 60001, 12},
    {"YYYY", 12, 0, 601},
    {"SYYYY", 12, 0, 601},
    {"SYEAR", 12, 0, 601},
    {"YEAR", 12, 0, 601},
    {"YYY", 12, 0, 601},
    {"YY", 12, 0, 601},
    {"Y", 12, 0, 601},
};

Civil month_start(std::int64_t months) {
    if (months < 12 || months >= 120000) throw OracleError(error::year_out_of_range);
    return {static_cast<int>(months / 12), static_cast<int>(months % 12) + 1, 1, 0, 0, 0};
}

std::int64_t months_of(const Civil& date) {
    return date.year * 12 + date.month - 1;
}

} // namespace

Civil local_time() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    // A leap second has no place in a DATE.
    return {local.tm_year + 1900, local.tm_mon + 1, local.tm_mday,
            local.tm_hour,        local.tm_min,     std::min(local.tm_sec, 59)};
}

std::int64_t seconds_of(const Civil& date) {
    return days_from_civil(date.year, date.month, date.day) * seconds_per_day + date.hour * 3600 + date.minute * 60 +
           date.second;
}

Civil date_of_seconds(std::int64_t seconds) {
    std::int64_t days = seconds / seconds_per_day;
    auto rest = static_cast<int>(seconds % seconds_per_day);
    if (rest < 0) {
        rest += day;
        --days;
    }
    Civil date{};
    civil_from_days(days, date);
    if (date.year < 1 || date.year > 9999) throw OracleError(error::year_out_of_range);
    date.hour = rest / 3600;
    date.minute = rest / 60 % 60;
    date.second = rest % 60;
    return date;
}

int weekday(std::int64_t days) {
    return static_cast<int>((days % 7 + 11) % 7);
}

Civil add_months(const Civil& date, std::int64_t months) {
    const Civil start = month_start(months_of(date) + months);
    const int last = days_in_month(start.year, start.month);
    Civil result = date;
    result.year = start.year;
    result.month = start.month;
    if (date.day > last || date.day == days_in_month(date.year, date.month)) result.day = last;
    return result;
}

Decimal months_between(const Civil& later, const Civil& earlier) {
    const Decimal months(Value::of(std::int64_t{months_of(later) - months_of(earlier)}));
    const auto is_last = [](const Civil& date) { return date.day == days_in_month(date.year, date.month); };
    if (later.day == earlier.day || (is_last(later) && is_last(earlier))) return months;
    const auto into_month = [](const Civil& date) {
        return date.day * day + date.hour * 3600 + date.minute * 60 + date.second;
    };
    const Decimal seconds(Value::of(std::int64_t{into_month(later) - into_month(earlier)}));
    return months + seconds / Decimal(false, 31 * day, 0);
}

namespace {

Civil start_of_months(const Unit& unit, const Civil& date, bool up) {
    const std::int64_t months = months_of(date);
    const auto into_unit = static_cast<int>((months - unit.first_month) % unit.months);
    const bool next = up && into_unit * 100 + date.day >= unit.detail;
    return month_start(months - into_unit + (next ? unit.months : 0));
}

/// @param origin  where one of the units begins
Civil start_of_seconds(std::int64_t unit, std::int64_t origin, const Civil& date, bool either) {
    const std::int64_t seconds = seconds_of(date) + (either ? unit / 2 : 0);
    const std::int64_t into_unit = (seconds - origin) % unit;
    return date_of_seconds(seconds - into_unit - (into_unit < 0 ? unit : 0));
}

std::int64_t iso_year_start(int year) {
    const std::int64_t fourth = days_from_civil(year, 1, 4);
    return fourth - (weekday(fourth) + 6) % 7;
}

Civil start_of_iso_year(const Civil& date, bool either) {
    const std::int64_t days = days_from_civil(date.year, date.month, date.day);
    int year = date.year + 1;
    while (iso_year_start(year) > days) --year;
    if (either && date.month >= 7 && year == date.year) ++year;
    return date_of_seconds(iso_year_start(year) * seconds_per_day);
}

} // namespace

Civil start_of(std::string_view unit_name, const Civil& date, Nearest nearest, int first_weekday) {
    const std::string name = upper(unit_name);
    const bool either = nearest == Nearest::either;
    // Weeks that begin with the weekday of the first of January, or of the month.
    if (name == "WW") return start_of_seconds(7 * day, days_from_civil(date.year, 1, 1) * day, date, either);
    if (name == "W") return start_of_seconds(7 * day, days_from_civil(date.year, date.month, 1) * day, date, either);
    if (name == "IYYY" || name == "IYY" || name == "IY" || name == "I") return start_of_iso_year(date, either);
    const auto* unit = std::find_if(std::begin(units), std::end(units), [&](const Unit& u) { return u.name == name; });
    if (unit == std::end(units)) {
        const bool precise = name == "SS" || name == "SSSSS" || name == "FF";
        throw OracleError(precise ? error::bad_precision_specifier : error::date_format_not_recognized);
    }
    if (unit->months != 0) return start_of_months(*unit, date, either);
    const int origin = unit->detail + (unit->detail == first_sunday ? first_weekday * day : 0);
    return start_of_seconds(unit->seconds, origin, date, either);
}

} // namespace oci
