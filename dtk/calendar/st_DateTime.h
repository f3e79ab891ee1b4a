#pragma once

/// A point in civil time as plain numbers.
struct st_DateTime {
    int day;    ///< 1 to 31
    int month;  ///< 1 to 12
    int year;   ///< full year, such as 2024
    int hour;   ///< 0 to 23
    int minute; ///< 0 to 59
    int second; ///< 0 to 59
};
