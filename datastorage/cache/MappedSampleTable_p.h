#pragma once

#include <datastorage/cache/MappedSamples.h>

#include <algorithm>
#include <array>
#include <bit>

namespace vx::datastorage {

/// The writing side of MappedSamples.
///
/// Threads: one, except findIf() and findAt().
class MappedSampleTable
{
public:
    using Row = MappedSamples::Row;

    /// Makes rows up to that of `id`, 0 or more. False without memory for them.
    [[nodiscard]] static bool reserve(int id);

    /// Publishes a mapping in the row of `id`, which reserve() has made and which is empty.
    static void publish(int id, const uchar* samples, qint64 count, int fileDescriptor);

    /// Empties the row of `id`. To be called before the memory is unmapped.
    static void withdraw(int id);

    /// Calls `visit` with the rows of the ids from 0 on until it returns true; says whether it did.
    /// Takes no lock and allocates nothing, so it may be used in a signal handler, on any thread.
    template <typename Visitor>
    static bool findIf(const Visitor& visit)
    {
        for (int chunk = 0; chunk < CHUNKS; ++chunk) {
            Row* const rows = s_chunks[static_cast<std::size_t>(chunk)].load(std::memory_order_acquire);
            if (rows == nullptr)
                return false;
            if (std::any_of(rows, rows + rowsOf(chunk), visit))
                return true;
        }
        return false;
    }

    /// The row of `id`; null when it has none.
    static Row* find(int id) { return findAt(static_cast<quint32>(id)); }

    /// The row at a position: that of the id with these bits.
    static Row* findAt(quint32 position);

private:
    /// Chunk 0 are the first rows; each further one, made when it is needed, has twice as many as the one
    /// before.
    static constexpr int CHUNKS = 23; // one more than all non-negative ids need

    static constexpr quint64 rowsOf(int chunk) { return quint64{MappedSamples::FIRST_ROWS} << chunk; }

    /// The chunk of a position. The chunks before it have rowsOf(chunk) - FIRST_ROWS rows together.
    static constexpr int chunkOf(quint32 position)
    {
        constexpr quint64 first = MappedSamples::FIRST_ROWS;
        return std::countl_zero(first) - std::countl_zero(position + first);
    }

    static std::array<std::atomic<Row*>, CHUNKS> s_chunks;
};

} // namespace vx::datastorage
