#include "dtk/oracle/_DTK_ConnectionPool.h"

#include <ctime>
#include <exception>
#include <thread>

#include "dtk/oracle/Reconnects.h"
#include "dtk/oracle/_DTK_Connection.h"
#include "dtk/oracle/check.h"
#include "dtk/oracle/sessions.h"

namespace error = dtk::error;
using dtk::oracle::ignore;
using dtk::oracle::MutexGuard;
using dtk::oracle::ServiceContext;

OCIEnv* _DTK_ConnectionPool::m_environment = nullptr;
OCIError* _DTK_ConnectionPool::m_OCIError = nullptr;
int _DTK_ConnectionPool::m_poolCnt = 0;

namespace {

constexpr unsigned int credentialLimit_bytes = 64;
constexpr int yieldsBeforeSleep = 8;

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
    // Whoever holds a permit may be waiting for this processor, and a thread that sleeps has to be woken by the system.
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
    while (m_available.mb_getSemValue() > m_permits && m_available.mb_tryAcquire()) {
        // Each pass takes a permit that stands for none.
    }
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
    for (const DTK_String* text : {&m_user, &m_password, &m_database}) {
        if (text->mb_length() >= credentialLimit_bytes) throw DTK_Exception(error::logon_failed);
    }
}

void _DTK_ConnectionPool::pushNewSession() {
    ServiceContext session = dtk::oracle::allocateServiceContext(m_environment);
    const sword status = dtk::oracle::logOn(m_environment, m_OCIError, session, m_user, m_password, m_database);
    if (status != OCI_SUCCESS) {
        const ORCL_Exception refusal(m_OCIError); // before a logoff writes to the error handle
        if (status == OCI_SUCCESS_WITH_INFO) dtk::oracle::logOff(session.release(), m_OCIError);
        throw ORCL_Exception(refusal);
    }
    m_freeSessions.push(session.get());
    static_cast<void>(session.release());
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
