#pragma once

#include "oci/values/errors.h"

#include <cstdint>

namespace oci {

/// How much a call has done and may do, in steps of SQLite's machine or pieces of other work that take about as long.
class Work {
  public:
    /// @param steps  0: any number
    void limit(std::int64_t steps) { m_limit = steps; }
    /// To be called when a call begins.
    void restart() { m_done = 0; }
    /// @return whether the call has done more than it may
    bool exceeded_after(std::int64_t steps) noexcept {
        m_done += steps;
        return m_limit != 0 && m_done > m_limit;
    }
    /// ORA-01013 when the call has done more than it may.
    void count(std::int64_t steps) {
        if (exceeded_after(steps)) throw OracleError(error::cancelled);
    }

  private:
    static constexpr std::int64_t default_limit = 4'000'000'000; // some tens of seconds

    std::int64_t m_limit = default_limit;
    std::int64_t m_done = 0;
};

} // namespace oci
