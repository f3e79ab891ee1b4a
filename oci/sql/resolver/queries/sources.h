#pragma once

#include "oci/sql/resolver/scope.h"

// What stands behind FROM: tables, views, queries and joins.
namespace oci::sql {

/// Adds the sources to the scope. @return how they are joined; empty for DUAL alone.
std::vector<Joined> resolve_from(Resolution& resolution, Scope& scope, std::span<Source* const> from);

/// A table or view by its name; ORA-00942 when there is none.
const Relation& find_relation(Resolution& resolution, const ObjectName& name);
/// The query that a view stands for, under the view's column names.
Select* query_of_view(Resolution& resolution, const Relation& view, std::span<OutColumn>& columns);

/// Conditions with (+) become those of LEFT JOIN.
class OuterJoins {
  public:
    OuterJoins(Resolution& resolution, Scope& scope) : m_resolution(resolution), m_scope(scope) {}

    /// Takes a condition of WHERE that marks a source with (+).
    void add(Node* condition);
    void apply(std::vector<Joined>& joins);

  private:
    struct Optional {
        RowSource* source;
        std::vector<Node*> conditions;
        std::vector<RowSource*> needed;
    };

    Resolution& m_resolution;
    Scope& m_scope;
    std::vector<Optional> m_optional;
};

} // namespace oci::sql
