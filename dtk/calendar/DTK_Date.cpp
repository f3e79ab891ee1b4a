#include "dtk/calendar/DTK_Date.h"

#include <cstring>
#include <ctime>

#include "dtk/calendar/DTK_DateTime.h"
#include "dtk/calendar/DTK_DbDate.h"
#include "dtk/calendar/digit_text.h"
#include "dtk/calendar/gregorian.h"
#include "dtk/foundation/DTK_Exception.h"

namespace calendar = dtk::calendar;
namespace error = dtk::error;

namespace {

struct DateText {
    char text[3 * calendar::longest_number + 1];
};

calendar::CivilDate civil(const st_Date& date) {
    return {date.year, date.month, date.day};
}

st_Date read_record(const char* text) {
    const std::string_view digits(text, strnlen(text, 8));
    return {.day = calendar::number_at(digits, 6, 2),
            .month = calendar::number_at(digits, 4, 2),
            .year = calendar::number_at(digits, 0, 4)};
}

void write(DateText& out, const st_Date& date, DATE_FORMAT format) {
    char* at = out.text;
    if (format == DF_DDMMYYYY) {
        at = calendar::write_number(at, date.day, 2);
        at = calendar::write_number(at, date.month, 2);
        at = calendar::write_number(at, date.year, 4);
    } else {
        at = calendar::write_number(at, date.year, 4);
        at = calendar::write_number(at, date.month, 2);
        at = calendar::write_number(at, date.day, 2);
    }
    *at = '\0';
}

} // namespace

DTK_Date::DTK_Date(int year, int month, int day) {
    mb_YMDtoJday(year, month, day);
}

DTK_Date::DTK_Date(char* text) {
    mb_fromText(text);
}

DTK_Date::DTK_Date(const DTK_DateTime& dateTime) : m_jday(dateTime.m_julian / calendar::seconds_per_day) {}

DTK_Date& DTK_Date::operator=(DTK_DateTime dateTime) {
    m_jday = dateTime.m_julian / calendar::seconds_per_day;
    return *this;
}

DTK_Date::DTK_Date(const DTK_DbDate& dbDate) {
    *this = dbDate;
}

DTK_Date& DTK_Date::operator=(DTK_DbDate dbDate) {
    st_DateTime record;
    dbDate.mb_toDateTimeStruct(record);
    mb_YMDtoJday(record.year, record.month, record.day);
    return *this;
}

long DTK_Date::mb_YMDtoJday(int year, int month, int day) {
    st_Date date{.day = day, .month = month, .year = year};
    return mb_YMDtoJday(date);
}

long DTK_Date::mb_YMDtoJday(st_Date& date) {
    if (!mb_validate(date)) throw DTK_Exception(error::date_value_invalid);
    return m_jday = calendar::day_number(civil(date));
}

void DTK_Date::mb_JdaytoYMD(int& year, int& month, int& day) const {
    const calendar::CivilDate date = calendar::civil_date(m_jday);
    year = static_cast<int>(date.year);
    month = date.month;
    day = date.day;
}

void DTK_Date::mb_JdaytoYMD(st_Date& date) const {
    mb_JdaytoYMD(date.year, date.month, date.day);
}

bool DTK_Date::mb_validate(st_Date& date) {
    return calendar::is_valid(civil(date));
}

bool DTK_Date::mb_validate(char* text) {
    return text != nullptr && calendar::is_valid(civil(read_record(text)));
}

bool DTK_Date::mb_isLeapYear(st_Date& date) {
    return calendar::is_leap_year(date.year);
}

int DTK_Date::mb_daysInMonth(st_Date& date) {
    return calendar::days_in_month(date.year, date.month);
}

long DTK_Date::mb_addMonths(int n) {
    const auto moved = calendar::plus_months(calendar::civil_date(m_jday), n, calendar::MonthZero::is_december);
    if (!calendar::is_valid(moved)) throw DTK_Exception(error::date_invalid);
    return m_jday = calendar::day_number(moved);
}

long DTK_Date::mb_dateDiff(char* a, char* b) {
    const DTK_Date later(a);
    const DTK_Date earlier(b);
    return later.m_jday - earlier.m_jday;
}

DTK_Date& DTK_Date::mb_fromSysDate() {
    const std::time_t now = std::time(nullptr);
    std::tm local;
    localtime_r(&now, &local);
    m_jday = calendar::day_number({local.tm_year + 1900, local.tm_mon + 1, local.tm_mday});
    return *this;
}

char* DTK_Date::mb_toCharText(DATE_FORMAT format) const {
    auto& result = calendar::next_result<DateText>();
    st_Date date;
    mb_JdaytoYMD(date);
    write(result, date, format);
    return result.text;
}

DTK_String DTK_Date::mb_toString(DATE_FORMAT format) const {
    DateText result;
    st_Date date;
    mb_JdaytoYMD(date);
    write(result, date, format);
    return DTK_String(result.text);
}

void DTK_Date::mb_fromText(char* text) {
    if (text == nullptr) throw DTK_Exception(error::date_text_null);
    if (*text == '\0') throw DTK_Exception(error::date_text_empty);
    const calendar::CivilDate date = civil(read_record(text));
    if (!calendar::is_valid(date)) throw DTK_Exception(error::date_invalid);
    m_jday = calendar::day_number(date);
}
