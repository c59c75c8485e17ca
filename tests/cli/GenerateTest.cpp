#include "cli/VxdataProcess.h"
#include "support/Printers.h"

#include <QtCore/QFile>

namespace {

class VxdataGenerate : public VxdataTest
{};

TEST_F(VxdataGenerate, WritesTheSameBytesEveryTime)
{
    ASSERT_EQ(run({"generate", "--out", path("a"), "--rows", "2000"}).exitCode, 0);
    ASSERT_EQ(run({"generate", "--out", path("b"), "--rows", "2000"}).exitCode, 0);
    for (const char* name : {"cell_cycles.csv", "cell_impedance.csv"}) {
        const QByteArray first = read(path("a/") + name);
        EXPECT_EQ(first, read(path("b/") + name));
        EXPECT_GT(first.size(), 1000);
    }
}

TEST_F(VxdataGenerate, SpreadsFewRowsOverTheExperiment)
{
    const ProcessResult result = run({"generate", "--out", path("a"), "--rows", "3000"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_TRUE(result.output.startsWith(path("a/cell_cycles.csv").toUtf8() + ": 3000 rows\n"));
    const QJsonObject cycling = report({path("a/cell_cycles.csv")});
    EXPECT_EQ(arrayNames(cycling), (QStringList{"Time", "Voltage", "Current", "Charge", "Energy",
                                                "Temperature", "Cycle", "Step"}));
    EXPECT_EQ(warningsOf(cycling), QStringList());
    EXPECT_EQ(arrayOf(cycling, "Time")["samples"].toInt(), 3000);
    EXPECT_EQ(numberOf(arrayOf(cycling, "Cycle"), "maximum"), 3);
    EXPECT_EQ(numberOf(arrayOf(cycling, "Step"), "maximum"), 5);
    EXPECT_GT(numberOf(arrayOf(cycling, "Time"), "last").value_or(0), 100000);
    EXPECT_NEAR(numberOf(arrayOf(cycling, "Voltage"), "maximum").value_or(0), 4.2, 0.01);
    EXPECT_NEAR(numberOf(arrayOf(cycling, "Voltage"), "minimum").value_or(0), 3.0, 0.05);

    const QJsonObject spectrum = report({path("a/cell_impedance.csv")});
    EXPECT_EQ(arrayNames(spectrum), (QStringList{"Frequency", "Re(Z)", "-Im(Z)", "|Z|", "Phase"}));
    EXPECT_EQ(warningsOf(spectrum), QStringList());
    EXPECT_EQ(numberOf(arrayOf(spectrum, "Frequency"), "first"), 10000);
    EXPECT_EQ(numberOf(arrayOf(spectrum, "Frequency"), "last"), 0.001);
    EXPECT_EQ(numberOf(arrayOf(spectrum, "Re(Z)"), "minimum"), 0.018);
}

TEST_F(VxdataGenerate, WritesMoreThanAMillionRowsAtTenHertz)
{
    ASSERT_EQ(run({"generate", "--out", path("a")}).exitCode, 0);
    const QByteArray table = read(path("a/cell_cycles.csv"));
    EXPECT_GT(table.count('\n'), 1000000);
    const QList<QByteArray> lines = table.left(200).split('\n');
    EXPECT_TRUE(lines.at(1).startsWith("0.0,")) << lines.at(1).toStdString();
    EXPECT_TRUE(lines.at(2).startsWith("0.1,")) << lines.at(2).toStdString();
}

TEST_F(VxdataGenerate, GoesOnWithFurtherCyclesForMoreRows)
{
    ASSERT_EQ(run({"generate", "--out", path("a"), "--rows", "1100000"}).exitCode, 0);
    const QByteArray table = read(path("a/cell_cycles.csv"));
    EXPECT_EQ(table.count('\n'), 1100001);
    EXPECT_EQ(table.mid(table.lastIndexOf('\n', -2) + 1).split(',').value(6), "4");
}

TEST_F(VxdataGenerate, SaysWhenItCannotWrite)
{
    const QString blocked = write("blocked", "");
    const ProcessResult result = run({"generate", "--out", blocked});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.errorLine(), "vxdata: " + blocked + ": cannot be made");
}

} // namespace
