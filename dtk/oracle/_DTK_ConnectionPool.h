#pragma once

#include <atomic>
#include <memory>
#include <queue>

#include "dtk/foundation/DTK_Mutex.h"
#include "dtk/foundation/DTK_Semaphore.h"
#include "dtk/foundation/DTK_String.h"
#include "dtk/foundation/export.h"
#include "dtk/interface/DTK_ConnectionPoolBase.h"

struct OCIEnv;
struct OCIError;
struct OCISvcCtx;
class _DTK_Connection;

namespace dtk::oracle {
class Reconnects;
}

/// A pool of OCI sessions. The semaphore holds a permit for every hand-out that may proceed; the queue mutex guards the
/// idle sessions and their number. Taken in this order.
class DTK_EXPORT _DTK_ConnectionPool : public DTK_ConnectionPoolBase {
  public:
    /// Joins the process-wide environment.
    ///
    /// @throws DTK_Exception 500 "Error initializing error handles" its error handle could not be allocated
    _DTK_ConnectionPool();
    _DTK_ConnectionPool(const _DTK_ConnectionPool&) = delete;
    _DTK_ConnectionPool& operator=(const _DTK_ConnectionPool&) = delete;
    ~_DTK_ConnectionPool() noexcept(false) override;

    void mb_create(const DTK_String& user, const DTK_String& password, DTK_String database,
                   unsigned int initialSessions, unsigned int maximumSessions, DTK_String extraText,
                   DTK_String reservedText, unsigned int reservedNumber) override;
    DTK_ConnectionBase* mb_getConnection(bool timedWait) override;
    bool mb_returnConnection(DTK_ConnectionBase* connection) override;
    void mb_reConnect(int generation) override;

    /// One attempt to log on as many sessions as the pool counts, and to open it for hand-outs. The caller holds the
    /// queue mutex.
    ///
    /// @return false: a logon failed; the sessions logged on before it stay in the queue
    bool mb_executeReConnect();

    /// Joins the environment that the pools of the process share, making it for the first of them.
    ///
    /// @throws DTK_Exception 500 "Error initializing error handles" the error handle could not be allocated
    static void mb_InitializeEnvironment();

    /// Leaves the environment; the last pool frees it.
    static void mb_closeEnvironment();

    /// @{

    /// The handles that the pools of the process share, for use while one of them lives.
    OCIError* mb_getErrorHandle() { return m_OCIError; }
    OCIEnv* mb_getEnvironmentHandle() { return m_environment; }
    /// @}

    /// @{

    /// The same for those that know no pool, as a statement does whose connection has gone back.
    static OCIError* sharedErrorHandle() { return m_OCIError; }
    static OCIEnv* sharedEnvironment() { return m_environment; }
    /// @}

  private:
    friend void* gb_pthreadInitFunc(void* pool);

    void takePermit(bool timedWait);
    bool handOut(_DTK_Connection& connection);
    void releasePermits();
    void drainPermits();
    void drainSessions(std::queue<OCISvcCtx*>& drained);
    void forgetCredentials();
    void requireShortCredentials() const;
    void pushNewSession();
    OCISvcCtx* takeSession();
    bool queueSession(_DTK_Connection& connection);
    void logOnAgain();
    void startReconnect();
    void reconnect();

    static OCIEnv* m_environment;
    static OCIError* m_OCIError;
    static int m_poolCnt;

    std::atomic<int> m_generation;
    std::queue<OCISvcCtx*> m_freeSessions;
    DTK_String m_user;
    DTK_String m_password;
    DTK_String m_database;
    DTK_String m_extraText;
    int m_sessionCount;
    int m_maxSessions;
    DTK_Mutex m_queueMutex;
    DTK_Mutex m_reconnectMutex;
    DTK_Semaphore m_available;
    std::shared_ptr<dtk::oracle::Reconnects> m_reconnects;
    int m_openGeneration; ///< whose sessions are handed out; behind m_generation while a reconnect is under way
    int m_permits;        ///< hand-outs that may still be made; the semaphore may hold less while threads come in
};

/// The start routine of a reconnect thread; its argument is the pool.
void* gb_pthreadInitFunc(void* pool);
