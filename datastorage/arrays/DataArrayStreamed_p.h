#pragma once

#include <datastorage/arrays/ArrayEnvelope_p.h>
#include <datastorage/arrays/DataArrayInfoStreamed.h>
#include <datastorage/arrays/DataArrayStreamed.h>
#include <datastorage/arrays/PinnedSamples_p.h>
#include <datastorage/arrays/SampleBlock_p.h>
#include <datastorage/arrays/SampleRange_p.h>
#include <datastorage/cache/CacheThread_p.h>
#include <datastorage/cache/MemoryMeter_p.h>

#include <limits>
#include <span>
#include <utility>
#include <vector>

class QFile;

namespace vx::datastorage {

/// What a streamed array keeps off its fast paths.
class StreamedArrayState
{
public:
    explicit StreamedArrayState(const std::atomic<qint64>& loadedSize) : account(loadedSize) {}

    MemoryMeter::Account account;

    /// Samples, from index 0, that the array's cache file is known to hold.
    std::atomic<qint64> samplesOnDisk{0};
    /// Read tasks started and not finished.
    std::atomic<int> pendingLoads{0};
    /// Views that hold the array in memory.
    PinCount pins = std::make_shared<std::atomic<int>>(0);
    /// When the last load was asked for, in nanoseconds of the steady clock.
    std::atomic<qint64> loadStart{0};
    /// Samples that the last finished load found in the file.
    std::atomic<qint64> lastLoadedSize{0};
    /// Loads after which samples were still missing: the file does not have them.
    std::atomic<quint64> shortLoads{0};
    /// Times that the cache file has got, or kept, a name for a new key.
    std::atomic<quint64> moves{0};
    /// What is known of all samples, wherever they are.
    ArrayEnvelope envelope;

    // Guarded by the array's memory lock.
    bool filling = false;           ///< loadedSize counts the samples in the block, m_size is stale
    bool loading = false;           ///< a loader writes into the block
    quint64 contentGeneration = 0;  ///< goes up when the array is cleared
    quint64 contentOfLoad = 0;      ///< contentGeneration when the pending load was asked for
    quint64 loadGeneration = 0;     ///< a loader whose generation has passed must not publish
    std::vector<DataTypeBase> late; ///< samples added while the block could not take them

    // Written by the cache's tasks of the array, of which one runs at a time.
    /// A whole-file write failed, or the file could not be deleted: what it says does not count.
    std::atomic<bool> fileIsPartial{false};
    std::atomic<qint64> trustedCount{-1};    ///< after a failed append: samples in the file that are good
    std::atomic<bool> writeHasFailed{false}; ///< the last write; the next one may as well
    qint64 countBeforeWrite = 0;             ///< samples in the file when the current write began
    qint64 endOfWrite = 0;                   ///< index behind the last sample that the current write covers
};

/// The streamed array's back door for the cache, its tasks and the descriptors.
class StreamedArrayAccess
{
public:
    static DataArrayStreamed* arrayOf(DataArrayInfoStreamed& info);
    /// The samples of `array`, if it is a streamed one, are from now on taken as `type` says.
    static void setType(DataArray* array, DataType type);

    /// Takes the sample at `index` of the array when this is the main thread and the sample is in memory.
    static bool residentHere(const DataArrayStreamed& array, qint64 index, DataTypeBase& sample)
    {
        if (!CacheThread::isCurrent()) [[unlikely]]
            return false;
        return residentNow(array, index, sample);
    }
    /// Takes the sample at `index` of the array when it is in memory. Any thread.
    static bool resident(const DataArrayStreamed& array, qint64 index, DataTypeBase& sample)
    {
        if (CacheThread::isCurrent()) [[likely]]
            return residentNow(array, index, sample);
        const nel::tools::Locker lock(array.m_memoryLock);
        return residentNow(array, index, sample);
    }
    /// Copies what is in memory from `first` on, in one run; returns the number copied.
    static qint64 copyResident(const DataArrayStreamed& array, qint64 first, std::span<DataTypeBase> out);

