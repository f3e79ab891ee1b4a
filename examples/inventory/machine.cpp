#include "inventory/machine.h"

#include <cstdio>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <sys/stat.h>

namespace inventory {
namespace {

struct ClosePipe {
    void operator()(std::FILE* pipe) const { pclose(pipe); }
};

/// Calls use(line) with every line that a command writes.
template <typename Use> void for_each_line(const std::string& command, Use use) {
    const std::unique_ptr<std::FILE, ClosePipe> pipe(popen(command.c_str(), "r"));
    if (!pipe) throw std::runtime_error("cannot run " + command);
    std::string line;
    for (int c; (c = std::getc(pipe.get())) != EOF;) {
        if (c != '\n') {
            line += static_cast<char>(c);
            continue;
        }
        use(line);
        line.clear();
    }
}

std::string next_field(std::istringstream& line) {
    std::string field;
    std::getline(line, field, '\t');
    return field;
}

template <typename Number> Number number(const std::string& text) {
    return text.empty() ? Number{} : static_cast<Number>(std::stoll(text));
}

std::string read_file(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

Package parse_package(std::istringstream& line) {
    Package package;
    package.name = next_field(line);
    package.version = next_field(line);
    package.section = next_field(line);
    package.homepage = next_field(line);
    package.installed_kib = number<long long>(next_field(line));
    package.modified = number<std::time_t>(next_field(line));
    package.copyright = read_file("/usr/share/doc/" + package.name + "/copyright");
    return package;
}

/// A listed path as a file; nothing when it is a folder or a link.
std::optional<File> describe(const std::string& path, int package_id) {
    struct stat info {};
    const bool on_disk = lstat(path.c_str(), &info) == 0;
    if (on_disk && !S_ISREG(info.st_mode)) return std::nullopt;
    return File{package_id, path, on_disk, info.st_size, info.st_mtime};
}

} // namespace

Machine read_machine(std::size_t most_files) {
    // One line for each package, then a line for each of its files, which starts with a blank.
    const char* const command = "dpkg-query -W -f '${db:Status-Status}\\t${Package}\\t${Version}\\t${Section}\\t"
                                "${Homepage}\\t${Installed-Size}\\t${db-fsys:Last-Modified}\\n${db-fsys:Files}\\n'";
    Machine machine;
    bool installed = false;
    for_each_line(command, [&](const std::string& text) {
        if (text.empty()) return;
        if (text[0] == ' ') {
            if (!installed || machine.files.size() == most_files) return;
            if (auto file = describe(text.substr(1), machine.packages.back().id)) machine.files.push_back(*file);
            return;
        }
        std::istringstream line(text);
        installed = next_field(line) == "installed";
        if (!installed) return;
        machine.packages.push_back(parse_package(line));
        machine.packages.back().id = static_cast<int>(machine.packages.size());
    });
    if (machine.packages.empty()) throw std::runtime_error("dpkg-query lists no package: this demo needs Debian");
    return machine;
}

} // namespace inventory
