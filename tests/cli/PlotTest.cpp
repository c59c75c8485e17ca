#include "cli/VxdataProcess.h"
#include "support/Printers.h"

#include <QtCore/QFile>
#include <QtCore/QXmlStreamReader>
#include <QtGui/QImage>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <vector>

namespace {

constexpr QRgb FIRST = 0xFF0072B2;
constexpr QRgb SECOND = 0xFFD55E00;
constexpr int LEGEND_BOTTOM = 45; ///< everything below it is the field and its axes

/// The pixels of one colour, legend aside.
struct Extent
{
    int left = 100000;
    int right = -1;
    int top = 100000;
    int bottom = -1;
    std::vector<bool> columns; ///< of pixels: whether the colour is in it

    int width() const { return right - left; }
    int height() const { return bottom - top; }
};

/// Whether a pixel has a colour, or nearly so at the edge of a line.
bool isAlike(QRgb pixel, QRgb colour)
{
    constexpr int NEAR = 60;
    return std::abs(qRed(pixel) - qRed(colour)) <= NEAR && std::abs(qGreen(pixel) - qGreen(colour)) <= NEAR &&
           std::abs(qBlue(pixel) - qBlue(colour)) <= NEAR;
}

Extent extentOf(const QImage& image, QRgb colour)
{
    Extent extent;
    extent.columns.resize(static_cast<std::size_t>(image.width()));
    for (int y = LEGEND_BOTTOM; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (isAlike(image.pixel(x, y), colour)) {
                extent.left = std::min(extent.left, x);
                extent.right = std::max(extent.right, x);
                extent.top = std::min(extent.top, y);
                extent.bottom = std::max(extent.bottom, y);
                extent.columns[static_cast<std::size_t>(x)] = true;
            }
        }
    }
    return extent;
}

/// The texts of a picture in SVG, in the order in which they are drawn.
QStringList textsOf(const QByteArray& svg)
{
    QStringList texts;
    QXmlStreamReader reader(svg);
    while (!reader.atEnd()) {
        if (reader.readNext() == QXmlStreamReader::StartElement && reader.name() == QLatin1String("text")) {
            texts.append(reader.readElementText().trimmed());
        }
    }
    EXPECT_FALSE(reader.hasError()) << reader.errorString().toStdString();
    return texts;
}

class VxdataPlot : public VxdataTest
{
protected:
    /// Time, voltage and current: a ramp and a constant.
    QString writeRun(const QString& name, int rows) const
    {
        QByteArray table("Time [s],Voltage [V],Current [mA]\n");
        for (int i = 0; i < rows; ++i) {
            table += QByteArray::number(i) + ',' + QByteArray::number(3.0 + 1.0 * i / rows) + ",250\n";
        }
        return write(name, table);
    }

    void plot(const QStringList& arguments) const
    {
        const ProcessResult result = run(QStringList("plot") + arguments);
        EXPECT_EQ(result.exitCode, 0);
        EXPECT_EQ(result.errorLine().toStdString(), "");
        EXPECT_EQ(result.output.toStdString(), "");
    }

    void expectError(const QStringList& arguments, int exitCode, const QString& error) const
    {
        const ProcessResult result = run(QStringList("plot") + arguments);
        EXPECT_EQ(result.exitCode, exitCode);
        EXPECT_EQ(result.errorLine(), QStringLiteral("vxdata: ") + error);
    }

    QImage image(const QString& name) const
    {
        QImage image(path(name));
        EXPECT_FALSE(image.isNull()) << name.toStdString();
        return image;
    }
};

TEST_F(VxdataPlot, DrawsBothQuantitiesInTheirColours)
{
    plot({writeRun("run.csv", 5000), "-x", "Time", "-y", "Voltage,Current", "-o", path("run.png")});
    const QImage picture = image("run.png");
    EXPECT_EQ(picture.size(), QSize(1200, 700));
    EXPECT_EQ(picture.pixel(2, 2), 0xFFFFFFFFU);
    const Extent voltage = extentOf(picture, FIRST);
    EXPECT_GT(voltage.width(), 900);
    EXPECT_GT(voltage.height(), 300);
    const Extent current = extentOf(picture, SECOND);
    EXPECT_GT(current.width(), 900);
}

TEST_F(VxdataPlot, TakesSizeAndFormatFromTheCommandLine)
{
    const QString table = writeRun("run.csv", 20);
    plot({table, "-x", "Time", "-y", "Voltage", "-o", path("small.PNG"), "--size", "640x400"});
    EXPECT_EQ(image("small.PNG").size(), QSize(640, 400));
    plot({table, "-x", "Time", "-y", "Voltage", "-o", path("run.pdf")});
    const QByteArray pdf = read(path("run.pdf"));
    EXPECT_TRUE(pdf.startsWith("%PDF-"));
    EXPECT_TRUE(pdf.trimmed().endsWith("%%EOF"));
    EXPECT_TRUE(pdf.contains("/MediaBox [0 0 900.00"));
    plot({table, "-x", "Time", "-y", "Voltage", "-o", path("run.svg")});
    EXPECT_TRUE(read(path("run.svg")).contains("viewBox=\"0 0 1200 700\""));
}

