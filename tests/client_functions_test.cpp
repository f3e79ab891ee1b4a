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
      {"'9223372036854775807' + 1", "9223372036854775808"},
      {"7 / 2", "3.5"},
      {"1 / 0", "ORA-1476"},
      {"DATE '2024-02-28' + 1.5", "2024-02-29 12:00:00"},
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
      {"ROUND(-2.5)", "-3"},
      {"ROUND(9007199254740993001, -1)", "9007199254740993000"},
      {"MOD(-7, 3)", "-1"},
      {"MOD(0.3, 0.1)", "0"},
      {"MOD(56986.3085, -8)", "2.3085"},
      {"ABS(-9223372036854775807 - 1)", "9223372036854775808"},
      {"LOG(10, 1000)", "3"},
      {"SQRT(-1)", "ORA-1428"},
      {"EXP(1000)", "ORA-1426"}}},
    {"texts",
     {{"SUBSTR('àéîõü', -3, 2)", "îõ"},
      {"SUBSTR('abc', 0, 2)", "ab"},
      {"INSTR('éabcabc', 'abc', 3)", "5"},
      {"INSTR('abcabc', 'abc', -1, 2)", "1"},
      {"LPAD('é', 4, 'xy')", "xyxé"},
      {"TRIM('  ')", "NULL"},
      {"RTRIM('abcéü', 'üé')", "abc"},
      {"REPLACE('aa', 'a')", "NULL"},
      {"TRANSLATE('née', 'né', 'x')", "xe"},
      {"INITCAP('hello wORLD')", "Hello World"},
      {"LENGTH('né') || LENGTHB('né')", "23"},
      {"HEXTORAW('xy')", "ORA-1465"}}},
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
     {{"ADD_MONTHS(DATE '2024-02-29', 1)", "2024-03-31 00:00:00"},
      {"ADD_MONTHS(DATE '2024-03-30', -1)", "2024-02-29 00:00:00"},
      {"MONTHS_BETWEEN(DATE '2024-03-31', DATE '2024-02-29')", "1"},
      {"MONTHS_BETWEEN(DATE '1995-02-02', DATE '1995-01-01') * 31", "32"},
      {"LAST_DAY(DATE '1900-02-10')", "1900-02-28 00:00:00"},
      {"NEXT_DAY(DATE '2024-05-17', 'FRI')", "2024-05-24 00:00:00"},
      {"TRUNC(DATE '1969-12-31', 'IW')", "1969-12-29 00:00:00"},
      {"ROUND(DATE '2024-05-16', 'Q')", "2024-07-01 00:00:00"},
      {"SIGN(SYSDATE - DATE '2024-01-01')", "1"}}},
    {"date_formats",
     {{"TO_CHAR(DATE '2024-05-07', 'Day, DD Month YYYY')", "Tuesday  , 07 May       2024"},
      {"TO_CHAR(DATE '2024-05-07', 'FMDay, DD Month YYYY')", "Tuesday, 7 May 2024"},
      {"TO_CHAR(DATE '2021-01-03' + 47109/86400, 'dy MON hh:mi a.m. IYYY-IW DDD J')",
       "sun JAN 01:05 p.m. 2020-53 003 2459218"},
      {"TO_CHAR(DATE '2024-05-07', 'YYYYX')", "ORA-1821"},
      {"TO_DATE('20240517', 'YYYY-MM-DD')", "2024-05-17 00:00:00"},
      {"TO_DATE('7/may/24 1:30 pm', 'DD-MON-YY HH:MI AM')", "2024-05-07 13:30:00"},
      {"TO_DATE('2024060 3661', 'YYYYDDD SSSSS')", "2024-02-29 01:01:01"},
      {"TO_DATE('31.12.99', 'DD.MM.RR')", "1999-12-31 00:00:00"},
      {"TO_DATE('2024-05-17', 'YYYY-MM-DD HH24:MI')", "2024-05-17 00:00:00"},
      {"TO_DATE('2024-05', 'YYYY-MM-DD')", "ORA-1840"},
      {"TO_DATE('2023-02-29', 'YYYY-MM-DD')", "ORA-1839"},
      {"TO_DATE('2023-13-01', 'YYYY-MM-DD')", "ORA-1843"},
      {"TO_DATE('2023-xx-01', 'YYYY-MM-DD')", "ORA-1858"}}},
    {"number_formats",
     {{"TO_CHAR(1234.567, '9,999.99')", " 1,234.57"},
      {"TO_CHAR(999.95, '999.9')", "######"},
      {"TO_CHAR(-5, '$00,000')", "-$00,005"},
      {"TO_CHAR(0.05, 'FM90.999')", "0.05"},
      {"TO_CHAR(5, 'S999') || TO_CHAR(-5, '999MI')", "  +5  5-"},
      {"TO_CHAR(5, '9X')", "ORA-1481"},
      {"TO_NUMBER('1,234.5-', '9,999.9S')", "-1234.5"},
      {"TO_NUMBER('12,34', '9,999')", "ORA-1722"}}},
};

INSTANTIATE_TEST_SUITE_P(Of, ClientFunctions, ::testing::ValuesIn(groups), rowName);

} // namespace
