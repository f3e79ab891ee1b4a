#pragma once

#include "oci/values/values.h"

#include <cstdint>
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

/// What happens to one row of a driving query: MERGE, INSERT ALL, changes through views and changes of tables with row
/// triggers are carried out row by row.
struct RowAction {
    enum class Event : std::uint8_t { insert, update, remove };

    Event event{};
    std::string table;           ///< stored name
    int condition = -1;          ///< the driving query's column that has to be 1; -1: always
    std::string sql;             ///< with ?1, ?2 ... for `values`
    std::vector<int> values;     ///< the driving query's columns that it binds
    int row = -1;                ///< the column with the row's number, of an update or removal
    std::vector<int> old_values; ///< for triggers: the driving query's column of each column of the table
    /// Likewise. Of an insertion each column has one, its default where the statement does not set it, and `sql` sets
    /// all of them: a trigger may assign to any. Of an update -1 where the statement does not set it.
    std::vector<int> new_values;
    std::vector<std::string> columns; ///< likewise, of an update: their names
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
    std::string locked_table;       ///< stored name: its row numbers are the last column, which is not described
    std::vector<RowAction> actions; ///< then `sql` is the driving query: read to its end, then each row is acted on
    std::string modified_table;     ///< stored name of what DML changes
};

} // namespace oci::sql
