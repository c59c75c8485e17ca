#include <datastorage/cache/CacheTaskRead.h>

#include <datastorage/arrays/DataArrayStreamed_p.h>
#include <datastorage/cache/CacheFileHeader_p.h>
#include <datastorage/cache/CacheFileSamples_p.h>
#include <datastorage/cache/RegularFile_p.h>

#include <tools/TaskHandOff_p.h>

#include <QtCore/QFile>
#include <QtCore/QFileInfo>

namespace vx::datastorage {

namespace {

/// Whether the file, which stands at its body, holds as many samples as the body's count says. The
/// file is not trusted: a count from it must not decide how much memory is taken.
bool canDeliver(QFile& file)
{
    // Read and put back: peek() would go through memory of the device.
    const qint64 body = file.pos();
    const std::optional<qint64> count = readSampleCount(file);
    return count && file.seek(body) && *count >= 0 && *count <= samplesByLength(file);
}

/// Whether what the file of `info` holds does not count, because it should have been deleted or was not
/// written to its end.
bool isVoid(DataArrayInfoStreamed* info)
{
    const DataArrayStreamed* array = StreamedArrayAccess::arrayOf(*info);
    return array && StreamedArrayAccess::state(*array).fileIsPartial;
}

/// Why the file could not be opened.
QString openError(const QString& fileName)
{
    const QFileInfo place(fileName);
    if (!place.exists())
        return QLatin1String("CacheTaskRead::run ERROR !\nCache file ") + fileName +
               QLatin1String(" doesn't exists\n");
    QFile file(fileName);
    // Opening a pipe in the file's place would block the thread; a directory is refused with a reason.
    if (place.isFile() || place.isDir())
        file.open(QIODevice::ReadOnly);
    return QLatin1String("CacheTaskRead::run ERROR !\n Cannot read ") + fileName +
           QLatin1String("\nerror : ") + file.errorString();
}

} // namespace

CacheTaskRead::CacheTaskRead() = default;

CacheTaskRead::~CacheTaskRead() = default;

void CacheTaskRead::setDataArrayInfoToRead(const QString& fileName, DataArrayInfoStreamed* info)
{
    m_fileName = fileName;
    m_info = info;
}

void CacheTaskRead::run()
{
    nel::tools::acquireTask(this);
    const QString error = load(m_fileName, m_info);
    if (error.isEmpty()) {
        Q_EMIT signal_readFinished(m_info);
        return;
    }
    m_info->setReadWriteError(true);
    Q_EMIT signal_readError(m_info, error);
}

/// Opens a cache file at its body; returns the text of what went wrong, empty when nothing did.
QString CacheTaskRead::open(QFile& file, const QString& fileName)
{
    // Reasons are looked for afterwards, so that a file that is as it should be costs one look at its
    // path. All reads are as large as what is wanted: a buffer would only be copied.
    if (!openRegularFile(file, fileName, QIODevice::Unbuffered))
        return openError(fileName);
    if (readCacheFileVersion(file).value_or(0) < CACHE_FILE_VERSION)
        return QLatin1String("CacheTaskRead::run ERROR !\nCache file ") + fileName +
               QLatin1String(" has bad version number\n");
    return canDeliver(file) ? QString() : cacheFileReadError(fileName);
}

/// Loads the array; returns the text of what went wrong, empty when nothing did.
QString CacheTaskRead::load(const QString& fileName, DataArrayInfoStreamed* info)
{
    QFile file;
    QString error = open(file, fileName);
    if (error.isEmpty() && (isVoid(info) || !info->readFromDiskStream(file)))
        return cacheFileReadError(fileName);
    return error;
}

} // namespace vx::datastorage
