#include "plot/ChartBuilder.h"

#include "plot/DecadeNotes.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace vx::cli {
namespace {

constexpr std::uint32_t INK = 0x333333;
/// Colours that people with any kind of colour vision tell apart (Okabe and Ito), without the yellow one.
constexpr std::array<std::uint32_t, 7> COLOURS{0x0072B2, 0xD55E00, 0x009E73, 0xCC79A7,
                                               0xE69F00, 0x56B4E9, 0x000000};

// Sizes in pixels, for the fonts of the renderer.
constexpr int LETTER = 8;
constexpr int LINE = 26;
constexpr int EDGE = 14;
constexpr int AXIS_TITLE = 30;
constexpr int TICK_GAP = 14;
constexpr int BARE_SIDE = 34;
constexpr int BOTTOM = 70;
constexpr int LEGEND_LINE = 48;

/// Part of a range that stays free at both of its ends.
constexpr double FREE_PART = 0.04;
constexpr double FREE_NYQUIST_PART = 0.08;

class Builder
{
public:
    Builder(const std::vector<PlotSeries>& series, const PlotOptions& options, Chart& chart, QString& error)
        : m_series(series), m_options(options), m_chart(chart), m_error(error)
    {}

    bool build()
    {
        m_chart.width = m_options.width;
        m_chart.height = m_options.height;
        m_chart.margins = {BARE_SIDE, EDGE, BARE_SIDE, BOTTOM};
        if (!assignSides() || !findShown() || !trace()) {
            return false;
        }
        nameCurves();
        placeLegend();
        if (m_options.isNyquist) {
            setEqualScales();
            addNotes();
        } else {
            setScales();
        }
        setTitles();
        return true;
    }

private:
    bool fail(const QString& text)
    {
        m_error = text;
        return false;
    }

    bool assignSides()
    {
        const PlotQuantity& x = m_series.front().x;
        const PlotQuantity& left = m_series.front().y;
        const PlotQuantity* right = nullptr;
        for (const PlotSeries& one : m_series) {
            const bool isLeft = one.y.parameter == left.parameter;
            if (one.x.parameter != x.parameter || (m_options.isNyquist && one.y.parameter != x.parameter)) {
                const PlotQuantity& other = one.x.parameter != x.parameter ? one.x : one.y;
                return fail(QStringLiteral("one axis cannot show %1 and %2")
                                .arg(x.parameterName, other.parameterName));
            }
            if (!isLeft && right == nullptr) {
                right = &one.y;
            }
            if (!isLeft && one.y.parameter != right->parameter) {
                return fail(QStringLiteral("two axes cannot show %1, %2 and %3")
                                .arg(left.parameterName, right->parameterName, one.y.parameterName));
            }
            ChartCurve curve;
            curve.isRight = !isLeft;
            curve.colour = COLOURS.at(m_chart.curves.size() % COLOURS.size());
            m_chart.curves.push_back(curve);
        }
        if (right != nullptr) {
            m_chart.right.emplace();
        }
        return true;
    }

    /// What of x is shown: all, or what the user asked for.
    bool findShown()
    {
        ValueRange all;
        m_isRising = true;
        for (const PlotSeries& one : m_series) {
            for (const SampleColumn& column : one.xSource->envelope(0, one.xSource->size(), 1)) {
                all.include(column.minimum);
                all.include(column.maximum);
            }
            m_isRising = m_isRising && isRising(*one.xSource);
        }
        if (all.isEmpty()) {
            return fail(QStringLiteral("there is no sample of \"%1\" to draw").arg(m_series.front().x.name));
        }
        const bool isTight = m_isRising && !m_options.isNyquist && all.length() > 0.0;
        const ValueRange room = isTight ? all : padded(all, FREE_PART);
        m_shown.lower = std::isfinite(m_options.range.lower) ? m_options.range.lower : room.lower;
        m_shown.upper = std::isfinite(m_options.range.upper) ? m_options.range.upper : room.upper;
        if (m_shown.lower >= m_shown.upper || m_shown.lower > all.upper || m_shown.upper < all.lower) {
            return fail(QStringLiteral("--range: no sample lies in it; \"%1\" runs from %2 to %3 %4")
                            .arg(m_series.front().x.name, QString::number(all.lower),
                                 QString::number(all.upper), m_series.front().x.unit));
        }
        return true;
    }

