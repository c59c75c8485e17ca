#include <datastorage/config/ConfigDataArrayManager.h>

#include <datastorage/config/DynamicEnum.h>
#include <datastorage/config/DynamicEnumHandler.h>
#include <datastorage/units/Converter.h>

#include <support/Printers.h>
#include <support/RecordingTranslator.h>

#include <QtCore/QFile>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QTemporaryDir>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace {

using namespace vx::datastorage;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::UnorderedElementsAre;

constexpr int VERSION = 3;

/// Writes configuration files into a directory of its own and reads them.
class DataConfiguration : public testing::Test
{
protected:
    DataConfiguration() { Converter::init(); }

    ~DataConfiguration() override
    {
        m_manager.deleteAllAndClear();
        handler().deleteAll();
        Converter::clear();
    }

    static DynamicEnumHandler& handler() { return nel::tools::Singleton<DynamicEnumHandler>::instance(); }

    QString write(const QByteArray& content) const
    {
        QString path = m_directory.filePath("configuration.json");
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        EXPECT_EQ(file.write(content), content.size());
        return path;
    }

    /// A document of the expected version.
    static QByteArray document(const QByteArray& enums, const QByteArray& measures)
    {
        return R"({"Version": 3, "Enum": )" + enums + R"(, "Measures": )" + measures + "}";
    }

    static QByteArray variable(const QByteArray& name, const QByteArray& parameter = "Voltage",
                               const QByteArray& type = "FLOAT", const QByteArray& unit = "V")
    {
        return R"({"Name": ")" + name + R"(", "PhysicalParameter": ")" + parameter + R"(", "Type": ")" +
               type + R"(", "Unit": ")" + unit + "\"}";
    }

    void expectSuccess(const QByteArray& content)
    {
        QString error = "before";
        EXPECT_TRUE(m_manager.readDataConfiguration(write(content), VERSION, error)) << error.toStdString();
        EXPECT_EQ(error, "before");
    }

    void expectFailure(const QByteArray& content, const QString& message)
    {
        QString error = "before";
        EXPECT_FALSE(m_manager.readDataConfiguration(write(content), VERSION, error));
        EXPECT_EQ(error, message);
    }

    /// "category/name" of every array.
    std::vector<std::string> arrays() const
    {
        std::vector<std::string> result;
        for (const ConfigDataArray* array : m_manager.getConfigDataArrayList()) {
            result.push_back((array->getCategory() + "/" + array->getName()).toStdString());
        }
        return result;
    }

    ConfigDataArrayManager m_manager;

private:
    QTemporaryDir m_directory;
};

TEST_F(DataConfiguration, WithNothingDeclaredAddsNothing)
{
    expectSuccess(document("{}", "{}"));
    EXPECT_THAT(arrays(), IsEmpty());
}

TEST_F(DataConfiguration, BecomesArraysWithTheDefaultsOfTheRest)
{
    expectSuccess(
        document("{}", R"({"Cell data": [)" + variable("Charge", "Electric charge", "INT", "mA.h") + "]}"));

    ASSERT_THAT(arrays(), ElementsAre("Cell data/Charge"));
    const ConfigDataArray* array = m_manager.getConfigDataArrayList().first();
    EXPECT_EQ(array->getPhysicalParameter(), ParameterElectricCharge);
    EXPECT_EQ(array->getType(), Int);
    EXPECT_EQ(array->getUnit(), UsualUnit(UnitMilliampere, OperatorMultiply, UnitHour));
    EXPECT_EQ(array->getDataConfigType(), Measured);
    EXPECT_FALSE(array->isDefaultX() || array->isDefaultY1() || array->isDefaultY2());
    EXPECT_TRUE(array->getCalculationMethod().isNull());
    EXPECT_TRUE(array->getConvertFormat().isNull());
    EXPECT_THAT(m_manager.getConfigDataArrayListOfType(Measured), ElementsAre(array));
    EXPECT_THAT(m_manager.getConfigDataArrayListExcludingType(Measured), IsEmpty());
}

