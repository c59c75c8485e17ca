#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QStringList>

namespace vx::cli {

/// A place in a text file, both from 1; 0 when unknown.
struct TextPlace
{
    qint64 line = 0;
    qint64 column = 0; ///< in bytes
};

/// The place of byte `offset`.
TextPlace placeOfOffset(const QByteArray& text, qsizetype offset);

/// Where the value at `path` begins in a JSON document: the keys, and the indexes from 0 in decimal, that
/// lead from the root to it. When the path ends early in the document, the place of the last value on the
/// way.
TextPlace placeOfValue(const QByteArray& json, const QStringList& path);

/// The place of the first syntax error of a JSON document; unknown when there is none.
TextPlace placeOfSyntaxError(const QByteArray& json);

} // namespace vx::cli
