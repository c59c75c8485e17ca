#include "report/CacheFileHeader.h"

#include <QtCore/QIODevice>
#include <QtCore/QtEndian>

namespace vx::cli {

bool readCacheFileHeader(QIODevice& device, CacheFileHeader& header, QString& error)
{
    const QByteArray bytes = device.read(CacheFileHeader::BYTES);
    if (bytes.size() < CacheFileHeader::BYTES) {
        error = QStringLiteral("expected a cache file with a header of %1 bytes, found %2 bytes")
                    .arg(CacheFileHeader::BYTES)
                    .arg(bytes.size());
        return false;
    }
    header.magic = qFromLittleEndian<std::uint32_t>(bytes.constData());
    header.version = qFromLittleEndian<std::uint32_t>(bytes.constData() + 4);
    header.samples = qFromLittleEndian<qint64>(bytes.constData() + 8);
    if (header.magic != CacheFileHeader::MAGIC) {
        error = QStringLiteral("expected a cache file, which begins with 0x%1, found 0x%2")
                    .arg(CacheFileHeader::MAGIC, 8, 16, QLatin1Char('0'))
                    .arg(header.magic, 8, 16, QLatin1Char('0'));
        return false;
    }
    if (header.version != CacheFileHeader::VERSION) {
        error = QStringLiteral("expected a cache file of version %1, found version %2")
                    .arg(CacheFileHeader::VERSION)
                    .arg(header.version);
        return false;
    }
    const qint64 held = (device.size() - CacheFileHeader::BYTES) / CacheFileHeader::SAMPLE_BYTES;
    if (header.samples < 0 || header.samples > held) {
        error =
            QStringLiteral("expected %1 samples as the header says, found %2").arg(header.samples).arg(held);
        return false;
    }
    return true;
}

} // namespace vx::cli
