#pragma once

#include "oci/engine/session/sequence_store.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <sys/stat.h>

namespace oci {

class ScratchFolder;

/// Tells one file from another that took its place.
struct FileIdentity {
    dev_t device = 0;
    ino_t inode = 0;

    bool operator==(const FileIdentity&) const = default;
};

/// What the sessions of this process on one database share.
class Database {
  public:
    /// How long a writer waits for another one.
    static constexpr std::chrono::milliseconds default_patience{10000};

    /// The database that a connect string names: the path of a file, or memory:NAME. ORA-12154 when it names none.
    static std::shared_ptr<Database> find(std::string_view connect_string);

    Database(std::string path, std::string name, std::unique_ptr<ScratchFolder> folder);
    ~Database();
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    const std::string& path() const { return m_path; }
    /// The file's name without folder and ending, or what stands behind memory:, in capitals.
    const std::string& name() const { return m_name; }
    bool in_memory() const { return m_folder != nullptr; }
    /// Gives back the memory of a database in memory.
    void remove_scratch_folder() const;

    /// What stands at the path now; nothing (all zero) when the file is missing.
    FileIdentity identity() const;
    /// May the next logon make the file? Not when it was there before: then it is away, and making it anew would lose
    /// it.
    bool may_create() const;
    void was_opened() { m_was_opened = true; }

    /// Sessions of one process queue for the write lock here, so that each gets its turn without polling the file.
    /// @return false when the time was not enough.
    bool acquire_writer(std::chrono::milliseconds patience);
    void release_writer();
    /// The writer of this process has changed or locked rows of the table.
    void uses(std::string_view table);
    /// How long to wait for the writer who may stand in the way of a statement on the table: as long as is wanted, or
    /// else, where it is known to have touched other tables alone, as for any lock.
    std::chrono::milliseconds patience_on(std::string_view table, std::chrono::milliseconds wanted);

    /// Serialises the set-up of a new database.
    std::mutex setup;
    /// Advanced by every DDL statement: what was translated before may be out of date.
    std::atomic<unsigned> ddl_count{0};
    /// Advances it when the catalogue's own count of changes tells of one that another process has made.
    void saw_catalogue_change(std::int64_t count);
    SequenceStore sequences;

  private:
    const std::string m_path;
    const std::string m_name;
    const std::unique_ptr<ScratchFolder> m_folder; ///< of a database in memory
    std::atomic<bool> m_was_opened{false};
    std::atomic<std::int64_t> m_catalogue_changes{0};
    std::mutex m_mutex;
    std::condition_variable m_released;
    bool m_writing = false;
    std::set<std::string, std::less<>> m_used; ///< stored names of the tables that the writer uses
};

} // namespace oci
