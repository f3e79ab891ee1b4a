#include "translate.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <sqlite3.h>
#include <unordered_set>

namespace oci {
namespace {

constexpr int deepest_nesting = 200;

struct Expression {
    std::string sql;
    ColumnType type{};        ///< of unknown family where the text does not tell
    unsigned placeholder = 0; ///< its position when the expression is nothing but a placeholder
    bool star = false;        ///< table.*
};

/// What a function's result is: of a family, or of the family of one of its arguments.
struct FunctionType {
    std::string_view name;
    Family family;
    std::size_t argument; ///< 1-based; 0: the family
};

constexpr FunctionType function_types[] = {
    {"COUNT", Family::number, 0},        {"SUM", Family::number, 0},      {"AVG", Family::number, 0},
    {"LENGTH", Family::number, 0},       {"INSTR", Family::number, 0},    {"TO_NUMBER", Family::number, 0},
    {"MOD", Family::number, 0},          {"ABS", Family::number, 0},      {"MONTHS_BETWEEN", Family::number, 0},
    {"SIGN", Family::number, 0},         {"CEIL", Family::number, 0},     {"FLOOR", Family::number, 0},
    {"POWER", Family::number, 0},        {"SQRT", Family::number, 0},     {"EXTRACT", Family::number, 0},
    {"ASCII", Family::number, 0},        {"TO_CHAR", Family::text, 0},    {"SUBSTR", Family::text, 0},
    {"UPPER", Family::text, 0},          {"LOWER", Family::text, 0},      {"TRIM", Family::text, 0},
    {"LTRIM", Family::text, 0},          {"RTRIM", Family::text, 0},      {"LPAD", Family::text, 0},
    {"RPAD", Family::text, 0},           {"REPLACE", Family::text, 0},    {"INITCAP", Family::text, 0},
    {"CHR", Family::text, 0},            {"CONCAT", Family::text, 0},     {"TRANSLATE", Family::text, 0},
    {"RAWTOHEX", Family::text, 0},       {"HEXTORAW", Family::raw, 0},    {"TO_DATE", Family::date, 0},
    {"ADD_MONTHS", Family::date, 0},     {"LAST_DAY", Family::date, 0},   {"NEXT_DAY", Family::date, 0},
    {"EMPTY_BLOB", Family::blob, 0},     {"EMPTY_CLOB", Family::clob, 0}, {"MAX", Family::unknown, 1},
    {"MIN", Family::unknown, 1},         {"NVL", Family::unknown, 1},     {"COALESCE", Family::unknown, 1},
    {"NULLIF", Family::unknown, 1},      {"GREATEST", Family::unknown, 1}, {"LEAST", Family::unknown, 1},
    {"ROUND", Family::unknown, 1},       {"TRUNC", Family::unknown, 1},   {"NVL2", Family::unknown, 2},
    {"DECODE", Family::unknown, 3},
};

/// An expression keeps the family of what it is made of, not its size: NUMBER alone, VARCHAR2(4000).
ColumnType expression_type(Family family) {
    switch (family) {
    case Family::number: return ColumnType::number();
    case Family::text:
    case Family::fixed_text: return ColumnType::of_family(Family::text, 4000);
    case Family::date: return ColumnType::of_family(Family::date, 7);
    case Family::raw: return ColumnType::of_family(Family::raw, 2000);
    default: return ColumnType::of_family(family);
    }
}

std::string literal_of(std::string_view text) {
    std::string literal = "'";
    for (const char c : text) literal.append(c == '\'' ? 2 : 1, c);
    return literal + "'";
}

void append(std::string& sql, std::string_view piece) {
    if (!sql.empty() && !piece.empty()) sql += ' ';
    sql += piece;
}

class Translator {
  public:
    Translator(Session& session, std::span<const Token> tokens, const Positions& positions)
        : m_session(session), m_tokens(tokens), m_positions(positions) {
        collect_tables();
        collect_aliases();
    }

