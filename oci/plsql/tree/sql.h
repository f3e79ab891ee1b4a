#pragma once

#include "oci/engine/statements/inner_statement.h"
#include "oci/plsql/parser/scope.h"

#include <set>

namespace oci::plsql {

/// Where a statement that runs comes from.
class SqlSource {
  public:
    virtual ~SqlSource() = default;
    /// Compiles it unless that is done. @return a form that nobody else runs.
    virtual std::unique_ptr<InnerStatement> take() = 0;
    virtual void give_back(std::unique_ptr<InnerStatement> statement) = 0;
    /// Binds the values that its names have in a frame. @return what has to be kept until the statement is reset
    virtual std::vector<OwnedValue> bind(InnerStatement& statement, Frame& frame) const = 0;
};

/// Compiled forms of one text that any expression of it may use, each for as long as it runs.
struct SharedSql {
    std::vector<std::size_t> order; ///< the operand that each position stands for
    std::vector<std::unique_ptr<InnerStatement>> idle;
};

/// A statement of SQL in a block: its text, what its names mean, and a compiled form that is kept.
class SqlText : public SqlSource, public sql::Variables {
  public:
    /// @param scope  where its names are looked up that are no columns
    SqlText(Runtime& runtime, Scope& scope) : m_runtime(runtime), m_scope(scope) {}

    std::string text;
    /// A name for the value of an expression, to be written into the text.
    std::string name_of(ExpressionPtr expression);
    /// All words in it that may be names of tables.
    std::set<std::string, std::less<>> words;
    /// A placeholder whose value is not read.
    std::string output();

    /// To be called when the text is complete and nothing but its operands depends on where it stands.
    void share();

    std::unique_ptr<InnerStatement> take() override;
    void give_back(std::unique_ptr<InnerStatement> statement) override;
    std::vector<OwnedValue> bind(InnerStatement& statement, Frame& frame) const override;

  private:
    using Variable = sql::Variables::Variable;

    std::optional<Variable> variable(std::string_view first, std::string_view second, std::string_view third) override;
    unsigned placeholder(std::string_view name) override;
    Variable input(ExpressionPtr expression);

    Runtime& m_runtime;
    Scope& m_scope;
    ExpressionList m_named;  ///< by number - 1 of the names given out
    ExpressionList m_inputs; ///< by position - 1; null: not read
    std::unique_ptr<InnerStatement> compile();

    std::unique_ptr<InnerStatement> m_idle;
    std::shared_ptr<SharedSql> m_shared; ///< null: it has its own
};

/// A statement while it runs.
class Running {
  public:
    Running(SqlSource& text, Frame& frame);
    ~Running();
    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;

    InnerStatement* operator->() const { return m_statement.get(); }
    InnerStatement& operator*() const { return *m_statement; }

  private:
    SqlSource& m_text;
    std::unique_ptr<InnerStatement> m_statement;
    std::vector<OwnedValue> m_inputs;
};

using Row = std::vector<OwnedValue>;

/// An open query. It goes on with the rows that it was opened with, whatever the session writes.
class OpenCursor {
  public:
    OpenCursor(Runtime& runtime, std::shared_ptr<SqlSource> text, Frame& frame);
    ~OpenCursor();
    OpenCursor(const OpenCursor&) = delete;
    OpenCursor& operator=(const OpenCursor&) = delete;

    /// @return false behind the last row
    bool fetch(Row& row);
    /// To be called before the session writes: the rest of the rows is read.
    void detach();
    /// To be called when a transaction ends: the rows that FOR UPDATE had locked are free.
    void transaction_ends() { m_ended = m_ended || m_locks; }
    const std::vector<sql::ResultColumn>& columns() const { return m_columns; }

    std::int64_t row_count = 0;
    std::optional<bool> found;   ///< of the last fetch
    std::int64_t locked_row = 0; ///< of the row fetched last, under FOR UPDATE

  private:
    bool step(Row& row);

    Runtime& m_runtime;
    std::shared_ptr<SqlSource> m_text; ///< keeps it alive
    std::unique_ptr<Running> m_running;
    std::vector<sql::ResultColumn> m_columns;
    std::deque<Row> m_rest; ///< when it is detached; of FOR UPDATE the last value is the row's number
    bool m_locks = false;
    bool m_ended = false;
};

/// The value of an expression that SQL works out.
class SqlExpression : public Expression {
  public:
    /// @param text  a query of one value
    SqlExpression(TypePtr type, std::shared_ptr<SqlText> text) : Expression(std::move(type)), m_text(std::move(text)) {}
    OwnedValue value(Frame& frame) const override;

  private:
    std::shared_ptr<SqlText> m_text;
};

} // namespace oci::plsql
