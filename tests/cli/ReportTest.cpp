#include "cli/VxdataProcess.h"
#include "support/Printers.h"

#include <cmath>
#include <string>
#include <vector>

namespace {

class VxdataReport : public VxdataTest
{};

TEST_F(VxdataReport, TellsEveryFigureOfEveryColumn)
{
    const QString table = write("run.csv", "Time [s],Voltage [V],Cycle [-]\n"
                                           "0,3.5,1\n"
                                           "1,,1\n"
                                           "2,4.25,2\n"
                                           "3,3.25,N/A\n");
    const QJsonObject result = report({table});
    const QJsonObject file = result["files"].toArray().at(0).toObject();
    EXPECT_EQ(result["files"].toArray().size(), 1);
    EXPECT_EQ(file["path"].toString(), table);
    EXPECT_EQ(file["rows"].toInt(), 4);
    EXPECT_EQ(warningsOf(result), QStringList());
    EXPECT_EQ(arrayNames(result), (QStringList{"Time", "Voltage", "Cycle"}));

    const QJsonObject voltage = arrayOf(result, "Voltage");
    EXPECT_EQ(voltage["parameter"].toString(), "Voltage");
    EXPECT_EQ(voltage["unit"].toString(), "V");
    EXPECT_EQ(voltage["type"].toString(), "FLOAT");
    EXPECT_EQ(voltage["samples"].toInt(), 4);
    EXPECT_EQ(voltage["missing"].toInt(), 1);
    EXPECT_EQ(numberOf(voltage, "minimum"), 3.25);
    EXPECT_EQ(numberOf(voltage, "maximum"), 4.25);
    EXPECT_EQ(numberOf(voltage, "mean"), 11.0 / 3.0);
    EXPECT_EQ(numberOf(voltage, "first"), 3.5);
    EXPECT_EQ(numberOf(voltage, "last"), 3.25);

    const QJsonObject cycle = arrayOf(result, "Cycle");
    EXPECT_EQ(cycle["parameter"].toString(), "Ratio");
    EXPECT_EQ(cycle["unit"].toString(), "-");
    EXPECT_EQ(cycle["type"].toString(), "INT");
    EXPECT_EQ(cycle["missing"].toInt(), 1);
    EXPECT_EQ(numberOf(cycle, "minimum"), 1);
    EXPECT_EQ(numberOf(cycle, "maximum"), 2);
    EXPECT_EQ(numberOf(cycle, "last"), std::nullopt);
}

TEST_F(VxdataReport, SaysNullWhereThereIsNoValue)
{
    const QJsonObject nothing =
        arrayOf(report({write("a.csv", "Voltage [V],Current [A]\n,1\nNaN,2\n")}), "Voltage");
    EXPECT_EQ(nothing["samples"].toInt(), 2);
    EXPECT_EQ(nothing["missing"].toInt(), 2);
    for (const char* key : {"minimum", "maximum", "mean", "first", "last"}) {
        EXPECT_TRUE(nothing[QLatin1String(key)].isNull()) << key;
    }
    const QJsonObject empty = arrayOf(report({write("b.csv", "Voltage [V]\n")}), "Voltage");
    EXPECT_EQ(empty["samples"].toInt(-1), 0);
    EXPECT_TRUE(empty["mean"].isNull());
}

TEST_F(VxdataReport, ShowsValuesInTheUnitOfTheirHeading)
{
    const QJsonObject result =
        report({write("run.csv", "Test Time / ms,Charge [mAh],Energy [Wh],T [C],SOC [%]\n"
                                 "250,1500,7.2,25.5,12.5\n"
                                 "500,3000,3.6,26.5,50\n")});
    const QJsonObject time = arrayOf(result, "Test Time");
    EXPECT_EQ(time["unit"].toString(), "ms");
    EXPECT_EQ(numberOf(time, "maximum"), 500);
    const QJsonObject charge = arrayOf(result, "Charge");
    EXPECT_EQ(charge["parameter"].toString(), "Electric charge");
    EXPECT_EQ(charge["unit"].toString(), "mA.h");
    EXPECT_EQ(numberOf(charge, "minimum"), 1500);
    EXPECT_EQ(numberOf(charge, "mean"), 2250);
    EXPECT_EQ(arrayOf(result, "Energy")["unit"].toString(), "W.h");
    EXPECT_EQ(numberOf(arrayOf(result, "Energy"), "first"), 7.2);
    EXPECT_EQ(arrayOf(result, "T")["unit"].toString(), QString::fromUtf8("°C"));
    EXPECT_EQ(arrayOf(result, "T")["parameter"].toString(), "Temperature");
    EXPECT_EQ(arrayOf(result, "SOC")["unit"].toString(), "%");
    EXPECT_EQ(numberOf(arrayOf(result, "SOC"), "maximum"), 50);
}

TEST_F(VxdataReport, ShowsValuesInTheUnitAskedFor)
{
    const QString table = write("run.csv", "t,I,Charge [Ah]\n0,0.5,1\n7200,0.25,2\n");
    const QJsonObject result = report({table, "--unit", "current=mA", "--unit=t=h", "--unit", "Charge=C"});
    EXPECT_EQ(arrayOf(result, "I")["unit"].toString(), "mA"); // by the name of the declared array
    EXPECT_EQ(numberOf(arrayOf(result, "I"), "first"), 500);
    EXPECT_EQ(numberOf(arrayOf(result, "I"), "mean"), 375);
    EXPECT_EQ(numberOf(arrayOf(result, "t"), "last"), 2);
    EXPECT_EQ(numberOf(arrayOf(result, "Charge"), "maximum"), 7200);
}

TEST_F(VxdataReport, KeepsAHeadingThatMatchesNothingAsDimensionless)
{
    const QJsonObject result = report({write("run.csv", "Voltage [V],Pressure [bar],Foo\n3,1013,7\n")});
    for (const char* name : {"Pressure", "Foo"}) {
        EXPECT_EQ(arrayOf(result, name)["parameter"].toString(), "Ratio");
        EXPECT_EQ(arrayOf(result, name)["unit"].toString(), "-");
        EXPECT_EQ(arrayOf(result, name)["type"].toString(), "FLOAT");
    }
    EXPECT_EQ(numberOf(arrayOf(result, "Pressure"), "first"), 1013);
    EXPECT_EQ(warningsOf(result),
              (QStringList{"\"Pressure [bar]\": the unit \"bar\" is not known; kept as a dimensionless array",
                           "\"Foo\" matches no declared array; kept as a dimensionless array"}));
}

TEST_F(VxdataReport, KeepsACounterWithFractionsAsFloats)
{
    // The fraction comes after more rows than are looked at together.
    QByteArray table = "cycle_count,Step\n";
    for (int row = 0; row < 5000; ++row) {
        table += QByteArray::number(row) + ",1\n";
    }
    table += "6.283185307179586,2\n";
    const QJsonObject result = report({write("run.csv", table)});
    EXPECT_EQ(arrayOf(result, "cycle_count")["type"].toString(), "FLOAT");
    EXPECT_EQ(arrayOf(result, "cycle_count")["samples"].toInt(), 5001);
    EXPECT_EQ(numberOf(arrayOf(result, "cycle_count"), "first"), 0);
    EXPECT_EQ(numberOf(arrayOf(result, "cycle_count"), "maximum"), 4999);
    EXPECT_FLOAT_EQ(static_cast<float>(numberOf(arrayOf(result, "cycle_count"), "last").value_or(0)),
                    6.2831853F);
    EXPECT_EQ(arrayOf(result, "Step")["type"].toString(), "INT");
    ASSERT_EQ(warningsOf(result).size(), 1);
    EXPECT_TRUE(warningsOf(result).front().startsWith("\"cycle_count\""))
        << warningsOf(result).front().toStdString();
}

TEST_F(VxdataReport, KeepsLargeWholeNumbersOfCountersWhole)
{
    const QJsonObject result = report({write("run.csv", "Cycle\n16777217\n2147483647\n-2147483648\n")});
    EXPECT_EQ(numberOf(arrayOf(result, "Cycle"), "first"), 16777217);
    EXPECT_EQ(numberOf(arrayOf(result, "Cycle"), "maximum"), 2147483647);
    EXPECT_EQ(numberOf(arrayOf(result, "Cycle"), "minimum"), -2147483648.0);
}

TEST_F(VxdataReport, WarnsWhereSamplesLoseTheirResolution)
{
    const QJsonObject result = report(
        {write("run.csv", "Unix Time / ms,Time / s\n1729687914000,0\n1729687914010,1\n1729687914020,2\n")});
    ASSERT_EQ(warningsOf(result).size(), 1);
    EXPECT_TRUE(warningsOf(result).front().startsWith("\"Unix Time / ms\": a 32-bit float rounds"))
        << warningsOf(result).front().toStdString();
}

TEST_F(VxdataReport, TellsColumnsOfTheSameNameApart)
{
    const QJsonObject result = report({write("run.csv", "Voltage [V],Voltage [mV],a:b,a*b\n1,2,3,4\n")});
    EXPECT_EQ(arrayNames(result), (QStringList{"Voltage", "Voltage (2)", "a:b", "a*b (2)"}));
    EXPECT_EQ(numberOf(arrayOf(result, "Voltage"), "first"), 1);
    EXPECT_EQ(numberOf(arrayOf(result, "Voltage (2)"), "first"), 2);
    EXPECT_EQ(numberOf(arrayOf(result, "a:b"), "first"), 3);
    EXPECT_EQ(numberOf(arrayOf(result, "a*b (2)"), "first"), 4);
}

TEST_F(VxdataReport, NamesTheColumnsOfATableWithoutHeadings)
{
    const QString spectrum = write("spectrum.csv", "10000,0.0125,-0.002\n0.01,0.039,0.014\n");
    const QString run = write("run.csv", "Time [s],Voltage [V]\n1,2\n");
    const QJsonObject result = report({spectrum, run, "--columns", "Frequency/Hz,Re(Z)/Ω,-Im(Z)/mΩ"});
    EXPECT_EQ(arrayNames(result, 0), (QStringList{"Frequency", "Re(Z)", "-Im(Z)"}));
    EXPECT_EQ(arrayNames(result, 1), (QStringList{"Time", "Voltage"}));
    EXPECT_EQ(arrayOf(result, "Re(Z)")["parameter"].toString(), "Resistance");
    EXPECT_EQ(arrayOf(result, "-Im(Z)")["unit"].toString(), QString::fromUtf8("mΩ"));
    EXPECT_EQ(numberOf(arrayOf(result, "Frequency"), "first"), 10000);
    EXPECT_EQ(numberOf(arrayOf(result, "-Im(Z)"), "maximum"), 0.014);
    EXPECT_EQ(warningsOf(result), QStringList());
}

TEST_F(VxdataReport, TakesTheSameNumbersInEveryWayOfWriting)
{
    const QList<QByteArray> tables{
        "Time [s],Current [A]\n0.5,-1.25\n1.5,2e-3\n",
        "\xEF\xBB\xBFTime [s];Current [A]\r\n0,5;-1,25\r\n1,5;2e-3\r\n",
        "\"Time [s]\"\t\"Current [A]\"\r0,5\t-1,25\r1,5\t0,002",
        "Time [s],Current [A]\n\"0,5\",\"-1,25\"\n\"1,5\",\"2e-3\"\n\n",
    };
    for (const QByteArray& table : tables) {
        SCOPED_TRACE(table.toStdString());
        const QJsonObject result = report({write("run.csv", table)});
        EXPECT_EQ(numberOf(arrayOf(result, "Time"), "first"), 0.5);
        EXPECT_EQ(numberOf(arrayOf(result, "Time"), "last"), 1.5);
        EXPECT_EQ(numberOf(arrayOf(result, "Current"), "minimum"), -1.25);
        EXPECT_EQ(numberOf(arrayOf(result, "Current"), "maximum"), 0.002);
    }
}

TEST_F(VxdataReport, EvictsAndReloadsWithinASmallBudget)
{
    constexpr int ROWS = 20000;
    QByteArray table = "Time [s],Voltage [V],Current [A],Cycle\n";
    for (int row = 0; row < ROWS; ++row) {
        const QByteArray number = QByteArray::number(row);
        table += number + "," + number + ".5,-" + number + "," + number + "\n";
    }
    const QString path = write("run.csv", table);
    const QJsonObject roomy = report({path, "--budget", "64MiB"});
    const QJsonObject tight = report({path, "--budget", "100KiB"});
    EXPECT_EQ(tight["files"], roomy["files"]);

    const QJsonObject roomyCache = roomy["cache"].toObject();
    EXPECT_EQ(roomyCache["budget"].toInt(), 64 * 1024 * 1024);
    EXPECT_EQ(roomyCache["held"].toInt(), 4 * 4 * ROWS);
    EXPECT_EQ(roomyCache["files"].toInt(), 4);
    EXPECT_EQ(roomyCache["reloads"].toInt(-1), 0);
    EXPECT_EQ(roomyCache["evictions"].toInt(-1), 0);

    const QJsonObject tightCache = tight["cache"].toObject();
    EXPECT_EQ(tightCache["budget"].toInt(), 100 * 1024);
    EXPECT_LE(tightCache["held"].toInt(), 100 * 1024);
    EXPECT_EQ(tightCache["files"].toInt(), 4);
    EXPECT_GE(tightCache["reloads"].toInt(), 3);
    EXPECT_GE(tightCache["evictions"].toInt(), 3);
}

TEST_F(VxdataReport, KeepsItsCacheFilesInADirectoryOfItsOwnAndRemovesThem)
{
    const QString table = write("run.csv", "Time [s]\n1\n");
    ASSERT_TRUE(QDir().mkpath(path("cache")));
    write("cache/other.bmd", "not ours");
    report({table, "--cache-dir", path("cache")});
    EXPECT_EQ(QDir(path("cache")).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
              QStringList{"other.bmd"});
    report({table});
    EXPECT_EQ(leftovers(), QStringList());
}

TEST_F(VxdataReport, TakesTheCacheConfiguration)
{
    const QString table = write("run.csv", "Time [s]\n1\n");
    const QString configuration =
        write("cache.json", "{\"Version\": 1, \"Cache\": {\"Path\": \"" + path("tmp").toUtf8() +
                                "\", \"Size\": \"123456\"}}");
    const QJsonObject configured = report({table, "--cache-config", configuration});
    EXPECT_EQ(configured["cache"].toObject()["budget"].toInt(), 123456);
    const QJsonObject overruled = report({table, "--cache-config", configuration, "--budget", "1MiB"});
    EXPECT_EQ(overruled["cache"].toObject()["budget"].toInt(), 1024 * 1024);
}

TEST_F(VxdataReport, TakesTheDeclaredArraysOfAnotherConfiguration)
{
    const QString configuration = write("data.json", R"({"Version": 1, "Enum": {}, "Measures": {"Room": [
            {"Name": "Humidity", "PhysicalParameter": "Ratio", "Type": "FLOAT", "Unit": "%"}]}})");
    const QJsonObject result =
        report({write("run.csv", "Humidity 2,Voltage [V]\n45,3\n"), "--config", configuration});
    EXPECT_EQ(arrayOf(result, "Humidity 2")["unit"].toString(), "%"); // of the declared array
    EXPECT_EQ(numberOf(arrayOf(result, "Humidity 2"), "first"), 45);
    EXPECT_EQ(arrayOf(result, "Voltage")["parameter"].toString(), "Ratio");
    EXPECT_EQ(warningsOf(result).size(), 1);
}

