#pragma once

#include <QtCore/QString>

/// How the key of a data source and the name of an array become the name of a cache file. The names
/// here are flat: they carry no directory.
namespace vx::datastorage {

/// Longest file name, in bytes as the file system encodes it, that every usual file system takes.
inline constexpr qsizetype MAXIMUM_FILE_NAME_BYTES = 255;

/// `path` as a flat file name: each of : * ? " < > | & becomes "__", each / becomes "_slash_", every
/// other character stays. Different paths can give the same text.
QString transformCachePathToFileName(const QString& path);

/// The transformed text of key, "__", name and ".bmd", of any length.
QString transformedCacheFileName(const QString& key, const QString& name);

/// `transformed` itself when the file system takes it as a name and gives the same name back. One that
/// is too long, holds a NUL or is no valid Unicode is cut at a character and ends in "__", the SHA-1 of
/// the whole text (its 16-bit units in memory) in hexadecimal and ".bmd": the same text gives the same
/// name, different texts give different ones.
QString fittingFileName(const QString& transformed);

/// A name of its own for (key, name) when the file name of its transformed text is taken by another
/// pair: the hash in it is that of the untransformed pair. Fits the file system. The caller compares
/// it with the names in use too and asks again with the next `attempt` if somebody has chosen just
/// this text for a name.
QString distinctFileName(const QString& transformed, const QString& key, const QString& name,
                         int attempt = 0);

} // namespace vx::datastorage
