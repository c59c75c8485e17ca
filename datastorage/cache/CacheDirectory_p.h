#pragma once

#include <QtCore/QString>

#include <map>
#include <memory>

class QLockFile;

namespace vx::datastorage {

/// Makes and removes the directories that hold the cache files of this process.
///
/// A per-process directory (named after the process id, several processes have theirs side by side)
/// is accompanied by a lock file beside it: "<parent>/4242/" by "<parent>/4242.lock". The lock says
/// who owns the directory and whether the owner still lives, so that files left by a crash are told
/// from files in use. A directory without a lock file is never cleaned up: it is not known to be ours.
///
/// Paths may end in '/'. One object may hold several directories; each stays locked until it is
/// removed, and the locked ones that are left are removed when the object goes.
///
/// Threads: one at a time.
class CacheDirectory
{
public:
    CacheDirectory();
    ~CacheDirectory();
    CacheDirectory(const CacheDirectory&) = delete;
    CacheDirectory& operator=(const CacheDirectory&) = delete;

    /// Makes `path` with all its parents; true when it is there afterwards, also when it was before.
    ///
    /// A per-process directory is made for its owner only and is refused (false) when a link or a
    /// directory of somebody else stands in its place. The first call for a path also
    /// - locks it; a file system that does not allow that costs the lock, not the directory;
    /// - empties it when its lock was left by a process that is gone, which may have had the same id.
    ///   Without such a lock its files stay, as they do in every later call;
    /// - removes the directories of other processes beside it whose locks were left in the same way.
    [[nodiscard]] bool create(const QString& path, bool perProcess);

    /// Removes `path` with everything in it, then its lock. True when it is gone or was not there;
    /// false when something could not be removed, and for a link, which is not followed.
    bool remove(const QString& path);

    /// Removes the plain files of `path` that can be removed; its directories stay.
    static void clearFiles(const QString& path);

private:
    bool createPerProcess(const QString& directory);
    bool isForked() const;
    /// Gives the lock of `directory`, if there is one, back.
    void forget(const QString& directory);

    /// By path without '/' at its end; null for a directory that could not be locked.
    std::map<QString, std::unique_ptr<QLockFile>> m_locks;
    qint64 m_processId; ///< the process that made this object
};

} // namespace vx::datastorage
