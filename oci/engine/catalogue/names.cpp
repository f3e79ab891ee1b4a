#include "oci/engine/catalogue/catalogue_query.h"
#include "oci/engine/catalogue/dictionary.h"
#include "oci/engine/database/accounts.h"
#include "oci/engine/definitions/definitions.h"
#include "oci/engine/tables/column_expressions.h"

namespace oci::definitions {
namespace {

bool is_known_user(const Session& session, std::string_view name) {
    constexpr auto users = R"(SELECT 1 FROM "DTK$ACCOUNTS" WHERE name = ?1
        UNION ALL SELECT 1 FROM "DTK$OBJECTS" WHERE name = ?1 AND type = 'ROLE')";
    return CatalogueQuery(session, users, name).next();
}

/// Those that a server brings along.
bool is_system_role(std::string_view name) {
    for (const auto role : {"CONNECT", "RESOURCE", "DBA", "SYS", "SYSTEM", "SELECT_CATALOG_ROLE"}) {
        if (name == role) return true;
    }
    return false;
}

void rename_object(const Session& session, Object object, std::string_view new_name) {
    if (catalogue::find_object(session, new_name, catalogue::space_of(object.type)))
        throw OracleError(error::name_in_use, new_name);
    object.name = new_name;
    catalogue::update_object(session, object);
}

} // namespace

void rename_table(Session& session, Table& table, std::string_view new_name) {
    if (catalogue::find_object(session, new_name, Object::Space::general))
        throw OracleError(error::name_in_use, new_name);
    const std::string before = table.stored_name;
    table.name = new_name;
    if (table.lifetime == Table::Lifetime::permanent) {
        table.stored_name = catalogue::free_stored_name(session, new_name);
        session.run("ALTER TABLE main." + quoted(before) + " RENAME TO " + quoted(table.stored_name));
    }
    catalogue::save_table(session, table);
}

void rename(Session& session, const sql::Rename& definition) {
    const std::string_view name = definition.old_name.text;
    auto object = catalogue::find_object(session, name, Object::Space::general);
    if (!object) throw OracleError(error::no_such_object, name);
    if (object->type == "TABLE") {
        Table table = catalogue::table_at(session, object->id);
        return rename_table(session, table, definition.new_name.text);
    }
    if (object->type != "VIEW" && object->type != "SEQUENCE" && object->type != "SYNONYM")
        throw OracleError(error::unimplemented, "RENAME of a " + object->type);
    rename_object(session, *object, definition.new_name.text);
}

void create_synonym(Session& session, const sql::CreateSynonym& definition) {
    Object synonym;
    synonym.name = definition.name.name.text;
    synonym.type = definition.is_public ? "PUBLIC SYNONYM" : "SYNONYM";
    synonym.stored = definition.target.name.text;
    if (synonym.name == synonym.stored && !definition.is_public) throw OracleError(error::synonym_same_name);
    const auto existing = catalogue::find_object(session, synonym.name, catalogue::space_of(synonym.type));
    if (existing && (existing->type != synonym.type || !definition.replace))
        throw OracleError(error::name_in_use, synonym.name);
    if (!existing) return catalogue::add_object(session, synonym);
    synonym.id = existing->id;
    catalogue::update_object(session, synonym);
}

void comment(Session& session, const sql::CommentOn& definition) {
    const auto object = find_through_synonyms(session, definition.table.name.text);
    if (!object || (object->type != "TABLE" && object->type != "VIEW"))
        throw OracleError(error::no_such_table, definition.table.name.text);
    const std::string_view column = definition.column.text;
    constexpr auto columns = R"(SELECT 1 FROM "DTK$COLUMNS" WHERE object = ?1 AND name = ?2)";
    if (!column.empty() && !CatalogueQuery(session, columns, object->id, column).next())
        throw OracleError(error::invalid_identifier, quoted(column));
    CatalogueQuery(session, R"(DELETE FROM "DTK$COMMENTS" WHERE object = ?1 AND column_name = ?2)", object->id, column)
        .run();
    if (definition.text.empty()) return;
    CatalogueQuery(session, R"(INSERT INTO "DTK$COMMENTS" VALUES(?1, ?2, ?3))", object->id, column, definition.text)
        .run();
}

void create_role(Session& session, const sql::CreateRole& definition) {
    if (is_known_user(session, definition.name.text)) throw OracleError(error::role_name_in_use, definition.name.text);
    Object role;
    role.name = definition.name.text;
    role.type = "ROLE";
    catalogue::add_object(session, role);
}

void check_privileges(Session& session, const sql::Privileges& definition) {
    const sql::ObjectName& object = definition.object;
    const bool of_server = object.schema.text == "SYS" || object.schema.text == "SYSTEM";
    if (object.name && !of_server && !find_through_synonyms(session, object.name.text) &&
        session.dictionary().relation({}, object.name.text) == nullptr)
        throw OracleError(error::no_such_table, object.name.text);
    for (std::size_t i = 0; i < definition.passwords.size(); ++i) {
        const std::string_view user = definition.users[i].text;
        const bool known = is_known_user(session, user);
        (known ? accounts::alter : accounts::create)(session, user, definition.passwords[i]);
    }
    for (const auto& user : definition.users) {
        if (!is_known_user(session, user.text) && !is_system_role(user.text))
            throw OracleError(error::no_such_user_or_role, user.text);
    }
}

} // namespace oci::definitions
