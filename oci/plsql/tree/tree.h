#pragma once

#include "oci/plsql/datum.h"
#include "oci/plsql/failure.h"
#include "oci/sql/arena.h"
#include "oci/sql/token.h"

#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

// What a block or stored unit is turned into once: nodes that run themselves over a frame.
namespace oci::plsql {

class Runtime;
class Statement;
struct Frame;
struct Routine;
struct Scope;
struct Unit;

class Expression {
  public:
    explicit Expression(TypePtr type) : m_type(std::move(type)) {}
    virtual ~Expression() = default;
    Expression(const Expression&) = delete;
    Expression& operator=(const Expression&) = delete;

    const TypePtr& type() const { return m_type; }
    /// Of a scalar.
    virtual OwnedValue value(Frame& frame) const { return datum(frame).value(); }
    /// Of anything.
    virtual Datum datum(Frame& frame) const { return Datum(value(frame)); }
    /// Where it is kept, of what is kept; elements that are not there are ORA-01403.
    virtual const Datum& stored(Frame& frame) const;
    virtual bool is_stored() const { return false; }
    /// Can it be assigned to?
    virtual bool is_variable() const { return false; }
    /// Where it is kept, to be changed; an element that is not there is made.
    virtual Datum& place(Frame& frame) const;
    virtual void assign(Frame& frame, Datum value) const { store(place(frame), std::move(value), *type()); }

  protected:
    TypePtr m_type;
};
using ExpressionPtr = std::shared_ptr<const Expression>;
using ExpressionList = std::vector<ExpressionPtr>;

/// How a statement ended.
enum class Flow : std::uint8_t { next, exit, repeat, jump, leave };

class Statement {
  public:
    explicit Statement(unsigned line) : m_line(line) {}
    virtual ~Statement() = default;
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    unsigned line() const { return m_line; }
    virtual Flow run(Frame& frame) const = 0;
    /// Of a label: the number that GOTO has for it; else 0.
    virtual unsigned label() const { return 0; }

  private:
    const unsigned m_line;
};
using StatementPtr = std::unique_ptr<const Statement>;
using Statements = std::vector<StatementPtr>;

Flow run_all(const Statements& statements, Frame& frame);

/// A variable as its declaration is carried out, each time its block is entered.
struct VariableSetup {
    unsigned slot;
    TypePtr type;
    ExpressionPtr initial;
    unsigned line;
};

struct Handler {
    std::vector<const ExceptionName*> names; ///< empty: OTHERS
    Statements statements;
};

/// What stands between DECLARE or BEGIN and END.
struct Body {
    std::vector<VariableSetup> variables;
    Statements statements;
    std::vector<Handler> handlers;

    Flow run(Frame& frame) const;

  private:
    Flow handle(Frame& frame, Failure& failure) const;
};

struct Parameter {
    std::string name;
    bool in = true;
    bool out = false;
    TypePtr type;
    ExpressionPtr initial; ///< null: has to be given
};

/// A procedure, a function, an anonymous block, the cursor of a declaration or the code that sets up a package.
struct Routine {
    std::string name;
    Unit* unit = nullptr;
    unsigned level = 1; ///< how many frames enclose its own; a package's is 0
    unsigned slots = 0;
    std::vector<Parameter> parameters; ///< in the first slots
    TypePtr result;                    ///< null: a procedure
    Body body;
    bool defined = false;    ///< its body has been read
    bool autonomous = false; ///< it has a transaction of its own
};

/// The variables of one run of a routine, or of a package in a session.
struct Frame {
    Frame(Runtime& session, const Routine& what, Frame* enclosing)
        : runtime(session),
          routine(what),
          outer(enclosing),
          slots(what.slots) {}

    /// Null behind the outermost.
    Frame* enclosing(unsigned levels) {
        Frame* frame = this;
        for (; levels > 0; --levels) frame = frame->outer;
        return frame;
    }
    Frame& up(unsigned levels) { return *enclosing(levels); }

    Runtime& runtime;
    const Routine& routine;
    Frame* const outer; ///< of the routine that this one's text stands in
    std::vector<Datum> slots;
    Datum result;
    unsigned line = 0;                ///< of the statement that runs
    unsigned target = 0;              ///< the loop that EXIT or CONTINUE means, 0: the innermost; GOTO's label
    const Failure* handled = nullptr; ///< what the handler that runs was entered for
};

/// When a trigger fires.
struct TriggerHead {
    enum class Timing : std::uint8_t { before, after };

    Timing timing{};
    bool for_each_row = false;
    bool enabled = true;
    bool inserts = false;
    bool updates = false;
    bool removes = false;
    std::vector<std::string> columns; ///< of UPDATE OF; empty: any
    std::string table;
    std::string new_name = "NEW";
    std::string old_name = "OLD";
    TypePtr row;                      ///< of :NEW and :OLD
    ExpressionPtr when;               ///< null: always
    std::vector<std::string> follows; ///< other triggers that fire before it
    /// Of a compound trigger: what is done at each of Language::Timing. Its variables live as long as the statement.
    std::vector<std::optional<Body>> sections;

    // Where its block finds what it looks at.
    static constexpr unsigned new_slot = 0;
    static constexpr unsigned old_slot = 1;
    static constexpr unsigned event_slot = 2; ///< INSERTING, UPDATING, DELETING
    static constexpr unsigned slots = 5;
};

/// A text that was read: an anonymous block, or what CREATE has made.
struct Unit {
    enum class Kind : std::uint8_t { block, procedure, function, package, package_body, trigger };

    Kind kind = Kind::block;
    std::string name; ///< without an owner
    std::string text;
    std::deque<Routine> routines; ///< all that stand in it; the first one is its own, or a package's set-up
    std::deque<ExceptionName> exceptions;
    std::vector<std::shared_ptr<Scope>> scopes;       ///< the first one has the names that are seen from outside
    std::vector<std::string> placeholders;            ///< names by position - 1
    std::set<std::string> uses;                       ///< names of other units
    std::map<std::string, std::vector<Field>> tables; ///< what %TYPE and %ROWTYPE took for their columns
    bool body_loaded = false;                         ///< of a package
    std::unique_ptr<TriggerHead> trigger;
    unsigned lines_before = 0; ///< that do not count: a trigger's begin with its block

    unsigned line_of(sql::Offset at) const;
};

} // namespace oci::plsql
