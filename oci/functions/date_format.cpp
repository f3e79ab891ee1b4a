#include "oci/functions/formats.h"

#include "oci/values/dates.h"
#include "oci/values/scan.h"

namespace oci {
namespace {

constexpr std::string_view month_names[] = {"January", "February", "March",     "April",   "May",      "June",
                                            "July",    "August",   "September", "October", "November", "December"};
constexpr std::string_view weekday_names[] = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                              "Thursday", "Friday", "Saturday"};
constexpr int julian_of_1970 = 2440588;

std::int64_t days_of(const Civil& date) {
    return days_from_civil(date.year, date.month, date.day);
}
int year_of(const Civil& date) {
    return date.year;
}
int day_of_year(const Civil& date) {
    return static_cast<int>(days_of(date) - days_from_civil(date.year, 1, 1)) + 1;
}
int hour_of_half_day(const Civil& date) {
    return date.hour % 12 == 0 ? 12 : date.hour % 12;
}

/// The Thursday of the date's week, whose year is the ISO week's.
Civil iso_thursday(const Civil& date) {
    Civil thursday{};
    civil_from_days(days_of(date) - (weekday(days_of(date)) + 6) % 7 + 3, thursday);
    return thursday;
}

/// What TO_DATE has read.
struct Reading {
    static constexpr int missing = -1;
    int year = missing, month = missing;
    int day = 1, hour = 0, minute = 0, second = 0;
    int day_of_year = missing, julian = missing;
    int weekday = missing, half_day = missing, hour_of_half_day = missing, second_of_day = missing;
};

enum class Kind : std::uint8_t { number, time, year, round_year, month_name, weekday_name, half_day, fill_mode };

/// An element of a date format.
struct Element {
    std::string_view name;
    unsigned width; ///< digits; of names 3 for the abbreviation and 9 for the full name with its padding
    Kind kind;
    int (*written)(const Civil& date) = nullptr; ///< the number that TO_CHAR writes
    int Reading::*slot = nullptr;                ///< where TO_DATE puts the number; null: not for TO_DATE
    int least = 0;
    int most = 0;
    const error::Cause* cause = nullptr;
};

// A name stands behind those that begin with it.
constexpr Element elements[] = {
    {"FM", 0, Kind::fill_mode},
    {"YYYY", 4, Kind::year, year_of},
    {"YYY", 3, Kind::year, year_of},
    {"YY", 2, Kind::year, year_of},
    {"Y", 1, Kind::year, year_of},
    {"RRRR", 4, Kind::round_year, year_of},
    {"RR", 2, Kind::round_year, year_of},
    {"MONTH", 9, Kind::month_name},
    {"MON", 3, Kind::month_name},
    {"MM", 2, Kind::number, [](const Civil& d) { return d.month; }, &Reading::month, 1, 12, &error::invalid_month},
    {"MI", 2, Kind::time, [](const Civil& d) { return d.minute; }, &Reading::minute, 0, 59,
     &error::minutes_out_of_range},
    {"DDD", 3, Kind::number, day_of_year, &Reading::day_of_year, 1, 366, &error::day_of_year_out_of_range},
    {"DAY", 9, Kind::weekday_name},
    {"DD", 2, Kind::number, [](const Civil& d) { return d.day; }, &Reading::day, 1, 31,
     &error::day_of_month_out_of_range},
    {"DY", 3, Kind::weekday_name},
    {"D", 1, Kind::number, [](const Civil& d) { return weekday(days_of(d)) + 1; }},
    {"HH24", 2, Kind::time, [](const Civil& d) { return d.hour; }, &Reading::hour, 0, 23, &error::hour_out_of_range},
    {"HH12", 2, Kind::time, hour_of_half_day, &Reading::hour_of_half_day, 1, 12, &error::hour12_out_of_range},
    {"HH", 2, Kind::time, hour_of_half_day, &Reading::hour_of_half_day, 1, 12, &error::hour12_out_of_range},
    {"SSSSS", 5, Kind::time, [](const Civil& d) { return d.hour * 3600 + d.minute * 60 + d.second; },
     &Reading::second_of_day, 0, 86399, &error::seconds_in_day_out_of_range},
    {"SS", 2, Kind::time, [](const Civil& d) { return d.second; }, &Reading::second, 0, 59,
     &error::seconds_out_of_range},
    {"AM", 2, Kind::half_day},
    {"PM", 2, Kind::half_day},
    {"A.M.", 4, Kind::half_day},
    {"P.M.", 4, Kind::half_day},
    {"Q", 1, Kind::number, [](const Civil& d) { return (d.month + 2) / 3; }},
    {"WW", 2, Kind::number, [](const Civil& d) { return (day_of_year(d) + 6) / 7; }},
    {"W", 1, Kind::number, [](const Civil& d) { return (d.day + 6) / 7; }},
    {"IW", 2, Kind::number, [](const Civil& d) { return (day_of_year(iso_thursday(d)) + 6) / 7; }},
    {"IYYY", 4, Kind::number, [](const Civil& d) { return iso_thursday(d).year; }},
    {"J", 7, Kind::number, [](const Civil& d) { return static_cast<int>(days_of(d)) + julian_of_1970; },
     &Reading::julian, 1, 5373484, &error::julian_out_of_range},
    {"CC", 2, Kind::number, [](const Civil& d) { return (d.year + 99) / 100; }},
};

/// A part of a format: an element, quoted text, or one mark of punctuation.
struct Part {
    const Element* element = nullptr;
    std::string_view text;
    bool quoted = false;
};

Part take_part(std::string_view& format) {
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
        if (take(format, element.name)) return {&element, whole.substr(0, element.name.size())};
    }
    throw OracleError(error::date_format_not_recognized);
}

