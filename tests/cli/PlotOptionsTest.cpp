#include "plot/PlotOptions.h"
#include "commands/Commands.h"
#include "support/Printers.h"
#include "support/RowLabel.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

using vx::cli::PlotOptions;

constexpr double INFINITE = std::numeric_limits<double>::infinity();

struct RangeRow
{
    const char* label;
    const char* text;
    bool isRead;
    double lower;
    double upper;
};

const RangeRow RANGES[] = {
    {"BothEnds", "100..200", true, 100.0, 200.0},
    {"Negative", "-5..-1.5", true, -5.0, -1.5},
    {"Exponents", "1e-3..2E3", true, 1e-3, 2e3},
    {"Blanks", " 1 .. 2 ", true, 1.0, 2.0},
    {"FromTheStart", "..7", true, -INFINITE, 7.0},
    {"ToTheEnd", "7..", true, 7.0, INFINITE},
    {"Everything", "..", true, -INFINITE, INFINITE},
    {"TurnedRound", "2..1", false, 0, 0},
    {"Empty", "1..1", false, 0, 0},
    {"OneNumber", "12", false, 0, 0},
    {"NoNumber", "a..b", false, 0, 0},
    {"NotANumber", "nan..1", false, 0, 0},
    {"Infinite", "1..inf", false, 0, 0},
    {"Nothing", "", false, 0, 0},
};

class RangeText : public ::testing::TestWithParam<RangeRow>
{};

TEST_P(RangeText, IsRead)
{
    vx::cli::ValueRange range;
    ASSERT_EQ(vx::cli::parseRange(GetParam().text, range), GetParam().isRead);
    if (GetParam().isRead) {
        EXPECT_EQ(range.lower, GetParam().lower);
        EXPECT_EQ(range.upper, GetParam().upper);
    }
}

INSTANTIATE_TEST_SUITE_P(Texts, RangeText, ::testing::ValuesIn(RANGES), RowLabel());

struct UsageRow
{
    const char* label;
    QStringList words;
    const char* error;
};

const UsageRow USAGES[] = {
    {"NoX", {"-y", "Voltage", "-o", "a.png"}, "expected the name of an array with -x"},
    {"NoY", {"-x", "Time", "-o", "a.png"}, "expected names of arrays, divided by commas, with -y"},
    {"EmptyY",
     {"-x", "Time", "-y", "a,,b", "-o", "a.png"},
     "expected names of arrays, divided by commas, with -y"},
    {"NoPicture", {"-x", "Time", "-y", "a"}, "expected a file for the picture with -o"},
    {"UnknownEnding",
     {"-x", "Time", "-y", "a", "-o", "a.gif"},
     "-o: expected a name that ends in .png, .svg or .pdf, found \"a.gif\""},
    {"NoEnding",
     {"-x", "Time", "-y", "a", "-o", "png"},
     "-o: expected a name that ends in .png, .svg or .pdf, found \"png\""},
    {"BadRange",
     {"-x", "Time", "-y", "a", "-o", "a.png", "--range", "9..1"},
     "--range: expected A..B with A below B, found \"9..1\""},
    {"BadSize",
     {"-x", "Time", "-y", "a", "-o", "a.png", "--size", "1200"},
     "--size: expected WIDTHxHEIGHT from 320x240 to 10000x10000, found \"1200\""},
    {"TooSmall",
     {"-x", "Time", "-y", "a", "-o", "a.png", "--size", "300x240"},
     "--size: expected WIDTHxHEIGHT from 320x240 to 10000x10000, found \"300x240\""},
    {"TooLarge",
     {"-x", "Time", "-y", "a", "-o", "a.png", "--size", "400x10001"},
     "--size: expected WIDTHxHEIGHT from 320x240 to 10000x10000, found \"400x10001\""},
};

class PlotUsage : public ::testing::TestWithParam<UsageRow>
{};

bool read(const QStringList& words, PlotOptions& options, QString& error)
{
    vx::cli::Arguments arguments;
    EXPECT_TRUE(vx::cli::parseArguments(vx::cli::PLOT_COMMAND, words, arguments, error))
        << error.toStdString();
    return vx::cli::readPlotOptions(arguments, options, error);
}

TEST_P(PlotUsage, IsRefused)
{
    PlotOptions options;
    QString error;
    EXPECT_FALSE(read(GetParam().words, options, error));
    EXPECT_EQ(error, GetParam().error);
}

INSTANTIATE_TEST_SUITE_P(Words, PlotUsage, ::testing::ValuesIn(USAGES), RowLabel());

TEST(PlotOptions, HoldWhatWasAskedFor)
{
    PlotOptions options;
    QString error;
    ASSERT_TRUE(read({"-x", "Time", "-y", "Voltage, Current", "-y=Charge", "--range", "1..", "--size",
                      "800x600", "-o", "a.b.PDF"},
                     options, error))
        << error.toStdString();
    EXPECT_EQ(options.x, "Time");
    EXPECT_EQ(options.y, (QStringList{"Voltage", "Current", "Charge"}));
    EXPECT_EQ(options.range.lower, 1.0);
    EXPECT_EQ(options.range.upper, INFINITE);
    EXPECT_EQ(options.width, 800);
    EXPECT_EQ(options.height, 600);
    EXPECT_EQ(options.format, vx::cli::Pdf);
    EXPECT_FALSE(options.isNyquist);
}

TEST(PlotOptions, OfANyquistPlotNeedNoNames)
{
    PlotOptions options;
    QString error;
    ASSERT_TRUE(read({"--nyquist", "-o", "a.svg"}, options, error)) << error.toStdString();
    EXPECT_TRUE(options.isNyquist);
    EXPECT_EQ(options.x, "Re(Z)");
    EXPECT_EQ(options.y, QStringList());
    EXPECT_EQ(options.width, 1200);
    EXPECT_EQ(options.height, 700);
    EXPECT_EQ(options.format, vx::cli::Svg);
}

} // namespace
