#include "oci/functions/functions.h"

#include "oci/values/dates.h"
#include "oci/functions/formats.h"
#include "oci/functions/function_table.h"

#include <algorithm>
#include <cmath>

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
    if (!std::isfinite(number)) throw OracleError(1426);
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
    if (!(std::fabs(days) < 1e7)) throw OracleError(1841);
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
    if (value.type != Value::Type::text) throw OracleError(932, "expected DATE got NUMBER");
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

constexpr Entry general_functions[] = {
    {"ora_fit", 6, 6, call<fit_to_column>},
    {"nvl", 2, 2, call<nvl>},
    {"nvl2", 3, 3, call<nvl2>},
    {"decode", -1, -1, call<decode>},
    {"greatest", -1, -1, call<strict<extreme<1>>>},
    {"least", -1, -1, call<strict<extreme<-1>>>},
    {"add_months", 2, 2, call<strict<months_added>>},
    {"months_between", 2, 2, call<strict<months_apart>>},
    {"last_day", 1, 1, call<strict<last_day>>},
    {"next_day", 2, 2, call<strict<next_day>>},
    {"to_char", 1, 2, call<strict<to_char>>},
    {"to_date", 1, 2, call<strict<to_date>>},
    {"to_number", 1, 2, call<strict<to_number>>},
    {"rawtohex", 1, 1, call<strict<raw_to_hex>>},
    {"hextoraw", 1, 1, call<strict<hex_to_raw>>},
    {"empty_blob", 0, 0, call<empty_lob>},
    {"empty_clob", 0, 0, call<empty_lob>},
    {"user", 0, 0, call<user>},
};

} // namespace

void register_functions(sqlite3* db, const std::string& user_name) {
    constexpr int flags = SQLITE_UTF8 | SQLITE_DETERMINISTIC | SQLITE_INNOCUOUS;
    auto* data = const_cast<std::string*>(&user_name);
    for (const std::span<const Entry> entries :
         {std::span<const Entry>(general_functions), number_functions, text_functions}) {
        for (const auto& entry : entries) {
            for (int count = entry.least; count <= entry.most; ++count) {
                const int status = sqlite3_create_function_v2(db, entry.name, count, flags, data, entry.function,
                                                              nullptr, nullptr, nullptr);
                if (status != SQLITE_OK) throw sqlite_error(db);
            }
        }
    }
    register_sums(db);
}

} // namespace oci
