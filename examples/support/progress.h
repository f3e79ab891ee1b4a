#pragma once

#include <atomic>
#include <chrono>
#include <cstdio>
#include <string>
#include <unistd.h>
#include <utility>

namespace support {

/// One line on a terminal that tells how far a piece of work is; into a file or pipe it writes nothing.
/// advance() may be called from any number of threads.
class Progress {
  public:
    Progress(std::string title, std::size_t total)
        : m_title(std::move(title)),
          m_total(total),
          m_visible(total > 0 && isatty(STDERR_FILENO)) {}

    ~Progress() {
        if (m_visible) std::fputs("\r\033[K", stderr);
    }

    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void advance(std::size_t count) {
        const std::size_t done = m_done.fetch_add(count) + count;
        if (!m_visible) return;
        const auto now_ms = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - m_start).count();
        auto shown_ms = m_shown_ms.load();
        if (now_ms - shown_ms < 100 || !m_shown_ms.compare_exchange_strong(shown_ms, now_ms)) return;
        std::fprintf(stderr, "\r\033[K%s: %zu %%", m_title.c_str(), done * 100 / m_total);
    }

  private:
    using Clock = std::chrono::steady_clock;

    std::string m_title;
    std::size_t m_total;
    bool m_visible;
    Clock::time_point m_start = Clock::now();
    std::atomic<std::size_t> m_done = 0;
    std::atomic<std::chrono::milliseconds::rep> m_shown_ms = 0;
};

} // namespace support
