#include "tests/oci_session.h"

#include <functional>
#include <gtest/gtest.h>

// Statements that are larger than any that a person writes: carried out or refused, and neither takes long.

namespace {

std::string repeated(int count, const std::function<std::string(int)>& part, const std::string& between = "") {
    std::string text;
    for (int i = 0; i < count; ++i) text += (i > 0 ? between : std::string()) + part(i);
    return text;
}
std::string repeated(int count, const std::string& part) {
    return repeated(count, [&](int) { return part; });
}

struct ClientLimits : ::testing::Test {
    ClientLimits() {
        session.run("CREATE TABLE t (a NUMBER, v VARCHAR2(10))");
        session.run("INSERT INTO t VALUES (1, 'x')");
    }
    const OciSession session{"memory:limits"};
};

TEST_F(ClientLimits, ofLongStatements) {
    const auto number = [](int i) { return std::to_string(i); };
    const auto column = [](int i) { return "c" + std::to_string(i); };
    const struct {
        std::string name, text, result;
    } cases[] = {
        {"list", "SELECT COUNT(*) FROM t WHERE a IN (" + repeated(1'000'000, number, ",") + ")", "1"},
        {"literal", "SELECT '" + std::string(100'000'000, 'x') + "' FROM DUAL", "ORA-01704"},
        {"name", "SELECT " + std::string(1'000'000, 'x') + " FROM DUAL", "ORA-00972"},
        {"comment", "SELECT 1 /*" + std::string(10'000'000, '*') + "*/ FROM DUAL", "1"},
        {"conditions", "SELECT a FROM t WHERE a <> " + repeated(9'999, number, " AND a <> ") + " OR a = 1", "1"},
        {"ands", "SELECT a FROM t WHERE a <> " + repeated(10'001, number, " AND a <> "), "ORA-03001"},
        {"ors", "SELECT a FROM t WHERE a = " + repeated(10'001, number, " OR a = "), "ORA-03001"},
        {"branches",
         "SELECT CASE a " + repeated(10'001, [](int i) { return "WHEN " + std::to_string(i) + " THEN 1 "; }) +
             "END FROM t",
         "ORA-03001"},
        {"sum", "SELECT 1" + repeated(1'001, "+1") + " FROM DUAL", "ORA-03001"},
        {"columns",
         "CREATE TABLE w (" +
             repeated(
                 1'000, [&](int i) { return column(i) + " NUMBER"; }, ",") +
             ")",
         ""},
        {"more_columns",
         "CREATE TABLE x (" +
             repeated(
                 1'001, [&](int i) { return column(i) + " NUMBER"; }, ",") +
             ")",
         "ORA-01792"},
        {"values", "INSERT INTO w VALUES (" + repeated(1'000, number, ",") + ")", ""},
        {"assignments",
         "UPDATE w SET " + repeated(
                               1'000, [&](int i) { return column(i) + "=1"; }, ","),
         ""},
        {"select_list", "SELECT " + repeated(1'000, column, "+") + " FROM w", "1000"},
        {"joins", "SELECT 1 FROM t t0" + repeated(70, [](int i) { return ", t u" + std::to_string(i); }), "ORA-03001"},
        {"unions", "SELECT 1 FROM DUAL" + repeated(600, " UNION ALL SELECT 1 FROM DUAL"), "ORA-03001"},
        {"block", "DECLARE n NUMBER := 0; BEGIN\n" + repeated(100'000, "n := n + 1;\n") + "END;", ""},
    };
    for (const auto& tested : cases) EXPECT_EQ(session.run(tested.text), tested.result) << tested.name;
}

TEST_F(ClientLimits, ofDeepNesting) {
    const struct {
        std::string before, inside, behind, result;
    } cases[] = {
        {"SELECT ", "(", "1", "ORA-03001"},
        {"SELECT 1 FROM DUAL WHERE ", "(", "1=1", "ORA-03001"},
        {"SELECT 1 FROM DUAL WHERE ", "NOT ", "1=1", "1"},
        {"SELECT ", "- ", "1 FROM DUAL", "ORA-03001"},
        {"SELECT ", "UPPER(", "1", "ORA-03001"},
        {"SELECT ", "CASE WHEN 1=1 THEN ", "1", "ORA-03001"},
        {"", "SELECT * FROM (", "", "ORA-03001"},
        {"SELECT 1 FROM DUAL WHERE 1 IN ", "(SELECT 1 FROM DUAL WHERE 1 IN ", "", "ORA-03001"},
        {"", "BEGIN ", "NULL;", "ORA-06550"},
        {"BEGIN ", "IF 1=1 THEN ", "NULL;", "ORA-06550"},
        {"DECLARE n NUMBER; BEGIN n := ", "(", "1", "ORA-06550"},
    };
    for (const auto& tested : cases) {
        const std::string text = tested.before + repeated(10'000, tested.inside) + tested.behind;
        const std::string result = session.run(text);
        EXPECT_TRUE(result == tested.result || (tested.result == "ORA-06550" && result == "ORA-03001"))
            << tested.before << tested.inside << result;
    }
}

TEST_F(ClientLimits, ofManyPlaceholders) {
    constexpr int count = 65'000;
    const auto placeholder = [](int i) { return ":" + std::to_string(i + 1); };
    OCIStmt* query = session.prepare("SELECT ':1', a FROM t WHERE a IN (" + repeated(count, placeholder, ",") + ")");
    std::vector<int> values(count);
    for (int i = 0; i < count; ++i) {
        values[static_cast<std::size_t>(i)] = count - i;
        ASSERT_EQ(
            session.bind(query, static_cast<ub4>(i + 1), &values[static_cast<std::size_t>(i)], sizeof(int), SQLT_INT),
            0);
    }
    int found = 0;
    ASSERT_EQ(session.execute(query, 0), 0);
    ASSERT_EQ(session.define(query, 2, &found, sizeof found, SQLT_INT), 0);
    EXPECT_EQ(session.fetch(query), 0);
    EXPECT_EQ(found, 1);
    session.release(query);
}

} // namespace
