#pragma once

#include "oci/engine/session/session.h"

namespace oci {

/// The error of a statement that has just failed: where a constraint stands behind it, the error names the constraint,
/// or the column that must not be NULL.
OracleError statement_failure(Session& session, sqlite3_stmt* failed);

/// The same of a COMMIT, which fails where a deferred constraint does not hold.
/// @pre the transaction is still open
OracleError commit_failure(Session& session);

} // namespace oci
