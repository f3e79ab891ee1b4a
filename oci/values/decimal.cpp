#include "oci/values/decimal.h"

#include <charconv>
#include <cmath>
#include <limits>

namespace oci {

Decimal::Decimal(const Value& number) {
    char text[32] = {};
    char* end = nullptr;
    if (number.type == Value::Type::integer) {
        end = std::to_chars(text, text + sizeof text, number.integer).ptr;
    } else {
        if (!std::isfinite(number.real)) throw OracleError(error::numeric_overflow);
        end = std::to_chars(text, text + sizeof text, number.real, std::chars_format::scientific).ptr;
    }
    const char* p = text;
    m_negative = *p == '-';
    if (m_negative) ++p;
    if (*p == '0') return;
    for (; p != end && *p != 'e'; ++p) {
        if (*p != '.') m_digits[m_count++] = *p;
    }
    m_point = m_count;
    if (p == end) return;
    if (*++p == '+') ++p;
    std::from_chars(p, end, m_point);
    ++m_point;
}

char Decimal::digit(int power) const {
    const int place = m_point - 1 - power;
    return place >= 0 && place < m_count ? m_digits[place] : '0';
}

void Decimal::round(int places, Rounding rounding) {
    const int kept = m_point + places;
    if (kept >= m_count) return;
    const bool up = rounding == Rounding::half_up && kept >= 0 && m_digits[kept] >= '5';
    m_count = kept > 0 ? kept : 0;
    if (up) {
        while (m_count > 0 && m_digits[m_count - 1] == '9') --m_count;
        if (m_count > 0) {
            ++m_digits[m_count - 1];
        } else {
            m_digits[m_count++] = '1';
            ++m_point;
        }
    }
    if (m_count == 0) m_point = 0;
}

Value Decimal::value() const {
    if (m_count == 0) return Value::of(std::int64_t{0});
    char text[48];
    char* end = text;
    if (m_negative) *end++ = '-';
    for (int i = 0; i < m_count; ++i) *end++ = m_digits[i];
    int exponent = m_point - m_count;
    // Written out rather than as an exponent, a number of up to 19 digits stays an exact integer.
    for (; exponent > 0 && m_point <= 19; --exponent) *end++ = '0';
    if (exponent != 0) {
        *end++ = 'e';
        end = std::to_chars(end, text + sizeof text, exponent).ptr;
    }
    return number_of(std::string_view(text, static_cast<std::size_t>(end - text)));
}

double without_noise(double number, double magnitude) {
    constexpr double greatest = 1e15; // has no fraction of 15 digits
    constexpr double least = 1e-8;    // below it the power of ten is none that a double holds
    if (!(magnitude < greatest && magnitude >= least)) return number;
    const double power = power_of_ten(14 - static_cast<int>(std::floor(std::log10(magnitude))));
    const double rounded = std::nearbyint(number * power) / power;
    const double noise = magnitude * 2 * std::numeric_limits<double>::epsilon();
    return std::fabs(rounded - number) <= noise ? rounded : number;
}

} // namespace oci
