#pragma once

#include "oci/engine/tables/table.h"

namespace oci {

class Session;

/// In double quotes, for SQLite.
std::string quoted(std::string_view name);

// Expressions of a table's definition in SQLite's SQL. What they cannot mean is the error of the resolver.

/// The value of DEFAULT as the column stores it.
std::string default_sql(Session& session, const TableColumn& column);
/// A check condition.
std::string condition_sql(Session& session, const Table& table, std::string_view text);
/// What an index is made of.
std::string key_sql(Session& session, const Table& table, std::string_view text);
/// What a virtual column is worked out from, as the column's type has it.
std::string virtual_sql(Session& session, const Table& table, const TableColumn& column);

/// The table's columns that an expression names.
std::vector<std::string> columns_named(const Table& table, std::string_view text);
/// The expression with another name for a column.
std::string with_column_renamed(std::string_view text, std::string_view old_name, std::string_view new_name);

} // namespace oci
