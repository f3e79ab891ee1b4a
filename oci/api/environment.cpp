#include "oci/api/environment.h"

#include "oci/api/locator.h"
#include "oci/api/service.h"

namespace oci {
namespace {

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

} // namespace

bool owns(OCIEnv& env, Handle* handle) {
    const std::lock_guard lock(env.mutex);
    return env.owned.contains(handle);
}

void free_owned(void* pointer, ub4 kind) {
    auto* handle = static_cast<Handle*>(pointer);
    if (handle == nullptr || handle->self != handle || handle->kind != kind) throw InvalidHandle{};
    {
        const std::lock_guard lock(handle->env->mutex);
        if (handle->env->owned.erase(handle) == 0) throw InvalidHandle{};
    }
    release_any(*handle);
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
        if (type == OCI_HTYPE_ENV) {
            release_environment(live<OCIEnv>(hndlp));
        } else {
            free_owned(hndlp, type);
        }
        return OCI_SUCCESS;
    });
}
