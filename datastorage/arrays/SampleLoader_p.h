#pragma once

#include <datastorage/arrays/DataArrayStreamed_p.h>

#include <optional>

class QIODevice;

namespace vx::datastorage {

class CacheFileReader;

/// Readers are woken after every 50th of the body or after this many bytes, whichever is more.
inline constexpr qint64 MINIMUM_WAKE_BYTES = qint64{10} * 1024 * 1024;

/// Loads the body of a cache file into a streamed array and releases the readers that wait for it.
class SampleLoader
{
public:
    explicit SampleLoader(DataArrayStreamed& array) : m_array(array) {}

    /// Loads the body at the device's position; see DataArrayStreamed::readFromDiskStream().
    bool load(QIODevice& device);
    /// Loads the samples of a cache file that openCacheFile() has opened.
    bool load(CacheFileReader& file);

private:
    struct Target
    {
        SampleBlockUser block;
        quint64 generation;
        qint64 first;     ///< samples already in memory
        quint64 envelope; ///< generation of the envelope of the file's samples
    };
    template <typename Source>
    bool loadFrom(Source source, qint64 count);
    std::optional<Target> prepare(qint64 count);
    bool isPlausible(const QIODevice& device, qint64 count) const;
    template <typename Source>
    bool readChunks(Source& source, const Target& target, qint64 count, bool& isDelivered);
    void abandon(quint64 generation);
    bool publish(quint64 generation, qint64 samples);
    bool isFromCache() const;
    void sumUp(const Target& target, qint64 first, qint64 count);
    void finish(quint64 generation, qint64 count);

    DataArrayStreamed& m_array;
};

} // namespace vx::datastorage
