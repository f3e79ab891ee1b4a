#include "oci/engine/statement.h"

#include <sqlite3.h>
#include <utility>

namespace oci {
namespace {

constexpr int longest_text_expression = 4000;

void stop_reading(OCIStmt& handle) {
    if (Session* session = std::exchange(handle.reading, nullptr)) --session->open_queries;
}

[[gnu::noinline]] void stop_stepping(OCIStmt& handle, int status) {
    handle.cursor = OCIStmt::Cursor::closed;
    stop_reading(handle);
    if (status != SQLITE_DONE) {
        const OracleError error = sqlite_error(sqlite3_db_handle(handle.rows));
        sqlite3_reset(handle.rows);
        session_of(handle).failed();
        throw error;
    }
    sqlite3_reset(handle.rows);
}

void step(OCIStmt& handle) {
    const int status = sqlite3_step(handle.rows);
    if (status == SQLITE_ROW) [[likely]] {
        handle.cursor = OCIStmt::Cursor::row;
    } else {
        stop_stepping(handle, status);
    }
}

/// @return whether a column is of another type than before.
bool describe_by_value(OCIStmt& handle) {
    Statement& statement = *handle.statement;
    bool changed = false;
    for (std::size_t i = 0; i < statement.described_by_value.size(); ++i) {
        if (!statement.described_by_value[i]) continue;
        const bool row = handle.cursor == OCIStmt::Cursor::row;
        const ColumnType type =
            row ? type_of_value(handle.rows, static_cast<int>(i)) : ColumnType::of_family(Family::text, longest_text_expression);
        changed = changed || type.family != statement.columns[i].family;
        statement.columns[i] = type;
    }
    if (!changed) return false;
    statement.update_params();
    return true;
}

[[gnu::noinline]] void make_outputs(OCIStmt& handle) {
    const auto& columns = handle.statement->columns;
    if (handle.defines.size() > columns.size()) throw OracleError(1007);
    handle.outputs.clear();
    handle.lobs.clear();
    for (std::size_t i = 0; i < handle.defines.size(); ++i) {
        if (handle.defines[i] == nullptr) continue;
        const Buffer& buffer = handle.defines[i]->buffer;
        if (buffer.is_lob()) {
            handle.lobs.push_back(static_cast<ub4>(i));
        } else {
            handle.outputs.emplace_back(buffer, columns[i], handle.statement->stored[i], static_cast<int>(i));
        }
    }
    handle.outputs.emplace_back();
    handle.outputs_ready = true;
}

/// The locator of a row that is about to be fetched: should the caller free it meanwhile, its memory is not used for another.
void keep_locator(OCIDefine& define, ub4 row) {
    OCILobLocator* locator = locator_at(define.buffer.element(row));
    if (define.pinned.size() <= row) define.pinned.resize(row + 1, nullptr);
    OCILobLocator*& kept = define.pinned[row];
    if (locator == kept) return;
    if (locator != nullptr) pin(*locator);
    if (kept != nullptr) unpin(*kept);
    kept = locator;
}

void fetch_lob(OCIStmt& handle, ub4 column, ub4 row) {
    OCIDefine& define = *handle.defines[column];
    keep_locator(define, row);
    OCILobLocator* locator = locator_at(define.buffer.element(row));
    if (locator != nullptr) {
        if (!is_live<OCILobLocator>(locator)) revive(*locator);
        locator->temporary = false;
    }
    write(define.buffer, row, Value::of(sqlite3_column_value(handle.rows, static_cast<int>(column))));
    attach_to_row(define.buffer, row, handle, handle.rows, static_cast<int>(column));
}

[[gnu::noinline]] void fetch_lobs(OCIStmt& handle, ub4 row) {
    for (const ub4 column : handle.lobs) fetch_lob(handle, column, row);
}

/// There is nothing behind the end, nor behind the row that failed.
void close_fetch(OCIStmt& handle) {
    handle.at_end = true;
    handle.fetch_prepared = false;
}

[[gnu::noinline]] sword end_of_query(OCIStmt& handle) {
    if (handle.failure) throw *std::exchange(handle.failure, std::nullopt);
    close_fetch(handle);
    return OCI_NO_DATA;
}

void check(int status, sqlite3* db) {
    if (status != SQLITE_OK && status != SQLITE_DONE) throw sqlite_error(db);
}

/// Steps for another statement, which is not to fail for it: the failure waits for the next fetch.
void step_aside(OCIStmt& handle) {
    try {
        step(handle);
    } catch (const OracleError& error) {
        handle.failure = error;
    }
}

/// Moves the rows that a query has left into a database of their own and lets the query go on from there.
void move_rest(OCIStmt& handle) {
    constexpr auto temporary_file = ""; // in memory until it grows too large
    sqlite3* db = nullptr;
    const int opened =
        sqlite3_open_v2(temporary_file, &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX, nullptr);
    std::unique_ptr<sqlite3, ConnectionCloser> rest(db);
    check(opened, db);
    const int columns = sqlite3_column_count(handle.rows);
    std::string names = "c0";
    std::string places = "?";
    for (int i = 1; i < columns; ++i) {
        names += ",c" + std::to_string(i);
        places += ",?";
    }
    check(sqlite3_exec(db, ("PRAGMA journal_mode=OFF; CREATE TABLE rest(" + names + "); BEGIN").c_str(), nullptr,
                       nullptr, nullptr),
          db);
    sqlite3_stmt* prepared = nullptr;
    check(sqlite3_prepare_v2(db, ("INSERT INTO rest VALUES(" + places + ")").c_str(), -1, &prepared, nullptr), db);
    const Compiled insert(prepared);
    for (; handle.cursor != OCIStmt::Cursor::closed; step_aside(handle)) {
        for (int i = 0; i < columns; ++i) sqlite3_bind_value(prepared, i + 1, sqlite3_column_value(handle.rows, i));
        check(sqlite3_step(prepared), db);
        sqlite3_reset(prepared);
    }
    check(sqlite3_exec(db, "COMMIT", nullptr, nullptr, nullptr), db);
    check(sqlite3_prepare_v2(db, "SELECT * FROM rest ORDER BY rowid", -1, &prepared, nullptr), db);
    handle.detached_rows.reset(prepared);
    handle.detached = std::move(rest);
    handle.rows = prepared;
    handle.cursor = OCIStmt::Cursor::open;
}

[[gnu::noinline]] void prepare_fetch(OCIStmt& handle) {
    if (!handle.described) throw OracleError(24338);
    if (handle.at_end) throw OracleError(1002);
    if (!handle.outputs_ready) make_outputs(handle);
    handle.fetch_prepared = true;
}

/// @return whether there was a row left.
inline bool fetch_row(OCIStmt& handle, ub4 index) {
    if (handle.cursor == OCIStmt::Cursor::open) [[likely]] step(handle);
    if (handle.cursor == OCIStmt::Cursor::closed) [[unlikely]] return false;
    handle.cursor = OCIStmt::Cursor::open;
    handle.outputs.front().write_row(handle.rows, index);
    if (!handle.lobs.empty()) fetch_lobs(handle, index);
    handle.rows_fetched = index + 1;
    return true;
}

void detach(OCIStmt& handle) {
    if (handle.cursor == OCIStmt::Cursor::open) step_aside(handle);
    if (handle.cursor == OCIStmt::Cursor::closed) return;
    try {
        move_rest(handle);
    } catch (const OracleError& error) {
        close_cursor(handle);
        handle.failure = error;
    }
}

} // namespace

ColumnType type_of_value(sqlite3_stmt* row, int column) {
    switch (sqlite3_column_type(row, column)) {
    case SQLITE_INTEGER:
    case SQLITE_FLOAT: return ColumnType::number();
    case SQLITE_BLOB: return ColumnType::of_family(Family::raw, 2000);
    default: return ColumnType::of_family(Family::text, longest_text_expression);
    }
}

void detach_queries(Session& session) {
    for (OCIStmt* handle : session.handles) {
        if (handle->reading != nullptr) detach(*handle);
    }
}

void execute_query(OCIStmt& handle) {
    Session& session = session_of(handle);
    Statement& statement = *handle.statement;
    handle.described = handle.fetch_prepared = false;
    session.check_connected_lately();
    if (statement.compile(session)) handle.inputs_ready = handle.outputs_ready = false;
    bind_inputs(handle, 0);
    const bool began = statement.translation.for_update && session.begin(statement.translation.patience);
    handle.rows = statement.compiled.get();
    try {
        step(handle);
    } catch (...) {
        if (began) session.rollback();
        throw;
    }
    if (handle.cursor == OCIStmt::Cursor::row) {
        handle.reading = &session;
        ++session.open_queries;
    } else if (began) {
        session.rollback(); // no row, no lock
    }
    if (describe_by_value(handle)) handle.outputs_ready = false;
    handle.described = true;
    handle.at_end = false;
}

sword fetch(OCIStmt& handle, ub4 rows) {
    handle.rows_fetched = 0;
    if (!handle.fetch_prepared) prepare_fetch(handle);
    try {
        for (ub4 row = 0; row < rows; ++row) {
            if (!fetch_row(handle, row)) [[unlikely]] return end_of_query(handle);
        }
    } catch (...) {
        if (handle.cursor == OCIStmt::Cursor::closed) close_fetch(handle);
        throw;
    }
    return OCI_SUCCESS;
}

void close_cursor(OCIStmt& handle) {
    stop_reading(handle);
    handle.failure.reset();
    if (handle.statement && handle.statement->compiled) sqlite3_reset(handle.statement->compiled.get());
    handle.detached_rows.reset();
    handle.detached.reset();
    handle.rows = nullptr;
    handle.cursor = OCIStmt::Cursor::closed;
}

} // namespace oci
