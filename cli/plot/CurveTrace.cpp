#include "plot/CurveTrace.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace vx::cli {
namespace {

constexpr double NO_VALUE = std::numeric_limits<double>::quiet_NaN();
constexpr qint64 SAMPLES_PER_COLUMN = 2;
constexpr double MOST_PIXELS = 2.0;

/// Walks through the samples of one curve and collects its points.
class Tracer
{
public:
    Tracer(const SampleSource& x, const SampleSource& y, const TraceOptions& options,
           std::vector<CurvePoint>& points)
        : m_x(x),
          m_y(y),
          m_options(options),
          m_points(points),
          m_pixel(options.shown.length() / std::max(options.columns, 1))
    {}

    bool trace(IndexRange indexes, int columns)
    {
        if (indexes.count() <= SAMPLES_PER_COLUMN * columns) {
            return traceSamples(indexes);
        }
        const std::vector<SampleColumn> xs = m_x.envelope(indexes.first, indexes.last, columns);
        const std::vector<SampleColumn> ys = m_y.envelope(indexes.first, indexes.last, columns);
        if (xs.size() != ys.size()) {
            return false;
        }
        for (std::size_t i = 0; i < ys.size(); ++i) {
            if (!traceColumn(xs[i], ys[i])) {
                return false;
            }
        }
        return true;
    }

    /// A sample between gaps becomes a line that is just long enough to be seen.
    void endLine()
    {
        const std::size_t count = m_points.size();
        if (count > 0 && !m_points.back().isGap() && (count == 1 || m_points[count - 2].isGap())) {
            m_points.push_back({m_points.back().x + m_pixel / 2.0, m_points.back().y});
        }
    }

private:
    bool traceSamples(IndexRange indexes)
    {
        constexpr qint64 BLOCK = 4096;
        std::array<double, BLOCK> xs{};
        std::array<double, BLOCK> ys{};
        for (qint64 first = indexes.first; first < indexes.last; first += BLOCK) {
            const auto count = static_cast<std::size_t>(std::min(BLOCK, indexes.last - first));
            if (!m_x.read(first, std::span(xs).first(count)) ||
                !m_y.read(first, std::span(ys).first(count))) {
                return false;
            }
            for (std::size_t i = 0; i < count; ++i) {
                add({xs.at(i), ys.at(i)});
            }
        }
        return true;
    }

    bool traceColumn(const SampleColumn& xs, const SampleColumn& ys)
    {
        if (xs.count == 0 || xs.count != ys.count) {
            return false;
        }
        if (xs.missing == xs.count || ys.missing == ys.count) {
            addGap();
            return true;
        }
        const double pixels = (xs.maximum - xs.minimum) / m_pixel;
        const bool isShown = xs.maximum >= m_options.shown.lower && xs.minimum <= m_options.shown.upper;
        if (!isShown || pixels <= MOST_PIXELS) {
            return addColumn((xs.minimum + xs.maximum) / 2.0, ys);
        }
        if (m_points.size() >= m_options.points) {
            return traceSamples({ys.first, ys.first + 1});
        }
        const double columns = std::min(std::ceil(pixels), static_cast<double>(m_options.columns));
        return trace({ys.first, ys.first + ys.count}, std::max(static_cast<int>(columns), 2));
    }

    /// From the first sample to the last one, by way of the extremes that neither of them is: all pixels of
    /// a column no wider than one that a line through its samples touches.
    bool addColumn(double x, const SampleColumn& column)
    {
        CurvePoint first;
        CurvePoint last;
        if (!pointAt(column.first, first) || !pointAt(column.first + column.count - 1, last)) {
            return false;
        }
        const bool isCut = std::isnan(first.y) || std::isnan(last.y);
        add(first);
        if (isCut || column.minimum < std::min(first.y, last.y)) {
            add({x, column.minimum});
        }
        if (isCut || column.maximum > std::max(first.y, last.y)) {
            add({x, column.maximum});
        }
        add(last);
        return true;
    }

    bool pointAt(qint64 index, CurvePoint& point) const
    {
        return m_x.read(index, std::span(&point.x, 1)) && m_y.read(index, std::span(&point.y, 1));
    }

    void add(const CurvePoint& point)
    {
        if (std::isfinite(point.x) && std::isfinite(point.y)) {
            if (m_points.empty() || m_points.back().x != point.x || m_points.back().y != point.y) {
                m_points.push_back(point);
            }
        } else {
            addGap();
        }
    }

    void addGap()
    {
        endLine();
        if (!m_points.empty() && !m_points.back().isGap()) {
            m_points.push_back({NO_VALUE, NO_VALUE});
        }
    }

    const SampleSource& m_x;
    const SampleSource& m_y;
    const TraceOptions& m_options;
    std::vector<CurvePoint>& m_points;
    double m_pixel;
};

bool sampleAt(const SampleSource& x, qint64 index, double& value)
{
    return x.read(index, std::span(&value, 1));
}

/// The number of samples at the start of a rising array that are below `limit`, or at most `limit`.
bool countBelow(const SampleSource& x, double limit, bool orEqual, qint64& count)
{
    qint64 low = 0;
    qint64 high = x.size();
    while (low < high) {
        const qint64 middle = low + (high - low) / 2;
        double value = 0;
        if (!sampleAt(x, middle, value)) {
            return false;
        }
        if (value < limit || (orEqual && value <= limit)) {
            low = middle + 1;
        } else {
            high = middle;
        }
    }
    count = low;
    return true;
}

} // namespace

bool CurvePoint::isGap() const
{
    return std::isnan(x) || std::isnan(y);
}

bool isRising(const SampleSource& x)
{
    constexpr int COLUMNS = 1024;
    double highest = -std::numeric_limits<double>::infinity();
    for (const SampleColumn& column : x.envelope(0, x.size(), COLUMNS)) {
        if (column.missing > 0 || column.minimum < highest) {
            return false;
        }
        highest = column.maximum;
    }
    return true;
}

bool indexRange(const SampleSource& x, const ValueRange& range, IndexRange& indexes)
{
    qint64 below = 0;
    qint64 notAbove = 0;
    if (!countBelow(x, range.lower, false, below) || !countBelow(x, range.upper, true, notAbove)) {
        return false;
    }
    indexes.first = std::max<qint64>(below - 1, 0);
    indexes.last = std::min(notAbove + 1, x.size());
    return true;
}

bool traceCurve(const SampleSource& x, const SampleSource& y, const TraceOptions& options,
                std::vector<CurvePoint>& points)
{
    Tracer tracer(x, y, options, points);
    const bool isRead = tracer.trace(options.indexes, options.columns);
    tracer.endLine();
    return isRead;
}

} // namespace vx::cli
