#include "console/NumberText.h"
#include "support/Printers.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

using vx::cli::numberText;
using vx::cli::shortestDouble;

TEST(NumberText, IsTheShortestThatReadsBack)
{
    EXPECT_EQ(numberText(4.10029F), "4.10029");
    EXPECT_EQ(numberText(0.1F), "0.1");
    EXPECT_EQ(numberText(0.0F), "0");
    EXPECT_EQ(numberText(-59.4627F), "-59.4627");
    EXPECT_EQ(numberText(1.0F / 3.0F), "0.33333334");
}

TEST(NumberText, WritesUsualNumbersWithoutExponent)
{
    EXPECT_EQ(numberText(100000.0F), "100000");
    EXPECT_EQ(numberText(342465.0F), "342465");
    EXPECT_EQ(numberText(0.0001F), "0.0001");
    EXPECT_EQ(numberText(-6.4996484e-06F), "-6.4996484e-06");
    EXPECT_EQ(numberText(1e12F), "1e+12");
}

TEST(NumberText, NamesWhatIsNoNumber)
{
    EXPECT_EQ(numberText(std::numeric_limits<float>::infinity()), "inf");
    EXPECT_EQ(numberText(std::numeric_limits<float>::quiet_NaN()), "nan");
}

TEST(ShortestDouble, HasTheTextOfTheFloat)
{
    EXPECT_EQ(shortestDouble(4.10029F), 4.10029);
    EXPECT_EQ(shortestDouble(-5.45012F), -5.45012);
    EXPECT_EQ(shortestDouble(16777216.0F), 16777216.0);
    EXPECT_TRUE(std::isnan(shortestDouble(std::numeric_limits<float>::quiet_NaN())));
    EXPECT_EQ(shortestDouble(std::numeric_limits<float>::infinity()),
              std::numeric_limits<double>::infinity());
}

} // namespace
