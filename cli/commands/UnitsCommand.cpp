#include "commands/Commands.h"
#include "console/Console.h"
#include "console/TextTable.h"
#include "heading/UnitText.h"

#include <datastorage/units/Converter.h>

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

namespace vx::cli {
namespace {

using datastorage::Converter;
using datastorage::PhysicalParameter;
using datastorage::UsualUnit;

constexpr Option OPTIONS[] = {
    {"json", nullptr, "Print one JSON object instead of a table."},
};

/// Every parameter that measures something, by number.
QList<PhysicalParameter> allParameters()
{
    QList<PhysicalParameter> parameters;
    for (std::int32_t number = datastorage::ParameterNone + 1;; ++number) {
        const auto parameter = static_cast<PhysicalParameter>(number);
        if (Converter::castPhysicalParameterAsString(parameter).isEmpty()) {
            return parameters;
        }
        parameters.append(parameter);
    }
}

/// The parameters whose name is `text` in any case; failing that, those whose name holds it.
QList<PhysicalParameter> findParameters(const QString& text)
{
    QList<PhysicalParameter> exact;
    QList<PhysicalParameter> partial;
    for (const PhysicalParameter parameter : allParameters()) {
        const QString name = Converter::castPhysicalParameterAsString(parameter);
        if (QString::compare(name, text, Qt::CaseInsensitive) == 0) {
            exact.append(parameter);
        }
        if (name.contains(text, Qt::CaseInsensitive)) {
            partial.append(parameter);
        }
    }
    return exact.isEmpty() ? partial : exact;
}

QStringList availableUnits(PhysicalParameter parameter)
{
    QStringList units;
    for (const UsualUnit& unit : Converter::getAvailableUnits(parameter)) {
        units.append(unitText(unit));
    }
    return units;
}

QJsonObject toJson(PhysicalParameter parameter)
{
    QJsonObject object;
    object.insert(QStringLiteral("number"), static_cast<int>(parameter));
    object.insert(QStringLiteral("name"), Converter::castPhysicalParameterAsString(parameter));
    object.insert(QStringLiteral("mainUnit"), unitText(Converter::getMainUnit(parameter)));
    object.insert(QStringLiteral("units"), QJsonArray::fromStringList(availableUnits(parameter)));
    return object;
}

void printList(const QList<PhysicalParameter>& parameters, Console& console)
{
    constexpr int SHOWN = 8;
    TextTable table(
        {QStringLiteral("parameter"), QStringLiteral("main unit"), QStringLiteral("available units")},
        {TextTable::Left, TextTable::Left, TextTable::Left});
    for (const PhysicalParameter parameter : parameters) {
        const QStringList units = availableUnits(parameter);
        QString shown = units.mid(0, SHOWN).join(QLatin1Char(' '));
        if (units.size() > SHOWN) {
            shown += QStringLiteral(" ... (%1)").arg(units.size());
        }
        table.addRow({Converter::castPhysicalParameterAsString(parameter),
                      unitText(Converter::getMainUnit(parameter)), shown});
    }
    console.print(table.text(console));
}

void printFactors(PhysicalParameter parameter, Console& console)
{
    constexpr int DIGITS = 7;
    const QString mainUnit = unitText(Converter::getMainUnit(parameter));
    console.print(QStringLiteral("%1, main unit %2\n\n")
                      .arg(console.bold(Converter::castPhysicalParameterAsString(parameter)), mainUnit));
    TextTable table({QStringLiteral("unit"), QStringLiteral("1 ") + mainUnit + QStringLiteral(" is")},
                    {TextTable::Left, TextTable::Right});
    for (const UsualUnit& unit : Converter::getAvailableUnits(parameter)) {
        table.addRow({unitText(unit), QString::number(unitFactors(parameter, unit).fromMain, 'g', DIGITS)});
    }
    console.print(table.text(console));
}

ExitCode run(const Arguments& arguments, Console& console)
{
    QList<PhysicalParameter> parameters = allParameters();
    if (!arguments.positional.isEmpty()) {
        parameters = findParameters(arguments.positional.front());
        if (parameters.isEmpty()) {
            console.printError(QStringLiteral("expected the name of a physical parameter, found \"%1\"; "
                                              "\"vxdata units\" lists them")
                                   .arg(arguments.positional.front()));
            return BadInput;
        }
    }
    if (arguments.has("json")) {
        QJsonArray list;
        for (const PhysicalParameter parameter : parameters) {
            list.append(toJson(parameter));
        }
        const QJsonObject object{{QStringLiteral("parameters"), list}};
        console.print(QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Indented)));
    } else if (parameters.size() == 1) {
        printFactors(parameters.front(), console);
    } else {
        printList(parameters, console);
    }
    return Done;
}

} // namespace

const Command UNITS_COMMAND{
    "units",
    "[PARAMETER]",
    "List physical parameters, their main units and the units they can be shown in.",
    "Without argument, lists every physical parameter with the main unit in which its samples are stored and "
    "the units that can be offered for it.\n\n"
    "With the name of a parameter, in any case or only a part of it, lists all of its units; if only one "
    "parameter is meant, with the factor from its main unit to each of them.",
    "vxdata units\n"
    "vxdata units \"Electric charge\"\n"
    "vxdata units resistance --json\n",
    OPTIONS,
    0,
    1,
    run,
};

} // namespace vx::cli
