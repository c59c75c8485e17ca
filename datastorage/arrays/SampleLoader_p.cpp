#include <datastorage/arrays/SampleLoader_p.h>

#include <datastorage/cache/CacheFileReader_p.h>

#include <QtCore/QFile>
#include <QtCore/QtEndian>

#include <algorithm>
#include <span>
#include <typeinfo>

namespace vx::datastorage {

namespace {

constexpr qint64 countBytes = 8;
constexpr qint64 bytesPerSample = 4;

/// Samples per read of a device that may be slow or watched: readers can start on the first samples long
/// before the end.
constexpr qint64 deviceChunk = 1024 / bytesPerSample;
/// Samples per read of a plain file: a read of 1024 bytes through QFile costs as much as copying 4 KiB.
constexpr qint64 fileChunk = qint64{512} * 1024 / bytesPerSample;

/// See MINIMUM_WAKE_BYTES.
constexpr qint64 wakeFraction = 50;

/// Bytes that a body may claim beyond what its device has; they are filled with missing samples.
constexpr qint64 maximumPadding = qint64{64} * 1024 * 1024;

/// Reads `bytes` bytes, in as many reads as the device needs; returns how many came.
qint64 readFully(QIODevice& device, char* data, qint64 bytes)
{
    qint64 done = std::max<qint64>(device.read(data, bytes), 0);
    while (done > 0 && done < bytes) {
        const qint64 more = device.read(data + done, bytes - done);
        if (more <= 0)
            break;
        done += more;
    }
    return done;
}

/// The samples of a device, which stands at the first of them.
class DeviceSamples
{
public:
    explicit DeviceSamples(QIODevice& device) : m_device(device) {}

    qint64 chunk() const { return typeid(m_device) == typeid(QFile) ? fileChunk : deviceChunk; }
    bool skip(qint64 count) { return m_device.seek(m_device.pos() + count * bytesPerSample); }
    qint64 read(std::span<DataTypeBase> out)
    {
        return readFully(m_device, reinterpret_cast<char*>(out.data()),
                         static_cast<qint64>(out.size_bytes())) /
               bytesPerSample;
    }

private:
    QIODevice& m_device;
};

/// The samples of a cache file.
class FileSamples
{
public:
    explicit FileSamples(CacheFileReader& file) : m_file(file) {}

