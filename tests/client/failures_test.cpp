#include "tests/oci_session.h"
#include "tests/scratch_folder.h"

#include <gtest/gtest.h>

#include <atomic>
#include <crypt.h>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <memory>
#include <new>
#include <sqlite3.h>

// Memory and SQLite that fail on demand: this program stands between the client and both.

namespace {

/// Counts what may fail, and lets a run of it fail.
class Failures {
  public:
    void arm(long first, long count) {
        m_seen = 0;
        m_first = first;
        m_end = first + count;
    }
    /// @return whether something has failed since it was armed
    bool disarm() {
        const bool met = m_seen > m_first;
        m_first = m_end = 0;
        return met;
    }
    bool next() {
        if (m_end == 0) return false;
        const long at = m_seen++;
        return at >= m_first && at < m_end;
    }

  private:
    std::atomic<long> m_seen{0};
    std::atomic<long> m_first{0};
    std::atomic<long> m_end{0};
};

Failures memory;
Failures calls;

sqlite3_mem_methods usual;

const bool installed = [] {
    sqlite3_config(SQLITE_CONFIG_GETMALLOC, &usual);
    sqlite3_mem_methods failing = usual;
    failing.xMalloc = [](int size) { return memory.next() ? nullptr : usual.xMalloc(size); };
    failing.xRealloc = [](void* old, int size) { return memory.next() ? nullptr : usual.xRealloc(old, size); };
    return sqlite3_config(SQLITE_CONFIG_MALLOC, &failing) == SQLITE_OK;
}();

/// SQLite's functions call each other, too: in there a failure that SQLite has not made would be taken for success.
bool is_client(const void* caller) {
    Dl_info place{};
    return dladdr(caller, &place) == 0 || std::strstr(place.dli_fname, "sqlite3") == nullptr;
}

bool call_fails(const void* caller) {
    return is_client(caller) && calls.next();
}

template <class Function> Function* next_of(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

} // namespace

[[gnu::noinline]] void* operator new(std::size_t size) {
    void* const bytes = memory.next() ? nullptr : std::malloc(size);
    if (bytes == nullptr) throw std::bad_alloc();
    return bytes;
}
[[gnu::noinline]] void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return memory.next() ? nullptr : std::malloc(size);
}
[[gnu::noinline]] void operator delete(void* bytes) noexcept {
    std::free(bytes);
}
[[gnu::noinline]] void operator delete(void* bytes, std::size_t) noexcept {
    std::free(bytes);
}

/// Hashing passwords takes as long as all the rest, and nothing in it is to be tested here.
char* crypt_r(const char* password, const char* setting, struct crypt_data*) {
    static thread_local char hash[64];
    std::snprintf(hash, sizeof hash, "%.8s%.16s", setting, password);
    return hash;
}

int sqlite3_step(sqlite3_stmt* statement) {
    static const auto next = next_of<decltype(sqlite3_step)>("sqlite3_step");
    return call_fails(__builtin_return_address(0)) ? SQLITE_IOERR : next(statement);
}
int sqlite3_exec(sqlite3* db, const char* sql, int (*row)(void*, int, char**, char**), void* data, char** message) {
    static const auto next = next_of<decltype(sqlite3_exec)>("sqlite3_exec");
    return call_fails(__builtin_return_address(0)) ? SQLITE_IOERR : next(db, sql, row, data, message);
}
int sqlite3_prepare_v3(sqlite3* db, const char* sql, int size, unsigned flags, sqlite3_stmt** made, const char** rest) {
    static const auto next = next_of<decltype(sqlite3_prepare_v3)>("sqlite3_prepare_v3");
    return call_fails(__builtin_return_address(0)) ? SQLITE_IOERR : next(db, sql, size, flags, made, rest);
}
int sqlite3_bind_int64(sqlite3_stmt* statement, int position, sqlite3_int64 value) {
    static const auto next = next_of<decltype(sqlite3_bind_int64)>("sqlite3_bind_int64");
    return call_fails(__builtin_return_address(0)) ? SQLITE_NOMEM : next(statement, position, value);
}
int sqlite3_bind_text64(sqlite3_stmt* statement, int position, const char* text, sqlite3_uint64 size,
                        void (*release)(void*), unsigned char encoding) {
    static const auto next = next_of<decltype(sqlite3_bind_text64)>("sqlite3_bind_text64");
    return call_fails(__builtin_return_address(0)) ? SQLITE_NOMEM
                                                   : next(statement, position, text, size, release, encoding);
}
int sqlite3_bind_blob64(sqlite3_stmt* statement, int position, const void* bytes, sqlite3_uint64 size,
                        void (*release)(void*)) {
    static const auto next = next_of<decltype(sqlite3_bind_blob64)>("sqlite3_bind_blob64");
    return call_fails(__builtin_return_address(0)) ? SQLITE_NOMEM : next(statement, position, bytes, size, release);
}

