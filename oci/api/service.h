#pragma once

#include "oci/api/environment.h"
#include "oci/engine/session/session.h"

struct OCISvcCtx : oci::Handle {
    static constexpr ub4 code = OCI_HTYPE_SVCCTX;

    std::unique_ptr<oci::Session> session;   ///< null while not logged on
    std::unordered_set<OCIStmt*> statements; ///< the statement handles that are in use on the session
};

namespace oci {

/// The session of a service context; ORA-01012 when it is not logged on.
Session& session_of(OCISvcCtx* service);

void release(OCISvcCtx& service);

} // namespace oci
