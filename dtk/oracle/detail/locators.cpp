#include "dtk/oracle/detail/locators.h"

#include <utility>

#include "dtk/oracle/DTK_Blob.h"

namespace dtk::oracle {

namespace {

// Any value but 0 asks for caching; this one is what the database has always been given.
constexpr boolean cacheTemporary = 87;

class AdoptedBlob final : public _DTK_Blob {
  public:
    AdoptedBlob(OCILobLocator* locator, OCISvcCtx* session, OCIError* errorHandle) {
        m_locator = locator;
        m_svcCtx = session;
        m_errorHandle = errorHandle;
    }
};

} // namespace

OCIEnv* environmentOf(OCISvcCtx* session, OCIError* errorHandle) {
    OCIEnv* environment = nullptr;
    const sword status = OCIAttrGet(session, OCI_HTYPE_SVCCTX, &environment, nullptr, OCI_ATTR_ENV, errorHandle);
    return status == OCI_SUCCESS ? environment : nullptr;
}

OCIEnv* requireEnvironment(OCISvcCtx* session, OCIError* errorHandle) {
    OCIEnv* environment = environmentOf(session, errorHandle);
    if (!environment) throw ORCL_Exception(errorHandle);
    return environment;
}

OCILobLocator* allocateLocator(OCIEnv* environment) {
    void* descriptor = nullptr;
    const sword status = OCIDescriptorAlloc(environment, &descriptor, OCI_DTYPE_LOB, 0, nullptr);
    return status == OCI_SUCCESS ? static_cast<OCILobLocator*>(descriptor) : nullptr;
}

bool createTemporary(OCISvcCtx* session, OCIError* errorHandle, OCILobLocator* locator) {
    return OCILobCreateTemporary(session, errorHandle, locator, 0, SQLCS_IMPLICIT, OCI_TEMP_BLOB, cacheTemporary,
                                 OCI_DURATION_SESSION) == OCI_SUCCESS;
}

void LocatorDeleter::operator()(OCILobLocator* locator) const {
    ignore(OCIDescriptorFree(locator, OCI_DTYPE_LOB));
}

void TemporaryLocatorDeleter::operator()(OCILobLocator* locator) const {
    ignore(OCILobFreeTemporary(session, errorHandle, locator));
    ignore(OCIDescriptorFree(locator, OCI_DTYPE_LOB));
}

LentBlob::LentBlob(const _DTK_Blob& column, std::shared_ptr<std::atomic<int>> holders)
    : _DTK_Blob(column),
      m_holders(std::move(holders)) {
    ++*m_holders;
}

// One that is not the last leaves the locator to the others: the base class then has none to free.
LentBlob::~LentBlob() {
    if (--*m_holders > 0) m_locator = nullptr;
}

std::unique_ptr<_DTK_Blob> makeTemporaryBlob(OCIEnv* environment, OCISvcCtx* session, OCIError* errorHandle) {
    auto blob = std::make_unique<_DTK_Blob>();
    blob->mb_initialize(environment, session, errorHandle, true);
    return blob;
}

std::unique_ptr<_DTK_Blob> adoptLocator(OCILobLocator* locator, OCISvcCtx* session, OCIError* errorHandle) {
    return std::make_unique<AdoptedBlob>(locator, session, errorHandle);
}

DTK_Blob handleOn(std::unique_ptr<_DTK_Blob> blob) {
    return DTK_Blob(std::move(blob));
}

void attach(DTK_Blob& handle, std::unique_ptr<_DTK_Blob> blob) {
    handle.mb_init(blob.get());
    static_cast<void>(blob.release());
}

} // namespace dtk::oracle
