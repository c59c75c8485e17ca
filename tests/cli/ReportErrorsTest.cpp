#include "cli/VxdataProcess.h"
#include "support/Printers.h"
#include "support/RowLabel.h"

namespace {

class VxdataErrors : public VxdataTest
{};

struct BadTable
{
    const char* label;
    QByteArray table;
    const char* error; ///< behind the name of the file
};

const BadTable BAD_TABLES[] = {
    {"Empty", "", ":1: expected a table with a heading line, found an empty file"},
    {"NoNumber", "Time [s],Voltage [V]\n0,1\n1,high\n",
     ":3:2: expected a number, found \"high\" in column \"Voltage [V]\""},
    {"ShortRow", "Time [s],Voltage [V]\n0,1\n1\n",
     ":3:2: expected 2 cells as in the first row, found 1 in column "
     "\"Voltage [V]\""},
    {"LongRow", "Time [s],Voltage [V]\n0,1,2\n", ":2:3: expected 2 cells as in the first row, found 3"},
    {"NulByte", QByteArray("Time [s],Voltage [V]\n0,1\n1,\0\n", 28),
     ":3:2: expected text, found a NUL byte in column \"Voltage [V]\""},
    {"OpenQuote", "Time [s],Voltage [V]\n0,\"1\n",
     ":2:2: expected a closing quote, found the end of the file in column \"Voltage [V]\""},
    {"HeadingsAgain", "Time [s],Voltage [V]\n0,1\nTime [s],Voltage [V]\n",
     ":3:1: expected numbers, found the heading line again in column \"Time [s]\""},
    {"NoHeadings", "0,1\n1,2\n",
     ":1:1: expected a heading line, found numbers; name the columns with --columns"},
};

class VxdataBadTable : public VxdataTest, public ::testing::WithParamInterface<BadTable>
{};

TEST_P(VxdataBadTable, GetsOneLineWithThePlace)
{
    const QString table = write("run.csv", GetParam().table);
    const ProcessResult result = run({"report", table});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.errorLine(), "vxdata: " + table + GetParam().error);
    EXPECT_EQ(result.output.toStdString(), "");
    EXPECT_EQ(leftovers(), QStringList());
}

INSTANTIATE_TEST_SUITE_P(Tables, VxdataBadTable, ::testing::ValuesIn(BAD_TABLES), RowLabel());

TEST_F(VxdataErrors, DoNotLoseTheOtherTables)
{
    const QString first = write("first.csv", "Time [s]\n1\n");
    const QString bad = write("bad.csv", "Time [s]\n1\n2\nx\n");
    const QString last = write("last.csv", "Time [s]\n2\n");
    const ProcessResult result = run({"report", "--json", first, bad, path("missing.csv"), last});
    EXPECT_EQ(result.exitCode, 1);
    const QStringList errors = result.errorLine().split('\n');
    ASSERT_EQ(errors.size(), 2);
    EXPECT_EQ(errors.at(0), "vxdata: " + bad + ":4:1: expected a number, found \"x\" in column \"Time [s]\"");
    EXPECT_TRUE(errors.at(1).startsWith("vxdata: " + path("missing.csv") + ": cannot be read: "));
    const QJsonArray files = result.json()["files"].toArray();
    ASSERT_EQ(files.size(), 2);
    EXPECT_EQ(files.at(0).toObject()["path"].toString(), first);
    EXPECT_EQ(files.at(1).toObject()["path"].toString(), last);
    EXPECT_EQ(result.json()["cache"].toObject()["files"].toInt(), 2)
        << "the bad table leaves nothing in the cache";
}

TEST_F(VxdataErrors, NameAWrongNumberOfColumns)
{
    const QString table = write("spectrum.csv", "1,2,3\n4,5,6\n");
    const ProcessResult result = run({"report", table, "--columns", "Frequency/Hz,Re(Z)/Ω"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.errorLine(),
              "vxdata: " + table + ":1:3: expected 2 cells as --columns names them, found 3");
}

TEST_F(VxdataErrors, PointIntoTheConfiguration)
{
    const QString table = write("run.csv", "Time [s]\n1\n");
    const QString configuration =
        write("data.json", "{\n  \"Version\": 1,\n  \"Enum\": {},\n  \"Measures\": {\n"
                           "    \"A\": [\n      {\"Name\": \"Time\", \"PhysicalParameter\": "
                           "\"Time\", \"Type\": \"FLOAT\", \"Unit\": \"furlong\"}]}}\n");
    const ProcessResult result = run({"report", table, "--config", configuration});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.errorLine(), "vxdata: " + configuration + ":6:7: Measures/A/0: Unit unknown :furlong");
    EXPECT_EQ(result.output.toStdString(), "");
}

struct BadCache
{
    const char* label;
    QByteArray configuration;
    const char* error;
};

