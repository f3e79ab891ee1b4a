#pragma once

#include "oci/engine/statements/statement.h"

namespace oci {

/// Runs what is neither a query nor changes rows: it controls the transaction, sets up the session, or defines
/// something.
void execute_other(Session& session, const Statement& statement);

} // namespace oci
