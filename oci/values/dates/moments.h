#pragma once

#include "oci/values/dates/dates.h"
#include "oci/values/settings.h"

namespace oci {

constexpr int moment_size = 29; ///< YYYY-MM-DD HH:MM:SS.nnnnnnnnn, which is how a TIMESTAMP is stored
constexpr std::int64_t nanoseconds_per_second = 1'000'000'000;
constexpr std::int64_t nanoseconds_per_day = seconds_per_day * nanoseconds_per_second;

/// A DATE or a timestamp of any kind. With a zone the civil time is that of the zone.
struct Moment {
    Civil civil{};
    int nanosecond = 0;
    bool has_zone = false;
    int offset = 0;   ///< seconds east of UTC
    std::string zone; ///< as it was written: "+02:00" or a region
};

/// What is stored, by its form: a DATE, a TIMESTAMP, or with a zone behind UTC. @return the family, or unknown when it
/// is none of them.
Family read_moment(std::string_view stored, Moment& moment);
/// As the family stores it. A time with local time zone is in UTC, and so is what is written here.
std::string_view write_moment(const Moment& moment, Family family, std::string& scratch);

/// Seconds since 1970-01-01 of the moment's own civil time, or of UTC.
std::int64_t local_seconds(const Moment& moment);
std::int64_t utc_seconds(const Moment& moment);
/// The moment as a clock in the zone shows it. ORA-01882 for a region that is not known, ORA-01874 and ORA-01875 for
/// an offset that is none.
Moment in_zone(std::int64_t utc_seconds, int nanosecond, std::string_view zone);
/// The moment at which a clock in the zone shows the civil time.
Moment with_zone(const Civil& civil, int nanosecond, std::string_view zone);
/// The session's zone: "+02:00" of the system where none is set.
std::string session_zone(const SessionSettings& settings);
std::string offset_text(int seconds);
/// The seconds that +HH:MM says. @return false when the text is no offset.
bool parse_offset(std::string_view text, int& seconds);
/// The zone's abbreviation at the moment: CET or CEST; empty of an offset.
std::string zone_abbreviation(const Moment& moment);

/// The moment so many months later: the day stays or ORA-01839.
Moment plus_months(Moment moment, std::int64_t months);
Moment plus_nanoseconds(Moment moment, std::int64_t nanoseconds);
/// ORA-01873 when it does not fit.
std::int64_t nanoseconds_between(const Moment& later, const Moment& earlier);

/// [+|-]YEARS-MONTHS, or ISO 8601's P1Y2M. ORA-01867 for what is none.
std::int64_t parse_year_interval(std::string_view text);
/// [+|-]DAYS HH:MM:SS[.fraction], or P1DT2H3M4S.
std::int64_t parse_day_interval(std::string_view text);
std::string year_interval_text(std::int64_t months, int precision);
std::string day_interval_text(std::int64_t nanoseconds, int precision, int scale);

} // namespace oci