    Translation statement() {
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

    std::string expression_text() { return clause({}); }

  private:
    using Stops = std::initializer_list<std::string_view>;

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
    void expect(std::string_view wanted, int code) {
        if (!accept(wanted)) throw OracleError(code);
    }
    const Token& name() {
        if (!peek().is_name()) throw OracleError(904, "\"" + std::string(peek().text) + "\"");
        return take();
    }

    /// The tables that the statement mentions, to look up what its columns are declared as.
    void collect_tables() {
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

    /// @param wanted  in capitals
    static const Column* column_of(const std::vector<Column>& columns, std::string_view wanted) {
        const auto found =
            std::find_if(columns.begin(), columns.end(), [&](const Column& c) { return c.name == wanted; });
        return found != columns.end() ? &*found : nullptr;
    }

    /// Names that the statement itself gives: they may hide a column of another type.
    void collect_aliases() {
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

    const Column* find_column(std::string_view column) const {
        const std::string wanted = upper(column);
        for (const auto* columns : m_tables) {
            if (const Column* found = column_of(*columns, wanted)) return found;
        }
        return nullptr;
    }

    /// The type of a column, unknown where the name may mean columns of several.
    ColumnType type_of_column(std::string_view column) const {
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

    // ---- tokens and clauses

    /// The clauses that some words of the grammar belong to have been read before an expression is looked for.
    static bool may_name_column(const Token& token) {
        return !is_keyword(token) || token.is("KEY") || token.is("FIRST") || token.is("LAST") || token.is("NEXT");
    }

    bool starts_expression(const Token& token) const {
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

    /// Everything up to the end, a closing parenthesis or one of the stops.
    std::string clause(Stops stops) {
        std::string sql;
        while (!at_end() && !peek().is(")") && !peek().is(";")) {
            for (const auto stop : stops) {
                if (peek().is(stop)) return sql;
            }
            append(sql, item());
        }
        return sql;
    }

    std::string item() {
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

    /// Oracle sorts NULL as the greatest value, SQLite as the least.
    std::string order_by() {
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

    /// OFFSET n ROWS FETCH FIRST m ROWS ONLY, in either or both halves.
    std::string limit_rows() {
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

    std::string lock_rows() {
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

    // ---- statements

    std::string select() {
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

    std::string select_item(bool& star) {
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

    /// A large object of a row that is locked can be written: the row's number tells which it is.
    void append_row_number(std::string& sql) {
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

    void insert() {
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

    const Token& table_name() {
        const Token* table = &name();
        if (accept(".")) table = &name();
        return *table;
    }

    std::string column_list(const std::vector<Column>* columns, std::vector<const Column*>& stored) {
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

    std::string stored_values(const std::vector<const Column*>& stored) {
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

    /// The expression as the column stores it. A placeholder's value is made to fit when it is bound.
    std::string store(const Expression& value, const Column* column) {
        if (column == nullptr || column->type.family == Family::unknown || value.sql == "NULL") return value.sql;
        if (value.placeholder == 0) return fit_call(value.sql, column->type, column->name);
        // In a block the same name may go to several columns: then only the statement knows what fits.
        if (m_positions) return fit_call(value.sql, column->type, column->name);
        set_target(value.placeholder, column->type, column->name);
        return value.sql;
    }

    void set_target(unsigned position, const ColumnType& type, const std::string& column) {
        auto& targets = m_result.targets;
        if (targets.size() < position) targets.resize(position);
        targets[position - 1] = Target{type, column};
    }

    std::string stored_query(const std::vector<const Column*>& stored) {
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

    void update() {
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

    std::string assignment(const std::vector<Column>* columns) {
        if (peek().is("(")) return clause({",", "WHERE", "RETURNING"});
        const Token* column = &name();
        if (accept(".")) column = &name();
        expect("=", 927);
        const Expression value = additive();
        const Column* stored = columns != nullptr ? column_of(*columns, upper(plain_name(*column))) : nullptr;
        return identifier(*column) + " = " + store(value, stored);
    }

    void erase() {
        take();
        accept("FROM");
        std::string sql = "DELETE FROM " + identifier(table_name());
        if (peek().is_name() && !is_keyword(peek())) sql += " AS " + identifier(take());
        append(sql, clause({}));
        m_result.sql = sql;
    }

    std::string returning() {
        take();
        std::string sql = "RETURNING " + clause({"INTO"});
        expect("INTO", 925);
        into_list();
        return sql;
    }

    void into_list() {
        do {
            const Token& target = take();
            const unsigned position = target.kind == Token::Kind::placeholder || target.is_name() ? position_of(target) : 0;
            if (position == 0) throw OracleError(6550, "PLS-00201: identifier '" + upper(target.text) + "' must be declared");
            m_result.into.push_back(position);
        } while (accept(","));
    }

    // ---- comparisons

    static bool is_comparison(const Token& token) {
        static constexpr std::string_view signs[] = {"=", "<>", "!=", "^=", "<", ">", "<=", ">="};
        return std::any_of(std::begin(signs), std::end(signs), [&](std::string_view sign) { return token.is(sign); });
    }

    /// An expression and what it is compared with, if it is.
    Expression comparison() {
        Expression left = additive();
        const std::size_t behind_not = peek().is("NOT") ? 1 : 0;
        if (is_comparison(peek()) && starts_expression(peek(1))) {
            const std::string sign(peek().is("^=") ? "<>" : peek().text);
            take();
            Expression right = additive();
            align(left, right);
            return {left.sql + " " + sign + " " + right.sql};
        }
        if (peek(behind_not).is("BETWEEN")) return between(std::move(left));
        const bool list =
            peek(behind_not).is("IN") && peek(behind_not + 1).is("(") && starts_expression(peek(behind_not + 2));
        return list ? in_list(std::move(left)) : left;
    }

    Expression between(Expression left) {
        const std::string sign = accept("NOT") ? " NOT BETWEEN " : " BETWEEN ";
        take();
        Expression low = additive();
        expect("AND", 905);
        Expression high = additive();
        align(left, low);
        align(left, high);
        align(left, low);
        return {left.sql + sign + low.sql + " AND " + high.sql};
    }

    Expression in_list(Expression left) {
        const std::string sign = accept("NOT") ? " NOT IN (" : " IN (";
        take();
        take();
        std::vector<Expression> elements;
        do {
            elements.push_back(additive());
        } while (accept(","));
        expect(")", 907);
        for (auto& element : elements) align(left, element);
        std::string sql;
        for (auto& element : elements) {
            align(left, element); // a later element may have decided what all are compared as
            sql.append(sql.empty() ? "" : ", ").append(element.sql);
        }
        return {left.sql + sign + sql + ")"};
    }

    /// Oracle compares a text with a number, a date or raw bytes as one of these. SQLite would find the two different.
    void align(Expression& left, Expression& right) {
        const Family l = left.type.family;
        const Family r = right.type.family;
        if ((l == Family::number && r == Family::date) || (l == Family::date && r == Family::number)) {
            throw OracleError(932, "expected DATE got NUMBER");
        }
        if (is_convertible(right) && l != r) convert(right, l);
        if (is_convertible(left) && l != r) convert(left, r);
    }

    static bool is_text(const ColumnType& type) {
        return type.family == Family::text || type.family == Family::fixed_text || type.family == Family::long_text;
    }

    static bool is_convertible(const Expression& value) { return is_text(value.type) || value.placeholder != 0; }

    void convert(Expression& value, Family family) {
        const bool bound = value.placeholder != 0 && !m_positions;
        const char* function = nullptr;
        switch (family) {
        case Family::number: function = "to_number("; break;
        case Family::date: function = "to_date("; break;
        case Family::raw: function = "hextoraw("; break;
        case Family::text: break;
        default: return;
        }
        ColumnType type = expression_type(family);
        type.size = 0;
        if (bound) {
            set_target(value.placeholder, type, "");
        } else if (function != nullptr) {
            value.sql = function + value.sql + ")";
        }
        value.type = type;
    }

    // ---- expressions

    Expression additive() {
        if (++m_depth_of_expression > deepest_nesting) throw OracleError(900, "nested too deeply");
        Expression left = term();
        for (;;) {
            if (accept("||")) {
                left = concatenation(std::move(left));
            } else if (accept("+")) {
                left = sum(std::move(left), term(), '+');
            } else if (accept("-")) {
                left = sum(std::move(left), term(), '-');
            } else {
                --m_depth_of_expression;
                return left;
            }
        }
    }

    /// Terms side by side in one call: nested calls would soon be too deep for SQLite.
    Expression concatenation(Expression left) {
        constexpr int most_arguments = 100;
        std::string sql = "ora_concat(" + left.sql;
        int count = 1;
        do {
            sql += ", " + term().sql;
        } while (++count < most_arguments && accept("||"));
        return {sql + ")", ColumnType::of_family(Family::text, 4000)};
    }

    Expression term() {
        Expression left = factor();
        for (;;) {
            if (accept("*")) {
                const Expression right = factor();
                left = both_numbers(left, right) ? joined(std::move(left), "*", right)
                                                 : call("ora_mul", left, right, ColumnType::number());
            } else if (accept("/")) {
                left = call("ora_div", left, factor(), ColumnType::number());
            } else {
                return left;
            }
        }
    }

    Expression factor() {
        bool negative = false;
        bool is_signed = false;
        for (; peek().is("+") || peek().is("-"); is_signed = true) negative = negative != take().is("-");
        Expression operand = primary();
        if (negative && operand.type.family != Family::number)
            return call("ora_sub", {"0"}, operand, ColumnType::number());
        if (negative) operand.sql.insert(0, "- ");
        if (is_signed) operand.placeholder = 0;
        return operand;
    }

    static bool both_numbers(const Expression& left, const Expression& right) {
        return left.type.family == Family::number && right.type.family == Family::number;
    }

    static Expression joined(Expression left, const char* sign, const Expression& right) {
        left.sql.append(" ").append(sign).append(" ").append(right.sql);
        return {std::move(left.sql), ColumnType::number()};
    }

    static Expression call(const char* function, const Expression& left, const Expression& right, ColumnType type) {
        return {std::string(function) + "(" + left.sql + ", " + right.sql + ")", type};
    }

    /// Where an operand may be a date, a function finds out when it runs.
    static Expression sum(Expression left, const Expression& right, char sign) {
        const Family l = left.type.family;
        const Family r = right.type.family;
        if (both_numbers(left, right)) return joined(std::move(left), sign == '+' ? "+" : "-", right);
        ColumnType type;
        if (l == Family::date && r == Family::number) type = expression_type(Family::date);
        if (l == Family::number && r == Family::date) type = expression_type(Family::date);
        if (l == Family::date && r == Family::date) type = ColumnType::number();
        if (l == Family::text || r == Family::text) type = ColumnType::number();
        if (l == Family::number && r == Family::unknown && sign == '-') type = ColumnType::number();
        return call(sign == '+' ? "ora_add" : "ora_sub", left, right, type);
    }

    Expression primary() {
        const Token& token = peek();
        switch (token.kind) {
        case Token::Kind::number: return {std::string(take().text), ColumnType::number()};
        case Token::Kind::string: return literal();
        case Token::Kind::placeholder: return placeholder();
        case Token::Kind::symbol:
            if (token.is("(")) return parenthesis();
            break;
        case Token::Kind::quoted: return named();
        case Token::Kind::word:
            if (token.is("CASE")) return conditional();
            if (token.is("CAST") && peek(1).is("(")) return cast();
            if (token.is("EXTRACT") && peek(1).is("(")) return extract();
            if (token.is("DATE") && peek(1).kind == Token::Kind::string) return date_literal();
            if (may_name_column(token)) return named();
            break;
        default: break;
        }
        throw OracleError(936);
    }

    Expression literal() {
        const Token& token = take();
        if (token.text.size() == 2) return {"NULL"}; // the empty text is NULL
        return {std::string(token.text), ColumnType::of_family(Family::text, 4000)};
    }

    unsigned position_of(const Token& token) { return m_positions ? m_positions(token) : ++m_placeholders; }

    Expression placeholder() {
        Expression expression;
        expression.placeholder = position_of(take());
        expression.sql = "?" + std::to_string(expression.placeholder);
        return expression;
    }

    Expression parenthesis() {
        take();
        ++m_depth;
        Expression inner;
        if (starts_expression(peek())) inner = comparison();
        const std::string rest = clause({});
        expect(")", 907);
        --m_depth;
        if (!rest.empty()) inner.type = {};
        append(inner.sql, rest);
        inner.sql = "(" + inner.sql + ")";
        inner.placeholder = 0;
        return inner;
    }

    Expression conditional() {
        Expression result{std::string(take().text)};
        while (!peek().is("END")) {
            if (at_end()) throw OracleError(905);
            const bool value = peek().is("THEN") || peek().is("ELSE");
            if (!value) {
                append(result.sql, item());
                continue;
            }
            append(result.sql, take().text);
            const Expression branch = additive();
            append(result.sql, branch.sql);
            if (result.type.family == Family::unknown) result.type = branch.type;
        }
        append(result.sql, take().text);
        return result;
    }

    Expression cast() {
        take();
        take();
        const Expression value = additive();
        expect("AS", 905);
        std::string declaration;
        for (int depth = 0; depth > 0 || !peek().is(")");) {
            if (at_end()) throw OracleError(907);
            if (peek().is("(")) ++depth;
            if (peek().is(")")) --depth;
            append(declaration, take().text);
        }
        take();
        const auto type = ColumnType::parse(declaration);
        if (!type) throw OracleError(902);
        return {fit_call(value.sql, *type, "CAST"), *type};
    }

    Expression extract() {
        static constexpr std::array<std::pair<std::string_view, std::string_view>, 6> fields{
            {{"YEAR", "YYYY"}, {"MONTH", "MM"}, {"DAY", "DD"}, {"HOUR", "HH24"}, {"MINUTE", "MI"}, {"SECOND", "SS"}}};
        take();
        take();
        const std::string field = upper(take().text);
        expect("FROM", 923);
        const Expression date = additive();
        expect(")", 907);
        for (const auto& [name, format] : fields) {
            if (name != field) continue;
            return {"to_number(to_char(" + date.sql + ",'" + std::string(format) + "'))", ColumnType::number()};
        }
        throw OracleError(907);
    }

    Expression date_literal() {
        take();
        const auto text = take().text;
        const Value written = Value::of(text.substr(1, text.size() - 2));
        std::string scratch;
        const ColumnType type = expression_type(Family::date);
        return {"'" + std::string(fit(written, type, "DATE", scratch).text()) + "'", type};
    }

    /// A column, a function or a variable.
    Expression named() {
        const Token& first = take();
        if (first.is("NULL")) return {"NULL"};
        if (first.is("SYSDATE")) return {"datetime('now','localtime')", expression_type(Family::date)}; // one time for the whole statement
        if (first.is("USER") && !peek().is(".")) return {"user()", ColumnType::of_family(Family::text, 4000)};
        if (peek().is("(") && peek(1).is("+") && peek(2).is(")")) throw OracleError(3001, "(+)");
        if (peek().is("(") && first.kind == Token::Kind::word) return function(first);
        if (m_positions && !peek().is(".") && find_column(plain_name(first)) == nullptr) {
            if (const unsigned position = m_positions(first); position != 0) return {"?" + std::to_string(position), {}, position};
        }
        return column(first);
    }

    Expression column(const Token& first) {
        Expression expression;
        const Token* last = &first;
        if (peek().is(".") && upper(plain_name(first)) == m_session.user()) {
            take(); // all accounts share one schema
            last = &name();
        }
        expression.sql = identifier(*last);
        while (accept(".")) {
            expression.sql += ".";
            if (accept("*")) {
                expression.sql += "*";
                expression.star = true;
                return expression;
            }
            last = &name();
            expression.sql += identifier(*last);
        }
        if (peek().is("(") && peek(1).is("+") && peek(2).is(")")) throw OracleError(3001, "(+)");
        expression.type = type_of_column(plain_name(*last));
        if (last->is("ROWID")) expression.type = ColumnType::of_family(Family::rowid);
        return expression;
    }

    Expression function(const Token& called) {
        take();
        ++m_depth;
        std::vector<ColumnType> types;
        std::string arguments;
        if (peek().is("DISTINCT") || peek().is("ALL")) arguments = take().text;
        while (!peek().is(")")) {
            if (at_end()) throw OracleError(907);
            Expression argument;
            if (starts_expression(peek())) argument = additive();
            append(argument.sql, clause({","}));
            if (is_text(argument.type) && (called.is("SUM") || called.is("AVG"))) convert(argument, Family::number);
            append(arguments, argument.sql);
            types.push_back(argument.type);
            if (accept(",")) arguments += ",";
        }
        take();
        --m_depth;
        return {identifier(called) + "(" + arguments + ")", function_type(upper(called.text), types)};
    }

    static ColumnType function_type(const std::string& function, const std::vector<ColumnType>& arguments) {
        for (const auto& known : function_types) {
            if (known.name != function) continue;
            if (known.argument == 0) return expression_type(known.family);
            for (std::size_t i = known.argument - 1; i < arguments.size(); ++i) {
                if (arguments[i].family != Family::unknown) return expression_type(arguments[i].family);
            }
        }
        return {};
    }

    Session& m_session;
    const std::span<const Token> m_tokens;
    const Positions& m_positions;
    std::size_t m_at = 0;
    std::vector<const std::vector<Column>*> m_tables;
    std::unordered_set<std::string> m_aliases;
    Translation m_result;
    unsigned m_placeholders = 0;
    int m_depth = 0; ///< open parentheses
    int m_depth_of_expression = 0;
    bool m_distinct = false;
    bool m_selected = false; ///< the select list that is described has been passed
};

} // namespace

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

void check_targets(sqlite3_stmt* compiled, const Translation& translation) {
    const int values = sqlite3_column_count(compiled) - (translation.locked_table.empty() ? 0 : 1);
    const auto targets = static_cast<int>(translation.into.size());
    if (values != targets) throw OracleError(values < targets ? 947 : 913);
}

std::string translate_expression(Session& session, std::span<const Token> tokens) {
    return Translator(session, tokens, {}).expression_text();
}

} // namespace oci
