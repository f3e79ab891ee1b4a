#pragma once

#include "oci/values/errors.h"

#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <thread>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace oci {

class Database;
class Session;

/// What every handle and descriptor begins with.
struct Handle {
    Handle* self = nullptr; ///< points to itself while the handle lives: so a locator and its address read alike
    ub4 kind = 0;
    OCIEnv* env = nullptr;
};

/// Handles of one type. Their memory is used again but never given back, so that a handle that was freed reads as freed
/// instead of being memory of something else.
template <class T>
class Slab {
  public:
    static T& take(OCIEnv* env) {
        Slab& slab = instance();
        const std::lock_guard lock(slab.m_mutex);
        T* handle = nullptr;
        if (slab.m_free.empty()) {
            handle = &slab.m_all.emplace_back();
        } else {
            handle = slab.m_free.back();
            slab.m_free.pop_back();
        }
        handle->self = handle;
        handle->kind = T::code;
        handle->env = env;
        return *handle;
    }

    /// @pre what the handle owned is released.
    static void give_back(T& handle) {
        Slab& slab = instance();
        const std::lock_guard lock(slab.m_mutex);
        handle.self = nullptr;
        slab.m_free.push_back(&handle);
    }

  private:
    // Never destroyed: handles may be asked whether they live until the process has ended.
    static Slab& instance() {
        static auto* slab = new Slab;
        return *slab;
    }

    std::mutex m_mutex;
    std::deque<T> m_all;
    std::vector<T*> m_free;
};

template <class T>
bool is_live(const void* handle) {
    const auto* head = static_cast<const Handle*>(handle);
    return head != nullptr && head->self == head && head->kind == T::code;
}

template <class T>
T& live(void* handle) {
    if (!is_live<T>(handle)) throw InvalidHandle{};
    return *static_cast<T*>(handle);
}

template <class T>
const T& live(const void* handle) {
    if (!is_live<T>(handle)) throw InvalidHandle{};
    return *static_cast<const T*>(handle);
}

} // namespace oci

/// The environment owns what is allocated under it and frees what is left with itself.
struct OCIEnv : oci::Handle {
    static constexpr ub4 code = OCI_HTYPE_ENV;

    std::mutex mutex; ///< guards what follows
    std::unordered_set<oci::Handle*> owned;
    /// Databases that its sessions used: kept so that a file that goes away is an outage, not a database to make anew.
    std::map<std::string, std::shared_ptr<oci::Database>> databases;
};

/// One error handle serves many threads: each thread reads back its own last diagnostic.
struct OCIError : oci::Handle {
    static constexpr ub4 code = OCI_HTYPE_ERROR;

    std::mutex mutex;
    std::unordered_map<std::thread::id, oci::OracleError> diagnostics;
};

struct OCISvcCtx : oci::Handle {
    static constexpr ub4 code = OCI_HTYPE_SVCCTX;

    OCISvcCtx();
    ~OCISvcCtx();
    std::unique_ptr<oci::Session> session; ///< null while not logged on
};

namespace oci {

/// A handle of this type, owned by the environment.
template <class T>
T& allocate(OCIEnv& env) {
    T& handle = Slab<T>::take(&env);
    const std::lock_guard lock(env.mutex);
    env.owned.insert(&handle);
    return handle;
}

/// Has the handle been allocated under the environment? It may be any address: it is not looked at.
bool owns(OCIEnv& env, OCISvcCtx* handle);

void release(OCISvcCtx& service);

/// Keeps the diagnostic for OCIErrorGet. Nothing is kept when the handle is none.
void record(OCIError* handle, const OracleError& error) noexcept;
void record(OCIError* handle, int code, std::string_view detail) noexcept;
void forget(OCIError* handle) noexcept;

/// Runs an operation; what it throws becomes a status and a diagnostic.
template <class Operation>
sword guarded(OCIError* error, Operation&& operation) noexcept {
    try {
        return operation();
    } catch (const OracleError& failure) {
        record(error, failure);
        return OCI_ERROR;
    } catch (const InvalidHandle&) {
        forget(error);
        return OCI_INVALID_HANDLE;
    } catch (const std::bad_alloc&) {
        record(error, 4030, {});
        return OCI_ERROR;
    } catch (const std::exception& failure) {
        record(error, 600, failure.what());
        return OCI_ERROR;
    }
}

} // namespace oci
