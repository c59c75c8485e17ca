#include <datastorage/cache/CacheManagerAccess_p.h>

#include <datastorage/arrays/DataArrayStreamed_p.h>
#include <datastorage/arrays/SampleLoader_p.h>
#include <datastorage/cache/CacheFileReader_p.h>
#include <datastorage/cache/CacheManager.h>
#include <datastorage/cache/CacheManager_p.h>
#include <datastorage/cache/PoolThreadPause_p.h>

#include <algorithm>

namespace vx::datastorage {

using Bringing = CacheManagerPrivate::Bringing;
using Wait = StreamedArrayAccess::Wait;

namespace {

constexpr qint64 bytesPerSample = 4;

std::atomic<CacheManager*> existingManager{nullptr};
std::atomic<bool> isGone{false};

/// What is left to do for somebody who wants a sample that was not in memory.
enum class Next
{
    Look,      ///< it is there, or is to be asked for again
    GiveUp,    ///< there is no such sample
    ShortFile, ///< the file does not have it
    Failed     ///< the array is, or was, in error
};

/// Brings the sample at `index` into memory and waits with `wait`.
Next bring(CacheManagerPrivate& d, DataArrayInfoStreamed* info, qint64 index,
           Wait (*wait)(const DataArrayStreamed&, qint64))
{
    const DataArrayStreamed& array = *StreamedArrayAccess::arrayOf(*info);
    const StreamedArrayState& state = StreamedArrayAccess::state(array);
    const quint64 shortLoadsBefore = state.shortLoads.load();
    const Bringing bringing = d.startBringing(info, index);
    if (bringing != Bringing::Started)
        return bringing == Bringing::LookAgain ? Next::Look : Next::GiveUp;
    const Wait result = wait(array, index);
    if (result != Wait::NoMoreToCome)
        return result == Wait::Readable ? Next::Look : Next::Failed;
    // The main thread drops blocks itself, so nothing goes away behind its back. Any other thread may
    // find that what was loaded is gone when it comes to look, or that nothing was loaded because the
    // array was in use otherwise; neither tells anything about the file.
    const bool mayHaveMissedIt = !CacheThread::isCurrent();
    if (mayHaveMissedIt && index < state.lastLoadedSize.load())
        return Next::Look;
    if (index >= StreamedArrayAccess::realSize(array))
        return Next::GiveUp;
    return mayHaveMissedIt && state.shortLoads.load() == shortLoadsBefore ? Next::Look : Next::ShortFile;
}

} // namespace

void CacheManagerAccess::ensureCreated()
{
    if (!existing() && !isGone.load())
        CacheManager::instance();
}

CacheManager* CacheManagerAccess::existing()
{
    return existingManager.load(std::memory_order_acquire);
}

void CacheManagerAccess::setExisting(CacheManager* cache)
{
    if (!cache)
        isGone.store(true);
    existingManager.store(cache, std::memory_order_release);
}

void CacheManagerAccess::forget(CacheManager& cache, DataArrayInfoStreamed* info)
{
    CacheManagerPrivate& d = *cache.d;
    if (d.registry.isKnown(info)) {
        const QString file = d.registry.fileOf(info);
        if (const DataArrayStreamed* array = StreamedArrayAccess::arrayOf(*info))
            MemoryMeter::instance().addRegistrations(StreamedArrayAccess::state(*array).account,
                                                     -d.registry.registrations(info));
        d.registry.removeEvery(info);
        CacheManagerPrivate::removeFile(info, file);
    }
    CacheManagerPrivate::closeStream(info);
    d.queue.removeEvery(info);
    d.tasks.forget(info);
    d.background.forget(info);
}

DataTypeBase CacheManagerAccess::fetchSample(const DataArrayInfoStreamed& constInfo, qint64 index)
{
    CacheManager* cache = existing();
    if (!cache)
        return missingSample();
    auto* info = const_cast<DataArrayInfoStreamed*>(&constInfo); // a load changes what is in memory only
    const DataArrayStreamed& array = *StreamedArrayAccess::arrayOf(*info);
    CacheManagerPrivate& d = *cache->d;
    DataTypeBase sample = missingSample();
    for (;;) {
        if (StreamedArrayAccess::resident(array, index, sample) ||
            StreamedArrayAccess::copyLate(array, index, {&sample, 1}) > 0)
            return sample;
        if (d.isReadFromFile(info, array)) {
            const CacheManagerPrivate::BeforeRead before = d.beforeRead(info);
            if (d.readFromFile(info, index, {&sample, 1}) > 0 ||
                StreamedArrayAccess::resident(array, index, sample) || d.isLost(info, index, before))
                return sample;
            continue;
        }
        const PoolThreadPause pause;
        const quint64 content = StreamedArrayAccess::contentGeneration(array);
        Next next = bring(d, info, index, StreamedArrayAccess::waitForSample);
        if (next == Next::ShortFile) {
            if (!d.reportShortFile(info, content))
                continue;
            const Wait result = StreamedArrayAccess::waitForSample(array, index);
            next = result == Wait::Readable ? Next::Look : Next::Failed;
        }
        if (next == Next::Look)
            continue;
        StreamedArrayAccess::resident(array, index, sample);
        return sample;
    }
}

bool CacheManagerAccess::bringIn(DataArrayInfoStreamed& info, qint64 index)
{
    CacheManager* cache = existing();
    if (!cache)
        return false;
    const DataArrayStreamed& array = *StreamedArrayAccess::arrayOf(info);
    CacheManagerPrivate& d = *cache->d;
    const PoolThreadPause pause;
    DataTypeBase sample;
    while (!d.isReadFromFile(&info, array)) {
        if (bring(d, &info, index, StreamedArrayAccess::waitForLoad) != Next::Look)
            return false;
        if (StreamedArrayAccess::resident(array, index, sample))
            return true;
    }
    return false;
}

void CacheManagerAccess::countHit()
{
    if (CacheManager* cache = existing())
        cache->d->counters.countHit();
}

qint64 CacheManagerAccess::readAbsent(const DataArrayInfo& constInfo, qint64 first,
                                      std::span<DataTypeBase> out)
{
    CacheManager* cache = existing();
    const auto* streamedInfo = dynamic_cast<const DataArrayInfoStreamed*>(&constInfo);
    if (!cache || !streamedInfo)
        return 0;
    auto* info = const_cast<DataArrayInfoStreamed*>(streamedInfo);
    const DataArrayStreamed& array = *StreamedArrayAccess::arrayOf(*info);
    CacheManagerPrivate& d = *cache->d;
    for (;;) {
        if (const qint64 copied = StreamedArrayAccess::copyResident(array, first, out))
            return copied;
        if (const qint64 copied = StreamedArrayAccess::copyLate(array, first, out))
            return copied;
        if (d.isReadFromFile(info, array)) {
            const CacheManagerPrivate::BeforeRead before = d.beforeRead(info);
            qint64 copied = d.readFromFile(info, first, out);
            if (copied == 0)
                copied = StreamedArrayAccess::copyResident(array, first, out);
            if (copied > 0 || d.isLost(info, first, before))
                return copied;
            continue;
        }
        // In error a load would be waited for by nobody, and another one asked for by the next call.
        const PoolThreadPause pause;
        if (array.isInError() || bring(d, info, first, StreamedArrayAccess::waitForLoad) != Next::Look)
            return 0;
    }
}

CacheManagerAccess::FileRead CacheManagerAccess::readFile(const DataArrayInfo& constInfo, qint64 first,
                                                          std::span<DataTypeBase> out, Caller caller)
{
    FileRead lost{0, 0, QStringLiteral("The samples cannot be brought into memory")};
    CacheManager* cache = existing();
    const auto* streamedInfo = dynamic_cast<const DataArrayInfoStreamed*>(&constInfo);
    if (!cache || !streamedInfo)
        return lost;
    auto* info = const_cast<DataArrayInfoStreamed*>(streamedInfo); // marked in error, at most
    const DataArrayStreamed& array = *StreamedArrayAccess::arrayOf(*info);
    CacheManagerPrivate& d = *cache->d;
    const CacheManagerPrivate::BeforeRead before = d.beforeRead(info);
    if (array.isInError())
        return lost;
    if (before.fileName.isNull())
        return d.isWorthAnotherLook(info, first, before, caller) ? FileRead{} : lost;
    // A write in progress has put the new count in front of samples that are not there yet.
    const bool wasRunning = d.tasks.isRunning(info);
    const qint64 written = StreamedArrayAccess::state(array).samplesOnDisk.load();
    const bool isWritten = first < written;
    if (isWritten)
        out = out.first(static_cast<std::size_t>(std::min(static_cast<qint64>(out.size()), written - first)));
    FileRead read = isWritten ? CacheManagerPrivate::readSamples(before.fileName, first, out) : lost;
    if (read.count > 0)
        return read;
    if (isWritten && caller == Caller::Reader && (wasRunning || d.tasks.isRunning(info))) {
        const PoolThreadPause pause; // the task may be queued behind this very thread
        d.tasks.awaitIdle(info);
        return {};
    }
    if (d.isWorthAnotherLook(info, first, before, caller))
        return {};
    if (isWritten && !d.reportReadError(info, read.error, before.content))
        return {};
    return read;
}

bool CacheManagerPrivate::isReadFromFile(DataArrayInfoStreamed* info, const DataArrayStreamed& array) const
{
    if (registry.isKnown(info) && registry.registrations(info) == 0)
        return true;
    // The main thread makes room for a load by a write, unless that has failed.
    return StreamedArrayAccess::firstIndex(array) > 0 && StreamedArrayAccess::loadedSize(array) > 0 &&
           (!CacheThread::isCurrent() || StreamedArrayAccess::state(array).writeHasFailed.load());
}

qint64 CacheManagerPrivate::readFromFile(DataArrayInfoStreamed* info, qint64 first,
                                         std::span<DataTypeBase> out) const
{
    CacheFileReader file;
    const DataArrayStreamed& array = *StreamedArrayAccess::arrayOf(*info);
    const StreamedArrayState& state = StreamedArrayAccess::state(array);
    const QString fileName = registry.fileOfFiled(info);
    const qint64 written = state.samplesOnDisk.load();
    if (state.fileIsPartial || fileName.isNull() || !file.open(fileName))
        return 0;
    // Not by its count, which is ahead of the samples while an append writes. Behind those that were
    // written anything may stand.
    return file.readSamples(first, written, out);
}

bool CacheManagerPrivate::startBringingSoon(DataArrayInfoStreamed* info)
{
    const DataArrayStreamed& array = *StreamedArrayAccess::arrayOf(*info);
    const bool holdsEnd =
        StreamedArrayAccess::firstIndex(array) > 0 && StreamedArrayAccess::loadedSize(array) > 0;
    if (holdsEnd || !registry.isKnown(info) || StreamedArrayAccess::isWholeInMemory(array))
        return false;
    requestLoad(info);
    return true;
}

Bringing CacheManagerPrivate::startBringing(DataArrayInfoStreamed* info, qint64 index)
{
    DataArrayStreamed& array = *StreamedArrayAccess::arrayOf(*info);
    if (CacheThread::isCurrent())
        StreamedArrayAccess::completeBlock(array);
    const bool isEmpty = StreamedArrayAccess::realSize(array) == 0;
    const bool isPending = StreamedArrayAccess::state(array).pendingLoads.load() > 0;
    if (!isPending && isEmpty && !registry.isKnown(info))
        return Bringing::Hopeless; // nothing was ever put in
    if (!isPending && !isEmpty && StreamedArrayAccess::isWholeInMemory(array))
        // Behind the end, or just brought by another thread.
        return index < StreamedArrayAccess::realSize(array) ? Bringing::LookAgain : Bringing::Hopeless;
    if (!CacheThread::isCurrent()) {
        requestLoad(info);
        return Bringing::Started;
    }
    // New samples in memory behind those on disk would stand in the way of a load.
    const auto holdsEnd = [&array] {
        return StreamedArrayAccess::firstIndex(array) > 0 && StreamedArrayAccess::loadedSize(array) > 0;
    };
    if (holdsEnd()) {
        manager.awaitTaskFinished(info);
        if (!flush(info)) { // a load would take their place
            StreamedArrayAccess::state(array).writeHasFailed = true;
            return Bringing::LookAgain;
        }
        if (holdsEnd())
            info->removeFromMemory();
    }
    // Readers of a small array are released only when it is there, so that the thread that asks for it
    // has nothing to do but wait.
    if (bytesPerSample * StreamedArrayAccess::realSize(array) < MINIMUM_WAKE_BYTES ||
        StreamedArrayAccess::isNothingToLoad(array))
        loadHere(info);
    else
        manager.readDataArrayFromDisk(info);
    return Bringing::Started;
}

} // namespace vx::datastorage
