#pragma once

#include "dtk/foundation/export.h"

class DTK_StatementBase;
class DTK_String;

/// One database session, borrowed from a pool. Used by one thread at a time.
///
/// "Without a session" below means: handed out empty after a reconnect, or given back already. An ORCL_Exception is
/// built from an error handle that the whole process shares: when two threads fail together its number and text may be
/// those of the other failure.
class DTK_EXPORT DTK_ConnectionBase {
  public:
    /// Commits if auto-commit is on, then gives the session back to its pool. Without a session it does nothing.
    ///
    /// Give the connection's statements back first. A transaction that is neither committed nor rolled back stays open
    /// in the session, for whoever borrows it next.
    ///
    /// @throws DTK_Exception the commit failed, with Oracle's number and text. The session is then lost to the pool.
    ///         While another exception is on its way nothing is thrown. A smart pointer lets nothing out of its
    ///         destructor and ends the process instead: with auto-commit on, delete the connection yourself.
    virtual ~DTK_ConnectionBase() noexcept(false) = default;

    /// Makes a statement on this session and prepares the text, unless it is empty.
    ///
    /// @return a statement that the caller owns: give it back with mb_terminateStatement, then delete it
    /// @throws DTK_Exception 201 "Uninitialized _DTK_Connection Object" without a session
    /// @throws DTK_Exception the text could not be prepared, with Oracle's number and text
    virtual DTK_StatementBase* mb_createStatement(const DTK_String& sql) = 0;

    /// Releases the statement's server handle and returns the object to its unprepared state: binds, update count and
    /// auto-commit are dropped. The object stays the caller's to delete. A statement that holds no handle is left as
    /// it is.
    ///
    /// @throws DTK_Exception 201 "Uninitialized _DTK_Connection Object" without a session
    /// @throws ORCL_Exception the handle could not be released; the statement is unchanged
    virtual void mb_terminateStatement(DTK_StatementBase* statement) = 0;

    /// Asks the server for an answer: true when it gave one without complaint. Never throws; false without a session.
    virtual bool mb_ping() = 0;

    /// Ends the transaction with its changes kept.
    ///
    /// @return false after success: the result is an error flag, and failures throw
    /// @throws DTK_Exception 201 "Uninitialized _DTK_Connection Object" without a session
    /// @throws ORCL_Exception the commit failed
    virtual bool mb_commit() = 0;

    /// Ends the transaction with its changes undone.
    ///
    /// @return false after success: the result is an error flag, and failures throw
    /// @throws DTK_Exception 201 "Uninitialized _DTK_Connection Object" without a session
    /// @throws ORCL_Exception the rollback failed
    virtual bool mb_rollback() = 0;

    /// Changes the user's password in the database. The pool keeps the old one for the sessions that it logs on later.
    ///
    /// @return false after success: the result is an error flag, and failures throw
    /// @throws DTK_Exception 201 "Uninitialized _DTK_Connection Object" without a session
    /// @throws ORCL_Exception the database refused the change
    virtual bool mb_changePassword(const DTK_String& user, const DTK_String& oldPassword,
                                   const DTK_String& newPassword) = 0;

    /// Checks that the connection holds a session; does nothing else.
    ///
    /// @throws DTK_Exception 201 "Uninitialized _DTK_Connection Object" without a session
    virtual void mb_flushCache() = 0;

    /// Whether the destructor commits; off for a new connection. Has no effect on the connection's statements.
    virtual void mb_setAutoCommit(bool on) = 0;
};
