#pragma once

#include <datastorage/Export.h>
#include <datastorage/arrays/DataArrayInfoStreamed.h>
#include <datastorage/cache/BackgroundResult.h>
#include <datastorage/cache/CacheStatistics.h>
#include <datastorage/cache/MappedSamples.h>

#include <tools/Singleton.h>

#include <QtCore/QFuture>
#include <QtCore/QJsonObject>
#include <QtCore/QList>
#include <QtCore/QObject>
#include <QtCore/QString>

#include <memory>

namespace vx::datastorage {

class CacheManager;
class CacheManagerPrivate;

} // namespace vx::datastorage

// One cache manager per process, in the library, whoever asks for it.
extern template class VXDATASTORAGE_EXPORT nel::tools::Singleton<vx::datastorage::CacheManager>;

namespace vx::datastorage {

/// Keeps the samples of streamed arrays on disk and as many of them in memory as the budget allows.
///
/// Every array is filed under a key, the path of the data source that it comes from; key and array name
/// make the name of its cache file. Arrays are written in the background when they have been filled,
/// dropped from memory, least recently streamed first, while the samples in memory take more bytes than
/// the budget, and read back when a sample is asked for. An array loses its block only while it is
/// filed, complete on disk and without a running task; the most recently streamed one stays in memory
/// even over budget.
///
/// Configure the cache (readCacheConfiguration(), or setDefaultCachePath() and setCacheSizeInBytes())
/// and call checkDefaultCacheDirectory() before the first array is filed; files that exist do not move.
/// The directory and its files are removed when the library is unloaded.
///
/// Ownership: the arrays belong to the application; a descriptor that is destroyed takes itself out.
///
/// Errors of background work arrive as signal_cacheError() on the main thread, and the array is marked
/// (DataArrayInfoStreamed::isInError()). Samples that could not be written stay in memory.
///
/// Threads and locks, operation by operation. The main thread is the one on which the object was made
/// (normally that of QCoreApplication). No lock is held while files are touched, signals are emitted or
/// completions run, so a slot on signal_cacheError() may call every operation.
///
/// | operation | thread | lock |
/// |---|---|---|
/// | readCacheConfiguration, readCacheParameters, setDefaultCachePath, checkDefaultCacheDirectory, removeCacheDirectory, clearCacheFiles, getDefaultCachePath, get/setCacheSizeInBytes | main | registry (path) |
/// | getFullFilename, getDataArrayInfoKey, isCached, isUpdating, isValid, getDataSourceFileCacheList | any | registry |
/// | addDataArrayInfoToCache, loadDataArrayInfoToCache, removeDataArrayInfoFromCache, clearDataArrayInfoInCache, start/endUpdateDataArrayInfoContent, prepareAppendDataArray, appendDataArray, updateDataCachePath, removeAll | main | registry, tasks, queue, each for a moment |
/// | writeDataArrayToDisk | main | tasks |
/// | readDataArrayFromDisk, awaitTaskFinished | main; from another thread only the array's own completion runs there | tasks, given back while waiting |
/// | increaseDataCacheSize, updateDataCacheSize | any | memory meter |
/// | getSampleDirect | main; any thread once the array's mapping is open | none on the fast path |
/// | the four slots | the thread of the task | tasks |
class VXDATASTORAGE_EXPORT CacheManager : public QObject, public nel::tools::Singleton<CacheManager>
{
    Q_OBJECT

public:
    /// Called by instance() alone. The cache directory is "<temporary directory>/Cache/<process id>/",
    /// not made yet; the budget is half of the physical memory available now, 2 GiB when the system
    /// does not tell.
    explicit CacheManager(nel::tools::Singleton<CacheManager>::token token);
    /// Waits for running tasks for at most 10 s and removes the cache directory with all its files.
    ~CacheManager() override;

    // Configuration

