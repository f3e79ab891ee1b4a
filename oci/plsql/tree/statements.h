#pragma once

#include "oci/plsql/tree/sql.h"

namespace oci::plsql {

/// Where the values of a row go: each to a variable, or all to the fields of a record.
struct Into {
    struct Item {
        ExpressionPtr target;
        ExpressionPtr converted; ///< of `slot`, where the target needs another type; null: as it comes
        unsigned slot = 0;
    };
    std::vector<Item> items;
    bool bulk = false; ///< each to a collection

    bool empty() const { return items.empty(); }
    /// How many values it takes.
    std::size_t width() const;
    void assign(const Row& row, Frame& frame) const;
    /// Empties the collections of BULK COLLECT.
    void clear(Frame& frame) const;
    void append(const Row& row, Frame& frame) const;
};

class Assignment : public Statement {
  public:
    Assignment(unsigned line, ExpressionPtr target, ExpressionPtr value)
        : Statement(line),
          m_target(std::move(target)),
          m_value(std::move(value)) {}
    Flow run(Frame& frame) const override;

  private:
    ExpressionPtr m_target;
    ExpressionPtr m_value;
};

/// IF, and CASE as a statement.
class If : public Statement {
  public:
    struct Branch {
        ExpressionPtr condition;
        Statements statements;
    };
    enum class Otherwise : std::uint8_t { nothing, statements, case_not_found };
    If(unsigned line, std::vector<Branch> branches, Otherwise otherwise, Statements last)
        : Statement(line),
          m_branches(std::move(branches)),
          m_otherwise(otherwise),
          m_last(std::move(last)) {}
    Flow run(Frame& frame) const override;

  private:
    std::vector<Branch> m_branches;
    Otherwise m_otherwise;
    Statements m_last;
};

/// What all loops have: statements that run again and again until something ends them.
class Loop : public Statement {
  public:
    /// @param number  of the loop, from 1
    Loop(unsigned line, unsigned number) : Statement(line), m_number(number) {}
    Statements statements;

  protected:
    /// Runs the statements once. @return whether the loop goes on; otherwise `ended` tells how it ended
    bool turn(Frame& frame, Flow& ended) const;

  private:
    unsigned m_number;
};

/// LOOP and WHILE
class ConditionLoop : public Loop {
  public:
    ConditionLoop(unsigned line, unsigned number, ExpressionPtr condition)
        : Loop(line, number),
          m_condition(std::move(condition)) {}
    Flow run(Frame& frame) const override;

  private:
    ExpressionPtr m_condition; ///< null: no end
};

class RangeLoop : public Loop {
  public:
    RangeLoop(unsigned line, unsigned number, unsigned slot, bool reverse, ExpressionPtr low, ExpressionPtr high)
        : Loop(line, number),
          m_slot(slot),
          m_reverse(reverse),
          m_low(std::move(low)),
          m_high(std::move(high)) {}
    Flow run(Frame& frame) const override;

  private:
    unsigned m_slot;
    bool m_reverse;
    ExpressionPtr m_low;
    ExpressionPtr m_high;
};

/// How a cursor is opened: by its declaration, or with a query of its own.
struct Opening {
    std::shared_ptr<CursorDeclaration> declared; ///< null: the query
    ExpressionPtr variable;                      ///< of a declared one: where it stands open
    ExpressionList arguments;
    std::shared_ptr<SqlText> query;

    std::shared_ptr<OpenCursor> open(Frame& frame) const;
    Frame& home(Frame& frame) const;
    unsigned levels_up = 0;
    Unit* package = nullptr;
};

class QueryLoop : public Loop {
  public:
    QueryLoop(unsigned line, unsigned number, unsigned slot, TypePtr row, Opening opening)
        : Loop(line, number),
          m_slot(slot),
          m_row(std::move(row)),
          m_opening(std::move(opening)) {}
    Flow run(Frame& frame) const override;

  private:
    unsigned m_slot;
    TypePtr m_row;
    Opening m_opening;
};

class Label : public Statement {
  public:
    Label(unsigned line, unsigned number) : Statement(line), m_number(number) {}
    Flow run(Frame&) const override { return Flow::next; }
    unsigned label() const override { return m_number; }

  private:
    unsigned m_number;
};

class Goto : public Statement {
  public:
    Goto(unsigned line, unsigned label) : Statement(line), m_label(label) {}
    Flow run(Frame& frame) const override;

  private:
    unsigned m_label;
};

/// EXIT and CONTINUE
class LeaveLoop : public Statement {
  public:
    LeaveLoop(unsigned line, Flow flow, unsigned loop, ExpressionPtr condition)
        : Statement(line),
          m_flow(flow),
          m_loop(loop),
          m_condition(std::move(condition)) {}
    Flow run(Frame& frame) const override;

  private:
    Flow m_flow;
    unsigned m_loop;
    ExpressionPtr m_condition;
};

class NestedBlock : public Statement {
  public:
    NestedBlock(unsigned line, Body body) : Statement(line), m_body(std::move(body)) {}
    Flow run(Frame& frame) const override { return m_body.run(frame); }

