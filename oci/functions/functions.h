#pragma once

#include <string>

struct sqlite3;

namespace oci {

/// Makes the SQL functions known to a session's connection. What goes wrong in one is reported through SQLite as the
/// text of an OracleError.
/// @param user  what USER answers; it outlives the connection.
void register_functions(sqlite3* db, const std::string& user);

} // namespace oci
