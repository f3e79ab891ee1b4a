#pragma once

#include "oci/sql/resolver/changes/column_values.h"

// Changes that go row by row: a driving query finds the rows with their old and new values, actions change them one by
// one. So go MERGE, INSERT ALL, and changes of tables with triggers for rows.
namespace oci::sql {

/// @param query  of INSERT ... SELECT: its items are the values; null of INSERT ... VALUES
void insert_by_rows(Resolution& resolution, const ChangedTable& target, const ColumnValues& values, Select* query,
                    const Change& change);
/// An UPDATE or DELETE.
void change_by_rows(Resolution& resolution, const ChangedTable& target, const Change& change);
/// INSERT ALL, INSERT FIRST
void insert_into_several(Resolution& resolution, const Insert& insert);
void resolve_merge(Resolution& resolution, const Merge& merge);

} // namespace oci::sql