TEST_F(DataConfiguration, TakesEveryTypeAndAnyKindOfUnit)
{
    expectSuccess(document("{}", R"({"c": [)" + variable("", "None", "FLOAT", "") + "," +
                                     variable("b", "Ratio", "ENUM", "-") + "," +
                                     variable("c", "Mass Electric Charge", "INT", "mA.h/g") + "," +
                                     variable("d", "Voltage", "INT", "\xCE\xA9") + "]}"));

    const QList<ConfigDataArray*> list = m_manager.getConfigDataArrayList();
    ASSERT_THAT(arrays(), ElementsAre("c/", "c/b", "c/c", "c/d"));
    EXPECT_EQ(list.at(0)->getUnit(), UsualUnit(UnitNone)) << "the empty unit text is None";
    EXPECT_EQ(list.at(1)->getType(), Enum);
    EXPECT_EQ(list.at(2)->getUnit(),
              UsualUnit(UnitMilliampere, OperatorMultiply, UnitHour, OperatorDivide, UnitGram));
    EXPECT_EQ(list.at(3)->getUnit(), UsualUnit(UnitOhm)) << "unit and parameter need not fit";
}

TEST_F(DataConfiguration, IgnoresOtherMembers)
{
    expectSuccess(
        R"({"Version": 3, "Enum": {}, "Title": [1], "Measures": {"c": [{"Name": "U", "Color": {"r": 1},
        "PhysicalParameter": "Voltage", "Type": "FLOAT", "Unit": "V", "DefaultX": true}]}})");
    ASSERT_THAT(arrays(), ElementsAre("c/U"));
    EXPECT_FALSE(m_manager.getConfigDataArrayList().first()->isDefaultX());
}

TEST_F(DataConfiguration, OrdersCategoriesByNameAndKeepsTheOrderWithin)
{
    expectSuccess(document("{}", R"({"Zeta": [)" + variable("b") + "," + variable("a") + R"(], "alpha": [)" +
                                     variable("c") + R"(], "Alpha": [)" + variable("d") + "," +
                                     variable("d") + "]}"));
    EXPECT_THAT(arrays(), ElementsAre("Alpha/d", "Alpha/d", "Zeta/b", "Zeta/a", "alpha/c"));
}

TEST_F(DataConfiguration, FilesEnumerations)
{
    expectSuccess(document("{\"Mode\": {\"Rest\": 0, \"Charge\": 1, \"\xCE\xA9\": -7}, \"Empty\": {}, "
                           "\"Text\": \"x\", \"List\": [1]}",
                           "{}"));

    ASSERT_NE(handler().getEnum("Mode"), nullptr);
    EXPECT_EQ(handler().getEnum("Mode")->getName(), "Mode");
    EXPECT_THAT(handler().getEnum("Mode")->getKeyValues(),
                UnorderedElementsAre(Pair("Rest", 0), Pair("Charge", 1), Pair("\xCE\xA9", -7)));
    for (const char* name : {"Empty", "Text", "List"}) {
        ASSERT_NE(handler().getEnum(name), nullptr) << name;
        EXPECT_EQ(handler().getEnum(name)->getValuesCount(), 0) << name;
    }
}

