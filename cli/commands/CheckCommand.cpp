#include "commands/Commands.h"
#include "config/DeclaredArrays.h"
#include "console/Console.h"
#include "console/Language.h"
#include "console/TextTable.h"
#include "heading/UnitText.h"

#include <datastorage/arrays/DataType.h>
#include <datastorage/config/ConfigDataArray.h>
#include <datastorage/config/DynamicEnum.h>
#include <datastorage/config/DynamicEnumHandler.h>
#include <datastorage/units/Converter.h>

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

namespace vx::cli {
namespace {

using datastorage::ConfigDataArray;
using datastorage::DynamicEnum;
using datastorage::DynamicEnumHandler;

constexpr Option OPTIONS[] = {
    {"json", nullptr, "Print one JSON object instead of tables."},
};

const DynamicEnum* findEnumeration(const QString& name)
{
    return nel::tools::Singleton<DynamicEnumHandler>::instance().getEnum(name);
}

QString parameterName(const ConfigDataArray& array)
{
    return datastorage::Converter::castPhysicalParameterAsString(array.getPhysicalParameter());
}

QJsonObject toJson(const ConfigDataArray& array)
{
    QJsonObject object;
    object.insert(QStringLiteral("category"), array.getCategory());
    object.insert(QStringLiteral("name"), array.getName());
    object.insert(QStringLiteral("parameter"), parameterName(array));
    object.insert(QStringLiteral("type"), datastorage::getDataTypeAsString(array.getType()));
    object.insert(QStringLiteral("unit"), unitText(array.getUnit()));
    return object;
}

QJsonObject labelsToJson(const DynamicEnum& enumeration)
{
    QJsonObject labels;
    for (const QString& label : enumeration.getKeysSortedByValue()) {
        labels.insert(label, enumeration.getValue(label.toStdString()));
    }
    return labels;
}

void printJson(const DeclaredArrays& declared, Console& console)
{
    QJsonArray arrays;
    for (const ConfigDataArray* array : declared.arrays()) {
        arrays.append(toJson(*array));
    }
    QJsonObject enumerations;
    for (const QString& name : declared.enumerations()) {
        if (const DynamicEnum* enumeration = findEnumeration(name)) {
            enumerations.insert(name, labelsToJson(*enumeration));
        }
    }
    const QJsonObject object{{QStringLiteral("arrays"), arrays},
                             {QStringLiteral("enumerations"), enumerations}};
    console.print(QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Indented)));
}

void printTables(const DeclaredArrays& declared, Console& console)
{
    console.print(QStringLiteral("%1 arrays\n\n").arg(declared.arrays().size()));
    TextTable arrays({QStringLiteral("category"), QStringLiteral("name"), QStringLiteral("parameter"),
                      QStringLiteral("type"), QStringLiteral("unit")},
                     {TextTable::Left, TextTable::Left, TextTable::Left, TextTable::Left, TextTable::Left});
    for (const ConfigDataArray* array : declared.arrays()) {
        arrays.addRow({array->getCategory(), array->getName(), parameterName(*array),
                       datastorage::getDataTypeAsString(array->getType()), unitText(array->getUnit())});
    }
    console.print(arrays.text(console));
    if (declared.enumerations().isEmpty()) {
        return;
    }
    console.print(QStringLiteral("\n%1 enumerations\n\n").arg(declared.enumerations().size()));
    TextTable labels({QStringLiteral("enumeration"), QStringLiteral("value"), QStringLiteral("label")},
                     {TextTable::Left, TextTable::Right, TextTable::Left});
    for (const QString& name : declared.enumerations()) {
        if (const DynamicEnum* enumeration = findEnumeration(name)) {
            for (const QString& label : enumeration->getKeysSortedByValue()) {
                labels.addRow({name, QString::number(enumeration->getValue(label.toStdString())), label});
            }
        }
    }
    console.print(labels.text(console));
}

ExitCode run(const Arguments& arguments, Console& console)
{
    useLanguageOf(arguments.positional.at(0), arguments.value("language"));
    DeclaredArrays declared;
    InputError error;
    if (!declared.read(arguments.positional.front(), error)) {
        console.printError(formatError(error));
        return BadInput;
    }
    if (arguments.has("json")) {
        printJson(declared, console);
    } else {
        printTables(declared, console);
    }
    return Done;
}

} // namespace

const Command CHECK_COMMAND{
    "check",
    "CONFIG",
    "Read a data configuration and say what it declares.",
    "A data configuration is a JSON file with the members \"Version\" (1), \"Enum\" (enumerations, each an "
    "object "
    "of labels and whole numbers) and \"Measures\" (categories, each a list of arrays with \"Name\", "
    "\"PhysicalParameter\", \"Type\" and \"Unit\").\n\n"
    "Prints the declared arrays and enumerations in the order in which the library keeps them, or the "
    "library's "
    "error with the line and column of the value it refuses. \"vxdata units\" lists the names of parameters "
    "and "
    "units; the types are FLOAT, INT and ENUM.",
    "vxdata check configuration.json\n"
    "vxdata check configuration.json --json\n",
    OPTIONS,
    1,
    1,
    run,
};

} // namespace vx::cli
