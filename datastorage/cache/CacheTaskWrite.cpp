#include <datastorage/cache/CacheTaskWrite.h>

#include <datastorage/arrays/DataArrayStreamed_p.h>
#include <datastorage/arrays/StreamedEnvelope_p.h>
#include <datastorage/cache/CacheFileHeader_p.h>
#include <datastorage/cache/SystemMemory_p.h>

#include <tools/TaskHandOff_p.h>

#include <QtCore/QFile>

#include <cerrno>

namespace vx::datastorage {

namespace {

constexpr QFileDevice::Permissions cacheFilePermissions = QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                                          QFileDevice::ReadGroup | QFileDevice::WriteGroup |
                                                          QFileDevice::ReadOther | QFileDevice::WriteOther;

/// Bodies from this size on get their disk space at once, which spares the file system growing the
/// file piece by piece.
constexpr qint64 reserveFromBytes = qint64{1024} * 1024;

} // namespace

CacheTaskWrite::CacheTaskWrite() = default;

CacheTaskWrite::~CacheTaskWrite() = default;

void CacheTaskWrite::setDataArrayInfoToWrite(const QString& fileName, DataArrayInfoStreamed* info)
{
    m_fileName = fileName;
    m_info = info;
}

void CacheTaskWrite::setAppendMode(bool append)
{
    m_append = append;
}

void CacheTaskWrite::run()
{
    nel::tools::acquireTask(this);
    errno = 0; // an old code would be reported with an error of this run
    m_info->setUseBatchMode(m_append);
    const Existing existing = updateExisting();
    if (existing == Existing::None)
        writeWhole(QIODevice::WriteOnly | QIODevice::NewOnly); // one that has come meanwhile stays as it is
    else if (existing == Existing::Replace)
        writeWhole(QIODevice::WriteOnly);
}

/// Whether the file, which stands at its header, is to be replaced: another version wrote it, or a
/// whole-file write of this array stopped half-way.
bool CacheTaskWrite::isOutdated(QFile& file) const
{
    const DataArrayStreamed* array = StreamedArrayAccess::arrayOf(*m_info);
    const bool isPartial = array && StreamedArrayAccess::state(*array).fileIsPartial;
    return readCacheFileVersion(file) != CACHE_FILE_VERSION || isPartial;
}

/// Whether all that the file holds is in memory, so that a new file may take its place.
bool CacheTaskWrite::mayReplaceFile() const
{
    const DataArrayStreamed* array = StreamedArrayAccess::arrayOf(*m_info);
    return !array || (StreamedArrayAccess::firstIndex(*array) == 0 &&
                      StreamedArrayAccess::loadedSize(*array) >=
                          StreamedArrayAccess::state(*array).samplesOnDisk.load());
}

CacheTaskWrite::Existing CacheTaskWrite::updateExisting()
{
    QFile file(m_fileName);
    if (!QFile::exists(m_fileName))
        return Existing::None;
    if (!file.open(QIODevice::ReadWrite)) {
        if (mayReplaceFile())
            return Existing::Replace;
        Q_EMIT signal_writeError(m_info, QLatin1String("CacheTaskWrite::run ERROR !\nCannot open file ") +
                                             m_fileName);
        return Existing::GiveUp;
    }
    if (file.size() < 1) {
        file.close();
        if (file.remove())
            return Existing::Replace;
        Q_EMIT signal_writeError(
            m_info, QLatin1String("CacheTaskWrite::run ERROR !\nCannot delete empty file ") + m_fileName);
        return Existing::GiveUp;
    }
    if (isOutdated(file)) {
        if (!mayReplaceFile()) { // it could not be read, and holds what is nowhere else
            failToWrite(file);
            return Existing::GiveUp;
        }
        file.close();
        if (!file.remove())
            Q_EMIT signal_writeError(
                m_info, QLatin1String("CacheTaskWrite::run ERROR !\nCannot delete file ") + m_fileName);
        return Existing::Replace;
    }
    DataArrayStreamed* array = StreamedArrayAccess::arrayOf(*m_info);
    finishWrite(file, array && StreamedArrayAccess::updateFile(*array, file));
    return Existing::Updated;
}

void CacheTaskWrite::writeWhole(QIODevice::OpenMode mode)
{
    QFile file(m_fileName);
    if (!file.open(mode)) {
        Q_EMIT signal_writeError(m_info, QLatin1String("CacheTaskWrite::run ERROR !\nCannot open file ") +
                                             m_fileName);
        return;
    }
    DataArrayStreamed* array = StreamedArrayAccess::arrayOf(*m_info);
    if (array && StreamedArrayAccess::firstIndex(*array) > 0) {
        // The file has gone with the samples before the block. Should it come back, it is continued.
        file.remove();
        failToWrite(file);
        return;
    }
    m_isWhole = true;
    file.setPermissions(cacheFilePermissions);
    const qint64 bytes = array ? 4 * StreamedArrayAccess::loadedSize(*array) : 0;
    if (bytes >= reserveFromBytes)
        platform::reserveFileSpace(file.handle(), 0, bytes);
    const bool headerWritten = writeCacheFileHeader(file);
    finishWrite(file, array && StreamedArrayAccess::writeFile(*array, file) && headerWritten);
}

void CacheTaskWrite::confirm(bool ok)
{
    if (DataArrayStreamed* array = StreamedArrayAccess::arrayOf(*m_info))
        StreamedArrayAccess::confirmWrite(*array, m_isWhole, ok);
}

void CacheTaskWrite::finishWrite(QFile& file, bool ok)
{
    if (!ok) {
        confirm(false);
        failToWrite(file);
    } else if (file.flush()) {
        file.close();
        confirm(true);
        // The samples may leave memory after this.
        if (const DataArrayStreamed* array = StreamedArrayAccess::arrayOf(*m_info))
            StreamedEnvelope::extend(*array);
        Q_EMIT signal_writeFinished(m_info);
    } else {
        const QString detail = getDetailedError(file);
        confirm(false);
        m_info->setReadWriteError(true);
        Q_EMIT signal_writeError(m_info, QLatin1String("CacheTaskWrite::run ERROR (cannot flush !) !\n"
                                                       "Error while writing data to ") +
                                             m_fileName + QLatin1Char('\n') + detail);
    }
}

void CacheTaskWrite::failToWrite(QFile& file)
{
    file.close();
    m_info->setReadWriteError(true);
    const QString detail = getDetailedError(file);
    Q_EMIT signal_writeError(m_info, QLatin1String("CacheTaskWrite::run ERROR (write failed !) !\n"
                                                   "Error while writing data to ") +
                                         m_fileName + QLatin1Char('\n') + detail);
}

QString CacheTaskWrite::getDetailedError(QFile& file) const
{
    QString detail = QLatin1Char('(') + file.errorString() + QLatin1Char(')');
    if (const std::uint32_t code = platform::lastSystemError(); code != 0)
        detail += QLatin1String(", GetLastError returned : 0x") + QString::number(code, 16);
    return detail;
}

} // namespace vx::datastorage
