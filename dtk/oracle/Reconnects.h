#pragma once

#include <condition_variable>
#include <mutex>

namespace dtk::oracle {

/// Counts the reconnect threads of a pool. They share it with the pool, so that the last thing a thread touches
/// outlives the pool that waits for it.
class Reconnects {
  public:
    /// Announces a thread and a drain of the idle sessions.
    void begin();

    /// The last act of a thread, or of the caller when the thread could not be started. The drain stays announced.
    void end();

    /// @return the drains announced since the last call
    int takeDrains();

    bool closing();

    /// Tells the threads to give up and waits for the last one to end.
    void close();

  private:
    std::mutex m_mutex;
    std::condition_variable m_ended;
    int m_threads = 0;
    int m_drains = 0;
    bool m_closing = false;
};

} // namespace dtk::oracle
