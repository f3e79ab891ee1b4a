#pragma once

#include <cstdint>
#include <string_view>

namespace oci::sql {

/// Where something begins: bytes from the start of the text.
using Offset = std::uint32_t;

struct Token {
    enum class Kind : std::uint8_t { end, word, quoted, string, number, placeholder, symbol };

    Kind kind = Kind::end;
    bool national = false; ///< of a string: N'...'
    char suffix = 0;       ///< of a number: 'F' or 'D'
    Offset at = 0;
    Offset end = 0;
    /// A word in capitals; what stands between quotes, doubled ones being one; a number without its suffix; a
    /// placeholder without its colon, in capitals unless quoted; a symbol, of which ^= and ~= are !=.
    std::string_view text;

    /// Is it this symbol, or this word? `wanted` is in capitals.
    bool is(std::string_view wanted) const { return text == wanted && (kind == Kind::word || kind == Kind::symbol); }
    bool is_name() const { return kind == Kind::word || kind == Kind::quoted; }
};

/// A word that a server keeps for itself: unquoted it names no table and no column.
bool is_reserved(std::string_view word);

} // namespace oci::sql