TEST_F(VxdataPlot, NamesAxesUnitsTicksAndCurves)
{
    plot({writeRun("run.csv", 101), "-x", "time", "-y", "Voltage,Current", "--unit", "Time=min", "--unit",
          "Current=A", "-o", path("run.svg")});
    const QStringList texts = textsOf(read(path("run.svg")));
    for (const char* text : {"Time [min]", "Voltage [V]", "Current [A]", "run.csv", "Voltage", "Current",
                             "0.0", "0.2", "1.6", "3.0", "3.2", "0.250"}) {
        EXPECT_TRUE(texts.contains(QLatin1String(text))) << text << " in " << texts.join('|').toStdString();
    }
}

TEST_F(VxdataPlot, ShowsWhatIsInTheRange)
{
    plot({writeRun("run.csv", 1000), "-x", "Time", "-y", "Voltage", "--range", "500..600", "-o",
          path("run.svg")});
    const QStringList texts = textsOf(read(path("run.svg")));
    EXPECT_TRUE(texts.contains("500"));
    EXPECT_TRUE(texts.contains("600"));
    EXPECT_FALSE(texts.contains("400"));
    EXPECT_TRUE(texts.contains("3.54")) << texts.join('|').toStdString();
    EXPECT_FALSE(texts.contains("3.80"));
}

TEST_F(VxdataPlot, PutsEqualQuantitiesOnOneAxisAndItsUnit)
{
    const QString table =
        write("run.csv", "Time [s],Temperature 1 [°C],Temperature 2 [°C],Voltage [V],Limit [mV]\n"
                         "0,20,30,3,4000\n1,21,32,3.5,4000\n");
    plot({table, "-x", "Time", "-y", "Temperature", "-o", path("a.svg")});
    const QStringList names = textsOf(read(path("a.svg")));
    EXPECT_TRUE(names.contains(QString::fromUtf8("Temperature 1, Temperature 2 [°C]")));
    EXPECT_TRUE(names.contains("Temperature 2"));
    plot({write("two.csv", "Time [s],U1 [V],U2 [mV]\n0,1,2000\n1,1,3000\n"), "-x", "Time", "-y", "U1,U2",
          "-o", path("b.svg")});
    const QStringList volts = textsOf(read(path("b.svg")));
    EXPECT_TRUE(volts.contains("U1, U2 [V]")) << volts.join('|').toStdString();
    EXPECT_TRUE(volts.contains("3.0")) << volts.join('|').toStdString();
}

TEST_F(VxdataPlot, NamesTheFilesWhenThereAreSeveral)
{
    plot({writeRun("one.csv", 10), writeRun("two.csv", 20), "-x", "Time", "-y", "Voltage", "-o",
          path("run.svg")});
    const QStringList texts = textsOf(read(path("run.svg")));
    EXPECT_TRUE(texts.contains("Voltage, one.csv"));
    EXPECT_TRUE(texts.contains("Voltage, two.csv"));
    EXPECT_TRUE(texts.contains("Voltage [V]"));
}

class PlottedGap : public VxdataPlot, public ::testing::WithParamInterface<int>
{};

TEST_P(PlottedGap, IsEmpty)
{
    const int rows = GetParam();
    QByteArray table("Time [s],Voltage [V]\n");
    for (int i = 0; i < rows; ++i) {
        const bool isMissing = i >= rows * 4 / 10 && i < rows * 6 / 10;
        table += QByteArray::number(i) + (isMissing ? "," : ",3.5") + '\n';
    }
    plot({write("run.csv", table), "-x", "Time", "-y", "Voltage", "-o", path("run.png")});
    const Extent curve = extentOf(image("run.png"), FIRST);
    ASSERT_GT(curve.width(), 1000);
    for (int x = curve.left; x <= curve.right; ++x) {
        const double part = static_cast<double>(x - curve.left) / curve.width();
        const bool isNearEdge = std::abs(part - 0.4) < 0.02 || std::abs(part - 0.6) < 0.02;
        if (!isNearEdge) {
            EXPECT_EQ(curve.columns[static_cast<std::size_t>(x)], part < 0.4 || part > 0.6) << x;
        }
    }
}

std::string rowCount(const ::testing::TestParamInfo<int>& info)
{
    return "Of" + std::to_string(info.param) + "Rows";
}

