#include "dtk/foundation/DTK_Semaphore.h"

#include <cerrno>
#include <exception>

#include "dtk/foundation/DTK_Exception.h"

namespace {

constexpr int busy_limit = 100;
constexpr int delay_passes = 30000;

const dtk::error::Definition& timed_wait_error(int error_number) {
    switch (error_number) {
    case EDEADLK: return dtk::error::semaphore_deadlock;
    case ENOSYS: return dtk::error::semaphore_wait_not_implemented;
    case EINTR: return dtk::error::semaphore_wait_interrupted;
    default: return dtk::error::semaphore_not_acquired;
    }
}

// A spin rather than a sleep: the destroy path makes no system call. The barrier keeps the optimiser from removing it.
void spin() {
    for (int pass = 0; pass < delay_passes; ++pass) asm volatile("");
}

} // namespace

DTK_Semaphore::DTK_Semaphore() {
    mb_init(1);
}

DTK_Semaphore::~DTK_Semaphore() noexcept(false) {
    if (mb_getSemValue() == -1) return;
    try {
        mb_destroy();
    } catch (const DTK_Exception&) {
        if (std::uncaught_exceptions() == 0) throw;
    }
}

bool DTK_Semaphore::mb_init(int value) {
    if (value < 0) throw DTK_Exception(dtk::error::semaphore_value_negative);
    return sem_init(&m_semaphore, 0, static_cast<unsigned int>(value)) != -1;
}

bool DTK_Semaphore::mb_acquire() {
    return sem_wait(&m_semaphore) == 0;
}

bool DTK_Semaphore::mb_timeWaitAcquire(const timespec* deadline) {
    if (sem_timedwait(&m_semaphore, deadline) == 0) return true;
    throw DTK_Exception(timed_wait_error(errno));
}

int DTK_Semaphore::mb_getSemValue() {
    int value = -1;
    sem_getvalue(&m_semaphore, &value);
    return value;
}

int DTK_Semaphore::mb_getErrorNumber() {
    switch (errno) {
    case EAGAIN: return -9;
    case EINVAL: return -10;
    case EDEADLK: return -11;
    case EINTR: return -12;
    default: return 0;
    }
}

bool DTK_Semaphore::mb_destroy() {
    int busy = 0;
    while (sem_destroy(&m_semaphore) != 0) {
        if (errno != EBUSY) continue;
        if (++busy == busy_limit) throw DTK_Exception(dtk::error::semaphore_still_locked);
        spin();
    }
    return true;
}
