#include "oci/functions/function_table.h"

#include "oci/values/dates.h"
#include "oci/values/decimal.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <type_traits>

namespace oci {
namespace {

/// Of operands that may be numbers or dates.
enum class Operator : std::uint8_t { add, subtract, multiply, divide };

/// @return false when the result is no 64-bit integer.
template <Operator op> bool calculate(std::int64_t a, std::int64_t b, std::int64_t& result) {
    if constexpr (op == Operator::add) return !__builtin_add_overflow(a, b, &result);
    if constexpr (op == Operator::subtract) return !__builtin_sub_overflow(a, b, &result);
    if constexpr (op == Operator::multiply) return !__builtin_mul_overflow(a, b, &result);
    if (b == -1) return !__builtin_sub_overflow(0, a, &result);
    if (b == 0 || a % b != 0) return false;
    result = a / b;
    return true;
}

template <Operator op> double calculate(double a, double b) {
    if constexpr (op == Operator::add) return a + b;
    if constexpr (op == Operator::subtract) return a - b;
    if constexpr (op == Operator::multiply) return a * b;
    if (b == 0) throw OracleError(error::divisor_is_zero);
    return a / b;
}

template <Operator op> Value arithmetic(Arguments& in) {
    const Value a = in[0];
    const Value b = in[1];
    Civil first{};
    Civil second{};
    const bool from_date = is_date(a, first);
    const bool to_date = is_date(b, second);
    if (from_date || to_date) {
        if (op == Operator::add && from_date && to_date) throw OracleError(error::date_plus_date);
        if (op == Operator::add) return from_date ? moved(in, first, double_of(b)) : moved(in, second, double_of(a));
        if (op != Operator::subtract || !from_date)
            throw OracleError(error::inconsistent_datatypes, "expected NUMBER got DATE");
        if (!to_date) return moved(in, first, -double_of(b));
        return number_result(static_cast<double>(seconds_of(first) - seconds_of(second)) / seconds_per_day);
    }
    const Value x = number_of(a);
    const Value y = number_of(b);
    std::int64_t exact = 0;
    const bool integers = x.type == Value::Type::integer && y.type == Value::Type::integer;
    if (integers && calculate<op>(x.integer, y.integer, exact)) return Value::of(exact);
    const double result = calculate<op>(as_double(x), as_double(y));
    if (!std::isfinite(result)) throw OracleError(error::numeric_overflow);
    const bool sum = op == Operator::add || op == Operator::subtract;
    const double operands = sum ? std::max(std::fabs(as_double(x)), std::fabs(as_double(y))) : 0;
    return Value::of(without_noise(result, std::max(std::fabs(result), operands)) + 0.0); // zero has no sign
}

template <double (*function)(double)> Value of_real(Arguments& in) {
    const Value number = number_of(in[0]);
    return number.type == Value::Type::integer ? number : number_result(function(number.real));
}

Value absolute(Arguments& in) {
    const Value number = number_of(in[0]);
    if (number.type == Value::Type::real) return Value::of(std::fabs(number.real));
    if (number.integer == std::numeric_limits<std::int64_t>::min()) return Value::of(-as_double(number));
    return Value::of(std::abs(number.integer));
}

Value sign(Arguments& in) {
    const double number = double_of(in[0]);
    return Value::of(std::int64_t{(number > 0) - (number < 0)});
}

Value modulo(Arguments& in) {
    const Value a = number_of(in[0]);
    const Value b = number_of(in[1]);
    if (as_double(b) == 0) return a;
    if (a.type == Value::Type::integer && b.type == Value::Type::integer) {
        return Value::of(b.integer == -1 ? std::int64_t{0} : a.integer % b.integer);
    }
    // In units of the last decimal place both are whole numbers, of which the remainder is exact.
    const double x = as_double(a);
    const double y = as_double(b);
    for (int places = 0; places <= 15; ++places) {
        const double power = power_of_ten(places);
        const double units = std::nearbyint(x * power);
        const double divisor = std::nearbyint(y * power);
        if (std::fabs(units) > 0x1p53 || std::fabs(divisor) > 0x1p53) break;
        if (units / power == x && divisor / power == y) return number_result(std::fmod(units, divisor) / power);
    }
    return number_result(std::fmod(x, y));
}

/// A mathematical function of one or two numbers, whose NaN says that they are outside its domain.
template <auto function> Value math(Arguments& in) {
    double result = 0;
    if constexpr (std::is_invocable_v<decltype(function), double>) {
        result = function(double_of(in[0]));
    } else {
        result = function(double_of(in[0]), double_of(in[1]));
    }
    std::string scratch;
    if (std::isnan(result)) throw OracleError(error::argument_out_of_range, text_of(in[in.count - 1], scratch));
    return number_result(result);
}

constexpr double out_of_domain = std::numeric_limits<double>::quiet_NaN();
double natural_log(double x) {
    return x > 0 ? std::log(x) : out_of_domain;
}
double ceiling(double x) {
    return std::ceil(x);
}
double floor_of(double x) {
    return std::floor(x);
}
double power(double x, double y) {
    const double result = std::pow(x, y);
    return without_noise(result, std::fabs(result));
}
double square_root(double x) {
    return std::sqrt(x);
}
double exponential(double x) {
    return std::exp(x);
}
double log_to_base(double base, double x) {
    if (!(base > 0) || base == 1 || !(x > 0)) return out_of_domain;
    return base == 10 ? std::log10(x) : base == 2 ? std::log2(x) : std::log(x) / std::log(base);
}

template <Rounding rounding> Value rounded(Arguments& in) {
    const Value value = in[0];
    Civil date{};
    if (is_date(value, date)) {
        const Value unit = in.has(1) ? in[1] : Value::of(std::string_view("DD"));
        const auto nearest = rounding == Rounding::half_up ? Nearest::either : Nearest::below;
        return date_result(in, start_of(text_of(unit, in.scratch), date, nearest));
    }
    const auto places = in.has(1) ? static_cast<int>(std::clamp<std::int64_t>(integer_of(in[1]), -400, 400)) : 0;
    const Value number = number_of(value);
    if (number.type == Value::Type::integer && places >= 0) return number;
    Decimal decimal(number);
    decimal.round(places, rounding);
    return decimal.value();
}

using enum ArgumentRule;

constexpr FunctionEntry entries[] = {
    {"", 2, 2, {any}, ResultRule::unknown, "ora_add", {call<strict<arithmetic<Operator::add>>>}},
    {"", 2, 2, {any}, ResultRule::unknown, "ora_sub", {call<strict<arithmetic<Operator::subtract>>>}},
    {"", 2, 2, {any}, ResultRule::number, "ora_mul", {call<strict<arithmetic<Operator::multiply>>>}},
    {"", 2, 2, {any}, ResultRule::number, "ora_div", {call<strict<arithmetic<Operator::divide>>>}},
    {"ABS", 1, 1, {number}, ResultRule::number, "ora_abs", {call<strict<absolute>>}},
    {"SIGN", 1, 1, {number}, ResultRule::number, "ora_sign", {call<strict<sign>>}},
    {"CEIL", 1, 1, {number}, ResultRule::number, "ora_ceil", {call<strict<of_real<ceiling>>>}},
    {"FLOOR", 1, 1, {number}, ResultRule::number, "ora_floor", {call<strict<of_real<floor_of>>>}},
    {"MOD", 2, 2, {number}, ResultRule::number, "ora_mod", {call<strict<modulo>>}},
    {"POWER", 2, 2, {number}, ResultRule::number, "ora_power", {call<strict<math<power>>>}},
    {"SQRT", 1, 1, {number}, ResultRule::number, "ora_sqrt", {call<strict<math<square_root>>>}},
    {"EXP", 1, 1, {number}, ResultRule::number, "ora_exp", {call<strict<math<exponential>>>}},
    {"LN", 1, 1, {number}, ResultRule::number, "ora_ln", {call<strict<math<natural_log>>>}},
    {"LOG", 2, 2, {number}, ResultRule::number, "ora_log", {call<strict<math<log_to_base>>>}},
    {"ROUND", 1, 2, {any}, ResultRule::like_argument, "ora_round", {call<strict<rounded<Rounding::half_up>>>}},
    {"TRUNC", 1, 2, {any}, ResultRule::like_argument, "ora_trunc", {call<strict<rounded<Rounding::truncate>>>}},
};

} // namespace

constinit const std::span<const FunctionEntry> number_functions = entries;

} // namespace oci
