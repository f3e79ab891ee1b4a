#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace oci {

struct Token {
    enum class Kind : unsigned char { word, quoted, string, number, placeholder, symbol, unterminated, end };

    Kind kind;
    std::string_view text; ///< as written; of a placeholder the name without its colon

    /// Is it this symbol, or this word in whatever letter case? `wanted` is in capitals.
    bool is(std::string_view wanted) const;
    bool is_name() const { return kind == Kind::word || kind == Kind::quoted; }
};

/// Takes a text apart; comments and blanks separate tokens and are left out. The last token is the end.
/// The tokens refer to the text.
std::vector<Token> tokenize(std::string_view text);

/// A name as the catalog knows it: a quoted one without its quotes.
std::string_view plain_name(const Token& token);

/// A word that belongs to the grammar and so never names a column.
bool is_keyword(const Token& token);

} // namespace oci
