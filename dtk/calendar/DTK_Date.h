#pragma once

#include "dtk/calendar/DATE_FORMAT.h"
#include "dtk/calendar/st_Date.h"
#include "dtk/foundation/DTK_String.h"
#include "dtk/foundation/export.h"

class DTK_DateTime;
class DTK_DbDate;

/// A calendar date without time of day, held as its Julian Day Number (1 January 2000 is 2451545, Gregorian
/// throughout).
///
/// Years are not limited to four digits, and not checked; days before day number 0 do not split back into what they
/// were made of. An operation that throws leaves the date as it was. One thread at a time per object.
class DTK_EXPORT DTK_Date {
  public:
    /// A day of a month of a year.
    ///
    /// @throws DTK_Exception 100 "Invalid DTK_Date Value !!" there is no such day
    DTK_Date(int year, int month, int day);

    /// Reads the text as mb_fromText does.
    DTK_Date(char* text);

    /// @{

    /// The same date.
    DTK_Date(const DTK_Date& other) = default;
    DTK_Date& operator=(const DTK_Date& other) = default;
    /// @}

    /// @{

    /// The date of a date-time.
    DTK_Date(const DTK_DateTime& dateTime);
    DTK_Date& operator=(DTK_DateTime dateTime);
    /// @}

    /// @{

    /// The date of a database date; its time bytes are ignored.
    ///
    /// @throws DTK_Exception 100 "Invalid DTK_Date Value !!" the image holds no valid day
    DTK_Date(const DTK_DbDate& dbDate);
    DTK_Date& operator=(DTK_DbDate dbDate);
    /// @}

    /// @{

    /// Sets the date and returns its Julian Day Number.
    ///
    /// @throws DTK_Exception 100 "Invalid DTK_Date Value !!" there is no such day
    long mb_YMDtoJday(int year, int month, int day);
    long mb_YMDtoJday(st_Date& date);
    /// @}

    /// @{

    /// Splits the date. A year that no int holds is cut to 32 bits.
    void mb_JdaytoYMD(int& year, int& month, int& day) const;
    void mb_JdaytoYMD(st_Date& date) const;
    /// @}

    /// Whether the month has such a day; this date plays no part.
    bool mb_validate(st_Date& date);

    /// The same for a text in the DF_YYYYMMDD layout; false for a null text.
    bool mb_validate(char* text);

    /// Whether the record's year has a 29 February; its other members and this date play no part.
    bool mb_isLeapYear(st_Date& date);

    /// The days of the record's month in its year; 0 when there is no such month.
    int mb_daysInMonth(st_Date& date);

    /// Moves the date by `n` months, negative backwards, and returns the new Julian Day Number. The last day of a month
    /// stays the last day, also of a longer month (28 February 2023 plus one month is 31 March 2023); other days are
    /// cut to the length of the new month.
    ///
    /// @throws DTK_Exception 100 "Invalid DTK_Date format !!" no int holds the resulting year
    long mb_addMonths(int n);

    /// Days from `b` to `a`, both texts read as mb_fromText does, with the same exceptions. This date plays no part.
    long mb_dateDiff(char* a, char* b);

    /// Sets today's date in local time.
    DTK_Date& mb_fromSysDate();

    /// The date as 8 digits; longer for years past 9999.
    ///
    /// @return a buffer of the calling thread, valid until its eighth further call
    char* mb_toCharText(DATE_FORMAT format) const;

    /// The same as mb_toCharText, as a text that the caller owns.
    DTK_String mb_toString(DATE_FORMAT format) const;

    /// Sets the date from 8 digits in the DF_YYYYMMDD layout. Digits are not checked: each field reads as atoi does,
    /// and a field past the end of a short text as 0.
    ///
    /// @throws DTK_Exception 101 "memory access violation!!" the text is null
    /// @throws DTK_Exception 100 "Invalid DTK_Date format!!" the text is empty
    /// @throws DTK_Exception 100 "Invalid DTK_Date format !!" there is no such day
    void mb_fromText(char* text);

  private:
    friend class DTK_DateTime;

    long m_jday;
};
