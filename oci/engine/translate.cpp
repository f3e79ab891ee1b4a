#include "oci/engine/translator.h"

#include <algorithm>
#include <charconv>
#include <sqlite3.h>

namespace oci {
namespace {

std::string literal_of(std::string_view text) {
    std::string literal = "'";
    for (const char c : text) literal.append(c == '\'' ? 2 : 1, c);
    return literal + "'";
}

} // namespace

void append(std::string& sql, std::string_view piece) {
    if (!sql.empty() && !piece.empty()) sql += ' ';
    sql += piece;
}

Translation Translator::statement() {
    if (peek().is("INSERT")) {
        insert();
    } else if (peek().is("UPDATE")) {
        update();
    } else if (peek().is("DELETE")) {
        erase();
    } else {
        append(m_result.sql, clause({}));
    }
    if (peek().is(";")) take();
    if (!at_end()) throw OracleError(900, "near \"" + std::string(peek().text) + "\"");
    return std::move(m_result);
}

const Token& Translator::name() {
    if (!peek().is_name()) throw OracleError(904, "\"" + std::string(peek().text) + "\"");
    return take();
}

void Translator::collect_tables() {
    bool from = false;
    for (std::size_t i = 1; i < m_tokens.size(); ++i) {
        const Token& before = m_tokens[i - 1];
        if (before.is("FROM")) from = true;
        if (before.is("WHERE") || before.is("SELECT")) from = false;
        const bool place = before.is("FROM") || before.is("JOIN") || before.is("INTO") || before.is("UPDATE") ||
                           before.is("DELETE") || (from && before.is(","));
        if (!place || !m_tokens[i].is_name() || is_keyword(m_tokens[i])) continue;
        const auto* columns = m_session.columns_of(upper(plain_name(m_tokens[i])));
        if (columns != nullptr && std::find(m_tables.begin(), m_tables.end(), columns) == m_tables.end())
            m_tables.push_back(columns);
    }
}

const Column* Translator::column_of(const std::vector<Column>& columns, std::string_view wanted) {
    const auto found =
        std::find_if(columns.begin(), columns.end(), [&](const Column& c) { return c.name == wanted; });
    return found != columns.end() ? &*found : nullptr;
}

void Translator::collect_aliases() {
    for (std::size_t i = 1; i < m_tokens.size(); ++i) {
        const Token& before = m_tokens[i - 1];
        if (!m_tokens[i].is_name() || is_keyword(m_tokens[i])) continue;
        const bool behind_value = before.is_name() && !is_keyword(before);
        const bool behind_literal = before.kind == Token::Kind::string || before.kind == Token::Kind::number ||
                                    before.kind == Token::Kind::placeholder;
        if (behind_value || behind_literal || before.is("AS") || before.is(")") || before.is("END"))
            m_aliases.insert(upper(plain_name(m_tokens[i])));
    }
}

const Column* Translator::find_column(std::string_view column) const {
    const std::string wanted = upper(column);
    for (const auto* columns : m_tables) {
        if (const Column* found = column_of(*columns, wanted)) return found;
    }
    return nullptr;
}

ColumnType Translator::type_of_column(std::string_view column) const {
    const std::string wanted = upper(column);
    ColumnType type;
    if (m_aliases.count(wanted) != 0) return type;
    for (const auto* columns : m_tables) {
        const Column* found = column_of(*columns, wanted);
        if (found == nullptr) continue;
        if (type.family != Family::unknown && type.family != found->type.family) return {};
        type = found->type;
    }
    return type;
}

bool Translator::may_name_column(const Token& token) {
    return !is_keyword(token) || token.is("KEY") || token.is("FIRST") || token.is("LAST") || token.is("NEXT");
}

bool Translator::starts_expression(const Token& token) const {
    switch (token.kind) {
    case Token::Kind::quoted:
    case Token::Kind::string:
    case Token::Kind::number:
    case Token::Kind::placeholder: return true;
    case Token::Kind::word: return token.is("CASE") || may_name_column(token);
    case Token::Kind::symbol: return token.is("(") || token.is("-") || token.is("+");
    default: return false;
    }
}

std::string Translator::clause(Stops stops) {
    std::string sql;
    while (!at_end() && !peek().is(")") && !peek().is(";")) {
        for (const auto stop : stops) {
            if (peek().is(stop)) return sql;
        }
        append(sql, item());
    }
    return sql;
}

std::string Translator::item() {
    const Token& token = peek();
    if (token.is("SELECT") && m_depth == 0 && !m_selected) return select();
    if (token.is("ORDER") && peek(1).is("BY")) return order_by();
    if (token.is("OFFSET") || token.is("FETCH")) return limit_rows();
    if (token.is("FOR") && peek(1).is("UPDATE") && m_depth == 0) return lock_rows();
    if (token.is("RETURNING")) return returning();
    if (accept("MINUS")) return "EXCEPT";
    if (accept("^=")) return "<>";
    if (starts_expression(token)) return comparison().sql;
    return std::string(take().text);
}

std::string Translator::order_by() {
    take();
    take();
    std::string sql = "ORDER BY";
    do {
        append(sql, clause({",", "ASC", "DESC", "NULLS", "FOR", "OFFSET", "FETCH", "ROWS", "RANGE", "UNION", "MINUS",
                            "INTERSECT"}));
        const bool descending = peek().is("DESC");
        if (descending || peek().is("ASC")) append(sql, take().text);
        if (accept("NULLS")) {
            append(sql, "NULLS");
            append(sql, take().text);
        } else {
            sql += descending ? " NULLS FIRST" : " NULLS LAST";
        }
    } while (accept(",") && (sql += ",", true));
    return sql;
}

std::string Translator::limit_rows() {
    std::string offset;
    std::string count = "-1";
    if (accept("OFFSET")) {
        offset = " OFFSET " + additive().sql;
        if (!accept("ROWS")) expect("ROW", 933);
    }
    if (accept("FETCH")) {
        if (!accept("FIRST")) expect("NEXT", 933);
        count = starts_expression(peek()) ? additive().sql : "1";
        if (!accept("ROWS")) expect("ROW", 933);
        expect("ONLY", 933);
    }
    return "LIMIT " + count + offset;
}

std::string Translator::lock_rows() {
    take();
    take();
    if (m_distinct) throw OracleError(1786);
    m_result.for_update = true;
    if (accept("OF")) clause({"NOWAIT", "WAIT", "SKIP"});
    if (accept("NOWAIT")) m_result.patience = std::chrono::milliseconds(0);
    if (accept("WAIT")) {
        int seconds = 0;
        const auto text = take().text;
        std::from_chars(text.data(), text.data() + text.size(), seconds);
        m_result.patience = std::chrono::seconds(seconds);
    }
    if (peek().is("SKIP")) throw OracleError(3001, "SKIP LOCKED");
    return {};
}

std::string Translator::select() {
    m_selected = true;
    std::string sql(take().text);
    m_distinct = peek().is("DISTINCT") || peek().is("UNIQUE");
    if (m_distinct || peek().is("ALL")) append(sql, take().is("ALL") ? "ALL" : "DISTINCT");
    bool star = false;
    do {
        append(sql, select_item(star));
    } while (accept(",") && (sql += ",", true));
    if (star) m_result.columns.clear();
    if (accept("INTO")) into_list();
    append_row_number(sql);
    return sql;
}

std::string Translator::select_item(bool& star) {
    ColumnType type;
    std::string sql;
    if (accept("*")) {
        star = true;
        sql = "*";
    } else if (starts_expression(peek())) {
        const Expression expression = additive();
        star = star || expression.star;
        sql = expression.sql;
        const bool alias = peek().is("AS") || (peek().is_name() && !is_keyword(peek()));
        const std::size_t behind = alias ? (peek().is("AS") ? 2 : 1) : 0;
        const Token& next = peek(behind);
        if (next.is(",") || next.is("FROM") || next.is("INTO") || next.kind == Token::Kind::end) type = expression.type;
    }
    append(sql, clause({",", "FROM", "INTO", "UNION", "MINUS", "INTERSECT"}));
    m_result.columns.push_back(type);
    return sql;
}

void Translator::append_row_number(std::string& sql) {
    if (!peek().is("FROM") || !peek(1).is_name()) return;
    bool locks = false;
    for (std::size_t i = 0; peek(i).kind != Token::Kind::end; ++i) {
        if (peek(i).is(",") && i < 4) return;
        if (peek(i).is("JOIN") || peek(i).is("UNION")) return;
        locks = locks || (peek(i).is("FOR") && peek(i + 1).is("UPDATE"));
    }
    if (!locks || m_session.columns_of(upper(plain_name(peek(1)))) == nullptr) return;
    m_result.locked_table = plain_name(peek(1));
    sql += ", rowid";
}

void Translator::insert() {
    take();
    expect("INTO", 900);
    const Token& table = table_name();
    std::string sql = "INSERT INTO " + identifier(table);
    if (peek().is_name() && !is_keyword(peek())) sql += " AS " + identifier(take());
    const auto* columns = m_session.columns_of(upper(plain_name(table)));
    std::vector<const Column*> stored;
    if (peek().is("(") && !peek(1).is("SELECT")) {
        append(sql, column_list(columns, stored));
    } else if (columns != nullptr) {
        for (const auto& column : *columns) stored.push_back(&column);
    }
    if (accept("VALUES")) {
        append(sql, "VALUES " + stored_values(stored));
    } else {
        append(sql, stored_query(stored));
    }
    append(sql, clause({}));
    m_result.sql = sql;
}

const Token& Translator::table_name() {
    const Token* table = &name();
    if (accept(".")) table = &name();
    return *table;
}

std::string Translator::column_list(const std::vector<Column>* columns, std::vector<const Column*>& stored) {
    take();
    std::string sql = "(";
    do {
        const Token& column = name();
        if (sql.size() > 1) sql += ",";
        sql += identifier(column);
        stored.push_back(columns != nullptr ? column_of(*columns, upper(plain_name(column))) : nullptr);
    } while (accept(","));
    expect(")", 907);
    return sql + ")";
}

std::string Translator::stored_values(const std::vector<const Column*>& stored) {
    expect("(", 906);
    std::string sql = "(";
    for (std::size_t i = 0; i == 0 || accept(","); ++i) {
        if (i > 0) sql += ",";
        const Expression value = additive();
        sql += store(value, i < stored.size() ? stored[i] : nullptr);
    }
    expect(")", 907);
    return sql + ")";
}

std::string Translator::store(const Expression& value, const Column* column) {
    if (column == nullptr || column->type.family == Family::unknown || value.sql == "NULL") return value.sql;
    if (value.placeholder == 0) return fit_call(value.sql, column->type, column->name);
    // In a block the same name may go to several columns: then only the statement knows what fits.
    if (m_positions) return fit_call(value.sql, column->type, column->name);
    set_target(value.placeholder, column->type, column->name);
    return value.sql;
}

void Translator::set_target(unsigned position, const ColumnType& type, const std::string& column) {
    auto& targets = m_result.targets;
    if (targets.size() < position) targets.resize(position);
    targets[position - 1] = Target{type, column};
}

std::string Translator::stored_query(const std::vector<const Column*>& stored) {
    const bool parenthesis = accept("(");
    m_selected = true; // the columns of the query are not described
    const std::string query = clause({"RETURNING"});
    if (parenthesis) expect(")", 907);
    std::string names;
    std::string values;
    for (std::size_t i = 0; i < stored.size(); ++i) {
        const std::string column = "c" + std::to_string(i);
        if (i > 0) names += ",", values += ",";
        names += column;
        values += stored[i] == nullptr ? column : fit_call(column, stored[i]->type, stored[i]->name);
    }
    if (stored.empty()) return query;
    return "WITH \"DTK$ROWS\"(" + names + ") AS (" + query + ") SELECT " + values + " FROM \"DTK$ROWS\" WHERE true";
}

void Translator::update() {
    take();
    const Token& table = table_name();
    std::string sql = "UPDATE " + identifier(table);
    if (peek().is_name() && !is_keyword(peek())) sql += " AS " + identifier(take());
    expect("SET", 971);
    sql += " SET ";
    const auto* columns = m_session.columns_of(upper(plain_name(table)));
    do {
        sql += assignment(columns);
    } while (accept(",") && (sql += ", ", true));
    append(sql, clause({}));
    m_result.sql = sql;
}

std::string Translator::assignment(const std::vector<Column>* columns) {
    if (peek().is("(")) return clause({",", "WHERE", "RETURNING"});
    const Token* column = &name();
    if (accept(".")) column = &name();
    expect("=", 927);
    const Expression value = additive();
    const Column* stored = columns != nullptr ? column_of(*columns, upper(plain_name(*column))) : nullptr;
    return identifier(*column) + " = " + store(value, stored);
}

void Translator::erase() {
    take();
    accept("FROM");
    std::string sql = "DELETE FROM " + identifier(table_name());
    if (peek().is_name() && !is_keyword(peek())) sql += " AS " + identifier(take());
    append(sql, clause({}));
    m_result.sql = sql;
}

std::string Translator::returning() {
    take();
    std::string sql = "RETURNING " + clause({"INTO"});
    expect("INTO", 925);
    into_list();
    return sql;
}

void Translator::into_list() {
    do {
        const Token& target = take();
        const unsigned position = target.kind == Token::Kind::placeholder || target.is_name() ? position_of(target) : 0;
        if (position == 0) throw OracleError(6550, "PLS-00201: identifier '" + upper(target.text) + "' must be declared");
        m_result.into.push_back(position);
    } while (accept(","));
}

std::string fit_call(const std::string& sql, const ColumnType& type, std::string_view column) {
    std::string call = "ora_fit(" + sql;
    for (const int part : {static_cast<int>(type.family), int{type.size}, int{type.precision}, int{type.scale}}) {
        call += "," + std::to_string(part);
    }
    return call + "," + literal_of(column) + ")";
}

std::string identifier(const Token& token) {
    if (token.kind == Token::Kind::quoted) return std::string(token.text);
    const bool special = token.text.find('#') != std::string_view::npos ||
                         (sqlite3_keyword_check(token.text.data(), static_cast<int>(token.text.size())) != 0 && !is_keyword(token));
    return special ? "\"" + std::string(token.text) + "\"" : std::string(token.text);
}

Translation translate(Session& session, std::span<const Token> tokens, const Positions& positions) {
    return Translator(session, tokens, positions).statement();
}

Translation translate_value(Session& session, std::span<const Token> expression, const Positions& positions) {
    std::vector<Token> query{{Token::Kind::word, "SELECT"}};
    query.insert(query.end(), expression.begin(), expression.end());
    constexpr int longest_of_program = 32767;
    return Translator(session, query, positions, longest_of_program).statement();
}

void check_targets(sqlite3_stmt* compiled, const Translation& translation) {
    const int values = sqlite3_column_count(compiled) - (translation.locked_table.empty() ? 0 : 1);
    const auto targets = static_cast<int>(translation.into.size());
    if (values != targets) throw OracleError(values < targets ? 947 : 913);
}

std::string translate_expression(Session& session, std::span<const Token> tokens) {
    return Translator(session, tokens, {}).expression_text();
}

} // namespace oci