TEST_F(VxdataReport, PrintsATableForPeople)
{
    const QString table = write("run.csv", "Time [s],Foo\n0,1\n1,2.5\n");
    const ProcessResult result = run({"report", table, "--budget", "1MiB"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.errors.toStdString(), "");
    const QString text = QString::fromUtf8(result.output);
    EXPECT_TRUE(text.startsWith(table + ": 2 rows, 2 arrays\n")) << text.toStdString();
    EXPECT_TRUE(text.contains(
        "name  parameter  unit  type   samples  missing  minimum  maximum  mean  first  last\n"))
        << text.toStdString();
    EXPECT_TRUE(text.contains(
        "Time  Time       s     FLOAT        2        0        0        1   0.5      0     1\n"))
        << text.toStdString();
    EXPECT_TRUE(text.contains("warning: \"Foo\" matches no declared array")) << text.toStdString();
    EXPECT_TRUE(
        text.contains("held in memory 16 B of a budget of 1.0 MiB, 2 cache files, 0 reloads, 0 evictions"))
        << text.toStdString();
    EXPECT_FALSE(text.contains(QChar(0x1B))) << "colours do not belong into a pipe";
}

TEST_F(VxdataReport, ReportsTheSameTableTwice)
{
    const QString table = write("run.csv", "Time [s]\n1\n3\n");
    const QJsonObject result = report({table, table});
    EXPECT_EQ(result["files"].toArray().size(), 2);
    EXPECT_EQ(numberOf(arrayOf(result, "Time", 0), "mean"), 2);
    EXPECT_EQ(numberOf(arrayOf(result, "Time", 1), "mean"), 2);
    EXPECT_EQ(result["cache"].toObject()["files"].toInt(), 2);
}

/// A run of more samples than may be filled at once goes to its files in pieces.
TEST_F(VxdataReport, AgreesWithAnIndependentComputationOnALargeTable)
{
    constexpr int ROWS = 900000;
    constexpr int COLUMNS = 8;
    QByteArray table =
        "Time [s],Voltage [V],Current [mA],Power [W],Energy [Wh],Charge [mAh],Cycle,Temp [C]\n";
    table.reserve(qsizetype{COLUMNS} * 9 * ROWS);
    std::vector<double> sums(COLUMNS, 0.0);
    unsigned state = 12345;
    for (int row = 0; row < ROWS; ++row) {
        for (int column = 0; column < COLUMNS; ++column) {
            state = state * 1664525U + 1013904223U;
            const int number = static_cast<int>((state >> 8) % 20000U);
            const bool whole = column == 6;
            const QByteArray text = whole ? QByteArray::number(number) : QByteArray::number(number / 1000.0);
            sums[static_cast<std::size_t>(column)] += text.toDouble();
            table += text + (column + 1 == COLUMNS ? "\n" : ",");
        }
    }
    const QJsonObject result = report({write("run.csv", table), "--budget", "1MiB"});
    const QJsonArray arrays = result["files"].toArray().at(0).toObject()["arrays"].toArray();
    ASSERT_EQ(arrays.size(), COLUMNS);
    for (int column = 0; column < COLUMNS; ++column) {
        const QJsonObject array = arrays.at(column).toObject();
        SCOPED_TRACE(array["name"].toString().toStdString());
        EXPECT_EQ(array["samples"].toInt(), ROWS);
        EXPECT_EQ(array["missing"].toInt(), 0);
        EXPECT_EQ(numberOf(array, "minimum"), 0);
        EXPECT_NEAR(numberOf(array, "maximum").value_or(0), column == 6 ? 19999 : 19.999, 1e-5);
        const double mean = sums[static_cast<std::size_t>(column)] / ROWS;
        EXPECT_NEAR(numberOf(array, "mean").value_or(0), mean, mean * 1e-7);
    }
    EXPECT_EQ(arrays.at(6).toObject()["type"].toString(), "INT");
    EXPECT_GE(result["cache"].toObject()["reloads"].toInt(), COLUMNS);
}

} // namespace
