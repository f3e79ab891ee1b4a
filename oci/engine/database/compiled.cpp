#include "oci/engine/database/compiled.h"

#include <sqlite3.h>

namespace oci {

void Finalizer::operator()(sqlite3_stmt* statement) const {
    sqlite3_finalize(statement);
}

} // namespace oci
