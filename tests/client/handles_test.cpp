#include "tests/oci_session.h"
#include "tests/scratch_folder.h"
#include "tests/support.h"

#include <cstring>
#include <filesystem>
#include <fstream>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

using Strings = std::vector<std::string>;

std::string errorText(const OciSession& session) {
    char text[400] = "";
    OCIErrorGet(session.error, 1, nullptr, nullptr, reinterpret_cast<OraText*>(text), sizeof text, OCI_HTYPE_ERROR);
    return text;
}

TEST(ClientHandles, ofTheWrongKindFreedOrNullAreInvalid) {
    OciSession session("memory:handles");
    OCIStmt* query = session.open("SELECT 1 FROM DUAL");
    OCIStmt* released = session.open("SELECT 2 FROM DUAL");
    session.release(released);
    void *lob = nullptr, *freed = nullptr, *column = nullptr;
    OCIDescriptorAlloc(session.env, &lob, OCI_DTYPE_LOB, 0, nullptr);
    OCIDescriptorAlloc(session.env, &freed, OCI_DTYPE_LOB, 0, nullptr);
    OCIDescriptorFree(freed, OCI_DTYPE_LOB);
    OCIParamGet(query, OCI_HTYPE_STMT, session.error, &column, 1);
    char zeros[64] = {};
    for (void* wrong : std::vector<void*>{nullptr, session.env, session.error, session.service, query, released, lob,
                                          freed, column, zeros}) {
        auto* service = static_cast<OCISvcCtx*>(wrong);
        auto* statement = static_cast<OCIStmt*>(wrong);
        auto* locator = static_cast<OCILobLocator*>(wrong);
        OCIStmt* made = nullptr;
        void* out = nullptr;
        ub4 number = 1;
        boolean answer = 0;
        std::vector<sword> statuses{OCIHandleFree(wrong, OCI_HTYPE_STMT)};
        const auto note = [&](std::initializer_list<sword> more) { statuses.insert(statuses.end(), more); };
        if (wrong != session.service) {
            note({OCIPing(service, session.error, 0), OCILogoff(service, session.error),
                  OCITransCommit(service, session.error, 0),
                  OCIStmtPrepare2(service, &made, session.error, oraText("x"), 1, nullptr, 0, 1, 0),
                  OCIStmtExecute(service, query, session.error, 1, 0, nullptr, nullptr, 0)});
        }
        if (wrong != query) {
            note({session.execute(statement), session.fetch(statement), session.release(statement),
                  OCIParamGet(wrong, OCI_HTYPE_STMT, session.error, &out, 1),
                  OCIAttrGet(wrong, OCI_HTYPE_STMT, &number, nullptr, OCI_ATTR_ROW_COUNT, session.error)});
        }
        if (wrong != lob) {
            note({OCILobLocatorIsInit(session.env, session.error, locator, &answer),
                  OCILobGetLength(session.service, session.error, locator, &number),
                  OCILobCreateTemporary(session.service, session.error, locator, 0, 0, OCI_TEMP_BLOB, 0, 10),
                  OCIDescriptorFree(wrong, OCI_DTYPE_LOB)});
        }
        if (wrong != session.env) note({OCIHandleAlloc(wrong, &out, OCI_HTYPE_ERROR, 0, nullptr)});
        if (wrong != session.error) note({OCIErrorGet(wrong, 1, nullptr, nullptr, nullptr, 0, OCI_HTYPE_ERROR)});
        EXPECT_EQ(statuses, std::vector<sword>(statuses.size(), OCI_INVALID_HANDLE));
    }
    EXPECT_EQ(session.logoff(), OCI_SUCCESS);
    EXPECT_EQ(session.fetch(query), OCI_INVALID_HANDLE) << "goes with its session";
}

