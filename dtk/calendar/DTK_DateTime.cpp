#include "dtk/calendar/DTK_DateTime.h"

#include <cstring>
#include <ctime>

#include "dtk/calendar/DTK_Date.h"
#include "dtk/calendar/DTK_DbDate.h"
#include "dtk/calendar/digit_text.h"
#include "dtk/calendar/gregorian.h"
#include "dtk/foundation/DTK_Exception.h"

namespace calendar = dtk::calendar;
namespace error = dtk::error;

namespace {

struct DateTimeText {
    char text[6 * calendar::longest_number + 1];
};

calendar::CivilDate civil(const st_DateTime& dateTime) {
    return {dateTime.year, dateTime.month, dateTime.day};
}

bool is_valid(const st_DateTime& value) {
    return calendar::is_valid(civil(value)) && value.hour >= 0 && value.hour < 24 && value.minute >= 0 &&
           value.minute < 60 && value.second >= 0 && value.second < 60;
}

long long julian_seconds(const st_DateTime& value) {
    return calendar::day_number(civil(value)) * calendar::seconds_per_day +
           (value.hour * 3600 + value.minute * 60 + value.second);
}

st_DateTime read_record(const char* text, DATETIME_FORMAT format) {
    if (!calendar::is_known(format)) throw DTK_Exception(error::date_time_text_format_unknown);
    const std::string_view digits(text, strnlen(text, 14));
    st_DateTime record{};
    if (calendar::is_day_first(format)) {
        record.month = calendar::number_at(digits, 2, 2);
        // The year's digits are read into the day, and the year stays 0: callers rely on such texts being refused.
        record.day = calendar::number_at(digits, 4, 4);
    } else {
        record.year = calendar::number_at(digits, 0, 4);
        record.month = calendar::number_at(digits, 4, 2);
        record.day = calendar::number_at(digits, 6, 2);
    }
    record.hour = calendar::number_at(digits, 8, 2);
    record.minute = calendar::number_at(digits, 10, 2);
    record.second = calendar::number_at(digits, 12, 2);
    return record;
}

void write(DateTimeText& out, const st_DateTime& value, DATETIME_FORMAT format) {
    if (!calendar::is_known(format)) throw DTK_Exception(error::date_time_output_format_unknown);
    char* at = out.text;
    if (calendar::is_day_first(format)) {
        at = calendar::write_number(at, value.day, 2);
        at = calendar::write_number(at, value.month, 2);
        at = calendar::write_number(at, value.year, 4);
    } else {
        at = calendar::write_number(at, value.year, 4);
        at = calendar::write_number(at, value.month, 2);
        at = calendar::write_number(at, value.day, 2);
    }
    at = calendar::write_number(at, calendar::shown_hour(value.hour, format), 2);
    at = calendar::write_number(at, value.minute, 2);
    at = calendar::write_number(at, value.second, 2);
    *at = '\0';
}

} // namespace

DTK_DateTime::DTK_DateTime(long long julian_seconds) : m_julian(julian_seconds) {}

DTK_DateTime::DTK_DateTime(const DTK_Date& date) : m_julian(date.m_jday * calendar::seconds_per_day) {}

DTK_DateTime::DTK_DateTime(const DTK_DbDate& dbDate) {
    *this = dbDate;
}

DTK_DateTime& DTK_DateTime::operator=(DTK_DbDate dbDate) {
    st_DateTime value;
    dbDate.mb_toDateTimeStruct(value);
    mb_toJulianDateTime(value.year, value.month, value.day, value.hour, value.minute, value.second);
    return *this;
}

DTK_DateTime::DTK_DateTime(int year, int month, int day, int hour, int minute, int second) {
    const st_DateTime value{day, month, year, hour, minute, second};
    if (!is_valid(value)) throw DTK_Exception(error::date_time_invalid);
    m_julian = julian_seconds(value);
}

DTK_DateTime::DTK_DateTime(const char* text, DATETIME_FORMAT format) {
    mb_fromText(text, format);
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): its signature is fixed
DTK_DateTime& DTK_DateTime::operator=(DTK_String text) {
    mb_fromText(text.c_str(), DTF_YYYYMMDDHH24MISS);
    return *this;
}

long long DTK_DateTime::mb_toJulianDateTime(int year, int month, int day, int hour, int minute, int second) {
    const st_DateTime value{day, month, year, hour, minute, second};
    if (!is_valid(value)) throw DTK_Exception(error::date_time_fields_invalid);
    return m_julian = julian_seconds(value);
}

