#include <datastorage/cache/CacheFileSamples_p.h>

#include <datastorage/cache/CacheFileHeader_p.h>
#include <datastorage/cache/RegularFile_p.h>

#include <QtCore/QFile>
#include <QtCore/QtEndian>

#include <algorithm>

namespace vx::datastorage {

namespace {

constexpr auto bytesPerSample = static_cast<qint64>(sizeof(DataTypeBase));

qint64 samplesIn(qint64 fileBytes)
{
    return std::max<qint64>(fileBytes - CACHE_FILE_SAMPLES_OFFSET, 0) / bytesPerSample;
}

} // namespace

QString cacheFileReadError(const QString& fileName)
{
    return QLatin1String("CacheTaskRead::run ERROR !\nError while reading data from ") + fileName;
}

qint64 samplesByLength(const QFile& file)
{
    return samplesIn(file.size());
}

qint64 samplesByLength(const QString& fileName)
{
    return samplesIn(regularFileBytes(fileName));
}

std::optional<qint64> readSampleCount(QFile& file)
{
    qint64 stored = 0;
    if (file.read(reinterpret_cast<char*>(&stored), sizeof stored) != sizeof stored)
        return std::nullopt;
    return qFromLittleEndian(stored);
}

qint64 readSamplesAt(QFile& file, qint64 inFile, qint64 first, std::span<DataTypeBase> out)
{
    if (first >= inFile)
        return 0;
    const qint64 bytes = std::min(inFile - first, static_cast<qint64>(out.size())) * bytesPerSample;
    if (bytes == 0 || !file.seek(CACHE_FILE_SAMPLES_OFFSET + first * bytesPerSample))
        return 0;
    return std::max<qint64>(file.read(reinterpret_cast<char*>(out.data()), bytes), 0) / bytesPerSample;
}

} // namespace vx::datastorage
