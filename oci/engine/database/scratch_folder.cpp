#include "oci/engine/database/scratch_folder.h"

#include "oci/values/errors.h"

#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace oci {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view prefix = "dtk-memory-";

/// @return the folder, locked; -1 when it is not there any more, not ours or another process's
int lock_folder(const std::string& path) {
    const int folder = open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NOFOLLOW);
    if (folder < 0) return -1;
    struct stat locked {
    }, there{};
    if (flock(folder, LOCK_EX | LOCK_NB) == 0 && fstat(folder, &locked) == 0 && stat(path.c_str(), &there) == 0 &&
        locked.st_ino == there.st_ino && locked.st_uid == geteuid())
        return folder;
    close(folder);
    return -1;
}

void remove_abandoned(const fs::path& root) {
    std::error_code ignored;
    for (fs::directory_iterator at(root, ignored), end; at != end; at.increment(ignored)) {
        const std::string name = at->path().filename();
        if (!name.starts_with(prefix) || name.size() != prefix.size() + 6) continue;
        const int folder = lock_folder(at->path());
        if (folder < 0) continue;
        fs::remove_all(at->path(), ignored);
        close(folder);
    }
}

} // namespace

ScratchFolder::ScratchFolder() : m_process(getpid()) {
    std::error_code failure;
    const fs::path root = fs::is_directory("/dev/shm", failure) ? fs::path("/dev/shm") : fs::temp_directory_path();
    remove_abandoned(root);
    while (m_lock < 0) {
        m_path = root / (std::string(prefix) + "XXXXXX");
        if (mkdtemp(m_path.data()) == nullptr)
            throw OracleError(error::not_available, "no folder for a database in memory");
        m_lock = lock_folder(m_path); // unless another process has taken it for abandoned in between
    }
}

ScratchFolder::~ScratchFolder() {
    remove();
    close(m_lock);
}

void ScratchFolder::remove() const {
    std::error_code ignored;
    if (m_process == getpid()) fs::remove_all(m_path, ignored);
}

} // namespace oci
