#include <array>
#include <functional>
#include <tuple>
#include <vector>

#include <oci.h>

#include "dtk/oracle/_DTK_ResultSet.h"
#include "dtk/oracle/_DTK_stmtMetadata.h"
#include "tests/fixture.h"

namespace {

using dtk::Statement;

class ResultSets : public World, public testing::Test {
  protected:
    ~ResultSets() override { interpose::reset(); }

    /// Rows with the numbers 1 to count and the texts t1 to tcount.
    void numberedRows(int count) {
        table("t", "n NUMBER(9), v VARCHAR2(10)");
        const Statement insert = prepare("INSERT INTO t VALUES (:1, 't' || :2)");
        for (int i = 1; i <= count; ++i) {
            insert->mb_setInt(1, i);
            insert->mb_setInt(2, i);
            insert->mb_executeUpdate();
        }
    }
};

struct ColumnRow {
    const char* name;
    const char* declaration;
    DTK_DATATYPES type;
    int size, precision, scale;
    const char* define;
    const char* literal;
    const char* readings;
    const char* fetched = ""; ///< or what the fetch throws
    const char* fetchedNull = "";
};

class Column : public ResultSets, public testing::WithParamInterface<ColumnRow> {};

TEST_P(Column, IsDescribedAsDeclared) {
    const ColumnRow& row = GetParam();
    table("t", std::string("v ") + row.declaration);
    table("u", std::string("w ") + row.declaration + " NOT NULL"); // a table has one LONG at most
    DTK_ResultSetBase& rows = open("SELECT v, w FROM t, u");
    EXPECT_EQ(rows.mb_listColumnType(), std::vector({row.type, row.type}));
    const std::unique_ptr<DTK_stmtMetadataBase> metadata(rows.mb_getMetadata());
    EXPECT_EQ(metadata->mb_getNumberofBindColumns(), 2u);
    EXPECT_EQ(metadata->mb_getType(2), row.type);
    EXPECT_EQ(metadata->mb_getSize(2), row.size);
    EXPECT_EQ(metadata->mb_getPrecision(2), row.precision);
    EXPECT_EQ(metadata->mb_getScale(2), row.scale);
    EXPECT_TRUE(metadata->mb_isNull(1));
    EXPECT_FALSE(metadata->mb_isNull(2));
    EXPECT_TRUE(interpose::calls("OCIDefineByPos").empty());
}

TEST_P(Column, IsFetchedAndRead) {
    const ColumnRow& row = GetParam();
    table("t", std::string("k NUMBER(9), v ") + row.declaration);
    execute(std::string("INSERT INTO t VALUES (1, ") + row.literal + ")");
    execute("INSERT INTO t VALUES (2, NULL)");
    DTK_ResultSetBase& rows = open("SELECT v FROM t ORDER BY k");
    rows.mb_setErrorOnNull(1, true);
    EXPECT_EQ(thrown([&] { EXPECT_TRUE(rows.mb_fetch()); }), row.fetched);
    EXPECT_EQ(buffers("OCIDefineByPos"), row.define);
    EXPECT_EQ(*row.fetched ? "" : readings(rows, 1), row.readings);
    EXPECT_FALSE(rows.mb_isNull(1));
    EXPECT_EQ(thrown([&] { EXPECT_TRUE(rows.mb_fetch()); }), row.fetchedNull);
    EXPECT_EQ(rows.mb_isNull(1), row.type != DTK_UNKNOWN);
    EXPECT_FALSE(rows.mb_isTruncated(1));
}

constexpr int anyScale = 129; // -127 in one byte

INSTANTIATE_TEST_SUITE_P(
    Of, Column,
    testing::Values(
        ColumnRow{"number_9", "NUMBER(9)", DTK_INT, 22, 9, 0, "1 3 4i", "-1",
                  " -1 4294967295 -1 -1.000000 -1.000000 -1 !402 !402"},
        ColumnRow{"number_10", "NUMBER(10)", DTK_INT64, 22, 10, 0, "1 3 8i", "4294967298",
                  " 2 2 4294967298 4294967296.000000 4294967298.000000 4294967298 !402 !402"},
        ColumnRow{"number_19", "NUMBER(19)", DTK_INT64, 22, 19, 0, "1 3 8i", "-9223372036854775808",
                  " 0 0 -9223372036854775808 -9223372036854775808.000000 -9223372036854775808.000000 "
                  "-9223372036854775808 !402 !402"},
        ColumnRow{"number_6_2", "NUMBER(6,2)", DTK_FLOAT, 22, 6, 2, "1 4 4i", "-2.75",
                  " -2 4294967294 -2 -2.750000 -2.750000 -2.750000 !402 !402"},
        ColumnRow{"number_7_2", "NUMBER(7,2)", DTK_DOUBLE, 22, 7, 2, "1 4 8i", "-12345.67",
                  " -12345 4294954951 -12345 -12345.669922 -12345.670000 -12345.670000 !402 !402"},
        ColumnRow{"number_14_2", "NUMBER(14,2)", DTK_DOUBLE, 22, 14, 2, "1 4 8i", "2.9e10",
                  " -1064771072 3230196224 29000000000 28999999488.000000 29000000000.000000 29000000000.000000 !402 "
                  "!402"},
        ColumnRow{"number", "NUMBER", DTK_FLOAT, 22, 0, anyScale, "1 4 4i", "0.5",
                  " 0 0 0 0.500000 0.500000 0.500000 !402 !402"},
        ColumnRow{"float", "FLOAT", DTK_DOUBLE, 22, 126, anyScale, "1 4 8i", "0",
                  " 0 0 0 0.000000 0.000000 0.000000 !402 !402"},
        ColumnRow{"varchar2", "VARCHAR2(20)", DTK_STRING, 21, 0, 0, "1 5 21i", "'42'",
                  " !402 !402 !402 !402 !402 42 !402 !402"},
        ColumnRow{"char", "CHAR(5)", DTK_STRING, 6, 0, 0, "1 5 6i", "'ab'",
                  " !402 !402 !402 !402 !402 ab    !402 !402"},
        ColumnRow{"rowid", "ROWID", DTK_STRING, 30, 0, 0, "1 5 30i", "'AAAR3sAAEAAAACXAAA'",
                  " !402 !402 !402 !402 !402 AAAR3sAAEAAAACXAAA !402 !402"},
        ColumnRow{"date", "DATE", DTK_DBDATE, 7, 0, 0, "1 12 7i", "DATE '2024-02-29'",
                  " !402 !402 !402 !402 !402 20240229000000 20240229000000 !402"},
        ColumnRow{"raw", "RAW(16)", DTK_UNKNOWN, 16, 0, 0, "1 5 16", "HEXTORAW('01FF')",
                  " !402 !402 !402 !402 !402 01FF !402 !402", "", "ORCL ORA-01405"},
        ColumnRow{"long", "LONG", DTK_UNKNOWN, 0, 0, 0, "1 5 0", "'abc'", "", "ORCL ORA-01406", "ORCL ORA-01405"},
        ColumnRow{"blob", "BLOB", DTK_BLOB, 4000, 0, 0, "1 113 0i", "HEXTORAW('01FF')",
                  " !402 !402 !402 !402 !402 !402 !402 2 bytes"},
        ColumnRow{"clob", "CLOB", DTK_BLOB, 4000, 0, 0, "1 113 0i", "'abc'",
                  " !402 !402 !402 !402 !402 !402 !402 3 bytes"}),
    rowName);

TEST_F(ResultSets, CombinedQueriesAreDescribedByTheWidest) {
    table("t", "i NUMBER(3), n NUMBER(9,2), c CHAR(2), v VARCHAR2(20)");
    const struct {
        const char* first;
        const char* second;
        DTK_DATATYPES type;
        int size, precision, scale;
    } cases[] = {{"i", "i", DTK_INT, 22, 3, 0},        {"i", "n", DTK_FLOAT, 22, 0, anyScale},
                 {"c", "v", DTK_STRING, 21, 0, 0},     {"v", "c", DTK_STRING, 21, 0, 0},
                 {"c", "c", DTK_STRING, 3, 0, 0},      {"NULL", "n", DTK_DOUBLE, 22, 9, 2},
                 {"n", "NULL x", DTK_DOUBLE, 22, 9, 2}};
    for (const auto& [first, second, type, size, precision, scale] : cases) {
        const std::string sql =
            std::string("SELECT ") + first + " FROM t UNION ALL SELECT " + second + " FROM t ORDER BY 1";
        const std::unique_ptr<DTK_stmtMetadataBase> metadata(open(sql).mb_getMetadata());
        EXPECT_EQ(std::tuple(metadata->mb_getType(1), metadata->mb_getSize(1), metadata->mb_getPrecision(1),
                             metadata->mb_getScale(1)),
                  std::tuple(type, size, precision, scale))
            << sql;
    }
}

TEST_F(ResultSets, MetadataListsAppend) {
    table("t", "n NUMBER(9)");
    const Statement insert = prepare("INSERT INTO t VALUES (1)");
    insert->mb_executeUpdate();
    const dtk::ResultSet none(insert->mb_getResultSet(), {insert.get()});
    EXPECT_TRUE(none->mb_listColumnType().empty());
    const std::unique_ptr<DTK_stmtMetadataBase> owner(open("SELECT n, n FROM t").mb_getMetadata());
    auto& metadata = static_cast<_DTK_stmtMetadata&>(*owner);
    _DTK_stmtMetadata copy(metadata);
    copy = metadata;
    EXPECT_EQ(copy.mb_getNumberofBindColumns(), 4u);
    EXPECT_EQ(copy.mb_getType(4), DTK_INT);
    for (const unsigned int beyond : {0, 5})
        EXPECT_EQ(thrown([&] { copy.mb_getScale(beyond); }), "DTK 701 error in getting scale information");
    const auto call = interpose::calls("OCIParamGet").back();
    metadata.mb_initMetaData(call.argument<OCIStmt*>(0), call.argument<OCIError*>(2));
    EXPECT_EQ(metadata.mb_getNumberofBindColumns(), 4u);
}

struct BatchRow {
    const char* name;
    int rows, bulkCount;
    std::vector<int> batches;
};

class Batches : public ResultSets, public testing::WithParamInterface<BatchRow> {};

TEST_P(Batches, ArriveUntilTheDataEnds) {
    const BatchRow& row = GetParam();
    numberedRows(row.rows);
    DTK_ResultSetBase& rows = open("SELECT n, v FROM t ORDER BY n");
    rows.mb_setBulkCount(row.bulkCount);
    std::vector<int> numbers(row.bulkCount, -1);
    std::vector<DTK_String> texts(row.bulkCount, "old");
    rows << numbers.data() << texts.data();
    int seen = 0;
    for (const int batch : row.batches) {
        ASSERT_TRUE(rows.mb_fetch());
        ASSERT_EQ(rows.mb_getNumArrayRows(), batch);
        for (int i = 0; i < batch; ++i) {
            EXPECT_EQ(numbers[i], ++seen);
            EXPECT_EQ(shown(texts[i]), "t" + std::to_string(seen));
        }
        for (int i = batch; i < row.bulkCount; ++i) EXPECT_EQ(shown(texts[i]), "") << "behind the last row";
    }
    for (int i = 0; i < 3; ++i) EXPECT_FALSE(rows.mb_fetch());
    const auto fetch = interpose::calls("OCIStmtFetch").front();
    EXPECT_EQ(fetch.argument<ub4>(2), ub4(row.bulkCount));
    EXPECT_EQ(fetch.argument<ub2>(3), ub2{OCI_FETCH_NEXT});
    EXPECT_EQ(buffers("OCIDefineByPos"), "1 3 4, 2 5 11");
}

INSTANTIATE_TEST_SUITE_P(Of, Batches,
                         testing::Values(BatchRow{"nothing", 0, 10, {}}, BatchRow{"nothing_by_one", 0, 1, {}},
                                         BatchRow{"one_by_one", 3, 1, {1, 1, 1}},
                                         BatchRow{"last_one_partial", 25, 10, {10, 10, 5}},
                                         BatchRow{"last_one_full", 20, 10, {10, 10}},
                                         BatchRow{"fewer_than_one_batch", 1, 10, {1}}),
                         rowName);

struct RegistrationRow {
    const char* name;
    std::function<void(DTK_ResultSetBase&)> registration;
    std::string defines;
};

class Registration : public ResultSets, public testing::WithParamInterface<RegistrationRow> {};

TEST_P(Registration, DefinesTheNextColumn) {
    table("t", "a NUMBER(9), b VARCHAR2(10), c DATE, d BLOB");
    DTK_ResultSetBase& rows = open("SELECT a, b, c, d, a, a, a, a, a FROM t");
    GetParam().registration(rows);
    EXPECT_EQ(buffers("OCIDefineByPos"), GetParam().defines);
}

template <typename T> T array[2]{};

const RegistrationRow registrations[] = {
    {"every_type",
     [](auto& rows) {
         DTK_Blob blobs[2];
         rows.mb_setBulkCount(2);
         rows << array<int> << array<DTK_String> << array<DTK_DbDate> << blobs
              << array<unsigned int> << array<double> << array<float> << array<long> << array<long long>;
     },
     "1 3 4, 2 5 11, 3 12 7, 4 113 0i, 5 68 4, 6 4 8, 7 4 4, 8 8 8, 9 3 8"},
    {"after_a_list_count",
     [](auto& rows) {
         rows.mb_setBulkCount(2);
         for (const int count : {4, -3, 0}) {
             rows.mb_setListCount(count);
             rows << array<int>;
         }
     },
     "5 3 4, 1 3 4, 1 3 4"},
    {"after_a_refused_one",
     [](auto& rows) {
         rows.mb_setBulkCount(2);
         interpose::on("OCIDefineByPos", [](const auto&) { return OCI_ERROR; });
         EXPECT_EQ(thrown([&] { rows << array<DTK_String>; }).substr(0, 4), "ORCL");
         interpose::on("OCIDefineByPos", [](const auto&) { return std::nullopt; });
         rows << array<DTK_String>;
     },
     "1 5 22, 2 5 11"},
    {"never_without_a_bulk_count",
     [](auto& rows) {
         for (const int count : {0, -5})
             EXPECT_EQ(thrown([&] { rows.mb_setBulkCount(count); }), "DTK 400 Invalid value for bulk fetch count");
         const std::string refused = " ERROR: Fetch count not set!call mb_setBulkCount(int) before setting buffer";
         const auto add = [&](auto*... arrays) { return std::vector{thrown([&] { rows << arrays; })...}; };
         EXPECT_EQ(add(array<int>, array<unsigned int>, array<float>, array<double>, array<long>, array<DTK_DbDate>,
                       array<DTK_String>),
                   std::vector(7, "DTK 403" + refused));
         DTK_Blob blobs[2];
         EXPECT_EQ(add(array<long long>, blobs), std::vector(2, "DTK 999" + refused));
         rows.mb_setBulkCount(1);
         rows << array<int>;
     },
     "1 3 4"},
};

INSTANTIATE_TEST_SUITE_P(Is, Registration, testing::ValuesIn(registrations), rowName);

TEST_F(ResultSets, GettersNeedARowFetchedAlone) {
    numberedRows(5);
    DTK_ResultSetBase& rows = open("SELECT n FROM t ORDER BY n");
    std::string refused;
    for (int i = 0; i < 8; ++i) refused += " DTK 404 fetch not called or fetch has been done for bulk data";
    EXPECT_EQ(readings(rows, 1), refused);
    rows.mb_setBulkCount(2);
    EXPECT_TRUE(rows.mb_fetch());
    EXPECT_EQ(readings(rows, 1), refused);
    rows.mb_setBulkCount(1);
    EXPECT_TRUE(rows.mb_fetch());
    EXPECT_EQ(rows.mb_getInt(1), 3);
    for (const unsigned int beyond : {0, 2}) {
        EXPECT_EQ(readings(rows, beyond), refused);
        EXPECT_FALSE(rows.mb_isNull(beyond) || rows.mb_isTruncated(beyond));
    }
    rows.mb_setBulkCount(2);
    EXPECT_TRUE(rows.mb_fetch());
    EXPECT_EQ(rows.mb_getInt(1), 3) << "a batch leaves the row fetched alone";
    EXPECT_FALSE(rows.mb_fetch());
}

TEST_F(ResultSets, ArrayTakesThePlaceOfAColumn) {
    numberedRows(6);
    DTK_ResultSetBase& rows = open("SELECT n, v FROM t ORDER BY n");
    ASSERT_TRUE(rows.mb_fetch());
    std::array<int, 2> numbers{};
    rows.mb_setBulkCount(2);
    rows.mb_setListCount(0);
    rows << numbers.data();
    for (const std::array batch : {std::array{2, 3}, {4, 5}}) {
        ASSERT_TRUE(rows.mb_fetch());
        EXPECT_EQ(numbers, batch);
        EXPECT_EQ(rows.mb_getInt(1), 1);
        EXPECT_EQ(shown(rows.mb_getString(2)), "t1");
    }
    rows.mb_setBulkCount(1);
    ASSERT_TRUE(rows.mb_fetch());
    EXPECT_EQ(numbers[0], 6);
    EXPECT_EQ(rows.mb_getInt(1), 1) << "no column is defined over an array";
    EXPECT_EQ(shown(rows.mb_getString(2)), "t6");
}

TEST_F(ResultSets, OperatorsReadTheColumnsInTurn) {
    DTK_ResultSetBase& rows = open("SELECT 1, 'two', 3.5, DATE '2024-02-29', 5, 6, 7 FROM DUAL");
    int one = 0;
    unsigned int seven = 0;
    long long five = 0;
    float three = 0;
    double six = 0;
    DTK_String two;
    DTK_DbDate four;
    ASSERT_TRUE(rows.mb_fetch());
    rows >> one >> two >> three >> four >> five >> six >> seven;
    EXPECT_EQ(std::tuple(one, shown(two), three, shown(four), five, six, seven),
              std::tuple(1, std::string("two"), 3.5f, std::string("20240229000000"), 5LL, 6., 7u));
    rows.mb_setListCount(1);
    EXPECT_EQ(thrown([&] { rows >> one; }), "DTK 402 Unexpected conversion requested, check column type");
    rows >> one;
    EXPECT_EQ(one, 3) << "the refused column is passed";
}

TEST_F(ResultSets, IndicatorsTellNullAndTheLongestCut) {
    numberedRows(5);
    DTK_ResultSetBase& rows = open("SELECT v FROM t");
    for (const sb2 value : {-2, -1, 0, 1, 32767}) {
        interpose::on("OCIStmtFetch", [&](const auto& call) {
            const int status = call.pass();
            *interpose::calls("OCIDefineByPos").back().template argument<sb2*>(7) = value;
            return status;
        });
        EXPECT_TRUE(rows.mb_fetch());
        EXPECT_EQ(rows.mb_isNull(1), value == -1) << value;
        EXPECT_EQ(rows.mb_isTruncated(1), value == -2) << value;
    }
}

TEST_F(ResultSets, TextsAreReadWholeAfterLongerOnes) {
    table("t", "k NUMBER(9), narrow VARCHAR2(2), wide VARCHAR2(20)");
    const Statement insert = prepare("INSERT INTO t VALUES (:1, :2, :3)");
    const std::vector<std::string> texts = {
        std::string(20, 'a'), std::string(16, 'b'), std::string(15, 'c'), std::string(14, 'd'), "ee", "f"};
    for (std::size_t i = 0; i < texts.size(); ++i) {
        insert->mb_setInt(1, static_cast<int>(i));
        insert->mb_setString(2, texts[i].substr(0, 2));
        insert->mb_setString(3, texts[i]);
        insert->mb_executeUpdate();
    }
    DTK_ResultSetBase& rows = open("SELECT narrow, wide FROM t ORDER BY k");
    for (const std::string& text : texts) {
        ASSERT_TRUE(rows.mb_fetch());
        EXPECT_EQ(shown(rows.mb_getString(1)), text.substr(0, 2));
        EXPECT_EQ(shown(rows.mb_getString(2)), text);
    }
}

TEST_F(ResultSets, ClosedOneStartsAnewWithTheNextExecution) {
    numberedRows(3);
    DTK_ResultSetBase& rows = open("SELECT n, v FROM t ORDER BY n");
    rows.mb_setBulkCount(3);
    rows << array<int>;
    rows.mb_setBulkCount(2);
    EXPECT_TRUE(rows.mb_fetch());
    query->mb_closeResultSet(&rows);
    EXPECT_EQ(thrown([&] { rows << array<int>; }).substr(0, 7), "DTK 403");
    query->mb_execute();
    for (int i = 1; i <= 3; ++i) {
        ASSERT_TRUE(rows.mb_fetch());
        EXPECT_EQ(rows.mb_getInt(1), i);
        EXPECT_EQ(shown(rows.mb_getString(2)), "t" + std::to_string(i));
    }
    EXPECT_FALSE(rows.mb_fetch());
    query->mb_closeResultSet(&rows);
    EXPECT_EQ(thrown([&] { rows.mb_getInt(1); }).substr(0, 7), "DTK 404");
}

TEST_F(ResultSets, ColumnsAreDefinedWhenTheStatementHasSome) {
    numberedRows(1);
    DTK_ResultSetBase& rows = open("SELECT n FROM t");
    execute("DROP TABLE t");
    EXPECT_EQ(thrown([&] { query->mb_execute(); }), "ORCL ORA-00942");
    EXPECT_EQ(thrown([&] { rows.mb_fetch(); }), "ORCL ORA-24338");
    numberedRows(1);
    query->mb_execute();
    ASSERT_TRUE(rows.mb_fetch());
    EXPECT_EQ(rows.mb_getInt(1), 1);
}

TEST_F(ResultSets, AssignedOneTakesTheStateOfTheOther) {
    numberedRows(5);
    DTK_ResultSetBase& rows = open("SELECT n FROM t ORDER BY n");
    auto& original = static_cast<_DTK_ResultSet&>(rows);
    _DTK_ResultSet unread(original), assigned(original);
    ASSERT_TRUE(assigned.mb_fetch());
    assigned = unread;
    EXPECT_EQ(thrown([&] { assigned.mb_getInt(1); }).substr(0, 7), "DTK 404");
    original.mb_setBulkCount(3);
    assigned = original;
    ASSERT_TRUE(assigned.mb_fetch());
    EXPECT_EQ(assigned.mb_getNumArrayRows(), 3);
}

TEST_F(ResultSets, AssignedAcrossStatementsDefinesNothingOnTheOther) {
    numberedRows(5);
    auto& original = static_cast<_DTK_ResultSet&>(open("SELECT n FROM t ORDER BY n"));
    ASSERT_TRUE(original.mb_fetch());
    const Statement statement = prepare("SELECT v FROM t ORDER BY n");
    const dtk::ResultSet others = dtk::open(*statement);
    others->mb_setBulkCount(2);
    original = static_cast<_DTK_ResultSet&>(*others);
    interpose::reset();
    interpose::on("OCIStmtFetch", [](const auto&) { return OCI_SUCCESS; });
    EXPECT_TRUE(original.mb_fetch());
    EXPECT_EQ(called(), "OCIStmtFetch");
}

TEST_F(ResultSets, CopiesFetchIntoBuffersOfTheirOwn) {
    numberedRows(4);
    DTK_ResultSetBase& rows = open("SELECT n, v FROM t ORDER BY n");
    auto& original = static_cast<_DTK_ResultSet&>(rows);
    ASSERT_TRUE(original.mb_fetch());
    _DTK_ResultSet copy(original), assigned;
    ASSERT_TRUE(copy.mb_fetch());
    EXPECT_EQ(copy.mb_getInt(1), 2);
    EXPECT_EQ(original.mb_getInt(1), 1);
    assigned = original;
    assigned = *&assigned;
    ASSERT_TRUE(assigned.mb_fetch());
    EXPECT_EQ(assigned.mb_getInt(1), 3);
    assigned = copy;
    EXPECT_EQ(shown(assigned.mb_getString(2)), "t3") << "its buffers stay";
    EXPECT_EQ(buffers("OCIDefineByPos"), "1 3 4i, 2 5 11i, 1 3 4i, 2 5 11i, 1 3 4i, 2 5 11i");
}

} // namespace
