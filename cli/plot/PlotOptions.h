#pragma once

#include "plot/Ticks.h"

#include <QtCore/QString>
#include <QtCore/QStringList>

namespace vx::cli {

class Arguments;

/// What the ending of the picture's name says.
enum PictureFormat
{
    Png,
    Svg,
    Pdf
};

/// What the user wants to see, from the command line.
struct PlotOptions
{
    QString x;
    QStringList y;
    bool isNyquist = false;
    /// In the unit in which x is shown; an end that is not given is an infinity.
    ValueRange range;
    int width = 1200; ///< of the picture, in pixels
    int height = 700;
    QString fileName;
    PictureFormat format = Png;
};

/// Reads "A..B": two numbers, one of which may be left out. False unless A is below B.
bool parseRange(const QString& text, ValueRange& range);

/// Reads "WIDTHxHEIGHT" in pixels, 320x240 to 10000x10000.
bool parseSize(const QString& text, int& width, int& height);

/// The format of a file of this name, by its ending in any case. False for an unknown ending.
bool formatOfName(const QString& fileName, PictureFormat& format);

/// Reads the options of "vxdata plot" that say what is drawn. False with `error` set for wrong usage.
bool readPlotOptions(const Arguments& arguments, PlotOptions& options, QString& error);

} // namespace vx::cli
