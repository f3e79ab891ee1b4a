#include "dtk/oracle/locators.h"

#include "dtk/oracle/DTK_Blob.h"
#include "dtk/oracle/OwnedLocator.h"
#include "dtk/oracle/_DTK_Blob.h"
#include "dtk/oracle/check.h"

namespace dtk::oracle {

namespace {

// Any value but 0 asks for caching; this one is what the database has always been given.
constexpr boolean cacheTemporary = 87;

} // namespace

void LocatorDeleter::operator()(OCILobLocator* locator) const {
    ignore(OCIDescriptorFree(locator, OCI_DTYPE_LOB));
}

OCIEnv* environmentOf(OCISvcCtx* serviceContext, OCIError* errorHandle) {
    OCIEnv* environment = nullptr;
    const sword status = OCIAttrGet(serviceContext, OCI_HTYPE_SVCCTX, &environment, nullptr, OCI_ATTR_ENV, errorHandle);
    return status == OCI_SUCCESS ? environment : nullptr;
}

bool allocateLocator(OCIEnv* environment, OCILobLocator*& locator) {
    void* descriptor = nullptr;
    if (OCIDescriptorAlloc(environment, &descriptor, OCI_DTYPE_LOB, 0, nullptr) != OCI_SUCCESS) return false;
    locator = static_cast<OCILobLocator*>(descriptor);
    return true;
}

bool createTemporary(OCISvcCtx* serviceContext, OCIError* errorHandle, OCILobLocator* locator) {
    return OCILobCreateTemporary(serviceContext, errorHandle, locator, 0, SQLCS_IMPLICIT, OCI_TEMP_BLOB, cacheTemporary,
                                 OCI_DURATION_SESSION) == OCI_SUCCESS;
}

std::unique_ptr<_DTK_Blob> makeTemporaryBlob(OCIEnv* environment, OCISvcCtx* serviceContext, OCIError* errorHandle) {
    auto blob = std::make_unique<_DTK_Blob>();
    blob->mb_initialize(environment, serviceContext, errorHandle, true);
    return blob;
}

void attach(DTK_Blob& handle, std::unique_ptr<_DTK_Blob> blob) {
    handle.mb_init(blob.get());
    static_cast<void>(blob.release());
}

} // namespace dtk::oracle
