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
    if (b == 0) throw OracleError(1476);
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
        if (op == Operator::add && from_date && to_date) throw OracleError(975);
        if (op == Operator::add) return from_date ? moved(in, first, double_of(b)) : moved(in, second, double_of(a));
        if (op != Operator::subtract || !from_date) throw OracleError(932, "expected NUMBER got DATE");
        if (!to_date) return moved(in, first, -double_of(b));
        return number_result(static_cast<double>(seconds_of(first) - seconds_of(second)) / seconds_per_day);
    }
    const Value x = number_of(a);
    const Value y = number_of(b);
    std::int64_t exact = 0;
    const bool integers = x.type == Value::Type::integer && y.type == Value::Type::integer;
    if (integers && calculate<op>(x.integer, y.integer, exact)) return Value::of(exact);
    const double result = calculate<op>(as_double(x), as_double(y));
    if (!std::isfinite(result)) throw OracleError(1426);
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
    if (std::isnan(result)) throw OracleError(1428, text_of(in[in.count - 1], scratch));
    return number_result(result);
}

constexpr double out_of_domain = std::numeric_limits<double>::quiet_NaN();
double natural_log(double x) {
    return x > 0 ? std::log(x) : out_of_domain;
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

constexpr Entry entries[] = {
    {"ora_add", 2, 2, call<strict<arithmetic<Operator::add>>>},
    {"ora_sub", 2, 2, call<strict<arithmetic<Operator::subtract>>>},
    {"ora_mul", 2, 2, call<strict<arithmetic<Operator::multiply>>>},
    {"ora_div", 2, 2, call<strict<arithmetic<Operator::divide>>>},
    {"abs", 1, 1, call<strict<absolute>>},
    {"sign", 1, 1, call<strict<sign>>},
    {"ceil", 1, 1, call<strict<of_real<[](double x) { return std::ceil(x); }>>>},
    {"floor", 1, 1, call<strict<of_real<[](double x) { return std::floor(x); }>>>},
    {"mod", 2, 2, call<strict<modulo>>},
    {"power", 2, 2, call<strict<math<[](double x, double y) {
         const double result = std::pow(x, y);
         return without_noise(result, std::fabs(result));
     }>>>},
    {"sqrt", 1, 1, call<strict<math<[](double x) { return std::sqrt(x); }>>>},
    {"exp", 1, 1, call<strict<math<[](double x) { return std::exp(x); }>>>},
    {"ln", 1, 1, call<strict<math<natural_log>>>},
    {"log", 2, 2, call<strict<math<log_to_base>>>},
    {"round", 1, 2, call<strict<rounded<Rounding::half_up>>>},
    {"trunc", 1, 2, call<strict<rounded<Rounding::truncate>>>},
};

} // namespace

constinit const std::span<const Entry> number_functions = entries;

} // namespace oci
