#pragma once

#include "plot/CurveTrace.h"
#include "plot/Ticks.h"

#include <QtCore/QString>

#include <cstdint>
#include <optional>
#include <vector>

namespace vx::cli {

/// An axis as it is drawn.
struct ChartAxis
{
    QString title;            ///< name and unit
    std::uint32_t colour = 0; ///< of the title, 0xRRGGBB
    Ticks ticks;
};

/// A curve as it is drawn.
struct ChartCurve
{
    QString name;            ///< in the legend
    bool isRight = false;    ///< measured on the right axis
    bool hasMarkers = false; ///< each point is marked: they are few
    std::uint32_t colour = 0;
    std::vector<CurvePoint> points;
};

/// A text beside a point.
struct ChartNote
{
    CurvePoint point;
    QString text;
    int right = 0; ///< of the point: 1, or left of it: -1, or neither
    int above = 0; ///< the point: 1, or below it: -1, or neither
};

/// Room around the field in which the curves are, in pixels.
struct ChartMargins
{
    int left = 0;
    int top = 0;
    int right = 0;
    int bottom = 0;
};

/// A picture, before anything is drawn: every value, text and colour that is in it.
struct Chart
{
    int width = 0; ///< in pixels
    int height = 0;
    ChartMargins margins;
    QString title;
    int legendColumns = 1; ///< curves beside each other in the legend
    int legendTop = 0;     ///< from the picture's upper edge, in pixels
    ChartAxis x;
    ChartAxis left;
    std::optional<ChartAxis> right;
    std::vector<ChartCurve> curves;
    std::vector<ChartNote> notes;

    int fieldWidth() const { return width - margins.left - margins.right; }
    int fieldHeight() const { return height - margins.top - margins.bottom; }
};

} // namespace vx::cli