const BadCache BAD_CACHES[] = {
    {"NoJson", "{\n  \"Version\": }", ":2:14: Empty document"},
    {"OtherVersion", "{\n  \"Version\": 2\n}", ":2:14: unexpected version"},
    {"NoCache", "{\"Version\": 1}", ":1:1: Cache object missing"},
    {"NoDirectory", "{\"Version\": 1,\n \"Cache\": {\n \"Path\": \"/no/such/directory\", \"Size\": \"1\"}}",
     ":3:10: Invalid Cache Path"},
    {"NoSize", "{\"Version\": 1,\n \"Cache\": {\"Path\": \"Auto\",\n  \"Size\": \"0\"}}",
     ":3:11: Invalid cache size"},
};

class VxdataBadCache : public VxdataTest, public ::testing::WithParamInterface<BadCache>
{};

TEST_P(VxdataBadCache, GetsThePlaceInTheConfiguration)
{
    const QString configuration = write("cache.json", GetParam().configuration);
    const ProcessResult result =
        run({"report", write("run.csv", "Time [s]\n1\n"), "--cache-config", configuration});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.errorLine(), "vxdata: " + configuration + GetParam().error);
}

INSTANTIATE_TEST_SUITE_P(Files, VxdataBadCache, ::testing::ValuesIn(BAD_CACHES), RowLabel());

TEST_F(VxdataErrors, NameACacheDirectoryThatCannotBeMade)
{
    const QString file = write("file", "");
    const ProcessResult result =
        run({"report", write("run.csv", "Time [s]\n1\n"), "--cache-dir", file + "/below"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.errorLine().startsWith("vxdata: " + file + "/below/"))
        << result.errorLine().toStdString();
}

struct WrongUsage
{
    const char* label;
    QStringList arguments; ///< "TABLE" stands for the path of a good table
    const char* error;
};

const WrongUsage WRONG_USAGES[] = {
    {"NoCommand", {}, "expected a command; see \"vxdata --help\""},
    {"UnknownCommand", {"repord", "TABLE"}, "unknown command \"repord\"; see \"vxdata --help\""},
    {"UnknownOption",
     {"report", "TABLE", "--jsn"},
     "report: unknown option \"--jsn\"; see \"vxdata report --help\""},
    {"NoTable", {"report"}, "report: expected either tables or --open DIR; see \"vxdata report --help\""},
    {"TableAndOpen",
     {"report", "TABLE", "--open", "x"},
     "report: expected either tables or --open DIR; see \"vxdata report --help\""},
    {"Budget",
     {"report", "TABLE", "--budget", "much"},
     "report: --budget: expected an amount of memory such as 64MiB, found \"much\"; see \"vxdata report "
     "--help\""},
    {"UnknownUnit",
     {"report", "TABLE", "--unit", "Time=parsec"},
     "report: --unit: expected NAME=UNIT with a known unit, found \"Time=parsec\"; see \"vxdata report "
     "--help\""},
    {"UnitWithoutName",
     {"report", "TABLE", "--unit", "=s"},
     "report: --unit: expected NAME=UNIT with a known unit, found \"=s\"; see \"vxdata report --help\""},
    {"UnitOfAnotherQuantity",
     {"report", "TABLE", "--unit", "Time=mA"},
     "report: --unit: mA is no unit of Time, which \"Time\" measures; see \"vxdata report --help\""},
    {"UnitOfNoArray",
     {"report", "TABLE", "--unit", "Humidity=%"},
     "report: --unit: no array is called \"Humidity\"; see \"vxdata report --help\""},
    {"EmptyColumnName",
     {"report", "TABLE", "--columns", "a,,b"},
     "report: --columns: expected names divided by commas, found \"a,,b\"; see \"vxdata report --help\""},
    {"ConvertWithoutUnit",
     {"convert", "1 V"},
     "convert: expected \"NUMBER UNIT\" UNIT; see \"vxdata convert --help\""},
    {"GenerateWithoutDirectory",
     {"generate"},
     "generate: expected --out DIR; see \"vxdata generate --help\""},
    {"GenerateNoRows",
     {"generate", "--out", "x", "--rows", "0"},
     "generate: --rows: expected a whole number from 1, found \"0\""},
    {"InspectNegative",
     {"inspect", "x", "--samples", "-1"},
     "inspect: --samples: expected a whole number from 0, found \"-1\""},
    {"CheckTwo", {"check", "a", "b"}, "check: unexpected argument \"b\"; see \"vxdata check --help\""},
};

class VxdataWrongUsage : public VxdataTest, public ::testing::WithParamInterface<WrongUsage>
{};

TEST_P(VxdataWrongUsage, GetsOneLineAndExitCodeTwo)
{
    QStringList arguments = GetParam().arguments;
    arguments.replaceInStrings("TABLE", write("run.csv", "Time [s]\n1\n"));
    const ProcessResult result = run(arguments);
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(result.errorLine(), QStringLiteral("vxdata: ") + GetParam().error);
    EXPECT_EQ(result.output.toStdString(), "");
}

INSTANTIATE_TEST_SUITE_P(Arguments, VxdataWrongUsage, ::testing::ValuesIn(WRONG_USAGES), RowLabel());

} // namespace
