#pragma once

#include <datastorage/arrays/DataType.h>

#include <QtCore/QString>

#if !defined(Q_OS_UNIX)
#include <QtCore/QFile>
#endif

#include <span>

namespace vx::datastorage {

/// A cache file that is read. What it says is not trusted, unless openCacheFile() has opened it.
///
/// On Unix it is a descriptor: a QFile, its engine and its questions to the system cost more than
/// reading a small file (Residency). Threads: any, one at a time.
class CacheFileReader
{
public:
    CacheFileReader() = default;
    ~CacheFileReader();
    CacheFileReader(const CacheFileReader&) = delete;
    CacheFileReader& operator=(const CacheFileReader&) = delete;

    /// Opens the regular file, or what a link leads to, at `path`; see openRegularFile(). Once only.
    [[nodiscard]] bool open(const QString& path);
    /// Reads what precedes the samples: version() and sampleCount().
    void readHead();

    /// 0 when the file ends before.
    quint32 version() const { return m_version; }
    /// Samples that the file claims to have; -1 when it ends before.
    qint64 sampleCount() const { return m_sampleCount; }
    /// Whether the file is long enough for the samples that it claims to have, and their number is one.
    bool hasRoomForSamples();

    /// Copies the samples from index `first` to before `end`, as far as the file, and `out`, have room
    /// for them; returns how many. Nothing is reported: 0 may be a failure.
    qint64 readSamples(qint64 first, qint64 end, std::span<DataTypeBase> out);

private:
    qint64 readAt(qint64 offset, char* data, qint64 bytes);
    qint64 lengthNow() const;

#if defined(Q_OS_UNIX)
    int m_descriptor = -1;
#else
    QFile m_file;
#endif
    qint64 m_bytes = 0; ///< length of the file when it was last looked at
    quint32 m_version = 0;
    qint64 m_sampleCount = -1;
};

/// Opens a cache file and reads its head; returns the text of what is wrong with it, empty when nothing
/// is: then it has as many samples as it claims to have.
QString openCacheFile(CacheFileReader& file, const QString& fileName);

/// What is reported of a cache file whose samples cannot be read.
QString cacheFileReadError(const QString& fileName);

/// Samples that the length of a cache file has room for, whatever its count says; 0 when there is no
/// regular file.
qint64 samplesByLength(const QString& fileName);

} // namespace vx::datastorage
