#pragma once

#include <QtCore/QString>
#include <QtCore/QStringList>

#include <vector>

namespace vx::cli {

/// Values from `lower` to `upper`. Empty, for a union with others, when `lower` is above `upper`.
struct ValueRange
{
    double lower = 1.0;
    double upper = -1.0;

    bool isEmpty() const { return !(lower <= upper); }
    double length() const { return upper - lower; }
    /// Grows to hold `value`; NaN and infinities are passed over.
    void include(double value);
    void include(const ValueRange& other);
};

/// The range with `part` of its length added at both ends. A range of a single value becomes one of a
/// length that shows it in the middle.
ValueRange padded(const ValueRange& range, double part);

/// The smallest of 1, 2 and 5 times a power of ten that is at least `length`; for a length above 0.
double niceStep(double length);

/// An axis divided by ticks.
struct Ticks
{
    ValueRange range; ///< what the axis shows
    double step = 1.0;
    int exponent = 0; ///< labels are values / 10^exponent; a multiple of 3

    std::vector<double> values() const;  ///< the ticks inside of the range
    std::vector<double> between() const; ///< small ticks between and around them
    QStringList labels() const;          ///< one for each of values()
    /// The unit with the exponent in front, in brackets: "[10⁻⁶ A]"; empty when there is nothing to say.
    QString unitText(const QString& unit) const;
};

/// Ticks on an axis that shows exactly `range`, at most `most` intervals between them.
Ticks ticksWithin(const ValueRange& range, int most);

/// Ticks for axes that share one set of grid lines: each axis is widened to whole steps, all of them with
/// the same number of intervals, `fewest` to `most`, the one that leaves the least room unused.
std::vector<Ticks> sharedTicks(const std::vector<ValueRange>& ranges, int fewest, int most);

} // namespace vx::cli
