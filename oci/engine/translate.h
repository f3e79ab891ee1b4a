#pragma once

#include "oci/engine/session.h"
#include "oci/sql/tokens.h"
#include "oci/sql/translation.h"

#include <functional>
#include <span>

namespace oci {

using sql::Target;

/// A statement in SQLite's SQL, and what Oracle's text says beside it.
struct Translation {
    std::string sql;
    std::vector<ColumnType> columns;       ///< of the select list, unknown where the text does not tell; empty when it has a *
    std::vector<std::optional<Target>> targets; ///< by placeholder position - 1
    std::vector<unsigned> into;            ///< positions that RETURNING ... INTO or SELECT ... INTO fill
    bool for_update = false;
    std::chrono::milliseconds patience = Session::default_patience;
    std::string locked_table; ///< its row numbers are the last column, which is not described
};

/// Finds the position of a name: in a block every occurrence of a name is the same position.
/// Given a placeholder it always answers; given a plain name it answers 0 when there is no such variable.
using Positions = std::function<unsigned(const Token&)>;

/// Translates one query or DML statement. Without `positions` every occurrence of a placeholder is the next position.
Translation translate(Session& session, std::span<const Token> tokens, const Positions& positions = {});

/// Translates an expression of a block into a query of its value.
Translation translate_value(Session& session, std::span<const Token> expression, const Positions& positions);

/// ORA-00913 or ORA-00947 when a statement gives other than one value for each target behind INTO.
void check_targets(sqlite3_stmt* compiled, const Translation& translation);

/// The SQL of a value as a column of the type stores it.
std::string fit_call(const std::string& sql, const ColumnType& type, std::string_view column);

/// A column default or check condition.
std::string translate_expression(Session& session, std::span<const Token> tokens);

/// An identifier as SQLite has to see it: quoted where only SQLite takes the word for a keyword.
std::string identifier(const Token& token);

} // namespace oci
