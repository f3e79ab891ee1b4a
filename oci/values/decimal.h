#pragma once

#include "oci/values/values.h"
#include "oci/values/wide_integer.h"

#include <compare>

namespace oci {

enum class Rounding : std::uint8_t { half_up, truncate };

/// A number as decimal digits and a power of ten: what is written is what is meant. Results of operators have a
/// server's precision: 20 digits to the base of 100.
class Decimal {
  public:
    using Coefficient = WideInteger;
    /// What a double gives back as it was written, whatever the digits are.
    static constexpr int sure_digits = 15;

    Decimal() = default;
    Decimal(bool negative, Coefficient coefficient, int exponent)
        : m_coefficient(coefficient),
          m_exponent(exponent),
          m_negative(negative) {
        normalize();
    }
    /// @param number  an integer or a real.
    explicit Decimal(const Value& number);
    /// The number that a text spells, blanks around it left out. @return false when it spells none. ORA-01426 with more
    /// digits than there is room for.
    static bool parse(std::string_view text, Decimal& number, char decimal_mark = '.');

    bool is_zero() const { return m_coefficient.is_zero(); }
    bool is_negative() const { return m_negative; }
    bool is_whole() const { return m_exponent >= 0; }
    int digits() const;
    /// Digits before the point; zero or less for a fraction.
    int whole_digits() const { return is_zero() ? 0 : digits() + m_exponent; }
    /// Digits behind the point; zero or less for a whole number.
    int decimal_places() const { return -m_exponent; }
    int exponent() const { return m_exponent; }
    Coefficient coefficient() const { return m_coefficient; }
    /// The digits without point and sign; "0" for zero.
    std::string digit_text() const;
    /// As a server prints it: no zero before the point, an exponent only beyond 40 digits.
    std::string text() const;

    Decimal operator-() const { return {!m_negative, m_coefficient, m_exponent}; }
    Decimal operator+(const Decimal& other) const;
    Decimal operator-(const Decimal& other) const { return *this + -other; }
    Decimal operator*(const Decimal& other) const;
    /// ORA-01476 by zero.
    Decimal operator/(const Decimal& other) const;
    /// The remainder of a division towards zero; of great quotients too.
    Decimal remainder(const Decimal& divisor) const;
    std::strong_ordering operator<=>(const Decimal& other) const;
    bool operator==(const Decimal& other) const { return (*this <=> other) == std::strong_ordering::equal; }

    /// Half is rounded away from zero. Negative places round before the point.
    Decimal rounded(int places, Rounding rounding = Rounding::half_up) const;
    /// Rounded to so many digits in all.
    Decimal to_digits(int count) const;
    /// Rounded to the precision of a server: 40 digits, or 39 where those before the point are odd in number.
    Decimal to_precision() const;

    /// @return false when neither an integer nor a real is this number exactly.
    bool hold(Value& value) const;
    /// ORA-01426 when no value is this number exactly.
    Value exact() const;
    /// What cannot be held exactly is rounded to `sure_digits`, but whole numbers are not (ORA-01426).
    Value nearly_exact() const;
    /// Rounded to `sure_digits` where that is needed to hold it: results of division and functions.
    Value approximate() const;
    /// What cannot be held exactly becomes the text that spells it. ORA-01426 beyond a server's range.
    Value spelled(std::string& scratch) const;

  private:
    void normalize();

    Coefficient m_coefficient{};
    int m_exponent = 0;
    bool m_negative = false;
};

/// The number of a real that was computed in binary: the decimal of `sure_digits` next to it.
Value number_of_real(double real);
/// -1, 0 or 1. Both are numbers.
int compare_numbers(const Value& a, const Value& b);

} // namespace oci
