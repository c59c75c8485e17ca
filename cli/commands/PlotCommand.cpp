#include "commands/Commands.h"
#include "console/Console.h"
#include "plot/ChartBuilder.h"
#include "plot/ChartDrawer.h"
#include "plot/PlotOptions.h"
#include "plot/PlotSeries.h"
#include "report/TableInputs.h"

#include <QtCore/QSaveFile>

namespace vx::cli {
namespace {

constexpr Option OPTIONS[] = {
    {"x", "NAME", "The array along the horizontal axis."},
    {"y", "NAME,...",
     "The arrays along the vertical axes: the first quantity on the left, a second one on the right. The "
     "name "
     "of a declared array means every array that was matched with it."},
    {"o", "FILE", "The picture: PNG, SVG or PDF by the ending of its name."},
    {"range", "A..B", "Show x from A to B, in the unit in which it is shown; A or B may be left out."},
    {"nyquist", nullptr,
     "An impedance plot: -Im(Z) against Re(Z), unless -x and -y say otherwise, with equal scales. An array "
     "whose "
     "name does not begin with \"-\" is turned upside down."},
    {"size", "WxH", "Size of the picture in pixels. Default: 1200x700."},
    {"unit", "NAME=UNIT", "Show the array NAME in UNIT, as with \"vxdata report\"."},
    {"columns", "HEADINGS",
     "Headings for a table that has none, divided by commas: \"Frequency/Hz,Re(Z)/Ω,-Im(Z)/Ω\"."},
    {"config", "FILE", "Take the declared arrays from this data configuration instead of the built-in one."},
    {"budget", "SIZE", "Memory for samples, for example 64MiB. Default: half of the memory that is free."},
    {"cache-dir", "DIR", "Keep the cache files in a directory of their own inside DIR."},
    {"cache-config", "FILE", "Configure the cache from this file; --budget and --cache-dir win over it."},
    {"open", "DIR", "Draw what \"vxdata report --save\" wrote into DIR."},
};

bool writePicture(const QString& fileName, const QByteArray& picture, InputError& error)
{
    QSaveFile file(fileName);
    if (file.open(QIODevice::WriteOnly) && file.write(picture) == picture.size() && file.commit()) {
        return true;
    }
    error.file = fileName;
    error.text = QStringLiteral("cannot be written: ") + file.errorString();
    return false;
}

/// Every array that is drawn has its cache file from here on.
bool awaitWrites(TableInputs& inputs)
{
    for (const MeasuredTable& table : inputs.tables()) {
        for (const MeasuredColumn& column : table.columns) {
            if (!inputs.watch().await(*column.array)) {
                inputs.bad({table.path, 0, 0,
                            QStringLiteral("the array \"%1\" cannot be kept: %2")
                                .arg(column.array->getName(), inputs.watch().takeError())});
                return false;
            }
        }
    }
    return true;
}

bool draw(const PlotOptions& options, const TableInputs& inputs, InputError& error)
{
    std::vector<PlotSeries> series;
    if (!selectSeries(inputs.tables(), options, series, error)) {
        return false;
    }
    error.file = inputs.tables().size() == 1 ? inputs.tables().front().path : QString();
    Chart chart;
    if (!buildChart(series, options, chart, error.text)) {
        return false;
    }
    const QByteArray picture = chartDrawer()(chart, options.format, error.text);
    return !picture.isEmpty() && writePicture(options.fileName, picture, error);
}

ExitCode run(const Arguments& arguments, Console& console)
{
    TableInputs inputs("plot", arguments, console);
    if (chartDrawer() == nullptr) {
        console.printError(
            QStringLiteral("plot: plotting is missing: this vxdata was built without the library "
                           "that draws charts"));
        return WrongUsage;
    }
    PlotOptions options;
    QString usageError;
    if (!readPlotOptions(arguments, options, usageError)) {
        return inputs.usage(usageError);
    }
    ExitCode result = inputs.configure();
    if (result == Done) {
        result = inputs.collect();
    }
    if (result != Done || inputs.anyBad()) {
        return result == Done ? BadInput : result;
    }
    InputError error;
    if (awaitWrites(inputs) && !draw(options, inputs, error)) {
        const QString cause = inputs.watch().takeError();
        error.text += cause.isEmpty() ? cause : QStringLiteral(": ") + cause;
        inputs.bad(error);
    }
    return inputs.anyBad() ? BadInput : Done;
}

} // namespace

const Command PLOT_COMMAND{
    "plot",
    "FILE... -x NAME -y NAME,... -o PICTURE",
    "Draw arrays of tables as a picture.",
    "Reads the tables as \"vxdata report\" does and draws arrays against another one of the same table, from "
    "every table one curve per array. Arrays of equal physical parameter share an axis and its unit; two "
    "axes are the most. Missing samples are gaps.\n\n"
    "Where there are more than two samples per pixel, a curve is drawn from minimum and maximum of each "
    "pixel's samples, so no peak is lost. Where x runs to and fro, such as a charge, a curve has at "
    "most about a million points.\n\n"
    "No display is needed. A bad table or a missing array keeps the picture from being written; one that was "
    "there stays.",
    "vxdata plot run.csv -x Time -y Voltage,Current --unit Time=h -o run.png\n"
    "vxdata plot run.csv -x Time -y Voltage --range 100..200 -o detail.svg\n"
    "vxdata plot run-1.csv run-2.csv -x Charge -y Voltage -o runs.pdf --size 800x600\n"
    "vxdata plot spectrum.csv --columns \"Frequency/Hz,Re(Z)/Ω,Im(Z)/Ω\" --nyquist -o spectrum.png\n",
    OPTIONS,
    0,
    -1,
    run,
};

} // namespace vx::cli
