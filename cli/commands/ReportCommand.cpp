#include "commands/Commands.h"
#include "console/Console.h"
#include "report/ReportArchive.h"
#include "report/ReportText.h"
#include "report/TableInputs.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QJsonDocument>

#include <utility>

namespace vx::cli {
namespace {

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

/// Reads every array back through the cache.
std::vector<ReportedTable> readBack(TableInputs& inputs, Console& console)
{
    std::vector<ReportedTable> reported;
    for (const MeasuredTable& table : inputs.tables()) {
        ReportedTable result;
        result.table = &table;
        for (const MeasuredColumn& column : table.columns) {
            ArrayStatistics statistics;
            const bool read =
                readStatistics(*column.array, statistics) && inputs.watch().await(*column.array);
            if (!read) {
                inputs.bad({table.path, 0, 0,
                            QStringLiteral("the array \"%1\" cannot be read back: %2")
                                .arg(column.array->getName(), inputs.watch().takeError())});
                break;
            }
            result.statistics.push_back(statistics);
            console.showProgress(table.path, static_cast<double>(result.statistics.size()) /
                                                 static_cast<double>(table.columns.size()));
        }
        if (result.statistics.size() == table.columns.size()) {
            reported.push_back(std::move(result));
        }
    }
    console.clearProgress();
    return reported;
}

void print(const std::vector<ReportedTable>& reported, bool asJson, double seconds, Console& console)
{
    const CacheFigures figures = CacheWatch::figures();
    if (asJson) {
        console.print(QString::fromUtf8(QJsonDocument(reportJson(reported, figures)).toJson()));
    } else if (!reported.empty()) {
        console.print(reportText(reported, figures, seconds, console));
    }
}

ExitCode run(const Arguments& arguments, Console& console)
{
    constexpr double MILLISECONDS = 1000.0;
    QElapsedTimer timer;
    timer.start();
    TableInputs inputs("report", arguments, console);
    if (arguments.has("save") && arguments.value("save").isEmpty()) {
        return inputs.usage(QStringLiteral("--save: expected a directory"));
    }
    ExitCode result = inputs.configure();
    if (result == Done) {
        result = inputs.collect();
    }
    if (result != Done) {
        return result;
    }
    const std::vector<ReportedTable> reported = readBack(inputs, console);
    InputError error;
    if (arguments.has("save") && !saveTables(inputs.tables(), arguments.value("save"), error)) {
        inputs.bad(error);
    }
    print(reported, arguments.has("json"), static_cast<double>(timer.elapsed()) / MILLISECONDS, console);
    return inputs.anyBad() ? BadInput : Done;
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
