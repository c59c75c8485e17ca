#include <json/JsonUtils.h>

#if defined(__linux__)
#include <support/Faults.h>
#endif
#include <support/Printers.h>

#include <QtCore/QByteArray>
#include <QtCore/QDateTime>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QRect>

#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace {

QJsonValue parseValue(const char* json)
{
    const QJsonDocument document = QJsonDocument::fromJson(QByteArray("[") + json + "]");
    EXPECT_TRUE(document.isArray()) << json;
    return document.array().at(0);
}

struct VersionCase
{
    const char* name;
    const char* version; ///< JSON text, or null for no such member
    int readsAs;
};

void PrintTo(const VersionCase& row, std::ostream* stream)
{
    *stream << (row.version == nullptr ? "missing" : row.version);
}

const VersionCase VERSIONS[] = {
    {"One", "1", 1},
    {"Zero", "0", 0},
    {"Negative", "-3", -3},
    {"WholeWithPoint", "2.0", 2},
    {"WholeWithExponent", "2e1", 20},
    {"LargestInt", "2147483647", 2'147'483'647},
    {"SmallestInt", "-2147483648", std::numeric_limits<int>::min()},
    {"Missing", nullptr, 0},
    {"NotWhole", "2.5", 0},
    {"AboveInt", "2147483648", 0},
    {"BelowInt", "-2147483649", 0},
    {"OneAboveAllBits", "4294967297", 0},
    {"Huge", "1e300", 0},
    {"HugeInteger", "123456789012345678901234567890", 0},
    {"Text", "\"1\"", 0},
    {"True", "true", 0},
    {"Null", "null", 0},
    {"Array", "[1]", 0},
    {"Object", "{\"a\":1}", 0},
};

class JsonVersion : public testing::TestWithParam<VersionCase>
{
protected:
    static QJsonObject document()
    {
        QJsonObject object{{"version", 77}};
        if (GetParam().version != nullptr) {
            object.insert("Version", parseValue(GetParam().version));
        }
        return object;
    }
};

TEST_P(JsonVersion, IsAcceptedWhenEqual)
{
    QString error = "before";
    EXPECT_TRUE(JsonUtils::checkVersionNumber(document(), GetParam().readsAs, error));
    EXPECT_EQ(error, "before");
}

TEST_P(JsonVersion, IsRefusedWhenNewerOrOlder)
{
    for (const int expected :
         {GetParam().readsAs ^ 1, GetParam().readsAs ^ 8, GetParam().readsAs ^ 77 << 8}) {
        QString error = "before";
        EXPECT_FALSE(JsonUtils::checkVersionNumber(document(), expected, error)) << expected;
        EXPECT_EQ(error, "unexpected version");
    }
}

INSTANTIATE_TEST_SUITE_P(Versions, JsonVersion, testing::ValuesIn(VERSIONS),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(JsonBytes, EmptyArrayHasOnlyTheCount)
{
    EXPECT_EQ(JsonUtils::jsonObjectFromQByteArray({}), (QJsonObject{{"count", 0}}));
}

TEST(JsonBytes, BytesAreSignedNumbersUnderTheirIndex)
{
    const QByteArray bytes("\x00\x01\x7F\x80\xC8\xFF", 6);
    const QJsonObject expected{{"count", 6}, {"0", 0},   {"1", 1}, {"2", 127},
                               {"3", -128},  {"4", -56}, {"5", -1}};
    EXPECT_EQ(JsonUtils::jsonObjectFromQByteArray(bytes), expected);
}

TEST(JsonBytes, EveryByteAndEveryNumberOfDigitsRoundTrips)
{
    for (const int size : {1, 9, 10, 11, 99, 100, 101, 256, 999, 1000, 1001, 12'345}) {
        SCOPED_TRACE(size);
        QByteArray bytes;
        for (int i = 0; i < size; ++i) {
            bytes.append(static_cast<char>(static_cast<unsigned char>(i * 7)));
        }
        const QJsonObject object = JsonUtils::jsonObjectFromQByteArray(bytes);
        EXPECT_EQ(object.size(), size + 1);
        EXPECT_TRUE(object.contains(QString::number(size - 1)));
        EXPECT_EQ(JsonUtils::qbyteArrayFromJsonObject(object), bytes);
    }
}

TEST(JsonBytes, AMillionBytesRoundTrip)
{
    const QByteArray bytes = QByteArray("0123456789abcdef").repeated(65'536);
    const QJsonObject object = JsonUtils::jsonObjectFromQByteArray(bytes);
    EXPECT_EQ(object.size(), bytes.size() + 1);
    EXPECT_EQ(JsonUtils::qbyteArrayFromJsonObject(object), bytes);
}

struct BytesCase
{
    const char* name;
    const char* object;
    QByteArray bytes;
};

void PrintTo(const BytesCase& row, std::ostream* stream)
{
    *stream << row.object;
}

const BytesCase BYTES[] = {
    {"Empty", R"({})", ""},
    {"NoCount", R"({"0":1})", ""},
    {"CountZero", R"({"count":0,"0":1})", ""},
    {"CountNegative", R"({"count":-1,"0":1})", ""},
    {"CountNotWhole", R"({"count":1.5,"0":1})", ""},
    {"CountAText", R"({"count":"1","0":1})", ""},
    {"CountBeyondInt", R"({"count":2147483648,"0":1})", ""},
    {"Unsigned", R"({"count":1,"0":200})", "\xC8"},
    {"Signed", R"({"count":1,"0":-56})", "\xC8"},
    {"LowEightBits", R"({"count":3,"0":257,"1":-257,"2":2147483647})", "\x01\xFF\xFF"},
    {"MissingMembers", R"({"count":4,"1":7})", QByteArray("\0\7\0\0", 4)},
    {"MembersBehindTheCount", R"({"count":1,"0":1,"1":2,"9":3})", "\x01"},
    {"NotWholeNumbers", R"({"count":5,"0":1.5,"1":"2","2":null,"3":[3],"4":4294967297})",
     QByteArray(5, '\0')},
    {"OtherKeys", R"({"count":2,"00":1,"+1":2,"-0":3," 1":4,"1 ":5,"0x1":6,"01":7,"1.0":8})",
     QByteArray(2, '\0')},
};

class JsonBytesRead : public testing::TestWithParam<BytesCase>
{};

TEST_P(JsonBytesRead, GivesTheBytes)
{
    const QJsonObject object = parseValue(GetParam().object).toObject();
    EXPECT_EQ(JsonUtils::qbyteArrayFromJsonObject(object), GetParam().bytes);
}

INSTANTIATE_TEST_SUITE_P(Objects, JsonBytesRead, testing::ValuesIn(BYTES),
                         [](const auto& row) { return std::string(row.param.name); });

// A look-up per byte would take minutes.
TEST(JsonBytes, AHugeCountWithoutMembersCostsItsMemoryOnly)
{
    constexpr int count = 200'000'000;
    const QByteArray bytes = JsonUtils::qbyteArrayFromJsonObject({{"count", count}, {"199999999", 5}});
    ASSERT_EQ(bytes.size(), count);
    EXPECT_EQ(bytes.count('\0'), count - 1);
    EXPECT_EQ(bytes.back(), 5);
}

#if defined(__linux__) && CAN_LIMIT_MEMORY

TEST(JsonBytes, ACountBeyondTheMemoryGivesNoBytes)
{
    const QJsonObject object{{"count", 200'000'000}, {"0", 5}};
    const LittleMemory little(rlim_t{48} * 1024 * 1024);
    EXPECT_TRUE(JsonUtils::qbyteArrayFromJsonObject(object).isEmpty());
}

#endif

TEST(JsonRect, WritesItsFourMembers)
{
    const QJsonObject expected{{"left", -3}, {"top", 4}, {"width", 50}, {"height", 60}};
    EXPECT_EQ(JsonUtils::jsonObjectFromQRect(QRect(-3, 4, 50, 60)), expected);
    EXPECT_EQ(JsonUtils::qRectFromJsonObject(expected), QRect(-3, 4, 50, 60));
}

TEST(JsonRect, MissingMembersAndOtherTypesAreZero)
{
    EXPECT_EQ(JsonUtils::qRectFromJsonObject({}), QRect(0, 0, 0, 0));
    EXPECT_EQ(JsonUtils::qRectFromJsonObject({{"left", 1}, {"height", 2}}), QRect(1, 0, 0, 2));
    EXPECT_EQ(
        JsonUtils::qRectFromJsonObject({{"left", "1"}, {"top", 2.5}, {"width", true}, {"height", 1e300}}),
        QRect(0, 0, 0, 0));
}

TEST(JsonRect, EdgesBeyondTheRangeWrapAround)
{
    constexpr int largest = std::numeric_limits<int>::max();
    const QJsonObject object{{"left", largest}, {"top", largest}, {"width", largest}, {"height", 2}};
    const QRect rect = JsonUtils::qRectFromJsonObject(object);
    EXPECT_EQ(rect.left(), largest);
    EXPECT_EQ(rect.right(), -3);
    EXPECT_EQ(rect.bottom(), std::numeric_limits<int>::min());
    EXPECT_EQ(JsonUtils::jsonObjectFromQRect(rect), object);
}

TEST(JsonStrings, RoundTripInOrder)
{
    const QList<QString> list{"b", "", "a", QString::fromUtf8("\xC3\xA4"), "b"};
    const QJsonArray array{"b", "", "a", QString::fromUtf8("\xC3\xA4"), "b"};
    EXPECT_EQ(JsonUtils::QStringListToJsonArray(list), array);
    EXPECT_EQ(JsonUtils::QStringListFromJsonArray(array), list);
    EXPECT_EQ(JsonUtils::QStringListToJsonArray({}), QJsonArray());
    EXPECT_EQ(JsonUtils::QStringListFromJsonArray({}), QList<QString>());
}

TEST(JsonStrings, WhatIsNoTextGivesAnEmptyEntry)
{
    const QJsonArray array{"a", 1, true, QJsonValue(), QJsonArray{"x"}, QJsonObject{{"k", "x"}}, "b"};
    EXPECT_EQ(JsonUtils::QStringListFromJsonArray(array), (QList<QString>{"a", "", "", "", "", "", "b"}));
}

struct DateCase
{
    const char* name;
    const char* text;
    QDateTime expected; ///< invalid by default
};

void PrintTo(const DateCase& row, std::ostream* stream)
{
    *stream << row.text;
}

const QDateTime AFTERNOON(QDate(2024, 3, 5), QTime(14, 7, 9));
const QDateTime START_OF_DAY(QDate(2024, 3, 5), QTime(0, 0));

const DateCase DATES[] = {
    {"T", "2024-03-05T14:07:09", AFTERNOON},
    {"Blank", "2024-03-05 14:07:09", AFTERNOON},
    {"Fraction", "2024-03-05T14:07:09.250", AFTERNOON},
    {"FractionAndZone", "2024-03-05T14:07:09.250Z", AFTERNOON},
    {"PointAlone", "2024-03-05T14:07:09.", AFTERNOON},
    {"SecondPoint", "2024-03-05T14:07:09.2.5", AFTERNOON},
    {"Midnight", "2024-03-05T00:00:00", START_OF_DAY},
    {"Zone", "2024-03-05T14:07:09Z", START_OF_DAY},
    {"NoTime", "2024-03-05T", START_OF_DAY},
    {"OnlyAFraction", "2024-03-05T.5", START_OF_DAY},
    {"NoSeconds", "2024-03-05T14:07", START_OF_DAY},
    {"HourOutOfRange", "2024-03-05T24:00:00", START_OF_DAY},
    {"LeapDay", "2024-02-29T14:07:09", QDateTime(QDate(2024, 2, 29), QTime(14, 7, 9))},
    {"Empty", "", {}},
    {"DateAlone", "2024-03-05", {}},
    {"TAlone", "T", {}},
    {"TimeAlone", "T14:07:09", {}},
    {"SmallT", "2024-03-05t14:07:09", {}},
    {"TwoTs", "2024-03-05TT14:07:09", {}},
    {"ZoneNamedWithT", "2024-03-05T14:07:09 UTC", {}},
    {"NoLeapDay", "2023-02-29T14:07:09", {}},
    {"MonthOutOfRange", "2024-13-05T14:07:09", {}},
    {"ShortMonth", "2024-3-05T14:07:09", {}},
    {"FractionBehindABlank", "2024-03-05 14:07:09.250", {}},
    {"PointInTheDate", "2024.03.05T14:07:09", {}},
    {"BlankInFront", " 2024-03-05T14:07:09", {}},
    {"BlankAndNoTime", "2024-03-05 ", {}},
    {"Words", "yesterday", {}},
};

class JsonDate : public testing::TestWithParam<DateCase>
{};

TEST_P(JsonDate, IsReadFromText)
{
    const QDateTime result = JsonUtils::convertStringToQDateTime(GetParam().text);
    EXPECT_EQ(result.isValid(), GetParam().expected.isValid());
    EXPECT_EQ(result, GetParam().expected) << result.toString(Qt::ISODateWithMs).toStdString();
    EXPECT_EQ(result.timeSpec(), Qt::LocalTime);
}

TEST_P(JsonDate, IsReadFromJson)
{
    EXPECT_EQ(JsonUtils::convertJsonValueToQDateTime(QJsonValue(GetParam().text)), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Texts, JsonDate, testing::ValuesIn(DATES),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(JsonDateValue, IsInvalidWhenNoText)
{
    for (const QJsonValue& value :
         {QJsonValue(), QJsonValue(QJsonValue::Undefined), QJsonValue(5), QJsonValue(true),
          QJsonValue(QJsonArray{"2024-03-05T14:07:09"}), QJsonValue(QJsonObject{})}) {
        EXPECT_FALSE(JsonUtils::convertJsonValueToQDateTime(value).isValid());
    }
}

TEST(JsonDateValue, HostileTextsEndInTheStatedResult)
{
    constexpr int size = 5'000'000;
    for (const char filler : {'T', '-', '.', ':', ' ', '1'}) {
        SCOPED_TRACE(filler);
        const QString run(size, QLatin1Char(filler));
        EXPECT_FALSE(JsonUtils::convertStringToQDateTime(run).isValid());
        EXPECT_FALSE(JsonUtils::convertStringToQDateTime("2024-03-05 " + run).isValid());
        EXPECT_EQ(JsonUtils::convertStringToQDateTime("2024-03-05T" + run).isValid(), filler != 'T');
    }
    EXPECT_FALSE(
        JsonUtils::convertStringToQDateTime(QString("2024-03-05") + QChar(0) + "T14:07:09").isValid());
}

} // namespace
