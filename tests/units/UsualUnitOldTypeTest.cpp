#include <datastorage/units/UsualUnit.h>

#include <units/UnitFixtures.h>

#include <QtCore/QSet>

#include <gtest/gtest.h>

using namespace vx::datastorage;

namespace {

UsualUnitTypeOld old(int number)
{
    return static_cast<UsualUnitTypeOld>(number);
}

QList<QStringList> oldUnits()
{
    return readTable("old_units.csv", 123);
}

} // namespace

TEST(UsualUnitOldType, BecomesItsComposite)
{
    for (const QStringList& row : oldUnits()) {
        SCOPED_TRACE(row.join(u' ').toStdString());
        const UsualUnit expected = makeUnit(row.value(1).toInt(), row.value(2).toInt(), row.value(3).toInt(),
                                            row.value(4).toInt(), row.value(5).toInt());
        EXPECT_EQ(UsualUnit(old(row.value(0).toInt())), expected);
        EXPECT_EQ(UsualUnit::castUsualUnitAsString(expected), row.value(6));
        UsualUnit reused = makeUnit(41, 2, 23, 2, 2, 2, 70);
        reused.convertFromOldType(old(row.value(0).toInt()));
        EXPECT_EQ(reused, expected);
    }
}

TEST(UsualUnitOldType, ComparesByItsComposite)
{
    for (const QStringList& row : oldUnits()) {
        SCOPED_TRACE(row.join(u' ').toStdString());
        const UsualUnitTypeOld number = old(row.value(0).toInt());
        UsualUnit unit(number);
        EXPECT_TRUE(unit == number);
        EXPECT_FALSE(makeUnit(unit.getUnit1(), 1, 999) == number);
    }
    EXPECT_TRUE(makeUnit(40, 1, 23, 2, 2) == old(220));
    EXPECT_FALSE(makeUnit(40, 1, 23, 2, 140) == old(220));
    EXPECT_TRUE(makeUnit(40, 1, 23, 2, 140) == old(210));
}

TEST(UsualUnitOldType, OutsideTheTableKeepsTheFirstUnitOnly)
{
    QSet<int> known;
    for (const QStringList& row : oldUnits())
        known.insert(row.value(0).toInt());
    for (int number = -10; number < 2000; ++number) {
        if (known.contains(number))
            continue;
        UsualUnit unit = makeUnit(41, 1, 23, 2, 2, 2, 70);
        unit.convertFromOldType(old(number));
        ASSERT_EQ(unit, makeUnit(41)) << number;
        ASSERT_EQ(UsualUnit(old(number)), UsualUnit()) << number;
    }
    UsualUnit unit = makeUnit(41, 1, 23, 2, 2);
    unit.convertFromOldType(old(230));
    EXPECT_EQ(unit, makeUnit(41));
}

TEST(UsualUnitOldType, UnknownNumberEqualsTheUnknownUnit)
{
    EXPECT_TRUE(UsualUnit() == old(230));
    EXPECT_FALSE(makeUnit(41) == old(230));
}
