#include "cli/VxdataProcess.h"
#include "support/Printers.h"
#include "support/RowLabel.h"

#include <datastorage/units/Converter.h>

#include <QtCore/QVersionNumber>

namespace {

class VxdataCommands : public VxdataTest
{};

TEST_F(VxdataCommands, ListTheirHelp)
{
    const ProcessResult all = run({"--help"});
    EXPECT_EQ(all.exitCode, 0);
    EXPECT_EQ(run({"help"}).output, all.output);
    EXPECT_EQ(run({"-h"}).output, all.output);
    for (const char* command :
         {"report", "check", "units", "convert", "inspect", "translations", "generate"}) {
        SCOPED_TRACE(command);
        EXPECT_TRUE(all.output.contains(command));
        const ProcessResult help = run({command, "--help"});
        EXPECT_EQ(help.exitCode, 0);
        EXPECT_TRUE(help.output.startsWith("Usage: vxdata " + QByteArray(command)));
        EXPECT_EQ(run({"help", command}).output, help.output);
    }
}

TEST_F(VxdataCommands, TellTheVersions)
{
    const ProcessResult result = run({"--version"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_TRUE(result.output.startsWith("vxdata " VXDATA_PROJECT_VERSION "\n"));
    EXPECT_TRUE(result.output.contains("library VXDataStorage " VXDATA_PROJECT_VERSION "\n"));
    EXPECT_TRUE(result.output.contains(QByteArray("Qt ") + qVersion()));
    EXPECT_TRUE(result.output.contains("build\n"));
}

struct ConvertRow
{
    const char* label;
    const char* quantity;
    const char* unit;
    const char* result; ///< null: refused
};

constexpr ConvertRow CONVERSIONS[] = {
    {"PerMass", "2.5 mA.h/g", "A.h/kg", "2.5 A.h/kg"},
    {"Minutes", "90 min", "h", "1.5 h"},
    {"Energy", "3.6 kJ", "Wh", "1 W.h"},
    {"Charge", "1 Ah", "C", "3600 C"},
    {"Negative", "-0.25 A", "mA", "-250 mA"},
    {"Exponent", "1e-3 V", "µV", "1000 µV"},
    {"WithoutBlank", "12mV", "V", "0.012 V"},
    {"Percent", "12.5 %", "-", "0.125 -"},
    {"Area", "1 m²", "cm2", "10000 cm²"},
    {"OtherQuantity", "1 V", "A", nullptr},
    {"UnknownUnit", "1 furlong", "m", nullptr},
    {"UnknownTarget", "1 m", "furlong", nullptr},
    {"NoNumber", "V", "mV", nullptr},
    {"UnitOfNoParameter", "1 V.V", "V", nullptr},
};

class VxdataConvert : public VxdataTest, public ::testing::WithParamInterface<ConvertRow>
{};

TEST_P(VxdataConvert, PrintsTheNumberOrSaysWhyNot)
{
    const ConvertRow& row = GetParam();
    const ProcessResult result =
        run({"convert", QString::fromUtf8(row.quantity), QString::fromUtf8(row.unit)});
    if (row.result != nullptr) {
        EXPECT_EQ(result.exitCode, 0);
        EXPECT_EQ(QString::fromUtf8(result.output), QString::fromUtf8(row.result) + "\n");
        EXPECT_EQ(result.errors.toStdString(), "");
    } else {
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_EQ(result.output.toStdString(), "");
        EXPECT_EQ(result.errors.count('\n'), 1);
        EXPECT_TRUE(result.errors.startsWith("vxdata: "));
    }
}

INSTANTIATE_TEST_SUITE_P(Quantities, VxdataConvert, ::testing::ValuesIn(CONVERSIONS), RowLabel());

TEST_F(VxdataCommands, UnitsListsWhatTheLibraryOffers)
{
    using namespace vx::datastorage;
    const QJsonArray parameters = run({"units", "--json"}).json()["parameters"].toArray();
    ASSERT_EQ(parameters.size(), ParameterVolumeDqDu - ParameterNone);
    for (const auto& value : parameters) {
        const QJsonObject object = value.toObject();
        const auto parameter = static_cast<PhysicalParameter>(object["number"].toInt());
        SCOPED_TRACE(object["name"].toString().toStdString());
        EXPECT_EQ(object["name"].toString(), Converter::castPhysicalParameterAsString(parameter));
        EXPECT_EQ(object["mainUnit"].toString(),
                  UsualUnit::castUsualUnitAsString(Converter::getMainUnit(parameter)));
        EXPECT_EQ(object["units"].toArray().size(), Converter::getAvailableUnits(parameter).size());
    }
}

TEST_F(VxdataCommands, UnitsFindsParametersByName)
{
    const ProcessResult exact = run({"units", "electric current"});
    EXPECT_EQ(exact.exitCode, 0);
    EXPECT_TRUE(exact.output.startsWith("Electric Current, main unit A\n")) << exact.output.toStdString();
    EXPECT_TRUE(exact.output.contains("mA       1000\n")) << exact.output.toStdString();
    EXPECT_GT(run({"units", "resist", "--json"}).json()["parameters"].toArray().size(), 3);
    const ProcessResult unknown = run({"units", "luck"});
    EXPECT_EQ(unknown.exitCode, 1);
    EXPECT_EQ(
        unknown.errorLine(),
        "vxdata: expected the name of a physical parameter, found \"luck\"; \"vxdata units\" lists them");
}

TEST_F(VxdataCommands, CheckSaysWhatAConfigurationDeclares)
{
    const QString configuration = write("data.json", R"({"Version": 1,
        "Enum": {"Mode": {"rest": 0, "charge": 2, "discharge": 1}},
        "Measures": {"Zeta": [{"Name": "U", "PhysicalParameter": "Voltage", "Type": "FLOAT", "Unit": "mV"}],
                     "Alpha": [{"Name": "N", "PhysicalParameter": "Ratio", "Type": "INT", "Unit": "-"}]}})");
    const QJsonObject json = run({"check", configuration, "--json"}).json();
    const QJsonArray arrays = json["arrays"].toArray();
    ASSERT_EQ(arrays.size(), 2);
    EXPECT_EQ(arrays.at(0).toObject()["category"].toString(), "Alpha");
    EXPECT_EQ(arrays.at(0).toObject()["type"].toString(), "INT");
    EXPECT_EQ(arrays.at(1).toObject()["name"].toString(), "U");
    EXPECT_EQ(arrays.at(1).toObject()["parameter"].toString(), "Voltage");
    EXPECT_EQ(arrays.at(1).toObject()["unit"].toString(), "mV");
    EXPECT_EQ(json["enumerations"].toObject()["Mode"].toObject()["charge"].toInt(), 2);

    const ProcessResult text = run({"check", configuration});
    EXPECT_EQ(text.exitCode, 0);
    EXPECT_TRUE(text.output.startsWith("2 arrays\n")) << text.output.toStdString();
    EXPECT_LT(text.output.indexOf("rest"), text.output.indexOf("discharge"));
    EXPECT_LT(text.output.indexOf("discharge"), text.output.indexOf("2  charge"));
}

TEST_F(VxdataCommands, CheckAcceptsTheBuiltInConfiguration)
{
    const ProcessResult result =
        run({"check", VXDATA_SOURCE_DIR "/data/default-data-configuration.json", "--json"});
    EXPECT_EQ(result.exitCode, 0);
    QStringList names;
    for (const auto& array : result.json()["arrays"].toArray()) {
        names.append(array.toObject()["name"].toString());
    }
    for (const char* name : {"Time", "Voltage", "Current", "Charge", "Energy", "Power", "Temperature",
                             "Cycle", "Step", "Frequency", "Re(Z)", "-Im(Z)"}) {
        EXPECT_TRUE(names.contains(QLatin1String(name))) << name;
    }
}

struct CheckRow
{
    const char* label;
    QByteArray configuration;
    const char* error; ///< behind the name of the file
};

const CheckRow BAD_CONFIGURATIONS[] = {
    {"NoJson", "{\n\"Version\" 1}", ":2:11: Empty document"},
    {"Array", "[1]", ":1:1: Root JSON object not found"},
    {"OtherVersion", "{\n \"Version\": 7}", ":2:13: unexpected version"},
    {"NoEnum", "{\"Version\": 1}", ":1:1: Enum object missing"},
    {"NoMeasures", "{\"Version\": 1, \"Enum\": {}, \"Measures\": 5}", ":1:40: Measures object missing"},
    {"Parameter",
     "{\"Version\": 1, \"Enum\": {}, \"Measures\": {\"A\": [\n{\"Name\": \"x\", \"PhysicalParameter\": "
     "\"Luck\"}]}}",
     ":2:1: Measures/A/0: PhysiscalParameter unknown :Luck"},
    {"SecondOfItsCategory",
     "{\"Version\": 1, \"Enum\": {}, \"Measures\": {\"A\": [\n{\"PhysicalParameter\": \"Time\", \"Type\": "
     "\"INT\", "
     "\"Unit\": \"s\"},\n  {\"PhysicalParameter\": \"Time\", \"Type\": \"int\"}]}}",
     ":3:3: Measures/A/1: Type unknown :int"},
};

class VxdataCheck : public VxdataTest, public ::testing::WithParamInterface<CheckRow>
{};

TEST_P(VxdataCheck, ShowsTheLibrarysErrorAndThePlace)
{
    const QString configuration = write("data.json", GetParam().configuration);
    const ProcessResult result = run({"check", configuration});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.errorLine(), "vxdata: " + configuration + GetParam().error);
    EXPECT_EQ(result.output.toStdString(), "");
}

INSTANTIATE_TEST_SUITE_P(Configurations, VxdataCheck, ::testing::ValuesIn(BAD_CONFIGURATIONS), RowLabel());

TEST_F(VxdataCommands, CheckNamesAMissingFile)
{
    const ProcessResult result = run({"check", path("none.json")});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.errorLine().startsWith("vxdata: " + path("none.json") + ": File not found"));
}

