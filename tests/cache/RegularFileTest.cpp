#include <datastorage/cache/RegularFile_p.h>

#include <support/CacheFileBytes.h>
#include <support/Printers.h>

#include <QtCore/QDir>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

#if defined(Q_OS_UNIX)
#include <sys/stat.h>
#endif

using vx::datastorage::openRegularFile;

namespace {

class RegularFileTest : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_directory.isValid());
        ASSERT_TRUE(cachefile::write(path("file"), "content"));
    }

    QString path(const QString& name) const { return m_directory.filePath(name); }

    /// The error text of a plain open of `path`, which must fail.
    static QString plainError(const QString& path)
    {
        QFile file(path);
        EXPECT_FALSE(file.open(QIODevice::ReadOnly));
        return file.errorString();
    }

    QTemporaryDir m_directory;
};

TEST_F(RegularFileTest, IsOpenedForReadingFromItsStart)
{
    QFile file;
    ASSERT_TRUE(openRegularFile(file, path("file")));
    EXPECT_EQ(file.openMode(), QIODevice::ReadOnly);
    EXPECT_EQ(file.readAll(), "content");
    EXPECT_EQ(file.size(), 7);
}

TEST_F(RegularFileTest, IsOpenedWithTheOptionsAskedFor)
{
    QFile file;
    ASSERT_TRUE(openRegularFile(file, path("file"), QIODevice::Unbuffered));
    EXPECT_EQ(file.openMode(), QIODevice::ReadOnly | QIODevice::Unbuffered);
}

TEST_F(RegularFileTest, TakesThePlaceOfTheOneThatWasOpen)
{
    ASSERT_TRUE(cachefile::write(path("other"), "another"));
    QFile file(path("other"));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    ASSERT_EQ(file.read(3), "ano");
    ASSERT_TRUE(openRegularFile(file, path("file")));
    EXPECT_EQ(file.readAll(), "content");
    EXPECT_FALSE(openRegularFile(file, path("missing")));
    EXPECT_FALSE(file.isOpen());
}

TEST_F(RegularFileTest, ThatIsMissingIsRefusedWithTheUsualText)
{
    QFile file;
    EXPECT_FALSE(openRegularFile(file, path("missing")));
    EXPECT_FALSE(file.isOpen());
    EXPECT_EQ(file.errorString(), plainError(path("missing")));
}

TEST_F(RegularFileTest, GivesWayToNoDirectory)
{
    QFile file;
    EXPECT_FALSE(openRegularFile(file, m_directory.path()));
    EXPECT_FALSE(file.isOpen());
    EXPECT_EQ(file.errorString(), plainError(m_directory.path()));
}

TEST_F(RegularFileTest, EndsWhereItsPathEnds)
{
    const QString longer = path("file") + QChar(u'\0') + "more";
    QFile file;
    EXPECT_FALSE(openRegularFile(file, longer));
    EXPECT_FALSE(file.isOpen());
}

#if defined(Q_OS_UNIX)
TEST_F(RegularFileTest, GivesWayToNoPipe)
{
    ASSERT_EQ(::mkfifo(path("pipe").toLocal8Bit().constData(), 0600), 0);
    QFile file;
    EXPECT_FALSE(openRegularFile(file, path("pipe")));
    EXPECT_FALSE(file.isOpen());
}

TEST_F(RegularFileTest, GivesWayToNoDevice)
{
    QFile file;
    EXPECT_FALSE(openRegularFile(file, QStringLiteral("/dev/null")));
    EXPECT_FALSE(file.isOpen());
}

TEST_F(RegularFileTest, IsFoundThroughALink)
{
    ASSERT_TRUE(QFile::link(path("file"), path("link")));
    QFile file;
    ASSERT_TRUE(openRegularFile(file, path("link")));
    EXPECT_EQ(file.readAll(), "content");
}
#endif

#if defined(Q_OS_LINUX)
TEST_F(RegularFileTest, LeavesNothingOpenWhenItIsRefused)
{
    const auto openFiles = [] {
        return QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::AllEntries | QDir::System).size();
    };
    ASSERT_EQ(::mkfifo(path("pipe").toLocal8Bit().constData(), 0600), 0);
    const qsizetype before = openFiles();
    QFile file;
    for (const QString& name :
         {path("missing"), m_directory.path(), path("pipe"), QStringLiteral("/dev/null")})
        EXPECT_FALSE(openRegularFile(file, name));
    EXPECT_EQ(openFiles(), before);
}
#endif

} // namespace
