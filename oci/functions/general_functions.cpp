#include "oci/functions/function_table.h"

#include "oci/values/convert.h"
#include "oci/values/formats.h"
#include "oci/values/scan.h"

#include <pwd.h>
#include <random>
#include <unistd.h>

namespace oci {
namespace {

ColumnType type_of(const Arguments& in, int first) {
    ColumnType type;
    type.family = static_cast<Family>(sqlite3_value_int(in.values[first]));
    type.set_signed_size(sqlite3_value_int(in.values[first + 1]));
    type.precision = static_cast<sb2>(sqlite3_value_int(in.values[first + 2]));
    type.scale = static_cast<sb1>(sqlite3_value_int(in.values[first + 3]));
    return type;
}

Value fit_to_column(Arguments& in) {
    std::string scratch;
    return fit(in[0], type_of(in, 1), text_of(in, 5, scratch), in.scratch);
}

/// ora_convert(value, from, to[, precision, scale])
Value converted(Arguments& in) {
    ColumnType from;
    from.family = static_cast<Family>(sqlite3_value_int(in.values[1]));
    from.precision = in.has(3) ? static_cast<sb2>(sqlite3_value_int(in.values[3])) : sb2{2};
    from.scale = in.has(4) ? static_cast<sb1>(sqlite3_value_int(in.values[4])) : sb1{6};
    return convert(in[0], from, static_cast<Family>(sqlite3_value_int(in.values[2])), in.settings(), in.scratch);
}

/// ora_cast(value, from, family, size, precision, scale): a text that is too long is cut.
Value cast(Arguments& in) {
    ColumnType from;
    from.family = static_cast<Family>(sqlite3_value_int(in.values[1]));
    from.precision = 2;
    from.scale = 6;
    const ColumnType to = type_of(in, 2);
    std::string scratch;
    Value value = convert(in[0], from, to.family, in.settings(), scratch);
    const bool text = to.family == Family::text || to.family == Family::fixed_text;
    if (text && value.type == Value::Type::text && to.size != 0 && to.length_of(value.text()) > to.size) {
        std::size_t size = to.in_characters ? offset_behind(value.text(), to.size) : to.size;
        while (size > 0 && (value.data[size] & 0xC0) == 0x80) --size;
        value = Value::of(value.text().substr(0, size));
    }
    Value fitted = fit(value, to, "CAST", in.scratch);
    if (fitted.type == Value::Type::text || fitted.type == Value::Type::blob) {
        in.scratch.assign(fitted.data, fitted.size); // it may still lie in what is about to go
        fitted.data = in.scratch.data();
    }
    return fitted;
}

Value nvl(Arguments& in) {
    const Value value = in[0];
    return value.is_null() ? in[1] : value;
}

Value nvl2(Arguments& in) {
    return in[in[0].is_null() ? 2 : 1];
}

/// In the type of one of the values, to which the other is converted.
int compare(const Value& a, const Value& b, bool as_numbers) {
    if (as_numbers) return compare_numbers(number_of(a), number_of(b));
    std::string scratch[2];
    const bool moments = a.type == Value::Type::text && b.type == Value::Type::text;
    if (moments) return a.text().compare(b.text());
    return text_of(a, scratch[0]).compare(text_of(b, scratch[1]));
}

Value decode(Arguments& in) {
    const Value value = in[0];
    const bool as_numbers = is_number(in[1]);
    for (int i = 1; in.has(i + 1); i += 2) {
        const Value search = in[i];
        const bool any_null = value.is_null() || search.is_null();
        const bool equal = any_null ? value.is_null() && search.is_null() : compare(value, search, as_numbers) == 0;
        if (equal) return in[i + 1];
    }
    return in.count % 2 == 0 ? in[in.count - 1] : Value();
}

template <int sign> Value extreme(Arguments& in) {
    Value best = in[0];
    const bool as_numbers = is_number(best);
    for (int i = 1; in.has(i); ++i) {
        const Value value = as_numbers ? number_of(in[i]) : in[i];
        if (compare(value, best, as_numbers) * sign > 0) best = value;
    }
    return best;
}

/// What a letter of the families and two digits tell of an argument.
ColumnType type_at(std::string_view families, std::size_t index) {
    ColumnType type;
    type.family = static_cast<Family>(families[3 * index] - 'A');
    type.precision = static_cast<sb2>(families[3 * index + 1] - '0');
    type.scale = static_cast<sb1>(families[3 * index + 2] - '0');
    return type;
}

Value to_char(Arguments& in, const ColumnType& type, std::string_view format, const SessionSettings& settings) {
    const Value value = in[0];
    Moment moment;
    Family family = type.family;
    const bool text_type = family == Family::text || family == Family::fixed_text || family == Family::clob;
    const Family told =
        value.type == Value::Type::text && !text_type ? read_moment(value.text(), moment) : Family::unknown;
    if (told == Family::unknown) {
        if (family == Family::interval_ym || family == Family::interval_ds) {
            return convert(value, type, Family::text, settings, in.scratch);
        }
        return Value::of(in.scratch = format_number(decimal_of(value), format, settings));
    }
    if (family == Family::unknown) family = told;
    if (family == Family::timestamp_ltz)
        moment = in_zone(local_seconds(moment), moment.nanosecond, session_zone(settings));
    const int scale = type.family == Family::unknown ? 6 : type.scale;
    return Value::of(in.scratch = format_moment(moment, family, scale, format, settings));
}

Value to_char(Arguments& in, const ColumnType& type) {
    const Value value = in[0];
    const SessionSettings& settings = in.settings();
    std::string scratch;
    if (!in.has(1)) {
        ColumnType from = type;
        if (type.family == Family::unknown) from.scale = 6;
        return convert(value, from, Family::text, settings, in.scratch);
    }
    const std::string_view format = text_of(in, 1, scratch);
    std::optional<SessionSettings> changed;
    return to_char(in, type, format, in.settings_with(2, changed));
}

Value to_char_of_type(Arguments& in) {
    const std::string_view families = in.take_families();
    return to_char(in, type_at(families, 0));
}

Value to_char_untyped(Arguments& in) {
    return to_char(in, {});
}

Value to_number(Arguments& in) {
    const Value value = in[0];
    if (is_number(value)) return value;
    if (!in.has(1)) return in.spells() ? in.number(decimal_of(value)) : number_of(value);
    std::string scratch[2];
    std::optional<SessionSettings> changed;
    const Decimal number =
        parse_number(text_of(in, 0, scratch[0]), text_of(in, 1, scratch[1]), in.settings_with(2, changed));
    return in.spells() ? number.spelled(in.scratch) : number.exact();
}

Value to_clob(Arguments& in) {
    return convert(in[0], {}, Family::clob, in.settings(), in.scratch);
}

Value to_blob(Arguments& in) {
    return convert(in[0], {}, Family::blob, in.settings(), in.scratch);
}

Value nan_or(Arguments& in) {
    return number_of(in[0]);
}

/// Not NULL, for a CLOB no less than for a BLOB.
Value empty_lob(Arguments&) {
    return Value::of_bytes(nullptr, 0);
}

Value user(Arguments& in) {
    return Value::of(in.settings().user);
}

Value user_number(Arguments& in) {
    std::uint32_t hash = 5381;
    for (const char c : in.settings().user) hash = hash * 33 + static_cast<unsigned char>(c);
    return Value::of(std::int64_t{100 + hash % 2'000'000});
}

Value globally_unique(Arguments& in) {
    static thread_local std::random_device device;
    for (int i = 0; i < 4; ++i) {
        const std::uint32_t bits = device();
        in.scratch.append(reinterpret_cast<const char*>(&bits), sizeof bits);
    }
    return Value::of_bytes(in.scratch.data(), in.scratch.size());
}

/// What USERENV tells of a session. ORA-02003 for what is no parameter.
std::string session_fact(const Arguments& in, std::string_view name) {
    const SessionSettings& s = in.settings();
    const std::string& schema = s.current_schema.empty() ? s.user : s.current_schema;
    const std::pair<std::string_view, std::string> facts[] = {{"SESSION_USER", s.user},
                                                              {"CURRENT_USER", s.user},
                                                              {"AUTHENTICATED_IDENTITY", s.user},
                                                              {"CURRENT_SCHEMA", schema},
                                                              {"PROXY_USER", ""},
                                                              {"DB_NAME", s.database},
                                                              {"DB_UNIQUE_NAME", s.database},
                                                              {"INSTANCE_NAME", s.database},
                                                              {"SERVICE_NAME", s.database},
                                                              {"CON_NAME", s.database},
                                                              {"INSTANCE", "1"},
                                                              {"CON_ID", "0"},
                                                              {"SID", std::to_string(s.session)},
                                                              {"SESSIONID", std::to_string(s.session)},
                                                              {"MODULE", s.module},
                                                              {"ACTION", s.action},
                                                              {"CLIENT_INFO", s.client_info},
                                                              {"CLIENT_IDENTIFIER", s.client_identifier},
                                                              {"ISDBA", "FALSE"},
                                                              {"LANG", "US"},
                                                              {"LANGUAGE", "AMERICAN_" + s.territory + ".AL32UTF8"},
                                                              {"NLS_DATE_FORMAT", s.date_format},
                                                              {"NLS_DATE_LANGUAGE", s.date_language},
                                                              {"NLS_TERRITORY", s.territory},
                                                              {"NLS_CURRENCY", s.currency},
                                                              {"NLS_SORT", s.sort},
                                                              {"NLS_CALENDAR", "GREGORIAN"},
                                                              {"NETWORK_PROTOCOL", ""},
                                                              {"IP_ADDRESS", ""},
                                                              {"BG_JOB_ID", ""},
                                                              {"EDITION_NAME", "ORA$BASE"}};
    if (name == "HOST" || name == "SERVER_HOST") {
        char host[256] = {};
        return gethostname(host, sizeof host - 1) == 0 ? host : "";
    }
    if (name == "OS_USER") {
        char buffer[1024];
        passwd entry{};
        passwd* found = nullptr;
        return getpwuid_r(getuid(), &entry, buffer, sizeof buffer, &found) == 0 && found != nullptr ? entry.pw_name
                                                                                                    : "";
    }
    for (const auto& [fact, value] : facts) {
        if (fact == name) return value;
    }
    throw OracleError(error::invalid_userenv);
}

Value sys_context(Arguments& in) {
    std::string scratch[2];
    // A context that nobody has made has no attributes.
    if (upper(text_of(in, 0, scratch[0])) != "USERENV") return {};
    return Value::of(in.scratch = session_fact(in, upper(text_of(in, 1, scratch[1]))));
}

Value userenv(Arguments& in) {
    std::string scratch;
    return Value::of(in.scratch = session_fact(in, upper(text_of(in, 0, scratch))));
}

/// LNNVL(condition): not true.
Value not_true(Arguments& in) {
    const Value value = in[0];
    return Value::of(std::int64_t{value.is_null() || as_double(number_of(value)) == 0});
}

[[noreturn]] Value refused(Arguments&) {
    throw OracleError(error::unimplemented);
}

using enum ArgumentRule;
using R = ResultRule;
constexpr std::uint8_t many = FunctionEntry::any_number;

constexpr FunctionEntry entries[] = {
    with_nulls({"", 6, 6, {any}, R::unknown, "ora_fit", {call<fit_to_column>}}),
    {"", 3, 5, {any}, R::unknown, "ora_convert", {call<strict<converted>>}},
    {"", 6, 6, {any}, R::unknown, "ora_cast", {call<strict<cast>>}},
    with_nulls({"NVL", 2, 2, {like_first}, R::like_argument, "ora_nvl", {call<nvl>}}),
    with_nulls(of_argument(1, {"NVL2", 3, 3, {any}, R::like_argument, "ora_nvl2", {call<nvl2>}})),
    with_nulls(of_argument(2, {"DECODE", 3, many, {any}, R::like_argument, "ora_decode", {call<decode>}})),
    with_nulls({"COALESCE", 2, many, {like_first}, R::like_argument, "coalesce"}),
    with_nulls({"NULLIF", 2, 2, {like_first}, R::like_argument, "nullif"}),
    {"NANVL", 2, 2, {number}, R::number, "ora_nanvl", {call<strict<nan_or>>}},
    with_nulls({"LNNVL", 1, 1, {any}, R::unknown, "ora_lnnvl", {call<not_true>}}),
    {"GREATEST", 1, many, {like_first}, R::like_argument, "ora_greatest", {call<strict<extreme<1>>>}},
    {"LEAST", 1, many, {like_first}, R::like_argument, "ora_least", {call<strict<extreme<-1>>>}},
    knowing(HiddenArgument::families,
            {"TO_CHAR", 1, 3, {printable, text}, R::text, "ora_to_char_of", {call<strict<to_char_of_type>>}}),
    knowing(HiddenArgument::families,
            {"TO_NCHAR", 1, 3, {printable, text}, R::text, "ora_to_char_of", {call<strict<to_char_of_type>>}}),
    {"", 1, 3, {any}, R::text, "ora_to_char", {call<strict<to_char_untyped>>}},
    spelling({"TO_NUMBER", 1, 3, {text}, R::number, "ora_to_number", {call<strict<to_number>>}}),
    {"TO_BINARY_DOUBLE", 1, 3, {text}, R::binary_double, "ora_to_number"},
    {"TO_BINARY_FLOAT", 1, 3, {text}, R::binary_double, "ora_to_number"},
    {"TO_CLOB", 1, 1, {text}, R::clob, "ora_to_clob", {call<strict<to_clob>>}},
    {"TO_NCLOB", 1, 1, {text}, R::clob, "ora_to_clob"},
    {"TO_BLOB", 1, 1, {raw}, R::blob, "ora_to_blob", {call<strict<to_blob>>}},
    {"TO_LOB", 1, 1, {any}, R::clob, "ora_refused", {call<refused>}},
    with_nulls({"EMPTY_BLOB", 0, 0, {any}, R::blob, "ora_empty_blob", {call<empty_lob>}}),
    with_nulls({"EMPTY_CLOB", 0, 0, {any}, R::clob, "ora_empty_clob", {call<empty_lob>}}),
    bare({"USER", 0, 0, {any}, R::text, "ora_user", {call<user>}}),
    bare({"UID", 0, 0, {any}, R::number, "ora_uid", {call<user_number>}}),
    varying({"SYS_GUID", 0, 0, {any}, R::raw, "ora_sys_guid", {call<globally_unique>}}),
    {"SYS_CONTEXT", 2, 3, {text}, R::text, "ora_sys_context", {call<strict<sys_context>>}},
    {"USERENV", 1, 1, {text}, R::text, "ora_userenv", {call<strict<userenv>>}},
};

} // namespace

constinit const std::span<const FunctionEntry> general_functions = entries;

} // namespace oci
