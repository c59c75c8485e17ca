#pragma once

#include <QtCore/QThread>
#include <QtCore/QThreadPool>

namespace vx::datastorage {

/// Lets the global thread pool use another thread while one of its own waits for a load: the load may
/// be queued behind the very tasks that wait for it.
class PoolThreadPause
{
public:
    PoolThreadPause() : m_pool(QThreadPool::globalInstance())
    {
        if (m_pool && !m_pool->contains(QThread::currentThread()))
            m_pool = nullptr;
        if (m_pool)
            m_pool->releaseThread();
    }
    ~PoolThreadPause()
    {
        if (m_pool)
            m_pool->reserveThread();
    }
    PoolThreadPause(const PoolThreadPause&) = delete;
    PoolThreadPause& operator=(const PoolThreadPause&) = delete;

private:
    QThreadPool* m_pool;
};

} // namespace vx::datastorage
