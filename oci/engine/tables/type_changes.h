#pragma once

#include "oci/values/values.h"

namespace oci {

/// What MODIFY does to the values of a column.
enum class TypeChange : std::uint8_t { none, widens, loses_digits, shortens, differs };

TypeChange compare_types(const ColumnType& before, const ColumnType& after);

/// An expression of SQLite's as a column of the type stores it.
std::string converted_sql(const std::string& sql, const ColumnType& type, std::string_view column);

} // namespace oci
