#pragma once

#include <datastorage/cache/CacheStatistics.h>

#include <QtCore/qglobal.h>

#include <array>
#include <atomic>

namespace vx::datastorage {

/// Counts what the cache does. Nothing here is touched per sample.
///
/// Threads: any; every figure is an atomic of its own.
class CacheCounters
{
public:
    void countHit() { add(m_hits); }
    void countEviction() { add(m_evictions); }
    void countWrite() { add(m_writes); }
    void countError() { add(m_errors); }
    void countLoad(qint64 nanoseconds);

    /// Fills the event counts and the load times of `statistics`.
    void report(CacheStatistics& statistics) const;

private:
    using Counter = std::atomic<quint64>;
    static void add(Counter& counter) { counter.fetch_add(1, std::memory_order_relaxed); }
    double quantileMilliseconds(double share) const;

    Counter m_hits{0};
    Counter m_evictions{0};
    Counter m_writes{0};
    Counter m_errors{0};
    Counter m_loads{0};
    std::array<Counter, 64> m_loadTimes{}; ///< loads that took 2^k to 2^(k+1) nanoseconds
};

} // namespace vx::datastorage
