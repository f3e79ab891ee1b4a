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
    std::vector<Case> cases; ///< run one behind the other
};

inline void expectAnswers(const OciSession& session, const std::vector<Case>& cases) {
    for (const auto& [sql, result] : cases) EXPECT_EQ(session.run(sql), result) << sql;
}
