#include "oci/api/handles.h"

#include "oci/engine/lob.h"
#include "oci/engine/session.h"

#include <algorithm>
#include <cstring>

OCISvcCtx::OCISvcCtx() = default;
OCISvcCtx::~OCISvcCtx() = default;

namespace oci {
namespace {

void release(OCIError& error) {
    {
        const std::lock_guard lock(error.mutex);
        error.diagnostics.clear();
    }
    Slab<OCIError>::give_back(error);
}

/// Frees what the kind of the handle says; the environment has let go of it before.
void release_any(Handle& handle) {
    switch (handle.kind) {
    case OCI_HTYPE_ERROR: return release(static_cast<OCIError&>(handle));
    case OCI_HTYPE_SVCCTX: return release(static_cast<OCISvcCtx&>(handle));
    case OCI_DTYPE_LOB: return release(static_cast<OCILobLocator&>(handle));
    default: break;
    }
}

void release_environment(OCIEnv& env) {
    std::unordered_set<Handle*> owned;
    {
        const std::lock_guard lock(env.mutex);
        owned.swap(env.owned);
    }
    // Sessions first: their statements hold on to locators.
    for (Handle* handle : owned) {
        if (handle->kind == OCI_HTYPE_SVCCTX) release_any(*handle);
    }
    for (Handle* handle : owned) {
        if (handle->kind != OCI_HTYPE_SVCCTX) release_any(*handle);
    }
    env.databases.clear();
    Slab<OCIEnv>::give_back(env);
}

/// Takes a handle out of its environment and frees it.
sword free_owned(void* pointer, ub4 kind) {
    auto* handle = static_cast<Handle*>(pointer);
    if (handle == nullptr || handle->self != handle || handle->kind != kind) throw InvalidHandle{};
    {
        const std::lock_guard lock(handle->env->mutex);
        if (handle->env->owned.erase(handle) == 0) throw InvalidHandle{};
    }
    release_any(*handle);
    return OCI_SUCCESS;
}

} // namespace

bool owns(OCIEnv& env, OCISvcCtx* handle) {
    const std::lock_guard lock(env.mutex);
    return env.owned.count(handle) != 0;
}

void release(OCISvcCtx& service) {
    service.session.reset();
    Slab<OCISvcCtx>::give_back(service);
}

void record(OCIError* handle, const OracleError& error) noexcept {
    if (!is_live<OCIError>(handle)) return;
    try {
        const std::lock_guard lock(handle->mutex);
        handle->diagnostics.insert_or_assign(std::this_thread::get_id(), error);
    } catch (const std::bad_alloc&) {
        // The status still tells of the failure; without memory its text cannot be kept.
    }
}

void record(OCIError* handle, int code, std::string_view detail) noexcept {
    try {
        record(handle, OracleError(code, detail));
    } catch (const std::bad_alloc&) {
        forget(handle);
    }
}

void forget(OCIError* handle) noexcept {
    if (!is_live<OCIError>(handle)) return;
    const std::lock_guard lock(handle->mutex);
    handle->diagnostics.erase(std::this_thread::get_id());
}

} // namespace oci

using namespace oci;

sword OCIEnvCreate(OCIEnv** envhpp, ub4, void*, void* (*)(void*, size_t), void* (*)(void*, void*, size_t),
                   void (*)(void*, void*), size_t, void**) {
    return guarded(nullptr, [&] {
        if (envhpp == nullptr) throw InvalidHandle{};
        *envhpp = &Slab<OCIEnv>::take(nullptr);
        return OCI_SUCCESS;
    });
}

sword OCIHandleAlloc(const void* parenth, void** hndlpp, ub4 type, size_t, void**) {
    return guarded(nullptr, [&]() -> sword {
        OCIEnv& env = live<OCIEnv>(const_cast<void*>(parenth));
        switch (type) {
        case OCI_HTYPE_ERROR: *hndlpp = &allocate<OCIError>(env); return OCI_SUCCESS;
        case OCI_HTYPE_SVCCTX: *hndlpp = &allocate<OCISvcCtx>(env); return OCI_SUCCESS;
        default: return OCI_INVALID_HANDLE;
        }
    });
}

sword OCIHandleFree(void* hndlp, ub4 type) {
    return guarded(nullptr, [&]() -> sword {
        if (type != OCI_HTYPE_ENV) return free_owned(hndlp, type);
        release_environment(live<OCIEnv>(hndlp));
        return OCI_SUCCESS;
    });
}

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
        return free_owned(descp, type);
    });
}

sword OCIErrorGet(void* hndlp, ub4 recordno, OraText*, sb4* errcodep, OraText* bufp, ub4 bufsiz, ub4 type) {
    return guarded(nullptr, [&]() -> sword {
        if (type != OCI_HTYPE_ERROR) return OCI_INVALID_HANDLE;
        OCIError& error = live<OCIError>(hndlp);
        const std::lock_guard lock(error.mutex);
        const auto found = error.diagnostics.find(std::this_thread::get_id());
        const bool known = recordno == 1 && found != error.diagnostics.end();
        const std::string_view text = known ? std::string_view(found->second.text()) : "";
        if (errcodep != nullptr) *errcodep = known ? found->second.code() : 0;
        if (bufp != nullptr && bufsiz > 0) {
            const std::size_t length = std::min<std::size_t>(text.size(), bufsiz - 1);
            if (length != 0) std::memcpy(bufp, text.data(), length);
            bufp[length] = 0;
        }
        return known ? OCI_SUCCESS : OCI_NO_DATA;
    });
}
