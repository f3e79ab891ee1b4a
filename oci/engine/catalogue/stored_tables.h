#pragma once

#include "oci/engine/tables/table.h"

namespace oci {

class Session;

// SQLite's tables and indexes, as they follow from what the catalogue says.

/// Makes a table that is new, with its indexes.
void make_stored_table(Session& session, const Table& table);
void drop_stored_table(Session& session, const Table& table);

/// Where a column's values come from when its table is made anew.
struct ColumnSource {
    std::string column;
    std::string sql; ///< an expression over the old table's columns
};

/// Brings SQLite's table to what the catalogue says now. Where that takes a new table, the rows are carried over: their
/// numbers, and other tables' references to them, stay.
/// @param sources  of the columns whose values are others than before
/// @throws ORA-02293, 02296, 02299, 02437 rows that do not fit the new definition
void change_stored_table(Session& session, const Table& before, const Table& table,
                         const std::vector<ColumnSource>& sources = {});

/// ORA-01452 when rows are equal that may not be.
void make_stored_index(Session& session, const Table& table, const TableIndex& index);
void drop_stored_index(const Session& session, const Table& table, const TableIndex& index);

/// Without its unique indexes a table takes rows whose keys are equal for a while.
void drop_unique_indexes(const Session& session, const Table& table);
/// @throws ORA-02299, 02437, 01452 rows are equal that may not be
void make_unique_indexes(Session& session, const Table& table);

/// Temporary tables hold the rows of one session, which makes them when it first uses them.
void make_temporary_table(Session& session, const Table& table);
/// Before a temporary table is changed: each session is to make it anew.
/// @throws ORA-14450 this session has rows in it
void renew_temporary_table(Session& session, Table& table);
bool has_temporary_table(const Session& session, const Table& table);

} // namespace oci
