#include "commands/Commands.h"
#include "console/Console.h"
#include "model/SampleExperiment.h"

#include <QtCore/QDir>
#include <QtCore/QSaveFile>

#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <numbers>
#include <string>

namespace vx::cli {
namespace {

constexpr int CYCLES = 3;
constexpr const char* CYCLING_FILE = "cell_cycles.csv";
constexpr const char* IMPEDANCE_FILE = "cell_impedance.csv";

constexpr Option OPTIONS[] = {
    {"out", "DIR", "Directory for the two tables; it is made when missing. Required."},
    {"rows", "N",
     "Number of rows of the cycling table. Fewer than the whole experiment has are spread evenly over it, "
     "more "
     "are had by further cycles. Default: three cycles at 10 Hz, over a million rows."},
};

/// A table on its way into a file; the file appears only when it is complete.
class TableWriter
{
public:
    explicit TableWriter(const QString& path) : m_file(path), m_ok(m_file.open(QIODevice::WriteOnly)) {}

    void text(std::string_view text) { m_buffer += text; }

    void number(double value, int decimals, char end)
    {
        std::array<char, 64> digits{};
        const auto result = std::to_chars(digits.data(), digits.data() + digits.size(), value,
                                          std::chars_format::fixed, decimals);
        append(digits.data(), result.ptr, end);
    }

    void number(int value, char end)
    {
        std::array<char, 16> digits{};
        const auto result = std::to_chars(digits.data(), digits.data() + digits.size(), value);
        append(digits.data(), result.ptr, end);
    }

    /// False when the file could not be written; errorString() says why.
    bool finish()
    {
        pass();
        return m_file.commit() && m_ok;
    }

    QString errorString() const { return m_file.errorString(); }

private:
    void append(const char* begin, const char* end, char separator)
    {
        m_buffer.append(begin, end);
        m_buffer += separator;
        if (m_buffer.size() > BLOCK) {
            pass();
        }
    }

    void pass()
    {
        const auto size = static_cast<qint64>(m_buffer.size());
        m_ok = m_ok && m_file.write(m_buffer.data(), size) == size;
        m_buffer.clear();
    }

