#pragma once

#include <algorithm>
#include <cstdint>
#include <string_view>

// Reading formats and what they describe from the front of a text.
namespace oci {

// Formats are ASCII, whatever the locale.
inline bool is_digit(char c) {
    return c >= '0' && c <= '9';
}
inline bool is_space(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}
inline char to_upper(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}
inline char to_lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}
inline bool is_letter(char c) {
    return to_upper(c) >= 'A' && to_upper(c) <= 'Z';
}

/// Takes the prefix off the text, whatever the case of its letters.
inline bool take(std::string_view& text, std::string_view prefix) {
    const auto same = [](char p, char t) { return to_upper(p) == to_upper(t); };
    if (text.size() < prefix.size() || !std::equal(prefix.begin(), prefix.end(), text.begin(), same)) return false;
    text.remove_prefix(prefix.size());
    return true;
}

/// The characters of a text in UTF-8.
inline std::int64_t characters(std::string_view text) {
    return std::ranges::count_if(text, [](char c) { return (c & 0xC0) != 0x80; });
}

inline void skip_blanks(std::string_view& text) {
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
}

} // namespace oci
