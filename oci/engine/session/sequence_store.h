#pragma once

#include "oci/values/values.h"

#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <sys/stat.h>

struct sqlite3;

namespace oci {

/// Twice as wide as the numbers of a sequence: the distance of two of them.
__extension__ typedef __int128 Wide;

/// How a sequence counts.
struct SequenceRule {
    std::int64_t key = 0; ///< names its numbers: a sequence that is altered gets another one
    std::int64_t start = 1;
    std::int64_t increment = 1;
    std::int64_t minimum = 1;
    std::int64_t maximum = 0;
    bool cycle = false;
    std::int64_t cache = 0; ///< numbers that a process takes at a time
    bool ordered = false;
    std::optional<std::int64_t> mark; ///< numbers before it were drawn by transactions that have been committed
};

/// Hands out the numbers of a database's sequences, each once among all processes, whatever becomes of transactions. It
/// keeps them in a file of its own beside the database, as the database itself has one writer, who may be waiting for a
/// number. A process takes as many numbers as a sequence caches, and gives back the rest at its end. Any thread may
/// call.
class SequenceStore {
  public:
    /// @param lasting  false: the numbers need not outlive the machine
    SequenceStore(std::string path, bool lasting) : m_path(std::move(path)), m_lasting(lasting) {}
    ~SequenceStore();
    SequenceStore(const SequenceStore&) = delete;
    SequenceStore& operator=(const SequenceStore&) = delete;

    /// @throws ORA-08004 the sequence has come to its end
    std::int64_t next(const SequenceRule& rule, std::string_view name);
    /// The next number, which no process has taken; nothing behind the last of 64 bits. Gives back what this process
    /// has taken. It may lie beyond the sequence's end.
    std::optional<std::int64_t> next_free(const SequenceRule& rule);
    /// The number behind those that processes have taken, as next_free() but for the giving back.
    std::optional<std::int64_t> last(const SequenceRule& rule);
    /// The number behind those that this process has taken of a sequence, where `mark` has not been told yet.
    std::optional<std::int64_t> unmarked(std::int64_t key);
    void marked(std::int64_t key, std::int64_t mark);

  private:
    struct Closer {
        void operator()(sqlite3* db) const;
    };
    struct Range {
        std::int64_t next = 0;
        std::int64_t left = 0;
        std::int64_t increment = 0;
        std::optional<std::int64_t> end; ///< the number that follows; nothing behind the last of 64 bits
        std::optional<std::int64_t> mark;
    };

    void open();
    bool is_in_place() const;
    void reserve(const SequenceRule& rule, Range& range, std::string_view name);
    std::optional<std::int64_t> stored_next(const SequenceRule& rule);
    void give_back(std::int64_t key, Range& range);

    const std::string m_path;
    const bool m_lasting;
    std::mutex m_mutex;
    std::unique_ptr<sqlite3, Closer> m_db;
    struct stat m_file {};
    std::map<std::int64_t, Range> m_ranges;
};

} // namespace oci
