#pragma once

#include "oci/engine/session/session.h"

namespace oci {

/// The error of a statement that has just failed: where a constraint stands behind it, the error names the constraint,
/// or the column that must not be NULL.
OracleError statement_failure(Session& session, sqlite3_stmt* failed);

/// Ends a change of rows that has just failed. Keys have to hold when a statement is through, but SQLite asks for it
/// row by row: where that is why an update failed, it is carried out all the same.
/// @param table  stored name of the table that it changes
/// @throws what statement_failure tells, where the change does not hold
void finish_failed_change(Session& session, sqlite3_stmt* failed, std::string_view table);

/// The error of a COMMIT, which fails where a deferred constraint does not hold.
/// @pre the transaction is still open
OracleError commit_failure(Session& session);

} // namespace oci
