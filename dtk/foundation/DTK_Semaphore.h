#pragma once

#include <ctime>

#include <semaphore.h>

#include "dtk/foundation/export.h"

/// A counting semaphore of this process, over an unnamed POSIX semaphore.
///
/// Shared by any number of threads, except that construction, mb_init, mb_destroy and destruction need it alone.
class DTK_EXPORT DTK_Semaphore {
  public:
    /// Starts with the value 1.
    DTK_Semaphore();
    DTK_Semaphore(const DTK_Semaphore&) = delete;
    DTK_Semaphore& operator=(const DTK_Semaphore&) = delete;

    /// Calls mb_destroy. While another exception unwinds the stack its failure is dropped: throwing would end the
    /// program.
    ///
    /// @throws DTK_Exception 7 " Semaphore is still locked by some process " as mb_destroy
    virtual ~DTK_Semaphore() noexcept(false);

    /// Sets the value of a fresh or destroyed semaphore, or of one that nobody waits on.
    ///
    /// @throws DTK_Exception 1 "The value max value for semaphore cannot be -ve" the value is negative; the semaphore
    ///         is unchanged
    bool mb_init(int value);

    /// Takes a permit, waiting for one without limit. False when a signal interrupted the wait.
    bool mb_acquire();

    /// Takes a permit if one is free; false at once otherwise.
    DTK_EXPORT_INLINE bool mb_tryAcquire() { return sem_trywait(&m_semaphore) == 0; }

    /// Takes a permit, waiting at most until `deadline`, a point in time on the real-time clock (not a duration).
    ///
    /// @return true; a wait that ends without a permit throws
    /// @throws DTK_Exception 5 "Deadlock detected by the system" the system saw a deadlock
    /// @throws DTK_Exception 3 " Not implemented " timed waits are not supported
    /// @throws DTK_Exception 3 " Process is not able to acquire a semaphore " no permit came in time, or the deadline
    ///         is malformed
    /// @throws DTK_Exception 6 "External signal interrupted" a signal interrupted the wait
    bool mb_timeWaitAcquire(const timespec* deadline);

    /// Gives a permit back.
    DTK_EXPORT_INLINE bool mb_release() { return sem_post(&m_semaphore) == 0; }

    /// The permits free at this moment; -1 when they cannot be read.
    int mb_getSemValue();

    /// The calling thread's errno as a number of the library: EAGAIN -9, EINVAL -10, EDEADLK -11, EINTR -12, others 0.
    int mb_getErrorNumber();

    /// Destroys the semaphore, trying again at once after a failure and after a short spin while it is busy.
    ///
    /// @throws DTK_Exception 7 " Semaphore is still locked by some process " it was busy 100 times
    bool mb_destroy();

  private:
    sem_t m_semaphore;
};
