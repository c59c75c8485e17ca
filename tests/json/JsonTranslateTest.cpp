#include <json/JsonUtils.h>

#include <support/Printers.h>
#include <support/RecordingTranslator.h>

#include <QtCore/QByteArray>
#include <QtCore/QCoreApplication>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

QJsonObject parse(const char* json)
{
    const QJsonDocument document = QJsonDocument::fromJson(json);
    EXPECT_TRUE(document.isObject()) << json;
    return document.object();
}

std::string print(const QJsonObject& object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact).toStdString();
}

std::string print(const QJsonArray& array)
{
    return QJsonDocument(array).toJson(QJsonDocument::Compact).toStdString();
}

/// "context: text" of every look-up, in order.
std::vector<std::string> lookUps(const RecordingTranslator& translator)
{
    std::vector<std::string> result;
    for (const RecordingTranslator::Call& call : translator.calls()) {
        result.push_back(call.context + ": " + call.text);
    }
    return result;
}

struct TreeCase
{
    const char* name;
    const char* tree;
    QList<QString> path;
    std::vector<std::string> lookUps; ///< in order
    const char* translated;           ///< when every text is translated to "~" and itself
};

void PrintTo(const TreeCase& row, std::ostream* stream)
{
    *stream << row.tree;
}

const TreeCase TREES[] = {
    {"Empty", "{}", {}, {}, "{}"},
    {"Member", R"({"a":"x"})", {}, {"a: x"}, R"({"a":"~x"})"},
    {"MemberBelowAPath", R"({"a":"x"})", {"p", "q"}, {"p_q_a: x"}, R"({"a":"~x"})"},
    {"PathOfOneEmptyKey", R"({"a":"x"})", {""}, {"_a: x"}, R"({"a":"~x"})"},
    {"EmptyKeys", R"({"":{"":"x"}})", {}, {"_: x"}, R"({"":{"":"~x"}})"},
    {"EmptyText", R"({"a":""})", {}, {"a: "}, R"({"a":"~"})"},
    {"BlanksInKeys", R"({"a b":{" c ":"x y"}})", {"p q"}, {"p_q_a_b__c_: x y"}, R"({"a b":{" c ":"~x y"}})"},
    {"OnlyBlanksAreReplaced", "{\"a\\tb-c.d\":\"x\"}", {}, {"a\tb-c.d: x"}, "{\"a\\tb-c.d\":\"~x\"}"},
    {"KeysInAscendingOrder",
     R"({"b":"y","a":"x","c":{"d":"z"}})",
     {},
     {"a: x", "b: y", "c_d: z"},
     R"({"a":"~x","b":"~y","c":{"d":"~z"}})"},
    {"ObjectsAndTextsMixed",
     R"({"a":{"b":"1","c":{"d":"2"},"e":"3"},"f":"4"})",
     {},
     {"a_b: 1", "a_c_d: 2", "a_e: 3", "f: 4"},
     R"({"a":{"b":"~1","c":{"d":"~2"},"e":"~3"},"f":"~4"})"},
    {"ArrayOfTexts", R"({"a":["x","y"]})", {}, {"a: x", "a: y"}, R"({"a":["~x","~y"]})"},
    {"ArrayOfObjects",
     R"({"Measures":{"Cell voltage":[{"Name":"U","Type":"FLOAT"},{"Name":"I"}]}})",
     {},
     {"Measures_Cell_voltage_Name: U", "Measures_Cell_voltage_Type: FLOAT", "Measures_Cell_voltage_Name: I"},
     R"({"Measures":{"Cell voltage":[{"Name":"~U","Type":"~FLOAT"},{"Name":"~I"}]}})"},
    {"ArrayInArrayStays", R"({"a":["x",["y"]]})", {}, {"a: x", "a: y"}, R"({"a":["~x",["y"]]})"},
    {"ArrayInArrayInArrayStays", R"({"a":[[["x"]],"y"]})", {}, {"a: x", "a: y"}, R"({"a":[[["x"]],"~y"]})"},
    {"ObjectInArrayInArrayStays",
     R"({"a":[[{"b":"x","c":["y"]}],{"b":"z"}]})",
     {},
     {"a_b: x", "a_c: y", "a_b: z"},
     R"({"a":[[{"b":"x","c":["y"]}],{"b":"~z"}]})"},
    {"ArrayInObjectInArray", R"({"a":[{"b":["x"]}]})", {}, {"a_b: x"}, R"({"a":[{"b":["~x"]}]})"},
    {"NoTexts",
     R"({"a":1,"b":true,"c":null,"d":[1,false,null,{}],"e":2.5})",
     {},
     {},
     R"({"a":1,"b":true,"c":null,"d":[1,false,null,{}],"e":2.5})"},
    {"Latin1", "{\"\xC3\xA4 \":\"\xC3\xBC\"}", {}, {"\xC3\xA4_: \xC3\xBC"}, "{\"\xC3\xA4 \":\"~\xC3\xBC\"}"},
    {"BeyondAscii",
     "{\"\xC3\xA4 \xE2\x82\xAC\":\"\xCE\xA9\xF0\x9F\x98\x80\"}",
     {},
     {"\xC3\xA4_\xE2\x82\xAC: \xCE\xA9\xF0\x9F\x98\x80"},
     "{\"\xC3\xA4 \xE2\x82\xAC\":\"~\xCE\xA9\xF0\x9F\x98\x80\"}"},
};