namespace {

/// What a program does in one go. It allocates nothing itself, and stops at the first failure.
struct Request {
    const char* name;
    int (*run)(const OciSession& session, const Request& request);
    const char* check;                ///< a query of what it has stored
    const char* expected;             ///< its answer when the request has run
    std::vector<const char*> undo{};  ///< makes way for the next run
    std::vector<const char*> texts{}; ///< what is run
};

int step(const OciSession& session, sword status, bool& failed) {
    failed = status != OCI_SUCCESS && status != OCI_NO_DATA;
    return failed ? session.code(status) : 0;
}

/// Runs one text with arrays for its two placeholders, if it has any.
int execute(const OciSession& session, const char* text, ub4 rows = 1, int* numbers = nullptr,
            char (*texts)[8] = nullptr) {
    OCIStmt* statement = nullptr;
    OCIBind* bind = nullptr;
    const auto* characters = reinterpret_cast<const OraText*>(text);
    sword status = OCIStmtPrepare2(session.service, &statement, session.error, characters,
                                   static_cast<ub4>(std::strlen(text)), nullptr, 0, OCI_NTV_SYNTAX, OCI_DEFAULT);
    if (status == OCI_SUCCESS && numbers != nullptr)
        status = OCIBindByPos(statement, &bind, session.error, 1, numbers, sizeof *numbers, SQLT_INT, nullptr, nullptr,
                              nullptr, 0, nullptr, OCI_DEFAULT);
    if (status == OCI_SUCCESS && texts != nullptr)
        status = OCIBindByPos(statement, &bind, session.error, 2, texts, sizeof *texts, SQLT_STR, nullptr, nullptr,
                              nullptr, 0, nullptr, OCI_DEFAULT);
    if (status == OCI_SUCCESS)
        status = OCIStmtExecute(session.service, statement, session.error, rows, 0, nullptr, nullptr, OCI_DEFAULT);
    bool failed = false;
    const int code = step(session, status, failed);
    if (statement != nullptr) OCIStmtRelease(statement, session.error, nullptr, 0, OCI_DEFAULT);
    return code;
}

int committed(const OciSession& session, int code) {
    bool failed = false;
    if (code == 0) code = step(session, OCITransCommit(session.service, session.error, OCI_DEFAULT), failed);
    if (code != 0) OCITransRollback(session.service, session.error, OCI_DEFAULT);
    return code;
}

int run_all(const OciSession& session, const Request& request) {
    int code = 0;
    for (std::size_t i = 0; code == 0 && i < request.texts.size(); ++i) code = execute(session, request.texts[i]);
    return committed(session, code);
}

int insert_array(const OciSession& session, const Request&) {
    int numbers[] = {1, 2, 3};
    char texts[][8] = {"one", "two", "three"};
    return committed(session, execute(session, "INSERT INTO kept (id, name) VALUES (:1, :2)", 3, numbers, texts));
}

/// Of a query that gives 3, 2 and 1.
int fetch_rows(const OciSession& session, const Request& request) {
    int sum = 0;
    bool failed = false;
    OCIStmt* query = nullptr;
    OCIDefine* define = nullptr;
    const char* const text = request.texts.front();
    sword status = OCIStmtPrepare2(session.service, &query, session.error, reinterpret_cast<const OraText*>(text),
                                   static_cast<ub4>(std::strlen(text)), nullptr, 0, OCI_NTV_SYNTAX, OCI_DEFAULT);
    int number = 0;
    if (status == OCI_SUCCESS)
        status = OCIStmtExecute(session.service, query, session.error, 0, 0, nullptr, nullptr, OCI_DEFAULT);
    if (status == OCI_SUCCESS)
        status = OCIDefineByPos(query, &define, session.error, 1, &number, sizeof number, SQLT_INT, nullptr, nullptr,
                                nullptr, OCI_DEFAULT);
    for (; status == OCI_SUCCESS; sum += number)
        status = OCIStmtFetch(query, session.error, 1, OCI_FETCH_NEXT, OCI_DEFAULT);
    int code = step(session, status, failed);
    if (code == 0 && sum != 6 + 1) code = -1; // the last number stays when there is no row left
    if (query != nullptr) OCIStmtRelease(query, session.error, nullptr, 0, OCI_DEFAULT);
    return code;
}

int write_blob(const OciSession& session, const Request&) {
    OCIStmt* query = nullptr;
    OCIDefine* define = nullptr;
    void* locator = nullptr;
    bool failed = false;
    constexpr char text[] = "SELECT data FROM blobs FOR UPDATE";
    sword status = OCIDescriptorAlloc(session.env, &locator, OCI_DTYPE_LOB, 0, nullptr);
    if (status != OCI_SUCCESS) return 4030; // without an error handle there is no other way to tell
    status = OCIStmtPrepare2(session.service, &query, session.error, reinterpret_cast<const OraText*>(text),
                             sizeof text - 1, nullptr, 0, OCI_NTV_SYNTAX, OCI_DEFAULT);
    if (status == OCI_SUCCESS)
        status = OCIDefineByPos(query, &define, session.error, 1, &locator, -1, SQLT_BLOB, nullptr, nullptr, nullptr,
                                OCI_DEFAULT);
    if (status == OCI_SUCCESS)
        status = OCIStmtExecute(session.service, query, session.error, 1, 0, nullptr, nullptr, OCI_DEFAULT);
    char piece[] = "0123456789";
    for (ub4 i = 0; status == OCI_SUCCESS && i < 3; ++i) {
        ub4 amount = 10;
        status = OCILobWrite(session.service, session.error, static_cast<OCILobLocator*>(locator), &amount, i * 10 + 1,
                             piece, 10, OCI_ONE_PIECE, nullptr, nullptr, 0, SQLCS_IMPLICIT);
    }
    const int code = step(session, status, failed);
    if (query != nullptr) OCIStmtRelease(query, session.error, nullptr, 0, OCI_DEFAULT);
    OCIDescriptorFree(locator, OCI_DTYPE_LOB);
    return committed(session, code);
}

int log_on(const OciSession& other, const Request&) {
    OCISvcCtx* service = nullptr;
    bool failed = false;
    const sword status = OCILogon2(other.env, other.error, &service, reinterpret_cast<const OraText*>("scott"), 5,
                                   reinterpret_cast<const OraText*>("tiger"), 5,
                                   reinterpret_cast<const OraText*>("memory:failures"), 15, OCI_DEFAULT);
    const int code = step(other, status, failed);
    if (code == 0) OCILogoff(service, other.error);
    return code;
}

const Request requests[] = {
    {"logon", log_on, "SELECT COUNT(*) FROM kept", "0"},
    {"array", insert_array, "SELECT id, name FROM kept ORDER BY id", "1,one;2,two;3,three", {"DELETE FROM kept"}},
    {"blob", write_blob, "SELECT LENGTH(data) FROM blobs", "30", {"UPDATE blobs SET data = EMPTY_BLOB()"}},
    {"query", fetch_rows, "SELECT COUNT(*) FROM kept", "0", {}, {"SELECT id FROM numbers ORDER BY id DESC"}},
    {"hierarchy",
     fetch_rows,
     "SELECT COUNT(*) FROM kept",
     "0",
     {},
     {"SELECT LEVEL FROM DUAL CONNECT BY LEVEL <= 3 ORDER BY 1 DESC"}},
    {"window",
     fetch_rows,
     "SELECT COUNT(*) FROM kept",
     "0",
     {},
     {"SELECT SUM(1) OVER (ORDER BY id) FROM numbers WHERE REGEXP_LIKE(TO_CHAR(id), '^[1-3]$') ORDER BY 1 DESC"}},
    {"function", fetch_rows, "SELECT COUNT(*) FROM kept", "0", {}, {"SELECT same(id) FROM numbers ORDER BY id DESC"}},
    {"table",
     run_all,
     "SELECT COUNT(*) FROM made",
     "0",
     {"DROP TABLE made"},
     {"CREATE TABLE made (id NUMBER(9) PRIMARY KEY, at DATE DEFAULT SYSDATE)"}},
    {"column",
     run_all,
     "SELECT id, more FROM numbers WHERE id = 1",
     "1,x",
     {"ALTER TABLE numbers DROP COLUMN more"},
     {"ALTER TABLE numbers ADD (more VARCHAR2(3) DEFAULT 'x' NOT NULL)"}},
    {"view",
     run_all,
     "SELECT * FROM seen WHERE id < 3 ORDER BY id",
     "1;2",
     {"DROP VIEW seen"},
     {"CREATE VIEW seen AS SELECT id FROM numbers"}},
    {"unit",
     run_all,
     "SELECT twice(2) FROM DUAL",
     "4",
     {"DROP FUNCTION twice"},
     {"CREATE FUNCTION twice (n NUMBER) RETURN NUMBER IS BEGIN RETURN 2 * n; END;"}},
    {"block",
     run_all,
     "SELECT id, name FROM kept ORDER BY id",
     "1,one;2,two;7,seven",
     {"DELETE FROM kept"},
     {"DECLARE TYPE names IS TABLE OF VARCHAR2(8) INDEX BY PLS_INTEGER; n names; "
      "BEGIN n(1) := 'one'; n(2) := 'two'; FORALL i IN 1 .. 2 INSERT INTO kept VALUES (i, n(i)); "
      "FOR r IN (SELECT id FROM numbers WHERE id = 3) LOOP add_one(r.id + 4); END LOOP; END;"}},
    {"merge",
     run_all,
     "SELECT id, name FROM kept ORDER BY id",
     "1,new;2,new;3,new",
     {"DELETE FROM kept"},
     {"INSERT INTO kept VALUES (2, 'old')",
      "MERGE INTO kept k USING numbers n ON (k.id = n.id) WHEN MATCHED THEN UPDATE SET k.name = 'new' "
      "WHEN NOT MATCHED THEN INSERT VALUES (n.id, 'new')"}},
    {"many_tables",
     run_all,
     "SELECT (SELECT COUNT(*) FROM kept), (SELECT COUNT(*) FROM watched) FROM DUAL",
     "1,2",
     {"DELETE FROM kept", "DELETE FROM watched"},
     {"INSERT ALL WHEN id = 1 THEN INTO kept VALUES (id, 'x') ELSE INTO watched VALUES (id, 0) "
      "SELECT id FROM numbers"}},
    {"trigger",
     run_all,
     "SELECT w.id, w.times, k.name FROM watched w, kept k WHERE k.id = w.id + 10 ORDER BY w.id",
     "1,1,seen;2,1,seen;3,1,seen",
     {"DELETE FROM watched", "DELETE FROM kept"},
     {"INSERT INTO watched SELECT id, 0 FROM numbers", "UPDATE watched SET times = times + 1"}},
    {"sequence",
     run_all,
     "SELECT COUNT(*), COUNT(DISTINCT id), MIN(name) FROM kept",
     "4,4,x",
     {"DELETE FROM kept"},
     {"INSERT INTO kept SELECT counted.NEXTVAL, 'x' FROM numbers", "INSERT INTO kept VALUES (counted.NEXTVAL, 'x')"}},
    {"temporary",
     run_all,
     "SELECT id, name FROM kept ORDER BY id",
     "1,t;2,t;3,t",
     {"DELETE FROM kept"},
     {"INSERT INTO passing SELECT id FROM numbers", "INSERT INTO kept SELECT id, 't' FROM passing"}},
};

void PrintTo(const Request& request, std::ostream* out) {
    *out << request.name;
}

struct ClientFailures : ::testing::TestWithParam<Request> {
    ClientFailures() {
        for (const char* text :
             {"CREATE TABLE kept (id NUMBER(9) PRIMARY KEY, name VARCHAR2(8) NOT NULL)",
              "CREATE TABLE blobs (data BLOB)", "INSERT INTO blobs VALUES (EMPTY_BLOB())",
              "CREATE TABLE numbers (id NUMBER(9))", "INSERT INTO numbers SELECT LEVEL FROM DUAL CONNECT BY LEVEL <= 3",
              "CREATE FUNCTION same (n NUMBER) RETURN NUMBER IS BEGIN RETURN n; END;",
              "CREATE PROCEDURE add_one (n NUMBER) IS BEGIN INSERT INTO kept VALUES (n, 'seven'); END;",
              "CREATE TABLE watched (id NUMBER(9), times NUMBER(9))",
              "CREATE TRIGGER watch AFTER UPDATE ON watched FOR EACH ROW "
              "BEGIN INSERT INTO kept VALUES (:NEW.id + 10, 'seen'); END;",
              "CREATE SEQUENCE counted CACHE 2", "CREATE GLOBAL TEMPORARY TABLE passing (id NUMBER(9))"})
            EXPECT_EQ(other.run(text), "") << text;
        other.commit();
    }

