#include "oci/functions/functions.h"

#include "oci/functions/formats.h"
#include "oci/functions/function_table.h"
#include "oci/values/dates.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace oci {

bool is_number(const Value& value) {
    return value.type == Value::Type::integer || value.type == Value::Type::real;
}

double as_double(const Value& number) {
    return number.type == Value::Type::integer ? static_cast<double>(number.integer) : number.real;
}

double double_of(const Value& value) {
    return as_double(number_of(value));
}

std::int64_t integer_of(const Value& value) {
    return static_cast<std::int64_t>(std::clamp(double_of(value), -1e10, 1e10));
}

Value number_result(double number) {
    if (!std::isfinite(number)) throw OracleError(error::numeric_overflow);
    const bool whole = std::trunc(number) == number && std::fabs(number) < 9.2e18;
    return whole ? Value::of(static_cast<std::int64_t>(number)) : Value::of(number);
}

std::string_view text_of(const Value& value, std::string& scratch) {
    switch (value.type) {
    case Value::Type::null: return {};
    case Value::Type::text: return value.text();
    case Value::Type::blob: return scratch = hex_of(value.text());
    default: return number_text(value, scratch);
    }
}

bool is_date(const Value& value, Civil& date) {
    if (value.type != Value::Type::text || !parse_iso(value.text(), date)) return false;
    check_civil(date);
    return true;
}

Value date_result(Arguments& in, const Civil& date) {
    write_iso(date, in.date);
    return Value::of(std::string_view(in.date, iso_size));
}

Value moved(Arguments& in, const Civil& date, double days) {
    // Beyond this no date is left, and the seconds would not fit.
    if (!(std::fabs(days) < 1e7)) throw OracleError(error::year_out_of_range);
    return date_result(in, date_of_seconds(seconds_of(date) + std::llround(days * seconds_per_day)));
}

