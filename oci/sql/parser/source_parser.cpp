#include "oci/sql/parser/source_parser.h"

#include "oci/sql/parser/expression_parser.h"
#include "oci/sql/parser/query_parser.h"

#include <algorithm>

namespace oci::sql {
namespace {

constexpr int longest_chain = 1000;

/// Words that are not reserved, but go on with the statement behind a table.
bool is_clause(const Token& token) {
    static constexpr std::string_view words[] = {"CROSS",   "FETCH",  "FULL",      "INNER",  "JOIN",   "LEFT",
                                                 "LOG",     "MODEL",  "NATURAL",   "OFFSET", "OUTER",  "PARTITION",
                                                 "PIVOT",   "RETURN", "RETURNING", "RIGHT",  "SAMPLE", "SUBPARTITION",
                                                 "UNPIVOT", "USING",  "VERSIONS",  "WHEN",   "WINDOW"};
    return token.kind == Token::Kind::word && std::binary_search(std::begin(words), std::end(words), token.text);
}

} // namespace

std::span<Source*> SourceParser::sources() {
    ListBuilder<Source*> sources(m_tokens.arena());
    do {
        sources.add(source());
    } while (m_tokens.accept(","));
    return sources.list();
}

Source* SourceParser::source() {
    Source* found = primary();
    for (int length = 0; at_join(); ++length) {
        if (length == longest_chain) m_tokens.unsupported("more than 1000 joins in a row");
        found = join(found);
    }
    return found;
}

Source* SourceParser::primary() {
    Source* found = nullptr;
    if (m_tokens.at("(") || m_tokens.at("LATERAL", "(")) {
        found = parenthesized();
    } else if (m_tokens.at("TABLE", "(")) {
        found = function();
    } else {
        found = table();
    }
    refuse_extensions();
    if (found->kind == Source::Kind::join) return found;
    if (Name alias = this->alias()) found->alias = alias;
    refuse_extensions();
    return found;
}

Source* SourceParser::parenthesized() {
    const Nesting nesting(m_tokens);
    const Offset at = m_tokens.position();
    const bool lateral = m_tokens.accept("LATERAL");
    m_tokens.take();
    Source* found = nullptr;
    if (QueryParser::begins(m_tokens)) {
        found = m_tokens.make<Source>(at);
        found->kind = Source::Kind::query;
        found->query = QueryParser(m_tokens).query();
        found->lateral = lateral;
    } else {
        found = source();
        if (found->kind == Source::Kind::query && !found->alias)
            found->query = QueryParser(m_tokens).continued(found->query);
    }
    m_tokens.expect(")", error::missing_right_parenthesis);
    return found;
}

Source* SourceParser::table() {
    if (m_tokens.peek(1).is("(") && (m_tokens.at("ONLY") || m_tokens.at("XMLTABLE") || m_tokens.at("JSON_TABLE"))) {
        m_tokens.unsupported(m_tokens.peek().text);
    }
    auto* const found = m_tokens.make<Source>(m_tokens.position());
    found->table = m_tokens.object_name(error::invalid_table_name);
    return found;
}

/// TABLE(f(...))
Source* SourceParser::function() {
    auto* const found = m_tokens.make<Source>(m_tokens.take().at);
    m_tokens.take();
    found->kind = Source::Kind::function;
    found->function = ExpressionParser(m_tokens).value();
    m_tokens.expect(")", error::missing_right_parenthesis);
    return found;
}

Name SourceParser::alias() {
    const bool limit =
        m_tokens.at("LIMIT") && m_tokens.peek(1).kind != Token::Kind::symbol && !m_tokens.peek(1).is_name();
    if (!m_tokens.at_name() || is_clause(m_tokens.peek()) || limit) return {};
    return m_tokens.name(error::invalid_table_name);
}

void SourceParser::refuse_extensions() {
    if (m_tokens.at("AS", "OF") || m_tokens.at("VERSIONS", "BETWEEN")) m_tokens.unsupported("queries of the past");
    if (m_tokens.at("SAMPLE")) m_tokens.unsupported("SAMPLE");
    if (!m_tokens.peek(1).is("(")) return;
    if (m_tokens.at("PIVOT") || m_tokens.at("UNPIVOT") || m_tokens.at("MATCH_RECOGNIZE") || m_tokens.at("PARTITION") ||
        m_tokens.at("SUBPARTITION")) {
        m_tokens.unsupported(m_tokens.peek().text);
    }
}

bool SourceParser::at_join() {
    const Token& next = m_tokens.peek();
    if (next.kind != Token::Kind::word) return false;
    if (next.text == "JOIN" || next.text == "INNER" || next.text == "CROSS" || next.text == "NATURAL") return true;
    if (m_tokens.at("OUTER", "APPLY")) return true;
    return next.text == "LEFT" || next.text == "RIGHT" || next.text == "FULL";
}

Source* SourceParser::join(Source* left) {
    const Nesting nesting(m_tokens);
    auto* const found = m_tokens.make<Source>(left->at);
    found->kind = Source::Kind::join;
    found->left = left;
    join_kind(*found);
    found->right = primary();
    if (found->natural || found->join == Source::Join::cross) return found;
    // a JOIN b JOIN c ON ... ON ...
    while (!m_tokens.at("ON") && !m_tokens.at("USING") && at_join()) found->right = join(found->right);
    join_condition(*found);
    return found;
}

void SourceParser::join_kind(Source& join) {
    if (m_tokens.peek(1).is("APPLY")) m_tokens.unsupported("APPLY");
    join.natural = m_tokens.accept("NATURAL");
    const bool cross = !join.natural && m_tokens.accept("CROSS");
    const bool left = !cross && m_tokens.accept("LEFT");
    const bool right = !cross && !left && m_tokens.accept("RIGHT");
    const bool full = !cross && !left && !right && m_tokens.accept("FULL");
    if (left || right || full) {
        m_tokens.accept("OUTER");
    } else if (!cross) {
        m_tokens.accept("INNER");
    }
    join.join = cross   ? Source::Join::cross
                : left  ? Source::Join::left
                : right ? Source::Join::right
                : full  ? Source::Join::full
                        : Source::Join::inner;
    m_tokens.expect("JOIN", error::missing_keyword);
}

void SourceParser::join_condition(Source& join) {
    if (m_tokens.accept("ON")) {
        join.condition = ExpressionParser(m_tokens).condition();
        return;
    }
    m_tokens.expect("USING", error::missing_keyword);
    m_tokens.expect("(", error::missing_left_parenthesis);
    ListBuilder<Name> columns(m_tokens.arena());
    do {
        columns.add(m_tokens.name(error::invalid_identifier));
    } while (m_tokens.accept(","));
    m_tokens.expect(")", error::missing_right_parenthesis);
    join.using_columns = columns.list();
}

} // namespace oci::sql
