#include "oci/engine/statement.h"

#include "oci/engine/select_list.h"

#include <algorithm>
#include <utility>
#include <sqlite3.h>

namespace oci {
namespace {

struct FirstWord {
    std::string_view word;
    ub2 type;
    Statement::Kind kind;
};

constexpr FirstWord first_words[] = {
    {"SELECT", OCI_STMT_SELECT, Statement::Kind::query}, {"WITH", OCI_STMT_SELECT, Statement::Kind::query},
    {"INSERT", OCI_STMT_INSERT, Statement::Kind::dml},   {"UPDATE", OCI_STMT_UPDATE, Statement::Kind::dml},
    {"DELETE", OCI_STMT_DELETE, Statement::Kind::dml},   {"CREATE", OCI_STMT_CREATE, Statement::Kind::other},
    {"DROP", OCI_STMT_DROP, Statement::Kind::other},     {"ALTER", OCI_STMT_ALTER, Statement::Kind::other},
    {"BEGIN", OCI_STMT_BEGIN, Statement::Kind::block},   {"DECLARE", OCI_STMT_DECLARE, Statement::Kind::block},
    {"CALL", OCI_STMT_CALL, Statement::Kind::block},
};

void release(OCIDefine& define) {
    for (OCILobLocator* locator : define.pinned) unpin(*locator);
    define.pinned.clear();
    Slab<OCIDefine>::give_back(define);
}

void release(OCIBind& bind) {
    bind.buffer = {};
    Slab<OCIBind>::give_back(bind);
}

template <class T>
void release_all(std::vector<T*>& handles) {
    for (T* handle : handles) {
        if (handle != nullptr) release(*handle);
    }
    handles.clear();
}

/// The handle for a position: made once, however often the position is bound or defined anew.
template <class T>
T& handle_at(std::vector<T*>& handles, ub4 position, OCIEnv* env) {
    if (handles.size() < position) handles.resize(position, nullptr);
    T*& handle = handles[position - 1];
    if (handle == nullptr) handle = &Slab<T>::take(env);
    return *handle;
}

/// A query that is still open neither sees what the session writes nor hides from it what others have committed.
void keep_open_queries_apart(Session& session, Statement::Kind next) {
    if (session.open_queries == 0 || next == Statement::Kind::other) return;
    if (next != Statement::Kind::query || session.transaction() == 0) detach_queries(session);
}

void dispatch(OCIStmt& statement, ub4 iterations, ub4 first) {
    switch (statement.statement->kind) {
    case Statement::Kind::query: return execute_query(statement);
    case Statement::Kind::dml: return execute_dml(statement, iterations, first);
    case Statement::Kind::block: return execute_block(statement, iterations, first);
    case Statement::Kind::other: return execute_other(statement);
    }
}

/// Runs one iteration and carries what RETURNING gives back into its element.
void run_iteration(OCIStmt& handle, ub4 iteration) {
    const Statement& statement = *handle.statement;
    sqlite3_stmt* compiled = statement.compiled.get();
    const auto& into = statement.translation.into;
    bind_inputs(handle, iteration);
    bool returned = false;
    int status = SQLITE_ROW;
    while ((status = sqlite3_step(compiled)) == SQLITE_ROW) {
        if (std::exchange(returned, true)) throw OracleError(24369);
        for (std::size_t i = 0; i < into.size(); ++i) {
            const Buffer& buffer = bind_at(handle, into[i]).buffer;
            const Value value = Value::of(sqlite3_column_value(compiled, static_cast<int>(i)));
            if (!has_room(buffer, value)) throw OracleError(1406);
            write(buffer, iteration, value);
            attach_to_row(buffer, iteration, handle, compiled, static_cast<int>(i));
        }
    }
    if (status != SQLITE_DONE) throw sqlite_error(compiled);
    handle.row_count += static_cast<ub4>(sqlite3_changes(sqlite3_db_handle(compiled)));
}

/// SQLite has written the rows before it returns the first: what they give back may fail to arrive.
void run_returning(OCIStmt& handle, ub4 iteration) {
    Savepoint savepoint(session_of(handle));
    try {
        run_iteration(handle, iteration);
        savepoint.keep();
    } catch (...) {
        sqlite3_reset(handle.statement->compiled.get());
        savepoint.undo();
        throw;
    }
}

} // namespace

void ConnectionCloser::operator()(sqlite3* db) const { sqlite3_close_v2(db); }

Statement::Statement(std::string_view sql) : text(sql), tokens(tokenize(text)) {
    for (const FirstWord& known : first_words) {
        if (!tokens.front().is(known.word)) continue;
        kind = known.kind;
        type = known.type;
    }
    if (type == OCI_STMT_CREATE) return; // a procedure's text has no placeholders of its caller
    for (const Token& token : tokens) {
        if (token.kind != Token::Kind::placeholder) continue;
        const std::string name = upper(token.text);
        const bool repeated = kind == Kind::block && std::find(names.begin(), names.end(), name) != names.end();
        if (!repeated) names.push_back(name);
    }
}

Statement::~Statement() {
    for (OCIParam* param : params) Slab<OCIParam>::give_back(*param);
}

bool Statement::compile(Session& session) {
    const unsigned now = session.database().ddl_count;
    if (compiled && compiled_at == now) return false;
    translation = translate(session, tokens);
    Compiled made = session.compile(translation.sql);
    if (kind == Kind::dml) check_targets(made.get(), translation);
    compiled = std::move(made);
    compiled_at = now;
    inputs.clear();
    const auto& into = translation.into;
    for (unsigned position = 1; position <= names.size(); ++position) {
        if (std::find(into.begin(), into.end(), position) == into.end()) inputs.push_back(position);
    }
    translation.targets.resize(names.size());
    describe(session);
    return true;
}

void Statement::describe(Session& session) {
    columns.clear();
    described_by_value.clear();
    stored.clear();
    std::vector<SelectedColumn> selected;
    if (kind == Kind::query) selected = describe_select_list(session, tokens, compiled.get(), translation);
    for (const SelectedColumn& column : selected) {
        columns.push_back(column.type);
        described_by_value.push_back(column.type.family == Family::unknown);
        stored.push_back(column.stored);
    }
    const bool told = std::find(described_by_value.begin(), described_by_value.end(), true) == described_by_value.end();
    if (told) described_by_value.clear();
    update_params();
}

void Statement::update_params() {
    for (std::size_t i = 0; i < std::min(params.size(), columns.size()); ++i) params[i]->type = columns[i];
}

Session& session_of(const OCIStmt& statement) { return session_of(statement.service); }

OCIBind& bind_at(const OCIStmt& statement, unsigned position) {
    if (position > statement.binds.size() || statement.binds[position - 1] == nullptr) throw OracleError(1008);
    return *statement.binds[position - 1];
}

void bind_inputs(OCIStmt& handle, ub4 iteration) {
    const Statement& statement = *handle.statement;
    if (!handle.inputs_ready) {
        const auto needed =
            statement.kind == Statement::Kind::query ? Input::Lifetime::cursor : Input::Lifetime::iteration;
        handle.inputs.clear();
        for (const unsigned position : statement.inputs) {
            const auto& target = statement.translation.targets[position - 1];
            handle.inputs.emplace_back(bind_at(handle, position).buffer, target ? &*target : nullptr,
                                       static_cast<int>(position), needed);
        }
        handle.inputs.emplace_back();
        handle.inputs_ready = true;
    }
    handle.inputs.front().bind_values(statement.compiled.get(), iteration);
}

void execute_dml(OCIStmt& handle, ub4 iterations, ub4 first) {
    Session& session = session_of(handle);
    Statement& statement = *handle.statement;
    if (iterations == 0) throw OracleError(24333);
    const bool began = session.begin();
    handle.row_count = 0;
    try {
        if (statement.compile(session)) handle.inputs_ready = false;
        for (ub4 i = first; i < iterations; ++i) {
            if (statement.translation.into.empty()) {
                run_iteration(handle, i);
            } else {
                run_returning(handle, i);
            }
            sqlite3_reset(statement.compiled.get());
        }
    } catch (...) {
        sqlite3_reset(statement.compiled.get());
        session.failed();
        if (began && handle.row_count == 0) session.rollback();
        throw;
    }
    if (began && handle.row_count == 0) session.rollback(); // nothing was written: the lock is not kept for it
}

void attach_to_row(const Buffer& buffer, ub4 index, const OCIStmt& handle, sqlite3_stmt* row, int column) {
    const std::string& table = handle.statement->translation.locked_table;
    if (!buffer.is_lob() || table.empty()) return;
    OCILobLocator* locator = locator_at(buffer.element(index));
    const char* origin =
        sqlite3_column_origin_name(handle.statement->compiled.get(), column); // `row` may be a detached one
    locator->service = handle.service;
    locator->table = table;
    locator->column = origin != nullptr ? origin : sqlite3_column_name(row, column);
    locator->row = sqlite3_column_int64(row, sqlite3_column_count(row) - 1);
    locator->transaction = session_of(handle).transaction();
    locator->temporary = false;
    locator->is_text = buffer.type == SQLT_CLOB;
}

void abandon(OCIStmt& handle) {
    close_cursor(handle);
    release_all(handle.binds);
    release_all(handle.defines);
    handle.inputs_ready = false;
    handle.outputs_ready = false;
    handle.described = handle.fetch_prepared = false;
    handle.statement.reset();
    Slab<OCIStmt>::give_back(handle);
}

} // namespace oci