TEST_F(DataConfiguration, ReadsEnumerationValuesThatAreNotWholeAsZero)
{
    expectSuccess(document(R"({"E": {"half": 1.5, "text": "4", "null": null, "true": true, "huge": 4294967297,
        "big": 2147483648, "max": 2147483647, "min": -2147483648, "whole": 2.0, "list": [1]}})",
                           "{}"));
    const DynamicEnum* dynamicEnum = handler().getEnum("E");
    ASSERT_NE(dynamicEnum, nullptr);
    EXPECT_EQ(dynamicEnum->getValuesCount(), 10);
    for (const char* label : {"half", "text", "null", "true", "huge", "big", "list"}) {
        EXPECT_EQ(dynamicEnum->getValue(label), 0) << label;
        EXPECT_TRUE(dynamicEnum->isKeyExists(label)) << label;
    }
    EXPECT_EQ(dynamicEnum->getValue("max"), 2'147'483'647);
    EXPECT_EQ(dynamicEnum->getValue("min"), -2'147'483'647 - 1);
    EXPECT_EQ(dynamicEnum->getValue("whole"), 2);
}

TEST_F(DataConfiguration, ReadTwiceDoublesArraysAndReplacesEnumerations)
{
    const QByteArray first =
        document(R"({"E": {"a": 1}, "F": {"x": 9}})", R"({"c": [)" + variable("U") + "]}");
    const QByteArray second = document(R"({"E": {"b": 2}})", R"({"c": [)" + variable("U") + "]}");
    expectSuccess(first);
    ConfigDataArray* firstArray = m_manager.getConfigDataArrayFromNameAndCategory("U", "c");
    expectSuccess(second);

    EXPECT_THAT(arrays(), ElementsAre("c/U", "c/U"));
    EXPECT_EQ(m_manager.getConfigDataArrayFromNameAndCategory("U", "c"), firstArray);
    EXPECT_THAT(handler().getEnum("E")->getKeyValues(), UnorderedElementsAre(Pair("b", 2)));
    EXPECT_THAT(handler().getEnum("F")->getKeyValues(), UnorderedElementsAre(Pair("x", 9)));
}

TEST_F(DataConfiguration, PassesOverCategoriesThatAreNoArrays)
{
    expectSuccess(document("{}", R"({"a": {"Name": "x"}, "b": "x", "c": 1, "d": null, "e": [], "f": [)" +
                                     variable("U") + "]}"));
    EXPECT_THAT(arrays(), ElementsAre("f/U"));
}

TEST_F(DataConfiguration, ReadsWindowsFilesWithByteOrderMark)
{
    QByteArray content = document("{\n\"E\": {\n\"a\": 1\n}\n}", "{\"c\": [\n" + variable("U") + "\n]}\n");
    content.replace("\n", "\r\n").prepend("\xEF\xBB\xBF");
    expectSuccess(content);
    EXPECT_THAT(arrays(), ElementsAre("c/U"));
    EXPECT_EQ(handler().getEnum("E")->getValue("a"), 1);
}

TEST_F(DataConfiguration, ShowsBytesThatAreNotUtf8AsReplacementCharacters)
{
    expectSuccess(document("{}", "{\"c\xFF\": [" + variable("U\xC3") + "]}"));
    const ConfigDataArray* array = m_manager.getConfigDataArrayList().first();
    EXPECT_EQ(array->getCategory(), QString("c") + QChar(0xFFFD));
    EXPECT_EQ(array->getName(), QString("U") + QChar(0xFFFD));
}

struct RefusedCase
{
    const char* label;
    QByteArray content;
    const char* error;
};

class DataConfigurationRefused : public DataConfiguration, public testing::WithParamInterface<RefusedCase>
{};

TEST_P(DataConfigurationRefused, GivesTheErrorAndNothingElse)
{
    expectFailure(GetParam().content, GetParam().error);
    EXPECT_THAT(arrays(), IsEmpty());
    EXPECT_EQ(handler().getEnum("E"), nullptr);
}

QByteArray oneVariable(const QByteArray& variable)
{
    return R"({"Version": 3, "Enum": {}, "Measures": {"c": [)" + variable + "]}}";
}

const RefusedCase REFUSED[] = {
    {"EmptyFile", "", "Empty document"},
    {"Malformed", "{", "Empty document"},
    {"RootArray", "[]", "Root JSON object not found"},
    {"NoVersion", R"({"Enum": {"E": {}}, "Measures": {}})", "unexpected version"},
    {"OlderVersion", R"({"Version": 2, "Enum": {"E": {}}, "Measures": {}})", "unexpected version"},
    {"NewerVersion", R"({"Version": 4, "Enum": {"E": {}}, "Measures": {}})", "unexpected version"},
    {"VersionText", R"({"Version": "3", "Enum": {"E": {}}, "Measures": {}})", "unexpected version"},
    {"NoEnum", R"({"Version": 3, "Measures": {"c": []}})", "Enum object missing"},
    {"EnumArray", R"({"Version": 3, "Enum": [], "Measures": {}})", "Enum object missing"},
    {"EnumNull", R"({"Version": 3, "Enum": null, "Measures": {}})", "Enum object missing"},
    {"NeitherEnumNorMeasures", R"({"Version": 3})", "Enum object missing"},
    {"NoMeasures", R"({"Version": 3, "Enum": {}})", "Measures object missing"},
    {"MeasuresArray", R"({"Version": 3, "Enum": {}, "Measures": []})", "Measures object missing"},
    {"MeasuresText", R"({"Version": 3, "Enum": {}, "Measures": "x"})", "Measures object missing"},
    {"NumberVariable", oneVariable("5"), "PhysiscalParameter unknown :"},
    {"TextVariable", oneVariable("\"Voltage\""), "PhysiscalParameter unknown :"},
    {"NullVariable", oneVariable("null"), "PhysiscalParameter unknown :"},
    {"ArrayVariable", oneVariable("[\"Voltage\"]"), "PhysiscalParameter unknown :"},
    {"EmptyVariable", oneVariable("{}"), "PhysiscalParameter unknown :"},
    {"ParameterNumber", oneVariable(R"({"PhysicalParameter": 9, "Type": "FLOAT", "Unit": "V"})"),
     "PhysiscalParameter unknown :"},
    {"ParameterUnknown", oneVariable(R"({"PhysicalParameter": "Unknown", "Type": "FLOAT", "Unit": "V"})"),
     "PhysiscalParameter unknown :Unknown"},
    {"ParameterCase", oneVariable(R"({"PhysicalParameter": "voltage", "Type": "FLOAT", "Unit": "V"})"),
     "PhysiscalParameter unknown :voltage"},
    {"ParameterFirst", oneVariable(R"({"PhysicalParameter": "a", "Type": "b", "Unit": "c"})"),
     "PhysiscalParameter unknown :a"},
    {"NoType", oneVariable(R"({"PhysicalParameter": "Voltage", "Unit": "V"})"), "Type unknown :"},
    {"TypeNumber", oneVariable(R"({"PhysicalParameter": "Voltage", "Type": 0, "Unit": "V"})"),
     "Type unknown :"},
    {"TypeCase", oneVariable(R"({"PhysicalParameter": "Voltage", "Type": "float", "Unit": "V"})"),
     "Type unknown :float"},
    {"TypeBeforeUnit", oneVariable(R"({"PhysicalParameter": "Voltage", "Type": "b", "Unit": "c"})"),
     "Type unknown :b"},
    {"Unit", oneVariable(R"({"PhysicalParameter": "Voltage", "Type": "FLOAT", "Unit": "xyz"})"),
     "Unit unknown :xyz"},
    {"UnitUnknown", oneVariable(R"({"PhysicalParameter": "Voltage", "Type": "FLOAT", "Unit": "Unknown"})"),
     "Unit unknown :Unknown"},
    {"UnitPart", oneVariable(R"({"PhysicalParameter": "Voltage", "Type": "FLOAT", "Unit": "mA.xyz"})"),
     "Unit unknown :mA.xyz"},
    {"UnitSeparators", oneVariable(R"({"PhysicalParameter": "Voltage", "Type": "FLOAT", "Unit": "./"})"),
     "Unit unknown :./"},
};

INSTANTIATE_TEST_SUITE_P(Files, DataConfigurationRefused, testing::ValuesIn(REFUSED),
                         [](const auto& row) { return std::string(row.param.label); });

TEST_F(DataConfiguration, MissingFileIsNotFound)
{
    QString error = "before";
    EXPECT_FALSE(m_manager.readDataConfiguration(write("{}") + ".missing", VERSION, error));
    EXPECT_EQ(error, "File not found");
}

TEST_F(DataConfiguration, MissingUnitTextIsTheUnitNone)
{
    expectSuccess(oneVariable(R"({"PhysicalParameter": "Voltage", "Type": "FLOAT"})"));
    EXPECT_EQ(m_manager.getConfigDataArrayList().first()->getUnit(), UsualUnit(UnitNone));
}

TEST_F(DataConfiguration, KeepsEnumerationsWhenMeasuresAreMissing)
{
    expectFailure(R"({"Version": 3, "Enum": {"E": {"a": 1}}})", "Measures object missing");
    ASSERT_NE(handler().getEnum("E"), nullptr);
    EXPECT_EQ(handler().getEnum("E")->getValue("a"), 1);
}

TEST_F(DataConfiguration, KeepsArraysBeforeARefusedOne)
{
    expectFailure(document(R"({"E": {"a": 1}})", R"({"c": [)" + variable("3") + R"(], "b": [)" +
                                                     variable("1") + "," +
                                                     variable("2", "Voltage", "FLOAT", "xyz") + "," +
                                                     variable("4") + R"(], "a": [)" + variable("0") + "]}"),
                  "Unit unknown :xyz");
    EXPECT_THAT(arrays(), ElementsAre("a/0", "b/1"));
    EXPECT_NE(handler().getEnum("E"), nullptr);
}

TEST_F(DataConfiguration, BeforeTheUnitsAreReadyEveryParameterIsUnknown)
{
    Converter::clear();
    expectFailure(oneVariable(variable("U")), "PhysiscalParameter unknown :Voltage");
}

TEST_F(DataConfiguration, ChecksTheTextsAfterTheirTranslation)
{
    RecordingTranslator translator;
    translator.teach("Measures_Cell_voltage_Name", "U", "Spannung");
    translator.teach("Measures_Cell_voltage_Unit", "Volt", "V");
    expectSuccess(document("{}", R"({"Cell voltage": [)" + variable("U", "Voltage", "FLOAT", "Volt") + "]}"));
    EXPECT_THAT(arrays(), ElementsAre("Cell voltage/Spannung"));

    translator.teach("Measures_c_Unit", "V", "translated");
    expectFailure(oneVariable(variable("U")), "Unit unknown :translated");
}

TEST_F(DataConfiguration, LooksEachTextUpOnce)
{
    const RecordingTranslator translator;
    expectSuccess(document(R"({"E": {"a": 1}})", R"({"b c": [)" + variable("U") + "]}"));

    std::vector<std::string> lookUps;
    for (const RecordingTranslator::Call& call : translator.calls()) {
        lookUps.push_back(call.context + ": " + call.text);
    }
    EXPECT_THAT(lookUps, ElementsAre("Measures_b_c_Name: U", "Measures_b_c_PhysicalParameter: Voltage",
                                     "Measures_b_c_Type: FLOAT", "Measures_b_c_Unit: V"));
}

TEST_F(DataConfiguration, TranslatesItsMessages)
{
    RecordingTranslator translator;
    for (const char* message : {"Enum object missing", "Measures object missing",
                                "PhysiscalParameter unknown :", "Type unknown :", "Unit unknown :"}) {
        translator.teach("VXDataStorage", message, QString("~") + message);
    }
    expectFailure(R"({"Version": 3})", "~Enum object missing");
    expectFailure(R"({"Version": 3, "Enum": {}})", "~Measures object missing");
    expectFailure(oneVariable(variable("U", "a")), "~PhysiscalParameter unknown :a");
    expectFailure(oneVariable(variable("U", "Voltage", "b")), "~Type unknown :b");
    expectFailure(oneVariable(variable("U", "Voltage", "INT", "c")), "~Unit unknown :c");

    int ownCalls = 0;
    for (const RecordingTranslator::Call& call : translator.calls()) {
        if (call.context == "VXDataStorage") {
            ++ownCalls;
            EXPECT_FALSE(call.hasDisambiguation) << call.text;
            EXPECT_EQ(call.count, -1) << call.text;
        }
    }
    EXPECT_EQ(ownCalls, 5);
}

TEST_F(DataConfiguration, ReadsManyVariables)
{
    constexpr int categories = 20;
    constexpr int perCategory = 500;
    QByteArray measures = "{";
    for (int category = 0; category < categories; ++category) {
        measures += (category > 0 ? ",\"" : "\"") + QByteArray::number(1000 + category) + "\": [";
        for (int i = 0; i < perCategory; ++i) {
            measures += (i > 0 ? "," : "") + variable(QByteArray::number(i));
        }
        measures += "]";
    }
    expectSuccess(document("{}", measures + "}"));

    const QList<ConfigDataArray*> list = m_manager.getConfigDataArrayList();
    ASSERT_EQ(list.size(), categories * perCategory);
    for (int i = 0; i < list.size(); ++i) {
        ASSERT_EQ(list.at(i)->getCategory(), QString::number(1000 + i / perCategory));
        ASSERT_EQ(list.at(i)->getName(), QString::number(i % perCategory));
    }
}

/// An application's own array, with a colour.
class ColouredArray : public ConfigDataArray
{
public:
    QString m_colour;
};

/// An application's own manager: it reads more members, keeps its own arrays and notes every call.
class ApplicationManager : public ConfigDataArrayManager
{
public:
    std::vector<std::string> m_calls;
    QString m_refusedName = "refused";

    void append(ConfigDataArray* array) override
    {
        m_calls.push_back("append " + array->getName().toStdString());
        ConfigDataArrayManager::append(array);
    }

protected:
    bool readEnumArray(const QJsonObject& root, QString& error) override
    {
        m_calls.push_back("enums " + std::to_string(root.value("Enum").toObject().size()));
        return ConfigDataArrayManager::readEnumArray(root, error);
    }

    bool readMeasuresArray(const QJsonObject& root, QString& error) override
    {
        m_calls.emplace_back("measures");
        return ConfigDataArrayManager::readMeasuresArray(root, error);
    }

    ConfigDataArray* readVariable(const QString& category, const QJsonValue& value, QString& error) override
    {
        m_calls.push_back("variable of " + category.toStdString());
        const QJsonObject object = value.toObject();
        if (object.value("Name").toString() == m_refusedName) {
            error = "the application refuses it";
            return nullptr;
        }
        ConfigDataArray* array = ConfigDataArrayManager::readVariable(category, value, error);
        if (auto* coloured = dynamic_cast<ColouredArray*>(array)) {
            coloured->m_colour = object.value("Colour").toString();
            coloured->setDataConfigType(Calculated);
        }
        return array;
    }

    ConfigDataArray* createConfigDataArray() override
    {
        m_calls.emplace_back("create");
        return new ColouredArray();
    }
};

class DerivedManager : public DataConfiguration
{
protected:
    ~DerivedManager() override { m_application.deleteAllAndClear(); }

    ApplicationManager m_application;
};

TEST_F(DerivedManager, IsReachedByEveryStepOfTheReader)
{
    const QString path =
        write(document(R"({"E": {}, "F": {}})",
                       R"({"c": [{"Name": "U", "PhysicalParameter": "Voltage", "Type": "FLOAT",
            "Unit": "V", "Colour": "red"}, {"Name": "I", "PhysicalParameter": "Electric Current",
            "Type": "FLOAT", "Unit": "A"}]})"));
    QString error = "before";

    EXPECT_TRUE(m_application.readDataConfiguration(path, VERSION, error));

    EXPECT_EQ(error, "before");
    EXPECT_THAT(m_application.m_calls, ElementsAre("enums 2", "measures", "variable of c", "create",
                                                   "append U", "variable of c", "create", "append I"));
    const auto* first = dynamic_cast<ColouredArray*>(m_application.getConfigDataArrayList().first());
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(first->m_colour, "red");
    EXPECT_EQ(m_application.getConfigDataArrayListOfType(Calculated).size(), 2);
}

