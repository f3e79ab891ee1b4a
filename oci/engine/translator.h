#pragma once

#include "oci/sql/token_reader.h"
#include "oci/engine/translate.h"

#include <unordered_set>

namespace oci {

struct Expression {
    std::string sql;
    ColumnType type{};        ///< of unknown family where the text does not tell
    unsigned placeholder = 0; ///< its position when the expression is nothing but a placeholder
    bool star = false;        ///< table.*
    bool whole = false;       ///< a number that never has a fraction
    int calls = 0;            ///< of arithmetic functions, one within the other
};

/// An expression keeps the family of what it is made of, not its size: NUMBER alone, VARCHAR2(4000).
ColumnType expression_type(Family family);

/// Adds a piece of SQL behind a blank.
void append(std::string& sql, std::string_view piece);

/// Reads one statement and writes it in SQLite's SQL.
class Translator : TokenReader {
  public:
    /// @param longest  bytes of a text that is put together
    Translator(Session& session, Tokens tokens, const Positions& positions, int longest = longest_text)
        : TokenReader(tokens), m_session(session), m_positions(positions), m_longest_text(longest) {
        session.forget_outdated_tables();
        collect_tables();
        collect_aliases();
    }

    Translation statement();
    /// The tokens as one expression.
    std::string expression_text() { return clause({}); }

  private:
    using Stops = std::initializer_list<std::string_view>;

    const Token& name();

    /// The tables that the statement mentions, to look up what its columns are declared as.
    void collect_tables();
    /// @param wanted  in capitals
    static const Column* column_of(const std::vector<Column>& columns, std::string_view wanted);
    /// Names that the statement itself gives: they may hide a column of another type.
    void collect_aliases();
    const Column* find_column(std::string_view column) const;
    /// The type of a column, unknown where the name may mean columns of several.
    ColumnType type_of_column(std::string_view column) const;

    // Tokens and clauses

    /// The clauses that some words of the grammar belong to have been read before an expression is looked for.
    static bool may_name_column(const Token& token);
    bool starts_expression(const Token& token) const;
    /// Everything up to the end, a closing parenthesis or one of the stops.
    std::string clause(Stops stops);
    std::string item();
    /// Oracle sorts NULL as the greatest value, SQLite as the least.
    std::string order_by();
    /// OFFSET n ROWS FETCH FIRST m ROWS ONLY, in either or both halves.
    std::string limit_rows();
    std::string lock_rows();

    // Statements

    std::string select();
    std::string select_item(bool& star);
    /// A large object of a row that is locked can be written: the row's number tells which it is.
    void append_row_number(std::string& sql);
    void insert();
    const Token& table_name();
    std::string column_list(const std::vector<Column>* columns, std::vector<const Column*>& stored);
    std::string stored_values(const std::vector<const Column*>& stored);
    /// The expression as the column stores it. A placeholder's value is made to fit when it is bound.
    std::string store(const Expression& value, const Column* column);
    void set_target(unsigned position, const ColumnType& type, const std::string& column);
    std::string stored_query(const std::vector<const Column*>& stored);
    void update();
    std::string assignment(const std::vector<Column>* columns);
    void erase();
    std::string returning();
    void into_list();

    // Comparisons

    static bool is_comparison(const Token& token);
    /// An expression and what it is compared with, if it is.
    Expression comparison();
    Expression between(Expression left);
    Expression in_list(Expression left);
    /// Oracle compares a text with a number, a date or raw bytes as one of these. SQLite would find the two different.
    void align(Expression& left, Expression& right);
    static bool is_text(const ColumnType& type);
    static bool is_convertible(const Expression& value) { return is_text(value.type) || value.placeholder != 0; }
    void convert(Expression& value, Family family);

    // Expressions

    Expression additive();
    /// Terms side by side in one call: nested calls would soon be too deep for SQLite.
    Expression concatenation(Expression left);
    /// The call of a function that puts texts together: of a large object the result is one, any other has a longest size.
    Expression composed(const std::string& function, const std::string& arguments, bool large) const;
    Expression term();
    Expression factor();
    /// Does SQLite's own arithmetic do? For whole numbers, and where nested calls would be too deep for SQLite.
    static bool is_plain(const Expression& left, const Expression& right);
    static Expression joined(Expression left, const char* sign, const Expression& right);
    static Expression call(const char* function, const Expression& left, const Expression& right, ColumnType type);
    /// Where an operand may be a date, or have a fraction, a function finds out when it runs.
    static Expression sum(Expression left, const Expression& right, char sign);
    Expression primary();
    Expression number();
    Expression literal();
    unsigned position_of(const Token& token) { return m_positions ? m_positions(token) : ++m_placeholders; }
    Expression placeholder();
    Expression parenthesis();
    Expression conditional();
    Expression cast();
    Expression extract();
    Expression date_literal();
    /// A column, a function or a variable.
    Expression named();
    Expression column(const Token& first);
    Expression function(const Token& called);
    static ColumnType function_type(const std::string& function, const std::vector<ColumnType>& arguments);

    Session& m_session;
    const Positions& m_positions;
    const int m_longest_text;
    std::vector<const std::vector<Column>*> m_tables;
    std::unordered_set<std::string> m_aliases;
    Translation m_result;
    unsigned m_placeholders = 0;
    int m_depth = 0; ///< open parentheses
    int m_depth_of_expression = 0;
    bool m_distinct = false;
    bool m_selected = false; ///< the select list that is described has been passed
};

} // namespace oci
