#include "dtk/oracle/sessions.h"

#include "dtk/oracle/check.h"

namespace dtk::oracle {

ServiceContext allocateServiceContext(OCIEnv* environment) {
    void* handle = nullptr;
    if (OCIHandleAlloc(environment, &handle, OCI_HTYPE_SVCCTX, 0, nullptr) != OCI_SUCCESS) {
        throw DTK_Exception(error::connection_handles_failed);
    }
    return ServiceContext(static_cast<OCISvcCtx*>(handle));
}

// A client may put a context of its own in the place of the one it is given.
sword logOn(OCIEnv* environment, OCIError* errorHandle, ServiceContext& serviceContext, const DTK_String& user,
            const DTK_String& password, const DTK_String& database) {
    OCISvcCtx* session = serviceContext.get();
    const sword status =
        OCILogon2(environment, errorHandle, &session, oraText(user), user.mb_length(), oraText(password),
                  password.mb_length(), oraText(database), database.mb_length(), OCI_DEFAULT);
    if (status >= OCI_SUCCESS && session != serviceContext.get()) serviceContext.reset(session);
    return status;
}

// A successful logoff frees the service context itself.
void logOff(OCISvcCtx* serviceContext, OCIError* errorHandle) {
    if (OCILogoff(serviceContext, errorHandle) < OCI_SUCCESS) ignore(OCIHandleFree(serviceContext, OCI_HTYPE_SVCCTX));
}

void discard(OCISvcCtx* serviceContext, OCIError* errorHandle) {
    ignore(OCITransRollback(serviceContext, errorHandle, OCI_DEFAULT));
    logOff(serviceContext, errorHandle);
}

} // namespace dtk::oracle
