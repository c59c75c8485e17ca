#include <datastorage/cache/CacheManagerAccess_p.h>

#include <datastorage/arrays/DataArrayStreamed_p.h>
#include <datastorage/arrays/SampleLoader_p.h>
#include <datastorage/cache/CacheFileHeader_p.h>
#include <datastorage/cache/CacheManager.h>
#include <datastorage/cache/CacheManager_p.h>
#include <datastorage/cache/RegularFile_p.h>

#include <QtCore/QFile>
#include <QtCore/QThread>
#include <QtCore/QThreadPool>

#include <algorithm>

namespace vx::datastorage {

using Wait = StreamedArrayAccess::Wait;

namespace {

constexpr qint64 bytesPerSample = 4;
constexpr qint64 countBytes = 8;

std::atomic<CacheManager*> existingManager{nullptr};
std::atomic<bool> isGone{false};

/// Lets the global thread pool use another thread while one of its own waits for a load: the load may
/// be queued behind the very tasks that wait for it.
class PoolThreadPause
{
public:
    PoolThreadPause() : m_pool(QThreadPool::globalInstance())
    {
        if (m_pool && !m_pool->contains(QThread::currentThread()))
            m_pool = nullptr;
        if (m_pool)
            m_pool->releaseThread();
    }
    ~PoolThreadPause()
    {
        if (m_pool)
            m_pool->reserveThread();
    }
    PoolThreadPause(const PoolThreadPause&) = delete;
    PoolThreadPause& operator=(const PoolThreadPause&) = delete;

private:
    QThreadPool* m_pool;
};

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
            d.readFromFile(info, index, {&sample, 1});
            return sample;
        }
        const PoolThreadPause pause;
        if (!d.startBringing(info))
            return sample;
        Wait result = StreamedArrayAccess::waitForSample(array, index);
        if (result == Wait::NoMoreToCome) {
            if (index < StreamedArrayAccess::state(array).lastLoadedSize.load() && !CacheThread::isCurrent())
                continue; // loaded, and evicted again before this thread came to look
            if (index >= StreamedArrayAccess::realSize(array))
                return sample;
            d.reportShortFile(info);
            result = StreamedArrayAccess::waitForSample(array, index);
        }
        if (result == Wait::Readable)
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
    while (!d.isReadFromFile(&info, array) && d.startBringing(&info)) {
        const Wait result = StreamedArrayAccess::waitForLoad(array, index);
        if (result == Wait::Readable)
            return true;
        const bool wasEvictedAgain = index < StreamedArrayAccess::state(array).lastLoadedSize.load();
        if (result == Wait::Error || CacheThread::isCurrent() || !wasEvictedAgain)
            return false;
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
        if (const qint64 copied = StreamedArrayAccess::copyLate(array, first, out))
            return copied;
        if (d.isReadFromFile(info, array))
            return d.readFromFile(info, first, out);
        const PoolThreadPause pause;
        if (!d.startBringing(info) || StreamedArrayAccess::waitForLoad(array, first) == Wait::Error)
            return 0;
        if (const qint64 copied = StreamedArrayAccess::copyResident(array, first, out))
            return copied;
        const bool wasEvictedAgain = first < StreamedArrayAccess::state(array).lastLoadedSize.load();
        if (CacheThread::isCurrent() || !wasEvictedAgain)
            return 0;
    }
}

bool CacheManagerPrivate::isReadFromFile(DataArrayInfoStreamed* info, const DataArrayStreamed& array) const
{
    if (registry.isKnown(info) && registry.registrations(info) == 0)
        return true;
    return StreamedArrayAccess::firstIndex(array) > 0 && StreamedArrayAccess::loadedSize(array) > 0 &&
           !CacheThread::isCurrent();
}

qint64 CacheManagerPrivate::readFromFile(const DataArrayInfoStreamed* info, qint64 first,
                                         std::span<DataTypeBase> out) const
{
    QFile file;
    if (!openRegularFile(file, registry.fileOf(info), QIODevice::Unbuffered))
        return 0;
    const qint64 inFile = (file.size() - CACHE_FILE_HEADER_BYTES - countBytes) / bytesPerSample;
    const qint64 count = std::clamp<qint64>(inFile - first, 0, static_cast<qint64>(out.size()));
    if (count == 0 || !file.seek(CACHE_FILE_HEADER_BYTES + countBytes + first * bytesPerSample))
        return 0;
    return std::max<qint64>(file.read(reinterpret_cast<char*>(out.data()), count * bytesPerSample), 0) /
           bytesPerSample;
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

bool CacheManagerPrivate::startBringing(DataArrayInfoStreamed* info)
{
    const DataArrayStreamed& array = *StreamedArrayAccess::arrayOf(*info);
    const bool isEmpty = StreamedArrayAccess::realSize(array) == 0;
    const bool isPending = StreamedArrayAccess::state(array).pendingLoads.load() > 0;
    if (!isPending && isEmpty && !registry.isKnown(info))
        return false; // nothing was ever put in
    if (!isPending && !isEmpty && StreamedArrayAccess::isWholeInMemory(array))
        return false; // `index` lies behind the end
    if (!CacheThread::isCurrent()) {
        requestLoad(info);
        return true;
    }
    // New samples in memory behind those on disk would stand in the way of a load.
    if (StreamedArrayAccess::firstIndex(array) > 0 && StreamedArrayAccess::loadedSize(array) > 0) {
        manager.awaitTaskFinished(info);
        if (!flush(info))
            return false; // a load would take their place
    }
    // Readers of a small array are released only when it is there, so that the thread that asks for it
    // has nothing to do but wait.
    if (bytesPerSample * StreamedArrayAccess::realSize(array) < MINIMUM_WAKE_BYTES)
        loadHere(info);
    else
        manager.readDataArrayFromDisk(info);
    return true;
}

} // namespace vx::datastorage
