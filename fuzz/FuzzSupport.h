#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

/// Ends the run, so that the fuzzer keeps the input.
inline void require(bool holds, const char* what)
{
    if (holds)
        return;
    std::fprintf(stderr, "does not hold: %s\n", what);
    std::abort();
}

/// What every target needs: an application and a directory of its own.
class FuzzWorld
{
public:
    static FuzzWorld& instance()
    {
        static FuzzWorld world;
        return world;
    }

    QString path(const char* name) const { return m_directory.filePath(QString::fromLatin1(name)); }

    /// Makes a file of exactly these bytes, in place of the one before, and returns its path.
    QString makeFile(const QByteArray& bytes) const
    {
        QFile file(path("input"));
        file.remove(); // a file system may write a file that was cut to nothing and filled again at once
        require(file.open(QIODevice::WriteOnly | QIODevice::Truncate), "a file can be made");
        require(file.write(bytes) == bytes.size(), "a file can be written");
        return file.fileName();
    }

    static QByteArray bytes(const std::uint8_t* data, std::size_t size)
    {
        return {reinterpret_cast<const char*>(data), static_cast<qsizetype>(size)};
    }

private:
    FuzzWorld() : m_application(m_argumentCount, m_arguments) {}

    int m_argumentCount = 1;
    char m_name[5] = "fuzz";
    char* m_arguments[2] = {m_name, nullptr};
    QCoreApplication m_application;
    QTemporaryDir m_directory;
};
