#include <datastorage/units/Converter.h>

#include <support/RowLabel.h>
#include <units/UnitFixtures.h>

#include <QtCore/QSet>

#include <gtest/gtest.h>

using namespace vx::datastorage;

namespace {

QStringList printed(const QList<UsualUnit>& units)
{
    QStringList texts;
    for (const UsualUnit& unit : units)
        texts.append(UsualUnit::castUsualUnitAsString(unit));
    return texts;
}

struct ListRow
{
    const char* label;
    int parameter;
    const char* units; ///< separated by blanks
};

const ListRow SINGLE_UNITS[] = {
    {"Unknown", 0, ""},
    {"None", 1, ""},
    {"Mass", 2, "µg mg g kg"},
    {"Length", 3, "nm µm mm cm dm m"},
    {"Time", 4, "ns µs ms s min h day"},
    {"Temperature", 5, "°C"},
    {"ElectricCurrent", 6, "fA pA nA µA mA A"},
    {"AmountOfSubstance", 7, "mol"},
    {"Frequency", 8, "µHz mHz Hz kHz MHz"},
    {"Voltage", 9, "µV mV V"},
    {"ElectricCharge", 10, "pC nC µC mC C kC"},
    {"Capacitance", 11, "F"},
    {"Power", 12, "nW µW mW W"},
    {"Energy", 13, "nJ µJ mJ J kJ MJ"},
    {"Resistance", 14, "µΩ mΩ Ω kΩ MΩ"},
    {"Admittance", 15, "Ω⁻¹"},
    {"Area", 16, "nm² µm² mm² cm² dm² m²"},
    {"Ratio", 18, "% -"},
    {"Angle", 19, "deg rad"},
    {"Inductance", 20, "H"},
    {"SqrtTime", 35, "s^1/2"},
    {"CompositeWithoutSingleUnits", 25, ""},
    {"BeyondTheTable", 68, ""},
    {"Negative", -1, ""},
};

const ListRow AVAILABLE_UNITS[] = {
    {"Elementary", 9, "µV mV V"},
    {"Warburg", 22, "µΩ.s^1/2 mΩ.s^1/2 Ω.s^1/2 kΩ.s^1/2 MΩ.s^1/2"},
    {"MolecularWeight", 23, "µg/mol mg/mol g/mol kg/mol"},
    {"SingleUnitsThenComposites", 10,
     "pC nC µC mC C kC "
     "fA.ns fA.µs fA.ms fA.s fA.min fA.h fA.day pA.ns pA.µs pA.ms pA.s pA.min pA.h pA.day "
     "nA.ns nA.µs nA.ms nA.s nA.min nA.h nA.day µA.ns µA.µs µA.ms µA.s µA.min µA.h µA.day "
     "mA.ns mA.µs mA.ms mA.s mA.min mA.h mA.day A.ns A.µs A.ms A.s A.min A.h A.day"},
    {"MassCapacitance", 50, "F/µg F/mg F/g F/kg"},
    {"VoltageTimeRatio", 27,
     "µV/ns µV/µs µV/ms µV/s µV/min µV/h µV/day mV/ns mV/µs mV/ms mV/s mV/min mV/h mV/day "
     "V/ns V/µs V/ms V/s V/min V/h V/day"},
    {"TemperatureTime", 64, "°C/ns °C/µs °C/ms °C/s °C/min °C/h °C/day"},
    {"BeyondTheTable", 68, ""},
};

} // namespace

class SingleUnits : public ::testing::TestWithParam<ListRow>
{};

TEST_P(SingleUnits, RunFromTheSmallestToTheLargest)
{
    EXPECT_EQ(printed(Converter::getSingleUnits(makeParameter(GetParam().parameter))),
              QString::fromUtf8(GetParam().units).split(u' ', Qt::SkipEmptyParts));
}

INSTANTIATE_TEST_SUITE_P(Parameters, SingleUnits, ::testing::ValuesIn(SINGLE_UNITS), RowLabel());

TEST(SingleUnitsOfVolume, HaveTwoOfEqualSize)
{
    QStringList units = printed(Converter::getSingleUnits(makeParameter(17)));
    ASSERT_EQ(units.size(), 5);
    EXPECT_EQ(units.takeFirst(), QString::fromUtf8("mm³"));
    EXPECT_EQ(units.takeLast(), QString::fromUtf8("m³"));
    EXPECT_EQ(units.takeLast(), QStringLiteral("L"));
    units.sort();
    EXPECT_EQ(units, (QStringList{QString::fromUtf8("cm³"), QStringLiteral("mL")}));
}

