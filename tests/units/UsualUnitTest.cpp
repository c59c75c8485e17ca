#include <datastorage/units/UsualUnit.h>

#include <support/RowLabel.h>
#include <units/UnitFixtures.h>

#include <cstdint>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

using namespace vx::datastorage;

static_assert(std::is_trivially_copyable_v<UsualUnit>);
static_assert(std::is_trivially_move_constructible_v<UsualUnit>);
static_assert(std::is_trivially_move_assignable_v<UsualUnit>);
static_assert(!std::is_polymorphic_v<UsualUnit>);
static_assert(sizeof(UsualUnit) == 28);
static_assert(std::is_same_v<std::underlying_type_t<UsualUnitType>, std::int32_t>);
static_assert(std::is_same_v<std::underlying_type_t<UsualUnitTypeOld>, std::int32_t>);
static_assert(std::is_same_v<std::underlying_type_t<UsualUnitOperator>, std::int32_t>);
static_assert(std::is_same_v<std::underlying_type_t<PhysicalParameter>, std::int32_t>);

namespace {

std::vector<int> fieldsOf(const UsualUnit& unit)
{
    return {unit.getUnit1(), unit.getOperator(),  unit.getUnit2(), unit.getOperator2(),
            unit.getUnit3(), unit.getOperator3(), unit.getUnit4()};
}

struct PrintRow
{
    const char* label;
    UsualUnit unit;
    const char* printed;
};

const PrintRow PRINTED[] = {
    {"Unknown", makeUnit(0), "Unknown"},
    {"None", makeUnit(1), "None"},
    {"Single", makeUnit(42), "µA"},
    {"Product", makeUnit(40, 1, 23), "A.h"},
    {"Quotient", makeUnit(130, 2, 20), "Ω/s"},
    {"SymbolWithBlanks", makeUnit(90, 1, 190), "F.s^(α - 1)"},
    {"ThreeParts", makeUnit(41, 1, 23, 2, 2), "mA.h/g"},
    {"CubicCentimeter", makeUnit(103, 1, 23, 2, 144), "W.h/cm³"},
    {"FourParts", makeUnit(40, 1, 23, 2, 70, 2, 2), "A.h/V/g"},
    {"MissingSecondUnitEndsIt", makeUnit(41, 1, 0, 2, 2), "mA"},
    {"NoneAsSecondUnitEndsIt", makeUnit(41, 1, 1, 2, 2), "mA"},
    {"MissingFirstOperatorEndsIt", makeUnit(41, 0, 23), "mA"},
    {"MissingSecondOperatorEndsIt", makeUnit(41, 1, 23, 0, 2, 2, 70), "mA.h"},
    {"MissingThirdUnitEndsIt", makeUnit(41, 1, 23, 2, 0, 2, 70), "mA.h"},
    {"MissingFourthUnitEndsIt", makeUnit(41, 1, 23, 2, 2, 2, 0), "mA.h/g"},
    {"UnknownOperatorEndsIt", makeUnit(41, 3, 23), "mA"},
    {"NumberWithoutSymbolFirst", makeUnit(104, 1, 20), ".s"},
    {"NumberWithoutSymbolAlone", makeUnit(104), ""},
    {"NumberWithoutSymbolInside", makeUnit(41, 1, 104, 2, 2), "mA./g"},
    {"NegativeNumberCountsAsRealUnit", makeUnit(41, 1, -5, 2, 2), "mA./g"},
    {"UnknownFirstUnitWithMore", makeUnit(0, 1, 23), "Unknown.h"},
    {"BeyondTheTable", makeUnit(1091), ""},
    {"Largest", makeUnit(2147483647), ""},
};

struct OrderRow
{
    const char* label;
    UsualUnit left;
    UsualUnit right;
    bool less;
    bool greater;
};

const OrderRow ORDER[] = {
    {"Single", makeUnit(40), makeUnit(41), true, false},
    {"SingleEqual", makeUnit(40), makeUnit(40), false, false},
    {"SignedNumbers", makeUnit(-1), makeUnit(0), true, false},
    {"SecondUnitIgnoredWithoutOperators", makeUnit(40, 0, 23), makeUnit(41, 0, 20), true, false},
    {"Contradicting", makeUnit(40, 1, 23), makeUnit(41, 1, 20), false, false},
    {"AgreeingPair", makeUnit(40, 1, 20), makeUnit(41, 1, 23), true, false},
    {"EqualSecondUnit", makeUnit(40, 1, 23), makeUnit(41, 1, 23), false, false},
    {"FirstOperatorsDiffer", makeUnit(40), makeUnit(41, 1, 23), true, false},
    {"FirstOperatorsDifferEqualFirst", makeUnit(40), makeUnit(40, 1, 23), false, false},
    {"SecondOperatorsDiffer", makeUnit(40, 1, 23, 1, 9), makeUnit(41, 1, 20, 2, 2), true, false},
    {"ThirdOperatorsDiffer", makeUnit(41, 1, 20, 2, 2, 1, 3), makeUnit(40, 1, 23, 2, 4, 2, 5), false, true},
    {"ThreeAgreeing", makeUnit(40, 1, 20, 2, 2), makeUnit(41, 1, 23, 2, 4), true, false},
    {"ThreeEqualLast", makeUnit(40, 1, 20, 2, 2), makeUnit(41, 1, 23, 2, 2), false, false},
    {"FourthIgnoredWithoutThirdOperator", makeUnit(40, 1, 20, 2, 2, 0, 9), makeUnit(41, 1, 23, 2, 4, 0, 3),
     true, false},
    {"FourAgreeing", makeUnit(40, 1, 20, 2, 2, 2, 70), makeUnit(41, 1, 23, 2, 4, 2, 71), true, false},
    {"FourContradicting", makeUnit(40, 1, 20, 2, 2, 2, 71), makeUnit(41, 1, 23, 2, 4, 2, 70), false, false},
    {"LastOperatorAloneCountsFour", makeUnit(40, 0, 0, 0, 0, 2, 2), makeUnit(41, 0, 0, 0, 0, 2, 4), false,
     false},
};

} // namespace

