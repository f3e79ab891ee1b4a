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

using support::Statement;

class Statements : public World, public testing::Test {
  protected:
    ~Statements() override { interpose::reset(); }
};

constexpr auto notPrepared = "DTK 302 Statement handle not prepared";
constexpr auto notExecuted = "DTK 304 statement handle not executed";
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
    execute("INSERT INTO t VALUES (1)");
    connection->mb_commit();
    const Statement statement = prepare(row.sql);
    if (row.updateCount > 0) statement->mb_setUpdateCount(row.updateCount);
    statement->mb_setAutoCommit(row.autoCommit);
    EXPECT_EQ(statement->mb_getAutoCommit(), row.autoCommit);
    statement->mb_execute();
    const interpose::Call call = interpose::calls("OCIStmtExecute").back();
    EXPECT_EQ(call.argument<ub4>(3), row.iterations);
    EXPECT_EQ(call.argument<ub4>(4), 0u);
    EXPECT_EQ(call.argument<void*>(5), nullptr);
    EXPECT_EQ(call.argument<void*>(6), nullptr);
    EXPECT_EQ(call.argument<ub4>(7), ub4(row.autoCommit ? OCI_COMMIT_ON_SUCCESS : OCI_DEFAULT));
    const std::unique_ptr<DTK_ResultSetBase> first(statement->mb_getResultSet()), second(statement->mb_getResultSet());
    EXPECT_NE(first, second);
    EXPECT_EQ(World::value(*other, "SELECT TO_CHAR(COUNT(*)) FROM t"), row.rows);
    connection->mb_rollback();
}

INSTANTIATE_TEST_SUITE_P(
    Of, Execution,
    testing::Values(ExecutionRow{"query", "SELECT n FROM t", 0, false, 0, "1"},
                    ExecutionRow{"query_with_update_count", "SELECT n FROM t", 10, false, 0, "1"},
                    ExecutionRow{"insert", "INSERT INTO t VALUES (7)", 0, false, 1, "1"},
                    ExecutionRow{"insert_with_update_count", "INSERT INTO t VALUES (7)", 10, false, 10, "1"},
                    ExecutionRow{"insert_with_auto_commit", "INSERT INTO t VALUES (7)", 10, true, 10, "11"},
                    ExecutionRow{"delete_with_auto_commit", "DELETE FROM t", 0, true, 1, "0"},
                    ExecutionRow{"block", "BEGIN INSERT INTO t VALUES (7); END;", 0, true, 1, "2"}),
    rowName);

TEST_F(Statements, UpdateCountsBelowOneAreRefusedAndChangeNothing) {
    table("t", "n NUMBER(9)");
    const Statement statement = prepare("INSERT INTO t VALUES (1)");
    statement->mb_setUpdateCount(3);
    for (const int count : {0, -1, INT_MIN}) {
        EXPECT_EQ(thrown([&] { statement->mb_setUpdateCount(count); }), "DTK 301 Invalid value for update count");
    }
    EXPECT_EQ(statement->mb_executeUpdate(), 1);
    EXPECT_EQ(statement->mb_executeArrayUpdate(), 1);
    EXPECT_EQ(statement->mb_executeProcedure(), 0);
    EXPECT_EQ(value("SELECT TO_CHAR(COUNT(*)) FROM t"), "9");
}

