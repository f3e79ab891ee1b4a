#include <array>
#include <atomic>
#include <functional>
#include <thread>
#include <vector>

#include "dtk/oracle/_DTK_ConnectionPool.h"
#include "tests/fixture.h"
#include "tests/interpose.h"

namespace {

using dtk::Connection;
using dtk::Pool;

constexpr int threadCount = 16;
constexpr int sessionCount = 4;
constexpr int rounds = 40;

/// Runs the work on sixteen threads at once; what it throws on one of them becomes a failure of the test.
void onThreads(const std::function<void(int)>& work) {
    std::vector<std::thread> threads;
    for (int number = 0; number < threadCount; ++number)
        threads.emplace_back([&work, number] { EXPECT_EQ(thrown([&] { work(number); }), "") << "thread " << number; });
    for (std::thread& thread : threads) thread.join();
}

/// Every other hand-out is a timed one; when it comes too early, a waiting one follows it.
Connection borrow(DTK_ConnectionPoolBase& pool, int round) {
    if (round % 2 == 0) {
        try {
            return Connection(pool.mb_getConnection(true));
        } catch (DTK_Exception& error) {
            EXPECT_EQ(error.mb_getErrorCode(), 3);
        }
    }
    return Connection(pool.mb_getConnection(false));
}

/// Adds the row of a worker's round, which must find the rows of the rounds before.
void addRow(DTK_ConnectionBase& connection, int worker, int round) {
    const dtk::Statement insert = dtk::prepare(connection, "INSERT INTO work VALUES (:1, :2)");
    insert->mb_setInt(1, worker);
    insert->mb_setInt(2, round);
    insert->mb_executeUpdate();
    const std::string own = "SELECT TO_CHAR(COUNT(*)) FROM work WHERE worker = " + std::to_string(worker);
    EXPECT_EQ(World::value(connection, own), std::to_string(round + 1));
    connection.mb_commit();
}

class Threads : public testing::Test {
  protected:
    void SetUp() override {
        const Connection connection(keeper->mb_getConnection(true));
        support::drop_table(*connection, "work");
        dtk::execute(*connection, "CREATE TABLE work (worker NUMBER(9), round NUMBER(9))");
        interpose::reset();
    }

    Account account;
    Pool keeper = account.pool(1, 1);
};

class PooledThreads : public Threads, public testing::WithParamInterface<int> {};

TEST_P(PooledThreads, NeverHoldMoreThanThereAre) {
    std::vector<Pool> pools;
    while (pools.size() < static_cast<std::size_t>(GetParam())) pools.push_back(account.pool(2, sessionCount));
    std::array<std::atomic<int>, 2> out{};
    onThreads([&](int worker) {
        const std::size_t chosen = static_cast<std::size_t>(worker) % pools.size();
        for (int round = 0; round < rounds; ++round) {
            const Connection connection = borrow(*pools[chosen], round);
            EXPECT_LE(++out[chosen], sessionCount);
            addRow(*connection, worker, round);
            --out[chosen];
            if (round % 3 == 0) pools[chosen]->mb_returnConnection(connection.get());
        }
    });
    const Connection looker(keeper->mb_getConnection(true));
    EXPECT_EQ(World::value(*looker, "SELECT TO_CHAR(COUNT(*)) FROM work"), std::to_string(threadCount * rounds));
    for (const Pool& pool : pools) {
        std::vector<Connection> all;
        for (int i = 0; i < sessionCount; ++i) EXPECT_TRUE(all.emplace_back(pool->mb_getConnection(true))->mb_ping());
        EXPECT_EQ(thrown([&] { all.emplace_back(pool->mb_getConnection(true)); }), noPermit);
    }
    EXPECT_EQ(interpose::calls("OCILogon2").size(), pools.size() * sessionCount);
}

INSTANTIATE_TEST_SUITE_P(OfPools, PooledThreads, testing::Values(1, 2));

TEST_F(Threads, FindEveryPermitAgainAfterAnyMixOfReconnects) {
    constexpr int maximum = 3, borrowers = 6, borrowings = 10, reconnects = 4;
    interpose::on("OCILogon2", [](const auto&) {
        std::this_thread::yield(); // so that others come in the way of a lazy logon
        return std::nullopt;
    });
    for (int round = 0; round < 12; ++round) {
        SCOPED_TRACE(round);
        Pool pool = account.pool(round % (maximum + 1), maximum);
        const auto work = [&](int worker) {
            for (int i = 0; i < borrowings; ++i) {
                const Connection connection = borrow(*pool, i + worker);
                EXPECT_TRUE(connection->mb_ping()) << "handed out without a session";
                if (i % 3 == 0) pool->mb_returnConnection(connection.get());
            }
        };
        std::vector<std::thread> threads;
        for (int worker = 0; worker < borrowers; ++worker)
            threads.emplace_back([&, worker] { EXPECT_EQ(thrown([&] { work(worker); }), ""); });
        for (int generation = 0; generation < reconnects; ++generation) {
            pool->mb_reConnect(generation);
            if (generation % 2 != round % 2) continue; // two in a row
            const Connection waited(pool->mb_getConnection(false));
        }
        for (std::thread& thread : threads) thread.join();
        std::vector<Connection> all;
        all.emplace_back(pool->mb_getConnection(false)); // waits for the last reconnect
        EXPECT_EQ(thrown([&] {
                      while (all.size() <= maximum)
                          EXPECT_TRUE(all.emplace_back(pool->mb_getConnection(true))->mb_ping());
                  }),
                  noPermit);
        EXPECT_EQ(all.size(), unsigned{maximum});
        all.clear();
        const std::string deletion = thrown([&] { delete pool.release(); });
        if (!deletion.empty()) _DTK_ConnectionPool::mb_closeEnvironment(); // idle sessions of both generations
    }
}

TEST_F(Threads, ReadTheErrorOfTheirOwnStatement) {
    if (account.database.mb_subStr(0, 7).c_str() != std::string("memory:"))
        GTEST_SKIP() << "only the embedded client keeps the errors of the one error handle apart";
    const std::pair<const char*, const char*> failures[] = {
        {"SELECT 1 FROM missing", "DTK ORA-00942"},
        {"SELECT missing FROM work", "DTK ORA-00904"},
        {"INSERT INTO work VALUES (1)", "DTK ORA-00947"},
        {"SELECT 1 FROM DUAL", ""},
        {"INSERT INTO work VALUES ('x', 1)", "DTK ORA-01722"},
    };
    const Pool wide = account.pool(threadCount, threadCount);
    onThreads([&](int number) {
        const Connection connection(wide->mb_getConnection(true));
        const auto& failure = failures[static_cast<std::size_t>(number) % std::size(failures)];
        for (int round = 0; round < rounds; ++round) {
            EXPECT_EQ(thrown([&] { dtk::execute(*connection, failure.first); }), failure.second) << failure.first;
            connection->mb_rollback();
        }
    });
}

} // namespace