TEST(ClientHandles, tellErrorsByNumberAndText) {
    const OciSession session("memory:handles");
    session.run("SELECT * FROM nope");
    sb4 number = 0;
    char text[200];
    EXPECT_EQ(
        OCIErrorGet(session.error, 1, nullptr, &number, reinterpret_cast<OraText*>(text), sizeof text, OCI_HTYPE_ERROR),
        0);
    EXPECT_EQ(number, 942);
    EXPECT_STREQ(text, "ORA-00942: table or view does not exist (\"NOPE\")\n");
    OCIErrorGet(session.error, 1, nullptr, nullptr, reinterpret_cast<OraText*>(text), 8, OCI_HTYPE_ERROR);
    EXPECT_STREQ(text, "ORA-009");
    EXPECT_EQ(OCIErrorGet(session.error, 2, nullptr, &number, nullptr, 0, OCI_HTYPE_ERROR), OCI_NO_DATA);
    OCIStmt* statement = nullptr;
    EXPECT_EQ(session.code(OCIStmtPrepare2(session.service, &statement, session.error, nullptr, 0, nullptr, 0, 1, 0)),
              24373);
    OCIStmt* query = session.prepare("SELECT 1 FROM DUAL");
    char value[2];
    EXPECT_EQ(session.fetch(query), 24338);
    session.execute(query, 0);
    EXPECT_EQ(session.define(query, 2, value, 2, SQLT_STR), 1007);
    EXPECT_EQ(session.code(OCIStmtFetch(query, session.error, 1, 4, 0)), 3001) << "no scrolling";
}

TEST(ClientLogon, namesItsDatabaseAndNeedsItsAccount) {
    const ScratchFolder folder;
    const std::string file = folder.path / "a.db";
    std::ofstream(folder.path / "text.db") << std::string(2000, 'x');
    fs::create_directory(folder.path / "folder.db");
    const struct {
        std::string database, user, password;
        int code;
    } cases[] = {
        {file, "scott", "tiger", 0},
        {file, "Scott", "tiger", 0},
        {file, "scott", "lion", 1017},
        {file, "\"scott\"", "tiger", 1017},
        {file, "scott", "", 1017},
        {file, "scott", std::string(1000, 'x'), 1017},
        {file, "nobody", "tiger", 1017},
        {"", "scott", "tiger", 12154},
        {"orcl", "scott", "x", 12154},
        {"//host:1521/service", "scott", "x", 12154},
        {"memory:", "scott", "x", 12154},
        {std::string("/tmp/a\0.db", 10), "scott", "x", 12154},
        {folder.path / "no/a.db", "scott", "x", 12154},
        {folder.path / "text.db", "scott", "x", 1157},
        {folder.path / "folder.db", "scott", "x", 1157},
    };
    for (const auto& [database, user, password, code] : cases) {
        const OciSession session(database, user, password);
        EXPECT_EQ(session.logonCode, code) << database << " " << user;
        if (code != 12154 && code != 1157) continue;
        EXPECT_NE(errorText(session).find(database.c_str()), std::string::npos) << errorText(session);
    }
    const OciSession session(file);
    EXPECT_EQ(session.run("CREATE USER bob IDENTIFIED BY \"pass word\""), "");
    EXPECT_EQ(session.run("CREATE USER bob IDENTIFIED BY x"), "ORA-01920");
    const auto change = [&](const std::string& old, const std::string& changed) {
        return session.code(OCIPasswordChange(session.service, session.error, oraText("bob"), 3, oraText(old),
                                              oraLength(old), oraText(changed), static_cast<sb4>(changed.size()),
                                              OCI_DEFAULT));
    };
    EXPECT_EQ(change("wrong", "new"), 1017);
    EXPECT_EQ(change("pass word", ""), 28003);
    EXPECT_EQ(OciSession(file, "bob", "pass word").run("SELECT USER FROM DUAL"), "BOB");
    EXPECT_EQ(change("pass word", "new"), 0);
    EXPECT_EQ(OciSession(file, "bob", "pass word").logonCode, 1017);
    EXPECT_EQ(session.run("DROP USER bob"), "");
    EXPECT_EQ(OciSession(file, "bob", "new").logonCode, 1017);
}

