#include "table/CellNumber.h"
#include "support/RowLabel.h"

#include <gtest/gtest.h>

#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <string>

namespace {

using vx::cli::CellKind;
using vx::cli::parseCell;

constexpr double INF = std::numeric_limits<double>::infinity();

struct CellRow
{
    const char* name;
    const char* text;
    char decimal;
    CellKind kind;
    double value;
};

constexpr CellRow CELLS[] = {
    {"Whole", "42", '.', CellKind::Number, 42},
    {"Negative", "-17.25", '.', CellKind::Number, -17.25},
    {"NegativeZero", "-0.0", '.', CellKind::Number, 0},
    {"Exponent", "2e-05", '.', CellKind::Number, 2e-5},
    {"UpperExponent", "1.87E-06", '.', CellKind::Number, 1.87e-6},
    {"ManyDigits", "3.162299999999999833e-03", '.', CellKind::Number, 3.1623e-3},
    {"LeadingPlus", "+5.5", '.', CellKind::Number, 5.5},
    {"NoLeadingDigit", ".5", '.', CellKind::Number, 0.5},
    {"NoTrailingDigit", "5.", '.', CellKind::Number, 5},
    {"BlanksAround", "  7.5\t", '.', CellKind::Number, 7.5},
    {"DecimalComma", "3,25", ',', CellKind::Number, 3.25},
    {"DecimalCommaExponent", "-1,5e3", ',', CellKind::Number, -1500},
    {"WholeUnderDecimalComma", "12", ',', CellKind::Number, 12},
    {"TooLarge", "1e400", '.', CellKind::Number, INF},
    {"TooLargeNegative", "-1e400", '.', CellKind::Number, -INF},
    {"FarTooLarge", "1e9999", '.', CellKind::Number, INF},
    {"TooSmall", "1e-400", '.', CellKind::Number, 0},
    {"FarTooSmall", "1e-9999", '.', CellKind::Number, 0},
    {"Infinity", "inf", '.', CellKind::Number, INF},
    {"Empty", "", '.', CellKind::Missing, 0},
    {"BlanksOnly", "   ", '.', CellKind::Missing, 0},
    {"NaN", "NaN", '.', CellKind::Missing, 0},
    {"LowerNan", "nan", '.', CellKind::Missing, 0},
    {"NegativeNan", "-nan", '.', CellKind::Missing, 0},
    {"NotAvailable", "N/A", '.', CellKind::Missing, 0},
    {"LowerNotAvailable", "n/a", ',', CellKind::Missing, 0},
    {"Word", "abc", '.', CellKind::NoNumber, 0},
    {"NumberAndWord", "12 V", '.', CellKind::NoNumber, 0},
    {"TwoPoints", "1.2.3", '.', CellKind::NoNumber, 0},
    {"CommaUnderDecimalPoint", "1,5", '.', CellKind::NoNumber, 0},
    {"PointUnderDecimalComma", "1.234", ',', CellKind::NoNumber, 0},
    {"ThousandsUnderDecimalComma", "1.234,5", ',', CellKind::NoNumber, 0},
    {"TwoCommas", "1,2,3", ',', CellKind::NoNumber, 0},
    {"OpenExponent", "1e", '.', CellKind::NoNumber, 0},
    {"SignOnly", "-", '.', CellKind::NoNumber, 0},
    {"PlusOnly", "+", '.', CellKind::NoNumber, 0},
    {"TwoSigns", "+-5", '.', CellKind::NoNumber, 0},
    {"Hexadecimal", "0x10", '.', CellKind::NoNumber, 0},
    {"Time", "12:30:00", '.', CellKind::NoNumber, 0},
};

class CellNumber : public ::testing::TestWithParam<CellRow>
{};

TEST_P(CellNumber, ReadsTheCell)
{
    const CellRow& row = GetParam();
    constexpr double UNTOUCHED = 12345;
    double value = UNTOUCHED;
    ASSERT_EQ(parseCell(row.text, row.decimal, value), row.kind);
    switch (row.kind) {
    case CellKind::Number:
        EXPECT_EQ(value, row.value);
        break;
    case CellKind::Missing:
        EXPECT_TRUE(std::isnan(value));
        break;
    case CellKind::NoNumber:
        EXPECT_EQ(value, UNTOUCHED);
        break;
    }
}

INSTANTIATE_TEST_SUITE_P(Cells, CellNumber, ::testing::ValuesIn(CELLS),
                         [](const auto& rowInfo) { return std::string(rowInfo.param.name); });

struct PlainRow
{
    const char* label;
    const char* text;
    int length; ///< of the number; -1 when it is none of this kind
};

constexpr PlainRow PLAIN_NUMBERS[] = {
    {"Whole", "42,", 2},
    {"Fraction", "3.14159\n", 7},
    {"Negative", "-0.5;", 4},
    {"NegativeZero", "-0.0,", 4},
    {"NoLeadingDigit", ".25,", 3},
    {"NoTrailingDigit", "5.,", 2},
    {"LargestExact", "9007199254740992,", 16},
    {"SixteenDecimals", "0.0015199999999999,", 18},
    {"EndOfText", "7", 1},
    {"BeyondExact", "9007199254740993,", -1},
    {"TooManyDigits", "0.00000000000000000001,", -1},
    {"ManySignificantDigits", "6.2831853071795864769,", -1},
    {"Exponent", "2e-05,", -1},
    {"UpperExponent", "2E5,", -1},
    {"SignOnly", "-,", -1},
    {"PointOnly", ".,", -1},
    {"Empty", ",", -1},
    {"Plus", "+5,", -1},
    {"Word", "nan,", -1},
};

class PlainNumber : public ::testing::TestWithParam<PlainRow>
{};

TEST_P(PlainNumber, EndsWhereItStops)
{
    double value = 0;
    const char* end = vx::cli::parsePlainNumber(GetParam().text, value);
    EXPECT_EQ(end == nullptr ? -1 : static_cast<int>(end - GetParam().text), GetParam().length);
}

INSTANTIATE_TEST_SUITE_P(Texts, PlainNumber, ::testing::ValuesIn(PLAIN_NUMBERS), RowLabel());

TEST(PlainNumberValue, IsTheNearestDouble)
{
    std::mt19937_64 random(20240607);
    int read = 0;
    for (int i = 0; i < 200000; ++i) {
        std::string text = std::to_string(random() >> (random() % 64));
        text.insert(random() % (text.size() + 1), ".");
        text.insert(0, random() % 2 == 0 ? "-" : "");
        double value = 0;
        if (vx::cli::parsePlainNumber(text.c_str(), value) != nullptr) {
            double expected = 0;
            std::from_chars(text.data(), text.data() + text.size(), expected);
            ASSERT_EQ(std::bit_cast<std::uint64_t>(value), std::bit_cast<std::uint64_t>(expected)) << text;
            ++read;
        }
    }
    EXPECT_GT(read, 100000);
}

} // namespace
