#include "dtk/oracle/detail/Reconnects.h"

namespace dtk::oracle {

void Reconnects::begin(int generation) {
    const std::lock_guard lock(m_mutex);
    m_generations.push_back(generation);
    ++m_threads;
}

void Reconnects::cancel() {
    const std::lock_guard lock(m_mutex);
    m_generations.pop_back();
    --m_threads;
}

int Reconnects::next() {
    const std::lock_guard lock(m_mutex);
    const int generation = m_generations.front();
    m_generations.pop_front();
    return generation;
}

void Reconnects::end() {
    const std::lock_guard lock(m_mutex);
    --m_threads;
    m_ended.notify_all();
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
