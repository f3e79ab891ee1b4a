#pragma once

/// A calendar date as plain numbers. Opens st_DateTime with the same members.
struct st_Date {
    int day;   ///< 1 to 31
    int month; ///< 1 to 12
    int year;  ///< full year, such as 2024
};
