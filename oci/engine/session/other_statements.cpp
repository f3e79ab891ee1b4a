#include "oci/engine/session/other_statements.h"

#include "oci/engine/catalogue/dictionary.h"
#include "oci/engine/definitions/definitions.h"
#include "oci/engine/session/alter_session.h"
#include "oci/engine/tables/column_expressions.h"
#include "oci/sql/parser.h"

namespace oci {
namespace {

/// The database is locked as a whole: what keeps other sessions from writing to a table keeps them from all.
void lock_tables(Session& session, const sql::Transaction& statement) {
    std::vector<std::string> stored;
    for (const sql::ObjectName& table : statement.tables) {
        const sql::Relation* relation = session.dictionary().relation(table.schema.text, table.name.text);
        if (relation == nullptr) throw OracleError(error::no_such_table);
        stored.push_back(relation->stored_name);
    }
    const bool waits = statement.wait != sql::RowLock::Wait::forever;
    if (!statement.exclusive) return;
    Database& database = session.database();
    auto patience = Session::patience(waits ? statement.seconds : -1);
    if (stored.size() == 1) patience = database.patience_on(stored.front(), patience);
    const bool began = session.begin(patience);
    try {
        for (const auto& table : stored) database.uses(table);
    } catch (...) {
        if (began) session.rollback();
        throw;
    }
}

/// Nobody else writes while the transaction holds the lock: all that it reads is of the same state.
void begin_serializable(Session& session) {
    if (!session.begin()) throw OracleError(error::set_transaction_not_first);
}

void control_transaction(Session& session, const sql::Transaction& statement) {
    using Action = sql::Transaction::Action;
    switch (statement.action) {
    case Action::commit: return session.commit();
    case Action::rollback: return session.rollback();
    case Action::savepoint: session.begin(); return session.run("SAVEPOINT " + quoted(statement.savepoint.text));
    case Action::rollback_to:
        session.run("ROLLBACK TO " + quoted(statement.savepoint.text));
        return session.dictionary().rolled_back();
    case Action::read_only: return session.begin_read_only();
    case Action::serializable: return begin_serializable(session);
    case Action::read_write:
    case Action::read_committed:
    case Action::named: return; // as it is anyway
    case Action::lock: return lock_tables(session, statement);
    }
}

} // namespace

void execute_other(Session& session, const Statement& statement) {
    session.check_connected_lately();
    sql::Arena arena;
    sql::TokenStream tokens(statement.text(), arena);
    if (tokens.at("ALTER", "SESSION")) return alter_session(session, statement.text());
    if (sql::classify(tokens) != sql::StatementKind::transaction) return execute_definition(session, statement.text());
    session.forget_outdated_tables();
    control_transaction(session, sql::parse_statement(statement.text(), arena)->as<sql::Transaction>());
}

} // namespace oci
