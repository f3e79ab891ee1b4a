#pragma once

#include <memory>

#include <oci.h>

#include "dtk/foundation/DTK_Guard.h"
#include "dtk/foundation/DTK_Mutex.h"

class DTK_String;

namespace dtk::oracle {

using MutexGuard = DTK_Guard<DTK_Mutex, bool, &DTK_Mutex::mb_lock, &DTK_Mutex::mb_unlock>;

struct ServiceContextDeleter {
    void operator()(OCISvcCtx* serviceContext) const { OCIHandleFree(serviceContext, OCI_HTYPE_SVCCTX); }
};

/// A service context that nobody has taken over yet.
using ServiceContext = std::unique_ptr<OCISvcCtx, ServiceContextDeleter>;

/// @throws DTK_Exception 500
ServiceContext allocateServiceContext(OCIEnv* environment);

/// @return OCI's status
sword logOn(OCIEnv* environment, OCIError* errorHandle, ServiceContext& serviceContext, const DTK_String& user,
            const DTK_String& password, const DTK_String& database);

/// Logs a session off and frees it; failures are ignored.
void logOff(OCISvcCtx* serviceContext, OCIError* errorHandle);

/// Does away with a session that may hold unfinished work: a logoff would commit it, so it is rolled back first.
void discard(OCISvcCtx* serviceContext, OCIError* errorHandle);

} // namespace dtk::oracle
