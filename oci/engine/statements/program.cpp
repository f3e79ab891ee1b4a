#include "oci/engine/statements/program.h"

#include "oci/engine/catalogue/dictionary.h"
#include "oci/sql/parser.h"
#include "oci/sql/resolver/resolver.h"

namespace oci {

Program Program::compile(Session& session, std::string_view text, sql::Variables* variables) {
    Program made;
    made.compiled_at = session.database().ddl_count;
    made.settings_then = session.settings_changes();
    session.forget_outdated_tables();
    sql::Arena arena;
    sql::TokenStream tokens(text, arena, variables != nullptr ? sql::Dialect::block : sql::Dialect::sql);
    const sql::Statement& statement =
        variables != nullptr ? *sql::parse_statement(tokens) : *sql::parse_statement(text, arena);
    made.translation = sql::translate(statement, arena, session.dictionary(), variables);
    made.compiled = session.compile_for_application(made.translation.sql);
    if (!made.translation.actions.empty())
        made.actions = std::make_unique<RowActions>(session, made.translation.actions);
    return made;
}

void Program::note_first_use(const Session& session) {
    Database& database = session.database();
    if (!translation.modified_table.empty()) database.uses(translation.modified_table);
    if (!translation.locked_table.empty()) database.uses(translation.locked_table);
    for (const auto& action : translation.actions) database.uses(action.table);
    used_in = session.transaction();
}

} // namespace oci