using namespace oci;

sword OCIStmtPrepare2(OCISvcCtx* svchp, OCIStmt** stmthp, OCIError* errhp, const OraText* stmttext, ub4 stmt_len,
                      const OraText*, ub4, ub4, ub4) {
    return guarded(errhp, [&]() -> sword {
        Session& session = session_of(svchp);
        if (stmttext == nullptr || stmt_len == 0) throw OracleError(24373);
        auto statement = session.take_statement({reinterpret_cast<const char*>(stmttext), stmt_len});
        OCIStmt& handle = Slab<OCIStmt>::take(svchp->env);
        session.handles.insert(&handle);
        handle.service = svchp;
        handle.statement = std::move(statement);
        handle.rows_fetched = 0;
        handle.row_count = 0;
        *stmthp = &handle;
        return OCI_SUCCESS;
    });
}

sword OCIStmtRelease(OCIStmt* stmthp, OCIError* errhp, const OraText*, ub4, ub4) {
    return guarded(errhp, [&]() -> sword {
        OCIStmt& handle = live<OCIStmt>(stmthp);
        Session& session = session_of(handle);
        close_cursor(handle);
        if (handle.statement->compiled) sqlite3_clear_bindings(handle.statement->compiled.get());
        session.keep_statement(std::move(handle.statement));
        session.handles.erase(&handle);
        abandon(handle);
        return OCI_SUCCESS;
    });
}

