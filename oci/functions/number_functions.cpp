#include "oci/functions/function_table.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <type_traits>

namespace oci {
namespace {

enum class Operator : std::uint8_t { add, subtract, multiply, divide };

/// @return false when the result is no 64-bit integer.
template <Operator op> bool calculate(std::int64_t a, std::int64_t b, std::int64_t& result) {
    if constexpr (op == Operator::add) return !__builtin_add_overflow(a, b, &result);
    if constexpr (op == Operator::subtract) return !__builtin_sub_overflow(a, b, &result);
    if constexpr (op == Operator::multiply) return !__builtin_mul_overflow(a, b, &result);
    if (b == 0 || b == -1 || a % b != 0) return false;
    result = a / b;
    return true;
}

/// The number in units of 10^-4, when it is a decimal of so few digits.
bool in_units(const Value& number, std::int64_t& units) {
    constexpr double unit = 1e4;
    const double scaled = std::nearbyint(as_double(number) * unit);
    units = static_cast<std::int64_t>(std::fabs(scaled) < 1e15 ? scaled : 0);
    return std::fabs(scaled) < 1e15 && scaled / unit == as_double(number);
}

Value of_units(std::int64_t units, std::int64_t unit) {
    if (units % unit == 0) return Value::of(units / unit);
    return Value::of(static_cast<double>(units) / static_cast<double>(unit));
}

/// Decimals of few digits, as most are, without taking them apart. @return false when they are none.
template <Operator op> bool calculate_quickly(const Value& a, const Value& b, Value& result) {
    if constexpr (op == Operator::divide) return false;
    constexpr std::int64_t unit = 10'000;
    std::int64_t x = 0;
    std::int64_t y = 0;
    std::int64_t units = 0;
    if (!in_units(a, x) || !in_units(b, y) || !calculate<op>(x, y, units)) return false;
    constexpr std::int64_t greatest = std::int64_t{1} << 53; // a double holds it, and so the quotient is the nearest
    if (units > greatest || units < -greatest) return false;
    result = of_units(units, op == Operator::multiply ? unit * unit : unit);
    return true;
}

template <Operator op> Decimal calculate(const Decimal& x, const Decimal& y) {
    if constexpr (op == Operator::add) return x + y;
    if constexpr (op == Operator::subtract) return x - y;
    if constexpr (op == Operator::multiply) return x * y;
    return x / y;
}

template <Operator op> Value calculate(const Value& a, const Value& b) {
    std::int64_t exact = 0;
    const bool integers = a.type == Value::Type::integer && b.type == Value::Type::integer;
    if (integers && calculate<op>(a.integer, b.integer, exact)) return Value::of(exact);
    Value quick;
    if (!integers && calculate_quickly<op>(a, b, quick)) return quick;
    const Decimal result = calculate<op>(Decimal(a), Decimal(b));
    return op == Operator::divide ? result.approximate() : result.nearly_exact();
}

/// Of operands whose types are not known: they may be dates.
template <Operator op> Value arithmetic(Arguments& in) {
    const Value a = in[0];
    const Value b = in[1];
    if (a.type == Value::Type::text || b.type == Value::Type::text) {
        Civil first{};
        Civil second{};
        const bool from_date = is_date(a, first);
        const bool to_date = is_date(b, second);
        if (op == Operator::add && from_date && to_date) throw OracleError(error::date_plus_date);
        const bool moves = from_date != to_date && (op == Operator::add || (op == Operator::subtract && from_date));
        if (moves) {
            const Value days = number_of(from_date ? b : a);
            return date_result(
                in, moved(from_date ? first : second, op == Operator::add ? days : (-Decimal(days)).exact()));
        }
        if (from_date && to_date && op == Operator::subtract) return in.quotient(days_between(first, second));
        if (from_date || to_date) throw OracleError(error::inconsistent_datatypes, "expected NUMBER got DATE");
    }
    const bool texts = a.type == Value::Type::text || b.type == Value::Type::text;
    if (!in.spells() && !texts) return calculate<op>(number_of(a), number_of(b));
    const Decimal result = calculate<op>(decimal_of(a), decimal_of(b));
    return op == Operator::divide ? in.quotient(result) : in.number(result);
}

/// One step of a chain in numbers that are held. @return false when it takes decimals.
bool quick_step(char sign, const Value& a, const Value& b, Value& result) {
    if (!is_number(a) || !is_number(b)) return false;
    const auto step = [&]<Operator op>() {
        std::int64_t exact = 0;
        const bool integers = a.type == Value::Type::integer && b.type == Value::Type::integer;
        if (!integers) return calculate_quickly<op>(a, b, result);
        if (!calculate<op>(a.integer, b.integer, exact)) return false;
        result = Value::of(exact);
        return true;
    };
    switch (sign) {
    case '+': return step.operator()<Operator::add>();
    case '-': return step.operator()<Operator::subtract>();
    case '*': return step.operator()<Operator::multiply>();
    default: return step.operator()<Operator::divide>();
    }
}

/// ora_chain(signs, a, b, ...): the operators one after the other, from the left. Calls within calls would soon be too
/// deep for SQLite. From the first step on that takes decimals, nothing is rounded before the end.
Value chain(Arguments& in) {
    const std::string_view signs = in[0].text();
    Value result = in[1];
    int done = 0;
    const auto count = static_cast<int>(signs.size());
    while (done < count && quick_step(signs[static_cast<std::size_t>(done)], result, in[done + 2], result)) ++done;
    if (done == count && is_number(result)) return result;
    Decimal exact = decimal_of(result);
    bool divided = false;
    for (; done < count; ++done) {
        const char sign = signs[static_cast<std::size_t>(done)];
        const Decimal operand = decimal_of(in[done + 2]);
        divided = divided || sign == '/';
        exact = sign == '+'   ? exact + operand
                : sign == '-' ? exact - operand
                : sign == '*' ? exact * operand
                              : exact / operand;
    }
    return divided ? in.quotient(exact) : in.number(exact);
}

Value compared(Arguments& in) {
    const auto order = decimal_of(in[0]) <=> decimal_of(in[1]);
    return Value::of(std::int64_t{(order > 0) - (order < 0)});
}

Value negated(Arguments& in) {
    return in.number(-decimal_of(in[0]));
}

Value absolute(Arguments& in) {
    const Decimal number = decimal_of(in[0]);
    return in.number(number.is_negative() ? -number : number);
}

Value sign(Arguments& in) {
    return Value::of(std::int64_t{compare_numbers(number_of(in[0]), Value::of(std::int64_t{0}))});
}

/// The next whole number, towards positive or negative infinity.
template <bool up> Value next_whole(Arguments& in) {
    if (in[0].type == Value::Type::integer) return in[0];
    const Decimal decimal = decimal_of(in[0]);
    const Decimal whole = decimal.rounded(0, Rounding::truncate);
    const bool away = whole != decimal && decimal.is_negative() != up;
    return in.number(away ? whole + Decimal(decimal.is_negative(), 1, 0) : whole);
}

Value modulo(Arguments& in) {
    const Value a = in[0];
    const Value b = in[1];
    if (a.type == Value::Type::integer && b.type == Value::Type::integer && b.integer != 0) {
        return Value::of(b.integer == -1 ? std::int64_t{0} : a.integer % b.integer);
    }
    return in.number(decimal_of(a).remainder(decimal_of(b)));
}

/// Like MOD, but of the nearest multiple.
Value remainder(Arguments& in) {
    const Decimal a = decimal_of(in[0]);
    const Decimal b = decimal_of(in[1]);
    if (b.is_zero()) throw OracleError(error::divisor_is_zero);
    const Decimal rest = a.remainder(b);
    const auto size = [](const Decimal& number) { return number.is_negative() ? -number : number; };
    const Decimal twice = size(rest) + size(rest);
    const bool odd = twice == size(b) && !(((a - rest) / b).remainder(Decimal(false, 2, 0))).is_zero();
    if (twice < size(b) || (twice == size(b) && !odd)) return in.number(rest);
    return in.number(rest - (rest.is_negative() == b.is_negative() ? b : -b));
}

Value bit_and(Arguments& in) {
    const auto bits = [](const Value& value) {
        return Decimal(number_of(value)).rounded(0, Rounding::truncate).exact();
    };
    const Value a = bits(in[0]);
    const Value b = bits(in[1]);
    if (a.type != Value::Type::integer || b.type != Value::Type::integer) throw OracleError(error::numeric_overflow);
    return Value::of(a.integer & b.integer);
}

Value width_bucket(Arguments& in) {
    const Decimal number = decimal_of(in[0]);
    const Decimal low = decimal_of(in[1]);
    const Decimal high = decimal_of(in[2]);
    const std::int64_t count = integer_of(in[3]);
    if (count < 1) throw OracleError(error::argument_out_of_range, std::to_string(count));
    if (low == high) throw OracleError(error::argument_out_of_range, high.text());
    const bool ascending = low < high;
    if (ascending ? number < low : number > low) return Value::of(std::int64_t{0});
    if (ascending ? number >= high : number <= high) return Value::of(count + 1);
    const Decimal place = (number - low) * Decimal(Value::of(count)) / (high - low);
    return (place.rounded(0, Rounding::truncate) + Decimal(false, 1, 0)).exact();
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
    if (std::isnan(result)) throw OracleError(error::argument_out_of_range, text_of(in, in.count - 1, scratch));
    return number_of_real(result);
}

constexpr double out_of_domain = std::numeric_limits<double>::quiet_NaN();
double square_root(double x) {
    return std::sqrt(x);
}
double exponential(double x) {
    return std::exp(x);
}
double sine(double x) {
    return std::sin(x);
}
double cosine(double x) {
    return std::cos(x);
}
double tangent(double x) {
    return std::tan(x);
}
double arc_sine(double x) {
    return std::asin(x);
}
double arc_cosine(double x) {
    return std::acos(x);
}
double arc_tangent(double x) {
    return std::atan(x);
}
double arc_tangent_of(double y, double x) {
    return x == 0 && y == 0 ? out_of_domain : std::atan2(y, x);
}
double hyperbolic_sine(double x) {
    return std::sinh(x);
}
double hyperbolic_cosine(double x) {
    return std::cosh(x);
}
double hyperbolic_tangent(double x) {
    return std::tanh(x);
}
double natural_log(double x) {
    return x > 0 ? std::log(x) : out_of_domain;
}
double log_to_base(double base, double x) {
    if (!(base > 0) || base == 1 || !(x > 0)) return out_of_domain;
    return base == 10 ? std::log10(x) : base == 2 ? std::log2(x) : std::log(x) / std::log(base);
}

/// Exact where the exponent is a small whole number and the result can be held.
Value power(Arguments& in) {
    const Decimal base = decimal_of(in[0]);
    const Value exponent = number_of(in[1]);
    if (exponent.type != Value::Type::integer || std::llabs(exponent.integer) > 64) {
        const double result = std::pow(double_of(in[0]), as_double(exponent));
        std::string scratch;
        if (std::isnan(result)) throw OracleError(error::argument_out_of_range, text_of(in, 1, scratch));
        return number_of_real(result);
    }
    Decimal product(false, 1, 0);
    for (std::int64_t i = std::llabs(exponent.integer); i > 0; --i) product = product * base;
    return in.quotient(exponent.integer < 0 ? Decimal(false, 1, 0) / product : product);
}

template <Rounding rounding> Value rounded(Arguments& in) {
    const Value value = in[0];
    Civil date{};
    if (is_date(value, date)) {
        std::string scratch;
        const auto nearest = rounding == Rounding::half_up ? Nearest::either : Nearest::below;
        return date_result(
            in, start_of(in.has(1) ? text_of(in, 1, scratch) : "DD", date, nearest, in.settings().first_weekday));
    }
    const auto places = in.has(1) ? static_cast<int>(std::clamp<std::int64_t>(integer_of(in[1]), -400, 400)) : 0;
    if (value.type == Value::Type::integer && places >= 0) return value;
    return in.number(decimal_of(value).rounded(places, rounding));
}

using enum ArgumentRule;
constexpr auto a_number = ResultRule::number;

constexpr FunctionEntry entries[] = {
    spelling({"", 3, FunctionEntry::any_number, {any}, ResultRule::number, "ora_chain", {call<strict<chain>>}}),
    spelling({"", 2, 2, {any}, ResultRule::unknown, "ora_add", {call<strict<arithmetic<Operator::add>>>}}),
    spelling({"", 2, 2, {any}, ResultRule::unknown, "ora_sub", {call<strict<arithmetic<Operator::subtract>>>}}),
    spelling({"", 2, 2, {any}, a_number, "ora_mul", {call<strict<arithmetic<Operator::multiply>>>}}),
    spelling({"", 2, 2, {any}, a_number, "ora_div", {call<strict<arithmetic<Operator::divide>>>}}),
    {"", 2, 2, {any}, a_number, "ora_compare", {call<strict<compared>>}},
    spelling({"", 1, 1, {any}, ResultRule::like_argument, "ora_neg", {call<strict<negated>>}}),
    spelling({"ABS", 1, 1, {number}, a_number, "ora_abs", {call<strict<absolute>>}}),
    {"SIGN", 1, 1, {number}, a_number, "ora_sign", {call<strict<sign>>}},
    spelling({"CEIL", 1, 1, {number}, a_number, "ora_ceil", {call<strict<next_whole<true>>>}}),
    spelling({"FLOOR", 1, 1, {number}, a_number, "ora_floor", {call<strict<next_whole<false>>>}}),
    spelling({"MOD", 2, 2, {number}, a_number, "ora_mod", {call<strict<modulo>>}}),
    spelling({"REMAINDER", 2, 2, {number}, a_number, "ora_remainder", {call<strict<remainder>>}}),
    {"BITAND", 2, 2, {number}, a_number, "ora_bitand", {call<strict<bit_and>>}},
    {"WIDTH_BUCKET", 4, 4, {number}, a_number, "ora_width_bucket", {call<strict<width_bucket>>}},
    spelling({"POWER", 2, 2, {number}, a_number, "ora_power", {call<strict<power>>}}),
    {"SQRT", 1, 1, {number}, a_number, "ora_sqrt", {call<strict<math<square_root>>>}},
    {"EXP", 1, 1, {number}, a_number, "ora_exp", {call<strict<math<exponential>>>}},
    {"LN", 1, 1, {number}, a_number, "ora_ln", {call<strict<math<natural_log>>>}},
    {"LOG", 2, 2, {number}, a_number, "ora_log", {call<strict<math<log_to_base>>>}},
    {"SIN", 1, 1, {number}, a_number, "ora_sin", {call<strict<math<sine>>>}},
    {"COS", 1, 1, {number}, a_number, "ora_cos", {call<strict<math<cosine>>>}},
    {"TAN", 1, 1, {number}, a_number, "ora_tan", {call<strict<math<tangent>>>}},
    {"ASIN", 1, 1, {number}, a_number, "ora_asin", {call<strict<math<arc_sine>>>}},
    {"ACOS", 1, 1, {number}, a_number, "ora_acos", {call<strict<math<arc_cosine>>>}},
    {"ATAN", 1, 1, {number}, a_number, "ora_atan", {call<strict<math<arc_tangent>>>}},
    {"ATAN2", 2, 2, {number}, a_number, "ora_atan2", {call<strict<math<arc_tangent_of>>>}},
    {"SINH", 1, 1, {number}, a_number, "ora_sinh", {call<strict<math<hyperbolic_sine>>>}},
    {"COSH", 1, 1, {number}, a_number, "ora_cosh", {call<strict<math<hyperbolic_cosine>>>}},
    {"TANH", 1, 1, {number}, a_number, "ora_tanh", {call<strict<math<hyperbolic_tangent>>>}},
    spelling(
        {"ROUND", 1, 2, {any}, ResultRule::like_argument, "ora_round", {call<strict<rounded<Rounding::half_up>>>}}),
    spelling(
        {"TRUNC", 1, 2, {any}, ResultRule::like_argument, "ora_trunc", {call<strict<rounded<Rounding::truncate>>>}}),
};

} // namespace

constinit const std::span<const FunctionEntry> number_functions = entries;

} // namespace oci
