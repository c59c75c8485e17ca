#include <datastorage/units/Converter.h>

#include <units/UnitFixtures.h>

#include <QtCore/QSet>

#include <algorithm>
#include <array>
#include <cstddef>
#include <tuple>
#include <type_traits>
#include <utility>

#include <gtest/gtest.h>

using namespace vx::datastorage;

namespace {

/// What the tables answer while this program is still being loaded.
struct AnswersBeforeMain
{
    qsizetype symbols = UsualUnit::MAPPING_UNIT_STRING.size();
    std::size_t decompositions = MAPPING_SUB_PHYSICAL_PARAMETERS.size();
    QString printed = UsualUnit::castUsualUnitAsString(makeUnit(41, 1, 23, 2, 2));
    QString parameter = Converter::castPhysicalParameterAsString(makeParameter(35));
    UsualUnit mainUnit = Converter::getMainUnit(makeParameter(25));
    float factor = Converter::getConversionFactorFromMainUnitToSubUnit(makeParameter(6), makeUnit(41));
    UsualUnit old = UsualUnit(static_cast<UsualUnitTypeOld>(220));
    UsualUnit parsed = Converter::getUsualUnitFromString(QStringLiteral("mA"));
};

const AnswersBeforeMain ANSWERS_BEFORE_MAIN;

SubPhysicalParameters readDecomposition(const QString& text)
{
    const QStringList words = text.split(u' ');
    std::array<int, 7> numbers{};
    for (qsizetype i = 0; i < words.size(); ++i)
        numbers[static_cast<std::size_t>(i)] = i % 2 == 0 ? words[i].toInt() : (words[i] == u"x" ? 1 : 2);
    const auto unitOperator = [&numbers](std::size_t i) {
        return static_cast<UsualUnitOperator>(numbers[i]);
    };
    return {makeParameter(numbers[0]), unitOperator(1), makeParameter(numbers[2]), unitOperator(3),
            makeParameter(numbers[4]), unitOperator(5), makeParameter(numbers[6])};
}

/// The table of decompositions in ascending order of the parameter, in list order within one.
QList<std::pair<PhysicalParameter, SubPhysicalParameters>> expectedDecompositions()
{
    QList<std::pair<PhysicalParameter, SubPhysicalParameters>> rows;
    for (const QStringList& row : readTable("decompositions.csv", 56))
        rows.append({makeParameter(row.value(0).toInt()), readDecomposition(row.value(1))});
    std::stable_sort(rows.begin(), rows.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    return rows;
}

} // namespace

static_assert(std::has_virtual_destructor_v<Converter>);
static_assert(std::is_copy_constructible_v<Converter> && std::is_copy_assignable_v<Converter>);

TEST(ConverterTables, AnswerBeforeMain)
{
    EXPECT_EQ(ANSWERS_BEFORE_MAIN.symbols, 76);
    EXPECT_EQ(ANSWERS_BEFORE_MAIN.decompositions, 56U);
    EXPECT_EQ(ANSWERS_BEFORE_MAIN.printed, QStringLiteral("mA.h/g"));
    EXPECT_EQ(ANSWERS_BEFORE_MAIN.parameter, QStringLiteral("Sqrt Time"));
    EXPECT_EQ(ANSWERS_BEFORE_MAIN.mainUnit, makeUnit(40, 1, 23, 2, 2));
    EXPECT_EQ(ANSWERS_BEFORE_MAIN.factor, 1000.0F);
    EXPECT_EQ(ANSWERS_BEFORE_MAIN.old, makeUnit(40, 1, 23, 2, 2));
    EXPECT_EQ(ANSWERS_BEFORE_MAIN.parsed, UsualUnit()) << "texts are not known before init()";
}

TEST(ConverterTables, AnswerWithoutInit)
{
    Converter::clear();
    EXPECT_EQ(Converter::getSingleUnits(makeParameter(6)).size(), 6);
    EXPECT_EQ(Converter::getAvailableUnits().size(), 68);
    EXPECT_EQ(Converter::getPhysicalParameterFromUnits(makeUnit(41, 1, 23, 2, 2)), makeParameter(25));
}

TEST(ConverterObject, IsCopiedWithoutState)
{
    const Converter converter;
    Converter copy(converter);
    copy = converter;
    EXPECT_EQ(copy.getMainUnit(makeParameter(9)), makeUnit(70));
}

TEST(ParameterNames, AreTheTable)
{
    for (const QStringList& row : readTable("physical_parameters.csv", 68)) {
        SCOPED_TRACE(row.join(u' ').toStdString());
        EXPECT_EQ(Converter::castPhysicalParameterAsString(makeParameter(row.value(0).toInt())),
                  row.value(1));
    }
    EXPECT_EQ(Converter::castPhysicalParameterAsString(makeParameter(35)), QStringLiteral("Sqrt Time"));
    EXPECT_EQ(Converter::castPhysicalParameterAsString(makeParameter(36)),
              QStringLiteral("Time power alpha-1"));
}

TEST(ParameterNames, AreEmptyOutsideTheTable)
{
    for (const int number : {68, 69, 1000, -1, 2147483647, -2147483647 - 1})
        EXPECT_TRUE(Converter::castPhysicalParameterAsString(makeParameter(number)).isEmpty()) << number;
}

TEST(MainUnits, OfParametersAreTheTable)
{
    for (const QStringList& row : readTable("physical_parameters.csv", 68)) {
        SCOPED_TRACE(row.join(u' ').toStdString());
        const UsualUnit unit = Converter::getMainUnit(makeParameter(row.value(0).toInt()));
        EXPECT_EQ(UsualUnit::castUsualUnitAsString(unit), row.value(2));
    }
    for (const int number : {68, -1, 2147483647})
        EXPECT_EQ(Converter::getMainUnit(makeParameter(number)), UsualUnit()) << number;
}

TEST(MainUnits, OfParametersFromTheOldNumberingAreItsComposites)
{
    const int oldNumbers[] = {180, 190, 200, 210, 220, 240, 250, 301, 310, 321, 330, 191, 171};
    for (int i = 0; i < 13; ++i) {
        EXPECT_EQ(Converter::getMainUnit(makeParameter(21 + i)),
                  UsualUnit(static_cast<UsualUnitTypeOld>(oldNumbers[i])))
            << 21 + i;
    }
}

TEST(MainUnits, LeadBackToTheirParameter)
{
    const QSet<int> sharing{21, 62, 22, 63, 28, 44, 29, 46, 30, 47, 31, 49};
    for (int number = 0; number < 68; ++number) {
        const UsualUnit unit = Converter::getMainUnit(makeParameter(number));
        const PhysicalParameter found = Converter::getPhysicalParameterFromMainUnit(unit);
        EXPECT_EQ(Converter::getMainUnit(found), unit) << number;
        if (!sharing.contains(number)) {
            EXPECT_EQ(found, makeParameter(number));
        } else {
            EXPECT_TRUE(sharing.contains(found)) << number;
        }
    }
}

TEST(MainUnits, OfNoParameterGiveUnknown)
{
    EXPECT_EQ(Converter::getPhysicalParameterFromMainUnit(makeUnit(41)), ParameterUnknown);
    EXPECT_EQ(Converter::getPhysicalParameterFromMainUnit(makeUnit(40, 0, 23)), ParameterUnknown);
    EXPECT_EQ(Converter::getPhysicalParameterFromMainUnit(makeUnit(104)), ParameterUnknown);
    EXPECT_EQ(Converter::getPhysicalParameterFromMainUnit(makeUnit(40, 1, 23, 2, 2, 0, 9)), ParameterUnknown);
}

TEST(MainUnits, OfElementaryUnitsAreTheTable)
{
    for (const QStringList& row : readTable("unit_types.csv", 76)) {
        SCOPED_TRACE(row.join(u' ').toStdString());
        const int unit = row.value(0).toInt();
        const int mainUnit = row.value(2).toInt();
        EXPECT_EQ(Converter::getMainUnitFromSubunit(makeUnit(unit)), makeUnit(mainUnit));
        EXPECT_EQ(Converter::getMainUnitFromSubunit(makeUnit(unit, 1, unit, 2, unit, 1, unit)),
                  makeUnit(mainUnit, 1, mainUnit, 2, mainUnit, 1, mainUnit));
    }
    EXPECT_EQ(Converter::getMainUnitFromSubunit(makeUnit(2)), makeUnit(4));
    EXPECT_EQ(Converter::getMainUnitFromSubunit(makeUnit(160)), makeUnit(161));
    EXPECT_EQ(Converter::getMainUnitFromSubunit(makeUnit(151)), makeUnit(150));
    EXPECT_EQ(Converter::getMainUnitFromSubunit(makeUnit(146)), makeUnit(143));
}

TEST(MainUnits, OfCompositesDropUnitsWithoutOperator)
{
    EXPECT_EQ(Converter::getMainUnitFromSubunit(makeUnit(41, 1, 23, 2, 2)), makeUnit(40, 1, 20, 2, 4));
    EXPECT_EQ(Converter::getMainUnitFromSubunit(makeUnit(41, 0, 23)), makeUnit(40));
    EXPECT_EQ(Converter::getMainUnitFromSubunit(makeUnit(41, 0, 23, 2, 2, 0, 71)), makeUnit(40, 0, 0, 2, 4));
    EXPECT_EQ(Converter::getMainUnitFromSubunit(makeUnit(104, 1, 23)), makeUnit(0, 1, 20));
    EXPECT_EQ(Converter::getMainUnitFromSubunit(makeUnit(41, 1, 104, 1, -1)), makeUnit(40, 1, 0, 1, 0));
}

TEST(Decompositions, AreTheTableInOrder)
{
    const auto expected = expectedDecompositions();
    ASSERT_EQ(static_cast<qsizetype>(MAPPING_SUB_PHYSICAL_PARAMETERS.size()), expected.size());
    auto entry = MAPPING_SUB_PHYSICAL_PARAMETERS.begin();
    for (qsizetype i = 0; i < expected.size(); ++i, ++entry) {
        EXPECT_EQ(entry->first, expected[i].first) << i;
        EXPECT_TRUE(entry->second == expected[i].second) << i;
    }
}

TEST(Decompositions, AreListedPerParameter)
{
    const auto expected = expectedDecompositions();
    for (int number = -1; number <= 68; ++number) {
        QList<SubPhysicalParameters> ofParameter;
        for (const auto& row : expected) {
            if (row.first == makeParameter(number))
                ofParameter.append(row.second);
        }
        EXPECT_TRUE(Converter::getSubPhysicalParameters(makeParameter(number)) == ofParameter) << number;
    }
    EXPECT_EQ(Converter::getSubPhysicalParameters(makeParameter(25)).size(), 2);
    EXPECT_TRUE(Converter::getSubPhysicalParameters(makeParameter(6)).isEmpty());
}

TEST(Decompositions, MatchTheUnitsWhateverTheOperators)
{
    const QList<SubPhysicalParameters> byTime{readDecomposition(QStringLiteral("6 x 4 / 2"))};
    const QList<SubPhysicalParameters> byCharge{readDecomposition(QStringLiteral("10 / 2"))};
    const auto matching = [](int parameter, const UsualUnit& unit) {
        return Converter::getMatchingSubPhysicalParameters(makeParameter(parameter), unit);
    };
    EXPECT_TRUE(matching(25, makeUnit(41, 1, 23, 2, 2)) == byTime);
    EXPECT_TRUE(matching(25, makeUnit(41, 2, 23, 1, 2)) == byTime);
    EXPECT_TRUE(matching(25, makeUnit(41, 0, 23, 0, 2)) == byTime) << "all four units count";
    EXPECT_TRUE(matching(25, makeUnit(82, 2, 5)) == byCharge);
    EXPECT_TRUE(matching(25, makeUnit(41, 1, 23)).isEmpty());
    EXPECT_TRUE(matching(25, makeUnit(41, 1, 23, 2, 2, 2, 70)).isEmpty());
    EXPECT_TRUE(matching(25, makeUnit(2, 1, 23, 2, 41)).isEmpty()) << "the order counts";
    EXPECT_TRUE(matching(6, makeUnit(41)).isEmpty());
    EXPECT_TRUE(matching(25, makeUnit(104, 1, 23, 2, 2)).isEmpty());
}

TEST(ParameterOfUnits, IsThatOfTheMainUnitForSingleUnits)
{
    for (const QStringList& row : readTable("conversion_factors.csv", 74)) {
        SCOPED_TRACE(row.join(u' ').toStdString());
        const UsualUnitType unit = UsualUnit::MAPPING_UNIT_STRING.key(row.value(1));
        EXPECT_EQ(Converter::getPhysicalParameterFromUnits(unit), makeParameter(row.value(0).toInt()));
    }
    EXPECT_EQ(Converter::getPhysicalParameterFromUnits(UsualUnit()), ParameterUnknown);
    EXPECT_EQ(Converter::getPhysicalParameterFromUnits(UnitNone), ParameterNone);
    EXPECT_EQ(Converter::getPhysicalParameterFromUnits(makeUnit(104)), ParameterUnknown);
    EXPECT_EQ(Converter::getPhysicalParameterFromUnits(makeUnit(41, 0, 23, 2, 2)), ParameterElectricCurrent);
}

TEST(ParameterOfUnits, IsTheLowestWithThatDecomposition)
{
    EXPECT_EQ(Converter::getPhysicalParameterFromUnits(makeUnit(103, 2, 2)), makeParameter(28));
    EXPECT_EQ(Converter::getPhysicalParameterFromUnits(makeUnit(90, 1, 190)), makeParameter(21));
    EXPECT_EQ(Converter::getPhysicalParameterFromUnits(makeUnit(41, 1, 23, 2, 2)), makeParameter(25));
    EXPECT_EQ(Converter::getPhysicalParameterFromUnits(makeUnit(40, 1, 20)), makeParameter(10));
    EXPECT_EQ(Converter::getPhysicalParameterFromUnits(makeUnit(40, 1, 23, 2, 70, 2, 2)), makeParameter(65));
}

TEST(ParameterOfUnits, ComparesOperators)
{
    EXPECT_EQ(Converter::getPhysicalParameterFromUnits(makeUnit(103, 1, 2)), ParameterUnknown);
    EXPECT_EQ(Converter::getPhysicalParameterFromUnits(makeUnit(41, 1, 23, 1, 2)), ParameterUnknown);
    EXPECT_EQ(Converter::getPhysicalParameterFromUnits(makeUnit(70, 1, 40)), ParameterUnknown);
}

TEST(ParameterOfUnits, FindsEveryDecompositionByItsMainUnits)
{
    const auto expected = expectedDecompositions();
    for (const auto& [parameter, parts] : expected) {
        const UsualUnit unit(Converter::getMainUnit(std::get<0>(parts)).getUnit1(), std::get<1>(parts),
                             Converter::getMainUnit(std::get<2>(parts)).getUnit1(), std::get<3>(parts),
                             Converter::getMainUnit(std::get<4>(parts)).getUnit1(), std::get<5>(parts),
                             Converter::getMainUnit(std::get<6>(parts)).getUnit1());
        const auto lowest = std::find_if(expected.begin(), expected.end(),
                                         [&parts = parts](const auto& row) { return row.second == parts; });
        EXPECT_EQ(Converter::getPhysicalParameterFromUnits(unit), lowest->first)
            << testing::PrintToString(unit);
    }
}

TEST(ComposedUnit, GrowsPartByPart)
{
    UsualUnit unit = Converter::composeUnitManually(makeUnit(41), OperatorMultiply, UnitHour);
    EXPECT_EQ(unit, makeUnit(41, 1, 23));
    unit = Converter::composeUnitManually(unit, OperatorDivide, UnitVolt);
    EXPECT_EQ(unit, makeUnit(41, 1, 23, 2, 70));
    unit = Converter::composeUnitManually(unit, OperatorDivide, UnitGram);
    EXPECT_EQ(unit, makeUnit(41, 1, 23, 2, 70, 2, 2));
    EXPECT_EQ(Converter::composeUnitManually(unit, OperatorDivide, UnitGram), unit);
}

TEST(ComposedUnit, LeavesWhatCannotGrow)
{
    EXPECT_EQ(Converter::composeUnitManually(UsualUnit(), OperatorMultiply, UnitHour), UsualUnit());
    EXPECT_EQ(Converter::composeUnitManually(UnitNone, OperatorMultiply, UnitHour), UsualUnit(UnitNone));
    EXPECT_EQ(Converter::composeUnitManually(makeUnit(0, 1, 23), OperatorDivide, UnitGram),
              makeUnit(0, 1, 23));
    EXPECT_EQ(Converter::composeUnitManually(makeUnit(41, 1, 23, 2, 2, 0, 70), OperatorDivide, UnitGram),
              makeUnit(41, 1, 23, 2, 2, 0, 70));
    EXPECT_EQ(Converter::composeUnitManually(makeUnit(41, 1, 23, 2, 2, 1, 0), OperatorDivide, UnitGram),
              makeUnit(41, 1, 23, 2, 2, 1, 0));
}

TEST(ComposedUnit, TakesAFieldWhereOnlyOneOfAPairIsSetAsUsed)
{
    EXPECT_EQ(Converter::composeUnitManually(makeUnit(41, 0, 23), OperatorDivide, UnitGram),
              makeUnit(41, 0, 23, 2, 2));
    EXPECT_EQ(Converter::composeUnitManually(makeUnit(41, 1, 0), OperatorDivide, UnitGram),
              makeUnit(41, 1, 0, 2, 2));
    EXPECT_EQ(Converter::composeUnitManually(makeUnit(41, 0, 0, 2, 2), OperatorMultiply, UnitHour),
              makeUnit(41, 1, 23))
        << "the parts behind a free one are dropped";
}
