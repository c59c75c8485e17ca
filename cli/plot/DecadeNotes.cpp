#include "plot/DecadeNotes.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace vx::cli {
namespace {

struct Direction
{
    double x = 0;
    double y = 0;

    double length() const { return std::hypot(x, y); }
};

/// From sample `from` towards the first one in steps of `step` that is some pixels away; no direction when
/// there is none.
Direction directionFrom(const Spectrum& spectrum, std::size_t from, int step, double pixel)
{
    constexpr double PIXELS = 15.0;
    const auto size = static_cast<std::ptrdiff_t>(spectrum.x.size());
    for (auto i = static_cast<std::ptrdiff_t>(from) + step; i >= 0 && i < size; i += step) {
        const auto at = static_cast<std::size_t>(i);
        const Direction way{spectrum.x[at] - spectrum.x[from], spectrum.y[at] - spectrum.y[from]};
        if (way.length() > PIXELS * pixel) {
            return {way.x / way.length(), way.y / way.length()};
        }
    }
    return {};
}

/// Where a text disturbs least: outside of a sharp bend, else on the left of the way from high to low
/// frequencies, which is the outer side of the usual arcs.
Direction outside(const Spectrum& spectrum, std::size_t index, double pixel)
{
    constexpr double SHARP = 0.6;
    const bool isFalling = spectrum.frequency.front() > spectrum.frequency.back();
    const Direction next = directionFrom(spectrum, index, isFalling ? 1 : -1, pixel);
    const Direction previous = directionFrom(spectrum, index, isFalling ? -1 : 1, pixel);
    const Direction bend{-previous.x - next.x, -previous.y - next.y};
    if (previous.length() > 0.0 && next.length() > 0.0 && bend.length() > SHARP) {
        return {bend.x / bend.length(), bend.y / bend.length()};
    }
    const Direction way{next.x - previous.x, next.y - previous.y};
    const double length = std::max(way.length(), 1e-12);
    return {-way.y / length, way.x / length};
}

/// The field that a text covers, in pixels from the point that it belongs to.
struct TextBox
{
    double left = 0;
    double bottom = 0;
    double width = 0;
    double height = 0;

    bool holds(double x, double y) const
    {
        return x >= left && x <= left + width && y >= bottom && y <= bottom + height;
    }
};

TextBox boxOf(const ChartNote& note)
{
    constexpr double LETTER = 8.5;
    constexpr double HEIGHT = 18.0;
    constexpr double DISTANCE = 6.0;
    const double width = LETTER * static_cast<double>(note.text.size());
    return {note.right * DISTANCE + (note.right - 1) * width / 2.0,
            note.above * DISTANCE + (note.above - 1) * HEIGHT / 2.0, width, HEIGHT};
}

/// How much of the curve runs through the text of a note, in pixels.
int covered(const Spectrum& spectrum, const ChartNote& note, double pixel)
{
    const TextBox box = boxOf(note);
    int hits = 0;
    for (std::size_t i = 0; i + 1 < spectrum.x.size(); ++i) {
        const Direction way{(spectrum.x[i + 1] - spectrum.x[i]) / pixel,
                            (spectrum.y[i + 1] - spectrum.y[i]) / pixel};
        const int steps = std::isfinite(way.length()) ? static_cast<int>(way.length()) + 1 : 0;
        for (int step = 0; step < steps; ++step) {
            const double part = static_cast<double>(step) / steps;
            hits += box.holds((spectrum.x[i] - note.point.x) / pixel + part * way.x,
                              (spectrum.y[i] - note.point.y) / pixel + part * way.y)
                        ? 1
                        : 0;
        }
    }
    return hits;
}

/// Of the eight places around the point, the one nearest to the preferred direction at which the text covers
/// the least of the curve.
void place(ChartNote& note, const Spectrum& spectrum, const Direction& preferred, double pixel)
{
    constexpr std::array TURNS{0.0, 45.0, -45.0, 90.0, -90.0, 135.0, -135.0, 180.0};
    constexpr double SLANTED = 0.38; // the sine of 22.5 degrees
    const auto rounded = [](double part) { return part > SLANTED ? 1 : part < -SLANTED ? -1 : 0; };
    const double angle = std::atan2(preferred.y, preferred.x);
    int fewest = -1;
    for (const double turn : TURNS) {
        const double turned = angle + turn * std::numbers::pi / 180.0;
        ChartNote candidate = note;
        candidate.right = rounded(std::cos(turned));
        candidate.above = rounded(std::sin(turned));
        const int hits = covered(spectrum, candidate, pixel);
        if (fewest < 0 || hits < fewest) {
            fewest = hits;
            note = candidate;
        }
    }
}

} // namespace

std::vector<ChartNote> decadeNotes(const Spectrum& spectrum, double pixel)
{
    constexpr double CLOSE = 0.01; // of the decadic logarithm
    constexpr double PIXELS_APART = 50.0;
    std::vector<ChartNote> notes;
    for (std::size_t i = 0; i < spectrum.frequency.size(); ++i) {
        const CurvePoint point{spectrum.x[i], spectrum.y[i]};
        const double logarithm = std::log10(spectrum.frequency[i]);
        const double decade = std::round(logarithm);
        const bool isFree = std::all_of(notes.begin(), notes.end(), [&point, pixel](const ChartNote& note) {
            return std::hypot(note.point.x - point.x, note.point.y - point.y) > PIXELS_APART * pixel;
        });
        if (!point.isGap() && isFree && std::abs(logarithm - decade) < CLOSE) {
            notes.push_back({point, decadeText(static_cast<int>(decade))});
            place(notes.back(), spectrum, outside(spectrum, i, pixel), pixel);
        }
    }
    return notes;
}

QString decadeText(int exponent)
{
    constexpr std::array PREFIXES{"n", "µ", "m", "", "k", "M", "G"};
    constexpr int STEP = 3;
    constexpr int BARE = 3; // index of the empty prefix
    const int index = std::clamp((exponent + BARE * STEP) / STEP, 0, static_cast<int>(PREFIXES.size()) - 1);
    const int rest = exponent - (index - BARE) * STEP;
    return QStringLiteral("%1 %2Hz")
        .arg(std::pow(10.0, rest))
        .arg(QString::fromUtf8(PREFIXES.at(static_cast<std::size_t>(index))));
}

} // namespace vx::cli