// As on a file system that is read-only, SQLite can make no files beside the database.
TEST(ClientLogon, needsAPlaceThatItMayWriteTo) {
    const ScratchFolder folder;
    const std::string file = folder.path / "a.db";
    EXPECT_EQ(OciSession(file).logonCode, 0);
    fs::permissions(folder.path, fs::perms(0555));
    const bool root = geteuid() == 0; // whom no permission keeps out
    constexpr uid_t nobody = 65534;
    ASSERT_EQ(root ? seteuid(nobody) : 0, 0);
    for (const std::string& database : {file, file + ".new"}) {
        const OciSession session(database);
        EXPECT_EQ(session.logonCode, 16000);
        EXPECT_NE(errorText(session).find(database), std::string::npos) << errorText(session);
    }
    ASSERT_EQ(root ? seteuid(0) : 0, 0);
    fs::permissions(folder.path, fs::perms(0755));
}

TEST(ClientLogon, leavesGarbageInTheHandleAlone) {
    const OciSession session("memory:handles");
    auto* service = reinterpret_cast<OCISvcCtx*>(0x5A5A5A5A5A50);
    const std::string user = "scott", password = "tiger", database = "memory:handles";
    EXPECT_EQ(OCILogon2(session.env, session.error, &service, oraText(user), 5, oraText(password), 5, oraText(database),
                        oraLength(database), OCI_DEFAULT),
              OCI_SUCCESS);
}

TEST(ClientSessions, areLostWithTheirFile) {
    const ScratchFolder folder;
    const std::string file = folder.path / "a.db";
    const OciSession session(file);
    session.run("CREATE TABLE t (a NUMBER)");
    session.run("INSERT INTO t VALUES (1)");
    fs::rename(file, file + ".away");
    EXPECT_EQ(session.ping(), 3114);
    EXPECT_EQ(session.run("SELECT 1 FROM DUAL"), "ORA-03114");
    EXPECT_EQ(session.commit(), 3114);
    EXPECT_EQ(OciSession(file).logonCode, 1034) << "a file that was there is not made anew";
    fs::rename(file + ".away", file);
    EXPECT_EQ(session.ping(), 3114) << "lost for good";
    EXPECT_EQ(OciSession(file).run("SELECT COUNT(*) FROM t"), "0") << "rolled back";
}

/// Two sessions on a table of one row; "2: " stands before what the second runs.
struct ClientTransactions : ::testing::Test {
    std::string run(const std::string& step) const {
        return step.starts_with("2: ") ? second->run(step.substr(3)) : first->run(step);
    }
    Strings runAll(const Strings& steps) const {
        Strings results;
        for (const auto& step : steps) results.push_back(run(step));
        return results;
    }
    bool isLocked() const {
        const bool locked = second->run("SELECT id FROM t WHERE id = 0 FOR UPDATE NOWAIT") == "ORA-00054";
        second->rollback();
        return locked;
    }

    std::unique_ptr<OciSession> first = std::make_unique<OciSession>("memory:transactions");
    std::unique_ptr<OciSession> second = std::make_unique<OciSession>("memory:transactions");

  private:
    const Strings made =
        runAll({"CREATE TABLE t (id NUMBER(4) PRIMARY KEY, v VARCHAR2(4))", "INSERT INTO t VALUES (0, 'a')", "COMMIT"});
};

TEST_F(ClientTransactions, areSeenByOthersWhenTheyEnd) {
    const std::string count = "2: SELECT COUNT(*) FROM t";
    EXPECT_EQ(runAll({"INSERT INTO t VALUES (1, 'x')", count, "COMMIT WORK", count}), (Strings{"", "1", "", "2"}));
    EXPECT_EQ(runAll({"INSERT INTO t VALUES (2, 'x')", "CREATE TABLE u (a NUMBER)", count}), (Strings{"", "", "3"}));
    EXPECT_EQ(runAll({"INSERT INTO t VALUES (3, 'x')", "CREATE TABLE u (a NUMBER)", count}),
              (Strings{"", "ORA-00955", "4"}));
    EXPECT_EQ(runAll({"DELETE FROM t", "SELEKT", "ROLLBACK", count}), (Strings{"", "ORA-00900", "", "4"}));
    run("INSERT INTO t VALUES (4, 'x')");
    first->logoff();
    EXPECT_EQ(run(count), "5") << "logging off commits";
    first = std::make_unique<OciSession>("memory:transactions");
    run("INSERT INTO t VALUES (5, 'x')");
    first.reset();
    EXPECT_EQ(run(count), "5") << "a session that is lost rolls back";
}

