#pragma once

#include "oci/sql/definitions/tree.h"
#include "oci/values/values.h"

#include <string>
#include <vector>

namespace oci {

struct TableColumn {
    std::string name{};
    ColumnType type{};          ///< whether it accepts NULL is told by the constraints
    std::string default_text{}; ///< in the dialect; empty: none
    bool default_on_null = false;
    std::string virtual_text{}; ///< of GENERATED ALWAYS AS (...), in the dialect
    bool hidden = false;
    sql::Identity identity = sql::Identity::none;
};

struct TableConstraint {
    enum class Kind : char { primary_key = 'P', unique = 'U', check = 'C', not_null = 'N', foreign_key = 'R' };

    std::int64_t id = 0;
    std::string name{};
    bool generated_name = false;
    Kind kind{};
    std::vector<std::string> columns{};
    std::string condition{}; ///< of a check, in the dialect
    std::int64_t parent = 0; ///< of a foreign key: the constraint it refers to
    sql::OnDelete on_delete{};
    bool deferrable = false;
    bool deferred = false;
    bool enabled = true;
    bool validated = true;

    bool is_key() const { return kind == Kind::primary_key || kind == Kind::unique; }
};

struct TableIndex {
    struct Item {
        std::string text{}; ///< a column's name, or an expression in the dialect
        bool is_column = true;
        bool descending = false;
    };

    std::int64_t id = 0;
    std::string name{};
    bool unique = false;
    std::vector<Item> items{};

    /// Do its first items hold the columns of the key?
    bool serves(const TableConstraint& key) const;
};

/// All that the catalogue knows of a table: SQLite's tables and indexes are made from it.
struct Table {
    using Lifetime = sql::CreateTable::Lifetime;

    std::int64_t id = 0;
    std::string name{};
    std::string stored_name{}; ///< as SQLite knows it
    Lifetime lifetime = Lifetime::permanent;
    std::vector<TableColumn> columns{};
    std::vector<TableConstraint> constraints{};
    std::vector<TableIndex> indexes{};

    /// -1 when there is no such column.
    int column_index(std::string_view column) const;
    /// ORA-00904 when there is no such column.
    TableColumn& column(std::string_view column);
    const TableColumn& column(std::string_view column) const;
    TableConstraint* constraint(std::string_view constraint);
    const TableConstraint* constraint(std::string_view constraint) const;
    const TableConstraint* primary_key() const;
    bool accepts_null(std::string_view column) const;
};

} // namespace oci
