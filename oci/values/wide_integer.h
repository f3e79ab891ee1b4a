#pragma once

#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>

namespace oci {

/// A whole number of at most 320 bits: room for 96 digits, which the product of two numbers of a server's precision and
/// the dividend of a division need.
class WideInteger {
  public:
    __extension__ typedef unsigned __int128 Half;
    static constexpr int digits = 96;

    constexpr WideInteger() = default;
    constexpr WideInteger(std::uint64_t number) : m_limbs{number} {}
    static constexpr WideInteger of(Half number) {
        WideInteger wide(static_cast<std::uint64_t>(number));
        wide.m_limbs[1] = static_cast<std::uint64_t>(number >> 64);
        return wide;
    }

    constexpr bool is_small() const { return (m_limbs[1] | m_limbs[2] | m_limbs[3] | m_limbs[4]) == 0; }
    constexpr bool is_zero() const { return is_small() && m_limbs[0] == 0; }
    /// The lowest 64 and 128 bits.
    constexpr std::uint64_t small() const { return m_limbs[0]; }
    constexpr Half half() const { return Half{m_limbs[1]} << 64 | m_limbs[0]; }

    constexpr WideInteger operator+(const WideInteger& other) const {
        WideInteger sum;
        Half carry = 0;
        for (std::size_t i = 0; i < count; ++i) {
            carry += Half{m_limbs[i]} + other.m_limbs[i];
            sum.m_limbs[i] = static_cast<std::uint64_t>(carry);
            carry >>= 64;
        }
        return sum;
    }
    /// @param other  not greater
    constexpr WideInteger operator-(const WideInteger& other) const {
        WideInteger difference;
        Half borrow = 0;
        for (std::size_t i = 0; i < count; ++i) {
            const Half part = Half{m_limbs[i]} - other.m_limbs[i] - borrow;
            difference.m_limbs[i] = static_cast<std::uint64_t>(part);
            borrow = part >> 64 != 0 ? 1 : 0;
        }
        return difference;
    }
    constexpr WideInteger operator*(const WideInteger& other) const {
        WideInteger product;
        const std::size_t size = used();
        const std::size_t other_size = other.used();
        for (std::size_t i = 0; i < size; ++i) {
            Half carry = 0;
            for (std::size_t j = 0; i + j < count && (j < other_size || carry != 0); ++j) {
                carry += Half{m_limbs[i]} * other.m_limbs[j] + product.m_limbs[i + j];
                product.m_limbs[i + j] = static_cast<std::uint64_t>(carry);
                carry >>= 64;
            }
        }
        return product;
    }
    /// Divides by what is not zero and leaves the remainder in its place.
    constexpr WideInteger divide(std::uint64_t divisor, std::uint64_t& rest) const {
        WideInteger quotient;
        Half part = 0;
        for (std::size_t i = used(); i-- > 0;) {
            part = part << 64 | m_limbs[i];
            quotient.m_limbs[i] = static_cast<std::uint64_t>(part / divisor);
            part %= divisor;
        }
        rest = static_cast<std::uint64_t>(part);
        return quotient;
    }
    constexpr WideInteger divide(const WideInteger& divisor, WideInteger& rest) const {
        std::uint64_t small_rest = 0;
        WideInteger quotient;
        if (divisor.is_small()) {
            quotient = divide(divisor.small(), small_rest);
            rest = small_rest;
            return quotient;
        }
        rest = WideInteger();
        for (std::size_t bit = 64 * used(); bit-- > 0;) {
            rest = rest + rest;
            rest.m_limbs[0] |= m_limbs[bit / 64] >> bit % 64 & 1;
            if (rest < divisor) continue;
            rest = rest - divisor;
            quotient.m_limbs[bit / 64] |= std::uint64_t{1} << bit % 64;
        }
        return quotient;
    }

    constexpr std::strong_ordering operator<=>(const WideInteger& other) const {
        for (std::size_t i = count; i-- > 0;) {
            if (m_limbs[i] != other.m_limbs[i]) return m_limbs[i] <=> other.m_limbs[i];
        }
        return std::strong_ordering::equal;
    }
    constexpr bool operator==(const WideInteger& other) const = default;

  private:
    static constexpr std::size_t count = 5;

    constexpr std::size_t used() const {
        std::size_t size = count;
        while (size > 0 && m_limbs[size - 1] == 0) --size;
        return size;
    }

    std::array<std::uint64_t, count> m_limbs{}; ///< the lowest first
};

} // namespace oci
