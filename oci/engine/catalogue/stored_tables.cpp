#include "oci/engine/catalogue/stored_tables.h"

#include "oci/engine/catalogue/catalogue_query.h"
#include "oci/engine/catalogue/catalogue_tables.h"
#include "oci/engine/definitions/objects.h"
#include "oci/engine/tables/column_expressions.h"

#include <algorithm>

namespace oci {
namespace {

using Kind = TableConstraint::Kind;

constexpr std::string_view new_table = "DTK$NEW";

std::string key_name(const TableConstraint& key) {
    return "DTK$K" + std::to_string(key.id);
}
std::string partly_null_name(const TableConstraint& key) {
    return "DTK$N" + std::to_string(key.id);
}
std::string index_name(const TableIndex& index) {
    return "DTK$X" + std::to_string(index.id);
}

std::string_view schema_of(const Table& table) {
    return table.lifetime == Table::Lifetime::permanent ? "main." : "temp.";
}

std::string column_list(const std::vector<std::string>& columns) {
    std::string sql;
    for (const auto& column : columns) sql.append(sql.empty() ? "" : ", ").append(quoted(column));
    return sql;
}

std::string column_sql(Session& session, const Table& table, const TableColumn& column) {
    std::string sql = quoted(column.name) + ' ' + quoted(column.type.declaration()); // WITH TIME ZONE would end it
    if (column.type.family == Family::fixed_text) sql += " COLLATE RTRIM";           // blanks at the end do not count
    if (!column.default_text.empty()) sql += " DEFAULT (" + default_sql(session, column) + ")";
    if (!table.accepts_null(column.name)) sql += " NOT NULL";
    if (!column.virtual_text.empty())
        sql += " GENERATED ALWAYS AS (" + virtual_sql(session, table, column) + ") VIRTUAL";
    return sql;
}

std::string reference_sql(const Session& session, const TableConstraint& constraint) {
    CatalogueQuery parent(session, R"(SELECT object FROM "DTK$CONSTRAINTS" WHERE id = ?1)", constraint.parent);
    if (!parent.next()) throw OracleError(error::internal, "foreign key " + constraint.name);
    Table table = catalogue::table_at(session, parent.integer(0));
    const auto key = std::ranges::find(table.constraints, constraint.parent, &TableConstraint::id);
    std::string sql = "FOREIGN KEY (" + column_list(constraint.columns) + ") REFERENCES " + quoted(table.stored_name) +
                      " (" + column_list(key->columns) + ")";
    if (constraint.on_delete == sql::OnDelete::cascade) sql += " ON DELETE CASCADE";
    if (constraint.on_delete == sql::OnDelete::set_null) sql += " ON DELETE SET NULL";
    if (constraint.deferred) sql += " DEFERRABLE INITIALLY DEFERRED";
    return sql;
}

/// Keys are indexes of their own, and NOT NULL stands with its column.
std::string constraint_sql(Session& session, const Table& table, const TableConstraint& constraint) {
    if (!constraint.enabled) return {};
    if (constraint.kind == Kind::foreign_key) return ", " + reference_sql(session, constraint);
    if (constraint.kind != Kind::check) return {};
    return ", CONSTRAINT " + quoted(constraint.name) + " CHECK (" +
           condition_sql(session, table, constraint.condition) + ")";
}

/// Behind CREATE TABLE name.
std::string elements_sql(Session& session, const Table& table) {
    std::string sql = " (";
    for (const auto& column : table.columns) {
        if (&column != &table.columns.front()) sql += ", ";
        sql += column_sql(session, table, column);
    }
    for (const auto& constraint : table.constraints) sql += constraint_sql(session, table, constraint);
    return sql + ")";
}

void create(Session& session, const Table& table, std::string_view stored_name) {
    std::string sql = "CREATE TABLE ";
    session.run(sql.append(schema_of(table)).append(quoted(stored_name)) + elements_sql(session, table));
}

void create_index(Session& session, const Table& table, const std::string& name, bool unique,
                  const std::string& items) {
    std::string sql = unique ? "CREATE UNIQUE INDEX " : "CREATE INDEX ";
    sql.append(schema_of(table)).append(quoted(name)).append(" ON ").append(quoted(table.stored_name));
    session.run(sql + " (" + items + ")");
}

/// SQLite checks no conditions while it lives.
class IgnoredChecks {
  public:
    IgnoredChecks(const Session& session, bool ignored) : m_session(session), m_ignored(ignored) {
        if (m_ignored) m_session.run("PRAGMA ignore_check_constraints=ON");
    }
    ~IgnoredChecks() {
        if (m_ignored) sqlite3_exec(m_session.db(), "PRAGMA ignore_check_constraints=OFF", nullptr, nullptr, nullptr);
    }
    IgnoredChecks(const IgnoredChecks&) = delete;
    IgnoredChecks& operator=(const IgnoredChecks&) = delete;

