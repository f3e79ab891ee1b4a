#pragma once

#include "oci/sql/resolver/changes/targets.h"
#include "oci/sql/resolver/queries/queries.h"

namespace oci::sql {

/// ORA-00913, ORA-00947
void check_value_count(std::size_t wanted, std::size_t given);

/// The value that a column has where none is given: that of its DEFAULT, converted; NULL without one.
Node* default_value(Resolution& resolution, const RelationColumn& column);

/// SET a = x, (b, c) = (SELECT ...): one value for each column, made to fit it.
std::span<Change::Assignment> resolve_assignments(Resolution& resolution, Scope& scope, const ChangedTable& target,
                                                  std::span<const Assignment> written);

/// What an INSERT gives the columns of its table, in the table's order: SQLite evaluates values in that order, and a
/// sequence's number is taken where it stands first.
class ColumnValues {
  public:
    ColumnValues(Resolution& resolution, const ChangedTable& target) : m_resolution(resolution), m_target(target) {}

    /// @param columns  without names all of the table
    void give(Scope& scope, std::span<const Name> columns, std::span<Expression* const> values);
    /// @return the query, whose items fit the columns
    Select* give(std::span<const Name> columns, const ResolvedQuery& query);

    std::span<std::string_view> names() const;
    Nodes values() const;
    /// The value of a column; null where the statement gives none.
    Node* value_of(const RelationColumn& column) const;

  private:
    struct Given {
        const RelationColumn* column;
        std::size_t position; ///< in the list of the statement
        Node* value = nullptr;
    };

    void list(std::span<const Name> columns);
    void add_sequence_defaults();
    Node* stored(Node* value, const RelationColumn& column) const;

    Resolution& m_resolution;
    const ChangedTable& m_target;
    std::vector<Given> m_given;
};

} // namespace oci::sql
