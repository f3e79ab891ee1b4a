#pragma once

#include "oci/engine/buffers/binds.h"
#include "oci/engine/statements/rows.h"
#include "oci/engine/statements/statement.h"

namespace oci {

/// A statement on its way through a session: what its placeholders and columns are bound to, and the rows of its query.
class Cursor {
  public:
    Cursor(Session& session, std::unique_ptr<Statement> statement);

    Session& session() const { return m_session; }
    Statement& statement() const { return *m_statement; }
    /// Closes the cursor, which then is good for nothing more.
    std::unique_ptr<Statement> give_up_statement();

    /// ORA-01036 when there is no such placeholder.
    void check_placeholder(unsigned position) const;
    void bind(unsigned position, const Buffer& buffer) { m_binds.set(position, buffer); }
    /// ORA-01007 when there is no such column.
    void check_column(unsigned position) const;
    void define(unsigned position, const Buffer& buffer);
    const Binds& binds() const { return m_binds; }

    /// Runs the iterations from `first` on; a query to its first row.
    void execute(ub4 iterations, ub4 first);
    /// Fetches up to so many rows. @return false when the query ended before.
    bool fetch(ub4 rows);
    void close();

    /// Has it been executed as a query, so that its columns are known?
    bool described() const { return m_described; }
    ub4 row_count() const { return m_row_count; }
    ub4 rows_fetched() const { return m_rows_fetched; }

  private:
    void compile();
    void execute_query();
    void execute_dml(ub4 iterations, ub4 first);
    void run_iteration(ub4 iteration);
    void run_returning(ub4 iteration);
    void run_actions(ub4 iteration);
    void take_returned(sqlite3_stmt* row, ub4 iteration);
    void bind_inputs(ub4 iteration, Input::Lifetime needed);

    bool fetch_row(ub4 index);
    void prepare_fetch();
    void close_fetch();
    void fetch_large_objects(ub4 index);
    void attach_to_row(const Buffer& buffer, ub4 index, sqlite3_stmt* row, int column) const;

    Session& m_session;
    std::unique_ptr<Statement> m_statement;
    Binds m_binds;
    Defines m_defines;
    Rows m_rows;
    bool m_described = false;
    bool m_at_end = false;              ///< the end of the query has been reported
    bool m_fetch_prepared = false;      ///< described, not at its end and its outputs made: fetches need not look
    unsigned long long m_locked_in = 0; ///< of FOR UPDATE the transaction that holds the rows' lock, with which it ends
    ub4 m_rows_fetched = 0;
    ub4 m_row_count = 0;
};

} // namespace oci