    bool trace()
    {
        for (std::size_t i = 0; i < m_series.size(); ++i) {
            const PlotSeries& one = m_series[i];
            ChartCurve& curve = m_chart.curves[i];
            TraceOptions options;
            options.indexes = {0, one.xSource->size()};
            options.shown = m_shown;
            options.columns = m_chart.fieldWidth();
            if ((m_isRising && !indexRange(*one.xSource, m_shown, options.indexes)) ||
                !traceCurve(*one.xSource, *one.ySource, options, curve.points)) {
                return fail(QStringLiteral("\"%1\" cannot be read back").arg(one.y.name));
            }
            constexpr std::size_t PIXELS_PER_MARKER = 10;
            curve.hasMarkers =
                curve.points.size() * PIXELS_PER_MARKER <= static_cast<std::size_t>(options.columns);
        }
        if (rangeOf(false).isEmpty() && rangeOf(true).isEmpty()) {
            return fail(QStringLiteral("there is no sample of \"%1\" to draw").arg(m_series.front().y.name));
        }
        return true;
    }

    /// Of the values of one side that are shown.
    ValueRange rangeOf(bool isRight) const
    {
        ValueRange range;
        for (const ChartCurve& curve : m_chart.curves) {
            for (const CurvePoint& point : curve.points) {
                if (curve.isRight == isRight && point.x >= m_shown.lower && point.x <= m_shown.upper) {
                    range.include(point.y);
                }
            }
        }
        return range;
    }

    ValueRange paddedRangeOf(bool isRight) const
    {
        const ValueRange range = rangeOf(isRight);
        return range.isEmpty() ? ValueRange{0.0, 1.0} : padded(range, FREE_PART);
    }

    bool isOneFile() const
    {
        return std::all_of(m_series.begin(), m_series.end(),
                           [this](const PlotSeries& one) { return one.file == m_series.front().file; });
    }

    void nameCurves()
    {
        const bool oneFile = isOneFile();
        m_chart.title = oneFile ? m_series.front().file : QString();
        for (std::size_t i = 0; i < m_series.size(); ++i) {
            m_chart.curves[i].name = shownName(m_series[i].y.name);
            if (!oneFile) {
                m_chart.curves[i].name += QStringLiteral(", ") + m_series[i].file;
            }
        }
    }

    /// A minus as it is printed.
    static QString shownName(QString name)
    {
        return name.startsWith(QLatin1Char('-')) ? name.replace(0, 1, QChar(u'−')) : name;
    }

    void placeLegend()
    {
        qsizetype longest = 0;
        for (const ChartCurve& curve : m_chart.curves) {
            longest = std::max(longest, curve.name.size());
        }
        const int curves = static_cast<int>(m_chart.curves.size());
        const int entry = LEGEND_LINE + LETTER * static_cast<int>(longest);
        const int room = m_chart.fieldWidth();
        m_chart.legendColumns = std::clamp(room / entry, 1, curves);
        const int rows = (curves + m_chart.legendColumns - 1) / m_chart.legendColumns;
        const int title = LETTER * static_cast<int>(m_chart.title.size()) + LINE;
        const bool isBeside = m_chart.title.isEmpty() || title + entry * m_chart.legendColumns <= room;
        m_chart.legendTop = EDGE + (isBeside ? 0 : LINE);
        m_chart.margins.top = m_chart.legendTop + rows * LINE + EDGE / 2;
    }

    void setScales()
    {
        constexpr int PIXELS_PER_TICK = 100;
        constexpr int FEWEST = 4;
        constexpr int TALLEST = 110;
        constexpr int LOWEST = 52;
        std::vector<ValueRange> ranges{paddedRangeOf(false)};
        if (m_chart.right) {
            ranges.push_back(paddedRangeOf(true));
        }
        const int height = m_chart.fieldHeight();
        const int fewest = std::max(height / TALLEST, FEWEST);
        const std::vector<Ticks> ticks = sharedTicks(ranges, fewest, std::max(height / LOWEST, fewest));
        m_chart.left.ticks = ticks.front();
        m_chart.margins.left = sideWidth(ticks.front());
        if (m_chart.right) {
            m_chart.right->ticks = ticks.back();
            m_chart.margins.right = sideWidth(ticks.back());
        }
        m_chart.x.ticks = ticksWithin(m_shown, std::max(m_chart.fieldWidth() / PIXELS_PER_TICK, 2));
    }

