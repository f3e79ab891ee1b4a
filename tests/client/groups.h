#pragma once

#include "tests/oci_session.h"
#include "tests/support.h"

/// A statement and what a server answers, as OciSession::run gives it.
struct Case {
    const char* sql;
    const char* result;
};

struct Group {
    const char* name;
    std::vector<Case> cases; ///< run one behind the other on a new database
};

class ClientGroup : public ::testing::TestWithParam<Group> {
  protected:
    OciSession session{"memory:group"};
};

TEST_P(ClientGroup, isAnsweredAsByAServer) {
    for (const auto& [sql, result] : GetParam().cases) EXPECT_EQ(session.run(sql), result) << sql;
}
