#include "oci/functions/operators.h"

namespace oci::operators {
namespace {

/// The kinds of operands that operators tell apart.
enum class Operand : std::uint8_t { number, text, date, moment, months, span, unknown, other };

struct Rule {
    char sign;
    Operand left;
    Operand right;
    Arithmetic arithmetic;
};

Operand operand(Family family) {
    switch (family) {
    case Family::number:
    case Family::binary_float:
    case Family::binary_double: return Operand::number;
    case Family::text:
    case Family::fixed_text:
    case Family::long_text: return Operand::text;
    case Family::date: return Operand::date;
    case Family::timestamp:
    case Family::timestamp_tz:
    case Family::timestamp_ltz: return Operand::moment;
    case Family::interval_ym: return Operand::months;
    case Family::interval_ds: return Operand::span;
    case Family::unknown: return Operand::unknown;
    default: return Operand::other;
    }
}

bool is_numeric(Operand operand) {
    return operand == Operand::number || operand == Operand::text;
}

/// What stands for both types of a result: that of the left or right operand.
constexpr Family as_left = Family::boolean;
constexpr Family as_right = Family::rowid;

using enum Operand;
constexpr Rule rules[] = {
    {'+', date, number, {"ora_date_add", Family::date}},
    {'+', number, date, {"ora_add_date", Family::date}},
    {'-', date, number, {"ora_date_sub", Family::date}},
    {'-', date, date, {"ora_date_diff", Family::number}},
    {'+', moment, number, {"ora_date_add", Family::date}},
    {'+', number, moment, {"ora_add_date", Family::date}},
    {'-', moment, number, {"ora_date_sub", Family::date}},
    {'-', moment, moment, {"ora_moment_diff", Family::interval_ds}},
    {'-', date, moment, {"ora_moment_diff", Family::interval_ds}},
    {'-', moment, date, {"ora_moment_diff", Family::interval_ds}},
    {'+', date, months, {"ora_moment_add_ym", as_left}},
    {'+', moment, months, {"ora_moment_add_ym", as_left}},
    {'-', date, months, {"ora_moment_sub_ym", as_left}},
    {'-', moment, months, {"ora_moment_sub_ym", as_left}},
    {'+', months, date, {"ora_ym_add_moment", as_right}},
    {'+', months, moment, {"ora_ym_add_moment", as_right}},
    {'+', date, span, {"ora_moment_add_ds", as_left}},
    {'+', moment, span, {"ora_moment_add_ds", as_left}},
    {'-', date, span, {"ora_moment_sub_ds", as_left}},
    {'-', moment, span, {"ora_moment_sub_ds", as_left}},
    {'+', span, date, {"ora_ds_add_moment", as_right}},
    {'+', span, moment, {"ora_ds_add_moment", as_right}},
    {'+', months, months, {"ora_interval_add", as_left}},
    {'-', months, months, {"ora_interval_sub", as_left}},
    {'+', span, span, {"ora_interval_add", as_left}},
    {'-', span, span, {"ora_interval_sub", as_left}},
    {'*', months, number, {"ora_interval_mul", as_left}},
    {'*', span, number, {"ora_interval_mul", as_left}},
    {'*', number, months, {"ora_interval_mul", as_right}},
    {'*', number, span, {"ora_interval_mul", as_right}},
    {'/', months, number, {"ora_interval_div", as_left}},
    {'/', span, number, {"ora_interval_div", as_left}},
};

const char* of_numbers(char sign) {
    return sign == '+' ? "ora_add" : sign == '-' ? "ora_sub" : sign == '*' ? "ora_mul" : "ora_div";
}

} // namespace

std::optional<Arithmetic> arithmetic(char sign, Family left, Family right) {
    Operand l = operand(left);
    Operand r = operand(right);
    if (is_numeric(l) && is_numeric(r)) return Arithmetic{of_numbers(sign), Family::number};
    if (l == text) l = number;
    if (r == text) r = number;
    if (l == other || r == other) return std::nullopt;
    if (l == unknown || r == unknown) {
        const bool either_date = l == date || r == date;
        const bool multiplies = sign == '*' || sign == '/';
        if (multiplies && (l == months || l == span))
            return Arithmetic{sign == '*' ? "ora_interval_mul" : "ora_interval_div", left};
        if (multiplies && (r == months || r == span)) return Arithmetic{"ora_interval_mul", right};
        if (either_date && sign == '+') return Arithmetic{"ora_add", Family::date};
        return Arithmetic{of_numbers(sign), multiplies ? Family::number : Family::unknown};
    }
    for (const Rule& rule : rules) {
        if (rule.sign != sign || rule.left != l || rule.right != r) continue;
        const Family result = rule.arithmetic.result;
        return Arithmetic{rule.arithmetic.function, result == as_left ? left : result == as_right ? right : result};
    }
    return std::nullopt;
}

Conversion conversion(Family from, Family to) {
    if (from == to || to == Family::unknown) return Conversion::none_needed;
    if (from == Family::unknown) return Conversion::needed;
    const Operand f = operand(from);
    const Operand t = operand(to);
    if (f == number && t == number) return Conversion::none_needed;
    if (f == text && t == text) return Conversion::none_needed;
    const auto is_large = [](Family family) { return family == Family::clob || family == Family::long_text; };
    if (t == text || is_large(to)) return f == text || is_large(from) ? Conversion::none_needed : Conversion::needed;
    if (f == text || is_large(from)) return Conversion::needed;
    const auto is_moment = [](Operand operand) { return operand == date || operand == moment; };
    if (is_moment(f) && is_moment(t)) return Conversion::needed;
    const auto is_binary = [](Family family) {
        return family == Family::raw || family == Family::long_raw || family == Family::blob;
    };
    if (is_binary(from) && is_binary(to)) return Conversion::none_needed;
    return Conversion::impossible;
}

} // namespace oci::operators
