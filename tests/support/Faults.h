#pragma once

#include <QtCore/QFile>
#include <QtCore/QString>

#include <csignal>

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

/// While it lives, no file of this process grows beyond a number of bytes: the disk is full.
class FullDisk
{
public:
    explicit FullDisk(qint64 bytes) : m_previousHandler(std::signal(SIGXFSZ, SIG_IGN))
    {
        ::getrlimit(RLIMIT_FSIZE, &m_previous);
        rlimit limit = m_previous;
        limit.rlim_cur = static_cast<rlim_t>(bytes);
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }

    ~FullDisk()
    {
        ::setrlimit(RLIMIT_FSIZE, &m_previous);
        std::signal(SIGXFSZ, m_previousHandler);
    }

    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;

private:
    rlimit m_previous{};
    void (*m_previousHandler)(int);
};

/// While it lives, files in a directory can be written but neither made nor removed. The superuser, whom
/// permissions do not stop, acts as somebody else meanwhile.
class SealedDirectory
{
public:
    explicit SealedDirectory(const QString& path) : m_path(QFile::encodeName(path)), m_user(::geteuid())
    {
        ::chmod(m_path.constData(), m_user == 0 ? 0755 : 0555);
        if (m_user == 0) {
            m_isSealed = ::seteuid(65534) == 0;
        } else {
            m_isSealed = true;
        }
    }

    ~SealedDirectory()
    {
        m_isSealed = m_isSealed && ::seteuid(m_user) == 0;
        ::chmod(m_path.constData(), 0755);
    }

    SealedDirectory(const SealedDirectory&) = delete;
    SealedDirectory& operator=(const SealedDirectory&) = delete;

    /// False where the system does not let a process change its user.
    bool isSealed() const { return m_isSealed; }

private:
    QByteArray m_path;
    uid_t m_user;
    bool m_isSealed = false;
};

/// The permission bits of a file, -1 when there is none.
inline int permissionsOf(const QString& path)
{
    struct stat status = {};
    if (::stat(QFile::encodeName(path).constData(), &status) != 0) {
        return -1;
    }
    return static_cast<int>(status.st_mode & 0777U);
}

// The sanitizers take far more memory than the program does.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
#define CAN_LIMIT_MEMORY 1
#else
#define CAN_LIMIT_MEMORY 0
#endif

/// While it lives, the process gets no more than some more bytes of memory.
class LittleMemory
{
public:
    explicit LittleMemory(rlim_t more)
    {
        ::getrlimit(RLIMIT_AS, &m_previous);
        QFile figures(QStringLiteral("/proc/self/statm"));
        const bool isOpen = figures.open(QIODevice::ReadOnly);
        const QByteArray pages = isOpen ? figures.readAll().split(' ').first() : QByteArray();
        rlimit limit = m_previous;
        limit.rlim_cur =
            static_cast<rlim_t>(pages.toULongLong()) * static_cast<rlim_t>(::getpagesize()) + more;
        ::setrlimit(RLIMIT_AS, &limit);
    }

    ~LittleMemory() { ::setrlimit(RLIMIT_AS, &m_previous); }

    LittleMemory(const LittleMemory&) = delete;
    LittleMemory& operator=(const LittleMemory&) = delete;

private:
    rlimit m_previous{};
};
