#include "oci/engine/catalogue/migration.h"

#include "oci/engine/catalogue/catalogue_query.h"
#include "oci/engine/catalogue/catalogue_tables.h"
#include "oci/engine/definitions/objects.h"

#include <map>

namespace oci {
namespace {

using Kind = TableConstraint::Kind;

TableConstraint& add_constraint(const Session& session, Table& table, Kind kind) {
    TableConstraint constraint{0, catalogue::constraint_name(session), true, kind};
    table.constraints.push_back(std::move(constraint));
    return table.constraints.back();
}

void read_columns(const Session& session, Table& table) {
    std::map<std::int64_t, std::string> key;
    CatalogueQuery rows(session, R"(SELECT name, type, "notnull", dflt_value, pk FROM pragma_table_info(?1))",
                        table.stored_name);
    while (rows.next()) {
        const std::string name = upper(rows.text(0));
        table.columns.push_back(
            {name, ColumnType::parse(rows.text(1)).value_or(ColumnType{}), rows.text(3), false, {}, false, {}});
        if (rows.integer(4) != 0) key[rows.integer(4)] = name;
        if (rows.flag(2) && rows.integer(4) == 0) add_constraint(session, table, Kind::not_null).columns = {name};
    }
    if (key.empty()) return;
    TableConstraint& primary = add_constraint(session, table, Kind::primary_key);
    for (const auto& [position, column] : key) primary.columns.push_back(column);
}

std::vector<std::string> index_columns(const Session& session, std::string_view index) {
    std::vector<std::string> columns;
    CatalogueQuery rows(session, "SELECT name FROM pragma_index_info(?1) ORDER BY seqno", index);
    while (rows.next()) columns.push_back(upper(rows.text(0)));
    return columns;
}

void read_indexes(const Session& session, Table& table) {
    CatalogueQuery rows(session, R"(SELECT name, "unique", origin FROM pragma_index_list(?1) ORDER BY seq DESC)",
                        table.stored_name);
    while (rows.next()) {
        const std::string origin = rows.text(2);
        const std::vector<std::string> columns = index_columns(session, rows.text(0));
        if (origin == "u") add_constraint(session, table, Kind::unique).columns = columns;
        if (origin != "c") continue;
        TableIndex index{0, upper(rows.text(0)), rows.flag(1), {}};
        for (const auto& column : columns) {
            index.items.push_back({column, !column.empty()});
        }
        table.indexes.push_back(std::move(index));
    }
}

/// The constraint that a foreign key refers to.
std::int64_t referenced_key(const Table& parent, const std::vector<std::string>& columns) {
    for (const auto& constraint : parent.constraints) {
        if (constraint.is_key() &&
            (columns.empty() ? constraint.kind == Kind::primary_key : constraint.columns == columns))
            return constraint.id;
    }
    throw OracleError(error::incompatible_file,
                      "a foreign key refers to columns of " + parent.name + " that are no key");
}

void read_references(const Session& session, Table& table) {
    CatalogueQuery rows(session, R"(SELECT id, "table", "from", "to", on_delete FROM pragma_foreign_key_list(?1)
        ORDER BY id DESC, seq)",
                        table.stored_name);
    std::map<std::int64_t, std::pair<TableConstraint, std::pair<std::string, std::vector<std::string>>>> found;
    while (rows.next()) {
        auto& [constraint, parent] = found[rows.integer(0)];
        constraint.columns.push_back(upper(rows.text(2)));
        constraint.on_delete = rows.text(4) == "CASCADE"    ? sql::OnDelete::cascade
                               : rows.text(4) == "SET NULL" ? sql::OnDelete::set_null
                                                            : sql::OnDelete::refuse;
        parent.first = upper(rows.text(1));
        if (const std::string column = rows.text(3); !column.empty()) parent.second.push_back(upper(column));
    }
    for (auto& [id, reference] : found) {
        auto& [constraint, parent] = reference;
        TableConstraint& added = add_constraint(session, table, Kind::foreign_key);
        added.columns = constraint.columns;
        added.on_delete = constraint.on_delete;
        added.parent = referenced_key(catalogue::table_named(session, parent.first), parent.second);
    }
}

std::vector<std::string> stored_tables(const Session& session) {
    std::vector<std::string> names;
    CatalogueQuery rows(session, R"(SELECT name FROM sqlite_schema WHERE type = 'table' AND name <> 'DUAL'
        AND name NOT LIKE 'DTK$%' AND name NOT LIKE 'sqlite!_%' ESCAPE '!')");
    while (rows.next()) names.push_back(rows.text(0));
    return names;
}

} // namespace

namespace {

/// Procedures had a table of their own, without the word that their sources begin with.
void take_over_procedures(Session& session) {
    constexpr auto table = R"(SELECT 1 FROM sqlite_schema WHERE name = 'DTK$PROCEDURES')";
    if (!CatalogueQuery(session, table).next()) return;
    std::vector<Object> found;
    {
        CatalogueQuery rows(session, R"(SELECT name, source FROM "DTK$PROCEDURES" ORDER BY rowid)");
        while (rows.next()) {
            Object& procedure = found.emplace_back();
            procedure.name = rows.text(0);
            procedure.type = "PROCEDURE";
            procedure.text = "PROCEDURE " + rows.text(1);
            if (!procedure.text.ends_with(';')) procedure.text += ';';
        }
    }
    for (Object& procedure : found) catalogue::add_object(session, procedure);
    session.run(R"(DROP TABLE "DTK$PROCEDURES")");
}

} // namespace

void take_over_tables(Session& session) {
    std::vector<Table> tables;
    for (const auto& stored : stored_tables(session)) {
        Table& table = tables.emplace_back(Table{0, upper(stored), stored});
        read_columns(session, table);
        read_indexes(session, table);
        catalogue::save_new_table(session, table);
    }
    for (Table& table : tables) {
        read_references(session, table);
        catalogue::save_table(session, table);
    }
    take_over_procedures(session);
}

} // namespace oci
