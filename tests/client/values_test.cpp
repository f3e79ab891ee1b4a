#include "tests/oci_session.h"
#include "tests/support.h"

#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>

namespace {

template <class T> std::string bytesOf(T value) {
    return {reinterpret_cast<const char*>(&value), sizeof value};
}
std::string date(std::initializer_list<int> image) {
    std::string bytes;
    for (const int byte : image) bytes.push_back(static_cast<char>(byte));
    return bytes;
}
template <class T> std::string numberIn(const std::string& bytes) {
    T value;
    std::memcpy(&value, bytes.data(), sizeof value);
    return std::to_string(value);
}
std::string ora(int code) {
    return "ORA-" + std::to_string(code);
}

/// What a buffer holds, as text.
std::string shown(ub2 type, const std::string& bytes) {
    const bool isSigned = type == SQLT_INT;
    if (type == SQLT_INT || type == SQLT_UIN) {
        switch (bytes.size()) {
        case 1: return isSigned ? numberIn<sb1>(bytes) : numberIn<ub1>(bytes);
        case 2: return isSigned ? numberIn<sb2>(bytes) : numberIn<ub2>(bytes);
        case 4: return isSigned ? numberIn<sb4>(bytes) : numberIn<ub4>(bytes);
        default: return isSigned ? numberIn<std::int64_t>(bytes) : numberIn<std::uint64_t>(bytes);
        }
    }
    if (type == SQLT_FLT) return bytes.size() == 4 ? numberIn<float>(bytes) : numberIn<double>(bytes);
    if (type == SQLT_STR) return bytes.c_str();
    if (type != SQLT_DAT) return bytes;
    std::string image;
    for (const unsigned char byte : bytes) image += std::to_string(byte) + ' ';
    return image;
}

/// A session with one table of one column, made anew for every case.
struct Values : ::testing::Test {
    void declare(const std::string& type) {
        session.run("DROP TABLE v");
        ASSERT_EQ(session.run("CREATE TABLE v (c " + type + ")"), "") << type;
    }
    OciSession session{"memory:values"};
};

struct Fetched {
    const char* declaration;
    const char* stored;
    ub2 type;
    std::size_t size;
    std::string indicated;         ///< the indicator and what is in the buffer
    const char* without = nullptr; ///< what a fetch without an indicator does instead, where it differs
};

const Fetched fetched[] = {
    {"NUMBER(9)", "128", SQLT_INT, 1, ora(1455)},
    {"NUMBER(9)", "0", SQLT_INT, 4, "0 0"},
    {"NUMBER(10)", "-2147483649", SQLT_INT, 4, ora(1455)},
    {"NUMBER(9)", "NULL", SQLT_INT, 4, "-1", "ORA-1405"},
    {"NUMBER(9)", "-1", SQLT_UIN, 4, ora(1455)},
    {"NUMBER", "4294967295", SQLT_UIN, 4, "0 4294967295"},
    {"NUMBER", "-1.9", SQLT_INT, 4, "0 -1"},
    {"NUMBER(19)", "-9223372036854775808", SQLT_INT, 8, "0 -9223372036854775808"},
    {"NUMBER", "9223372036854776000", SQLT_INT, 8, ora(1455)},
    {"NUMBER", "1e40", SQLT_INT, 8, ora(1455)},
    {"VARCHAR2(9)", "' 007 '", SQLT_INT, 4, "0 7"},
    {"VARCHAR2(9)", "'x'", SQLT_INT, 4, ora(1722)},
    {"NUMBER", "0.5", SQLT_FLT, 8, "0 0.500000"},
    {"NUMBER(3)", "0", SQLT_FLT, 8, "0 0.000000"},
    {"NUMBER", "1e39", SQLT_FLT, 4, ora(1426)},
    {"NUMBER", "-0.5", SQLT_STR, 4, "0 -.5"},
    {"NUMBER", "0.1 + 0.2", SQLT_STR, 8, "0 .3"},
    {"NUMBER", "12345", SQLT_STR, 5, "5 1234", "ORA-1406"},
    {"VARCHAR2(9)", "'abc'", SQLT_STR, 4, "0 abc"},
    {"VARCHAR2(9)", "'abc'", SQLT_STR, 3, "3 ab", "ORA-1406"},
    {"VARCHAR2(9)", "'abc'", SQLT_STR, 1, "3 ", "ORA-1406"},
    {"VARCHAR2(9)", "'abc'", SQLT_CHR, 5, "0 abc  "},
    {"VARCHAR2(9)", "'abc'", SQLT_CHR, 2, "3 ab", "ORA-1406"},
    {"VARCHAR2(9)", "''", SQLT_STR, 4, "-1", "ORA-1405"},
    {"CHAR(4)", "'a'", SQLT_STR, 9, "0 a   "},
    {"LONG",
     "EMPTY_CLOB() || RPAD('x', 4000) || RPAD('x', 4000) || RPAD('x', 4000) || RPAD('x', 4000) || RPAD('x', 4000) || "
     "RPAD('x', 4000) || RPAD('x', 4000) || RPAD('x', 4000) || RPAD('x', 4000)",
     SQLT_STR, 3, "-2 x ", "ORA-1406"},
    {"RAW(3)", "'0aff'", SQLT_STR, 9, "0 0AFF"},
    {"DATE", "DATE '2024-02-29'", SQLT_DAT, 7, "0 120 124 2 29 1 1 1 "},
    {"DATE", "TO_DATE('9999-12-31 23:59:59', 'YYYY-MM-DD HH24:MI:SS')", SQLT_DAT, 7, "0 199 199 12 31 24 60 60 "},
    {"DATE", "DATE '0001-01-01'", SQLT_STR, 11, "19 0001-01-01", "ORA-1406"},
    {"VARCHAR2(9)", "'x'", SQLT_DAT, 7, ora(1861)},
    {"NUMBER", "1", SQLT_DAT, 7, ora(932)},
    {"BLOB", "'00'", SQLT_STR, 9, ora(932)},
};

using ClientFetchedValues = Values;

TEST_F(ClientFetchedValues, arriveInEveryExternalType) {
    for (const auto& tested : fetched) {
        declare(tested.declaration);
        ASSERT_EQ(session.run(std::string("INSERT INTO v VALUES (") + tested.stored + ")"), "") << tested.stored;
        for (const bool asked : {true, false}) {
            std::string buffer(tested.size, '~');
            sb2 indicator = 0;
            OCIStmt* query = session.open("SELECT c FROM v");
            session.define(query, 1, buffer.data(), buffer.size(), tested.type, asked ? &indicator : nullptr);
            const int status = session.fetch(query);
            std::string result = status != OCI_SUCCESS ? ora(status) : std::to_string(indicator);
            if (status == OCI_SUCCESS && indicator != -1) result += " " + shown(tested.type, buffer);
            const bool same = asked || tested.without == nullptr;
            EXPECT_EQ(result, same ? tested.indicated : tested.without)
                << tested.declaration << " " << tested.stored << " as " << tested.type << "/" << tested.size;
            session.release(query);
        }
    }
}

struct Bound {
    const char* declaration;
    ub2 type;
    std::string bytes;
    std::string result; ///< TO_CHAR of what is stored
    sb2 indicator = 0;
};

const Bound bound[] = {
    {"NUMBER", SQLT_INT, bytesOf<sb1>(-128), "-128"},
    {"NUMBER", SQLT_UIN, bytesOf<ub1>(255), "255"},
    {"NUMBER", SQLT_UIN, bytesOf<ub4>(4294967295), "4294967295"},
    {"NUMBER(19)", SQLT_INT, bytesOf(std::numeric_limits<std::int64_t>::min()), "-9223372036854775808"},
    {"NUMBER", SQLT_UIN, bytesOf<std::uint64_t>(std::uint64_t{1} << 63), ora(1426)},
    {"NUMBER(3)", SQLT_INT, bytesOf<sb4>(-1000), ora(1438)},
    {"NUMBER(18)", SQLT_INT, bytesOf<std::int64_t>(999999999999999999), "999999999999999999"},
    {"NUMBER(18)", SQLT_INT, bytesOf<std::int64_t>(1000000000000000000), ora(1438)},
    {"NUMBER(5,2)", SQLT_FLT, bytesOf(2.675), "2.68"},
    {"NUMBER(5,2)", SQLT_FLT, bytesOf(2.674), "2.67"},
    {"NUMBER(5,2)", SQLT_FLT, bytesOf(-0.004), "0"},
    {"NUMBER(3,2)", SQLT_FLT, bytesOf(9.994), "9.99"},
    {"NUMBER(3,2)", SQLT_FLT, bytesOf(9.996), ora(1438)},
    {"NUMBER(3)", SQLT_FLT, bytesOf(999.5), ora(1438)},
    {"NUMBER(20)", SQLT_FLT, bytesOf(600000000000000.25), "600000000000000"},
    {"NUMBER(5,-2)", SQLT_FLT, bytesOf(150.0), "200"},
    {"NUMBER", SQLT_FLT, bytesOf(0.5F), ".5"},
    {"NUMBER", SQLT_FLT, bytesOf(1e126), ora(1426)},
    {"NUMBER", SQLT_FLT, bytesOf(std::numeric_limits<double>::quiet_NaN()), ora(1426)},
    {"NUMBER(9)", SQLT_FLT, bytesOf(-std::numeric_limits<float>::infinity()), ora(1426)},
    {"NUMBER", SQLT_STR, " 1e3 ", "1000"},
    {"NUMBER", SQLT_STR, "0x10", ora(1722)},
    {"NUMBER", SQLT_DAT, date({120, 124, 2, 29, 1, 1, 1}), ora(1722)},
    {"VARCHAR2(3)", SQLT_STR, std::string("ab\0d", 4), "ab"},
    {"VARCHAR2(3)", SQLT_STR, "abcd", ora(12899)},
    {"VARCHAR2(3)", SQLT_STR, std::string("\0x", 2), "NULL"},
    {"VARCHAR2(3)", SQLT_CHR, "ab ", "ab "},
    {"VARCHAR2(3)", SQLT_CHR, "", "NULL"},
    {"VARCHAR2(3)", SQLT_LNG, "\xff\xfe", "\xff\xfe"},
    {"VARCHAR2(3)", SQLT_INT, bytesOf<sb4>(123), "123"},
    {"VARCHAR2(3)", SQLT_STR, "abc", "NULL", -1},
    {"CHAR(3)", SQLT_STR, "a", "a  "},
    {"RAW(2)", SQLT_STR, "abc", "0ABC"},
    {"RAW(2)", SQLT_STR, "xy", ora(1465)},
    {"DATE", SQLT_DAT, date({120, 124, 2, 29, 24, 60, 60}), "2024-02-29 23:59:59"},
    {"DATE", SQLT_DAT, date({120, 123, 2, 29, 1, 1, 1}), ora(1839)},
    {"DATE", SQLT_DAT, date({120, 124, 13, 1, 1, 1, 1}), ora(1843)},
    {"DATE", SQLT_DAT, date({120, 124, 1, 1, 26, 1, 1}), ora(1850)},
    {"DATE", SQLT_DAT, date({0, 0, 0, 0, 0, 0, 0}), ora(1841)},
    {"DATE", SQLT_DAT, date({0, 0, 0, 0, 0, 0, 0}), "NULL", -1},
    {"DATE", SQLT_STR, "2024-02-29", "2024-02-29 00:00:00"},
    {"DATE", SQLT_STR, "29.02.2024", ora(1861)},
    {"DATE", SQLT_INT, bytesOf<sb4>(1), ora(932)},
};

using ClientBoundValues = Values;

TEST_F(ClientBoundValues, areStoredAsTheirColumnWantsThem) {
    for (const auto& tested : bound) {
        declare(tested.declaration);
        std::string bytes = tested.type == SQLT_STR ? tested.bytes + '\0' : tested.bytes;
        sb2 indicator = tested.indicator;
        OCIStmt* insert = session.prepare("INSERT INTO v VALUES (:1)");
        session.bind(insert, 1, bytes.data(), bytes.size(), tested.type, &indicator);
        const int status = session.execute(insert);
        session.release(insert);
        EXPECT_EQ(status != OCI_SUCCESS ? ora(status)
                                        : session.run("SELECT NVL(" +
                                                      std::string(tested.declaration == std::string("DATE")
                                                                      ? "TO_CHAR(c, 'YYYY-MM-DD HH24:MI:SS')"
                                                                      : "TO_CHAR(c)") +
                                                      ", 'NULL') FROM v"),
                  tested.result)
            << tested.declaration << " from " << tested.type << "/" << bytes.size() << " " << shown(tested.type, bytes);
    }
}

TEST_F(ClientBoundValues, areRefusedInTypesAndSizesThatAreNone) {
    OCIStmt* insert = session.prepare("INSERT INTO v VALUES (:1)");
    char buffer[16] = {};
    EXPECT_EQ(session.bind(insert, 1, buffer, 8, SQLT_NUM), 3115);
    for (const ub2 type : {SQLT_INT, SQLT_FLT, SQLT_DAT}) EXPECT_EQ(session.bind(insert, 1, buffer, 3, type), 1460);
    EXPECT_EQ(session.bind(insert, 0, buffer, 8, SQLT_STR), 1036);
    EXPECT_EQ(session.bind(insert, 2, buffer, 8, SQLT_STR), 1036);
    declare("NUMBER");
    session.bind(insert, 1, std::strcpy(buffer, "123"), 3, SQLT_STR);
    EXPECT_EQ(session.execute(insert), 1480) << "a text without its NUL";
    EXPECT_EQ(session.bind(insert, 1, nullptr, 8, SQLT_STR), OCI_SUCCESS);
    EXPECT_EQ(session.execute(insert), 1084);
    EXPECT_EQ(session.bind(insert, 1, nullptr, 4, SQLT_INT, reinterpret_cast<void*>(-1)), OCI_SUCCESS);
    EXPECT_EQ(session.execute(insert), OCI_SUCCESS) << "a null flag in the place of the indicator";
    EXPECT_EQ(session.run("SELECT COUNT(*), COUNT(c) FROM v"), "1,0");
    OCIStmt* block = session.prepare("BEGIN :1 := 'x'; END;");
    session.bind(block, 1, buffer, 8, SQLT_STR, reinterpret_cast<void*>(-1));
    EXPECT_EQ(session.execute(block), OCI_SUCCESS);
    EXPECT_STREQ(buffer, "x");
    session.bind(block, 1, nullptr, 8, SQLT_STR);
    EXPECT_EQ(session.execute(block), 1084);
}

// A caller may change its buffers as soon as the call that read them has returned.
TEST_F(ClientBoundValues, ofAnOpenQueryAreKept) {
    declare("VARCHAR2(9)");
    session.run("INSERT INTO v SELECT 'x' FROM DUAL UNION ALL SELECT 'x' FROM DUAL");
    auto value = std::make_unique<std::string>("x");
    OCIStmt* query = session.prepare("SELECT c FROM v WHERE c = :1 AND :2 = c");
    session.bind(query, 1, value->data(), 2, SQLT_STR);
    session.bind(query, 2, value->data(), 1, SQLT_CHR);
    session.execute(query, 0);
    value->assign("y");
    value.reset();
    EXPECT_EQ(session.fetch(query, 2), OCI_SUCCESS);
}

struct Described {
    const char* expression; ///< or a column's declaration, where it begins with a capital
    const char* type_size_precision_scale_nullable;
};

const Described described[] = {
    {"NUMBER", "2 22 0 -127 1"},
    {"NUMBER(7,2) NOT NULL", "2 22 7 2 0"},
    {"NUMBER(5,-2)", "2 22 5 -2 1"},
    {"NUMBER(*,2)", "2 22 38 2 1"},
    {"INTEGER", "2 22 38 0 1"},
    {"FLOAT", "2 22 126 -127 1"},
    {"VARCHAR2(20 CHAR)", "1 80 0 0 1"},
    {"CHAR(3) PRIMARY KEY", "96 3 0 0 0"},
    {"DATE", "12 7 0 0 1"},
    {"RAW(4)", "23 4 0 0 1"},
    {"LONG", "8 0 0 0 1"},
    {"BLOB", "113 4000 0 0 1"},
    {"CLOB", "112 4000 0 0 1"},
    {"rowid", "104 18 0 0 1"},
    {"a, t.*", "2 22 5 0 0"},
    {"1", "2 22 0 -127 1"},
    {"a + 1", "2 22 0 -127 1"},
    {"count(*)", "2 22 0 -127 1"},
    {"max(b)", "1 4000 0 0 1"},
    {"b || a", "1 49 0 0 1"},
    {"null", "1 4000 0 0 1"},
    {"nvl(d, sysdate)", "12 7 0 0 1"},
    {"d + 1", "12 7 0 0 1"},
    {"case when a = 1 then d end", "12 7 0 0 1"},
    {"hextoraw('00')", "23 2000 0 0 1"},
    {"cast(a as varchar2(9))", "1 9 0 0 1"},
};

using ClientDescription = Values;

TEST_F(ClientDescription, isThatOfTheDeclarationOrExpression) {
    session.run("CREATE TABLE t (a NUMBER(5) NOT NULL, b VARCHAR2(9), d DATE)");
    session.run("INSERT INTO t VALUES (1, 'x', SYSDATE)");
    for (const auto& [tested, expected] : described) {
        const bool declaration = tested[0] >= 'A' && tested[0] <= 'Z';
        if (declaration) declare(tested);
        OCIStmt* query = session.open(declaration ? "SELECT c FROM v" : std::string("SELECT ") + tested + " FROM t");
        void* column = nullptr;
        OCIParamGet(query, OCI_HTYPE_STMT, session.error, &column, 1);
        std::string result;
        for (const ub4 type :
             {OCI_ATTR_DATA_TYPE, OCI_ATTR_DATA_SIZE, OCI_ATTR_PRECISION, OCI_ATTR_SCALE, OCI_ATTR_IS_NULL}) {
            std::string bytes(8, '~');
            ub4 width = 0;
            OCIAttrGet(column, OCI_DTYPE_PARAM, bytes.data(), &width, type, session.error);
            const bool exact = bytes[width] == '~' && width == (type < OCI_ATTR_SCALE ? 2 : 1);
            result += (width == 2 ? numberIn<sb2>(bytes) : numberIn<sb1>(bytes)) + (exact ? " " : " of another width ");
        }
        EXPECT_EQ(result, expected + std::string(" ")) << tested;
        session.release(query);
    }
}

// A text is translated anew when its tables have changed, also by another session.
TEST_F(ClientDescription, followsDefinitions) {
    const OciSession other("memory:values");
    session.run("CREATE TABLE t (a NUMBER(5), b VARCHAR2(9))");
    OCIStmt* query = session.open("SELECT * FROM t");
    void* columns[2] = {};
    for (ub4 i = 0; i < 2; ++i) OCIParamGet(query, OCI_HTYPE_STMT, session.error, &columns[i], i + 1);
    other.run("ALTER TABLE t DROP COLUMN b");
    EXPECT_EQ(session.execute(query, 0), OCI_SUCCESS);
    EXPECT_EQ(session.count(query, OCI_ATTR_PARAM_COUNT), 1U);
    other.run("DROP TABLE t");
    EXPECT_EQ(session.execute(query, 0), 942);
    other.run("CREATE TABLE t (x DATE, y RAW(2), z NUMBER)");
    EXPECT_EQ(session.execute(query, 0), OCI_SUCCESS);
    EXPECT_EQ(session.attribute<ub2>(columns[1], OCI_DTYPE_PARAM, OCI_ATTR_DATA_TYPE), SQLT_BIN);
    EXPECT_EQ(session.count(query, OCI_ATTR_PARAM_COUNT), 3U);
}

struct TooLong {
    const char* statement; ///< run twice on one row, into a text of three characters
    const char* result;    ///< of both, the text, its indicator and what is left in the row
};

const TooLong tooLong[] = {
    {"BEGIN UPDATE v SET c = 'new'; :1 := 'abc'; END;", "0 0 abc 0 new"},
    {"BEGIN UPDATE v SET c = 'new'; :1 := 'abcd'; END;", "6502 6502 x 7 old"},
    {"BEGIN UPDATE v SET c = 'new'; :1 := 12345; END;", "6502 6502 x 7 old"},
    {"BEGIN UPDATE v SET c = 'new'; :1 := :1 || 'yz'; :1 := :1 || '!'; END;", "6502 6502 x 7 old"},
    {"BEGIN UPDATE v SET c = 'new'; SELECT c || c INTO :1 FROM v; END;", "6502 6502 x 7 old"},
    {"BEGIN UPDATE v SET c = 'new'; :1 := RPAD('x', 4000) || 'y'; END;", "6502 6502 x 7 old"},
    {"BEGIN UPDATE v SET c = 'new'; p(:1); END;", "6502 6502 x 7 old"},
    {"CALL p(:1)", "6502 6502 x 7 old"},
    {"BEGIN UPDATE v SET c = 'new'; :1 := NULL; END;", "0 1405 x -1 old"},
    {"UPDATE v SET c = 'new' RETURNING c INTO :1", "0 0 new 0 new"},
    {"UPDATE v SET c = 'new' RETURNING c || '!' INTO :1", "1406 1406 x 7 old"},
};

using ClientOutputs = Values;

// A text that has no room in the caller's buffer is not cut, and what the statement did is undone.
TEST_F(ClientOutputs, areNeverCut) {
    declare("VARCHAR2(9)");
    session.run("CREATE PROCEDURE p (a IN OUT VARCHAR2) IS BEGIN UPDATE v SET c = 'new'; a := RPAD(a, 4, '!'); END;");
    for (const auto& [statement, expected] : tooLong) {
        std::string result;
        std::string seen;
        for (const bool asked : {true, false}) {
            session.run("DELETE FROM v");
            session.run("INSERT INTO v VALUES ('old')");
            char text[4] = "x";
            sb2 indicator = 7;
            OCIStmt* tested = session.prepare(statement);
            session.bind(tested, 1, text, sizeof text, SQLT_STR, asked ? &indicator : nullptr);
            result += std::to_string(session.execute(tested)) + " ";
            if (asked) seen = text + (" " + std::to_string(indicator));
            session.release(tested);
        }
        EXPECT_EQ(result + seen + " " + session.run("SELECT c FROM v"), expected) << statement;
    }
}

struct ClientArrays : Values {
    ClientArrays() { session.run("CREATE TABLE t (id NUMBER(2) PRIMARY KEY, name VARCHAR2(5), d DATE)"); }
};

TEST_F(ClientArrays, areSentFromAnOffsetUpToTheFirstRowThatFails) {
    sb4 ids[] = {1, 2, 3, 4, 1, 5};
    char names[6][4] = {"a", "b", "", "dd", "e", "f"};
    sb2 nameIndicators[] = {0, 0, 0, 0, 0, 0};
    unsigned char dates[6][7];
    sb2 dateIndicators[] = {0, -1, 0, 0, 0, 0};
    for (auto& image : dates) std::memcpy(image, "\170\174\002\035\001\001\001", 7);
    OCIStmt* insert = session.prepare("INSERT INTO t VALUES (:1, :2, :3)");
    session.bind(insert, 1, ids, sizeof ids[0], SQLT_INT);
    session.bind(insert, 2, names, sizeof names[0], SQLT_STR, nameIndicators);
    session.bind(insert, 3, dates, sizeof dates[0], SQLT_DAT, dateIndicators);
    EXPECT_EQ(session.execute(insert, 3, 1), OCI_SUCCESS);
    EXPECT_EQ(session.run("SELECT * FROM t ORDER BY id"), "2,b,;3,,2024-02-29 00:00:00");
    session.rollback();
    EXPECT_EQ(session.execute(insert, 6), 1);
    EXPECT_EQ(session.count(insert, OCI_ATTR_ROW_COUNT), 4U);
    EXPECT_EQ(session.run("SELECT id, name FROM t ORDER BY id"), "1,a;2,b;3,;4,dd");
    EXPECT_EQ(session.execute(insert, 0), 24333);
}

TEST_F(ClientArrays, areFetchedInParts) {
    session.run("INSERT INTO t (id, name) SELECT 1, 'a' FROM DUAL UNION SELECT 2, '' FROM DUAL UNION SELECT 3, 'ccc' "
                "FROM DUAL");
    sb4 ids[3] = {9, 9, 9};
    char names[3][3] = {"~", "~", "~"};
    sb2 indicators[3] = {7, 7, 7};
    ub2 lengths[3] = {7, 7, 7};
    OCIStmt* query = session.open("SELECT id, name FROM t ORDER BY id");
    session.define(query, 1, ids, sizeof ids[0], SQLT_INT);
    session.define(query, 2, names, sizeof names[0], SQLT_STR, indicators, lengths);
    EXPECT_EQ(session.fetch(query, 2), OCI_SUCCESS);
    EXPECT_EQ(session.count(query, OCI_ATTR_ROWS_FETCHED), 2U);
    EXPECT_EQ(std::to_string(ids[1]) + names[0] + std::to_string(indicators[1]) + std::to_string(lengths[0]), "2a-11");
    EXPECT_EQ(session.fetch(query, 2), OCI_NO_DATA);
    EXPECT_EQ(session.count(query, OCI_ATTR_ROWS_FETCHED), 1U);
    EXPECT_EQ(std::to_string(ids[0]) + names[0] + std::to_string(indicators[0]), "3cc3");
    EXPECT_EQ(std::to_string(ids[1]) + std::to_string(ids[2]) + names[2] + std::to_string(indicators[2]), "29~7")
        << "untouched";
    EXPECT_EQ(session.fetch(query), 1002);
}

TEST_F(ClientArrays, endWithTheRowThatFails) {
    session.run("INSERT INTO t (id) SELECT 1 FROM DUAL UNION ALL SELECT 2 FROM DUAL UNION ALL SELECT 3 FROM DUAL");
    double value = 0;
    OCIStmt* query = session.open("SELECT 1 / (2 - id) FROM t ORDER BY id");
    session.define(query, 1, &value, sizeof value, SQLT_FLT);
    for (const int code : std::vector{0, 1476, 1002}) EXPECT_EQ(session.fetch(query), code);
    query = session.open("SELECT DECODE(id, 2, 'abc', id) FROM t ORDER BY id");
    session.define(query, 1, &value, sizeof value, SQLT_FLT);
    for (const int code : std::vector<int>{0, 1722, 0, OCI_NO_DATA}) EXPECT_EQ(session.fetch(query), code);
    EXPECT_EQ(value, 3);
}

TEST_F(ClientArrays, comeBackFromReturningAndBlocks) {
    sb4 ids[] = {1, 2, 3};
    char names[3][4] = {};
    sb2 indicators[] = {7, 7, 7};
    OCIStmt* insert =
        session.prepare("INSERT INTO t (id, name) VALUES (:1, NULLIF('n' || :2, 'n2')) RETURNING name INTO :3");
    session.bind(insert, 1, ids, sizeof ids[0], SQLT_INT);
    session.bind(insert, 2, ids, sizeof ids[0], SQLT_INT);
    session.bind(insert, 3, names, sizeof names[0], SQLT_STR, indicators);
    EXPECT_EQ(session.execute(insert, 3), OCI_SUCCESS);
    EXPECT_EQ(std::string(names[0]) + names[2] + std::to_string(indicators[1]) + std::to_string(indicators[2]),
              "n1n3-10");
    OCIStmt* block = session.prepare(
        "BEGIN DELETE FROM t WHERE id = :1; :2 := 'no' || :1; SELECT 10 / (:1 - 3) INTO :1 FROM DUAL; END;");
    session.bind(block, 1, ids, sizeof ids[0], SQLT_INT);
    session.bind(block, 2, names, sizeof names[0], SQLT_STR, indicators);
    EXPECT_EQ(session.execute(block, 3), 1476);
    EXPECT_EQ(std::to_string(ids[0]) + names[1] + std::to_string(indicators[1]) + " " + std::to_string(ids[2]),
              "-5no20 3");
    EXPECT_EQ(session.run("SELECT id FROM t"), "3") << "the call that failed left its row";
}

} // namespace