TEST_F(ClientTransactions, undoWhatFailsAndNothingElse) {
    EXPECT_EQ(
        runAll({"SAVEPOINT a", "INSERT INTO t VALUES (1, 'x')", "SAVEPOINT b", "INSERT INTO t SELECT id + 1, v FROM t",
                "INSERT INTO t SELECT id + 2, v FROM t", "SELECT COUNT(*) FROM t", "ROLLBACK TO c", "COMMIT FOR EVER",
                "ROLLBACK WORK TO SAVEPOINT a", "SELECT COUNT(*) FROM t", "ROLLBACK TO b"}),
        (Strings{"", "", "", "ORA-00001", "", "4", "ORA-01086", "ORA-02185", "", "1", "ORA-01086"}));
}

TEST_F(ClientTransactions, waitForTheLockAsLongAsTold) {
    EXPECT_EQ(runAll({"SELECT id FROM t FOR UPDATE", "2: SELECT id FROM t", "2: SELECT id FROM t FOR UPDATE NOWAIT",
                      "2: SELECT id FROM t FOR UPDATE WAIT 1", "COMMIT", "2: SELECT id FROM t FOR UPDATE WAIT 1",
                      "SELECT id FROM t FOR UPDATE OF v NOWAIT"}),
              (Strings{"0", "0", "ORA-00054", "ORA-30006", "", "0", "ORA-00054"}));
}

TEST_F(ClientTransactions, keepNoLockForNothing) {
    const Strings steps[] = {
        {"INSERT INTO t VALUES (NULL, 'x')", "ORA-01400"},
        {"INSERT INTO t VALUES (1 / 0, 'x')", "ORA-01476"},
        {"INSERT INTO t VALUES (:1, 'x')", "ORA-01008"},
        {"INSERT INTO nope VALUES (1)", "ORA-00942"},
        {"UPDATE t SET v = 'y' WHERE id = 9", ""},
        {"SELECT v FROM t WHERE id = 9 FOR UPDATE", ""},
        {"SELECT 1 / id FROM t FOR UPDATE", "ORA-01476"},
        {"BEGIN INSERT INTO t VALUES (NULL, 'x'); END;", "ORA-01400"},
        {"DROP TABLE nope", "ORA-00942"},
    };
    for (const auto& step : steps) {
        EXPECT_EQ(run(step[0]), step[1]);
        EXPECT_FALSE(isLocked()) << step[0];
    }
    run("UPDATE t SET v = 'y'");
    EXPECT_TRUE(isLocked());
}

TEST_F(ClientTransactions, doNotReachIntoOpenQueries) {
    run("INSERT INTO t SELECT 1, 'b' FROM DUAL UNION ALL SELECT 2, 'c' FROM DUAL");
    first->commit();
    sb4 id = 0;
    Strings seen;
    OCIStmt* query = first->open("SELECT id FROM t ORDER BY id + 0");
    OCIStmt* failing = first->open("SELECT 1 / (2 - id) FROM t");
    first->define(query, 1, &id, sizeof id, SQLT_INT);
    while (first->fetch(query) == OCI_SUCCESS && seen.size() < 9) {
        seen.push_back(std::to_string(id));
        seen.push_back(run("INSERT INTO t VALUES (100 + " + seen[seen.size() - 1] + ", 'n')"));
        seen.push_back(run("DELETE FROM t WHERE id < 100"));
    }
    EXPECT_EQ(seen, (Strings{"0", "", "", "1", "", "", "2", "", ""}));
    EXPECT_EQ(first->fetch(failing, 2), OCI_SUCCESS);
    EXPECT_EQ(first->fetch(failing), 1476) << "at the row that it is about, not in the statement before";
    first->commit();
    OCIStmt* open = first->open("SELECT id FROM t");
    EXPECT_EQ(runAll({"2: INSERT INTO t VALUES (200, 'x')", "2: COMMIT", "SELECT COUNT(*) FROM t", "DROP TABLE t"}),
              (Strings{"", "", "4", ""}));
    EXPECT_EQ(first->fetch(open, 9), OCI_NO_DATA);
    EXPECT_EQ(first->count(open, OCI_ATTR_ROWS_FETCHED), 3U);
}

