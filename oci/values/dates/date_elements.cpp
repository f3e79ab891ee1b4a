#include "oci/values/dates/date_elements.h"

#include "oci/values/scan.h"

namespace oci {
namespace {

using Kind = DateElement::Kind;
using Field = DateElement::Field;

std::int64_t days_of(const Civil& date) {
    return days_from_civil(date.year, date.month, date.day);
}
int year_of(const Civil& date) {
    return date.year;
}
int month_of(const Civil& date) {
    return date.month;
}
int day_of(const Civil& date) {
    return date.day;
}
int hour_of(const Civil& date) {
    return date.hour;
}
int minute_of(const Civil& date) {
    return date.minute;
}
int second_of(const Civil& date) {
    return date.second;
}
int quarter_of(const Civil& date) {
    return (date.month + 2) / 3;
}
int century_of(const Civil& date) {
    return (date.year + 99) / 100;
}
int julian_of(const Civil& date) {
    return static_cast<int>(days_of(date)) + julian_of_1970;
}
int second_of_day(const Civil& date) {
    return date.hour * 3600 + date.minute * 60 + date.second;
}
int hour_of_half_day(const Civil& date) {
    return date.hour % 12 == 0 ? 12 : date.hour % 12;
}
int week_of_month(const Civil& date) {
    return (date.day + 6) / 7;
}
int day_of_year(const Civil& date) {
    return static_cast<int>(days_of(date) - days_from_civil(date.year, 1, 1)) + 1;
}
int week_of_year(const Civil& date) {
    return (day_of_year(date) + 6) / 7;
}

/// The Thursday of the date's week, whose year is the ISO week's.
Civil iso_thursday(const Civil& date) {
    Civil thursday{};
    civil_from_days(days_of(date) - (weekday_of(date) + 6) % 7 + 3, thursday);
    return thursday;
}
int iso_year(const Civil& date) {
    return iso_thursday(date).year;
}
int iso_week(const Civil& date) {
    return week_of_year(iso_thursday(date));
}

// A name stands behind those that begin with it.
constexpr DateElement elements[] = {
    {"FM", 0, Kind::fill_mode, Field::none},
    {"FX", 0, Kind::exact_mode, Field::none},
    {"FF", 0, Kind::fraction, Field::fraction, nullptr, 0, 0, nullptr, true},
    {"SYYYY", 4, Kind::year, Field::year, year_of},
    {"SYEAR", 0, Kind::spelled_year},
    {"YYYY", 4, Kind::year, Field::year, year_of},
    {"YEAR", 0, Kind::spelled_year},
    {"YYY", 3, Kind::year, Field::year, year_of},
    {"YY", 2, Kind::year, Field::year, year_of},
    {"Y,YYY", 5, Kind::comma_year, Field::year, year_of},
    {"Y", 1, Kind::year, Field::year, year_of},
    {"RRRR", 4, Kind::round_year, Field::year, year_of},
    {"RR", 2, Kind::round_year, Field::year, year_of},
    {"RM", 4, Kind::roman_month, Field::month, month_of},
    {"MONTH", 9, Kind::month_name, Field::month, month_of},
    {"MON", 3, Kind::month_name, Field::month, month_of},
    {"MM", 2, Kind::number, Field::month, month_of, 1, 12, &error::invalid_month},
    {"MI", 2, Kind::number, Field::minute, minute_of, 0, 59, &error::minutes_out_of_range, true},
    {"DDD", 3, Kind::number, Field::day_of_year, day_of_year, 1, 366, &error::day_of_year_out_of_range},
    {"DAY", 9, Kind::weekday_name, Field::weekday},
    {"DD", 2, Kind::number, Field::day, day_of, 1, 31, &error::day_of_month_out_of_range},
    {"DY", 3, Kind::weekday_name, Field::weekday},
    {"DS", 0, Kind::composed, Field::none},
    {"DL", 0, Kind::composed, Field::none},
    {"D", 1, Kind::number, Field::output_only, [](const Civil& date) { return weekday_of(date) + 1; }},
    {"HH24", 2, Kind::number, Field::hour, hour_of, 0, 23, &error::hour_out_of_range, true},
    {"HH12", 2, Kind::number, Field::hour, hour_of_half_day, 1, 12, &error::hour12_out_of_range, true},
    {"HH", 2, Kind::number, Field::hour, hour_of_half_day, 1, 12, &error::hour12_out_of_range, true},
    {"SSSSS", 5, Kind::number, Field::seconds_in_day, second_of_day, 0, 86399, &error::seconds_in_day_out_of_range,
     true},
    {"SS", 2, Kind::number, Field::second, second_of, 0, 59, &error::seconds_out_of_range, true},
    {"SCC", 2, Kind::number, Field::output_only, century_of},
    {"AM", 2, Kind::half_day, Field::half_day, nullptr, 0, 0, nullptr, true},
    {"PM", 2, Kind::half_day, Field::half_day, nullptr, 0, 0, nullptr, true},
    {"A.M.", 4, Kind::half_day, Field::half_day, nullptr, 0, 0, nullptr, true},
    {"P.M.", 4, Kind::half_day, Field::half_day, nullptr, 0, 0, nullptr, true},
    {"AD", 2, Kind::era, Field::era},
    {"BC", 2, Kind::era, Field::era},
    {"A.D.", 4, Kind::era, Field::era},
    {"B.C.", 4, Kind::era, Field::era},
    {"Q", 1, Kind::number, Field::output_only, quarter_of},
    {"WW", 2, Kind::number, Field::output_only, week_of_year},
    {"W", 1, Kind::number, Field::output_only, week_of_month},
    {"IW", 2, Kind::number, Field::output_only, iso_week},
    {"IYYY", 4, Kind::year, Field::output_only, iso_year},
    {"IYY", 3, Kind::year, Field::output_only, iso_year},
    {"IY", 2, Kind::year, Field::output_only, iso_year},
    {"I", 1, Kind::year, Field::output_only, iso_year},
    {"J", 7, Kind::number, Field::julian, julian_of, 1, 5373484, &error::julian_out_of_range},
    {"CC", 2, Kind::number, Field::output_only, century_of},
    {"TZH", 2, Kind::zone_hour, Field::zone_hour, nullptr, 0, 0, nullptr, true},
    {"TZM", 2, Kind::zone_minute, Field::zone_minute, nullptr, 0, 59, nullptr, true},
    {"TZR", 0, Kind::zone_region, Field::zone_region, nullptr, 0, 0, nullptr, true},
    {"TZD", 0, Kind::zone_abbreviation, Field::zone_abbreviation, nullptr, 0, 0, nullptr, true},
    {"TS", 0, Kind::composed, Field::none},
    {"X", 0, Kind::decimal_mark, Field::none, nullptr, 0, 0, nullptr, true},
};

} // namespace

int weekday_of(const Civil& date) {
    return weekday(days_of(date));
}

DatePart take_date_part(std::string_view& format) {
    const std::string_view whole = format;
    if (take(format, "\"")) {
        const auto size = format.find('"');
        if (size == std::string_view::npos) throw OracleError(error::date_format_not_recognized);
        format.remove_prefix(size + 1);
        return {nullptr, whole.substr(1, size), true};
    }
    if (!is_letter(format[0]) && !is_digit(format[0])) {
        format.remove_prefix(1);
        return {nullptr, whole.substr(0, 1)};
    }
    for (const auto& element : elements) {
        if (!take(format, element.name)) continue;
        DatePart part{&element, whole.substr(0, element.name.size())};
        if (element.kind == Kind::fraction && !format.empty() && format[0] >= '1' && format[0] <= '9') {
            part.text = whole.substr(0, 3);
            format.remove_prefix(1);
        }
        for (;;) {
            if (take(format, "TH"))
                part.ordinal = true;
            else if (take(format, "SP"))
                part.spelled = true;
            else
                break;
        }
        if ((part.ordinal || part.spelled) && element.written == nullptr)
            throw OracleError(error::date_format_not_recognized);
        return part;
    }
    throw OracleError(error::date_format_not_recognized);
}

} // namespace oci
