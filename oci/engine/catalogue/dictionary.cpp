#include "oci/engine/catalogue/dictionary.h"

#include "oci/engine/catalogue/catalogue_query.h"
#include "oci/engine/catalogue/stored_tables.h"
#include "oci/engine/catalogue/system_view_functions.h"
#include "oci/engine/catalogue/system_views.h"
#include "oci/engine/tables/column_expressions.h"

#include <algorithm>
#include <utility>

namespace oci {
namespace {

sql::Relation dual() {
    sql::Relation relation;
    relation.name = relation.stored_name = "DUAL";
    sql::RelationColumn& column = relation.columns.emplace_back();
    column.name = "DUMMY";
    column.type = ColumnType::of_family(Family::text, 1);
    relation.of_server = true;
    return relation;
}

sql::RelationColumn column_of(const TableColumn& column) {
    sql::RelationColumn described;
    described.name = column.name;
    described.type = column.type;
    described.hidden = column.hidden;
    described.virtual_column = !column.virtual_text.empty();
    described.default_text = column.default_text;
    described.default_on_null = column.default_on_null;
    described.identity_always = column.identity == sql::Identity::always;
    return described;
}

/// Nothing when a part of the key is an expression.
std::optional<std::vector<int>> key_of(const Table& table, const TableIndex& index) {
    std::vector<int> key;
    for (const auto& item : index.items) {
        if (!item.is_column) return std::nullopt;
        key.push_back(table.column_index(item.text));
    }
    return key;
}

std::vector<std::vector<int>> unique_keys(const Table& table) {
    std::vector<std::vector<int>> keys;
    for (const auto& constraint : table.constraints) {
        if (!constraint.is_key() || !constraint.enabled) continue;
        std::vector<int> key;
        for (const auto& column : constraint.columns) key.push_back(table.column_index(column));
        const bool primary = constraint.kind == TableConstraint::Kind::primary_key;
        keys.insert(primary ? keys.begin() : keys.end(), std::move(key));
    }
    for (const auto& index : table.indexes) {
        if (!index.unique) continue;
        if (auto key = key_of(table, index)) keys.push_back(std::move(*key));
    }
    return keys;
}

} // namespace

sql::Relation relation_of(const Table& table) {
    sql::Relation relation;
    relation.name = table.name;
    relation.stored_name = table.stored_name;
    for (const auto& column : table.columns) relation.columns.push_back(column_of(column));
    relation.unique_keys = unique_keys(table);
    return relation;
}

std::optional<Object> find_through_synonyms(const Session& session, std::string_view name) {
    constexpr int most_steps = 32;
    std::string wanted(name);
    for (int step = 0; step < most_steps; ++step) {
        auto object = catalogue::find_object(session, wanted, Object::Space::general);
        if (!object) object = catalogue::find_object(session, wanted, Object::Space::public_synonym);
        if (!object) return std::nullopt;
        if (!object->type.ends_with("SYNONYM") || object->stored == wanted) return object;
        wanted = object->stored;
    }
    throw OracleError(error::looping_synonyms, name);
}

const sql::Relation* Dictionary::relation(std::string_view, std::string_view name) {
    auto known = m_relations.find(name);
    if (known == m_relations.end()) known = m_relations.emplace(name, find_relation(name)).first;
    return known->second ? &*known->second : nullptr;
}

std::optional<sql::Relation> Dictionary::find_relation(std::string_view name) {
    if (name == "DUAL") return dual();
    const auto object = find_through_synonyms(m_session, name);
    if (object && (object->type == "TABLE" || object->type == "VIEW")) return relation_of(*object);
    return object ? std::nullopt : system_view(name);
}

std::optional<sql::Relation> Dictionary::system_view(std::string_view name) {
    if (!m_knows_view_functions) register_system_view_functions(m_session);
    m_knows_view_functions = true;
    auto view = find_system_view(m_session, name);
    m_made_in_transaction = m_made_in_transaction || (view && m_session.transaction() != 0);
    return view;
}

sql::Relation Dictionary::relation_of(const Object& object) {
    constexpr auto triggers = R"(SELECT 1 FROM "DTK$OBJECTS" WHERE base = ?1 AND space = 2 AND options = 'ENABLED')";
    sql::Relation relation;
    relation.name = object.name;
    relation.stored_name = object.stored.empty() ? object.name : object.stored;
    relation.has_triggers = CatalogueQuery(m_session, triggers, object.id).next();
    if (object.type == "VIEW") {
        relation.kind = sql::Relation::Kind::view;
        relation.view_text = object.text;
        relation.read_only = object.options == "READ ONLY";
        for (const auto& column : catalogue::load_columns(m_session, object.id))
            relation.columns.push_back(column_of(column));
        return relation;
    }
    const Table table = catalogue::table_at(m_session, object.id);
    if (table.lifetime != Table::Lifetime::permanent) make_temporary(table);
    sql::Relation of_table = oci::relation_of(table);
    relation.columns = std::move(of_table.columns);
    const std::string table_path = m_session.user() + "\".\"" + table.name + "\".\"";
    for (auto& column : relation.columns) column.path = table_path + column.name;
    relation.unique_keys = std::move(of_table.unique_keys);
    return relation;
}

SequenceRule load_sequence_rule(const Session& session, std::int64_t object) {
    CatalogueQuery row(session, R"(SELECT key, start, increment, minimum, maximum, cycle, cache, ordered, mark,
        mark IS NULL FROM "DTK$SEQUENCES" WHERE object = ?1)",
                       object);
    if (!row.next()) throw OracleError(error::internal, "sequence " + std::to_string(object));
    SequenceRule rule{row.integer(0), row.integer(1), row.integer(2), row.integer(3), row.integer(4),
                      row.flag(5),    row.integer(6), row.flag(7),    std::nullopt};
    if (!row.flag(9)) rule.mark = row.integer(8);
    return rule;
}

