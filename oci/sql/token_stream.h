#pragma once

#include "oci/sql/tokenizer.h"
#include "oci/sql/tree.h"
#include "oci/values/error_codes.h"

#include <array>
#include <string>
#include <unordered_map>
#include <vector>

namespace oci::sql {

/// What the text is part of.
enum class Dialect : std::uint8_t {
    sql,
    block ///< PL/SQL: every occurrence of a placeholder's name is the same one; x%FOUND, a(1).b, TRUE and ** are
          ///< expressions
};

/// What every parser reads from: the tokens of a text with some ahead, the arena for the tree, and the errors, which
/// name line, column and token. The text has to live as long as the tree.
class TokenStream {
  public:
    /// @throws OracleError 911, 1756, 1740: from any member that looks at tokens
    TokenStream(std::string_view text, Arena& arena, Dialect dialect = Dialect::sql);

    /// @param ahead  0 is the next token, at most `lookahead - 1`. Behind the last token stands the end.
    const Token& peek(std::size_t ahead = 0) {
        while (m_count <= ahead) fill();
        return m_ahead[(m_first + ahead) % lookahead];
    }
    Token take();
    bool at_end() { return peek().kind == Token::Kind::end; }
    /// Does this word or symbol, in capitals, come next?
    bool at(std::string_view wanted) { return peek().is(wanted); }
    bool at(std::string_view first, std::string_view second) { return peek().is(first) && peek(1).is(second); }
    bool accept(std::string_view wanted);
    bool accept(std::string_view first, std::string_view second);
    /// @param code  the ORA- number when something else stands there
    void expect(std::string_view wanted, int code);
    void expect_end();

    /// A name: quoted, or a word that is not reserved. Anything else, and an empty quoted name, is the error.
    Name name(int code);
    bool at_name() { return is_name(peek()); }
    static bool is_name(const Token& token);
    /// [schema.]name; a link behind it is refused.
    ObjectName object_name(int code);
    /// A whole number without sign.
    std::int64_t integer(int code);
    /// A text literal.
    std::string_view string(int code);

    /// Names what stands next, with its line and column.
    [[noreturn]] void fail(int code) { fail(code, peek()); }
    [[noreturn]] void fail(int code, const Token& token);
    /// @param what  takes the place that the number's text has for a name
    [[noreturn]] void fail(int code, Offset at, std::string_view what);
    /// The refusal of a part of the dialect that is not carried: ORA-03001.
    [[noreturn]] void unsupported(std::string_view what);

    /// Where the next token begins; to go back there.
    Offset position() { return peek().at; }
    void rewind(Offset to);
    /// Where the last token taken ended.
    Offset last_end() const { return m_last_end; }
    std::string_view text() const { return m_tokenizer.text(); }
    /// Without the blanks at its ends.
    std::string_view text_between(Offset from, Offset to) const;

    Arena& arena() { return *m_arena; }
    /// A node of the tree.
    template <class T> T* make(Offset at) {
        T* node = m_arena->make<T>();
        if constexpr (requires { T::own_kind; }) node->kind = T::own_kind;
        node->at = at;
        return node;
    }
    bool in_block() const { return m_dialect == Dialect::block; }
    /// In a block's own expressions, but not in its SQL, conditions are values.
    bool has_boolean_values() const { return in_block() && m_sql_parts == 0; }
    /// first.second, in the arena.
    std::string_view joined(std::string_view first, std::string_view second);

    /// The position of the placeholder that the token is, from 1.
    unsigned placeholder_position(std::string_view name);
    /// The names of the placeholders by position - 1.
    const std::vector<std::string_view>& placeholders() const { return m_placeholders; }

    static constexpr std::size_t lookahead = 8;

  private:
    friend class Nesting;
    friend class SqlPart;

    void fill();

    Tokenizer m_tokenizer;
    Arena* m_arena;
    Dialect m_dialect;
    std::array<Token, lookahead> m_ahead;
    std::size_t m_first = 0;
    std::size_t m_count = 0;
    Offset m_last_end = 0;
    int m_depth = 0;
    int m_sql_parts = 0;
    std::vector<std::string_view> m_placeholders;
    std::unordered_map<std::string_view, unsigned> m_positions; ///< of the names, in a block
};

/// Stands in every function of a parser that may call itself: nesting that is too deep is an error, never the end of
/// the stack.
class Nesting {
  public:
    static constexpr int deepest = 400;

    explicit Nesting(TokenStream& tokens) : m_tokens(tokens) {
        if (m_tokens.m_depth == deepest) too_deep();
        ++m_tokens.m_depth;
    }
    ~Nesting() { --m_tokens.m_depth; }
    Nesting(const Nesting&) = delete;
    Nesting& operator=(const Nesting&) = delete;

  private:
    [[noreturn]] void too_deep();

    TokenStream& m_tokens;
};

/// Stands where a query or statement of SQL is read as a part of a block.
class SqlPart {
  public:
    explicit SqlPart(TokenStream& tokens) : m_tokens(tokens) { ++m_tokens.m_sql_parts; }
    ~SqlPart() { --m_tokens.m_sql_parts; }
    SqlPart(const SqlPart&) = delete;
    SqlPart& operator=(const SqlPart&) = delete;

  private:
    TokenStream& m_tokens;
};

} // namespace oci::sql
