#include "oci/engine/database.h"

#include "oci/values/errors.h"

#include <cstdlib>
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
        throw OracleError(12154, connect_string.substr(0, connect_string.find('\0')));
    const fs::path folder = fs::canonical(path.parent_path(), failure);
    if (failure) throw OracleError(12154, path.native() + ": no folder to open it in: " + failure.message());
    if (!path.has_filename()) throw OracleError(12154, path.native() + ": a folder");
    return folder / path.filename();
}

/// Shared by sessions as a file is, in a folder of its own that lives in memory where the system has such a place.
std::string scratch_folder() {
    std::error_code failure;
    const fs::path root = fs::is_directory("/dev/shm", failure) ? fs::path("/dev/shm") : fs::temp_directory_path();
    std::string pattern = root / "dtk-XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) throw OracleError(1034, "no folder for a database in memory");
    return pattern;
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
    const std::string folder = in_memory ? scratch_folder() : std::string();
    auto database = std::make_shared<Database>(in_memory ? folder + "/database" : key, folder);
    known = database;
    return database;
}

Database::Database(std::string path, std::string scratch_folder)
    : m_path(std::move(path)),
      m_scratch_folder(std::move(scratch_folder)),
      m_process(getpid()) {}

Database::~Database() {
    remove_scratch_folder();
}

void Database::remove_scratch_folder() const {
    std::error_code ignored;
    if (in_memory() && m_process == getpid()) fs::remove_all(m_scratch_folder, ignored);
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
    }
    m_released.notify_one();
}

} // namespace oci