class JsonTranslateTree : public testing::TestWithParam<TreeCase>
{};

TEST_P(JsonTranslateTree, LooksUpEachTextOnceInOrder)
{
    RecordingTranslator translator;
    QJsonObject object = parse(GetParam().tree);

    JsonUtils::translateJsonObject(object, GetParam().path);

    EXPECT_EQ(lookUps(translator), GetParam().lookUps);
}

TEST_P(JsonTranslateTree, StaysWithoutTranslations)
{
    const RecordingTranslator translator;
    QJsonObject object = parse(GetParam().tree);
    const QJsonObject before = object;

    JsonUtils::translateJsonObject(object, GetParam().path);

    EXPECT_EQ(print(object), print(before));
}

TEST_P(JsonTranslateTree, TakesTheTranslations)
{
    RecordingTranslator translator;
    translator.setPrefixForAll("~");
    QJsonObject object = parse(GetParam().tree);

    JsonUtils::translateJsonObject(object, GetParam().path);

    EXPECT_EQ(print(object), print(parse(GetParam().translated)));
}

INSTANTIATE_TEST_SUITE_P(Trees, JsonTranslateTree, testing::ValuesIn(TREES),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(JsonTranslate, AsksWithoutDisambiguationAndCount)
{
    const RecordingTranslator translator;
    QJsonObject object{{"a", "x"}};

    JsonUtils::translateJsonObject(object, {});

    EXPECT_THAT(translator.calls(), ElementsAre(RecordingTranslator::Call{"a", "x", false, -1}));
}

TEST(JsonTranslate, ReplacesOnlyWhatTheContextTranslates)
{
    RecordingTranslator translator;
    translator.teach("a_Name", "x", "translated");
    QJsonObject object = parse(R"({"a":[{"Name":"x"},{"Name":"y"}],"b":[{"Name":"x"}]})");

    JsonUtils::translateJsonObject(object, {});

    EXPECT_EQ(print(object), R"({"a":[{"Name":"translated"},{"Name":"y"}],"b":[{"Name":"x"}]})");
}

TEST(JsonTranslate, LeavesOtherCopiesOfTheTreeAlone)
{
    RecordingTranslator translator;
    translator.setPrefixForAll("~");
    QJsonObject object = parse(R"({"a":{"b":["x",{"c":"y"}]}})");
    const QJsonObject copy = object;

    JsonUtils::translateJsonObject(object, {});

    EXPECT_EQ(print(object), R"({"a":{"b":["~x",{"c":"~y"}]}})");
    EXPECT_EQ(print(copy), R"({"a":{"b":["x",{"c":"y"}]}})");
}

TEST(JsonTranslate, TakesEmptyAndLongerTranslations)
{
    RecordingTranslator translator;
    translator.teach("a", "x", QStringLiteral(""));
    translator.teach("b", "y", QString(100'000, QChar(0x20AC)));
    QJsonObject object{{"a", "x"}, {"b", "y"}, {"c", "z"}};

    JsonUtils::translateJsonObject(object, {});

    EXPECT_EQ(object.value("a").toString("not there"), "");
    EXPECT_EQ(object.value("b").toString(), QString(100'000, QChar(0x20AC)));
    EXPECT_EQ(object.value("c").toString(), "z");
}

TEST(JsonTranslate, LooksUpLongTextsInLongContexts)
{
    const QString key(70'000, QChar(u'k'));
    const QString text(100'000, QChar(0x20AC));
    RecordingTranslator translator;
    translator.setPrefixForAll("~");
    QJsonObject object{{key, QJsonObject{{"a", text}, {"b", "x"}}}, {"z", "y"}};

    JsonUtils::translateJsonObject(object, {});

    const std::string context = key.toStdString();
    EXPECT_THAT(lookUps(translator),
                ElementsAre(context + "_a: " + text.toStdString(), context + "_b: x", "z: y"));
    EXPECT_EQ(object.value(key).toObject().value("a").toString(), "~" + text);
}

TEST(JsonTranslate, ArrayUsesThePathForItsTextsAndObjects)
{
    RecordingTranslator translator;
    translator.setPrefixForAll("~");
    QJsonArray array{"x", QJsonObject{{"k", "y"}}, QJsonArray{"z"}, 4};

    JsonUtils::translateJsonArray(array, {"p", "a b"});

    EXPECT_THAT(lookUps(translator), ElementsAre("p_a_b: x", "p_a_b_k: y", "p_a_b: z"));
    EXPECT_EQ(print(array), R"(["~x",{"k":"~y"},["z"],4])");
}

TEST(JsonTranslate, ArrayWithoutPathHasTheEmptyContext)
{
    RecordingTranslator translator;
    QJsonArray array{"x", QJsonObject{{"k", "y"}}};

    JsonUtils::translateJsonArray(array, {});

    EXPECT_THAT(lookUps(translator), ElementsAre(": x", "k: y"));
}

TEST(JsonTranslate, TextWithNulIsNeitherLookedUpNorCut)
{
    RecordingTranslator translator;
    translator.setPrefixForAll("~");
    const QString text = QStringLiteral("ab") + QChar(0) + QStringLiteral("cd");
    QJsonObject object{{"a", text}, {"b", QJsonArray{text, "x"}}};

    JsonUtils::translateJsonObject(object, {});

    EXPECT_THAT(lookUps(translator), ElementsAre("b: x"));
    EXPECT_EQ(object.value("a").toString(), text);
    EXPECT_EQ(object.value("b").toArray().at(0).toString(), text);
}

TEST(JsonTranslate, TextBelowAKeyWithNulIsNotLookedUp)
{
    RecordingTranslator translator;
    translator.setPrefixForAll("~");
    const QString key = QStringLiteral("k") + QChar(0);
    QJsonObject object{{key, QJsonObject{{"a", "x"}}}, {"z", "y"}};

    JsonUtils::translateJsonObject(object, {});

    EXPECT_THAT(lookUps(translator), ElementsAre("z: y"));
    EXPECT_EQ(object.value(key).toObject().value("a").toString(), "x");
}

TEST(JsonTranslate, TextBelowAPathWithNulIsNotLookedUp)
{
    const RecordingTranslator translator;
    QJsonObject object{{"a", "x"}};

    JsonUtils::translateJsonObject(object, {QStringLiteral("k") + QChar(0)});

    EXPECT_THAT(translator.calls(), IsEmpty());
}

TEST(JsonTranslate, TextThatUtf8CannotCarryStaysWithoutTranslation)
{
    const QString texts[] = {QString(QChar(0xD800)),
                             QStringLiteral("a") + QChar(0xDC00) + QStringLiteral("b"),
                             QChar(0xFEFF) + QStringLiteral("abc")};
    for (const QString& text : texts) {
        SCOPED_TRACE(text.toStdString());
        const RecordingTranslator translator;
        QJsonObject object{{"a", text}};

        JsonUtils::translateJsonObject(object, {});

        ASSERT_EQ(translator.calls().size(), 1U);
        EXPECT_EQ(translator.calls()[0].text, text.toUtf8().toStdString());
        EXPECT_EQ(object.value("a").toString(), text);
    }
}

// The same walk written down step by step, with copies and recursion.
void walkObject(QJsonObject& object, const QList<QString>& path);

QJsonValue lookUp(const QJsonValue& value, const QList<QString>& path)
{
    const QByteArray context =
        path.join(QLatin1Char('_')).replace(QLatin1Char(' '), QLatin1Char('_')).toUtf8();
    return QCoreApplication::translate(context.constData(), value.toString().toUtf8().constData());
}

void walkArray(QJsonArray& array, const QList<QString>& path)
{
    for (qsizetype i = 0; i < array.size(); ++i) {
        if (array.at(i).isObject()) {
            QJsonObject child = array.at(i).toObject();
            walkObject(child, path);
            array.replace(i, child);
        } else if (array.at(i).isArray()) {
            QJsonArray child = array.at(i).toArray();
            walkArray(child, path);
        } else if (array.at(i).isString()) {
            array.replace(i, lookUp(array.at(i), path));
        }
    }
}

void walkObject(QJsonObject& object, const QList<QString>& path)
{
    for (const QString& key : object.keys()) {
        const QJsonValue value = object.value(key);
        const QList<QString> memberPath = path + QList<QString>{key};
        if (value.isObject()) {
            QJsonObject child = value.toObject();
            walkObject(child, memberPath);
            object.insert(key, child);
        } else if (value.isArray()) {
            QJsonArray child = value.toArray();
            walkArray(child, memberPath);
            object.insert(key, child);
        } else if (value.isString()) {
            object.insert(key, lookUp(value, memberPath));
        }
    }
}

/// Random trees whose keys and texts are few, so that contexts and texts meet again.
class RandomTree
{
public:
    explicit RandomTree(unsigned seed) : m_random(seed) {}

    QJsonObject object(int depth)
    {
        QJsonObject result;
        for (int count = 1 + pick(5); count > 0; --count) {
            result.insert(word(), value(depth));
        }
        return result;
    }

private:
    QJsonValue value(int depth)
    {
        switch (pick(depth > 0 ? 6 : 3)) {
        case 0:
        case 1:
            return word();
        case 2:
            return pick(100);
        case 3:
            return object(depth - 1);
        default:
            QJsonArray result;
            for (int count = pick(5); count > 0; --count) {
                result.append(value(depth - 1));
            }
            return result;
        }
    }

    QString word()
    {
        static const QStringList WORDS{"a",        "b c", " ", "", QString::fromUtf8("\xCE\xA9 \xE2\x82\xAC"),
                                       "long word"};
        return WORDS.at(pick(static_cast<int>(WORDS.size())));
    }

    int pick(int count) { return std::uniform_int_distribution<int>(0, count - 1)(m_random); }

    std::mt19937 m_random;
};

TEST(JsonTranslate, AgreesWithTheWalkStepByStepOnRandomTrees)
{
    size_t lookUpCount = 0;
    for (unsigned seed = 0; seed < 2000; ++seed) {
        SCOPED_TRACE(seed);
        const QJsonObject tree = RandomTree(seed).object(6);
        QJsonObject expected = tree;
        QJsonObject object = tree;
        const QList<QString> path = seed % 3 == 0 ? QList<QString>() : QList<QString>{"p", "q r"};
        std::vector<RecordingTranslator::Call> expectedCalls;
        {
            RecordingTranslator translator;
            translator.setPrefixForAll(seed % 2 == 0 ? "~" : "");
            translator.teach("a", "a", "A");
            walkObject(expected, path);
            expectedCalls = translator.calls();
        }
        RecordingTranslator translator;
        translator.setPrefixForAll(seed % 2 == 0 ? "~" : "");
        translator.teach("a", "a", "A");

        JsonUtils::translateJsonObject(object, path);

        ASSERT_EQ(print(object), print(expected));
        ASSERT_EQ(translator.calls(), expectedCalls);
        lookUpCount += expectedCalls.size();
    }
    EXPECT_GT(lookUpCount, 10'000U);
}

// Far deeper than the parser allows: such a tree can only be made by hand. A walk that calls itself for
// each container would overflow the stack here.
constexpr int DEEP = 60'000;

TEST(JsonTranslate, WalksVeryDeepObjects)
{
    RecordingTranslator translator;
    translator.teach(std::string("k") + "_k_k_a", "x", "third");
    QJsonObject object{{"a", "x"}};
    for (int depth = 1; depth < DEEP; ++depth) {
        object = QJsonObject{{"k", object}};
        if (depth == DEEP - 4) {
            object.insert("a", "x");
        }
    }

    JsonUtils::translateJsonObject(object, {});

    const QJsonObject third = object["k"].toObject()["k"].toObject()["k"].toObject();
    EXPECT_EQ(third["a"].toString(), "third");
    ASSERT_EQ(translator.calls().size(), 2U);
    EXPECT_EQ(translator.calls()[0].context, "k_k_k_a");
    EXPECT_EQ(translator.calls()[1].context.size(), 2U * (DEEP - 1) + 1U);
}

TEST(JsonTranslate, WalksVeryDeepArrays)
{
    RecordingTranslator translator;
    translator.setPrefixForAll("~");
    QJsonArray array{"x"};
    for (int depth = 1; depth < DEEP; ++depth) {
        array = QJsonArray{array};
    }
    array.append("y");

    JsonUtils::translateJsonArray(array, {});

    EXPECT_THAT(lookUps(translator), ElementsAre(": x", ": y"));
    EXPECT_EQ(array.at(1).toString(), "~y");
}

TEST(JsonTranslate, TranslatesEveryTextOfALargeObject)
{
    constexpr int count = 100'000;
    RecordingTranslator translator;
    translator.setPrefixForAll("~");
    QJsonArray array;
    for (int i = 0; i < count; ++i) {
        array.append(QJsonObject{{"Name", QString::number(i)}});
    }
    QJsonObject object{{"a", array}};
    array = {};

    JsonUtils::translateJsonObject(object, {});

    const QJsonArray translated = object.value("a").toArray();
    ASSERT_EQ(translated.size(), count);
    for (int i = 0; i < count; ++i) {
        ASSERT_EQ(translated.at(i).toObject().value("Name").toString(), "~" + QString::number(i));
    }
    EXPECT_EQ(translator.calls().size(), size_t{count});
}

} // namespace
