#include "oci/engine/catalogue/dictionary.h"
#include "oci/engine/catalogue/stored_tables.h"
#include "oci/engine/definitions/definitions.h"
#include "oci/engine/tables/column_expressions.h"

#include <algorithm>

namespace oci::definitions {
namespace {

TableIndex::Item item_of(const Table& table, const sql::IndexColumn& written) {
    TableIndex::Item item{std::string(written.expression.text), false, written.descending};
    const sql::Expression& expression = *written.expression.expression;
    if (expression.kind != sql::ExpressionKind::column) return item;
    const auto& name = expression.as<sql::ColumnReference>().column.text;
    item.text = table.column(name).name;
    item.is_column = true;
    return item;
}

bool same_item(const TableIndex::Item& a, const TableIndex::Item& b) {
    return a.text == b.text && a.is_column == b.is_column;
}

/// The items of the indexes that stand behind keys, too.
bool is_indexed(const Table& table, const std::vector<TableIndex::Item>& items) {
    for (const auto& index : table.indexes) {
        if (std::ranges::equal(index.items, items, same_item)) return true;
    }
    return std::ranges::any_of(table.constraints, [&](const TableConstraint& key) {
        return key.is_key() && key.enabled && std::ranges::equal(key.columns, items, {}, {}, [](const auto& item) {
                   return item.is_column ? item.text : "";
               });
    });
}

/// Was a key defined when the index was there, and uses it?
bool serves_later_key(const Table& table, const TableIndex& index) {
    return std::ranges::any_of(table.constraints, [&](const TableConstraint& key) {
        return key.is_key() && key.enabled && key.id > index.id && index.serves(key);
    });
}

/// ORA-02429 when it is the index of a constraint; ORA-01418 when there is none.
Table table_of_index(const Session& session, std::string_view name) {
    const auto object = catalogue::find_object(session, name, Object::Space::index);
    if (object) return catalogue::table_at(session, object->base);
    const auto constraint = catalogue::find_constraint(session, name);
    if (constraint && catalogue::table_at(session, constraint->table).constraint(name)->is_key())
        throw OracleError(error::cannot_drop_foreign_key_index);
    throw OracleError(error::no_such_index);
}

} // namespace

void create_index(Session& session, const sql::CreateIndex& definition) {
    const auto object = find_through_synonyms(session, definition.table.name.text);
    if (!object || object->type != "TABLE") throw OracleError(error::no_such_table, definition.table.name.text);
    Table table = catalogue::table_at(session, object->id);
    TableIndex index;
    index.name = definition.name.name.text;
    index.unique = definition.unique;
    for (const auto& written : definition.items) index.items.push_back(item_of(table, written));
    const auto constraint = catalogue::find_constraint(session, index.name);
    const bool taken = constraint && catalogue::table_at(session, constraint->table).constraint(index.name)->is_key();
    if (taken || catalogue::find_object(session, index.name, Object::Space::index))
        throw OracleError(error::name_in_use, index.name);
    if (is_indexed(table, index.items)) throw OracleError(error::columns_already_indexed);
    renew_temporary_table(session, table);
    table.indexes.push_back(std::move(index));
    catalogue::save_table(session, table);
    if (table.lifetime == Table::Lifetime::permanent) make_stored_index(session, table, table.indexes.back());
}

void alter_index(Session& session, const sql::AlterIndex& definition) {
    const std::string_view name = definition.name.name.text;
    auto object = catalogue::find_object(session, name, Object::Space::index);
    if (!object) {
        const auto constraint = catalogue::find_constraint(session, name);
        if (!constraint) throw OracleError(error::no_such_index);
        if (definition.new_name) throw OracleError(error::unimplemented, "another name for the index of a constraint");
        return;
    }
    if (!definition.new_name) return;
    object->name = definition.new_name.text;
    if (catalogue::find_object(session, object->name, Object::Space::index))
        throw OracleError(error::name_in_use, object->name);
    catalogue::update_object(session, *object);
}

void drop_index(Session& session, std::string_view name) {
    Table table = table_of_index(session, name);
    const auto found = std::ranges::find(table.indexes, name, &TableIndex::name);
    if (serves_later_key(table, *found)) throw OracleError(error::cannot_drop_foreign_key_index);
    renew_temporary_table(session, table);
    if (table.lifetime == Table::Lifetime::permanent) drop_stored_index(session, table, *found);
    table.indexes.erase(found);
    catalogue::save_table(session, table);
}

} // namespace oci::definitions
