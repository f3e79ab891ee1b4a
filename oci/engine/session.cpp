#include "oci/engine/session.h"

#include "oci/engine/accounts.h"
#include "oci/engine/definitions/catalogue_tables.h"
#include "oci/engine/definitions/dictionary.h"
#include "oci/engine/language.h"
#include "oci/engine/rows.h"
#include "oci/engine/statement.h"
#include "oci/engine/user_functions.h"
#include "oci/functions/functions.h"

#include <cerrno>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <sqlite3.h>
#include <unistd.h>
#include <utility>

namespace oci {
namespace {

constexpr auto look_every = std::chrono::milliseconds(20);
constexpr std::size_t most_kept_statements = 100;

constexpr auto settings = "PRAGMA journal_mode=WAL;"
                          "PRAGMA synchronous=NORMAL;"
                          "PRAGMA foreign_keys=ON;"
                          "PRAGMA case_sensitive_like=ON;"
                          "PRAGMA temp_store=MEMORY";

/// The clock that costs next to nothing to read, as exact as the system's ticks.
std::chrono::nanoseconds coarse_now() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
    return std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec);
}

unsigned long long next_transaction() {
    static std::atomic<unsigned long long> last{0};
    return ++last;
}

} // namespace

void Finalizer::operator()(sqlite3_stmt* statement) const {
    sqlite3_finalize(statement);
}
void Session::Closer::operator()(sqlite3* db) const {
    sqlite3_close_v2(db);
}

Session::Session(std::shared_ptr<Database> database, std::string_view user, std::string_view password)
    : m_database(std::move(database)),
      m_user(accounts::canonical(user)) {
    open();
    accounts::authenticate(*this, password);
    catalogue::open(*this);
    m_change_count = compile(catalogue::change_count_query);
    m_dictionary = std::make_unique<Dictionary>(*this);
}

void Session::open() {
    const bool create = m_database->may_create();
    sqlite3* db = nullptr;
    const int flags =
        SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE | (create ? SQLITE_OPEN_CREATE : 0);
    const int status = sqlite3_open_v2(m_database->path().c_str(), &db, flags, nullptr);
    m_db.reset(db);
    if (status != SQLITE_OK) {
        check_place();
        const std::string reason = m_database->path() + ": " + std::strerror(sqlite3_system_errno(db));
        throw OracleError(m_database->identity() == FileIdentity{} ? 1034 : 1157, reason);
    }
    sqlite3_db_config(db, SQLITE_DBCONFIG_DQS_DML, 0, nullptr);
    sqlite3_db_config(db, SQLITE_DBCONFIG_DQS_DDL, 0, nullptr);
    sqlite3_busy_timeout(db, static_cast<int>(default_patience.count()));
    try {
        run(settings);
    } catch (const OracleError&) {
        check_place();
        throw;
    }
    if (m_database->in_memory()) run("PRAGMA synchronous=OFF");
    register_functions(db, m_user);
    register_user_functions(*this);
    m_begin = compile("BEGIN IMMEDIATE");
    m_commit = compile("COMMIT");
    m_rollback = compile("ROLLBACK");
    m_identity = m_database->identity();
    m_database->was_opened();
}

void Session::check_place() const {
    const auto end_of_folder = m_database->path().rfind('/') + 1;
    const std::string folder = m_database->path().substr(0, end_of_folder);
    if (faccessat(AT_FDCWD, folder.c_str(), W_OK, AT_EACCESS) == 0) return;
    const int reason = errno;
    if (reason != EROFS && reason != EACCES) return;
    throw OracleError(16000, m_database->path() + ": " + std::strerror(reason));
}

void Session::set_language(std::unique_ptr<Language> language) {
    m_language = std::move(language);
}

Session::~Session() {
    m_language.reset(); // its statements are the session's
    m_kept.clear();
    if (m_transaction != 0) end_transaction(); // closing the connection rolls back
}

void Session::check_connected() {
    if (!m_lost && m_database->identity() != m_identity) lose();
    if (m_lost) throw OracleError(3114);
    m_last_look = coarse_now();
}

void Session::check_connected_lately() {
    if (m_lost || coarse_now() - m_last_look > look_every) check_connected();
}

void Session::lose() {
    m_lost = true;
    if (m_transaction != 0) rollback();
}

int Session::begin_immediate() {
    const int status = sqlite3_step(m_begin.get());
    sqlite3_reset(m_begin.get());
    return status;
}

bool Session::begin(std::chrono::milliseconds patience) {
    if (m_transaction != 0) return false;
    check_connected();
    if (!m_database->acquire_writer(patience)) throw OracleError(patience.count() == 0 ? 54 : 30006);
    sqlite3_busy_timeout(db(), static_cast<int>(patience.count()));
    int status = begin_immediate();
    if (status == SQLITE_BUSY_SNAPSHOT) {
        // A query that is still open sees an older state of the database than a writer has to start from.
        try {
            detach_queries();
            status = begin_immediate();
        } catch (...) {
            m_database->release_writer();
            throw;
        }
    }
    sqlite3_busy_timeout(db(), static_cast<int>(default_patience.count()));
    if (status != SQLITE_DONE) {
        m_database->release_writer();
        throw(status & 0xFF) == SQLITE_BUSY && patience.count() == 0 ? OracleError(54) : sqlite_error(db());
    }
    m_transaction = next_transaction();
    return true;
}

