#pragma once

#include "oci/engine/catalogue/stored_tables.h"
#include "oci/engine/tables/table_builder.h"

namespace oci {

/// Carries out the clauses of one ALTER TABLE.
class TableChanger {
  public:
    TableChanger(Session& session, const Table& table) : m_session(session), m_before(table), m_table(table) {}

    void apply(const sql::TableChange& change);

  private:
    /// Writes the catalogue, then brings the stored table to it.
    void store();

    void add(const sql::TableChange& change);
    void add_columns(const sql::TableChange& change);
    void check_new_constraint(const TableConstraint& constraint) const;

    void modify(const sql::ColumnDefinition& definition);
    void modify_type(TableColumn& column, const ColumnType& type);
    void modify_identity(TableColumn& column, const sql::ColumnDefinition& definition);
    void modify_null(const TableColumn& column);

    void drop_columns(const sql::TableChange& change);
    void drop_column(std::string_view name, const sql::TableChange& change);

    /// By its name, as the primary key, or by the columns of UNIQUE.
    TableConstraint& find(const sql::TableChange& change, const error::Cause& none);
    void drop(TableConstraint& constraint, bool cascade);
    void set_state(const sql::TableChange& change);
    /// Drops the foreign keys that refer to a key, or disables them.
    void release_references(const TableConstraint& key, bool disable);

    void rename_column(std::string_view old_name, std::string_view new_name);
    void rename_constraint(std::string_view old_name, std::string_view new_name);

    bool has_rows() const;
    bool has_rows_where(const std::string& condition) const;

    Session& m_session;
    const Table m_before;
    Table m_table;
    std::vector<ColumnSource> m_sources;
    std::vector<std::string> m_unchecked; ///< names of the constraints that rows have to be held against
};

} // namespace oci
