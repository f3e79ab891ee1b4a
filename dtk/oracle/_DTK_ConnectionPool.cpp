#include "dtk/oracle/_DTK_ConnectionPool.h"

#include <ctime>
#include <exception>
#include <thread>

#include <pthread.h>
#include <unistd.h>

#include "dtk/foundation/DTK_Guard.h"
#include "dtk/oracle/_DTK_Connection.h"
#include "dtk/oracle/detail/Reconnects.h"
#include "dtk/oracle/detail/oci.h"
#include "dtk/oracle/detail/sessions.h"

namespace error = dtk::error;
using dtk::oracle::ignore;
using dtk::oracle::Logon;

using MutexGuard = DTK_Guard<DTK_Mutex, bool, &DTK_Mutex::mb_lock, &DTK_Mutex::mb_unlock>;

OCIEnv* _DTK_ConnectionPool::m_environment = nullptr;
OCIError* _DTK_ConnectionPool::m_OCIError = nullptr;
int _DTK_ConnectionPool::m_poolCnt = 0;

namespace {

constexpr unsigned int credentialLimit_bytes = 64;
constexpr int yieldsBeforeSleep = 8;
constexpr unsigned int retryPause_s = 60;

} // namespace

_DTK_ConnectionPool::_DTK_ConnectionPool()
    : m_generation(0),
      m_sessionCount(0),
      m_maxSessions(0),
      m_queueMutex(false),
      m_reconnectMutex(false),
      m_reconnects(std::make_shared<dtk::oracle::Reconnects>()),
      m_openGeneration(0),
      m_permits(0) {
    mb_InitializeEnvironment();
    m_available.mb_destroy();
    m_available.mb_init(0);
}

_DTK_ConnectionPool::~_DTK_ConnectionPool() noexcept(false) {
    m_reconnects->close();
    if (m_freeSessions.size() != static_cast<std::size_t>(m_sessionCount)) {
        // A second exception on top of one that is already on its way would end the process.
        if (std::uncaught_exceptions() > 0) return;
        throw DTK_Exception(error::connections_still_open);
    }
    for (; !m_freeSessions.empty(); m_freeSessions.pop()) ignore(OCILogoff(m_freeSessions.front(), m_OCIError));
    mb_closeEnvironment();
}

void _DTK_ConnectionPool::mb_create(const DTK_String& user, const DTK_String& password, DTK_String database,
                                    unsigned int initialSessions, unsigned int maximumSessions, DTK_String extraText,
                                    DTK_String, unsigned int) {
    const MutexGuard lock(m_queueMutex);
    try {
        m_user = user;
        m_password = password;
        m_database = database;
        m_sessionCount = static_cast<int>(initialSessions);
        m_maxSessions = static_cast<int>(maximumSessions);
        m_extraText = extraText;
        for (int i = 0; i < m_sessionCount; ++i) {
            requireShortCredentials();
            pushNewSession();
        }
    } catch (const DTK_Exception& failure) {
        forgetCredentials();
        throw DTK_Exception(failure);
    } catch (...) {
        forgetCredentials();
        throw DTK_Exception(error::connection_creation_failed);
    }
    releasePermits();
}

DTK_ConnectionBase* _DTK_ConnectionPool::mb_getConnection(bool timedWait) {
    auto connection = std::make_unique<_DTK_Connection>();
    do {
        takePermit(timedWait);
    } while (!handOut(*connection));
    return connection.release();
}

bool _DTK_ConnectionPool::mb_returnConnection(DTK_ConnectionBase* connection) {
    auto& returned = *static_cast<_DTK_Connection*>(connection);
    OCISvcCtx* session = returned.m_svcCtx;
    if (!session) return true;
    // A session of an earlier generation must not wait for a reconnect that may take for ever.
    const bool queued = returned.m_generation == m_generation && queueSession(returned);
    returned.m_svcCtx = nullptr;
    returned.m_pool = nullptr;
    if (!queued) dtk::oracle::discard(session, m_OCIError);
    return true;
}

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
        // The caller tries again. An exception must not end the thread, and nobody would read the reason.
        return false;
    }
    releasePermits();
    return true;
}

void _DTK_ConnectionPool::mb_InitializeEnvironment() {
    if (m_poolCnt == 0) {
        m_environment = nullptr;
        ignore(OCIEnvCreate(&m_environment, OCI_THREADED | OCI_OBJECT, nullptr, nullptr, nullptr, nullptr, 0, nullptr));
        void* handle = nullptr;
        if (OCIHandleAlloc(m_environment, &handle, OCI_HTYPE_ERROR, 0, nullptr) != OCI_SUCCESS) {
            if (m_environment) ignore(OCIHandleFree(m_environment, OCI_HTYPE_ENV));
            m_environment = nullptr;
            throw DTK_Exception(error::error_handles_failed);
        }
        m_OCIError = static_cast<OCIError*>(handle);
    }
    ++m_poolCnt;
}

