#include "oci/sql/text_position.h"

#include "oci/values/errors.h"

#include <algorithm>
#include <string>

namespace oci::sql {
namespace {

bool begins_character(char c) {
    return (c & 0xC0) != 0x80;
}

/// The character at a place, one that cannot be shown by its number.
std::string character_at(std::string_view text, std::size_t at) {
    const char c = text[at];
    if (static_cast<unsigned char>(c) < ' ' || c == 0x7F) return "\\" + std::to_string(c);
    std::size_t end = at + 1;
    while (end < text.size() && !begins_character(text[end])) ++end;
    return std::string(text.substr(at, end - at));
}

} // namespace

void fail_at(std::string_view text, std::size_t at, int code) {
    fail_at(text, at, code, at < text.size() ? character_at(text, at) : std::string());
}

void fail_at(std::string_view text, std::size_t at, int code, std::string_view token, std::string_view name) {
    const std::string_view before = text.substr(0, at);
    const auto line = 1 + std::count(before.begin(), before.end(), '\n');
    const std::string_view in_line = before.substr(before.rfind('\n') + 1);
    const auto column = 1 + std::count_if(in_line.begin(), in_line.end(), begins_character);

    std::string message = OracleError(code, name).text();
    message.pop_back();
    message += " (line " + std::to_string(line) + ", column " + std::to_string(column) + ", ";
    message += token.empty() ? "at the end" : "at " + std::string(token);
    throw OracleError::from_text(message + ")");
}

} // namespace oci::sql
