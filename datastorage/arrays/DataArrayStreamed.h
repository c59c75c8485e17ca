#pragma once

#include <datastorage/Export.h>
#include <datastorage/arrays/DataArray.h>
#include <datastorage/cache/AsyncDataLock.h>

#include <tools/Mutex.h>

#include <atomic>
#include <memory>

class QIODevice;

namespace vx::datastorage {

class StreamedArrayState;

/// A sample array whose samples may live only partly, or not at all, in memory, the rest in a cache
/// file.
///
/// getSize() is the size of the whole array, wherever its samples are; getSizeLoadedInMemory() the
/// number of samples in the memory block. After a load the block holds the array from index 0. After
/// removeFromMemory() it is empty, and samples added then are those behind the ones on disk.
///
/// Applications reach the array through DataArrayInfoStreamed, which creates and drives it.
///
/// Body of a cache file, little-endian, at the device's current position:
///
/// | offset | bytes | field |
/// |---|---|---|
/// | 0 | 8 | sample count N, signed |
/// | 8 | 4 x N | the raw 32 bits of the samples in index order |
///
/// Threads, operation by operation (the main thread is the one that runs the cache's completions):
///
/// | operation | thread | lock |
/// |---|---|---|
/// | addSample*, clear, resize, reserve, removeFromMemory, read | main | the memory lock while the block is replaced, emptied or freed |
/// | capacity | any | the memory lock, except on the main thread |
/// | write, getSize, getSizeLoadedInMemory, isLoadedInMemory, isInError, isUseBatchMode, setUseBatchMode | any | none: atomic |
/// | setReadWriteError | any | the load lock, to wake |
/// | get...WhileReading | any | waits on the load lock |
/// | writeToDiskStream, updateToDiskStream, readFromDiskStream | any, one at a time; the cache's workers | the memory lock at the start and while the count of loaded samples is published |
///
/// The block is not freed under a loader, a writer or a reader: each holds it while it uses it.
class VXDATASTORAGE_EXPORT DataArrayStreamed : public DataArray
{
public:
    DataArrayStreamed();
    ~DataArrayStreamed() override;

    /// Takes the size of the array from "realSize", a decimal string; 0 when it is missing or no such
    /// string. The samples stay where they are. Returns true.
    bool read(const QJsonObject& object, int version, vx::archive::ArchiveContext& context) override;
    /// Sets "realSize" to the size of the array as a decimal string. Returns true.
    bool write(QJsonObject& object, int version, vx::archive::ArchiveContext& context) const override;

    /// Whether the block holds only new samples, to be appended behind those on disk, instead of the
    /// whole array.
    virtual void setUseBatchMode(bool useBatchMode);
    virtual bool isUseBatchMode();

    /// Samples in memory.
    int getSizeLoadedInMemory() const;
    /// Whether `index` is below the number of samples in memory.
    bool isLoadedInMemory(qint64 index) const;

    /// Whether a read or write of the cache file has failed. Only setReadWriteError(false) clears it.
    bool isInError() const;
    /// Sets or clears the error and wakes every waiting reader.
    void setReadWriteError(bool error);

    /// Frees the block; the size of the array stays.
    void removeFromMemory();

    /// Writes the count of the samples in memory and then those samples at the device's position.
    /// Returns whether both writes took everything.
    bool writeToDiskStream(QIODevice& device);
    /// Brings a body written earlier, at whose first byte the device stands, up to date: writes the new
    /// count and appends what is not yet there; in batch mode that is the whole block. When fewer
    /// samples are in memory than on the device (not in batch mode), rewrites the body. Returns true,
    /// also when the device fails.
    bool updateToDiskStream(QIODevice& device);
    /// Loads a body at the device's position and releases the waiting readers every 2 % of the samples
    /// or every 10 MiB, whichever is more, and at the end. What the device cannot deliver reads as the
    /// quiet NaN. Returns false, with nothing loaded, for a count that is negative, cannot be held in
    /// memory or is far from what the device has.
    bool readFromDiskStream(QIODevice& device);

protected:
    qint64 getSize() const override;
    void clear() override;
    void addSampleFloat(float value) override;
    void addSample(DataTypeBase value) override;
    void addSampleInt(int value) override;
    void resize(qint64 newSize) override;

    /// Wait until the sample at `index` has been loaded or an error is set, then return the block's
    /// sample there, or the quiet NaN when there is none. A caller that meets an error stays, with its
    /// thread's events flowing, until somebody clears the error.
    virtual DataTypeBase getSampleWhileReading(qint64 index) const;
    virtual float getSampleFloatWhileReading(qint64 index) const;
    /// Deliberately at float precision: the stored int is converted to float and back, so that beyond
    /// 2^24 it is rounded. A value that rounds beyond the int range is the largest int.
    virtual int getSampleIntWhileReading(qint64 index) const;

private:
    friend class DataArrayInfoStreamed;
    friend class SampleLoader;
    friend class SampleWriter;
    friend class StreamedArrayAccess;

    void addSlowly(DataTypeBase value);
    bool waitForDataToLoad(qint64 index) const;
    void waitWhileInError() const;

    mutable nel::tools::RecursiveMutex m_memoryLock; ///< held while the block is replaced, emptied or freed
    std::atomic<qint64> m_loadedSize{0};             ///< samples in memory; written by producer or loader
    std::atomic<qint64> m_realSize{0};               ///< samples of the whole array
    std::atomic<int> m_readWriteError{0};            ///< set by the cache's workers, cleared by callers
    mutable AsyncDataLock m_loadLock;                ///< readers wait here for more samples
    std::atomic<bool> m_useBatchMode{false};
    std::atomic<qint64> m_firstIndex{0};         ///< index in the array of the block's first sample
    qint64 m_fillLimit = 0;                      ///< while filling: below this size a sample is simply stored
    std::unique_ptr<StreamedArrayState> m_state; ///< what is needed off the fast paths
};

} // namespace vx::datastorage
