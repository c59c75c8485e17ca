#include <datastorage/units/Converter.h>
#include <datastorage/units/ParameterTables_p.h>
#include <datastorage/units/UnitTables_p.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

namespace vx::datastorage {

namespace {

std::multimap<PhysicalParameter, SubPhysicalParameters> makeSubPhysicalParameters()
{
    std::multimap<PhysicalParameter, SubPhysicalParameters> decompositions;
    for (const DecompositionRow& row : DECOMPOSITIONS)
        decompositions.emplace(row.parameter, row.parts);
    return decompositions;
}

UsualUnitType mainUnitOf(UsualUnitType unit)
{
    const UnitRow* row = findUnitRow(unit);
    return row != nullptr ? row->mainUnit : UnitUnknown;
}

} // namespace

const std::multimap<PhysicalParameter, SubPhysicalParameters> MAPPING_SUB_PHYSICAL_PARAMETERS =
    makeSubPhysicalParameters();

Converter::Converter() = default;
Converter::Converter(const Converter&) = default;
Converter& Converter::operator=(const Converter&) = default;
Converter::~Converter() = default;

UsualUnit Converter::getMainUnit(const PhysicalParameter& parameter)
{
    const ParameterRow* row = findParameterRow(parameter);
    return row != nullptr ? row->mainUnit : UsualUnit();
}

PhysicalParameter Converter::getPhysicalParameterFromMainUnit(const UsualUnit& unit)
{
    const auto* row = std::ranges::find(PARAMETERS, unit, &ParameterRow::mainUnit);
    return row != PARAMETERS.end() ? row->parameter : ParameterUnknown;
}

UsualUnit Converter::getMainUnitFromSubunit(const UsualUnit& unit)
{
    const auto mainUnitBehind = [](UsualUnitOperator unitOperator, UsualUnitType partUnit) {
        return unitOperator != OperatorNone ? mainUnitOf(partUnit) : UnitUnknown;
    };
    return {mainUnitOf(unit.getUnit1()),
            unit.getOperator(),
            mainUnitBehind(unit.getOperator(), unit.getUnit2()),
            unit.getOperator2(),
            mainUnitBehind(unit.getOperator2(), unit.getUnit3()),
            unit.getOperator3(),
            mainUnitBehind(unit.getOperator3(), unit.getUnit4())};
}

QList<SubPhysicalParameters> Converter::getSubPhysicalParameters(PhysicalParameter parameter)
{
    QList<SubPhysicalParameters> found;
    for (const DecompositionRow& row : decompositionsOf(parameter))
        found.append(row.parts);
    return found;
}

QList<SubPhysicalParameters> Converter::getMatchingSubPhysicalParameters(PhysicalParameter parameter,
                                                                         const UsualUnit& unit)
{
    const std::array unitParameters = parametersOfUnits(unit);
    QList<SubPhysicalParameters> found;
    for (const DecompositionRow& row : decompositionsOf(parameter)) {
        if (parametersOf(row.parts) == unitParameters)
            found.append(row.parts);
    }
    return found;
}

QList<UsualUnit> Converter::getSingleUnits(const PhysicalParameter& parameter)
{
    QList<UsualUnit> units;
    for (const FactorRow& row : FACTORS) {
        if (row.parameter == parameter && containsConversion(parameter, row.unit))
            units.append(row.unit);
    }
    return sortUnitsByUsualUnitType(units, parameter);
}

QList<UsualUnit> Converter::getAvailableUnits(const PhysicalParameter& parameter)
{
    QList<UsualUnit> units = getSingleUnits(parameter);
    for (const DecompositionRow& row : decompositionsOf(parameter)) {
        const std::array parts = parametersOf(row.parts);
        const std::array operators = operatorsOf(row.parts);
        QList<UsualUnit> composites = getSingleUnits(parts[0]);
        for (std::size_t i = 0; i < operators.size() && operators[i] != OperatorNone; ++i) {
            const QList<UsualUnit> singles = getSingleUnits(parts[i + 1]);
            QList<UsualUnit> longer;
            for (const UsualUnit& composite : std::as_const(composites)) {
                for (const UsualUnit& single : singles)
                    longer.append(composeUnitManually(composite, operators[i], single.getUnit1()));
            }
            composites.swap(longer);
        }
        units.append(composites);
    }
    return units;
}

QList<UsualUnit> Converter::getAvailableUnits()
{
    QList<UsualUnit> units;
    for (const ParameterRow& row : PARAMETERS)
        units.append(row.mainUnit);
    return units;
}

QList<QString> Converter::getAvailableUnitsAsString()
{
    QList<QString> texts;
    for (const ParameterRow& row : PARAMETERS) {
        const QString text = UsualUnit::castUsualUnitAsString(row.mainUnit);
        if (!texts.contains(text))
            texts.append(text);
    }
    return texts;
}

PhysicalParameter Converter::getPhysicalParameterFromUnits(const UsualUnit& unit)
{
    const std::array parameters = parametersOfUnits(unit);
    if (unit.getOperator() == OperatorNone)
        return parameters[0];
    const SubPhysicalParameters parts{parameters[0], unit.getOperator(),  parameters[1], unit.getOperator2(),
                                      parameters[2], unit.getOperator3(), parameters[3]};
    const auto* row = std::ranges::find(DECOMPOSITIONS, parts, &DecompositionRow::parts);
    return row != DECOMPOSITIONS.end() ? row->parameter : ParameterUnknown;
}

UsualUnit Converter::composeUnitManually(const UsualUnit& unit, const UsualUnitOperator& unitOperator,
                                         const UsualUnitType& type)
{
    if (unit.getUnit1() == UnitUnknown || unit.getUnit1() == UnitNone)
        return unit;
    if (unit.getUnit2() == UnitUnknown && unit.getOperator() == OperatorNone)
        return {unit.getUnit1(), unitOperator, type};
    if (unit.getUnit3() == UnitUnknown && unit.getOperator2() == OperatorNone)
        return {unit.getUnit1(), unit.getOperator(), unit.getUnit2(), unitOperator, type};
    if (unit.getUnit4() != UnitUnknown || unit.getOperator3() != OperatorNone)
        return unit;
    return {unit.getUnit1(),
            unit.getOperator(),
            unit.getUnit2(),
            unit.getOperator2(),
            unit.getUnit3(),
            unitOperator,
            type};
}

bool Converter::isMsvUnit(const UsualUnit& unit)
{
    if (unit.isUnknown() || !unit.hasUnit2())
        return false;
    const PhysicalParameter parameter = getPhysicalParameterFromUnits(unit.getLastUnit());
    return parameter == ParameterMass || parameter == ParameterArea || parameter == ParameterVolume;
}

QList<UsualUnit> Converter::sortUnitsByUsualUnitType(QList<UsualUnit> units,
                                                     const PhysicalParameter& parameter)
{
    // Stable, so that units of equal size (cm³ and mL) have a fixed order.
    std::ranges::stable_sort(
        units, [&parameter](const UsualUnit& a, const UsualUnit& b) { return descending(a, b, parameter); });
    return units;
}

bool Converter::descending(UsualUnit a, UsualUnit b, const PhysicalParameter& parameter)
{
    return getConversionFactorFromMainUnitToSubUnit(parameter, a) >
           getConversionFactorFromMainUnitToSubUnit(parameter, b);
}

} // namespace vx::datastorage
