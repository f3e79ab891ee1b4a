#include "oci/engine/database/database.h"

#include "oci/engine/database/scratch_folder.h"
#include "oci/values/values.h"

#include <filesystem>
#include <map>
#include <unistd.h>

namespace oci {
namespace {

namespace fs = std::filesystem;

/// The databases that this process has open, by path or by memory:NAME.
struct Registry {
    std::mutex mutex;
    std::map<std::string, std::weak_ptr<Database>, std::less<>> databases;
};

Registry& registry() {
    static auto* all = new Registry; // sessions may end while the process does
    return *all;
}

/// A connect string is a path when it says so: by a slash, by the usual ending, or because such a file exists.
bool is_path(const fs::path& path) {
    if (path.empty() || path.native().front() == '(') return false;
    const fs::path ending = path.extension();
    std::error_code ignored;
    return path.native().find('/') != std::string::npos || ending == ".db" || ending == ".sqlite" ||
           ending == ".sqlite3" || fs::exists(path, ignored);
}

fs::path absolute_path(std::string_view connect_string) {
    std::error_code failure;
    const fs::path path = fs::absolute(fs::path(connect_string), failure);
    const bool has_nul = connect_string.find('\0') != std::string_view::npos;
    if (failure || has_nul || !is_path(fs::path(connect_string)))
        throw OracleError(error::cannot_resolve_identifier, connect_string.substr(0, connect_string.find('\0')));
    const fs::path folder = fs::canonical(path.parent_path(), failure);
    if (failure)
        throw OracleError(error::cannot_resolve_identifier,
                          path.native() + ": no folder to open it in: " + failure.message());
    if (!path.has_filename()) throw OracleError(error::cannot_resolve_identifier, path.native() + ": a folder");
    return folder / path.filename();
}

/// Runs behind all that a process does at its exit, which may leave sessions open.
[[gnu::destructor]] void remove_scratch_folders() {
    for (const auto& [name, known] : registry().databases) {
        if (const auto database = known.lock()) database->remove_scratch_folder();
    }
}

} // namespace

std::shared_ptr<Database> Database::find(std::string_view connect_string) {
    constexpr std::string_view memory = "memory:";
    const bool in_memory = connect_string.starts_with(memory) && connect_string.size() > memory.size();
    const std::string key = in_memory ? std::string(connect_string) : absolute_path(connect_string).string();
    Registry& all = registry();
    const std::lock_guard lock(all.mutex);
    std::weak_ptr<Database>& known = all.databases[key];
    if (auto database = known.lock()) return database;
    auto folder = in_memory ? std::make_unique<ScratchFolder>() : nullptr;
    const std::string path = in_memory ? folder->path() + "/database" : key;
    const std::string name = in_memory ? key.substr(memory.size()) : fs::path(key).stem().string();
    auto database = std::make_shared<Database>(path, upper(name), std::move(folder));
    known = database;
    return database;
}

Database::Database(std::string path, std::string name, std::unique_ptr<ScratchFolder> folder)
    : sequences(path + "-sequences", folder == nullptr),
      m_path(std::move(path)),
      m_name(std::move(name)),
      m_folder(std::move(folder)) {}

Database::~Database() = default;

void Database::remove_scratch_folder() const {
    if (m_folder) m_folder->remove();
}

FileIdentity Database::identity() const {
    struct stat status {};
    if (stat(m_path.c_str(), &status) != 0) return {};
    return {status.st_dev, status.st_ino};
}

bool Database::may_create() const {
    std::error_code ignored;
    return !m_was_opened && !fs::exists(m_path + "-wal", ignored);
}

void Database::saw_catalogue_change(std::int64_t count) {
    // A session whose query is still open may see an older count.
    for (std::int64_t known = m_catalogue_changes; known < count;) {
        if (m_catalogue_changes.compare_exchange_weak(known, count)) ++ddl_count;
    }
}

bool Database::acquire_writer(std::chrono::milliseconds patience) {
    std::unique_lock lock(m_mutex);
    if (!m_released.wait_for(lock, patience, [this] { return !m_writing; })) return false;
    m_writing = true;
    return true;
}

void Database::release_writer() {
    {
        const std::lock_guard lock(m_mutex);
        m_writing = false;
        m_used.clear();
    }
    m_released.notify_one();
}

void Database::uses(std::string_view table) {
    const std::lock_guard lock(m_mutex);
    if (m_used.find(table) == m_used.end()) m_used.emplace(table);
}

std::chrono::milliseconds Database::patience_on(std::string_view table, std::chrono::milliseconds wanted) {
    const std::lock_guard lock(m_mutex);
    const bool elsewhere = m_writing && !table.empty() && m_used.find(table) == m_used.end();
    return elsewhere ? std::max(wanted, default_patience) : wanted;
}

} // namespace oci
