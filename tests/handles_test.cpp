// The owners of dtk/handles.h: each gives its object back once, the right way, and lets no exception out when it goes.

#include <functional>
#include <iterator>
#include <utility>

#include <gtest/gtest.h>

#include "dtk/handles.h"
#include "dtk/oracle/_DTK_ConnectionPool.h"
#include "tests/fixture.h"

namespace {

constexpr int refused = -1;

/// The calls of OCI that make, run and end statements, in their order.
std::string statementCalls() {
    std::string all;
    for (const interpose::Call& call : interpose::calls())
        if (call.function.substr(0, 7) == "OCIStmt") all.append(all.empty() ? "" : " ").append(call.function.substr(7));
    return all;
}

struct GivingBack {
    const char* name;
    std::function<void(DTK_ConnectionBase&)> use;
    const char* expected; ///< what statementCalls tells
};

class Owners : public testing::TestWithParam<GivingBack> {
  protected:
    void SetUp() override { interpose::reset(); }
    void TearDown() override { interpose::reset(); }

    dtk::Pool pool = Account().pool(1, 1);
};

TEST_P(Owners, GiveBackWhatTheyHold) {
    const dtk::Connection connection(pool->mb_getConnection(true));
    interpose::reset();
    EXPECT_EQ(thrown([&] { GetParam().use(*connection); }), "");
    EXPECT_EQ(statementCalls(), GetParam().expected);
}

constexpr auto query = "SELECT DUMMY FROM DUAL";

const GivingBack cases[] = {
    {"Nothing",
     [](DTK_ConnectionBase&) {
         const dtk::Statement statement;
         const dtk::ResultSet rows;
     },
     ""},
    {"APreparedStatement", [](DTK_ConnectionBase& connection) { dtk::prepare(connection, query); }, "Prepare2 Release"},
    {"AnExecutedText", [](DTK_ConnectionBase& connection) { dtk::execute(connection, "BEGIN NULL; END;"); },
     "Prepare2 Execute Release"},
    {"OpenRows",
     [](DTK_ConnectionBase& connection) {
         const auto statement = dtk::prepare(connection, query);
         EXPECT_TRUE(dtk::open(*statement)->mb_fetch());
     },
     "Prepare2 Execute Fetch Release"},
    {"AMovedStatement",
     [](DTK_ConnectionBase& connection) {
         auto first = dtk::prepare(connection, query);
         const dtk::Statement second = std::move(first);
     },
     "Prepare2 Release"},
    {"AStatementOfALostSession",
     [](DTK_ConnectionBase& connection) {
         const auto statement = dtk::prepare(connection, query);
         interpose::on("OCIStmtRelease", [](const interpose::Call& call) {
             call.pass();
             return refused;
         });
     },
     "Prepare2 Release"},
};

INSTANTIATE_TEST_SUITE_P(Of, Owners, testing::ValuesIn(cases), rowName);

TEST_F(Owners, AConnectionReturnsItsSession) {
    const std::pair<const char*, std::function<void(dtk::Connection&)>> ways[] = {
        {"by going", [](dtk::Connection& connection) { connection.reset(); }},
        {"by close", [](dtk::Connection& connection) { dtk::close(std::move(connection)); }},
    };
    for (const auto& [name, giveBack] : ways) {
        dtk::Connection connection(pool->mb_getConnection(true));
        giveBack(connection);
        EXPECT_EQ(connection, nullptr) << name;
        EXPECT_TRUE(dtk::Connection(pool->mb_getConnection(true))->mb_ping()) << name;
    }
}

TEST_F(Owners, CloseTellsOfACommitThatFails) {
    dtk::Connection connection(pool->mb_getConnection(true));
    connection->mb_setAutoCommit(true);
    interpose::on("OCITransCommit", [](const interpose::Call&) { return refused; });
    EXPECT_NE(thrown([&] { dtk::close(std::move(connection)); }), "");
}

TEST(PoolOwner, OnlyCloseTellsOfOpenConnections) {
    const auto go = [](dtk::Pool&& pool) { pool.reset(); };
    const auto close = [](dtk::Pool&& pool) { dtk::close(std::move(pool)); };
    const std::pair<void (*)(dtk::Pool &&), const char*> ways[] = {{go, ""},
                                                                   {close, "DTK 501 There are still open Connections"}};
    // Their pools are gone, so nothing may be done with them any more.
    static DTK_ConnectionBase* volatile stranded[std::size(ways)];
    for (std::size_t i = 0; i < std::size(ways); ++i) {
        dtk::Pool pool = Account().pool(1, 1);
        stranded[i] = pool->mb_getConnection(true);
        EXPECT_TRUE(stranded[i]->mb_ping());
        EXPECT_EQ(thrown([&] { ways[i].first(std::move(pool)); }), ways[i].second);
        EXPECT_EQ(pool, nullptr);
        _DTK_ConnectionPool::mb_closeEnvironment();
    }
}

} // namespace
