#include "oci/values/decimal.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstring>

namespace oci {

Value Value::of(std::int64_t number) {
    Value value;
    value.type = Type::integer;
    value.integer = number;
    return value;
}

Value Value::of(double number) {
    Value value;
    value.type = Type::real;
    value.real = number;
    return value;
}

Value Value::of(std::string_view text) {
    Value value;
    if (text.empty()) return value;
    value.type = Type::text;
    value.data = text.data();
    value.size = text.size();
    return value;
}

Value Value::of_bytes(const void* bytes, std::size_t size) {
    Value value;
    value.type = Type::blob;
    value.data = size != 0 ? static_cast<const char*>(bytes) : "";
    value.size = size;
    return value;
}

void OwnedValue::assign(const Value& value) {
    m_value = value;
    if (value.type == Value::Type::text || value.type == Value::Type::blob) m_storage.assign(value.data, value.size);
}

Value OwnedValue::get() const {
    Value value = m_value;
    if (value.type == Value::Type::text || value.type == Value::Type::blob) value.data = m_storage.data();
    return value;
}

std::string upper(std::string_view text) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return result;
}

namespace {

/// Two digits at a fixed place; negative when they are none.
int two_digits(const char* text) {
    const unsigned tens = static_cast<unsigned char>(text[0]) - unsigned{'0'};
    const unsigned ones = static_cast<unsigned char>(text[1]) - unsigned{'0'};
    return tens <= 9 && ones <= 9 ? static_cast<int>(tens * 10 + ones) : -10000;
}

void put_two(char* text, int number) {
    text[0] = static_cast<char>('0' + number / 10);
    text[1] = static_cast<char>('0' + number % 10);
}

constexpr int month_days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};

} // namespace

bool parse_iso(std::string_view text, Civil& civil) {
    if (text.size() != iso_size) return false;
    const char* p = text.data();
    if (p[4] != '-' || p[7] != '-' || p[10] != ' ' || p[13] != ':' || p[16] != ':') return false;
    civil.year = two_digits(p) * 100 + two_digits(p + 2);
    civil.month = two_digits(p + 5);
    civil.day = two_digits(p + 8);
    civil.hour = two_digits(p + 11);
    civil.minute = two_digits(p + 14);
    civil.second = two_digits(p + 17);
    return (civil.year | civil.month | civil.day | civil.hour | civil.minute | civil.second) >= 0;
}

void write_iso(const Civil& civil, char* text) {
    std::memcpy(text, "0000-00-00 00:00:00", iso_size);
    put_two(text, civil.year / 100);
    put_two(text + 2, civil.year % 100);
    put_two(text + 5, civil.month);
    put_two(text + 8, civil.day);
    put_two(text + 11, civil.hour);
    put_two(text + 14, civil.minute);
    put_two(text + 17, civil.second);
}

void check_civil(const Civil& civil) {
    if (civil.year < 1 || civil.year > 9999) throw OracleError(error::year_out_of_range);
    if (civil.month < 1 || civil.month > 12) throw OracleError(error::invalid_month);
    if (civil.day < 1 || civil.day > 31) throw OracleError(error::day_of_month_out_of_range);
    if (civil.day > days_in_month(civil.year, civil.month)) throw OracleError(error::date_not_valid_for_month);
    if (civil.hour < 0 || civil.hour > 23) throw OracleError(error::hour_out_of_range);
    if (civil.minute < 0 || civil.minute > 59) throw OracleError(error::minutes_out_of_range);
    if (civil.second < 0 || civil.second > 59) throw OracleError(error::seconds_out_of_range);
}

int days_in_month(int year, int month) {
    const bool leap = year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
    return month == 2 && leap ? 29 : month_days[month - 1];
}

std::int64_t days_from_civil(int year, int month, int day) {
    // Years that begin in March put the leap day last, so that the days before a month are a linear formula.
    const std::int64_t y = month <= 2 ? year - 1 : year;
    const std::int64_t era = (y >= 0 ? y : y - 399) / 400;
    const std::int64_t year_of_era = y - era * 400;
    const std::int64_t day_of_year = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
    return era * 146097 + year_of_era * 365 + year_of_era / 4 - year_of_era / 100 + day_of_year - 719468;
}

void civil_from_days(std::int64_t days, Civil& civil) {
    days += 719468;
    const std::int64_t era = (days >= 0 ? days : days - 146096) / 146097;
    const std::int64_t day_of_era = days - era * 146097;
    const std::int64_t year_of_era = (day_of_era - day_of_era / 1460 + day_of_era / 36524 - day_of_era / 146096) / 365;
    const std::int64_t day_of_year = day_of_era - (365 * year_of_era + year_of_era / 4 - year_of_era / 100);
    const std::int64_t month_from_march = (5 * day_of_year + 2) / 153;
    civil.day = static_cast<int>(day_of_year - (153 * month_from_march + 2) / 5 + 1);
    civil.month = static_cast<int>(month_from_march < 10 ? month_from_march + 3 : month_from_march - 9);
    civil.year = static_cast<int>(year_of_era + era * 400 + (civil.month <= 2 ? 1 : 0));
}

std::string_view number_text(const Value& number, std::string& scratch) {
    if (number.type != Value::Type::integer) return scratch = Decimal(number).text();
    char digits[24];
    const auto end = std::to_chars(digits, std::end(digits), number.integer).ptr;
    return scratch.assign(digits, end);
}

Value number_of(std::string_view text) {
    const char* end = text.data() + text.size();
    std::int64_t integer = 0;
    if (const auto whole = std::from_chars(text.data(), end, integer); whole.ec == std::errc{} && whole.ptr == end) {
        return Value::of(integer);
    }
    Decimal number;
    if (!Decimal::parse(text, number)) throw OracleError(error::invalid_number);
    return number.exact();
}

Value number_of(const Value& value) {
    if (value.type == Value::Type::text) return number_of(value.text());
    if (value.type == Value::Type::blob) throw OracleError(error::inconsistent_datatypes, "expected NUMBER got BINARY");
    return value;
}

std::string bytes_of_hex(std::string_view hex) {
    const bool odd = hex.size() % 2 != 0;
    std::string bytes;
    bytes.reserve(hex.size() / 2 + 1);
    unsigned byte = 0;
    for (std::size_t i = 0; i < hex.size(); ++i) {
        const char c = hex[i];
        if (std::isxdigit(static_cast<unsigned char>(c)) == 0) throw OracleError(error::invalid_hex);
        const int digit = c <= '9' ? c - '0' : (c | 0x20) - 'a' + 10;
        byte = (byte << 4 | static_cast<unsigned>(digit)) & 0xFFU;
        if ((i % 2 == 0) == odd) bytes.push_back(static_cast<char>(byte));
    }
    return bytes;
}

std::string hex_of(std::string_view bytes) {
    std::string hex;
    hex.reserve(bytes.size() * 2);
    for (const unsigned char byte : bytes) {
        hex.push_back("0123456789ABCDEF"[byte >> 4]);
        hex.push_back("0123456789ABCDEF"[byte & 15]);
    }
    return hex;
}

} // namespace oci
