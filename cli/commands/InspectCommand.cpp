#include "InputError.h"
#include "commands/Commands.h"
#include "console/Console.h"
#include "console/NumberText.h"
#include "console/TextTable.h"
#include "report/CacheFileHeader.h"
#include "report/Samples.h"

#include <QtCore/QFile>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QtEndian>

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <vector>

namespace vx::cli {
namespace {

constexpr Option OPTIONS[] = {
    {"json", nullptr, "Print one JSON object instead of text."},
    {"samples", "N", "Number of samples to show from the start. Default: 10."},
};

constexpr int DEFAULT_SAMPLES = 10;

/// Range of the samples of one file, read both ways: a file does not say what its samples are.
struct Range
{
    float smallestFloat = std::numeric_limits<float>::infinity();
    float largestFloat = -std::numeric_limits<float>::infinity();
    std::int32_t smallestInt = std::numeric_limits<std::int32_t>::max();
    std::int32_t largestInt = std::numeric_limits<std::int32_t>::lowest();
    qint64 missing = 0;

    void add(std::int32_t sample)
    {
        const auto value = std::bit_cast<float>(sample);
        if (std::isnan(value)) {
            ++missing;
        } else {
            smallestFloat = std::min(smallestFloat, value);
            largestFloat = std::max(largestFloat, value);
        }
        if (sample != MISSING_INT) {
            smallestInt = std::min(smallestInt, sample);
            largestInt = std::max(largestInt, sample);
        }
    }
};

struct Inspection
{
    CacheFileHeader header;
    qint64 bytes = 0;
    Range range;
    std::vector<std::int32_t> firstSamples;
};

bool inspect(const QString& path, qint64 shown, Inspection& inspection, InputError& error)
{
    constexpr qint64 BLOCK_BYTES = qint64{1024} * 1024;
    error.file = path;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        error.text = QStringLiteral("cannot be read: ") + file.errorString();
        return false;
    }
    if (!readCacheFileHeader(file, inspection.header, error.text)) {
        return false;
    }
    inspection.bytes = file.size();
    qint64 left = inspection.header.samples * CacheFileHeader::SAMPLE_BYTES;
    while (left > 0) {
        const QByteArray block = file.read(std::min(left, BLOCK_BYTES));
        if (block.isEmpty() || block.size() % CacheFileHeader::SAMPLE_BYTES != 0) {
            error.text = QStringLiteral("ended before its last sample");
            return false;
        }
        for (qsizetype at = 0; at < block.size(); at += CacheFileHeader::SAMPLE_BYTES) {
            const auto sample = qFromLittleEndian<std::int32_t>(block.constData() + at);
            inspection.range.add(sample);
            if (static_cast<qint64>(inspection.firstSamples.size()) < shown) {
                inspection.firstSamples.push_back(sample);
            }
        }
        left -= block.size();
    }
    return true;
}

QString floatText(std::int32_t sample)
{
    return numberText(std::bit_cast<float>(sample));
}

void printText(const QString& path, const Inspection& inspection, Console& console)
{
    const Range& range = inspection.range;
    const qint64 samples = inspection.header.samples;
    QString text = QStringLiteral("%1\n\n").arg(console.bold(path));
    text += QStringLiteral("  magic     0x%1\n").arg(inspection.header.magic, 8, 16, QLatin1Char('0'));
    text += QStringLiteral("  version   %1\n").arg(inspection.header.version);
    text += QStringLiteral("  samples   %1\n").arg(samples);
    text += QStringLiteral("  bytes     %1\n").arg(inspection.bytes);
    if (samples > 0) {
        text += QStringLiteral("  NaN       %1\n").arg(range.missing);
        text += QStringLiteral("  as FLOAT  %1\n")
                    .arg(samples == range.missing ? QStringLiteral("no value")
                                                  : numberText(range.smallestFloat) + QStringLiteral(" to ") +
                                                        numberText(range.largestFloat));
        text += QStringLiteral("  as INT    %1\n")
                    .arg(range.smallestInt > range.largestInt
                             ? QStringLiteral("no value")
                             : QStringLiteral("%1 to %2").arg(range.smallestInt).arg(range.largestInt));
    }
    console.print(text + QLatin1Char('\n'));
    TextTable table({QStringLiteral("index"), QStringLiteral("as FLOAT"), QStringLiteral("as INT"),
                     QStringLiteral("bits")},
                    {TextTable::Right, TextTable::Right, TextTable::Right, TextTable::Left});
    for (std::size_t i = 0; i < inspection.firstSamples.size(); ++i) {
        const std::int32_t sample = inspection.firstSamples[i];
        table.addRow(
            {QString::number(i), floatText(sample), QString::number(sample),
             QStringLiteral("0x%1").arg(static_cast<std::uint32_t>(sample), 8, 16, QLatin1Char('0'))});
    }
    if (!inspection.firstSamples.empty()) {
        console.print(table.text(console));
    }
}

QJsonValue jsonFloat(float value)
{
    return std::isfinite(value) ? QJsonValue(shortestDouble(value)) : QJsonValue(QJsonValue::Null);
}

void printJson(const QString& path, const Inspection& inspection, Console& console)
{
    const Range& range = inspection.range;
    QJsonArray floats;
    QJsonArray ints;
    for (const std::int32_t sample : inspection.firstSamples) {
        floats.append(jsonFloat(std::bit_cast<float>(sample)));
        ints.append(sample);
    }
    const bool anyInt = range.smallestInt <= range.largestInt;
    QJsonObject object;
    object.insert(QStringLiteral("path"), path);
    object.insert(QStringLiteral("magic"), static_cast<qint64>(inspection.header.magic));
    object.insert(QStringLiteral("version"), static_cast<qint64>(inspection.header.version));
    object.insert(QStringLiteral("samples"), inspection.header.samples);
    object.insert(QStringLiteral("bytes"), inspection.bytes);
    object.insert(QStringLiteral("nan"), range.missing);
    object.insert(QStringLiteral("float"),
                  QJsonObject{{QStringLiteral("minimum"), jsonFloat(range.smallestFloat)},
                              {QStringLiteral("maximum"), jsonFloat(range.largestFloat)},
                              {QStringLiteral("first"), floats}});
    object.insert(
        QStringLiteral("int"),
        QJsonObject{{QStringLiteral("minimum"), anyInt ? QJsonValue(range.smallestInt) : QJsonValue()},
                    {QStringLiteral("maximum"), anyInt ? QJsonValue(range.largestInt) : QJsonValue()},
                    {QStringLiteral("first"), ints}});
    console.print(QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Indented)));
}

