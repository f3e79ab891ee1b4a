#include "oci/engine/catalogue/catalogue_tables.h"
#include "oci/engine/catalogue/stored_tables.h"
#include "oci/engine/definitions/definitions.h"
#include "oci/engine/statements/program.h"
#include "oci/engine/statements/statement.h"
#include "oci/engine/tables/column_expressions.h"
#include "oci/engine/tables/table_builder.h"

#include <algorithm>
#include <sqlite3.h>

namespace oci::definitions {
namespace {

using Written = sql::ConstraintDefinition::Kind;

void check_name(const Session& session, std::string_view name) {
    if (name == "DUAL" || catalogue::find_object(session, name, Object::Space::general))
        throw OracleError(error::name_in_use, name);
}

/// The columns of a query, under other names where the definition gives some.
void take_columns(Session& session, Program& query, const sql::CreateTable& definition, TableBuilder& builder) {
    const auto& columns = query.translation.columns;
    if (!definition.columns.empty() && definition.columns.size() != columns.size())
        throw OracleError(definition.columns.size() < columns.size() ? error::too_many_values
                                                                     : error::not_enough_values);
    const bool row = sqlite3_step(query.compiled.get()) == SQLITE_ROW;
    for (std::size_t i = 0; i < columns.size(); ++i) {
        sql::ColumnDefinition column;
        if (!definition.columns.empty()) column = definition.columns[i];
        if (column.type) throw OracleError(error::type_in_create_as_select);
        if (!column.name) column.name.text = columns[i].name;
        const bool named = !column.name.text.empty() && column.name.text.find('(') == std::string_view::npos;
        if (!named) throw OracleError(error::expression_needs_alias);
        column.type = columns[i].type;
        // An expression may leave its type to its value.
        if (column.type->family == Family::unknown)
            column.type = row ? type_of_value(query.compiled.get(), static_cast<int>(i))
                              : ColumnType::of_family(Family::text, longest_text);
        sql::ConstraintDefinition mandatory{};
        mandatory.kind = Written::not_null;
        TableColumn& added = builder.add_column(column);
        const std::string name = added.name;
        if (columns[i].stored && !columns[i].type.nullable) builder.add_constraint(mandatory, name);
    }
    sqlite3_reset(query.compiled.get());
    (void)session;
}

void add_references(Session& session, Table& table, const sql::CreateTable& definition) {
    TableBuilder builder(session, table);
    for (const auto& column : definition.columns) {
        for (const auto& constraint : column.constraints) {
            if (constraint.kind == Written::foreign_key) builder.add_constraint(constraint, column.name.text);
        }
    }
    for (const auto& constraint : definition.constraints) {
        if (constraint.kind == Written::foreign_key) builder.add_constraint(constraint);
    }
}

void fill(Session& session, const Table& table, const Program& query) {
    std::string columns;
    for (const auto& column : table.columns) columns += (columns.empty() ? "" : ", ") + quoted(column.name);
    session.run("INSERT INTO " + quoted(table.stored_name) + " (" + columns + ") " + query.translation.sql);
}

} // namespace

void create_table(Session& session, const sql::CreateTable& definition) {
    Table table;
    table.name = definition.name.name.text;
    table.lifetime = definition.lifetime;
    check_name(session, table.name);
    TableBuilder builder(session, table);
    Program query;
    if (definition.query) {
        query = Program::compile(session, definition.query.text, nullptr);
        if (!query.translation.names.empty()) throw OracleError(error::bind_in_definition);
        take_columns(session, query, definition, builder);
    } else {
        table.id = catalogue::next_id(session);
        for (const auto& column : definition.columns) builder.add_column(column);
    }
    for (const auto& constraint : definition.constraints) {
        if (constraint.kind != Written::foreign_key) builder.add_constraint(constraint);
    }
    catalogue::save_new_table(session, table);
    add_references(session, table, definition);
    catalogue::save_table(session, table);
    make_stored_table(session, table);
    if (!definition.query) return;
    if (table.lifetime != Table::Lifetime::permanent) make_temporary_table(session, table);
    fill(session, table, query);
}

void drop_table(Session& session, const sql::Drop& definition) {
    const Table table = catalogue::table_named(session, definition.name.name.text);
    for (const auto& key : table.constraints) {
        for (const auto& place : catalogue::references_to(session, key.id)) {
            if (place.table == table.id) continue;
            if (!definition.cascade) throw OracleError(error::keys_are_referenced);
            const Table before = catalogue::table_at(session, place.table);
            Table child = before;
            std::erase_if(child.constraints, [&](const auto& other) { return other.id == place.constraint; });
            catalogue::save_table(session, child);
            change_stored_table(session, before, child);
        }
    }
    catalogue::remove_table(session, table);
    drop_stored_table(session, table);
}

void truncate(Session& session, const sql::Truncate& definition) {
    const Table table = catalogue::table_named(session, definition.table.name.text);
    for (const auto& key : table.constraints) {
        for (const auto& place : catalogue::references_to(session, key.id)) {
            const Table child = catalogue::table_at(session, place.table);
            const auto reference = std::ranges::find(child.constraints, place.constraint, &TableConstraint::id);
            if (child.id == table.id || !reference->enabled) continue;
            if (!definition.cascade) throw OracleError(error::key_is_referenced);
            if (reference->on_delete != sql::OnDelete::cascade) throw OracleError(error::reference_without_cascade);
            sql::Truncate further = definition;
            further.table.name.text = child.name;
            truncate(session, further);
        }
    }
    if (table.lifetime == Table::Lifetime::permanent)
        session.run("DELETE FROM main." + quoted(table.stored_name));
    else if (has_temporary_table(session, table))
        session.run("DELETE FROM temp." + quoted(table.stored_name));
}

} // namespace oci::definitions
