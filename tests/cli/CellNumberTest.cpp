#include "table/CellNumber.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
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

} // namespace
