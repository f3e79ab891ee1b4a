#pragma once

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

namespace support {

/// A new folder of this process alone, which goes with the object, and everything in it.
class TemporaryFolder {
  public:
    TemporaryFolder() : m_path(std::filesystem::temp_directory_path() / "dtk-XXXXXX") {
        if (!mkdtemp(m_path.data())) throw std::system_error(errno, std::generic_category(), m_path);
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    std::string file(const std::string& name) const { return m_path + '/' + name; }

  private:
    std::string m_path;
};

} // namespace support
