#pragma once

#include "oci/sql/resolver/scope.h"

// CONNECT BY: a recursive query, which takes the place of what stands in FROM.
namespace oci::sql {

struct Hierarchy {
    unsigned common = 0;      ///< the number of the recursive query
    unsigned parent = 0;      ///< the source that is the parent's row while a row is found
    unsigned out = 0;         ///< the source that everything outside is taken from
    std::vector<Node*> first; ///< the columns of rows that START WITH finds
    std::vector<Node*> next;  ///< the same columns of their descendants
    std::vector<Joined> from;
    Node* joined = nullptr; ///< the conditions of WHERE that join the sources
    Node* start = nullptr;
    Node* condition = nullptr;
    Node* row_key = nullptr; ///< tells the rows apart
    bool has_prior = false;
    bool nocycle = false;
    bool in_condition = false;
    bool asked_early = false; ///< WHERE has asked for what is known only behind CONNECT BY
    std::span<const OrderItem> siblings;
    std::span<SortKey> order;
};

/// Numbers for the sources of a hierarchy, before anything is resolved.
void prepare_hierarchy(Resolution& resolution, Hierarchy& hierarchy);
/// Reads START WITH and CONNECT BY.
void begin_hierarchy(Resolution& resolution, Scope& scope, const Query& query, Hierarchy& hierarchy);
/// Makes the query; what is mentioned from `from` on becomes its columns.
void end_hierarchy(Resolution& resolution, Scope& scope, Hierarchy& hierarchy, Select& plan, std::size_t from);

/// LEVEL, CONNECT_BY_ISLEAF, CONNECT_BY_ISCYCLE; null for another name. ORA-01788 without CONNECT BY.
Node* hierarchy_column(Resolution& resolution, Scope& scope, std::string_view name);
Node* prior_value(Resolution& resolution, Scope& scope, const Expression& operand);
Node* root_value(Resolution& resolution, Scope& scope, const Expression& operand);
/// SYS_CONNECT_BY_PATH(value, separator)
Node* path_value(Resolution& resolution, Scope& scope, const Call& call);

} // namespace oci::sql
