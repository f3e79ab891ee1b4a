#include "oci/functions/function_table.h"

#include "oci/values/convert.h"
#include "oci/values/dates/zones.h"
#include "oci/values/formats.h"
#include "oci/values/scan.h"

#include <chrono>
#include <cmath>

namespace oci {

Civil moved(const Civil& date, const Value& days) {
    // Beyond this no date is left, and the seconds would not fit.
    if (!(std::fabs(as_double(days)) < 1e7)) throw OracleError(error::year_out_of_range);
    const Decimal seconds = Decimal(days) * Decimal(false, seconds_per_day, 0);
    return date_of_seconds(seconds_of(date) + seconds.rounded(0).exact().integer);
}

Decimal days_between(const Civil& later, const Civil& earlier) {
    const Decimal seconds(Value::of(seconds_of(later) - seconds_of(earlier)));
    return seconds / Decimal(false, seconds_per_day, 0);
}

namespace {

Moment moment_of(const Value& value) {
    Moment moment;
    if (value.type != Value::Type::text) throw OracleError(error::inconsistent_datatypes, "expected DATE got NUMBER");
    if (read_moment(value.text(), moment) == Family::unknown) throw OracleError(error::literal_does_not_match);
    check_civil(moment.civil);
    return moment;
}

/// A date or timestamp, or a text in the session's format.
Civil date_of(const Arguments& in, int index) {
    Civil date{};
    const Value value = in[index];
    if (is_date(value, date)) return date;
    if (value.type != Value::Type::text) throw OracleError(error::inconsistent_datatypes, "expected DATE got NUMBER");
    return parse_moment(value.text(), in.settings().date_format, Family::date, in.settings()).civil;
}

Family family_of(const Value& value) {
    Moment moment;
    return read_moment(value.text(), moment);
}

Value moment_result(Arguments& in, const Moment& moment, Family family) {
    return Value::of(write_moment(moment, family, in.scratch));
}

std::int64_t interval_of(const Value& value) {
    const Value number = number_of(value);
    if (number.type != Value::Type::integer) throw OracleError(error::invalid_interval);
    return number.integer;
}

// ---- operators

template <int sign, int date> Value date_moved(Arguments& in) {
    const Value days = number_of(in[1 - date]);
    return date_result(in, moved(moment_of(in[date]).civil, sign > 0 ? days : (-Decimal(days)).exact()));
}

Value date_difference(Arguments& in) {
    return in.quotient(days_between(moment_of(in[0]).civil, moment_of(in[1]).civil));
}

/// A DATE beside a timestamp with a zone is one of the session's.
Value moment_difference(Arguments& in) {
    Moment later = moment_of(in[0]);
    Moment earlier = moment_of(in[1]);
    for (Moment* moment : {&later, &earlier}) {
        if (!moment->has_zone && (later.has_zone || earlier.has_zone)) {
            *moment = with_zone(moment->civil, moment->nanosecond, session_zone(in.settings()));
        }
    }
    return Value::of(nanoseconds_between(later, earlier));
}

std::int64_t signed_interval(const Value& value, int sign) {
    std::int64_t interval = interval_of(value);
    if (sign < 0 && __builtin_sub_overflow(std::int64_t{0}, interval, &interval)) {
        throw OracleError(error::interval_precision_too_small);
    }
    return interval;
}

/// @tparam moment  which argument it is; the other is the interval
template <int sign, int moment> Value moved_by_months(Arguments& in) {
    const Value value = in[moment];
    return moment_result(in, plus_months(moment_of(value), signed_interval(in[1 - moment], sign)), family_of(value));
}

template <int sign, int moment> Value moved_by_nanoseconds(Arguments& in) {
    const Value value = in[moment];
    const Moment result = plus_nanoseconds(moment_of(value), signed_interval(in[1 - moment], sign));
    return moment_result(in, result, family_of(value));
}

template <int sign> Value interval_sum(Arguments& in) {
    std::int64_t sum = 0;
    if (__builtin_add_overflow(interval_of(in[0]), signed_interval(in[1], sign), &sum)) {
        throw OracleError(error::interval_precision_too_small);
    }
    return Value::of(sum);
}

/// Without the fraction of the unit that the interval counts in.
template <bool divides> Value interval_scaled(Arguments& in) {
    const Decimal a = decimal_of(in[0]);
    const Decimal b = decimal_of(in[1]);
    Value result;
    if (!(divides ? a / b : a * b).rounded(0, Rounding::truncate).hold(result) || result.type != Value::Type::integer) {
        throw OracleError(error::interval_precision_too_small);
    }
    return result;
}

Value moment_key(Arguments& in) {
    const Value value = in[0];
    return value.type == Value::Type::text ? Value::of(value.text().substr(0, moment_size)) : value;
}

// ---- the time now

/// One time for the whole statement: the first argument is the same throughout it.
Moment now(Arguments& in, std::string_view zone) {
    FunctionContext& context = in.function_context();
    if (const double statement = in[0].real; statement != context.statement) {
        const auto time = std::chrono::system_clock::now().time_since_epoch();
        const auto microseconds = std::chrono::duration_cast<std::chrono::microseconds>(time).count();
        context.statement = statement;
        context.seconds = microseconds / 1'000'000;
        context.nanosecond = static_cast<int>(microseconds % 1'000'000) * 1000;
    }
    return in_zone(context.seconds, context.nanosecond, zone);
}

std::string system_zone() {
    return offset_text(system_offset());
}

Value sysdate(Arguments& in) {
    return date_result(in, now(in, system_zone()).civil);
}
Value systimestamp(Arguments& in) {
    return moment_result(in, now(in, system_zone()), Family::timestamp_tz);
}
Value current_date(Arguments& in) {
    return date_result(in, now(in, session_zone(in.settings())).civil);
}
Value current_timestamp(Arguments& in) {
    return moment_result(in, now(in, session_zone(in.settings())), Family::timestamp_tz);
}
Value localtimestamp(Arguments& in) {
    return moment_result(in, now(in, session_zone(in.settings())), Family::timestamp);
}

Value session_time_zone(Arguments& in) {
    return Value::of(in.scratch = session_zone(in.settings()));
}
Value database_time_zone(Arguments&) {
    return Value::of(std::string_view("+00:00"));
}

// ---- calendar

Value months_added(Arguments& in) {
    return date_result(in, add_months(date_of(in, 0), integer_of(in[1])));
}

Value months_apart(Arguments& in) {
    return in.quotient(months_between(date_of(in, 0), date_of(in, 1)));
}

Value last_day(Arguments& in) {
    Civil date = date_of(in, 0);
    date.day = days_in_month(date.year, date.month);
    return date_result(in, date);
}

Value next_day(Arguments& in) {
    const Civil date = date_of(in, 0);
    const Value day = in[1];
    const int today = weekday(days_from_civil(date.year, date.month, date.day));
    int wanted = 0;
    if (is_number(day)) {
        const std::int64_t number = integer_of(day);
        if (number < 1 || number > 7) throw OracleError(error::invalid_weekday);
        wanted = static_cast<int>(number - 1 + in.settings().first_weekday) % 7;
    } else {
        std::string scratch;
        wanted = parse_weekday(text_of(in, 1, scratch));
    }
    return date_result(in, moved(date, Value::of(std::int64_t{(wanted - today + 6) % 7 + 1})));
}

// ---- texts

template <Family family> Value to_moment(Arguments& in) {
    const Value value = in[0];
    const SessionSettings& settings = in.settings();
    if (value.type == Value::Type::text && !in.has(1)) {
        return convert(value, ColumnType::of_family(Family::text), family, settings, in.scratch);
    }
    std::string scratch[3];
    const std::string_view text = text_of(value, scratch[0]);
    const std::string_view format = in.has(1) ? text_of(in, 1, scratch[1]) : default_format(family, settings);
    std::optional<SessionSettings> changed;
    return moment_result(in, parse_moment(text, format, family, in.settings_with(2, changed)), family);
}

Value to_year_interval(Arguments& in) {
    std::string scratch;
    return Value::of(parse_year_interval(text_of(in, 0, scratch)));
}

Value to_day_interval(Arguments& in) {
    std::string scratch;
    return Value::of(parse_day_interval(text_of(in, 0, scratch)));
}

/// So many of the unit that the second argument names.
template <std::size_t Count>
Value interval_of_units(Arguments& in, const std::pair<std::string_view, std::int64_t> (&units)[Count]) {
    std::string scratch;
    const std::string name = upper(text_of(in, 1, scratch));
    for (const auto& [unit, size] : units) {
        if (unit != name) continue;
        Value result;
        const Decimal total = decimal_of(in[0]) * Decimal(Value::of(size));
        if (!total.rounded(0).hold(result) || result.type != Value::Type::integer) {
            throw OracleError(error::interval_precision_too_small);
        }
        return result;
    }
    throw OracleError(error::illegal_function_argument);
}

Value number_to_year_interval(Arguments& in) {
    static constexpr std::pair<std::string_view, std::int64_t> units[] = {{"YEAR", 12}, {"MONTH", 1}};
    return interval_of_units(in, units);
}

Value number_to_day_interval(Arguments& in) {
    static constexpr std::pair<std::string_view, std::int64_t> units[] = {{"DAY", nanoseconds_per_day},
                                                                          {"HOUR", 3600 * nanoseconds_per_second},
                                                                          {"MINUTE", 60 * nanoseconds_per_second},
                                                                          {"SECOND", nanoseconds_per_second}};
    return interval_of_units(in, units);
}

// ---- zones

Value from_zone(Arguments& in) {
    std::string scratch;
    const Moment moment = moment_of(in[0]);
    return moment_result(in, with_zone(moment.civil, moment.nanosecond, text_of(in, 1, scratch)), Family::timestamp_tz);
}

/// The civil time of UTC, of a time with a zone or of the session's.
Value in_utc(Arguments& in) {
    Moment moment = moment_of(in[0]);
    if (!moment.has_zone) moment = with_zone(moment.civil, moment.nanosecond, session_zone(in.settings()));
    return moment_result(in, in_zone(utc_seconds(moment), moment.nanosecond, "+00:00"), Family::timestamp_ltz);
}

/// ora_at_zone(value, family, zone)
Value at_zone(Arguments& in) {
    Moment moment = moment_of(in[0]);
    const auto family = static_cast<Family>(integer_of(in[1]));
    if (family == Family::timestamp_ltz) {
        moment = in_zone(local_seconds(moment), moment.nanosecond, "+00:00");
    } else if (!moment.has_zone) {
        moment = with_zone(moment.civil, moment.nanosecond, session_zone(in.settings()));
    }
    std::string scratch;
    std::string_view zone = text_of(in, 2, scratch);
    const std::string own = session_zone(in.settings());
    if (zone == "LOCAL") zone = own;
    return moment_result(in, in_zone(utc_seconds(moment), moment.nanosecond, zone), Family::timestamp_tz);
}

Value zone_offset(Arguments& in) {
    std::string scratch;
    std::string_view zone = text_of(in, 0, scratch);
    const std::string own = session_zone(in.settings());
    if (zone == "SESSIONTIMEZONE") zone = own;
    const auto seconds = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
    return Value::of(in.scratch = offset_text(in_zone(seconds, 0, zone).offset));
}

/// Between the zones that NEW_TIME knows by their letters.
Value new_time(Arguments& in) {
    static constexpr std::pair<std::string_view, int> hours[] = {
        {"AST", -4}, {"ADT", -3}, {"BST", -11}, {"BDT", -10}, {"CST", -6}, {"CDT", -5},
        {"EST", -5}, {"EDT", -4}, {"GMT", 0},   {"HST", -10}, {"HDT", -9}, {"MST", -7},
        {"MDT", -6}, {"PST", -8}, {"PDT", -7},  {"YST", -9},  {"YDT", -8}};
    const auto offset = [&](int index) {
        std::string scratch;
        const std::string name = upper(text_of(in, index, scratch));
        for (const auto& [zone, hour] : hours) {
            if (zone == name) return hour * 3600;
        }
        throw OracleError(error::invalid_time_zone);
    };
    return date_result(in, date_of_seconds(seconds_of(date_of(in, 0)) + offset(2) - offset(1)));
}

// ---- fields

Value seconds_with_fraction(std::int64_t seconds, std::int64_t nanoseconds) {
    const Decimal whole(Value::of(seconds));
    const Decimal fraction(nanoseconds < 0, static_cast<std::uint64_t>(std::abs(nanoseconds)), -9);
    return (whole + fraction).exact();
}

Value interval_field(std::string_view field, Family family, std::int64_t value) {
    const auto number = [](std::int64_t n) { return Value::of(n); };
    if (family == Family::interval_ym) {
        if (field == "YEAR") return number(value / 12);
        if (field == "MONTH") return number(value % 12);
    } else {
        const std::int64_t seconds = value / nanoseconds_per_second;
        if (field == "DAY") return number(seconds / seconds_per_day);
        if (field == "HOUR") return number(seconds / 3600 % 24);
        if (field == "MINUTE") return number(seconds / 60 % 60);
        if (field == "SECOND") return seconds_with_fraction(seconds % 60, value % nanoseconds_per_second);
    }
    throw OracleError(error::invalid_extract_field);
}

Value zone_field(Arguments& in, std::string_view field, const Moment& moment) {
    if (!moment.has_zone) throw OracleError(error::invalid_extract_field);
    if (field == "TIMEZONE_HOUR") return Value::of(std::int64_t{moment.offset / 3600});
    if (field == "TIMEZONE_MINUTE") return Value::of(std::int64_t{moment.offset / 60 % 60});
    const bool region = is_letter(moment.zone[0]);
    if (field == "TIMEZONE_REGION") return Value::of(in.scratch = region ? moment.zone : "UNKNOWN");
    return Value::of(in.scratch = region ? zone_abbreviation(moment) : "UNK");
}

/// ora_extract(field, value, family); the fields of a time with a zone are those of UTC.
Value extracted(Arguments& in) {
    std::string scratch;
    const std::string field = upper(text_of(in, 0, scratch));
    auto family = static_cast<Family>(integer_of(in[2]));
    if (family == Family::interval_ym || family == Family::interval_ds) {
        return interval_field(field, family, interval_of(in[1]));
    }
    Moment moment = moment_of(in[1]);
    if (family == Family::unknown) family = family_of(in[1]);
    const SessionSettings& settings = in.settings();
    if (family == Family::timestamp_ltz)
        moment = in_zone(local_seconds(moment), moment.nanosecond, session_zone(settings));
    if (field.starts_with("TIMEZONE")) return zone_field(in, field, moment);
    const Civil civil = family == Family::timestamp_tz ? date_of_seconds(utc_seconds(moment)) : moment.civil;
    if (field == "YEAR") return Value::of(std::int64_t{civil.year});
    if (field == "MONTH") return Value::of(std::int64_t{civil.month});
    if (field == "DAY") return Value::of(std::int64_t{civil.day});
    if (family == Family::date) throw OracleError(error::invalid_extract_field);
    if (field == "HOUR") return Value::of(std::int64_t{civil.hour});
    if (field == "MINUTE") return Value::of(std::int64_t{civil.minute});
    if (field == "SECOND") return seconds_with_fraction(civil.second, moment.nanosecond);
    throw OracleError(error::invalid_extract_field);
}

using enum ArgumentRule;
using R = ResultRule;

constexpr FunctionEntry of_now(FunctionEntry entry) {
    return varying(knowing(HiddenArgument::now, entry));
}

constexpr FunctionEntry entries[] = {
    {"", 2, 2, {any}, R::date, "ora_date_add", {call<strict<date_moved<1, 0>>>}},
    {"", 2, 2, {any}, R::date, "ora_add_date", {call<strict<date_moved<1, 1>>>}},
    {"", 2, 2, {any}, R::date, "ora_date_sub", {call<strict<date_moved<-1, 0>>>}},
    spelling({"", 2, 2, {any}, R::number, "ora_date_diff", {call<strict<date_difference>>}}),
    {"", 2, 2, {any}, R::interval_ds, "ora_moment_diff", {call<strict<moment_difference>>}},
    {"", 2, 2, {any}, R::unknown, "ora_moment_add_ym", {call<strict<moved_by_months<1, 0>>>}},
    {"", 2, 2, {any}, R::unknown, "ora_moment_sub_ym", {call<strict<moved_by_months<-1, 0>>>}},
    {"", 2, 2, {any}, R::unknown, "ora_ym_add_moment", {call<strict<moved_by_months<1, 1>>>}},
    {"", 2, 2, {any}, R::unknown, "ora_moment_add_ds", {call<strict<moved_by_nanoseconds<1, 0>>>}},
    {"", 2, 2, {any}, R::unknown, "ora_moment_sub_ds", {call<strict<moved_by_nanoseconds<-1, 0>>>}},
    {"", 2, 2, {any}, R::unknown, "ora_ds_add_moment", {call<strict<moved_by_nanoseconds<1, 1>>>}},
    {"", 2, 2, {any}, R::unknown, "ora_interval_add", {call<strict<interval_sum<1>>>}},
    {"", 2, 2, {any}, R::unknown, "ora_interval_sub", {call<strict<interval_sum<-1>>>}},
    {"", 2, 2, {any}, R::unknown, "ora_interval_mul", {call<strict<interval_scaled<false>>>}},
    {"", 2, 2, {any}, R::unknown, "ora_interval_div", {call<strict<interval_scaled<true>>>}},
    {"", 1, 1, {any}, R::text, "ora_moment", {call<strict<moment_key>>}},
    {"", 3, 3, {any}, R::timestamp_tz, "ora_at_zone", {call<strict<at_zone>>}},
    {"", 3, 3, {any}, R::unknown, "ora_extract", {call<strict<extracted>>}},
    bare(of_now({"SYSDATE", 0, 0, {any}, R::date, "ora_sysdate", {call<sysdate>}})),
    bare(of_now({"SYSTIMESTAMP", 0, 1, {any}, R::timestamp_tz, "ora_systimestamp", {call<systimestamp>}})),
    bare(of_now({"CURRENT_DATE", 0, 0, {any}, R::date, "ora_current_date", {call<current_date>}})),
    bare(of_now(
        {"CURRENT_TIMESTAMP", 0, 1, {any}, R::timestamp_tz, "ora_current_timestamp", {call<current_timestamp>}})),
    bare(of_now({"LOCALTIMESTAMP", 0, 1, {any}, R::timestamp, "ora_localtimestamp", {call<localtimestamp>}})),
    bare({"SESSIONTIMEZONE", 0, 0, {any}, R::text, "ora_sessiontimezone", {call<session_time_zone>}}),
    bare({"DBTIMEZONE", 0, 0, {any}, R::text, "ora_dbtimezone", {call<database_time_zone>}}),
    {"ADD_MONTHS", 2, 2, {date, number}, R::date, "ora_add_months", {call<strict<months_added>>}},
    spelling({"MONTHS_BETWEEN", 2, 2, {date}, R::number, "ora_months_between", {call<strict<months_apart>>}}),
    {"LAST_DAY", 1, 1, {date}, R::date, "ora_last_day", {call<strict<last_day>>}},
    {"NEXT_DAY", 2, 2, {date, any}, R::date, "ora_next_day", {call<strict<next_day>>}},
    {"NEW_TIME", 3, 3, {date, text}, R::date, "ora_new_time", {call<strict<new_time>>}},
    {"TO_DATE", 1, 3, {text}, R::date, "ora_to_date", {call<strict<to_moment<Family::date>>>}},
    {"TO_TIMESTAMP", 1, 3, {text}, R::timestamp, "ora_to_timestamp", {call<strict<to_moment<Family::timestamp>>>}},
    {"TO_TIMESTAMP_TZ",
     1,
     3,
     {text},
     R::timestamp_tz,
     "ora_to_timestamp_tz",
     {call<strict<to_moment<Family::timestamp_tz>>>}},
    {"TO_YMINTERVAL", 1, 1, {text}, R::interval_ym, "ora_to_yminterval", {call<strict<to_year_interval>>}},
    {"TO_DSINTERVAL", 1, 1, {text}, R::interval_ds, "ora_to_dsinterval", {call<strict<to_day_interval>>}},
    {"NUMTOYMINTERVAL",
     2,
     2,
     {number, text},
     R::interval_ym,
     "ora_numtoyminterval",
     {call<strict<number_to_year_interval>>}},
    {"NUMTODSINTERVAL",
     2,
     2,
     {number, text},
     R::interval_ds,
     "ora_numtodsinterval",
     {call<strict<number_to_day_interval>>}},
    {"FROM_TZ", 2, 2, {timestamp, text}, R::timestamp_tz, "ora_from_tz", {call<strict<from_zone>>}},
    {"SYS_EXTRACT_UTC", 1, 1, {timestamp}, R::timestamp, "ora_sys_extract_utc", {call<strict<in_utc>>}},
    varying({"TZ_OFFSET", 1, 1, {text}, R::text, "ora_tz_offset", {call<strict<zone_offset>>}}),
};

} // namespace

constinit const std::span<const FunctionEntry> date_functions = entries;

} // namespace oci