    /// Reads a cache configuration file of exactly the given version: an object "Cache" with "Path" (an
    /// existing directory or "Auto") and "Size" (bytes as a decimal string, at least 1, or "Auto").
    /// Returns false with `error` set when the file cannot be read or a value is refused; a path that
    /// was accepted stays applied.
    bool readCacheConfiguration(const QString& fileName, int version, QString& error);
    /// The directory of the cache files; ends in '/'.
    const QString& getDefaultCachePath() const;
    /// Sets the directory, with the decimal process id as a further directory if asked for. An empty
    /// path is ignored. Arrays that are filed already keep their files where they are.
    void setDefaultCachePath(const QString& path, bool appendProcessId);
    /// Makes the directory, for its owner only when it is that of the process, and removes what dead
    /// processes left beside it. Returns whether it is there and ours.
    bool checkDefaultCacheDirectory() const;
    /// Removes the directory with everything in it. Returns whether it is gone.
    bool removeCacheDirectory();
    /// Removes the plain files of the directory.
    void clearCacheFiles();
    /// The memory budget in bytes.
    qint64 getCacheSizeInBytes() const;
    void setCacheSizeInBytes(qint64 bytes);

    // Names

    /// The name of the cache file of `info` under `key`: key, "__", name and ".bmd" as a flat file name in
    /// the cache directory. Only a name that is too long for the file system, or that another filed
    /// array with another key or name has taken, is replaced by one with a hash.
    QString getFullFilename(const QString& key, const DataArrayInfoStreamed* info) const;
    /// `path` as a flat file name: each of : * ? " < > | & becomes "__", each / becomes "_slash_".
    static QString transformCachePathToFileName(const QString& path);
    /// The key under which `info` is cached; a null text when it is not.
    QString getDataArrayInfoKey(DataArrayInfoStreamed* info) const;
    /// The cache files of all cached arrays with samples whose key is `keyPrefix` followed by
    /// `nextCharacter`, in key order. An empty `nextCharacter` asks for the key itself.
    QList<QString> getDataSourceFileCacheList(const QString& keyPrefix, const QString& nextCharacter) const;
    /// Files `info` under `newKey` and renames its file. Returns false when it was not filed exactly
    /// once under its key, or when the file could not be renamed; the array then keeps its file.
    bool updateDataCachePath(const QString& newKey, DataArrayInfoStreamed* info);

    // Filing

    /// Files `info` under `key` and starts writing its file. A file of that name that belongs to no
    /// filed array is replaced.
    void addDataArrayInfoToCache(const QString& key, DataArrayInfoStreamed* info);
    /// Files `info`, whose cache file is in place, under `key` and drops its samples from memory.
    void loadDataArrayInfoToCache(const QString& key, DataArrayInfoStreamed* info);
    /// Waits for the running task of `info`, takes it out and deletes its file.
    void removeDataArrayInfoFromCache(DataArrayInfoStreamed* info);
    /// Waits for the running task of `info` and deletes its file; it stays filed.
    void clearDataArrayInfoInCache(DataArrayInfoStreamed* info);
    /// Waits until the whole global thread pool is idle and takes all cached arrays out. Files, and
    /// arrays that are being updated, stay.
    void removeAll();
    /// Whether `info` is cached under a key that is not empty.
    bool isCached(DataArrayInfoStreamed* info) const;
    /// Whether `info` is being updated under a key that is not empty.
    bool isUpdating(DataArrayInfoStreamed* info) const;
    /// Whether the cache file of `info` can be opened for reading.
    bool isValid(DataArrayInfoStreamed* info);

    // Changing content

    /// Brings all samples of `info` into memory and deletes its file, so that samples can be added. When
    /// they cannot be brought in, the file stays and what is added will be appended to it.
    void startUpdateDataArrayInfoContent(DataArrayInfoStreamed* info);
    /// Files `info` as cached again and starts writing its file.
    void endUpdateDataArrayInfoContent(DataArrayInfoStreamed* info);
    /// Drops the samples of `info` from memory; what is added from now on is new, to be appended to its
    /// file. Does nothing when it is not cached.
    void prepareAppendDataArray(DataArrayInfoStreamed* info);
    /// Files `info` as cached again (under `key`, when it was not being updated) and starts appending
    /// the samples in memory to its file, after which they leave memory. Returns true.
    bool appendDataArray(DataArrayInfoStreamed* info, const QString& key);

    // Tasks

    /// Waits for the running task of `info` and starts loading it. Returns true.
    bool readDataArrayFromDisk(DataArrayInfoStreamed* info);
    /// Starts writing `info`. While a task of the array runs, no write is started; samples that are then
    /// still unwritten are written after it. Returns true.
    bool writeDataArrayToDisk(DataArrayInfoStreamed* info);
    /// Runs the completions that wait and returns when `info` has no running task and its completion has
    /// run.
    void awaitTaskFinished(const DataArrayInfoStreamed* info);