/// Header and samples of a cache file, little-endian.
QByteArray cacheFile(const QByteArray& samples, qint64 count)
{
    QByteArray file = QByteArray::fromHex("cc9f3ef802000000");
    for (int shift = 0; shift < 64; shift += 8) {
        file += static_cast<char>((count >> shift) & 0xFF);
    }
    return file + samples;
}

TEST_F(VxdataCommands, InspectShowsACacheFile)
{
    // 1.0, NaN, -2.5
    const QByteArray samples = QByteArray::fromHex("0000803f0000c07f000020c0");
    const QString file = write("x.bmd", cacheFile(samples, 3));
    const QJsonObject json = run({"inspect", file, "--json", "--samples", "2"}).json();
    EXPECT_EQ(json["magic"].toDouble(), 4164853708.0);
    EXPECT_EQ(json["version"].toInt(), 2);
    EXPECT_EQ(json["samples"].toInt(), 3);
    EXPECT_EQ(json["bytes"].toInt(), 28);
    EXPECT_EQ(json["nan"].toInt(), 1);
    const QJsonObject floats = json["float"].toObject();
    EXPECT_EQ(numberOf(floats, "minimum"), -2.5);
    EXPECT_EQ(numberOf(floats, "maximum"), 1.0);
    ASSERT_EQ(floats["first"].toArray().size(), 2);
    EXPECT_EQ(floats["first"].toArray().at(0).toDouble(), 1.0);
    EXPECT_TRUE(floats["first"].toArray().at(1).isNull());
    EXPECT_EQ(json["int"].toObject()["maximum"].toInt(), 0x3F800000);

    const ProcessResult text = run({"inspect", file});
    EXPECT_EQ(text.exitCode, 0);
    EXPECT_TRUE(text.output.contains("magic     0xf83e9fcc\n"));
    EXPECT_TRUE(text.output.contains("as FLOAT  -2.5 to 1\n"));
    EXPECT_TRUE(text.output.contains("0xc0200000"));
}

