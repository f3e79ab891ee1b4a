#pragma once

#include "oci/values/dates/moments.h"

#include <array>

namespace oci {

// What the months and days are called; the session's language is always American.
inline constexpr std::string_view month_names[] = {"January",   "February", "March",    "April",
                                                   "May",       "June",     "July",     "August",
                                                   "September", "October",  "November", "December"};
inline constexpr std::string_view weekday_names[] = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                                     "Thursday", "Friday", "Saturday"};
inline constexpr std::string_view roman_months[] = {"I",   "II",   "III", "IV", "V",  "VI",
                                                    "VII", "VIII", "IX",  "X",  "XI", "XII"};
inline constexpr int julian_of_1970 = 2440588;

/// An element of a date format.
struct DateElement {
    enum class Kind : std::uint8_t {
        number,
        year,         ///< also shortened
        round_year,   ///< RR
        comma_year,   ///< Y,YYY
        spelled_year, ///< YEAR
        month_name,
        roman_month,
        weekday_name,
        half_day,
        era,
        fraction,
        decimal_mark,
        zone_hour,
        zone_minute,
        zone_region,
        zone_abbreviation,
        composed, ///< stands for another format
        fill_mode,
        exact_mode
    };
    /// What TO_DATE reads only once.
    enum class Field : std::uint8_t {
        none,
        year,
        month,
        day,
        day_of_year,
        julian,
        weekday,
        hour,
        half_day,
        minute,
        second,
        seconds_in_day,
        fraction,
        zone_hour,
        zone_minute,
        zone_region,
        zone_abbreviation,
        era,
        output_only
    };

    std::string_view name;
    unsigned width; ///< digits; of names 3 for the abbreviation, else the full name with its padding
    Kind kind;
    Field field = Field::output_only;
    int (*written)(const Civil& date) = nullptr; ///< the number that TO_CHAR writes
    int least = 0;
    int most = 0;
    const error::Cause* cause = nullptr; ///< outside of it
    bool time_of_day = false;            ///< a text may end where these begin
};

/// A part of a format: an element, quoted text, or one mark of punctuation.
struct DatePart {
    const DateElement* element = nullptr;
    std::string_view text;
    bool quoted = false;
    bool ordinal = false; ///< TH
    bool spelled = false; ///< SP
};

/// ORA-01821 where the format goes on with what is none.
DatePart take_date_part(std::string_view& format);

int weekday_of(const Civil& date);

} // namespace oci
