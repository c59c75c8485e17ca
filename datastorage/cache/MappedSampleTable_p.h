#pragma once

#include <datastorage/arrays/DataType.h>

#include <QtCore/QtEndian>
#include <QtCore/QtGlobal>

#include <array>
#include <atomic>
#include <bit>
#include <cstdint>

namespace vx::datastorage {

/// What a sample reads as that cannot be had: a quiet NaN as a float, 2143289344 as an int.
inline constexpr std::int32_t MISSING_SAMPLE_BITS = 0x7FC00000;

/// Where the samples of the mapped cache files lie, one row per mapping id.
///
/// Threads: one thread writes rows. Any thread reads a row at any time while other rows change, since
/// rows never move and nothing is locked. A row may be written while it is read, too, with one
/// exception that the owner of the mapping has to rule out: nobody may read a row whose memory is
/// being unmapped.
class MappedSampleTable
{
public:
    struct Row
    {
        std::atomic<const uchar*> samples{nullptr}; ///< the first sample; written before `count`
        std::atomic<quint64> count{0};              ///< readable samples; 0 when nothing is mapped
        std::atomic<quint64> mappedBytes{0};        ///< length of the mapping from `samples` on
        std::atomic<std::int32_t> fileDescriptor{-1};
        std::atomic<quint32> changes{0}; ///< goes up by two with each mapping; odd while it changes
    };

    /// The row of `id`; null for an id that no row was made for, a negative one included.
    static const Row* find(int id) { return findRow(id); }

    /// Makes rows up to that of `id`, 0 or more. False without memory for them.
    [[nodiscard]] static bool reserve(int id);

    /// Publishes a mapping in the row of `id`, which reserve() has made.
    static void publish(int id, const uchar* samples, qint64 count, int fileDescriptor);

    /// Empties the row of `id`. To be called before the memory is unmapped.
    static void withdraw(int id);

    /// Calls `visit` with the row of every id from 0 on that has one, until it returns true; says
    /// whether it did. Takes no lock and allocates nothing, so it may be used in a signal handler.
    template <typename Visitor>
    static bool findIf(const Visitor& visit)
    {
        for (int chunk = 0; chunk < CHUNKS; ++chunk) {
            Row* const rows = s_chunks[static_cast<std::size_t>(chunk)].load(std::memory_order_acquire);
            if (rows == nullptr)
                return false;
            for (quint64 position = 0; position < (FIRST_CHUNK_ROWS << chunk); ++position) {
                if (visit(rows[position]))
                    return true;
            }
        }
        return false;
    }

private:
    /// Chunk k holds FIRST_CHUNK_ROWS << k rows. Chunks are made as ids grow and never go away.
    static constexpr quint64 FIRST_CHUNK_ROWS = 1024;
    static constexpr int CHUNKS = 23; // one more than all non-negative ids need

    static constexpr int chunkOf(quint64 position)
    {
        return std::countl_zero(FIRST_CHUNK_ROWS) - std::countl_zero(position);
    }

    static Row* findRow(int id)
    {
        // A negative id becomes a position behind all chunks that are ever made.
        const quint64 position = quint64{static_cast<quint32>(id)} + FIRST_CHUNK_ROWS;
        const int chunk = chunkOf(position);
        Row* const rows = s_chunks[static_cast<std::size_t>(chunk)].load(std::memory_order_acquire);
        return rows == nullptr ? nullptr : rows + (position - (FIRST_CHUNK_ROWS << chunk));
    }

    static std::array<std::atomic<Row*>, CHUNKS> s_chunks;
};

/// The 32 bits of sample `index` of mapping `id`; MISSING_SAMPLE_BITS for an index outside the mapping,
/// for an id without one and for an id out of range. A row look-up, one unsigned compare and the read
/// itself.
inline DataTypeBase mappedSample(int id, qint64 index)
{
    DataTypeBase sample{.intValue = MISSING_SAMPLE_BITS};
    const MappedSampleTable::Row* const row = MappedSampleTable::find(id);
    const auto position = static_cast<quint64>(index); // a negative index is beyond every count
    if (row != nullptr && position < row->count.load(std::memory_order_acquire)) {
        const uchar* const samples = row->samples.load(std::memory_order_relaxed);
        sample.intValue = qFromLittleEndian<std::int32_t>(samples + position * sizeof(DataTypeBase));
    }
    return sample;
}

} // namespace vx::datastorage
