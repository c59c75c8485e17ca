#include <datastorage/cache/CacheFileReader_p.h>

#include <datastorage/cache/CacheFileHeader_p.h>
#include <datastorage/cache/RegularFile_p.h>

#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QtEndian>

#include <algorithm>
#include <array>

#if defined(Q_OS_UNIX)
#include <cerrno>

#include <sys/stat.h>
#include <unistd.h>
#endif

namespace vx::datastorage {

namespace {

constexpr auto bytesPerSample = static_cast<qint64>(sizeof(DataTypeBase));

qint64 samplesIn(qint64 fileBytes)
{
    return std::max<qint64>(fileBytes - CACHE_FILE_SAMPLES_OFFSET, 0) / bytesPerSample;
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

#if defined(Q_OS_UNIX)

CacheFileReader::~CacheFileReader()
{
    if (m_descriptor != -1)
        ::close(m_descriptor);
}

bool CacheFileReader::open(const QString& path)
{
    const RegularDescriptor opened = openRegularDescriptor(path);
    m_descriptor = opened.number;
    m_bytes = opened.bytes;
    return m_descriptor != -1;
}

qint64 CacheFileReader::lengthNow() const
{
    struct stat status
    {};
    return ::fstat(m_descriptor, &status) == 0 ? static_cast<qint64>(status.st_size) : -1;
}

/// Reads as many bytes as there are, in as many calls as the system needs; returns how many.
qint64 CacheFileReader::readAt(qint64 offset, char* data, qint64 bytes)
{
    constexpr qint64 mostAtOnce = qint64{1} << 30; // some systems refuse more than 31 bits can count
    qint64 done = 0;
    while (done < bytes) {
        const auto wanted = static_cast<std::size_t>(std::min(bytes - done, mostAtOnce));
        const ssize_t got = ::pread(m_descriptor, data + done, wanted, static_cast<off_t>(offset + done));
        if (got > 0)
            done += got;
        else if (got == 0 || errno != EINTR)
            break;
    }
    return done;
}

#else

CacheFileReader::~CacheFileReader() = default;

bool CacheFileReader::open(const QString& path)
{
    const bool isOpen = openRegularFile(m_file, path, QIODevice::Unbuffered);
    m_bytes = isOpen ? m_file.size() : 0;
    return isOpen;
}

qint64 CacheFileReader::lengthNow() const
{
    return m_file.size();
}

/// Reads as many bytes as there are; returns how many.
qint64 CacheFileReader::readAt(qint64 offset, char* data, qint64 bytes)
{
    return m_file.seek(offset) ? std::max<qint64>(m_file.read(data, bytes), 0) : 0;
}

#endif

void CacheFileReader::readHead()
{
    std::array<char, CACHE_FILE_SAMPLES_OFFSET> head{};
    const qint64 got = readAt(0, head.data(), CACHE_FILE_SAMPLES_OFFSET);
    if (got >= CACHE_FILE_HEADER_BYTES)
        m_version = cacheFileVersion(std::span(head).first<CACHE_FILE_HEADER_BYTES>());
    if (got == CACHE_FILE_SAMPLES_OFFSET)
        m_sampleCount = qFromLittleEndian<qint64>(head.data() + CACHE_FILE_HEADER_BYTES);
}

bool CacheFileReader::hasRoomForSamples()
{
    // Samples that were being appended when the file was opened may be there by now.
    if (m_sampleCount > samplesIn(m_bytes))
        m_bytes = lengthNow();
    return m_sampleCount >= 0 && m_sampleCount <= samplesIn(m_bytes);
}

qint64 CacheFileReader::readSamples(qint64 first, qint64 end, std::span<DataTypeBase> out)
{
    // What the length has room for can be counted in bytes.
    const qint64 last = std::min(end, samplesIn(m_bytes));
    if (first < 0 || first >= last)
        return 0;
    const qint64 wanted = std::min(last - first, static_cast<qint64>(out.size()));
    return readAt(CACHE_FILE_SAMPLES_OFFSET + first * bytesPerSample, reinterpret_cast<char*>(out.data()),
                  wanted * bytesPerSample) /
           bytesPerSample;
}

QString openCacheFile(CacheFileReader& file, const QString& fileName)
{
    // Reasons are looked for afterwards, so that a file that is as it should be costs one look at its
    // path.
    if (!file.open(fileName))
        return openError(fileName);
    file.readHead();
    if (file.version() < CACHE_FILE_VERSION)
        return QLatin1String("CacheTaskRead::run ERROR !\nCache file ") + fileName +
               QLatin1String(" has bad version number\n");
    // A count from the file must not decide how much memory is taken.
    return file.hasRoomForSamples() ? QString() : cacheFileReadError(fileName);
}

QString cacheFileReadError(const QString& fileName)
{
    return QLatin1String("CacheTaskRead::run ERROR !\nError while reading data from ") + fileName;
}

qint64 samplesByLength(const QString& fileName)
{
    return samplesIn(regularFileBytes(fileName));
}

} // namespace vx::datastorage
