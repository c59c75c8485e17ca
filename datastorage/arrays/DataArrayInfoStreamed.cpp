#include <datastorage/arrays/DataArrayInfoStreamed.h>

#include <datastorage/arrays/DataArrayStreamed.h>
#include <datastorage/arrays/DataArrayStreamed_p.h>
#include <datastorage/arrays/StreamedEnvelope_p.h>
#include <datastorage/cache/CacheManager.h>
#include <datastorage/cache/CacheManagerAccess_p.h>

#include <utility>

namespace vx::datastorage {

DataArrayInfoStreamed::DataArrayInfoStreamed() = default;

DataArrayInfoStreamed::DataArrayInfoStreamed(const QString& name, const PhysicalParameter& physicalParameter,
                                             const DataType& dataType, const UsualUnit& dataUnit)
    : DataArrayInfo(name, physicalParameter, dataType, dataUnit)
{}

DataArrayInfoStreamed::~DataArrayInfoStreamed()
{
    // A descriptor with static lifetime may outlive the cache, which then knows nothing of it any more.
    if (CacheManager* cache = CacheManagerAccess::existing()) {
        cache->removeDataArrayInfoFromCache(this);
        CacheManagerAccess::forget(*cache, this);
    }
}

void DataArrayInfoStreamed::createDataArray()
{
    if (m_streamed && CacheManagerAccess::existing())
        CacheManager::instance().awaitTaskFinished(this); // a task may be using the array that is replaced
    auto array = std::make_shared<DataArrayStreamed>();
    m_streamed = array.get();
    StreamedArrayAccess::setType(m_streamed, getDataType());
    setDataArray(std::move(array));
}

DataArrayStreamed* DataArrayInfoStreamed::getDataArrayStreamed()
{
    return m_streamed;
}

const DataArrayStreamed* DataArrayInfoStreamed::getDataArrayStreamed() const
{
    return m_streamed;
}

int DataArrayInfoStreamed::getSizeLoadedInMemory() const
{
    return m_streamed ? m_streamed->getSizeLoadedInMemory() : 0;
}

void DataArrayInfoStreamed::setUseBatchMode(bool useBatchMode)
{
    if (m_streamed)
        m_streamed->setUseBatchMode(useBatchMode);
}

bool DataArrayInfoStreamed::isUseBatchMode()
{
    return m_streamed && m_streamed->isUseBatchMode();
}

bool DataArrayInfoStreamed::isInError() const
{
    return m_streamed && m_streamed->isInError();
}

void DataArrayInfoStreamed::setReadWriteError(bool error)
{
    if (m_streamed)
        m_streamed->setReadWriteError(error);
}

void DataArrayInfoStreamed::removeFromMemory()
{
    if (m_streamed)
        m_streamed->removeFromMemory();
}

bool DataArrayInfoStreamed::readFromDiskStream(QIODevice& device)
{
    return m_streamed && m_streamed->readFromDiskStream(device);
}

bool DataArrayInfoStreamed::writeToDiskStream(QIODevice& device)
{
    return m_streamed && m_streamed->writeToDiskStream(device);
}

bool DataArrayInfoStreamed::updateToDiskStream(QIODevice& device)
{
    return m_streamed && m_streamed->updateToDiskStream(device);
}

// The getters have only the main thread's short way in themselves. With the rest in them they would save
// and restore registers on every call, which costs as much again (ResidentSample).

DataTypeBase DataArrayInfoStreamed::getSample(qint64 index) const
{
    DataTypeBase sample;
    if (m_streamed && StreamedArrayAccess::residentHere(*m_streamed, index, sample)) [[likely]]
        return sample;
    return sampleSlowly(index);
}

float DataArrayInfoStreamed::getSampleFloat(qint64 index) const
{
    DataTypeBase sample;
    if (m_streamed && StreamedArrayAccess::residentHere(*m_streamed, index, sample)) [[likely]]
        return sample.floatValue;
    return sampleSlowly(index).floatValue;
}

int DataArrayInfoStreamed::getSampleInt(qint64 index) const
{
    DataTypeBase sample;
    if (m_streamed && StreamedArrayAccess::residentHere(*m_streamed, index, sample)) [[likely]]
        return sample.intValue;
    return sampleIntSlowly(index);
}

DataTypeBase DataArrayInfoStreamed::sampleSlowly(qint64 index) const
{
    DataTypeBase sample;
    if (m_streamed && StreamedArrayAccess::resident(*m_streamed, index, sample))
        return sample;
    return sampleFromCache(index);
}

int DataArrayInfoStreamed::sampleIntSlowly(qint64 index) const
{
    DataTypeBase sample;
    if (m_streamed && StreamedArrayAccess::resident(*m_streamed, index, sample))
        return sample.intValue;
    return StreamedArrayAccess::atFloatPrecision(sampleFromCache(index).intValue);
}

DataTypeBase DataArrayInfoStreamed::sampleFromCache(qint64 index) const
{
    if (!m_streamed || index < 0)
        return missingSample();
    return CacheManagerAccess::fetchSample(*this, index);
}

void DataArrayInfoStreamed::startAddingData()
{
    CacheManager& cache = CacheManager::instance();
    if (cache.isCached(this))
        cache.startUpdateDataArrayInfoContent(this);
}

void DataArrayInfoStreamed::endAddingData(const QString& key)
{
    if (m_streamed)
        StreamedArrayAccess::finishFilling(*m_streamed);
    CacheManager& cache = CacheManager::instance();
    if (cache.isUpdating(this))
        cache.endUpdateDataArrayInfoContent(this);
    else
        cache.addDataArrayInfoToCache(key, this);
}

void DataArrayInfoStreamed::addSampleFloat(float value)
{
    includeInRange(value);
    if (m_streamed) [[likely]]
        StreamedArrayAccess::add(*m_streamed, DataTypeBase{.floatValue = value});
}

void DataArrayInfoStreamed::addSampleInt(int value)
{
    includeInRange(value);
    if (m_streamed) [[likely]]
        StreamedArrayAccess::add(*m_streamed, DataTypeBase{.intValue = value});
}

void DataArrayInfoStreamed::addSample(DataTypeBase value)
{
    DataArrayInfo::addSample(value);
}

void DataArrayInfoStreamed::clear()
{
    CacheManager& cache = CacheManager::instance();
    cache.clearDataArrayInfoInCache(this);
    DataArrayInfo::clear();
    cache.updateDataCacheSize(false);
}

void DataArrayInfoStreamed::restart()
{
    clear();
}

PinnedSamples DataArrayInfoStreamed::pin(qint64 first, qint64 count)
{
    return StreamedArrayAccess::pin(*this, first, count);
}

bool DataArrayInfoStreamed::isEnvelopeReady() const
{
    return m_streamed && StreamedEnvelope(*this, *m_streamed).isReady();
}

void DataArrayInfoStreamed::updateDataCachePath(const QString& newKey)
{
    CacheManager::instance().updateDataCachePath(newKey, this);
}

bool DataArrayInfoStreamed::write(QJsonObject& object, int version,
                                  vx::archive::ArchiveContext& context) const
{
    CacheManager::instance().awaitTaskFinished(this);
    DataArrayInfo::write(object, version, context);
    QJsonObject array;
    if (!m_streamed || !m_streamed->write(array, version, context))
        return false;
    object.insert(QLatin1String("dataArray"), array);
    return true;
}

bool DataArrayInfoStreamed::read(const QJsonObject& object, int version, vx::archive::ArchiveContext& context)
{
    DataArrayInfo::read(object, version, context);
    const QJsonObject array = object.value(QLatin1String("dataArray")).toObject();
    if (!m_streamed || !m_streamed->read(array, version, context))
        return false;
    CacheManager::instance().loadDataArrayInfoToCache(context.dataSourcePath, this);
    return true;
}

void DataArrayInfoStreamed::setStreamId(qint64 streamId)
{
    m_streamId = streamId;
}

quint64 DataArrayInfoStreamed::getLastTimeStreamed() const
{
    return m_lastTimeStreamed;
}

void DataArrayInfoStreamed::setLastTimeStreamed(quint64 time)
{
    m_lastTimeStreamed = time;
}

} // namespace vx::datastorage
