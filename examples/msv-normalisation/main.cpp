// Compares cells of different size: capacity per gram of active material, current per cm² of electrode.
#include <datastorage/units/Converter.h>

#include <QtCore/QCoreApplication>

#include <cstdio>

using namespace vx::datastorage;

// `value`, in the main unit of `parameter`, per amount of material; the amount is in kg, m² or m³.
static double normalise(PhysicalParameter parameter, double value, const UsualUnit& unit,
                        OptionalValue<double> amount)
{
    if (!Converter::isMsvUnit(unit))
        return value *
               static_cast<double>(Converter::getConversionFactorFromMainUnitToSubUnit(parameter, unit));
    // From the main unit of the first part of the unit, ampere here, to the normalised unit.
    const float factor = Converter::getConversionFactorToUnit(unit, amount);
    return factor == -1.0F ? 0.0 : value * static_cast<double>(factor); // -1: the amount is not known
}

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    Converter::init();

    const OptionalValue<double> activeMass(2.5e-6); // 2.5 mg, in kg
    const OptionalValue<double> area(1.13e-4);      // 1.13 cm², in m²
    const double charge = 1.35;                     // C
    const double current = 75e-6;                   // A

    const UsualUnit perGram = Converter::getUsualUnitFromString("mA.h/g");
    const UsualUnit perArea = Converter::getUsualUnitFromString("mA/cm²");
    const UsualUnit plain = Converter::getUsualUnitFromString("mA.h");
    std::printf("capacity: %.4g mA.h\n", normalise(ParameterElectricCharge, charge, plain, activeMass));
    std::printf("capacity: %.4g mA.h/g\n", normalise(ParameterElectricCharge, charge, perGram, activeMass));
    std::printf("current: %.4g mA/cm\u00b2\n", normalise(ParameterElectricCurrent, current, perArea, area));

    // The other way: what a given rate per gram means for this cell.
    const UsualUnit rate = Converter::getUsualUnitFromString("mA/g");
    const float toAmpere = Converter::getConversionFactorFromUnit(rate, activeMass);
    std::printf("150 mA/g on this cell: %.4g mA\n", 150.0 * static_cast<double>(toAmpere) * 1000.0);
}
