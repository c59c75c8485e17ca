#pragma once

#include <datastorage/arrays/DataArrayStreamed_p.h>

class QIODevice;

namespace vx::datastorage {

/// Writes the samples of a streamed array to the body of a cache file.
///
/// Takes hold of the block and the number of its samples when it is made, so that the array may be
/// added to, emptied or moved while it writes.
class SampleWriter
{
public:
    explicit SampleWriter(DataArrayStreamed& array);

    /// Whether the block starts with the array's first sample.
    bool holdsStart() const { return m_held.first == 0; }

    /// Writes count and samples at the device's position, both attempted. Returns whether both took
    /// everything.
    bool writeWhole(QIODevice& device);

    /// Brings the body at the device's position up to date: in batch mode the block's samples are
    /// appended, otherwise those whose index is not yet there; a block with fewer samples than the body
    /// rewrites it. Returns whether everything was written.
    bool update(QIODevice& device);

    /// As update(), for a block that does not hold the whole array: appends those of its samples that
    /// the body does not have and never makes the body shorter.
    bool appendMissing(QIODevice& device);

private:
    struct Body
    {
        qint64 position;
        qint64 count;
    };
    Body readBody(QIODevice& device) const;
    bool append(QIODevice& device, Body body, qint64 newCount, qint64 firstInBlock);
    bool writeCount(QIODevice& device, qint64 count) const;
    bool writeSamples(QIODevice& device, qint64 first, qint64 count) const;

    DataArrayStreamed& m_array;
    StreamedArrayAccess::HeldBlock m_held;
};

} // namespace vx::datastorage