long long DTK_DateTime::mb_toJulianDateTime(st_DateTime& dateTime) {
    if (!is_valid(dateTime)) throw DTK_Exception(error::date_time_record_invalid);
    return m_julian = julian_seconds(dateTime);
}

void DTK_DateTime::mb_toDateTime(int& year, int& month, int& day, int& hour, int& minute, int& second) const {
    const calendar::CivilDate date = calendar::civil_date(m_julian / calendar::seconds_per_day);
    const int rest = static_cast<int>(m_julian % calendar::seconds_per_day);
    year = static_cast<int>(date.year);
    month = date.month;
    day = date.day;
    hour = rest / 3600;
    minute = rest % 3600 / 60;
    second = rest % 60;
}

void DTK_DateTime::mb_toDateTime(st_DateTime& dateTime) const {
    mb_toDateTime(dateTime.year, dateTime.month, dateTime.day, dateTime.hour, dateTime.minute, dateTime.second);
}

long long DTK_DateTime::mb_addDays(int n) {
    return mb_addSeconds(n * calendar::seconds_per_day);
}

long long DTK_DateTime::mb_addHours(int n) {
    return mb_addSeconds(n * 3600LL);
}

long long DTK_DateTime::mb_addMinutes(int n) {
    return mb_addSeconds(n * 60LL);
}

long long DTK_DateTime::mb_addSeconds(long long n) {
    // Nothing is validated here, so the sum may leave the range: it wraps instead of being undefined.
    return m_julian =
               static_cast<long long>(static_cast<unsigned long long>(m_julian) + static_cast<unsigned long long>(n));
}

long long DTK_DateTime::mb_addMonths(int n) {
    const auto start = calendar::civil_date(m_julian / calendar::seconds_per_day);
    const auto moved = calendar::plus_months(start, n, calendar::MonthZero::is_invalid);
    if (!calendar::is_valid(moved)) throw DTK_Exception(error::date_time_months_invalid);
    return m_julian = calendar::day_number(moved) * calendar::seconds_per_day + m_julian % calendar::seconds_per_day;
}

bool DTK_DateTime::mb_validate(st_DateTime& dateTime) {
    return is_valid(dateTime);
}

bool DTK_DateTime::mb_validate(char* text, DATETIME_FORMAT format) {
    return is_valid(read_record(text == nullptr ? "" : text, format));
}

bool DTK_DateTime::mb_isLeapYear(st_DateTime& dateTime) {
    return calendar::is_leap_year(dateTime.year);
}

int DTK_DateTime::mb_daysInMonth(st_DateTime& dateTime) {
    return calendar::days_in_month(dateTime.year, dateTime.month);
}

long long DTK_DateTime::mb_dateTimeDiff(char* a, char* b) {
    const DTK_DateTime later(a, DTF_YYYYMMDDHH24MISS);
    const DTK_DateTime earlier(b, DTF_YYYYMMDDHH24MISS);
    return later.m_julian - earlier.m_julian;
}

DTK_DateTime& DTK_DateTime::mb_fromSysDate() {
    const std::time_t now = std::time(nullptr);
    std::tm local;
    localtime_r(&now, &local);
    m_julian = julian_seconds(
        {local.tm_mday, local.tm_mon + 1, local.tm_year + 1900, local.tm_hour, local.tm_min, local.tm_sec});
    return *this;
}

char* DTK_DateTime::mb_toCharText(DATETIME_FORMAT format) const {
    auto& result = calendar::next_result<DateTimeText>();
    st_DateTime value;
    mb_toDateTime(value);
    write(result, value, format);
    return result.text;
}

DTK_String DTK_DateTime::mb_toString(DATETIME_FORMAT format) const {
    DateTimeText result;
    st_DateTime value;
    mb_toDateTime(value);
    write(result, value, format);
    return DTK_String(result.text);
}

long long DTK_DateTime::mb_fromText(const char* text, DATETIME_FORMAT format) {
    if (text == nullptr) throw DTK_Exception(error::date_time_text_null);
    if (*text == '\0') throw DTK_Exception(error::date_time_text_empty);
    st_DateTime value;
    try {
        value = read_record(text, format);
    } catch (const DTK_Exception&) {
        throw;
    } catch (...) {
        throw DTK_Exception(error::date_time_text_unreadable);
    }
    if (!is_valid(value)) throw DTK_Exception(error::date_time_text_invalid);
    return m_julian = julian_seconds(value);
}
