#include "oci/values/dates/moments.h"

#include "oci/values/dates/zones.h"
#include "oci/values/scan.h"

#include <charconv>
#include <cstdlib>

namespace oci {
namespace {

constexpr std::string_view zero_fraction = ".000000000";

int nanoseconds_of(std::string_view digits) {
    int number = 0;
    for (std::size_t i = 0; i < 9; ++i) {
        if (i < digits.size() && !is_digit(digits[i])) return -1;
        number = number * 10 + (i < digits.size() ? digits[i] - '0' : 0);
    }
    return number;
}

/// Digits at the front; at most nine.
std::int64_t take_digits(std::string_view& text, const error::Cause& cause) {
    std::int64_t number = 0;
    const auto read = std::from_chars(text.data(), text.data() + std::min<std::size_t>(text.size(), 10), number);
    if (read.ec != std::errc{} || !is_digit(text[0])) throw OracleError(cause);
    text.remove_prefix(static_cast<std::size_t>(read.ptr - text.data()));
    return number;
}

bool take_sign(std::string_view& text) {
    skip_blanks(text);
    const bool negative = text.starts_with('-');
    if (negative || text.starts_with('+')) text.remove_prefix(1);
    return negative;
}

void require(bool condition, const error::Cause& cause) {
    if (!condition) throw OracleError(cause);
}

std::int64_t checked(bool overflow, std::int64_t value) {
    require(!overflow, error::interval_precision_too_small);
    return value;
}

std::int64_t together(std::int64_t seconds, std::int64_t nanoseconds) {
    std::int64_t product = 0;
    std::int64_t sum = 0;
    const bool overflow = __builtin_mul_overflow(seconds, nanoseconds_per_second, &product) ||
                          __builtin_add_overflow(product, nanoseconds, &sum);
    return checked(overflow, sum);
}

std::int64_t take_fraction(std::string_view& text) {
    if (!take(text, ".")) return 0;
    const std::size_t size = std::find_if_not(text.begin(), text.end(), is_digit) - text.begin();
    require(size <= 9, error::invalid_interval);
    const int nanoseconds = nanoseconds_of(text.substr(0, size));
    text.remove_prefix(size);
    return nanoseconds;
}

/// P1DT2H3M4.5S and P1Y2M: the numbers by their letters.
struct IsoInterval {
    std::int64_t years = 0, months = 0, days = 0, hours = 0, minutes = 0, seconds = 0, nanoseconds = 0;
};

IsoInterval parse_iso_interval(std::string_view text) {
    IsoInterval result;
    bool time = false;
    while (!text.empty()) {
        if (!time && take(text, "T")) {
            time = true;
            continue;
        }
        const std::int64_t number = take_digits(text, error::invalid_interval);
        const std::int64_t nanoseconds = time ? take_fraction(text) : 0;
        std::int64_t* field = nullptr;
        if (take(text, "Y"))
            field = &result.years;
        else if (take(text, "M"))
            field = time ? &result.minutes : &result.months;
        else if (take(text, "D"))
            field = &result.days;
        else if (take(text, "H"))
            field = &result.hours;
        else if (take(text, "S"))
            field = &result.seconds;
        require(field != nullptr, error::invalid_interval);
        *field = number;
        result.nanoseconds += nanoseconds;
    }
    return result;
}

std::string padded(std::uint64_t number, int width) {
    std::string digits = std::to_string(number);
    if (const auto size = static_cast<std::size_t>(std::max(width, 1)); digits.size() < size) {
        digits.insert(0, size - digits.size(), '0');
    }
    return digits;
}

std::uint64_t magnitude(std::int64_t number) {
    return number < 0 ? 0 - static_cast<std::uint64_t>(number) : static_cast<std::uint64_t>(number);
}

} // namespace

Family read_moment(std::string_view stored, Moment& moment) {
    if (stored.size() < iso_size || !parse_iso(stored.substr(0, iso_size), moment.civil)) return Family::unknown;
    if (stored.size() == iso_size) return Family::date;
    if (stored.size() < moment_size || stored[iso_size] != '.') return Family::unknown;
    moment.nanosecond = nanoseconds_of(stored.substr(iso_size + 1, 9));
    if (moment.nanosecond < 0) return Family::unknown;
    if (stored.size() == moment_size) return Family::timestamp;
    if (stored[moment_size] != ' ') return Family::unknown;
    moment = in_zone(seconds_of(moment.civil), moment.nanosecond, stored.substr(moment_size + 1));
    return Family::timestamp_tz;
}

std::string_view write_moment(const Moment& moment, Family family, std::string& scratch) {
    const bool utc = family == Family::timestamp_tz || (family == Family::timestamp_ltz && moment.has_zone);
    scratch.resize(iso_size);
    write_iso(utc ? date_of_seconds(utc_seconds(moment)) : moment.civil, scratch.data());
    if (family == Family::date) return scratch;
    scratch += zero_fraction;
    std::string digits = padded(static_cast<std::uint64_t>(moment.nanosecond), 9);
    scratch.replace(iso_size + 1, 9, digits);
    if (family == Family::timestamp_tz) scratch.append(" ").append(moment.zone);
    return scratch;
}

std::int64_t local_seconds(const Moment& moment) {
    return seconds_of(moment.civil);
}
std::int64_t utc_seconds(const Moment& moment) {
    return seconds_of(moment.civil) - moment.offset;
}

bool parse_offset(std::string_view text, int& seconds) {
    skip_blanks(text);
    if (!text.starts_with('+') && !text.starts_with('-') && (text.empty() || !is_digit(text[0]))) return false;
    const bool negative = take_sign(text);
    const auto colon = text.find(':');
    std::string_view hours = text.substr(0, colon);
    std::string_view minutes = colon == std::string_view::npos ? "0" : text.substr(colon + 1);
    const auto is_number = [](std::string_view part) {
        return !part.empty() && part.size() <= 2 && std::all_of(part.begin(), part.end(), is_digit);
    };
    if (!is_number(hours) || !is_number(minutes)) return false;
    const auto hour = take_digits(hours, error::invalid_time_zone);
    const auto minute = take_digits(minutes, error::invalid_time_zone);
    require(hour <= 15, error::time_zone_hour_out_of_range);
    require(minute <= 59, error::time_zone_minute_out_of_range);
    seconds = static_cast<int>(hour * 3600 + minute * 60) * (negative ? -1 : 1);
    return true;
}

std::string offset_text(int seconds) {
    const auto minutes = magnitude(seconds / 60);
    return (seconds < 0 ? "-" : "+") + padded(minutes / 60, 2) + ":" + padded(minutes % 60, 2);
}

Moment in_zone(std::int64_t seconds, int nanosecond, std::string_view zone) {
    Moment moment;
    if (!parse_offset(zone, moment.offset)) moment.offset = zone_at(zone, seconds).offset;
    moment.civil = date_of_seconds(seconds + moment.offset);
    moment.nanosecond = nanosecond;
    moment.has_zone = true;
    moment.zone = zone;
    return moment;
}

Moment with_zone(const Civil& civil, int nanosecond, std::string_view zone) {
    const std::int64_t seconds = seconds_of(civil);
    int offset = 0;
    if (!parse_offset(zone, offset)) {
        offset = zone_at(zone, seconds - zone_at(zone, seconds).offset).offset;
        // In the hour that a zone leaves out, its clocks go by the offset before.
        if (zone_at(zone, seconds - offset).offset != offset) throw OracleError(error::field_not_found);
    }
    return {civil, nanosecond, true, offset, std::string(zone)};
}

std::string session_zone(const SessionSettings& settings) {
    return settings.time_zone.empty() ? offset_text(system_offset()) : settings.time_zone;
}

std::string zone_abbreviation(const Moment& moment) {
    int offset = 0;
    if (!moment.has_zone || parse_offset(moment.zone, offset)) return {};
    return zone_at(moment.zone, utc_seconds(moment)).abbreviation;
}

Moment plus_months(Moment moment, std::int64_t months) {
    const std::int64_t total = moment.civil.year * std::int64_t{12} + moment.civil.month - 1 + months;
    require(total >= 12 && total < 120000, error::year_out_of_range);
    moment.civil.year = static_cast<int>(total / 12);
    moment.civil.month = static_cast<int>(total % 12) + 1;
    require(moment.civil.day <= days_in_month(moment.civil.year, moment.civil.month), error::date_not_valid_for_month);
    return moment.has_zone ? with_zone(moment.civil, moment.nanosecond, moment.zone) : moment;
}

Moment plus_nanoseconds(Moment moment, std::int64_t nanoseconds) {
    std::int64_t seconds = nanoseconds / nanoseconds_per_second;
    std::int64_t rest = nanoseconds % nanoseconds_per_second + moment.nanosecond;
    if (rest < 0) {
        rest += nanoseconds_per_second;
        --seconds;
    }
    seconds += rest / nanoseconds_per_second;
    const auto nanosecond = static_cast<int>(rest % nanoseconds_per_second);
    if (moment.has_zone) return in_zone(utc_seconds(moment) + seconds, nanosecond, moment.zone);
    moment.civil = date_of_seconds(local_seconds(moment) + seconds);
    moment.nanosecond = nanosecond;
    return moment;
}

std::int64_t nanoseconds_between(const Moment& later, const Moment& earlier) {
    return together(utc_seconds(later) - utc_seconds(earlier), later.nanosecond - earlier.nanosecond);
}

std::int64_t parse_year_interval(std::string_view text) {
    const bool negative = take_sign(text);
    std::int64_t months = 0;
    if (take(text, "P")) {
        const IsoInterval parts = parse_iso_interval(text);
        months = parts.years * 12 + parts.months;
    } else {
        const std::int64_t years = take_digits(text, error::invalid_interval);
        require(years <= 999'999'999, error::interval_precision_too_small);
        require(take(text, "-"), error::invalid_interval);
        months = take_digits(text, error::invalid_interval);
        require(months < 12, error::invalid_month);
        skip_blanks(text);
        require(text.empty(), error::invalid_interval);
        months += years * 12;
    }
    return negative ? -months : months;
}

std::int64_t parse_day_interval(std::string_view text) {
    const bool negative = take_sign(text);
    IsoInterval parts;
    if (take(text, "P")) {
        parts = parse_iso_interval(text);
        require(parts.years == 0 && parts.months == 0, error::invalid_interval);
    } else {
        parts.days = take_digits(text, error::invalid_interval);
        require(text.starts_with(' '), error::invalid_interval);
        skip_blanks(text);
        parts.hours = take_digits(text, error::invalid_interval);
        require(take(text, ":"), error::invalid_interval);
        parts.minutes = take_digits(text, error::invalid_interval);
        require(take(text, ":"), error::invalid_interval);
        parts.seconds = take_digits(text, error::invalid_interval);
        parts.nanoseconds = take_fraction(text);
        skip_blanks(text);
        require(text.empty(), error::invalid_interval);
        require(parts.hours < 24, error::hour_out_of_range);
        require(parts.minutes < 60, error::minutes_out_of_range);
        require(parts.seconds < 60, error::seconds_out_of_range);
    }
    const std::int64_t seconds = parts.days * seconds_per_day + parts.hours * 3600 + parts.minutes * 60 + parts.seconds;
    const std::int64_t total = together(seconds, parts.nanoseconds);
    return negative ? -total : total;
}

std::string year_interval_text(std::int64_t months, int precision) {
    const auto size = magnitude(months);
    return (months < 0 ? "-" : "+") + padded(size / 12, precision) + "-" + padded(size % 12, 2);
}

std::string day_interval_text(std::int64_t nanoseconds, int precision, int scale) {
    const auto size = magnitude(nanoseconds);
    const auto seconds = size / nanoseconds_per_second;
    std::string text = (nanoseconds < 0 ? "-" : "+") + padded(seconds / seconds_per_day, precision);
    const char* mark = " ";
    for (const auto part : {seconds / 3600 % 24, seconds / 60 % 60, seconds % 60}) {
        text += mark + padded(part, 2);
        mark = ":";
    }
    if (scale > 0) text += "." + padded(size % nanoseconds_per_second, 9).substr(0, static_cast<std::size_t>(scale));
    return text;
}

} // namespace oci
