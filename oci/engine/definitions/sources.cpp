#include "oci/engine/block.h"
#include "oci/engine/definitions/catalogue_query.h"
#include "oci/engine/definitions/definitions.h"

namespace oci::definitions {
namespace {

/// Until the language reads its own texts.
void create_old_procedure(Session& session, const sql::CreateSource& definition) {
    const std::string text(definition.text);
    const std::vector<Token> tokens = tokenize(text);
    std::span<const Token> rest(tokens);
    rest = rest.subspan(1);
    if (rest.size() > 1 && rest[rest.size() - 2].is(";")) rest = rest.first(rest.size() - 2);
    create_procedure(session, text, rest, definition.replace);
}

} // namespace

void create_source(Session& session, const sql::CreateSource& definition) {
    if (definition.type != "PROCEDURE") throw OracleError(error::unimplemented, definition.type);
    const auto space = catalogue::space_of(definition.type);
    const auto existing = catalogue::find_object(session, definition.name.name.text, space);
    if (existing && (existing->type != definition.type || !definition.replace))
        throw OracleError(error::name_in_use, definition.name.name.text);
    Object source = existing.value_or(Object{});
    source.name = definition.name.name.text;
    source.type = definition.type;
    source.text = definition.text;
    create_old_procedure(session, definition);
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
    if (definition.enabled) source->options = *definition.enabled ? "ENABLED" : "DISABLED";
    if (definition.new_name) source->name = definition.new_name.text;
    catalogue::update_object(session, *source);
}

} // namespace oci::definitions
