#include "oci/api/service.h"

#include "oci/api/statement.h"
#include "oci/plsql/block_language.h"

namespace oci {
namespace {

std::string_view view(const OraText* text, std::size_t length) {
    return text == nullptr ? std::string_view() : std::string_view(reinterpret_cast<const char*>(text), length);
}

/// Ends the session and what hangs on it.
void end_session(OCISvcCtx& service) {
    for (OCIStmt* statement : service.statements) release(*statement);
    service.statements.clear();
    service.session.reset();
}

} // namespace

Session& session_of(OCISvcCtx* service) {
    OCISvcCtx& context = live<OCISvcCtx>(service);
    if (!context.session) throw OracleError(error::not_logged_on);
    return *context.session;
}

void release(OCISvcCtx& service) {
    end_session(service);
    Slab<OCISvcCtx>::give_back(service);
}

} // namespace oci

using namespace oci;

sword OCILogon2(OCIEnv* envhp, OCIError* errhp, OCISvcCtx** svchp, const OraText* username, ub4 uname_len,
                const OraText* password, ub4 passwd_len, const OraText* dbname, ub4 dbname_len, ub4) {
    return guarded(errhp, [&]() -> sword {
        OCIEnv& env = live<OCIEnv>(envhp);
        live<OCIError>(errhp);
        const auto database = Database::find(view(dbname, dbname_len));
        {
            const std::lock_guard lock(env.mutex);
            env.databases[database->path()] = database;
        }
        auto session = std::make_unique<Session>(database, view(username, uname_len), view(password, passwd_len));
        session->set_language(std::make_unique<plsql::BlockLanguage>(*session));
        OCISvcCtx& service = owns(env, *svchp) && !(*svchp)->session ? **svchp : allocate<OCISvcCtx>(env);
        service.session = std::move(session);
        *svchp = &service;
        return OCI_SUCCESS;
    });
}

sword OCILogoff(OCISvcCtx* svchp, OCIError* errhp) {
    return guarded(errhp, [&]() -> sword {
        Session& session = session_of(svchp);
        try {
            session.commit();
        } catch (...) {
            end_session(*svchp); // the handle stays: only a successful call frees it
            throw;
        }
        free_owned(svchp, OCI_HTYPE_SVCCTX);
        return OCI_SUCCESS;
    });
}

sword OCIPing(OCISvcCtx* svchp, OCIError* errhp, ub4) {
    return guarded(errhp, [&]() -> sword {
        session_of(svchp).check_connected();
        return OCI_SUCCESS;
    });
}

sword OCIPasswordChange(OCISvcCtx* svchp, OCIError* errhp, const OraText* user_name, ub4 usernm_len,
                        const OraText* opasswd, ub4 opasswd_len, const OraText* npasswd, sb4 npasswd_len, ub4) {
    return guarded(errhp, [&]() -> sword {
        session_of(svchp).change_password(view(user_name, usernm_len), view(opasswd, opasswd_len),
                                          view(npasswd, npasswd_len > 0 ? static_cast<std::size_t>(npasswd_len) : 0));
        return OCI_SUCCESS;
    });
}

sword OCITransCommit(OCISvcCtx* svchp, OCIError* errhp, ub4) {
    return guarded(errhp, [&]() -> sword {
        session_of(svchp).commit();
        return OCI_SUCCESS;
    });
}

sword OCITransRollback(OCISvcCtx* svchp, OCIError* errhp, ub4) {
    return guarded(errhp, [&]() -> sword {
        Session& session = session_of(svchp);
        session.rollback();
        session.check_connected();
        return OCI_SUCCESS;
    });
}
