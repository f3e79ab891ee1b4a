#pragma once

#include "oci/sql/tokens.h"
#include "oci/values/errors.h"

#include <span>

namespace oci {

using Tokens = std::span<const Token>;

/// Reads tokens one after the other. Behind the last one stands the end, however far one looks.
class TokenReader {
  public:
    explicit TokenReader(Tokens tokens) : m_tokens(tokens) {}

    /// ORA-01756 at a quoted text without its end.
    const Token& peek(std::size_t ahead = 0) const {
        static constexpr Token end{Token::Kind::end, {}};
        if (m_at + ahead >= m_tokens.size()) return end;
        const Token& token = m_tokens[m_at + ahead];
        if (token.kind == Token::Kind::unterminated) throw OracleError(1756);
        return token;
    }
    bool at_end() const { return peek().kind == Token::Kind::end; }
    const Token& take() {
        const Token& token = peek();
        ++m_at;
        return token;
    }
    bool accept(std::string_view wanted) {
        if (!peek().is(wanted)) return false;
        ++m_at;
        return true;
    }
    /// @param code  the ORA- number when something else stands there
    void expect(std::string_view wanted, int code) {
        if (!accept(wanted)) throw OracleError(code);
    }

  protected:
    Tokens m_tokens;
    std::size_t m_at = 0;
};

} // namespace oci
