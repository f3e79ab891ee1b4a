#include "oci/sql/tokenizer.h"

#include "oci/sql/text_position.h"
#include "oci/values/errors.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string>

namespace oci::sql {
namespace {

enum Class : std::uint8_t { other = 0, blank = 1, digit = 2, letter = 4, inner = 8, beyond_ascii = 16 };

constexpr auto classes = [] {
    std::array<std::uint8_t, 256> table{};
    for (const char c : {' ', '\t', '\n', '\r', '\f', '\v'}) table[static_cast<unsigned char>(c)] = blank;
    for (unsigned c = '0'; c <= '9'; ++c) table[c] = digit;
    for (unsigned c = 'a'; c <= 'z'; ++c) table[c] = table[c - 'a' + 'A'] = letter;
    for (const char c : {'_', '$', '#'}) table[static_cast<unsigned char>(c)] = inner;
    for (unsigned c = 128; c < 256; ++c) table[c] = beyond_ascii;
    return table;
}();

bool belongs(char c, unsigned to) {
    return (classes[static_cast<unsigned char>(c)] & to) != 0;
}

/// The bytes of the letter beyond ASCII that a text begins with; 0 where there is a blank, a mark or no character at
/// all.
std::size_t letter_beyond_ascii(std::string_view text) {
    const auto byte = [&](std::size_t i) { return i < text.size() ? static_cast<unsigned char>(text[i]) : 0U; };
    const unsigned first = byte(0);
    const std::size_t size = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : first >= 0xC2 ? 2 : 0;
    if (size == 0 || first > 0xF4) return 0;
    unsigned point = first & (0x7FU >> size);
    for (std::size_t i = 1; i < size; ++i) {
        if ((byte(i) & 0xC0U) != 0x80U) return 0;
        point = point << 6 | (byte(i) & 0x3FU);
    }
    const bool mark = point < 0xAA || (point > 0xAA && point < 0xC0 && point != 0xB5 && point != 0xBA) ||
                      point == 0xD7 || point == 0xF7 || (point >= 0x2000 && point < 0x2070) ||
                      (point >= 0x3000 && point < 0x3004) || (point >= 0xD800 && point < 0xE000) || point == 0xFEFF ||
                      (point >= 0xFF00 && point < 0xFF10);
    return mark ? 0 : size;
}

} // namespace

Token Tokenizer::next() {
    skip_blanks();
    if (m_at >= m_text.size()) return take(Token::Kind::end, 0);
    const char c = at();
    if (belongs(c, letter | beyond_ascii)) return word();
    if (belongs(c, digit) || (c == '.' && belongs(at(1), digit))) return number();
    if (c == '\'') return string(0);
    if (c == '"') return quoted_name();
    if (c == ':' && (belongs(at(1), letter | digit | beyond_ascii) || at(1) == '"')) return placeholder();
    return symbol();
}

void Tokenizer::skip_blanks() {
    for (;;) {
        while (m_at < m_text.size() && belongs(m_text[m_at], blank)) ++m_at;
        if (!skip_comment()) return;
    }
}

bool Tokenizer::skip_comment() {
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

Token Tokenizer::take(Token::Kind kind, std::size_t length) {
    Token token;
    token.kind = kind;
    token.at = static_cast<Offset>(m_at);
    token.text = m_text.substr(m_at, length);
    m_at += length;
    token.end = static_cast<Offset>(m_at);
    return token;
}

Token Tokenizer::word() {
    const bool national = at() == 'n' || at() == 'N';
    const char second = national ? at(1) : at();
    if (national && second == '\'') return string(1);
    if ((second == 'q' || second == 'Q') && at(national ? 2 : 1) == '\'') return delimited_string(national ? 2 : 1);

    std::size_t length = 0;
    for (;;) {
        if (belongs(at(length), letter | digit | inner)) {
            ++length;
        } else if (belongs(at(length), beyond_ascii)) {
            const std::size_t size = letter_beyond_ascii(m_text.substr(m_at + length));
            if (size == 0) fail_at(m_text, m_at + length, 911);
            length += size;
        } else {
            break;
        }
    }
    Token token = take(Token::Kind::word, length);
    token.text = in_capitals(token.text);
    return token;
}

std::string_view Tokenizer::in_capitals(std::string_view word) {
    const auto is_small = [](char c) { return (c >= 'a' && c <= 'z') || belongs(c, beyond_ascii); };
    if (std::none_of(word.begin(), word.end(), is_small)) return word;
    char* const copy = m_arena->characters(word.size());
    for (std::size_t i = 0; i < word.size(); ++i) {
        const auto c = static_cast<unsigned char>(word[i]);
        const bool latin = i > 0 && static_cast<unsigned char>(word[i - 1]) == 0xC3 && c >= 0xA0 && c <= 0xBE;
        copy[i] = static_cast<char>((c >= 'a' && c <= 'z') || latin ? c - 0x20 : c);
    }
    return {copy, word.size()};
}

std::size_t Tokenizer::digits_from(std::size_t ahead) const {
    while (belongs(at(ahead), digit)) ++ahead;
    return ahead;
}

Token Tokenizer::number() {
    std::size_t length = digits_from(0);
    // 1..2 is a range, not a number
    if (at(length) == '.' && at(length + 1) != '.') length = digits_from(length + 1);
    if (at(length) == 'e' || at(length) == 'E') {
        const std::size_t sign = at(length + 1) == '+' || at(length + 1) == '-' ? 1 : 0;
        if (belongs(at(length + 1 + sign), digit)) length = digits_from(length + 1 + sign);
    }
    Token token = take(Token::Kind::number, length);
    const char suffix = static_cast<char>(at() & ~0x20);
    if ((suffix == 'F' || suffix == 'D') && !belongs(at(1), letter | digit | inner | beyond_ascii)) {
        token.suffix = suffix;
        token.end = static_cast<Offset>(++m_at);
    }
    return token;
}

/// The text from here to the closing quote, which is passed; a doubled quote is one.
std::string_view Tokenizer::to_closing_quote(std::size_t from) {
    static constexpr char quote = '\'';
    const std::size_t begin = from;
    std::size_t doubled = 0;
    for (;;) {
        from = m_text.find(quote, from);
        if (from == std::string_view::npos) fail_at(m_text, begin - 1, 1756);
        if (from + 1 >= m_text.size() || m_text[from + 1] != quote) break;
        ++doubled;
        from += 2;
    }
    m_at = from + 1;
    const std::string_view raw = m_text.substr(begin, from - begin);
    if (doubled == 0) return raw;
    char* const copy = m_arena->characters(raw.size() - doubled);
    char* out = copy;
    for (std::size_t i = 0; i < raw.size(); ++i) {
        *out++ = raw[i];
        if (raw[i] == quote) ++i;
    }
    return {copy, raw.size() - doubled};
}

Token Tokenizer::string(std::size_t prefix) {
    Token token = take(Token::Kind::string, 0);
    token.national = prefix > 0;
    token.text = to_closing_quote(m_at + prefix + 1);
    token.end = static_cast<Offset>(m_at);
    return token;
}

/// q'[...]': anything but the delimiter and a quote behind it.
Token Tokenizer::delimited_string(std::size_t prefix) {
    static constexpr std::string_view openings = "[{(<";
    static constexpr std::string_view closings = "]})>";
    Token token = take(Token::Kind::string, 0);
    token.national = prefix > 1;
    const char opening = at(prefix + 1);
    if (opening == '\0' || belongs(opening, blank)) fail_at(m_text, m_at, 1756);
    const auto kind = openings.find(opening);
    const char ending[] = {kind == std::string_view::npos ? opening : closings[kind], '\''};
    const std::size_t begin = m_at + prefix + 2;
    const auto end = m_text.find(std::string_view(ending, 2), begin);
    if (end == std::string_view::npos) fail_at(m_text, m_at, 1756);
    token.text = m_text.substr(begin, end - begin);
    m_at = end + 2;
    token.end = static_cast<Offset>(m_at);
    return token;
}

Token Tokenizer::quoted_name() {
    Token token = take(Token::Kind::quoted, 0);
    // A doubled quote does not stand for one in a name: the name would be refused anyway.
    const auto end = m_text.find('"', m_at + 1);
    if (end == std::string_view::npos) fail_at(m_text, m_at, 1740);
    token.text = m_text.substr(m_at + 1, end - m_at - 1);
    m_at = end + 1;
    token.end = static_cast<Offset>(m_at);
    return token;
}

Token Tokenizer::placeholder() {
    const auto start = static_cast<Offset>(m_at++);
    Token token;
    if (at() == '"') {
        token = quoted_name();
    } else if (belongs(at(), digit)) {
        token = take(Token::Kind::placeholder, digits_from(0));
    } else {
        token = word();
    }
    token.kind = Token::Kind::placeholder;
    token.at = start;
    return token;
}

Token Tokenizer::symbol() {
    static constexpr std::string_view pairs[] = {
        ":=", "=>", "||", "<=", ">=", "<>", "!=", "^=", "~=", "..", "**", "<<", ">>"};
    static constexpr std::string_view singles = "(),.;+-*/=<>@%";
    const std::string_view two = m_text.substr(m_at, 2);
    if (std::find(std::begin(pairs), std::end(pairs), two) != std::end(pairs)) {
        Token token = take(Token::Kind::symbol, 2);
        if (two == "<>" || two == "^=" || two == "~=") token.text = "!=";
        return token;
    }
    if (singles.find(at()) == std::string_view::npos || at() == '\0') fail_at(m_text, m_at, 911);
    return take(Token::Kind::symbol, 1);
}

} // namespace oci::sql
