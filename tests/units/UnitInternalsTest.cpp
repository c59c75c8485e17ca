#include <datastorage/units/NarrowToFloat_p.h>
#include <datastorage/units/ParameterTables_p.h>
#include <datastorage/units/TextTable_p.h>

#include <support/Printers.h>

#include <array>
#include <cmath>
#include <limits>

#include <gtest/gtest.h>

using namespace vx::datastorage;

namespace {

constexpr std::array<QStringView, 4> TEXTS{u"A", u"mA", u"", u"a long text"};
constexpr TextTable TABLE(TEXTS);

} // namespace

TEST(TextTableOfTexts, FindsEachAtItsPlace)
{
    for (std::size_t i = 0; i < TEXTS.size(); ++i)
        EXPECT_EQ(TABLE.find(TEXTS[i]), static_cast<int>(i));
}

TEST(TextTableOfTexts, FindsNothingElse)
{
    for (const QStringView text :
         {QStringView(u"a"), QStringView(u"Am"), QStringView(u"A "), QStringView(u"a long tex"),
          QStringView(u"a long text "), QStringView(u"\0", 1)})
        EXPECT_LT(TABLE.find(text), 0) << text.toString().toStdString();
}

TEST(TextTableOfTexts, TellsApartTextsOfOneSlot)
{
    // Of 255 texts in 512 slots some share their first slot, whatever the hash.
    std::array<QString, 254> texts;
    std::array<QStringView, 254> views;
    for (std::size_t i = 0; i < texts.size(); ++i) {
        texts[i] = QString::number(i * 7919);
        views[i] = texts[i];
    }
    const TextTable table(views);
    for (std::size_t i = 0; i < texts.size(); ++i) {
        EXPECT_EQ(table.find(texts[i]), static_cast<int>(i));
        EXPECT_LT(table.find(texts[i] + u'x'), 0);
    }
}

TEST(NarrowedNumber, IsTheNearestFloat)
{
    for (const double value : {0.0, 0.1, -1.0 / 3, 16777217.0, 1e-50, 3.4028234e38})
        EXPECT_EQ(narrowToFloat(value), static_cast<float>(value)) << value;
    EXPECT_TRUE(std::signbit(narrowToFloat(-0.0)));
    EXPECT_TRUE(std::isnan(narrowToFloat(std::numeric_limits<double>::quiet_NaN())));
}

TEST(NarrowedNumber, IsInfiniteBeyondFloat)
{
    const float largest = std::numeric_limits<float>::max();
    const float infinity = std::numeric_limits<float>::infinity();
    const auto exact = static_cast<double>(largest);
    const double halfStep = 0x1.ffffffp127;
    EXPECT_EQ(narrowToFloat(exact), largest);
    EXPECT_EQ(narrowToFloat(std::nextafter(exact, 1e300)), largest);
    EXPECT_EQ(narrowToFloat(std::nextafter(halfStep, 0.0)), largest);
    EXPECT_EQ(narrowToFloat(halfStep), infinity);
    EXPECT_EQ(narrowToFloat(1e300), infinity);
    EXPECT_EQ(narrowToFloat(std::numeric_limits<double>::infinity()), infinity);
    EXPECT_EQ(narrowToFloat(-exact), -largest);
    EXPECT_EQ(narrowToFloat(std::nextafter(-halfStep, 0.0)), -largest);
    EXPECT_EQ(narrowToFloat(-halfStep), -infinity);
    EXPECT_EQ(narrowToFloat(-std::numeric_limits<double>::infinity()), -infinity);
}

TEST(UnitRows, AreFoundByNumber)
{
    for (const UnitRow& row : UNITS)
        EXPECT_EQ(findUnitRow(row.unit), &row);
    for (const int number : {-1, 6, 104, 1042, 1091, 65536, 2147483647, -2147483647 - 1})
        EXPECT_EQ(findUnitRow(static_cast<UsualUnitType>(number)), nullptr) << number;
}

TEST(FactorRows, AreFoundByUnit)
{
    for (const FactorRow& row : FACTORS)
        EXPECT_EQ(findFactorRow(row.unit), &row);
    EXPECT_EQ(findFactorRow(UnitUnknown), nullptr);
    EXPECT_EQ(findFactorRow(UnitNone), nullptr);
    EXPECT_EQ(findFactorRow(static_cast<UsualUnitType>(104)), nullptr);
}

TEST(DecompositionRows, AreFoundByParameter)
{
    std::size_t count = 0;
    for (int number = -1; number <= 68; ++number) {
        for (const DecompositionRow& row : decompositionsOf(static_cast<PhysicalParameter>(number))) {
            EXPECT_EQ(row.parameter, number);
            ++count;
        }
    }
    EXPECT_EQ(count, DECOMPOSITIONS.size());
}
