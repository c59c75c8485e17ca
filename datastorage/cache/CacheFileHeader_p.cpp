#include <datastorage/cache/CacheFileHeader_p.h>

#include <QtCore/QIODevice>
#include <QtCore/QtEndian>

#include <array>

namespace vx::datastorage {

namespace {

using HeaderBytes = std::array<char, CACHE_FILE_HEADER_BYTES>;

constexpr std::size_t VERSION_OFFSET = sizeof(CACHE_FILE_MAGIC);

std::optional<HeaderBytes> readHeaderBytes(QIODevice& device)
{
    HeaderBytes bytes{};
    if (device.read(bytes.data(), CACHE_FILE_HEADER_BYTES) != CACHE_FILE_HEADER_BYTES)
        return std::nullopt;
    return bytes;
}

} // namespace

bool writeCacheFileHeader(QIODevice& device)
{
    HeaderBytes bytes{};
    qToLittleEndian(CACHE_FILE_MAGIC, bytes.data());
    qToLittleEndian(CACHE_FILE_VERSION, bytes.data() + VERSION_OFFSET);
    return device.write(bytes.data(), CACHE_FILE_HEADER_BYTES) == CACHE_FILE_HEADER_BYTES;
}

std::optional<quint32> readCacheFileVersion(QIODevice& device)
{
    const std::optional<HeaderBytes> bytes = readHeaderBytes(device);
    if (!bytes)
        return std::nullopt;
    return cacheFileVersion(*bytes);
}

quint32 cacheFileVersion(std::span<const char, CACHE_FILE_HEADER_BYTES> header)
{
    return qFromLittleEndian<quint32>(header.data() + VERSION_OFFSET);
}

bool readCurrentCacheFileHeader(QIODevice& device)
{
    const std::optional<HeaderBytes> bytes = readHeaderBytes(device);
    return bytes && qFromLittleEndian<quint32>(bytes->data()) == CACHE_FILE_MAGIC &&
           cacheFileVersion(*bytes) == CACHE_FILE_VERSION;
}

} // namespace vx::datastorage
