#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <map>
#include <set>
#include <sstream>
#include <tuple>
#include <vector>

#include <oci.h>

#include "dtk/oracle/_DTK_ConnectionPool.h"
#include "tests/fixture.h"
#include "tests/interpose.h"

namespace {

using ::shown;

using dtk::Connection;
using dtk::Pool;
using dtk::ResultSet;
using dtk::Statement;

/// Makes one call fail, counted from 1 on over all calls but those of sleep, which return at once.
class Fault {
  public:
    Fault(std::size_t failing, int status) : number(failing), m_status(status) {
        interpose::reset();
        interpose::on({}, [this](const interpose::Call& call) { return answer(call); });
        std::set_terminate([] {
            std::fprintf(stderr, "terminated after the failure of %s\n", latest.c_str());
            std::abort();
        });
    }
    ~Fault() { interpose::reset(); }

    const std::size_t number;
    std::vector<std::string_view> calls; ///< all, in their order
    std::string function; ///< whose call has failed; behind OCIAttrGet stands the attribute that it did not read

    /// How many handles of each type the client has handed out and not got back.
    std::array<std::atomic<int>, OCI_HTYPE_STMT + 1> open{};

  private:
    std::optional<int> answer(const interpose::Call& call) {
        thread_local bool insideClient = false;
        if (insideClient) return std::nullopt; // the client's own use of its functions
        if (call.function == "sleep") return 0;
        if (call.function == "OCIErrorGet" && m_unread.exchange(false)) {
            *call.argument<int*>(3) = 3113;
            std::strcpy(call.argument<char*>(4), "ORA-03113: end-of-file on communication channel\n");
            return OCI_SUCCESS;
        }
        calls.push_back(call.function);
        if (calls.size() == number) {
            function = call.function;
            if (function == "OCIAttrGet") function += " " + std::to_string(call.argument<int>(4));
            latest = "call " + std::to_string(number) + ", " + function;
            m_unread = true;
            return m_status;
        }
        insideClient = true;
        const int status = call.pass();
        insideClient = false;
        if (status == OCI_SUCCESS) count(call);
        return status;
    }

    void count(const interpose::Call& call) {
        if (call.function == "OCIEnvCreate") ++open[OCI_HTYPE_ENV];
        if (call.function == "OCIHandleAlloc") ++open[call.argument<std::size_t>(2)];
        if (call.function == "OCIHandleFree") --open[call.argument<std::size_t>(1)];
        if (call.function == "OCILogoff") --open[OCI_HTYPE_SVCCTX];
        if (call.function == "OCIStmtPrepare2") ++open[OCI_HTYPE_STMT];
        if (call.function == "OCIStmtRelease") --open[OCI_HTYPE_STMT];
    }

    static inline std::string latest;