    static constexpr std::size_t BLOCK = std::size_t{1024} * 1024;
    QSaveFile m_file;
    bool m_ok;
    std::string m_buffer;
};

void writeRow(TableWriter& writer, const ExperimentRow& row)
{
    writer.number(row.time, 1, ',');
    writer.number(row.voltage, 5, ',');
    writer.number(row.current, 5, ',');
    writer.number(row.charge, 6, ',');
    writer.number(row.energy, 6, ',');
    writer.number(row.temperature, 3, ',');
    writer.number(row.cycle, ',');
    writer.number(row.step, '\n');
}

qint64 countRows(const CellParameters& parameters)
{
    SampleExperiment experiment(parameters, CYCLES);
    ExperimentRow row;
    qint64 rows = 0;
    while (experiment.next(row)) {
        ++rows;
    }
    return rows;
}

/// Writes the cycling table with `rows` rows, or every row of the experiment when it is 0.
qint64 writeCycling(TableWriter& writer, const CellParameters& parameters, qint64 rows, Console& console)
{
    const qint64 available = countRows(parameters);
    const qint64 wanted = rows == 0 ? available : rows;
    const bool furtherCycles = wanted > available;
    SampleExperiment experiment(parameters, furtherCycles ? std::numeric_limits<int>::max() : CYCLES);
    writer.text(
        "Time / s,Voltage / V,Current / A,Charge / Ah,Energy / Wh,Temperature / °C,Cycle / 1,Step / 1\n");
    ExperimentRow row;
    qint64 written = 0;
    for (qint64 index = 0; written < wanted && experiment.next(row); ++index) {
        // Row k of n out of m is the one at k * m / n.
        const qint64 next = furtherCycles ? index : written * available / wanted;
        if (index == next) {
            writeRow(writer, row);
            ++written;
            console.showProgress(QLatin1String(CYCLING_FILE),
                                 static_cast<double>(written) / static_cast<double>(wanted));
        }
    }
    return written;
}

/// Writes the impedance from 10 kHz down to 1 mHz, ten frequencies per decade.
int writeImpedance(TableWriter& writer, const CellParameters& parameters)
{
    constexpr int PER_DECADE = 10;
    constexpr int POINTS = 7 * PER_DECADE + 1;
    constexpr double HIGHEST = 1e4;
    constexpr double SOC = 0.5;
    writer.text("Frequency / Hz,Re(Z) / Ω,-Im(Z) / Ω,|Z| / Ω,Phase / deg\n");
    for (int point = 0; point < POINTS; ++point) {
        const double frequency = HIGHEST * std::pow(10.0, -static_cast<double>(point) / PER_DECADE);
        const std::complex<double> z = impedance(parameters, frequency, SOC);
        writer.number(frequency, 6, ',');
        writer.number(z.real(), 8, ',');
        writer.number(-z.imag(), 8, ',');
        writer.number(std::abs(z), 8, ',');
        writer.number(std::arg(z) * 180.0 / std::numbers::pi, 4, '\n');
    }
    return POINTS;
}

bool readRows(const Arguments& arguments, qint64& rows)
{
    rows = 0;
    if (!arguments.has("rows")) {
        return true;
    }
    bool ok = false;
    rows = arguments.value("rows").toLongLong(&ok);
    return ok && rows >= 1;
}

ExitCode finish(TableWriter& writer, const QString& path, qint64 rows, Console& console)
{
    if (!writer.finish()) {
        console.printError(QStringLiteral("%1: cannot be written: %2").arg(path, writer.errorString()));
        return BadInput;
    }
    console.print(QStringLiteral("%1: %2 rows\n").arg(path).arg(rows));
    return Done;
}

ExitCode run(const Arguments& arguments, Console& console)
{
    qint64 rows = 0;
    if (!arguments.has("out") || arguments.value("out").isEmpty()) {
        console.printError(QStringLiteral("generate: expected --out DIR; see \"vxdata generate --help\""));
        return WrongUsage;
    }
    if (!readRows(arguments, rows)) {
        console.printError(QStringLiteral("generate: --rows: expected a whole number from 1, found \"%1\"")
                               .arg(arguments.value("rows")));
        return WrongUsage;
    }
    const QDir directory(arguments.value("out"));
    if (!directory.mkpath(QStringLiteral("."))) {
        console.printError(QStringLiteral("%1: cannot be made").arg(directory.path()));
        return BadInput;
    }
    const CellParameters parameters;
    const QString cyclingPath = directory.filePath(QLatin1String(CYCLING_FILE));
    TableWriter cycling(cyclingPath);
    const qint64 written = writeCycling(cycling, parameters, rows, console);
    const ExitCode cyclingResult = finish(cycling, cyclingPath, written, console);
    if (cyclingResult != Done) {
        return cyclingResult;
    }
    const QString impedancePath = directory.filePath(QLatin1String(IMPEDANCE_FILE));
    TableWriter spectrum(impedancePath);
    const int points = writeImpedance(spectrum, parameters);
    return finish(spectrum, impedancePath, points, console);
}

} // namespace

const Command GENERATE_COMMAND{
    "generate",
    "--out DIR",
    "Write a sample experiment: a cycled cell and its impedance spectrum.",
    "Computes a lithium-ion cell of 5 Ah as an equivalent circuit: an open-circuit voltage that depends on "
    "the "
    "state of charge, a series resistance, two resistor-capacitor pairs and one thermal mass, with "
    "resistances "
    "that fall as the cell gets warmer.\n\n"
    "cell_cycles.csv holds constant-current discharges to 3.0 V and charges to 4.2 V with a "
    "constant-voltage phase and rests between them: time, voltage, current, charge, energy, temperature, "
    "cycle "
    "and step. cell_impedance.csv holds the impedance of the same cell, from the same parameters, between 10 "
    "kHz "
    "and 1 mHz at half charge. The same call writes the same bytes.",
    "vxdata generate --out sample\n"
    "vxdata generate --out sample --rows 10000\n",
    OPTIONS,
    0,
    0,
    run,
};

} // namespace vx::cli
