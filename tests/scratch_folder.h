#pragma once

#include <cstdlib>
#include <filesystem>
#include <string>

struct ScratchFolder {
    ScratchFolder() {
        std::string pattern = std::filesystem::temp_directory_path() / "dtk-test-XXXXXX";
        path = mkdtemp(pattern.data());
    }
    ~ScratchFolder() { std::filesystem::remove_all(path); }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    std::filesystem::path path;
};
