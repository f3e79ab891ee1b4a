#include "dtk/oracle/_DTK_Connection.h"

#include <exception>
#include <memory>

#include "dtk/oracle/_DTK_ConnectionPool.h"
#include "dtk/oracle/_DTK_Statement.h"
#include "dtk/oracle/detail/oci.h"

namespace error = dtk::error;
using dtk::oracle::check;
using dtk::oracle::ignore;
using dtk::oracle::oraText;

_DTK_Connection::_DTK_Connection() : m_generation(0), m_pool(nullptr), m_svcCtx(nullptr), m_autoCommit(false) {}

_DTK_Connection::~_DTK_Connection() noexcept(false) {
    if (!m_svcCtx) return;
    try {
        if (m_autoCommit) _DTK_Connection::mb_commit();
        static_cast<DTK_ConnectionPoolBase*>(m_pool)->mb_returnConnection(this);
    } catch (const DTK_Exception& failure) {
        // A second exception on top of one that is already on its way would end the process.
        if (std::uncaught_exceptions() == 0) throw DTK_Exception(failure);
    } catch (...) {
        if (std::uncaught_exceptions() == 0) throw;
    }
}

DTK_StatementBase* _DTK_Connection::mb_createStatement(const DTK_String& sql) {
    requireSession();
    auto statement = std::make_unique<_DTK_Statement>();
    statement->m_connection = this;
    dtk::oracle::withPlainException([&] { static_cast<DTK_StatementBase&>(*statement).mb_setSQL(sql); });
    return statement.release();
}

void _DTK_Connection::mb_terminateStatement(DTK_StatementBase* statement) {
    requireSession();
    auto& terminated = *static_cast<_DTK_Statement*>(statement);
    if (!terminated.m_stmtHandle) return;
    OCIError* errorHandle = _DTK_ConnectionPool::sharedErrorHandle();
    check(OCIStmtRelease(terminated.m_stmtHandle, errorHandle, nullptr, 0, OCI_DEFAULT), errorHandle);
    terminated.mb_reinitializeObject();
}

bool _DTK_Connection::mb_ping() {
    if (!m_svcCtx) return false;
    OCIError* errorHandle = _DTK_ConnectionPool::sharedErrorHandle();
    const sword status = OCIPing(m_svcCtx, errorHandle, OCI_DEFAULT);
    // Only the result tells. The error is read so that no later call reports it, and dropped.
    sb4 number = 0;
    OraText message[1024];
    ignore(OCIErrorGet(errorHandle, 1, nullptr, &number, message, sizeof message, OCI_HTYPE_ERROR));
    return status == OCI_SUCCESS;
}

bool _DTK_Connection::mb_commit() {
    requireSession();
    OCIError* errorHandle = _DTK_ConnectionPool::sharedErrorHandle();
    check(OCITransCommit(m_svcCtx, errorHandle, OCI_DEFAULT), errorHandle);
    return false;
}

bool _DTK_Connection::mb_rollback() {
    requireSession();
    OCIError* errorHandle = _DTK_ConnectionPool::sharedErrorHandle();
    check(OCITransRollback(m_svcCtx, errorHandle, OCI_DEFAULT), errorHandle);
    return false;
}

bool _DTK_Connection::mb_changePassword(const DTK_String& user, const DTK_String& oldPassword,
                                        const DTK_String& newPassword) {
    requireSession();
    OCIError* errorHandle = _DTK_ConnectionPool::sharedErrorHandle();
    check(OCIPasswordChange(m_svcCtx, errorHandle, oraText(user), user.mb_length(), oraText(oldPassword),
                            oldPassword.mb_length(), oraText(newPassword), static_cast<sb4>(newPassword.mb_length()),
                            OCI_DEFAULT),
          errorHandle);
    return false;
}

void _DTK_Connection::mb_flushCache() {
    requireSession();
}

void _DTK_Connection::mb_setAutoCommit(bool on) {
    m_autoCommit = on;
}

void _DTK_Connection::requireSession() const {
    if (!m_svcCtx) throw DTK_Exception(error::connection_uninitialized);
}
