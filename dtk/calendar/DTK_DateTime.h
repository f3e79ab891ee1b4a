#pragma once

#include "dtk/calendar/DATETIME_FORMAT.h"
#include "dtk/calendar/st_DateTime.h"
#include "dtk/foundation/DTK_String.h"
#include "dtk/foundation/export.h"

class DTK_Date;
class DTK_DbDate;

/// A point in civil time to the second, without a time zone, held as Julian seconds: the Julian Day Number of the date
/// times 86400 plus the seconds of the day (2000-01-01 00:00:00 is 211813488000).
///
/// Years are not limited to four digits, and not checked. Counts below zero are no date-times: they are held and added
/// to, but split into meaningless fields. An operation that throws leaves the date-time as it was. One thread at a time
/// per object.
class DTK_EXPORT DTK_DateTime {
  public:
    /// Takes the count of Julian seconds as it is.
    DTK_DateTime(long long julianSeconds);

    /// @{

    /// The same date-time.
    DTK_DateTime(const DTK_DateTime& other) = default;
    DTK_DateTime& operator=(const DTK_DateTime& other) = default;
    /// @}

    /// Midnight of the date.
    DTK_DateTime(const DTK_Date& date);

    /// @{

    /// The date-time of a database date.
    ///
    /// @throws DTK_Exception 104 "Invalid Date Time Value!!!" the image holds no valid date-time
    DTK_DateTime(const DTK_DbDate& dbDate);
    DTK_DateTime& operator=(DTK_DbDate dbDate);
    /// @}

    /// A second of a day.
    ///
    /// @throws DTK_Exception 104 "Invalid Date Time Value!" there is no such date-time
    DTK_DateTime(int year, int month, int day, int hour, int minute, int second);

    /// Reads the text as mb_fromText does.
    DTK_DateTime(const char* text, DATETIME_FORMAT format);

    /// Reads the text as mb_fromText does in the DTF_YYYYMMDDHH24MISS layout.
    DTK_DateTime& operator=(DTK_String text);

    /// @{

    /// Sets the date-time and returns its Julian seconds.
    ///
    /// @throws DTK_Exception 104 "Invalid Date Time Value!!!" (six numbers) or "Invalid Date Time value" (record):
    ///         there is no such date-time
    long long mb_toJulianDateTime(int year, int month, int day, int hour, int minute, int second);
    long long mb_toJulianDateTime(st_DateTime& dateTime);
    /// @}

    /// @{

    /// Splits the date-time. A year that no int holds is cut to 32 bits.
    void mb_toDateTime(int& year, int& month, int& day, int& hour, int& minute, int& second) const;
    void mb_toDateTime(st_DateTime& dateTime) const;
    /// @}

    /// @{

    /// Each moves the date-time by `n` of its units, negative backwards, and returns the new Julian seconds, modulo
    /// 2^64.
    long long mb_addDays(int n);
    long long mb_addHours(int n);
    long long mb_addMinutes(int n);
    long long mb_addSeconds(long long n);
    /// @}

    /// Moves the date-time by `n` months as DTK_Date::mb_addMonths does, keeps the time of day, and returns the new
    /// Julian seconds. A negative step that lands on December fails, except from another December.
    ///
    /// @throws DTK_Exception 12400 "Invalid date format !!" a negative step lands on December, or the resulting year
    ///         fits no int
    long long mb_addMonths(int n);

    /// Whether the record is a date-time; this date-time plays no part.
    bool mb_validate(st_DateTime& dateTime);

    /// The same for a text, its fields read as mb_fromText does; false for a null text.
    ///
    /// @throws DTK_Exception 105 "Invalid date format specifier !!!" there is no such format
    bool mb_validate(char* text, DATETIME_FORMAT format);

    /// Whether the record's year has a 29 February; its other members and this date-time play no part.
    bool mb_isLeapYear(st_DateTime& dateTime);

    /// The days of the record's month in its year; 0 when there is no such month.
    int mb_daysInMonth(st_DateTime& dateTime);

    /// Seconds from `b` to `a`, both texts read as mb_fromText does in the DTF_YYYYMMDDHH24MISS layout, with the same
    /// exceptions. This date-time plays no part.
    long long mb_dateTimeDiff(char* a, char* b);

    /// Sets the current local time.
    DTK_DateTime& mb_fromSysDate();

    /// The date-time as 14 digits; longer for years past 9999.
    ///
    /// @return a buffer of the calling thread, valid until its eighth further call
    /// @throws DTK_Exception 105 "INVALID DATE FORMAT SPECIFIER !!!" there is no such format
    char* mb_toCharText(DATETIME_FORMAT format) const;

    /// The same as mb_toCharText, as a text that the caller owns.
    DTK_String mb_toString(DATETIME_FORMAT format) const;

    /// Sets the date-time from 14 digits and returns its Julian seconds. Digits are not checked: each field reads as
    /// atoi does, and a field past the end of a short text as 0. The DDMMYYYY layouts read the year into the day and
    /// leave the year 0, so that they fail for years above 31.
    ///
    /// @throws DTK_Exception 101 "Null pointer assignment" the text is null
    /// @throws DTK_Exception 101 "Empty data passed " the text is empty
    /// @throws DTK_Exception 105 "Invalid date format specifier !!!" there is no such format
    /// @throws DTK_Exception 104 "Error in date format!!!" there is no such date-time
    /// @throws DTK_Exception 102 "Memory access violation" reading the text failed for another reason
    long long mb_fromText(const char* text, DATETIME_FORMAT format);

  private:
    friend class DTK_Date;

    long long m_julian;
};