    /// Lets each of them fail in turn, and those behind it; where there are many, not quite each.
    void fail_each(Failures& failures, long count) {
        bool met = true;
        for (long first = 0; met; first += 1 + first / 50 + count / 3) {
            const OciSession session(database);
            ASSERT_EQ(session.logonCode, 0);
            failures.arm(first, count);
            const int code = GetParam().run(session, GetParam());
            met = failures.disarm();
            ASSERT_GE(code, 0) << "at " << first;
            ASSERT_NO_FATAL_FAILURE(check_after(session, code, first));
        }
    }

    void check_after(const OciSession& session, int code, long first) {
        // Whatever has failed, nobody else waits for it.
        ASSERT_EQ(other.run("SELECT id FROM numbers FOR UPDATE NOWAIT"), "1;2;3") << GetParam().name << " at " << first;
        other.rollback();
        const bool lost = session.ping() != 0;
        const auto fresh = lost ? std::make_unique<OciSession>(database) : nullptr;
        const OciSession& next = lost ? *fresh : session;
        if (code != 0) {
            ASSERT_EQ(GetParam().run(next, GetParam()), 0) << "at " << first << " after " << code;
        }
        ASSERT_EQ(next.run(GetParam().check), GetParam().expected) << "at " << first << " after " << code;
        for (const char* text : GetParam().undo) ASSERT_EQ(next.run(text), "") << text;
        next.commit();
    }

