#pragma once

#include "oci/sql/arena.h"
#include "oci/sql/token.h"

namespace oci::sql {

/// Takes a text apart, one token after the other. Comments, hints and blanks separate tokens and are left out.
/// The tokens refer to the text, or to the arena where they differ from it.
class Tokenizer {
  public:
    Tokenizer(std::string_view text, Arena& arena) : m_text(text), m_arena(&arena) {}

    /// ORA-00911 at a character that is none of the dialect's, ORA-01756 and ORA-01740 at a text or name without its
    /// end.
    Token next();
    /// Goes on from here: the end of a token.
    void move_to(Offset at) { m_at = at; }
    std::string_view text() const { return m_text; }

  private:
    char at(std::size_t ahead = 0) const { return m_at + ahead < m_text.size() ? m_text[m_at + ahead] : '\0'; }
    void skip_blanks();
    bool skip_comment();
    Token take(Token::Kind kind, std::size_t length);
    Token word();
    Token number();
    Token string(std::size_t prefix);
    Token delimited_string(std::size_t prefix);
    Token quoted_name();
    Token placeholder();
    Token symbol();
    std::string_view to_closing_quote(std::size_t from);
    std::string_view in_capitals(std::string_view word);
    std::size_t digits_from(std::size_t ahead) const;

    std::string_view m_text;
    Arena* m_arena;
    std::size_t m_at = 0;
};

} // namespace oci::sql
