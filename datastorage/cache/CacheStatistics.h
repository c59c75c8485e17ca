#pragma once

#include <QtCore/qglobal.h>

namespace vx::datastorage {

/// What the cache holds and has done, at one moment. A plain value.
///
/// Counts of events run from the creation of the cache manager. Bytes are those of samples, 4 each,
/// unless said otherwise.
struct CacheStatistics
{
    qint64 registeredArrays = 0; ///< filed as cached or being updated
    qint64 residentArrays = 0;   ///< of these, with samples in memory
    qint64 pinnedArrays = 0;     ///< of these, held in memory by at least one PinnedSamples

    qint64 sampleBytes = 0;   ///< samples in memory
    qint64 spareBytes = 0;    ///< room in the blocks that no sample takes
    qint64 envelopeBytes = 0; ///< envelopes of all arrays, those of evicted ones included
    qint64 inFlightBytes = 0; ///< room in the blocks for samples that are being loaded
    qint64 pinnedBytes = 0;   ///< samples in memory of pinned arrays, part of sampleBytes
    qint64 budgetBytes = 0;   ///< the memory budget

    quint64 hits = 0;      ///< ranges read or pinned that were in memory
    quint64 loads = 0;     ///< arrays brought into memory
    quint64 evictions = 0; ///< arrays dropped from memory to stay within the budget
    quint64 writes = 0;    ///< cache files written or brought up to date
    quint64 errors = 0;    ///< failed reads, writes and mappings

    /// From the request to the last sample, in milliseconds: half, nine tenths and 99 % of the loads
    /// took at most this long, to within a factor of 2 (upper bounds); 0 before the first load.
    double loadMedianMilliseconds = 0;
    double load90Milliseconds = 0;
    double load99Milliseconds = 0;

    qint64 runningTasks = 0; ///< read and write tasks that are queued or running
};

} // namespace vx::datastorage
