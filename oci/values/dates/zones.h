#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace oci {

/// What a region's clocks go by.
struct ZoneRule {
    int offset; ///< seconds east of UTC
    std::string abbreviation;
};

/// The rule of a region, such as Europe/Berlin, at a moment of UTC: the system's files tell. ORA-01882 when they know
/// no such region, or not what it will do at so late a time.
ZoneRule zone_at(std::string_view region, std::int64_t utc_seconds);
/// The offset of the system's own zone now.
int system_offset();

} // namespace oci
