#pragma once

#include "oci/engine/statements/program.h"

#include <deque>
#include <string_view>
#include <vector>

namespace oci {

/// A query or a statement that changes rows, as a block runs it: compiled once, run with a value for each position.
class InnerStatement {
  public:
    /// @param variables  what its names and placeholders mean where they are no columns
    InnerStatement(Session& session, std::string_view text, sql::Variables& variables);

    bool is_query() const { return m_query; }
    bool locks_rows() const { return m_program.translation.for_update; }
    const std::vector<sql::ResultColumn>& columns() const { return m_program.translation.columns; }
    /// The positions that RETURNING ... INTO or SELECT ... INTO fill.
    const std::vector<unsigned>& into() const { return m_program.translation.into; }
    /// Has DDL come between?
    bool is_outdated() const { return !m_program.is_current(m_session); }

    /// Makes the value fit what the position stands for. It is used until the statement is reset, and not copied.
    void bind(unsigned position, const Value& value);
    /// Starts a transaction where the statement needs one. @return false at the end of its rows.
    bool step();
    /// Of the row that step() went to.
    Value column(std::size_t index) const;
    /// The number of the row in the table that FOR UPDATE locks.
    std::int64_t locked_row() const;
    const std::string& locked_table() const { return m_program.translation.locked_table; }
    /// Rows changed by the last run.
    std::int64_t changes() const { return m_changes; }
    void reset();

  private:
    void start();
    void act();
    bool step_returned();
    void settle_failure();

    Session& m_session;
    Program m_program;
    bool m_query = false;
    bool m_started = false;
    std::deque<std::string> m_fitted; ///< what bound values needed to fit, by position - 1
    std::int64_t m_changes = 0;
    std::vector<std::vector<OwnedValue>> m_returned; ///< what RETURNING gave of a statement carried out row by row
    std::size_t m_returned_at = 0;                   ///< the row that step() went to, from 1
};

} // namespace oci
