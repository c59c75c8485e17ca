#include <datastorage/arrays/DataArray.h>

#include <datastorage/arrays/SampleBlock_p.h>

#include <algorithm>
#include <bit>
#include <utility>

namespace vx::datastorage {

namespace {

constexpr qint64 minimumCapacity = 1024;

/// Samples that are dropped after a refused growth before memory is asked for again; a block of samples
/// counts as at most so many.
constexpr qint64 samplesUntilRetry = 1024;
constexpr qint64 samplesOfBlock = 64;

/// Holds a lock that may be absent. The lock object decides at run time, which the checker cannot
/// follow.
class OptionalLocker
{
public:
    explicit OptionalLocker(nel::tools::RecursiveMutex* lock) VX_NO_THREAD_SAFETY_ANALYSIS : m_lock(lock)
    {
        if (m_lock)
            m_lock->lock();
    }
    ~OptionalLocker() VX_NO_THREAD_SAFETY_ANALYSIS
    {
        if (m_lock)
            m_lock->unlock();
    }
    OptionalLocker(const OptionalLocker&) = delete;
    OptionalLocker& operator=(const OptionalLocker&) = delete;

private:
    nel::tools::RecursiveMutex* m_lock;
};

} // namespace

DataArray::DataArray() : m_data(SampleBlock::allocate(minimumCapacity)), m_capacity(minimumCapacity)
{
    m_allocated = m_data ? minimumCapacity : 0;
    updateLimit();
}

DataArray::~DataArray()
{
    SampleBlock::release(m_data);
}

bool DataArray::read(const QJsonObject& /*object*/, int /*version*/, vx::archive::ArchiveContext& /*context*/)
{
    return false;
}

bool DataArray::write(QJsonObject& /*object*/, int /*version*/,
                      vx::archive::ArchiveContext& /*context*/) const
{
    return false;
}

qint64 DataArray::capacity() const
{
    const OptionalLocker lock(m_blockLock);
    return m_capacity;
}

qint64 DataArray::getSize() const
{
    return m_size;
}

void DataArray::clear()
{
    m_size = 0;
}

void DataArray::addSampleFloat(float value)
{
    addSampleInternal(DataTypeBase{.floatValue = value});
}

void DataArray::addSample(DataTypeBase value)
{
    addSampleInternal(value);
}

void DataArray::addSampleInt(int value)
{
    addSampleInternal(DataTypeBase{.intValue = value});
}

DataTypeBase DataArray::getSample(qint64 index) const
{
    if (static_cast<quint64>(index) < static_cast<quint64>(m_allocated)) [[likely]]
        return m_data[index];
    return missingSample();
}

float DataArray::getSampleFloat(qint64 index) const
{
    return DataArray::getSample(index).floatValue;
}

int DataArray::getSampleInt(qint64 index) const
{
    return DataArray::getSample(index).intValue;
}

void DataArray::resize(qint64 newSize)
{
    if (newSize < 0 || newSize > SampleBlock::maximumSamples)
        return;
    if (newSize >= m_capacity || newSize > m_allocated)
        reserve(newSize);
    if (newSize <= m_allocated)
        m_size = newSize;
}

void DataArray::reserve(qint64 count)
{
    const OptionalLocker lock(m_blockLock);
    const qint64 target = std::max(count, minimumCapacity);
    const bool isThere = m_capacity >= target && m_allocated >= target;
    if (isThere || target > SampleBlock::maximumSamples)
        return;
    growBlock(std::min(m_allocated, m_capacity), target);
}

void DataArray::freeArray()
{
    SampleBlock::release(std::exchange(m_data, nullptr));
    m_size = 0;
    m_capacity = 0;
    m_allocated = 0;
    m_refused = 0;
    updateLimit();
}

/// Gives the block room for `target` samples with its first `used` kept. The capacity claims `target`
/// even when the memory is refused, and then the old block stays with what it holds.
void DataArray::growBlock(qint64 used, qint64 target)
{
    if (DataTypeBase* grown = SampleBlock::resize(m_data, used, target)) {
        m_data = grown;
        m_allocated = target;
    }
    m_capacity = std::max(m_capacity, target);
    updateLimit();
}

void DataArray::updateLimit()
{
    m_limit = std::clamp<qint64>(m_capacity - 1, 0, m_allocated);
}

/// Whether `extra` more samples fit behind the `used` ones, after the growth that adding them one by
/// one would have brought.
bool DataArray::makeRoom(qint64 used, qint64 extra)
{
    // What is added after a refusal finds no room either, as a rule, and asking the system each time takes
    // longer than anything else that happens to a sample.
    if (m_refused > 0 && used + extra >= m_refused && m_retryAfter > 0) {
        m_retryAfter -= std::min(extra, samplesOfBlock);
        return false;
    }
    m_refused = 0;
    qint64 target = m_capacity;
    while (used + extra >= target && target <= SampleBlock::maximumSamples)
        target = std::max(target + target / 2, minimumCapacity);
    const OptionalLocker lock(m_blockLock);
    if (target > SampleBlock::maximumSamples)
        return used + extra <= m_allocated;
    if (target > m_capacity || used + extra > m_allocated)
        growBlock(used, target);
    // The capacity may claim far more than is needed.
    const qint64 modest = std::max({m_allocated + m_allocated / 2, used + extra, minimumCapacity});
    if (used + extra > m_allocated && modest < target)
        growBlock(used, modest);
    if (used + extra <= m_allocated)
        return true;
    m_refused = used + extra;
    m_retryAfter = samplesUntilRetry;
    return false;
}

void DataArray::growAndAdd(DataTypeBase value)
{
    if (makeRoom(m_size, 1))
        m_data[m_size++] = value;
}

} // namespace vx::datastorage
