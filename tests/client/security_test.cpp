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

TEST(ClientSql, reachesNothingButTheApplicationsTables) {
    const OciSession session("memory:reach");
    session.run("CREATE TABLE t (a NUMBER, b BLOB)");
    session.run("INSERT INTO t (a) VALUES (1)");
    const struct {
        std::string text, result;
    } cases[] = {
        {"SELECT hash FROM \"DTK$ACCOUNTS\"", "ORA-00942"},
        {"SELECT a FROM t WHERE EXISTS (SELECT 1 FROM \"DTK$ACCOUNTS\" WHERE hash LIKE '$6%')", "ORA-00942"},
        {"UPDATE \"DTK$ACCOUNTS\" SET hash = ''", "ORA-00942"},
        {"DELETE FROM \"DTK$ACCOUNTS\"", "ORA-00942"},
        {"INSERT INTO \"DTK$ACCOUNTS\" VALUES ('EVE', 'x')", "ORA-00942"},
        {"CREATE TABLE stolen AS SELECT * FROM \"DTK$ACCOUNTS\"", "ORA-00942"},
        {"BEGIN DELETE FROM \"DTK$ACCOUNTS\"; END;", "ORA-00942"},
        {"SELECT name FROM sqlite_master", "ORA-00942"},
        {"SELECT name FROM pragma_table_info('T')", "ORA-00942"},
        {"SELECT fts3_tokenizer('simple') FROM DUAL", "ORA-00904"},
        {"SELECT load_extension('x') FROM DUAL", "ORA-00904"},
        {"SELECT a FROM t", "1"},
    };
    for (const auto& tested : cases) {
        const std::string result = session.run(tested.text);
        EXPECT_EQ(result == "ORA-00933" || result == "ORA-06550" ? tested.result : result, tested.result)
            << tested.text;
    }
    EXPECT_EQ(OciSession("memory:reach").logonCode, 0) << "the accounts are as they were";
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
    const std::string endless =
        "WITH r (n) AS (SELECT 1 FROM DUAL UNION ALL SELECT n + 1 FROM r) SELECT COUNT(*) FROM r";
    EXPECT_EQ(session.run("ALTER SESSION SET dtk_work_limit = 1000000"), "");
    EXPECT_EQ(session.run(endless), "ORA-01013");
    EXPECT_EQ(session.run("SELECT 1 FROM DUAL"), "1") << "the next call begins anew";
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