TEST_F(Statements, NewTextReplacesTheOldOneAndItsSettings) {
    table("t", "n NUMBER(9)");
    const Statement statement = prepare("INSERT INTO t VALUES (:1)");
    statement->mb_setInt(1, 4);
    statement->mb_setAutoCommit(true);
    statement->mb_setUpdateCount(2);
    interpose::reset();
    statement->mb_setSQL("");
    EXPECT_TRUE(interpose::calls().empty());
    statement->mb_executeUpdate();
    EXPECT_EQ(World::value(*other, "SELECT TO_CHAR(COUNT(*)) FROM t WHERE n = 4"), "2");

    void* const oldHandle = interpose::calls("OCIStmtExecute").front().argument<void*>(1);
    interpose::reset();
    statement->mb_setSQL("SELECT :a, :b, :c FROM DUAL");
    const auto calls = interpose::calls();
    ASSERT_EQ(calls.size(), 3u);
    EXPECT_EQ(calls[0].function, "OCIStmtRelease");
    EXPECT_EQ(calls[0].argument<void*>(0), oldHandle);
    EXPECT_EQ(calls[1].function, "OCIStmtPrepare2");
    EXPECT_EQ(calls[1].argument<ub4>(4), 27u);
    EXPECT_EQ(calls[1].argument<void*>(5), nullptr);
    EXPECT_EQ(calls[1].argument<ub4>(7), ub4{OCI_NTV_SYNTAX});
    EXPECT_EQ(calls[2].argument<ub4>(4), ub4{OCI_ATTR_BIND_COUNT});
    EXPECT_FALSE(statement->mb_getAutoCommit());
    int array[2]{};
    EXPECT_EQ(thrown([&] { *statement << array; }), "DTK 301 Fetch count not set");
    for (const unsigned int position : {1, 2, 3}) EXPECT_FALSE(statement->mb_isNull(position));
    EXPECT_EQ(thrown([&] { statement->mb_getInt(3); }), unreadable);
}

TEST_F(Statements, TerminatedIsUnpreparedAndMayBeUsedAgain) {
    const Statement statement = prepare("SELECT 1 FROM DUAL");
    interpose::reset();
    for (int i = 0; i < 2; ++i) connection->mb_terminateStatement(statement.get());
    ASSERT_EQ(interpose::calls().size(), 1u);
    EXPECT_EQ(interpose::calls()[0].function, "OCIStmtRelease");
    EXPECT_EQ(interpose::calls()[0].argument<ub4>(4), ub4{OCI_DEFAULT});
    EXPECT_EQ(thrown([&] { statement->mb_execute(); }), notPrepared);
    statement->mb_setSQL("SELECT 1 FROM DUAL");
    statement->mb_execute();
}

TEST_F(Statements, CopiesShareTheHandleButNotTheValues) {
    table("t", "a NUMBER(9), b NUMBER(9)");
    const Statement statement = prepare("INSERT INTO t VALUES (:1, :2)");
    auto& original = static_cast<_DTK_Statement&>(*statement);
    original.mb_setInt(1, 1);
    original.mb_setInt(2, 2);
    original.mb_setUpdateCount(2);
    interpose::reset();
    {
        _DTK_Statement copy(original);
        EXPECT_EQ(thrown([&] { copy.mb_getInt(2); }), unreadable);
        copy.mb_setInt(1, 8);
        copy.mb_setInt(2, 9);
        copy.mb_executeUpdate();
        EXPECT_EQ(value("SELECT TO_CHAR(COUNT(*)) FROM t WHERE a = 8 AND b = 9"), "2");
        copy = *&copy;
        copy = original;
        EXPECT_EQ(copy.mb_getInt(1), 8) << "what an assigned statement has bound stays";
        EXPECT_FALSE(copy.mb_isNull(6)) << "placeholders are appended";
        EXPECT_EQ(copy.mb_getStmtType(), unsigned{OCI_STMT_INSERT});
    }
    EXPECT_EQ(interpose::calls("OCIStmtRelease").size(), 1u) << "that of the query alone";
    _DTK_Statement alone;
    EXPECT_EQ(thrown([&] { alone.mb_setSQL("SELECT 1 FROM DUAL"); }), "DTK 300 Uninitialized _DTK_Statement Object");
    alone.mb_reinitializeObject();
}

/// A value of a type that placeholders, output parameters, columns and arrays all have.
using Value = std::variant<int, unsigned int, long long, float, double, DTK_DbDate, DTK_String>;

template <auto typeCode, auto setter, auto outputGetter, auto columnGetter> struct FactsOf {
    static constexpr const char* parameter = typeCode == DTK_DBDATE   ? "DATE"
                                             : typeCode == DTK_STRING ? "VARCHAR2"
                                                                      : "NUMBER";
    static constexpr auto code = typeCode;
    static constexpr auto set = setter;
    static auto get(DTK_StatementBase& statement) { return (statement.*outputGetter)(2); }
    static auto get(DTK_ResultSetBase& rows) { return (rows.*columnGetter)(1); }
};

