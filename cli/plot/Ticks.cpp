#include "plot/Ticks.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace vx::cli {
namespace {

constexpr double TEN = 10.0;
constexpr std::array NICE_FACTORS{1.0, 2.0, 5.0, 10.0};
/// Room for what rounding does to a quotient that should be a whole number.
constexpr double ROUNDING = 1e-9;

double wholeBelow(double value)
{
    return std::floor(value + ROUNDING);
}

double wholeAbove(double value)
{
    return std::ceil(value - ROUNDING);
}

/// The smallest nice step with which `intervals` of them, beginning at a whole multiple, hold the range.
double stepFor(const ValueRange& range, int intervals)
{
    double step = niceStep(range.length() / intervals);
    while ((wholeBelow(range.lower / step) + intervals) * step < range.upper - step * ROUNDING) {
        step = niceStep(step * 1.5);
    }
    return step;
}

/// Labels from 0.001 to below a million are readable; beyond, a power of ten goes to the unit.
int exponentFor(const ValueRange& range)
{
    constexpr double LARGEST = 1e6;
    constexpr double SMALLEST = 1e-2;
    const double magnitude = std::max(std::abs(range.lower), std::abs(range.upper));
    if (magnitude == 0.0 || (magnitude < LARGEST && magnitude >= SMALLEST)) {
        return 0;
    }
    return static_cast<int>(std::floor(std::log10(magnitude * (1.0 + ROUNDING)) / 3.0)) * 3;
}

QString superscript(int number)
{
    constexpr std::array<char16_t, 10> DIGITS{u'⁰', u'¹', u'²', u'³', u'⁴', u'⁵', u'⁶', u'⁷', u'⁸', u'⁹'};
    QString text;
    for (const QChar digit : QString::number(number)) {
        text +=
            digit.isDigit() ? QChar(DIGITS.at(static_cast<std::size_t>(digit.digitValue()))) : QChar(u'⁻');
    }
    return text;
}

std::vector<double> multiples(const ValueRange& range, double step)
{
    std::vector<double> values;
    const auto first = static_cast<qint64>(wholeAbove(range.lower / step));
    const auto last = static_cast<qint64>(wholeBelow(range.upper / step));
    for (qint64 i = first; i <= last; ++i) {
        values.push_back(static_cast<double>(i) * step);
    }
    return values;
}

} // namespace

void ValueRange::include(double value)
{
    if (!std::isfinite(value)) {
        return;
    }
    const bool first = isEmpty();
    lower = first ? value : std::min(lower, value);
    upper = first ? value : std::max(upper, value);
}

void ValueRange::include(const ValueRange& other)
{
    if (!other.isEmpty()) {
        include(other.lower);
        include(other.upper);
    }
}

ValueRange padded(const ValueRange& range, double part)
{
    constexpr double SINGLE_VALUE_PART = 0.05;
    constexpr double SMALLEST_PART = 1e-6;
    const double magnitude = std::max(std::abs(range.lower), std::abs(range.upper));
    if (range.length() > magnitude * SMALLEST_PART) {
        return {range.lower - part * range.length(), range.upper + part * range.length()};
    }
    const double room = magnitude > 0.0 ? magnitude * SINGLE_VALUE_PART : 1.0;
    return {range.lower - room, range.upper + room};
}

double niceStep(double length)
{
    const double power = std::pow(TEN, std::floor(std::log10(length)));
    for (const double factor : NICE_FACTORS) {
        if (factor * power >= length * (1.0 - ROUNDING)) {
            return factor * power;
        }
    }
    return TEN * power;
}

std::vector<double> Ticks::values() const
{
    return multiples(range, step);
}

std::vector<double> Ticks::between() const
{
    const double leading = step / std::pow(TEN, std::floor(std::log10(step) + ROUNDING));
    const bool isTwo = std::abs(leading - 2.0) < 0.5;
    return multiples(range, step / (isTwo ? 4.0 : 5.0));
}

QStringList Ticks::labels() const
{
    const double scale = std::pow(TEN, exponent);
    const int decimals = std::max(0, static_cast<int>(-std::floor(std::log10(step / scale) + ROUNDING)));
    QStringList labels;
    for (const double value : values()) {
        const bool isZero = std::abs(value) < step / 2.0;
        QString text = QString::number(isZero ? 0.0 : value / scale, 'f', decimals);
        labels.append(text.replace(QLatin1Char('-'), QChar(u'−')));
    }
    return labels;
}

QString Ticks::unitText(const QString& unit) const
{
    QString text = unit == QLatin1String("-") ? QString() : unit;
    if (exponent != 0) {
        text = (QStringLiteral("10") + superscript(exponent) + QLatin1Char(' ') + text).trimmed();
    }
    return text.isEmpty() ? text : QLatin1Char('[') + text + QLatin1Char(']');
}

Ticks ticksWithin(const ValueRange& range, int most)
{
    Ticks ticks;
    ticks.range = range;
    ticks.step = niceStep(range.length() / most);
    ticks.exponent = exponentFor(range);
    return ticks;
}

std::vector<Ticks> sharedTicks(const std::vector<ValueRange>& ranges, int fewest, int most)
{
    std::vector<Ticks> best;
    double bestUse = 0.0;
    for (int intervals = fewest; intervals <= most; ++intervals) {
        std::vector<Ticks> axes;
        double use = 0.0;
        for (const ValueRange& range : ranges) {
            Ticks ticks;
            ticks.step = stepFor(range, intervals);
            const double lower = wholeBelow(range.lower / ticks.step) * ticks.step;
            ticks.range = {lower, lower + intervals * ticks.step};
            ticks.exponent = exponentFor(ticks.range);
            use += range.length() / ticks.range.length();
            axes.push_back(ticks);
        }
        if (use > bestUse) {
            bestUse = use;
            best = std::move(axes);
        }
    }
    return best;
}

} // namespace vx::cli
