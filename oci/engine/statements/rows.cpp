#include "oci/engine/statements/rows.h"

namespace oci {
namespace {

void check(int status, sqlite3* db) {
    if (status != SQLITE_OK && status != SQLITE_DONE) throw sqlite_error(db);
}

} // namespace

void Rows::Closer::operator()(sqlite3* db) const {
    sqlite3_close_v2(db);
}

void Rows::open(sqlite3_stmt* query) {
    m_session.open_queries.reserve(m_session.open_queries.size() + 1);
    m_query = m_rows = query;
    step();
    if (m_state != State::row) return;
    m_session.open_queries.push_back(this);
    m_reading = true;
}

void Rows::stop_reading() {
    if (!std::exchange(m_reading, false)) return;
    std::erase(m_session.open_queries, this);
}

[[gnu::noinline]] void Rows::stop(int status) {
    m_state = State::closed;
    stop_reading();
    if (status != SQLITE_DONE) {
        const OracleError error = sqlite_error(sqlite3_db_handle(m_rows));
        sqlite3_reset(m_rows);
        m_session.failed();
        throw error;
    }
    sqlite3_reset(m_rows);
}

[[gnu::noinline]] bool Rows::ended() {
    if (m_failure) std::rethrow_exception(std::exchange(m_failure, nullptr));
    return false;
}

void Rows::step_aside() {
    try {
        step();
    } catch (...) {
        m_failure = std::current_exception();
    }
}

void Rows::move_rest() {
    constexpr auto temporary_file = ""; // in memory until it grows too large
    sqlite3* db = nullptr;
    const int opened =
        sqlite3_open_v2(temporary_file, &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX, nullptr);
    std::unique_ptr<sqlite3, Closer> rest(db);
    check(opened, db);
    const int columns = sqlite3_column_count(m_rows);
    std::string names = "c0";
    std::string places = "?";
    for (int i = 1; i < columns; ++i) {
        names += ",c" + std::to_string(i);
        places += ",?";
    }
    const std::string set_up = "PRAGMA journal_mode=OFF; CREATE TABLE rest(" + names + "); BEGIN";
    check(sqlite3_exec(db, set_up.c_str(), nullptr, nullptr, nullptr), db);
    sqlite3_stmt* prepared = nullptr;
    check(sqlite3_prepare_v2(db, ("INSERT INTO rest VALUES(" + places + ")").c_str(), -1, &prepared, nullptr), db);
    const Compiled insert(prepared);
    for (; m_state != State::closed; step_aside()) {
        for (int i = 0; i < columns; ++i)
            check(sqlite3_bind_value(prepared, i + 1, sqlite3_column_value(m_rows, i)), db);
        check(sqlite3_step(prepared), db);
        sqlite3_reset(prepared);
    }
    check(sqlite3_exec(db, "COMMIT", nullptr, nullptr, nullptr), db);
    check(sqlite3_prepare_v2(db, "SELECT * FROM rest ORDER BY rowid", -1, &prepared, nullptr), db);
    m_detached_rows.reset(prepared);
    m_detached = std::move(rest);
    m_rows = prepared;
    m_state = State::between;
}

void Rows::detach() {
    if (m_state == State::between) step_aside();
    if (m_state == State::closed) return;
    try {
        move_rest();
    } catch (...) {
        close();
        m_failure = std::current_exception();
    }
}

void Rows::close() {
    stop_reading();
    m_failure = nullptr;
    if (m_query != nullptr) sqlite3_reset(m_query);
    m_detached_rows.reset();
    m_detached.reset();
    m_query = m_rows = nullptr;
    m_state = State::closed;
}

} // namespace oci
