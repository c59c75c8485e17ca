#include "plot/CurveTrace.h"
#include "support/Printers.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

namespace {

using vx::cli::CurvePoint;
using vx::cli::IndexRange;
using vx::cli::SampleColumn;
using vx::cli::TraceOptions;
using vx::cli::ValueRange;

constexpr double NOTHING = std::numeric_limits<double>::quiet_NaN();

/// Samples in a vector, whose envelope is computed from all of them.
class Samples : public vx::cli::SampleSource
{
public:
    explicit Samples(std::vector<double> values) : m_values(std::move(values)) {}

    qint64 size() const override { return static_cast<qint64>(m_values.size()); }

    bool read(qint64 first, std::span<double> values) const override
    {
        ++reads;
        if (first == unreadable) {
            return false;
        }
        std::copy_n(m_values.begin() + first, values.size(), values.begin());
        return true;
    }

    std::vector<SampleColumn> envelope(qint64 first, qint64 last, int columns) const override
    {
        std::vector<SampleColumn> result;
        for (int i = 0; i < columns; ++i) {
            SampleColumn column{first + (last - first) * i / columns, 0, 0, NOTHING, NOTHING};
            column.count = first + (last - first) * (i + 1) / columns - column.first;
            for (qint64 at = column.first; at < column.first + column.count; ++at) {
                const double value = m_values.at(static_cast<std::size_t>(at));
                column.missing += std::isnan(value) ? 1 : 0;
                column.minimum = std::fmin(column.minimum, value);
                column.maximum = std::fmax(column.maximum, value);
            }
            if (isGone) {
                column = {column.first, 0, 0, NOTHING, NOTHING};
            }
            if (isGone || column.count > 0) {
                result.push_back(column);
            }
        }
        return result;
    }

    mutable int reads = 0;
    qint64 unreadable = -1;
    bool isGone = false; ///< no envelope can be had

private:
    std::vector<double> m_values;
};

Samples numbersTo(int count)
{
    std::vector<double> values(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        values[static_cast<std::size_t>(i)] = i;
    }
    return Samples(values);
}

TraceOptions all(const Samples& x, ValueRange shown, int columns)
{
    TraceOptions options;
    options.indexes = {0, x.size()};
    options.shown = shown;
    options.columns = columns;
    return options;
}

TEST(IndexRange, ReachesOneSampleBeyondBothEnds)
{
    const Samples x({0.0, 1.0, 1.0, 2.0, 3.0, 5.0, 8.0});
    struct Row
    {
        ValueRange range;
        qint64 first;
        qint64 last;
    };
    const Row rows[] = {
        {{-5.0, 20.0}, 0, 7}, {{1.0, 3.0}, 0, 6},  {{1.5, 2.5}, 2, 5},   {{3.5, 4.5}, 4, 6},
        {{8.0, 9.0}, 5, 7},   {{9.0, 10.0}, 6, 7}, {{-2.0, -1.0}, 0, 1}, {{-1.0, 0.0}, 0, 2},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::Message() << row.range.lower << " to " << row.range.upper);
        IndexRange found;
        ASSERT_TRUE(vx::cli::indexRange(x, row.range, found));
        EXPECT_EQ(found.first, row.first);
        EXPECT_EQ(found.last, row.last);
    }
}

TEST(IndexRange, LooksAtFewSamples)
{
    const Samples x = numbersTo(1000000);
    IndexRange found;
    ASSERT_TRUE(vx::cli::indexRange(x, {250000.5, 250010.5}, found));
    EXPECT_EQ(found.first, 250000);
    EXPECT_EQ(found.last, 250012);
    EXPECT_LE(x.reads, 50);
}

TEST(IndexRange, FailsWithTheSource)
{
    Samples x = numbersTo(9);
    x.unreadable = 4;
    IndexRange found;
    EXPECT_FALSE(vx::cli::indexRange(x, {1.0, 2.0}, found));
}

