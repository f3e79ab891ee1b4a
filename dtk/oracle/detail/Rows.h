#pragma once

#include "dtk/oracle/detail/Storage.h"

namespace dtk::oracle {

/// Zeroed memory for a number of values of one width, followed by their indicators.
class Rows {
  public:
    Rows() = default;
    Rows(std::size_t width_bytes, std::size_t count)
        : m_memory(makeStorage(indicatorsAt(width_bytes, count) + count * sizeof(short))),
          m_indicators(reinterpret_cast<short*>(static_cast<char*>(m_memory.get()) + indicatorsAt(width_bytes, count))),
          m_count(count) {}

    void* values() const { return m_memory.get(); }
    short* indicators() const { return m_indicators; }
    std::size_t count() const { return m_count; }

  private:
    static std::size_t indicatorsAt(std::size_t width_bytes, std::size_t count) {
        return (width_bytes * count + alignof(short) - 1) / alignof(short) * alignof(short);
    }

    Storage m_memory;
    short* m_indicators = nullptr;
    std::size_t m_count = 0;
};

} // namespace dtk::oracle
