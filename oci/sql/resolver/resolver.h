#pragma once

#include "oci/sql/catalogue.h"
#include "oci/sql/translation.h"
#include "oci/sql/tree.h"

namespace oci::sql {

class Arena;

/// Finds what the names of a query or DML statement mean and which types its expressions have, and writes it in
/// SQLite's SQL.
/// @param variables  of the block that it stands in; null for a statement of its own
Translation translate(const Statement& statement, Arena& arena, Catalogue& catalogue, Variables* variables = nullptr);

/// A query of the value of an expression of a block.
Translation translate_value(const Expression& expression, Arena& arena, Catalogue& catalogue, Variables* variables);

/// What a part of a table's definition is made of: a check condition, the key of an index. Columns are named without
/// their table.
std::string translate_column_expression(const Expression& expression, Arena& arena, Catalogue& catalogue,
                                        const Relation& table);

/// A value that a column has by its definition, made to fit its type: DEFAULT, GENERATED ALWAYS AS (...).
/// @param table  whose columns there are; null: none
/// @param type  of unknown family: it is made to be that of the expression
std::string translate_column_value(const Expression& expression, Arena& arena, Catalogue& catalogue,
                                   const Relation* table, ColumnType& type, std::string_view column);

/// The SQL of a value as a column of the type stores it.
std::string fit_call(std::string_view sql, const ColumnType& type, std::string_view column);

} // namespace oci::sql
