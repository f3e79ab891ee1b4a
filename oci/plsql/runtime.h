#pragma once

#include "oci/plsql/tree/tree.h"

#include <map>
#include <random>
#include <set>

namespace oci {
class Session;
}

namespace oci::plsql {

class Library;
struct SharedSql;

/// Where the values of a block's placeholders come from and go to.
class Placeholders {
  public:
    virtual ~Placeholders() = default;
    virtual OwnedValue read(unsigned position) = 0;
    virtual void write(unsigned position, const Value& value) = 0;
};

/// What DBMS_OUTPUT has been given: kept until it is read, but no more than the last megabyte.
class OutputBuffer {
  public:
    void put(std::string_view text) {
        if (enabled) m_line += text;
    }
    void end_line();
    bool take(std::string& line);
    void clear();

    bool enabled = true;

  private:
    std::string m_line;
    std::deque<std::string> m_lines;
    std::size_t m_size = 0; ///< of the lines
};

/// What the blocks of one session share: the units that were read, the state of packages, the last SQL statement.
class Runtime {
  public:
    explicit Runtime(Session& owner);
    ~Runtime();

    /// Calls a routine with the values of expressions of the caller's, and hands its outputs back to them.
    /// @param outer  the frame that the routine's text stands in; null of a unit of its own
    Datum call(const Routine& routine, Frame* outer, const ExpressionList& arguments, Frame& caller);
    /// What a parameter is when nothing is given for it: worked out where the routine stands.
    Datum default_of(const Routine& routine, std::size_t parameter, Frame* outer);
    /// Runs a routine whose parameters are in its frame.
    Datum run(Frame& frame) { return run(frame, frame.routine.body); }
    /// The same of a part of it.
    Datum run(Frame& frame, const Body& body);
    /// As the server names it; nothing of a block.
    std::string name_of(const Unit& unit) const;
    /// Runs a block over values for its placeholders.
    void run_block(const Unit& block, Placeholders& values);
    /// To be called before a statement that changes rows.
    void prepare_to_write();
    /// To be called before and after a statement that ends the transaction, or may.
    void prepare_to_control();
    void transaction_ends();
    /// What is left of a package that was changed or dropped.
    void forget(const Unit& package);
    /// The variables of a package: set up when one is first asked for.
    Frame& state_of(Unit& package);

    Session& session;
    Placeholders* placeholders = nullptr; ///< of the block that runs
    OutputBuffer output;
    std::int64_t row_count = -1;                          ///< SQL%ROWCOUNT; -1: no statement yet
    std::map<std::int64_t, std::int64_t> bulk_row_counts; ///< SQL%BULK_ROWCOUNT, by index
    struct BulkFailure {
        std::int64_t iteration; ///< from 1
        int code;
    };
    std::vector<BulkFailure> bulk_failures; ///< SQL%BULK_EXCEPTIONS
    const Failure* handled = nullptr;       ///< what the innermost handler that runs was entered for
    int depth = 0;
    std::mt19937_64 random{std::random_device{}()}; ///< of DBMS_RANDOM
    std::vector<std::string> changing;              ///< tables whose rows change, while triggers fire for one of them
    std::set<std::string> updated;                  ///< columns that UPDATING('...') asks for
    bool savepoints = false;                        ///< the block that runs has set some, which outlive it
    bool in_trigger = false;                        ///< which does not end the transaction: ORA-04092
    bool in_query = false;                          ///< a function that a query calls changes nothing: ORA-14551
    std::set<OpenCursor*> cursors;                  ///< those that are open

    std::map<std::string, std::weak_ptr<SharedSql>> shared_sql; ///< by text and types of operands

    /// Reads units by name, keeps them, and lets go of those that DDL has changed.
    std::unique_ptr<Library> library;

  private:
    Flow run_autonomous(Frame& frame, const Body& body);

    std::map<const Unit*, std::unique_ptr<Frame>> m_states;
};

} // namespace oci::plsql
