#pragma once

#include <datastorage/Export.h>
#include <datastorage/arrays/DataArrayIdentifier.h>
#include <datastorage/arrays/DataType.h>
#include <datastorage/units/PhysicalParameter.h>
#include <datastorage/units/UsualUnit.h>

#include <QtCore/QString>

#include <cstdint>
#include <string>

namespace vx::datastorage {

/// The kind of a configured array. Values above 1 belong to the application, which the library stores
/// and compares only.
enum DataConfigType : std::int32_t
{
    Measured = 0,   ///< recorded by the experiment; what a configuration file declares
    Calculated = 1, ///< computed by the application
};

/// The declaration of one data array that an experiment can produce: what an array of this name in
/// this category will hold, and hints for how the application shows or computes it. It holds no
/// samples.
///
/// read() and write() are those of the identifier: they carry name and category only. A copy is
/// independent of its source.
///
/// Threads: none of its own; one thread at a time.
class VXDATASTORAGE_EXPORT ConfigDataArray : public DataArrayIdentifier
{
public:
    /// A measured Float array without name and category, with the parameter "None" and the unit "None".
    ConfigDataArray();
    ConfigDataArray(const QString& name, const PhysicalParameter& physicalParameter, const DataType& type,
                    const UsualUnit& unit, const QString& category, DataConfigType dataConfigType);
    ConfigDataArray(const ConfigDataArray&) = default;
    ConfigDataArray& operator=(const ConfigDataArray&) = default;
    ~ConfigDataArray() override;

    /// The quantity that the array measures.
    const PhysicalParameter& getPhysicalParameter() const;
    void setPhysicalParameter(const PhysicalParameter& physicalParameter);

    /// The type of the samples.
    const DataType& getType() const;
    void setType(const DataType& type);

    /// The unit of its values.
    const UsualUnit& getUnit() const;
    void setUnit(const UsualUnit& unit);

    /// Its kind: Measured, Calculated or a value of the application's own.
    DataConfigType getDataConfigType() const;
    void setDataConfigType(DataConfigType dataConfigType);

    /// Whether the kind is exactly Calculated.
    bool isCalculated() const;

    /// Whether the array is an X axis by default.
    bool isDefaultX() const;
    void setDefaultX(bool isDefault);

    /// Whether the array is on the first Y axis by default.
    bool isDefaultY1() const;
    void setDefaultY1(bool isDefault);

    /// Whether the array is on the second Y axis by default.
    bool isDefaultY2() const;
    void setDefaultY2(bool isDefault);

    /// How a calculated array is computed, in a form of the application's own; null by default.
    const QString& getCalculationMethod() const;
    void setCalculationMethod(const QString& calculationMethod);

    /// How values are formatted for display, in a form of the application's own; null by default.
    const QString& getConvertFormat() const;
    void setConvertFormat(const QString& convertFormat);

    /// The convert format in UTF-8 up to its first "(", blanks included; all of it without a "(".
    std::string getConvertFormatAsPrefix() const;

private:
    PhysicalParameter m_physicalParameter = ParameterNone;
    DataType m_type = Float;
    UsualUnit m_unit;
    bool m_isDefaultX = false;
    bool m_isDefaultY1 = false;
    bool m_isDefaultY2 = false;
    DataConfigType m_dataConfigType = Measured;
    QString m_calculationMethod;
    QString m_convertFormat;
};

} // namespace vx::datastorage
