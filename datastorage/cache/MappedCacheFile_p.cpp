#include <datastorage/cache/MappedCacheFile_p.h>

#include <datastorage/arrays/DataType.h>
#include <datastorage/cache/CacheFileHeader_p.h>
#include <datastorage/cache/RegularFile_p.h>

#include <QtCore/QtEndian>

#include <array>

namespace vx::datastorage {

namespace {

constexpr qint64 SAMPLE_BYTES = sizeof(DataTypeBase);
constexpr qint64 COUNT_BYTES = CACHE_FILE_SAMPLES_OFFSET - CACHE_FILE_HEADER_BYTES;

} // namespace

bool MappedCacheFile::open(const QString& path)
{
    close();
    // Sixteen bytes are read; a buffer would stay with the file as long as it is mapped.
    if (!openRegularFile(m_file, path, QIODevice::Unbuffered))
        return false;
    if (readCurrentCacheFileHeader(m_file) && readSampleCount())
        m_samples = m_file.map(CACHE_FILE_SAMPLES_OFFSET, m_sampleCount * SAMPLE_BYTES);
    if (m_samples == nullptr)
        close();
    return m_samples != nullptr;
}

bool MappedCacheFile::readSampleCount()
{
    std::array<char, COUNT_BYTES> bytes{};
    if (m_file.read(bytes.data(), COUNT_BYTES) != COUNT_BYTES)
        return false;
    m_sampleCount = qFromLittleEndian<qint64>(bytes.data());
    // Compared by division: four times a hostile count may not fit 64 bits.
    return m_sampleCount >= 0 && m_sampleCount <= (m_file.size() - CACHE_FILE_SAMPLES_OFFSET) / SAMPLE_BYTES;
}

void MappedCacheFile::close()
{
    if (m_samples != nullptr)
        m_file.unmap(m_samples);
    m_samples = nullptr;
    m_sampleCount = 0;
    m_file.close();
}

} // namespace vx::datastorage
