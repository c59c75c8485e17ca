#pragma once

#include <QtCore/QIODevice>

class QFile;
class QString;

namespace vx::datastorage {

/// Opens `path` for reading through `file`, which is closed before, when it is a regular file or a
/// link to one. Anything else in its place (a directory, a pipe, a device) is refused without
/// waiting for it: opening a pipe would otherwise block until somebody writes to it. `options` is
/// added to QIODevice::ReadOnly.
[[nodiscard]] bool openRegularFile(QFile& file, const QString& path, QIODevice::OpenMode options = {});

#if defined(Q_OS_UNIX)
/// A descriptor of a regular file.
struct RegularDescriptor
{
    int number = -1;          ///< -1 when there is none
    qint64 bytes = 0;         ///< length of the file
    bool tellsReason = false; ///< a plain open by the path fails, too, without waiting, and tells why
};

/// As openRegularFile(), without a QFile. The descriptor is the caller's.
[[nodiscard]] RegularDescriptor openRegularDescriptor(const QString& path);
#endif

/// The length of the regular file, or of what a link leads to, at `path`, in bytes; -1 when there is none.
/// Called before samples leave memory, it costs one look at the path.
[[nodiscard]] qint64 regularFileBytes(const QString& path);

} // namespace vx::datastorage
