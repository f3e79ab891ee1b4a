#include "tests/oci_session.h"
#include "tests/scratch_folder.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using Strings = std::vector<std::string>;

/// A folder of its own for a database file.
struct ClientAccounts : ::testing::Test {
    ClientAccounts() { EXPECT_EQ(OciSession(file).logonCode, 0) << "scott makes the database"; }

    int logon(const std::string& user, const std::string& password) const {
        return OciSession(file, user, password).logonCode;
    }
    std::string as(const std::string& user, const std::string& password, const std::string& text) const {
        const OciSession session(file, user, password);
        return session.logonCode == 0 ? session.run(text) : "not logged on: " + std::to_string(session.logonCode);
    }

    const ScratchFolder folder;
    const std::string file = folder.path / "accounts.db";
};

TEST_F(ClientAccounts, changeThemselvesAndTheFirstAnyOther) {
    const struct {
        std::string user, password, text, result;
    } steps[] = {
        {"scott", "tiger", "CREATE USER ann IDENTIFIED BY one", ""},
        {"scott", "tiger", "CREATE USER bob IDENTIFIED BY \"Two\"", ""},
        {"ann", "ONE", "SELECT 1 FROM DUAL", "not logged on: 1017"},
        {"ann", "one", "ALTER USER scott IDENTIFIED BY mine", "ORA-01031"},
        {"ann", "one", "DROP USER bob", "ORA-01031"},
        {"ann", "one", "ALTER USER ann IDENTIFIED BY three", ""},
        {"ann", "one", "SELECT 1 FROM DUAL", "not logged on: 1017"},
        {"scott", "tiger", "ALTER USER bob IDENTIFIED BY \"\"", "ORA-00988"},
        {"bob", "Two", "SELECT USER FROM DUAL", "BOB"},
        {"bob", "\"Two\"", "SELECT USER FROM DUAL", "BOB"},
        {"bob", "Two", "DROP USER bob", ""},
        {"scott", "tiger", "DROP USER bob", "ORA-01918"},
        {"scott", "tiger", "DROP USER ann", ""},
        {"scott", "tiger", "DROP USER scott", "ORA-01940"},
        {"scott", "tiger", "SELECT USER FROM DUAL", "SCOTT"},
    };
    for (const auto& step : steps) EXPECT_EQ(as(step.user, step.password, step.text), step.result) << step.text;
}

TEST_F(ClientAccounts, areReadableByTheOwnerOfTheFileOnly) {
    const OciSession session(file);
    session.run("CREATE TABLE t (a NUMBER)");
    for (const std::string ending : {"", "-wal", "-shm"}) {
        struct stat status {};
        ASSERT_EQ(stat((file + ending).c_str(), &status), 0) << ending;
        EXPECT_EQ(status.st_mode & 0777, 0600U) << ending;
    }
}

TEST_F(ClientAccounts, canBeUsedWhenAFileIsNotReadOnlyAnyMore) {
    const bool root = geteuid() == 0; // whom no permission keeps out
    constexpr uid_t nobody = 65534;
    fs::permissions(folder.path, fs::perms(0777));
    ASSERT_EQ(root ? chown(file.c_str(), nobody, nobody) : 0, 0);
    ASSERT_EQ(root ? seteuid(nobody) : 0, 0);
    fs::permissions(file, fs::perms(0444));
    EXPECT_EQ(logon("scott", "tiger"), 16000);
    fs::permissions(file, fs::perms(0600));
    EXPECT_EQ(as("scott", "tiger", "CREATE TABLE t (a NUMBER)"), "");
    ASSERT_EQ(root ? seteuid(0) : 0, 0);
}

TEST(ClientFirstLogons, ofManyProcessesWaitForEachOther) {
    for (int round = 0; round < 4; ++round) {
        const ScratchFolder folder;
        const std::string file = folder.path / "new.db";
        std::vector<pid_t> children;
        for (int i = 0; i < 8; ++i) {
            const pid_t child = fork();
            if (child == 0) _exit(OciSession(file).logonCode == 0 ? 0 : 1);
            children.push_back(child);
        }
        for (const pid_t child : children) {
            int status = 0;
            waitpid(child, &status, 0);
            EXPECT_EQ(status, 0);
        }
    }
}

