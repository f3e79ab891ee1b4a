#pragma once

/// A point in civil time as plain numbers.
struct st_DateTime {
    int day;
    int month;
    int year; ///< full year, such as 2024
    int hour; ///< 0 to 23
    int minute;
    int second;
};
