#pragma once

#include <cstddef>
#include <ctime>
#include <string>
#include <vector>

/// What the demo stores: the Debian packages of this machine and their files.
namespace inventory {

struct Package {
    int id = 0;
    std::string name;
    std::string version;
    std::string section;
    std::string homepage; // empty: the package names none
    long long installed_kib = 0;
    std::time_t modified = 0;
    std::string copyright; // empty: no such file on this machine
};

struct File {
    int package_id = 0;
    std::string path;
    bool on_disk = false; // some machines leave out the documentation that a package lists
    long long bytes = 0;
    std::time_t modified = 0;
};

struct Machine {
    std::vector<Package> packages;
    std::vector<File> files;
};

/// Asks dpkg for the installed packages and the files they list, folders and links left out.
///
/// @param most_files  where to stop listing files
/// @throws std::runtime_error dpkg-query cannot be run, or knows no package
Machine read_machine(std::size_t most_files);

} // namespace inventory