    /// An int at the precision of a float. 2^31, the one float result that no int can hold, gives the
    /// largest int.
    static int atFloatPrecision(int value)
    {
        const auto rounded = static_cast<float>(value);
        return rounded >= 2147483648.0F ? std::numeric_limits<int>::max() : static_cast<int>(rounded);
    }

    /// Views the samples from `first` on, at most `count`, and holds the array; loads it when that is
    /// needed. Empty when nothing is there or the load fails.
    static PinnedSamples pin(DataArrayInfoStreamed& info, qint64 first, qint64 count);

    /// Bytes that the array takes in memory.
    struct Footprint
    {
        qint64 sampleBytes = 0;   ///< samples that can be read
        qint64 spareBytes = 0;    ///< room that no sample takes
        qint64 inFlightBytes = 0; ///< room for samples that are being loaded
        qint64 envelopeBytes = 0;
    };
    static Footprint footprint(const DataArrayStreamed& array);

    /// Appends a block of samples to an array of any kind and returns their range.
    template <typename Sample>
    static SampleRange addBlock(DataArray& array, std::span<const Sample> samples);
    static qint64 readSamples(const DataArrayInfo& info, qint64 first, std::span<DataTypeBase> out);

    /// Appends one sample to a streamed array without virtual dispatch.
    static void add(DataArrayStreamed& array, DataTypeBase value)
    {
        const qint64 size = array.m_loadedSize.load(std::memory_order_relaxed);
        if (size < array.m_fillLimit) [[likely]] {
            array.m_data[size] = value;
            publishAdded(array, size + 1, 1);
        } else {
            array.addSlowly(value);
        }
    }

    // State as the cache sees it.
    static StreamedArrayState& state(const DataArrayStreamed& array) { return *array.m_state; }
    static qint64 firstIndex(const DataArrayStreamed& array);
    static qint64 realSize(const DataArrayStreamed& array);
    static qint64 loadedSize(const DataArrayStreamed& array);
    /// Changes whenever the block is dropped or begins to be loaded.
    static quint64 loadGeneration(const DataArrayStreamed& array);
    /// Changes whenever the array is cleared.
    static quint64 contentGeneration(const DataArrayStreamed& array);
    /// Calls `act` unless the array was cleared since `generation` or is cleared before `act` has ended.
    /// Returns whether it was called. `act` takes no lock of an array.
    template <typename Act>
    static bool actOnContent(const DataArrayStreamed& array, quint64 generation, const Act& act)
    {
        const nel::tools::Locker lock(array.m_memoryLock);
        if (array.m_state->contentGeneration != generation)
            return false;
        act();
        return true;
    }
    /// The array's samples, all of them, are in its block.
    static bool isWholeInMemory(const DataArrayStreamed& array);
    /// The array has samples and all of them are in memory, in the block or waiting beside it: a load would
    /// bring nothing, and there may be no file yet.
    static bool isNothingToLoad(const DataArrayStreamed& array);
    /// Some samples in memory are not in the cache file.
    static bool hasUnwrittenSamples(const DataArrayStreamed& array);
    static void setSamplesOnDisk(const DataArrayStreamed& array, qint64 count);
    /// The file is what it says, whatever happened to earlier ones.
    static void trustFile(const DataArrayStreamed& array);
    /// The file has been lost: when the block holds all samples they count as not written. Returns whether it
    /// does.
    static bool forgetFile(const DataArrayStreamed& array);
    /// The index behind the last sample in the block; 0 when nothing is in memory.
    static qint64 endOfBlock(const DataArrayStreamed& array);
    /// Moves samples that wait beside the block into it, if it can take them. Main thread, with no load under
    /// way.
    static void collectLate(DataArrayStreamed& array);
    /// As collectLate(), if the block then has the whole array. Where it would have the end alone, a load
    /// has to come first.
    static void completeBlock(DataArrayStreamed& array);
    /// The run of additions is over: the memory meter takes over the count.
    static void finishFilling(DataArrayStreamed& array);
    /// The array may lose its block: everything is in the cache file and nobody loads.
    static bool mayBeEvicted(const DataArrayStreamed& array);
    /// Drops from memory what the cache file holds and keeps what was added since.
    static void dropWritten(DataArrayStreamed& array);
    /// Copies samples that wait beside the block; returns the number copied.
    static qint64 copyLate(const DataArrayStreamed& array, qint64 first, std::span<DataTypeBase> out);

