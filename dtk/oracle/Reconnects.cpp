#include "dtk/oracle/Reconnects.h"

#include <utility>

namespace dtk::oracle {

void Reconnects::begin() {
    const std::lock_guard lock(m_mutex);
    ++m_threads;
    ++m_drains;
}

void Reconnects::end() {
    const std::lock_guard lock(m_mutex);
    --m_threads;
    m_ended.notify_all();
}

int Reconnects::takeDrains() {
    const std::lock_guard lock(m_mutex);
    return std::exchange(m_drains, 0);
}

bool Reconnects::closing() {
    const std::lock_guard lock(m_mutex);
    return m_closing;
}

void Reconnects::close() {
    std::unique_lock lock(m_mutex);
    m_closing = true;
    m_ended.wait(lock, [this] { return m_threads == 0; });
}

} // namespace dtk::oracle