TEST_F(DerivedManager, EndsTheReadingWithItsOwnError)
{
    const QString path = write(document("{}", R"({"c": [)" + variable("U") + "," + variable("refused") + "," +
                                                  variable("I") + "]}"));
    QString error = "before";

    EXPECT_FALSE(m_application.readDataConfiguration(path, VERSION, error));

    EXPECT_EQ(error, "the application refuses it");
    EXPECT_EQ(m_application.getConfigDataArrayList().size(), 1);
}

TEST_F(DataConfiguration, EndsWhereNoArrayIsMade)
{
    struct MakesNothing : ConfigDataArrayManager
    {
        ConfigDataArray* createConfigDataArray() override { return nullptr; }
    };
    MakesNothing application;
    QString error = "before";
    EXPECT_FALSE(application.readDataConfiguration(write(oneVariable(variable("U"))), VERSION, error));
    EXPECT_EQ(error, "before");
    EXPECT_TRUE(application.getConfigDataArrayList().isEmpty());
}

TEST_F(DerivedManager, CreatesNothingForARefusedVariable)
{
    QString error;
    EXPECT_FALSE(m_application.readDataConfiguration(
        write(oneVariable(variable("U", "Voltage", "FLOAT", "xyz"))), VERSION, error));
    EXPECT_EQ(error, "Unit unknown :xyz");
    EXPECT_THAT(m_application.m_calls, testing::Not(testing::Contains("create")));
}

} // namespace
