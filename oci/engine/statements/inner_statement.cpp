#include "oci/engine/statements/inner_statement.h"

#include "oci/engine/tables/violations.h"

#include <sqlite3.h>
#include <utility>

namespace oci {

using sql::Target;

InnerStatement::InnerStatement(Session& session, std::string_view text, sql::Variables& variables)
    : m_session(session),
      m_program(Program::compile(session, text, &variables)),
      m_query(m_program.translation.modified_table.empty() && !m_program.actions &&
              sqlite3_stmt_readonly(m_program.compiled.get()) != 0) {}

void InnerStatement::bind(unsigned position, const Value& value) {
    // A position that only INTO fills is no parameter of the compiled form.
    if (static_cast<int>(position) > sqlite3_bind_parameter_count(m_program.compiled.get())) return;
    const auto& targets = m_program.translation.targets;
    Value bound = value;
    if (position <= targets.size() && targets[position - 1]) {
        while (m_fitted.size() < position) m_fitted.emplace_back();
        const Target& target = *targets[position - 1];
        bound = fit(value, target.type, target.column, m_fitted[position - 1]);
    }
    bound.bind(m_program.compiled.get(), static_cast<int>(position));
}

void InnerStatement::start() {
    m_started = true;
    m_changes = 0;
    const sql::Translation& translation = m_program.translation;
    if (!m_query) {
        m_session.begin();
    } else if (translation.for_update) {
        m_session.begin(
            m_session.database().patience_on(translation.locked_table, Session::patience(translation.wait_seconds)));
    }
    if (!m_query || translation.for_update) m_program.note_use(m_session);
    if (m_program.actions) act();
}

void InnerStatement::act() {
    m_returned.clear();
    m_returned_at = 0;
    m_changes = m_program.actions->run(m_program.compiled.get(), [this](sqlite3_stmt* row) {
        auto& values = m_returned.emplace_back();
        for (int i = 0; i < sqlite3_column_count(row); ++i)
            values.emplace_back(Value::of(sqlite3_column_value(row, i)));
    });
}

bool InnerStatement::step_returned() {
    if (m_returned_at == m_returned.size()) return false;
    ++m_returned_at;
    return true;
}

bool InnerStatement::step() {
    if (!m_started) start();
    if (m_program.actions) return step_returned();
    const int status = sqlite3_step(m_program.compiled.get());
    if (status == SQLITE_ROW) return true;
    if (status != SQLITE_DONE) settle_failure();
    if (!m_query) m_changes = sqlite3_changes64(m_session.db());
    return false;
}

void InnerStatement::settle_failure() {
    try {
        finish_failed_change(m_session, m_program.compiled.get(), m_program.translation.modified_table);
    } catch (const OracleError&) {
        reset();
        m_session.failed();
        throw;
    }
}

Value InnerStatement::column(std::size_t index) const {
    if (m_program.actions) return m_returned[m_returned_at - 1][index].get();
    return Value::of(sqlite3_column_value(m_program.compiled.get(), static_cast<int>(index)));
}

std::int64_t InnerStatement::locked_row() const {
    sqlite3_stmt* row = m_program.compiled.get();
    return sqlite3_column_int64(row, sqlite3_column_count(row) - 1);
}

void InnerStatement::reset() {
    sqlite3_reset(m_program.compiled.get());
    m_started = false;
}

} // namespace oci
