#pragma once

#include "oci/engine/statement.h"

namespace oci {

/// Runs what is neither a query nor changes rows: it controls the transaction, sets up the session, or defines
/// something.
void execute_other(Session& session, const Statement& statement);

/// Carries out a statement that defines something: it commits what was open, and itself when it succeeds.
void execute_definition(Session& session, const Statement& statement);

} // namespace oci
