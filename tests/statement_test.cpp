#include <cfloat>
#include <climits>
#include <cstring>
#include <functional>
#include <variant>
#include <vector>

#include <oci.h>

#include "dtk/oracle/_DTK_Statement.h"
#include "tests/fixture.h"

namespace {

using dtk::Statement;

class Statements : public World, public testing::Test {
  protected:
    ~Statements() override { interpose::reset(); }
};

constexpr auto notPrepared = "DTK 302 Statement handle not prepared";
constexpr auto notExecuted = "DTK 304 statement handle not executed";
constexpr auto countNotSet = "DTK 301 Fetch count not set";
constexpr auto unreadable = "DTK 303 Unexpected conversion requested, check column type";

struct OperationRow {
    const char* name;
    std::function<void(DTK_StatementBase&)> run;
    const char* unprepared;
    const char* failing; ///< executed for a table that is not there
};

class Operation : public Statements, public testing::WithParamInterface<OperationRow> {};

TEST_P(Operation, RefusedLeavesTheStatementAsItWas) {
    const Statement statement = prepare("");
    EXPECT_EQ(thrown([&] { GetParam().run(*statement); }), GetParam().unprepared);
    support::drop_table(*connection, "t");
    statement->mb_setSQL("INSERT INTO t VALUES (:1)");
    statement->mb_setInt(1, 5);
    EXPECT_EQ(thrown([&] { GetParam().run(*statement); }), GetParam().failing);
    EXPECT_EQ(thrown([&] { statement->mb_getResultSet(); }), notExecuted);
    table("t", "n NUMBER(9)");
    statement->mb_execute();
    EXPECT_EQ(value("SELECT n FROM t"), "5");
}

const OperationRow operations[] = {
    {"execute", [](auto& statement) { statement.mb_execute(); }, notPrepared, "ORCL ORA-00942"},
    {"update", [](auto& statement) { statement.mb_executeUpdate(); }, notPrepared, "DTK ORA-00942"},
    {"procedure", [](auto& statement) { statement.mb_executeProcedure(); }, notPrepared, "DTK ORA-00942"},
    {"array_update", [](auto& statement) { statement.mb_executeArrayUpdate(); }, notPrepared, "DTK ORA-00942"},
    {"query_without_text", [](auto& statement) { statement.mb_executeQuery(""); }, notPrepared, "DTK ORA-00942"},
    {"result_set", [](auto& statement) { statement.mb_getResultSet(); }, notExecuted, notExecuted},
};

INSTANTIATE_TEST_SUITE_P(Of, Operation, testing::ValuesIn(operations), rowName);

struct ExecutionRow {
    const char* name;
    const char* sql;
    int updateCount; ///< 0: not set
    bool autoCommit;
    ub4 iterations;
    const char* rows; ///< seen through another connection afterwards
};

class Execution : public Statements, public testing::WithParamInterface<ExecutionRow> {};

TEST_P(Execution, TellsOciIterationsAndMode) {
    const ExecutionRow& row = GetParam();
    table("t", "n NUMBER(9)");
    const Statement statement = prepare(row.sql);
    if (row.updateCount > 0) statement->mb_setUpdateCount(row.updateCount);
    for (const int count : {0, -1, INT_MIN})
        EXPECT_EQ(thrown([&] { statement->mb_setUpdateCount(count); }), "DTK 301 Invalid value for update count");
    statement->mb_setAutoCommit(row.autoCommit);
    EXPECT_EQ(statement->mb_getAutoCommit(), row.autoCommit);
    EXPECT_EQ(statement->mb_executeUpdate(), 1);
    const interpose::Call call = interpose::calls("OCIStmtExecute").back();
    EXPECT_EQ(call.argument<ub4>(3), row.iterations);
    for (const std::size_t unused : {4, 5, 6}) EXPECT_EQ(call.argument<std::intptr_t>(unused), 0);
    EXPECT_EQ(call.argument<ub4>(7), ub4(row.autoCommit ? OCI_COMMIT_ON_SUCCESS : OCI_DEFAULT));
    const std::unique_ptr<DTK_ResultSetBase> first(statement->mb_getResultSet()), second(statement->mb_getResultSet());
    EXPECT_NE(first, second);
    EXPECT_EQ(World::value(*other, "SELECT TO_CHAR(COUNT(*)) FROM t"), row.rows);
}

INSTANTIATE_TEST_SUITE_P(
    Of, Execution,
    testing::Values(ExecutionRow{"query_with_update_count", "SELECT n FROM t", 10, false, 0, "0"},
                    ExecutionRow{"insert", "INSERT INTO t VALUES (7)", 0, false, 1, "0"},
                    ExecutionRow{"insert_with_update_count", "INSERT INTO t VALUES (7)", 10, true, 10, "10"},
                    ExecutionRow{"block", "BEGIN INSERT INTO t VALUES (7); END;", 0, true, 1, "1"}),
    rowName);

TEST_F(Statements, NewTextReplacesTheOldOneAndItsSettings) {
    table("t", "n NUMBER(9)");
    const Statement statement = prepare("INSERT INTO t VALUES (:1)");
    int numbers[]{4, 4};
    statement->mb_setUpdateCount(2);
    *statement << numbers;
    statement->mb_setAutoCommit(true);
    interpose::reset();
    statement->mb_setSQL("");
    EXPECT_EQ(called(), "");
    statement->mb_executeUpdate();
    EXPECT_EQ(World::value(*other, "SELECT TO_CHAR(COUNT(*)) FROM t WHERE n = 4"), "2");

    void* const oldHandle = interpose::calls("OCIStmtExecute").front().argument<void*>(1);
    interpose::reset();
    statement->mb_setSQL("INSERT INTO t VALUES (:a - :b)");
    EXPECT_EQ(called(), "OCIStmtRelease OCIStmtPrepare2 OCIAttrGet");
    EXPECT_EQ(interpose::calls()[0].argument<void*>(0), oldHandle);
    EXPECT_EQ(interpose::calls()[1].argument<ub4>(4), 30u);
    EXPECT_FALSE(statement->mb_getAutoCommit());
    EXPECT_EQ(thrown([&] { *statement << numbers; }), countNotSet);
    for (const unsigned int position : {1, 2}) {
        EXPECT_EQ(thrown([&] { statement->mb_getInt(position); }), unreadable);
    }
    statement->mb_setInt(1, 20);
    statement->mb_setInt(2, 8);
    statement->mb_execute();
    statement->mb_setUpdateCount(1);
    *statement << numbers;
    statement->mb_execute();
    EXPECT_EQ(value("SELECT COUNT(*) || ' ' || MIN(n) || ' ' || MAX(n) FROM t WHERE n <> 4"), "2 -4 12");
}

TEST_F(Statements, TerminatedIsUnpreparedAndMayBeUsedAgain) {
    const Statement statement = prepare("SELECT 1 FROM DUAL");
    interpose::reset();
    for (int i = 0; i < 2; ++i) connection->mb_terminateStatement(statement.get());
    EXPECT_EQ(called(), "OCIStmtRelease");
    EXPECT_EQ(thrown([&] { statement->mb_execute(); }), notPrepared);
    statement->mb_setSQL("SELECT 1 FROM DUAL");
    statement->mb_execute();
}

TEST_F(Statements, CopiesShareTheHandleButNotTheValues) {
    table("t", "a NUMBER(9), b NUMBER(9)");
    const Statement statement = prepare("INSERT INTO t VALUES (:1, :2)");
    auto& original = static_cast<_DTK_Statement&>(*statement);
    original.mb_setInt(2, 2);
    original.mb_setUpdateCount(2);
    {
        _DTK_Statement copy(original);
        EXPECT_EQ(thrown([&] { copy.mb_getInt(2); }), unreadable);
        copy.mb_setInt(1, 8);
        copy.mb_setInt(2, 9);
        copy.mb_execute();
        copy = *&copy;
        copy = original;
        EXPECT_EQ(copy.mb_getInt(1), 8) << "what an assigned statement has bound stays";
        EXPECT_EQ(thrown([&] { copy.mb_getInt(6); }), unreadable) << "placeholders are appended";
        EXPECT_EQ(copy.mb_getStmtType(), unsigned{OCI_STMT_INSERT});
    }
    EXPECT_EQ(value("SELECT TO_CHAR(COUNT(*)) FROM t WHERE a = 8 AND b = 9"), "2");
    original.mb_setInt(1, 1);
    original.mb_execute();
    _DTK_Statement alone;
    EXPECT_EQ(thrown([&] { alone.mb_setSQL("SELECT 1 FROM DUAL"); }), "DTK 300 Uninitialized _DTK_Statement Object");
}

TEST_F(Statements, PositionsOutsideTheTextAreRefused) {
    const Statement statement = prepare("SELECT :1, :2 FROM DUAL");
    DTK_Blob blob;
    for (const unsigned int position : {0, 3}) {
        const auto refusals = std::vector{thrown([&] { statement->mb_setInt(position, 1); }),
                                          thrown([&] { statement->mb_setString(position, "a"); }),
                                          thrown([&] { statement->mb_setDTK_Blob(position, blob); }),
                                          thrown([&] { statement->mb_registerOutParam(position, DTK_BLOB, 0, ""); }),
                                          thrown([&] { statement->mb_getString(position); })};
        EXPECT_EQ(refusals, std::vector<std::string>(5, "ORCL ORA-01036"));
        statement->mb_setErrorOnNull(position, true);
        EXPECT_FALSE(statement->mb_isNull(position) || statement->mb_isTruncated(position));
    }
}

TEST_F(Statements, UnpreparedOneHasNoPositions) {
    const Statement statement = prepare("");
    _DTK_Statement alone;
    DTK_Blob blob, blobs[1];
    int number = 0;
    interpose::reset();
    for (DTK_StatementBase* unprepared : {statement.get(), static_cast<DTK_StatementBase*>(&alone)}) {
        unprepared->mb_setUpdateCount(1);
        const auto refusals = std::vector{thrown([&] { unprepared->mb_setInt(1, 1); }),
                                          thrown([&] { unprepared->mb_setString(1, "a"); }),
                                          thrown([&] { unprepared->mb_setDTK_Blob(1, blob); }),
                                          thrown([&] { unprepared->mb_registerOutParam(1, DTK_INT, 0, ""); }),
                                          thrown([&] { unprepared->mb_registerOutParam(1, DTK_BLOB, 0, ""); }),
                                          thrown([&] { unprepared->mb_getInt64(1); }),
                                          thrown([&] { *unprepared << &number; }),
                                          thrown([&] { *unprepared << blobs; })};
        EXPECT_EQ(refusals, std::vector<std::string>(8, notPrepared));
        EXPECT_FALSE(unprepared->mb_isNull(1) || unprepared->mb_isTruncated(1));
    }
    EXPECT_EQ(called(), "");
    EXPECT_EQ(blob.mb_get(), nullptr);
}

// A client that takes any position must not make the library write behind its own list of them.
TEST_F(Statements, PositionOutsideTheTextIsRefusedEvenIfTheClientTakesIt) {
    const Statement statement = prepare("SELECT :1 FROM DUAL");
    statement->mb_setUpdateCount(1);
    interpose::on("OCIBindByPos", [](const auto&) { return OCI_SUCCESS; });
    int numbers[]{1};
    DTK_String texts[]{"a"};
    *statement << numbers;
    EXPECT_EQ(thrown([&] { *statement << numbers; }), unreadable);
    EXPECT_EQ(thrown([&] { *statement << texts; }), unreadable);
    EXPECT_EQ(thrown([&] { statement->mb_setInt(1000, 1); }), unreadable);
}

TEST_F(Statements, AssignedOneLeavesItsOldValuesBehind) {
    table("t", "a NUMBER(9), b NUMBER(9)");
    const Statement one = prepare("INSERT INTO t VALUES (:1, :2)"), many = prepare("INSERT INTO t VALUES (:1, :2)");
    int first[]{1, 2}, second[]{5, 6};
    many->mb_setUpdateCount(2);
    *many << first << second;
    {
        _DTK_Statement assigned(static_cast<_DTK_Statement&>(*one));
        assigned.mb_setInt(1, 99);
        assigned.mb_setInt(2, 99);
        assigned = static_cast<_DTK_Statement&>(*many);
        assigned.mb_execute();
    }
    many->mb_execute();
    EXPECT_EQ(value("SELECT SUM(a) || ' ' || SUM(b) FROM t"), "6 22");
}

/// Values of a type that placeholders, output parameters, columns and arrays all have.
template <typename... T> using AnyOf = std::variant<std::vector<T>...>;
using Values = AnyOf<int, unsigned int, long long, float, double, DTK_DbDate, DTK_String>;

template <DTK_DATATYPES typeCode, auto setter, auto getter> struct FactsOf {
    static constexpr auto code = typeCode;
    static constexpr auto parameter = code == DTK_DBDATE ? "DATE" : code == DTK_STRING ? "VARCHAR2" : "NUMBER";
    template <typename T> static void set(DTK_StatementBase& to, const T& value) { (to.*setter)(1, value); }
    static auto get(DTK_StatementBase& from) { return (from.*getter)(2); }
};

using S = DTK_StatementBase;
template <typename T> struct Facts;
template <> struct Facts<int> : FactsOf<DTK_INT, &S::mb_setInt, &S::mb_getInt> {};
template <> struct Facts<unsigned int> : FactsOf<DTK_UINT, &S::mb_setUInt, &S::mb_getUInt> {};
template <> struct Facts<long long> : FactsOf<DTK_INT64, &S::mb_setInt64, &S::mb_getInt64> {};
template <> struct Facts<float> : FactsOf<DTK_FLOAT, &S::mb_setFloat, &S::mb_getFloat> {};
template <> struct Facts<double> : FactsOf<DTK_DOUBLE, &S::mb_setDouble, &S::mb_getDouble> {};
template <> struct Facts<DTK_DbDate> : FactsOf<DTK_DBDATE, &S::mb_setDate, &S::mb_getDate> {};
template <> struct Facts<DTK_String> : FactsOf<DTK_STRING, &S::mb_setString, &S::mb_getString> {};

/// Numbers as they are, so that not a bit of them is lost on the way; dates and texts as text.
template <typename T> auto exact(const T& value) {
    if constexpr (std::is_arithmetic_v<T>)
        return value;
    else
        return shown(value);
}

struct ValuesRow {
    const char* name;
    const char* column;
    Values values;
    bool null = false; ///< the database takes them for NULL
};

class AnyValue : public Statements, public testing::WithParamInterface<ValuesRow> {
  protected:
    void SetUp() override { table("t", std::string("v ") + GetParam().column); }

