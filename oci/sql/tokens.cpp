#include "oci/sql/tokens.h"

#include "oci/values/values.h"

#include <algorithm>
#include <cctype>

namespace oci {
namespace {

bool is_word_start(char c) {
    return std::isalpha(static_cast<unsigned char>(c)) != 0 || c == '_' || (c & 0x80) != 0;
}
bool is_word(char c) {
    return is_word_start(c) || std::isdigit(static_cast<unsigned char>(c)) != 0 || c == '$' || c == '#';
}
bool is_digit(char c) {
    return std::isdigit(static_cast<unsigned char>(c)) != 0;
}

class Tokenizer {
  public:
    explicit Tokenizer(std::string_view text) : m_text(text) {}

    std::vector<Token> run() {
        std::vector<Token> tokens;
        do {
            tokens.push_back(next());
        } while (tokens.back().kind != Token::Kind::end);
        return tokens;
    }

  private:
    char at(std::size_t ahead = 0) const { return m_at + ahead < m_text.size() ? m_text[m_at + ahead] : '\0'; }

    bool skip_comment() {
        if (at() == '-' && at(1) == '-') {
            m_at = std::min(m_text.find('\n', m_at), m_text.size());
            return true;
        }
        if (at() == '/' && at(1) == '*') {
            const auto end = m_text.find("*/", m_at + 2);
            m_at = end == std::string_view::npos ? m_text.size() : end + 2;
            return true;
        }
        return false;
    }

    Token take(Token::Kind kind, std::size_t length) {
        const Token token{kind, m_text.substr(m_at, length)};
        m_at += length;
        return token;
    }

    template <class Predicate> std::size_t run_length(std::size_t from, Predicate&& belongs) const {
        std::size_t length = from;
        while (m_at + length < m_text.size() && belongs(at(length))) ++length;
        return length;
    }

    Token quoted(char quote, Token::Kind kind) {
        for (std::size_t length = 1; m_at + length < m_text.size(); ++length) {
            if (at(length) != quote) continue;
            if (kind == Token::Kind::string && at(length + 1) == quote) {
                ++length;
                continue;
            }
            return take(kind, length + 1);
        }
        return take(Token::Kind::unterminated, m_text.size() - m_at);
    }

    Token number() {
        std::size_t length = run_length(0, is_digit);
        // 1..2 is a range, not a number
        if (at(length) == '.' && at(length + 1) != '.') length = run_length(length + 1, is_digit);
        const bool exponent = at(length) == 'e' || at(length) == 'E';
        const std::size_t sign = exponent && (at(length + 1) == '+' || at(length + 1) == '-') ? 1 : 0;
        if (exponent && is_digit(at(length + 1 + sign))) length = run_length(length + 2 + sign, is_digit);
        return take(Token::Kind::number, length);
    }

    Token symbol() {
        static constexpr std::string_view pairs[] = {":=", "=>", "||", "<=", ">=", "<>", "!=", "^=", "..", "**"};
        for (const auto pair : pairs) {
            if (m_text.substr(m_at, 2) == pair) return take(Token::Kind::symbol, 2);
        }
        return take(Token::Kind::symbol, 1);
    }

    Token next() {
        while (m_at < m_text.size() && (std::isspace(static_cast<unsigned char>(at())) != 0 || skip_comment())) {
            if (m_at < m_text.size() && std::isspace(static_cast<unsigned char>(at())) != 0) ++m_at;
        }
        if (m_at >= m_text.size()) return {Token::Kind::end, {}};
        if (at() == '\'') return quoted('\'', Token::Kind::string);
        if (at() == '"') return quoted('"', Token::Kind::quoted);
        if (is_word_start(at())) return take(Token::Kind::word, run_length(1, is_word));
        if (is_digit(at()) || (at() == '.' && is_digit(at(1)))) return number();
        if (at() == ':' && is_word(at(1))) {
            ++m_at;
            return take(Token::Kind::placeholder, run_length(0, is_word));
        }
        return symbol();
    }

    std::string_view m_text;
    std::size_t m_at = 0;
};

constexpr std::string_view keywords[] = {
    "ADD",       "ALL",       "ALTER",   "AND",    "ANY",        "AS",     "ASC",        "BEGIN",     "BETWEEN",
    "BY",        "CASCADE",   "CASE",    "CHECK",  "COLUMN",     "COMMIT", "CONSTRAINT", "CREATE",    "CROSS",
    "CURRENT",   "DEFAULT",   "DELETE",  "DESC",   "DISTINCT",   "DROP",   "ELSE",       "END",       "ESCAPE",
    "EXCEPT",    "EXISTS",    "FETCH",   "FIRST",  "FOLLOWING",  "FOR",    "FOREIGN",    "FROM",      "FULL",
    "GROUP",     "HAVING",    "IN",      "INDEX",  "INNER",      "INSERT", "INTERSECT",  "INTO",      "IS",
    "JOIN",      "KEY",       "LAST",    "LEFT",   "LIKE",       "MINUS",  "NATURAL",    "NEXT",      "NOT",
    "NULLS",     "OF",        "OFFSET",  "ON",     "ONLY",       "OR",     "ORDER",      "OUTER",     "OVER",
    "PARTITION", "PRECEDING", "PRIMARY", "RANGE",  "REFERENCES", "RENAME", "RETURNING",  "RIGHT",     "ROLLBACK",
    "ROW",       "ROWS",      "SELECT",  "SET",    "TABLE",      "THEN",   "TO",         "UNBOUNDED", "UNION",
    "UNIQUE",    "UPDATE",    "USING",   "VALUES", "VIEW",       "WHEN",   "WHERE",      "WITH",
};

} // namespace

std::vector<Token> tokenize(std::string_view text) {
    return Tokenizer(text).run();
}

bool Token::is(std::string_view wanted) const {
    if (text.size() != wanted.size() || (kind != Kind::word && kind != Kind::symbol)) return false;
    return std::equal(text.begin(), text.end(), wanted.begin(),
                      [](unsigned char c, char w) { return std::toupper(c) == static_cast<unsigned char>(w); });
}

std::string_view plain_name(const Token& token) {
    return token.kind == Token::Kind::quoted ? token.text.substr(1, token.text.size() - 2) : token.text;
}

bool is_keyword(const Token& token) {
    if (token.kind != Token::Kind::word || token.text.size() > 10) return false;
    return std::binary_search(std::begin(keywords), std::end(keywords), upper(token.text));
}

} // namespace oci