INSTANTIATE_TEST_SUITE_P(Tables, PlottedGap, ::testing::Values(200, 2000, 60000), rowCount);

TEST_F(VxdataPlot, ShowsSamplesBetweenGaps)
{
    QByteArray table("Time [s],Voltage [V]\n");
    for (int i = 0; i < 1000; ++i) {
        table += QByteArray::number(i) + (i % 2 == 0 ? ",3.5\n" : ",\n");
    }
    plot({write("run.csv", table), "-x", "Time", "-y", "Voltage", "-o", path("run.png")});
    EXPECT_GT(extentOf(image("run.png"), FIRST).width(), 1000);
}

class PlottedSpectrum : public VxdataPlot
{
protected:
    /// A semicircle of radius 0.01 Ω; `sign` is that of the imaginary part.
    QString writeSpectrum(const QByteArray& heading, double sign,
                          const QByteArray& first = "Frequency [Hz]") const
    {
        constexpr int POINTS = 61;
        QByteArray table(first + ",Re(Z) [Ω]," + heading + "\n");
        for (int i = 0; i < POINTS; ++i) {
            const double angle = std::numbers::pi * i / (POINTS - 1);
            table += QByteArray::number(std::pow(10.0, 4.0 - 0.1 * i), 'g', 10) + ',' +
                     QByteArray::number(0.03 - 0.01 * std::cos(angle), 'g', 10) + ',' +
                     QByteArray::number(sign * 0.01 * std::sin(angle), 'g', 10) + '\n';
        }
        return write("spectrum.csv", table);
    }
};

TEST_F(PlottedSpectrum, HasEqualScales)
{
    plot({writeSpectrum("-Im(Z) [Ω]", 1.0, "Time [s]"), "--nyquist", "-o", path("a.png")});
    const Extent arc = extentOf(image("a.png"), FIRST);
    EXPECT_GT(arc.width(), 500);
    EXPECT_NEAR(arc.width(), 2 * arc.height(), 8);
    plot({path("spectrum.csv"), "--nyquist", "--size", "500x800", "-o", path("b.png")});
    const Extent narrow = extentOf(image("b.png"), FIRST);
    EXPECT_GT(narrow.width(), 300);
    EXPECT_NEAR(narrow.width(), 2 * narrow.height(), 8);
}

TEST_F(PlottedSpectrum, IsTheSameWithTheTrueSign)
{
    plot({writeSpectrum("-Im(Z) [Ω]", 1.0), "--nyquist", "-o", path("a.png")});
    plot({writeSpectrum("Im(Z) [Ω]", -1.0), "--nyquist", "-o", path("b.png")});
    EXPECT_EQ(image("a.png"), image("b.png"));
}

TEST_F(PlottedSpectrum, NamesAxesAndDecades)
{
    plot({writeSpectrum("-Im(Z) [Ω]", 1.0), "--nyquist", "-o", path("a.svg")});
    // A text is divided where the script changes.
    const QString texts = textsOf(read(path("a.svg"))).join(QString());
    for (const char* text :
         {"Re(Z) [Ω]", "−Im(Z) [Ω]", "10 kHz", "1 Hz", "10 mHz", "0.030", "spectrum.csv"}) {
        EXPECT_TRUE(texts.contains(QString::fromUtf8(text))) << text << " in " << texts.toStdString();
    }
}

TEST_F(VxdataPlot, IsTheSameWhateverTheMemory)
{
    const QString table = writeRun("run.csv", 30000);
    const QStringList plain{table, "-x", "Time", "-y", "Voltage,Current", "--range", "1000..20000", "-o"};
    plot(plain + QStringList{path("a.png")});
    plot(plain + QStringList{path("b.png"), "--budget", "1KiB"});
    EXPECT_EQ(image("a.png"), image("b.png"));
}

TEST_F(VxdataPlot, DrawsWhatWasSaved)
{
    const QString table = writeRun("run.csv", 3000);
    report({table, "--save", path("kept")});
    plot({table, "-x", "Time", "-y", "Voltage", "-o", path("a.png")});
    plot({"--open", path("kept"), "-x", "Time", "-y", "Voltage", "-o", path("b.png")});
    EXPECT_EQ(image("a.png"), image("b.png"));
    EXPECT_EQ(leftovers(), QStringList());
}

TEST_F(VxdataPlot, SaysWhichArrayIsMissing)
{
    const QString table = writeRun("run.csv", 3);
    const QString there = R"("Time", "Voltage", "Current")";
    const QStringList picture{"-o", path("a.png")};
    expectError(QStringList{table, "-x", "Time", "-y", "Power"} + picture, 1,
                table + R"(: no array is called "Power"; there are )" + there);
    expectError(QStringList{table, "-x", "Clock", "-y", "Voltage"} + picture, 1,
                table + R"(: no array is called "Clock"; there are )" + there);
    expectError(QStringList{table, "--nyquist"} + picture, 1,
                table + ": no array is called \"Re(Z)\"; there are " + there);
    EXPECT_FALSE(QFile::exists(path("a.png")));
}

