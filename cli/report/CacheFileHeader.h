#pragma once

#include <QtCore/QString>

#include <cstdint>

class QIODevice;

namespace vx::cli {

/// What stands in front of the samples of a cache file, all little-endian: a magic number and a version of
/// 32 bits each and the number of samples of 64 bits.
struct CacheFileHeader
{
    static constexpr std::uint32_t MAGIC = 0xF83E9FCC;
    static constexpr std::uint32_t VERSION = 2;
    static constexpr qint64 BYTES = 16;
    static constexpr qint64 SAMPLE_BYTES = 4;

    std::uint32_t magic = 0;
    std::uint32_t version = 0;
    qint64 samples = 0;
};

/// Reads the header of an open cache file and checks it against the file's size. False with `error` set to
/// what was expected.
bool readCacheFileHeader(QIODevice& device, CacheFileHeader& header, QString& error);

} // namespace vx::cli
