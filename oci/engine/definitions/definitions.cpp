#include "oci/engine/definitions/definitions.h"

#include "oci/engine/catalogue/catalogue_query.h"
#include "oci/engine/catalogue/catalogue_tables.h"
#include "oci/engine/catalogue/dictionary.h"
#include "oci/engine/database/accounts.h"
#include "oci/engine/tables/column_expressions.h"
#include "oci/sql/definitions/parser.h"

namespace oci {
namespace definitions {
namespace {

const error::Cause& not_found(std::string_view type) {
    if (type == "SEQUENCE") return error::no_such_sequence;
    if (type == "TRIGGER") return error::no_such_trigger;
    if (type == "SYNONYM") return error::no_such_private_synonym;
    if (type == "PUBLIC SYNONYM") return error::no_such_public_synonym;
    if (type == "ROLE") return error::no_such_role;
    if (type == "VIEW" || type == "TABLE") return error::no_such_table;
    return error::no_such_object;
}

void drop_object(Session& session, const sql::Drop& definition) {
    const std::string_view name = definition.name.name.text;
    const auto object = catalogue::find_object(session, name, catalogue::space_of(definition.type));
    if (!object || object->type != definition.type) throw OracleError(not_found(definition.type), name);
    if (object->type == "SEQUENCE" && object->base != 0) throw OracleError(error::system_sequence);
    if (object->type == "PACKAGE") {
        if (const auto body = catalogue::find_object(session, name, Object::Space::package_body))
            catalogue::remove_object(session, body->id);
    }
    catalogue::remove_object(session, object->id);
}

void drop(Session& session, const sql::Drop& definition) {
    if (definition.type == "TABLE") return drop_table(session, definition);
    if (definition.type == "INDEX") return drop_index(session, definition.name.name.text);
    if (definition.type == "USER") return accounts::drop(session, definition.name.name.text);
    drop_object(session, definition);
}

void alter_user(Session& session, const sql::UserDefinition& definition) {
    if (!definition.password) return;
    accounts::alter(session, definition.name.text, *definition.password);
}

void execute(Session& session, const sql::Definition& parsed) {
    using Kind = sql::DefinitionKind;
    switch (parsed.definition) {
    case Kind::create_table: return create_table(session, parsed.as<sql::CreateTable>());
    case Kind::create_index: return create_index(session, parsed.as<sql::CreateIndex>());
    case Kind::create_view: return create_view(session, parsed.as<sql::CreateView>());
    case Kind::create_sequence: return create_sequence(session, parsed.as<sql::SequenceDefinition>());
    case Kind::create_synonym: return create_synonym(session, parsed.as<sql::CreateSynonym>());
    case Kind::create_source: return create_source(session, parsed.as<sql::CreateSource>());
    case Kind::create_user:
        return accounts::create(session, parsed.as<sql::UserDefinition>().name.text,
                                *parsed.as<sql::UserDefinition>().password);
    case Kind::create_role: return create_role(session, parsed.as<sql::CreateRole>());
    case Kind::alter_table: return alter_table(session, parsed.as<sql::AlterTable>());
    case Kind::alter_index: return alter_index(session, parsed.as<sql::AlterIndex>());
    case Kind::alter_sequence: return alter_sequence(session, parsed.as<sql::SequenceDefinition>());
    case Kind::alter_user: return alter_user(session, parsed.as<sql::UserDefinition>());
    case Kind::alter_source: return alter_source(session, parsed.as<sql::AlterSource>());
    case Kind::drop: return drop(session, parsed.as<sql::Drop>());
    case Kind::truncate: return truncate(session, parsed.as<sql::Truncate>());
    case Kind::rename: return rename(session, parsed.as<sql::Rename>());
    case Kind::comment: return comment(session, parsed.as<sql::CommentOn>());
    case Kind::privileges: return check_privileges(session, parsed.as<sql::Privileges>());
    case Kind::nothing: return;
    }
}

/// The name of the table that a definition changes or removes; empty where it is none.
std::string_view changed_table(const sql::Definition& parsed) {
    using Kind = sql::DefinitionKind;
    switch (parsed.definition) {
    case Kind::alter_table: return parsed.as<sql::AlterTable>().table.name.text;
    case Kind::create_index: return parsed.as<sql::CreateIndex>().table.name.text;
    case Kind::truncate: return parsed.as<sql::Truncate>().table.name.text;
    case Kind::rename: return parsed.as<sql::Rename>().old_name.text;
    case Kind::drop:
        return parsed.as<sql::Drop>().type == "TABLE" ? parsed.as<sql::Drop>().name.name.text : std::string_view();
    default: return {};
    }
}

/// A table that another session's transaction uses cannot be changed, and is not waited for.
void begin(Session& session, const sql::Definition& parsed) {
    const auto object = find_through_synonyms(session, changed_table(parsed));
    const bool table = object && object->type == "TABLE";
    const std::chrono::seconds wanted(session.settings().ddl_lock_timeout_s);
    Database& database = session.database();
    session.begin(table ? database.patience_on(object->stored, wanted) : Session::default_patience);
}

/// Foreign keys are held back while tables are made anew: what they find is checked where a definition asks for it.
/// SQLite changes that only outside of transactions.
class WithoutForeignKeys {
  public:
    explicit WithoutForeignKeys(Session& session) : m_session(session) { m_session.run("PRAGMA foreign_keys=OFF"); }
    ~WithoutForeignKeys() { sqlite3_exec(m_session.db(), "PRAGMA foreign_keys=ON", nullptr, nullptr, nullptr); }
    WithoutForeignKeys(const WithoutForeignKeys&) = delete;
    WithoutForeignKeys& operator=(const WithoutForeignKeys&) = delete;

  private:
    Session& m_session;
};

} // namespace
} // namespace definitions

void execute_definition(Session& session, std::string_view text) {
    sql::Arena arena;
    const sql::Definition* parsed = sql::parse_definition(text, arena);
    session.commit();
    session.detach_queries(); // a table that is still being read cannot be changed
    const definitions::WithoutForeignKeys without(session);
    definitions::begin(session, *parsed);
    try {
        session.forget_outdated_tables();
        definitions::execute(session, *parsed);
        catalogue::count_change(session);
        session.commit();
    } catch (...) {
        session.rollback();
        session.schema_changed();
        throw;
    }
    session.schema_changed();
}

} // namespace oci