TEST_F(VxdataPlot, RefusesMoreThanTwoQuantities)
{
    const QString table =
        write("run.csv", "Time [s],Voltage [V],Current [A],Temperature [°C]\n0,1,2,3\n1,1,2,3\n");
    expectError({table, "-x", "Time", "-y", "Voltage,Current,Temperature", "-o", path("a.png")}, 1,
                table + ": two axes cannot show Voltage, Electric Current and Temperature");
    expectError({table, "--nyquist", "-x", "Time", "-y", "Voltage", "-o", path("a.png")}, 1,
                table + ": one axis cannot show Time and Voltage");
}

TEST_F(VxdataPlot, SaysThatThereIsNothingToDraw)
{
    const QString table = writeRun("run.csv", 11);
    expectError({table, "-x", "Time", "-y", "Voltage", "--range", "20..30", "-o", path("a.png")}, 1,
                table + R"(: --range: no sample lies in it; "Time" runs from 0 to 10 s)");
    const QString empty = write("empty.csv", "Time [s],Voltage [V]\n0,\n1,\n");
    expectError({empty, "-x", "Time", "-y", "Voltage", "-o", path("a.png")}, 1,
                empty + R"(: there is no sample of "Voltage" to draw)");
    const QString nothing = write("nothing.csv", "Time [s],Voltage [V]\n");
    expectError({nothing, "-x", "Time", "-y", "Voltage", "-o", path("a.png")}, 1,
                nothing + R"(: there is no sample of "Time" to draw)");
}

TEST_F(VxdataPlot, LeavesThePictureThatWasThereWhenItFails)
{
    const QString old = write("a.png", "old");
    const ProcessResult result =
        run({"plot", writeRun("run.csv", 3), path("absent.csv"), "-x", "Time", "-y", "Voltage", "-o", old});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(read(old).toStdString(), "old");
}

TEST_F(VxdataPlot, SaysThatThePictureCannotBeWritten)
{
    const QString picture = path("absent/run.png");
    const ProcessResult result =
        run({"plot", writeRun("run.csv", 3), "-x", "Time", "-y", "Voltage", "-o", picture});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.errorLine().startsWith("vxdata: " + picture + ": cannot be written: "))
        << result.errors.toStdString();
}

TEST_F(VxdataPlot, SaysThatNoFontIsInstalled)
{
    const QString fonts =
        write("fonts.conf", "<?xml version=\"1.0\"?><fontconfig><dir>/absent</dir></fontconfig>");
    const QString table = writeRun("run.csv", 3);
    qputenv("FONTCONFIG_FILE", fonts.toLocal8Bit());
    const ProcessResult result = run({"plot", table, "-x", "Time", "-y", "Voltage", "-o", path("a.png")});
    qunsetenv("FONTCONFIG_FILE");
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.errorLine().endsWith("no font is installed; install one, for example DejaVu Sans"))
        << result.errors.toStdString();
}

TEST_F(VxdataPlot, IsWrongUsageWithAnUnknownEnding)
{
    expectError(
        {path("run.csv"), "-x", "Time", "-y", "Voltage", "-o", "run.bmp"}, 2,
        "plot: -o: expected a name that ends in .png, .svg or .pdf, found \"run.bmp\"; see \"vxdata plot "
        "--help\"");
    expectError({"-x", "Time", "-y", "Voltage", "-o", "run.png"}, 2,
                "plot: expected either tables or --open DIR; see \"vxdata plot --help\"");
}

TEST_F(VxdataPlot, ShowsRealMeasurements)
{
    const QString data = QStringLiteral(VXDATASTORAGE_SHARED_DATA_DIR "/");
    if (!QFile::exists(data + "cycler_lipo_1c_48_cycles.csv")) {
        GTEST_SKIP() << "no real measurements here";
    }
    plot({data + "cycler_lipo_1c_48_cycles.csv", "-x", "Time", "-y", "Voltage,Current", "-o",
          path("cycles.png")});
    const QImage cycles = image("cycles.png");
    EXPECT_GT(extentOf(cycles, FIRST).width(), 1000);
    EXPECT_GT(extentOf(cycles, SECOND).width(), 1000);
    plot({data + "impedance_nmc_18650.csv", "--columns", "Frequency/Hz,Re(Z)/Ω,Im(Z)/Ω", "--nyquist", "-o",
          path("spectrum.svg")});
    EXPECT_TRUE(textsOf(read(path("spectrum.svg"))).contains("100 mHz"));
}

} // namespace
