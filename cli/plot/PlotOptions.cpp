#include "plot/PlotOptions.h"

#include "console/CommandLine.h"

#include <QtCore/QFileInfo>

#include <array>
#include <cmath>
#include <limits>

namespace vx::cli {
namespace {

struct Ending
{
    const char* text;
    PictureFormat format;
};

constexpr std::array ENDINGS{
    Ending{"png", Png},
    Ending{"svg", Svg},
    Ending{"pdf", Pdf},
};

/// A number, or `whenEmpty` for no text; false for anything else.
bool parseEnd(const QString& text, double whenEmpty, double& value)
{
    const QString trimmedText = text.trimmed();
    value = whenEmpty;
    if (trimmedText.isEmpty()) {
        return true;
    }
    bool ok = false;
    value = trimmedText.toDouble(&ok);
    return ok && std::isfinite(value);
}

bool readNames(const Arguments& arguments, PlotOptions& options, QString& error)
{
    options.x = arguments.value("x").trimmed();
    for (const QString& names : arguments.values("y")) {
        for (const QString& name : names.split(QLatin1Char(','))) {
            options.y.append(name.trimmed());
        }
    }
    if (options.isNyquist && !arguments.has("x")) {
        options.x = QStringLiteral("Re(Z)");
    }
    if (options.x.isEmpty()) {
        error = QStringLiteral("expected the name of an array with -x");
        return false;
    }
    if (options.y.contains(QString()) || (options.y.isEmpty() && !options.isNyquist)) {
        error = QStringLiteral("expected names of arrays, divided by commas, with -y");
        return false;
    }
    return true;
}

} // namespace

bool parseRange(const QString& text, ValueRange& range)
{
    constexpr double INFINITE = std::numeric_limits<double>::infinity();
    const qsizetype dots = text.indexOf(QLatin1String(".."));
    return dots >= 0 && parseEnd(text.left(dots), -INFINITE, range.lower) &&
           parseEnd(text.mid(dots + 2), INFINITE, range.upper) && range.lower < range.upper;
}

bool parseSize(const QString& text, int& width, int& height)
{
    constexpr int SMALLEST_WIDTH = 320;
    constexpr int SMALLEST_HEIGHT = 240;
    constexpr int LARGEST = 10000;
    const QStringList parts = text.split(QLatin1Char('x'));
    bool widthOk = false;
    bool heightOk = false;
    width = parts.value(0).toInt(&widthOk);
    height = parts.value(1).toInt(&heightOk);
    return parts.size() == 2 && widthOk && heightOk && width >= SMALLEST_WIDTH && width <= LARGEST &&
           height >= SMALLEST_HEIGHT && height <= LARGEST;
}

bool formatOfName(const QString& fileName, PictureFormat& format)
{
    const QString suffix = QFileInfo(fileName).suffix().toLower();
    for (const Ending& ending : ENDINGS) {
        if (suffix == QLatin1String(ending.text)) {
            format = ending.format;
            return true;
        }
    }
    return false;
}

bool readPlotOptions(const Arguments& arguments, PlotOptions& options, QString& error)
{
    options.isNyquist = arguments.has("nyquist");
    parseRange(QStringLiteral(".."), options.range);
    if (!readNames(arguments, options, error)) {
        return false;
    }
    if (arguments.has("range") && !parseRange(arguments.value("range"), options.range)) {
        error = QStringLiteral("--range: expected A..B with A below B, found \"%1\"")
                    .arg(arguments.value("range"));
        return false;
    }
    if (arguments.has("size") && !parseSize(arguments.value("size"), options.width, options.height)) {
        error = QStringLiteral("--size: expected WIDTHxHEIGHT from 320x240 to 10000x10000, found \"%1\"")
                    .arg(arguments.value("size"));
        return false;
    }
    options.fileName = arguments.value("o");
    if (!formatOfName(options.fileName, options.format)) {
        error = arguments.has("o")
                    ? QStringLiteral("-o: expected a name that ends in .png, .svg or .pdf, found \"%1\"")
                          .arg(options.fileName)
                    : QStringLiteral("expected a file for the picture with -o");
        return false;
    }
    return true;
}

} // namespace vx::cli
