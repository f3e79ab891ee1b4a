#include "oci/engine/select_list.h"

#include "oci/sql/token_reader.h"

#include <algorithm>
#include <sqlite3.h>

namespace oci {
namespace {

/// The type of a select-list column that is a column of a table; nothing for an expression.
std::optional<ColumnType> declared_type(Session& session, sqlite3_stmt* query, int column) {
    const char* declared = sqlite3_column_decltype(query, column);
    auto type = declared != nullptr ? ColumnType::parse(declared) : std::nullopt;
    const char* table = sqlite3_column_table_name(query, column);
    const char* origin = sqlite3_column_origin_name(query, column);
    if (!type || table == nullptr || origin == nullptr) return type;
    if (upper(origin) == "ROWID") return ColumnType::of_family(Family::rowid);
    const auto* known = session.columns_of(upper(table));
    if (known == nullptr) return type;
    for (const auto& candidate : *known) {
        if (candidate.name == upper(origin)) type->nullable = candidate.type.nullable;
    }
    return type;
}

bool is_set_operator(const Token& token) { return token.is("UNION") || token.is("INTERSECT") || token.is("MINUS"); }

/// What a token adds to the depth of parentheses.
int nesting(const Token& token) { return token.is("(") ? 1 : token.is(")") ? -1 : 0; }

/// The queries that set operators combine, each behind the WITH clause of them all.
std::vector<std::vector<Token>> combined_queries(Tokens tokens) {
    std::vector<std::vector<Token>> queries(1);
    std::vector<Token> with;
    bool selected = false;
    int depth = 0;
    for (const Token& token : tokens) {
        depth += nesting(token);
        const bool top = depth == 0;
        selected = selected || (top && token.is("SELECT"));
        if (!selected) {
            with.push_back(token);
        } else if (top && is_set_operator(token)) {
            queries.emplace_back();
        } else if (top && (token.is("ORDER") || token.is("OFFSET") || token.is("FETCH") || token.is(";"))) {
            break;
        } else if (!queries.back().empty() || !token.is("ALL")) {
            queries.back().push_back(token);
        }
    }
    for (auto& query : queries) query.insert(query.begin(), with.begin(), with.end());
    return queries;
}

bool is_null_column(Tokens query, std::size_t column) {
    std::size_t at = 0;
    int depth = 0;
    for (bool selected = false; at < query.size() && !(selected && column == 0); ++at) {
        depth += nesting(query[at]);
        if (selected && depth == 0 && query[at].is(",")) --column;
        selected = selected || (depth == 0 && query[at].is("SELECT"));
    }
    TokenReader reader(query.subspan(at));
    if (!reader.accept("NULL")) return false;
    reader.accept("AS");
    if (reader.peek().is_name() && !is_keyword(reader.peek())) reader.take();
    return reader.at_end() || reader.peek().is(",") || reader.peek().is("FROM");
}

std::vector<SelectedColumn> describe_one(Session& session, Tokens tokens, sqlite3_stmt* query,
                                         const Translation& translation) {
    const int locked = translation.locked_table.empty() ? 0 : 1;
    std::vector<SelectedColumn> columns(static_cast<std::size_t>(sqlite3_column_count(query) - locked));
    for (std::size_t i = 0; i < columns.size(); ++i) {
        if (const auto declared = declared_type(session, query, static_cast<int>(i))) {
            columns[i] = {*declared, true, false};
        } else {
            if (i < translation.columns.size()) columns[i].type = translation.columns[i];
            columns[i].is_null = is_null_column(tokens, i);
        }
    }
    return columns;
}

bool is_text(const ColumnType& type) { return type.family == Family::text || type.family == Family::fixed_text; }

/// Makes the type of a column wide enough for that of a query that is combined with it.
void widen(SelectedColumn& column, const SelectedColumn& other) {
    if (other.is_null) return;
    if (column.is_null) {
        column = other;
        return;
    }
    ColumnType& type = column.type;
    column.stored = column.stored && other.stored;
    type.nullable = type.nullable || other.type.nullable;
    if (type.family == Family::unknown || other.type.family == Family::unknown) {
        type = {};
    } else if (is_text(type) && is_text(other.type)) {
        if (type.family != other.type.family || type.size != other.type.size) type.family = Family::text;
        type.size = std::max(type.size, other.type.size);
    } else if (type.family != other.type.family) {
        throw OracleError(1790);
    } else if (type.precision != other.type.precision || type.scale != other.type.scale) {
        type = ColumnType::number();
    }
}

} // namespace

std::vector<SelectedColumn> describe_select_list(Session& session, Tokens tokens, sqlite3_stmt* query,
                                                 const Translation& translation) {
    if (std::none_of(tokens.begin(), tokens.end(), is_set_operator)) return describe_one(session, tokens, query, translation);
    // SQLite describes combined queries as the first of them. From which of them a column of a subquery comes, it does
    // not tell.
    const auto queries = combined_queries(tokens);
    std::vector<SelectedColumn> columns = describe_one(session, queries.front(), query, translation);
    for (std::size_t i = 1; i < queries.size(); ++i) {
        const Translation other = translate(session, queries[i]);
        const Compiled compiled = session.compile(other.sql);
        const auto others = describe_one(session, queries[i], compiled.get(), other);
        for (std::size_t column = 0; column < columns.size(); ++column) widen(columns[column], others[column]);
    }
    for (SelectedColumn& column : columns) column.stored = column.stored && queries.size() > 1;
    return columns;
}

} // namespace oci