void put_number(std::string& text, int number, std::size_t width, bool fill) {
    char digits[8];
    for (std::size_t i = width; i-- > 0; number /= 10) digits[i] = static_cast<char>('0' + number % 10);
    std::size_t first = 0;
    while (!fill && first + 1 < width && digits[first] == '0') ++first;
    text.append(digits + first, width - first);
}

/// The case of the name is that of the element's first two letters.
void put_name(std::string& text, std::string_view name, const Part& part, bool fill) {
    const std::size_t width = part.element->width;
    const bool first = part.text[0] != to_upper(part.text[0]);
    const bool rest = first || part.text[1] != to_upper(part.text[1]);
    name = name.substr(0, width);
    for (std::size_t i = 0; i < name.size(); ++i) {
        text.push_back((i == 0 ? first : rest) ? to_lower(name[i]) : to_upper(name[i]));
    }
    if (fill) text.append(width - name.size(), ' ');
}

/// The index of a name that stands there in full or as its first three letters.
template <std::size_t Count>
int take_name(std::string_view& text, const std::string_view (&names)[Count], const error::Cause& cause) {
    for (std::size_t i = 0; i < Count; ++i) {
        if (take(text, names[i]) || take(text, names[i].substr(0, 3))) return static_cast<int>(i);
    }
    throw OracleError(cause);
}

int take_half_day(std::string_view& text) {
    if (take(text, "AM") || take(text, "A.M.")) return 0;
    if (take(text, "PM") || take(text, "P.M.")) return 1;
    throw OracleError(error::meridian_required);
}

int take_number(std::string_view& text, std::size_t width) {
    if (!is_digit(text[0])) throw OracleError(error::not_numeric);
    int number = 0;
    for (; width > 0 && !text.empty() && is_digit(text[0]); --width) {
        number = number * 10 + (text[0] - '0');
        text.remove_prefix(1);
    }
    return number;
}

/// @param stands_alone  what follows is no element: four digits are a full year even where the format has two.
int take_year(std::string_view& text, const Element& element, bool stands_alone) {
    const auto digits = std::find_if_not(text.begin(), text.end(), is_digit) - text.begin();
    const std::size_t width = element.width == 2 && stands_alone && digits == 4 ? 4 : element.width;
    const int number = take_number(text, width);
    const bool round = element.kind == Kind::round_year && (width == 2 || digits <= 2);
    if (width == 4 && !round) return number;
    const int span = width == 1 ? 10 : width == 3 ? 1000 : 100;
    const int this_year = local_time().year;
    const int year = this_year - this_year % span + number;
    if (!round || (number < 50) == (this_year % 100 < 50)) return year;
    return number < 50 ? year + 100 : year - 100;
}

