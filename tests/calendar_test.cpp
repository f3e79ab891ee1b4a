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
    // Every day of the 400 years after which the calendar repeats, and some of the others.
    const auto step = [](sys_days day) {
        return days(day >= 1800y / January / 1 && day < 2200y / January / 1 ? 1 : 97);
    };
    for (sys_days day = year(-4713) / November / 24; day < sys_days(20000y / January / 1); day += step(day)) {
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
    const std::string error = thrown([&, n = months] { dateTime.mb_addMonths(n); });
    EXPECT_EQ(error, refused ? "DTK 12400 Invalid date format !!" : "");
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
    EXPECT_EQ(thrown([&] { dateTime.mb_addMonths(1); }), "DTK 12400 Invalid date format !!");
    DTK_Date date(dateTime), last(DTK_DateTime(LLONG_MAX));
    EXPECT_EQ(thrown([&] { date.mb_addMonths(INT_MAX); }), "DTK 100 Invalid DTK_Date format !!");
    EXPECT_EQ(text(date, DF_DDMMYYYY), "31122147483647");
    EXPECT_EQ(thrown([&] { last.mb_addMonths(INT_MIN); }), "DTK 100 Invalid DTK_Date format !!");
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
    EXPECT_EQ(thrown([&] { return text(dateTime, format); }), GetParam().dateTime);
    EXPECT_EQ(thrown([&] { return std::string(dateTime.mb_toCharText(format)); }), GetParam().dateTime);
    EXPECT_EQ(thrown([&] { return text(dbDate, format); }), GetParam().dbDate);
    EXPECT_EQ(thrown([&] { return std::string(dbDate.mb_toText(format)); }), GetParam().dbDate);
}

constexpr const char *error105 = "DTK 105 INVALID DATE FORMAT SPECIFIER !!!",
                     *error103 = "DTK 103 INVALID DATE FORMAT SPECIFIER !!!";

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
    EXPECT_EQ(thrown([&] { DTK_Date date(zeros); }), "DTK 100 Invalid DTK_Date Value !!");
    EXPECT_EQ(thrown([&] { DTK_DateTime dateTime(ones); }), "DTK 104 Invalid Date Time Value!!!");
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
    const std::string error = thrown([&] { value.mb_fromText(row.text ? input.data() : nullptr, format...); });
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

constexpr const char *noDbDate = "DTK 100 Invalid Date format", *noDateTime = "DTK 104 Error in date format!!!",
                     *noDate = "DTK 100 Invalid DTK_Date format !!";

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
                    InputRow{"unknown_format", "20240315134530", 5, "DTK 100 Invalid date format specifier ",
                             "DTK 105 Invalid date format specifier !!!", "20240315"},
                    InputRow{"format_zero", "20240315134530", 0, "DTK 100 Invalid date format specifier ",
                             "DTK 105 Invalid date format specifier !!!", "20240315"},
                    InputRow{"empty", "", 1, "DTK 101 Memory access violation", "DTK 101 Empty data passed ",
                             "DTK 100 Invalid DTK_Date format!!"},
                    InputRow{"null", nullptr, 1, "DTK 101 Null pointer assignment", "DTK 101 Null pointer assignment",
                             "DTK 101 memory access violation!!"}),
    rowName);