/// The folder of the database in memory that this process has open.
std::string memoryFolder() {
    for (const auto& descriptor : fs::directory_iterator("/proc/self/fd")) {
        std::error_code ignored;
        const fs::path open = fs::read_symlink(descriptor.path(), ignored);
        if (open.filename().string().starts_with("dtk-")) return open;
    }
    return {};
}

TEST(ClientMemory, ofAKilledProcessIsFreedByTheNext) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const pid_t child = fork();
    if (child == 0) {
        const OciSession session("memory:killed");
        const std::string folder = memoryFolder();
        if (write(ends[1], folder.data(), folder.size()) > 0) raise(SIGKILL);
    }
    waitpid(child, nullptr, 0);
    char folder[200] = "";
    EXPECT_GT(read(ends[0], folder, sizeof folder - 1), 0);
    const OciSession next("memory:next");
    EXPECT_FALSE(fs::exists(folder)) << folder;
    EXPECT_TRUE(fs::exists(memoryFolder()));
    close(ends[0]);
    close(ends[1]);
}

std::string with(std::string text, const std::string& put) {
    for (auto at = text.find("{}"); at != std::string::npos; at = text.find("{}", at + put.size()))
        text.replace(at, 2, put);
    return text;
}

TEST(ClientSql, reachesNothingButTheApplicationsTables) {
    const OciSession session("memory:reach");
    session.run("CREATE TABLE t (a NUMBER, b BLOB)");
    session.run("INSERT INTO t (a) VALUES (1)");
    const Strings tables{"DTK$ACCOUNTS",
                         "\"DTK$ACCOUNTS\"",
                         "\"dtk$accounts\"",
                         "scott.DTK$OBJECTS",
                         "sqlite_master",
                         "\"sqlite_schema\"",
                         "sqlite_temp_master",
                         "pragma_function_list",
                         "json_each",
                         "\"pragma_table_info\"",
                         "dbstat",
                         "sqlite_dbpage"};
    const struct {
        std::string result;
        Strings texts;
    } cases[] = {
        {"ORA-00942",
         {"SELECT * FROM {}",
          "SELECT a FROM t WHERE EXISTS (SELECT 1 FROM {} WHERE ROWNUM = 1)",
          "WITH w AS (SELECT * FROM {}) SELECT 1 FROM w",
          "SELECT a FROM t UNION ALL SELECT 1 FROM {}",
          "SELECT * FROM {} FOR UPDATE",
          "INSERT INTO {} VALUES ('EVE', 'x')",
          "INSERT INTO t (a) SELECT 1 FROM {}",
          "INSERT ALL INTO {} VALUES (1, 2) SELECT 1 FROM DUAL",
          "UPDATE {} SET hash = 'x'",
          "UPDATE t SET a = (SELECT 1 FROM {})",
          "DELETE FROM {}",
          "MERGE INTO {} d USING DUAL ON (1 = 1) WHEN MATCHED THEN UPDATE SET d.hash = 'x'",
          "MERGE INTO t USING {} s ON (1 = 1) WHEN MATCHED THEN UPDATE SET t.a = 2",
          "CREATE TABLE stolen AS SELECT * FROM {}",
          "CREATE VIEW stolen AS SELECT * FROM {}",
          "CREATE TABLE child (a VARCHAR2(9) REFERENCES {} (name))",
          "CREATE INDEX i ON {} (name)",
          "CREATE TRIGGER r BEFORE INSERT ON {} FOR EACH ROW BEGIN NULL; END;",
          "ALTER TABLE {} ADD (x NUMBER)",
          "ALTER TABLE {} RENAME TO mine",
          "DROP TABLE {}",
          "TRUNCATE TABLE {}",
          "COMMENT ON TABLE {} IS 'x'",
          "LOCK TABLE {} IN EXCLUSIVE MODE",
          "BEGIN EXECUTE IMMEDIATE 'DELETE FROM {}'; END;"}},
        {"ORA-06550",
         {"BEGIN DELETE FROM {}; END;", "BEGIN FOR r IN (SELECT * FROM {}) LOOP NULL; END LOOP; END;",
          "DECLARE x {}%ROWTYPE; BEGIN NULL; END;"}},
    };
    for (const auto& tested : cases) {
        for (const std::string& text : tested.texts) {
            for (const std::string& table : tables)
                EXPECT_EQ(session.run(with(text, table)), tested.result) << with(text, table);
        }
    }
    EXPECT_EQ(session.run("RENAME DTK$ACCOUNTS TO mine"), "ORA-04043");
    EXPECT_EQ(session.run("SELECT a FROM t"), "1");
    EXPECT_EQ(OciSession("memory:reach").logonCode, 0) << "the accounts are as they were";
}

