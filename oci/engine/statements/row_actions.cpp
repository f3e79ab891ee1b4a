#include "oci/engine/statements/row_actions.h"

#include "oci/engine/tables/column_expressions.h"
#include "oci/engine/tables/violations.h"

#include <algorithm>
#include <sqlite3.h>

namespace oci {
namespace {

std::vector<std::vector<OwnedValue>> read_rows(sqlite3_stmt* query) {
    std::vector<std::vector<OwnedValue>> rows;
    int status = SQLITE_ROW;
    while ((status = sqlite3_step(query)) == SQLITE_ROW) {
        auto& row = rows.emplace_back();
        const int columns = sqlite3_column_count(query);
        row.reserve(static_cast<std::size_t>(columns));
        for (int i = 0; i < columns; ++i) row.emplace_back(Value::of(sqlite3_column_value(query, i)));
    }
    if (status != SQLITE_DONE) {
        const OracleError error = sqlite_error(query);
        sqlite3_reset(query);
        throw error;
    }
    sqlite3_reset(query);
    return rows;
}

bool is_same(const Value& a, const Value& b) {
    if (a.type != b.type) return false;
    switch (a.type) {
    case Value::Type::null: return true;
    case Value::Type::integer: return a.integer == b.integer;
    case Value::Type::real: return a.real == b.real;
    default: return a.text() == b.text();
    }
}

/// Runs the statement to its end and leaves it ready for the next run.
void run_to_end(Session& session, sqlite3_stmt* statement, const RowActions::Returned& returned) {
    int status = SQLITE_ROW;
    try {
        while ((status = sqlite3_step(statement)) == SQLITE_ROW) returned(statement);
        if (status != SQLITE_DONE) throw statement_failure(session, statement);
    } catch (...) {
        sqlite3_reset(statement);
        throw;
    }
    sqlite3_reset(statement);
}

} // namespace

/// What triggers see of a row.
struct RowActions::Images {
    Images(const sql::RowAction& action, const Row& row) {
        if (action.event != Event::insert) {
            for (const int column : action.old_values) before.push_back(row[static_cast<std::size_t>(column)]);
        }
        if (action.event == Event::remove) return;
        for (std::size_t i = 0; i < action.new_values.size(); ++i) {
            const int column = action.new_values[i];
            after.push_back(column >= 0         ? row[static_cast<std::size_t>(column)]
                            : i < before.size() ? before[i]
                                                : OwnedValue());
        }
    }

    std::vector<OwnedValue> before;
    std::vector<OwnedValue> after;
};

RowActions::RowActions(Session& session, std::span<const sql::RowAction> actions) : m_session(session) {
    for (const sql::RowAction& action : actions) {
        const bool fires = !action.old_values.empty() || !action.new_values.empty();
        m_actions.push_back({action, session.compile_for_application(action.sql), fires});
    }
}

std::int64_t RowActions::run(sqlite3_stmt* driving, const Returned& returned) {
    Savepoint savepoint(m_session);
    try {
        fire_for_statement(Language::Timing::before_statement);
        const std::int64_t changed = run_rows(read_rows(driving), returned);
        fire_for_statement(Language::Timing::after_statement);
        savepoint.keep();
        return changed;
    } catch (...) {
        sqlite3_reset(driving);
        savepoint.undo();
        throw;
    }
}

/// A row that is updated and then removed counts once.
std::int64_t RowActions::run_rows(const std::vector<Row>& rows, const Returned& returned) {
    std::int64_t changed = 0;
    for (const Row& row : rows) {
        bool updated = false;
        for (Action& action : m_actions) {
            if (!run_action(action, row, returned)) continue;
            const bool counted = updated && action.what.event == Event::remove;
            updated = updated || action.what.event == Event::update;
            if (!counted) ++changed;
        }
    }
    return changed;
}

/// @return whether the action was meant for the row.
bool RowActions::run_action(Action& action, const Row& row, const Returned& returned) {
    if (action.what.condition >= 0) {
        const Value met = row[static_cast<std::size_t>(action.what.condition)].get();
        if (met.type != Value::Type::integer || met.integer != 1) return false;
    }
    if (!action.fires || m_session.language() == nullptr) {
        change(action, row, nullptr, returned);
        return true;
    }
    Images images(action.what, row);
    fire_for_row(Language::Timing::before_row, action, images);
    change(action, row, &images, returned);
    fire_for_row(Language::Timing::after_row, action, images);
    return true;
}

/// Binds the values of the row, or what triggers have made of them.
void RowActions::change(Action& action, const Row& row, const Images* images, const Returned& returned) {
    const auto& columns = action.what.new_values;
    int position = 0;
    for (const int source : action.what.values) {
        const auto assigned = std::find(columns.begin(), columns.end(), source);
        const bool altered = images != nullptr && assigned != columns.end() && !images->after.empty();
        const OwnedValue& value = altered ? images->after[static_cast<std::size_t>(assigned - columns.begin())]
                                          : row[static_cast<std::size_t>(source)];
        value.get().bind(action.compiled.get(), ++position);
    }
    run_to_end(m_session, action.compiled.get(), returned);
    if (images != nullptr && action.what.event == Event::update) update_rest(action, row, *images);
}

/// Stores what triggers have assigned to columns that the statement does not set.
void RowActions::update_rest(const Action& action, const Row& row, const Images& images) {
    for (std::size_t i = 0; i < images.after.size(); ++i) {
        if (action.what.new_values[i] >= 0 || is_same(images.before[i].get(), images.after[i].get())) continue;
        const Compiled update = m_session.compile("UPDATE " + quoted(action.what.table) + " SET " +
                                                  quoted(action.what.columns[i]) + " = ?1 WHERE rowid = ?2");
        images.after[i].get().bind(update.get(), 1);
        row[static_cast<std::size_t>(action.what.row)].get().bind(update.get(), 2);
        run_to_end(m_session, update.get(), {});
    }
}

void RowActions::fire_for_statement(Language::Timing timing) {
    if (m_session.language() == nullptr) return;
    std::vector<const Action*> fired;
    for (const Action& action : m_actions) {
        const bool again = std::any_of(fired.begin(), fired.end(), [&](const Action* other) {
            return other->what.table == action.what.table && other->what.event == action.what.event;
        });
        if (!action.fires || again) continue;
        fired.push_back(&action);
        m_session.language()->fire(timing, change_of(action), nullptr);
    }
}

void RowActions::fire_for_row(Language::Timing timing, const Action& action, Images& images) {
    Language::ChangedRow row{images.before, images.after};
    m_session.language()->fire(timing, change_of(action), &row);
}

} // namespace oci
