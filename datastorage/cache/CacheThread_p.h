#pragma once

#include <QtCore/QThread>

#include <atomic>

namespace vx::datastorage {

/// The one thread on which the cache drops blocks: the application's main thread.
///
/// Because no other thread frees or moves a block whose samples are readable, that thread may read
/// samples without a lock; every other thread takes the array's memory lock.
class Q_DECL_HIDDEN CacheThread // so that the compiler knows where s_thread is: it is read with every sample
{
public:
    /// Whether this is the main thread. One load and one compare.
    static bool isCurrent() { return s_thread.load(std::memory_order_relaxed) == QThread::currentThreadId(); }
    /// Makes the calling thread the main thread.
    static void claim() { s_thread.store(QThread::currentThreadId(), std::memory_order_relaxed); }

private:
    static std::atomic<Qt::HANDLE> s_thread;
};

} // namespace vx::datastorage
