#pragma once

#include <datastorage/Export.h>

#include <tools/Mutex.h>

namespace vx::datastorage {

/// Lets readers wait for samples that a loader is still bringing into memory.
///
/// Threads: any. Each function takes the object's own mutex; wait functions give it back while they
/// sleep.
class VXDATASTORAGE_EXPORT AsyncDataLock
{
public:
    AsyncDataLock();
    ~AsyncDataLock();
    AsyncDataLock(const AsyncDataLock&) = delete;
    AsyncDataLock& operator=(const AsyncDataLock&) = delete;

    /// Sleeps once, without time limit, until the next wakeAll(). A wakeAll() that came before is not
    /// remembered and a spurious wake-up returns early: test the condition that you wait for again, or
    /// use waitUntil().
    void wait();

    /// Wakes every waiter; does nothing when nobody waits.
    void wakeAll();

    /// Sleeps until `ready()` holds, which is tested under the object's mutex before each sleep: a
    /// thread that makes it hold and then calls wakeAll() cannot be missed. `ready` must be quick and
    /// must not use this object.
    template <typename Predicate>
    void waitUntil(Predicate ready)
    {
        const nel::tools::Locker lock(m_mutex);
        while (!ready()) {
            m_waiting = true;
            m_condition.wait(m_mutex);
        }
    }

    /// As waitUntil(), for at most one sleep of `milliseconds`; returns what `ready()` says then.
    template <typename Predicate>
    bool waitFor(unsigned long milliseconds, Predicate ready)
    {
        const nel::tools::Locker lock(m_mutex);
        if (!ready()) {
            m_waiting = true;
            m_condition.waitFor(m_mutex, milliseconds);
        }
        return ready();
    }

private:
    nel::tools::Mutex m_mutex;
    nel::tools::WaitCondition m_condition;
    bool m_waiting VX_GUARDED_BY(m_mutex) = false; ///< somebody sleeps and has not been woken yet
};

} // namespace vx::datastorage