/// A session and a table of two BLOBs, with the calls of a large object told by their result as text.
struct ClientLobs : ::testing::Test {
    ClientLobs() {
        session.run("CREATE TABLE t (id NUMBER(4), b BLOB)");
        session.run("INSERT INTO t VALUES (1, '6162')");
        session.run("INSERT INTO t VALUES (2, EMPTY_BLOB())");
        session.commit();
    }
    OCILobLocator* locator() const {
        void* made = nullptr;
        OCIDescriptorAlloc(session.env, &made, OCI_DTYPE_LOB, 0, nullptr);
        return static_cast<OCILobLocator*>(made);
    }
    OCILobLocator* temporary(const std::string& bytes) const {
        OCILobLocator* lob = locator();
        OCILobCreateTemporary(session.service, session.error, lob, 0, 0, OCI_TEMP_BLOB, 0, OCI_DURATION_SESSION);
        write(lob, 1, bytes);
        return lob;
    }
    int write(OCILobLocator* lob, ub4 offset, std::string bytes) const {
        ub4 amount = oraLength(bytes);
        return session.code(OCILobWrite(session.service, session.error, lob, &amount, offset, bytes.data(), amount,
                                        OCI_ONE_PIECE, nullptr, nullptr, 0, SQLCS_IMPLICIT));
    }
    std::string read(OCILobLocator* lob, ub4 offset = 1, ub4 amount = 20) const {
        std::string bytes(20, '~');
        const int status = session.code(OCILobRead(session.service, session.error, lob, &amount, offset, bytes.data(),
                                                   20, nullptr, nullptr, 0, SQLCS_IMPLICIT));
        return status == OCI_SUCCESS ? bytes.substr(0, amount) : "ORA-" + std::to_string(status);
    }
    /// A query of one BLOB column, fetched into the locator.
    OCIStmt* select(const std::string& sql, OCILobLocator*& lob) const {
        OCIStmt* query = session.open(sql);
        session.define(query, 1, &lob, -1, SQLT_BLOB, &indicator);
        EXPECT_EQ(session.fetch(query), OCI_SUCCESS);
        return query;
    }
    std::string stored() const { return session.run("SELECT RAWTOHEX(b) FROM t ORDER BY id"); }

    OciSession session{"memory:lobs"};
    mutable sb2 indicator = 0;
};

