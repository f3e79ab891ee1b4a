#pragma once

#include <memory>

#include <oci.h>

class DTK_Blob;
class _DTK_Blob;

namespace dtk::oracle {

/// @return null when the service context cannot name its environment
OCIEnv* environmentOf(OCISvcCtx* serviceContext, OCIError* errorHandle);

/// @return whether `locator` was set to a new one, which the caller owns
bool allocateLocator(OCIEnv* environment, OCILobLocator*& locator);

/// Makes the locator a temporary BLOB that lasts as long as the session. @return whether OCI did
bool createTemporary(OCISvcCtx* serviceContext, OCIError* errorHandle, OCILobLocator* locator);

/// @throws DTK_Exception 602
std::unique_ptr<_DTK_Blob> makeTemporaryBlob(OCIEnv* environment, OCISvcCtx* serviceContext, OCIError* errorHandle);

/// Gives the handle the object in place of what it held.
void attach(DTK_Blob& handle, std::unique_ptr<_DTK_Blob> blob);

} // namespace dtk::oracle
