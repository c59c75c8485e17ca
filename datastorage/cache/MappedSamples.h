#pragma once

#include <datastorage/Export.h>
#include <datastorage/arrays/DataType.h>

#include <QtCore/QtEndian>
#include <QtCore/QtGlobal>

#include <atomic>
#include <cstdint>

namespace vx::datastorage {

/// What a sample reads as that cannot be had: a quiet NaN as a float, 2143289344 as an int.
inline constexpr std::int32_t MISSING_SAMPLE_BITS = 0x7FC00000;

/// Where the samples of the mapped cache files lie, one row per mapping id. Use CacheReadManager; this
/// part of it stands in a header so that a look-up costs no call into the library.
///
/// Threads: the library's main thread writes rows. Any thread reads a row at any time while other rows
/// change and while rows are added; rows never move, and nothing is locked. A row may be written while it is
/// read, too, with one exception that the owner of the mapping has to rule out: nobody may read a row whose
/// memory is being unmapped.
class VXDATASTORAGE_EXPORT MappedSamples
{
public:
    /// One mapping.
    struct Row
    {
        std::atomic<const uchar*> samples{nullptr};   ///< the first sample; written before `count`
        std::atomic<quint64> count{0};                ///< readable samples; 0 when nothing is mapped
        std::atomic<quint64> mappedBytes{0};          ///< length of the mapping from `samples` on
        std::atomic<std::int32_t> fileDescriptor{-1}; ///< the system's number of the mapped file
        std::atomic<quint32> changes{0}; ///< goes up by two with each mapping; odd while it changes
    };

    /// The row of `id`, which never moves; an empty one that no id has for an id without a row, a negative
    /// one included.
    static const Row& rowOf(int id)
    {
        // A negative id becomes a position behind all rows.
        const auto position = static_cast<quint32>(id);
        if (position < FIRST_ROWS) [[likely]]
            return s_firstRows[position];
        return furtherRowOf(position);
    }

    /// The 32 bits of sample `index` of mapping `id`; MISSING_SAMPLE_BITS for an index outside the
    /// mapping, for an id without one and for an id out of range. Two compares and three loads.
    static DataTypeBase read(int id, qint64 index) { return readRow(rowOf(id), index); }

    /// Whether `id` has one of the first rows, which readFirst() takes; a negative id has not.
    static bool isFirst(qint64 id) { return static_cast<quint64>(id) < FIRST_ROWS; }

    /// As read(), for an id with isFirst(), which then is the only question: look-ups in order take a sixth
    /// less time than with one question for no mapping and another for the row (DirectSample).
    static DataTypeBase readFirst(qint64 id, qint64 index) { return readRow(s_firstRows[id], index); }

private:
    friend class MappedSampleTable;

    static DataTypeBase readRow(const Row& row, qint64 index)
    {
        DataTypeBase sample{.intValue = MISSING_SAMPLE_BITS};
        const auto position = static_cast<quint64>(index); // a negative index is beyond every count
        if (position < row.count.load(std::memory_order_acquire)) [[likely]] {
            const uchar* const samples = row.samples.load(std::memory_order_relaxed);
            sample.intValue = qFromLittleEndian<std::int32_t>(samples + position * sizeof(DataTypeBase));
        }
        return sample;
    }

    /// Ids below this one need no search; few programs have more files mapped at a time.
    static constexpr quint32 FIRST_ROWS = 1024;

    static const Row& furtherRowOf(quint32 position);

    static Row s_firstRows[FIRST_ROWS];
};

} // namespace vx::datastorage
