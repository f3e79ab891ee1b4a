#include "dtk/dtk.h"
#include "tests/support.h"

#include <memory>
#include <vector>

namespace {

struct Group {
    const char* name;
    std::vector<std::pair<const char*, const char*>> cases; ///< an expression and what TO_CHAR makes of its value
};

class ClientFunctions : public ::testing::TestWithParam<Group> {
  protected:
    void TearDown() override { connection->mb_terminateStatement(statement.get()); }

    /// The value of the expression as text, or the ORA- number that it fails with.
    std::string evaluate(const std::string& expression) {
        try {
            const std::string query = "SELECT TO_CHAR(" + expression + ") FROM DUAL";
            std::unique_ptr<DTK_ResultSetBase> rows(statement->mb_executeQuery(query.c_str()));
            rows->mb_fetch();
            const std::string value = rows->mb_isNull(1) ? "NULL" : rows->mb_getString(1).c_str();
            statement->mb_closeResultSet(rows.get());
            return value;
        } catch (DTK_Exception& error) {
            return "ORA-" + std::to_string(error.mb_getDBErrorCode());
        }
    }

    std::unique_ptr<DTK_ConnectionPoolBase> pool = memoryPool();
    std::unique_ptr<DTK_ConnectionBase> connection{pool->mb_getConnection(true)};
    std::unique_ptr<DTK_StatementBase> statement{connection->mb_createStatement("SELECT 1 FROM DUAL")};