TEST_F(VxdataCommands, InspectShowsAnEmptyArray)
{
    const QString file = write("x.bmd", cacheFile({}, 0));
    const ProcessResult result = run({"inspect", file});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_TRUE(result.output.contains("samples   0\n"));
}

struct InspectRow
{
    const char* label;
    QByteArray content;
    const char* error;
};

const InspectRow BAD_CACHE_FILES[] = {
    {"Empty", {}, "expected a cache file with a header of 16 bytes, found 0 bytes"},
    {"Short", QByteArray::fromHex("cc9f3ef802000000"),
     "expected a cache file with a header of 16 bytes, found 8 bytes"},
    {"Foreign", QByteArray(16, 'a'), "expected a cache file, which begins with 0xf83e9fcc, found 0x61616161"},
    {"OtherVersion", QByteArray::fromHex("cc9f3ef8030000000000000000000000"),
     "expected a cache file of version 2, found version 3"},
    {"Truncated", cacheFile(QByteArray(8, '\0'), 3), "expected 3 samples as the header says, found 2"},
    {"Negative", cacheFile({}, -1), "expected -1 samples as the header says, found 0"},
    {"Huge", cacheFile(QByteArray(8, '\0'), 0x7FFFFFFFFFFFFFFF),
     "expected 9223372036854775807 samples as the header says, found 2"},
};

class VxdataInspect : public VxdataTest, public ::testing::WithParamInterface<InspectRow>
{};

TEST_P(VxdataInspect, SaysWhatIsWrongWithAFile)
{
    const QString file = write("x.bmd", GetParam().content);
    const ProcessResult result = run({"inspect", file});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.errorLine(), "vxdata: " + file + ": " + GetParam().error);
}

INSTANTIATE_TEST_SUITE_P(Files, VxdataInspect, ::testing::ValuesIn(BAD_CACHE_FILES), RowLabel());

} // namespace
