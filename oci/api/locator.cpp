#include "oci/api/locator.h"

#include "oci/api/service.h"

namespace oci {
namespace {

OCILobLocator& readable(OCILobLocator* locator) {
    OCILobLocator& handle = live<OCILobLocator>(locator);
    if (!handle.object.initialised()) throw OracleError(error::invalid_locator);
    return handle;
}

void unpin(OCILobLocator& locator) noexcept {
    if (--locator.pins == 0 && locator.self == nullptr) Slab<OCILobLocator>::give_back(locator);
}

/// A locator that was freed while a define fetches into it, ready for the next row.
void revive(OCILobLocator& locator) {
    {
        const std::lock_guard lock(locator.env->mutex);
        locator.env->owned.insert(&locator);
    }
    locator.self = &locator;
}

} // namespace

void release(OCILobLocator& locator) noexcept {
    locator.object.clear();
    locator.self = nullptr;
    if (locator.pins == 0) Slab<OCILobLocator>::give_back(locator);
}

OCILobLocator* Locators::locator(ub4 index) const {
    void** const element = m_elements + index;
    if (*element != nullptr) return static_cast<OCILobLocator*>(*element);
    return is_live<OCILobLocator>(element) ? reinterpret_cast<OCILobLocator*>(element) : nullptr;
}

LargeObject& BoundLocators::at(ub4 index) {
    OCILobLocator* handle = locator(index);
    if (!is_live<OCILobLocator>(handle)) throw OracleError(error::invalid_locator);
    return handle->object;
}

LargeObject& DefinedLocators::to_fill(ub4 index) {
    OCILobLocator* handle = locator(index);
    if (m_pinned.size() <= index) m_pinned.resize(index + 1, nullptr);
    OCILobLocator*& pinned = m_pinned[index];
    if (handle != pinned) {
        if (handle != nullptr) ++handle->pins;
        if (pinned != nullptr) unpin(*pinned);
        pinned = handle;
    }
    if (handle == nullptr) throw OracleError(error::invalid_locator);
    if (!is_live<OCILobLocator>(handle)) revive(*handle);
    return handle->object;
}

void DefinedLocators::let_go() noexcept {
    for (OCILobLocator* handle : m_pinned) {
        if (handle != nullptr) unpin(*handle);
    }
    m_pinned.clear();
}

} // namespace oci

using namespace oci;

sword OCIDescriptorAlloc(const void* parenth, void** descpp, ub4 type, size_t, void**) {
    return guarded(nullptr, [&]() -> sword {
        OCIEnv& env = live<OCIEnv>(const_cast<void*>(parenth));
        if (type != OCI_DTYPE_LOB) return OCI_INVALID_HANDLE;
        *descpp = &allocate<OCILobLocator>(env);
        return OCI_SUCCESS;
    });
}

sword OCIDescriptorFree(void* descp, ub4 type) {
    return guarded(nullptr, [&]() -> sword {
        if (type != OCI_DTYPE_LOB) return OCI_INVALID_HANDLE;
        free_owned(descp, type);
        return OCI_SUCCESS;
    });
}

sword OCILobCreateTemporary(OCISvcCtx* svchp, OCIError* errhp, OCILobLocator* locp, ub2, ub1, ub1 lobtype, boolean,
                            OCIDuration) {
    return guarded(errhp, [&]() -> sword {
        session_of(svchp);
        OCILobLocator& locator = live<OCILobLocator>(locp);
        if (lobtype != OCI_TEMP_BLOB && lobtype != OCI_TEMP_CLOB) throw OracleError(error::illegal_lob_parameter);
        locator.object.make_temporary(lobtype == OCI_TEMP_CLOB);
        return OCI_SUCCESS;
    });
}

sword OCILobFreeTemporary(OCISvcCtx*, OCIError* errhp, OCILobLocator* locp) {
    return guarded(errhp, [&]() -> sword {
        live<OCILobLocator>(locp).object.free_temporary();
        return OCI_SUCCESS;
    });
}

sword OCILobRead(OCISvcCtx* svchp, OCIError* errhp, OCILobLocator* locp, ub4* amtp, ub4 offset, void* bufp, ub4 bufl,
                 void*, sb4 (*)(void*, const void*, ub4, ub1), ub2, ub1) {
    return guarded(errhp, [&]() -> sword {
        Session& session = session_of(svchp);
        const OCILobLocator& locator = readable(locp);
        if (offset == 0 || amtp == nullptr) throw OracleError(error::illegal_lob_parameter);
        // An amount of 0 asks for everything, as far as the buffer reaches.
        const ub4 wanted = *amtp == 0 || *amtp > bufl ? bufl : *amtp;
        *amtp = static_cast<ub4>(locator.object.read(session, offset - 1, bufp, wanted));
        return OCI_SUCCESS;
    });
}

sword OCILobWrite(OCISvcCtx* svchp, OCIError* errhp, OCILobLocator* locp, ub4* amtp, ub4 offset, void* bufp, ub4 buflen,
                  ub1 piece, void*, sb4 (*)(void*, void*, ub4*, ub1*), ub2, ub1) {
    return guarded(errhp, [&]() -> sword {
        Session& session = session_of(svchp);
        OCILobLocator& locator = readable(locp);
        if (offset == 0 || amtp == nullptr || piece != OCI_ONE_PIECE || *amtp > buflen)
            throw OracleError(error::illegal_lob_parameter);
        locator.object.write(session, offset - 1, bufp, *amtp);
        return OCI_SUCCESS;
    });
}

sword OCILobGetLength(OCISvcCtx* svchp, OCIError* errhp, OCILobLocator* locp, ub4* lenp) {
    return guarded(errhp, [&]() -> sword {
        session_of(svchp);
        *lenp = static_cast<ub4>(readable(locp).object.size_bytes());
        return OCI_SUCCESS;
    });
}

sword OCILobGetChunkSize(OCISvcCtx* svchp, OCIError* errhp, OCILobLocator* locp, ub4* chunksizep) {
    constexpr ub4 chunk_size_bytes = 8132; // what a block of 8 KiB leaves for a large object's data
    return guarded(errhp, [&]() -> sword {
        session_of(svchp);
        readable(locp);
        *chunksizep = chunk_size_bytes;
        return OCI_SUCCESS;
    });
}

sword OCILobIsEqual(OCIEnv*, const OCILobLocator* x, const OCILobLocator* y, boolean* is_equal) {
    return guarded(nullptr, [&]() -> sword {
        const OCILobLocator& a = live<OCILobLocator>(x);
        const OCILobLocator& b = live<OCILobLocator>(y);
        *is_equal = &a == &b || a.object.same_row(b.object) ? 1 : 0;
        return OCI_SUCCESS;
    });
}

sword OCILobLocatorIsInit(OCIEnv*, OCIError* errhp, const OCILobLocator* locp, boolean* is_initialized) {
    return guarded(errhp, [&]() -> sword {
        *is_initialized = live<OCILobLocator>(locp).object.initialised() ? 1 : 0;
        return OCI_SUCCESS;
    });
}

sword OCILobFlushBuffer(OCISvcCtx* svchp, OCIError* errhp, OCILobLocator* locp, ub4) {
    return guarded(errhp, [&]() -> sword {
        session_of(svchp);
        readable(locp); // nothing is buffered: every write has gone through
        return OCI_SUCCESS;
    });
}