    const int m_status;
    std::atomic<bool> m_unread = false;
};

/// Runs the work once without a failure and then for each of its calls with that call failing, in both ways. The check
/// gets how each run ended: "same" or "other" by the answer that the work gave, or the code of what it threw.
template <typename Work, typename Check> void walk(Work work, Check check) {
    std::vector<std::string_view> functions{"none"};
    std::string expected;
    for (std::size_t i = 0; i < 2 * functions.size(); ++i) {
        const std::size_t number = i / 2;
        SCOPED_TRACE("failed call " + std::to_string(number) + ", " + std::string(functions[number]));
        Fault fault(number, i % 2 == 0 ? OCI_ERROR : OCI_INVALID_HANDLE);
        std::ostringstream answer;
        const std::string failure = thrown([&] { work(answer); });
        interpose::reset();
        if (i == 0) {
            expected = answer.str();
            functions.insert(functions.end(), fault.calls.begin(), fault.calls.end());
        }
        const std::size_t code = failure.find(' ') + 1;
        check(fault, failure.empty() ? answer.str() == expected ? "same" : "other"
                                     : failure.substr(code, failure.find(' ', code) - code));
    }
}

/// Borrows connections until that fails. @return what it fails with
std::string borrowAll(DTK_ConnectionPoolBase& pool, std::vector<Connection>& borrowed) {
    return thrown([&] {
        while (true) borrowed.emplace_back(pool.mb_getConnection(true));
    });
}

/// The number of permits. Each must have a session that works and, once rolled back, locks nobody out.
std::size_t usablePermits(DTK_ConnectionPoolBase& pool) {
    std::vector<Connection> borrowed;
    EXPECT_EQ(borrowAll(pool, borrowed), noPermit);
    for (const Connection& connection : borrowed) connection->mb_rollback();
    for (const Connection& connection : borrowed) {
        EXPECT_EQ(thrown([&] { dtk::execute(*connection, "UPDATE marks SET id = id"); }), "");
        connection->mb_rollback();
    }
    return borrowed.size();
}

using Row = std::tuple<int, unsigned int, long long, float, double, DTK_String, DTK_DbDate, DTK_Blob>;
template <typename> struct ArraysOf;
template <typename... T> struct ArraysOf<std::tuple<T...>> { std::tuple<std::array<T, 2>...> type; };
using Arrays = decltype(ArraysOf<Row>::type);

constexpr auto insertion = "INSERT INTO things VALUES (:1, :2, :3, :4, :5, :6, :7, :8, HEXTORAW('07'))";
constexpr auto selection = "SELECT * FROM things ORDER BY id";

std::string shown(DTK_Blob& blob) {
    return std::to_string(blob.mb_get()->mb_length());
}

void insertOne(DTK_ConnectionBase& connection, std::ostream&) {
    DTK_Blob photo;
    const Statement statement = dtk::prepare(connection, "DELETE FROM things");
    statement->mb_executeUpdate();
    statement->mb_setSQL(insertion);
    statement->mb_setInt(1, 1);
    statement->mb_setUInt(2, 4);
    statement->mb_setInt64(3, 4);
    statement->mb_setFloat(4, 0.5F);
    statement->mb_setDouble(5, 0.25);
    statement->mb_setString(6, "one");
    statement->mb_setDate(7, date("20240229123456"));
    statement->mb_setDTK_Blob(8, photo);
    statement->mb_execute();
}

void insertArrays(DTK_ConnectionBase& connection, std::ostream&) {
    Arrays arrays{{2, 3}, {1, 2}, {1LL << 40, -1}, {0.5F, 1.5F}, {0.25, 1.25}, {"two", "three"}, {}, {}};
    std::get<6>(arrays).fill(date("20240229123456"));
    const Statement insert = dtk::prepare(connection, insertion);
    insert->mb_setUpdateCount(2);
    std::apply([&](auto&... array) { (*insert << ... << array.data()); }, arrays);
    insert->mb_executeArrayUpdate();
}

void readRows(DTK_ConnectionBase& connection, std::ostream& answer) {
    const Statement query = dtk::prepare(connection, "");
    const ResultSet rows(query->mb_executeQuery(selection), {query.get()});
    const std::unique_ptr<DTK_stmtMetadataBase> metadata(rows->mb_getMetadata());
    unsigned int position = 0;
    for (const DTK_DATATYPES type : rows->mb_listColumnType()) {
        ++position;
        answer << type << metadata->mb_getSize(position) << metadata->mb_getPrecision(position)
               << metadata->mb_getScale(position) << metadata->mb_isNull(position);
    }
    while (rows->mb_fetch()) {
        Row row;
        std::apply([&](auto&... value) { (*rows >> ... >> value); }, row);
        std::apply([&](auto&... value) { (answer << ... << shown(value)); }, row);
        answer << rows->mb_getString(9).c_str();
    }
}

void fetchArrays(DTK_ConnectionBase& connection, std::ostream& answer) {
    Arrays arrays;
    const Statement query = dtk::prepare(connection, selection);
    const ResultSet rows = dtk::open(*query);
    rows->mb_setBulkCount(2);
    std::apply([&](auto&... array) { (*rows << ... << array.data()); }, arrays);
    while (rows->mb_fetch())
        for (std::size_t i = 0; i < static_cast<std::size_t>(rows->mb_getNumArrayRows()); ++i)
            std::apply([&](auto&... array) { (answer << ... << shown(array[i])); }, arrays);
}

void changeBlob(DTK_ConnectionBase& connection, std::ostream& answer) {
    const Statement query = dtk::prepare(connection, "SELECT photo FROM things WHERE id = :1 FOR UPDATE");
    query->mb_setInt(1, 1);
    const ResultSet rows = dtk::open(*query);
    if (!rows->mb_fetch()) return;
    DTK_Blob photo;
    photo = rows->mb_getDTK_Blob(1);
    DTK_BlobBase& blob = *photo.mb_get();
    unsigned char bytes[] = "abc";
    blob.mb_write(3, bytes, 1);
    blob.mb_writeChunk(1, bytes + 1);
    answer << blob.mb_readChunk(2, bytes) << blob.mb_read(3, bytes, 1) << bytes << blob.mb_flushBuffer()
           << blob.mb_getChunkSize() << blob.mb_isInitialized() << blob.mb_isEqual(blob);
}

void readOutputs(DTK_ConnectionBase& connection, std::ostream& answer) {
    const Statement block =
        dtk::prepare(connection, "BEGIN SELECT id, flags, big, part, ratio, name, born, photo "
                                 "INTO :1, :2, :3, :4, :5, :6, :7, :8 FROM things WHERE id = 1; END;");
    unsigned int position = 0;
    for (const auto type : {DTK_INT, DTK_UINT, DTK_INT64, DTK_FLOAT, DTK_DOUBLE, DTK_STRING, DTK_DBDATE, DTK_BLOB})
        block->mb_registerOutParam(++position, type, 20, "");
    block->mb_executeProcedure();
    DTK_Blob photo;
    photo = block->mb_getDTK_Blob(8);
    answer << block->mb_getInt(1) << block->mb_getString(6).c_str() << shown(photo);
}

void endTransactions(DTK_ConnectionBase& connection, std::ostream& answer) {
    const Account account;
    dtk::execute(connection, "DELETE FROM marks");
    connection.mb_commit();
    dtk::execute(connection, "INSERT INTO marks VALUES (2)");
    connection.mb_rollback();
    connection.mb_changePassword(account.user, account.password, account.password);
    answer << connection.mb_ping() << World::value(connection, "SELECT COUNT(*) FROM marks");
}

struct Phase {
    const char* name;
    void (*work)(DTK_ConnectionBase& connection, std::ostream& answer);
};

const Phase phases[] = {
    {"insert_one", insertOne},
    {"insert_arrays", insertArrays},
    {"read_rows", readRows},
    {"fetch_arrays", fetchArrays},
    {"change_blob", changeBlob},
    {"read_outputs", readOutputs},
    {"end_transactions", endTransactions},
};

/// The ways in which a phase may end when a call of the function fails; by default only with Oracle's error.
const std::map<std::string, std::set<std::string>> endings = {
    {"", {"same"}},
    {"OCIAttrGet 5", {"701", "601", "ORA-03113"}}, // a column's precision, or the environment
    {"OCIAttrGet 6", {"701"}},
    {"OCIAttrGet 7", {"705"}},
    {"OCIAttrGet 18", {"704"}},
    {"OCIAttrGet 24", {"same", "other"}}, // a query is then executed as if it were none
    {"OCIDescriptorAlloc", {"602"}},
    {"OCIDescriptorFree", {"same"}},
    {"OCIErrorGet", {"same", "0"}}, // an error without its number and text
    {"OCILobCreateTemporary", {"602"}},
    {"OCILobFlushBuffer", {"other"}},
    {"OCILobFreeTemporary", {"same"}},
    {"OCILobIsEqual", {"other"}},
    {"OCILobWrite", {"ORA-03113", "other"}},
    {"OCIParamGet", {"703"}},
    {"OCIPing", {"other"}},
    {"OCIStmtRelease", {"same", "ORA-03113"}},
};

class Faults : public testing::TestWithParam<Phase> {
  protected:
    void SetUp() override {
        const Connection connection(pool->mb_getConnection(true));
        for (const char* table : {"things", "marks"}) support::drop_table(*connection, table);
        dtk::execute(*connection, "CREATE TABLE marks (id NUMBER(9))");
        dtk::execute(*connection,
                     "CREATE TABLE things (id NUMBER(9), flags NUMBER(9), big NUMBER(18), part NUMBER(6,2), "
                     "ratio NUMBER(12,4), name VARCHAR2(20), born DATE, photo BLOB, code RAW(4))");
        std::ostringstream ignored;
        insertOne(*connection, ignored);
        insertArrays(*connection, ignored);
        connection->mb_commit();
    }

