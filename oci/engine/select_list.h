#pragma once

#include "oci/engine/translate.h"

namespace oci {

/// What a query says of a column of its select list.
struct SelectedColumn {
    ColumnType type;      ///< unknown when only a value tells
    bool stored = false;  ///< it comes from a table, so that its values are what its type says
    bool is_null = false; ///< it is the word NULL, which takes the type of what it is combined with
};

/// The columns of a query; those of combined queries are as wide as the widest needs.
/// @param tokens  the query's text
/// @throws ORA-01790 when combined queries have columns of different types
std::vector<SelectedColumn> describe_select_list(Session& session, std::span<const Token> tokens, sqlite3_stmt* query,
                                                 const Translation& translation);

} // namespace oci