TEST(ClientSql, callsNothingButTheFunctionsOfTheDialect) {
    const OciSession session("memory:calls");
    session.run("CREATE TABLE t (a NUMBER, v VARCHAR2(100))");
    for (const char* text :
         {"SELECT {} FROM t", "SELECT 1 FROM t WHERE {} = v", "INSERT INTO t (v) VALUES ({})", "UPDATE t SET v = {}",
          "DELETE FROM t WHERE {} IS NULL", "SELECT v FROM t ORDER BY {}", "CREATE TABLE u (a VARCHAR2(9) DEFAULT {})",
          "CREATE TABLE u (a NUMBER CHECK ({} = a))", "CREATE TABLE u (a NUMBER, b VARCHAR2(9) AS ({}))",
          "CREATE TABLE u AS SELECT {} x FROM t", "CREATE VIEW u AS SELECT {} x FROM t", "CREATE INDEX u ON t ({})"}) {
        for (const char* call :
             {"fts3_tokenizer('simple')", "\"fts3_tokenizer\"('simple', v)", "load_extension('x')", "readfile('x')",
              "writefile('x', 'y')", "sqlite_version()", "randomblob(9)", "zeroblob(9)", "printf('%s', v)", "hex(v)",
              "json(v)", "ora_nextval('x')", "\"ora_upper\"(v)", "sqlite_rename_table(v, v)"}) {
            EXPECT_EQ(session.run(with(text, call)), "ORA-00904") << with(text, call);
        }
    }
}

TEST(ClientSql, hasNoStatementsOfSqlitesOwn) {
    const OciSession session("memory:own");
    for (const char* text : {"ATTACH DATABASE '/tmp/x.db' AS x", "DETACH DATABASE main", "PRAGMA writable_schema = ON",
                             "VACUUM INTO '/tmp/x.db'", "REINDEX", "REPLACE INTO t VALUES (1)", "VALUES (1)"})
        EXPECT_EQ(session.run(text), "ORA-00900") << text;
    EXPECT_EQ(session.run("CREATE VIRTUAL TABLE x USING fts5 (a)"), "ORA-00901");
}

/// The client's own tables stand in nobody's way.
TEST(ClientSql, letsTablesBearAnyName) {
    const OciSession session("memory:names");
    for (const char* name : {"DTK$ACCOUNTS", "\"dtk$objects\"", "sqlite_master", "pragma_table_info", "json_each"}) {
        EXPECT_EQ(session.run(with("CREATE TABLE {} (a NUMBER PRIMARY KEY)", name)), "") << name;
        EXPECT_EQ(session.run(with("INSERT INTO {} VALUES (1)", name)), "") << name;
        EXPECT_EQ(session.run(with("SELECT a FROM {}", name)), "1") << name;
        EXPECT_EQ(session.run(with("DROP TABLE {}", name)), "") << name;
        EXPECT_EQ(session.run(with("SELECT a FROM {}", name)), "ORA-00942") << name;
    }
    EXPECT_EQ(OciSession("memory:names").logonCode, 0);
}

TEST(ClientSql, isRefusedWithANulByteBeforeAnythingRuns) {
    const OciSession session("memory:nul");
    session.run("CREATE TABLE t (a NUMBER)");
    session.run("INSERT INTO t VALUES (1)");
    const std::string nul(1, '\0');
    for (const std::string& text :
         {"DELETE FROM t " + nul + " WHERE a = 2", "DROP TABLE t" + nul, "DELETE FROM t WHERE 'x" + nul + "' = 'x'",
          "BEGIN DELETE FROM t; " + nul + " END;"})
        EXPECT_EQ(session.run(text), "ORA-00911");
    EXPECT_EQ(session.run("SELECT a FROM t"), "1");
}