    Account account;
    Pool pool = account.pool(2, 2);
};

TEST_P(Faults, LoseNothing) {
    const auto request = [&](std::ostream& answer) {
        const Connection connection(pool->mb_getConnection(true));
        GetParam().work(*connection, answer);
    };
    walk(request, [&](const Fault& fault, const std::string& ending) {
        const auto known = endings.find(fault.function);
        const auto& allowed = known != endings.end() ? known->second : std::set<std::string>{"ORA-03113"};
        EXPECT_TRUE(allowed.count(ending)) << fault.function << " ended it with " << ending;
        const bool leftToOci =
            fault.function == "OCIAttrGet 190" || (fault.function == "OCIStmtRelease" && ending == "same");
        EXPECT_EQ(fault.open[OCI_HTYPE_STMT], leftToOci ? 1 : 0);
        EXPECT_EQ(usablePermits(*pool), 2u);
    });
    EXPECT_EQ(thrown([&] { delete pool.release(); }), "");
}

INSTANTIATE_TEST_SUITE_P(In, Faults, testing::ValuesIn(phases), rowName);

/// What is left when the call of that number, which is the function's, fails in the life of a pool with two sessions at
/// first and three at most.
struct Remains {
    const char* function;
    const char* failure;
    std::size_t permits;
    const char* deletion; ///< what deleting the pool then throws
};

constexpr auto noContext = "DTK 500 Error initializing connection handles";
constexpr auto noErrorHandle = "DTK 500 Error initializing error handles";
const Remains remains[] = {
    {"", "", 3, ""},
    {"OCIEnvCreate", noErrorHandle, 0, ""},
    {"OCIHandleAlloc", noErrorHandle, 0, ""},
    {"OCIHandleAlloc", noContext, 0, ""},
    {"OCILogon2", "DTK ORA-03113", 0, ""},
    {"OCIHandleAlloc", noContext, 0, stillOpen}, // a session stays idle that the pool does not count any more
    {"OCILogon2", "DTK ORA-03113", 0, stillOpen},
    {"OCIHandleAlloc", noContext, 3, ""},
    {"OCILogon2", "ORCL ORA-03113", 3, ""},
    {"OCILogoff", "", 3, ""},
    {"OCILogoff", "", 3, ""},
    {"OCILogoff", "", 3, ""},
    {"OCIHandleFree", "", 3, ""},
};

TEST(PoolFaults, LeaveWhatIsDocumented) {
    const Account account;
    std::string failure, deletion;
    std::size_t permits = 0;
    const auto live = [&](std::ostream&) {
        Pool pool;
        std::vector<Connection> borrowed;
        failure = thrown([&] {
            pool.reset(gb_getConnectionPool());
            pool->mb_create(account.user, account.password, account.database, 2, 3, "", "", 0);
        });
        if (failure.empty()) failure = borrowAll(*pool, borrowed);
        if (failure == noPermit) failure.clear();
        EXPECT_EQ(pool ? borrowAll(*pool, borrowed) : noPermit, noPermit);
        permits = borrowed.size();
        borrowed.clear();
        deletion = thrown([&] { delete pool.release(); });
    };
    walk(live, [&](const Fault& fault, const std::string&) {
        ASSERT_LT(fault.number, std::size(remains));
        const Remains& left = remains[fault.number];
        EXPECT_EQ(fault.function, left.function);
        EXPECT_EQ(failure, left.failure);
        EXPECT_EQ(permits, left.permits);
        EXPECT_EQ(deletion, left.deletion);
        const bool stays = deletion == stillOpen;
        // What a refused logoff leaves goes with the environment.
        EXPECT_EQ(fault.open[OCI_HTYPE_SVCCTX], stays || fault.function == "OCILogoff" ? 1 : 0);
        EXPECT_EQ(fault.open[OCI_HTYPE_ENV], stays || fault.function == "OCIHandleFree" ? 1 : 0);
        if (stays) _DTK_ConnectionPool::mb_closeEnvironment();
    });
}

TEST(PoolFaults, KeepASessionOutThatAutoCommitFailedFor) {
    Pool pool = Account().pool(2, 2);
    Connection connection(pool->mb_getConnection(true));
    connection->mb_setAutoCommit(true);
    {
        const Fault commit(1, OCI_ERROR);
        EXPECT_EQ(thrown([&] { delete connection.release(); }), "DTK ORA-03113");
        EXPECT_EQ(commit.function, "OCITransCommit");
    }
    std::vector<Connection> others;
    EXPECT_EQ(borrowAll(*pool, others), noPermit);
    EXPECT_EQ(others.size(), 1u);
    others.clear();
    EXPECT_EQ(thrown([&] { delete pool.release(); }), stillOpen);
    _DTK_ConnectionPool::mb_closeEnvironment();
}

TEST(PoolFaults, OnlyDelayAReconnect) {
    const Account account;
    Pool pool = account.pool(1, 1);
    // Deleting the pool waits for the thread, which logs the old session off last of all.
    const auto reconnect = [&](std::ostream& answer) {
        std::vector<Connection> borrowed;
        pool->mb_reConnect(0);
        borrowed.emplace_back(pool->mb_getConnection(false));
        EXPECT_EQ(borrowAll(*pool, borrowed), noPermit);
        answer << borrowed.size() << " permit, pauses: " << interpose::calls("sleep").size();
        borrowed.clear();
        delete pool.release();
    };
    walk(reconnect, [&](const Fault& fault, const std::string& ending) {
        if (fault.function == "pthread_create") {
            EXPECT_EQ(ending, "500");
            pool->mb_reConnect(0);
            EXPECT_EQ(thrown([&] { pool->mb_getConnection(true); }), noPermit);
            pool->mb_reConnect(1);
            EXPECT_TRUE(Connection(pool->mb_getConnection(false))->mb_ping());
        } else {
            const bool fails = fault.function == "OCIHandleAlloc" || fault.function == "OCILogon2";
            EXPECT_EQ(ending, fails ? "other" : "same");
            // What the logoff in the destructor leaves, in front of the environment's end, goes with the environment.
            const bool left = fault.function == "OCILogoff" && fault.number + 1 == fault.calls.size();
            EXPECT_EQ(fault.open[OCI_HTYPE_SVCCTX], left ? 0 : -1) << "beside the session from before the reconnect";
        }
        EXPECT_EQ(thrown([&] { delete pool.release(); }), "");
        pool = account.pool(1, 1);
    });
}

} // namespace