    const std::string database = "memory:failures";
    const OciSession other{database};
};

TEST_P(ClientFailures, ofMemoryLeaveNothingBehind) {
    fail_each(memory, 1);
    fail_each(memory, 15);
}

TEST_P(ClientFailures, ofSqliteLeaveNothingBehind) {
    fail_each(calls, 1);
    fail_each(calls, 15);
}

/// SQLite may still hold its lock then, and keeps it until the session has ended.
TEST(ClientTransactions, thatCannotBeRolledBackLoseTheirSession) {
    const OciSession other("memory:kept");
    other.run("CREATE TABLE t (a NUMBER)");
    {
        const OciSession session("memory:kept");
        EXPECT_EQ(session.run("INSERT INTO t VALUES (1)"), "");
        calls.arm(0, 1'000'000);
        const int code = session.rollback();
        calls.disarm();
        EXPECT_EQ(code, 3114);
        EXPECT_EQ(session.ping(), 3114);
        EXPECT_EQ(session.run("SELECT a FROM t"), "ORA-03114");
    }
    EXPECT_EQ(other.run("SELECT a FROM t FOR UPDATE NOWAIT"), "");
    EXPECT_EQ(other.run("INSERT INTO t VALUES (2)"), "");
    EXPECT_EQ(other.run("SELECT a FROM t"), "2");
}

INSTANTIATE_TEST_SUITE_P(Of, ClientFailures, ::testing::ValuesIn(requests),
                         [](const auto& tested) { return tested.param.name; });

} // namespace
