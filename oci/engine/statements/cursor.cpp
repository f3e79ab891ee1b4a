#include "oci/engine/statements/cursor.h"

#include "oci/engine/buffers/large_object.h"
#include "oci/engine/session/language.h"
#include "oci/engine/session/other_statements.h"
#include "oci/engine/tables/violations.h"

#include <sqlite3.h>

namespace oci {
namespace {

/// A query that is still open neither sees what the session writes nor hides from it what others have committed.
void keep_open_queries_apart(Session& session, Statement::Kind next) {
    if (session.open_queries.empty() || next == Statement::Kind::other) return;
    if (next != Statement::Kind::query || session.transaction() == 0) session.detach_queries();
}

} // namespace

Cursor::Cursor(Session& session, std::unique_ptr<Statement> statement)
    : m_session(session),
      m_statement(std::move(statement)),
      m_rows(session) {}

std::unique_ptr<Statement> Cursor::give_up_statement() {
    close();
    if (m_statement->compiled() != nullptr) sqlite3_clear_bindings(m_statement->compiled());
    return std::move(m_statement);
}

void Cursor::check_placeholder(unsigned position) const {
    if (position == 0 || position > m_statement->names().size()) throw OracleError(error::illegal_variable);
}

void Cursor::check_column(unsigned position) const {
    constexpr std::size_t most_columns = 1000;
    const std::size_t columns = m_described ? m_statement->program().columns.size() : most_columns;
    if (position == 0 || position > columns) throw OracleError(error::not_in_select_list);
}

void Cursor::define(unsigned position, const Buffer& buffer) {
    m_fetch_prepared = false;
    m_defines.set(position, buffer);
}

void Cursor::execute(ub4 iterations, ub4 first) {
    if (m_statement->text().find('\0') != std::string::npos) throw OracleError(error::invalid_character);
    m_session.work().restart();
    m_session.store_large_objects();
    m_rows.close();
    m_rows_fetched = 0;
    keep_open_queries_apart(m_session, m_statement->kind());
    switch (m_statement->kind()) {
    case Statement::Kind::query: return execute_query();
    case Statement::Kind::dml: return execute_dml(iterations, first);
    case Statement::Kind::block:
        m_row_count = 0;
        return m_session.language()->execute_block(*this, iterations, first, m_row_count);
    case Statement::Kind::other: m_row_count = 0; return execute_other(m_session, *m_statement);
    }
}

void Cursor::compile() {
    if (m_statement->is_current(m_session)) return;
    m_binds.forget_inputs();
    m_defines.forget_outputs();
    m_statement->compile(m_session);
}

void Cursor::bind_inputs(ub4 iteration, Input::Lifetime needed) {
    const Statement::Compilation& program = m_statement->program();
    m_binds.bind(program.compiled.get(), iteration, program.inputs, program.translation.targets, needed);
}

void Cursor::execute_query() {
    m_described = m_fetch_prepared = false;
    m_session.check_connected_lately();
    compile();
    bind_inputs(0, Input::Lifetime::cursor);
    const sql::Translation& translation = m_statement->program().translation;
    const bool began = translation.for_update &&
                       m_session.begin(m_session.database().patience_on(translation.locked_table,
                                                                        Session::patience(translation.wait_seconds)));
    try {
        if (translation.for_update) m_statement->note_use(m_session);
        m_rows.open(m_statement->compiled());
    } catch (...) {
        if (began) m_session.rollback();
        throw;
    }
    if (began && !m_rows.row_waits()) m_session.rollback(); // no row, no lock
    if (m_statement->describe_by_value(m_rows.row_waits() ? m_rows.row() : nullptr)) m_defines.forget_outputs();
    m_locked_in = translation.for_update ? m_session.transaction() : 0;
    m_described = true;
    m_at_end = false;
}

void Cursor::execute_dml(ub4 iterations, ub4 first) {
    if (iterations == 0) throw OracleError(error::zero_iterations);
    const bool began = m_session.begin();
    m_row_count = 0;
    try {
        compile();
        m_statement->note_use(m_session);
        const bool returning = !m_statement->program().translation.into.empty();
        const bool row_by_row = m_statement->program().actions != nullptr;
        for (ub4 i = first; i < iterations; ++i) {
            if (row_by_row) {
                run_actions(i);
            } else if (returning) {
                run_returning(i);
            } else {
                run_iteration(i);
            }
            sqlite3_reset(m_statement->compiled());
        }
    } catch (...) {
        sqlite3_reset(m_statement->compiled());
        m_session.failed();
        if (began && m_row_count == 0) m_session.rollback();
        throw;
    }
    if (began && m_row_count == 0) m_session.rollback(); // nothing was written: the lock is not kept for it
}

/// Runs one iteration and carries what RETURNING gives back into its element.
void Cursor::run_iteration(ub4 iteration) {
    sqlite3_stmt* const compiled = m_statement->compiled();
    bind_inputs(iteration, Input::Lifetime::iteration);
    bool returned = false;
    int status = SQLITE_ROW;
    while ((status = sqlite3_step(compiled)) == SQLITE_ROW) {
        if (std::exchange(returned, true)) throw OracleError(error::callbacks_missing);
        take_returned(compiled, iteration);
    }
    if (status != SQLITE_DONE)
        finish_failed_change(m_session, compiled, m_statement->program().translation.modified_table);
    m_row_count += static_cast<ub4>(sqlite3_changes(m_session.db()));
}

void Cursor::take_returned(sqlite3_stmt* row, ub4 iteration) {
    int column = 0;
    for (const unsigned position : m_statement->program().translation.into) {
        const Buffer& buffer = m_binds.at(position);
        const Value value = Value::of(sqlite3_column_value(row, column));
        if (!has_room(buffer, value)) throw OracleError(error::fetched_truncated);
        write(buffer, iteration, value);
        attach_to_row(buffer, iteration, row, column++);
    }
}

/// SQLite has written the rows before it returns the first: what they give back may fail to arrive.
void Cursor::run_returning(ub4 iteration) {
    Savepoint savepoint(m_session);
    try {
        run_iteration(iteration);
        savepoint.keep();
    } catch (...) {
        sqlite3_reset(m_statement->compiled());
        savepoint.undo();
        throw;
    }
}

void Cursor::run_actions(ub4 iteration) {
    bind_inputs(iteration, Input::Lifetime::iteration);
    bool returned = false;
    const auto changed = m_statement->program().actions->run(m_statement->compiled(), [&](sqlite3_stmt* row) {
        if (std::exchange(returned, true)) throw OracleError(error::callbacks_missing);
        take_returned(row, iteration);
    });
    m_row_count += static_cast<ub4>(changed);
}

[[gnu::noinline]] void Cursor::prepare_fetch() {
    if (!m_described) throw OracleError(error::statement_not_executed);
    if (m_at_end || (m_locked_in != 0 && m_locked_in != m_session.transaction()))
        throw OracleError(error::fetch_out_of_sequence);
    if (!m_defines.ready()) m_defines.make_outputs(m_statement->program().columns);
    m_fetch_prepared = m_locked_in == 0;
}

/// There is nothing behind the end, nor behind the row that failed.
void Cursor::close_fetch() {
    m_at_end = true;
    m_fetch_prepared = false;
}

/// @return whether there was a row left.
inline bool Cursor::fetch_row(ub4 index) {
    if (!m_rows.next()) [[unlikely]]
        return false;
    m_defines.write_row(m_rows.row(), index);
    if (!m_defines.large_objects().empty()) fetch_large_objects(index);
    m_rows_fetched = index + 1;
    return true;
}

bool Cursor::fetch(ub4 rows) {
    m_rows_fetched = 0;
    m_session.work().restart();
    if (!m_fetch_prepared) prepare_fetch();
    try {
        for (ub4 row = 0; row < rows; ++row) {
            if (fetch_row(row)) [[likely]]
                continue;
            close_fetch();
            return false;
        }
    } catch (...) {
        if (m_rows.closed()) close_fetch();
        throw;
    }
    return true;
}

[[gnu::noinline]] void Cursor::fetch_large_objects(ub4 index) {
    for (const unsigned column : m_defines.large_objects()) {
        const Buffer& buffer = m_defines.buffer_of(column);
        const int at = static_cast<int>(column);
        buffer.large_objects->to_fill(index).make_read_only();
        write(buffer, index, Value::of(sqlite3_column_value(m_rows.row(), at)));
        attach_to_row(buffer, index, m_rows.row(), at);
    }
}

/// Lets a large object that was read from a row write to it while its transaction lasts.
/// The row's number is the last column of the row, which may be one that was moved aside.
void Cursor::attach_to_row(const Buffer& buffer, ub4 index, sqlite3_stmt* row, int column) const {
    const std::string& table = m_statement->program().translation.locked_table;
    if (!buffer.is_lob() || table.empty()) return;
    const char* origin = sqlite3_column_origin_name(m_statement->compiled(), column);
    const std::int64_t number = sqlite3_column_int64(row, sqlite3_column_count(row) - 1);
    buffer.large_objects->to_fill(index).attach(
        m_session, {table, origin != nullptr ? origin : sqlite3_column_name(row, column), number},
        buffer.type == SQLT_CLOB);
}

void Cursor::close() {
    m_rows.close();
    m_described = m_fetch_prepared = false;
}

} // namespace oci
