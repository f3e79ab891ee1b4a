#pragma once

#include "tests/client/block_session.h"

#include <algorithm>
#include <gtest/gtest.h>

struct BlockCase {
    const char* text;
    const char* outcome; ///< as BlockSession tells it; with "..." at its end only what stands before that counts
};

struct BlockGroup {
    const char* name;
    std::vector<BlockCase> cases; ///< run one behind the other
};

/// Runs a group on a new database with two tables: teams, and the workers in them.
class BlockCases : public ::testing::TestWithParam<BlockGroup> {
  protected:
    BlockCases() {
        for (const char* sql :
             {"CREATE TABLE team (team_no NUMBER(2) PRIMARY KEY, title VARCHAR2(14), place VARCHAR2(13))",
              "INSERT ALL INTO team VALUES (10, 'Archivists', 'Oslo') INTO team VALUES (20, 'Scouting', 'Rome') INTO "
              "team VALUES (30, 'Shops', 'Lima') INTO team VALUES (40, 'Organisers', 'Bern') SELECT 1 FROM dual",
              "CREATE TABLE worker (id NUMBER(4) PRIMARY KEY, name VARCHAR2(10), job VARCHAR2(9), pay NUMBER(7,2), "
              "comm NUMBER(7,2), team_no NUMBER(2) REFERENCES team)",
              "INSERT INTO worker SELECT 7369, 'Sol', 'clerk', 800, 0, 20 FROM dual UNION ALL SELECT 7499, 'Alma', "
              "'seller', 1600, 300, 30 FROM dual UNION ALL SELECT 7521, 'Will', 'seller', 1250, 500, 30 FROM dual "
              "UNION ALL SELECT 7566, 'Jon', 'lead', 2975, 0, 20 FROM dual UNION ALL SELECT 7654, 'Max', 'seller', "
              "1250, 1400, 30 FROM dual UNION ALL SELECT 7698, 'Bea', 'lead', 2850, 0, 30 FROM dual UNION ALL SELECT "
              "7782, 'Cora', 'lead', 2450, 0, 10 FROM dual UNION ALL SELECT 7788, 'Sam', 'analyst', 3000, 0, 20 FROM "
              "dual UNION ALL SELECT 7839, 'Kim', 'head', 5000, 0, 10 FROM dual UNION ALL SELECT 7844, 'Tom', "
              "'seller', 1500, 0, 30 FROM dual UNION ALL SELECT 7876, 'Ada', 'clerk', 1100, 0, 20 FROM dual UNION "
              "ALL SELECT 7900, 'Jan', 'clerk', 950, 0, 30 FROM dual UNION ALL SELECT 7902, 'Finn', 'analyst', 3000, "
              "0, 20 FROM dual UNION ALL SELECT 7934, 'Mia', 'clerk', 1300, 0, 10 FROM dual",
              "COMMIT"}) {
            EXPECT_EQ(session.outcome(sql), "") << sql;
        }
    }

    void run_all() const {
        for (const auto& tested : GetParam().cases) {
            std::string wanted = tested.outcome;
            std::string got = session.outcome(tested.text);
            if (wanted.ends_with("...")) {
                wanted.resize(wanted.size() - 3);
                got.resize(std::min(got.size(), wanted.size()));
            }
            EXPECT_EQ(got, wanted) << tested.text;
        }
    }

    BlockSession session{"memory:blocks"};
};

inline std::string name_of_group(const ::testing::TestParamInfo<BlockGroup>& group) {
    return group.param.name;
}
