#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace oci {

/// What ALTER SESSION changes and SQL functions go by.
struct SessionSettings {
    std::string date_format = "DD-MON-RR";
    std::string timestamp_format = "DD-MON-RR HH.MI.SSXFF AM";
    std::string timestamp_tz_format = "DD-MON-RR HH.MI.SSXFF AM TZR";
    std::string date_language = "AMERICAN"; ///< the only one, also as ENGLISH
    char decimal_mark = '.';                ///< of NLS_NUMERIC_CHARACTERS, as the next
    char group_mark = ',';
    std::string currency = "$";
    std::string iso_currency = "AMERICA"; ///< the territory
    std::string dual_currency = "$";
    std::string territory = "AMERICA";
    int first_weekday = 0; ///< what the territory takes for day 1 of the week; 0 is Sunday
    std::string time_zone; ///< an offset or a region; empty: the system's
    std::string sort = "BINARY";
    std::string comparison = "BINARY"; ///< NLS_COMP
    int ddl_lock_timeout_s = 0;        ///< how long a definition waits for a table that is in use
    bool length_in_characters = false; ///< NLS_LENGTH_SEMANTICS

    std::string user;           ///< the account that is logged on
    std::string current_schema; ///< empty: the account's
    std::string database;       ///< the file's name without folder and extension, or that of a memory: database
    std::int64_t session = 1;   ///< unique among the sessions of the process
    std::string module;         ///< what a program has told of itself
    std::string action;
    std::string client_info;
    std::string client_identifier;
};

/// With what the third argument of TO_CHAR and its kin changes: NLS_NUMERIC_CHARACTERS = ',.' NLS_CURRENCY = 'x'.
/// ORA-12702 for what is none.
SessionSettings with_parameters(SessionSettings settings, std::string_view parameters);

} // namespace oci
