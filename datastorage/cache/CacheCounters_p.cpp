#include <datastorage/cache/CacheCounters_p.h>

#include <algorithm>
#include <bit>
#include <cmath>

namespace vx::datastorage {

void CacheCounters::countLoad(qint64 nanoseconds)
{
    const auto time = static_cast<quint64>(std::max<qint64>(nanoseconds, 1));
    add(m_loadTimes[static_cast<std::size_t>(std::bit_width(time) - 1)]);
    add(m_loads);
}

void CacheCounters::report(CacheStatistics& statistics) const
{
    statistics.hits = m_hits.load(std::memory_order_relaxed);
    statistics.evictions = m_evictions.load(std::memory_order_relaxed);
    statistics.writes = m_writes.load(std::memory_order_relaxed);
    statistics.errors = m_errors.load(std::memory_order_relaxed);
    statistics.loads = m_loads.load(std::memory_order_relaxed);
    statistics.loadMedianMilliseconds = quantileMilliseconds(0.5);
    statistics.load90Milliseconds = quantileMilliseconds(0.9);
    statistics.load99Milliseconds = quantileMilliseconds(0.99);
}

/// The upper end of the class of load times below which `share` of the loads lie.
double CacheCounters::quantileMilliseconds(double share) const
{
    quint64 total = 0;
    for (const Counter& count : m_loadTimes)
        total += count.load(std::memory_order_relaxed);
    if (total == 0)
        return 0;
    const auto wanted = static_cast<quint64>(std::ceil(share * static_cast<double>(total)));
    quint64 below = 0;
    std::size_t time = 0;
    while (time + 1 < m_loadTimes.size()) {
        below += m_loadTimes[time].load(std::memory_order_relaxed);
        if (below >= wanted)
            break;
        ++time;
    }
    return std::ldexp(1.0, static_cast<int>(time) + 1) * 1e-6;
}

} // namespace vx::datastorage