void _DTK_ConnectionPool::mb_closeEnvironment() {
    --m_poolCnt;
    if (m_poolCnt == 0 && m_environment) ignore(OCIHandleFree(m_environment, OCI_HTYPE_ENV));
}

// The timed form never waits: its deadline, a second after the epoch, has long passed.
void _DTK_ConnectionPool::takePermit(bool timedWait) {
    if (timedWait) {
        constexpr long timeout_ms = 1000;
        constexpr timespec deadline{timeout_ms / 1000, timeout_ms % 1000 * 1000000};
        m_available.mb_timeWaitAcquire(&deadline);
        return;
    }
    // The thread that gives a permit back may be waiting for this processor. Yielding to it is cheaper than to sleep.
    for (int i = 0; i < yieldsBeforeSleep; ++i) {
        if (m_available.mb_tryAcquire()) return;
        std::this_thread::yield();
    }
    // A signal may end the wait without a permit. handOut looks whether there is one, and has the caller wait again.
    m_available.mb_acquire();
}

// Adds what the pool may hand out at most, and lets as many waiting threads proceed.
void _DTK_ConnectionPool::releasePermits() {
    for (int i = 0; i < m_maxSessions; ++i) {
        ++m_permits;
        m_available.mb_release();
    }
}

// The semaphore only lets threads in. m_permits is what counts: a thread that took a permit before a reconnect may come
// in after it, when that permit has been replaced. Such a thread waits anew, or uses up one of the new permits.
bool _DTK_ConnectionPool::handOut(_DTK_Connection& connection) {
    const MutexGuard lock(m_queueMutex);
    if (m_openGeneration != m_generation || m_permits == 0) return false;
    try {
        connection.m_svcCtx = takeSession();
    } catch (...) {
        if (m_openGeneration == m_generation && m_available.mb_getSemValue() < m_permits) m_available.mb_release();
        throw;
    }
    --m_permits;
    if (m_available.mb_getSemValue() > m_permits) m_available.mb_tryAcquire(); // one that stands for none
    connection.m_pool = this;
    connection.m_generation = m_openGeneration;
    return true;
}

void _DTK_ConnectionPool::forgetCredentials() {
    m_user = "";
    m_password = "";
    m_database = "";
    m_sessionCount = 0;
    m_maxSessions = 0;
}

void _DTK_ConnectionPool::requireShortCredentials() const {
    for (const DTK_String* credential : {&m_user, &m_password, &m_database}) {
        if (credential->mb_length() >= credentialLimit_bytes) throw DTK_Exception(error::logon_failed);
    }
}

void _DTK_ConnectionPool::pushNewSession() {
    Logon logon(m_environment, m_OCIError, m_user, m_password, m_database);
    if (!logon.isAccepted()) throw ORCL_Exception(m_OCIError);
    m_freeSessions.push(logon.session());
    logon.release();
}

// With neither an idle session nor room for a further one the permits outnumber the sessions, as they may after a
// second mb_create: the caller gets a connection without a session.
OCISvcCtx* _DTK_ConnectionPool::takeSession() {
    if (m_freeSessions.empty() && m_sessionCount < m_maxSessions) {
        pushNewSession();
        ++m_sessionCount;
    }
    if (m_freeSessions.empty()) return nullptr;
    OCISvcCtx* session = m_freeSessions.front();
    m_freeSessions.pop();
    return session;
}

bool _DTK_ConnectionPool::queueSession(_DTK_Connection& connection) {
    const MutexGuard lock(m_queueMutex);
    if (connection.m_generation != m_generation) return false;
    m_freeSessions.push(connection.m_svcCtx);
    ++m_permits;
    m_available.mb_release();
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
    // After the mutex is free: the logoff of a session whose server has gone may take long.
    for (; !drained.empty(); drained.pop()) dtk::oracle::discard(drained.front(), m_OCIError);
    reconnects->end();
}

void _DTK_ConnectionPool::drainPermits() {
    while (m_available.mb_tryAcquire()) {
        // Each pass takes one.
    }
}

// The queue shrinks while the counter grows, so half of the sessions stay. Applications use those that still work.
void _DTK_ConnectionPool::drainSessions(std::queue<OCISvcCtx*>& drained) {
    for (std::size_t i = 0; i < m_freeSessions.size(); ++i) {
        drained.push(m_freeSessions.front());
        m_freeSessions.pop();
    }
}

void _DTK_ConnectionPool::logOnAgain() {
    requireShortCredentials();
    Logon logon(m_environment, m_OCIError, m_user, m_password, m_database);
    if (!logon.isAccepted()) throw DTK_Exception(error::logon_failed);
    m_freeSessions.push(logon.session());
    logon.release();
}

// pthread_exit unwinds the stack: keep objects with destructors out of this function.
void* gb_pthreadInitFunc(void* pool) {
    pthread_detach(pthread_self()); // nobody joins it
    static_cast<_DTK_ConnectionPool*>(pool)->reconnect();
    pthread_exit(nullptr);
}
