#pragma once

#include "dtk/calendar/DATETIME_FORMAT.h"
#include "dtk/calendar/st_DateTime.h"
#include "dtk/foundation/DTK_String.h"
#include "dtk/foundation/export.h"

class DTK_Date;
class DTK_DateTime;

/// The 7-byte image of an Oracle DATE: century + 100, year of the century + 100, month, day, and hour, minute and
/// second + 1 each.
///
/// The object is its image: 7 bytes, trivially copyable, so that OCI binds and defines one, or an array of them, as
/// SQLT_DAT at its address. A default-constructed one is unset until it is assigned or fetched into. An operation that
/// throws leaves the image as it was. One thread at a time per object.
class DTK_EXPORT DTK_DbDate {
  public:
    /// Leaves the image unset.
    DTK_DbDate() = default;

    /// @{

    /// The same image.
    DTK_DbDate(const DTK_DbDate& other) = default;
    DTK_DbDate& operator=(const DTK_DbDate& other) = default;
    /// @}

    /// Reads the text as mb_fromText does.
    DTK_DbDate(char* text, DATETIME_FORMAT format);

    /// Reads the text as mb_fromText does in the DTF_YYYYMMDDHH24MISS layout.
    DTK_DbDate& operator=(char* text);

    /// @{

    /// Not validated, as mb_fromDateTimeStruct.
    DTK_DbDate(const DTK_DateTime& dateTime);
    DTK_DbDate& operator=(DTK_DateTime& dateTime);
    /// @}

    /// @{

    /// Midnight of the date. Not validated, as mb_fromDateTimeStruct.
    DTK_DbDate(const DTK_Date& date);
    DTK_DbDate& operator=(DTK_Date& date);
    /// @}

    /// Sets the image from 14 digits. Digits are not checked: each two-character field reads as atoi does, and a field
    /// past the end of a short text as 0. An hour up to 59 passes, as in mb_validate.
    ///
    /// @throws DTK_Exception 101 "Null pointer assignment" the text is null
    /// @throws DTK_Exception 101 "Memory access violation" the text is empty
    /// @throws DTK_Exception 100 "Invalid date format specifier " there is no such format
    /// @throws DTK_Exception 100 "Invalid Date format" the fields make no valid date
    void mb_fromText(char* text, DATETIME_FORMAT format);

    /// Copies a 7-byte image in.
    ///
    /// @throws DTK_Exception 12501 "Null pointer assignment" the image is null
    /// @throws DTK_Exception 12500 "Invalid Date format" the image fails mb_validate
    void mb_fromDbDate(const unsigned char* image);

    /// A copy of the 7 bytes, made by this call.
    ///
    /// @return a buffer of the calling thread, valid until its eighth further call
    unsigned char* mb_toDbDate() const;

    /// The date as 14 digits.
    ///
    /// @return a buffer of the calling thread, valid until its eighth further call
    /// @throws DTK_Exception 103 "INVALID DATE FORMAT SPECIFIER !!!" there is no such format
    char* mb_toText(DATETIME_FORMAT format) const;

    /// The same as mb_toText, as a text that the caller owns.
    DTK_String mb_toString(DATETIME_FORMAT format) const;

    /// Fills the record from the image, and returns the record. Not validated.
    st_DateTime& mb_toDateTimeStruct(st_DateTime& dateTime);

    /// Sets the image from the record, each byte cut to 8 bits. Not validated: years outside -10099 to 15599 have no
    /// image.
    ///
    /// @return the 7 bytes of this object
    unsigned char* mb_fromDateTimeStruct(st_DateTime& dateTime);

    /// Whether a 7-byte image holds a valid day and time bytes of 1 to 60, the hour's included: the check guards the
    /// range of the encoding, not the clock. False for a null image. This date plays no part.
    bool mb_validate(const unsigned char* image);

    /// Whether the record's year has a 29 February; its other members and this date play no part.
    bool mb_isLeapYear(st_DateTime& dateTime);

    /// The days of the record's month in its year; 0 when there is no such month.
    int mb_daysInMonth(st_DateTime& dateTime);

  private:
    unsigned char m_data[7];
};

static_assert(sizeof(DTK_DbDate) == 7, "an array of DTK_DbDate is an array of Oracle DATE images");
