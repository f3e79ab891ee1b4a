#pragma once

#include <oci.h>

#include "dtk/foundation/DTK_String.h"
#include "dtk/foundation/ORCL_Exception.h"

namespace dtk::oracle {

/// What the OCI calls of a statement and its result sets work on. Owned by others.
struct Handles {
    OCIStmt* statement;
    OCIError* error;
    OCISvcCtx* session;
};

/// Turns every status but success into an ORCL_Exception.
inline void check(sword status, OCIError* errorHandle) {
    if (status != OCI_SUCCESS) throw ORCL_Exception(errorHandle);
}

/// Drops a status on purpose.
inline void ignore(sword) {}

inline const OraText* oraText(const DTK_String& string) {
    return reinterpret_cast<const OraText*>(string.c_str());
}

/// Runs an operation so that its failures leave it as a plain DTK_Exception, never as the subclass ORCL_Exception.
template <typename Operation> auto withPlainException(Operation&& operation) -> decltype(operation()) {
    try {
        return operation();
    } catch (const DTK_Exception& failure) {
        throw DTK_Exception(failure);
    }
}

} // namespace dtk::oracle
