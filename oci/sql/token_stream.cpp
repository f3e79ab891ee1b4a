#include "oci/sql/token_stream.h"

#include "oci/sql/text_position.h"
#include "oci/values/errors.h"

#include <charconv>
#include <cstdlib>
#include <limits>

namespace oci::sql {
namespace {

constexpr std::size_t longest_name = 128;
constexpr std::size_t longest_shown = 40;

std::string_view without_blanks(std::string_view text) {
    constexpr std::string_view blanks = " \t\r\n\f\v";
    const auto first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

} // namespace

TokenStream::TokenStream(std::string_view text, Arena& arena, Dialect dialect)
    : m_tokenizer(text, arena),
      m_arena(&arena),
      m_dialect(dialect) {
    if (text.size() >= std::numeric_limits<Offset>::max()) throw OracleError(3001, "texts of 4 GiB");
    // Also inside a literal or comment: SQLite's text would end there.
    if (const auto nul = text.find('\0'); nul != std::string_view::npos) fail_at(text, nul, 911);
}

void TokenStream::fill() {
    m_ahead[(m_first + m_count++) % lookahead] = m_tokenizer.next();
}

Token TokenStream::take() {
    const Token token = peek();
    m_first = (m_first + 1) % lookahead;
    --m_count;
    m_last_end = token.end;
    return token;
}

bool TokenStream::accept(std::string_view wanted) {
    if (!at(wanted)) return false;
    take();
    return true;
}

bool TokenStream::accept(std::string_view first, std::string_view second) {
    if (!at(first, second)) return false;
    take();
    take();
    return true;
}

void TokenStream::expect(std::string_view wanted, int code) {
    if (!accept(wanted)) fail(code);
}

void TokenStream::expect_end() {
    if (!at_end()) fail(933);
}

bool TokenStream::is_name(const Token& token) {
    return token.kind == Token::Kind::quoted || (token.kind == Token::Kind::word && !is_reserved(token.text));
}

Name TokenStream::name(int code) {
    if (!at_name()) fail(code);
    if (peek().text.empty()) fail(1741);
    if (peek().text.size() > longest_name) fail(972);
    const Token token = take();
    return {token.text, token.at};
}

ObjectName TokenStream::object_name(int code) {
    ObjectName object{{}, name(code)};
    if (accept(".")) {
        object.schema = object.name;
        object.name = name(code);
    }
    if (at("@")) unsupported("database links");
    return object;
}

std::int64_t TokenStream::integer(int code) {
    std::int64_t number = 0;
    const std::string_view digits = peek().text;
    if (peek().kind != Token::Kind::number || peek().suffix != 0) fail(code);
    const auto read = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    if (read.ec != std::errc{} || read.ptr != digits.data() + digits.size()) fail(code);
    take();
    return number;
}

std::string_view TokenStream::string(int code) {
    if (peek().kind != Token::Kind::string) fail(code);
    return take().text;
}

void TokenStream::fail(int code, const Token& token) {
    // What only a block's grammar knows is no character of the dialect elsewhere.
    const bool foreign = !in_block() && (token.is("%") || token.is(";") || token.is(":="));
    fail(foreign ? 911 : code, token.at, {});
}

void TokenStream::fail(int code, Offset at, std::string_view what) {
    rewind(at);
    const Token token = peek();
    std::string shown(text().substr(token.at, token.end - token.at));
    if (shown.size() > longest_shown) shown = shown.substr(0, longest_shown) + "...";
    fail_at(text(), at, code, shown, what);
}

void TokenStream::unsupported(std::string_view what) {
    fail(3001, peek().at, what);
}

void TokenStream::rewind(Offset to) {
    m_tokenizer.move_to(to);
    m_count = 0;
}

std::string_view TokenStream::text_between(Offset from, Offset to) const {
    return without_blanks(text().substr(from, to - from));
}

std::string_view TokenStream::joined(std::string_view first, std::string_view second) {
    char* const text = m_arena->characters(first.size() + 1 + second.size());
    first.copy(text, first.size());
    text[first.size()] = '.';
    second.copy(text + first.size() + 1, second.size());
    return {text, first.size() + 1 + second.size()};
}

unsigned TokenStream::placeholder_position(std::string_view name) {
    const auto next = static_cast<unsigned>(m_placeholders.size() + 1);
    if (in_block()) {
        const auto [known, fresh] = m_positions.try_emplace(name, next);
        if (!fresh) return known->second;
    }
    m_placeholders.push_back(name);
    return next;
}

void Nesting::too_deep() {
    m_tokens.unsupported("nesting of more than " + std::to_string(deepest) + " levels");
}

} // namespace oci::sql
