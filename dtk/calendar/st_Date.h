#pragma once

/// A calendar date as plain numbers. Opens st_DateTime with the same members.
struct st_Date {
    int day;
    int month;
    int year; ///< full year, such as 2024
};