void Session::end_transaction() {
    m_transaction = 0;
    m_database->release_writer();
}

void Session::commit() {
    check_connected();
    if (m_transaction == 0) return;
    const int status = sqlite3_step(m_commit.get());
    if (status != SQLITE_DONE) {
        const OracleError error = sqlite_error(db());
        sqlite3_reset(m_commit.get());
        rollback();
        throw error;
    }
    sqlite3_reset(m_commit.get());
    end_transaction();
}

void Session::rollback() {
    if (m_transaction == 0) return;
    sqlite3_step(m_rollback.get());
    sqlite3_reset(m_rollback.get());
    end_transaction();
}

void Session::failed() {
    if (m_transaction != 0 && sqlite3_get_autocommit(db()) != 0) end_transaction();
}

void Session::change_password(std::string_view user, std::string_view old_password, std::string_view new_password) {
    const bool began = begin();
    try {
        accounts::change_password(*this, user, old_password, new_password);
    } catch (...) {
        if (began) rollback();
        throw;
    }
    commit();
}

void Session::detach_queries() {
    while (!open_queries.empty()) open_queries.back()->detach(); // which is taken out of the list by that
}

Compiled Session::compile(std::string_view sql) const {
    sqlite3_stmt* statement = nullptr;
    const int status = sqlite3_prepare_v3(db(), sql.data(), static_cast<int>(sql.size()), SQLITE_PREPARE_PERSISTENT,
                                          &statement, nullptr);
    if (status != SQLITE_OK) throw sqlite_error(db());
    return Compiled(statement);
}

void Session::run(const std::string& sql) const {
    if (sqlite3_exec(db(), sql.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK) throw sqlite_error(db());
}

void Session::forget_outdated_tables() {
    const int status = sqlite3_step(m_change_count.get());
    const std::int64_t changes = sqlite3_column_int64(m_change_count.get(), 0);
    sqlite3_reset(m_change_count.get());
    if (status != SQLITE_ROW) throw sqlite_error(db());
    m_database->saw_catalogue_change(changes);
    const unsigned now = m_database->ddl_count;
    if (std::exchange(m_tables_known_at, now) == now) return;
    m_tables.clear();
    m_dictionary->forget();
}

const std::vector<Column>* Session::columns_of(std::string_view table) {
    auto known = m_tables.find(table);
    if (known == m_tables.end()) {
        std::vector<Column> columns;
        const auto query = compile("SELECT name, type, \"notnull\" FROM pragma_table_info(?1)");
        Value::of(table).bind(query.get(), 1);
        while (sqlite3_step(query.get()) == SQLITE_ROW) {
            const auto text = [&](int i) { return reinterpret_cast<const char*>(sqlite3_column_text(query.get(), i)); };
            columns.push_back({upper(text(0)), ColumnType::parse(text(1)).value_or(ColumnType{})});
            columns.back().type.nullable = sqlite3_column_int(query.get(), 2) == 0;
        }
        const bool found = !columns.empty();
        known = m_tables.emplace(table, found ? std::optional(std::move(columns)) : std::nullopt).first;
    }
    return known->second ? &*known->second : nullptr;
}

void Session::schema_changed() {
    ++m_database->ddl_count;
    m_tables.clear();
    m_dictionary->forget();
}

std::unique_ptr<Statement> Session::take_statement(std::string_view text) {
    if (const auto found = m_kept.find(text); found != m_kept.end()) {
        auto statement = std::move(found->second);
        m_kept.erase(found);
        return statement;
    }
    return std::make_unique<Statement>(text);
}

void Session::keep_statement(std::unique_ptr<Statement> statement) {
    if (m_kept.size() >= most_kept_statements) m_kept.erase(m_kept.begin());
    const std::string_view text = statement->text();
    m_kept.emplace(text, std::move(statement));
}

Savepoint::Savepoint(Session& session) : m_session(session), m_transaction(session.transaction()) {
    if (m_transaction != 0) session.run("SAVEPOINT \"DTK$STATEMENT\"");
}

void Savepoint::keep() {
    if (m_transaction != 0 && m_session.transaction() == m_transaction) m_session.run("RELEASE \"DTK$STATEMENT\"");
}

void Savepoint::undo() {
    m_session.failed();
    if (m_session.transaction() == 0) return;
    if (m_session.transaction() != m_transaction) return m_session.rollback();
    m_session.run("ROLLBACK TO \"DTK$STATEMENT\"; RELEASE \"DTK$STATEMENT\"");
}

} // namespace oci
