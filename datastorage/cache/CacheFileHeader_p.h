#pragma once

#include <QtCore/QtGlobal>

#include <optional>
#include <span>

class QIODevice;

namespace vx::datastorage {

/// First four bytes of a cache file, as a little-endian number: CC 9F 3E F8.
inline constexpr quint32 CACHE_FILE_MAGIC = 0xF83E9FCC;
/// The version that this library writes, in the four bytes that follow the magic.
inline constexpr quint32 CACHE_FILE_VERSION = 2;
/// Length of magic and version in bytes; the body follows.
inline constexpr qint64 CACHE_FILE_HEADER_BYTES = 8;
/// Offset of the first sample: header, then the sample count (eight bytes), then the samples.
inline constexpr qint64 CACHE_FILE_SAMPLES_OFFSET = CACHE_FILE_HEADER_BYTES + 8;

/// Writes magic and version at the device's position. False when not all of it was written.
bool writeCacheFileHeader(QIODevice& device);

/// Reads magic and version at the device's position and returns the version; nothing when the device
/// delivers less than the whole header. The magic is not looked at: tasks tell files apart by their
/// version alone.
[[nodiscard]] std::optional<quint32> readCacheFileVersion(QIODevice& device);

/// The version in the bytes of a header, whatever the magic.
[[nodiscard]] quint32 cacheFileVersion(std::span<const char, CACHE_FILE_HEADER_BYTES> header);

/// Reads magic and version and says whether both are exactly those of writeCacheFileHeader(): whoever
/// maps a file gets no second chance to notice that it is foreign.
[[nodiscard]] bool readCurrentCacheFileHeader(QIODevice& device);

} // namespace vx::datastorage
