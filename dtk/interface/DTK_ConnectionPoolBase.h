#pragma once

#include "dtk/foundation/export.h"

class DTK_ConnectionBase;
class DTK_String;

/// A set of logged-on database sessions that any number of threads borrow as connections. Made by gb_getConnectionPool.
///
/// All pools of a process are made and deleted by one thread at a time: they share an environment whose count is not
/// locked.
class DTK_EXPORT DTK_ConnectionPoolBase {
  public:
    /// Logs every session off and, with the last pool of the process, frees the shared environment.
    ///
    /// Give every connection back first, and let no other thread use the pool any more. A reconnect that is under way
    /// makes at least one attempt and is given up when that one fails, or the one after its pause; the destructor waits
    /// for it (a minute, if the database stays away).
    ///
    /// @throws DTK_Exception 501 "There are still open Connections" the idle sessions are not exactly those that the
    ///         pool counts: connections are still out, or a reconnect has left sessions of both generations. The object
    ///         is gone all the same; its sessions stay logged on and the environment stays for the rest of the process.
    ///         While another exception is on its way nothing is thrown. A smart pointer lets nothing out of its
    ///         destructor and ends the process instead: where 501 may come, delete the pool yourself.
    virtual ~DTK_ConnectionPoolBase() noexcept(false) = default;

    /// Stores the credentials and limits, logs the initial sessions on and opens the pool for hand-outs. Call it once.
    ///
    /// @param user, password, database  each at most 63 bytes
    /// @param initialSessions  sessions logged on by this call; 0 is allowed
    /// @param maximumSessions  sessions that may be out at once; those beyond the initial ones are logged on as needed
    /// @param extraText  stored, not used
    /// @param reservedText, reservedNumber  ignored
    /// @throws DTK_Exception 500 "Error initializing connection handles" a service context could not be allocated
    /// @throws DTK_Exception 500 "Error Calling OCILogon2 " a text is too long
    /// @throws DTK_Exception 0 "Unknown exception while creating connection" memory ran out
    /// @throws DTK_Exception 0 with Oracle's number and text: the logon was refused
    ///
    /// After a failure the credentials are empty and both limits 0; sessions logged on before it stay in the pool.
    virtual void mb_create(const DTK_String& user, const DTK_String& password, DTK_String database,
                           unsigned int initialSessions, unsigned int maximumSessions, DTK_String extraText,
                           DTK_String reservedText, unsigned int reservedNumber) = 0;

    /// Takes a session from the pool, logging a further one on if none is idle, and wraps it in a new connection.
    ///
    /// @param timedWait  false: wait until a permit is free, without limit.
    ///                   true: never wait; with no permit free the call fails at once.
    /// @return a connection that the caller owns; deleting it gives the session back. Only when mb_create has been
    ///         called twice it may hold no session: its operations then throw 201.
    /// @throws DTK_Exception 3 " Process is not able to acquire a semaphore " no permit is free (timed form only)
    /// @throws DTK_Exception 500 "Error initializing connection handles" no service context could be allocated; the
    ///         permit is given back
    /// @throws ORCL_Exception the logon of a further session was refused; the permit is given back
    ///
    /// May be called from any number of threads.
    virtual DTK_ConnectionBase* mb_getConnection(bool timedWait) = 0;

    /// Puts the connection's session back into the pool, without committing. The connection object stays the caller's
    /// to delete. Returning it again, or deleting it afterwards, does nothing more.
    ///
    /// A session from before a reconnect is rolled back and logged off instead; its failures are ignored.
    ///
    /// @return always true
    ///
    /// May be called from any number of threads.
    virtual bool mb_returnConnection(DTK_ConnectionBase* connection) = 0;

    /// Replaces the sessions after the database went away: no hand-out proceeds until a thread in the background has
    /// logged a full set on again, which it tries once a minute without end.
    ///
    /// @param generation  the number of reconnects that the pool has accepted so far, 0 for a new pool. Any other
    ///                    number does nothing: of many callers that saw one outage, one starts the reconnect.
    /// @throws DTK_Exception 500 "Error in creating thread for reconnect" the thread could not be started. The
    ///         generation counts on and hand-outs stay blocked until a further call, with the new generation, succeeds.
    ///
    /// Of the idle sessions half, rounded up, are logged off; the others stay in the pool in front of the new ones.
    /// May be called from any number of threads.
    virtual void mb_reConnect(int generation) = 0;
};