TEST(DbDateImage, IsValidatedByTheRangeOfItsEncoding) {
    const unsigned char valid[] = {120, 124, 3, 15, 14, 46, 31};
    constexpr const char* bad = "DTK 12500 Invalid Date format";
    const std::tuple<int, unsigned char, const char*> changes[] = {{2, 13, bad}, {3, 0, bad}, {4, 0, bad}, {4, 60, ""},
                                                                   {5, 61, bad}, {6, 0, bad}, {0, 95, ""}};
    for (const auto& [index, byte, error] : changes) {
        Image expected(std::begin(valid), std::end(valid));
        DTK_DbDate date(chars("20240315134530").data(), DTF_YYYYMMDDHH24MISS);
        EXPECT_EQ(image(date), expected);
        std::vector<unsigned char> candidate(std::begin(valid), std::end(valid));
        candidate[index] = byte;
        if (*error == '\0') expected[index] = byte;
        EXPECT_EQ(thrown([&] { date.mb_fromDbDate(candidate.data()); }), error);
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
    EXPECT_EQ(thrown([&] { dbDate.mb_fromDbDate(nullptr); }), "DTK 12501 Null pointer assignment");
}

TEST(Validation, HasAMessagePerEntryPoint) {
    DTK_Date date(2024, 2, 29);
    DTK_DateTime dateTime(date);
    st_Date noLeapDay{29, 2, 2023};
    st_DateTime noSecond{1, 1, 2024, 0, 0, 60}, noMonth{1, 0, 2024, 0, 0, 0};
    EXPECT_EQ(thrown([] { DTK_Date(2023, 2, 29); }), "DTK 100 Invalid DTK_Date Value !!");
    EXPECT_EQ(thrown([&] { date.mb_YMDtoJday(noLeapDay); }), "DTK 100 Invalid DTK_Date Value !!");
    EXPECT_EQ(thrown([] { DTK_DateTime(2024, 1, 1, 24, 0, 0); }), "DTK 104 Invalid Date Time Value!");
    EXPECT_EQ(thrown([&] { dateTime.mb_toJulianDateTime(2024, 13, 1, 0, 0, 0); }),
              "DTK 104 Invalid Date Time Value!!!");
    EXPECT_EQ(thrown([&] { dateTime.mb_toJulianDateTime(noSecond); }), "DTK 104 Invalid Date Time value");
    EXPECT_EQ(text(date, DF_YYYYMMDD) + text(dateTime, DTF_YYYYMMDDHH24MISS), "2024022920240229000000");
    EXPECT_TRUE(dateTime.mb_validate(chars("20240229").data(), DTF_YYYYMMDDHH24MISS));
    EXPECT_FALSE(dateTime.mb_validate(nullptr, DTF_YYYYMMDDHH24MISS) || date.mb_validate(nullptr));
    EXPECT_EQ(dateTime.mb_daysInMonth(noMonth), 0);
}

TEST(Validation, TellsDatesFromTexts) {
    const std::tuple<const char*, bool, bool> cases[] = {{"20240229235959", true, true},
                                                         {"20230229000000", false, false},
                                                         {"20241300000000", false, false},
                                                         {"20240115240000", true, false},
                                                         {"20240115005960", true, false}};
    DTK_Date date(2000, 1, 1);
    DTK_DateTime dateTime(date);
    for (const auto& [text, isDate, isDateTime] : cases) {
        EXPECT_EQ(date.mb_validate(chars(text).data()), isDate) << text;
        EXPECT_EQ(dateTime.mb_validate(chars(text).data(), DTF_YYYYMMDDHH24MISS), isDateTime) << text;
    }
    EXPECT_TRUE(dateTime.mb_validate(chars("01022024235959").data(), DTF_DDMMYYYYHH24MISS) == false &&
                dateTime.mb_validate(chars("20022001235959").data(), DTF_YYYYMMDDHH24MISS) == false);
    for (const int unknown : {0, 5, -1}) {
        EXPECT_EQ(thrown([&] { dateTime.mb_validate(chars("20240229").data(), DATETIME_FORMAT(unknown)); }),
                  "DTK 105 Invalid date format specifier !!!");
    }
}

TEST(Validation, KnowsTheLengthsOfMonthsAndYears) {
    const std::tuple<int, int, int> lengths[] = {{2023, 2, 28}, {2024, 2, 29}, {1900, 2, 28}, {1800, 2, 28},
                                                 {2000, 2, 29}, {2023, 1, 31}, {2023, 4, 30}, {2023, 12, 31},
                                                 {2023, 0, 0},  {2023, 13, 0}};
    DTK_Date date(2000, 1, 1);
    DTK_DateTime dateTime(date);
    DTK_DbDate dbDate(date);
    for (const auto& [year, month, days] : lengths) {
        st_Date day{1, month, year};
        st_DateTime moment{1, month, year, 0, 0, 0};
        const bool leap = year == 2024 || year == 2000;
        EXPECT_EQ(std::tuple(date.mb_daysInMonth(day), dateTime.mb_daysInMonth(moment), dbDate.mb_daysInMonth(moment)),
                  std::tuple(days, days, days))
            << year << '-' << month;
        EXPECT_EQ(std::tuple(date.mb_isLeapYear(day), dateTime.mb_isLeapYear(moment), dbDate.mb_isLeapYear(moment)),
                  std::tuple(leap, leap, leap))
            << year;
    }
}

TEST(Assignment, TakesEveryOtherType) {
    DTK_DateTime dateTime(2024, 3, 15, 13, 45, 30), movedTime(0);
    DTK_DbDate dbDate(dateTime), movedDbDate;
    DTK_Date date(2023, 12, 31), moved(2000, 1, 1);
    const auto shown = [&] {
        return text(moved, DF_YYYYMMDD) + " " + text(movedTime, DTF_YYYYMMDDHH24MISS) + " " +
               text(movedDbDate, DTF_YYYYMMDDHH24MISS);
    };
    moved = dateTime;
    movedTime = dbDate;
    movedDbDate = dateTime;
    EXPECT_EQ(shown(), "20240315 20240315134530 20240315134530");
    moved = date;
    movedTime = DTK_String("20010203040506");
    movedDbDate = date;
    EXPECT_EQ(shown(), "20231231 20010203040506 20231231000000");
    moved = dbDate;
    movedTime = DTK_DateTime(date);
    movedDbDate = chars("19991231235958").data();
    EXPECT_EQ(shown(), "20240315 20231231000000 19991231235958");
}

TEST(Difference, IsSigned) {
    DTK_Date date(2000, 1, 1);
    EXPECT_EQ(date.mb_dateDiff(chars("20240301").data(), chars("20240228").data()), 2);
    const long long seconds =
        DTK_DateTime(date).mb_dateTimeDiff(chars("20240228235959").data(), chars("20240301000000").data());
    EXPECT_EQ(seconds, -86401);
}

TEST(SystemDate, IsLocal) {
    setenv("TZ", "FAR-24", 1); // a day ahead of UTC, so that the date differs at any time
    tzset();
    DTK_DateTime now(0);
    DTK_Date today(now);
    const std::time_t before = std::time(nullptr);
    const long long seconds = now.mb_fromSysDate().mb_addSeconds(0);
    const long day = today.mb_fromSysDate().mb_addMonths(0);
    const std::time_t after = std::time(nullptr);
    const auto local = [](std::time_t moment) { return 2440588 * 86400LL + moment + 24 * 3600; };
    EXPECT_TRUE(local(before) <= seconds && seconds <= local(after)) << seconds;
    EXPECT_TRUE(local(before) / 86400 <= day && day <= local(after) / 86400) << day;
}

} // namespace
