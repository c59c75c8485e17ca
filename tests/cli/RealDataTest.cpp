#include "cli/VxdataProcess.h"
#include "support/Printers.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QMap>

#include <cmath>
#include <limits>

namespace {

/// A row of the tables that come with the data: what an independent program found in one column.
struct ColumnFacts
{
    QString heading;
    qint64 count = 0;
    double minimum = 0;
    double maximum = 0;
};

/// The facts of every column, by file, read from the description of the data.
QMap<QString, QList<ColumnFacts>> readFacts(const QString& path)
{
    QMap<QString, QList<ColumnFacts>> facts;
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    QString table;
    for (const QString& line : QString::fromUtf8(file.readAll()).split('\n')) {
        if (line.startsWith("## `")) {
            table = line.section('`', 1, 1);
        }
        const QStringList cells = line.split('|');
        bool isNumber = false;
        cells.value(1).trimmed().toInt(&isNumber);
        if (!table.isEmpty() && isNumber && cells.size() >= 6) {
            facts[table].append({cells.at(2).trimmed().remove('`'), cells.at(3).trimmed().toLongLong(),
                                 cells.at(4).trimmed().toDouble(), cells.at(5).trimmed().toDouble()});
        }
    }
    return facts;
}

/// Steps from one float to the other; 0 when they are the same.
int floatSteps(double a, double b)
{
    auto from = static_cast<float>(a);
    const auto to = static_cast<float>(b);
    int steps = 0;
    while (from != to && steps < 10) {
        from = std::nextafter(from, to);
        ++steps;
    }
    return steps;
}

class RealData : public VxdataTest
{
protected:
    void SetUp() override
    {
        VxdataTest::SetUp();
        if (!QFile::exists(m_directory.filePath("README.md"))) {
            GTEST_SKIP() << "the measured data is not here";
        }
    }

    QDir m_directory{QStringLiteral(VXDATASTORAGE_SHARED_DATA_DIR)};
};

/// Whether the samples of a column are stored as they are read, without a factor between units.
bool isStoredAsRead(const QJsonObject& array)
{
    const QString unit = array["unit"].toString();
    return unit != "ms" && unit != "%" && !unit.contains('.');
}

TEST_F(RealData, AgreesWithTheFactsOfEveryColumn)
{
    const QMap<QString, QList<ColumnFacts>> facts = readFacts(m_directory.filePath("README.md"));
    ASSERT_GE(facts.size(), 8);
    int columns = 0;
    for (auto file = facts.begin(); file != facts.end(); ++file) {
        SCOPED_TRACE(file.key().toStdString());
        const QJsonObject result = report({m_directory.filePath(file.key()), "--columns",
                                           "Frequency/Hz,Re(Z)/Ω,Im(Z)/Ω", "--budget", "1MiB"});
        const QJsonArray arrays = result["files"].toArray().at(0).toObject()["arrays"].toArray();
        ASSERT_EQ(arrays.size(), file.value().size());
        for (qsizetype i = 0; i < arrays.size(); ++i) {
            const ColumnFacts& expected = file.value().at(i);
            const QJsonObject array = arrays.at(i).toObject();
            SCOPED_TRACE(expected.heading.toStdString());
            const int tolerance = isStoredAsRead(array) ? 0 : 1;
            EXPECT_EQ(array["samples"].toInteger() - array["missing"].toInteger(), expected.count);
            EXPECT_LE(floatSteps(numberOf(array, "minimum").value_or(0), expected.minimum), tolerance);
            EXPECT_LE(floatSteps(numberOf(array, "maximum").value_or(0), expected.maximum), tolerance);
            ++columns;
        }
    }
    EXPECT_GE(columns, 44);
}

TEST_F(RealData, AgreesWithAMeanFromTheText)
{
    // An independent computation: the cells of the text, as double, added up.
    QFile file(m_directory.filePath("cycler_pouch_rate_test.csv"));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QList<QByteArray> headings = file.readLine().trimmed().split(',');
    QList<double> sums(headings.size(), 0.0);
    qint64 rows = 0;
    while (!file.atEnd()) {
        const QList<QByteArray> cells = file.readLine().trimmed().split(',');
        for (qsizetype i = 0; i < sums.size(); ++i) {
            sums[i] += cells.value(i).toDouble();
        }
        ++rows;
    }
    const QJsonObject result = report({file.fileName()});
    const QJsonArray arrays = result["files"].toArray().at(0).toObject()["arrays"].toArray();
    ASSERT_EQ(arrays.size(), headings.size());
    for (qsizetype i = 0; i < arrays.size(); ++i) {
        SCOPED_TRACE(headings.at(i).toStdString());
        const double mean = sums.at(i) / static_cast<double>(rows);
        EXPECT_NEAR(numberOf(arrays.at(i).toObject(), "mean").value_or(0), mean, std::abs(mean) * 1e-6);
    }
}

TEST_F(RealData, WarnsAboutUnixTimesAndNothingElseOfPrecision)
{
    QStringList warned;
    for (const char* name : {"cycler_lipo_1c_48_cycles.csv", "cycler_pouch_rate_test.csv",
                             "cycler_phone_cell_slow_cycle.csv", "cycler_half_cell_slow_cycle.csv",
                             "voltammogram_gold_bromide.csv", "differential_aged_cell_charge.csv"}) {
        for (const QString& warning : warningsOf(report({m_directory.filePath(name)}))) {
            if (warning.contains("32-bit float")) {
                warned.append(warning.section('"', 1, 1));
            }
        }
    }
    EXPECT_EQ(warned, (QStringList{"Unix Time / ms", "unix_time_second"}));
}

TEST_F(RealData, ReportsTheLongRunUnderOneMebibyte)
{
    const QString table = m_directory.filePath("cycler_lipo_1c_48_cycles.csv");
    const QJsonObject tight = report({table, "--budget", "1MiB"});
    const QJsonObject roomy = report({table, "--budget", "1GiB"});
    EXPECT_EQ(tight["files"], roomy["files"]);
    EXPECT_GE(tight["cache"].toObject()["reloads"].toInt(), 7);
    EXPECT_GE(tight["cache"].toObject()["evictions"].toInt(), 7);
    EXPECT_EQ(roomy["cache"].toObject()["reloads"].toInt(), 0);
    EXPECT_LE(tight["cache"].toObject()["held"].toInt(), 342465 * 4) << "at most the array used last";
}

} // namespace
