#include <datastorage/arrays/DataArrayStreamed.h>

#include <datastorage/arrays/DataArrayStreamed_p.h>
#include <datastorage/arrays/SampleLoader_p.h>
#include <datastorage/arrays/SampleWriter_p.h>
#include <datastorage/arrays/StreamedEnvelope_p.h>
#include <datastorage/cache/CacheManagerAccess_p.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QEventLoop>

namespace vx::datastorage {

namespace {

constexpr unsigned long errorPollMilliseconds = 10;

} // namespace

DataArrayStreamed::DataArrayStreamed() : m_state(std::make_unique<StreamedArrayState>(m_loadedSize))
{
    m_blockLock = &m_memoryLock;
    // The main thread is known from the cache manager's creation on.
    CacheManagerAccess::ensureCreated();
}

DataArrayStreamed::~DataArrayStreamed()
{
    MemoryMeter::instance().remove(m_state->account);
}

bool DataArrayStreamed::read(const QJsonObject& object, int /*version*/,
                             vx::archive::ArchiveContext& /*context*/)
{
    const qint64 size = object.value(QLatin1String("realSize")).toString().toLongLong();
    m_realSize.store(size);
    m_state->samplesOnDisk.store(size);
    m_state->envelope.drop();
    return true;
}

bool DataArrayStreamed::write(QJsonObject& object, int /*version*/,
                              vx::archive::ArchiveContext& /*context*/) const
{
    object.insert(QLatin1String("realSize"), QString::number(DataArrayStreamed::getSize()));
    return true;
}

void DataArrayStreamed::setUseBatchMode(bool useBatchMode)
{
    m_useBatchMode.store(useBatchMode);
}

bool DataArrayStreamed::isUseBatchMode()
{
    return m_useBatchMode.load();
}

int DataArrayStreamed::getSizeLoadedInMemory() const
{
    return static_cast<int>(m_loadedSize.load());
}

bool DataArrayStreamed::isLoadedInMemory(qint64 index) const
{
    return index < m_loadedSize.load();
}

bool DataArrayStreamed::isInError() const
{
    return m_readWriteError.load() != 0;
}

void DataArrayStreamed::setReadWriteError(bool error)
{
    m_readWriteError.store(error ? 1 : 0);
    m_loadLock.wakeAll();
}

qint64 DataArrayStreamed::getSize() const
{
    return m_realSize.load();
}

void DataArrayStreamed::addSampleFloat(float value)
{
    StreamedArrayAccess::add(*this, DataTypeBase{.floatValue = value});
}

void DataArrayStreamed::addSample(DataTypeBase value)
{
    StreamedArrayAccess::add(*this, value);
}

void DataArrayStreamed::addSampleInt(int value)
{
    StreamedArrayAccess::add(*this, DataTypeBase{.intValue = value});
}

/// Takes a sample when the block has no free slot, or is not in a state to be added to: then the sample
/// waits beside it.
void DataArrayStreamed::addSlowly(DataTypeBase value)
{
    const nel::tools::Locker lock(m_memoryLock);
    if (!StreamedArrayAccess::startFilling(*this)) {
        StreamedArrayAccess::addLate(*this, {&value, 1});
        return;
    }
    const qint64 size = m_loadedSize.load();
    if (!StreamedArrayAccess::makeRoomOrFail(*this, size, 1))
        return;
    m_data[size] = value;
    StreamedArrayAccess::publishAdded(*this, size + 1, 1);
    StreamedArrayAccess::followAdded(*this);
}

void DataArrayStreamed::clear()
{
    const nel::tools::Locker lock(m_memoryLock);
    StreamedArrayAccess::stopFilling(*this);
    StreamedArrayAccess::replaceSharedBlock(*this);
    m_size = 0;
    m_state->late.clear();
    m_state->loading = false;
    ++m_state->loadGeneration;
    ++m_state->contentGeneration;
    m_state->envelope.drop();
    m_state->samplesOnDisk.store(0);
    m_state->writeHasFailed = false;
    m_firstIndex.store(0);
    m_realSize.store(0);
    m_loadedSize.store(0);
    MemoryMeter::instance().settle(m_state->account);
}

void DataArrayStreamed::resize(qint64 newSize)
{
    const nel::tools::Locker lock(m_memoryLock);
    StreamedArrayAccess::stopFilling(*this);
    if (newSize < m_loadedSize.load())
        m_state->envelope.drop();
    DataArray::resize(newSize);
}

void DataArrayStreamed::removeFromMemory()
{
    StreamedEnvelope::extend(*this);
    {
        const nel::tools::Locker lock(m_memoryLock);
        StreamedArrayAccess::stopFilling(*this);
        StreamedArrayAccess::dropBlock(*this);
    }
    MemoryMeter::instance().settle(m_state->account);
    MemoryMeter::instance().recount();
}

bool DataArrayStreamed::waitForDataToLoad(qint64 index) const
{
    m_loadLock.waitUntil([this, index] { return isLoadedInMemory(index) || isInError(); });
    waitWhileInError();
    return !isInError();
}

void DataArrayStreamed::waitWhileInError() const
{
    if (!isInError())
        return;
    if (!QCoreApplication::instance()) {
        m_loadLock.waitUntil([this] { return !isInError(); });
        return;
    }
    QEventLoop events;
    while (isInError()) {
        events.processEvents(QEventLoop::AllEvents, static_cast<int>(errorPollMilliseconds));
        m_loadLock.waitFor(errorPollMilliseconds, [this] { return !isInError(); });
    }
}

DataTypeBase DataArrayStreamed::getSampleWhileReading(qint64 index) const
{
    waitForDataToLoad(index);
    const nel::tools::Locker lock(m_memoryLock);
    if (index < 0 || index >= m_loadedSize.load())
        return missingSample();
    return DataArray::getSample(index);
}

float DataArrayStreamed::getSampleFloatWhileReading(qint64 index) const
{
    return DataArrayStreamed::getSampleWhileReading(index).floatValue;
}

int DataArrayStreamed::getSampleIntWhileReading(qint64 index) const
{
    return StreamedArrayAccess::atFloatPrecision(DataArrayStreamed::getSampleWhileReading(index).intValue);
}

bool DataArrayStreamed::writeToDiskStream(QIODevice& device)
{
    return SampleWriter(*this).writeWhole(device);
}

bool DataArrayStreamed::updateToDiskStream(QIODevice& device)
{
    SampleWriter(*this).update(device);
    return true; // a failure shows in the file alone; the cache's write task asks the writer itself
}

bool DataArrayStreamed::readFromDiskStream(QIODevice& device)
{
    return SampleLoader(*this).load(device);
}

} // namespace vx::datastorage
