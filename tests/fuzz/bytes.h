#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

/// Decisions taken from the bytes of a fuzzer's input; behind their end all are 0, so that what is made comes to an
/// end.
class Bytes {
  public:
    Bytes(const std::uint8_t* data, std::size_t size) : m_rest(reinterpret_cast<const char*>(data), size) {}

    bool empty() const { return m_rest.empty(); }
    std::uint8_t next() {
        if (m_rest.empty()) return 0;
        const auto byte = static_cast<std::uint8_t>(m_rest.front());
        m_rest.remove_prefix(1);
        return byte;
    }
    unsigned below(unsigned limit) { return next() % limit; }
    template <class T, std::size_t size> const T& one_of(const T (&choices)[size]) { return choices[below(size)]; }
    std::string text(std::size_t longest) {
        const std::string_view taken = m_rest.substr(0, next() % (longest + 1));
        m_rest.remove_prefix(taken.size());
        return std::string(taken);
    }
    std::string rest() const { return std::string(m_rest); }

  private:
    std::string_view m_rest;
};
