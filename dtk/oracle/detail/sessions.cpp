#include "dtk/oracle/detail/sessions.h"

#include "dtk/oracle/detail/oci.h"

namespace dtk::oracle {

namespace {

OCISvcCtx* allocateServiceContext(OCIEnv* environment) {
    void* handle = nullptr;
    if (OCIHandleAlloc(environment, &handle, OCI_HTYPE_SVCCTX, 0, nullptr) != OCI_SUCCESS) {
        throw DTK_Exception(error::connection_handles_failed);
    }
    return static_cast<OCISvcCtx*>(handle);
}

// A successful logoff frees the service context itself.
void logOff(OCISvcCtx* session, OCIError* errorHandle) {
    if (OCILogoff(session, errorHandle) < OCI_SUCCESS) ignore(OCIHandleFree(session, OCI_HTYPE_SVCCTX));
}

} // namespace

Logon::Logon(OCIEnv* environment, OCIError* errorHandle, const DTK_String& user, const DTK_String& password,
             const DTK_String& database)
    : m_session(allocateServiceContext(environment)),
      m_errorHandle(errorHandle) {
    OCISvcCtx* const allocated = m_session;
    m_status = OCILogon2(environment, errorHandle, &m_session, oraText(user), user.mb_length(), oraText(password),
                         password.mb_length(), oraText(database), database.mb_length(), OCI_DEFAULT);
    // A client may put a context of its own in the place of the one it is given.
    if (m_status < OCI_SUCCESS) m_session = allocated;
    if (m_session != allocated) ignore(OCIHandleFree(allocated, OCI_HTYPE_SVCCTX));
}

// The logoff of a context that was never logged on is kept for one that OCI does not free.
Logon::~Logon() {
    if (!m_session) return;
    if (m_status >= OCI_SUCCESS)
        logOff(m_session, m_errorHandle);
    else if (OCIHandleFree(m_session, OCI_HTYPE_SVCCTX) != OCI_SUCCESS)
        ignore(OCILogoff(m_session, m_errorHandle));
}

void discard(OCISvcCtx* session, OCIError* errorHandle) {
    ignore(OCITransRollback(session, errorHandle, OCI_DEFAULT));
    logOff(session, errorHandle);
}

} // namespace dtk::oracle
