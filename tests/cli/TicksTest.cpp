#include "plot/Ticks.h"
#include "support/Printers.h"
#include "support/RowLabel.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

namespace {

using vx::cli::Ticks;
using vx::cli::ValueRange;

struct StepRow
{
    const char* label;
    double length;
    double step;
};

const StepRow STEPS[] = {
    {"One", 1.0, 1.0},       {"JustAboveOne", 1.01, 2.0}, {"Two", 2.0, 2.0},
    {"BelowFive", 4.9, 5.0}, {"AboveFive", 5.1, 10.0},    {"Tenth", 0.1, 0.1},
    {"Small", 3.1e-7, 5e-7}, {"Large", 1.2e9, 2e9},       {"RoundedUpByABit", 0.2000000000001, 0.2},
};

class NiceStep : public ::testing::TestWithParam<StepRow>
{};

TEST_P(NiceStep, IsTheNextOfOneTwoFive)
{
    EXPECT_DOUBLE_EQ(vx::cli::niceStep(GetParam().length), GetParam().step);
}

INSTANTIATE_TEST_SUITE_P(Lengths, NiceStep, ::testing::ValuesIn(STEPS), RowLabel());

struct LabelRow
{
    const char* label;
    ValueRange range;
    int most;
    QStringList labels;
    const char* unit; ///< of an axis in volts
};

const LabelRow LABELS[] = {
    {"Whole", {0.0, 28.4}, 10, {"0", "5", "10", "15", "20", "25"}, "[V]"},
    {"Decimals", {3.0, 4.0}, 5, {"3.0", "3.2", "3.4", "3.6", "3.8", "4.0"}, "[V]"},
    {"Negative", {-1.0, 1.0}, 4, {"−1.0", "−0.5", "0.0", "0.5", "1.0"}, "[V]"},
    {"InnerTicksAlone", {0.3, 2.7}, 3, {"1", "2"}, "[V]"},
    {"Micro", {0.0, 4e-6}, 4, {"0", "1", "2", "3", "4"}, "[10⁻⁶ V]"},
    {"Mega", {0.0, 2e6}, 4, {"0.0", "0.5", "1.0", "1.5", "2.0"}, "[10⁶ V]"},
    {"BelowAMillion", {0.0, 800000.0}, 4, {"0", "200000", "400000", "600000", "800000"}, "[V]"},
};

class TickLabels : public ::testing::TestWithParam<LabelRow>
{};

TEST_P(TickLabels, AreThoseOfTheTicks)
{
    const Ticks ticks = vx::cli::ticksWithin(GetParam().range, GetParam().most);
    EXPECT_EQ(ticks.labels(), GetParam().labels);
    EXPECT_EQ(static_cast<qsizetype>(ticks.values().size()), GetParam().labels.size());
    EXPECT_EQ(ticks.unitText("V"), QString::fromUtf8(GetParam().unit));
    EXPECT_EQ(ticks.range.lower, GetParam().range.lower);
    EXPECT_EQ(ticks.range.upper, GetParam().range.upper);
}

INSTANTIATE_TEST_SUITE_P(Ranges, TickLabels, ::testing::ValuesIn(LABELS), RowLabel());

TEST(TickUnit, IsLeftOutForNumbers)
{
    EXPECT_EQ(vx::cli::ticksWithin({0.0, 5.0}, 5).unitText("-"), "");
    EXPECT_EQ(vx::cli::ticksWithin({0.0, 5e9}, 5).unitText("-"), QString::fromUtf8("[10⁹]"));
}

TEST(SmallTicks, DivideAStepIntoFourOrFive)
{
    Ticks ticks;
    ticks.range = {0.0, 4.0};
    ticks.step = 2.0;
    EXPECT_EQ(ticks.between().size(), 9U);
    ticks.range = {0.0, 2.0};
    ticks.step = 1.0;
    EXPECT_EQ(ticks.between().size(), 11U);
    ticks.range = {0.0, 0.1};
    ticks.step = 0.05;
    EXPECT_EQ(ticks.between().size(), 11U);
}

TEST(SharedTicks, HoldBothRangesWithEquallyManyIntervals)
{
    std::mt19937 random(7);
    std::uniform_real_distribution<double> exponent(-6.0, 6.0);
    std::uniform_real_distribution<double> place(-3.0, 3.0);
    for (int run = 0; run < 2000; ++run) {
        SCOPED_TRACE(run);
        std::vector<ValueRange> ranges;
        for (int axis = 0; axis < 2; ++axis) {
            const double length = std::pow(10.0, exponent(random));
            const double lower = place(random) * length;
            ranges.push_back({lower, lower + length});
        }
        const std::vector<Ticks> axes = vx::cli::sharedTicks(ranges, 4, 9);
        ASSERT_EQ(axes.size(), 2U);
        ASSERT_EQ(axes[0].values().size(), axes[1].values().size());
        ASSERT_GE(axes[0].values().size(), 5U);
        ASSERT_LE(axes[0].values().size(), 10U);
        for (std::size_t axis = 0; axis < 2; ++axis) {
            const double room = ranges[axis].length() * 1e-6;
            EXPECT_LE(axes[axis].range.lower, ranges[axis].lower + room);
            EXPECT_GE(axes[axis].range.upper, ranges[axis].upper - room);
            EXPECT_LT(axes[axis].range.length(), ranges[axis].length() * 4.0);
            EXPECT_NEAR(axes[axis].values().front(), axes[axis].range.lower, room);
            EXPECT_NEAR(axes[axis].values().back(), axes[axis].range.upper, room);
        }
    }
}

TEST(ValueRange, PassesOverWhatIsNoNumber)
{
    ValueRange range;
    EXPECT_TRUE(range.isEmpty());
    range.include(std::numeric_limits<double>::quiet_NaN());
    range.include(std::numeric_limits<double>::infinity());
    EXPECT_TRUE(range.isEmpty());
    range.include(2.0);
    range.include(-1.0);
    range.include(ValueRange());
    EXPECT_EQ(range.lower, -1.0);
    EXPECT_EQ(range.upper, 2.0);
}

TEST(PaddedRange, GivesRoomAtBothEnds)
{
    const ValueRange wide = vx::cli::padded({0.0, 10.0}, 0.1);
    EXPECT_DOUBLE_EQ(wide.lower, -1.0);
    EXPECT_DOUBLE_EQ(wide.upper, 11.0);
    for (const double value : {0.0, -4.0, 1e-9, 1e9}) {
        const ValueRange single = vx::cli::padded({value, value}, 0.1);
        EXPECT_LT(single.lower, value);
        EXPECT_GT(single.upper, value);
        EXPECT_NEAR((single.lower + single.upper) / 2.0, value, std::abs(value) * 1e-9);
    }
}

} // namespace
