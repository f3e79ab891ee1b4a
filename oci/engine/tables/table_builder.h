#pragma once

#include "oci/engine/definitions/objects.h"

#include <set>

namespace oci {

/// Adds to a table what a definition says, after checking that it can.
class TableBuilder {
  public:
    TableBuilder(Session& session, Table& table) : m_session(session), m_table(table) {}

    /// A column with its constraints, but for foreign keys. Returns its place.
    /// @pre the table has an id where the column is an identity
    TableColumn& add_column(const sql::ColumnDefinition& definition);
    /// In the session's unit of length where it is written without one.
    ColumnType declared_type(ColumnType type) const;
    /// DEFAULT, GENERATED ..., as far as the definition has them.
    void set_value(TableColumn& column, const sql::ColumnDefinition& definition);
    /// @param column  that the constraint stands with; empty of a constraint of the table
    /// @return null where the definition makes no constraint (NULL)
    TableConstraint* add_constraint(const sql::ConstraintDefinition& definition, std::string_view column = {});

    /// ORA-02264 and its kin when the name of a constraint is taken.
    void check_constraint_name(std::string_view name) const;
    void check_index_name(const TableConstraint& key) const;

  private:
    ColumnType type_of_parent(const sql::ColumnDefinition& definition) const;
    void add_identity(TableColumn& column, const sql::ColumnDefinition& definition);
    void set_columns(TableConstraint& constraint, const sql::ConstraintDefinition& definition, std::string_view column);
    void check_key(const TableConstraint& key) const;
    void check_condition(const TableConstraint& check, std::string_view column) const;
    void set_parent(TableConstraint& constraint, const sql::ConstraintDefinition& definition) const;
    void match_parent_columns(TableConstraint& constraint, const Table& parent, const TableConstraint& key,
                              std::span<const sql::Name> columns) const;

    Session& m_session;
    Table& m_table;
};

/// Throws the error when a row of a foreign key has no parent.
void check_parents(Session& session, const Table& table, const TableConstraint& reference);

} // namespace oci
