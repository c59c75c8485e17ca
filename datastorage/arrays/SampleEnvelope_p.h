#pragma once

#include <datastorage/arrays/Envelope.h>
#include <datastorage/arrays/EnvelopeRange_p.h>

#include <QtCore/qglobal.h>

#include <algorithm>
#include <cstddef>
#include <span>
#include <vector>

namespace vx::datastorage {

/// `range` over `count` samples from index `first` on, as a column.
EnvelopeColumn envelopeColumn(const EnvelopeRange& range, SampleKind kind, qint64 first, qint64 count);

/// Samples that an envelope sums up in its finest blocks.
inline constexpr qint64 ENVELOPE_LEAF = 256;

/// Where the columns of an envelope begin and end.
///
/// Columns are as wide as each other, to within one sample. When they have at least ENVELOPE_LEAF
/// samples, the edges between them are moved to the nearest multiple of it.
class EnvelopeEdges
{
public:
    /// At most `columns` columns over the samples from `first` to `last` - 1.
    EnvelopeEdges(qint64 first, qint64 last, int columns)
        : m_first(first),
          m_last(std::max(first, last)),
          m_columns(std::clamp<qint64>(columns, 0, m_last - m_first)),
          m_isSnapped(m_columns > 0 && (m_last - m_first) / m_columns >= ENVELOPE_LEAF)
    {}

    qint64 columns() const { return m_columns; }
    bool isSnapped() const { return m_isSnapped; }
    /// The first sample of column `index`, 0 to columns(); that of columns() is the end.
    qint64 operator[](qint64 index) const
    {
        if (index <= 0)
            return m_first;
        if (index >= m_columns)
            return m_last;
        const qint64 wide = (m_last - m_first) / m_columns;
        const qint64 rest = (m_last - m_first) % m_columns;
        const qint64 edge = m_first + index * wide + index * rest / m_columns;
        return m_isSnapped ? (edge + ENVELOPE_LEAF / 2) / ENVELOPE_LEAF * ENVELOPE_LEAF : edge;
    }

private:
    qint64 m_first;
    qint64 m_last;
    qint64 m_columns;
    bool m_isSnapped;
};

/// A pyramid of ranges over the samples of an array: blocks of ENVELOPE_LEAF samples, and blocks of 16
/// blocks above, up to the top. It takes about 1 %, at most 2.3 %, of the bytes of the samples.
///
/// Threads: one at a time; questions alone, any number.
class SampleEnvelope
{
public:
    explicit SampleEnvelope(SampleKind kind = SampleKind::Float) : m_kind(kind) {}

    SampleKind kind() const { return m_kind; }
    /// Samples that it sums up, from index 0.
    qint64 size() const { return m_size; }
    /// Sums up more samples, those from size() on. Returns false when memory is refused: then those from
    /// the new size() on are not summed up, and may be appended again.
    bool append(std::span<const DataTypeBase> samples) noexcept;
    /// As append(), and copies all samples to `to` in the same pass, refused or not. Returns their range.
    EnvelopeRange appendCopied(std::span<const DataTypeBase> samples, DataTypeBase* to) noexcept;
    /// The range of the samples from `first` to `last` - 1. Both are multiples of ENVELOPE_LEAF; `last`
    /// may also be size().
    EnvelopeRange range(qint64 first, qint64 last) const;
    /// Bytes that it has taken from the heap.
    qint64 bytes() const;

private:
    using Level = std::vector<EnvelopeRange>;

    std::size_t roomInLeaf() const
    {
        return static_cast<std::size_t>(ENVELOPE_LEAF - m_size % ENVELOPE_LEAF);
    }
    bool makeRoomFor(std::size_t samples) noexcept;
    void include(const EnvelopeRange& range, std::size_t samples) noexcept;
    bool makeRoomForLeaf() noexcept;
    void addLeaf(const EnvelopeRange& leaf) noexcept;
    EnvelopeRange leaf(std::size_t index) const
    {
        return {m_minimum[index], m_maximum[index], m_missing[index]};
    }
    /// Block `index` of a level; level 0 are the leaves.
    EnvelopeRange block(std::size_t level, std::size_t index) const
    {
        return level == 0 ? leaf(index) : m_levels[level - 1][index];
    }

    SampleKind m_kind;
    qint64 m_size = 0;
    std::vector<qint32> m_minimum; ///< of each leaf that is full
    std::vector<qint32> m_maximum;
    std::vector<quint16> m_missing;
    std::vector<Level> m_levels; ///< above the leaves
    EnvelopeRange m_last;        ///< of the leaf that is not full
};

} // namespace vx::datastorage
