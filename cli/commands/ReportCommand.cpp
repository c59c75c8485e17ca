#include "commands/Commands.h"
#include "config/DeclaredArrays.h"
#include "console/Console.h"
#include "report/CacheOptions.h"
#include "report/CacheWatch.h"
#include "report/ReportArchive.h"
#include "report/ReportText.h"
#include "report/TableImport.h"

#include <datastorage/units/Converter.h>

#include <QtCore/QElapsedTimer>
#include <QtCore/QFileInfo>
#include <QtCore/QJsonDocument>

#include <algorithm>
#include <utility>

namespace vx::cli {
namespace {

using datastorage::UsualUnit;

constexpr Option OPTIONS[] = {
    {"unit", "NAME=UNIT",
     "Show the array NAME, or every array matched with the declared array NAME, in UNIT, for example "
     "\"Current=mA\". May be given several times. By default a value is shown in the unit of its heading."},
    {"columns", "HEADINGS",
     "Headings for a table that has none, divided by commas: \"Frequency/Hz,Re(Z)/Ω,-Im(Z)/Ω\"."},
    {"json", nullptr, "Print one JSON object instead of tables."},
    {"config", "FILE", "Take the declared arrays from this data configuration instead of the built-in one."},
    {"budget", "SIZE", "Memory for samples, for example 64MiB. Default: half of the memory that is free."},
    {"cache-dir", "DIR", "Keep the cache files in a directory of their own inside DIR."},
    {"cache-config", "FILE", "Configure the cache from this file; --budget and --cache-dir win over it."},
    {"save", "DIR", "Save descriptors and samples of the arrays in DIR."},
    {"open", "DIR", "Report what --save wrote into DIR; the original tables are not needed."},
};

/// A wish of the user for the unit of some arrays.
struct UnitWish
{
    QString name;
    UsualUnit unit;
    bool used = false;
};

/// All that one call of the command works with.
struct Run
{
    const Arguments& arguments;
    Console& console;
    std::vector<UnitWish> wishes;
    QStringList columnNames;
    DeclaredArrays declared;
    CacheWatch watch;
    std::vector<MeasuredTable> tables;
    bool anyBad = false;

    ExitCode usage(const QString& text) const
    {
        console.printError(QStringLiteral("report: ") + text +
                           QStringLiteral("; see \"vxdata report --help\""));
        return WrongUsage;
    }

