#pragma once

#include "oci/values/errors.h"

#include <deque>
#include <mutex>

namespace oci {

/// What every handle and descriptor begins with.
struct Handle {
    Handle* self = nullptr; ///< points to itself while the handle lives: so a locator and its address read alike
    ub4 kind = 0;
    OCIEnv* env = nullptr;
    Handle* next_free = nullptr; ///< while it is not in use
};

/// Handles of one type. Their memory is used again but never given back, so that a handle that was freed reads as freed
/// instead of being memory of something else.
template <class T> class Slab {
  public:
    static T& take(OCIEnv* env) {
        Slab& slab = instance();
        const std::lock_guard lock(slab.m_mutex);
        T* handle = slab.m_free;
        if (handle == nullptr) {
            handle = &slab.m_all.emplace_back();
        } else {
            slab.m_free = static_cast<T*>(handle->next_free);
        }
        handle->self = handle;
        handle->kind = T::code;
        handle->env = env;
        return *handle;
    }

    /// @pre what the handle owned is released.
    static void give_back(T& handle) noexcept {
        Slab& slab = instance();
        const std::lock_guard lock(slab.m_mutex);
        handle.self = nullptr;
        handle.next_free = slab.m_free;
        slab.m_free = &handle;
    }

  private:
    // Never destroyed: handles may be asked whether they live until the process has ended.
    static Slab& instance() {
        static auto* slab = new Slab;
        return *slab;
    }

    std::mutex m_mutex;
    std::deque<T> m_all;
    T* m_free = nullptr;
};

template <class T> bool is_live(const void* handle) {
    const auto* head = static_cast<const Handle*>(handle);
    return head != nullptr && head->self == head && head->kind == T::code;
}

template <class T> T& live(void* handle) {
    if (!is_live<T>(handle)) throw InvalidHandle{};
    return *static_cast<T*>(handle);
}

template <class T> const T& live(const void* handle) {
    if (!is_live<T>(handle)) throw InvalidHandle{};
    return *static_cast<const T*>(handle);
}

} // namespace oci
