#pragma once

#include "oci/engine/session/language.h"
#include "oci/engine/session/session.h"

#include <functional>
#include <vector>

namespace oci {

/// Carries out a statement row by row: what its driving query gives is read to the end first, so that no row meets what
/// was done to another one.
class RowActions {
  public:
    /// Takes what RETURNING gives back for a row.
    using Returned = std::function<void(sqlite3_stmt* row)>;

    RowActions(Session& session, std::span<const sql::RowAction> actions);

    /// Does everything or, when it throws, nothing.
    /// @param driving  the driving query, with its values bound
    /// @return how many rows were changed
    std::int64_t run(sqlite3_stmt* driving, const Returned& returned);

  private:
    using Event = sql::RowAction::Event;
    using Row = std::vector<OwnedValue>; ///< of the driving query

    struct Action {
        sql::RowAction what;
        Compiled compiled;
        bool fires = false; ///< its table has row triggers
    };
    struct Images;

    std::int64_t run_rows(const std::vector<Row>& rows, const Returned& returned);
    bool run_action(Action& action, const Row& row, const Returned& returned);
    void change(Action& action, const Row& row, const Images* images, const Returned& returned);
    void update_rest(const Action& action, const Row& row, const Images& images);
    void fire_for_statement(Language::Timing timing);
    void fire_for_row(Language::Timing timing, const Action& action, Images& images);
    static Language::Change change_of(const Action& action) {
        return {action.what.table, action.what.event, action.what.new_values};
    }

    Session& m_session;
    std::vector<Action> m_actions;
};

} // namespace oci