    /// One line about a bad input; the other inputs go on.
    void bad(const InputError& error)
    {
        console.printError(formatError(error));
        anyBad = true;
    }
};

bool readWishes(Run& run, QString& error)
{
    for (const QString& text : run.arguments.values("unit")) {
        const qsizetype equals = text.lastIndexOf(QLatin1Char('='));
        UnitWish wish;
        wish.name = text.left(equals).trimmed();
        wish.unit = readUnit(text.mid(equals + 1));
        if (equals <= 0 || wish.name.isEmpty() || wish.unit.isUnknown()) {
            error = QStringLiteral("--unit: expected NAME=UNIT with a known unit, found \"%1\"").arg(text);
            return false;
        }
        run.wishes.push_back(wish);
    }
    return true;
}

/// Divides --columns as the heading line of a table is divided: names may be quoted.
bool readColumnNames(Run& run, QString& error)
{
    if (!run.arguments.has("columns")) {
        return true;
    }
    QString name;
    bool quoted = false;
    for (const QChar c : run.arguments.value("columns")) {
        if (c == QLatin1Char('"')) {
            quoted = !quoted;
        } else if (c == QLatin1Char(',') && !quoted) {
            run.columnNames.append(name.trimmed());
            name.clear();
        } else {
            name += c;
        }
    }
    run.columnNames.append(name.trimmed());
    if (quoted || run.columnNames.contains(QString())) {
        error = QStringLiteral("--columns: expected names divided by commas, found \"%1\"")
                    .arg(run.arguments.value("columns"));
        return false;
    }
    return true;
}

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

void importTables(Run& run)
{
    const ArrayMatcher matcher(run.declared.arrays());
    TableImport import(matcher, run.columnNames, run.watch, run.console);
    for (const QString& path : run.arguments.positional) {
        MeasuredTable table;
        table.path = path;
        table.key = keyOf(path, run.tables);
        InputError error;
        if (import.import(table, error)) {
            run.tables.push_back(std::move(table));
        } else {
            run.bad(error);
        }
    }
}

bool isMeant(const MeasuredColumn& column, const QString& name)
{
    return QString::compare(column.array->getName(), name, Qt::CaseInsensitive) == 0 ||
           QString::compare(column.declaredName, name, Qt::CaseInsensitive) == 0 || column.heading == name;
}

/// Sets the display units that the user wishes; false when a wish does not fit its array.
bool applyWishes(Run& run, QString& error)
{
    for (UnitWish& wish : run.wishes) {
        for (MeasuredTable& table : run.tables) {
            for (MeasuredColumn& column : table.columns) {
                if (!isMeant(column, wish.name)) {
                    continue;
                }
                const datastorage::PhysicalParameter parameter = column.array->getPhysicalParameter();
                if (!isUnitOf(wish.unit, parameter)) {
                    error = QStringLiteral("--unit: %1 is no unit of %2, which \"%3\" measures")
                                .arg(unitText(wish.unit),
                                     datastorage::Converter::castPhysicalParameterAsString(parameter),
                                     column.array->getName());
                    return false;
                }
                column.displayUnit = wish.unit;
                wish.used = true;
            }
        }
        if (!wish.used && !run.tables.empty() && !run.anyBad) {
            error = QStringLiteral("--unit: no array is called \"%1\"").arg(wish.name);
            return false;
        }
    }
    return true;
}

/// Reads every array back through the cache.
std::vector<ReportedTable> readBack(Run& run)
{
    std::vector<ReportedTable> reported;
    for (const MeasuredTable& table : run.tables) {
        ReportedTable result;
        result.table = &table;
        for (const MeasuredColumn& column : table.columns) {
            ArrayStatistics statistics;
            const bool read = readStatistics(*column.array, statistics) && run.watch.await(*column.array);
            if (!read) {
                run.bad({table.path, 0, 0,
                         QStringLiteral("the array \"%1\" cannot be read back: %2")
                             .arg(column.array->getName(), run.watch.takeError())});
                break;
            }
            result.statistics.push_back(statistics);
            run.console.showProgress(table.path, static_cast<double>(result.statistics.size()) /
                                                     static_cast<double>(table.columns.size()));
        }
        if (result.statistics.size() == table.columns.size()) {
            reported.push_back(std::move(result));
        }
    }
    run.console.clearProgress();
    return reported;
}

ExitCode collectTables(Run& run)
{
    InputError error;
    if (run.arguments.has("open")) {
        if (!openTables(run.tables, run.arguments.value("open"), error)) {
            run.bad(error);
            return BadInput;
        }
        return Done;
    }
    if (!run.declared.read(run.arguments.value("config"), error)) {
        run.bad(error);
        return BadInput;
    }
    importTables(run);
    return Done;
}

ExitCode checkUsage(Run& run)
{
    QString error;
    if (run.arguments.has("open") == !run.arguments.positional.isEmpty()) {
        return run.usage(QStringLiteral("expected either tables or --open DIR"));
    }
    for (const char* directory : {"open", "save"}) {
        if (run.arguments.has(directory) && run.arguments.value(directory).isEmpty()) {
            return run.usage(QStringLiteral("--%1: expected a directory").arg(QLatin1String(directory)));
        }
    }
    if (!readWishes(run, error) || !readColumnNames(run, error)) {
        return run.usage(error);
    }
    InputError cacheError;
    const ExitCode cacheResult = configureCache(run.arguments, cacheError);
    if (cacheResult == WrongUsage) {
        return run.usage(cacheError.text);
    }
    if (cacheResult != Done) {
        run.bad(cacheError);
    }
    return cacheResult;
}

void print(Run& run, const std::vector<ReportedTable>& reported, double seconds)
{
    const CacheFigures figures = CacheWatch::figures();
    if (run.arguments.has("json")) {
        run.console.print(QString::fromUtf8(QJsonDocument(reportJson(reported, figures)).toJson()));
    } else if (!reported.empty()) {
        run.console.print(reportText(reported, figures, seconds, run.console));
    }
}

ExitCode run(const Arguments& arguments, Console& console)
{
    constexpr double MILLISECONDS = 1000.0;
    QElapsedTimer timer;
    timer.start();
    Run run{arguments, console, {}, {}, {}, {}, {}, false};
    ExitCode result = checkUsage(run);
    if (result == Done) {
        result = collectTables(run);
    }
    if (result != Done) {
        return result;
    }
    QString wishError;
    if (!applyWishes(run, wishError)) {
        return run.usage(wishError);
    }
    const std::vector<ReportedTable> reported = readBack(run);
    InputError error;
    if (arguments.has("save") && !saveTables(run.tables, arguments.value("save"), error)) {
        run.bad(error);
    }
    print(run, reported, static_cast<double>(timer.elapsed()) / MILLISECONDS);
    return run.anyBad ? BadInput : Done;
}

} // namespace

const Command REPORT_COMMAND{
    "report",
    "FILE...",
    "Read tables of measurements and report what they hold.",
    "Reads each table row by row into streamed arrays, which a disk cache keeps within a memory budget, then "
    "reads every array back and prints samples, missing samples, minimum, maximum, mean, first and last "
    "value.\n\n"
    "A table is UTF-8 text with cells divided by tab, semicolon or comma, decimal point or comma, and one "
    "line of "
    "headings. Empty cells, NaN and N/A are missing samples. A heading is a name with its unit: \"Voltage "
    "[V]\", "
    "\"Current / mA\", \"voltage_volt\", \"Temperature 1 / °C\"; [-] is a number without unit. The name and "
    "the unit "
    "decide which declared array a column is (\"vxdata check\" shows those of a data configuration); a "
    "column that "
    "matches none is kept as a dimensionless array and a warning says so.\n\n"
    "Values are stored as 32-bit numbers in the main unit of their physical parameter and shown in the unit "
    "of "
    "their heading, or the one that --unit names. A warning says where 32 bits are not enough to tell "
    "neighbouring values apart.\n\n"
    "A bad table does not keep the others from being reported; its error is one line on the standard error "
    "stream, FILE:LINE:CELL and what was expected.",
    "vxdata report run.csv\n"
    "vxdata report run.csv --budget 64MiB --unit \"Current=mA\" --unit \"Time=h\"\n"
    "vxdata report spectrum.csv --columns \"Frequency/Hz,Re(Z)/Ω,Im(Z)/Ω\" --json\n"
    "vxdata report run.csv --save kept\n"
    "vxdata report --open kept\n",
    OPTIONS,
    0,
    -1,
    run,
};

} // namespace vx::cli
