#include "commands/Commands.h"
#include "console/Console.h"
#include "console/NumberText.h"
#include "heading/UnitText.h"
#include "table/CellNumber.h"

#include <datastorage/units/Converter.h>

#include <cmath>

namespace vx::cli {
namespace {

using datastorage::Converter;
using datastorage::PhysicalParameter;
using datastorage::UsualUnit;

/// Divides "2.5 mA.h/g" at the end of its number.
bool readQuantity(const QString& text, double& value, QString& unit)
{
    const QString trimmedText = text.trimmed();
    for (qsizetype length = trimmedText.size(); length > 0; --length) {
        const QByteArray number = trimmedText.left(length).toUtf8();
        const std::string_view digits(number.constData(), static_cast<std::size_t>(number.size()));
        if (parseCell(digits, '.', value) == CellKind::Number && std::isfinite(value)) {
            unit = trimmedText.mid(length).trimmed();
            return true;
        }
    }
    return false;
}

ExitCode fail(Console& console, const QString& text)
{
    console.printError(text);
    return BadInput;
}

QString describe(const UsualUnit& unit)
{
    const PhysicalParameter parameter = Converter::getPhysicalParameterFromUnits(unit);
    return QStringLiteral("\"%1\" (%2)")
        .arg(unitText(unit), Converter::castPhysicalParameterAsString(parameter));
}

ExitCode run(const Arguments& arguments, Console& console)
{
    double value = 0;
    QString fromText;
    if (!readQuantity(arguments.positional.at(0), value, fromText)) {
        return fail(console,
                    QStringLiteral("expected a number and a unit such as \"2.5 mA.h/g\", found \"%1\"")
                        .arg(arguments.positional.at(0)));
    }
    const QString toText = arguments.positional.at(1);
    const UsualUnit from = readUnit(fromText);
    const UsualUnit to = readUnit(toText);
    for (const auto& [unit, text] : {std::pair{from, fromText}, std::pair{to, toText}}) {
        if (unit.isUnknown()) {
            return fail(
                console,
                QStringLiteral("expected a unit, found \"%1\"; \"vxdata units\" lists them").arg(text));
        }
        if (Converter::getPhysicalParameterFromUnits(unit) <= datastorage::ParameterNone) {
            return fail(console,
                        QStringLiteral("\"%1\" measures none of the known physical parameters").arg(text));
        }
    }
    const PhysicalParameter parameter = Converter::getPhysicalParameterFromUnits(from);
    if (!isUnitOf(to, parameter)) {
        return fail(console, QStringLiteral("cannot convert %1 to %2").arg(describe(from), describe(to)));
    }
    const double inMainUnit = value * unitFactors(parameter, from).toMain;
    const double converted = inMainUnit * unitFactors(parameter, to).fromMain;
    console.print(numberText(static_cast<float>(converted)) + QLatin1Char(' ') + unitText(to) +
                  QLatin1Char('\n'));
    return Done;
}

} // namespace

const Command CONVERT_COMMAND{
    "convert",
    "\"NUMBER UNIT\" UNIT",
    "Convert a number from one unit to another.",
    "Prints the number in the second unit. Both units must measure the same physical parameter; units are "
    "written as \"mA.h/g\", with \".\" for multiply and \"/\" for divide, and usual variations such as "
    "\"mAh/g\" "
    "are understood. The result has the precision of a stored sample, about seven digits.",
    "vxdata convert \"2.5 mA.h/g\" A.h/kg\n"
    "vxdata convert \"90 min\" h\n"
    "vxdata convert \"3.6 kJ\" W.h\n",
    {},
    2,
    2,
    run,
};

} // namespace vx::cli
