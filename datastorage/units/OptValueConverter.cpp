#include <datastorage/units/Converter.h>
#include <datastorage/units/NarrowToFloat_p.h>
#include <datastorage/units/OptValueConverter.h>

namespace vx::datastorage {

namespace {

// Apart from the public constant, so that these functions also work while other libraries load.
QString notAvailableText()
{
    return QStringLiteral("N/A");
}

} // namespace

const QString OptValueConverter::notAvailable = notAvailableText();

OptionalValue<double> OptValueConverter::convertStringValueInOptDouble(const QString& text)
{
    if (text.isEmpty() || text == notAvailableText())
        return {};
    return text.toDouble();
}

OptionalValue<double> OptValueConverter::convertValueToDisplayUnit(const PhysicalParameter& parameter,
                                                                   const UsualUnit& unit,
                                                                   const OptionalValue<double>& value)
{
    if (!value.exists || parameter == ParameterNone || unit == UsualUnit(UnitNone))
        return value;
    return static_cast<double>(
        Converter::convertFromMainUnitToSubUnit(parameter, unit, narrowToFloat(value.value), -1.0F));
}

QString OptValueConverter::getValueFromOptDouble(const OptionalValue<double>& value)
{
    return value.exists ? QString::number(value.value, 'g', numberPrecision) : notAvailableText();
}

QString OptValueConverter::getValueAndUnitFromOptDouble(const OptionalValue<double>& value,
                                                        const UsualUnit& unit)
{
    QString text = getValueFromOptDouble(value);
    if (value.exists && unit != UsualUnit(UnitNone))
        text += u' ' + UsualUnit::castUsualUnitAsString(unit);
    return text;
}

QString OptValueConverter::getValueFromOptQString(const OptionalValue<QString>& value)
{
    return value.exists ? value.value : notAvailableText();
}

} // namespace vx::datastorage