void take_element(std::string_view& text, const Element& element, Reading& read, bool stands_alone) {
    switch (element.kind) {
    case Kind::year:
    case Kind::round_year: read.year = take_year(text, element, stands_alone); return;
    case Kind::month_name: read.month = take_name(text, month_names, error::invalid_month) + 1; return;
    case Kind::weekday_name: read.weekday = take_name(text, weekday_names, error::invalid_weekday); return;
    case Kind::half_day: read.half_day = take_half_day(text); return;
    default: break;
    }
    if (element.slot == nullptr) throw OracleError(error::format_code_not_for_input);
    const int number = take_number(text, element.width);
    if (number < element.least || number > element.most) throw OracleError(*element.cause);
    read.*element.slot = number;
}

Civil date_of(Reading read) {
    if (read.year == Reading::missing || read.month == Reading::missing) {
        const Civil now = local_time();
        if (read.year == Reading::missing) read.year = now.year;
        if (read.month == Reading::missing) read.month = now.month;
    }
    Civil date{read.year, read.month, read.day, read.hour, read.minute, read.second};
    if (read.julian > 0) {
        civil_from_days(read.julian - julian_of_1970, date);
    } else if (read.day_of_year > 0) {
        if (read.day_of_year == 366 && days_in_month(read.year, 2) == 28)
            throw OracleError(error::day_of_year_out_of_range);
        civil_from_days(days_from_civil(read.year, 1, 1) + read.day_of_year - 1, date);
    }
    if (read.hour_of_half_day >= 0) date.hour = read.hour_of_half_day % 12 + (read.half_day == 1 ? 12 : 0);
    if (read.second_of_day >= 0) {
        date.hour = read.second_of_day / 3600;
        date.minute = read.second_of_day / 60 % 60;
        date.second = read.second_of_day % 60;
    }
    check_civil(date);
    if (read.weekday >= 0 && weekday(days_of(date)) != read.weekday) throw OracleError(error::weekday_conflicts);
    return date;
}

} // namespace

std::string format_date(const Civil& date, std::string_view format) {
    std::string text;
    bool fill = true;
    while (!format.empty()) {
        const Part part = take_part(format);
        if (part.element == nullptr) {
            text += part.text;
            continue;
        }
        switch (part.element->kind) {
        case Kind::fill_mode: fill = !fill; break;
        case Kind::month_name: put_name(text, month_names[date.month - 1], part, fill); break;
        case Kind::weekday_name: put_name(text, weekday_names[weekday(days_of(date))], part, fill); break;
        case Kind::half_day: {
            const bool dotted = part.element->width == 4;
            put_name(text, date.hour < 12 ? (dotted ? "A.M." : "AM") : (dotted ? "P.M." : "PM"), part, fill);
            break;
        }
        default: put_number(text, part.element->written(date), part.element->width, fill);
        }
    }
    return text;
}

Civil parse_date(std::string_view text, std::string_view format) {
    Reading read;
    while (!format.empty()) {
        const Part part = take_part(format);
        if (part.quoted) {
            if (!text.starts_with(part.text)) throw OracleError(error::literal_does_not_match);
            text.remove_prefix(part.text.size());
        } else if (part.element == nullptr) {
            // Any mark stands for any other, and may be left out.
            if (!text.empty() && !is_digit(text[0]) && !is_letter(text[0])) text.remove_prefix(1);
        } else if (part.element->kind != Kind::fill_mode) {
            skip_blanks(text);
            // A text may end where the time of day begins.
            const bool time = part.element->kind == Kind::time || part.element->kind == Kind::half_day;
            if (text.empty() && time) break;
            if (text.empty()) throw OracleError(error::input_too_short);
            take_element(text, *part.element, read, format.empty() || (!is_letter(format[0]) && !is_digit(format[0])));
        }
    }
    skip_blanks(text);
    if (!text.empty()) throw OracleError(error::format_ends_early);
    return date_of(read);
}

int parse_weekday(std::string_view name) {
    return take_name(name, weekday_names, error::invalid_weekday);
}

} // namespace oci