  private:
    static std::unique_ptr<DTK_ConnectionPoolBase> memoryPool() {
        std::unique_ptr<DTK_ConnectionPoolBase> made(gb_getConnectionPool());
        made->mb_create("scott", "tiger", "memory:functions", 1, 1, "", "", 0);
        return made;
    }
};

TEST_P(ClientFunctions, areOracles) {
    for (const auto& [expression, value] : GetParam().cases) EXPECT_EQ(evaluate(expression), value) << expression;
}

const Group groups[] = {
    {"arithmetic",
     {{"'1' + 2.5", "3.5"},
      {"'x' + 1", "ORA-1722"},
      {"'9223372036854775807' + 1", "ORA-1426"},
      {"7 / 2", "3.5"},
      {"1 / 0", "ORA-1476"},
      {"(DATE '2024-02-28' + 1.5) - DATE '2024-02-28'", "1.5"},
      {"DATE '2024-03-01' - DATE '2024-02-28'", "2"},
      {"DATE '9999-12-31' + 1", "ORA-1841"},
      {"DATE '2024-03-01' * 2", "ORA-932"},
      {"DATE '2024-03-01' + DATE '2024-03-01'", "ORA-975"},
      {"'a' || NULL || 0.5", "a.5"},
      {"'' || NULL", "NULL"}}},
    {"decimals",
     {{"CASE WHEN 0.1 + 0.2 = 0.3 THEN 'equal' END", "equal"},
      {"CASE WHEN 0.1 + 0.2 - 0.3 = 0 THEN 'equal' END", "equal"},
      {"CASE WHEN 0.3 IN (1 - 0.7, 0.1 * 3) AND 1.1 * 1.1 = POWER(1.1, 2) THEN 'equal' END", "equal"},
      {"CASE WHEN 12345678901234.56 + 0.01 > 12345678901234.56 THEN 'greater' END", "greater"},
      {"19.99 * 100", "1999"},
      {"123456789012.34 + 0.0056", "123456789012.3456"},
      {"9007199254740993 + 0 + 1 * 2 - 2", "9007199254740993"}}},
    {"choice",
     {{"NVL('', 'x')", "x"},
      {"NVL2(0, 'set', 'null')", "set"},
      {"DECODE(NULL, 1, 'one', NULL, 'none')", "none"},
      {"DECODE('01', 1, 'equal as numbers', 'not')", "equal as numbers"},
      {"DECODE(1, '01', 'equal', 'not equal as texts')", "not equal as texts"},
      {"GREATEST(2, '10')", "10"},
      {"LEAST('b', NULL)", "NULL"}}},
    {"numbers",
     {{"ROUND(2.675, 2)", "2.68"},
      {"ROUND(1.005, 2)", "1.01"},
      {"ROUND(-2.5)", "-3"},
      {"ROUND(9007199254740993001, -1)", "9007199254740993000"},
      {"MOD(-7, 3)", "-1"},
      {"MOD(0.3, 0.1)", "0"},
      {"MOD(56986.3085, -8)", "2.3085"},
      {"MOD(1e30, 7)", "1"},
      {"REMAINDER(11, 4)", "-1"},
      {"REMAINDER(2.5, 1)", ".5"},
      {"BITAND(12, 10)", "8"},
      {"WIDTH_BUCKET(35, 0, 100, 10)", "4"},
      {"CEIL(-1.5) || FLOOR(-1.5)", "-1-2"},
      {"ABS(-9223372036854775807 - 1)", "ORA-1426"},
      {"POWER(3, 39)", "4052555153018976267"},
      {"POWER(2, -2)", ".25"},
      {"LOG(10, 1000)", "3"},
      {"SQRT(-1)", "ORA-1428"},
      {"EXP(1000)", "ORA-1426"}}},
    {"texts",
     {{"SUBSTR('àéîõü', -3, 2)", "îõ"},
      {"SUBSTR('abc', 0, 2)", "ab"},
      {"SUBSTRB('abc', -2)", "bc"},
      {"INSTR('éabcabc', 'abc', 3)", "5"},
      {"INSTR('abcabc', 'abc', -1, 2)", "1"},
      {"INSTRB('éa', 'a')", "3"},
      {"LPAD('é', 4, 'xy')", "xyxé"},
      {"TRIM('  ')", "NULL"},
      {"RTRIM('abcéü', 'üé')", "abc"},
      {"REPLACE('aa', 'a')", "NULL"},
      {"TRANSLATE('née', 'né', 'x')", "xe"},
      {"INITCAP('hello wORLD')", "Hello World"},
      {"UPPER('straßé жя') || LOWER('ÀΩ')", "STRAßÉ ЖЯàω"},
      {"LENGTH('né') || LENGTHB('né')", "23"},
      {"SOUNDEX('Robert') || SOUNDEX('Ashcraft') || SOUNDEX('Pfister')", "R163A261P236"},
      {"ASCIISTR('é\\')", "\\00E9\\005C"},
      {"UNISTR('\\00e9')", "é"},
      {"HEXTORAW('xy')", "ORA-1465"}}},
    {"stored_forms",
     {{"DUMP(123.45)", "Typ=2 Len=4: 194,2,24,46"},
      {"DUMP(-1)", "Typ=2 Len=3: 62,100,102"},
      {"DUMP('ab', 16)", "Typ=1 Len=2: 61,62"},
      {"DUMP(DATE '2024-02-29')", "Typ=12 Len=7: 120,124,2,29,1,1,1"},
      {"VSIZE(0)", "1"}}},
    {"regular_expressions",
     {{"REGEXP_SUBSTR('one, two', '\\w+', 1, 2)", "two"},
      {"REGEXP_SUBSTR('ab12cd', '([a-z]+)([0-9]+)', 1, 1, 'i', 2)", "12"},
      {"REGEXP_SUBSTR('<a><b>', '<.*?>')", "<a>"},
      {"REGEXP_INSTR('née 42', '[[:digit:]]{2}')", "5"},
      {"REGEXP_REPLACE('a  b   c', ' {2,}', ' ')", "a b c"},
      {"REGEXP_REPLACE('John Smith', '(\\w+) (\\w+)', '\\2, \\1')", "Smith, John"},
      {"REGEXP_COUNT('aXbxc', 'x', 1, 'i')", "2"},
      {"REGEXP_COUNT(RPAD('a', 1000, 'a'), '(a|b)*c')", "0"},
      {"REGEXP_SUBSTR('abab', '(ab)\\1')", "abab"},
      {"REGEXP_SUBSTR('aaa', '(a*)*')", "aaa"},
      {"REGEXP_COUNT('a', '(a')", "ORA-12725"},
      {"REGEXP_COUNT('a', '[a')", "ORA-12726"},
      {"REGEXP_COUNT('a', 'a{2,1}')", "ORA-12732"},
      {"REGEXP_COUNT(RPAD('a', 40, 'a'), '(a*)*(a*)*b')", "ORA-12723"}}},
    {"longest_texts",
     {{"LENGTH(RPAD('x', 3999) || 'y')", "4000"},
      {"LENGTH(RPAD('x', 4000) || 'y')", "ORA-1489"},
      {"LENGTH(CONCAT(RPAD('x', 4000), 'y'))", "ORA-1489"},
      {"LENGTH(REPLACE(RPAD('a', 2001, 'a'), 'a', 'bb'))", "ORA-1489"},
      {"LENGTH(TRANSLATE(RPAD('a', 2001, 'a'), 'a', 'é'))", "ORA-1489"},
      {"LENGTH(EMPTY_CLOB() || RPAD('x', 4000) || 'y')", "4001"},
      {"LENGTH(CONCAT(EMPTY_CLOB() || RPAD('x', 4000), 'y'))", "4001"},
      {"LENGTHB(RPAD('xé', 5000, 'é')) || LENGTHB(LPAD('é', 5000, 'é'))", "39994000"}}},
    {"dates",
     {{"ADD_MONTHS(DATE '2024-02-29', 1)", "31-MAR-24"},
      {"ADD_MONTHS(DATE '2024-03-30', -1)", "29-FEB-24"},
      {"MONTHS_BETWEEN(DATE '2024-03-31', DATE '2024-02-29')", "1"},
      {"MONTHS_BETWEEN(DATE '1995-02-02', DATE '1995-01-01')", "1.03225806451613"},
      {"LAST_DAY(DATE '1900-02-10')", "28-FEB-00"},
      {"NEXT_DAY(DATE '2024-05-17', 'FRI')", "24-MAY-24"},
      {"NEXT_DAY(DATE '2024-05-17', 1)", "19-MAY-24"},
      {"TO_CHAR(TRUNC(DATE '1969-12-31', 'IW'), 'YYYY-MM-DD')", "1969-12-29"},
      {"TO_CHAR(TRUNC(DATE '2024-05-16', 'WW'), 'MM-DD') || TO_CHAR(TRUNC(DATE '2024-05-16', 'CC'), ' YYYY')",
       "05-13 2001"},
      {"TO_CHAR(ROUND(DATE '2024-05-16', 'Q'), 'YYYY-MM-DD')", "2024-07-01"},
      {"TO_CHAR(NEW_TIME(DATE '2024-05-16', 'GMT', 'PST'), 'DD HH24')", "15 16"},
      {"SIGN(SYSDATE - DATE '2024-01-01')", "1"}}},
    {"date_formats",
     {{"TO_CHAR(DATE '2024-05-07', 'Day, DD Month YYYY')", "Tuesday  , 07 May       2024"},
      {"TO_CHAR(DATE '2024-05-07', 'FMDay, DD Month YYYY')", "Tuesday, 7 May 2024"},
      {"TO_CHAR(DATE '2021-01-03' + 47109/86400, 'dy MON hh:mi a.m. IYYY-IW DDD J')",
       "sun JAN 01:05 p.m. 2020-53 003 2459218"},
      {"TO_CHAR(DATE '2024-05-07', 'fmDDth \"of\" Month, Year Ddspth')", "7TH of May, Twenty Twenty-Four Seventh"},
      {"TO_CHAR(DATE '2024-05-07', 'Y,YYY RM Q W WW D CC AD')", "2,024 V    2 1 19 3 21 AD"},
      {"TO_CHAR(DATE '2024-05-07', 'DS') || TO_CHAR(DATE '2024-05-07', ' DL TS')",
       "5/7/2024 Tuesday, May 7, 2024 12:00:00 AM"},
      {"TO_CHAR(DATE '2024-05-07', 'YYYYX')", "ORA-1821"},
      {"TO_CHAR(DATE '2024-05-07', 'FF3')", "ORA-1821"},
      {"TO_DATE('20240517', 'YYYY-MM-DD')", "17-MAY-24"},
      {"TO_CHAR(TO_DATE('7/may/24 1:30 pm', 'DD-MON-YY HH:MI AM'), 'DD HH24:MI')", "07 13:30"},
      {"TO_CHAR(TO_DATE('2024060 3661', 'YYYYDDD SSSSS'), 'MM-DD HH24:MI:SS')", "02-29 01:01:01"},
      {"TO_CHAR(TO_DATE('31.12.99', 'DD.MM.RR'), 'YYYY')", "1999"},
      {"TO_DATE('2024-05-17', 'YYYY-MM-DD HH24:MI')", "17-MAY-24"},
      {"TO_DATE('17 VIII 2024', 'DD RM YYYY')", "17-AUG-24"},
      {"TO_DATE('2024-05', 'YYYY-MM-DD')", "ORA-1840"},
      {"TO_DATE('2023-02-29', 'YYYY-MM-DD')", "ORA-1839"},
      {"TO_DATE('2023-13-01', 'YYYY-MM-DD')", "ORA-1843"},
      {"TO_DATE('2023-xx-01', 'YYYY-MM-DD')", "ORA-1843"},
      {"TO_DATE('2023-01-xx', 'YYYY-MM-DD')", "ORA-1858"},
      {"TO_DATE('2024-05-17', 'DD-MON-RR')", "ORA-1861"},
      {"TO_DATE('1 2', 'DD DD')", "ORA-1810"},
      {"TO_DATE('24 24', 'YY YYYY')", "ORA-1812"},
      {"TO_DATE('13 pm', 'HH24 AM')", "ORA-1818"},
      {"TO_DATE('1-5-2024', 'FXDD-MM-YYYY')", "ORA-1862"}}},
    {"timestamps",
     {{"TO_TIMESTAMP('17-MAY-24 01.02.03.5 PM')", "17-MAY-24 01.02.03.500000000 PM"},
      {"TO_CHAR(TO_TIMESTAMP('2024-05-17 01:02:03.123456789', 'YYYY-MM-DD HH24:MI:SS.FF'), 'FF3 FF9 SSXFF2')",
       "123 123456789 03.12"},
      {"TO_CHAR(TO_TIMESTAMP_TZ('2024-05-17 23:30 +02:00', 'YYYY-MM-DD HH24:MI TZH:TZM'), 'DD HH24:MI TZR')",
       "17 23:30 +02:00"},
      {"TO_CHAR(SYS_EXTRACT_UTC(TO_TIMESTAMP_TZ('2024-05-17 01:30 +02:00', 'YYYY-MM-DD HH24:MI TZH:TZM')), 'DD "
       "HH24:MI')",
       "16 23:30"},
      {"FROM_TZ(TO_TIMESTAMP('17-MAY-24', 'DD-MON-RR'), '+16:00')", "ORA-1874"},
      {"FROM_TZ(TO_TIMESTAMP('17-MAY-24', 'DD-MON-RR'), 'Nowhere/Land')", "ORA-1882"},
      {"TZ_OFFSET('-03:30')", "-03:30"},
      {"NUMTODSINTERVAL(1.5, 'HOUR')", "+000000000 01:30:00.000000000"},
      {"TO_DSINTERVAL('-1 02:03:04.5')", "-000000001 02:03:04.500000000"},
      {"TO_YMINTERVAL('P1Y2M')", "+000000001-02"},
      {"TO_DSINTERVAL('1 25:00:00')", "ORA-1850"},
      {"NUMTODSINTERVAL(1e6, 'DAY')", "ORA-1873"}}},
    {"sessions",
     {{"SYS_CONTEXT('USERENV', 'SESSION_USER')", "SCOTT"},
      {"SYS_CONTEXT('NOBODYS', 'ATTRIBUTE')", "NULL"},
      {"SYS_CONTEXT('USERENV', 'NOTHING')", "ORA-2003"},
      {"LENGTH(SYS_GUID())", "32"}}},
    {"number_formats",
     {{"TO_CHAR(1234.567, '9,999.99')", " 1,234.57"},
      {"TO_CHAR(999.95, '999.9')", "######"},
      {"TO_CHAR(-5, '$00,000')", "-$00,005"},
      {"TO_CHAR(0.05, 'FM90.999')", "0.05"},
      {"TO_CHAR(0, '99.99') || TO_CHAR(0, 'FM99.99')", "   .000."},
      {"TO_CHAR(5, 'S999') || TO_CHAR(-5, '999MI')", "  +5  5-"},
      {"TO_CHAR(-5, '999PR') || TO_CHAR(5, '999PR')", "  <5>   5 "},
      {"TO_CHAR(123456, '9.99EEEE')", "  1.23E+05"},
      {"TO_CHAR(2024, 'RN') || TO_CHAR(4, 'fmrn')", "         MMXXIViv"},
      {"TO_CHAR(255, 'XXXX') || TO_CHAR(255, 'fm0xxx')", "   FF00ff"},
      {"TO_CHAR(1.25, '99V99') || TO_CHAR(1.5, 'TM')", "  1251.5"},
      {"TO_CHAR(5, '9X')", "ORA-1481"},
      {"TO_NUMBER('1,234.5-', '9,999.9S')", "-1234.5"},
      {"TO_NUMBER('<7>', '9PR') || TO_NUMBER('ff', 'xx')", "-7255"},
      {"TO_NUMBER('12,34', '9,999')", "ORA-1722"}}},
};

INSTANTIATE_TEST_SUITE_P(Of, ClientFunctions, ::testing::ValuesIn(groups), rowName);

} // namespace
