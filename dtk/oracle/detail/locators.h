#pragma once

#include <atomic>
#include <memory>

#include <oci.h>

#include "dtk/oracle/_DTK_Blob.h"
#include "dtk/oracle/detail/oci.h"

class DTK_Blob;

namespace dtk::oracle {

/// @return null when the service context cannot name its environment
OCIEnv* environmentOf(OCISvcCtx* session, OCIError* errorHandle);

/// @throws ORCL_Exception the service context cannot name its environment
OCIEnv* requireEnvironment(OCISvcCtx* session, OCIError* errorHandle);

/// @return a new locator, which the caller owns; null when OCI has none
OCILobLocator* allocateLocator(OCIEnv* environment);

/// Makes the locator a temporary BLOB that lasts as long as the session. @return whether OCI did
bool createTemporary(OCISvcCtx* session, OCIError* errorHandle, OCILobLocator* locator);

struct LocatorDeleter {
    void operator()(OCILobLocator* locator) const;
};

/// A locator that no handle shares.
using OwnedLocator = std::unique_ptr<OCILobLocator, LocatorDeleter>;

struct TemporaryLocatorDeleter {
    OCISvcCtx* session;
    OCIError* errorHandle;

    void operator()(OCILobLocator* locator) const;
};

/// The locator of a temporary BLOB that no handle has taken over yet.
using TemporaryLocator = std::unique_ptr<OCILobLocator, TemporaryLocatorDeleter>;

/// The BLOB of a column in a caller's hands. Several share the column's locator; the last one to go frees it, although
/// OCI still fetches into it: the result set gives the column a new one before its next fetch.
class LentBlob final : public _DTK_Blob {
  public:
    /// @param holders  the number of BLOBs that share the locator
    LentBlob(const _DTK_Blob& column, std::shared_ptr<std::atomic<int>> holders);
    ~LentBlob() override;

  private:
    std::shared_ptr<std::atomic<int>> m_holders;
};

/// @throws DTK_Exception 602
std::unique_ptr<_DTK_Blob> makeTemporaryBlob(OCIEnv* environment, OCISvcCtx* session, OCIError* errorHandle);

/// A BLOB that takes the locator over.
std::unique_ptr<_DTK_Blob> adoptLocator(OCILobLocator* locator, OCISvcCtx* session, OCIError* errorHandle);

/// The first handle on a BLOB. A function's result is never copied when it is returned as it is made; a named handle
/// might be, and the copy would not count.
DTK_Blob handleOn(std::unique_ptr<_DTK_Blob> blob);

/// Gives the handle the BLOB in place of what it held.
void attach(DTK_Blob& handle, std::unique_ptr<_DTK_Blob> blob);

} // namespace dtk::oracle
