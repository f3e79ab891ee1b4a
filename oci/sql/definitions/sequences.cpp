#include "oci/sql/definitions/parser.h"

#include <charconv>
#include <limits>

namespace oci::sql {
namespace {

/// A number beyond 64 bits is taken as the last one within.
std::int64_t parse_whole(TokenStream& tokens) {
    const bool negative = tokens.accept("-");
    const Token token = tokens.peek();
    if (token.kind != Token::Kind::number || token.text.find_first_not_of("0123456789") != std::string_view::npos)
        tokens.fail(error::invalid_number);
    tokens.take();
    std::int64_t number = 0;
    const auto read = std::from_chars(token.text.data(), token.text.data() + token.text.size(), number);
    if (read.ec != std::errc{}) number = std::numeric_limits<std::int64_t>::max();
    return negative ? -number : number;
}

bool parse_number(TokenStream& tokens, SequenceOptions& options) {
    if (tokens.accept("START")) {
        tokens.expect("WITH", error::missing_keyword);
        if (tokens.accept("LIMIT"))
            tokens.expect("VALUE", error::missing_keyword);
        else
            options.start = parse_whole(tokens);
    } else if (tokens.accept("INCREMENT")) {
        tokens.expect("BY", error::missing_keyword);
        options.increment = parse_whole(tokens);
    } else if (tokens.accept("MAXVALUE")) {
        options.maximum = parse_whole(tokens);
    } else if (tokens.accept("MINVALUE")) {
        options.minimum = parse_whole(tokens);
    } else if (tokens.accept("CACHE")) {
        options.cache = parse_whole(tokens);
    } else {
        return false;
    }
    return true;
}

bool parse_flag(TokenStream& tokens, SequenceOptions& options) {
    if (tokens.accept("NOMAXVALUE")) {
        options.no_maximum = true;
    } else if (tokens.accept("NOMINVALUE")) {
        options.no_minimum = true;
    } else if (tokens.accept("NOCACHE")) {
        options.cache = 0;
    } else if (tokens.at("CYCLE") || tokens.at("NOCYCLE")) {
        options.cycle = tokens.take().is("CYCLE");
    } else if (tokens.at("ORDER") || tokens.at("NOORDER")) {
        options.ordered = tokens.take().is("ORDER");
    } else if (tokens.accept("RESTART")) {
        options.restart = true;
    } else {
        return tokens.accept("KEEP") || tokens.accept("NOKEEP") || tokens.accept("NOSCALE") ||
               tokens.accept("GLOBAL") || tokens.accept("NOPARTITION");
    }
    return true;
}

} // namespace

SequenceOptions parse_sequence_options(TokenStream& tokens) {
    SequenceOptions options;
    while (parse_number(tokens, options) || parse_flag(tokens, options)) {
    }
    return options;
}

} // namespace oci::sql
