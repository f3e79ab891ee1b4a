#pragma once

#include "oci/sql/resolver/scope.h"

// Queries: blocks, set operators, WITH, ORDER BY, FETCH FIRST.
namespace oci::sql {

struct ResolvedQuery {
    Select* plan = nullptr;
    std::span<OutColumn> columns{};
    bool at_most_one_row = false;
};

ResolvedQuery resolve_query(Resolution& resolution, Scope* outer, const Query& query);
/// The query that the statement is: its INTO and FOR UPDATE count.
ResolvedQuery resolve_outermost_query(Resolution& resolution, const Query& query);

/// A query in the place of a value.
Node* scalar_subquery(Resolution& resolution, Scope& scope, const Query& query);
/// The query, made to fail with ORA-01427 on its second row.
ResolvedQuery single_row(Resolution& resolution, ResolvedQuery query);

/// A source of its own for a query, whose columns get names.
RowSource source_of_query(Resolution& resolution, const ResolvedQuery& query);
/// SELECT items FROM (query)
Select* select_from(Resolution& resolution, const RowSource& source, Select* query, const std::vector<Node*>& items);

/// The value of OFFSET, FETCH or of a bound of ROWNUM, as SQLite's LIMIT takes it.
Node* row_limit(Resolution& resolution, std::string_view sign, Node* value);

} // namespace oci::sql
