#pragma once

#include "oci/values/settings.h"
#include "oci/values/work.h"

struct sqlite3;

namespace oci {

/// Makes the SQL functions known to a session's connection. What goes wrong in one is reported through SQLite as the
/// text of an OracleError.
/// @param settings  outlive the connection, as does the work that they count
void register_functions(sqlite3* db, const SessionSettings& settings, Work& work);

} // namespace oci
