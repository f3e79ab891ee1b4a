#pragma once

#include "oci/values/errors.h"

struct sqlite3;
struct sqlite3_stmt;

namespace oci {

/// The error of the SQLite call that just failed on this connection.
OracleError sqlite_error(sqlite3* db);
/// The error of the statement that just failed while it ran.
OracleError sqlite_error(sqlite3_stmt* statement);

} // namespace oci
