#include "oci/engine/tables/table_changer.h"

#include "oci/engine/catalogue/catalogue_query.h"
#include "oci/engine/catalogue/catalogue_tables.h"
#include "oci/engine/definitions/definitions.h"
#include "oci/engine/tables/column_expressions.h"
#include "oci/engine/tables/type_changes.h"

#include <algorithm>

namespace oci {
namespace {

using Kind = TableConstraint::Kind;
using Change = sql::TableChange;
using Written = sql::ConstraintDefinition::Kind;

bool contains(const std::vector<std::string>& names, std::string_view name) {
    return std::ranges::find(names, name) != names.end();
}

bool is_reference(const sql::ConstraintDefinition& definition) {
    return definition.kind == Written::foreign_key;
}

} // namespace

void TableChanger::apply(const Change& change) {
    renew_temporary_table(m_session, m_table);
    switch (change.kind) {
    case Change::Kind::add: return add(change);
    case Change::Kind::modify_columns:
        for (const auto& column : change.columns) modify(column);
        break;
    case Change::Kind::drop_columns: drop_columns(change); break;
    case Change::Kind::drop_constraint: drop(find(change, error::no_such_constraint), change.cascade); break;
    case Change::Kind::drop_primary_key: drop(find(change, error::no_primary_key), change.cascade); break;
    case Change::Kind::drop_unique: drop(find(change, error::no_unique_key), change.cascade); break;
    case Change::Kind::set_state: set_state(change); break;
    case Change::Kind::rename_column: return rename_column(change.names.front().text, change.new_name.text);
    case Change::Kind::rename_constraint: return rename_constraint(change.names.front().text, change.new_name.text);
    case Change::Kind::rename_table: return definitions::rename_table(m_session, m_table, change.new_name.text);
    case Change::Kind::set_triggers:
        return CatalogueQuery(m_session, R"(UPDATE "DTK$OBJECTS" SET options = ?2 WHERE base = ?1 AND space = 2)",
                              m_table.id, *change.state.enabled ? "ENABLED" : "DISABLED")
            .run();
    }
    store();
}

void TableChanger::store() {
    catalogue::save_table(m_session, m_table);
    change_stored_table(m_session, m_before, m_table, m_sources);
    for (const auto& name : m_unchecked) check_parents(m_session, m_table, *m_table.constraint(name));
}

bool TableChanger::has_rows_where(const std::string& condition) const {
    if (m_table.lifetime != Table::Lifetime::permanent) return false;
    const std::string sql = "SELECT 1 FROM main." + quoted(m_before.stored_name);
    return CatalogueQuery(m_session, sql + (condition.empty() ? "" : " WHERE " + condition) + " LIMIT 1").next();
}

bool TableChanger::has_rows() const {
    return has_rows_where({});
}

void TableChanger::add(const Change& change) {
    add_columns(change);
    TableBuilder builder(m_session, m_table);
    for (const auto& definition : change.constraints) {
        if (is_reference(definition)) continue;
        if (const TableConstraint* added = builder.add_constraint(definition)) check_new_constraint(*added);
    }
    catalogue::save_table(m_session, m_table); // a foreign key may refer to a key that has just been added
    for (const auto& definition : change.constraints) {
        if (is_reference(definition)) check_new_constraint(*builder.add_constraint(definition));
        if (is_reference(definition) && m_table.constraints.back().validated)
            m_unchecked.push_back(m_table.constraints.back().name);
    }
    for (const auto& column : change.columns) {
        for (const auto& definition : column.constraints) {
            if (!is_reference(definition)) continue;
            m_unchecked.push_back(builder.add_constraint(definition, column.name.text)->name);
        }
    }
    store();
}

void TableChanger::add_columns(const Change& change) {
    for (const auto& definition : change.columns) {
        if (m_table.column_index(definition.name.text) >= 0) throw OracleError(error::column_exists);
        const TableColumn& column = TableBuilder(m_session, m_table).add_column(definition);
        if (!column.virtual_text.empty()) continue;
        if (!column.default_text.empty())
            m_sources.push_back({column.name, default_sql(m_session, column)});
        else if (!m_table.accepts_null(column.name) && has_rows())
            throw OracleError(error::mandatory_column_needs_empty_table);
    }
}

/// What SQLite would not tell with the right number.
void TableChanger::check_new_constraint(const TableConstraint& constraint) const {
    if (constraint.kind != Kind::not_null && constraint.kind != Kind::primary_key) return;
    if (!constraint.enabled) return;
    for (const auto& column : constraint.columns) {
        if (m_before.column_index(column) < 0 || !has_rows_where(quoted(column) + " IS NULL")) continue;
        if (constraint.kind == Kind::primary_key) throw OracleError(error::key_column_has_null);
        throw OracleError(error::cannot_enable_null, m_session.user() + "." + constraint.name);
    }
}

void TableChanger::modify(const sql::ColumnDefinition& definition) {
    TableColumn& column = m_table.column(definition.name.text);
    const std::string name = column.name;
    if (definition.type) modify_type(column, TableBuilder(m_session, m_table).declared_type(*definition.type));
    column.hidden = column.hidden || definition.invisible;
    const bool identity = definition.identity != sql::Identity::none || definition.drops_identity;
    if (identity) modify_identity(column, definition);
    if (definition.default_value && column.identity != sql::Identity::none)
        throw OracleError(error::identity_with_default);
    TableBuilder builder(m_session, m_table);
    if (!identity) builder.set_value(column, definition);
    for (const auto& constraint : definition.constraints) {
        if (constraint.kind == Written::null) {
            modify_null(m_table.column(name));
        } else if (constraint.kind == Written::not_null && !m_table.accepts_null(name)) {
            throw OracleError(error::cannot_become_nullable);
        } else if (is_reference(constraint)) {
            catalogue::save_table(m_session, m_table);
            m_unchecked.push_back(builder.add_constraint(constraint, name)->name);
        } else {
            check_new_constraint(*builder.add_constraint(constraint, name));
        }
    }
}

void TableChanger::modify_type(TableColumn& column, const ColumnType& type) {
    if (!column.virtual_text.empty()) {
        column.type = type;
        return;
    }
    const auto filled = [&] { return has_rows_where(quoted(column.name) + " IS NOT NULL"); };
    const auto longer = [&] {
        const std::string value =
            type.in_characters ? quoted(column.name) : "CAST(" + quoted(column.name) + " AS BLOB)";
        return has_rows_where("length(" + value + ") > " + std::to_string(type.size));
    };
    switch (compare_types(column.type, type)) {
    case TypeChange::none: return;
    case TypeChange::widens: break;
    case TypeChange::loses_digits:
        if (filled()) throw OracleError(error::precision_must_be_empty);
        break;
    case TypeChange::shortens:
        if (longer()) throw OracleError(error::length_too_big);
        break;
    case TypeChange::differs:
        if (filled()) throw OracleError(error::column_must_be_empty);
        break;
    }
    column.type = type;
    m_sources.push_back({column.name, converted_sql(quoted(column.name), type, column.name)});
}

void TableChanger::modify_identity(TableColumn& column, const sql::ColumnDefinition& definition) {
    if (column.identity == sql::Identity::none) throw OracleError(error::not_an_identity);
    CatalogueQuery found(m_session, R"(SELECT id FROM "DTK$OBJECTS" WHERE base = ?1 AND type = 'SEQUENCE')",
                         m_table.id);
    if (!found.next()) throw OracleError(error::internal, "identity of " + m_table.name);
    const Object sequence = catalogue::object_at(m_session, found.integer(0));
    if (definition.drops_identity) {
        column.identity = sql::Identity::none;
        column.default_text.clear();
        column.default_on_null = false;
        return catalogue::remove_object(m_session, sequence.id);
    }
    column.identity = definition.identity;
    column.default_on_null = definition.identity == sql::Identity::by_default_on_null;
    sql::SequenceDefinition altered{};
    altered.name.name.text = sequence.name;
    altered.options = definition.identity_options;
    altered.options.restart = altered.options.start.has_value();
    definitions::alter_sequence(m_session, altered);
}

void TableChanger::modify_null(const TableColumn& column) {
    const auto refuses = [&](const TableConstraint& constraint) {
        return constraint.kind == Kind::not_null && constraint.columns.front() == column.name;
    };
    const bool key = m_table.primary_key() != nullptr && contains(m_table.primary_key()->columns, column.name);
    if (key || std::erase_if(m_table.constraints, refuses) == 0) throw OracleError(error::already_nullable);
}

void TableChanger::drop_columns(const Change& change) {
    for (const auto& name : change.names) m_table.column(name.text); // is there one?
    for (const auto& name : change.names) drop_column(name.text, change);
    if (m_table.columns.empty()) throw OracleError(error::cannot_drop_all_columns);
}

void TableChanger::drop_column(std::string_view name, const Change& change) {
    const auto dropped_too = [&](const std::string& column) {
        return std::ranges::find(change.names, column, &sql::Name::text) != change.names.end();
    };
    for (const auto& constraint : m_table.constraints) {
        if (!contains(constraint.columns, name)) continue;
        if (constraint.is_key() && !change.cascade && !catalogue::references_to(m_session, constraint.id).empty())
            throw OracleError(error::column_is_parent_key);
        const bool whole = std::ranges::all_of(constraint.columns, dropped_too);
        if (!whole && !change.cascade) throw OracleError(error::column_in_constraint);
        if (constraint.is_key()) release_references(constraint, false);
    }
    for (const auto& column : m_table.columns) {
        const bool used = contains(columns_named(m_table, column.virtual_text), name);
        if (used && !dropped_too(column.name)) throw OracleError(error::column_used_by_virtual);
    }
    const auto uses = [&](const TableIndex::Item& item) {
        return item.is_column ? item.text == name : contains(columns_named(m_table, item.text), name);
    };
    std::erase_if(m_table.indexes, [&](const auto& index) { return std::ranges::any_of(index.items, uses); });
    std::erase_if(m_table.constraints, [&](const auto& constraint) { return contains(constraint.columns, name); });
    std::erase_if(m_table.columns, [&](const auto& column) { return column.name == name; });
    CatalogueQuery(m_session, R"(DELETE FROM "DTK$COMMENTS" WHERE object = ?1 AND column_name = ?2)", m_table.id, name)
        .run();
}

TableConstraint& TableChanger::find(const Change& change, const error::Cause& none) {
    for (auto& constraint : m_table.constraints) {
        const bool primary = change.primary_key && constraint.kind == Kind::primary_key;
        const bool unique = change.unique && constraint.is_key() &&
                            std::ranges::is_permutation(change.names, constraint.columns, {}, &sql::Name::text);
        const bool named = !change.primary_key && !change.unique && constraint.name == change.names.front().text;
        if (primary || unique || named) return constraint;
    }
    throw OracleError(none, change.names.empty() ? std::string_view() : change.names.front().text);
}

void TableChanger::drop(TableConstraint& constraint, bool cascade) {
    const auto is_identity = [&](const TableColumn& column) {
        return column.identity != sql::Identity::none && constraint.columns.front() == column.name;
    };
    if (constraint.kind == Kind::not_null && std::ranges::any_of(m_table.columns, is_identity))
        throw OracleError(error::cannot_drop_not_null);
    if (!catalogue::references_to(m_session, constraint.id).empty()) {
        if (!cascade) throw OracleError(error::unique_key_is_referenced);
        release_references(constraint, false);
    }
    const std::int64_t id = constraint.id;
    std::erase_if(m_table.constraints, [&](const auto& other) { return other.id == id; });
}

void TableChanger::release_references(const TableConstraint& key, bool disable) {
    const std::int64_t id = key.id;
    const auto release = [&](Table& table) {
        for (auto& reference : table.constraints) {
            if (disable && reference.parent == id) reference.enabled = reference.validated = false;
        }
        if (!disable) std::erase_if(table.constraints, [&](const auto& reference) { return reference.parent == id; });
    };
    for (const auto& place : catalogue::references_to(m_session, id)) {
        if (place.table == m_table.id) continue;
        const Table before = catalogue::table_at(m_session, place.table);
        Table child = before;
        release(child);
        catalogue::save_table(m_session, child);
        change_stored_table(m_session, before, child);
    }
    release(m_table);
}

void TableChanger::set_state(const Change& change) {
    const bool enable = change.state.enabled.value_or(true);
    const error::Cause& none = change.primary_key
                                   ? (enable ? error::cannot_enable_primary_key : error::cannot_disable_primary_key)
                               : enable ? error::cannot_enable_no_such_constraint
                                        : error::cannot_disable_no_such_constraint;
    TableConstraint& constraint = find(change, none);
    if (!change.state.enabled && !change.state.validated) return; // RELY, USING INDEX and the like
    const std::int64_t id = constraint.id;
    const std::string name = constraint.name;
    if (!enable && constraint.is_key()) {
        const auto places = catalogue::references_to(m_session, id);
        const bool in_use = std::ranges::any_of(places, [&](const auto& place) {
            const Table child = catalogue::table_at(m_session, place.table);
            return std::ranges::find(child.constraints, place.constraint, &TableConstraint::id)->enabled;
        });
        if (in_use && !change.cascade)
            throw OracleError(error::cannot_disable_dependencies, m_session.user() + "." + name);
        if (in_use) release_references(constraint, true);
    }
    TableConstraint& changed = *m_table.constraint(name);
    changed.enabled = change.state.enabled.value_or(changed.enabled);
    changed.validated = change.state.validated.value_or(changed.enabled);
    if (!changed.enabled) return;
    check_new_constraint(changed);
    if (changed.kind == Kind::foreign_key && changed.validated) m_unchecked.push_back(name);
}

void TableChanger::rename_column(std::string_view old_name, std::string_view new_name) {
    TableColumn& column = m_table.column(old_name);
    if (m_table.column_index(new_name) >= 0) throw OracleError(error::duplicate_column);
    const auto rename = [&](std::string& text) { text = with_column_renamed(text, old_name, new_name); };
    for (auto& other : m_table.columns) rename(other.virtual_text);
    for (auto& constraint : m_table.constraints) {
        if (constraint.kind == Kind::check) rename(constraint.condition);
        std::ranges::replace(constraint.columns, std::string(old_name), std::string(new_name));
    }
    for (auto& index : m_table.indexes) {
        for (auto& item : index.items) {
            if (!item.is_column)
                rename(item.text);
            else if (item.text == old_name)
                item.text = new_name;
        }
    }
    column.name = new_name;
    CatalogueQuery(m_session, R"(UPDATE "DTK$COMMENTS" SET column_name = ?3 WHERE object = ?1 AND column_name = ?2)",
                   m_table.id, old_name, new_name)
        .run();
    catalogue::save_table(m_session, m_table);
    if (m_table.lifetime == Table::Lifetime::permanent)
        m_session.run("ALTER TABLE main." + quoted(m_table.stored_name) + " RENAME COLUMN " + quoted(old_name) +
                      " TO " + quoted(new_name));
}

void TableChanger::rename_constraint(std::string_view old_name, std::string_view new_name) {
    TableConstraint* constraint = m_table.constraint(old_name);
    if (constraint == nullptr) throw OracleError(error::constraint_does_not_exist);
    TableBuilder(m_session, m_table).check_constraint_name(new_name);
    constraint->name = new_name;
    constraint->generated_name = false;
    store();
}

namespace definitions {

void alter_table(Session& session, const sql::AlterTable& definition) {
    for (const auto& change : definition.changes)
        TableChanger(session, catalogue::table_named(session, definition.table.name.text)).apply(change);
    if (definition.changes.empty()) catalogue::table_named(session, definition.table.name.text); // is there one?
}

} // namespace definitions
} // namespace oci
