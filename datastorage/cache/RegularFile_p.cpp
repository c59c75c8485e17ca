#include <datastorage/cache/RegularFile_p.h>

#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#if defined(Q_OS_UNIX)
#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace vx::datastorage {

#if defined(Q_OS_UNIX)

namespace {

/// Leaves the file's error text as a plain open by its path does. Only for a path whose opening fails or
/// cannot block.
bool failAsPlainOpen(QFile& file, const QString& path)
{
    file.setFileName(path);
    if (file.open(QIODevice::ReadOnly))
        file.close();
    return false;
}

} // namespace

RegularDescriptor openRegularDescriptor(const QString& path)
{
    if (path.contains(QChar(u'\0')))
        return {}; // the system would take the part before it
    // What was opened is looked at, not the path: something else could stand there a moment later.
    int descriptor = -1;
    const QByteArray name = QFile::encodeName(path);
    do {
        descriptor = ::open(name.constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
    } while (descriptor == -1 && errno == EINTR);
    if (descriptor == -1)
        return {.tellsReason = true};
    struct stat status
    {};
    const bool isKnown = ::fstat(descriptor, &status) == 0;
    if (isKnown && S_ISREG(status.st_mode))
        return {.number = descriptor, .bytes = static_cast<qint64>(status.st_size)};
    ::close(descriptor);
    return {.tellsReason = isKnown && S_ISDIR(status.st_mode)};
}

bool openRegularFile(QFile& file, const QString& path, QIODevice::OpenMode options)
{
    file.close();
    const RegularDescriptor opened = openRegularDescriptor(path);
    if (opened.number == -1)
        return opened.tellsReason && failAsPlainOpen(file, path);
    if (file.open(opened.number, QIODevice::ReadOnly | options, QFileDevice::AutoCloseHandle))
        return true;
    ::close(opened.number);
    return false;
}

qint64 regularFileBytes(const QString& path)
{
    struct stat status
    {};
    const bool isThere = !path.contains(QChar(u'\0')) &&
                         ::stat(QFile::encodeName(path).constData(), &status) == 0 && S_ISREG(status.st_mode);
    return isThere ? static_cast<qint64>(status.st_size) : -1;
}

#else

qint64 regularFileBytes(const QString& path)
{
    const QFileInfo file(path);
    return file.isFile() ? file.size() : -1;
}

bool openRegularFile(QFile& file, const QString& path, QIODevice::OpenMode options)
{
    file.close();
    if (!QFileInfo(path).isFile())
        return false;
    file.setFileName(path);
    return file.open(QIODevice::ReadOnly | options);
}

#endif

} // namespace vx::datastorage
