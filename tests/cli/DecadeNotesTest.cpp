#include "plot/DecadeNotes.h"
#include "support/Printers.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

namespace {

using vx::cli::ChartNote;
using vx::cli::Spectrum;

/// A semicircle above the axis, from 10 kHz at its left end to 10 mHz, of a radius in pixels.
Spectrum semicircle(double radius)
{
    constexpr int POINTS = 61;
    Spectrum spectrum;
    for (int i = 0; i < POINTS; ++i) {
        const double angle = std::numbers::pi * i / (POINTS - 1);
        spectrum.frequency.push_back(std::pow(10.0, 4.0 - 0.1 * i));
        spectrum.x.push_back(-radius * std::cos(angle));
        spectrum.y.push_back(radius * std::sin(angle));
    }
    return spectrum;
}

QStringList textsOf(const std::vector<ChartNote>& notes)
{
    QStringList texts;
    for (const ChartNote& note : notes) {
        texts.append(note.text);
    }
    return texts;
}

TEST(DecadeNotes, NameEveryDecadeThatHasRoom)
{
    EXPECT_EQ(textsOf(vx::cli::decadeNotes(semicircle(300.0), 1.0)),
              (QStringList{"10 kHz", "1 kHz", "100 Hz", "10 Hz", "1 Hz", "100 mHz", "10 mHz"}));
    EXPECT_EQ(textsOf(vx::cli::decadeNotes(semicircle(60.0), 1.0)),
              (QStringList{"10 kHz", "100 Hz", "1 Hz", "10 mHz"}));
    EXPECT_EQ(textsOf(vx::cli::decadeNotes(semicircle(60.0), 0.1)).size(), 7);
}

TEST(DecadeNotes, StandOutsideOfAnArc)
{
    const std::vector<ChartNote> notes = vx::cli::decadeNotes(semicircle(300.0), 1.0);
    ASSERT_EQ(notes.size(), 7U);
    EXPECT_EQ(notes[0].right, -1); // the left end
    EXPECT_EQ(notes[3].right, 0);  // the top
    EXPECT_EQ(notes[3].above, 1);
    EXPECT_EQ(notes[5].right, 1);
    EXPECT_EQ(notes[5].above, 1);
    EXPECT_EQ(notes[6].right, 1); // the right end
}

TEST(DecadeNotes, StandOnTheSameSideWhateverTheOrder)
{
    Spectrum turned = semicircle(300.0);
    std::reverse(turned.frequency.begin(), turned.frequency.end());
    std::reverse(turned.x.begin(), turned.x.end());
    std::reverse(turned.y.begin(), turned.y.end());
    const std::vector<ChartNote> notes = vx::cli::decadeNotes(turned, 1.0);
    ASSERT_EQ(notes.size(), 7U);
    EXPECT_EQ(notes[0].text, "10 mHz");
    EXPECT_EQ(notes[0].right, 1);
    EXPECT_EQ(notes[3].above, 1);
}

TEST(DecadeNotes, GoOutOfTheWayOfAnotherPartOfTheCurve)
{
    // A line to the right at 1 Hz, and above of it, where the text would stand, another one to the left.
    Spectrum spectrum{
        {3.0, 1.0, 0.5, 0.2, 0.15}, {-90.0, 0.0, 90.0, 90.0, -90.0}, {0.0, 0.0, 0.0, 15.0, 15.0}};
    const std::vector<ChartNote> notes = vx::cli::decadeNotes(spectrum, 1.0);
    ASSERT_EQ(notes.size(), 1U);
    EXPECT_EQ(notes[0].above, -1);
}

TEST(DecadeNotes, PassOverMissingValues)
{
    Spectrum spectrum = semicircle(300.0);
    spectrum.y[10] = std::numeric_limits<double>::quiet_NaN();
    EXPECT_FALSE(textsOf(vx::cli::decadeNotes(spectrum, 1.0)).contains("1 kHz"));
    EXPECT_TRUE(vx::cli::decadeNotes(Spectrum(), 1.0).empty());
}

TEST(DecadeText, HasThePrefixOfThree)
{
    const char* const texts[] = {"1 µHz", "10 µHz", "100 µHz", "1 mHz",  "10 mHz",  "100 mHz", "1 Hz",
                                 "10 Hz", "100 Hz", "1 kHz",   "10 kHz", "100 kHz", "1 MHz"};
    int exponent = -6;
    for (const char* text : texts) {
        EXPECT_EQ(vx::cli::decadeText(exponent), QString::fromUtf8(text));
        ++exponent;
    }
}

} // namespace
