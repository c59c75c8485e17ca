#include <datastorage/cache/MappedSampleTable_p.h>

#include <new>

namespace vx::datastorage {

namespace {

/// Begins and ends a change of the fields that belong together.
class RowChange
{
public:
    explicit RowChange(MappedSampleTable::Row& row) : m_row(row) { m_row.changes.fetch_add(1); }
    ~RowChange() { m_row.changes.fetch_add(1); }
    RowChange(const RowChange&) = delete;
    RowChange& operator=(const RowChange&) = delete;

private:
    MappedSampleTable::Row& m_row;
};

} // namespace

constinit std::array<std::atomic<MappedSampleTable::Row*>, MappedSampleTable::CHUNKS>
    MappedSampleTable::s_chunks{};

bool MappedSampleTable::reserve(int id)
{
    if (id < 0)
        return false;
    const int last = chunkOf(quint64{static_cast<quint32>(id)} + FIRST_CHUNK_ROWS);
    for (int chunk = 0; chunk <= last; ++chunk) {
        std::atomic<Row*>& rows = s_chunks[static_cast<std::size_t>(chunk)];
        if (rows.load(std::memory_order_relaxed) != nullptr)
            continue;
        auto* const made = new (std::nothrow) Row[FIRST_CHUNK_ROWS << chunk];
        if (made == nullptr)
            return false;
        rows.store(made, std::memory_order_release);
    }
    return true;
}

void MappedSampleTable::publish(int id, const uchar* samples, qint64 count, int fileDescriptor)
{
    Row* const row = findRow(id);
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
    Row* const row = findRow(id);
    if (row == nullptr)
        return;
    row->count.store(0);
    const RowChange change(*row);
    row->samples.store(nullptr);
    row->mappedBytes.store(0);
    row->fileDescriptor.store(-1);
}

} // namespace vx::datastorage
