#pragma once

#include <memory_resource>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

namespace oci::sql {

/// Owns the nodes of one tree: they are freed all at once, and never one by one. What is made here must not need its
/// destructor.
class Arena {
  public:
    template <class T, class... Arguments> T* make(Arguments&&... arguments) {
        static_assert(std::is_trivially_destructible_v<T>);
        return new (m_memory.allocate(sizeof(T), alignof(T))) T{std::forward<Arguments>(arguments)...};
    }

    template <class T> std::span<T> list(const std::vector<T>& items) {
        static_assert(std::is_trivially_destructible_v<T>);
        if (items.empty()) return {};
        auto* copy = static_cast<T*>(m_memory.allocate(items.size() * sizeof(T), alignof(T)));
        std::uninitialized_copy(items.begin(), items.end(), copy);
        return {copy, items.size()};
    }

    std::string_view text(std::string_view characters) {
        if (characters.empty()) return {};
        auto* copy = static_cast<char*>(m_memory.allocate(characters.size(), 1));
        characters.copy(copy, characters.size());
        return {copy, characters.size()};
    }

  private:
    std::pmr::monotonic_buffer_resource m_memory{4096};
};

} // namespace oci::sql
