#include "oci/api/statement.h"

namespace oci {
namespace {

/// The handle for a position: made once, however often the position is bound or defined anew.
template <class T> T& handle_at(std::vector<T*>& handles, ub4 position, OCIEnv* env) {
    if (handles.size() < position) handles.resize(position, nullptr);
    T*& handle = handles[position - 1];
    if (handle == nullptr) handle = &Slab<T>::take(env);
    return *handle;
}

} // namespace

void release(OCIStmt& statement) noexcept {
    statement.cursor.reset();
    for (OCIBind* bind : statement.binds) {
        if (bind != nullptr) Slab<OCIBind>::give_back(*bind);
    }
    for (OCIDefine* define : statement.defines) {
        if (define == nullptr) continue;
        define->locators.let_go();
        Slab<OCIDefine>::give_back(*define);
    }
    statement.binds.clear();
    statement.defines.clear();
    Slab<OCIStmt>::give_back(statement);
}

} // namespace oci

using namespace oci;

sword OCIStmtPrepare2(OCISvcCtx* svchp, OCIStmt** stmthp, OCIError* errhp, const OraText* stmttext, ub4 stmt_len,
                      const OraText*, ub4, ub4, ub4) {
    return guarded(errhp, [&]() -> sword {
        Session& session = session_of(svchp);
        if (stmttext == nullptr || stmt_len == 0) throw OracleError(error::invalid_statement_length);
        auto statement = session.take_statement({reinterpret_cast<const char*>(stmttext), stmt_len});
        OCIStmt& handle = Slab<OCIStmt>::take(svchp->env);
        try {
            svchp->statements.insert(&handle);
        } catch (...) {
            Slab<OCIStmt>::give_back(handle);
            throw;
        }
        handle.service = svchp;
        handle.cursor.emplace(session, std::move(statement));
        *stmthp = &handle;
        return OCI_SUCCESS;
    });
}

sword OCIStmtRelease(OCIStmt* stmthp, OCIError* errhp, const OraText*, ub4, ub4) {
    return guarded(errhp, [&]() -> sword {
        OCIStmt& handle = live<OCIStmt>(stmthp);
        handle.cursor->session().keep_statement(handle.cursor->give_up_statement());
        handle.service->statements.erase(&handle);
        release(handle);
        return OCI_SUCCESS;
    });
}

sword OCIBindByPos(OCIStmt* stmthp, OCIBind** bindpp, OCIError* errhp, ub4 position, void* valuep, sb4 value_sz,
                   ub2 dty, void* indp, ub2* alenp, ub2* rcodep, ub4, ub4*, ub4) {
    return guarded(errhp, [&]() -> sword {
        OCIStmt& handle = live<OCIStmt>(stmthp);
        handle.cursor->check_placeholder(position);
        OCIBind& bind = handle_at(handle.binds, position, handle.env);
        handle.cursor->bind(position, {valuep, value_sz, dty, indp, alenp, rcodep, bind.locators});
        bind.locators.set_elements(valuep);
        *bindpp = &bind;
        return OCI_SUCCESS;
    });
}

sword OCIDefineByPos(OCIStmt* stmthp, OCIDefine** defnpp, OCIError* errhp, ub4 position, void* valuep, sb4 value_sz,
                     ub2 dty, void* indp, ub2* rlenp, ub2* rcodep, ub4) {
    return guarded(errhp, [&]() -> sword {
        OCIStmt& handle = live<OCIStmt>(stmthp);
        handle.cursor->check_column(position);
        if (valuep == nullptr) throw OracleError(error::invalid_call_argument);
        OCIDefine& define = handle_at(handle.defines, position, handle.env);
        handle.cursor->define(position, {valuep, value_sz, dty, indp, rlenp, rcodep, define.locators});
        define.locators.set_elements(valuep);
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
        Cursor& cursor = *handle.cursor;
        cursor.execute(iters, rowoff);
        if ((mode & OCI_COMMIT_ON_SUCCESS) != 0) session.commit();
        const bool fetches = cursor.statement().kind() == Statement::Kind::query && iters > 0;
        return !fetches || cursor.fetch(iters) ? OCI_SUCCESS : OCI_NO_DATA;
    });
}

sword OCIStmtFetch(OCIStmt* stmthp, OCIError* errhp, ub4 nrows, ub2 orientation, ub4) {
    return guarded(errhp, [&]() -> sword {
        OCIStmt& handle = live<OCIStmt>(stmthp);
        if (orientation != OCI_FETCH_NEXT) throw OracleError(error::unimplemented, "scrollable cursor");
        if (handle.cursor->fetch(nrows)) [[likely]]
            return OCI_SUCCESS;
        record(errhp, OracleError(error::no_data_found));
        return OCI_NO_DATA;
    });
}
