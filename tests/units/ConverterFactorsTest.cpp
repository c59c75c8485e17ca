#include <datastorage/units/Converter.h>

#include <units/UnitFixtures.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

#include <gtest/gtest.h>

using namespace vx::datastorage;

namespace {

constexpr double FLOAT_PRECISION = 2e-7; ///< relative

void expectFactor(float factor, double expected)
{
    EXPECT_NEAR(static_cast<double>(factor) / expected, 1.0, FLOAT_PRECISION)
        << factor << " and " << expected;
}

UsualUnitType typeOf(const QString& symbol)
{
    const UsualUnitType type = UsualUnit::MAPPING_UNIT_STRING.key(symbol);
    EXPECT_NE(type, UnitUnknown) << symbol.toStdString();
    return type;
}

float toSubUnit(int parameter, const UsualUnit& unit)
{
    return Converter::getConversionFactorFromMainUnitToSubUnit(makeParameter(parameter), unit);
}

float toMainUnit(int parameter, const UsualUnit& unit)
{
    return Converter::getConversionFactorFromSubUnitToMainUnit(makeParameter(parameter), unit);
}

std::vector<std::uint32_t> bitsOf(const std::vector<float>& values)
{
    std::vector<std::uint32_t> bits;
    bits.reserve(values.size());
    for (const float value : values)
        bits.push_back(std::bit_cast<std::uint32_t>(value));
    return bits;
}

const std::vector<float> SAMPLES{0.0F,
                                 -0.0F,
                                 1.0F,
                                 -3.7F,
                                 1e-45F,
                                 3e38F,
                                 std::numeric_limits<float>::infinity(),
                                 -std::numeric_limits<float>::infinity(),
                                 std::numeric_limits<float>::quiet_NaN(),
                                 0.1F,
                                 12345.678F};

} // namespace

class ConversionFactors : public InitializedConverter
{};

TEST_F(ConversionFactors, OfSingleUnitsAreTheTable)
{
    for (const QStringList& row : readTable("conversion_factors.csv", 74)) {
        SCOPED_TRACE(row.join(u' ').toStdString());
        const int parameter = row.value(0).toInt();
        const UsualUnit unit = typeOf(row.value(1));
        const double factor = readNumber(row.value(2));
        EXPECT_EQ(toSubUnit(parameter, unit), static_cast<float>(factor)) << "the nearest float";
        expectFactor(toMainUnit(parameter, unit), 1.0 / factor);
        EXPECT_TRUE(Converter::containsConversion(makeParameter(parameter), unit));
    }
}

TEST_F(ConversionFactors, OfSmallAreasAreNotTheSquares)
{
    EXPECT_EQ(toSubUnit(16, unitOf(QString::fromUtf8("µm²"))), 1e8F);
    EXPECT_EQ(toSubUnit(16, unitOf(QString::fromUtf8("nm²"))), 1e10F);
}

TEST_F(ConversionFactors, OfCompositeUnitsFollowFromTheirParts)
{
    for (const QStringList& row : readTable("composite_factors.csv", 92)) {
        SCOPED_TRACE(row.join(u' ').toStdString());
        const int parameter = row.value(0).toInt();
        const UsualUnit unit = unitOf(row.value(1));
        expectFactor(toSubUnit(parameter, unit), readNumber(row.value(2)));
        expectFactor(toMainUnit(parameter, unit), 1.0 / readNumber(row.value(2)));
    }
}

TEST_F(ConversionFactors, OfEveryOfferedUnitAreTheQuotientOfTheParts)
{
    QHash<UsualUnitType, double> table;
    for (const QStringList& row : readTable("conversion_factors.csv", 74))
        table.insert(typeOf(row.value(1)), readNumber(row.value(2)));
    const auto product = [&table](const UsualUnit& unit) {
        const auto part = [&table](UsualUnitOperator unitOperator, UsualUnitType type) {
            if (unitOperator == OperatorNone)
                return 1.0;
            return unitOperator == OperatorDivide ? 1.0 / table.value(type) : table.value(type);
        };
        return table.value(unit.getUnit1()) * part(unit.getOperator(), unit.getUnit2()) *
               part(unit.getOperator2(), unit.getUnit3()) * part(unit.getOperator3(), unit.getUnit4());
    };
    qsizetype count = 0;
    for (int parameter = 2; parameter < 68; ++parameter) {
        const UsualUnit mainUnit = Converter::getMainUnit(makeParameter(parameter));
        if (parameter == 22)
            continue; // its main unit and its offered units are of different dimension
        for (const UsualUnit& unit : Converter::getAvailableUnits(makeParameter(parameter))) {
            const double expected = product(unit) / product(mainUnit);
            ASSERT_NEAR(static_cast<double>(toSubUnit(parameter, unit)) / expected, 1.0, FLOAT_PRECISION)
                << parameter << ' ' << testing::PrintToString(unit);
            ASSERT_NEAR(static_cast<double>(toMainUnit(parameter, unit)) * expected, 1.0, FLOAT_PRECISION)
                << parameter << ' ' << testing::PrintToString(unit);
            ++count;
        }
    }
    EXPECT_GT(count, 3000);
}

