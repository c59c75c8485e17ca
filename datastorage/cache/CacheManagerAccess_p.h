#pragma once

#include <datastorage/arrays/DataType.h>

#include <QtCore/QString>

#include <span>

namespace vx::datastorage {

class CacheManager;
class DataArrayInfo;
class DataArrayInfoStreamed;

/// What arrays and their descriptors ask of the cache beside its public operations.
class CacheManagerAccess
{
public:
    /// Makes the cache manager, unless it was made or the process is ending.
    static void ensureCreated();
    /// The cache manager; null before it was made and after it is gone.
    static CacheManager* existing();
    static void setExisting(CacheManager* cache);

    /// Takes every trace of a descriptor that is being destroyed out of the cache.
    static void forget(CacheManager& cache, DataArrayInfoStreamed* info);

    /// The sample at `index`, which is not in memory: loads the array and waits. See
    /// DataArrayInfoStreamed for what the caller gets.
    static DataTypeBase fetchSample(const DataArrayInfoStreamed& info, qint64 index);
    /// Brings the sample at `index` into memory, loading the array when it has to be, and returns
    /// whether it is there; never waits for an error to be cleared.
    static bool bringIn(DataArrayInfoStreamed& info, qint64 index);
    /// Notes that samples that were asked for were all in memory.
    static void countHit();
    /// Copies samples from `first` on, which are not in memory, to `out`; returns how many, 0 when they
    /// cannot be had. Loads the array when that helps; never waits for an error to be cleared.
    static qint64 readAbsent(const DataArrayInfo& info, qint64 first, std::span<DataTypeBase> out);

    /// Who reads from an array's cache file.
    enum class Caller
    {
        Reader, ///< any thread
        Task    ///< the array's running task
    };
    /// Samples read from the file. None and no error: look in memory, or ask, again.
    struct FileRead
    {
        qint64 count = 0;
        qint64 bytes = 0; ///< all that were read, the header's included
        QString error;
    };
    /// Copies samples from `first` on, which are not in memory, from the array's cache file to `out`
    /// without loading the array. What is wrong with the file is told in the usual way, too.
    static FileRead readFile(const DataArrayInfo& info, qint64 first, std::span<DataTypeBase> out,
                             Caller caller);
};

} // namespace vx::datastorage
