#pragma once

#include <datastorage/Export.h>
#include <datastorage/arrays/DataType.h>

#include <archive/ArchiveContext.h>
#include <tools/Mutex.h>

#include <QtCore/QJsonObject>

namespace vx::datastorage {

/// A growable sequence of 32-bit samples in one contiguous block of memory.
///
/// Samples are kept as raw bits; the type (float, int, enumeration) is known to the descriptor that
/// owns the array (DataArrayInfo), through which callers reach the samples. That is why the sample
/// operations are protected.
///
/// The block starts with room for 1024 samples, grows by half of its capacity when the last free slot
/// would be taken (one slot always stays free) and never shrinks. When memory is refused, the samples
/// already held are kept, capacity() claims the size that was asked for, and samples that find no room
/// are dropped; memory is asked for again after some hundred of them, and by every reserve() or resize()
/// that needs it.
///
/// Ownership: owns its block; not copyable.
/// Threads: one thread at a time.
class VXDATASTORAGE_EXPORT DataArray
{
public:
    DataArray();
    virtual ~DataArray();
    DataArray(const DataArray&) = delete;
    DataArray& operator=(const DataArray&) = delete;

    /// A bare array has no JSON form: returns false and reads nothing.
    virtual bool read(const QJsonObject& object, int version, vx::archive::ArchiveContext& context);
    /// A bare array has no JSON form: returns false and leaves `object` untouched.
    virtual bool write(QJsonObject& object, int version, vx::archive::ArchiveContext& context) const;

protected:
    /// Samples that the block can hold.
    virtual qint64 capacity() const;
    /// Samples in use.
    virtual qint64 getSize() const;
    /// Forgets the samples and keeps the block.
    virtual void clear();
    /// Appends one sample, whatever its type: its 32 bits are stored as they are.
    virtual void addSampleFloat(float value);
    virtual void addSample(DataTypeBase value);
    virtual void addSampleInt(int value);
    /// The 32 bits at `index`, as the union, as a float or as an int, without conversion: an int read
    /// as float is its bit pattern. `index` runs from 0 to getSize() - 1; outside the block the quiet
    /// NaN 0x7FC00000.
    virtual DataTypeBase getSample(qint64 index) const;
    virtual float getSampleFloat(qint64 index) const;
    virtual int getSampleInt(qint64 index) const;
    /// Sets the number of samples in use; new ones are undefined. Grows the block to exactly `newSize`
    /// when that does not fit. A negative or absurd size is ignored.
    virtual void resize(qint64 newSize);

    /// Makes room for `count` samples, at least 1024. A negative size asks for the minimum; one whose
    /// bytes cannot be counted is ignored.
    void reserve(qint64 count);
    /// Gives the block back; size and capacity become 0.
    void freeArray();
    /// Appends one sample without virtual dispatch.
    void addSampleInternal(DataTypeBase value)
    {
        if (m_size < m_limit) [[likely]]
            m_data[m_size++] = value;
        else
            growAndAdd(value);
    }

private:
    friend class DataArrayInfo;
    friend class DataArrayStreamed;
    friend class StreamedArrayAccess;
    friend class SampleLoader;

    void growAndAdd(DataTypeBase value);
    bool makeRoom(qint64 used, qint64 extra);
    void growBlock(qint64 used, qint64 target);
    void updateLimit();

    DataTypeBase* m_data = nullptr;                    ///< the block, with m_allocated samples
    qint64 m_size = 0;                                 ///< samples in use
    qint64 m_capacity = 0;                             ///< what capacity() reports
    qint64 m_allocated = 0;                            ///< below m_capacity after a refused growth
    qint64 m_limit = 0;                                ///< below this size a sample is simply stored
    qint64 m_refused = 0;                              ///< samples that found no room, 0 when all did
    qint64 m_retryAfter = 0;                           ///< samples to drop before it is tried again
    nel::tools::RecursiveMutex* m_blockLock = nullptr; ///< held while the block is replaced; may be null
};

} // namespace vx::datastorage
