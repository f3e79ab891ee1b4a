#include "dtk/calendar/DTK_DbDate.h"

#include <cstring>
#include <type_traits>

#include "dtk/calendar/DTK_Date.h"
#include "dtk/calendar/DTK_DateTime.h"
#include "dtk/calendar/digit_text.h"
#include "dtk/calendar/gregorian.h"
#include "dtk/foundation/DTK_Exception.h"

namespace calendar = dtk::calendar;
namespace error = dtk::error;

static_assert(std::is_standard_layout_v<DTK_DbDate> && std::is_trivially_copyable_v<DTK_DbDate>);

namespace {

struct DbDateText {
    char text[7 * calendar::longest_number + 1];
};

struct DbDateImage {
    unsigned char bytes[7];
};

st_DateTime decode(const unsigned char* image) {
    return {.day = image[3],
            .month = image[2],
            .year = (image[0] - 100) * 100 + (image[1] - 100),
            .hour = image[4] - 1,
            .minute = image[5] - 1,
            .second = image[6] - 1};
}

bool is_in_encoding_range(unsigned char timeByte) {
    return timeByte >= 1 && timeByte <= 60;
}

void write(DbDateText& out, const unsigned char* image, DATETIME_FORMAT format) {
    if (!calendar::is_known(format)) throw DTK_Exception(error::db_date_output_format_unknown);
    const int century = image[0] - 100;
    const int year = image[1] - 100;
    const int month = image[2];
    const int day = image[3];
    char* at = out.text;
    const auto writePairs = [&at](auto... values) { ((at = calendar::write_number(at, values, 2)), ...); };
    if (calendar::is_day_first(format))
        writePairs(day, month, century, year);
    else
        writePairs(century, year, month, day);
    writePairs(calendar::shown_hour(image[4] - 1, format), image[5] - 1, image[6] - 1);
    *at = '\0';
}

} // namespace

DTK_DbDate::DTK_DbDate(char* text, DATETIME_FORMAT format) {
    mb_fromText(text, format);
}

DTK_DbDate& DTK_DbDate::operator=(char* text) {
    mb_fromText(text, DTF_YYYYMMDDHH24MISS);
    return *this;
}

DTK_DbDate::DTK_DbDate(const DTK_DateTime& dateTime) {
    st_DateTime record;
    dateTime.mb_toDateTime(record);
    mb_fromDateTimeStruct(record);
}

DTK_DbDate& DTK_DbDate::operator=(DTK_DateTime& dateTime) {
    return *this = DTK_DbDate(dateTime);
}

DTK_DbDate::DTK_DbDate(const DTK_Date& date) {
    st_DateTime record{};
    date.mb_JdaytoYMD(record.year, record.month, record.day);
    mb_fromDateTimeStruct(record);
}

DTK_DbDate& DTK_DbDate::operator=(DTK_Date& date) {
    return *this = DTK_DbDate(date);
}

void DTK_DbDate::mb_fromText(char* text, DATETIME_FORMAT format) {
    if (text == nullptr) throw DTK_Exception(error::db_date_text_null);
    if (*text == '\0') throw DTK_Exception(error::db_date_text_empty);
    if (!calendar::is_known(format)) throw DTK_Exception(error::db_date_text_format_unknown);

    const std::string_view digits(text, strnlen(text, 14));
    const auto byteAt = [&digits](std::size_t position, int bias) {
        return static_cast<unsigned char>(calendar::number_at(digits, position, 2) + bias);
    };
    const bool dayFirst = calendar::is_day_first(format);
    const unsigned char candidate[7] = {byteAt(dayFirst ? 4 : 0, 100),
                                        byteAt(dayFirst ? 6 : 2, 100),
                                        byteAt(dayFirst ? 2 : 4, 0),
                                        byteAt(dayFirst ? 0 : 6, 0),
                                        byteAt(8, 1),
                                        byteAt(10, 1),
                                        byteAt(12, 1)};
    if (!mb_validate(candidate)) throw DTK_Exception(error::db_date_text_invalid);
    std::memcpy(m_data, candidate, sizeof m_data);
}

void DTK_DbDate::mb_fromDbDate(const unsigned char* image) {
    if (image == nullptr) throw DTK_Exception(error::db_date_image_null);
    if (!mb_validate(image)) throw DTK_Exception(error::db_date_image_invalid);
    std::memmove(m_data, image, sizeof m_data);
}

unsigned char* DTK_DbDate::mb_toDbDate() const {
    auto& result = calendar::next_result<DbDateImage>();
    std::memcpy(result.bytes, m_data, sizeof m_data);
    return result.bytes;
}

char* DTK_DbDate::mb_toText(DATETIME_FORMAT format) const {
    auto& result = calendar::next_result<DbDateText>();
    write(result, m_data, format);
    return result.text;
}

DTK_String DTK_DbDate::mb_toString(DATETIME_FORMAT format) const {
    DbDateText result;
    write(result, m_data, format);
    return DTK_String(result.text);
}

st_DateTime& DTK_DbDate::mb_toDateTimeStruct(st_DateTime& dateTime) {
    return dateTime = decode(m_data);
}

unsigned char* DTK_DbDate::mb_fromDateTimeStruct(st_DateTime& dateTime) {
    const int values[7] = {dateTime.year / 100, dateTime.year % 100, dateTime.month, dateTime.day,
                           dateTime.hour,       dateTime.minute,     dateTime.second};
    constexpr unsigned int biases[7] = {100, 100, 0, 0, 1, 1, 1};
    for (int i = 0; i < 7; ++i)
        m_data[i] = static_cast<unsigned char>(static_cast<unsigned int>(values[i]) + biases[i]);
    return m_data;
}

bool DTK_DbDate::mb_validate(const unsigned char* image) {
    if (image == nullptr) return false;
    const st_DateTime value = decode(image);
    return calendar::is_valid({value.year, value.month, value.day}) && is_in_encoding_range(image[4]) &&
           is_in_encoding_range(image[5]) && is_in_encoding_range(image[6]);
}

bool DTK_DbDate::mb_isLeapYear(st_DateTime& dateTime) {
    return calendar::is_leap_year(dateTime.year);
}

int DTK_DbDate::mb_daysInMonth(st_DateTime& dateTime) {
    return calendar::days_in_month(dateTime.year, dateTime.month);
}