TEST(UsualUnitFields, AreAllZeroByDefault)
{
    EXPECT_EQ(fieldsOf(UsualUnit()), (std::vector<int>{0, 0, 0, 0, 0, 0, 0}));
}

TEST(UsualUnitFields, FollowTheConstructors)
{
    EXPECT_EQ(fieldsOf(UsualUnit(UnitVolt)), (std::vector<int>{70, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(fieldsOf(UsualUnit(UnitVolt, OperatorDivide, UnitSecond)),
              (std::vector<int>{70, 2, 20, 0, 0, 0, 0}));
    EXPECT_EQ(fieldsOf(UsualUnit(UnitAmpere, OperatorMultiply, UnitHour, OperatorDivide, UnitGram)),
              (std::vector<int>{40, 1, 23, 2, 2, 0, 0}));
    EXPECT_EQ(fieldsOf(UsualUnit(UnitAmpere, OperatorMultiply, UnitHour, OperatorDivide, UnitVolt,
                                 OperatorDivide, UnitGram)),
              (std::vector<int>{40, 1, 23, 2, 70, 2, 2}));
}

TEST(UsualUnitFields, AreCopied)
{
    const UsualUnit unit = makeUnit(40, 1, 23, 2, 70, 2, 2);
    const UsualUnit copy(unit);
    EXPECT_EQ(fieldsOf(copy), fieldsOf(unit));
    UsualUnit assigned;
    assigned = copy;
    EXPECT_EQ(fieldsOf(assigned), fieldsOf(unit));
}

TEST(UsualUnitFields, OnlyTheFirstOneMakesItUnknown)
{
    EXPECT_TRUE(UsualUnit().isUnknown());
    EXPECT_TRUE(makeUnit(0, 1, 23, 2, 2).isUnknown());
    EXPECT_FALSE(UsualUnit(UnitNone).isUnknown());
    EXPECT_FALSE(makeUnit(41).isUnknown());
}

TEST(UsualUnitParts, NeedAnOperatorAndARealUnit)
{
    for (const int unitOperator : {0, 1, 2}) {
        for (const int unit : {0, 1, 2, 104, -1}) {
            SCOPED_TRACE(testing::Message() << unitOperator << ' ' << unit);
            const bool present = unitOperator != 0 && unit != 0 && unit != 1;
            EXPECT_EQ(makeUnit(41, unitOperator, unit).hasUnit2(), present);
            EXPECT_EQ(makeUnit(41, 0, 0, unitOperator, unit).hasUnit3(), present);
            EXPECT_EQ(makeUnit(41, 0, 0, 0, 0, unitOperator, unit).hasUnit4(), present);
        }
    }
}

TEST(UsualUnitParts, LookAtTheirOwnPairOnly)
{
    const UsualUnit unit = makeUnit(41, 0, 0, 2, 2, 0, 0);
    EXPECT_FALSE(unit.hasUnit2());
    EXPECT_TRUE(unit.hasUnit3());
    EXPECT_FALSE(unit.hasUnit4());
}

TEST(UsualUnitParts, LastUnitIgnoresOperators)
{
    EXPECT_EQ(makeUnit(130, 2, 20).getLastUnit(), 20);
    EXPECT_EQ(makeUnit(130, 0, 20).getLastUnit(), 20);
    EXPECT_FALSE(makeUnit(130, 0, 20).hasUnit2());
    EXPECT_EQ(makeUnit(130).getLastUnit(), 130);
    EXPECT_EQ(makeUnit(40, 1, 23, 2, 2).getLastUnit(), 2);
    EXPECT_EQ(makeUnit(40, 1, 23, 2, 2, 2, 70).getLastUnit(), 70);
    EXPECT_EQ(makeUnit(40, 1, 0, 0, 2).getLastUnit(), 2);
    EXPECT_EQ(makeUnit(40, 1, 1).getLastUnit(), 1);
    EXPECT_EQ(UsualUnit().getLastUnit(), 0);
}

TEST(UsualUnitEquality, ComparesAllSevenFields)
{
    const UsualUnit unit = makeUnit(2, 1, 3, 2, 4, 1, 5);
    const UsualUnit others[] = {
        makeUnit(9, 1, 3, 2, 4, 1, 5), makeUnit(2, 2, 3, 2, 4, 1, 5), makeUnit(2, 1, 9, 2, 4, 1, 5),
        makeUnit(2, 1, 3, 1, 4, 1, 5), makeUnit(2, 1, 3, 2, 9, 1, 5), makeUnit(2, 1, 3, 2, 4, 2, 5),
        makeUnit(2, 1, 3, 2, 4, 1, 9),
    };
    EXPECT_TRUE(unit == makeUnit(2, 1, 3, 2, 4, 1, 5));
    EXPECT_FALSE(unit != makeUnit(2, 1, 3, 2, 4, 1, 5));
    for (const UsualUnit& other : others) {
        EXPECT_TRUE(unit != other) << testing::PrintToString(other);
        EXPECT_FALSE(unit == other) << testing::PrintToString(other);
    }
}

TEST(UsualUnitEquality, DoesNotNormalise)
{
    EXPECT_NE(makeUnit(40, 1, 23), makeUnit(23, 1, 40));
    EXPECT_NE(makeUnit(80), makeUnit(40, 1, 20));
}

class UsualUnitOrder : public ::testing::TestWithParam<OrderRow>
{};

TEST_P(UsualUnitOrder, FollowsItsRule)
{
    const OrderRow& row = GetParam();
    EXPECT_EQ(row.left < row.right, row.less);
    EXPECT_EQ(row.left > row.right, row.greater);
    EXPECT_EQ(row.right < row.left, row.greater);
    EXPECT_EQ(row.right > row.left, row.less);
}

INSTANTIATE_TEST_SUITE_P(Pairs, UsualUnitOrder, ::testing::ValuesIn(ORDER), RowLabel());

class UsualUnitPrinted : public ::testing::TestWithParam<PrintRow>
{};

TEST_P(UsualUnitPrinted, HasTheExpectedText)
{
    EXPECT_EQ(UsualUnit::castUsualUnitAsString(GetParam().unit), QString::fromUtf8(GetParam().printed));
}

INSTANTIATE_TEST_SUITE_P(Units, UsualUnitPrinted, ::testing::ValuesIn(PRINTED), RowLabel());

TEST(UsualUnitSymbols, AreTheTableOfSymbols)
{
    const QList<QStringList> rows = readTable("unit_types.csv", 76);
    EXPECT_EQ(UsualUnit::MAPPING_UNIT_STRING.size(), rows.size());
    for (const QStringList& row : rows) {
        SCOPED_TRACE(row.join(u' ').toStdString());
        const auto type = static_cast<UsualUnitType>(row.value(0).toInt());
        ASSERT_TRUE(UsualUnit::MAPPING_UNIT_STRING.contains(type));
        EXPECT_EQ(UsualUnit::MAPPING_UNIT_STRING.value(type), row.value(1));
        EXPECT_EQ(UsualUnit::castUsualUnitAsString(type), row.value(1));
    }
}

TEST(UsualUnitSymbols, AreEmptyForEveryOtherNumber)
{
    for (int number = -10; number < 3000; ++number) {
        const auto type = static_cast<UsualUnitType>(number);
        if (!UsualUnit::MAPPING_UNIT_STRING.contains(type)) {
            ASSERT_TRUE(UsualUnit::castUsualUnitAsString(type).isEmpty()) << number;
        }
    }
    EXPECT_FALSE(UsualUnit::MAPPING_UNIT_STRING.contains(static_cast<UsualUnitType>(104)));
}
