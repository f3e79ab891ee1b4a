#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <fstream>
#include <functional>
#include <thread>
#include <vector>

#include <oci.h>
#include <semaphore.h>
#include <unistd.h>

#include "dtk/oracle/_DTK_ConnectionPool.h"
#include "tests/fixture.h"

namespace {

using dtk::Connection;
using dtk::Pool;

constexpr auto uninitialized = "DTK 201 Uninitialized _DTK_Connection Object";

std::size_t callsOf(std::string_view function) {
    return interpose::calls(function).size();
}

std::size_t environmentFrees() {
    std::size_t count = 0;
    for (const auto& call : interpose::calls("OCIHandleFree")) count += call.argument<ub4>(1) == OCI_HTYPE_ENV;
    return count;
}

Connection handOut(DTK_ConnectionPoolBase& pool) {
    return Connection(pool.mb_getConnection(true));
}

/// The session of a connection, as OCI sees it.
void* sessionOf(DTK_ConnectionBase& connection) {
    EXPECT_TRUE(connection.mb_ping());
    return interpose::calls("OCIPing").back().argument<void*>(0);
}

class ConnectionPool : public testing::Test {
  protected:
    ~ConnectionPool() override { interpose::reset(); }

    Account account;
};

TEST_F(ConnectionPool, LogsOnWhenSessionsAreNeededAndHandsThemOutInTurn) {
    const Pool pool = account.pool(2, 5);
    const auto logons = interpose::calls("OCILogon2");
    ASSERT_EQ(logons.size(), 2u);
    EXPECT_EQ(logons[0].argument<ub4>(4), account.user.mb_length());
    EXPECT_EQ(logons[0].argument<ub4>(6), account.password.mb_length());
    EXPECT_EQ(logons[0].argument<ub4>(8), account.database.mb_length());
    EXPECT_EQ(logons[0].argument<ub4>(9), ub4{OCI_DEFAULT});
    Connection first = handOut(*pool), second = handOut(*pool);
    void* const firstSession = sessionOf(*first);
    void* const secondSession = sessionOf(*second);
    EXPECT_EQ(callsOf("OCILogon2"), 2u);
    const Connection third = handOut(*pool);
    EXPECT_EQ(callsOf("OCILogon2"), 3u);
    second.reset();
    first.reset();
    EXPECT_EQ(sessionOf(*(first = handOut(*pool))), secondSession);
    EXPECT_EQ(sessionOf(*(second = handOut(*pool))), firstSession);
    EXPECT_EQ(callsOf("OCILogon2"), 3u);
}

TEST_F(ConnectionPool, TimedHandOutFailsOverTheMaximumUntilOneComesBack) {
    const Pool pool = account.pool(0, 3);
    std::vector<Connection> connections;
    for (int i = 0; i < 3; ++i) connections.push_back(handOut(*pool));
    EXPECT_EQ(thrown([&] { handOut(*pool); }), noPermit);
    connections.pop_back();
    connections.push_back(handOut(*pool));
    EXPECT_EQ(thrown([&] { handOut(*pool); }), noPermit);
    EXPECT_EQ(thrown([&] { handOut(*account.pool(0, 0)); }), noPermit);
}

TEST_F(ConnectionPool, PoolsShareOneEnvironmentThatEndsWithTheLast) {
    Pool first = account.pool(1, 1), second = account.pool(1, 1);
    EXPECT_EQ(callsOf("OCIEnvCreate"), 1u);
    EXPECT_EQ(interpose::calls("OCIEnvCreate")[0].argument<ub4>(1), ub4{OCI_THREADED | OCI_OBJECT});
    first.reset();
    EXPECT_EQ(callsOf("OCILogoff"), 1u);
    EXPECT_EQ(environmentFrees(), 0u);
    EXPECT_TRUE(handOut(*second)->mb_ping());
    second.reset();
    EXPECT_EQ(environmentFrees(), 1u);
    Pool(gb_getConnectionPool()).reset();
    EXPECT_EQ(callsOf("OCIEnvCreate"), 2u);
    EXPECT_EQ(environmentFrees(), 2u);
}

TEST_F(ConnectionPool, DeletedWithASessionOutLeavesSessionsAndEnvironment) {
    static DTK_ConnectionBase* volatile stranded; // its pool is gone, so nothing may be done with it any more
    Pool pool = account.pool(2, 2);
    stranded = pool->mb_getConnection(true);
    EXPECT_TRUE(stranded->mb_ping());
    EXPECT_EQ(thrown([&] { delete pool.release(); }), stillOpen);
    EXPECT_EQ(callsOf("OCILogoff"), 0u);
    EXPECT_EQ(environmentFrees(), 0u);
    _DTK_ConnectionPool::mb_closeEnvironment();
    EXPECT_EQ(environmentFrees(), 1u);
}

struct LogonRow {
    const char* name;
    DTK_String user, password, database; ///< empty: that of the account
    const char* refusal;
};

class Logon : public ConnectionPool, public testing::WithParamInterface<LogonRow> {};

TEST_P(Logon, RefusedLeavesThePoolEmptyAndReadyForAnother) {
    const auto& [name, user, password, database, refusal] = GetParam();
    const Pool keeper = account.pool(1, 1);
    const auto given = [](const DTK_String& text, const DTK_String& otherwise) {
        return *text.c_str() ? text : otherwise;
    };
    const DTK_String texts[] = {given(user, account.user), given(password, account.password),
                                given(database, account.database)};
    for (const bool again : {false, true}) {
        Pool pool(gb_getConnectionPool());
        interpose::reset();
        EXPECT_EQ(thrown([&] { pool->mb_create(texts[0], texts[1], texts[2], 2, 2, "", "", 0); }), refusal);
        EXPECT_EQ(callsOf("OCILogon2"), refusal[4] == 'O' ? 1u : 0u);
        EXPECT_EQ(thrown([&] { handOut(*pool); }), noPermit);
        if (again) {
            pool->mb_create(account.user, account.password, account.database, 1, 1, "", "", 0);
            EXPECT_TRUE(handOut(*pool)->mb_ping());
        }
        EXPECT_EQ(thrown([&] { delete pool.release(); }), "");
    }
}

const std::string limit(64, 'x');
constexpr auto notTried = "DTK 500 Error Calling OCILogon2 ";

INSTANTIATE_TEST_SUITE_P(With, Logon,
                         testing::Values(LogonRow{"wrong_password", "", "wrong", "", "DTK ORA-01017"},
                                         LogonRow{"unknown_user", "nobody", "", "", "DTK ORA-01017"},
                                         LogonRow{"longest_user", limit.substr(1), "", "", "DTK ORA-01017"},
                                         LogonRow{"too_long_user", limit, "", "", notTried},
                                         LogonRow{"too_long_password", "", limit, "", notTried},
                                         LogonRow{"unknown_database", "", "", "no_such_service", "DTK ORA-12154"},
                                         LogonRow{"too_long_database", "", "", limit, notTried}),
                         rowName);

TEST_F(ConnectionPool, RefusedLazyLogonGivesThePermitBack) {
    const Pool pool = account.pool(1, 2);
    const Connection connection = handOut(*pool);
    EXPECT_EQ(thrown([&] { connection->mb_changePassword(account.user, "wrong", "new1"); }), "ORCL ORA-01017");
    EXPECT_FALSE(connection->mb_changePassword(account.user, account.password, "new1"));
    for (int i = 0; i < 3; ++i) EXPECT_EQ(thrown([&] { handOut(*pool); }), "ORCL ORA-01017");
    EXPECT_FALSE(connection->mb_changePassword(account.user, "new1", account.password));
    EXPECT_TRUE(handOut(*pool)->mb_ping());
}

TEST_F(ConnectionPool, ReconnectDuringARefusedLazyLogonKeepsTheMaximum) {
    const Pool pool = account.pool(0, 2);
    interpose::on("OCILogon2", [&](const auto&) {
        interpose::reset();
        pool->mb_reConnect(0); // its thread waits for the queue that this hand-out has locked
        return OCI_ERROR;
    });
    EXPECT_NE(thrown([&] { handOut(*pool); }), "");
    const Connection first(pool->mb_getConnection(false)), second = handOut(*pool);
    EXPECT_EQ(thrown([&] { handOut(*pool); }), noPermit);
}

TEST_F(ConnectionPool, ReconnectDuringALazyLogonLeavesItsSessionBehind) {
    const Pool pool = account.pool(0, 2);
    interpose::on("OCILogon2", [&](const auto& call) {
        interpose::reset();
        const int status = call.pass();
        pool->mb_reConnect(0);
        return status;
    });
    Connection early = handOut(*pool);
    EXPECT_TRUE(early->mb_ping());
    std::vector<Connection> all;
    while (all.size() < 2) EXPECT_TRUE(all.emplace_back(pool->mb_getConnection(false))->mb_ping());
    early.reset();
    EXPECT_EQ(thrown([&] { handOut(*pool); }), noPermit) << "it belongs to the generation before";
    EXPECT_EQ(callsOf("OCILogoff"), 1u);
}

TEST_F(ConnectionPool, SignalDoesNotEndAWaitingHandOut) {
    const Pool pool = account.pool(1, 1);
    Connection only = handOut(*pool);
    int waits = 0;
    interpose::on("sem_wait", [&](const interpose::Call& call) {
        if (++waits == 3) only.reset();
        if (waits == 3) return call.pass();
        errno = EINTR;
        return -1;
    });
    const Connection next(pool->mb_getConnection(false));
    EXPECT_TRUE(next->mb_ping());
    EXPECT_EQ(waits, 3);
    EXPECT_EQ(thrown([&] { handOut(*pool); }), noPermit);
}

// The session that comes back while mb_reConnect takes the permits away is still one of the generation before.
TEST_F(ConnectionPool, PermitGivenBackWhileAReconnectBeginsIsTakenBackToo) {
    const Pool pool = account.pool(1, 1);
    Connection late = handOut(*pool);
    interpose::on("sem_trywait", [&](const interpose::Call& call) {
        const int status = call.pass();
        if (status != 0) late.reset();
        return status;
    });
    std::string whileAway = "no pause";
    interpose::on("OCILogon2", [](const auto&) { return OCI_ERROR; });
    interpose::on("sleep", [&](const auto&) {
        whileAway = thrown([&] { handOut(*pool); });
        interpose::reset();
        return 0;
    });
    pool->mb_reConnect(0);
    const Connection waited(pool->mb_getConnection(false));
    EXPECT_EQ(whileAway, noPermit);
}

// A permit that a thread took before a reconnect stands for none of the new sessions.
TEST_F(ConnectionPool, HandOutThatAReconnectOvertakesWaitsForANewPermit) {
    const Pool pool = account.pool(1, 1);
    Connection first;
    interpose::on("sem_trywait", [&](const interpose::Call& call) {
        interpose::reset();
        const int status = call.pass();
        pool->mb_reConnect(0);
        first.reset(pool->mb_getConnection(false));
        interpose::on("sem_wait", [&](const auto&) {
            first.reset();
            return std::nullopt;
        });
        return status;
    });
    const Connection overtaken(pool->mb_getConnection(false));
    EXPECT_TRUE(overtaken->mb_ping());
    EXPECT_FALSE(first);
}

TEST_F(ConnectionPool, SecondOfTwoReconnectsInARowReplacesWhatTheFirstHasLoggedOn) {
    Pool pool = account.pool(0, 1);
    interpose::on("OCILogon2", [&](const auto&) {
        interpose::reset();
        for (const int generation : {0, 1}) pool->mb_reConnect(generation); // both wait for the queue
        return std::nullopt;
    });
    Connection early = handOut(*pool);
    EXPECT_TRUE(Connection(pool->mb_getConnection(false))->mb_ping());
    early.reset();
    EXPECT_EQ(thrown([&] { delete pool.release(); }), "");
    EXPECT_EQ(callsOf("OCILogoff"), 3u); // of the early one, of the first reconnect's, and with the pool
}

/// Waits until the thread waits for something itself.
void awaitWait(const std::atomic<pid_t>& thread) {
    std::string state;
    for (std::string ignored; state != "S"; std::this_thread::yield())
        std::ifstream("/proc/self/task/" + std::to_string(thread) + "/stat") >> ignored >> ignored >> state;
}

TEST_F(ConnectionPool, SessionsThatAReconnectOvertakesOnTheirWayBackAreLoggedOff) {
    Pool pool = account.pool(2, 3);
    std::vector<Connection> late;
    std::vector<std::thread> returns;
    while (late.size() < 2) late.push_back(handOut(*pool));
    interpose::on("OCILogon2", [&](const auto&) { // of a hand-out, which has locked the queue
        interpose::reset();
        std::array<std::atomic<pid_t>, 2> threads{};
        for (std::size_t i = 0; i < 2; ++i) {
            returns.emplace_back([&, i] {
                threads[i] = gettid();
                late[i].reset();
            });
            while (threads[i] == 0) std::this_thread::yield();
            awaitWait(threads[i]);
        }
        pool->mb_reConnect(0);
        return std::nullopt;
    });
    Connection early = handOut(*pool);
    for (std::thread& thread : returns) thread.join();
    early.reset();
    std::vector<Connection> fresh;
    while (fresh.size() < 3) EXPECT_TRUE(fresh.emplace_back(pool->mb_getConnection(false))->mb_ping());
    EXPECT_EQ(thrown([&] { handOut(*pool); }), noPermit);
    fresh.clear();
    EXPECT_EQ(thrown([&] { delete pool.release(); }), "");
    EXPECT_EQ(callsOf("OCILogoff"), 6u);
}

TEST_F(ConnectionPool, ReconnectAfterOneWhoseThreadDidNotStartDrainsTwice) {
    Pool pool = account.pool(5, 5);
    interpose::on("pthread_create", [](const auto&) { return EAGAIN; });
    EXPECT_EQ(thrown([&] { pool->mb_reConnect(0); }), "DTK 500 Error in creating thread for reconnect");
    EXPECT_EQ(thrown([&] { handOut(*pool); }), noPermit);
    interpose::reset();
    pool->mb_reConnect(1);
    EXPECT_TRUE(Connection(pool->mb_getConnection(false))->mb_ping());
    EXPECT_EQ(thrown([&] { delete pool.release(); }), stillOpen); // one has stayed beside the five new ones
    EXPECT_EQ(callsOf("OCILogoff"), 4u);                          // 3 of 5, and 1 of 2
    _DTK_ConnectionPool::mb_closeEnvironment();
}

TEST_F(ConnectionPool, SessionOfAnEarlierGenerationComesBackWithoutWaitingForTheReconnect) {
    const Pool pool = account.pool(1, 1);
    Connection old = handOut(*pool);
    interpose::on("OCILogon2", [](const auto&) { return OCI_ERROR; });
    interpose::on("sleep", [&](const auto&) { // on the thread that holds the queue
        old.reset();
        interpose::reset();
        return 0;
    });
    pool->mb_reConnect(0);
    EXPECT_TRUE(Connection(pool->mb_getConnection(false))->mb_ping());
    EXPECT_FALSE(old);
}

/// What a pool's semaphore holds is what may still be handed out, also after what comes in between.
class Permits : public ConnectionPool {
  protected:
    Permits() {
        interpose::on("sem_trywait", [this](const interpose::Call& call) {
            semaphore = call.argument<sem_t*>(0);
            return std::nullopt;
        });
        out.reset(pool->mb_getConnection(false));
        interpose::reset();
    }