    const bool null = GetParam().null;
};

TEST_P(AnyValue, TravelsThroughPlaceholderAndColumn) {
    const auto travel = [this]<typename T>(const std::vector<T>& values) {
        const Statement insert = prepare("INSERT INTO t VALUES (:1)");
        for (const T& value : values) {
            Facts<T>::set(*insert, value);
            insert->mb_execute();
            DTK_ResultSetBase& rows = open("SELECT v FROM t");
            ASSERT_TRUE(rows.mb_fetch());
            T fetched{};
            rows >> fetched;
            EXPECT_EQ(exact(fetched), exact(value));
            EXPECT_EQ(rows.mb_isNull(1), null);
            execute("DELETE FROM t");
        }
    };
    std::visit(travel, GetParam().values);
}

TEST_P(AnyValue, ComesOutOfAProcedure) {
    const auto travel = [this]<typename T>(const std::vector<T>& values) {
        const std::string type = Facts<T>::parameter;
        execute("CREATE OR REPLACE PROCEDURE p (a IN " + type + ", b OUT " + type + ") IS BEGIN b := a; END;");
        const Statement statement = prepare("BEGIN p(:1, :2); END;");
        statement->mb_registerOutParam(2, Facts<T>::code, 5000, "ignored");
        for (const T& value : values) {
            Facts<T>::set(*statement, value);
            EXPECT_EQ(statement->mb_executeProcedure(), 0);
            EXPECT_EQ(exact(Facts<T>::get(*statement)), exact(value));
            EXPECT_EQ(statement->mb_isNull(2), null);
            EXPECT_FALSE(statement->mb_isTruncated(2));
        }
    };
    std::visit(travel, GetParam().values);
}

// Arrays have no indicators that could tell of a NULL.
TEST_P(AnyValue, TravelsThroughArrays) {
    const auto travel = [this]<typename T>(std::vector<T> in) {
        const int count = static_cast<int>(in.size());
        std::vector<T> out(in.size()), fetched(in.size() + 1);
        const Statement insert = prepare("INSERT INTO t VALUES (:1)"), copy = prepare("BEGIN :1 := :2; END;");
        insert->mb_setUpdateCount(count);
        *insert << in.data();
        EXPECT_EQ(insert->mb_executeArrayUpdate(), 1);
        copy->mb_setUpdateCount(count);
        if constexpr (std::is_same_v<T, DTK_String>)
            copy->mb_setStringArray(out.data(), 4000);
        else
            *copy << out.data();
        *copy << in.data();
        EXPECT_EQ(thrown([&] { copy->mb_executeProcedure(); }), null ? "DTK ORA-01405" : "");
        DTK_ResultSetBase& rows = open("SELECT v FROM t");
        rows.mb_setBulkCount(count + 1);
        rows << fetched.data();
        EXPECT_EQ(thrown([&] { rows.mb_fetch(); }), null ? "ORCL ORA-01405" : "");
        for (std::size_t i = 0; i < (null ? 0 : in.size()); ++i) {
            EXPECT_EQ(exact(out[i]), exact(in[i]));
            EXPECT_EQ(exact(fetched[i]), exact(in[i]));
        }
    };
    std::visit(travel, GetParam().values);
}

const ValuesRow values[] = {
    {"int", "NUMBER(10)", std::vector{INT_MIN, -1, 0, INT_MAX}},
    {"uint", "NUMBER(10)", std::vector{0u, 1u, UINT_MAX}},
    {"int64", "NUMBER(19)", std::vector{LLONG_MIN, -1LL, 0LL, LLONG_MAX}},
    {"float", "NUMBER", std::vector{-FLT_MAX, -2.25f, 0.f, FLT_MIN, FLT_MAX}},
    {"double", "FLOAT", std::vector{-9.99e125, -0.0625, 0., 1e-129, 9.99e125}},
    {"date", "DATE", std::vector{date("00010101000000"), date("20240229123456"), date("99991231235959")}},
    {"text", "VARCHAR2(4000)", std::vector<DTK_String>{"x", "it's \"\xc3\xa9\" :1 \t ", std::string(4000, 'y')}},
    {"empty_text", "VARCHAR2(10)", std::vector<DTK_String>{""}, true},
};

INSTANTIATE_TEST_SUITE_P(Of, AnyValue, testing::ValuesIn(values), rowName);

struct RefusalRow {
    const char* name;
    const char* column;
    const char* value;
    const char* number;
    const char* fitting;
};

class Refusal : public Statements, public testing::WithParamInterface<RefusalRow> {};

TEST_P(Refusal, KeepsTheStatementReadyForAValueThatFits) {
    const RefusalRow& row = GetParam();
    table("t", std::string("v ") + row.column);
    const Statement statement = prepare("INSERT INTO t VALUES (:1)");
    statement->mb_setString(1, row.value);
    EXPECT_EQ(thrown([&] { statement->mb_execute(); }), std::string("ORCL ") + row.number);
    EXPECT_EQ(thrown([&] { statement->mb_executeUpdate(); }), std::string("DTK ") + row.number);
    statement->mb_setString(1, row.fitting);
    statement->mb_execute();
    EXPECT_EQ(value("SELECT TO_CHAR(COUNT(*)) FROM t"), "1");
}

INSTANTIATE_TEST_SUITE_P(
    Of, Refusal,
    testing::Values(RefusalRow{"digit_too_many", "NUMBER(9)", "1000000000", "ORA-01438", "999999999"},
                    RefusalRow{"negative_digit_too_many", "NUMBER(4,2)", "-100", "ORA-01438", "-99.99"},
                    RefusalRow{"character_too_many", "VARCHAR2(3)", "abcd", "ORA-12899", "abc"},
                    RefusalRow{"empty_where_null_is_not_allowed", "VARCHAR2(3) NOT NULL", "", "ORA-01400", "a"},
                    RefusalRow{"text_for_number", "NUMBER(9)", "12x", "ORA-01722", "12"},
                    RefusalRow{"check_violated", "NUMBER(9) CHECK (v > 0)", "0", "ORA-02290", "1"}),
    rowName);

struct BindRow {
    const char* name;
    std::function<void(DTK_StatementBase&)> bind;
    const char* binds;
};

class Binds : public Statements, public testing::WithParamInterface<BindRow> {};

TEST_P(Binds, PassTheirArguments) {
    const Statement statement = prepare("UPDATE t SET a = :1, b = :2, c = :3, d = :4, e = :5, f = :6, g = :7, h = :8");
    GetParam().bind(*statement);
    EXPECT_EQ(buffers("OCIBindByPos"), GetParam().binds);
    for (const auto& call : interpose::calls("OCIBindByPos"))
        for (const std::size_t unused : {8, 9, 10, 11, 12}) EXPECT_EQ(call.argument<std::intptr_t>(unused), 0);
}

template <typename T> T array[3]{};

const BindRow bindRows[] = {
    {"scalars_of_every_type",
     [](auto& statement) {
         statement.mb_setInt(1, 5);
         statement.mb_setUInt(1, 5);
         statement.mb_setInt64(1, 5);
         statement.mb_setFloat(1, 5);
         statement.mb_setDouble(1, 5);
         statement.mb_setDate(1, date("20240101000000"));
         statement.mb_setString(8, "five");
     },
     "1 3 4i, 1 68 4i, 1 3 8i, 1 4 4i, 1 4 8i, 1 12 7i, 8 5 5i"},
    {"same_type_again_is_stored_in_place",
     [](auto& statement) {
         for (const int value : {5, 7, 9}) statement.mb_setInt(1, value);
         statement.mb_registerOutParam(2, DTK_DOUBLE, 0, "");
         statement.mb_setDouble(2, 5);
         for (const auto* text : {"", ""}) statement.mb_setString(3, text);
     },
     "1 3 4i, 2 4 8i, 3 5 1i, 3 5 1i"},
    {"output_parameters",
     [](auto& statement) {
         for (const int type : {1, 5, 7, 2, 3, 6, 4, 10, 0, 9, 8})
             statement.mb_registerOutParam(1, DTK_DATATYPES(type), 10, "");
     },
     "1 3 4i, 1 68 4i, 1 3 8i, 1 4 4i, 1 4 8i, 1 12 7i, 1 5 9i, 1 5 10i, 1 5 10i, 1 5 10i, 1 113 0i"},
    {"arrays_take_the_next_position",
     [](auto& statement) {
         static DTK_String texts[]{"a", "abcd", "xy"};
         DTK_Blob blobs[3];
         statement.mb_setInt(5, 1);
         statement.mb_setUpdateCount(3);
         statement << array<int> << texts << array<DTK_DbDate> << array<unsigned int> << array<long long>;
         statement.mb_setStringArray(texts, 10) << array<double> << blobs;
     },
     "5 3 4i, 1 3 4, 2 5 5, 3 12 7, 4 68 4, 5 3 8, 6 5 11, 7 4 8, 8 113 0i"},
    {"arrays_need_the_update_count",
     [](auto& statement) {
         DTK_Blob blobs[3];
         const auto bind = [&](auto*... arrays) { return std::vector{thrown([&] { statement << arrays; })...}; };
         EXPECT_EQ(bind(array<int>, array<unsigned int>, array<long long>, array<float>, array<double>,
                        array<DTK_DbDate>, array<DTK_String>, blobs),
                   std::vector<std::string>(8, countNotSet));
         EXPECT_EQ(thrown([&] { statement.mb_setStringArray(array<DTK_String>, 4); }), countNotSet);
         statement.mb_setUpdateCount(3);
         statement << array<float>;
     },
     "1 4 4"},
    {"refused_array_keeps_its_position",
     [](auto& statement) {
         statement.mb_setUpdateCount(3);
         interpose::on("OCIBindByPos", [](const auto&) { return OCI_ERROR; });
         EXPECT_EQ(thrown([&] { statement << array<DTK_String>; }).substr(0, 4), "ORCL");
         interpose::on("OCIBindByPos", [](const auto&) { return std::nullopt; });
         statement << array<int>;
     },
     "1 5 1, 2 3 4"},
};

INSTANTIATE_TEST_SUITE_P(Of, Binds, testing::ValuesIn(bindRows), rowName);

struct OutputRow {
    const char* name;
    DTK_DATATYPES type;
    const char* expression;
    const char* readings;
    bool null = false;
};

class Output : public Statements, public testing::WithParamInterface<OutputRow> {};

TEST_P(Output, ReadsAsEveryType) {
    const OutputRow& row = GetParam();
    const Statement statement = prepare(DTK_String("BEGIN :1 := ") + row.expression + "; END;");
    statement->mb_registerOutParam(1, row.type, 6, "");
    statement->mb_setErrorOnNull(1, true);
    const std::string failure = thrown([&] { statement->mb_executeProcedure(); });
    EXPECT_EQ(failure.empty() ? readings(*statement, 1) : failure, row.readings);
    EXPECT_EQ(statement->mb_isNull(1), row.null);
    EXPECT_FALSE(statement->mb_isTruncated(1)) << "an indicator above 0 holds the full length";
}

INSTANTIATE_TEST_SUITE_P(
    Of, Output,
    testing::Values(
        OutputRow{"int", DTK_INT, "-1", " -1 4294967295 -1 -1.000000 -1.000000 !303 !303 !303"},
        OutputRow{"int_above_the_greatest", DTK_INT, "2147483648", "DTK ORA-01455"},
        OutputRow{"int_below_the_least", DTK_INT, "-2147483649", "DTK ORA-01455"},
        OutputRow{"uint", DTK_UINT, "4294967295",
                  " -1 4294967295 4294967295 4294967296.000000 4294967295.000000 !303 !303 !303"},
        OutputRow{"uint_below_zero", DTK_UINT, "-1", "DTK ORA-01455"},
        OutputRow{"int64", DTK_INT64, "4294967298",
                  " 2 2 4294967298 4294967296.000000 4294967298.000000 !303 !303 !303"},
        OutputRow{"int64_above_the_greatest", DTK_INT64, "93000000000000000000", "DTK ORA-01455"},
        OutputRow{"float", DTK_FLOAT, "-2.75", " -2 4294967294 -2 -2.750000 -2.750000 !303 !303 !303"},
        OutputRow{"double", DTK_DOUBLE, "3.99", " 3 3 3 3.990000 3.990000 !303 !303 !303"},
        OutputRow{"double_past_32_bits", DTK_DOUBLE, "2.9e10",
                  " -1064771072 3230196224 29000000000 28999999488.000000 29000000000.000000 !303 !303 !303"},
        OutputRow{"double_past_64_bits", DTK_DOUBLE, "-1e19",
                  " 0 0 -9223372036854775808 -9999999980506447872.000000 -10000000000000000000.000000 !303 !303 !303"},
        OutputRow{"text", DTK_STRING, "'42'", " !303 !303 !402 !303 !303 42 !303 !303"},
        OutputRow{"text_too_long", DTK_STRING, "'abcdefgh'", "DTK ORA-06502"},
        OutputRow{"unlisted_type", DTK_UNKNOWN, "'42'", " !303 !303 !402 !303 !303 !303 !303 !303"},
        OutputRow{"date", DTK_DBDATE, "DATE '2024-02-29'", " !303 !303 !402 !303 !303 !303 20240229000000 !303"},
        OutputRow{"blob", DTK_BLOB, "HEXTORAW('0102')", " !303 !303 !402 !303 !303 !303 !303 2 bytes"},
        OutputRow{"null_int", DTK_INT, "NULL", " 0 0 0 0.000000 0.000000 !303 !303 !303", true},
        OutputRow{"null_text", DTK_STRING, "NULL", " !303 !303 !402 !303 !303  !303 !303", true}),
    rowName);

TEST_F(Statements, IndicatorsTellNullAndTheLongestCut) {
    const Statement statement = prepare("BEGIN :1 := 'x'; END;");
    statement->mb_registerOutParam(1, DTK_STRING, 9, "");
    for (const sb2 value : {-2, -1, 0, 1, 32767}) {
        interpose::on("OCIStmtExecute", [&](const auto& call) {
            const int status = call.pass();
            *interpose::calls("OCIBindByPos").back().template argument<sb2*>(7) = value;
            return status;
        });
        statement->mb_execute();
        EXPECT_EQ(statement->mb_isNull(1), value == -1) << value;
        EXPECT_EQ(statement->mb_isTruncated(1), value == -2) << value;
    }
}

TEST_F(Statements, ParameterThatCameBackNullIsSentAsNullWhateverIsSet) {
    const Statement statement = prepare("BEGIN :2 := NVL(TO_CHAR(:1), 'none'); :1 := NULL; END;");
    statement->mb_registerOutParam(1, DTK_STRING, 20, "");
    for (const auto& [given, seen] : {std::pair(5, "5"), {7, "none"}}) {
        statement->mb_setInt(2, given);
        statement->mb_executeProcedure();
        EXPECT_EQ(shown(statement->mb_getString(1)), seen);
        EXPECT_TRUE(statement->mb_isNull(2));
        EXPECT_EQ(statement->mb_getInt(2), given);
    }
}

TEST_F(Statements, ArraysSendWhatTheyHoldAndOnlyAProcedureMapsBack) {
    DTK_String texts[]{"a", "bc"};
    const Statement statement = prepare("BEGIN :1 := :1 || '!'; END;");
    statement->mb_setUpdateCount(2);
    statement->mb_setStringArray(texts, 10);
    texts[1] = "later";
    statement->mb_executeArrayUpdate();
    EXPECT_EQ(shown(texts[0]) + shown(texts[1]), "alater");
    statement->mb_executeProcedure();
    EXPECT_EQ(shown(texts[0]) + shown(texts[1]), "a!later!");
}

TEST_F(Statements, SingleValueBesideAnArrayMayBecomeOneOfAnotherType) {
    table("t", "n NUMBER(9), v VARCHAR2(10)");
    int numbers[]{1, 2, 3};
    const Statement statement = prepare("INSERT INTO t VALUES (:1, :2)");
    statement->mb_setUpdateCount(3);
    *statement << numbers;
    statement->mb_setInt(2, 7);
    statement->mb_executeArrayUpdate();
    statement->mb_setString(2, "seven");
    statement->mb_executeArrayUpdate();
    statement->mb_setInt(2, 8);
    statement->mb_executeArrayUpdate();
    EXPECT_EQ(value("SELECT COUNT(*) || MIN(v) || MAX(v) FROM t"), "97seven");
    EXPECT_EQ(value("SELECT TO_CHAR(COUNT(*)) FROM t WHERE v = '8'"), "3");
}

TEST_F(Statements, OutputBesideAnArrayIsThatOfTheFirstIteration) {
    execute("CREATE OR REPLACE PROCEDURE p (a IN NUMBER, b OUT NUMBER) IS BEGIN b := NULLIF(a, 1); END;");
    int numbers[]{1, 5};
    const Statement statement = prepare("BEGIN p(:1, :2); END;");
    statement->mb_setUpdateCount(2);
    *statement << numbers;
    statement->mb_registerOutParam(2, DTK_INT, 0, "");
    statement->mb_executeProcedure();
    EXPECT_TRUE(statement->mb_isNull(2));
    numbers[0] = 4;
    statement->mb_executeProcedure();
    EXPECT_FALSE(statement->mb_isNull(2));
    EXPECT_EQ(statement->mb_getInt(2), 4);
}

TEST_F(Statements, FailingRowEndsAnArrayAndKeepsTheRowsBeforeIt) {
    table("t", "n NUMBER(2)");
    int numbers[]{1, 2, 100, 4};
    const Statement statement = prepare("INSERT INTO t VALUES (:1)");
    statement->mb_setUpdateCount(4);
    *statement << numbers;
    EXPECT_EQ(thrown([&] { statement->mb_executeArrayUpdate(); }), "DTK ORA-01438");
    EXPECT_EQ(value("SELECT TO_CHAR(COUNT(*)) FROM t"), "2");
    connection->mb_rollback();
    EXPECT_EQ(value("SELECT TO_CHAR(COUNT(*)) FROM t"), "0");
}

TEST(Mapper, CarriesTextsAndIntegers) {
    DTK_String texts[]{"a", "", "abc"};
    long long numbers[]{LLONG_MAX, LLONG_MIN, 0};
    char textSlots[3][4], numberSlots[3][21];
    DTK_String_mapper textMapper(texts, textSlots, 3, sizeof textSlots[0], nullptr);
    DTK_int64_mapper numberMapper(numbers, numberSlots, 3, sizeof numberSlots[0], nullptr);
    textMapper.mb_mapToArray();
    numberMapper.mb_mapToArray();
    EXPECT_EQ(std::string(textSlots[0]) + textSlots[1] + textSlots[2], "aabc");
    EXPECT_STREQ(numberSlots[0], "9223372036854775807");
    std::strcpy(textSlots[1], "new");
    std::strcpy(numberSlots[0], "-12abc");
    std::strcpy(numberSlots[2], "abc");
    textMapper.mb_mapToString();
    numberMapper.mb_mapToint64();
    EXPECT_EQ(printed([&] { textMapper.mb_print(); }), "a\nnew\nabc\n");
    EXPECT_EQ(printed([&] { numberMapper.mb_print(); }), "-12\n-9223372036854775808\n0\n");

    // A number that does not fit fills its slot without a NUL, which OCI refuses, instead of becoming a smaller one.
    long long wide[]{1234, 123, -123};
    DTK_int64_mapper(wide, textSlots, 3, sizeof textSlots[0], nullptr).mb_mapToArray();
    EXPECT_EQ(std::string(textSlots[0], sizeof textSlots), std::string("1234123\0-123", sizeof textSlots));
}

} // namespace
