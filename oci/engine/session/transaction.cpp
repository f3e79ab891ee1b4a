#include "oci/engine/session/transaction.h"

#include "oci/engine/catalogue/dictionary.h"
#include "oci/engine/session/session.h"
#include "oci/engine/tables/violations.h"

#include <atomic>
#include <sqlite3.h>
#include <utility>

namespace oci {
namespace {

unsigned long long next_number() {
    static std::atomic<unsigned long long> last{0};
    return ++last;
}

/// Runs a statement that gives no rows.
int run(sqlite3_stmt* statement) {
    const int status = sqlite3_step(statement);
    sqlite3_reset(statement);
    return status == SQLITE_DONE ? SQLITE_OK : status;
}

void reset_all(sqlite3* db) {
    for (sqlite3_stmt* each = sqlite3_next_stmt(db, nullptr); each != nullptr; each = sqlite3_next_stmt(db, each))
        sqlite3_reset(each);
}

std::string next_savepoint() {
    static std::atomic<unsigned long long> last{0};
    return "\"DTK$" + std::to_string(++last) + "\"";
}

} // namespace

void Transaction::prepare() {
    m_begin = m_session.compile("BEGIN IMMEDIATE");
    m_commit = m_session.compile("COMMIT");
    m_rollback = m_session.compile("ROLLBACK");
}

int Transaction::begin_immediate() const {
    const int status = run(m_begin.get());
    if (status != SQLITE_BUSY_SNAPSHOT) return status;
    // A query that is still open sees an older state of the database than a writer has to start from.
    m_session.detach_queries();
    return run(m_begin.get());
}

bool Transaction::begin(std::chrono::milliseconds patience) {
    if (m_number != 0) {
        if (!m_writes) throw OracleError(error::read_only_transaction);
        return false;
    }
    m_session.check_connected();
    Database& database = m_session.database();
    if (!database.acquire_writer(patience))
        throw OracleError(patience.count() == 0 ? error::resource_busy : error::wait_expired);
    int status = SQLITE_OK;
    try {
        sqlite3_busy_timeout(m_session.db(), static_cast<int>(patience.count()));
        status = begin_immediate();
        sqlite3_busy_timeout(m_session.db(), static_cast<int>(Session::default_patience.count()));
        if ((status & 0xFF) == SQLITE_BUSY && patience.count() == 0) throw OracleError(error::resource_busy);
        if (status != SQLITE_OK) throw sqlite_error(m_session.db());
    } catch (...) {
        database.release_writer();
        throw;
    }
    m_number = next_number();
    m_writes = true;
    return true;
}

void Transaction::begin_read_only() {
    if (m_number != 0) throw OracleError(error::set_transaction_not_first);
    m_session.check_connected();
    m_session.run("BEGIN; SELECT 1 FROM sqlite_schema LIMIT 1"); // the first read decides what all others see
    m_number = next_number();
    m_writes = false;
}

void Transaction::ended() noexcept {
    m_number = 0;
    if (std::exchange(m_writes, false)) m_session.database().release_writer();
}

void Transaction::commit() {
    if (m_number == 0) return;
    if (run(m_commit.get()) != SQLITE_OK) {
        const OracleError error = commit_failure(m_session);
        rollback();
        throw error;
    }
    ended();
}

void Transaction::rollback() {
    if (m_number == 0) return;
    // What is being carried out may stand in the way, and memory that is short now may be there in a moment.
    constexpr int most_attempts = 50;
    for (int attempt = 0; attempt < most_attempts && sqlite3_get_autocommit(m_session.db()) == 0; ++attempt) {
        if (attempt > 0) reset_all(m_session.db());
        run(m_rollback.get());
    }
    const bool kept = sqlite3_get_autocommit(m_session.db()) == 0;
    ended();
    if (kept) m_session.give_up();
}

void Transaction::failed() {
    if (m_number != 0 && sqlite3_get_autocommit(m_session.db()) != 0) ended();
}

void Transaction::abandon() noexcept {
    if (m_number != 0) ended();
}

Savepoint::Savepoint(Session& session)
    : m_session(session),
      m_transaction(session.transaction()),
      m_name(m_transaction != 0 ? next_savepoint() : std::string()) {
    if (m_transaction != 0) session.run("SAVEPOINT " + m_name);
}

void Savepoint::keep() {
    if (m_transaction != 0 && m_session.transaction() == m_transaction) m_session.run("RELEASE " + m_name);
}

void Savepoint::undo() {
    m_session.failed();
    if (m_session.transaction() == 0) return;
    if (m_session.transaction() != m_transaction) return m_session.rollback();
    try {
        m_session.run("ROLLBACK TO " + m_name + "; RELEASE " + m_name);
        m_session.dictionary().rolled_back();
    } catch (const OracleError&) {
        m_session.rollback(); // better nothing than half a statement
    }
}

} // namespace oci
