#include "oci/values/decimal.h"

#include "oci/values/scan.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdlib>

namespace oci {
namespace {

constexpr int most_digits = WideInteger::digits - 1; ///< that are sure to have room
constexpr int precision = 40;
constexpr int width = 40;              ///< characters of a number that is printed with an exponent
constexpr int greatest_exponent = 125; ///< of the first digit: numbers are below 10^126 ...
constexpr int least_exponent = -130;   ///< ... and nothing is left of what is below this power

constexpr auto powers = [] {
    std::array<WideInteger, most_digits + 1> result{};
    result[0] = 1;
    for (int i = 1; i <= most_digits; ++i) result[i] = result[i - 1] * 10;
    return result;
}();

int digits_of(const WideInteger& number) {
    return static_cast<int>(std::upper_bound(powers.begin(), powers.end(), number) - powers.begin());
}

/// Rounds so many digits away, half of the last one kept up.
WideInteger without_digits(const WideInteger& number, int count, Rounding rounding) {
    if (count > most_digits) return {};
    constexpr int in_one_step = 19;
    WideInteger quotient = number;
    std::uint64_t rest = 0;
    for (; count > in_one_step; count -= in_one_step) quotient = quotient.divide(powers[in_one_step].small(), rest);
    // What the steps before left over is less than half of a unit here, as long as there is a digit to look at.
    const std::uint64_t unit = powers[count].small();
    quotient = quotient.divide(unit, rest);
    return rounding == Rounding::half_up && rest >= unit - rest && count > 0 ? quotient + 1 : quotient;
}

} // namespace

Decimal::Decimal(const Value& number) {
    if (number.type == Value::Type::integer) {
        m_negative = number.integer < 0;
        const auto bits = static_cast<std::uint64_t>(number.integer);
        m_coefficient = m_negative ? 0 - bits : bits;
        normalize();
        return;
    }
    if (!std::isfinite(number.real)) throw OracleError(error::numeric_overflow);
    char text[32];
    const auto end = std::to_chars(text, text + sizeof text, number.real, std::chars_format::scientific).ptr;
    const char* p = text;
    m_negative = *p == '-';
    if (m_negative) ++p;
    std::uint64_t digits = 0;
    int places = 0;
    for (bool behind_point = false; p != end && *p != 'e'; ++p) {
        if (*p == '.') {
            behind_point = true;
            continue;
        }
        digits = digits * 10 + static_cast<unsigned>(*p - '0');
        places += behind_point ? 1 : 0;
    }
    if (p != end && *++p == '+') ++p;
    std::from_chars(p, end, m_exponent);
    m_exponent -= places;
    m_coefficient = digits;
    normalize();
}

bool Decimal::parse(std::string_view text, Decimal& number, char decimal_mark) {
    while (!text.empty() && is_space(text.front())) text.remove_prefix(1);
    while (!text.empty() && is_space(text.back())) text.remove_suffix(1);
    const bool negative = text.starts_with('-');
    if (negative || text.starts_with('+')) text.remove_prefix(1);
    WideInteger coefficient;
    int exponent = 0;
    int skipped = 0; // zeros that count only when another digit follows
    bool any = false;
    bool point = false;
    for (; !text.empty() && (is_digit(text[0]) || (!point && text[0] == decimal_mark)); text.remove_prefix(1)) {
        if (text[0] == decimal_mark) {
            point = true;
            continue;
        }
        any = true;
        exponent -= point ? 1 : 0;
        if (text[0] == '0') {
            skipped += coefficient.is_zero() ? 0 : 1;
            if (!coefficient.is_zero()) continue;
        } else {
            if (digits_of(coefficient) + skipped + 1 > most_digits) throw OracleError(error::numeric_overflow);
            coefficient = coefficient * powers[skipped + 1] + WideInteger(static_cast<std::uint64_t>(text[0] - '0'));
            skipped = 0;
        }
    }
    exponent += skipped;
    if (!any) return false;
    if (!text.empty() && (text[0] == 'e' || text[0] == 'E')) {
        text.remove_prefix(text.size() > 1 && text[1] == '+' ? 2 : 1);
        int power = 0;
        const auto read = std::from_chars(text.data(), text.data() + text.size(), power);
        if (read.ec == std::errc::invalid_argument || read.ptr != text.data() + text.size()) return false;
        if (read.ec != std::errc{} || std::abs(power) > 10000) throw OracleError(error::numeric_overflow);
        exponent += power;
    } else if (!text.empty()) {
        return false;
    }
    number = Decimal(negative, coefficient, exponent);
    return true;
}

void Decimal::normalize() {
    if (m_coefficient.is_zero()) {
        m_exponent = 0;
        m_negative = false;
        return;
    }
    if (m_coefficient.is_small()) {
        std::uint64_t digits = m_coefficient.small();
        for (; digits % 10 == 0; digits /= 10) ++m_exponent;
        m_coefficient = digits;
        return;
    }
    for (const int step : {16, 8, 4, 2, 1}) {
        std::uint64_t rest = 0;
        for (WideInteger less = m_coefficient.divide(powers[step].small(), rest); rest == 0;
             less = m_coefficient.divide(powers[step].small(), rest)) {
            m_coefficient = less;
            m_exponent += step;
        }
    }
}

int Decimal::digits() const {
    return digits_of(m_coefficient);
}

std::string Decimal::digit_text() const {
    char text[WideInteger::digits + 1];
    char* first = std::end(text);
    WideInteger rest = m_coefficient;
    do {
        std::uint64_t digit = 0;
        rest = rest.divide(10, digit);
        *--first = static_cast<char>('0' + digit);
    } while (!rest.is_zero());
    return {first, std::end(text)};
}

std::string Decimal::text() const {
    std::string text = digit_text();
    const int point = whole_digits();
    const auto size = static_cast<int>(text.size());
    if (point > 40 || point < -40) {
        const int power = point - 1;
        const std::string exponent = (power < 0 ? "E-" : "E+") + std::to_string(std::abs(power));
        const std::size_t wanted = static_cast<std::size_t>(width) - 1 - exponent.size();
        text = to_digits(static_cast<int>(wanted)).digit_text();
        text.resize(wanted, '0');
        text.insert(1, 1, '.');
        text += exponent;
    } else if (point >= size) {
        text.append(static_cast<std::size_t>(point - size), '0');
    } else if (point > 0) {
        text.insert(static_cast<std::size_t>(point), 1, '.');
    } else if (!is_zero()) {
        text.insert(0, "." + std::string(static_cast<std::size_t>(-point), '0'));
    }
    return m_negative ? "-" + text : text;
}

Decimal Decimal::operator+(const Decimal& other) const {
    if (is_zero()) return other;
    if (other.is_zero()) return *this;
    const Decimal& high = m_exponent >= other.m_exponent ? *this : other;
    const Decimal& low = m_exponent >= other.m_exponent ? other : *this;
    const int room = most_digits - 1 - high.digits(); // one digit for the carry
    const int shift = std::min(high.m_exponent - low.m_exponent, std::max(room, 0));
    const int lost = high.m_exponent - shift - low.m_exponent;
    const WideInteger a = high.m_coefficient * powers[shift];
    const WideInteger b = without_digits(low.m_coefficient, lost, Rounding::half_up);
    const int exponent = high.m_exponent - shift;
    if (high.m_negative == low.m_negative) return Decimal(high.m_negative, a + b, exponent).to_precision();
    const Decimal difference =
        a >= b ? Decimal(high.m_negative, a - b, exponent) : Decimal(low.m_negative, b - a, exponent);
    return difference.to_precision();
}

Decimal Decimal::operator*(const Decimal& other) const {
    if (digits() + other.digits() > most_digits) return to_precision() * other.to_precision();
    return Decimal(m_negative != other.m_negative, m_coefficient * other.m_coefficient, m_exponent + other.m_exponent)
        .to_precision();
}

Decimal Decimal::operator/(const Decimal& other) const {
    if (other.is_zero()) throw OracleError(error::divisor_is_zero);
    if (is_zero()) return *this;
    // Two digits more than are kept: what is left over cannot make the last one another.
    const int shift = std::max(precision + 2 + other.digits() - digits(), 0);
    WideInteger rest;
    const WideInteger quotient = (m_coefficient * powers[shift]).divide(other.m_coefficient, rest);
    return Decimal(m_negative != other.m_negative, quotient, m_exponent - shift - other.m_exponent).to_precision();
}

Decimal Decimal::remainder(const Decimal& divisor) const {
    if (divisor.is_zero() || is_zero()) return *this;
    const int exponent = std::min(m_exponent, divisor.m_exponent);
    const int divisor_shift = divisor.m_exponent - exponent;
    if (divisor_shift > most_digits - divisor.digits()) return *this; // it is greater by far
    const WideInteger unit = divisor.m_coefficient * powers[divisor_shift];
    WideInteger rest;
    m_coefficient.divide(unit, rest);
    for (int shift = m_exponent - exponent; shift > 0; --shift) {
        // rest * 10 may not fit: it is added up instead.
        WideInteger next;
        for (int i = 0; i < 10; ++i) next = next >= unit - rest ? next - (unit - rest) : next + rest;
        rest = next;
    }
    return {m_negative, rest, exponent};
}

std::strong_ordering Decimal::operator<=>(const Decimal& other) const {
    if (m_negative != other.m_negative) return m_negative ? std::strong_ordering::less : std::strong_ordering::greater;
    const Decimal& a = m_negative ? other : *this;
    const Decimal& b = m_negative ? *this : other;
    if (a.is_zero() || b.is_zero()) return b.is_zero() <=> a.is_zero();
    if (const auto order = a.whole_digits() <=> b.whole_digits(); order != 0) return order;
    const int exponent = std::min(a.m_exponent, b.m_exponent);
    return a.m_coefficient * powers[a.m_exponent - exponent] <=> b.m_coefficient * powers[b.m_exponent - exponent];
}

Decimal Decimal::rounded(int places, Rounding rounding) const {
    const int lost = -m_exponent - places;
    if (lost <= 0) return *this;
    return {m_negative, without_digits(m_coefficient, lost, rounding), -places};
}

Decimal Decimal::to_digits(int count) const {
    return rounded(count - whole_digits());
}

Decimal Decimal::to_precision() const {
    return digits() < precision ? *this : to_digits(whole_digits() % 2 == 0 ? precision : precision - 1);
}

bool Decimal::hold(Value& value) const {
    const int size = digits();
    if (is_zero() || size + m_exponent - 1 < least_exponent) {
        value = Value::of(std::int64_t{0});
        return true;
    }
    if (size + m_exponent - 1 > greatest_exponent) return false;
    if (m_exponent >= 0 && size + m_exponent <= 19) {
        const std::uint64_t bits = m_coefficient.small() * powers[m_exponent].small();
        if (bits > (std::uint64_t{1} << 63) - (m_negative ? 0 : 1)) return false;
        value = Value::of(static_cast<std::int64_t>(m_negative ? 0 - bits : bits));
        return true;
    }
    if (size > 17) return false;
    char text[32];
    char* end = text;
    if (m_negative) *end++ = '-';
    end = std::to_chars(end, text + 24, m_coefficient.small()).ptr;
    *end++ = 'e';
    end = std::to_chars(end, std::end(text), m_exponent).ptr;
    double real = 0;
    std::from_chars(text, end, real);
    value = Value::of(real);
    return size <= sure_digits || Decimal(value) == *this;
}

Value Decimal::exact() const {
    Value value;
    if (!hold(value)) throw OracleError(error::numeric_overflow, text() + " cannot be held exactly");
    return value;
}

Value Decimal::nearly_exact() const {
    Value value;
    if (hold(value)) return value;
    if (is_whole()) throw OracleError(error::numeric_overflow, text() + " cannot be held exactly");
    return approximate();
}

Value Decimal::approximate() const {
    Value value;
    return hold(value) ? value : to_digits(sure_digits).exact();
}

Value Decimal::spelled(std::string& scratch) const {
    Value value;
    const Decimal number = to_precision();
    if (number.hold(value)) return value;
    if (number.whole_digits() - 1 > greatest_exponent) throw OracleError(error::numeric_overflow);
    return Value::of(scratch = number.text());
}

Value number_of_real(double real) {
    if (!std::isfinite(real)) throw OracleError(error::numeric_overflow);
    return Decimal(Value::of(real)).to_digits(Decimal::sure_digits).exact();
}

int compare_numbers(const Value& a, const Value& b) {
    if (a.type == Value::Type::integer && b.type == Value::Type::integer) {
        return (a.integer > b.integer) - (a.integer < b.integer);
    }
    if (a.type == b.type) return (a.real > b.real) - (a.real < b.real);
    const auto order = Decimal(a) <=> Decimal(b);
    return (order > 0) - (order < 0);
}

} // namespace oci
