#include "oci/values/dates/zones.h"

#include "oci/values/errors.h"
#include "oci/values/scan.h"

#include <ctime>
#include <fstream>
#include <iterator>
#include <map>
#include <mutex>
#include <vector>

namespace oci {
namespace {

/// A file of the zone information of the system (RFC 8536), as far as it is needed.
class ZoneFile {
  public:
    explicit ZoneFile(std::string bytes);
    ZoneRule at(std::int64_t utc_seconds) const;

  private:
    struct Type {
        int offset;
        std::string abbreviation;
    };

    std::uint64_t number(std::size_t at, int size) const;

    std::string m_bytes;
    std::vector<std::int64_t> m_changes;
    std::vector<unsigned char> m_types_of_changes;
    std::vector<Type> m_types;
    bool m_goes_on = false; ///< behind the last change its clocks go on changing
};

std::uint64_t ZoneFile::number(std::size_t at, int size) const {
    std::uint64_t result = 0;
    for (int i = 0; i < size; ++i, ++at) {
        if (at >= m_bytes.size()) throw OracleError(error::region_not_found);
        result = result << 8 | static_cast<unsigned char>(m_bytes[at]);
    }
    return result;
}

ZoneFile::ZoneFile(std::string bytes) : m_bytes(std::move(bytes)) {
    constexpr std::size_t header = 44;
    if (!m_bytes.starts_with("TZif") || m_bytes.size() < header || m_bytes[4] < '2') {
        throw OracleError(error::region_not_found);
    }
    const auto count = [this](std::size_t start, int index) {
        return static_cast<std::size_t>(number(start + 20 + 4 * static_cast<std::size_t>(index), 4));
    };
    // Behind the part with numbers of 32 bits stands the same with 64.
    const std::size_t first =
        count(0, 3) * 5 + count(0, 4) * 6 + count(0, 5) + count(0, 2) * 8 + count(0, 1) + count(0, 0);
    const std::size_t start = header + first;
    const std::size_t changes = count(start, 3);
    const std::size_t types = count(start, 4);
    const std::size_t at = start + header;
    for (std::size_t i = 0; i < changes; ++i) {
        m_changes.push_back(static_cast<std::int64_t>(number(at + 8 * i, 8)));
        m_types_of_changes.push_back(static_cast<unsigned char>(number(at + 8 * changes + i, 1)));
        if (m_types_of_changes.back() >= types) throw OracleError(error::region_not_found);
    }
    const std::size_t names = at + 9 * changes + 6 * types;
    for (std::size_t i = 0; i < types; ++i) {
        const std::size_t type = at + 9 * changes + 6 * i;
        const auto name = names + static_cast<std::size_t>(number(type + 5, 1));
        if (name >= m_bytes.size()) throw OracleError(error::region_not_found);
        m_types.push_back({static_cast<std::int32_t>(number(type, 4)), m_bytes.c_str() + name});
    }
    if (m_types.empty()) throw OracleError(error::region_not_found);
    m_goes_on = m_bytes.find(',', names) != std::string::npos;
    m_bytes.clear();
}

ZoneRule ZoneFile::at(std::int64_t utc_seconds) const {
    const auto next = std::upper_bound(m_changes.begin(), m_changes.end(), utc_seconds);
    if (next == m_changes.end() && m_goes_on) throw OracleError(error::region_not_found);
    const auto index = next == m_changes.begin()
                           ? std::size_t{0}
                           : m_types_of_changes[static_cast<std::size_t>(next - m_changes.begin()) - 1];
    return {m_types[index].offset, m_types[index].abbreviation};
}

bool is_region(std::string_view name) {
    const auto allowed = [](char c) {
        return is_letter(c) || is_digit(c) || c == '_' || c == '/' || c == '-' || c == '+';
    };
    return !name.empty() && is_letter(name[0]) && std::all_of(name.begin(), name.end(), allowed);
}

/// Regions are named with capitals at the start of their words; the files' names say no less.
std::string file_name(std::string_view region) {
    std::string name = "/usr/share/zoneinfo/";
    if (region.find('/') == std::string_view::npos) {
        for (const char c : region) name += to_upper(c);
        return name;
    }
    bool inside = false;
    for (const char c : region) {
        name += inside ? to_lower(c) : to_upper(c);
        inside = is_letter(c);
    }
    return name;
}

std::string read_file(const std::string& name) {
    std::ifstream file(name, std::ios::binary);
    return file ? std::string(std::istreambuf_iterator<char>(file), {}) : std::string();
}

} // namespace

ZoneRule zone_at(std::string_view region, std::int64_t utc_seconds) {
    static std::mutex mutex;
    static std::map<std::string, ZoneFile, std::less<>> known;
    if (!is_region(region)) throw OracleError(error::region_not_found);
    const std::lock_guard lock(mutex);
    auto found = known.find(region);
    if (found == known.end()) {
        std::string bytes = read_file("/usr/share/zoneinfo/" + std::string(region));
        if (bytes.empty()) bytes = read_file(file_name(region));
        found = known.emplace(region, ZoneFile(std::move(bytes))).first;
    }
    return found->second.at(utc_seconds);
}

int system_offset() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    return static_cast<int>(local.tm_gmtoff);
}

} // namespace oci
