#pragma once

#include "oci/engine/session/session.h"

#include <exception>
#include <sqlite3.h>
#include <utility>

namespace oci {

/// The rows of a query that runs: those that its statement steps to, or what was left of them when they were moved
/// aside.
class Rows {
  public:
    explicit Rows(Session& session) : m_session(session) {}
    ~Rows() { close(); }
    Rows(const Rows&) = delete;
    Rows& operator=(const Rows&) = delete;

    /// Runs the query to its first row.
    /// @pre closed; the statement outlives the rows
    void open(sqlite3_stmt* query);
    /// Is there a row that next() has not been asked for yet?
    bool row_waits() const { return m_state == State::row; }
    bool closed() const { return m_state == State::closed; }
    /// Goes to the next row. @return false behind the last one.
    bool next() {
        if (m_state == State::between) [[likely]]
            step();
        if (m_state == State::closed) [[unlikely]]
            return ended();
        m_state = State::between;
        return true;
    }
    /// The row that next() went to, or that waits.
    sqlite3_stmt* row() const { return m_rows; }

    /// Leaves the rest in a table of its own and goes on with that: whatever the session writes is not seen, and what
    /// the session does next does not see the old state that the query holds on to. A failure waits for the next row.
    void detach();
    void close();

  private:
    enum class State : unsigned char {
        closed,  ///< not running, or at its end
        row,     ///< stands on a row that next() has not been asked for
        between, ///< has to step to its next row
    };
    struct Closer {
        void operator()(sqlite3* db) const;
    };

    void step() {
        const int status = sqlite3_step(m_rows);
        if (status == SQLITE_ROW) [[likely]] {
            m_state = State::row;
        } else {
            stop(status);
        }
    }
    void stop(int status);
    bool ended();
    void stop_reading();
    void step_aside();
    void move_rest();

    Session& m_session;
    State m_state = State::closed;
    bool m_reading = false; ///< the session counts it as an open query
    sqlite3_stmt* m_query = nullptr;
    sqlite3_stmt* m_rows = nullptr; ///< the query, or where its rest has been moved to
    std::unique_ptr<sqlite3, Closer> m_detached;
    Compiled m_detached_rows;
    std::exception_ptr m_failure; ///< what comes behind the rows of a detached query
};

} // namespace oci