using S = DTK_StatementBase;
using R = DTK_ResultSetBase;
template <typename T> struct Facts;
template <> struct Facts<int> : FactsOf<DTK_INT, &S::mb_setInt, &S::mb_getInt, &R::mb_getInt> {};
template <> struct Facts<unsigned int> : FactsOf<DTK_UINT, &S::mb_setUInt, &S::mb_getUInt, &R::mb_getUInt> {};
template <> struct Facts<long long> : FactsOf<DTK_INT64, &S::mb_setInt64, &S::mb_getInt64, &R::mb_getInt64> {};
template <> struct Facts<float> : FactsOf<DTK_FLOAT, &S::mb_setFloat, &S::mb_getFloat, &R::mb_getFloat> {};
template <> struct Facts<double> : FactsOf<DTK_DOUBLE, &S::mb_setDouble, &S::mb_getDouble, &R::mb_getDouble> {};
template <> struct Facts<DTK_DbDate> : FactsOf<DTK_DBDATE, &S::mb_setDate, &S::mb_getDate, &R::mb_getDate> {};
template <> struct Facts<DTK_String> : FactsOf<DTK_STRING, &S::mb_setString, &S::mb_getString, &R::mb_getString> {};

template <typename T> void set(DTK_StatementBase& statement, const T& value) {
    (statement.*Facts<T>::set)(1, value);
}

/// Numbers as they are, so that not a bit of them is lost on the way; dates and texts as text.
template <typename T> auto exact(const T& value) {
    if constexpr (std::is_arithmetic_v<T>)
        return value;
    else
        return shown(value);
}

struct ValueRow {
    const char* name;
    const char* column;
    Value value;
    bool null = false; ///< the database takes it for NULL
};

class AnyValue : public Statements, public testing::WithParamInterface<ValueRow> {
  protected:
    void SetUp() override { table("t", std::string("v ") + GetParam().column); }

    const bool null = GetParam().null;
};

TEST_P(AnyValue, TravelsThroughPlaceholderAndColumn) {
    const auto travel = [this]<typename T>(const T& given) {
        const Statement insert = prepare("INSERT INTO t VALUES (:1)");
        set(*insert, given);
        insert->mb_executeUpdate();
        DTK_ResultSetBase& rows = open("SELECT v FROM t");
        ASSERT_TRUE(rows.mb_fetch());
        EXPECT_EQ(exact(Facts<T>::get(rows)), exact(given));
        EXPECT_EQ(rows.mb_isNull(1), null);
    };
    std::visit(travel, GetParam().value);
}

TEST_P(AnyValue, ComesOutOfAProcedure) {
    const auto travel = [this]<typename T>(const T& given) {
        const std::string type = Facts<T>::parameter;
        execute("CREATE OR REPLACE PROCEDURE p (a IN " + type + ", b OUT " + type + ") IS BEGIN b := a; END;");
        const Statement statement = prepare("BEGIN p(:1, :2); END;");
        set(*statement, given);
        statement->mb_registerOutParam(2, Facts<T>::code, 5000, "ignored");
        statement->mb_executeProcedure();
        EXPECT_EQ(exact(Facts<T>::get(*statement)), exact(given));
        EXPECT_EQ(statement->mb_isNull(2), null);
        EXPECT_FALSE(statement->mb_isTruncated(2));
    };
    std::visit(travel, GetParam().value);
}