TEST(ClientSessions, stopWhatTakesTooMuchWork) {
    const OciSession session("memory:work");
    session.run("CREATE TABLE t (a NUMBER, v VARCHAR2(40))");
    session.run("INSERT INTO t SELECT LEVEL, RPAD('a', 30, 'a') FROM DUAL CONNECT BY LEVEL <= 300");
    session.commit();
    EXPECT_EQ(session.run("ALTER SESSION SET dtk_work_limit = 1000000"), "");
    for (const char* text :
         {"WITH r (n) AS (SELECT 1 FROM DUAL UNION ALL SELECT n + 1 FROM r) SELECT COUNT(*) FROM r",
          "SELECT COUNT(*) FROM DUAL CONNECT BY LEVEL > 0", "SELECT COUNT(*) FROM t x, t y, t z",
          "SELECT COUNT(*) FROM t CONNECT BY NOCYCLE a > PRIOR a",
          "SELECT COUNT(*) FROM t WHERE REGEXP_LIKE(v, 'a+a+a+b')",
          "SELECT MAX(REGEXP_REPLACE(v, '(a+a+)+b', 'x')) FROM t", "INSERT INTO t SELECT x.a, 'x' FROM t x, t y, t z",
          "UPDATE t SET a = (SELECT COUNT(*) FROM t x, t y, t z)",
          "DELETE FROM t WHERE a < (SELECT COUNT(*) FROM t x, t y, t z)",
          "CREATE TABLE u AS SELECT x.a FROM t x, t y, t z", "BEGIN LOOP NULL; END LOOP; END;",
          "BEGIN LOOP BEGIN RAISE NO_DATA_FOUND; EXCEPTION WHEN OTHERS THEN NULL; END; END LOOP; END;",
          "BEGIN LOOP INSERT INTO t VALUES (1, 'x'); END LOOP; END;",
          "DECLARE n NUMBER; BEGIN LOOP BEGIN SELECT COUNT(*) INTO n FROM t x, t y, t z; "
          "EXCEPTION WHEN OTHERS THEN NULL; END; END LOOP; END;"}) {
        EXPECT_EQ(session.run(text), "ORA-01013") << text;
        EXPECT_EQ(session.run("SELECT COUNT(*), SUM(a) FROM t"), "300,45150") << "the next call begins anew";
    }
    EXPECT_EQ(session.run("ALTER SESSION SET DTK_WORK_LIMIT = 0"), "");
    EXPECT_EQ(session.run("SELECT COUNT(*) FROM t x, t y"), "90000") << "without a limit";
    EXPECT_EQ(session.run("ALTER SESSION SET DTK_WORK_LIMIT = many"), "ORA-12705");
}

TEST(ClientSessions, takeTheSettingsThatTheyKnow) {
    const struct {
        std::string text, result;
    } cases[] = {
        {"ALTER SESSION SET NLS_DATE_FORMAT = 'DD.MM.YYYY' NLS_NUMERIC_CHARACTERS = ',.'", ""},
        {"ALTER SESSION SET nls_date_format = 'nonsense'", "ORA-01821"},
        {"ALTER SESSION SET NLS_NUMERIC_CHARACTERS = ',,'", "ORA-12705"},
        {"ALTER SESSION SET NLS_LANGUAGE = 'KLINGON'", "ORA-12705"},
        {"ALTER SESSION SET NLS_SORT = GERMAN", "ORA-12705"},
        {"ALTER SESSION SET TIME_ZONE = '+02:00' CURRENT_SCHEMA = scott ISOLATION_LEVEL = READ COMMITTED", ""},
        {"ALTER SESSION ENABLE PARALLEL DML", ""},
        {"ALTER SESSION SET colour = 'red'", "ORA-02248"},
        {"ALTER SESSION SET NLS_DATE_FORMAT", "ORA-00927"},
    };
    const OciSession session("memory:settings");
    for (const auto& tested : cases) EXPECT_EQ(session.run(tested.text), tested.result) << tested.text;
}

} // namespace
