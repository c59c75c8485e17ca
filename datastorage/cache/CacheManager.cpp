#include <datastorage/cache/CacheManager.h>

#include <datastorage/arrays/DataArrayStreamed_p.h>
#include <datastorage/cache/CacheFileName_p.h>
#include <datastorage/cache/CacheLog_p.h>
#include <datastorage/cache/CacheManagerAccess_p.h>
#include <datastorage/cache/CacheManager_p.h>
#include <datastorage/cache/CacheReadManager.h>
#include <datastorage/cache/SystemMemory_p.h>

#include <json/JsonUtils.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QStandardPaths>
#include <QtCore/QThreadPool>

// Exported as the header's declaration says.
template class nel::tools::Singleton<vx::datastorage::CacheManager>;

namespace vx::datastorage {

using State = CacheRegistry::State;

namespace {

constexpr quint64 unknownMemoryBytes = 4294967296;

QString translated(const char* text)
{
    return QCoreApplication::translate("NelDataStorage", text);
}

bool isLoadNeeded(const DataArrayInfoStreamed* info)
{
    return info->getSizeLoadedInMemory() < info->getSize();
}

} // namespace

CacheManager::CacheManager(nel::tools::Singleton<CacheManager>::token /*token*/)
    : d(std::make_unique<CacheManagerPrivate>(*this))
{
    cacheLog(); // made before this object is complete, the category outlives it
    qRegisterMetaType<DataArrayInfoStreamed*>("vx::datastorage::DataArrayInfoStreamed*");
    setDefaultCachePath(getDefaultSystemTempDirectory() + QLatin1String("/Cache/"), true);
    setCacheSizeInBytes(static_cast<qint64>(getPhysicalMemoryAvailableInBytes() >> 1));
    CacheManagerAccess::setExisting(this);
}

CacheManager::~CacheManager()
{
    CacheManagerAccess::setExisting(nullptr);
    d->tasks.stop();
    removeCacheDirectory();
}

// Configuration

bool CacheManager::readCacheConfiguration(const QString& fileName, int version, QString& error)
{
    QJsonObject root;
    const bool isRead = JsonUtils::openJsonDocument(fileName, error, root) &&
                        JsonUtils::checkVersionNumber(root, version, error) &&
                        readCacheParameters(root, error);
    if (isRead)
        qCDebug(cacheLog) << "configured by" << fileName << "directory:" << d->cachePath
                          << "budget:" << d->budgetBytes.load();
    else
        qCDebug(cacheLog) << "refused" << fileName << error;
    return isRead;
}

bool CacheManager::readCacheParameters(QJsonObject& root, QString& error)
{
    const QJsonValue cache = root.value(QLatin1String("Cache"));
    if (!cache.isObject()) {
        error = translated("Cache object missing");
        return false;
    }
    const QString path = cache.toObject().value(QLatin1String("Path")).toString();
    if (path == QLatin1String("Auto")) {
        setDefaultCachePath(getDefaultSystemTempDirectory() + QLatin1String("/Cache/"), true);
    } else if (path.isEmpty() || !QDir(path).exists()) {
        error = translated("Invalid Cache Path");
        return false;
    } else {
        setDefaultCachePath(path, true);
    }
    const QString size = cache.toObject().value(QLatin1String("Size")).toString();
    if (size == QLatin1String("Auto"))
        return true;
    const qint64 bytes = size.toLongLong(nullptr, 10);
    if (bytes < 1) {
        error = translated("Invalid cache size");
        return false;
    }
    setCacheSizeInBytes(bytes);
    return true;
}

QString CacheManager::getDefaultSystemTempDirectory() const
{
    return QStandardPaths::standardLocations(QStandardPaths::TempLocation).value(0);
}

const QString& CacheManager::getDefaultCachePath() const
{
    return d->cachePath;
}

void CacheManager::setDefaultCachePath(const QString& path, bool appendProcessId)
{
    if (path.isEmpty())
        return;
    const auto withSlash = [](const QString& text) {
        return text.endsWith(QLatin1Char('/')) ? text : text + QLatin1Char('/');
    };
    d->cachePath = withSlash(path);
    if (appendProcessId)
        d->cachePath = withSlash(d->cachePath + QString::number(QCoreApplication::applicationPid(), 10));
    d->isPerProcess = appendProcessId;
    d->registry.setDirectory(d->cachePath);
}

bool CacheManager::checkDefaultCacheDirectory() const
{
    return d->directory.create(d->cachePath, d->isPerProcess);
}

bool CacheManager::removeCacheDirectory()
{
    return d->directory.remove(d->cachePath);
}

void CacheManager::clearCacheFiles()
{
    CacheDirectory::clearFiles(d->cachePath);
}

qint64 CacheManager::getCacheSizeInBytes() const
{
    return d->budgetBytes.load();
}

void CacheManager::setCacheSizeInBytes(qint64 bytes)
{
    d->budgetBytes.store(bytes);
}

// Names

QString CacheManager::getFullFilename(const QString& key, const DataArrayInfoStreamed* info) const
{
    return d->registry.fileName(key, info->getName());
}

QString CacheManager::transformCachePathToFileName(const QString& path)
{
    return vx::datastorage::transformCachePathToFileName(path);
}

QString CacheManager::getDataArrayInfoKey(DataArrayInfoStreamed* info) const
{
    return d->registry.key(State::Cached, info);
}

bool CacheManager::isNameAndPathExist(const QString& key, const DataArrayInfoStreamed* info) const
{
    return d->registry.contains(key, info->getName());
}

QList<QString> CacheManager::getDataSourceFileCacheList(const QString& keyPrefix,
                                                        const QString& nextCharacter) const
{
    QList<QString> files;
    for (const auto& [key, info] : d->registry.cachedArrays())
        if (key.startsWith(keyPrefix) && key.mid(keyPrefix.size(), 1) == nextCharacter &&
            info->getSize() != 0)
            files.append(getFullFilename(key, info));
    return files;
}

bool CacheManager::updateDataCachePath(const QString& newKey, DataArrayInfoStreamed* info)
{
    // As long as this counts as the array's task, no thread that wants a sample looks for the file.
    do
        awaitTaskFinished(info);
    while (!d->tasks.begin(info));
    const bool isMoved = d->refile(info, newKey);
    d->finish(info, [] {});
    return isMoved;
}

// Filing

void CacheManager::addDataArrayInfoToCache(const QString& key, DataArrayInfoStreamed* info)
{
    const bool isNew = !d->registry.isKnown(info);
    d->insert(State::Cached, key, info);
    if (isNew)
        d->removeStaleFile(info);
    writeDataArrayToDisk(info);
    updateDataCacheSize(false);
    updateCache();
}

void CacheManager::loadDataArrayInfoToCache(const QString& key, DataArrayInfoStreamed* info)
{
    d->insert(State::Cached, key, info);
    info->removeFromMemory();
    if (const DataArrayStreamed* array = StreamedArrayAccess::arrayOf(*info)) {
        StreamedArrayAccess::setSamplesOnDisk(*array, info->getSize());
        StreamedArrayAccess::trustFile(*array); // what is there now has been put there
    }
}

void CacheManager::removeDataArrayInfoFromCache(DataArrayInfoStreamed* info)
{
    awaitTaskFinished(info);
    if (isCached(info)) {
        const QString file = d->registry.fileOf(info);
        d->remove(State::Cached, getDataArrayInfoKey(info), info);
        if (!d->registry.isKnown(info))
            CacheManagerPrivate::removeFile(info, file);
        d->queue.remove(info);
    }
    updateDataCacheSize(false);
}

void CacheManager::clearDataArrayInfoInCache(DataArrayInfoStreamed* info)
{
    awaitTaskFinished(info);
    if (isCached(info) || isUpdating(info))
        CacheManagerPrivate::removeFile(info, d->registry.fileOf(info));
}

void CacheManager::removeAll()
{
    if (QThreadPool* pool = QThreadPool::globalInstance())
        pool->waitForDone(-1);
    d->tasks.forgetRunning();
    for (const auto& [key, info] : d->registry.cachedArrays())
        d->remove(State::Cached, key, info);
    d->queue.clear();
    MemoryMeter::instance().forgetUsed();
}

bool CacheManager::isCached(DataArrayInfoStreamed* info) const
{
    return !d->registry.key(State::Cached, info).isEmpty();
}

bool CacheManager::isUpdating(DataArrayInfoStreamed* info) const
{
    return !d->registry.key(State::Updating, info).isEmpty();
}

bool CacheManager::isValid(DataArrayInfoStreamed* info)
{
    return CacheReadManager::instance().isValid(d->registry.fileOf(info));
}

// Changing content

void CacheManager::startUpdateDataArrayInfoContent(DataArrayInfoStreamed* info)
{
    awaitTaskFinished(info);
    // What the loads below bring in must not be evicted by their own completions.
    d->held = info;
    const bool mayBeRead = !isLoadNeeded(info) || d->flush(info);
    if (mayBeRead && isLoadNeeded(info)) {
        readDataArrayFromDisk(info);
        awaitTaskFinished(info);
    }
    const DataArrayStreamed* array = StreamedArrayAccess::arrayOf(*info);
    if (array && StreamedArrayAccess::isWholeInMemory(*array))
        CacheManagerPrivate::removeFile(info, d->registry.fileOf(info));
    else if (array && mayBeRead && !StreamedArrayAccess::hasUnwrittenSamples(*array))
        info->removeFromMemory(); // the file keeps the samples, and what is added will be appended to it
    CacheManagerPrivate::closeStream(info);
    d->move(State::Cached, State::Updating, getDataArrayInfoKey(info), info);
    d->queue.remove(info);
    d->held = nullptr;
    updateDataCacheSize(false);
}

void CacheManager::endUpdateDataArrayInfoContent(DataArrayInfoStreamed* info)
{
    d->move(State::Updating, State::Cached, d->registry.key(State::Updating, info), info);
    writeDataArrayToDisk(info);
    updateCache();
    updateDataCacheSize(false);
}

void CacheManager::prepareAppendDataArray(DataArrayInfoStreamed* info)
{
    if (!isCached(info))
        return;
    awaitTaskFinished(info);
    if (d->flush(info))
        info->removeFromMemory();
    CacheManagerPrivate::closeStream(info);
    d->move(State::Cached, State::Updating, getDataArrayInfoKey(info), info);
    d->queue.remove(info);
}

bool CacheManager::appendDataArray(DataArrayInfoStreamed* info, const QString& key)
{
    const bool isNew = !d->registry.isKnown(info);
    if (DataArrayStreamed* array = StreamedArrayAccess::arrayOf(*info))
        StreamedArrayAccess::finishFilling(*array);
    if (isUpdating(info))
        d->move(State::Updating, State::Cached, d->registry.key(State::Updating, info), info);
    else
        d->insert(State::Cached, key, info);
    if (isNew)
        d->removeStaleFile(info);
    awaitTaskFinished(info);
    if (d->tasks.beginWrite(info))
        startWriteTask(info, true);
    return true;
}

// Tasks

bool CacheManager::readDataArrayFromDisk(DataArrayInfoStreamed* info)
{
    do
        awaitTaskFinished(info);
    while (!d->tasks.begin(info)); // another thread was faster
    startReadTask(info);
    return true;
}

bool CacheManager::writeDataArrayToDisk(DataArrayInfoStreamed* info)
{
    if (d->tasks.beginWrite(info))
        startWriteTask(info, false);
    return true;
}

void CacheManager::awaitTaskFinished(const DataArrayInfoStreamed* info)
{
    d->tasks.await(info);
}

// Memory

void CacheManager::increaseDataCacheSize(qint64 bytes)
{
    MemoryMeter::instance().addBytes(bytes);
}

void CacheManager::updateDataCacheSize(bool addOneSample)
{
    if (addOneSample)
        MemoryMeter::instance().addBytes(static_cast<qint64>(sizeof(DataTypeBase)));
    else
        MemoryMeter::instance().recount();
}

void CacheManager::pushToPriorityQueue(DataArrayInfoStreamed* info)
{
    d->queue.push(info);
}

void CacheManager::updateCache()
{
    d->updateCache();
}

quint64 CacheManager::getPhysicalMemoryAvailableInBytes() const
{
    return platform::availablePhysicalMemory().value_or(unknownMemoryBytes);
}

qint64 CacheManager::getUsedDataCacheSizeInBytes() const
{
    return MemoryMeter::instance().residentBytes();
}

/// Opens the mapping of an array that has none and reads the first sample from it.
DataTypeBase CacheManager::openSampleDirect(DataArrayInfoStreamed* info, qint64 index)
{
    // A file that is being written, or whose write waits for a completion, cannot be mapped yet.
    awaitTaskFinished(info);
    const QString file = d->registry.fileOf(info);
    CacheReadManager& reader = CacheReadManager::instance();
    const int id = reader.getFreeId();
    info->setStreamId(id);
    const DataArrayStreamed* array = StreamedArrayAccess::arrayOf(*info);
    const bool isVoid = array && StreamedArrayAccess::state(*array).fileIsPartial;
    if (!isVoid && reader.initialize(id, file))
        return reader.getSampleDirect(id, index);
    info->setReadWriteError(true);
    d->counters.countError();
    const QString error = QLatin1String("[CacheReadManager] Cannot initialize mmap for file:") + file;
    qCDebug(cacheLog) << error;
    Q_EMIT signal_cacheError(error);
    return DataTypeBase{.intValue = 0};
}

void CacheManager::prefetch(DataArrayInfoStreamed* info)
{
    const DataArrayStreamed* array = StreamedArrayAccess::arrayOf(*info);
    if (array && isCached(info) && !StreamedArrayAccess::isWholeInMemory(*array) &&
        StreamedArrayAccess::loadedSize(*array) == 0 && d->tasks.begin(info))
        startReadTask(info);
}

QFuture<LoadResult> CacheManager::loadInBackground(DataArrayInfoStreamed* info)
{
    return d->background.load(info);
}

QFuture<ReadResult> CacheManager::readInBackground(DataArrayInfoStreamed* info, qint64 first, qint64 count)
{
    return d->background.read(info, first, count);
}

QFuture<EnvelopeResult> CacheManager::prepareEnvelope(DataArrayInfoStreamed* info)
{
    return d->background.prepareEnvelope(info);
}

CacheStatistics CacheManager::statistics() const
{
    CacheStatistics statistics;
    d->counters.report(statistics);
    statistics.budgetBytes = getCacheSizeInBytes();
    statistics.runningTasks = d->tasks.runningCount();
    for (DataArrayInfoStreamed* info : d->registry.arrays()) {
        ++statistics.registeredArrays;
        const DataArrayStreamed* array = StreamedArrayAccess::arrayOf(*info);
        if (!array)
            continue;
        const StreamedArrayAccess::Footprint footprint = StreamedArrayAccess::footprint(*array);
        statistics.residentArrays += footprint.sampleBytes > 0 ? 1 : 0;
        statistics.sampleBytes += footprint.sampleBytes;
        statistics.spareBytes += footprint.spareBytes;
        statistics.inFlightBytes += footprint.inFlightBytes;
        statistics.envelopeBytes += footprint.envelopeBytes;
        if (StreamedArrayAccess::state(*array).pins->load() > 0) {
            ++statistics.pinnedArrays;
            statistics.pinnedBytes += footprint.sampleBytes;
        }
    }
    return statistics;
}

} // namespace vx::datastorage
