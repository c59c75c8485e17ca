#pragma once

#include <tools/ThreadAnnotations.h>

#include <QtCore/QDeadlineTimer>
#include <QtCore/QMutex>
#include <QtCore/QWaitCondition>

#if defined(__SANITIZE_THREAD__)
#define VX_THREAD_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define VX_THREAD_SANITIZER 1
#endif
#endif

#if defined(VX_THREAD_SANITIZER)
#include <chrono>
#include <condition_variable>
#include <mutex>
#endif

/// Locks that clang's thread-safety check understands.
///
/// They hold Qt's mutexes and wait condition. Under the thread sanitizer they hold the standard ones
/// instead, with the same behaviour: the sanitizer cannot see into Qt's and would report correct
/// programs.
namespace nel::tools {

#if defined(VX_THREAD_SANITIZER)
/// What the locks below hold: the standard library's under the thread sanitizer, else Qt's.
using NativeMutex = std::mutex;
using NativeRecursiveMutex = std::recursive_mutex;
#else
/// What the locks below hold: the standard library's under the thread sanitizer, else Qt's.
using NativeMutex = QMutex;
using NativeRecursiveMutex = QRecursiveMutex;
#endif

/// A lock that one thread holds at a time. Not recursive.
class VX_CAPABILITY("mutex") Mutex
{
public:
    Mutex() = default;
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    /// Waits until no other thread holds the lock, and takes it.
    void lock() VX_ACQUIRE() { m_mutex.lock(); }

    /// Gives it back; only the thread that holds it may.
    void unlock() VX_RELEASE() { m_mutex.unlock(); }

private:
    friend class WaitCondition;
    NativeMutex m_mutex;
};

/// A lock that its holder may take again; it must be given back as often.
class VX_CAPABILITY("mutex") RecursiveMutex
{
public:
    RecursiveMutex() = default;
    RecursiveMutex(const RecursiveMutex&) = delete;
    RecursiveMutex& operator=(const RecursiveMutex&) = delete;

    /// Waits until no other thread holds the lock, and takes it once more.
    void lock() VX_ACQUIRE() { m_mutex.lock(); }

    /// Gives it back once.
    void unlock() VX_RELEASE() { m_mutex.unlock(); }

private:
    NativeRecursiveMutex m_mutex;
};

/// Holds a Mutex or a RecursiveMutex for a scope.
template <typename Lock>
class VX_SCOPED_CAPABILITY Locker
{
public:
    /// Takes `lock`, which must live as long as this object.
    explicit Locker(Lock& lock) VX_ACQUIRE(lock) : m_lock(lock) { m_lock.lock(); }
    ~Locker() VX_RELEASE() { m_lock.unlock(); }
    Locker(const Locker&) = delete;
    Locker& operator=(const Locker&) = delete;

private:
    Lock& m_lock;
};

/// Lets threads sleep until another one wakes them. A wake-up that comes while nobody sleeps is not
/// remembered, so the condition that is waited for must be tested and changed under the same mutex.
class WaitCondition
{
public:
    WaitCondition() = default;
    WaitCondition(const WaitCondition&) = delete;
    WaitCondition& operator=(const WaitCondition&) = delete;

    /// Gives `mutex` back, sleeps until woken (rarely without a wake-up) and takes it again.
    void wait(Mutex& mutex) VX_REQUIRES(mutex)
    {
#if defined(VX_THREAD_SANITIZER)
        m_condition.wait(mutex.m_mutex);
#else
        m_condition.wait(&mutex.m_mutex);
#endif
    }

    /// As wait(), for at most `milliseconds`.
    void waitFor(Mutex& mutex, unsigned long milliseconds) VX_REQUIRES(mutex)
    {
#if defined(VX_THREAD_SANITIZER)
        m_condition.wait_until(mutex.m_mutex,
                               std::chrono::system_clock::now() + std::chrono::milliseconds(milliseconds));
#else
        m_condition.wait(&mutex.m_mutex, QDeadlineTimer(static_cast<qint64>(milliseconds)));
#endif
    }

    /// Wakes every thread that sleeps here.
    void wakeAll()
    {
#if defined(VX_THREAD_SANITIZER)
        m_condition.notify_all();
#else
        m_condition.wakeAll();
#endif
    }

private:
#if defined(VX_THREAD_SANITIZER)
    std::condition_variable_any m_condition;
#else
    QWaitCondition m_condition;
#endif
};

} // namespace nel::tools
