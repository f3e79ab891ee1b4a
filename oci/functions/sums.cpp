#include "oci/functions/function_table.h"

#include "oci/values/decimal.h"

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <iterator>

namespace oci {
namespace {

// SQLite gives the state of an aggregate an address that is a multiple of 8 only.
__extension__ typedef __int128 Int128 __attribute__((aligned(8)));

constexpr int places = 18;
constexpr std::int64_t one = 1'000'000'000'000'000'000; ///< 10^places

/// What SUM and AVG know of the values so far. SQLite sets it to zero.
struct Sum {
    std::int64_t count; ///< of values that are not NULL
    Int128 parts;       ///< their sum in units of 10^-places, which is exact
    double rest;        ///< the sum of those that are too great for it or have more digits
    std::int64_t count_of_rest;
};

/// @return false when the number has no place in units of 10^-places.
bool parts_of(const Value& number, Int128& parts) {
    if (number.type == Value::Type::integer) {
        parts = Int128{number.integer} * one;
        return true;
    }
    constexpr int millionth = 1'000'000; // the quotient is the number: then it is the decimal of so few digits
    const double millionths = std::nearbyint(number.real * millionth);
    if (std::fabs(millionths) < 1e15 && millionths / millionth == number.real) {
        parts = Int128{static_cast<std::int64_t>(millionths)} * (one / millionth);
        return true;
    }
    const Decimal decimal(number);
    if (decimal.whole_digits() > 19 || decimal.decimal_places() > places) return false;
    parts = static_cast<Int128>(decimal.coefficient().half());
    for (int exponent = decimal.exponent(); exponent > -places; --exponent) parts *= 10;
    if (decimal.is_negative()) parts = -parts;
    return true;
}

/// @param sign  -1: the value leaves the sum again, for a window that moves on
void add(Sum& sum, const Value& number, int sign) {
    sum.count += sign;
    Int128 parts = 0;
    const bool exact = parts_of(number, parts);
    Int128 together = 0;
    if (exact && !__builtin_add_overflow(sum.parts, parts * sign, &together)) {
        sum.parts = together;
        return;
    }
    sum.count_of_rest += exact ? 1 : sign; // what overflows once may not do so when it leaves
    sum.rest = sum.count_of_rest == 0 ? 0 : sum.rest + sign * as_double(number);
}

Decimal exact_part(const Sum& sum) {
    const bool negative = sum.parts < 0;
    const auto size = static_cast<WideInteger::Half>(sum.parts);
    return {negative, WideInteger::of(negative ? -size : size), -places};
}

Decimal decimal_total(const Sum& sum) {
    const Decimal exact = exact_part(sum);
    return sum.rest == 0 ? exact : exact + Decimal(number_of_real(sum.rest));
}

Value total(const Sum& sum) {
    return sum.rest == 0 ? decimal_total(sum).nearly_exact() : decimal_total(sum).approximate();
}

Value average(const Sum& sum) {
    return (decimal_total(sum) / Decimal(Value::of(sum.count))).approximate();
}

template <int sign> void step(sqlite3_context* context, int, sqlite3_value** values) noexcept {
    try {
        const Value number = number_of(Value::of(values[0]));
        if (number.is_null()) return;
        auto* sum = static_cast<Sum*>(sqlite3_aggregate_context(context, sizeof(Sum)));
        if (sum == nullptr) throw std::bad_alloc();
        add(*sum, number, sign);
    } catch (...) {
        report_failure(context);
    }
}

template <Value (*result)(const Sum&)> void report(sqlite3_context* context) noexcept {
    const auto* sum = static_cast<const Sum*>(sqlite3_aggregate_context(context, 0));
    if (sum == nullptr || sum->count == 0) return sqlite3_result_null(context);
    try {
        result(*sum).result(context);
    } catch (...) {
        report_failure(context);
    }
}

/// Of all digits.
template <bool mean> class SpelledSum {
  public:
    void add(Arguments& in) { move(in, 1); }
    void remove(Arguments& in) { move(in, -1); }
    Value value(std::string& scratch) const {
        if (m_count == 0) return {};
        return (mean ? m_sum / Decimal(Value::of(m_count)) : m_sum).spelled(scratch);
    }

  private:
    void move(const Arguments& in, int sign) {
        if (in[0].is_null()) return;
        m_count += sign;
        m_sum = sign > 0 ? m_sum + decimal_of(in[0]) : m_sum - decimal_of(in[0]);
    }

    Decimal m_sum;
    std::int64_t m_count = 0;
};

constexpr Callbacks sum{step<1>, report<total>, report<total>, step<-1>};
constexpr Callbacks mean{step<1>, report<average>, report<average>, step<-1>};
constexpr auto role = FunctionRole::aggregate_or_window;

constexpr FunctionEntry entries[] = {
    spelling({"SUM", 1, 1, {ArgumentRule::number}, ResultRule::number, "ora_sum", sum, 0, role},
             window_callbacks<SpelledSum<false>>()),
    spelling({"AVG", 1, 1, {ArgumentRule::number}, ResultRule::number, "ora_avg", mean, 0, role},
             window_callbacks<SpelledSum<true>>()),
    {"COUNT", 1, 1, {ArgumentRule::any}, ResultRule::number, "count", {}, 0, role, false, false},
    {"MIN", 1, 1, {ArgumentRule::any}, ResultRule::like_argument, "min", {}, 0, role},
    {"MAX", 1, 1, {ArgumentRule::any}, ResultRule::like_argument, "max", {}, 0, role},
};

} // namespace

constinit const std::span<const FunctionEntry> sum_functions = entries;

} // namespace oci
