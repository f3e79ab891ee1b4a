#pragma once

#include "oci/api/diagnostics.h"
#include "oci/engine/database/database.h"

#include <map>
#include <unordered_set>

/// The environment owns what is allocated under it and frees what is left with itself.
struct OCIEnv : oci::Handle {
    static constexpr ub4 code = OCI_HTYPE_ENV;

    std::mutex mutex; ///< guards what follows
    std::unordered_set<oci::Handle*> owned;
    /// Databases that its sessions used: kept so that a file that goes away is an outage, not a database to make anew.
    std::map<std::string, std::shared_ptr<oci::Database>> databases;
};

namespace oci {

/// A handle of this type, owned by the environment.
template <class T> T& allocate(OCIEnv& env) {
    T& handle = Slab<T>::take(&env);
    try {
        const std::lock_guard lock(env.mutex);
        env.owned.insert(&handle);
    } catch (...) {
        Slab<T>::give_back(handle);
        throw;
    }
    return handle;
}

/// Has the handle been allocated under the environment? It may be any address: it is not looked at.
bool owns(OCIEnv& env, Handle* handle);

/// Takes a handle of this kind out of its environment and frees it.
void free_owned(void* handle, ub4 kind);

} // namespace oci
