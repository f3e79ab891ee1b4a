#pragma once

#include "oci/engine/statements/row_actions.h"
#include "oci/sql/catalogue.h"

namespace oci {

/// A query or a statement that changes rows in its compiled form: made as a whole or not at all.
struct Program {
    /// @param variables  what names and placeholders mean in the block that the statement stands in; null outside of
    /// one
    static Program compile(Session& session, std::string_view text, sql::Variables* variables);

    /// Has it been compiled, and neither DDL nor a change of the settings come between?
    bool is_current(const Session& session) const {
        return compiled && compiled_at == session.database().ddl_count && settings_then == session.settings_changes();
    }

    /// To be called when it is about to change or lock rows: tells the other sessions of which tables.
    void note_use(const Session& session) {
        if (used_in != session.transaction()) [[unlikely]]
            note_first_use(session);
    }
    void note_first_use(const Session& session);

    sql::Translation translation;
    Compiled compiled;
    std::unique_ptr<RowActions> actions; ///< of a statement that is carried out row by row; null of others
    unsigned compiled_at = 0;            ///< the database's DDL count then
    unsigned settings_then = 0;          ///< the count of changes to the session's settings then
    unsigned long long used_in = 0;      ///< the last transaction that its tables were noted for
};

} // namespace oci