    // Memory

    /// Counts bytes of samples that came into memory.
    void increaseDataCacheSize(qint64 bytes);
    /// Counts one more sample, or recounts what the cached arrays hold in memory.
    void updateDataCacheSize(bool addOneSample);
    /// One sample from the cache file of `info`, through a memory mapping and without loading the array;
    /// the quiet NaN outside the file. When the file cannot be mapped, the array is marked in error,
    /// signal_cacheError() is emitted once and a zero sample returned.
    /// Once the mapping is open, a look-up without a call into the library.
    DataTypeBase getSampleDirect(DataArrayInfoStreamed* info, qint64 index)
    {
        const qint64 id = info->getStreamId();
        if (MappedSamples::isFirst(id)) [[likely]]
            return MappedSamples::readFirst(id, index);
        if (id != -1)
            return MappedSamples::read(static_cast<int>(id), index);
        return openSampleDirect(info, index);
    }

    /// Hints that `info` will be asked for soon: starts loading it, unless it is in memory or a task of
    /// it runs. Main thread.
    void prefetch(DataArrayInfoStreamed* info);
    /// Brings `info` into memory without making anybody wait. Progress counts samples. A failed read is
    /// a result with the cache's text, besides the error of the array. Joins a load that runs. A
    /// cancelled request ends within 50 ms; what is loading goes on. Nobody keeps the array in memory:
    /// pin() it when the future has finished. Main thread; follow-ups run where QFuture::then() says.
    QFuture<LoadResult> loadInBackground(DataArrayInfoStreamed* info);
    /// As loadInBackground(), for a copy of the samples from `first` on, at most `count`.
    QFuture<ReadResult> readInBackground(DataArrayInfoStreamed* info, qint64 first, qint64 count);
    /// Makes the envelope of `info` ready (DataArrayInfoStreamed::isEnvelopeReady()) without making anybody
    /// wait and without bringing the array into memory: its cache file is read once, in pieces. Progress
    /// counts samples. Failures and threads as in loadInBackground().
    QFuture<EnvelopeResult> prepareEnvelope(DataArrayInfoStreamed* info);
    /// What the cache holds now and has done so far. Looks at every filed array once. Main thread.
    CacheStatistics statistics() const;

Q_SIGNALS:
    /// A background read or write, or a mapping, has failed. Emitted on the main thread.
    void signal_cacheError(const QString& error);

public Q_SLOTS:
    /// What the tasks of the cache tell it; connected directly, so that they run on the task's thread.
    void onWriteTaskFinished(DataArrayInfoStreamed* dataArrayInfo);
    void onWriteTaskError(DataArrayInfoStreamed* dataArrayInfo, const QString& error);
    void onReadTaskFinished(DataArrayInfoStreamed* dataArrayInfo);
    void onReadTaskError(DataArrayInfoStreamed* dataArrayInfo, const QString& error);

protected:
    /// Applies the object "Cache" of a configuration; see readCacheConfiguration().
    bool readCacheParameters(QJsonObject& root, QString& error);
    /// The system's directory for temporary files.
    QString getDefaultSystemTempDirectory() const;
    /// Stamps `info` with the logical clock and queues it for eviction.
    void pushToPriorityQueue(DataArrayInfoStreamed* info);
    /// Drops the least recently stamped arrays from memory while it holds more than the budget.
    void updateCache();
    /// Physical memory available now, in bytes; 4 GiB when the system does not tell.
    quint64 getPhysicalMemoryAvailableInBytes() const;
    /// Bytes of samples of the cached arrays now in memory.
    qint64 getUsedDataCacheSizeInBytes() const;

private:
    friend class CacheManagerAccess;
    friend class CacheManagerPrivate;

    DataTypeBase openSampleDirect(DataArrayInfoStreamed* info, qint64 index);
    bool isNameAndPathExist(const QString& key, const DataArrayInfoStreamed* info) const;
    void startReadTask(DataArrayInfoStreamed* info);
    void startWriteTask(DataArrayInfoStreamed* info, bool append);

    std::unique_ptr<CacheManagerPrivate> d;
};

} // namespace vx::datastorage