    int left() const {
        int value = -1;
        sem_getvalue(semaphore, &value);
        return value;
    }

    /// The next hand-out is woken by a signal and not by a permit.
    static void interrupt() {
        interpose::on("sem_trywait", [](const auto&) {
            errno = EAGAIN;
            return -1;
        });
        interpose::on("sem_wait", [](const auto&) {
            for (const char* function : {"sem_trywait", "sem_wait"})
                interpose::on(function, [](const auto&) { return std::nullopt; });
            errno = EINTR;
            return -1;
        });
    }

    Pool pool = account.pool(1, 4);
    Connection out;
    sem_t* semaphore = nullptr;
};

TEST_F(Permits, CountDownWithAHandOutThatASignalWakes) {
    EXPECT_EQ(left(), 3);
    interrupt();
    const Connection woken(pool->mb_getConnection(false));
    EXPECT_EQ(left(), 2);
    out.reset();
    EXPECT_EQ(left(), 3);
}

TEST_F(Permits, StayWhenALogonIsRefused) {
    interpose::on("OCILogon2", [](const auto&) { return OCI_ERROR; });
    EXPECT_NE(thrown([&] { handOut(*pool); }), "");
    EXPECT_EQ(left(), 3);
    interrupt();
    EXPECT_NE(thrown([&] { Connection(pool->mb_getConnection(false)); }), "");
    EXPECT_EQ(left(), 3) << "a signal had woken it";
}

TEST_F(Permits, AreGoneFromTheReconnectOnUntilItHasLoggedOn) {
    interpose::on("pthread_create", [](const auto&) { return EAGAIN; });
    EXPECT_NE(thrown([&] { pool->mb_reConnect(0); }), "");
    EXPECT_EQ(left(), 0);
    interpose::reset();
    pool->mb_reConnect(1);
    const Connection waited(pool->mb_getConnection(false));
    EXPECT_EQ(left(), 3);
}

TEST_F(Permits, AreGoneAlsoWhenALogonIsRefusedMeanwhile) {
    interpose::on("pthread_create", [](const auto&) { return EAGAIN; });
    interpose::on("OCILogon2", [&](const auto&) {
        EXPECT_NE(thrown([&] { pool->mb_reConnect(0); }), "");
        return OCI_ERROR;
    });
    EXPECT_NE(thrown([&] { handOut(*pool); }), "");
    EXPECT_EQ(left(), 0);
}

TEST_F(ConnectionPool, DeletedSoonAfterAReconnectHasAllItsSessions) {
    for (int round = 0; round < 20; ++round) {
        Pool pool = account.pool(1, 1);
        pool->mb_reConnect(0);
        EXPECT_EQ(thrown([&] { delete pool.release(); }), "") << round;
    }
}

// As a server answers while a password is about to expire: the logon is refused, although there is a session.
TEST_F(ConnectionPool, LogonWithAWarningLeavesNoSessionOnTheServer) {
    const Pool pool = account.pool(1, 2);
    Pool refused(gb_getConnectionPool());
    const Connection first = handOut(*pool);
    const auto warn = [](std::size_t warnings) {
        interpose::reset();
        interpose::on("sleep", [](const auto&) { return 0; });
        interpose::on("OCILogon2", [warnings](const interpose::Call& call) {
            const int status = call.pass();
            return callsOf("OCILogon2") <= warnings ? int{OCI_SUCCESS_WITH_INFO} : status;
        });
    };
    const auto untilLogoff = [](std::string_view function) { // the position of the first one among all calls
        const auto calls = interpose::calls();
        return std::find_if(calls.begin(), calls.end(), [&](auto& call) { return call.function == function; }) -
               calls.begin();
    };
    warn(1);
    const auto create = [&] { refused->mb_create(account.user, account.password, account.database, 1, 1, "", "", 0); };
    EXPECT_EQ(thrown(create).substr(0, 3), "DTK");
    EXPECT_EQ(callsOf("OCILogoff"), 1u);
    EXPECT_LT(untilLogoff("OCIErrorGet"), untilLogoff("OCILogoff")) << "a logoff overwrites the error";
    warn(1);
    EXPECT_EQ(thrown([&] { handOut(*pool); }).substr(0, 4), "ORCL");
    EXPECT_EQ(callsOf("OCILogoff"), 1u);
    EXPECT_LT(untilLogoff("OCIErrorGet"), untilLogoff("OCILogoff"));
    warn(3);
    pool->mb_reConnect(0);
    EXPECT_TRUE(Connection(pool->mb_getConnection(false))->mb_ping());
    EXPECT_EQ(callsOf("OCILogoff"), 3u);
    EXPECT_EQ(callsOf("sleep"), 3u);
}

TEST_F(ConnectionPool, PingTellsByItsResultAloneAndTakesTheErrorAway) {
    const Pool pool = account.pool(1, 1);
    const Connection connection = handOut(*pool);
    for (const int status : {OCI_SUCCESS, OCI_SUCCESS_WITH_INFO, OCI_ERROR}) {
        interpose::reset();
        interpose::on("OCIPing", [&](const auto&) { return status; });
        EXPECT_EQ(connection->mb_ping(), status == OCI_SUCCESS);
        EXPECT_EQ(called(), "OCIPing OCIErrorGet");
        EXPECT_EQ(interpose::calls()[1].argument<ub4>(6), ub4{OCI_HTYPE_ERROR});
    }
}

class Sessionless : public ConnectionPool, public testing::WithParamInterface<bool> {};

TEST_P(Sessionless, ConnectionRefusesWorkButMayBeReturnedAndDeleted) {
    const bool returned = GetParam(); // or handed out over the limit
    const Pool pool = account.pool(0, 1);
    if (!returned) pool->mb_create(account.user, account.password, account.database, 0, 0, "", "", 0);
    Connection connection = handOut(*pool);
    if (returned) pool->mb_returnConnection(connection.get());
    interpose::reset();
    EXPECT_EQ(thrown([&] { connection->mb_createStatement("SELECT 1 FROM DUAL"); }), uninitialized);
    EXPECT_EQ(thrown([&] { connection->mb_terminateStatement(nullptr); }), uninitialized);
    EXPECT_EQ(thrown([&] { connection->mb_commit(); }), uninitialized);
    EXPECT_EQ(thrown([&] { connection->mb_rollback(); }), uninitialized);
    EXPECT_EQ(thrown([&] { connection->mb_changePassword("a", "b", "c"); }), uninitialized);
    EXPECT_EQ(thrown([&] { connection->mb_flushCache(); }), uninitialized);
    EXPECT_FALSE(connection->mb_ping());
    connection->mb_setAutoCommit(true);
    EXPECT_TRUE(pool->mb_returnConnection(connection.get()));
    connection.reset();
    EXPECT_TRUE(interpose::calls().empty());
    if (returned) connection = handOut(*pool);
    EXPECT_EQ(thrown([&] { handOut(*pool); }), noPermit) << "a second return adds no permit";
}

INSTANTIATE_TEST_SUITE_P(Returned, Sessionless, testing::Bool());

struct EndRow {
    const char* name;
    std::function<void(Connection&)> end;
    const char* seenByOthers;
    const char* seenByTheSession; ///< in its next hand-out
};

class Transaction : public testing::TestWithParam<EndRow> {};

TEST_P(Transaction, EndsAsAskedFor) {
    World world;
    world.table("t", "n NUMBER(9)");
    world.execute("INSERT INTO t VALUES (1)");
    const auto* count = "SELECT TO_CHAR(COUNT(*)) FROM t";
    EXPECT_EQ(World::value(*world.other, count), "0");
    GetParam().end(world.connection);
    EXPECT_EQ(World::value(*world.other, count), GetParam().seenByOthers);
    world.connection.reset();
    world.connection = handOut(*world.pool);
    EXPECT_EQ(world.value(count), GetParam().seenByTheSession);
}

const EndRow ends[] = {
    {"committed", [](auto& connection) { EXPECT_FALSE(connection->mb_commit()); }, "1", "1"},
    {"rolled_back", [](auto& connection) { EXPECT_FALSE(connection->mb_rollback()); }, "0", "0"},
    {"returned_open", [](auto& connection) { connection.reset(); }, "0", "1"},
    {"returned_with_auto_commit",
     [](auto& connection) {
         connection->mb_setAutoCommit(true);
         connection.reset();
     },
     "1", "1"},
};

INSTANTIATE_TEST_SUITE_P(Is, Transaction, testing::ValuesIn(ends), rowName);

struct GenerationRow {
    const char* name;
    unsigned int sessions, out; ///< before the reconnect
    std::size_t drained;
    const char* deleted; ///< what deleting the pool then says: half of its idle sessions have stayed
};

class Generation : public ConnectionPool, public testing::WithParamInterface<GenerationRow> {};

TEST_P(Generation, ReplacesTheSessions) {
    const GenerationRow& row = GetParam();
    Pool pool = account.pool(row.sessions, row.sessions);
    std::vector<Connection> old, fresh;
    while (old.size() < row.out) old.push_back(handOut(*pool));
    interpose::reset();
    pool->mb_reConnect(1);
    EXPECT_TRUE(interpose::calls().empty());
    pool->mb_reConnect(0);
    pool->mb_reConnect(0);
    fresh.emplace_back(pool->mb_getConnection(false)); // waits for the reconnect
    while (fresh.size() < row.sessions) fresh.push_back(handOut(*pool));
    EXPECT_EQ(thrown([&] { handOut(*pool); }), noPermit);
    EXPECT_EQ(callsOf("OCILogon2"), row.sessions);
    old.clear();
    EXPECT_EQ(thrown([&] { handOut(*pool); }), noPermit) << "a session of an earlier generation gives no permit back";
    for (const Connection& connection : fresh) EXPECT_TRUE(connection->mb_ping());
    fresh.clear();
    EXPECT_EQ(thrown([&] { delete pool.release(); }), row.deleted); // the reconnect's thread has ended then
    EXPECT_EQ(callsOf("OCILogoff"), row.drained + row.out + (*row.deleted ? 0 : row.sessions));
    if (*row.deleted) _DTK_ConnectionPool::mb_closeEnvironment();
}

INSTANTIATE_TEST_SUITE_P(With, Generation,
                         testing::Values(GenerationRow{"one_idle", 1, 0, 1, ""},
                                         GenerationRow{"one_idle_of_four", 4, 3, 1, ""},
                                         GenerationRow{"all_out", 2, 2, 0, ""},
                                         GenerationRow{"four_idle", 4, 0, 2, stillOpen},
                                         GenerationRow{"five_idle", 5, 0, 3, stillOpen}),
                         rowName);

} // namespace