TEST_F(ClientLobs, temporaryOnesLiveInMemory) {
    OCILobLocator* lob = locator();
    EXPECT_EQ(read(lob), "ORA-22275") << "not initialised";
    lob = temporary("abc");
    EXPECT_EQ(write(lob, 6, "f"), 0);
    EXPECT_EQ(read(lob), std::string("abc\0\0f", 6));
    EXPECT_EQ(read(lob, 2, 2), "bc");
    EXPECT_EQ(read(lob, 9), "");
    EXPECT_EQ(read(lob, 0), "ORA-24801");
    EXPECT_EQ(write(lob, 4'000'000'000, "x"), 24801);
    EXPECT_EQ(OCILobFreeTemporary(session.service, session.error, lob), OCI_SUCCESS);
    EXPECT_EQ(session.code(OCILobFreeTemporary(session.service, session.error, lob)), 22275);
}

TEST_F(ClientLobs, areBoundByAddressOrByThemselves) {
    OCIStmt* insert = session.prepare("INSERT INTO t VALUES (3, :1)");
    const auto bound = [&](void* value, void* nullFlag) {
        session.bind(insert, 1, value, -1, SQLT_BLOB, nullFlag);
        const int status = session.execute(insert);
        const std::string result = session.run("SELECT NVL(RAWTOHEX(b), NVL2(b, 'empty', 'null')) FROM t WHERE id = 3");
        session.rollback();
        return status == OCI_SUCCESS ? result : "ORA-" + std::to_string(status);
    };
    OCILobLocator* lob = temporary("xyz");
    OCILobLocator* empty = temporary("");
    OCILobLocator* none = locator();
    sb2 isNull = -1;
    EXPECT_EQ(bound(&lob, nullptr), "78797A");
    EXPECT_EQ(bound(lob, nullptr), "78797A");
    EXPECT_EQ(bound(&empty, nullptr), "empty");
    EXPECT_EQ(bound(&lob, &isNull), "null");
    EXPECT_EQ(bound(nullptr, reinterpret_cast<void*>(-1)), "null");
    EXPECT_EQ(bound(&none, nullptr), "ORA-22275");
    OCILobLocator* lobs[] = {empty, lob};
    OCILobLocator* results[] = {none, none};
    OCIStmt* update = session.prepare("UPDATE t SET b = :1 RETURNING b INTO :2");
    session.bind(update, 1, lobs, -1, SQLT_BLOB);
    session.bind(update, 2, results, -1, SQLT_BLOB);
    EXPECT_EQ(session.execute(update, 2, 1), 24369);
    EXPECT_EQ(stored(), "6162;");
}

TEST_F(ClientLobs, areWrittenThroughToTheRowThatIsLocked) {
    OCILobLocator* lob = temporary("old");
    OCIStmt* plain = select("SELECT b FROM t WHERE id = 1", lob);
    EXPECT_EQ(read(lob), "ab");
    EXPECT_EQ(write(lob, 1, "x"), 22920) << "not what it was before";
    session.release(plain);
    OCIStmt* locking = select("SELECT b FROM t ORDER BY id FOR UPDATE", lob);
    EXPECT_EQ(write(lob, 1, "A"), 0);
    EXPECT_EQ(write(lob, 3, "c"), 0);
    EXPECT_EQ(session.run("INSERT INTO t VALUES (0, NULL)"), "") << "moves the rest of the query aside";
    OCIDescriptorFree(lob, OCI_DTYPE_LOB);
    EXPECT_EQ(session.fetch(locking), OCI_SUCCESS) << "into a locator that was freed";
    EXPECT_EQ(write(lob, 1, "z"), 0);
    EXPECT_EQ(stored(), ";416263;7A");
    EXPECT_EQ(session.run("DELETE FROM t WHERE id = 2"), "");
    EXPECT_EQ(write(lob, 1, "zz"), 22922);
    session.rollback();
    EXPECT_EQ(write(lob, 1, "z"), 22920) << "the lock has gone";
    EXPECT_EQ(stored(), "6162;");
}

TEST_F(ClientLobs, writtenInPiecesAreStoredBeforeAnythingElseHappens) {
    OCILobLocator* lob = temporary("");
    select("SELECT b FROM t WHERE id = 1 FOR UPDATE", lob);
    for (const ub4 offset : {3U, 5U, 7U}) EXPECT_EQ(write(lob, offset, "cd"), 0);
    OCIDescriptorFree(lob, OCI_DTYPE_LOB);
    EXPECT_EQ(stored(), "6162636463646364;") << "though its locator is gone";
    session.run("SAVEPOINT before");
    OCILobLocator* again = temporary("");
    select("SELECT b FROM t WHERE id = 1 FOR UPDATE", again);
    EXPECT_EQ(write(again, 9, "ef"), 0);
    EXPECT_EQ(session.run("ROLLBACK TO before"), "");
    EXPECT_EQ(stored(), "6162636463646364;") << "undone with what was run before";
}

TEST_F(ClientLobs, ofNullReferToNothing) {
    session.run("UPDATE t SET b = NULL");
    OCILobLocator* lob = temporary("x");
    select("SELECT b FROM t", lob);
    EXPECT_EQ(indicator, -1);
    EXPECT_EQ(read(lob), "ORA-22275");
}

} // namespace
