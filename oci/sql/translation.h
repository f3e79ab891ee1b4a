#pragma once

#include "oci/values/values.h"

#include <optional>
#include <string>
#include <vector>

namespace oci::sql {

/// What the value of a placeholder is made to fit when it is bound.
struct Target {
    ColumnType type;
    std::string column; ///< named in errors; empty where nothing is stored
};

/// A column of a select list, as describing tells it.
struct ResultColumn {
    std::string name;
    ColumnType type;     ///< of unknown family where only the first row's value tells
    bool stored = false; ///< it comes from a table, so that its values are what its type says
};

/// One of the several statements that a statement may become: run in order, as one.
struct Step {
    std::string sql;              ///< in SQLite's SQL, placeholders as ?1, ?2 ...
    std::vector<unsigned> inputs; ///< the placeholders' positions that it reads
};

/// A statement in SQLite's SQL, with what the engine has to know beside it.
struct Translation {
    std::string sql;
    std::vector<ResultColumn> columns;
    std::vector<std::optional<Target>> targets; ///< by placeholder position - 1
    std::vector<std::string> names;             ///< of the placeholders, by position - 1
    std::vector<unsigned> into;                 ///< positions that RETURNING ... INTO or SELECT ... INTO fill
    bool bulk_into = false;
    bool for_update = false;
    int wait_seconds = -1; ///< of FOR UPDATE: 0 NOWAIT, -1 as long as a session waits
    bool skip_locked = false;
    std::string locked_table;   ///< stored name: its row numbers are the last column, which is not described
    std::string modified_table; ///< stored name of what DML changes
};

} // namespace oci::sql
