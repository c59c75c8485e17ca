#include "report/TableInputs.h"

#include "console/Console.h"
#include "report/CacheOptions.h"
#include "report/ReportArchive.h"
#include "report/TableImport.h"

#include <datastorage/units/Converter.h>

#include <QtCore/QFileInfo>

#include <algorithm>
#include <utility>

namespace vx::cli {
namespace {

/// A table given twice is filed under two keys.
QString keyOf(const QString& path, const std::vector<MeasuredTable>& tables)
{
    const QString absolute = QFileInfo(path).absoluteFilePath();
    QString key = absolute;
    const auto isTaken = [&tables](const QString& wanted) {
        return std::any_of(tables.begin(), tables.end(),
                           [&wanted](const MeasuredTable& table) { return table.key == wanted; });
    };
    for (int number = 2; isTaken(key); ++number) {
        key = QStringLiteral("%1 (%2)").arg(absolute).arg(number);
    }
    return key;
}

} // namespace

TableInputs::TableInputs(const char* command, const Arguments& arguments, Console& console)
    : m_command(command), m_arguments(arguments), m_console(console)
{}

ExitCode TableInputs::usage(const QString& text) const
{
    m_console.printError(
        QStringLiteral("%1: %2; see \"vxdata %1 --help\"").arg(QLatin1String(m_command), text));
    return WrongUsage;
}

void TableInputs::bad(const InputError& error)
{
    m_console.printError(formatError(error));
    m_anyBad = true;
}

ExitCode TableInputs::configure()
{
    QString error;
    if (m_arguments.has("open") == !m_arguments.positional.isEmpty()) {
        return usage(QStringLiteral("expected either tables or --open DIR"));
    }
    if (m_arguments.has("open") && m_arguments.value("open").isEmpty()) {
        return usage(QStringLiteral("--open: expected a directory"));
    }
    if (!readWishes(error) || !readColumnNames(error)) {
        return usage(error);
    }
    InputError cacheError;
    const ExitCode cacheResult = configureCache(m_arguments, cacheError);
    if (cacheResult == WrongUsage) {
        return usage(cacheError.text);
    }
    if (cacheResult != Done) {
        bad(cacheError);
    }
    return cacheResult;
}

bool TableInputs::readWishes(QString& error)
{
    for (const QString& text : m_arguments.values("unit")) {
        const qsizetype equals = text.lastIndexOf(QLatin1Char('='));
        UnitWish wish;
        wish.name = text.left(equals).trimmed();
        wish.unit = readUnit(text.mid(equals + 1));
        if (equals <= 0 || wish.name.isEmpty() || wish.unit.isUnknown()) {
            error = QStringLiteral("--unit: expected NAME=UNIT with a known unit, found \"%1\"").arg(text);
            return false;
        }
        m_wishes.push_back(wish);
    }
    return true;
}

/// Divides --columns as the heading line of a table is divided: names may be quoted.
bool TableInputs::readColumnNames(QString& error)
{
    if (!m_arguments.has("columns")) {
        return true;
    }
    QString name;
    bool quoted = false;
    for (const QChar c : m_arguments.value("columns")) {
        if (c == QLatin1Char('"')) {
            quoted = !quoted;
        } else if (c == QLatin1Char(',') && !quoted) {
            m_columnNames.append(name.trimmed());
            name.clear();
        } else {
            name += c;
        }
    }
    m_columnNames.append(name.trimmed());
    if (quoted || m_columnNames.contains(QString())) {
        error = QStringLiteral("--columns: expected names divided by commas, found \"%1\"")
                    .arg(m_arguments.value("columns"));
        return false;
    }
    return true;
}

ExitCode TableInputs::collect()
{
    InputError error;
    if (m_arguments.has("open")) {
        if (!openTables(m_tables, m_arguments.value("open"), error)) {
            bad(error);
            return BadInput;
        }
    } else {
        if (!m_declared.read(m_arguments.value("config"), error)) {
            bad(error);
            return BadInput;
        }
        importTables();
    }
    QString wishError;
    return applyWishes(wishError) ? Done : usage(wishError);
}

void TableInputs::importTables()
{
    const ArrayMatcher matcher(m_declared.arrays());
    TableImport import(matcher, m_columnNames, m_watch, m_console);
    for (const QString& path : m_arguments.positional) {
        MeasuredTable table;
        table.path = path;
        table.key = keyOf(path, m_tables);
        InputError error;
        if (import.import(table, error)) {
            m_tables.push_back(std::move(table));
        } else {
            bad(error);
        }
    }
}

/// Sets the display units that the user wishes; false when a wish does not fit its array.
bool TableInputs::applyWishes(QString& error)
{
    for (UnitWish& wish : m_wishes) {
        for (MeasuredTable& table : m_tables) {
            for (MeasuredColumn& column : table.columns) {
                if (isMeant(column, wish.name) && !applyWish(wish, column, error)) {
                    return false;
                }
            }
        }
        if (!wish.used && !m_tables.empty() && !m_anyBad) {
            error = QStringLiteral("--unit: no array is called \"%1\"").arg(wish.name);
            return false;
        }
    }
    return true;
}

bool TableInputs::applyWish(UnitWish& wish, MeasuredColumn& column, QString& error)
{
    const datastorage::PhysicalParameter parameter = column.array->getPhysicalParameter();
    if (!isUnitOf(wish.unit, parameter)) {
        error =
            QStringLiteral("--unit: %1 is no unit of %2, which \"%3\" measures")
                .arg(unitText(wish.unit), datastorage::Converter::castPhysicalParameterAsString(parameter),
                     column.array->getName());
        return false;
    }
    column.displayUnit = wish.unit;
    wish.used = true;
    return true;
}

bool isMeant(const MeasuredColumn& column, const QString& name)
{
    return QString::compare(column.array->getName(), name, Qt::CaseInsensitive) == 0 ||
           QString::compare(column.declaredName, name, Qt::CaseInsensitive) == 0 || column.heading == name;
}

} // namespace vx::cli
