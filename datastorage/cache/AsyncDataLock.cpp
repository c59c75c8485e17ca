#include <datastorage/cache/AsyncDataLock.h>

namespace vx::datastorage {

AsyncDataLock::AsyncDataLock() = default;

AsyncDataLock::~AsyncDataLock() = default;

void AsyncDataLock::wait()
{
    const nel::tools::Locker lock(m_mutex);
    m_waiting = true;
    m_condition.wait(m_mutex);
}

void AsyncDataLock::wakeAll()
{
    const nel::tools::Locker lock(m_mutex);
    if (!m_waiting)
        return;
    m_waiting = false;
    m_condition.wakeAll();
}

} // namespace vx::datastorage