// Arrays have no indicators that could tell of a NULL.
TEST_P(AnyValue, TravelsThroughArrays) {
    const auto travel = [this]<typename T>(const T& given) {
        T in[3]{given, given, given}, out[3]{}, fetched[4]{};
        const Statement insert = prepare("INSERT INTO t VALUES (:1)"), copy = prepare("BEGIN :1 := :2; END;");
        insert->mb_setUpdateCount(3);
        *insert << in;
        insert->mb_executeArrayUpdate();
        copy->mb_setUpdateCount(3);
        if constexpr (std::is_same_v<T, DTK_String>)
            copy->mb_setStringArray(out, 4000);
        else
            *copy << out;
        *copy << in;
        EXPECT_EQ(thrown([&] { copy->mb_executeProcedure(); }), null ? "DTK ORA-01405" : "");
        DTK_ResultSetBase& rows = open("SELECT v FROM t");
        rows.mb_setBulkCount(4);
        rows << fetched;
        EXPECT_EQ(thrown([&] { rows.mb_fetch(); }), null ? "ORCL ORA-01405" : "");
        for (int i = 0; i < (null ? 0 : 3); ++i) {
            EXPECT_EQ(exact(out[i]), exact(in[i]));
            EXPECT_EQ(exact(fetched[i]), exact(in[i]));
        }
    };
    std::visit(travel, GetParam().value);
}

INSTANTIATE_TEST_SUITE_P(
    Of, AnyValue,
    testing::Values(ValueRow{"int_least", "NUMBER(10)", INT_MIN}, ValueRow{"int_minus_one", "NUMBER(9)", -1},
                    ValueRow{"int_zero", "NUMBER(9)", 0}, ValueRow{"int_greatest", "NUMBER(10)", INT_MAX},
                    ValueRow{"uint_zero", "NUMBER(10)", 0u}, ValueRow{"uint_greatest", "NUMBER(10)", UINT_MAX},
                    ValueRow{"int64_least", "NUMBER(19)", LLONG_MIN}, ValueRow{"int64_zero", "NUMBER(19)", 0LL},
                    ValueRow{"int64_greatest", "NUMBER(19)", LLONG_MAX}, ValueRow{"float_least", "NUMBER", -FLT_MAX},
                    ValueRow{"float_smallest", "NUMBER", FLT_MIN}, ValueRow{"float_zero", "NUMBER", 0.f},
                    ValueRow{"float_fraction", "NUMBER(6,2)", -2.25f}, ValueRow{"float_greatest", "NUMBER", FLT_MAX},
                    ValueRow{"double_least", "FLOAT", -9.99e125}, ValueRow{"double_smallest", "FLOAT", 1e-129},
                    ValueRow{"double_zero", "FLOAT", 0.}, ValueRow{"double_fraction", "NUMBER(12,4)", -0.0625},
                    ValueRow{"double_greatest", "FLOAT", 9.99e125},
                    ValueRow{"date_first_year", "DATE", date("00010101000000")},
                    ValueRow{"date_leap_day", "DATE", date("20240229123456")},
                    ValueRow{"date_greatest", "DATE", date("99991231235959")},
                    ValueRow{"text_empty", "VARCHAR2(10)", "", true}, ValueRow{"text_one", "VARCHAR2(1)", "x"},
                    ValueRow{"text_any_bytes", "VARCHAR2(20)", "it's \"\xc3\xa9\" :1 \t "},
                    ValueRow{"text_longest", "VARCHAR2(4000)", std::string(4000, 'y')}),
    rowName);

struct RefusalRow {
    const char* name;
    const char* column;
    Value value;
    const char* number;
    Value fitting;
};

class Refusal : public Statements, public testing::WithParamInterface<RefusalRow> {};

TEST_P(Refusal, KeepsTheStatementReadyForAValueThatFits) {
    const RefusalRow& row = GetParam();
    table("t", std::string("v ") + row.column);
    const Statement statement = prepare("INSERT INTO t VALUES (:1)");
    const auto insert = [&](const Value& any) {
        std::visit([&](const auto& given) { set(*statement, given); }, any);
        statement->mb_execute();
    };
    EXPECT_EQ(thrown([&] { insert(row.value); }), row.number);
    EXPECT_EQ(thrown([&] { statement->mb_executeUpdate(); }), std::string("DTK") + (row.number + 4));
    EXPECT_EQ(value("SELECT TO_CHAR(COUNT(*)) FROM t"), "0");
    insert(row.fitting);
    EXPECT_EQ(value("SELECT TO_CHAR(COUNT(*)) FROM t"), "1");
}

