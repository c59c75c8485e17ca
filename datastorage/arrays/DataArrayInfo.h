#pragma once

#include <datastorage/Export.h>
#include <datastorage/arrays/DataArray.h>
#include <datastorage/arrays/DataType.h>
#include <datastorage/arrays/Envelope.h>
#include <datastorage/units/PhysicalParameter.h>
#include <datastorage/units/UsualUnit.h>

#include <archive/ArchiveContext.h>

#include <QtCore/QJsonObject>
#include <QtCore/QString>

#include <memory>
#include <span>
#include <vector>

namespace vx::datastorage {

/// Describes one measured quantity and holds its samples: name, physical parameter, sample type, unit,
/// the stream set it came from, and the running minimum and maximum.
///
/// Construct it, call createDataArray() once, add samples. Before createDataArray() the sample
/// operations answer neutrally: no samples, size and capacity 0, the quiet NaN 0x7FC00000 for a sample.
///
/// Minimum and maximum only grow outward while samples are added and start over with clear(); they are
/// in the unit of the samples. Before the first sample the minimum is the largest finite float and the
/// maximum its negation.
///
/// Ownership: owns its sample array. A copy shares the array of its source; the last one frees it.
/// Threads: one thread at a time; DataArrayInfoStreamed says what else it allows.
class VXDATASTORAGE_EXPORT DataArrayInfo
{
public:
    /// A nameless float array without a parameter and unit.
    DataArrayInfo();
    DataArrayInfo(const QString& name, const PhysicalParameter& physicalParameter, const DataType& dataType,
                  const UsualUnit& dataUnit);
    DataArrayInfo(const DataArrayInfo&) = default;
    DataArrayInfo& operator=(const DataArrayInfo&) = default;
    virtual ~DataArrayInfo();

    /// Gives the descriptor a new, empty sample array. Called once by the owner after construction; a
    /// second call replaces the array, which is freed when no copy of the descriptor shares it.
    virtual void createDataArray();

    /// What the array measures: its name and its physical parameter, and how its samples are read.
    virtual void setName(const QString& name);
    virtual QString getName() const;
    virtual const PhysicalParameter& getPhysicalParameter() const;
    virtual void setPhysicalParameter(const PhysicalParameter& physicalParameter);
    virtual DataType getDataType() const;
    /// Changes what the samples are taken for; samples already held are not touched.
    virtual void setDataType(DataType dataType);
    virtual const UsualUnit& getDataUnit() const;
    virtual void setDataUnit(const UsualUnit& dataUnit);

    /// The sample at `index`, 0 to getSize() - 1: its 32 bits as a union, as an int or as a float,
    /// without conversion.
    virtual DataTypeBase getSample(qint64 index) const;
    virtual int getSampleInt(qint64 index) const;
    virtual float getSampleFloat(qint64 index) const;

    /// Announces a run of additions. Does nothing here.
    virtual void startAddingData();
    /// Ends a run of additions. Does nothing here; a streamed descriptor files the array in the disk
    /// cache under `key`, the path of the data source that it comes from.
    virtual void endAddingData(const QString& key);
    /// Appends a float. A NaN marks a missing sample: it is stored, but never enters the minimum or
    /// maximum.
    virtual void addSampleFloat(float value);
    /// Appends an int. 2143289344 (the bits of the quiet NaN) marks a missing sample: it is stored, but
    /// never enters the minimum or maximum.
    virtual void addSampleInt(int value);
    /// Appends `value` as a float when the data type is Float, as an int otherwise.
    virtual void addSample(DataTypeBase value);
    /// Forgets all samples, the minimum and the maximum.
    virtual void clear();

    /// The set of streams that the array comes from; 0 by default.
    virtual unsigned int getStreamSetIdentifier() const;
    virtual void setStreamSetIdentifier(unsigned int identifier);

    /// The smallest and the largest sample since the last clear(), missing values aside; without samples
    /// the largest finite float and its negation.
    virtual float getMin() const;
    virtual float getMax() const;
    /// Makes room in memory for `count` samples.
    virtual void reserve(qint64 count);
    /// Samples that the memory block can hold.
    virtual qint64 capacity() const;
    /// Samples of the array.
    virtual qint64 getSize() const;

    /// Takes the description (not the samples) from `object`. A missing or wrongly typed member reads
    /// as empty or 0. Returns false when the unit is refused; name, parameter and type are then
    /// already taken over and the rest is unchanged.
    virtual bool read(const QJsonObject& object, int version, vx::archive::ArchiveContext& context);
    /// Writes the description (not the samples) into `object`. Always returns true.
    virtual bool write(QJsonObject& object, int version, vx::archive::ArchiveContext& context) const;
    /// Starts the array over. Does nothing here.
    virtual void restart();

    /// Appends `samples` in order, exactly as one addSampleFloat() or addSampleInt() for each would,
    /// and as fast as a copy. A class that overrides the single calls gets one call per sample.
    void addSamples(std::span<const float> samples);
    void addSamples(std::span<const int> samples);

    /// Copies the samples from `first` on into `out` and returns how many there were, at most
    /// out.size(); 0 when `first` is outside 0 to getSize() - 1. The 32 bits are copied as they are:
    /// ints come back whole. A streamed array is brought into memory when it has to be; when that
    /// fails the count is short.
    qint64 readSamples(qint64 first, std::span<float> out) const;
    qint64 readSamples(qint64 first, std::span<int> out) const;

    /// What a plot of the samples from `first` to `last` - 1 (clipped to 0 to getSize()) shows in at most
    /// `columns` columns: in order, without gaps or overlaps, each of at least one sample. No column when
    /// there is no sample, `columns` is below 1 or there is no memory for the columns.
    ///
    /// Columns are as wide as each other, to within one sample. When they would have 256 samples or more,
    /// the edges between them are moved to the nearest multiple of 256 from the array's start; the outer
    /// ones stay. What a column says is exact for the samples between its edges.
    ///
    /// The samples are taken as the data type says: as floats, or as ints for Int and Enum.
    /// DataArrayInfoStreamed says what happens when they are not in memory; here they are all looked at.
    std::vector<EnvelopeColumn> envelope(qint64 first, qint64 last, int columns) const;

protected:
    /// The sample array; null before createDataArray().
    const std::shared_ptr<DataArray>& dataArray() const { return m_dataArray; }
    void setDataArray(std::shared_ptr<DataArray> array);
    /// Widens minimum and maximum by one sample, by the rules of addSampleFloat() and addSampleInt().
    void includeInRange(float value)
    {
        if (m_minValue > value)
            m_minValue = value;
        if (value > m_maxValue)
            m_maxValue = value;
    }
    /// As above.
    void includeInRange(int value)
    {
        if (value != missingInt) [[likely]]
            includeInRange(static_cast<float>(value));
    }

private:
    friend class StreamedArrayAccess;

    static constexpr int missingInt = 0x7FC00000;

    template <typename Sample>
    void addBlock(std::span<const Sample> samples);
    bool usesOwnAdditions() const;
    void resetRange();

    QString m_name;
    PhysicalParameter m_physicalParameter;
    DataType m_dataType;
    UsualUnit m_dataUnit;
    unsigned int m_streamSetIdentifier = 0;
    std::shared_ptr<DataArray> m_dataArray;
    float m_minValue;
    float m_maxValue;
};

} // namespace vx::datastorage
