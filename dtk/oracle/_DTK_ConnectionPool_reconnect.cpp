#include <pthread.h>
#include <unistd.h>

#include "dtk/oracle/Reconnects.h"
#include "dtk/oracle/_DTK_ConnectionPool.h"
#include "dtk/oracle/check.h"
#include "dtk/oracle/sessions.h"

namespace error = dtk::error;
using dtk::oracle::ignore;
using dtk::oracle::MutexGuard;
using dtk::oracle::ServiceContext;

namespace {

constexpr unsigned int retryPause_s = 60;

} // namespace

void _DTK_ConnectionPool::mb_reConnect(int generation) {
    const MutexGuard lock(m_reconnectMutex);
    if (generation != m_generation) return;
    drainPermits();
    ++m_generation;
    startReconnect();
}

bool _DTK_ConnectionPool::mb_executeReConnect() {
    try {
        for (int i = 0; i < m_sessionCount; ++i) logOnAgain();
    } catch (const std::exception&) {
        // Nobody waits for the reason: the caller tries again, and an exception must not end the thread.
        return false;
    }
    releasePermits();
    return true;
}

// The queue is drained by the new thread, so that the caller never waits for an earlier reconnect that holds the mutex.
void _DTK_ConnectionPool::startReconnect() {
    m_reconnects->begin(m_generation);
    pthread_t thread;
    if (pthread_create(&thread, nullptr, gb_pthreadInitFunc, this) != 0) {
        m_reconnects->cancel();
        throw DTK_Exception(error::reconnect_thread_failed);
    }
}

void _DTK_ConnectionPool::reconnect() {
    const std::shared_ptr<dtk::oracle::Reconnects> reconnects = m_reconnects;
    std::queue<OCISvcCtx*> drained;
    {
        const MutexGuard lock(m_queueMutex);
        const int generation = reconnects->next();
        // A connection that came back meanwhile has released a permit of the old generation.
        drainPermits();
        m_permits = 0;
        // More than one generation has begun when a thread could not be started: each drains the queue once.
        for (int i = m_openGeneration; i < generation; ++i) drainSessions(drained);
        while (!mb_executeReConnect() && !reconnects->closing()) sleep(retryPause_s);
        m_openGeneration = generation;
    }
    // Last of all: a session whose server is gone may keep its logoff waiting.
    for (; !drained.empty(); drained.pop()) dtk::oracle::discard(drained.front(), m_OCIError);
    reconnects->end();
}

void _DTK_ConnectionPool::drainPermits() {
    while (m_available.mb_tryAcquire()) {
        // Each pass takes one.
    }
}

// The queue shrinks while the counter grows, so half of the sessions stay: applications count on those that still work.
void _DTK_ConnectionPool::drainSessions(std::queue<OCISvcCtx*>& drained) {
    for (std::size_t i = 0; i < m_freeSessions.size(); ++i) {
        drained.push(m_freeSessions.front());
        m_freeSessions.pop();
    }
}

// The logoff of a context that was never logged on is kept for one that OCI does not free.
void _DTK_ConnectionPool::logOnAgain() {
    requireShortCredentials();
    ServiceContext session = dtk::oracle::allocateServiceContext(m_environment);
    const sword status = dtk::oracle::logOn(m_environment, m_OCIError, session, m_user, m_password, m_database);
    if (status != OCI_SUCCESS) {
        OCISvcCtx* refused = session.release();
        if (status == OCI_SUCCESS_WITH_INFO) {
            dtk::oracle::logOff(refused, m_OCIError);
            throw DTK_Exception(error::logon_failed);
        }
        if (OCIHandleFree(refused, OCI_HTYPE_SVCCTX) != OCI_SUCCESS) ignore(OCILogoff(refused, m_OCIError));
        throw DTK_Exception(error::logon_failed);
    }
    m_freeSessions.push(session.get());
    static_cast<void>(session.release());
}

// The exit unwinds the stack, so that nothing that needs a destructor may live here.
void* gb_pthreadInitFunc(void* pool) {
    pthread_detach(pthread_self()); // nobody joins it
    static_cast<_DTK_ConnectionPool*>(pool)->reconnect();
    pthread_exit(nullptr);
}