TEST(RisingSamples, MayRepeatButNotFallOrMiss)
{
    EXPECT_TRUE(vx::cli::isRising(Samples({0.0, 1.0, 1.0, 2.0})));
    EXPECT_TRUE(vx::cli::isRising(numbersTo(100000)));
    EXPECT_FALSE(vx::cli::isRising(Samples({0.0, 2.0, 1.0})));
    EXPECT_FALSE(vx::cli::isRising(Samples({0.0, NOTHING, 1.0})));
}

TEST(TracedCurve, OfFewSamplesIsTheirLine)
{
    const Samples x({0.0, 1.0, 2.0, 3.0, 4.0});
    const Samples y({5.0, 4.0, NOTHING, 2.0, 1.0});
    std::vector<CurvePoint> points;
    ASSERT_TRUE(vx::cli::traceCurve(x, y, all(x, {0.0, 4.0}, 100), points));
    ASSERT_EQ(points.size(), 5U);
    EXPECT_EQ(points[1].x, 1.0);
    EXPECT_EQ(points[1].y, 4.0);
    EXPECT_TRUE(points[2].isGap());
    EXPECT_EQ(points[4].y, 1.0);
}

TEST(TracedCurve, OfManySamplesKeepsEveryPeak)
{
    constexpr int COUNT = 100000;
    const Samples x = numbersTo(COUNT);
    std::vector<double> values(COUNT, 1.0);
    values[12345] = 9.0;
    values[54321] = -9.0;
    std::vector<CurvePoint> points;
    ASSERT_TRUE(vx::cli::traceCurve(x, Samples(values), all(x, {0.0, COUNT}, 500), points));
    EXPECT_LE(points.size(), 2000U);
    const auto [lowest, highest] = std::minmax_element(
        points.begin(), points.end(), [](const CurvePoint& a, const CurvePoint& b) { return a.y < b.y; });
    EXPECT_EQ(highest->y, 9.0);
    EXPECT_NEAR(highest->x, 12345.0, 200.0);
    EXPECT_EQ(lowest->y, -9.0);
    EXPECT_NEAR(lowest->x, 54321.0, 200.0);
    EXPECT_EQ(points.front().x, 0.0);
    EXPECT_EQ(points.back().x, COUNT - 1.0);
}

TEST(TracedCurve, IsInterruptedWhereAWholeColumnIsMissing)
{
    constexpr int COUNT = 10000;
    const Samples x = numbersTo(COUNT);
    std::vector<double> values(COUNT, 1.0);
    std::fill(values.begin() + 4000, values.begin() + 6000, NOTHING);
    values[1050] = NOTHING; // narrower than a pixel
    std::vector<CurvePoint> points;
    ASSERT_TRUE(vx::cli::traceCurve(x, Samples(values), all(x, {0.0, COUNT}, 100), points));
    EXPECT_EQ(
        std::count_if(points.begin(), points.end(), [](const CurvePoint& point) { return point.isGap(); }),
        1);
    const auto gap =
        std::find_if(points.begin(), points.end(), [](const CurvePoint& point) { return point.isGap(); });
    EXPECT_EQ((gap - 1)->x, 3999.0);
    EXPECT_EQ((gap + 1)->x, 6000.0);
}

TEST(TracedCurve, IsRefinedWhereSamplesAreFar)
{
    // A thousand samples within one second, then one per second.
    std::vector<double> times;
    std::vector<double> values;
    for (int i = 0; i < 100000; ++i) {
        times.push_back(i * 1e-5);
        values.push_back(0.0);
    }
    for (int i = 1; i <= 50; ++i) {
        times.push_back(static_cast<double>(i));
        values.push_back(static_cast<double>(i % 2));
    }
    const Samples x(times);
    std::vector<CurvePoint> points;
    ASSERT_TRUE(vx::cli::traceCurve(x, Samples(values), all(x, {0.0, 50.0}, 1000), points));
    for (int i = 2; i <= 50; ++i) {
        EXPECT_TRUE(std::any_of(points.begin(), points.end(), [i](const CurvePoint& point) {
            return point.x == i && point.y == i % 2;
        })) << i;
    }
}

