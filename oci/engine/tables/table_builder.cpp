#include "oci/engine/tables/table_builder.h"

#include "oci/engine/catalogue/catalogue_query.h"
#include "oci/engine/catalogue/catalogue_tables.h"
#include "oci/engine/catalogue/dictionary.h"
#include "oci/engine/definitions/definitions.h"
#include "oci/engine/tables/column_expressions.h"
#include "oci/sql/token_stream.h"

#include <algorithm>

namespace oci {
namespace {

using Kind = TableConstraint::Kind;
using Written = sql::ConstraintDefinition::Kind;

constexpr std::size_t most_columns = 1000;

bool is_large(const ColumnType& type) {
    return type.family == Family::blob || type.family == Family::clob || type.family == Family::long_text ||
           type.family == Family::long_raw;
}

/// Can values of one be looked up among values of the other?
bool is_comparable(const ColumnType& a, const ColumnType& b) {
    const auto group = [](Family family) {
        switch (family) {
        case Family::text:
        case Family::fixed_text: return 1;
        case Family::number: return 2;
        case Family::date:
        case Family::timestamp: return 3;
        default: return 10 + static_cast<int>(family);
        }
    };
    return group(a.family) == group(b.family);
}

Kind kind_of(Written written) {
    switch (written) {
    case Written::primary_key: return Kind::primary_key;
    case Written::unique: return Kind::unique;
    case Written::check: return Kind::check;
    case Written::foreign_key: return Kind::foreign_key;
    default: return Kind::not_null;
    }
}

/// What differs from row to row of time cannot be a condition that holds for good.
void refuse_changing_values(std::string_view condition) {
    sql::Arena arena;
    sql::TokenStream tokens(condition, arena);
    while (!tokens.at_end()) {
        const sql::Token token = tokens.take();
        for (const auto word : {"SYSDATE", "SYSTIMESTAMP", "CURRENT_DATE", "CURRENT_TIMESTAMP", "LOCALTIMESTAMP",
                                "USER", "UID", "USERENV", "ROWNUM", "DBTIMEZONE", "SESSIONTIMEZONE"}) {
            if (token.is(word)) throw OracleError(error::date_in_check);
        }
        if (token.is("SELECT")) throw OracleError(error::subquery_not_allowed);
    }
}

std::string in_quotes(std::string_view name) {
    return '"' + std::string(name) + '"';
}

} // namespace

TableColumn& TableBuilder::add_column(const sql::ColumnDefinition& definition) {
    const std::string name(definition.name.text);
    if (m_table.column_index(name) >= 0) throw OracleError(error::duplicate_column, in_quotes(name));
    if (m_table.columns.size() >= most_columns) throw OracleError(error::too_many_columns);
    TableColumn& column = m_table.columns.emplace_back();
    column.name = name;
    column.hidden = definition.invisible;
    if (definition.type)
        column.type = declared_type(*definition.type);
    else if (!definition.virtual_value)
        column.type = type_of_parent(definition);
    const auto is_long = [](const TableColumn& other) {
        return other.type.family == Family::long_text || other.type.family == Family::long_raw;
    };
    if (std::ranges::count_if(m_table.columns, is_long) > 1) throw OracleError(error::one_long_only);
    set_value(column, definition);
    for (const auto& constraint : definition.constraints) {
        if (constraint.kind != Written::foreign_key) add_constraint(constraint, name);
    }
    return m_table.columns.back();
}

ColumnType TableBuilder::declared_type(ColumnType type) const {
    const bool text = type.family == Family::text || type.family == Family::fixed_text;
    if (text && !type.unit_given) type.in_characters = m_session.settings().length_in_characters;
    return type;
}

/// A column that refers to another one may leave its type to it.
ColumnType TableBuilder::type_of_parent(const sql::ColumnDefinition& definition) const {
    for (const auto& constraint : definition.constraints) {
        if (constraint.kind != Written::foreign_key) continue;
        const auto object = find_through_synonyms(m_session, constraint.parent.name.text);
        if (!object || object->type != "TABLE") throw OracleError(error::no_such_table, constraint.parent.name.text);
        Table parent = catalogue::table_at(m_session, object->id);
        if (constraint.parent_columns.empty() && parent.primary_key() == nullptr)
            throw OracleError(error::no_referenced_primary_key);
        return parent
            .column(constraint.parent_columns.empty() ? std::string_view(parent.primary_key()->columns.front())
                                                      : constraint.parent_columns.front().text)
            .type;
    }
    throw OracleError(error::no_column_datatype, in_quotes(definition.name.text));
}

void TableBuilder::set_value(TableColumn& column, const sql::ColumnDefinition& definition) {
    if (definition.default_value) {
        column.default_text = definition.default_value.text;
        column.default_on_null = definition.default_on_null;
        if (!columns_named(m_table, column.default_text).empty())
            throw OracleError(error::column_not_allowed, column.default_text);
        if (column.default_on_null && m_table.accepts_null(column.name)) {
            sql::ConstraintDefinition mandatory{};
            mandatory.kind = Written::not_null;
            add_constraint(mandatory, column.name);
        }
    }
    if (definition.virtual_value) column.virtual_text = definition.virtual_value.text;
    if (definition.identity != sql::Identity::none) add_identity(column, definition);
}

void TableBuilder::add_identity(TableColumn& column, const sql::ColumnDefinition& definition) {
    const auto is_identity = [](const TableColumn& other) { return other.identity != sql::Identity::none; };
    if (std::ranges::any_of(m_table.columns, is_identity)) throw OracleError(error::one_identity_only);
    if (column.type.family != Family::number) throw OracleError(error::identity_needs_number);
    column.identity = definition.identity;
    column.default_on_null = definition.identity == sql::Identity::by_default_on_null;
    Object sequence{catalogue::next_id(m_session)};
    sequence.name = "ISEQ$$_" + std::to_string(sequence.id);
    sequence.type = "SEQUENCE";
    sequence.base = m_table.id;
    definitions::add_sequence(m_session, sequence, definition.identity_options);
    column.default_text = quoted(sequence.name) + ".NEXTVAL";
    sql::ConstraintDefinition mandatory{};
    mandatory.kind = Written::not_null;
    if (m_table.accepts_null(column.name)) add_constraint(mandatory, column.name);
}

TableConstraint* TableBuilder::add_constraint(const sql::ConstraintDefinition& definition, std::string_view column) {
    if (definition.kind == Written::null) return nullptr;
    TableConstraint constraint;
    constraint.kind = kind_of(definition.kind);
    constraint.generated_name = !definition.name;
    constraint.name = definition.name ? std::string(definition.name.text) : catalogue::constraint_name(m_session);
    if (definition.name) check_constraint_name(constraint.name);
    constraint.condition = definition.condition.text;
    constraint.on_delete = definition.on_delete;
    constraint.deferrable = definition.state.deferrable;
    constraint.deferred = definition.state.deferred;
    constraint.enabled = definition.state.enabled.value_or(true);
    constraint.validated = definition.state.validated.value_or(constraint.enabled);
    if (constraint.deferred && constraint.kind != Kind::foreign_key)
        throw OracleError(error::unimplemented, "deferred constraints other than foreign keys");
    set_columns(constraint, definition, column);
    if (constraint.is_key()) check_key(constraint);
    if (constraint.is_key() && definition.name) check_index_name(constraint);
    if (constraint.kind == Kind::check) check_condition(constraint, column);
    if (constraint.kind == Kind::foreign_key) set_parent(constraint, definition);
    m_table.constraints.push_back(std::move(constraint));
    return &m_table.constraints.back();
}

void TableBuilder::check_constraint_name(std::string_view name) const {
    if (m_table.constraint(name) != nullptr || catalogue::find_constraint(m_session, name))
        throw OracleError(error::constraint_name_in_use, name);
}

/// A key gets an index of its name, unless an index that is there serves it.
void TableBuilder::check_index_name(const TableConstraint& key) const {
    const auto serves_key = [&](const TableIndex& index) { return index.serves(key); };
    if (std::ranges::none_of(m_table.indexes, serves_key) &&
        catalogue::find_object(m_session, key.name, Object::Space::index))
        throw OracleError(error::name_in_use, key.name);
}

void TableBuilder::set_columns(TableConstraint& constraint, const sql::ConstraintDefinition& definition,
                               std::string_view column) {
    if (constraint.kind == Kind::check) {
        constraint.columns = columns_named(m_table, constraint.condition);
        return;
    }
    if (!column.empty()) constraint.columns.emplace_back(column);
    for (const auto& name : definition.columns) {
        m_table.column(name.text); // is there one?
        if (std::ranges::find(constraint.columns, name.text) != constraint.columns.end())
            throw OracleError(error::duplicate_column, in_quotes(name.text));
        constraint.columns.emplace_back(name.text);
    }
}

void TableBuilder::check_key(const TableConstraint& key) const {
    if (key.kind == Kind::primary_key && m_table.primary_key() != nullptr)
        throw OracleError(error::only_one_primary_key);
    for (const auto& other : m_table.constraints) {
        if (other.is_key() && std::ranges::is_permutation(other.columns, key.columns))
            throw OracleError(error::duplicate_unique_key);
    }
    for (const auto& column : key.columns) {
        if (is_large(m_table.column(column).type)) throw OracleError(error::column_type_not_key, in_quotes(column));
    }
}

void TableBuilder::check_condition(const TableConstraint& check, std::string_view column) const {
    refuse_changing_values(check.condition);
    const auto is_other = [&](const std::string& named) { return named != column; };
    if (!column.empty() && std::ranges::any_of(check.columns, is_other))
        throw OracleError(error::column_check_references_other);
}

void TableBuilder::set_parent(TableConstraint& constraint, const sql::ConstraintDefinition& definition) const {
    const std::string_view name = definition.parent.name.text;
    if (m_table.lifetime != Table::Lifetime::permanent) throw OracleError(error::temporary_table_foreign_key);
    const auto object = name == m_table.name ? std::nullopt : find_through_synonyms(m_session, name);
    if (name != m_table.name && (!object || object->type != "TABLE")) throw OracleError(error::no_such_table, name);
    const Table parent = object ? catalogue::table_at(m_session, object->id) : m_table;
    const auto named = definition.parent_columns;
    if (named.empty() && parent.primary_key() == nullptr) throw OracleError(error::no_referenced_primary_key);
    const TableConstraint* key = named.empty() ? parent.primary_key() : nullptr;
    for (const auto& candidate : parent.constraints) {
        const bool matches = std::ranges::is_permutation(named, candidate.columns, {}, &sql::Name::text);
        if (candidate.is_key() && key == nullptr && matches) key = &candidate;
    }
    for (const auto& column : named) {
        if (parent.column_index(column.text) < 0) throw OracleError(error::invalid_identifier, in_quotes(column.text));
    }
    if ((named.empty() ? key->columns.size() : named.size()) != constraint.columns.size())
        throw OracleError(error::wrong_key_column_count);
    if (key == nullptr || !key->enabled) throw OracleError(error::no_matching_key);
    constraint.parent = key->id;
    match_parent_columns(constraint, parent, *key, named);
    for (const auto& other : m_table.constraints) {
        if (other.kind == Kind::foreign_key && other.parent == constraint.parent && other.columns == constraint.columns)
            throw OracleError(error::reference_exists);
    }
}

/// Brings the columns of a foreign key into the order of the key that it refers to.
void TableBuilder::match_parent_columns(TableConstraint& constraint, const Table& parent, const TableConstraint& key,
                                        std::span<const sql::Name> columns) const {
    std::vector<std::string> ordered;
    for (std::size_t i = 0; i < key.columns.size(); ++i) {
        const auto named = std::ranges::find(columns, std::string_view(key.columns[i]), &sql::Name::text);
        const std::size_t place = columns.empty() ? i : static_cast<std::size_t>(named - columns.begin());
        ordered.push_back(constraint.columns[place]);
        const auto& type = parent.columns[static_cast<std::size_t>(parent.column_index(key.columns[i]))].type;
        if (!is_comparable(m_table.column(ordered.back()).type, type))
            throw OracleError(error::foreign_key_type_mismatch);
    }
    constraint.columns = std::move(ordered);
}

void check_parents(Session& session, const Table& table, const TableConstraint& reference) {
    CatalogueQuery found(session, R"(SELECT object FROM "DTK$CONSTRAINTS" WHERE id = ?1)", reference.parent);
    if (!found.next()) throw OracleError(error::internal, "foreign key " + reference.name);
    const Table parent = catalogue::table_at(session, found.integer(0));
    const auto key = std::ranges::find(parent.constraints, reference.parent, &TableConstraint::id);
    std::string known;
    std::string same;
    for (std::size_t i = 0; i < reference.columns.size(); ++i) {
        const std::string column = "c." + quoted(reference.columns[i]);
        known += (known.empty() ? "" : " AND ") + column + " IS NOT NULL";
        same += (same.empty() ? "p." : " AND p.") + quoted(key->columns[i]) + " = " + column;
    }
    CatalogueQuery orphan(session, "SELECT 1 FROM " + quoted(table.stored_name) + " c WHERE " + known +
                                       " AND NOT EXISTS (SELECT 1 FROM " + quoted(parent.stored_name) + " p WHERE " +
                                       same + ") LIMIT 1");
    if (orphan.next()) throw OracleError(error::cannot_validate_parent_keys, session.user() + "." + reference.name);
}

} // namespace oci