    static int sideWidth(const Ticks& ticks)
    {
        qsizetype longest = 0;
        for (const QString& label : ticks.labels()) {
            longest = std::max(longest, label.size());
        }
        return EDGE + AXIS_TITLE + TICK_GAP + LETTER * static_cast<int>(longest);
    }

    /// Widens one of the two ranges until a unit is as long on both axes.
    void setEqualScales()
    {
        constexpr int PIXELS_PER_TICK = 75;
        ValueRange x = m_shown;
        ValueRange y = padded(rangeOf(false), FREE_NYQUIST_PART);
        m_chart.margins.left = sideWidth(ticksWithin(y, m_chart.fieldHeight() / PIXELS_PER_TICK));
        const double unit = std::max(x.length() / m_chart.fieldWidth(), y.length() / m_chart.fieldHeight());
        widen(x, unit * m_chart.fieldWidth());
        widen(y, unit * m_chart.fieldHeight());
        m_chart.x.ticks = ticksWithin(x, m_chart.fieldWidth() / PIXELS_PER_TICK);
        m_chart.left.ticks = m_chart.x.ticks;
        m_chart.left.ticks.range = y;
    }

    static void widen(ValueRange& range, double length)
    {
        const double more = (length - range.length()) / 2.0;
        range.lower -= more;
        range.upper += more;
    }

    void setTitles()
    {
        m_chart.x.title = axisTitle({m_series.front().x.name}, m_series.front().x, m_chart.x.ticks);
        m_chart.x.colour = INK;
        setSideTitle(m_chart.left, false);
        if (m_chart.right) {
            setSideTitle(*m_chart.right, true);
        }
    }

    void setSideTitle(ChartAxis& axis, bool isRight)
    {
        QStringList names;
        const PlotQuantity* quantity = nullptr;
        axis.colour = INK;
        int curves = 0;
        for (std::size_t i = 0; i < m_series.size(); ++i) {
            if (m_chart.curves[i].isRight == isRight) {
                names.append(shownName(m_series[i].y.name));
                quantity = &m_series[i].y;
                axis.colour = m_chart.curves[i].colour;
                ++curves;
            }
        }
        if (curves > 1 || !m_chart.right) {
            axis.colour = INK;
        }
        names.removeDuplicates();
        axis.title = axisTitle(names, *quantity, axis.ticks);
    }

    /// The names while they are few, else what they all measure.
    static QString axisTitle(const QStringList& names, const PlotQuantity& quantity, const Ticks& ticks)
    {
        constexpr qsizetype LONGEST = 36;
        const QString joined = names.join(QStringLiteral(", "));
        const QString name = joined.size() <= LONGEST || names.size() == 1 ? joined : quantity.parameterName;
        return (name + QLatin1Char(' ') + ticks.unitText(quantity.unit)).trimmed();
    }

    /// The frequencies of whole decades.
    void addNotes()
    {
        constexpr qint64 MOST_SAMPLES = 1000;
        const PlotSeries& one = m_series.front();
        if (!one.frequency || m_series.size() > 1 || one.frequency->size() > MOST_SAMPLES) {
            return;
        }
        const auto size = static_cast<std::size_t>(one.frequency->size());
        Spectrum spectrum{std::vector<double>(size), std::vector<double>(size), std::vector<double>(size)};
        if (one.frequency->read(0, spectrum.frequency) && one.xSource->read(0, spectrum.x) &&
            one.ySource->read(0, spectrum.y)) {
            m_chart.notes =
                decadeNotes(spectrum, m_chart.x.ticks.range.length() / std::max(m_chart.fieldWidth(), 1));
        }
    }

    const std::vector<PlotSeries>& m_series;
    const PlotOptions& m_options;
    Chart& m_chart;
    QString& m_error;
    bool m_isRising = false;
    ValueRange m_shown; ///< of x
};

} // namespace

bool buildChart(const std::vector<PlotSeries>& series, const PlotOptions& options, Chart& chart,
                QString& error)
{
    return Builder(series, options, chart, error).build();
}

} // namespace vx::cli
