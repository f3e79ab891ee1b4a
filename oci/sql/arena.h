#pragma once

#include <memory>
#include <memory_resource>
#include <span>
#include <string_view>
#include <type_traits>
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

    /// Room for a text to be written into.
    char* characters(std::size_t size) { return static_cast<char*>(m_memory.allocate(size, 1)); }

    std::string_view text(std::string_view text) {
        if (text.empty()) return {};
        char* const copy = characters(text.size());
        text.copy(copy, text.size());
        return {copy, text.size()};
    }

  private:
    template <class T> friend class ListBuilder;

    std::pmr::monotonic_buffer_resource m_memory{4096};
};

/// A list of an arena that grows as it is parsed.
template <class T> class ListBuilder {
  public:
    static_assert(std::is_trivially_destructible_v<T>);

    explicit ListBuilder(Arena& arena) : m_items(&arena.m_memory) {}
    /// The vector is left undestroyed: what it holds lives on in the arena.
    ~ListBuilder() {}
    ListBuilder(const ListBuilder&) = delete;
    ListBuilder& operator=(const ListBuilder&) = delete;

    void add(const T& item) { m_items.push_back(item); }
    std::size_t size() const { return m_items.size(); }
    T& back() { return m_items.back(); }
    /// Lives as long as the arena, which frees nothing of what the vector has used.
    std::span<T> list() { return {m_items.data(), m_items.size()}; }

  private:
    union {
        std::pmr::vector<T> m_items;
    };
};

} // namespace oci::sql
