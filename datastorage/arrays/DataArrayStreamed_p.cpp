#include <datastorage/arrays/DataArrayStreamed_p.h>

#include <datastorage/arrays/DataArrayInfoStreamed.h>
#include <datastorage/arrays/SampleWriter_p.h>
#include <datastorage/arrays/StreamedEnvelope_p.h>
#include <datastorage/cache/CacheManagerAccess_p.h>

#include <QtCore/QFile>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <new>

namespace vx::datastorage {

namespace {

/// Samples of a block that are copied and summed up before others can be read or summed up.
constexpr std::size_t samplesOfPiece = 8192;
/// Samples that are added one by one before the envelope takes them: they fit a processor's second cache.
constexpr qint64 samplesBetweenSums = 65536;

qint64 sizeOf(std::span<const DataTypeBase> samples)
{
    return static_cast<qint64>(samples.size());
}

qint64 steadyNanoseconds()
{
    return std::chrono::steady_clock::now().time_since_epoch() / std::chrono::nanoseconds(1);
}

void copySamples(std::span<DataTypeBase> out, const DataTypeBase* from, qint64 count)
{
    if (count > 0)
        std::memcpy(out.data(), from, static_cast<std::size_t>(count) * sizeof(DataTypeBase));
}

} // namespace

DataArrayStreamed* StreamedArrayAccess::arrayOf(DataArrayInfoStreamed& info)
{
    return info.getDataArrayStreamed();
}

void StreamedArrayAccess::setType(DataArray* array, DataType type)
{
    if (const auto* streamed = dynamic_cast<const DataArrayStreamed*>(array))
        state(*streamed).envelope.setKind(sampleKindOf(type));
}

// What is in memory

qint64 StreamedArrayAccess::firstIndex(const DataArrayStreamed& array)
{
    return array.m_firstIndex.load();
}

qint64 StreamedArrayAccess::realSize(const DataArrayStreamed& array)
{
    return array.m_realSize.load();
}

qint64 StreamedArrayAccess::loadedSize(const DataArrayStreamed& array)
{
    return array.m_loadedSize.load();
}

qint64 StreamedArrayAccess::sizeInBlock(const DataArrayStreamed& array)
{
    return array.m_state->filling ? array.m_loadedSize.load() : array.m_size;
}

StreamedArrayAccess::HeldBlock StreamedArrayAccess::hold(const DataArrayStreamed& array)
{
    const nel::tools::Locker lock(array.m_memoryLock);
    const qint64 count = std::min(sizeInBlock(array), array.m_allocated);
    return {SampleBlockUser(array.m_data), array.m_firstIndex.load(), count,
            std::min(array.m_loadedSize.load(), count)};
}

std::pair<StreamedArrayAccess::HeldBlock, ArrayEnvelope::Extent>
StreamedArrayAccess::holdWithEnvelope(const DataArrayStreamed& array)
{
    const nel::tools::Locker lock(array.m_memoryLock);
    return {hold(array), array.m_state->envelope.extent()};
}

quint64 StreamedArrayAccess::loadGeneration(const DataArrayStreamed& array)
{
    const nel::tools::Locker lock(array.m_memoryLock);
    return array.m_state->loadGeneration;
}

quint64 StreamedArrayAccess::contentGeneration(const DataArrayStreamed& array)
{
    const nel::tools::Locker lock(array.m_memoryLock);
    return array.m_state->contentGeneration;
}

bool StreamedArrayAccess::holdsWhole(const DataArrayStreamed& array, qint64 beside)
{
    const qint64 size = array.m_realSize.load(); // first: both grow while the array is being filled
    const qint64 loaded = array.m_loadedSize.load();
    const bool isBlockLoaded = array.m_state->filling || loaded == array.m_size;
    return array.m_firstIndex.load() == 0 && isBlockLoaded && loaded + beside >= size;
}

bool StreamedArrayAccess::isWholeInMemory(const DataArrayStreamed& array)
{
    const nel::tools::Locker lock(array.m_memoryLock);
    return holdsWhole(array, 0);
}

bool StreamedArrayAccess::isNothingToLoad(const DataArrayStreamed& array)
{
    const nel::tools::Locker lock(array.m_memoryLock);
    return array.m_realSize.load() > 0 && holdsWhole(array, sizeOf(array.m_state->late));
}

bool StreamedArrayAccess::hasUnwrittenSamples(const DataArrayStreamed& array)
{
    return array.m_state->samplesOnDisk.load() < array.m_realSize.load();
}

void StreamedArrayAccess::setSamplesOnDisk(const DataArrayStreamed& array, qint64 count)
{
    array.m_state->samplesOnDisk.store(count);
}

void StreamedArrayAccess::trustFile(const DataArrayStreamed& array)
{
    array.m_state->fileIsPartial = false;
    array.m_state->trustedCount = -1;
}

bool StreamedArrayAccess::forgetFile(const DataArrayStreamed& array)
{
    if (!isWholeInMemory(array))
        return false;
    array.m_state->fileIsPartial = true; // whatever stands in its place is replaced
    array.m_state->samplesOnDisk.store(0);
    return true;
}

qint64 StreamedArrayAccess::endOfBlock(const DataArrayStreamed& array)
{
    const nel::tools::Locker lock(array.m_memoryLock);
    const qint64 loaded = array.m_loadedSize.load();
    return loaded > 0 ? array.m_firstIndex.load() + loaded : 0;
}

bool StreamedArrayAccess::mayBeEvicted(const DataArrayStreamed& array)
{
    const nel::tools::Locker lock(array.m_memoryLock);
    const StreamedArrayState& state = *array.m_state;
    return !hasUnwrittenSamples(array) && !state.loading && state.pendingLoads.load() == 0 &&
           state.pins->load() == 0;
}

qint64 StreamedArrayAccess::copyResident(const DataArrayStreamed& array, qint64 first,
                                         std::span<DataTypeBase> out)
{
    const HeldBlock held = hold(array);
    const quint64 at = static_cast<quint64>(first) - static_cast<quint64>(held.first);
    const auto loaded = static_cast<quint64>(held.loaded);
    if (at >= loaded)
        return 0;
    const qint64 count = std::min(static_cast<qint64>(loaded - at), sizeOf(out));
    copySamples(out, held.block.samples() + at, count);
    return count;
}

qint64 StreamedArrayAccess::copyLate(const DataArrayStreamed& array, qint64 first,
                                     std::span<DataTypeBase> out)
{
    const nel::tools::Locker lock(array.m_memoryLock);
    const std::vector<DataTypeBase>& late = array.m_state->late;
    const qint64 at = first - (array.m_realSize.load() - sizeOf(late));
    if (late.empty() || at < 0 || at >= sizeOf(late))
        return 0;
    const qint64 count = std::min(sizeOf(late) - at, sizeOf(out));
    copySamples(out, late.data() + at, count);
    return count;
}

StreamedArrayAccess::Footprint StreamedArrayAccess::footprint(const DataArrayStreamed& array)
{
    constexpr auto bytesPerSample = static_cast<qint64>(sizeof(DataTypeBase));
    const nel::tools::Locker lock(array.m_memoryLock);
    const qint64 loaded = array.m_loadedSize.load();
    const qint64 expected = array.m_state->loading ? array.m_size : loaded;
    return {bytesPerSample * loaded, bytesPerSample * (array.m_allocated - expected),
            bytesPerSample * (expected - loaded), array.m_state->envelope.bytes()};
}

PinnedSamples StreamedArrayAccess::pin(DataArrayInfoStreamed& info, qint64 first, qint64 count)
{
    PinnedSamples view;
    const DataArrayStreamed* array = arrayOf(info);
    while (array && first >= 0 && count > 0) {
        const qint64 size = std::max(array->m_realSize.load(), endOfBlock(*array));
        const qint64 last = std::min(size - first, count) + first - 1;
        if (last < first)
            break;
        if (takePin(*array, first, last, view))
            break;
        if (!CacheManagerAccess::bringIn(info, last))
            break;
    }
    return view;
}

bool StreamedArrayAccess::takePin(const DataArrayStreamed& array, qint64 first, qint64 last,
                                  PinnedSamples& view)
{
    const nel::tools::Locker lock(array.m_memoryLock);
    const qint64 begin = array.m_firstIndex.load();
    if (first < begin || last >= begin + array.m_loadedSize.load())
        return false;
    array.m_state->pins->fetch_add(1);
    view.m_pin = std::make_unique<PinnedSamples::Pin>(SampleBlockUser(array.m_data), array.m_state->pins);
    view.m_samples = array.m_data + (first - begin);
    view.m_first = first;
    view.m_count = last - first + 1;
    return true;
}

// Filling

/// Makes the block ready to be added to at its end: from here on the count of loaded samples is the
/// number of samples in the block. Returns false while a load is under way or the block's end is not
/// the array's.
bool StreamedArrayAccess::startFilling(DataArrayStreamed& array)
{
    StreamedArrayState& state = *array.m_state;
    if (state.filling)
        return true;
    if (state.loading || state.pendingLoads.load() > 0)
        return false;
    takeLate(array);
    const qint64 loaded = array.m_loadedSize.load();
    if (loaded == 0)
        array.m_firstIndex.store(array.m_realSize.load());
    if (!state.late.empty() || array.m_firstIndex.load() + loaded < array.m_realSize.load())
        return false;
    state.filling = true;
    MemoryMeter::instance().open(state.account);
    return true;
}

/// As makeRoom(), with an error on the array when there is no room. Whoever clears the error has it tried
/// again at once.
bool StreamedArrayAccess::makeRoomOrFail(DataArrayStreamed& array, qint64 used, qint64 extra)
{
    if (!array.isInError())
        array.m_retryAfter = 0;
    if (array.makeRoom(used, extra))
        return true;
    if (!array.isInError())
        array.setReadWriteError(true);
    return false;
}

/// Lets samples wait beside the block.
void StreamedArrayAccess::addLate(DataArrayStreamed& array, std::span<const DataTypeBase> samples)
{
    std::vector<DataTypeBase>& late = array.m_state->late;
    try {
        late.insert(late.end(), samples.begin(), samples.end());
    } catch (const std::bad_alloc&) {
        array.setReadWriteError(true); // dropped, as samples are that find no room in the block
        return;
    }
    array.m_realSize.fetch_add(sizeOf(samples));
}

void StreamedArrayAccess::stopFilling(DataArrayStreamed& array)
{
    StreamedArrayState& state = *array.m_state;
    if (state.filling) {
        array.m_size = array.m_loadedSize.load();
        array.m_fillLimit = 0; // else 0 already, and read by the main thread without a lock
    }
    state.filling = false;
    MemoryMeter::instance().settle(state.account);
}

void StreamedArrayAccess::collectLate(DataArrayStreamed& array)
{
    const nel::tools::Locker lock(array.m_memoryLock);
    if (!array.m_state->late.empty() && !array.m_state->loading)
        takeLate(array);
}

void StreamedArrayAccess::completeBlock(DataArrayStreamed& array)
{
    const nel::tools::Locker lock(array.m_memoryLock);
    if (isNothingToLoad(array))
        collectLate(array);
}

void StreamedArrayAccess::finishFilling(DataArrayStreamed& array)
{
    const nel::tools::Locker lock(array.m_memoryLock);
    if (array.m_state->filling)
        stopFilling(array);
}

/// Moves the samples that wait beside the block to its end, when that is the end of the array.
void StreamedArrayAccess::takeLate(DataArrayStreamed& array)
{
    std::vector<DataTypeBase>& late = array.m_state->late;
    const qint64 loaded = array.m_loadedSize.load();
    const qint64 sizeBefore = array.m_realSize.load() - sizeOf(late);
    if (loaded == 0)
        array.m_firstIndex.store(sizeBefore);
    if (late.empty() || array.m_firstIndex.load() + loaded != sizeBefore ||
        !array.makeRoom(loaded, sizeOf(late)))
        return;
    std::memcpy(array.m_data + loaded, late.data(), late.size() * sizeof(DataTypeBase));
    array.m_size = loaded + sizeOf(late);
    late.clear();
    array.m_loadedSize.store(array.m_size, std::memory_order_release);
    MemoryMeter::instance().settle(array.m_state->account);
}

/// Whether the block, which starts at index 0, and the samples that wait beside it are not the whole array.
bool StreamedArrayAccess::isMissingSamples(const DataArrayStreamed& array)
{
    const qint64 size = array.m_realSize.load(); // first, as in holdsWhole()
    return array.m_loadedSize.load() + sizeOf(array.m_state->late) < size;
}

template <typename Sample>
SampleRange StreamedArrayAccess::addBlock(DataArray& array, std::span<const Sample> samples)
{
    auto* streamed = dynamic_cast<DataArrayStreamed*>(&array);
    if (samples.empty())
        return {};
    return streamed ? addBlockStreamed(*streamed, samples) : addBlockPlain(array, samples);
}

template SampleRange StreamedArrayAccess::addBlock(DataArray& array, std::span<const float> samples);
template SampleRange StreamedArrayAccess::addBlock(DataArray& array, std::span<const int> samples);

template <typename Sample>
SampleRange StreamedArrayAccess::addBlockPlain(DataArray& array, std::span<const Sample> samples)
{
    const auto count = static_cast<qint64>(samples.size());
    if (!array.makeRoom(array.m_size, count))
        return rangeOf(samples);
    const SampleRange range = copyWithRange(samples, array.m_data + array.m_size);
    array.m_size += count;
    return range;
}

template <typename Sample>
SampleRange StreamedArrayAccess::addBlockStreamed(DataArrayStreamed& array, std::span<const Sample> samples)
{
    const auto count = static_cast<qint64>(samples.size());
    const nel::tools::Locker lock(array.m_memoryLock);
    if (!startFilling(array)) {
        addLate(array, asRawSamples(samples));
        return rangeOf(samples);
    }
    const qint64 size = array.m_loadedSize.load();
    if (!makeRoomOrFail(array, size, count))
        return rangeOf(samples);
    return appendSamples(array, samples);
}

/// Adds samples for which there is room.
template <typename Sample>
SampleRange StreamedArrayAccess::appendSamples(DataArrayStreamed& array, std::span<const Sample> samples)
{
    ArrayEnvelope& envelope = array.m_state->envelope;
    SampleRange range;
    if (samples.size() >= samplesOfPiece)
        followAdded(array); // up to here, so that the envelope can take the samples while they are copied
    while (!samples.empty()) {
        const auto piece = samples.first(std::min(samples.size(), samplesOfPiece));
        const auto count = static_cast<qint64>(piece.size());
        const qint64 size = array.m_loadedSize.load();
        const EnvelopeRange keys =
            envelope.appendCopied(kindOfSamples<Sample>, array.m_firstIndex.load() + size,
                                  asRawSamples(piece), array.m_data + size);
        range.include(sampleRange(keys, piece));
        publishAdded(array, size + count, count);
        if (size + count >= array.m_fillLimit)
            followAdded(array);
        samples = samples.subspan(piece.size());
    }
    return range;
}

/// Sums up what was added since the last time and lets samples simply be stored until it is time again.
void StreamedArrayAccess::followAdded(DataArrayStreamed& array)
{
    const qint64 loaded = array.m_loadedSize.load();
    array.m_state->envelope.follow(array.m_firstIndex.load(),
                                   {array.m_data, static_cast<std::size_t>(loaded)});
    array.m_fillLimit = std::min(array.m_limit, loaded + samplesBetweenSums);
}

// Giving memory back

/// Gives the array a block of its own when somebody still uses the one it has.
void StreamedArrayAccess::replaceSharedBlock(DataArrayStreamed& array)
{
    if (!SampleBlock::isShared(array.m_data))
        return;
    array.freeArray();
    array.reserve(0);
}

void StreamedArrayAccess::dropBlock(DataArrayStreamed& array)
{
    StreamedArrayState& state = *array.m_state;
    array.m_loadedSize.store(0);
    array.freeArray();
    state.loading = false;
    ++state.loadGeneration;
}

/// Keeps the last `keep` samples of the block, in a block of their own. Returns whether that was possible.
bool StreamedArrayAccess::keepLast(DataArrayStreamed& array, qint64 keep)
{
    DataTypeBase* kept = SampleBlock::allocate(std::max<qint64>(keep, 1));
    if (!kept)
        return false;
    std::memcpy(kept, array.m_data + (array.m_size - keep),
                static_cast<std::size_t>(keep) * sizeof(DataTypeBase));
    array.m_loadedSize.store(0);
    array.m_firstIndex.fetch_add(array.m_size - keep);
    array.freeArray();
    array.m_data = kept;
    array.m_size = keep;
    array.m_capacity = array.m_allocated = std::max<qint64>(keep, 1);
    array.updateLimit();
    array.m_loadedSize.store(keep);
    // Who has looked for a sample that was in the block, and is in the file now, looks again.
    ++array.m_state->loadGeneration;
    return true;
}

void StreamedArrayAccess::dropWritten(DataArrayStreamed& array)
{
    if (!hasUnwrittenSamples(array)) {
        array.removeFromMemory();
        return;
    }
    StreamedEnvelope::extend(array);
    const nel::tools::Locker lock(array.m_memoryLock);
    stopFilling(array);
    const qint64 end = array.m_firstIndex.load() + array.m_size;
    const qint64 keep = end - array.m_state->samplesOnDisk.load();
    if (keep < array.m_size && keep > 0 && keepLast(array, keep))
        MemoryMeter::instance().settle(array.m_state->account);
}

// Waiting

void StreamedArrayAccess::startLoad(const DataArrayStreamed& array)
{
    array.m_state->loadStart.store(steadyNanoseconds());
    const nel::tools::Locker lock(array.m_memoryLock);
    array.m_state->contentOfLoad = array.m_state->contentGeneration;
    array.m_state->pendingLoads.fetch_add(1);
}

qint64 StreamedArrayAccess::finishLoad(const DataArrayStreamed& array)
{
    const qint64 nanoseconds = steadyNanoseconds() - array.m_state->loadStart.load();
    array.m_state->pendingLoads.fetch_sub(1);
    array.m_loadLock.wakeAll();
    return nanoseconds;
}

StreamedArrayAccess::Wait StreamedArrayAccess::waitForLoad(const DataArrayStreamed& array, qint64 index)
{
    const auto isReadable = [&] {
        const quint64 at = static_cast<quint64>(index) - static_cast<quint64>(array.m_firstIndex.load());
        return at < static_cast<quint64>(array.m_loadedSize.load());
    };
    array.m_loadLock.waitUntil(
        [&] { return isReadable() || array.isInError() || array.m_state->pendingLoads.load() == 0; });
    if (array.isInError())
        return Wait::Error;
    return isReadable() ? Wait::Readable : Wait::NoMoreToCome;
}

StreamedArrayAccess::Wait StreamedArrayAccess::waitForSample(const DataArrayStreamed& array, qint64 index)
{
    bool hasBeenInError = false;
    for (;;) {
        const Wait result = waitForLoad(array, index);
        if (result != Wait::Error)
            return result == Wait::NoMoreToCome && hasBeenInError ? Wait::Error : result;
        hasBeenInError = true;
        array.waitWhileInError();
    }
}

// Files

bool StreamedArrayAccess::updateFile(DataArrayStreamed& array, QFile& file)
{
    SampleWriter writer(array);
    const qint64 size = realSize(array); // first, as in holdsWhole()
    const bool holdsEnd = !writer.holdsStart() || loadedSize(array) < size;
    // Appending a block whose first samples the file has already would write those twice.
    const bool repeats = array.m_useBatchMode.load() && array.m_state->samplesOnDisk.load() > 0;
    return holdsEnd || repeats ? writer.appendMissing(file) : writer.update(file);
}

bool StreamedArrayAccess::writeFile(DataArrayStreamed& array, QFile& file)
{
    SampleWriter writer(array);
    // A file that is gone has taken the samples before the block with it; those of the block must not
    // take their places.
    return writer.holdsStart() && writer.writeWhole(file);
}

void StreamedArrayAccess::confirmWrite(DataArrayStreamed& array, bool whole, bool ok)
{
    StreamedArrayState& state = *array.m_state;
    if (ok) {
        trustFile(array);
        state.writeHasFailed = false;
        state.samplesOnDisk.store(state.endOfWrite);
    } else if (whole) {
        state.fileIsPartial = true;
    } else if (state.trustedCount < 0) {
        state.trustedCount = state.countBeforeWrite;
    }
}

// Reading ranges

qint64 StreamedArrayAccess::readSamples(const DataArrayInfo& info, qint64 first, std::span<DataTypeBase> out)
{
    const DataArray* array = info.dataArray().get();
    const auto* streamed = dynamic_cast<const DataArrayStreamed*>(array);
    if (!array || first < 0)
        return 0;
    if (!streamed) {
        const qint64 count =
            std::clamp<qint64>(std::min(array->m_size, array->m_allocated) - first, 0, sizeOf(out));
        copySamples(out, array->m_data + first, count);
        return count;
    }
    qint64 done = copyResident(*streamed, first, out);
    if (done == sizeOf(out))
        CacheManagerAccess::countHit();
    while (done < sizeOf(out)) {
        const std::span<DataTypeBase> rest = out.subspan(static_cast<std::size_t>(done));
        qint64 copied = copyResident(*streamed, first + done, rest);
        if (copied == 0)
            copied = CacheManagerAccess::readAbsent(info, first + done, rest);
        if (copied == 0)
            break;
        done += copied;
    }
    return done;
}

} // namespace vx::datastorage
