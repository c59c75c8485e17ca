#pragma once

#include <datastorage/Export.h>
#include <datastorage/arrays/DataArrayInfo.h>
#include <datastorage/arrays/PinnedSamples.h>

#include <archive/ArchiveContext.h>

#include <QtCore/QJsonObject>
#include <QtCore/QString>

class QIODevice;

namespace vx::datastorage {

class DataArrayStreamed;

/// Describes an array whose samples are kept in the disk cache, and is the handle by which the cache
/// knows the array.
///
/// The life of a streamed array: createDataArray(); startAddingData(), samples, endAddingData(key),
/// which files the array in the cache and writes its file in the background. From then on the cache
/// may drop the samples from memory; asking for one brings them back. write() and read() persist the
/// description and the number of samples, which stay in the cache file. Destroying the descriptor
/// removes the array and its file from the cache.
///
/// Asking for a sample:
/// - one in memory is returned at once;
/// - one that is only on disk starts a load and blocks until it has arrived. When the load fails, the
///   array is in error: the caller stays, with its thread's events flowing, until somebody calls
///   setReadWriteError(false), and then gets the sample if it is there, the quiet NaN 0x7FC00000 if not;
/// - while an append is open (CacheManager::prepareAppendDataArray()), a sample on disk is read from the
///   file by itself, without loading the array; when that fails, the array is in error and the answer is
///   the quiet NaN at once;
/// - an index outside the array gives the quiet NaN.
///
/// Asking for an envelope() never brings the array into memory. Minimum, maximum and missing samples of
/// blocks of 256 are kept for every array, in 1 to 2.3 % of the memory of the samples; they are summed up
/// when samples are added, written, loaded, dropped or asked for:
/// - of samples on disk, blocks suffice for wide columns but for the outer edges, which are read from
///   the file, at most 2 KiB; a range of fewer than 256 samples per column is read whole;
/// - the first call for many samples of an array that was restored reads the file once, in the calling
///   thread; where nobody may wait, ask isEnvelopeReady() and CacheManager::prepareEnvelope() first;
/// - when the file cannot be read, the array is in error as after a failed load, nobody waits, and the
///   columns that need it have the count 0. They stay so while the array is in error;
/// - when there is no memory for the blocks, the samples are looked at instead.
///
/// Threads: getSample*, readSamples(), envelope(), isEnvelopeReady(), getSize(), isInError() and
/// setReadWriteError() may be called from any thread while the descriptor lives; they take the array's memory
/// lock except on the main thread. Everything else belongs to the main thread. readFromDiskStream(),
/// writeToDiskStream() and updateToDiskStream() are called by the cache's workers.
class VXDATASTORAGE_EXPORT DataArrayInfoStreamed : public virtual DataArrayInfo
{
public:
    /// A description without samples; the owner calls createDataArray() once.
    DataArrayInfoStreamed();
    DataArrayInfoStreamed(const QString& name, const PhysicalParameter& physicalParameter,
                          const DataType& dataType, const UsualUnit& dataUnit);
    /// A copy shares the array of its source, but is not itself filed in the cache.
    DataArrayInfoStreamed(const DataArrayInfoStreamed&) = default;
    DataArrayInfoStreamed& operator=(const DataArrayInfoStreamed&) = default;
    ~DataArrayInfoStreamed() override;

    /// Samples in memory.
    virtual int getSizeLoadedInMemory() const;
    /// Whether the samples in memory are new ones, to be appended to those on disk.
    virtual void setUseBatchMode(bool useBatchMode);
    virtual bool isUseBatchMode();

    void createDataArray() override;

    DataTypeBase getSample(qint64 index) const override;
    /// A sample in memory comes back whole; one that has to be loaded first at float precision, which is
    /// deliberate.
    int getSampleInt(qint64 index) const override;
    float getSampleFloat(qint64 index) const override;

    /// Announces a run of additions: when the array is filed in the cache, brings its samples into
    /// memory and takes its file out of use until endAddingData().
    void startAddingData() override;
    /// Ends a run of additions and starts the write in the background: a new array is filed in the cache
    /// under `key`, one whose content was being updated stays under its own key.
    void endAddingData(const QString& key) override;
    void addSampleFloat(float value) override;
    void addSampleInt(int value) override;
    void addSample(DataTypeBase value) override;
    /// Forgets all samples and deletes the cache file; the array stays filed.
    void clear() override;

    /// Restores the description and the number of samples and files the array in the cache under the
    /// context's data source path, with nothing in memory. Returns false only when the sample array
    /// cannot be read; a refused unit is ignored.
    bool read(const QJsonObject& object, int version, vx::archive::ArchiveContext& context) override;
    /// Waits for the array's running task, then writes the description and, in the member "dataArray",
    /// the number of samples.
    bool write(QJsonObject& object, int version, vx::archive::ArchiveContext& context) const override;
    /// As clear().
    void restart() override;

    /// The number of the array's open memory mapping (CacheReadManager), -1 when there is none.
    qint64 getStreamId() const { return m_streamId; }
    void setStreamId(qint64 streamId);
    /// The cache's logical clock when the array was last brought into memory.
    quint64 getLastTimeStreamed() const;
    void setLastTimeStreamed(quint64 time);

    /// Whether a read or write of the cache file has failed. Only setReadWriteError(false) clears it.
    bool isInError() const;
    void setReadWriteError(bool error);

    /// Drops the samples from memory, also those that no file holds.
    void removeFromMemory();
    bool readFromDiskStream(QIODevice& device);
    bool writeToDiskStream(QIODevice& device);
    bool updateToDiskStream(QIODevice& device);
    /// Views the samples from `first` on, at most `count`, and keeps the array in memory while the view
    /// lives; loads it when that is needed. Empty when nothing is there or the load fails. Any thread.
    PinnedSamples pin(qint64 first, qint64 count);
    /// Whether envelope() needs nothing from the cache file but a few samples at the outer edges. So it is
    /// from the beginning for an array that is filled, and for one that was restored when it has been
    /// loaded, or CacheManager::prepareEnvelope() has finished. Any thread.
    bool isEnvelopeReady() const;
    /// Files the array under `newKey` and renames its cache file.
    void updateDataCachePath(const QString& newKey);

protected:
    /// The sample array; null before createDataArray().
    DataArrayStreamed* getDataArrayStreamed();
    const DataArrayStreamed* getDataArrayStreamed() const;

private:
    friend class StreamedArrayAccess;

    DataTypeBase sampleSlowly(qint64 index) const;
    int sampleIntSlowly(qint64 index) const;
    DataTypeBase sampleFromCache(qint64 index) const;

    quint64 m_lastTimeStreamed = 0;
    qint64 m_streamId = -1;
    DataArrayStreamed* m_streamed = nullptr; ///< the array that the base class owns
};

} // namespace vx::datastorage
