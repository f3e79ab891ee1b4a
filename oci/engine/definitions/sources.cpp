#include "oci/engine/catalogue/catalogue_query.h"
#include "oci/engine/definitions/definitions.h"
#include "oci/engine/definitions/triggers.h"
#include "oci/engine/session/language.h"

namespace oci {
namespace {

std::int64_t table_of_trigger(const Session& session, const std::string& name) {
    const auto table = catalogue::find_object(session, name, Object::Space::general);
    if (!table || (table->type != "TABLE" && table->type != "VIEW")) throw OracleError(error::no_such_table, name);
    return table->id;
}

/// Reads a source as its next use would, and keeps what it says of itself.
void read(const Session& session, Object& source) {
    const Language::Source read = session.language()->read_source(source.type, source.text);
    source.valid = read.complete;
    if (source.type != "TRIGGER") return;
    source.options = read.enabled ? "ENABLED" : "DISABLED";
    source.base = table_of_trigger(session, read.table);
}

} // namespace

namespace definitions {

void create_source(Session& session, const sql::CreateSource& definition) {
    const auto space = catalogue::space_of(definition.type);
    const auto existing = catalogue::find_object(session, definition.name.name.text, space);
    if (existing && (existing->type != definition.type || !definition.replace))
        throw OracleError(error::name_in_use, definition.name.name.text);
    Object source = existing.value_or(Object{});
    source.name = definition.name.name.text;
    source.type = definition.type;
    source.text = definition.text;
    read(session, source);
    existing ? catalogue::update_object(session, source) : catalogue::add_object(session, source);
}

void alter_source(Session& session, const sql::AlterSource& definition) {
    const auto space = catalogue::space_of(definition.type);
    auto source = catalogue::find_object(session, definition.name.name.text, space);
    if (!source || source->type != definition.type)
        throw OracleError(definition.type == "TRIGGER" ? error::no_such_trigger
                          : definition.type == "VIEW"  ? error::no_such_table
                                                       : error::no_such_object,
                          definition.name.name.text);
    const bool compiles = !definition.enabled && !definition.new_name && definition.type != "VIEW";
    if (compiles) read(session, *source);
    if (definition.enabled) source->options = *definition.enabled ? "ENABLED" : "DISABLED";
    if (definition.new_name) source->name = definition.new_name.text;
    catalogue::update_object(session, *source);
}

} // namespace definitions

std::vector<TriggerSource> triggers_of(const Session& session, std::string_view stored_table) {
    CatalogueQuery rows(session,
                        R"(SELECT t.name, t.text FROM "DTK$OBJECTS" t JOIN "DTK$OBJECTS" o ON t.base = o.id
        WHERE t.space = 2 AND o.stored = ?1 AND t.options = 'ENABLED' ORDER BY t.id)",
                        stored_table);
    std::vector<TriggerSource> triggers;
    while (rows.next()) triggers.push_back({rows.text(0), rows.text(1)});
    return triggers;
}

} // namespace oci
