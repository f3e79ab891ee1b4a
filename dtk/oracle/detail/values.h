#pragma once

#include <limits>
#include <type_traits>

#include "dtk/foundation/DTK_Exception.h"
#include "dtk/foundation/DTK_String.h"
#include "dtk/foundation/columnBuffer.h"
#include "dtk/oracle/detail/OracleType.h"

namespace dtk::oracle {

/// Truncates toward zero. NaN becomes 0, and what does not fit the nearest end of the range.
inline long long toInt64(double value) {
    constexpr double end = 9223372036854775808.0;
    if (value != value) return 0;
    if (value >= end) return std::numeric_limits<long long>::max();
    if (value < -end) return std::numeric_limits<long long>::min();
    return static_cast<long long>(value);
}

/// Integers keep their low bits; floating point becomes an integer by way of 64 bits.
template <typename To, typename From> To convertNumber(From value) {
    if constexpr (std::is_integral_v<To> && std::is_floating_point_v<From>) {
        return static_cast<To>(toInt64(value));
    } else {
        return static_cast<To>(value);
    }
}

/// Throws out of line: a getter that may throw itself takes more than twice the instructions.
[[noreturn, gnu::noinline]] inline void fail(const error::Definition& reason) {
    throw DTK_Exception(reason);
}

/// Reads a number of another type than the one asked for; out of line as well.
template <typename To>
[[gnu::noinline]] To readOtherNumber(const columnBuffer& buffer, const error::Definition& unreadable) {
    switch (buffer.m_type) {
    case DTK_INT: return convertNumber<To>(*static_cast<const int*>(buffer.m_value));
    case DTK_FLOAT: return convertNumber<To>(*static_cast<const float*>(buffer.m_value));
    case DTK_DOUBLE: return convertNumber<To>(*static_cast<const double*>(buffer.m_value));
    case DTK_UINT: return convertNumber<To>(*static_cast<const unsigned int*>(buffer.m_value));
    case DTK_INT64: return convertNumber<To>(*static_cast<const long long*>(buffer.m_value));
    default: throw DTK_Exception(unreadable);
    }
}

/// Reads the number that a buffer holds as the type asked for.
///
/// @throws DTK_Exception `unreadable`: the buffer holds no number
template <typename To> To readNumber(const columnBuffer& buffer, const error::Definition& unreadable) {
    if (buffer.m_type == OracleType<To>::code) [[likely]]
        return *static_cast<const To*>(buffer.m_value);
    return readOtherNumber<To>(buffer, unreadable);
}

/// Makes a text of a value that is none.
///
/// @throws DTK_Exception 402 it is a BLOB
DTK_String otherText(const columnBuffer& buffer);

} // namespace dtk::oracle