    // Loading, as seen by those who wait.
    static void startLoad(const DataArrayStreamed& array);
    /// Returns how long the load took, in nanoseconds.
    static qint64 finishLoad(const DataArrayStreamed& array);
    enum class Wait
    {
        Readable,     ///< the sample is in memory
        NoMoreToCome, ///< no load is under way that could bring it
        Error         ///< the array is, or was until somebody cleared it, in error
    };
    /// Waits until `index` is in memory, no load is under way or the array is in error.
    static Wait waitForLoad(const DataArrayStreamed& array, qint64 index);
    /// As waitForLoad(), but stays while the array is in error, with the thread's events flowing.
    static Wait waitForSample(const DataArrayStreamed& array, qint64 index);

    // Files.
    /// Brings a current cache file, which stands at its body, up to date. Returns whether all samples
    /// in memory are now written (though perhaps not flushed).
    static bool updateFile(DataArrayStreamed& array, QFile& file);
    /// Writes the whole body; the same, for a new file.
    static bool writeFile(DataArrayStreamed& array, QFile& file);
    /// What was written has reached the file, or has not.
    static void confirmWrite(DataArrayStreamed& array, bool whole, bool ok);

private:
    friend class DataArrayStreamed;
    friend class SampleLoader;
    friend class SampleWriter;
    friend class StreamedEnvelope;

    /// A block as it was at one moment.
    struct HeldBlock
    {
        SampleBlockUser block;
        qint64 first;  ///< index in the array of its first sample
        qint64 count;  ///< samples that it holds or will hold
        qint64 loaded; ///< samples that can be read
    };
    static HeldBlock hold(const DataArrayStreamed& array);
    /// As hold(), with how far the envelope of the block's content goes.
    static std::pair<HeldBlock, ArrayEnvelope::Extent> holdWithEnvelope(const DataArrayStreamed& array);
    static qint64 sizeInBlock(const DataArrayStreamed& array);

    static bool residentNow(const DataArrayStreamed& array, qint64 index, DataTypeBase& sample)
    {
        const qint64 loaded = array.m_loadedSize.load(std::memory_order_acquire);
        const quint64 at = static_cast<quint64>(index) -
                           static_cast<quint64>(array.m_firstIndex.load(std::memory_order_relaxed));
        if (at >= static_cast<quint64>(loaded)) [[unlikely]]
            return false;
        sample = array.m_data[at];
        return true;
    }
    /// The samples first, then the count: who finds a sample counted finds it in memory. A reader that
    /// compares the two takes the count first.
    static void publishAdded(DataArrayStreamed& array, qint64 size, qint64 added)
    {
        array.m_loadedSize.store(size, std::memory_order_release);
        array.m_realSize.store(array.m_realSize.load(std::memory_order_relaxed) + added,
                               std::memory_order_release);
    }

    static bool takePin(const DataArrayStreamed& array, qint64 first, qint64 last, PinnedSamples& view);
    template <typename Sample>
    static SampleRange addBlockPlain(DataArray& array, std::span<const Sample> samples);
    template <typename Sample>
    static SampleRange addBlockStreamed(DataArrayStreamed& array, std::span<const Sample> samples);
    static bool startFilling(DataArrayStreamed& array);
    static bool makeRoomOrFail(DataArrayStreamed& array, qint64 used, qint64 extra);
    template <typename Sample>
    static SampleRange appendSamples(DataArrayStreamed& array, std::span<const Sample> samples);
    static void followAdded(DataArrayStreamed& array);
    static void addLate(DataArrayStreamed& array, std::span<const DataTypeBase> samples);
    static void stopFilling(DataArrayStreamed& array);
    static void takeLate(DataArrayStreamed& array);
    static bool isMissingSamples(const DataArrayStreamed& array);
    static bool holdsWhole(const DataArrayStreamed& array, qint64 beside);
    static void replaceSharedBlock(DataArrayStreamed& array);
    static void dropBlock(DataArrayStreamed& array);
    static bool keepLast(DataArrayStreamed& array, qint64 keep);
};

} // namespace vx::datastorage
