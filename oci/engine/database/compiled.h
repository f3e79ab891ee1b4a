#pragma once

#include "oci/engine/database/sqlite_error.h"

#include <memory>

namespace oci {

struct Finalizer {
    void operator()(sqlite3_stmt* statement) const;
};
/// A statement of SQLite's.
using Compiled = std::unique_ptr<sqlite3_stmt, Finalizer>;

} // namespace oci
