#include <datastorage/units/OptValueConverter.h>
#include <datastorage/units/StoreOptValueInJson.h>

#include <support/RowLabel.h>
#include <units/UnitFixtures.h>

#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QLocale>

#include <cmath>
#include <limits>
#include <type_traits>

#include <gtest/gtest.h>

using namespace vx::datastorage;

static_assert(std::is_same_v<decltype(OptValueConverter::numberPrecision), const short>);
static_assert(std::is_convertible_v<double, OptionalValue<double>>);

namespace {

struct ReadRow
{
    const char* label;
    const char* text;
    bool exists;
    double value;
};

const ReadRow READ[] = {
    {"Empty", "", false, 0},
    {"NotAvailable", "N/A", false, 0},
    {"NotAvailableLowerCase", "n/a", true, 0},
    {"NotAvailableWithBlank", "N/A ", true, 0},
    {"Number", "2.5", true, 2.5},
    {"Exponent", "-1.5e-3", true, -1.5e-3},
    {"Zero", "0", true, 0},
    {"Blanks", "  7 ", true, 7},
    {"Word", "abc", true, 0},
    {"DecimalComma", "1,5", true, 0},
    {"GroupedNumber", "1,234.5", true, 0},
    {"NumberWithUnit", "2.5 mA", true, 0},
};

struct PrintRow
{
    const char* label;
    double value;
    const char* text;
};

const PrintRow PRINTED[] = {
    {"Integer", 3, "3"},
    {"Fraction", 2.5, "2.5"},
    {"FiveDigits", 12.345678, "12.346"},
    {"Large", 1234567.0, "1.2346e+06"},
    {"Small", 0.0000123456, "1.2346e-05"},
    {"Negative", -0.25, "-0.25"},
    {"Zero", 0, "0"},
    {"Infinite", std::numeric_limits<double>::infinity(), "inf"},
};

} // namespace

TEST(OptionalValueType, IsAbsentByDefault)
{
    const OptionalValue<double> number;
    EXPECT_FALSE(number.exists);
    EXPECT_EQ(number.value, 0.0);
    const OptionalValue<QString> text;
    EXPECT_FALSE(text.exists);
    EXPECT_TRUE(text.value.isEmpty());
}

TEST(OptionalValueType, IsPresentWithAValue)
{
    const OptionalValue<double> number = 2.5;
    EXPECT_TRUE(number.exists);
    EXPECT_EQ(number.value, 2.5);
    OptionalValue<QString> text(QStringLiteral("cell"));
    const OptionalValue<QString> copy = text;
    text.exists = false;
    EXPECT_TRUE(copy.exists);
    EXPECT_EQ(copy.value, QStringLiteral("cell"));
}

TEST(OptValueConstants, AreTheTextAndThePrecision)
{
    EXPECT_EQ(OptValueConverter::notAvailable, QStringLiteral("N/A"));
    EXPECT_EQ(OptValueConverter::numberPrecision, 5);
}

class OptValueRead : public ::testing::TestWithParam<ReadRow>
{};

TEST_P(OptValueRead, IsPresentUnlessEmptyOrNotAvailable)
{
    for (const QLocale& locale : {QLocale::c(), QLocale(QLocale::German, QLocale::Germany)}) {
        QLocale::setDefault(locale);
        const auto value =
            OptValueConverter::convertStringValueInOptDouble(QString::fromUtf8(GetParam().text));
        EXPECT_EQ(value.exists, GetParam().exists);
        EXPECT_EQ(value.value, GetParam().value);
    }
    QLocale::setDefault(QLocale::c());
}

INSTANTIATE_TEST_SUITE_P(Texts, OptValueRead, ::testing::ValuesIn(READ), RowLabel());

class OptValuePrinted : public ::testing::TestWithParam<PrintRow>
{};

TEST_P(OptValuePrinted, HasFiveDigitsAndItsUnit)
{
    const QString text = QString::fromUtf8(GetParam().text);
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    EXPECT_EQ(OptValueConverter::getValueFromOptDouble(GetParam().value), text);
    EXPECT_EQ(OptValueConverter::getValueAndUnitFromOptDouble(GetParam().value, UnitNone), text);
    EXPECT_EQ(OptValueConverter::getValueAndUnitFromOptDouble(GetParam().value, makeUnit(41, 1, 23, 2, 2)),
              text + QStringLiteral(" mA.h/g"));
    QLocale::setDefault(QLocale::c());
}

INSTANTIATE_TEST_SUITE_P(Numbers, OptValuePrinted, ::testing::ValuesIn(PRINTED), RowLabel());

