#pragma once

#include <string>
#include <sys/types.h>

namespace oci {

/// A folder for a database in memory: in memory itself where the system has such a place. It goes with the process that
/// made it, or, when that is killed, as soon as another one makes a folder of its own.
class ScratchFolder {
  public:
    /// ORA-01034 when there is no place for one.
    ScratchFolder();
    ~ScratchFolder();
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    const std::string& path() const { return m_path; }
    void remove() const;

  private:
    std::string m_path;
    int m_lock = -1;       ///< held as long as the process lives: who can take it may remove the folder
    const pid_t m_process; ///< that made it: not a child, which may end sooner
};

} // namespace oci
