#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QFile>
#include <QtCore/QString>
#include <QtCore/QtEndian>

#include <cstdint>
#include <vector>

/// Builds cache files byte by byte, whole and damaged ones, without the code that is tested.
namespace cachefile {

template <typename Number>
QByteArray littleEndian(Number number)
{
    QByteArray bytes(sizeof(Number), '\0');
    qToLittleEndian(number, bytes.data());
    return bytes;
}

inline QByteArray header(quint32 magic = 0xF83E9FCC, quint32 version = 2)
{
    return littleEndian(magic) + littleEndian(version);
}

inline QByteArray samples(const std::vector<std::int32_t>& values)
{
    QByteArray bytes;
    bytes.reserve(static_cast<qsizetype>(values.size() * sizeof(std::int32_t)));
    for (const std::int32_t value : values) {
        bytes += littleEndian(value);
    }
    return bytes;
}

/// A whole, valid file.
inline QByteArray file(const std::vector<std::int32_t>& values)
{
    return header() + littleEndian(static_cast<qint64>(values.size())) + samples(values);
}

/// Writes `bytes` to `path`, replacing what is there.
[[nodiscard]] inline bool write(const QString& path, const QByteArray& bytes)
{
    QFile target(path);
    return target.open(QIODevice::WriteOnly | QIODevice::Truncate) && target.write(bytes) == bytes.size();
}

} // namespace cachefile