TEST(SingleUnitsWithBlanks, AreListed)
{
    EXPECT_EQ(printed(Converter::getSingleUnits(makeParameter(36))),
              QStringList{QString::fromUtf8("s^(α - 1)")});
}

TEST(SingleUnitsOfAllParameters, AreTheUnitsWithAFactor)
{
    QSet<QString> expected;
    for (const QStringList& row : readTable("conversion_factors.csv", 74))
        expected.insert(row.value(0) + u' ' + row.value(1));
    QSet<QString> found;
    for (int parameter = 0; parameter < 68; ++parameter) {
        for (const QString& unit : printed(Converter::getSingleUnits(makeParameter(parameter))))
            found.insert(QString::number(parameter) + u' ' + unit);
    }
    EXPECT_EQ(found, expected);
}

class AvailableUnits : public ::testing::TestWithParam<ListRow>
{};

TEST_P(AvailableUnits, RunInNestedOrder)
{
    EXPECT_EQ(printed(Converter::getAvailableUnits(makeParameter(GetParam().parameter))),
              QString::fromUtf8(GetParam().units).split(u' ', Qt::SkipEmptyParts));
}

INSTANTIATE_TEST_SUITE_P(Parameters, AvailableUnits, ::testing::ValuesIn(AVAILABLE_UNITS), RowLabel());

TEST(AvailableUnitsOfAllParameters, AreAllCombinations)
{
    for (int parameter = 0; parameter < 68; ++parameter) {
        SCOPED_TRACE(parameter);
        qsizetype expected = Converter::getSingleUnits(makeParameter(parameter)).size();
        for (const SubPhysicalParameters& parts :
             Converter::getSubPhysicalParameters(makeParameter(parameter))) {
            qsizetype combinations = Converter::getSingleUnits(std::get<0>(parts)).size();
            for (const PhysicalParameter part : {std::get<2>(parts), std::get<4>(parts), std::get<6>(parts)})
                combinations *= part == ParameterUnknown ? 1 : Converter::getSingleUnits(part).size();
            expected += combinations;
        }
        const QStringList units = printed(Converter::getAvailableUnits(makeParameter(parameter)));
        EXPECT_EQ(units.size(), expected);
        EXPECT_EQ(QSet<QString>(units.begin(), units.end()).size(), expected) << "each once";
    }
}

TEST(AvailableUnitsOfAllParameters, TryDecompositionsInListOrder)
{
    const QStringList units = printed(Converter::getAvailableUnits(makeParameter(25)));
    constexpr qsizetype byTime = 168; // 6 currents, 7 times, 4 masses
    ASSERT_EQ(units.size(), byTime + 24);
    EXPECT_EQ(units.first(), QString::fromUtf8("fA.ns/µg"));
    EXPECT_EQ(units.at(1), QStringLiteral("fA.ns/mg"));
    EXPECT_EQ(units.at(4), QString::fromUtf8("fA.µs/µg"));
    EXPECT_EQ(units.at(byTime - 1), QStringLiteral("A.day/kg"));
    EXPECT_EQ(units.at(byTime), QString::fromUtf8("pC/µg"));
    EXPECT_EQ(units.last(), QStringLiteral("kC/kg"));
}

TEST(AvailableUnitsOfAllParameters, ConvertToTheMainUnit)
{
    for (int parameter = 0; parameter < 68; ++parameter) {
        for (const UsualUnit& unit : Converter::getAvailableUnits(makeParameter(parameter)))
            ASSERT_TRUE(Converter::containsConversion(makeParameter(parameter), unit))
                << parameter << ' ' << testing::PrintToString(unit);
    }
}

TEST(MainUnitList, HasTheUnitOfEveryParameter)
{
    QStringList expected;
    for (const QStringList& row : readTable("physical_parameters.csv", 68))
        expected.append(row.value(2));
    QStringList found = printed(Converter::getAvailableUnits());
    expected.sort();
    found.sort();
    EXPECT_EQ(found, expected);
}

TEST(MainUnitList, AsTextHasEachOnceAtItsFirstPlace)
{
    QStringList expected = printed(Converter::getAvailableUnits());
    EXPECT_GT(expected.removeDuplicates(), 0);
    EXPECT_EQ(Converter::getAvailableUnitsAsString(), expected);
    EXPECT_EQ(expected.size(), 62);
}
