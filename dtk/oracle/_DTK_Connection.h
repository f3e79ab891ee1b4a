#pragma once

#include "dtk/foundation/export.h"
#include "dtk/interface/DTK_ConnectionBase.h"

struct OCISvcCtx;
class _DTK_ConnectionPool;

/// A session of a pool in a caller's hands. The pool makes one per hand-out and fills it in.
class DTK_EXPORT _DTK_Connection : public DTK_ConnectionBase {
  public:
    /// A connection without a session.
    _DTK_Connection();
    _DTK_Connection(const _DTK_Connection&) = delete;
    _DTK_Connection& operator=(const _DTK_Connection&) = delete;
    ~_DTK_Connection() noexcept(false) override;

    DTK_StatementBase* mb_createStatement(const DTK_String& sql) override;
    void mb_terminateStatement(DTK_StatementBase* statement) override;
    bool mb_ping() override;
    bool mb_commit() override;
    bool mb_rollback() override;
    bool mb_changePassword(const DTK_String& user, const DTK_String& oldPassword,
                           const DTK_String& newPassword) override;
    void mb_flushCache() override;
    void mb_setAutoCommit(bool on) override;

    /// The session; null when the connection holds none.
    OCISvcCtx* serviceContext() const { return m_svcCtx; }

  private:
    friend class _DTK_ConnectionPool;

    void requireSession() const;

    int m_generation;
    _DTK_ConnectionPool* m_pool;
    OCISvcCtx* m_svcCtx;
    bool m_autoCommit;
};
