#pragma once

#include "oci/sql/resolver/scope.h"

namespace oci::sql {

/// What a statement changes: a table, or a view or query that shows columns of one.
struct ChangedTable {
    const Relation* relation = nullptr; ///< the table itself
    RowSource* source = nullptr;        ///< its columns under the names that the statement uses
    Node* condition = nullptr;          ///< rows that a view shows

    /// The table's column that a column of the source is. ORA-01733 where it is an expression.
    const RelationColumn& column(std::size_t index) const;
    /// ORA-00904
    std::size_t index_of(std::string_view name) const;
};

/// Adds the table to the scope. ORA-01732, ORA-01779 where it is a view or query that cannot be changed.
ChangedTable resolve_changed_table(Resolution& resolution, Scope& scope, const ModifiedTable& written);

} // namespace oci::sql
