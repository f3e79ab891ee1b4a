#include "oci/functions/function_table.h"

#include <algorithm>
#include <cmath>

// What the printer calls for the rules about rows: limits, values that may come from one row only.
namespace oci {
namespace {

/// How many rows a condition on the number of a row lets pass, when rows are numbered as they pass it.
Value row_limit(Arguments& in) {
    constexpr double all = 9e15;
    const Value bound = number_of(in[1]);
    if (bound.is_null()) return Value::of(std::int64_t{0});
    const std::string_view sign = in[0].text();
    const double number = as_double(bound);
    double limit = 0;
    if (sign == "<=") limit = std::floor(number);
    if (sign == "<") limit = std::ceil(number) - 1;
    if (sign == "=") limit = number == 1 ? 1 : 0;
    if (sign == ">") limit = number < 1 ? all : 0;
    if (sign == ">=") limit = number <= 1 ? all : 0;
    if (sign == "<>") limit = number >= 1 && std::trunc(number) == number ? number - 1 : all;
    return Value::of(static_cast<std::int64_t>(std::clamp(limit, 0.0, all)));
}

/// Refuses a row: the statement fails with the number.
Value raise(Arguments& in) {
    throw OracleError(static_cast<int>(in[0].integer));
}

/// The value of the only row.
struct Single {
    sqlite3_value* value;
    bool found;
};

void take_single(sqlite3_context* context, int, sqlite3_value** values) noexcept {
    auto* single = static_cast<Single*>(sqlite3_aggregate_context(context, sizeof(Single)));
    if (single == nullptr) return sqlite3_result_error_nomem(context);
    if (single->found) {
        try {
            sqlite3_result_error(context, OracleError(error::single_row_subquery).text().c_str(), -1);
        } catch (const std::bad_alloc&) {
            sqlite3_result_error_nomem(context);
        }
        return;
    }
    single->found = true;
    single->value = sqlite3_value_dup(values[0]);
    if (single->value == nullptr) sqlite3_result_error_nomem(context);
}

void give_single(sqlite3_context* context) noexcept {
    auto* single = static_cast<Single*>(sqlite3_aggregate_context(context, 0));
    if (single == nullptr || single->value == nullptr) return sqlite3_result_null(context);
    sqlite3_result_value(context, single->value);
    sqlite3_value_free(single->value);
    single->value = nullptr;
}

using enum ArgumentRule;

constexpr FunctionEntry entries[] = {
    {"", 2, 2, {any}, ResultRule::number, "ora_row_limit", {call<row_limit>}},
    {.name = "",
     .least = 1,
     .most = 1,
     .arguments = {any},
     .result = ResultRule::unknown,
     .sqlite_name = "ora_raise",
     .callbacks = {call<raise>},
     .deterministic = false},
    {"", 1, 1, {any}, ResultRule::unknown, "ora_single", {take_single, give_single}, 0, FunctionRole::aggregate},
};

} // namespace

constinit const std::span<const FunctionEntry> row_functions = entries;

} // namespace oci
