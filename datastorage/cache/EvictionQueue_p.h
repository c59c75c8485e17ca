#pragma once

#include <tools/Mutex.h>

#include <QtCore/qglobal.h>

#include <vector>

namespace vx::datastorage {

class DataArrayInfoStreamed;

/// The order in which arrays leave memory: least recently stamped first.
///
/// A binary min-heap of arrays, compared through their time stamps. The time is a logical clock, one
/// tick per push. An array that is pushed again is in the queue twice; both entries have its newest
/// stamp, and the older one stays where it is. That is deliberate and decides which array is evicted.
///
/// Threads: any; has its own lock.
class EvictionQueue
{
public:
    /// Stamps `info` with the clock, adds it and moves the clock on.
    void push(DataArrayInfoStreamed* info);
    /// Takes out the entry at the top, the least recently stamped; null, with nothing changed, when
    /// there are fewer than 2: the last one stays in memory whatever it takes.
    DataArrayInfoStreamed* popOldest();
    /// Adds an entry that was popped, with its stamp as it is.
    void putBack(DataArrayInfoStreamed* info);
    /// Takes out the first entry of `info`, if there is one.
    void remove(const DataArrayInfoStreamed* info);
    /// Takes out every entry of `info`.
    void removeEvery(const DataArrayInfoStreamed* info);
    void clear();

private:
    void siftUp(std::size_t at) VX_REQUIRES(m_mutex);
    void siftDown(std::size_t at) VX_REQUIRES(m_mutex);
    void rebuild() VX_REQUIRES(m_mutex);

    mutable nel::tools::Mutex m_mutex;
    std::vector<DataArrayInfoStreamed*> m_heap VX_GUARDED_BY(m_mutex);
    quint64 m_clock VX_GUARDED_BY(m_mutex) = 0;
};

} // namespace vx::datastorage
