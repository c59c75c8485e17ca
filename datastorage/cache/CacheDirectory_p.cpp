#include <datastorage/cache/CacheDirectory_p.h>

#include <datastorage/cache/SystemMemory_p.h>

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QLockFile>
#include <QtCore/QSysInfo>

#include <chrono>
#include <new>
#include <optional>
#include <utility>
#include <vector>

#if defined(Q_OS_UNIX)
#include <unistd.h>
#endif

namespace vx::datastorage {

namespace {

constexpr QLatin1StringView LOCK_SUFFIX(".lock");
/// How long a directory's own process waits while another one, which has found the directory left
/// behind, moves it away.
constexpr std::chrono::milliseconds OWN_LOCK_PATIENCE{2000};
constexpr QFileDevice::Permissions OWNER_ONLY =
    QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner;
constexpr QFileDevice::Permissions OTHERS = QFileDevice::ReadGroup | QFileDevice::WriteGroup |
                                            QFileDevice::ExeGroup | QFileDevice::ReadOther |
                                            QFileDevice::WriteOther | QFileDevice::ExeOther;

QString withoutTrailingSlash(const QString& path)
{
    qsizetype length = path.size();
    while (length > 1 && path[length - 1] == u'/')
        --length;
    return path.left(length);
}

bool isLink(const QFileInfo& entry)
{
    return entry.isSymLink() || entry.isJunction();
}

bool isOwn(const QFileInfo& entry)
{
#if defined(Q_OS_UNIX)
    return !isLink(entry) && entry.ownerId() == ::geteuid();
#else
    return !isLink(entry);
#endif
}

bool isOwnDirectory(const QString& path)
{
    const QFileInfo entry(path);
    return entry.isDir() && isOwn(entry);
}

/// Whether a lock file may be used or made at `path`: opening anything but a plain file that stands
/// there could block.
bool isLockPlace(const QString& path)
{
    const QFileInfo entry(path);
    return !entry.isSymLink() && (!entry.exists() || entry.isFile());
}

/// Takes the lock at once or within `patience`, also from an owner that is gone. `directoryOwner` is the
/// process whose directory it is.
bool acquire(QLockFile& lock, qint64 directoryOwner, std::chrono::milliseconds patience)
{
    lock.setStaleLockTime(0); // age alone proves nothing: measurements run for weeks
    if (lock.tryLock(0))
        return true;
    if (lock.error() != QLockFile::LockFailedError)
        return false;

    // Two kinds of locks are stale although their text does not say so. A lock that somebody holds
    // cannot be removed, so a wrong guess does no harm.
    const qint64 self = platform::currentProcessId();
    qint64 lockOwner = 0;
    QString host;
    QString program;
    if (!lock.getLockInfo(&lockOwner, &host, &program)) {
        // The machine stopped while the lock was written.
        const bool ownerIsGone = directoryOwner == self || !platform::isProcessAlive(directoryOwner);
        if (ownerIsGone && lock.removeStaleLockFile())
            return lock.tryLock(0);
    } else if (lockOwner == self && host == QSysInfo::machineHostName()) {
        // An earlier process had the same id, or else another object of this process holds the lock.
        return lock.removeStaleLockFile() && lock.tryLock(0);
    }
    return patience.count() > 0 && lock.tryLock(static_cast<int>(patience.count()));
}

/// Ends a lock. One whose file is gone already has nothing to give back, and its object would complain
/// about that on the standard error: it is kept instead.
void release(std::unique_ptr<QLockFile> lock)
{
    if (lock == nullptr || QFileInfo::exists(lock->fileName()))
        return;
    static auto* const goneLocks = new (std::nothrow) std::vector<std::unique_ptr<QLockFile>>();
    if (goneLocks != nullptr)
        goneLocks->push_back(std::move(lock));
}

/// Removes a directory that a dead process has left, if it is there. It is moved into `trash` first, in one
/// step: the next process with that id need not wait until everything is deleted.
void removeLeftOver(const QString& directory, const QString& trash)
{
    if (!QFileInfo::exists(directory))
        return;
    const QString moved = trash + u'/' + QFileInfo(directory).fileName();
    if (QDir().rename(directory, moved))
        QDir(moved).removeRecursively();
    else
        QDir(directory).removeRecursively();
}

/// The process that a directory of this name belongs to; nothing for any other name.
std::optional<qint64> processIdFromName(const QString& name)
{
    bool isNumber = false;
    const qint64 processId = name.toLongLong(&isNumber);
    if (!isNumber || processId <= 0 || name != QString::number(processId))
        return std::nullopt;
    return processId;
}

/// Removes what dead processes of the same user have left beside `own`, which is locked by this process.
void removeLeftOvers(const QString& own)
{
    const QFileInfo ownEntry(own);
    const QDir parent = ownEntry.dir();
    const QFileInfoList lockFiles =
        parent.entryInfoList({QLatin1String("*") + LOCK_SUFFIX}, QDir::Files | QDir::NoSymLinks);
    for (const QFileInfo& lockFile : lockFiles) {
        const QString name = lockFile.fileName().chopped(LOCK_SUFFIX.size());
        const QString directory = parent.filePath(name);
        const std::optional<qint64> processId = processIdFromName(name);
        if (!processId || name == ownEntry.fileName() || !isOwn(lockFile) ||
            (QFileInfo::exists(directory) && !isOwnDirectory(directory)))
            continue;
        QLockFile lock(lockFile.filePath());
        if (acquire(lock, *processId, std::chrono::milliseconds::zero()))
            removeLeftOver(directory, own);
    }
}

/// Makes one directory for its owner only, or checks and restricts the one that is there.
bool makeOwnDirectory(const QString& directory)
{
    if (QDir().mkdir(directory, OWNER_ONLY))
        return true;
    if (!isOwnDirectory(directory))
        return false;
    const QFileDevice::Permissions permissions = QFile::permissions(directory);
    if (permissions & OTHERS)
        QFile::setPermissions(directory, permissions & ~OTHERS);
    return true;
}

} // namespace

CacheDirectory::CacheDirectory() : m_processId(platform::currentProcessId()) {}

CacheDirectory::~CacheDirectory()
{
    if (isForked()) {
        // A forked child must not delete the files of its parent, nor give back its locks, which the
        // lock objects would do; they are kept instead.
        static auto* const parentsLocks = new (std::nothrow) std::map<QString, std::unique_ptr<QLockFile>>();
        if (parentsLocks != nullptr)
            parentsLocks->swap(m_locks);
        return;
    }
    while (!m_locks.empty()) {
        const QString directory = m_locks.begin()->first;
        if (m_locks.begin()->second != nullptr)
            remove(directory);
        forget(directory);
    }
}

bool CacheDirectory::isForked() const
{
    return platform::currentProcessId() != m_processId;
}

void CacheDirectory::forget(const QString& directory)
{
    if (const auto known = m_locks.extract(directory))
        release(std::move(known.mapped()));
}

bool CacheDirectory::create(const QString& path, bool perProcess)
{
    return perProcess ? createPerProcess(withoutTrailingSlash(path)) : QDir().mkpath(path);
}

bool CacheDirectory::createPerProcess(const QString& directory)
{
    const QFileInfo entry(directory);
    if (isLink(entry) || !QDir().mkpath(entry.path()))
        return false;
    const QString lockPath = directory + LOCK_SUFFIX;
    const bool hadLockFile = QFileInfo::exists(lockPath);
    if (const auto known = m_locks.find(directory); known != m_locks.end()) {
        if (known->second == nullptr || hadLockFile)
            return makeOwnDirectory(directory);
        forget(directory); // somebody has deleted the lock file
    }
    auto lock = std::make_unique<QLockFile>(lockPath);
    const bool locked =
        isLockPlace(lockPath) && acquire(*lock, platform::currentProcessId(), OWN_LOCK_PATIENCE);
    if (locked && hadLockFile && isOwnDirectory(directory))
        QDir(directory).removeRecursively();
    if (!makeOwnDirectory(directory))
        return false;
    if (!locked)
        lock.reset();
    m_locks.emplace(directory, std::move(lock));
    if (locked)
        removeLeftOvers(directory);
    return true;
}

bool CacheDirectory::remove(const QString& path)
{
    const QString directory = withoutTrailingSlash(path);
    const auto lock = m_locks.find(directory);
    if (lock != m_locks.end() && isForked())
        return false;
    const QFileInfo entry(directory);
    if (isLink(entry))
        return false;
    // The lock goes last: until then, whoever finds the rest of the files finds them locked or left behind.
    if (entry.exists() && !QDir(directory).removeRecursively())
        return false;
    forget(directory);
    return true;
}

void CacheDirectory::clearFiles(const QString& path)
{
    QDir directory(path);
    const QStringList names = directory.entryList(QDir::Files | QDir::NoDot | QDir::NoDotDot);
    for (const QString& name : names)
        directory.remove(name);
}

} // namespace vx::datastorage
