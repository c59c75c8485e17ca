#pragma once

#include <datastorage/Export.h>
#include <datastorage/arrays/DataType.h>

#include <QtCore/qglobal.h>

#include <memory>
#include <span>

namespace vx::datastorage {

class DataArrayInfoStreamed;

/// A view of a range of samples that keeps its array in memory while it lives.
///
/// Got from DataArrayInfoStreamed::pin(). While at least one view of an array lives, the cache does not
/// evict the array, even over budget; CacheStatistics::pinnedBytes tells how much that is. The samples
/// of the view stay as they were when it was made: adding to, clearing or destroying the array does
/// not touch them.
///
/// Movable, not copyable. An empty view pins nothing.
/// Threads: the view may be read by any thread; made, moved and destroyed by one at a time.
class VXDATASTORAGE_EXPORT PinnedSamples
{
public:
    /// An empty view; a view is moved with its pin, which leaves the source empty.
    PinnedSamples();
    ~PinnedSamples();
    PinnedSamples(PinnedSamples&& other) noexcept;
    PinnedSamples& operator=(PinnedSamples&& other) noexcept;
    PinnedSamples(const PinnedSamples&) = delete;
    PinnedSamples& operator=(const PinnedSamples&) = delete;

    /// Whether there is no sample in the view.
    bool isEmpty() const { return m_count == 0; }
    /// Index in the array of the view's first sample.
    qint64 first() const { return m_first; }
    /// Samples in the view.
    qint64 count() const { return m_count; }

    /// The samples of a Float array, or of an Int or Enum array: the same 32 bits each.
    std::span<const float> floats() const;
    std::span<const int> ints() const;

private:
    friend class StreamedArrayAccess;
    struct Pin;

    std::unique_ptr<Pin> m_pin;
    const DataTypeBase* m_samples = nullptr;
    qint64 m_first = 0;
    qint64 m_count = 0;
};

} // namespace vx::datastorage
