#pragma once

#include <QtCore/QFile>
#include <QtCore/QString>

namespace vx::datastorage {

/// The samples of one cache file, mapped read-only. The file stays open while it is mapped.
class MappedCacheFile
{
public:
    MappedCacheFile() = default;
    ~MappedCacheFile() { close(); }
    MappedCacheFile(const MappedCacheFile&) = delete;
    MappedCacheFile& operator=(const MappedCacheFile&) = delete;

    /// Maps the samples of the cache file `path` in place of what was mapped before. False, with
    /// nothing mapped and the file closed, when it is no regular file, cannot be opened or mapped, has
    /// another magic or version than this library writes, or is shorter than its sample count says.
    [[nodiscard]] bool open(const QString& path);

    /// Unmaps the samples and closes the file.
    void close();

    /// The first sample, four little-endian bytes each; null when nothing is mapped.
    const uchar* samples() const { return m_samples; }

    /// Samples in the file when it was mapped.
    qint64 sampleCount() const { return m_sampleCount; }

    /// The system's number of the open file, -1 when none is.
    int fileDescriptor() const { return m_file.handle(); }

private:
    bool readSampleCount();

    QFile m_file;
    uchar* m_samples = nullptr;
    qint64 m_sampleCount = 0;
};

} // namespace vx::datastorage
