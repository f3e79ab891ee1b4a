#pragma once

#include <oci.h>

class DTK_String;

namespace dtk::oracle {

/// An attempt to log on. What nobody takes over goes with it: a session is logged off, a service context freed.
class Logon {
  public:
    /// @throws DTK_Exception 500 no service context could be allocated
    Logon(OCIEnv* environment, OCIError* errorHandle, const DTK_String& user, const DTK_String& password,
          const DTK_String& database);
    Logon(const Logon&) = delete;
    Logon& operator=(const Logon&) = delete;
    ~Logon();

    /// False also when OCI warns: there is a session then, but it is not used.
    bool isAccepted() const { return m_status == OCI_SUCCESS; }

    OCISvcCtx* session() const { return m_session; }

    /// The session is the caller's from now on.
    void release() { m_session = nullptr; }

  private:
    OCISvcCtx* m_session;
    OCIError* m_errorHandle;
    sword m_status;
};

/// Does away with a session that may hold unfinished work: a logoff would commit it, so it is rolled back first.
/// Failures are ignored.
void discard(OCISvcCtx* session, OCIError* errorHandle);

} // namespace dtk::oracle