    static qint64 chunk() { return fileChunk; }
    bool skip(qint64 count)
    {
        m_next += count;
        return true;
    }
    qint64 read(std::span<DataTypeBase> out)
    {
        const qint64 count = m_file.readSamples(m_next, m_file.sampleCount(), out);
        m_next += count;
        return count;
    }

private:
    CacheFileReader& m_file;
    qint64 m_next = 0;
};

} // namespace

bool SampleLoader::load(QIODevice& device)
{
    qint64 stored = 0;
    qint64 count = 0;
    if (device.read(reinterpret_cast<char*>(&stored), countBytes) == countBytes)
        count = qFromLittleEndian(stored);
    else if (isFromCache())
        return false;
    return isPlausible(device, count) && loadFrom(DeviceSamples(device), count);
}

bool SampleLoader::load(CacheFileReader& file)
{
    return file.sampleCount() <= SampleBlock::maximumSamples &&
           loadFrom(FileSamples(file), file.sampleCount());
}

template <typename Source>
bool SampleLoader::loadFrom(Source source, qint64 count)
{
    const std::optional<Target> target = prepare(count);
    if (!target)
        return false;
    bool isDelivered = true;
    if (target->first >= 0 && readChunks(source, *target, count, isDelivered))
        finish(target->generation, count);
    m_array.m_loadLock.wakeAll();
    return isDelivered;
}

bool SampleLoader::isPlausible(const QIODevice& device, qint64 count) const
{
    if (count < 0 || count > SampleBlock::maximumSamples)
        return false;
    const qint64 bytes = count * bytesPerSample;
    return bytes <= maximumPadding || device.isSequential() ||
           bytes - (device.size() - device.pos()) <= maximumPadding;
}

/// Makes the block ready for `count` samples. When samples are readable already and this is not the
/// main thread, they stay as they are and only what is missing behind them is loaded, if anything
/// (`first` is then -1). Returns nothing when the memory is refused.
std::optional<SampleLoader::Target> SampleLoader::prepare(qint64 count)
{
    const nel::tools::Locker lock(m_array.m_memoryLock);
    StreamedArrayState& state = StreamedArrayAccess::state(m_array);
    const qint64 loaded = m_array.m_loadedSize.load();
    // A file that was opened before the array was cleared holds samples that nobody wants any more.
    if (state.pendingLoads.load() > 0 && state.contentOfLoad != state.contentGeneration)
        return Target{SampleBlockUser(nullptr), state.loadGeneration, -1, 0};
    if (loaded > 0 && !CacheThread::isCurrent()) {
        // While the block is filled its size grows at any moment.
        if (state.filling || loaded == m_array.m_size) {
            if (!state.filling && m_array.m_firstIndex.load() == 0 &&
                StreamedArrayAccess::isMissingSamples(m_array))
                state.shortLoads.fetch_add(1);
            return Target{SampleBlockUser(nullptr), state.loadGeneration, -1, 0};
        }
        if (m_array.m_size != count || m_array.m_firstIndex.load() != 0)
            return std::nullopt;
    } else {
        StreamedArrayAccess::stopFilling(m_array);
        if (!isFromCache())
            state.envelope.drop(); // any other device may bring anything
        m_array.m_loadedSize.store(0);
        MemoryMeter::instance().settle(state.account);
        StreamedArrayAccess::replaceSharedBlock(m_array);
        m_array.m_firstIndex.store(0);
        m_array.m_size = 0;
        static_cast<DataArray&>(m_array).resize(count);
        if (m_array.m_size != count) {
            m_array.setReadWriteError(true);
            return std::nullopt;
        }
    }
    state.loading = true;
    MemoryMeter::instance().open(state.account);
    return Target{SampleBlockUser(m_array.m_data), ++state.loadGeneration, m_array.m_loadedSize.load(),
                  state.envelope.extent().generation};
}

/// Reads the samples from `target.first` on, publishing them chunk by chunk. Returns false when the
/// array was emptied meanwhile, so that nobody wants the rest, and when its own file could not be read
/// (`isDelivered` is then false): what stands for the missing samples must not be taken for the content.
template <typename Source>
bool SampleLoader::readChunks(Source& source, const Target& target, qint64 count, bool& isDelivered)
{
    qint64 remaining = count - target.first;
    qint64 chunk = std::min(source.chunk(), remaining);
    const qint64 wakeBytes = std::max(bytesPerSample * remaining / wakeFraction, MINIMUM_WAKE_BYTES);
    qint64 sinceWake = 0;
    bool delivers = target.first == 0 || source.skip(target.first);
    DataTypeBase* destination = target.block.samples() + target.first;
    do {
        const qint64 got = delivers ? source.read({destination, static_cast<std::size_t>(chunk)}) : 0;
        if (got < chunk) {
            // Once the device has failed, what it delivers later would land at the wrong index.
            delivers = false;
            isDelivered = !isFromCache();
            if (!isDelivered) {
                abandon(target.generation);
                return false;
            }
            std::fill(destination + got, destination + chunk, missingSample());
        }
        if (!publish(target.generation, chunk))
            return false;
        if (delivers && isFromCache())
            sumUp(target, destination - target.block.samples(), chunk);
        sinceWake += bytesPerSample * chunk;
        if (sinceWake >= wakeBytes) {
            m_array.m_loadLock.wakeAll();
            sinceWake = 0;
        }
        remaining -= chunk;
        destination += chunk;
        chunk = std::min(chunk, remaining);
    } while (remaining > 0);
    return true;
}

bool SampleLoader::publish(quint64 generation, qint64 samples)
{
    const nel::tools::Locker lock(m_array.m_memoryLock);
    if (StreamedArrayAccess::state(m_array).loadGeneration != generation)
        return false;
    m_array.m_loadedSize.fetch_add(samples);
    return true;
}

/// Ends a load that has failed, with nothing in memory. The block stays: the main thread may be reading
/// from it.
void SampleLoader::abandon(quint64 generation)
{
    const nel::tools::Locker lock(m_array.m_memoryLock);
    StreamedArrayState& state = StreamedArrayAccess::state(m_array);
    if (state.loadGeneration != generation)
        return;
    ++state.loadGeneration;
    state.loading = false;
    m_array.m_loadedSize.store(0);
    m_array.m_size = 0;
    MemoryMeter::instance().settle(state.account);
}

/// Whether it is the cache that loads the array, from the array's own file.
bool SampleLoader::isFromCache() const
{
    return StreamedArrayAccess::state(m_array).pendingLoads.load() > 0;
}

/// Adds samples that were just read to the envelope, as long as they are at hand.
void SampleLoader::sumUp(const Target& target, qint64 first, qint64 count)
{
    const std::span<const DataTypeBase> samples(target.block.samples() + first,
                                                static_cast<std::size_t>(count));
    StreamedArrayAccess::state(m_array).envelope.append(target.envelope, first, samples);
}

void SampleLoader::finish(quint64 generation, qint64 count)
{
    const nel::tools::Locker lock(m_array.m_memoryLock);
    StreamedArrayState& state = StreamedArrayAccess::state(m_array);
    if (state.loadGeneration != generation)
        return;
    state.loading = false;
    state.lastLoadedSize.store(count);
    if (StreamedArrayAccess::isMissingSamples(m_array))
        state.shortLoads.fetch_add(1);
    MemoryMeter::instance().settle(state.account);
    if (count >= m_array.m_realSize.load() - static_cast<qint64>(state.late.size()))
        StreamedArrayAccess::takeLate(m_array);
}

} // namespace vx::datastorage
