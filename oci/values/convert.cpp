#include "oci/values/convert.h"

#include "oci/values/formats.h"

#include <algorithm>
#include <charconv>

namespace oci {
namespace {

bool is_moment(Family family) {
    return family == Family::date || family == Family::timestamp || family == Family::timestamp_tz ||
           family == Family::timestamp_ltz;
}

std::string_view name_of(Family family) {
    switch (family) {
    case Family::number:
    case Family::binary_float:
    case Family::binary_double: return "NUMBER";
    case Family::date: return "DATE";
    case Family::timestamp:
    case Family::timestamp_tz:
    case Family::timestamp_ltz: return "TIMESTAMP";
    case Family::interval_ym:
    case Family::interval_ds: return "INTERVAL";
    case Family::raw:
    case Family::long_raw:
    case Family::blob: return "BINARY";
    default: return "CHAR";
    }
}

[[noreturn]] void refuse(Family from, Family to) {
    throw OracleError(error::inconsistent_datatypes,
                      "expected " + std::string(name_of(to)) + " got " + std::string(name_of(from)));
}

/// What the value itself tells.
Family family_of(const Value& value) {
    switch (value.type) {
    case Value::Type::integer:
    case Value::Type::real: return Family::number;
    case Value::Type::blob: return Family::raw;
    default: break;
    }
    Moment moment;
    const Family family = read_moment(value.text(), moment);
    return family == Family::unknown ? Family::text : family;
}

Moment moment_of(const Value& value, Family family, const SessionSettings& settings) {
    Moment moment;
    if (value.type != Value::Type::text || read_moment(value.text(), moment) == Family::unknown) {
        throw OracleError(error::literal_does_not_match);
    }
    if (family != Family::timestamp_ltz || moment.has_zone) return moment;
    return in_zone(local_seconds(moment), moment.nanosecond, session_zone(settings));
}

/// 1.5E+000: the digits that tell it from its neighbours, and three of the exponent.
std::string_view binary_text(const Value& number, Family family, std::string& scratch) {
    const double real = number.type == Value::Type::integer ? static_cast<double>(number.integer) : number.real;
    const int digits = family == Family::binary_float ? 8 : 16;
    char text[40];
    const auto end = std::to_chars(text, std::end(text), real, std::chars_format::scientific, digits).ptr;
    const std::string_view whole(text, static_cast<std::size_t>(end - text));
    const auto mark = whole.find('e');
    std::string_view mantissa = whole.substr(0, mark);
    while (mantissa.ends_with('0') && !mantissa.ends_with(".0")) mantissa.remove_suffix(1);
    const std::string_view exponent = whole.substr(mark + 2);
    scratch.assign(mantissa).append("E").append(whole.substr(mark + 1, 1));
    return scratch.append(3 - std::min<std::size_t>(exponent.size(), 3), '0').append(exponent);
}

Value to_text(const Value& value, const ColumnType& from, const SessionSettings& settings, std::string& scratch) {
    switch (from.family) {
    case Family::number:
        scratch =
            value.type == Value::Type::text ? value.text() : number_text(value, scratch); // one that cannot be held
        if (settings.decimal_mark != '.') std::replace(scratch.begin(), scratch.end(), '.', settings.decimal_mark);
        return Value::of(scratch);
    case Family::binary_float:
    case Family::binary_double: return Value::of(binary_text(number_of(value), from.family, scratch));
    case Family::interval_ym: return Value::of(scratch = year_interval_text(number_of(value).integer, from.precision));
    case Family::interval_ds:
        return Value::of(scratch = day_interval_text(number_of(value).integer, from.precision, from.scale));
    case Family::raw:
    case Family::long_raw:
    case Family::blob: return Value::of(scratch = hex_of(value.text()));
    default: break;
    }
    if (!is_moment(from.family)) return value;
    const Moment moment = moment_of(value, from.family, settings);
    return Value::of(
        scratch = format_moment(moment, from.family, from.scale, default_format(from.family, settings), settings));
}

Value to_moment(const Value& value, Family from, Family to, const SessionSettings& settings, std::string& scratch) {
    Moment moment;
    if (is_moment(from)) {
        moment = moment_of(value, from, settings);
    } else if (value.type == Value::Type::text) {
        moment = parse_moment(value.text(), default_format(to, settings), to, settings);
    } else {
        refuse(from, to);
    }
    const bool zoned = to == Family::timestamp_tz || to == Family::timestamp_ltz;
    if (zoned && !moment.has_zone) moment = with_zone(moment.civil, moment.nanosecond, session_zone(settings));
    if (to == Family::timestamp && from == Family::timestamp_ltz) moment.has_zone = false;
    return Value::of(write_moment(moment, to, scratch));
}

} // namespace

Value convert(const Value& value, const ColumnType& given, Family to, const SessionSettings& settings,
              std::string& scratch) {
    if (value.is_null() || to == Family::unknown) return value;
    ColumnType from = given;
    if (from.family == Family::unknown) {
        from.family = family_of(value);
        from.scale = 6;
    }
    if (from.family == to) return value;
    if (is_moment(to)) return to_moment(value, from.family, to, settings, scratch);
    switch (to) {
    case Family::number:
    case Family::binary_float:
    case Family::binary_double:
        if (is_moment(from.family) || (value.type == Value::Type::blob)) refuse(from.family, to);
        if (value.type == Value::Type::text && settings.decimal_mark != '.') {
            Decimal number;
            if (!Decimal::parse(value.text(), number, settings.decimal_mark)) throw OracleError(error::invalid_number);
            return number.exact();
        }
        return number_of(value);
    case Family::text:
    case Family::fixed_text:
    case Family::long_text:
    case Family::clob:
    case Family::rowid: return to_text(value, from, settings, scratch);
    case Family::interval_ym:
        if (value.type == Value::Type::text) return Value::of(parse_year_interval(value.text()));
        return value;
    case Family::interval_ds:
        if (value.type == Value::Type::text) return Value::of(parse_day_interval(value.text()));
        return value;
    case Family::raw:
    case Family::long_raw:
    case Family::blob:
        if (value.type == Value::Type::blob) return value;
        if (value.type != Value::Type::text) refuse(from.family, to);
        scratch = bytes_of_hex(value.text());
        return Value::of_bytes(scratch.data(), scratch.size());
    default: return value;
    }
}

} // namespace oci
