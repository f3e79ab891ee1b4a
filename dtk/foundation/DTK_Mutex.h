#pragma once

#include <pthread.h>

#include "dtk/foundation/export.h"

/// A normal, non-recursive POSIX mutex. No operation throws: each returns whether the POSIX call succeeded.
///
/// Shared by any number of threads, except that construction, mb_init, mb_destroy and destruction need it alone.
class DTK_EXPORT DTK_Mutex {
  public:
    /// The flag of the constructor and of mb_init has no effect.
    explicit DTK_Mutex(bool flag);
    DTK_Mutex(const DTK_Mutex&) = delete;
    DTK_Mutex& operator=(const DTK_Mutex&) = delete;
    virtual ~DTK_Mutex();

    /// Makes a destroyed mutex usable again.
    bool mb_init(bool flag);

    /// Waits until the mutex is free. Locking it twice from one thread deadlocks.
    DTK_EXPORT_INLINE bool mb_lock() { return pthread_mutex_lock(&m_mutex) == 0; }

    /// False at once when the mutex is locked.
    bool mb_tryLock();

    /// Frees the mutex, which the calling thread holds.
    DTK_EXPORT_INLINE bool mb_unlock() { return pthread_mutex_unlock(&m_mutex) == 0; }

    /// Ends the use of an unlocked mutex, until mb_init. The destructor calls it too.
    bool mb_destroy();

  private:
    pthread_mutex_t m_mutex;
};
