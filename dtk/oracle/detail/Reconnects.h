#pragma once

#include <condition_variable>
#include <deque>
#include <mutex>

namespace dtk::oracle {

/// Counts the reconnect threads of a pool. They share it with the pool, so that the last thing a thread touches
/// outlives the pool that waits for it.
class Reconnects {
  public:
    /// Announces a thread that is to open a generation.
    void begin(int generation);

    /// Takes back the last announcement: its thread could not be started.
    void cancel();

    /// The generation to open next. Each thread asks once, and not always in the order in which they were started.
    int next();

    /// The last act of a thread.
    void end();

    bool closing();

    /// Tells the threads to give up and waits for the last one to end.
    void close();

  private:
    std::mutex m_mutex;
    std::condition_variable m_ended;
    int m_threads = 0;
    std::deque<int> m_generations; ///< announced and not yet taken
    bool m_closing = false;
};

} // namespace dtk::oracle
