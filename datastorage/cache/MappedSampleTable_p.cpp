#include <datastorage/cache/MappedSampleTable_p.h>

#include <new>

namespace vx::datastorage {

namespace {

using Row = MappedSamples::Row;

/// What every id without a row finds.
constinit const Row noRow;

/// Begins and ends a change of the fields that belong together.
class RowChange
{
public:
    explicit RowChange(Row& row) : m_row(row) { m_row.changes.fetch_add(1); }
    ~RowChange() { m_row.changes.fetch_add(1); }
    RowChange(const RowChange&) = delete;
    RowChange& operator=(const RowChange&) = delete;

private:
    Row& m_row;
};

} // namespace

constinit Row MappedSamples::s_firstRows[FIRST_ROWS];

constinit std::array<std::atomic<Row*>, MappedSampleTable::CHUNKS> MappedSampleTable::s_chunks{
    MappedSamples::s_firstRows};

const Row& MappedSamples::furtherRowOf(quint32 position)
{
    const Row* const row = MappedSampleTable::findAt(position);
    return row == nullptr ? noRow : *row;
}

Row* MappedSampleTable::findAt(quint32 position)
{
    const int chunk = chunkOf(position);
    Row* const rows = s_chunks[static_cast<std::size_t>(chunk)].load(std::memory_order_acquire);
    return rows == nullptr ? nullptr : rows + (position + rowsOf(0) - rowsOf(chunk));
}

bool MappedSampleTable::reserve(int id)
{
    if (id < 0)
        return false;
    for (int chunk = 0; chunk <= chunkOf(static_cast<quint32>(id)); ++chunk) {
        std::atomic<Row*>& rows = s_chunks[static_cast<std::size_t>(chunk)];
        if (rows.load(std::memory_order_relaxed) != nullptr)
            continue;
        auto* const made = new (std::nothrow) Row[rowsOf(chunk)];
        if (made == nullptr)
            return false;
        rows.store(made, std::memory_order_release);
    }
    return true;
}

void MappedSampleTable::publish(int id, const uchar* samples, qint64 count, int fileDescriptor)
{
    Row* const row = find(id);
    Q_ASSERT(row != nullptr && row->count.load() == 0);
    {
        const RowChange change(*row);
        row->samples.store(samples);
        row->mappedBytes.store(static_cast<quint64>(count) * sizeof(DataTypeBase));
        row->fileDescriptor.store(fileDescriptor);
    }
    row->count.store(static_cast<quint64>(count));
}

void MappedSampleTable::withdraw(int id)
{
    Row* const row = find(id);
    if (row == nullptr)
        return;
    row->count.store(0);
    const RowChange change(*row);
    row->samples.store(nullptr);
    row->mappedBytes.store(0);
    row->fileDescriptor.store(-1);
}

} // namespace vx::datastorage