TEST(OptValueTexts, OfAbsentValuesAreNotAvailable)
{
    OptionalValue<double> absent(2.5);
    absent.exists = false;
    EXPECT_EQ(OptValueConverter::getValueFromOptDouble(absent), QStringLiteral("N/A"));
    EXPECT_EQ(OptValueConverter::getValueAndUnitFromOptDouble(absent, makeUnit(41)), QStringLiteral("N/A"));
    EXPECT_EQ(OptValueConverter::getValueFromOptQString(OptionalValue<QString>()), QStringLiteral("N/A"));
    EXPECT_EQ(OptValueConverter::getValueFromOptQString(QStringLiteral("cell")), QStringLiteral("cell"));
    EXPECT_EQ(OptValueConverter::getValueFromOptQString(QString()), QString());
}

TEST(OptValueTexts, HaveTheTextOfUnknownUnits)
{
    EXPECT_EQ(OptValueConverter::getValueAndUnitFromOptDouble(3.0, UsualUnit()), QStringLiteral("3 Unknown"));
    EXPECT_EQ(OptValueConverter::getValueAndUnitFromOptDouble(3.0, makeUnit(104)), QStringLiteral("3 "));
}

TEST(OptValueDisplay, ConvertsFromTheMainUnit)
{
    const auto shown = OptValueConverter::convertValueToDisplayUnit(makeParameter(6), makeUnit(41), 0.002);
    EXPECT_TRUE(shown.exists);
    EXPECT_FLOAT_EQ(static_cast<float>(shown.value), 2.0F);
}

TEST(OptValueDisplay, NarrowsToFloat)
{
    const auto shown = [](double value) {
        return OptValueConverter::convertValueToDisplayUnit(makeParameter(6), makeUnit(40), value).value;
    };
    EXPECT_EQ(shown(0.1), static_cast<double>(0.1F));
    EXPECT_EQ(shown(16777217.0), 16777216.0);
    EXPECT_EQ(shown(1e300), std::numeric_limits<double>::infinity());
    EXPECT_EQ(shown(-1e300), -std::numeric_limits<double>::infinity());
    EXPECT_TRUE(std::isnan(shown(std::numeric_limits<double>::quiet_NaN())));
}

TEST(OptValueDisplay, LeavesAbsentValuesAndNone)
{
    OptionalValue<double> absent(0.1);
    absent.exists = false;
    const auto copy = OptValueConverter::convertValueToDisplayUnit(makeParameter(6), makeUnit(41), absent);
    EXPECT_FALSE(copy.exists);
    EXPECT_EQ(copy.value, 0.1);
    const auto none = OptValueConverter::convertValueToDisplayUnit(ParameterNone, makeUnit(41), 0.1);
    EXPECT_TRUE(none.exists);
    EXPECT_EQ(none.value, 0.1);
    EXPECT_EQ(OptValueConverter::convertValueToDisplayUnit(makeParameter(6), UnitNone, 0.1).value, 0.1);
}

TEST(OptValueJson, HoldsPresenceAndNumber)
{
    vx::archive::ArchiveContext context;
    QJsonObject object;
    OptionalValue<double> absent(2.5);
    absent.exists = false;
    StoreOptValueInJson::writeOptDoubleMember(object, 1, context, 0.25, QStringLiteral("mass"));
    StoreOptValueInJson::writeOptDoubleMember(object, 1, context, {}, QStringLiteral("area"));
    StoreOptValueInJson::writeOptDoubleMember(object, 1, context, absent, QStringLiteral("volume"));
    EXPECT_EQ(QJsonDocument(object).toJson(QJsonDocument::Compact),
              QByteArray(R"({"area":{"exists":false,"value":0},"mass":{"exists":true,"value":0.25},)"
                         R"("volume":{"exists":false,"value":2.5}})"));
}

TEST(OptValueJson, HoldsPresenceAndText)
{
    vx::archive::ArchiveContext context;
    QJsonObject object;
    StoreOptValueInJson::writeOptStringMember(object, 1, context, QStringLiteral("LFP"),
                                              QStringLiteral("cell"));
    StoreOptValueInJson::writeOptStringMember(object, 1, context, {}, QStringLiteral("note"));
    EXPECT_EQ(QJsonDocument(object).toJson(QJsonDocument::Compact),
              QByteArray(R"({"cell":{"exists":true,"value":"LFP"},"note":{"exists":false,"value":""}})"));
}

TEST(OptValueJson, ReplacesTheMemberAndKeepsTheOthers)
{
    vx::archive::ArchiveContext context;
    QJsonObject object{{QStringLiteral("mass"), 7}, {QStringLiteral("name"), QStringLiteral("cell")}};
    StoreOptValueInJson::writeOptDoubleMember(object, 9, context, 1.5, QStringLiteral("mass"));
    EXPECT_EQ(QJsonDocument(object).toJson(QJsonDocument::Compact),
              QByteArray(R"({"mass":{"exists":true,"value":1.5},"name":"cell"})"));
}
