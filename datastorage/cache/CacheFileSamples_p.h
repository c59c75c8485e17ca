#pragma once

#include <datastorage/arrays/DataType.h>

#include <QtCore/QString>

#include <optional>
#include <span>

class QFile;

namespace vx::datastorage {

/// What is reported of a cache file whose samples cannot be read.
QString cacheFileReadError(const QString& fileName);

/// Samples that the length of a cache file has room for, whatever its count says.
qint64 samplesByLength(const QFile& file);
/// As above for a file that is not open; 0 when there is no regular file.
qint64 samplesByLength(const QString& fileName);
/// Samples that the count of a cache file, which stands at its body, claims; nothing when the file ends
/// before. The count is not checked. The file then stands at its samples.
std::optional<qint64> readSampleCount(QFile& file);

/// Copies the samples of a cache file, of which it has `inFile`, from index `first` on; returns how many.
/// Nothing is checked or reported: 0 may be a failure.
qint64 readSamplesAt(QFile& file, qint64 inFile, qint64 first, std::span<DataTypeBase> out);

} // namespace vx::datastorage