INSTANTIATE_TEST_SUITE_P(
    Of, Refusal,
    testing::Values(RefusalRow{"digit_too_many", "NUMBER(9)", 1000000000, "ORCL ORA-01438", 999999999},
                    RefusalRow{"negative_digit_too_many", "NUMBER(4,2)", -100., "ORCL ORA-01438", -99.99},
                    RefusalRow{"character_too_many", "VARCHAR2(3)", "abcd", "ORCL ORA-12899", "abc"},
                    RefusalRow{"empty_where_null_is_not_allowed", "VARCHAR2(3) NOT NULL", "", "ORCL ORA-01400", "a"},
                    RefusalRow{"text_for_number", "NUMBER(9)", "12x", "ORCL ORA-01722", "12"},
                    RefusalRow{"check_violated", "NUMBER(9) CHECK (v > 0)", 0, "ORCL ORA-02290", 1}),
    rowName);

struct BindRow {
    const char* name;
    std::function<void(DTK_StatementBase&)> bind;
    const char* binds;
};

class Binds : public Statements, public testing::WithParamInterface<BindRow> {};

TEST_P(Binds, PassTheirArguments) {
    const Statement statement = prepare("UPDATE t SET a = :1, b = :2, c = :3");
    GetParam().bind(*statement);
    EXPECT_EQ(buffers("OCIBindByPos"), GetParam().binds);
    for (const auto& call : interpose::calls("OCIBindByPos")) {
        for (const std::size_t unused : {8, 9, 10, 11, 12}) EXPECT_EQ(call.argument<std::intptr_t>(unused), 0);
    }
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
         statement.mb_setString(3, "five");
     },
     "1 3 4i, 1 68 4i, 1 3 8i, 1 4 4i, 1 4 8i, 1 12 7i, 3 5 5i"},
    {"same_type_again_is_stored_in_place",
     [](auto& statement) {
         for (const int value : {5, 7, 9}) statement.mb_setInt(1, value);
         statement.mb_registerOutParam(2, DTK_DOUBLE, 0, "");
         statement.mb_setDouble(2, 5);
     },
     "1 3 4i, 2 4 8i"},
    {"text_again_is_bound_again",
     [](auto& statement) {
         for (int i = 0; i < 2; ++i) statement.mb_setString(1, "");
     },
     "1 5 1i, 1 5 1i"},
    {"output_parameters",
     [](auto& statement) {
         for (const auto type : {DTK_INT, DTK_UINT, DTK_INT64, DTK_FLOAT, DTK_DOUBLE, DTK_DBDATE, DTK_STRING,
                                 DTK_UNKNOWN, DTK_DATATYPES(0), DTK_DATATYPES(9), DTK_BLOB})
             statement.mb_registerOutParam(1, type, 10, "");
     },
     "1 3 4i, 1 68 4i, 1 3 8i, 1 4 4i, 1 4 8i, 1 12 7i, 1 5 9i, 1 5 10i, 1 5 10i, 1 5 10i, 1 113 0i"},
    {"arrays_take_the_next_position",
     [](auto& statement) {
         static DTK_String texts[]{"a", "abcd", "xy"};
         statement.mb_setUpdateCount(3);
         statement << array<int> << texts << array<DTK_DbDate>;
     },
     "1 3 4, 2 5 5, 3 12 7"},
    {"numeric_arrays",
     [](auto& statement) {
         statement.mb_setUpdateCount(3);
         statement << array<unsigned int> << array<long long> << array<float>;
     },
     "1 68 4, 2 3 8, 3 4 4"},
    {"arrays_leave_scalars_alone",
     [](auto& statement) {
         DTK_Blob blobs[3];
         statement.mb_setUpdateCount(3);
         statement.mb_setInt(3, 1);
         statement << array<double>;
         statement.mb_setStringArray(array<DTK_String>, 10) << blobs;
     },
     "3 3 4i, 1 4 8, 2 5 11, 3 113 0i"},
    {"arrays_need_the_update_count",
     [](auto& statement) {
         DTK_Blob blobs[3];
         constexpr auto refused = "DTK 301 Fetch count not set";
         const auto bind = [&](auto*... arrays) { return std::vector{thrown([&] { statement << arrays; })...}; };
         EXPECT_EQ(bind(array<int>, array<unsigned int>, array<long long>, array<float>, array<double>,
                        array<DTK_DbDate>, array<DTK_String>, blobs),
                   std::vector<std::string>(8, refused));
         EXPECT_EQ(thrown([&] { statement.mb_setStringArray(array<DTK_String>, 4); }), refused);
         statement.mb_setUpdateCount(3);
         statement << array<int>;
     },
     "1 3 4"},
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
    statement->mb_registerOutParam(1, row.type, 20, "");
    statement->mb_setErrorOnNull(1, true);
    EXPECT_EQ(statement->mb_executeProcedure(), 0);
    EXPECT_EQ(readings(*statement, 1), row.readings);
    EXPECT_EQ(statement->mb_isNull(1), row.null);
}