TEST_F(ConversionFactors, OfMainUnitsAreExactlyOne)
{
    for (int parameter = -1; parameter <= 68; ++parameter) {
        const UsualUnit unit = Converter::getMainUnit(makeParameter(parameter));
        EXPECT_EQ(toSubUnit(parameter, unit), 1.0F) << parameter;
        EXPECT_EQ(toMainUnit(parameter, unit), 1.0F) << parameter;
    }
}

TEST_F(ConversionFactors, OfPairsOutsideTheTableCountAsOne)
{
    EXPECT_EQ(toSubUnit(6, makeUnit(104)), 1.0F);
    EXPECT_EQ(toSubUnit(68, makeUnit(104)), 1.0F);
    EXPECT_EQ(toSubUnit(0, makeUnit(1)), 1.0F);
    EXPECT_EQ(toSubUnit(1, UsualUnit()), 1.0F);
    EXPECT_EQ(toSubUnit(6, makeUnit(41, 1, 104)), 1000.0F);
}

TEST_F(ConversionFactors, OfUnitsOfAnotherParameterAreThoseOfTheUnit)
{
    EXPECT_EQ(toSubUnit(6, makeUnit(71)), 1000.0F);
    EXPECT_EQ(toSubUnit(9, makeUnit(41, 2, 2)), 1.0F) << "mA/g: 1000 / 1000";
}

TEST_F(ConversionFactors, IgnorePartsWithoutOperator)
{
    EXPECT_EQ(toSubUnit(6, makeUnit(41, 0, 21)), 1000.0F);
    EXPECT_EQ(toSubUnit(6, makeUnit(41, 0, 21, 1, 21)), 1e6F) << "the third part has one";
}

TEST_F(ConversionFactors, FromTheMainUnitToElementaryMainUnits)
{
    const auto factor = [](int parameter) {
        return Converter::getConversionFactorFromCustomMainUnitToMainUnit(makeParameter(parameter));
    };
    for (int parameter = -1; parameter <= 20; ++parameter)
        EXPECT_EQ(factor(parameter), 1.0F) << parameter;
    for (const int parameter : {21, 22, 26, 27, 33, 34, 35, 36, 62, 63, 64, 68})
        EXPECT_EQ(factor(parameter), 1.0F) << parameter;
    expectFactor(factor(23), 1e-3); // g/mol to kg/mol
    expectFactor(factor(24), 3600); // A.h/m² to A.s/m²
    expectFactor(factor(25), 3.6e6);
    expectFactor(factor(28), 1000); // W/g to W/kg
    expectFactor(factor(29), 1e6);  // W/cm³ to W/m³
    expectFactor(factor(32), 1e-4); // cm²/s to m²/s
    expectFactor(factor(38), 1e4);  // A/cm² to A/m²
    expectFactor(factor(53), 1e-3); // Ω.g to Ω.kg
    expectFactor(factor(54), 1e-4); // Ω.cm² to Ω.m²
    expectFactor(factor(55), 1e-6); // Ω.cm³ to Ω.m³
    expectFactor(factor(65), 1000); // C/V/g to C/V/kg
    expectFactor(factor(67), 1e6);  // C/V/cm³ to C/V/m³
}

TEST_F(ConversionFactors, AreDefinedForUnitsOfADecomposition)
{
    const auto defined = [](int parameter, const UsualUnit& unit) {
        return Converter::containsConversion(makeParameter(parameter), unit);
    };
    EXPECT_TRUE(defined(6, makeUnit(41)));
    EXPECT_FALSE(defined(6, makeUnit(71))) << "of another parameter";
    EXPECT_FALSE(defined(6, makeUnit(104)));
    EXPECT_FALSE(defined(0, UsualUnit()));
    EXPECT_FALSE(defined(1, makeUnit(1)));
    EXPECT_TRUE(defined(10, makeUnit(82))) << "a single unit, in spite of the decomposition";
    EXPECT_FALSE(defined(25, makeUnit(41))) << "a single unit of a composite parameter";
    EXPECT_FALSE(defined(6, makeUnit(41, 1, 23))) << "a composite for an elementary parameter";
    EXPECT_TRUE(defined(6, makeUnit(41, 1, 0, 2, 2))) << "no second unit: a single one";
    EXPECT_TRUE(defined(25, makeUnit(41, 1, 23, 2, 2)));
    EXPECT_TRUE(defined(25, makeUnit(82, 2, 2))) << "the second decomposition";
    EXPECT_TRUE(defined(25, makeUnit(41, 2, 23, 1, 2))) << "operators do not count";
    EXPECT_TRUE(defined(25, makeUnit(41, 0, 23))) << "nor do units beyond the last";
    EXPECT_FALSE(defined(25, makeUnit(2, 2, 41)));
    EXPECT_FALSE(defined(25, makeUnit(41, 1, 23, 2, 140)));
    EXPECT_FALSE(defined(25, makeUnit(41, 1, 23, 2, 2, 2, 70)));
    EXPECT_TRUE(defined(65, makeUnit(41, 1, 23, 2, 70, 2, 2)));
    EXPECT_FALSE(defined(65, makeUnit(41, 1, 23, 2, 70, 2, 140)));
    EXPECT_FALSE(defined(68, makeUnit(41, 1, 23)));
}