ExitCode run(const Arguments& arguments, Console& console)
{
    qint64 shown = DEFAULT_SAMPLES;
    if (arguments.has("samples")) {
        bool ok = false;
        shown = arguments.value("samples").toLongLong(&ok);
        if (!ok || shown < 0) {
            console.printError(
                QStringLiteral("inspect: --samples: expected a whole number from 0, found \"%1\"")
                    .arg(arguments.value("samples")));
            return WrongUsage;
        }
    }
    const QString path = arguments.positional.front();
    Inspection inspection;
    InputError error;
    if (!inspect(path, shown, inspection, error)) {
        console.printError(formatError(error));
        return BadInput;
    }
    if (arguments.has("json")) {
        printJson(path, inspection, console);
    } else {
        printText(path, inspection, console);
    }
    return Done;
}

} // namespace

const Command INSPECT_COMMAND{
    "inspect",
    "FILE.bmd",
    "Show header, count, range and first samples of a cache file.",
    "A cache file is a header (magic number, version, number of samples) and the samples of one array, 32 "
    "bits "
    "each. The file does not say whether they are floats or whole numbers, so both readings are shown; the "
    "bits of "
    "a NaN, which mark a missing sample in both, are counted.\n\n"
    "Cache files are kept by \"vxdata report --save DIR\".",
    "vxdata inspect kept/1-1.bmd\n"
    "vxdata inspect kept/1-1.bmd --samples 100 --json\n",
    OPTIONS,
    1,
    1,
    run,
};

} // namespace vx::cli
