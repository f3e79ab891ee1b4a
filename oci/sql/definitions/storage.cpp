#include "oci/sql/definitions/parser.h"

namespace oci::sql {
namespace {

/// What stands behind the words that a clause begins with.
enum class Rest : std::uint8_t {
    nothing,
    token,
    parentheses,
    token_or_parentheses,
    maybe_number,
    maybe_number_or_parentheses,
    maybe_parentheses,
    compression,
    large_object,
    partitions,
};

struct Clause {
    std::string_view first;
    std::string_view second; ///< empty: one word
    Rest rest;
};

constexpr Clause clauses[] = {
    {"TABLESPACE", "", Rest::token},
    {"PCTFREE", "", Rest::token},
    {"PCTUSED", "", Rest::token},
    {"PCTTHRESHOLD", "", Rest::token},
    {"PCTVERSION", "", Rest::token},
    {"INITRANS", "", Rest::token},
    {"MAXTRANS", "", Rest::token},
    {"FREELISTS", "", Rest::token},
    {"STORAGE", "", Rest::parentheses},
    {"LOGGING", "", Rest::nothing},
    {"NOLOGGING", "", Rest::nothing},
    {"FILESYSTEM_LIKE_LOGGING", "", Rest::nothing},
    {"COMPRESS", "", Rest::compression},
    {"NOCOMPRESS", "", Rest::nothing},
    {"ROW", "STORE", Rest::nothing},
    {"CACHE", "", Rest::nothing},
    {"NOCACHE", "", Rest::nothing},
    {"PARALLEL", "", Rest::maybe_number_or_parentheses},
    {"NOPARALLEL", "", Rest::nothing},
    {"MONITORING", "", Rest::nothing},
    {"NOMONITORING", "", Rest::nothing},
    {"ROWDEPENDENCIES", "", Rest::nothing},
    {"NOROWDEPENDENCIES", "", Rest::nothing},
    {"RESULT_CACHE", "", Rest::parentheses},
    {"SEGMENT", "CREATION", Rest::token},
    {"ENABLE", "ROW", Rest::token}, // MOVEMENT
    {"DISABLE", "ROW", Rest::token},
    {"ENABLE", "STORAGE", Rest::token}, // IN ROW, within LOB ... STORE AS
    {"ORGANIZATION", "INDEX", Rest::nothing},
    {"ORGANIZATION", "HEAP", Rest::nothing},
    {"OVERFLOW", "", Rest::nothing},
    {"INCLUDING", "", Rest::token},
    {"INMEMORY", "", Rest::nothing},
    {"NO", "INMEMORY", Rest::nothing},
    {"COMPUTE", "STATISTICS", Rest::nothing},
    {"REVERSE", "", Rest::nothing},
    {"NOREVERSE", "", Rest::nothing},
    {"SORT", "", Rest::nothing},
    {"NOSORT", "", Rest::nothing},
    {"ONLINE", "", Rest::nothing},
    {"VISIBLE", "", Rest::nothing},
    {"INVISIBLE", "", Rest::nothing},
    {"LOCAL", "", Rest::maybe_parentheses},
    {"GLOBAL", "", Rest::nothing},
    {"LOB", "", Rest::large_object},
    {"PARTITION", "BY", Rest::partitions},
    {"SUBPARTITION", "BY", Rest::partitions},
    {"SUBPARTITION", "TEMPLATE", Rest::parentheses},
    {"PARTITIONS", "", Rest::token},
    {"SUBPARTITIONS", "", Rest::token},
    {"INTERVAL", "", Rest::parentheses},
    {"STORE", "IN", Rest::parentheses},
};

bool accept_any(TokenStream& tokens, std::initializer_list<std::string_view> words) {
    for (const auto word : words) {
        if (tokens.accept(word)) return true;
    }
    return false;
}

/// COMPRESS [n | BASIC | ADVANCED [LOW|HIGH] | FOR OLTP ...]
void skip_compression(TokenStream& tokens) {
    if (tokens.peek().kind == Token::Kind::number) tokens.take();
    accept_any(tokens, {"BASIC", "ADVANCED"});
    accept_any(tokens, {"LOW", "HIGH"});
    if (!tokens.accept("FOR")) return;
    if (!accept_any(tokens, {"OLTP", "ALL", "DIRECT_LOAD", "QUERY", "ARCHIVE"})) tokens.fail(error::invalid_option);
    accept_any(tokens, {"OPERATIONS", "LOW", "HIGH"});
}

/// LOB (a, b) STORE AS [SECUREFILE | BASICFILE] [name] [(...)]
void skip_large_object(TokenStream& tokens) {
    skip_parentheses(tokens);
    tokens.expect("STORE", error::missing_keyword);
    tokens.expect("AS", error::missing_keyword);
    accept_any(tokens, {"SECUREFILE", "BASICFILE"});
    const bool clause_follows = tokens.at("TABLESPACE") || tokens.at("LOB");
    if (tokens.at_name() && !clause_follows) tokens.take();
    if (tokens.at("(")) skip_parentheses(tokens);
}

/// PARTITION BY RANGE (a) ... (PARTITION p VALUES LESS THAN (...), ...)
void skip_partitions(TokenStream& tokens) {
    while (tokens.peek().kind == Token::Kind::word && !tokens.at_end()) tokens.take();
    while (tokens.at("(")) skip_parentheses(tokens);
}

void skip_rest(TokenStream& tokens, Rest rest) {
    const bool number = tokens.peek().kind == Token::Kind::number;
    const bool parenthesis = tokens.at("(");
    switch (rest) {
    case Rest::nothing: return;
    case Rest::token:
        if (tokens.at_end() || tokens.peek().kind == Token::Kind::symbol) tokens.fail(error::invalid_option);
        tokens.take();
        return;
    case Rest::parentheses: return skip_parentheses(tokens);
    case Rest::token_or_parentheses: return skip_rest(tokens, parenthesis ? Rest::parentheses : Rest::token);
    case Rest::maybe_number:
        if (number) tokens.take();
        return;
    case Rest::maybe_number_or_parentheses:
        return skip_rest(tokens, parenthesis ? Rest::parentheses : Rest::maybe_number);
    case Rest::maybe_parentheses:
        if (parenthesis) skip_parentheses(tokens);
        return;
    case Rest::compression: return skip_compression(tokens);
    case Rest::large_object: return skip_large_object(tokens);
    case Rest::partitions: return skip_partitions(tokens);
    }
}

bool skip_one(TokenStream& tokens) {
    for (const Clause& clause : clauses) {
        const bool found =
            clause.second.empty() ? tokens.accept(clause.first) : tokens.accept(clause.first, clause.second);
        if (!found) continue;
        skip_rest(tokens, clause.rest);
        // The partitions of INTERVAL (...), STORE IN (...) and PARTITIONS n stand behind them.
        bool partitions = clause.rest == Rest::partitions;
        for (const auto word : {"INTERVAL", "STORE", "PARTITIONS", "SUBPARTITIONS", "SUBPARTITION"})
            partitions = partitions || clause.first == word;
        while (partitions && tokens.at("(")) skip_parentheses(tokens);
        return true;
    }
    return false;
}

} // namespace

void skip_parentheses(TokenStream& tokens) {
    tokens.expect("(", error::missing_left_parenthesis);
    for (int depth = 1; depth > 0;) {
        if (tokens.at_end()) tokens.fail(error::missing_right_parenthesis);
        const Token token = tokens.take();
        if (token.is("(")) ++depth;
        if (token.is(")")) --depth;
    }
}

void skip_storage(TokenStream& tokens) {
    while (skip_one(tokens)) {
    }
}

} // namespace oci::sql
