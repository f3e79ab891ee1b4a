#pragma once

#include "oci/values/values.h"

namespace oci {

enum class Rounding : std::uint8_t { half_up, truncate };

/// A number as its decimal digits, so that it is rounded as it is read: 2.675 to two places is 2.68.
class Decimal {
  public:
    /// @param number  an integer or a real.
    explicit Decimal(const Value& number);

    bool is_negative() const { return m_negative; }
    /// Digits before the point; zero or less for a fraction.
    int whole_digits() const { return m_point; }
    /// Digits behind the point; zero or less for a whole number.
    int decimal_places() const { return m_count - m_point; }
    /// The digit that stands for 10^power.
    char digit(int power) const;
    /// Half is rounded away from zero. Negative places round before the point.
    void round(int places, Rounding rounding);
    /// An integer when it is whole and fits.
    Value value() const;

  private:
    // 0.DIGITS * 10^point; zero has no digits.
    char m_digits[24];
    int m_count = 0;
    int m_point = 0;
    bool m_negative = false;
};

/// Binary arithmetic on decimals misses their result by a little: the decimal of up to 15 digits that is so near is
/// what was meant. Any other number stays as it is.
/// @param magnitude  the greatest of the numbers that went into it, and so what its digits are counted from
double without_noise(double number, double magnitude);

} // namespace oci
