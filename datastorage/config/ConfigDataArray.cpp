#include <datastorage/config/ConfigDataArray.h>

namespace vx::datastorage {

ConfigDataArray::ConfigDataArray() : m_unit(OldUnitNone) {}

ConfigDataArray::ConfigDataArray(const QString& name, const PhysicalParameter& physicalParameter,
                                 const DataType& type, const UsualUnit& unit, const QString& category,
                                 DataConfigType dataConfigType)
    : DataArrayIdentifier(name, category),
      m_physicalParameter(physicalParameter),
      m_type(type),
      m_unit(unit),
      m_dataConfigType(dataConfigType)
{}

ConfigDataArray::~ConfigDataArray() = default;

const PhysicalParameter& ConfigDataArray::getPhysicalParameter() const
{
    return m_physicalParameter;
}

void ConfigDataArray::setPhysicalParameter(const PhysicalParameter& physicalParameter)
{
    m_physicalParameter = physicalParameter;
}

const DataType& ConfigDataArray::getType() const
{
    return m_type;
}

void ConfigDataArray::setType(const DataType& type)
{
    m_type = type;
}

const UsualUnit& ConfigDataArray::getUnit() const
{
    return m_unit;
}

void ConfigDataArray::setUnit(const UsualUnit& unit)
{
    m_unit = unit;
}

DataConfigType ConfigDataArray::getDataConfigType() const
{
    return m_dataConfigType;
}

void ConfigDataArray::setDataConfigType(DataConfigType dataConfigType)
{
    m_dataConfigType = dataConfigType;
}

bool ConfigDataArray::isCalculated() const
{
    return m_dataConfigType == Calculated;
}

bool ConfigDataArray::isDefaultX() const
{
    return m_isDefaultX;
}

void ConfigDataArray::setDefaultX(bool isDefault)
{
    m_isDefaultX = isDefault;
}

bool ConfigDataArray::isDefaultY1() const
{
    return m_isDefaultY1;
}

void ConfigDataArray::setDefaultY1(bool isDefault)
{
    m_isDefaultY1 = isDefault;
}

bool ConfigDataArray::isDefaultY2() const
{
    return m_isDefaultY2;
}

void ConfigDataArray::setDefaultY2(bool isDefault)
{
    m_isDefaultY2 = isDefault;
}

const QString& ConfigDataArray::getCalculationMethod() const
{
    return m_calculationMethod;
}

void ConfigDataArray::setCalculationMethod(const QString& calculationMethod)
{
    m_calculationMethod = calculationMethod;
}

const QString& ConfigDataArray::getConvertFormat() const
{
    return m_convertFormat;
}

void ConfigDataArray::setConvertFormat(const QString& convertFormat)
{
    m_convertFormat = convertFormat;
}

std::string ConfigDataArray::getConvertFormatAsPrefix() const
{
    const std::string format = m_convertFormat.toStdString();
    return format.substr(0, format.find('('));
}

} // namespace vx::datastorage