  private:
    Body m_body;
};

/// A call, or any other thing that is done by evaluating it. Nothing at all for NULL.
class Evaluation : public Statement {
  public:
    Evaluation(unsigned line, ExpressionPtr what) : Statement(line), m_what(std::move(what)) {}
    Flow run(Frame& frame) const override {
        if (m_what) m_what->datum(frame);
        return Flow::next;
    }

  private:
    ExpressionPtr m_what;
};

class Return : public Statement {
  public:
    Return(unsigned line, ExpressionPtr value) : Statement(line), m_value(std::move(value)) {}
    Flow run(Frame& frame) const override;

  private:
    ExpressionPtr m_value;
};

class Raise : public Statement {
  public:
    /// @param exception  null: what the handler was entered for
    Raise(unsigned line, const ExceptionName* exception) : Statement(line), m_exception(exception) {}
    Flow run(Frame& frame) const override;

  private:
    const ExceptionName* m_exception;
};

class SqlStatement : public Statement {
  public:
    SqlStatement(unsigned line, std::shared_ptr<SqlSource> text, bool query, Into into)
        : Statement(line),
          m_text(std::move(text)),
          m_query(query),
          m_into(std::move(into)) {}
    Flow run(Frame& frame) const override;
    /// Runs it for one index of FORALL. @return rows changed
    std::int64_t run_once(Frame& frame) const;
    const Into& into() const { return m_into; }

  private:
    std::shared_ptr<SqlSource> m_text;
    bool m_query;
    Into m_into;
};

/// The indexes that FORALL runs over: a range, INDICES OF a collection or VALUES OF one.
struct ForAllIndexes {
    ExpressionPtr collection; ///< null: all of the range
    bool values = false;
    ExpressionPtr low; ///< null: from the first one
    ExpressionPtr high;

    std::vector<std::int64_t> find(Frame& frame) const;
};

class ForAll : public Statement {
  public:
    ForAll(unsigned line, unsigned slot, ForAllIndexes indexes, bool saves_exceptions,
           std::unique_ptr<SqlStatement> statement)
        : Statement(line),
          m_slot(slot),
          m_indexes(std::move(indexes)),
          m_saves_exceptions(saves_exceptions),
          m_statement(std::move(statement)) {}
    Flow run(Frame& frame) const override;

  private:
    unsigned m_slot;
    ForAllIndexes m_indexes;
    bool m_saves_exceptions;
    std::unique_ptr<SqlStatement> m_statement;
};

class Open : public Statement {
  public:
    Open(unsigned line, ExpressionPtr cursor, Opening opening)
        : Statement(line),
          m_cursor(std::move(cursor)),
          m_opening(std::move(opening)) {}
    Flow run(Frame& frame) const override;

  private:
    ExpressionPtr m_cursor;
    Opening m_opening;
};

class Fetch : public Statement {
  public:
    Fetch(unsigned line, ExpressionPtr cursor, Into into, ExpressionPtr limit)
        : Statement(line),
          m_cursor(std::move(cursor)),
          m_into(std::move(into)),
          m_limit(std::move(limit)) {}
    Flow run(Frame& frame) const override;

  private:
    ExpressionPtr m_cursor;
    Into m_into;
    ExpressionPtr m_limit;
};

class Close : public Statement {
  public:
    Close(unsigned line, ExpressionPtr cursor) : Statement(line), m_cursor(std::move(cursor)) {}
    Flow run(Frame& frame) const override;

  private:
    ExpressionPtr m_cursor;
};

/// COMMIT, ROLLBACK [TO name], SAVEPOINT name
class TransactionControl : public Statement {
  public:
    enum class Action : std::uint8_t { commit, rollback, savepoint, rollback_to };
    TransactionControl(unsigned line, Action action, std::string name)
        : Statement(line),
          m_action(action),
          m_name(std::move(name)) {}
    Flow run(Frame& frame) const override;

  private:
    Action m_action;
    std::string m_name;
};

/// EXECUTE IMMEDIATE, and OPEN ... FOR a text.
class Dynamic : public Statement {
  public:
    struct Argument {
        ExpressionPtr value;
        bool in = true;
        bool out = false;
    };
    Dynamic(unsigned line, ExpressionPtr text, Into into, std::vector<Argument> arguments, ExpressionPtr cursor)
        : Statement(line),
          m_text(std::move(text)),
          m_into(std::move(into)),
          m_arguments(std::move(arguments)),
          m_cursor(std::move(cursor)) {}
    Flow run(Frame& frame) const override;

  private:
    void run_block(const std::string& text, Frame& frame) const;
    void run_sql(const std::string& text, bool query, Frame& frame) const;

    ExpressionPtr m_text;
    Into m_into;
    std::vector<Argument> m_arguments;
    ExpressionPtr m_cursor; ///< of OPEN ... FOR
};

} // namespace oci::plsql