class ConvertedValues : public InitializedConverter
{};

TEST_F(ConvertedValues, UseTheFactorOfTheUnitUnlessOneIsGiven)
{
    const PhysicalParameter current = makeParameter(6);
    EXPECT_EQ(Converter::convertFromMainUnitToSubUnit(current, makeUnit(41), 2.5F, -1), 2500.0F);
    EXPECT_EQ(Converter::convertFromMainUnitToSubUnit(current, makeUnit(41), 2.5F, 10), 25.0F);
    EXPECT_EQ(Converter::convertFromMainUnitToSubUnit(current, makeUnit(41), 2.5F, 0), 0.0F);
    EXPECT_EQ(Converter::convertFromSubUnitToMainUnit(current, makeUnit(41), 2500.0F, -1), 2.5F);
    EXPECT_EQ(Converter::convertFromSubUnitToMainUnit(current, makeUnit(41), 2.5F, 10), 25.0F);
}

TEST_F(ConvertedValues, NarrowToInfinity)
{
    const float infinity = std::numeric_limits<float>::infinity();
    EXPECT_EQ(Converter::convertFromMainUnitToSubUnit(makeParameter(6), makeUnit(45), 1e30F, -1), infinity);
    const UsualUnit huge = makeUnit(45, 1, 45, 1, 45, 1, 45);
    EXPECT_EQ(toSubUnit(6, huge), infinity);
    EXPECT_EQ(toMainUnit(6, huge), 0.0F);
    const UsualUnit tiny = makeUnit(40, 2, 45, 2, 45, 2, 45);
    EXPECT_EQ(toSubUnit(6, tiny), 1e-45F);
    EXPECT_EQ(toMainUnit(6, tiny), infinity);
}

TEST_F(ConvertedValues, InPlaceChangeOnlyWhereAConversionIsDefined)
{
    float value = 2.5F;
    Converter::convertSingleUnit(value, makeParameter(6), makeUnit(41), -1);
    EXPECT_EQ(value, 2500.0F);
    Converter::convertSingleUnit(value, makeParameter(6), makeUnit(41), 2);
    EXPECT_EQ(value, 5000.0F);
    Converter::convertSingleUnit(value, makeParameter(6), makeUnit(71), -1);
    EXPECT_EQ(value, 5000.0F);
    Converter::convertSingleUnit(value, makeParameter(6), makeUnit(71), 3);
    EXPECT_EQ(value, 5000.0F);
    Converter::convertSingleUnit(value, makeParameter(25), makeUnit(41, 1, 23, 2, 2), -1);
    EXPECT_EQ(value, 5e6F);
}

TEST_F(ConvertedValues, InBlocksAreThoseOfSingleCalls)
{
    for (const char* text : {"mA.h/g", "A.h/g", "µA.day/kg", "mC/mg", "fA.ns/µg"}) {
        SCOPED_TRACE(text);
        const PhysicalParameter parameter = makeParameter(25);
        const UsualUnit unit = unitOf(QString::fromUtf8(text));
        std::vector<float> block = SAMPLES;
        std::vector<float> single = SAMPLES;
        Converter::convertSamplesFromMainUnitToSubUnit(block, parameter, unit);
        for (float& value : single)
            value = Converter::convertFromMainUnitToSubUnit(parameter, unit, value, -1);
        EXPECT_EQ(bitsOf(block), bitsOf(single));
        EXPECT_TRUE(std::isnan(block[8]));
        Converter::convertSamplesFromSubUnitToMainUnit(block, parameter, unit);
        for (float& value : single)
            value = Converter::convertFromSubUnitToMainUnit(parameter, unit, value, -1);
        EXPECT_EQ(bitsOf(block), bitsOf(single));
    }
}

TEST_F(ConvertedValues, InBlocksTakeAnyFactor)
{
    std::vector<float> samples{1.0F, -2.0F, 3.0F};
    Converter::convertSamples(samples, -1);
    EXPECT_EQ(samples, (std::vector<float>{-1.0F, 2.0F, -3.0F}));
    Converter::convertSamples(std::span(samples).subspan(1, 1), 10);
    EXPECT_EQ(samples, (std::vector<float>{-1.0F, 20.0F, -3.0F}));
    Converter::convertSamples({}, 10);
    EXPECT_EQ(samples.size(), 3U);
}