namespace {

Value fit_to_column(Arguments& in) {
    ColumnType type;
    type.family = static_cast<Family>(sqlite3_value_int(in.values[1]));
    type.size = static_cast<ub2>(sqlite3_value_int(in.values[2]));
    type.precision = static_cast<sb2>(sqlite3_value_int(in.values[3]));
    type.scale = static_cast<sb1>(sqlite3_value_int(in.values[4]));
    std::string scratch;
    return fit(in[0], type, text_of(in[5], scratch), in.scratch);
}

Value nvl(Arguments& in) {
    const Value value = in[0];
    return value.is_null() ? in[1] : value;
}

Value nvl2(Arguments& in) {
    return in[in[0].is_null() ? 2 : 1];
}

/// Oracle compares in the type of one of the values, to which it converts the other.
int compare(const Value& a, const Value& b, bool as_numbers) {
    if (!as_numbers) {
        std::string scratch[2];
        return text_of(a, scratch[0]).compare(text_of(b, scratch[1]));
    }
    const Value x = number_of(a);
    const Value y = number_of(b);
    if (x.type == Value::Type::integer && y.type == Value::Type::integer) {
        return (x.integer > y.integer) - (x.integer < y.integer);
    }
    return (as_double(x) > as_double(y)) - (as_double(x) < as_double(y));
}

Value decode(Arguments& in) {
    in.require(3);
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
    in.require(1);
    Value best = in[0];
    const bool as_numbers = is_number(best);
    for (int i = 1; in.has(i); ++i) {
        const Value value = as_numbers ? number_of(in[i]) : in[i];
        if (compare(value, best, as_numbers) * sign > 0) best = value;
    }
    return best;
}

Civil date_of(const Value& value) {
    Civil date{};
    if (is_date(value, date)) return date;
    if (value.type != Value::Type::text) throw OracleError(error::inconsistent_datatypes, "expected DATE got NUMBER");
    return parse_date(value.text(), default_date_format);
}

Value months_added(Arguments& in) {
    return date_result(in, add_months(date_of(in[0]), integer_of(in[1])));
}

Value months_apart(Arguments& in) {
    return number_result(months_between(date_of(in[0]), date_of(in[1])));
}

Value last_day(Arguments& in) {
    Civil date = date_of(in[0]);
    date.day = days_in_month(date.year, date.month);
    return date_result(in, date);
}

Value next_day(Arguments& in) {
    const Civil date = date_of(in[0]);
    const int today = weekday(days_from_civil(date.year, date.month, date.day));
    const int wanted = parse_weekday(text_of(in[1], in.scratch));
    return moved(in, date, (wanted - today + 6) % 7 + 1);
}

Value to_char(Arguments& in) {
    const Value value = in[0];
    if (!in.has(1)) return Value::of(text_of(value, in.scratch));
    std::string scratch;
    const std::string_view format = text_of(in[1], scratch);
    Civil date{};
    in.scratch = is_date(value, date) ? format_date(date, format) : format_number(number_of(value), format);
    return Value::of(in.scratch);
}

Value to_date(Arguments& in) {
    std::string scratch;
    const std::string_view text = text_of(in[0], in.scratch);
    return date_result(in, parse_date(text, in.has(1) ? text_of(in[1], scratch) : default_date_format));
}

Value to_number(Arguments& in) {
    const Value value = in[0];
    if (!in.has(1) || is_number(value)) return number_of(value);
    std::string scratch[2];
    return parse_number(text_of(value, scratch[0]), text_of(in[1], scratch[1]));
}

Value raw_to_hex(Arguments& in) {
    const Value value = in[0];
    return Value::of(in.scratch = hex_of(value.type == Value::Type::blob ? value.text() : text_of(value, in.scratch)));
}

Value hex_to_raw(Arguments& in) {
    std::string scratch;
    in.scratch = bytes_of_hex(text_of(in[0], scratch));
    return Value::of_bytes(in.scratch.data(), in.scratch.size());
}

/// Not NULL, for a CLOB no less than for a BLOB.
Value empty_lob(Arguments&) {
    return Value::of_bytes(nullptr, 0);
}

Value user(Arguments& in) {
    return Value::of(*static_cast<const std::string*>(sqlite3_user_data(in.context)));
}

using enum ArgumentRule;
constexpr std::uint8_t any_number = FunctionEntry::any_number;

/// A function that has a use for NULL.
constexpr FunctionEntry with_nulls(FunctionEntry entry) {
    entry.null_from_null = false;
    return entry;
}

constexpr FunctionEntry of_argument(std::uint8_t argument, FunctionEntry entry) {
    entry.result_argument = argument;
    return entry;
}

constexpr FunctionEntry without_parentheses(FunctionEntry entry) {
    entry.bare = true;
    return entry;
}

constexpr FunctionEntry entries[] = {
    with_nulls({"", 6, 6, {any}, ResultRule::unknown, "ora_fit", {call<fit_to_column>}}),
    with_nulls({"NVL", 2, 2, {like_first}, ResultRule::like_argument, "ora_nvl", {call<nvl>}}),
    with_nulls(of_argument(1, {"NVL2", 3, 3, {any}, ResultRule::like_argument, "ora_nvl2", {call<nvl2>}})),
    with_nulls(
        of_argument(2, {"DECODE", 3, any_number, {any}, ResultRule::like_argument, "ora_decode", {call<decode>}})),
    with_nulls({"COALESCE", 2, any_number, {like_first}, ResultRule::like_argument, "coalesce"}),
    with_nulls({"NULLIF", 2, 2, {like_first}, ResultRule::like_argument, "nullif"}),
    {"GREATEST", 1, any_number, {like_first}, ResultRule::like_argument, "ora_greatest", {call<strict<extreme<1>>>}},
    {"LEAST", 1, any_number, {like_first}, ResultRule::like_argument, "ora_least", {call<strict<extreme<-1>>>}},
    {"ADD_MONTHS", 2, 2, {date, number}, ResultRule::date, "ora_add_months", {call<strict<months_added>>}},
    {"MONTHS_BETWEEN", 2, 2, {date}, ResultRule::number, "ora_months_between", {call<strict<months_apart>>}},
    {"LAST_DAY", 1, 1, {date}, ResultRule::date, "ora_last_day", {call<strict<last_day>>}},
    {"NEXT_DAY", 2, 2, {date, text}, ResultRule::date, "ora_next_day", {call<strict<next_day>>}},
    {"TO_CHAR", 1, 2, {any, text}, ResultRule::text_or_clob, "ora_to_char", {call<strict<to_char>>}},
    {"TO_DATE", 1, 2, {text}, ResultRule::date, "ora_to_date", {call<strict<to_date>>}},
    {"TO_NUMBER", 1, 2, {text}, ResultRule::number, "ora_to_number", {call<strict<to_number>>}},
    {"RAWTOHEX", 1, 1, {any}, ResultRule::text, "ora_rawtohex", {call<strict<raw_to_hex>>}},
    {"HEXTORAW", 1, 1, {text}, ResultRule::raw, "ora_hextoraw", {call<strict<hex_to_raw>>}},
    {"EMPTY_BLOB", 0, 0, {any}, ResultRule::blob, "ora_empty_blob", {call<empty_lob>}},
    {"EMPTY_CLOB", 0, 0, {any}, ResultRule::clob, "ora_empty_clob", {call<empty_lob>}},
    without_parentheses({"USER", 0, 0, {any}, ResultRule::text, "ora_user", {call<user>}}),
};

const std::span<const FunctionEntry> parts[] = {entries, number_functions, text_functions, sum_functions};

std::vector<const FunctionEntry*> sorted_by_name() {
    std::vector<const FunctionEntry*> sorted;
    for (const auto part : parts) {
        for (const auto& entry : part) {
            if (!entry.name.empty()) sorted.push_back(&entry);
        }
    }
    std::sort(sorted.begin(), sorted.end(), [](const auto* a, const auto* b) { return a->name < b->name; });
    return sorted;
}

/// @param count  of arguments; -1: any number
void register_function(sqlite3* db, const FunctionEntry& entry, const char* name, int count, void* data) {
    const int flags = SQLITE_UTF8 | SQLITE_INNOCUOUS | (entry.deterministic ? SQLITE_DETERMINISTIC : 0);
    const Callbacks& calls = entry.callbacks;
    const int status =
        calls.value != nullptr ? sqlite3_create_window_function(db, name, count, flags, data, calls.step, calls.final,
                                                                calls.value, calls.inverse, nullptr)
        : calls.final != nullptr
            ? sqlite3_create_function_v2(db, name, count, flags, data, nullptr, calls.step, calls.final, nullptr)
            : sqlite3_create_function_v2(db, name, count, flags, data, calls.step, nullptr, nullptr, nullptr);
    if (status != SQLITE_OK) throw OracleError(error::out_of_memory);
}

} // namespace

const FunctionEntry* find_function(std::string_view name) {
    static const auto sorted = sorted_by_name();
    const auto found =
        std::lower_bound(sorted.begin(), sorted.end(), name,
                         [](const auto* entry, std::string_view wanted) { return entry->name < wanted; });
    return found != sorted.end() && (*found)->name == name ? *found : nullptr;
}

void register_functions(sqlite3* db, const std::string& user_name) {
    auto* data = const_cast<std::string*>(&user_name);
    for (const auto part : parts) {
        for (const auto& entry : part) {
            if (entry.callbacks.step == nullptr) continue;
            const int hidden = entry.hidden == HiddenArgument::none ? 0 : 1;
            const bool variadic = entry.most == FunctionEntry::any_number;
            for (int count = variadic ? -1 : entry.least + hidden; count <= (variadic ? -1 : entry.most + hidden);
                 ++count) {
                register_function(db, entry, entry.sqlite_name, count, data);
                // The token translator still writes the names as the dialect has them.
                register_function(db, entry, entry.sqlite_name + 4, count, data);
            }
        }
    }
}

} // namespace oci