sword OCIBindByPos(OCIStmt* stmthp, OCIBind** bindpp, OCIError* errhp, ub4 position, void* valuep, sb4 value_sz, ub2 dty,
                   void* indp, ub2* alenp, ub2* rcodep, ub4, ub4*, ub4) {
    return guarded(errhp, [&]() -> sword {
        OCIStmt& handle = live<OCIStmt>(stmthp);
        if (position == 0 || position > handle.statement->names.size()) throw OracleError(1036);
        const Buffer buffer(valuep, value_sz, dty, indp, alenp, rcodep);
        OCIBind& bind = handle_at(handle.binds, position, handle.env);
        bind.buffer = buffer;
        handle.inputs_ready = false;
        *bindpp = &bind;
        return OCI_SUCCESS;
    });
}

sword OCIDefineByPos(OCIStmt* stmthp, OCIDefine** defnpp, OCIError* errhp, ub4 position, void* valuep, sb4 value_sz, ub2 dty,
                     void* indp, ub2* rlenp, ub2* rcodep, ub4) {
    return guarded(errhp, [&]() -> sword {
        OCIStmt& handle = live<OCIStmt>(stmthp);
        const std::size_t columns = handle.described ? handle.statement->columns.size() : 1000;
        if (position == 0 || position > columns) throw OracleError(1007);
        if (valuep == nullptr) throw OracleError(1084);
        const Buffer buffer(valuep, value_sz, dty, indp, rlenp, rcodep);
        OCIDefine& define = handle_at(handle.defines, position, handle.env);
        define.buffer = buffer;
        handle.outputs_ready = handle.fetch_prepared = false;
        *defnpp = &define;
        return OCI_SUCCESS;
    });
}

sword OCIStmtExecute(OCISvcCtx* svchp, OCIStmt* stmthp, OCIError* errhp, ub4 iters, ub4 rowoff, const OCISnapshot*,
                     OCISnapshot*, ub4 mode) {
    return guarded(errhp, [&]() -> sword {
        OCIStmt& handle = live<OCIStmt>(stmthp);
        Session& session = session_of(svchp);
        if (handle.service != svchp) throw InvalidHandle{};
        if (handle.cursor != OCIStmt::Cursor::closed) close_cursor(handle);
        handle.rows_fetched = 0;
        keep_open_queries_apart(session, handle.statement->kind);
        dispatch(handle, iters, rowoff);
        if ((mode & OCI_COMMIT_ON_SUCCESS) != 0) session.commit();
        const bool query = handle.statement->kind == Statement::Kind::query;
        return query && iters > 0 ? fetch(handle, iters) : OCI_SUCCESS;
    });
}

sword OCIStmtFetch(OCIStmt* stmthp, OCIError* errhp, ub4 nrows, ub2 orientation, ub4) {
    return guarded(errhp, [&]() -> sword {
        OCIStmt& handle = live<OCIStmt>(stmthp);
        if (orientation != OCI_FETCH_NEXT) throw OracleError(3001, "scrollable cursor");
        const sword status = fetch(handle, nrows);
        if (status == OCI_NO_DATA) record(errhp, OracleError(1403));
        return status;
    });
}