TEST(TracedCurve, ThatRunsToAndFroStaysOnItsLine)
{
    std::vector<double> xs;
    std::vector<double> ys;
    for (int i = 0; i < 50000; ++i) {
        const double angle = i * 0.001;
        xs.push_back(std::cos(angle));
        ys.push_back(std::sin(angle));
    }
    const Samples x(xs);
    std::vector<CurvePoint> points;
    ASSERT_TRUE(vx::cli::traceCurve(x, Samples(ys), all(x, {-1.0, 1.0}, 1000), points));
    EXPECT_GT(points.size(), 1000U);
    for (const CurvePoint& point : points) {
        // Within a pixel, but for the steep places at the sides, where a column is a tall bar.
        const double high = std::sqrt(std::max(0.0, 1.0 - point.x * point.x));
        EXPECT_NEAR(std::abs(point.y), high, 0.1);
    }
}

TEST(TracedCurve, IsThinnedBeyondItsLimit)
{
    std::mt19937 random(3);
    std::uniform_real_distribution<double> anywhere(0.0, 1.0);
    std::vector<double> xs(50000);
    std::generate(xs.begin(), xs.end(), [&] { return anywhere(random); });
    const Samples x(xs);
    TraceOptions options = all(x, {0.0, 1.0}, 1000);
    std::vector<CurvePoint> points;
    ASSERT_TRUE(vx::cli::traceCurve(x, x, options, points));
    EXPECT_EQ(points.size(), xs.size());
    points.clear();
    options.points = 5000;
    ASSERT_TRUE(vx::cli::traceCurve(x, x, options, points));
    EXPECT_LT(points.size(), 7000U);
    EXPECT_GT(points.size(), 5000U);
}

TEST(TracedCurve, TakesInfinitiesForGaps)
{
    constexpr double INFINITE = std::numeric_limits<double>::infinity();
    const Samples x = numbersTo(6);
    std::vector<CurvePoint> points;
    ASSERT_TRUE(vx::cli::traceCurve(x, Samples({1.0, 1.5, INFINITE, -INFINITE, 2.0, 3.0}),
                                    all(x, {0.0, 5.0}, 100), points));
    ASSERT_EQ(points.size(), 5U);
    EXPECT_TRUE(points[2].isGap());
}

TEST(TracedCurve, ShowsASampleBetweenGaps)
{
    const Samples x = numbersTo(4);
    std::vector<CurvePoint> points;
    ASSERT_TRUE(
        vx::cli::traceCurve(x, Samples({NOTHING, 1.0, NOTHING, 2.0}), all(x, {0.0, 3.0}, 30), points));
    ASSERT_EQ(points.size(), 5U);
    EXPECT_EQ(points[0].x, 1.0);
    EXPECT_NEAR(points[1].x, 1.05, 1e-9); // half a pixel further
    EXPECT_EQ(points[1].y, 1.0);
    EXPECT_TRUE(points[2].isGap());
    EXPECT_EQ(points[3].x, 3.0);
    EXPECT_EQ(points[4].y, 2.0);
}

TEST(TracedCurve, FailsWithItsSource)
{
    const Samples x = numbersTo(1000);
    Samples y = numbersTo(1000);
    std::vector<CurvePoint> points;
    y.unreadable = 0;
    EXPECT_FALSE(vx::cli::traceCurve(x, y, all(x, {0.0, 1000.0}, 1000), points));
    EXPECT_FALSE(vx::cli::traceCurve(x, y, all(x, {0.0, 1000.0}, 10), points));
    y.unreadable = -1;
    EXPECT_TRUE(vx::cli::traceCurve(x, y, all(x, {0.0, 1000.0}, 10), points));
    y.isGone = true;
    EXPECT_FALSE(vx::cli::traceCurve(x, y, all(x, {0.0, 1000.0}, 10), points));
}

} // namespace
