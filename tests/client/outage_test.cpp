#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <latch>
#include <thread>
#include <vector>

#include "dtk/oracle/_DTK_ConnectionPool.h"
#include "tests/fixture.h"
#include "tests/interpose.h"

namespace {

using dtk::Connection;
using dtk::Pool;

/// A database whose file goes away and comes back. The pause between two attempts to reconnect takes no time: the test
/// decides what happens in it.
class Outage : public testing::Test {
  protected:
    Outage() {
        account.database = file;
        pool = account.pool(4, 4);
        dtk::execute(*handOut(), "CREATE TABLE work (worker NUMBER(9), item NUMBER(9))");
    }
    ~Outage() override {
        interpose::reset();
        std::filesystem::remove_all(folder);
    }

    Connection handOut() const { return Connection(pool->mb_getConnection(true)); }

    void goAway() const { std::filesystem::rename(file, file + ".away"); }
    void comeBack() const { std::filesystem::rename(file + ".away", file); }

    /// @param act  gets the number of the pause, from 1 on, on the thread that reconnects
    static void inPauses(std::function<void(std::size_t)> act) {
        interpose::on("sleep", [act = std::move(act)](const interpose::Call& call) {
            EXPECT_EQ(call.argument<unsigned int>(0), 60u);
            act(interpose::calls("sleep").size());
            return 0;
        });
    }

    static std::string freshFolder() {
        std::string pattern = std::filesystem::temp_directory_path() / "dtk-outage-XXXXXX";
        return mkdtemp(pattern.data());
    }

    const std::string folder = freshFolder();
    const std::string file = folder + "/work.db";
    Account account;
    Pool pool;
};

TEST_F(Outage, CostsWorkersNothingButTime) {
    constexpr int workers = 8, items = 30, sessions = 4;
    std::atomic<int> holders = 0, failures = 0, generation = 0;
    std::latch gone(1);
    // Half-way every session is in use, so that each of them notices.
    const auto awaitOutage = [&] {
        if (++holders < sessions) return gone.wait();
        goAway();
        gone.count_down();
    };
    const auto insert = [](DTK_ConnectionBase& connection, int worker, int item) {
        const dtk::Statement statement = dtk::prepare(connection, "INSERT INTO work VALUES (:1, :2)");
        statement->mb_setInt(1, worker);
        statement->mb_setInt(2, item);
        statement->mb_executeUpdate();
        connection.mb_commit();
    };
    const auto work = [&](int worker) {
        for (int item = 0; item < items;) {
            const int seen = generation;
            const Connection connection(pool->mb_getConnection(false));
            if (item == items / 2 && !gone.try_wait()) awaitOutage();
            const std::string failure = thrown([&] { insert(*connection, worker, item); });
            if (failure.empty()) {
                ++item;
                continue;
            }
            EXPECT_EQ(failure, "DTK ORA-03114");
            EXPECT_FALSE(connection->mb_ping());
            pool->mb_reConnect(seen); // the pool acts on the first one of a generation alone
            int uncounted = seen;
            generation.compare_exchange_strong(uncounted, seen + 1);
            ++failures;
            failures.notify_all();
        }
    };
    inPauses([&](std::size_t pause) {
        EXPECT_EQ(thrown([&] { handOut(); }), noPermit);
        for (int seen = failures; seen < sessions; seen = failures) failures.wait(seen);
        if (pause == 3) comeBack();
    });
    std::vector<std::thread> threads;
    for (int worker = 0; worker < workers; ++worker)
        threads.emplace_back([&, worker] { EXPECT_EQ(thrown([&] { work(worker); }), "") << worker; });
    for (std::thread& thread : threads) thread.join();

    EXPECT_EQ(failures, sessions);
    EXPECT_EQ(generation, 1);
    EXPECT_EQ(interpose::calls("sleep").size(), 3u);
    const std::string everyItem = std::to_string(workers * items);
    EXPECT_EQ(World::value(*handOut(), "SELECT TO_CHAR(COUNT(*)) FROM work"), everyItem);
    EXPECT_EQ(World::value(*handOut(), "SELECT TO_CHAR(COUNT(DISTINCT worker * 100 + item)) FROM work"), everyItem);
    std::vector<Connection> all;
    for (int i = 0; i < sessions; ++i) EXPECT_TRUE(all.emplace_back(handOut())->mb_ping());
    EXPECT_EQ(thrown([&] { handOut(); }), noPermit);
    all.clear();
    EXPECT_EQ(thrown([&] { delete pool.release(); }), "");
}

TEST_F(Outage, LeavesDeadSessionsThatFurtherReconnectsReplace) {
    goAway();
    EXPECT_EQ(thrown([&] { account.pool(1, 1); }), "DTK ORA-01034");
    {
        std::vector<Connection> all;
        for (int i = 0; i < 4; ++i) EXPECT_FALSE(all.emplace_back(handOut())->mb_ping());
        EXPECT_EQ(thrown([&] { all[0]->mb_commit(); }), "ORCL ORA-03114");
    }
    comeBack();
    pool->mb_reConnect(0);
    Connection connection(pool->mb_getConnection(false));
    EXPECT_FALSE(connection->mb_ping()) << "two of the four idle sessions stay, in front of the new ones";
    pool->mb_reConnect(1);
    connection.reset();
    connection.reset(pool->mb_getConnection(false));
    EXPECT_TRUE(connection->mb_ping());
    connection.reset();
    std::vector<Connection> all;
    for (int i = 0; i < 4; ++i) EXPECT_TRUE(all.emplace_back(handOut())->mb_ping());
    EXPECT_EQ(thrown([&] { handOut(); }), noPermit);
    all.clear();
    EXPECT_EQ(thrown([&] { delete pool.release(); }), stillOpen);
    _DTK_ConnectionPool::mb_closeEnvironment();
}

TEST_F(Outage, PausesHoldNobodyUp) {
    Connection old = handOut();
    std::latch paused(1);
    inPauses([&](std::size_t pause) {
        if (pause > 1) return;
        old.reset();
        EXPECT_EQ(thrown([&] { handOut(); }), noPermit);
        pool->mb_reConnect(0);
        pool->mb_reConnect(1);
        paused.count_down();
    });
    goAway();
    pool->mb_reConnect(0);
    paused.wait();
    EXPECT_EQ(thrown([&] { delete pool.release(); }), stillOpen);
    _DTK_ConnectionPool::mb_closeEnvironment();
}

} // namespace