  private:
    const Session& m_session;
    const bool m_ignored;
};

/// SQLite takes rows with a NULL in a key for different. They are equal where the rest is, unless all is NULL.
void create_index_of_partly_null(Session& session, const Table& table, const TableConstraint& key) {
    std::string items;
    std::string some;
    std::string all;
    for (const auto& column : key.columns) {
        const std::string name = quoted(column);
        items += items.empty() ? "" : ", ";
        items += name + " IS NULL, ifnull(" + name + ", 0)";
        some += (some.empty() ? "" : " OR ") + name + " IS NULL";
        all += (all.empty() ? "" : " AND ") + name + " IS NULL";
    }
    create_index(session, table, partly_null_name(key), true, items + ") WHERE (" + some + ") AND NOT (" + all);
}

void make_key(Session& session, const Table& table, const TableConstraint& key) {
    const auto accepts_null = [&](const auto& column) { return table.accepts_null(column); };
    try {
        create_index(session, table, key_name(key), true, column_list(key.columns));
        if (key.columns.size() > 1 && std::ranges::any_of(key.columns, accepts_null))
            create_index_of_partly_null(session, table, key);
    } catch (const OracleError& error) {
        if (error.code() != error::unique_violated.code) throw;
        throw OracleError(key.kind == Kind::primary_key ? error::cannot_validate_primary_key
                                                        : error::cannot_validate_duplicates,
                          session.user() + "." + key.name);
    }
}

void drop_index(const Session& session, const Table& table, const std::string& name) {
    std::string sql = "DROP INDEX IF EXISTS ";
    session.run(sql.append(schema_of(table)).append(quoted(name)));
}

void drop_key(const Session& session, const Table& table, const TableConstraint& key) {
    drop_index(session, table, key_name(key));
    drop_index(session, table, partly_null_name(key));
}

const TableConstraint* find_key(const Table& table, const TableConstraint& key) {
    const auto found = std::ranges::find(table.constraints, key.id, &TableConstraint::id);
    return found != table.constraints.end() && found->is_key() && found->enabled ? &*found : nullptr;
}

/// The indexes alone differ.
void change_indexes(Session& session, const Table& before, const Table& table) {
    for (const auto& key : before.constraints) {
        if (find_key(before, key) != nullptr && find_key(table, key) == nullptr) drop_key(session, before, key);
    }
    for (const auto& key : table.constraints) {
        if (find_key(table, key) != nullptr && find_key(before, key) == nullptr) make_key(session, table, key);
    }
    for (const auto& index : before.indexes) {
        if (std::ranges::find(table.indexes, index.id, &TableIndex::id) == table.indexes.end())
            drop_index(session, before, index_name(index));
    }
}

void make_indexes(Session& session, const Table& table) {
    for (const auto& constraint : table.constraints) {
        if (constraint.is_key() && constraint.enabled) make_key(session, table, constraint);
    }
    for (const auto& index : table.indexes) make_stored_index(session, table, index);
}

std::vector<ColumnSource> complete(const Table& before, const Table& table, const std::vector<ColumnSource>& sources) {
    std::vector<ColumnSource> all = sources;
    for (const auto& column : table.columns) {
        const bool stored = column.virtual_text.empty() && before.column_index(column.name) >= 0;
        const bool known = std::ranges::find(sources, column.name, &ColumnSource::column) != sources.end();
        if (stored && !known) all.push_back({column.name, quoted(column.name)});
    }
    return all;
}

/// A check that was enabled without looking at the rows that are there.
bool tolerates_rows(const Table& table) {
    return std::ranges::any_of(table.constraints, [](const TableConstraint& constraint) {
        return constraint.kind == Kind::check && constraint.enabled && !constraint.validated;
    });
}

void copy(Session& session, const Table& before, const Table& table, const std::vector<ColumnSource>& sources) {
    std::string columns = "rowid";
    std::string values = "rowid";
    for (const auto& source : complete(before, table, sources)) {
        columns += ", " + quoted(source.column);
        values += ", " + source.sql;
    }
    const std::string sql = "INSERT INTO main." + quoted(new_table) + " (" + columns + ") SELECT " + values +
                            " FROM main." + quoted(before.stored_name);
    const IgnoredChecks ignored(session, tolerates_rows(table));
    try {
        session.run(sql);
    } catch (const OracleError& error) {
        if (error.code() != error::check_violated.code) throw;
        const std::string& text = error.text();
        const auto name = text.find('(') + 1;
        throw OracleError(error::cannot_validate_check, text.substr(name, text.find(')') - name));
    }
}

void rebuild(Session& session, const Table& before, const Table& table, const std::vector<ColumnSource>& sources) {
    create(session, table, new_table);
    copy(session, before, table, sources);
    drop_stored_table(session, before);
    session.run("ALTER TABLE main." + quoted(new_table) + " RENAME TO " + quoted(table.stored_name));
    make_indexes(session, table);
}

} // namespace

void make_stored_table(Session& session, const Table& table) {
    if (table.lifetime != Table::Lifetime::permanent) return;
    create(session, table, table.stored_name);
    make_indexes(session, table);
}

void make_temporary_table(Session& session, const Table& table) {
    create(session, table, table.stored_name);
    make_indexes(session, table);
}

bool has_temporary_table(const Session& session, const Table& table) {
    return CatalogueQuery(session, "SELECT 1 FROM temp.sqlite_schema WHERE name = ?1", table.stored_name).next();
}

void renew_temporary_table(Session& session, Table& table) {
    if (table.lifetime == Table::Lifetime::permanent) return;
    const std::string rows = "SELECT 1 FROM temp." + quoted(table.stored_name);
    if (has_temporary_table(session, table) && CatalogueQuery(session, rows).next())
        throw OracleError(error::temporary_table_in_use);
    table.stored_name = table.name + "#" + std::to_string(catalogue::next_id(session));
}

void drop_stored_table(Session& session, const Table& table) {
    std::string sql = "DROP TABLE IF EXISTS ";
    session.run(sql.append(schema_of(table)).append(quoted(table.stored_name)));
}

void change_stored_table(Session& session, const Table& before, const Table& table,
                         const std::vector<ColumnSource>& sources) {
    if (table.lifetime != Table::Lifetime::permanent) return; // each session makes it anew under its new name
    const bool same = sources.empty() && elements_sql(session, before) == elements_sql(session, table);
    same ? change_indexes(session, before, table) : rebuild(session, before, table, sources);
}

void make_stored_index(Session& session, const Table& table, const TableIndex& index) {
    std::string items;
    for (const auto& item : index.items) {
        items += items.empty() ? "" : ", ";
        items += item.is_column ? quoted(item.text) : key_sql(session, table, item.text);
        if (item.descending) items += " DESC";
    }
    try {
        create_index(session, table, index_name(index), index.unique, items);
    } catch (const OracleError& error) {
        throw error.code() == error::unique_violated.code ? OracleError(error::duplicate_keys) : error;
    }
}

void drop_stored_index(const Session& session, const Table& table, const TableIndex& index) {
    drop_index(session, table, index_name(index));
}

void drop_unique_indexes(const Session& session, const Table& table) {
    for (const auto& key : table.constraints) {
        if (find_key(table, key) != nullptr) drop_key(session, table, key);
    }
    for (const auto& index : table.indexes) {
        if (index.unique) drop_stored_index(session, table, index);
    }
}

void make_unique_indexes(Session& session, const Table& table) {
    for (const auto& key : table.constraints) {
        if (find_key(table, key) != nullptr) make_key(session, table, key);
    }
    for (const auto& index : table.indexes) {
        if (index.unique) make_stored_index(session, table, index);
    }
}

} // namespace oci