INSTANTIATE_TEST_SUITE_P(
    Of, Output,
    testing::Values(
        OutputRow{"int", DTK_INT, "-1", " -1 4294967295 -1 -1.000000 -1.000000 !303 !303 !303"},
        OutputRow{"uint", DTK_UINT, "4294967295",
                  " -1 4294967295 4294967295 4294967296.000000 4294967295.000000 !303 !303 !303"},
        OutputRow{"int64", DTK_INT64, "4294967298",
                  " 2 2 4294967298 4294967296.000000 4294967298.000000 !303 !303 !303"},
        OutputRow{"float", DTK_FLOAT, "-2.75", " -2 4294967294 -2 -2.750000 -2.750000 !303 !303 !303"},
        OutputRow{"double", DTK_DOUBLE, "3.99", " 3 3 3 3.990000 3.990000 !303 !303 !303"},
        OutputRow{"double_past_32_bits", DTK_DOUBLE, "2.9e10",
                  " -1064771072 3230196224 29000000000 28999999488.000000 29000000000.000000 !303 !303 !303"},
        OutputRow{"double_past_64_bits", DTK_DOUBLE, "-1e30",
                  " 0 0 -9223372036854775808 -1000000015047466219876688855040.000000 "
                  "-1000000000000000019884624838656.000000 !303 !303 !303"},
        OutputRow{"text", DTK_STRING, "'42'", " !303 !303 !402 !303 !303 42 !303 !303"},
        OutputRow{"unlisted_type", DTK_UNKNOWN, "'42'", " !303 !303 !402 !303 !303 !303 !303 !303"},
        OutputRow{"date", DTK_DBDATE, "DATE '2024-02-29'", " !303 !303 !402 !303 !303 !303 20240229000000 !303"},
        OutputRow{"blob", DTK_BLOB, "HEXTORAW('0102')", " !303 !303 !402 !303 !303 !303 !303 2 bytes"},
        OutputRow{"null_int", DTK_INT, "NULL", " 0 0 0 0.000000 0.000000 !303 !303 !303", true},
        OutputRow{"null_text", DTK_STRING, "NULL", " !303 !303 !402 !303 !303  !303 !303", true}),
    rowName);

TEST_F(Statements, OutputsThatDoNotFitAreCutOrRefused) {
    const auto output = [this](DTK_DATATYPES type, const char* expression) {
        Statement statement = prepare(DTK_String("BEGIN :1 := ") + expression + "; END;");
        statement->mb_registerOutParam(1, type, 6, "");
        statement->mb_executeProcedure();
        return statement;
    };
    const Statement text = output(DTK_STRING, "'abcdefgh'");
    EXPECT_EQ(shown(text->mb_getString(1)), "abcd");
    EXPECT_FALSE(text->mb_isTruncated(1)) << "the indicator holds the full length";
    for (const auto* number : {"2147483648", "-2147483649"})
        EXPECT_EQ(thrown([&] { output(DTK_INT, number); }), "DTK ORA-01455");
    EXPECT_EQ(thrown([&] { output(DTK_UINT, "-1"); }), "DTK ORA-01455");
    EXPECT_EQ(thrown([&] { output(DTK_INT64, "9223372036854775808"); }), "DTK ORA-01455");
}

