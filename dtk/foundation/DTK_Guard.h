#pragma once

/// Holds a lock for the guard's own lifetime. Lives on one thread's stack; the lockable must outlive it.
/// What the lock and unlock members return is ignored.
///
///     DTK_Guard<DTK_Mutex, bool, &DTK_Mutex::mb_lock, &DTK_Mutex::mb_unlock> guard(mutex);
template <typename Lockable, typename Result, Result (Lockable::*lockMember)(), Result (Lockable::*unlockMember)()>
class DTK_Guard {
  public:
    /// Takes the lock, waiting for it as the lock member does.
    explicit DTK_Guard(Lockable& lockable) : m_lockable(lockable) { (m_lockable.*lockMember)(); }
    DTK_Guard(const DTK_Guard&) = delete;
    DTK_Guard& operator=(const DTK_Guard&) = delete;

    /// Gives the lock back.
    ~DTK_Guard() { (m_lockable.*unlockMember)(); }

  private:
    Lockable& m_lockable;
};