const std::optional<Dictionary::Sequence>& Dictionary::find_sequence(std::string_view name) {
    if (const auto known = m_sequences.find(name); known != m_sequences.end()) return known->second;
    std::optional<Sequence> found;
    const auto object = find_through_synonyms(m_session, name);
    if (object && object->type == "SEQUENCE")
        found = Sequence{{object->name}, load_sequence_rule(m_session, object->id)};
    return m_sequences.emplace(name, std::move(found)).first->second;
}

const sql::SequenceInfo* Dictionary::sequence(std::string_view, std::string_view name) {
    const auto& found = find_sequence(name);
    return found ? &found->info : nullptr;
}

const SequenceRule& Dictionary::sequence_rule(std::string_view name) {
    const auto& found = find_sequence(name);
    if (!found) throw OracleError(error::no_such_sequence, name);
    return found->rule;
}

const sql::RoutineInfo* Dictionary::routine(std::string_view, std::string_view package, std::string_view name) {
    return m_routines == nullptr ? nullptr : m_routines->routine(package, name);
}

std::string_view Dictionary::user() const {
    return m_session.user();
}

void Dictionary::make_temporary(const Table& table) {
    if (has_temporary_table(m_session, table)) return;
    make_temporary_table(m_session, table);
    m_made_in_transaction = m_made_in_transaction || m_session.transaction() != 0;
    if (table.lifetime == Table::Lifetime::transaction) m_emptied.insert(table.stored_name);
}

void Dictionary::empty_temporary_tables() const {
    for (const auto& stored : m_emptied) {
        if (CatalogueQuery(m_session, "SELECT 1 FROM temp.sqlite_schema WHERE name = ?1", stored).next())
            m_session.run("DELETE FROM temp." + quoted(stored));
    }
}

/// The tables that it made are gone, too.
void Dictionary::rolled_back() {
    if (!std::exchange(m_made_in_transaction, false)) return;
    m_session.schema_changed();
}

void Dictionary::forget() {
    m_relations.clear();
    m_sequences.clear();
    if (m_routines != nullptr) m_routines->forget();
}

} // namespace oci
