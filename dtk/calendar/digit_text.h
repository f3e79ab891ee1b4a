#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>

#include "dtk/calendar/DATETIME_FORMAT.h"

/// Reading and writing the digit-only texts of the calendar types, by fixed positions: texts are made and read per row,
/// where printf and scanf would cost more than the fetch.
namespace dtk::calendar {

constexpr bool is_known(DATETIME_FORMAT format) {
    return format >= DTF_YYYYMMDDHH24MISS && format <= DTF_DDMMYYYYHH12MISS;
}

constexpr bool is_day_first(DATETIME_FORMAT format) {
    return format == DTF_DDMMYYYYHH24MISS || format == DTF_DDMMYYYYHH12MISS;
}

/// The hour as the format writes it.
constexpr int shown_hour(int hour, DATETIME_FORMAT format) {
    return format == DTF_YYYYMMDDHH12MISS || format == DTF_DDMMYYYYHH12MISS ? hour % 12 : hour;
}

/// The number in a field of at most nine characters, read as atoi does; 0 behind the text's end.
constexpr int number_at(std::string_view text, std::size_t position, std::size_t width) {
    const std::size_t end = std::min(text.size(), position + width);
    std::size_t at = position;
    while (at < end && (text[at] == ' ' || (text[at] >= '\t' && text[at] <= '\r'))) ++at;
    const bool negative = at < end && text[at] == '-';
    if (negative || (at < end && text[at] == '+')) ++at;
    int value = 0;
    for (; at < end && text[at] >= '0' && text[at] <= '9'; ++at) value = value * 10 + (text[at] - '0');
    return negative ? -value : value;
}

/// The most characters that write_number writes for an int.
inline constexpr std::size_t longest_number = 11;

/// Writes the number zero-padded as printf's "%0*d" does, without a NUL.
///
/// @return the place behind it
constexpr char* write_number(char* out, int value, int width) {
    auto magnitude = static_cast<unsigned int>(value);
    if (value < 0) {
        magnitude = 0u - magnitude;
        *out++ = '-';
        --width;
    }
    char digits[10] = {};
    int count = 0;
    do {
        digits[count++] = static_cast<char>('0' + magnitude % 10);
        magnitude /= 10;
    } while (magnitude != 0);
    for (; width > count; --width) *out++ = '0';
    while (count > 0) *out++ = digits[--count];
    return out;
}

/// The calling thread's next result out of eight in turn, so that several results can stand in one expression.
template <typename Result> Result& next_result() {
    thread_local Result results[8];
    thread_local unsigned int next = 0;
    return results[next++ % 8];
}

} // namespace dtk::calendar
