#include <datastorage/units/UsualUnit.h>

#include <units/UnitFixtures.h>

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

#include <gtest/gtest.h>

using namespace vx::datastorage;

namespace {

const UsualUnit FULL = makeUnit(40, 1, 23, 2, 70, 2, 2);

/// What write() makes of `unit`.
QJsonValue written(const UsualUnit& unit, bool asText = false)
{
    vx::archive::ArchiveContext context;
    context.unitsAsText = asText;
    QJsonObject object{{QStringLiteral("unit"), QJsonValue()}};
    EXPECT_TRUE(unit.write(object[QStringLiteral("unit")], 1, context));
    return object.value(QStringLiteral("unit"));
}

/// What read() makes of `value`, starting from `unit`.
UsualUnit readOver(UsualUnit unit, const QJsonValue& value)
{
    vx::archive::ArchiveContext context;
    EXPECT_TRUE(unit.read(value, 1, context));
    return unit;
}

QJsonValue json(const char* text)
{
    return QJsonDocument::fromJson(QByteArray("[") + text + "]").array().at(0);
}

} // namespace

TEST(UsualUnitJson, WritesSevenIntegers)
{
    EXPECT_EQ(QJsonDocument(written(makeUnit(41, 1, 23, 2, 2)).toObject()).toJson(QJsonDocument::Compact),
              QJsonDocument::fromJson(R"({"unit1": 41, "unitOperator": 1, "unit2": 23, "unitOperator2": 2,
                                          "unit3": 2, "unitOperator3": 0, "unit4": 0})")
                  .toJson(QJsonDocument::Compact));
    const QJsonObject object = written(makeUnit(2, 1, 3, 2, 4, 1, 5)).toObject();
    EXPECT_EQ(object.size(), 7);
    EXPECT_EQ(object.value(u"unit1").toInt(), 2);
    EXPECT_EQ(object.value(u"unitOperator").toInt(), 1);
    EXPECT_EQ(object.value(u"unit2").toInt(), 3);
    EXPECT_EQ(object.value(u"unitOperator2").toInt(), 2);
    EXPECT_EQ(object.value(u"unit3").toInt(), 4);
    EXPECT_EQ(object.value(u"unitOperator3").toInt(), 1);
    EXPECT_EQ(object.value(u"unit4").toInt(), 5);
}

TEST(UsualUnitJson, WritesIntoAnArrayElement)
{
    vx::archive::ArchiveContext context;
    QJsonArray array{QJsonValue(), QJsonValue()};
    EXPECT_TRUE(makeUnit(70).write(array[1], 1, context));
    EXPECT_TRUE(array.at(0).isNull());
    EXPECT_EQ(array.at(1).toObject().value(u"unit1").toInt(), 70);
}

TEST(UsualUnitJson, WritesThePrintedFormOnRequest)
{
    EXPECT_EQ(written(makeUnit(41, 1, 23, 2, 2), true), QJsonValue(QStringLiteral("mA.h/g")));
    EXPECT_EQ(written(UsualUnit(), true), QJsonValue(QStringLiteral("Unknown")));
    EXPECT_EQ(written(makeUnit(104), true), QJsonValue(QString()));
}

TEST(UsualUnitJson, ReadsBackWhatItWrites)
{
    const UsualUnit units[] = {UsualUnit(), makeUnit(1), makeUnit(41, 1, 23), FULL,
                               makeUnit(104, 7, -1, 2147483647, -2147483647 - 1)};
    for (const UsualUnit& unit : units)
        EXPECT_EQ(readOver(makeUnit(9, 9, 9, 9, 9, 9, 9), written(unit)), unit);
}

TEST(UsualUnitJson, DoesNotReadThePrintedForm)
{
    EXPECT_EQ(readOver(FULL, written(FULL, true)), UsualUnit());
}

TEST(UsualUnitJson, ReadsNumbersOfOldDocuments)
{
    EXPECT_EQ(readOver(FULL, QJsonValue(88)), makeUnit(40, 1, 23));
    EXPECT_EQ(readOver(FULL, QJsonValue(221)), makeUnit(41, 1, 23, 2, 2));
    EXPECT_EQ(readOver(FULL, QJsonValue(70)), makeUnit(70));
    EXPECT_EQ(readOver(FULL, QJsonValue(230)), makeUnit(40)) << "an unknown number keeps the first unit";
}

TEST(UsualUnitJson, ReadsOtherValuesAsTheUnknownUnit)
{
    for (const char* text : {"null", "true", "\"88\"", "\"mA\"", "[]", "[88]", "88.5", "1e300"}) {
        SCOPED_TRACE(text);
        EXPECT_EQ(readOver(FULL, json(text)), UsualUnit());
    }
    EXPECT_EQ(readOver(FULL, QJsonValue(QJsonValue::Undefined)), UsualUnit());
}

TEST(UsualUnitJson, MissingMembersAreZeroExceptThoseOfTheFourthUnit)
{
    EXPECT_EQ(readOver(FULL, json(R"({"unit1": 70})")), makeUnit(70, 0, 0, 0, 0, 2, 2));
    EXPECT_EQ(readOver(FULL, json("{}")), makeUnit(0, 0, 0, 0, 0, 2, 2));
    EXPECT_EQ(readOver(FULL, json(R"({"unitOperator3": 1})")), makeUnit(0, 0, 0, 0, 0, 1, 2));
    EXPECT_EQ(readOver(FULL, json(R"({"unit4": 23})")), makeUnit(0, 0, 0, 0, 0, 2, 23));
    EXPECT_EQ(readOver(UsualUnit(), json(R"({"unit1": 41, "unitOperator": 1, "unit2": 23,
                                             "unitOperator2": 2, "unit3": 2})")),
              makeUnit(41, 1, 23, 2, 2));
}

TEST(UsualUnitJson, MembersOfAnotherTypeAreZero)
{
    EXPECT_EQ(readOver(FULL, json(R"({"unit1": "41", "unitOperator": null, "unit2": [23],
                                      "unitOperator2": {"a": 2}, "unit3": true, "unitOperator3": "1",
                                      "unit4": null})")),
              UsualUnit());
    EXPECT_EQ(readOver(FULL, json(R"({"unit1": 1e99, "unit2": 23.5, "unit3": -1e99})")),
              makeUnit(0, 0, 0, 0, 0, 2, 2));
}

TEST(UsualUnitJson, IgnoresVersionAndOtherMembers)
{
    vx::archive::ArchiveContext context;
    for (const int version : {-1, 0, 1, 1000}) {
        UsualUnit unit;
        EXPECT_TRUE(unit.read(json(R"({"unit1": 41, "unit": 7, "Unit2": 3})"), version, context));
        EXPECT_EQ(unit, makeUnit(41));
    }
}
