#include "oci/engine/session/session.h"

#include "oci/engine/buffers/large_object.h"
#include "oci/engine/catalogue/catalogue_tables.h"
#include "oci/engine/catalogue/dictionary.h"
#include "oci/engine/database/accounts.h"
#include "oci/engine/session/language.h"
#include "oci/engine/session/sequences.h"
#include "oci/engine/session/user_functions.h"
#include "oci/engine/statements/rows.h"
#include "oci/engine/statements/statement.h"
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

constexpr auto pragmas = "PRAGMA journal_mode=WAL;"
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

std::int64_t next_session() {
    static std::atomic<std::int64_t> last{0};
    return ++last;
}

/// SQLite makes a file readable by everybody: this one will hold the hashes of passwords. SQLite's own files beside it
/// get its mode.
void make_private_file(const std::string& path) {
    const int file = open(path.c_str(), O_CREAT | O_EXCL | O_RDWR | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (file >= 0) close(file);
}

std::string refusal(const std::string& path, const std::string& place) {
    if (faccessat(AT_FDCWD, place.c_str(), W_OK, AT_EACCESS) == 0) return {};
    const int reason = errno;
    return reason == EROFS || reason == EACCES ? path + ": " + std::strerror(reason) : std::string();
}

/// Waits for processes that log on to the same new file: changing its journal is what SQLite does not wait for by
/// itself.
void run_patiently(sqlite3* db, const char* sql) {
    const auto until = std::chrono::steady_clock::now() + Session::default_patience;
    for (int status = SQLITE_BUSY; status != SQLITE_OK;) {
        status = sqlite3_exec(db, sql, nullptr, nullptr, nullptr);
        const bool busy = (status & 0xFF) == SQLITE_BUSY && std::chrono::steady_clock::now() < until;
        if (status != SQLITE_OK && !busy) throw sqlite_error(db);
        if (busy) sqlite3_sleep(5);
    }
}

constexpr int steps_between_looks = 100'000;

} // namespace

void Session::Closer::operator()(sqlite3* db) const {
    sqlite3_close_v2(db);
}

Session::Session(std::shared_ptr<Database> database, std::string_view user, std::string_view password)
    : m_database(std::move(database)) {
    m_settings.user = accounts::canonical(user);
    m_settings.session = next_session();
    m_settings.database = m_database->name();
    open();
    accounts::authenticate(*this, password);
    catalogue::open(*this);
    m_change_count = compile(catalogue::change_count_query);
    m_dictionary = std::make_unique<Dictionary>(*this);
    m_sequences = std::make_unique<Sequences>(*this);
}

void Session::open() {
    open_file();
    set_up_connection();
    m_transaction.prepare();
    m_identity = m_database->identity();
    m_database->was_opened();
}

void Session::open_file() {
    const bool create = m_database->may_create();
    if (create) {
        // One at a time: closing a file gives up the locks that SQLite may have on it in another thread.
        const std::lock_guard lock(m_database->setup);
        make_private_file(m_database->path());
    }
    check_place();
    sqlite3* db = nullptr;
    const int flags =
        SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE | (create ? SQLITE_OPEN_CREATE : 0);
    const int status = sqlite3_open_v2(m_database->path().c_str(), &db, flags, nullptr);
    m_db.reset(db);
    if (status == SQLITE_OK) return;
    if (db == nullptr || status == SQLITE_NOMEM) throw std::bad_alloc();
    const std::string reason = m_database->path() + ": " + std::strerror(sqlite3_system_errno(db));
    throw OracleError(m_database->identity() == FileIdentity{} ? error::not_available : error::cannot_identify_file,
                      reason);
}

void Session::set_up_connection() {
    sqlite3_db_config(db(), SQLITE_DBCONFIG_DQS_DML, 0, nullptr);
    sqlite3_db_config(db(), SQLITE_DBCONFIG_DQS_DDL, 0, nullptr);
    sqlite3_busy_timeout(db(), static_cast<int>(default_patience.count()));
    run_patiently(db(), pragmas);
    if (m_database->in_memory()) run("PRAGMA synchronous=OFF");
    register_functions(db(), m_settings, m_work);
    register_user_functions(*this);
    m_authorizer.guard(db());
    sqlite3_progress_handler(
        db(), steps_between_looks,
        [](void* work) { return static_cast<Work*>(work)->exceeded_after(steps_between_looks) ? 1 : 0; }, &m_work);
}

void Session::check_place() const {
    const std::string& path = m_database->path();
    std::string refused = refusal(path, path.substr(0, path.rfind('/') + 1));
    // Opened once to be read, the file would leave files of SQLite's beside it that nobody can write to any more.
    if (refused.empty()) refused = refusal(path, path);
    if (!refused.empty()) throw OracleError(error::read_only_database, refused);
}

SessionSettings& Session::change_settings() {
    ++m_settings_changes;
    return m_settings;
}

void Session::set_language(std::unique_ptr<Language> language) {
    m_language = std::move(language);
}

Session::~Session() {
    m_language.reset(); // its statements are the session's
    m_kept.clear();
    m_transaction.abandon();
}

void Session::check_connected() {
    if (!m_lost && m_database->identity() != m_identity) lose();
    if (m_lost) throw OracleError(error::not_connected);
    m_last_look = coarse_now();
}

void Session::check_connected_lately() {
    if (m_lost || coarse_now() - m_last_look > look_every) check_connected();
}

void Session::lose() {
    m_lost = true;
    rollback();
}

void Session::give_up() {
    m_lost = true;
    throw OracleError(error::not_connected);
}

void Session::commit() {
    check_connected();
    store_large_objects();
    if (m_dictionary && m_transaction.number() != 0) {
        m_dictionary->empty_temporary_tables();
        m_sequences->mark();
    }
    m_transaction.commit();
}

void Session::rollback() {
    forget_unstored();
    m_transaction.rollback();
    if (m_dictionary) m_dictionary->rolled_back();
}

void Session::store_later(std::shared_ptr<LargeObjectContent> content) {
    m_unstored.push_back(content);
    content->stored = false;
}

void Session::store_unstored() {
    const auto unstored = std::exchange(m_unstored, {});
    for (const auto& content : unstored) content->stored = true;
    for (const auto& content : unstored) content->store(*this);
}

void Session::forget_unstored() noexcept {
    for (const auto& content : m_unstored) content->stored = true;
    m_unstored.clear();
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
    const char* rest = nullptr;
    const int status = sqlite3_prepare_v3(db(), sql.data(), static_cast<int>(sql.size()), SQLITE_PREPARE_PERSISTENT,
                                          &statement, &rest);
    Compiled compiled(statement);
    if (status != SQLITE_OK) throw sqlite_error(db());
    // SQLite ends at a NUL byte or a semicolon: what stands behind it would be lost in silence.
    if (rest != sql.data() + sql.size()) throw OracleError(error::invalid_character);
    return compiled;
}

Compiled Session::compile_for_application(std::string_view sql) {
    const Authorizer::Application application(m_authorizer);
    return compile(sql);
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
    m_dictionary->forget();
}

void Session::schema_changed() {
    ++m_database->ddl_count;
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

void Session::keep_statement(std::unique_ptr<Statement> statement) noexcept {
    // A definition is not run twice, and may hold a password.
    if (statement->kind() == Statement::Kind::other) return;
    if (m_kept.size() >= most_kept_statements) m_kept.erase(m_kept.begin());
    const std::string_view text = statement->text();
    try {
        m_kept.emplace(text, std::move(statement));
    } catch (const std::bad_alloc&) {
        // It is compiled anew when it is needed again.
    }
}

} // namespace oci
