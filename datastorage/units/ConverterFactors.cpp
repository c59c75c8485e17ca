#include <datastorage/units/Converter.h>
#include <datastorage/units/NarrowToFloat_p.h>
#include <datastorage/units/ParameterTables_p.h>
#include <datastorage/units/UnitTables_p.h>

#include <algorithm>
#include <array>
#include <cstddef>

namespace vx::datastorage {

namespace {

static_assert(FACTORS.size() == 74);
// A unit has at most one factor: every row is found again through its unit.
static_assert([] {
    for (std::size_t place = 0; place < FACTORS.size(); ++place) {
        if (placeOfFactor(FACTORS[place].unit) != place)
            return false;
    }
    return true;
}());

constexpr std::array<UsualUnitType, 4> unitsOf(const UsualUnit& unit)
{
    return {unit.getUnit1(), unit.getUnit2(), unit.getUnit3(), unit.getUnit4()};
}

bool hasFactor(PhysicalParameter parameter, UsualUnitType unit)
{
    const FactorRow* row = findFactorRow(unit);
    return row != nullptr && row->parameter == parameter;
}

/// The factor of the table; 1 for a unit that it does not have.
double tableFactor(UsualUnitType unit)
{
    const FactorRow* row = findFactorRow(unit);
    return row != nullptr ? static_cast<double>(row->factor) : 1.0;
}

/// The product of the factors of the parts of `unit`, each counted for the parameter that its unit
/// measures: the parts of a decomposition that matches the unit are these same parameters. `factorOf` gives
/// the factor of one part, which divide inverts.
template <typename FactorOf>
double productOfParts(const UsualUnit& unit, FactorOf factorOf)
{
    const std::array units = unitsOf(unit);
    const std::array operators{unit.getOperator(), unit.getOperator2(), unit.getOperator3()};
    double product = factorOf(units[0]);
    for (std::size_t i = 0; i < operators.size(); ++i) {
        if (operators[i] == OperatorNone)
            continue;
        const double factor = factorOf(units[i + 1]);
        product *= operators[i] == OperatorDivide ? 1.0 / factor : factor;
    }
    return product;
}

/// The factor from the main unit of `parameter` to `unit`, before it is narrowed.
double factorToSubUnit(const PhysicalParameter& parameter, const UsualUnit& unit)
{
    if (unit == Converter::getMainUnit(parameter))
        return 1.0;
    const auto customFactor =
        static_cast<double>(Converter::getConversionFactorFromCustomMainUnitToMainUnit(parameter));
    return customFactor * productOfParts(unit, tableFactor);
}

/// The factor of one normalising part that is `amount` in its own unit.
float normalisingFactor(float amount, bool inverted)
{
    if (!inverted)
        return amount;
    return amount == 0.0F ? 0.0F : narrowToFloat(1.0 / static_cast<double>(amount));
}

/// The factor of a normalising part; `inverting` is the operator for which it is the reciprocal amount.
float msvFactor(const UsualUnit& unit, UsualUnitOperator unitOperator, const OptionalValue<double>& amount,
                UsualUnitOperator inverting)
{
    if (!amount.exists)
        return -1.0F;
    if (unit == UsualUnit(UnitNone) || unit == UsualUnit())
        return 1.0F;
    if (unitOperator != OperatorMultiply && unitOperator != OperatorDivide)
        return 1.0F;
    const PhysicalParameter parameter = Converter::getPhysicalParameterFromUnits(unit);
    const float amountInUnit =
        Converter::getConversionFactorFromMainUnitToSubUnit(parameter, unit) * narrowToFloat(amount.value);
    return normalisingFactor(amountInUnit, unitOperator == inverting);
}

/// The factor of all parts behind the first one: the last present part takes `amount`, those between count
/// once. `partFactor` is getToMSVConversionFactor() or getFromMSVConversionFactor().
float normalisation(const UsualUnit& unit, const OptionalValue<double>& amount,
                    float (*partFactor)(const UsualUnit&, const UsualUnitOperator&, OptionalValue<double>))
{
    const OptionalValue<double> once(1.0);
    if (unit.hasUnit4()) {
        return partFactor(unit.getUnit2(), unit.getOperator(), once) *
               (partFactor(unit.getUnit4(), unit.getOperator3(), amount) *
                partFactor(unit.getUnit3(), unit.getOperator2(), once));
    }
    if (unit.hasUnit3()) {
        return partFactor(unit.getUnit2(), unit.getOperator(), once) *
               partFactor(unit.getUnit3(), unit.getOperator2(), amount);
    }
    return unit.hasUnit2() ? partFactor(unit.getUnit2(), unit.getOperator(), amount) : 1.0F;
}

} // namespace

bool Converter::containsConversion(const PhysicalParameter& parameter, const UsualUnit& unit)
{
    if (unit.getUnit2() == UnitUnknown)
        return hasFactor(parameter, unit.getUnit1());
    return std::ranges::any_of(decompositionsOf(parameter), [&unit](const DecompositionRow& row) {
        const std::array parameters = parametersOf(row.parts);
        const auto fits = [](PhysicalParameter part, UsualUnitType partUnit) {
            return partUnit == UnitUnknown || hasFactor(part, partUnit);
        };
        return hasFactor(parameters[0], unit.getUnit1()) && hasFactor(parameters[1], unit.getUnit2()) &&
               fits(parameters[2], unit.getUnit3()) && fits(parameters[3], unit.getUnit4());
    });
}

float Converter::getConversionFactorFromMainUnitToSubUnit(const PhysicalParameter& parameter,
                                                          const UsualUnit& unit)
{
    return narrowToFloat(factorToSubUnit(parameter, unit));
}

float Converter::getConversionFactorFromSubUnitToMainUnit(const PhysicalParameter& parameter,
                                                          const UsualUnit& unit)
{
    return narrowToFloat(1.0 / factorToSubUnit(parameter, unit));
}

float Converter::getConversionFactorFromCustomMainUnitToMainUnit(const PhysicalParameter& parameter)
{
    // A unit that is its own main unit has the factor 1, so a main unit made of such units gives exactly 1.
    return narrowToFloat(
        productOfParts(getMainUnit(parameter), [](UsualUnitType unit) { return 1.0 / tableFactor(unit); }));
}

void Converter::convertSingleUnit(float& value, PhysicalParameter parameter, UsualUnit unit, float factor)
{
    if (containsConversion(parameter, unit))
        value = convertFromMainUnitToSubUnit(parameter, unit, value, factor);
}

void Converter::convertSamplesFromMainUnitToSubUnit(std::span<float> samples,
                                                    const PhysicalParameter& parameter, const UsualUnit& unit)
{
    convertSamples(samples, getConversionFactorFromMainUnitToSubUnit(parameter, unit));
}

void Converter::convertSamplesFromSubUnitToMainUnit(std::span<float> samples,
                                                    const PhysicalParameter& parameter, const UsualUnit& unit)
{
    convertSamples(samples, getConversionFactorFromSubUnitToMainUnit(parameter, unit));
}

float Converter::getToMSVConversionFactor(const UsualUnit& unit, const UsualUnitOperator& unitOperator,
                                          OptionalValue<double> amount)
{
    return msvFactor(unit, unitOperator, amount, OperatorDivide);
}

float Converter::getFromMSVConversionFactor(const UsualUnit& unit, const UsualUnitOperator& unitOperator,
                                            OptionalValue<double> amount)
{
    return msvFactor(unit, unitOperator, amount, OperatorMultiply);
}

float Converter::getConversionFactorFromUnit(const UsualUnit& unit, OptionalValue<double> amount)
{
    const UsualUnit first = unit.getUnit1();
    return getConversionFactorFromSubUnitToMainUnit(getPhysicalParameterFromUnits(first), first) *
           normalisation(unit, amount, &getFromMSVConversionFactor);
}

float Converter::getConversionFactorToUnit(const UsualUnit& unit, OptionalValue<double> amount)
{
    const UsualUnit first = unit.getUnit1();
    return getConversionFactorFromMainUnitToSubUnit(getPhysicalParameterFromUnits(first), first) *
           normalisation(unit, amount, &getToMSVConversionFactor);
}

} // namespace vx::datastorage