TEST_F(Statements, IndicatorsTellNullAndTheLongestCut) {
    const Statement statement = prepare("BEGIN :1 := 'x'; END;");
    statement->mb_registerOutParam(1, DTK_STRING, 9, "");
    auto* indicator = interpose::calls("OCIBindByPos").back().argument<sb2*>(7);
    for (const sb2 value : {-2, -1, 0, 1, 32767}) {
        interpose::on("OCIStmtExecute", [&](const auto& call) {
            const int status = call.pass();
            *indicator = value;
            return status;
        });
        statement->mb_executeProcedure();
        EXPECT_EQ(statement->mb_isNull(1), value == -1) << value;
        EXPECT_EQ(statement->mb_isTruncated(1), value == -2) << value;
    }
}

TEST_F(Statements, ParameterThatCameBackNullIsSentAsNullWhateverIsSet) {
    execute("CREATE OR REPLACE PROCEDURE p (a IN OUT NUMBER, b OUT VARCHAR2) IS "
            "BEGIN b := NVL(TO_CHAR(a), 'none'); a := NULL; END;");
    const Statement statement = prepare("BEGIN p(:1, :2); END;");
    statement->mb_registerOutParam(2, DTK_STRING, 20, "");
    for (const auto& [given, seen] : {std::pair(5, "5"), {7, "none"}}) {
        statement->mb_setInt(1, given);
        statement->mb_executeProcedure();
        EXPECT_EQ(shown(statement->mb_getString(2)), seen);
        EXPECT_TRUE(statement->mb_isNull(1));
        EXPECT_EQ(statement->mb_getInt(1), given);
    }
}

TEST_F(Statements, ArraysSendWhatTheyHoldWhenTheyAreExecuted) {
    table("t", "n NUMBER(9), v VARCHAR2(20)");
    int numbers[]{1, 2};
    DTK_String texts[]{"aaaa", "bbbb"};
    const Statement statement = prepare("INSERT INTO t VALUES (:1, :2)");
    statement->mb_setUpdateCount(2);
    *statement << numbers << texts;
    numbers[1] = 20;
    texts[1] = "late";
    statement->mb_executeArrayUpdate();
    EXPECT_EQ(value("SELECT v FROM t WHERE n = 20"), "late");
}

TEST_F(Statements, OnlyAProcedureMapsTextsBack) {
    execute("CREATE OR REPLACE PROCEDURE p (a IN OUT VARCHAR2) IS BEGIN a := a || '!'; END;");
    DTK_String texts[]{"a", "bc"};
    const Statement statement = prepare("BEGIN p(:1); END;");
    statement->mb_setUpdateCount(2);
    statement->mb_setStringArray(texts, 10);
    statement->mb_executeArrayUpdate();
    EXPECT_EQ(shown(texts[0]) + shown(texts[1]), "abc");
    statement->mb_executeProcedure();
    EXPECT_EQ(shown(texts[0]) + shown(texts[1]), "a!bc!");
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

TEST(Mapper, CarriesIntegersAsDecimalText) {
    long long values[]{LLONG_MAX, LLONG_MIN, 0};
    char slots[3][21];
    DTK_int64_mapper mapper(values, slots, 3, sizeof slots[0], nullptr);
    mapper.mb_mapToArray();
    EXPECT_STREQ(slots[0], "9223372036854775807");
    std::strcpy(slots[0], "-12abc");
    std::strcpy(slots[2], "abc");
    mapper.mb_mapToint64();
    testing::internal::CaptureStdout();
    mapper.mb_print();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "-12\n-9223372036854775808\n0\n");
}

TEST(Mapper, CarriesTexts) {
    DTK_String texts[]{"a", "", "abc"};
    char slots[3][4];
    DTK_String_mapper mapper(texts, slots, 3, sizeof slots[0], nullptr);
    mapper.mb_mapToArray();
    EXPECT_EQ(std::string(slots[0]) + slots[1] + slots[2], "aabc");
    std::strcpy(slots[1], "new");
    mapper.mb_mapToString();
    testing::internal::CaptureStdout();
    mapper.mb_print();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "a\nnew\nabc\n");
}

} // namespace
