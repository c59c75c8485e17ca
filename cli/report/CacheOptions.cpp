#include "report/CacheOptions.h"

#include "config/JsonPlace.h"

#include <datastorage/cache/CacheManager.h>

#include <QtCore/QFile>

#include <array>
#include <cmath>

namespace vx::cli {
namespace {

using datastorage::CacheManager;

struct ByteUnit
{
    const char* symbol;
    double bytes;
};

constexpr double KIBI = 1024.0;
constexpr double KILO = 1000.0;

constexpr std::array BYTE_UNITS{
    ByteUnit{"", 1.0},
    ByteUnit{"B", 1.0},
    ByteUnit{"K", KIBI},
    ByteUnit{"KiB", KIBI},
    ByteUnit{"M", KIBI* KIBI},
    ByteUnit{"MiB", KIBI* KIBI},
    ByteUnit{"G", KIBI* KIBI* KIBI},
    ByteUnit{"GiB", KIBI* KIBI* KIBI},
    ByteUnit{"T", KIBI* KIBI* KIBI* KIBI},
    ByteUnit{"TiB", KIBI* KIBI* KIBI* KIBI},
    ByteUnit{"kB", KILO},
    ByteUnit{"MB", KILO* KILO},
    ByteUnit{"GB", KILO* KILO* KILO},
    ByteUnit{"TB", KILO* KILO* KILO* KILO},
};

bool readCacheConfiguration(const QString& fileName, InputError& error)
{
    QString text;
    if (CacheManager::instance().readCacheConfiguration(fileName, CACHE_CONFIGURATION_VERSION, text)) {
        return true;
    }
    error.file = fileName;
    error.text = text;
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly)) {
        error.text += QStringLiteral(": ") + file.errorString();
        return false;
    }
    const QByteArray json = file.readAll();
    TextPlace place = placeOfSyntaxError(json);
    if (place.line == 0) {
        const bool aboutPath = text.contains(QLatin1String("Path"));
        const bool aboutSize = text.contains(QLatin1String("size"));
        const bool aboutCache = text.contains(QLatin1String("Cache"));
        place = placeOfValue(json, aboutPath    ? QStringList{QStringLiteral("Cache"), QStringLiteral("Path")}
                                   : aboutSize  ? QStringList{QStringLiteral("Cache"), QStringLiteral("Size")}
                                   : aboutCache ? QStringList{QStringLiteral("Cache")}
                                                : QStringList{QStringLiteral("Version")});
    }
    error.line = place.line;
    error.column = place.column;
    return false;
}

} // namespace

bool parseByteCount(const QString& text, qint64& bytes)
{
    constexpr double LARGEST = 9.0e18; // just below the largest 64-bit number
    const QString trimmedText = text.trimmed();
    qsizetype digits = 0;
    while (digits < trimmedText.size() &&
           (trimmedText.at(digits).isDigit() || trimmedText.at(digits) == QLatin1Char('.'))) {
        ++digits;
    }
    bool ok = false;
    const double number = trimmedText.left(digits).toDouble(&ok);
    const QString symbol = trimmedText.mid(digits).trimmed();
    for (const ByteUnit& unit : BYTE_UNITS) {
        if (ok && symbol == QLatin1String(unit.symbol)) {
            const double count = std::floor(number * unit.bytes);
            if (count < 1.0 || count > LARGEST) {
                return false;
            }
            bytes = static_cast<qint64>(count);
            return true;
        }
    }
    return false;
}

QString byteCountText(qint64 bytes)
{
    constexpr std::array SYMBOLS{"B", "KiB", "MiB", "GiB", "TiB"};
    double value = static_cast<double>(bytes);
    std::size_t step = 0;
    while (value >= KIBI && step + 1 < SYMBOLS.size()) {
        value /= KIBI;
        ++step;
    }
    return QString::number(value, 'f', step == 0 ? 0 : 1) + QLatin1Char(' ') +
           QLatin1String(SYMBOLS.at(step));
}

ExitCode configureCache(const Arguments& arguments, InputError& error)
{
    CacheManager& cache = CacheManager::instance();
    if (arguments.has("budget")) {
        qint64 bytes = 0;
        if (!parseByteCount(arguments.value("budget"), bytes)) {
            error.text = QStringLiteral("--budget: expected an amount of memory such as 64MiB, found \"%1\"")
                             .arg(arguments.value("budget"));
            return WrongUsage;
        }
    }
    if (arguments.has("cache-config") && !readCacheConfiguration(arguments.value("cache-config"), error)) {
        return BadInput;
    }
    if (arguments.has("cache-dir")) {
        if (arguments.value("cache-dir").isEmpty()) {
            error.text = QStringLiteral("--cache-dir: expected a directory");
            return WrongUsage;
        }
        // The process id makes a directory of our own, which is removed at the end.
        cache.setDefaultCachePath(arguments.value("cache-dir"), true);
    }
    qint64 bytes = 0;
    if (arguments.has("budget") && parseByteCount(arguments.value("budget"), bytes)) {
        cache.setCacheSizeInBytes(bytes);
    }
    if (!cache.checkDefaultCacheDirectory()) {
        error.file = cache.getDefaultCachePath();
        error.text = QStringLiteral("the cache directory cannot be made; name another one with --cache-dir");
        return BadInput;
    }
    return Done;
}

} // namespace vx::cli
