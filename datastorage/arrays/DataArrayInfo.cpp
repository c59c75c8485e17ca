#include <datastorage/arrays/DataArrayInfo.h>

#include <datastorage/arrays/DataArrayInfoStreamed.h>
#include <datastorage/arrays/DataArrayStreamed_p.h>
#include <datastorage/arrays/SampleBlock_p.h>
#include <datastorage/arrays/SampleEnvelope_p.h>
#include <datastorage/arrays/SampleRange_p.h>
#include <datastorage/arrays/StreamedEnvelope_p.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>
#include <typeinfo>
#include <utility>

namespace vx::datastorage {

namespace {

float narrowToFloat(double value)
{
    // Beyond the float range the conversion is undefined; such a number is infinite as a float.
    if (value > static_cast<double>(std::numeric_limits<float>::max()))
        return std::numeric_limits<float>::infinity();
    if (value < -static_cast<double>(std::numeric_limits<float>::max()))
        return -std::numeric_limits<float>::infinity();
    return static_cast<float>(value);
}

} // namespace

DataArrayInfo::DataArrayInfo()
    : DataArrayInfo(QString(), static_cast<PhysicalParameter>(0), Float,
                    UsualUnit(static_cast<UsualUnitTypeOld>(0)))
{}

DataArrayInfo::DataArrayInfo(const QString& name, const PhysicalParameter& physicalParameter,
                             const DataType& dataType, const UsualUnit& dataUnit)
    : m_name(name), m_physicalParameter(physicalParameter), m_dataType(dataType), m_dataUnit(dataUnit)
{
    resetRange();
}

DataArrayInfo::~DataArrayInfo() = default;

void DataArrayInfo::resetRange()
{
    m_minValue = std::numeric_limits<float>::max();
    m_maxValue = -std::numeric_limits<float>::max();
}

void DataArrayInfo::createDataArray()
{
    setDataArray(std::make_shared<DataArray>());
}

void DataArrayInfo::setDataArray(std::shared_ptr<DataArray> array)
{
    m_dataArray = std::move(array);
}

void DataArrayInfo::setName(const QString& name)
{
    m_name = name;
}

QString DataArrayInfo::getName() const
{
    return m_name;
}

const PhysicalParameter& DataArrayInfo::getPhysicalParameter() const
{
    return m_physicalParameter;
}

void DataArrayInfo::setPhysicalParameter(const PhysicalParameter& physicalParameter)
{
    m_physicalParameter = physicalParameter;
}

DataType DataArrayInfo::getDataType() const
{
    return m_dataType;
}

void DataArrayInfo::setDataType(DataType dataType)
{
    m_dataType = dataType;
    StreamedArrayAccess::setType(m_dataArray.get(), dataType);
}

const UsualUnit& DataArrayInfo::getDataUnit() const
{
    return m_dataUnit;
}

void DataArrayInfo::setDataUnit(const UsualUnit& dataUnit)
{
    m_dataUnit = dataUnit;
}

DataTypeBase DataArrayInfo::getSample(qint64 index) const
{
    return m_dataArray ? m_dataArray->getSample(index) : missingSample();
}

int DataArrayInfo::getSampleInt(qint64 index) const
{
    return m_dataArray ? m_dataArray->getSampleInt(index) : missingSample().intValue;
}

float DataArrayInfo::getSampleFloat(qint64 index) const
{
    return m_dataArray ? m_dataArray->getSampleFloat(index) : missingSample().floatValue;
}

void DataArrayInfo::startAddingData() {}

void DataArrayInfo::endAddingData(const QString& /*key*/) {}

void DataArrayInfo::addSampleFloat(float value)
{
    includeInRange(value);
    if (m_dataArray)
        m_dataArray->addSampleFloat(value);
}

void DataArrayInfo::addSampleInt(int value)
{
    includeInRange(value);
    if (m_dataArray)
        m_dataArray->addSampleInt(value);
}

void DataArrayInfo::addSample(DataTypeBase value)
{
    if (m_dataType == Float)
        addSampleFloat(value.floatValue);
    else
        addSampleInt(value.intValue);
}

void DataArrayInfo::clear()
{
    resetRange();
    if (m_dataArray)
        m_dataArray->clear();
}

unsigned int DataArrayInfo::getStreamSetIdentifier() const
{
    return m_streamSetIdentifier;
}

void DataArrayInfo::setStreamSetIdentifier(unsigned int identifier)
{
    m_streamSetIdentifier = identifier;
}

float DataArrayInfo::getMin() const
{
    return m_minValue;
}

float DataArrayInfo::getMax() const
{
    return m_maxValue;
}

void DataArrayInfo::reserve(qint64 count)
{
    if (m_dataArray)
        m_dataArray->reserve(count);
}

qint64 DataArrayInfo::capacity() const
{
    return m_dataArray ? m_dataArray->capacity() : 0;
}

qint64 DataArrayInfo::getSize() const
{
    return m_dataArray ? m_dataArray->getSize() : 0;
}

bool DataArrayInfo::read(const QJsonObject& object, int version, vx::archive::ArchiveContext& context)
{
    m_name = object.value(QLatin1String("name")).toString();
    m_physicalParameter =
        static_cast<PhysicalParameter>(object.value(QLatin1String("physicalParameter")).toInt());
    m_dataType = static_cast<DataType>(object.value(QLatin1String("type")).toInt());
    StreamedArrayAccess::setType(m_dataArray.get(), m_dataType);
    if (!m_dataUnit.read(object.value(QLatin1String("dataUnit")), version, context))
        return false;
    m_streamSetIdentifier = object.value(QLatin1String("streamSetIdentifier")).toString().toUInt();
    m_minValue = narrowToFloat(object.value(QLatin1String("min")).toDouble());
    m_maxValue = narrowToFloat(object.value(QLatin1String("max")).toDouble());
    return true;
}

bool DataArrayInfo::write(QJsonObject& object, int version, vx::archive::ArchiveContext& context) const
{
    object.insert(QLatin1String("name"), m_name);
    object.insert(QLatin1String("physicalParameter"), static_cast<int>(m_physicalParameter));
    object.insert(QLatin1String("type"), static_cast<int>(m_dataType));
    m_dataUnit.write(object[QLatin1String("dataUnit")], version, context);
    object.insert(QLatin1String("streamSetIdentifier"), QString::number(m_streamSetIdentifier));
    object.insert(QLatin1String("min"), static_cast<double>(m_minValue));
    object.insert(QLatin1String("max"), static_cast<double>(m_maxValue));
    return true;
}

void DataArrayInfo::restart() {}

/// Whether the single additions are the library's own, so that a block may take the short way.
bool DataArrayInfo::usesOwnAdditions() const
{
    return typeid(*this) == typeid(DataArrayInfo) || typeid(*this) == typeid(DataArrayInfoStreamed);
}

template <typename Sample>
void DataArrayInfo::addBlock(std::span<const Sample> samples)
{
    const SampleRange range =
        m_dataArray ? StreamedArrayAccess::addBlock(*m_dataArray, samples) : rangeOf(samples);
    if (range.minimum < m_minValue)
        m_minValue = range.minimum;
    if (range.maximum > m_maxValue)
        m_maxValue = range.maximum;
}

void DataArrayInfo::addSamples(std::span<const float> samples)
{
    if (usesOwnAdditions())
        return addBlock(samples);
    for (const float sample : samples)
        addSampleFloat(sample);
}

void DataArrayInfo::addSamples(std::span<const int> samples)
{
    if (usesOwnAdditions())
        return addBlock(samples);
    for (const int sample : samples)
        addSampleInt(sample);
}

qint64 DataArrayInfo::readSamples(qint64 first, std::span<float> out) const
{
    return StreamedArrayAccess::readSamples(*this, first, asRawSamples(out));
}

qint64 DataArrayInfo::readSamples(qint64 first, std::span<int> out) const
{
    return StreamedArrayAccess::readSamples(*this, first, asRawSamples(out));
}

std::vector<EnvelopeColumn> DataArrayInfo::envelope(qint64 first, qint64 last, int columns) const
try {
    const qint64 size = getSize();
    first = std::clamp<qint64>(first, 0, size);
    last = std::clamp<qint64>(last, first, size);
    if (const auto* streamed = dynamic_cast<const DataArrayStreamed*>(m_dataArray.get()))
        return StreamedEnvelope(*this, *streamed).columns(first, last, columns);
    std::vector<EnvelopeColumn> result;
    if (!m_dataArray)
        return result;
    const SampleKind kind = sampleKindOf(getDataType());
    const std::span samples(m_dataArray->m_data, static_cast<std::size_t>(m_dataArray->m_size));
    const EnvelopeEdges edges(first, std::min(last, m_dataArray->m_size), columns);
    result.reserve(static_cast<std::size_t>(edges.columns()));
    for (qint64 i = 0; i < edges.columns(); ++i) {
        const qint64 count = edges[i + 1] - edges[i];
        const auto part =
            samples.subspan(static_cast<std::size_t>(edges[i]), static_cast<std::size_t>(count));
        result.push_back(envelopeColumn(envelopeOf(part, kind), kind, edges[i], count));
    }
    return result;
} catch (const std::bad_alloc&) {
    return {};
}

} // namespace vx::datastorage
