#include <chrono>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <tuple>
#include <vector>

#include "dtk/calendar/DTK_Date.h"
#include "dtk/calendar/DTK_DateTime.h"
#include "dtk/calendar/DTK_DbDate.h"
#include "tests/support.h"

namespace {

/// A mutable copy of a text that ends exactly with its NUL, so that the address sanitizer sees a read behind it.
std::vector<char> chars(const char* text) {
    return std::vector<char>(text, text + std::strlen(text) + 1);
}

template <typename Value, typename Format> std::string text(const Value& value, Format format) {
    return value.mb_toString(format).c_str();
}

using Image = std::vector<int>;

Image image(const DTK_DbDate& date) {
    const unsigned char* bytes = date.mb_toDbDate();
    return Image(bytes, bytes + 7);
}

TEST(Date, DayNumbersAgreeWithChrono) {
    using namespace std::chrono;
    DTK_Date date(2000, 1, 1);
    EXPECT_EQ(date.mb_addMonths(0), 2451545);
    EXPECT_EQ(DTK_DateTime(date).mb_addSeconds(0), 211813488000);
    constexpr sys_days epoch = 1970y / January / 1;
    for (sys_days day = year(-4713) / November / 24; day < sys_days(20000y / January / 1); day += days(1)) {
        const year_month_day expected = day;
        const int y = int(expected.year()), m = int(unsigned(expected.month())), d = int(unsigned(expected.day()));
        ASSERT_EQ(date.mb_YMDtoJday(y, m, d), (day - epoch).count() + 2440588);
        st_Date split;
        date.mb_JdaytoYMD(split);
        ASSERT_TRUE(split.year == y && split.month == m && split.day == d) << y << '-' << m << '-' << d;
    }
}

struct MonthsRow {
    const char* name;
    const char* start;
    int months;
    std::string end;
    bool refusedForDateTimes = false;
};

class Months : public testing::TestWithParam<MonthsRow> {};

TEST_P(Months, MoveDatesAndDateTimes) {
    const auto& [name, start, months, end, refused] = GetParam();
    DTK_Date date(chars(start).data());
    DTK_DateTime dateTime((start + std::string("134530")).c_str(), DTF_YYYYMMDDHH24MISS);
    const long day = date.mb_addMonths(months);
    EXPECT_EQ(day, DTK_Date(date).mb_addMonths(0));
    EXPECT_EQ(text(date, DF_YYYYMMDD), end);
    const std::string error = outcome([&, n = months] { dateTime.mb_addMonths(n); });
    EXPECT_EQ(error, refused ? "12400 Invalid date format !!" : "");
    EXPECT_EQ(text(dateTime, DTF_YYYYMMDDHH24MISS), (refused ? start : end) + "134530");
}

INSTANTIATE_TEST_SUITE_P(Steps, Months,
                         testing::Values(MonthsRow{"last_day_stays_last", "20230228", 1, "20230331"},
                                         MonthsRow{"cut_to_shorter_month", "20240131", 1, "20240229"},
                                         MonthsRow{"cut_backward", "20240330", -1, "20240229"},
                                         MonthsRow{"leap_day_plus_year", "20240229", 12, "20250228"},
                                         MonthsRow{"day_before_leap_day_stays", "20240228", 12, "20250228"},
                                         MonthsRow{"into_next_year", "20241115", 2, "20250115"},
                                         MonthsRow{"to_december_forward", "20240510", 7, "20241210"},
                                         MonthsRow{"to_january_backward", "20240510", -4, "20240110"},
                                         MonthsRow{"to_december_backward", "20240510", -5, "20231210", true},
                                         MonthsRow{"beyond_december_backward", "20240510", -6, "20231110"},
                                         MonthsRow{"year_and_december_backward", "20240115", -13, "20221215", true},
                                         MonthsRow{"december_to_december_backward", "20241231", -24, "20221231"},
                                         MonthsRow{"greatest_step", "20000115", INT_MAX, "1789589700815"}),
                         rowName);

TEST(Months, YearsThatNoIntHoldsAreRefused) {
    DTK_DateTime dateTime(2147483647, 12, 31, 23, 59, 59);
    EXPECT_EQ(outcome([&] { dateTime.mb_addMonths(1); }), "12400 Invalid date format !!");
    DTK_Date date(dateTime), last(DTK_DateTime(LLONG_MAX));
    EXPECT_EQ(outcome([&] { date.mb_addMonths(INT_MAX); }), "100 Invalid DTK_Date format !!");
    EXPECT_EQ(text(date, DF_DDMMYYYY), "31122147483647");
    EXPECT_EQ(outcome([&] { last.mb_addMonths(INT_MIN); }), "100 Invalid DTK_Date format !!");
}

TEST(DateTime, AddsUnitsOfAnySizeWithoutOverflow) {
    DTK_DateTime dateTime(2024, 3, 15, 0, 0, 0);
    EXPECT_EQ(dateTime.mb_addHours(25), DTK_DateTime(2024, 3, 16, 1, 0, 0).mb_addSeconds(0));
    const long long start = dateTime.mb_addSeconds(0);
    EXPECT_EQ(dateTime.mb_addDays(INT_MAX) - start, INT_MAX * 86400LL);
    EXPECT_EQ(dateTime.mb_addHours(INT_MAX) - start, INT_MAX * 90000LL);
    EXPECT_EQ(dateTime.mb_addMinutes(-INT_MAX) - start, INT_MAX * 89940LL);
    EXPECT_EQ(DTK_DateTime(LLONG_MAX).mb_addSeconds(1), LLONG_MIN);
}

struct FormatRow {
    const char* name;
    int format;
    const char *date, *dateTime, *dbDate;
};

class Output : public testing::TestWithParam<FormatRow> {};

TEST_P(Output, FollowsTheFormat) {
    const auto format = DATETIME_FORMAT(GetParam().format);
    const auto dateFormat = DATE_FORMAT(GetParam().format);
    const DTK_DateTime dateTime(2024, 3, 15, 13, 45, 30);
    const DTK_DbDate dbDate(dateTime);
    EXPECT_EQ(text(DTK_Date(dateTime), dateFormat), GetParam().date);
    EXPECT_STREQ(DTK_Date(dateTime).mb_toCharText(dateFormat), GetParam().date);
    EXPECT_EQ(outcome([&] { return text(dateTime, format); }), GetParam().dateTime);
    EXPECT_EQ(outcome([&] { return std::string(dateTime.mb_toCharText(format)); }), GetParam().dateTime);
    EXPECT_EQ(outcome([&] { return text(dbDate, format); }), GetParam().dbDate);
    EXPECT_EQ(outcome([&] { return std::string(dbDate.mb_toText(format)); }), GetParam().dbDate);
}

constexpr const char *error105 = "105 INVALID DATE FORMAT SPECIFIER !!!",
                     *error103 = "103 INVALID DATE FORMAT SPECIFIER !!!";

INSTANTIATE_TEST_SUITE_P(Formats, Output,
                         testing::Values(FormatRow{"zero", 0, "20240315", error105, error103},
                                         FormatRow{"year_first", 1, "20240315", "20240315134530", "20240315134530"},
                                         FormatRow{"day_first", 2, "15032024", "15032024134530", "15032024134530"},
                                         FormatRow{"year_first_12", 3, "20240315", "20240315014530", "20240315014530"},
                                         FormatRow{"day_first_12", 4, "20240315", "15032024014530", "15032024014530"},
                                         FormatRow{"unknown", 5, "20240315", error105, error103}),
                         rowName);

TEST(Output, TextsOfOneExpressionLiveSideBySide) {
    EXPECT_STRNE(DTK_Date(2024, 3, 5).mb_toCharText(DF_YYYYMMDD), DTK_Date(2024, 3, 6).mb_toCharText(DF_YYYYMMDD));
}

TEST(Output, ImagesThatNobodyValidatedHaveATextAndNoOtherValue) {
    DTK_DbDate zeros, ones;
    std::memset(static_cast<void*>(&zeros), 0, 7);
    std::memset(static_cast<void*>(&ones), 255, 7);
    EXPECT_EQ(text(zeros, DTF_YYYYMMDDHH12MISS), "-100-1000000-1-1-1");
    EXPECT_EQ(text(ones, DTF_DDMMYYYYHH24MISS), "255255155155254254254");
    EXPECT_EQ(outcome([&] { DTK_Date date(zeros); }), "100 Invalid DTK_Date Value !!");
    EXPECT_EQ(outcome([&] { DTK_DateTime dateTime(ones); }), "104 Invalid Date Time Value!!!");
}

struct InputRow {
    const char* name;
    const char* text;
    int format;
    // What each type makes of it, written year first, or the error. A date takes no format.
    const char *dbDate, *dateTime, *date;
};

class Input : public testing::TestWithParam<InputRow> {};

/// What the value is, year first, after it has read the row's text; a refused text must leave it alone.
template <typename Value, typename... Format>
std::string read(const InputRow& row, Value value, auto yearFirst, Format... format) {
    std::vector<char> input = row.text ? chars(row.text) : std::vector<char>();
    const Value before = value;
    const std::string error = outcome([&] { value.mb_fromText(row.text ? input.data() : nullptr, format...); });
    EXPECT_TRUE(error.empty() || std::memcmp(&value, &before, sizeof value) == 0);
    return error.empty() ? text(value, yearFirst) : error;
}

TEST_P(Input, IsReadOrRefused) {
    const auto format = DATETIME_FORMAT(GetParam().format);
    const DTK_Date date(1999, 12, 31);
    EXPECT_EQ(read(GetParam(), DTK_DbDate(date), DTF_YYYYMMDDHH24MISS, format), GetParam().dbDate);
    EXPECT_EQ(read(GetParam(), DTK_DateTime(date), DTF_YYYYMMDDHH24MISS, format), GetParam().dateTime);
    EXPECT_EQ(read(GetParam(), date, DF_YYYYMMDD), GetParam().date);
}

constexpr const char *noDbDate = "100 Invalid Date format", *noDateTime = "104 Error in date format!!!",
                     *noDate = "100 Invalid DTK_Date format !!";

INSTANTIATE_TEST_SUITE_P(
    Texts, Input,
    testing::Values(InputRow{"year_first", "20240315134530", 1, "20240315134530", "20240315134530", "20240315"},
                    InputRow{"hour_as_it_stands", "20240315134530", 3, "20240315134530", "20240315134530", "20240315"},
                    InputRow{"day_first", "15032024134530", 2, "20240315134530", noDateTime, noDate},
                    InputRow{"day_first_small_year", "15030012134530", 4, "00120315134530", "00000312134530", noDate},
                    InputRow{"year_first_as_day_first", "20240315134530", 2, noDbDate, noDateTime, "20240315"},
                    InputRow{"february_30", "20240230000000", 1, noDbDate, noDateTime, noDate},
                    InputRow{"leap_century", "20000229000000", 1, "20000229000000", "20000229000000", "20000229"},
                    InputRow{"common_century", "19000229000000", 1, noDbDate, noDateTime, noDate},
                    InputRow{"month_0", "202400150000xx", 1, noDbDate, noDateTime, noDate},
                    InputRow{"partial_numbers", "2024 3+51xx2-0", 1, "20240305010000", "20240305010000", "20240305"},
                    InputRow{"hour_24", "20240315240000", 1, "20240315240000", noDateTime, "20240315"},
                    InputRow{"minute_60", "20240315006000", 1, noDbDate, noDateTime, "20240315"},
                    InputRow{"negative_second", "202403150000-1", 1, noDbDate, noDateTime, "20240315"},
                    InputRow{"date_only", "20240315", 1, "20240315000000", "20240315000000", "20240315"},
                    InputRow{"ends_in_the_month", "20241", 1, noDbDate, noDateTime, noDate},
                    InputRow{"unknown_format", "20240315134530", 5, "100 Invalid date format specifier ",
                             "105 Invalid date format specifier !!!", "20240315"},
                    InputRow{"empty", "", 1, "101 Memory access violation", "101 Empty data passed ",
                             "100 Invalid DTK_Date format!!"},
                    InputRow{"null", nullptr, 1, "101 Null pointer assignment", "101 Null pointer assignment",
                             "101 memory access violation!!"}),
    rowName);

TEST(DbDateImage, IsValidatedByTheRangeOfItsEncoding) {
    const unsigned char valid[] = {120, 124, 3, 15, 14, 46, 31};
    constexpr const char* bad = "12500 Invalid Date format";
    const std::tuple<int, unsigned char, const char*> changes[] = {{2, 13, bad}, {3, 0, bad}, {4, 0, bad}, {4, 60, ""},
                                                                   {5, 61, bad}, {6, 0, bad}, {0, 95, ""}};
    for (const auto& [index, byte, error] : changes) {
        Image expected(std::begin(valid), std::end(valid));
        DTK_DbDate date(chars("20240315134530").data(), DTF_YYYYMMDDHH24MISS);
        EXPECT_EQ(image(date), expected);
        std::vector<unsigned char> candidate(std::begin(valid), std::end(valid));
        candidate[index] = byte;
        if (*error == '\0') expected[index] = byte;
        EXPECT_EQ(outcome([&] { date.mb_fromDbDate(candidate.data()); }), error);
        EXPECT_EQ(image(date), expected);
    }
}

TEST(DbDateImage, ConvertsToAndFromTheOtherTypes) {
    DTK_DateTime dateTime(2024, 3, 15, 13, 45, 30);
    DTK_Date date(dateTime);
    DTK_DbDate dbDate(dateTime);
    EXPECT_EQ(image(dbDate), (Image{120, 124, 3, 15, 14, 46, 31}));
    EXPECT_EQ(DTK_DateTime(dbDate).mb_addSeconds(0), dateTime.mb_addSeconds(0));
    EXPECT_EQ(text(DTK_Date(dbDate), DF_YYYYMMDD), "20240315");
    dbDate = date;
    EXPECT_EQ(image(dbDate), (Image{120, 124, 3, 15, 1, 1, 1}));
    st_DateTime record{-1, 300, INT_MIN, INT_MAX, 0, 59};
    EXPECT_EQ(Image(dbDate.mb_fromDateTimeStruct(record), dbDate.mb_fromDateTimeStruct(record) + 7),
              (Image{(INT_MIN / 100 + 100) & 255, 52, 300 & 255, 255, 0, 1, 60}));
    EXPECT_EQ(outcome([&] { dbDate.mb_fromDbDate(nullptr); }), "12501 Null pointer assignment");
}

TEST(Validation, HasAMessagePerEntryPoint) {
    DTK_Date date(2024, 2, 29);
    DTK_DateTime dateTime(date);
    st_Date noLeapDay{29, 2, 2023};
    st_DateTime noSecond{1, 1, 2024, 0, 0, 60}, noMonth{1, 0, 2024, 0, 0, 0};
    EXPECT_EQ(outcome([] { DTK_Date(2023, 2, 29); }), "100 Invalid DTK_Date Value !!");
    EXPECT_EQ(outcome([&] { date.mb_YMDtoJday(noLeapDay); }), "100 Invalid DTK_Date Value !!");
    EXPECT_EQ(outcome([] { DTK_DateTime(2024, 1, 1, 24, 0, 0); }), "104 Invalid Date Time Value!");
    EXPECT_EQ(outcome([&] { dateTime.mb_toJulianDateTime(2024, 13, 1, 0, 0, 0); }), "104 Invalid Date Time Value!!!");
    EXPECT_EQ(outcome([&] { dateTime.mb_toJulianDateTime(noSecond); }), "104 Invalid Date Time value");
    EXPECT_EQ(text(date, DF_YYYYMMDD) + text(dateTime, DTF_YYYYMMDDHH24MISS), "2024022920240229000000");
    EXPECT_TRUE(dateTime.mb_validate(chars("20240229").data(), DTF_YYYYMMDDHH24MISS));
    EXPECT_FALSE(dateTime.mb_validate(nullptr, DTF_YYYYMMDDHH24MISS) || date.mb_validate(nullptr));
    EXPECT_EQ(dateTime.mb_daysInMonth(noMonth), 0);
}

TEST(Difference, IsSigned) {
    DTK_Date date(2000, 1, 1);
    EXPECT_EQ(date.mb_dateDiff(chars("20240301").data(), chars("20240228").data()), 2);
    const long long seconds =
        DTK_DateTime(date).mb_dateTimeDiff(chars("20240228235959").data(), chars("20240301000000").data());
    EXPECT_EQ(seconds, -86401);
}

TEST(SystemDate, IsLocal) {
    setenv("TZ", "FAR-14", 1); // 14 hours ahead of UTC
    tzset();
    DTK_DateTime now(0);
    DTK_Date today(now);
    const std::time_t before = std::time(nullptr);
    const long long seconds = now.mb_fromSysDate().mb_addSeconds(0);
    const long day = today.mb_fromSysDate().mb_addMonths(0);
    const std::time_t after = std::time(nullptr);
    const auto local = [](std::time_t moment) { return 2440588 * 86400LL + moment + 14 * 3600; };
    EXPECT_TRUE(local(before) <= seconds && seconds <= local(after)) << seconds;
    EXPECT_TRUE(local(before) / 86400 <= day && day <= local(after) / 86400) << day;
}

} // namespace
