// Shows values in the unit and the language that the user has chosen.
#include <datastorage/units/Converter.h>
#include <datastorage/units/LocaleConverter.h>
#include <datastorage/units/OptValueConverter.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QLocale>

#include <cstdio>

using namespace vx::datastorage;

static void say(const QString& text)
{
    std::printf("%s\n", text.toUtf8().constData());
}

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    Converter::init(); // once, before the first text is looked up

    // What can be offered for a quantity. Values are held in its main unit, A.h/g here.
    const PhysicalParameter parameter = Converter::getPhysicalParameterFromString("Mass Electric Charge");
    say("main unit: " + UsualUnit::castUsualUnitAsString(Converter::getMainUnit(parameter)));
    say(QString("units on offer: %1").arg(Converter::getAvailableUnits(parameter).size()));

    // One value, absent or not, as text.
    const UsualUnit unit = Converter::getUsualUnitFromString("mA.h/g");
    const OptionalValue<double> capacity(0.1625); // A.h/g
    const OptionalValue<double> unknown;
    for (const OptionalValue<double>& value : {capacity, unknown}) {
        const auto shown = OptValueConverter::convertValueToDisplayUnit(parameter, unit, value);
        say("capacity: " + OptValueConverter::getValueAndUnitFromOptDouble(shown, unit));
    }

    // Many values: find the factor once, or convert the block.
    float samples[] = {0.1F, 0.15F, 0.1625F};
    Converter::convertSamplesFromMainUnitToSubUnit(samples, parameter, unit);
    say(QString("last sample: %1 mA.h/g").arg(static_cast<double>(samples[2])));

    // In the user's own way of writing numbers.
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    say("in German: " + LocaleConverter::doubleToStringFlat(1234.5, 2));
    say(QString("read back: %1").arg(LocaleConverter::stringToDouble("1.234,50")));
}
