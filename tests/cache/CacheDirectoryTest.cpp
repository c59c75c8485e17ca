#include <datastorage/cache/CacheDirectory_p.h>

#include <support/CacheFileBytes.h>
#include <support/Printers.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QProcess>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

#include <memory>

#if defined(Q_OS_UNIX)
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

using vx::datastorage::CacheDirectory;

namespace {

constexpr QFileDevice::Permissions OWNER =
    QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner;
constexpr QFileDevice::Permissions OTHERS = QFileDevice::ReadGroup | QFileDevice::WriteGroup |
                                            QFileDevice::ExeGroup | QFileDevice::ReadOther |
                                            QFileDevice::WriteOther | QFileDevice::ExeOther;

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << path.toStdString();
    return file.readAll();
}

/// A parent directory of cache directories, and what stands in it.
class CacheDirectoryTest : public testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(m_parent.isValid()); }

    QString path(const QString& name) const { return m_parent.filePath(name); }
    static QString ownName() { return QString::number(QCoreApplication::applicationPid()); }
    /// The directory of this process, as the cache gives it: with a slash at its end.
    QString own() const { return path(ownName()) + '/'; }

    QStringList entries() const
    {
        return QDir(m_parent.path())
            .entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    }

    bool makeFile(const QString& name, const QByteArray& bytes = "x") const
    {
        return QDir().mkpath(QFileInfo(path(name)).path()) && cachefile::write(path(name), bytes);
    }

    /// The text of the lock file of a process that has ended, run by the helper program.
    QByteArray lockOfEndedProcess() const
    {
        const QTemporaryDir elsewhere;
        QProcess process;
        startOwner(process, elsewhere.path());
        QByteArray text = contentOf(elsewhere.filePath(QString::number(process.processId()) + ".lock"));
        process.kill();
        EXPECT_TRUE(process.waitForFinished());
        return text;
    }

    /// The text of a lock file that carries the id of this process.
    QByteArray lockOfThisProcess() const
    {
        const QTemporaryDir elsewhere;
        CacheDirectory directory;
        EXPECT_TRUE(directory.create(elsewhere.filePath("5"), true));
        return contentOf(elsewhere.filePath("5.lock"));
    }

    static void startOwner(QProcess& process, const QString& parent)
    {
        process.start(CACHE_DIRECTORY_OWNER, {parent});
        EXPECT_TRUE(process.waitForReadyRead(60'000)) << process.errorString().toStdString();
        EXPECT_EQ(process.readLine().trimmed(), "ready");
    }

    QTemporaryDir m_parent;
};

// Making

TEST_F(CacheDirectoryTest, IsMadeWithItsParents)
{
    CacheDirectory directory;
    EXPECT_TRUE(directory.create(path("a/b/17/"), true));
    EXPECT_TRUE(QFileInfo(path("a/b/17")).isDir());
    EXPECT_TRUE(QFileInfo(path("a/b/17.lock")).isFile());
}

TEST_F(CacheDirectoryTest, IsOpenToItsOwnerOnly)
{
    CacheDirectory directory;
    ASSERT_TRUE(directory.create(own(), true));
    EXPECT_EQ(QFile::permissions(own()) & OTHERS, QFileDevice::Permissions());
    EXPECT_EQ(QFile::permissions(own()) & OWNER, OWNER);
}

TEST_F(CacheDirectoryTest, IsClosedToOthersWhenItWasThere)
{
    ASSERT_TRUE(QDir().mkpath(own()));
    ASSERT_TRUE(QFile::setPermissions(own(), OWNER | OTHERS));
    ASSERT_EQ(QFile::permissions(own()) & OTHERS, OTHERS);
    CacheDirectory directory;
    ASSERT_TRUE(directory.create(own(), true));
    EXPECT_EQ(QFile::permissions(own()) & OTHERS, QFileDevice::Permissions());
    EXPECT_EQ(QFile::permissions(own()) & OWNER, OWNER);
}

TEST_F(CacheDirectoryTest, SharedByProcessesIsMadePlainly)
{
    CacheDirectory directory;
    EXPECT_TRUE(directory.create(path("a/shared/"), false));
    EXPECT_TRUE(directory.create(path("a/shared/"), false));
    EXPECT_EQ(entries(), QStringList{"a"});
    EXPECT_EQ(QDir(path("a")).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), QStringList{"shared"});
}

TEST_F(CacheDirectoryTest, IsRefusedWhereAFileStands)
{
    ASSERT_TRUE(makeFile(ownName(), "mine"));
    CacheDirectory directory;
    EXPECT_FALSE(directory.create(own(), true));
    EXPECT_FALSE(directory.create(own(), false));
    EXPECT_EQ(contentOf(path(ownName())), "mine");
}

TEST_F(CacheDirectoryTest, IsRefusedBelowAFile)
{
    ASSERT_TRUE(makeFile("file"));
    CacheDirectory directory;
    EXPECT_FALSE(directory.create(path("file/17/"), true));
}

TEST_F(CacheDirectoryTest, IsLockedByItsOwner)
{
    CacheDirectory directory;
    ASSERT_TRUE(directory.create(own(), true));
    EXPECT_EQ(contentOf(path(ownName() + ".lock")).split('\n').at(0), ownName().toLatin1());
}

// Links and strangers

#if defined(Q_OS_UNIX)

TEST_F(CacheDirectoryTest, IsRefusedWhereALinkStands)
{
    ASSERT_TRUE(makeFile("target/precious"));
    ASSERT_TRUE(QFile::link(path("target"), path(ownName())));
    CacheDirectory directory;
    EXPECT_FALSE(directory.create(own(), true));
    EXPECT_FALSE(directory.remove(own()));
    EXPECT_TRUE(QFileInfo::exists(path("target/precious")));
    EXPECT_TRUE(QFileInfo(path(ownName())).isSymLink());
}

TEST_F(CacheDirectoryTest, IsRefusedWhereALinkToNothingStands)
{
    ASSERT_TRUE(QFile::link(path("nowhere"), path(ownName())));
    CacheDirectory directory;
    EXPECT_FALSE(directory.create(own(), true));
    EXPECT_FALSE(QFileInfo::exists(path("nowhere")));
}

TEST_F(CacheDirectoryTest, DoesNotFollowLinksInsideWhenItIsRemoved)
{
    ASSERT_TRUE(makeFile("target/precious"));
    CacheDirectory directory;
    ASSERT_TRUE(directory.create(own(), true));
    ASSERT_TRUE(QFile::link(path("target"), own() + "link"));
    EXPECT_TRUE(directory.remove(own()));
    EXPECT_EQ(entries(), QStringList{"target"});
    EXPECT_TRUE(QFileInfo::exists(path("target/precious")));
}

TEST_F(CacheDirectoryTest, IsRefusedWhenItBelongsToSomebodyElse)
{
    ASSERT_TRUE(makeFile(ownName() + "/theirs"));
    if (::chown(path(ownName()).toLocal8Bit().constData(), 12345, static_cast<gid_t>(-1)) != 0)
        GTEST_SKIP() << "only the superuser can give a directory away";
    CacheDirectory directory;
    EXPECT_FALSE(directory.create(own(), true));
    EXPECT_TRUE(QFileInfo::exists(own() + "theirs"));
}

TEST_F(CacheDirectoryTest, OfSomebodyElseIsKeptThoughItsLockIsStale)
{
    ASSERT_TRUE(makeFile(ownName() + "/theirs"));
    ASSERT_TRUE(makeFile(ownName() + ".lock", lockOfEndedProcess()));
    ASSERT_TRUE(makeFile("999999999/theirs"));
    ASSERT_TRUE(makeFile("999999999.lock", lockOfEndedProcess()));
    for (const QString& name : {ownName(), QStringLiteral("999999999")}) {
        if (::chown(path(name).toLocal8Bit().constData(), 12345, static_cast<gid_t>(-1)) != 0)
            GTEST_SKIP() << "only the superuser can give a directory away";
    }
    CacheDirectory directory;
    EXPECT_FALSE(directory.create(own(), true));
    EXPECT_TRUE(directory.create(path("17"), true));
    EXPECT_TRUE(QFileInfo::exists(own() + "theirs"));
    EXPECT_TRUE(QFileInfo::exists(path("999999999/theirs")));
    EXPECT_TRUE(QFileInfo::exists(path("999999999.lock")));
}

TEST_F(CacheDirectoryTest, IsMadeThoughAPipeStandsInPlaceOfItsLock)
{
    ASSERT_EQ(::mkfifo(path(ownName() + ".lock").toLocal8Bit().constData(), 0600), 0);
    CacheDirectory directory;
    EXPECT_TRUE(directory.create(own(), true));
    EXPECT_TRUE(directory.create(own(), true));
    EXPECT_TRUE(directory.remove(own()));
    EXPECT_EQ(entries(), QStringList{ownName() + ".lock"});
}

TEST_F(CacheDirectoryTest, IsMadeThoughALinkStandsInPlaceOfItsLock)
{
    ASSERT_TRUE(makeFile("precious", "keep me"));
    ASSERT_TRUE(QFile::link(path("precious"), path(ownName() + ".lock")));
    CacheDirectory directory;
    EXPECT_TRUE(directory.create(own(), true));
    EXPECT_EQ(contentOf(path("precious")), "keep me");
}

TEST_F(CacheDirectoryTest, IsLeftToItsProcessByAForkedChild)
{
    auto directory = std::make_unique<CacheDirectory>();
    ASSERT_TRUE(directory->create(own(), true));
    ASSERT_TRUE(cachefile::write(own() + "samples.bmd", "x"));
    const QString parents = own(); // the child has an id of its own
    const pid_t child = ::fork();
    if (child == 0) {
        const bool removed = directory->remove(parents);
        directory.reset();
        ::_exit(removed ? 1 : 0);
    }
    ASSERT_GT(child, 0);
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    EXPECT_TRUE(QFileInfo::exists(own() + "samples.bmd"));
    EXPECT_TRUE(QFileInfo::exists(path(ownName() + ".lock")));
}

#endif

TEST_F(CacheDirectoryTest, IsMadeThoughADirectoryStandsInPlaceOfItsLock)
{
    ASSERT_TRUE(QDir().mkpath(path(ownName() + ".lock")));
    CacheDirectory directory;
    EXPECT_TRUE(directory.create(own(), true));
    EXPECT_TRUE(QFileInfo(own()).isDir());
    EXPECT_TRUE(directory.remove(own()));
    EXPECT_EQ(entries(), QStringList{ownName() + ".lock"});
}

TEST_F(CacheDirectoryTest, IsMadeWhereNoLockCanBe)
{
    // 253 characters leave no room for the suffix of the lock file.
    const QString name(253, 'n');
    CacheDirectory directory;
    EXPECT_TRUE(directory.create(path(name), true));
    EXPECT_TRUE(directory.create(path(name), true));
    EXPECT_EQ(entries(), QStringList{name});
}

// Left by a process with the same id

TEST_F(CacheDirectoryTest, IsEmptiedWhenItsLockIsThatOfADeadProcess)
{
    ASSERT_TRUE(makeFile(ownName() + "/deep/old.bmd"));
    ASSERT_TRUE(makeFile(ownName() + "/old.bmd"));
    ASSERT_TRUE(makeFile(ownName() + ".lock", lockOfEndedProcess()));
    CacheDirectory directory;
    ASSERT_TRUE(directory.create(own(), true));
    EXPECT_TRUE(QDir(own()).isEmpty(QDir::AllEntries | QDir::NoDotAndDotDot));
    EXPECT_EQ(contentOf(path(ownName() + ".lock")).split('\n').at(0), ownName().toLatin1());
}

TEST_F(CacheDirectoryTest, IsEmptiedWhenItsLockWasLeftUnderTheSameId)
{
    ASSERT_TRUE(makeFile(ownName() + "/old.bmd"));
    ASSERT_TRUE(makeFile(ownName() + ".lock", lockOfThisProcess()));
    CacheDirectory directory;
    ASSERT_TRUE(directory.create(own(), true));
    EXPECT_FALSE(QFileInfo::exists(own() + "old.bmd"));
    EXPECT_TRUE(QFileInfo(own()).isDir());
}

TEST_F(CacheDirectoryTest, IsEmptiedWhenItsLockWasNeverFinished)
{
    ASSERT_TRUE(makeFile(ownName() + "/old.bmd"));
    ASSERT_TRUE(makeFile(ownName() + ".lock", ""));
    CacheDirectory directory;
    ASSERT_TRUE(directory.create(own(), true));
    EXPECT_FALSE(QFileInfo::exists(own() + "old.bmd"));
}

TEST_F(CacheDirectoryTest, KeepsItsFilesWithoutALock)
{
    ASSERT_TRUE(makeFile(ownName() + "/given.bmd"));
    CacheDirectory directory;
    ASSERT_TRUE(directory.create(own(), true));
    EXPECT_TRUE(QFileInfo::exists(own() + "given.bmd"));
}

TEST_F(CacheDirectoryTest, KeepsItsFilesInEveryLaterCall)
{
    CacheDirectory directory;
    ASSERT_TRUE(directory.create(own(), true));
    ASSERT_TRUE(cachefile::write(own() + "new.bmd", "x"));
    EXPECT_TRUE(directory.create(own(), true));
    EXPECT_TRUE(directory.create(path(ownName()), true)); // the same path without the slash
    EXPECT_TRUE(QFileInfo::exists(own() + "new.bmd"));
}

TEST_F(CacheDirectoryTest, KeepsItsFilesWhenSomebodyDeletesTheLock)
{
    CacheDirectory directory;
    ASSERT_TRUE(directory.create(own(), true));
    ASSERT_TRUE(cachefile::write(own() + "new.bmd", "x"));
    ASSERT_TRUE(QFile::remove(path(ownName() + ".lock")));
    EXPECT_TRUE(directory.create(own(), true));
    EXPECT_TRUE(QFileInfo::exists(own() + "new.bmd"));
    EXPECT_TRUE(QFileInfo::exists(path(ownName() + ".lock")));
}

TEST_F(CacheDirectoryTest, SaysNothingWhenSomebodyHasDeletedTheLock)
{
    static QStringList messages;
    messages.clear();
    const QtMessageHandler previous = qInstallMessageHandler(
        [](QtMsgType, const QMessageLogContext&, const QString& text) { messages.append(text); });
    {
        CacheDirectory directory;
        EXPECT_TRUE(directory.create(path("a/") + ownName(), true));
        EXPECT_TRUE(QDir(path("a")).removeRecursively());
        EXPECT_TRUE(directory.remove(path("a/") + ownName()));
        EXPECT_TRUE(directory.create(path("b/") + ownName(), true));
        EXPECT_TRUE(QDir(path("b")).removeRecursively());
        EXPECT_TRUE(directory.create(path("b/") + ownName(), true));
        EXPECT_TRUE(directory.create(path("c/") + ownName(), true));
        EXPECT_TRUE(QDir(path("c")).removeRecursively());
    }
    qInstallMessageHandler(previous);
    EXPECT_EQ(messages, QStringList());
    EXPECT_FALSE(QFileInfo::exists(path("b/") + ownName() + ".lock"));
}

TEST_F(CacheDirectoryTest, IsMadeAgainWhenSomebodyDeletesIt)
{
    CacheDirectory directory;
    ASSERT_TRUE(directory.create(own(), true));
    ASSERT_TRUE(QDir(own()).removeRecursively());
    EXPECT_TRUE(directory.create(own(), true));
    EXPECT_TRUE(QFileInfo(own()).isDir());
}

TEST_F(CacheDirectoryTest, HeldByAnotherObjectKeepsItsFiles)
{
    CacheDirectory holder;
    ASSERT_TRUE(holder.create(own(), true));
    ASSERT_TRUE(cachefile::write(own() + "new.bmd", "x"));
    {
        CacheDirectory other;
        EXPECT_TRUE(other.create(own(), true));
    }
    EXPECT_TRUE(QFileInfo::exists(own() + "new.bmd"));
    EXPECT_TRUE(QFileInfo::exists(path(ownName() + ".lock")));
}

// Left by other processes

TEST_F(CacheDirectoryTest, RemovesWhatAKilledProcessHasLeft)
{
    QProcess process;
    startOwner(process, m_parent.path());
    const QString name = QString::number(process.processId());
    ASSERT_TRUE(QFileInfo::exists(path(name + "/samples.bmd")));
    process.kill();
    ASSERT_TRUE(process.waitForFinished());
    ASSERT_TRUE(QFileInfo::exists(path(name + "/samples.bmd")));

    CacheDirectory directory;
    ASSERT_TRUE(directory.create(own(), true));
    EXPECT_EQ(entries(), (QStringList{ownName(), ownName() + ".lock"}));
    EXPECT_TRUE(QDir(own()).isEmpty(QDir::AllEntries | QDir::NoDotAndDotDot));
}

TEST_F(CacheDirectoryTest, KeepsWhatALivingProcessHas)
{
    QProcess process;
    startOwner(process, m_parent.path());
    const QString name = QString::number(process.processId());
    CacheDirectory directory;
    ASSERT_TRUE(directory.create(own(), true));
    EXPECT_EQ(contentOf(path(name + "/samples.bmd")), "samples");
    EXPECT_TRUE(QFileInfo::exists(path(name + ".lock")));

    process.write("leave\n");
    ASSERT_TRUE(process.waitForFinished());
    EXPECT_EQ(process.exitCode(), 0);
    EXPECT_EQ(entries(), (QStringList{ownName(), ownName() + ".lock"}));
}

TEST_F(CacheDirectoryTest, RemovesALockThatIsLeftAlone)
{
    ASSERT_TRUE(makeFile("999999999.lock", lockOfEndedProcess()));
    CacheDirectory directory;
    ASSERT_TRUE(directory.create(own(), true));
    EXPECT_FALSE(QFileInfo::exists(path("999999999.lock")));
}

TEST_F(CacheDirectoryTest, RemovesWhatIsLeftUnderAnUnfinishedLock)
{
    ASSERT_TRUE(makeFile("999999999/old.bmd"));
    ASSERT_TRUE(makeFile("999999999.lock", ""));
    CacheDirectory directory;
    ASSERT_TRUE(directory.create(own(), true));
    EXPECT_FALSE(QFileInfo::exists(path("999999999")));
}

TEST_F(CacheDirectoryTest, KeepsAnUnfinishedLockOfALivingProcess)
{
    QProcess process;
    process.start(QStringLiteral("cat"), {});
    ASSERT_TRUE(process.waitForStarted());
    const QString name = QString::number(process.processId());
    ASSERT_TRUE(makeFile(name + "/new.bmd"));
    ASSERT_TRUE(makeFile(name + ".lock", ""));
    CacheDirectory directory;
    ASSERT_TRUE(directory.create(own(), true));
    EXPECT_TRUE(QFileInfo::exists(path(name + "/new.bmd")));
    process.kill();
    process.waitForFinished();
}

TEST_F(CacheDirectoryTest, RemovesWhatAnInterruptedCleaningUnderThisIdHasLeft)
{
    ASSERT_TRUE(makeFile("999999999/old.bmd"));
    ASSERT_TRUE(makeFile("999999999.lock", lockOfThisProcess()));
    CacheDirectory directory;
    ASSERT_TRUE(directory.create(own(), true));
    EXPECT_FALSE(QFileInfo::exists(path("999999999")));
    EXPECT_FALSE(QFileInfo::exists(path("999999999.lock")));
}

TEST_F(CacheDirectoryTest, KeepsEverythingThatIsNotKnownToBeItsOwn)
{
    const QByteArray stale = lockOfEndedProcess();
    ASSERT_TRUE(makeFile("999999998/no lock"));
    ASSERT_TRUE(makeFile("backup/named otherwise"));
    ASSERT_TRUE(makeFile("backup.lock", stale));
    ASSERT_TRUE(makeFile("12ab/named otherwise"));
    ASSERT_TRUE(makeFile("12ab.lock", stale));
    ASSERT_TRUE(makeFile("-17.lock", stale));
    ASSERT_TRUE(makeFile("0999999999/leading zero"));
    ASSERT_TRUE(makeFile("0999999999.lock", stale));
    ASSERT_TRUE(makeFile("99999999999999999999999/no number"));
    ASSERT_TRUE(makeFile("99999999999999999999999.lock", stale));
    ASSERT_TRUE(makeFile("999999997", "a file, not a directory"));
    ASSERT_TRUE(makeFile("999999997.lock", stale));
    const QStringList before = entries();

    CacheDirectory directory;
    ASSERT_TRUE(directory.create(own(), true));
    ASSERT_TRUE(directory.remove(own()));
    EXPECT_EQ(entries(), before);
    EXPECT_TRUE(QFileInfo::exists(path("999999998/no lock")));
    EXPECT_TRUE(QFileInfo::exists(path("backup/named otherwise")));
}

#if defined(Q_OS_UNIX)
TEST_F(CacheDirectoryTest, KeepsALinkBesideAStaleLock)
{
    ASSERT_TRUE(makeFile("target/precious"));
    ASSERT_TRUE(QFile::link(path("target"), path("999999999")));
    ASSERT_TRUE(makeFile("999999999.lock", lockOfEndedProcess()));
    CacheDirectory directory;
    ASSERT_TRUE(directory.create(own(), true));
    EXPECT_TRUE(QFileInfo::exists(path("target/precious")));
    EXPECT_TRUE(QFileInfo(path("999999999")).isSymLink());
}
#endif

// Removing

TEST_F(CacheDirectoryTest, IsRemovedWithEverythingInIt)
{
    CacheDirectory directory;
    ASSERT_TRUE(directory.create(own(), true));
    ASSERT_TRUE(makeFile(ownName() + "/deep/deeper/file"));
    EXPECT_TRUE(directory.remove(own()));
    EXPECT_EQ(entries(), QStringList{});
}

TEST_F(CacheDirectoryTest, ThatDoesNotExistIsRemovedAlready)
{
    CacheDirectory directory;
    EXPECT_TRUE(directory.remove(own()));
    EXPECT_TRUE(directory.remove(path("a/b/c")));
}

TEST_F(CacheDirectoryTest, IsRemovedThoughThisObjectDidNotMakeIt)
{
    ASSERT_TRUE(makeFile("shared/file"));
    CacheDirectory directory;
    EXPECT_TRUE(directory.remove(path("shared/")));
    EXPECT_EQ(entries(), QStringList{});
}

TEST_F(CacheDirectoryTest, CanBeMadeAgainAfterItWasRemoved)
{
    CacheDirectory directory;
    ASSERT_TRUE(directory.create(own(), true));
    ASSERT_TRUE(directory.remove(own()));
    EXPECT_TRUE(directory.create(own(), true));
    EXPECT_EQ(entries(), (QStringList{ownName(), ownName() + ".lock"}));
}

TEST_F(CacheDirectoryTest, HoldsSeveralUntilItGoes)
{
    {
        CacheDirectory directory;
        ASSERT_TRUE(directory.create(path("a/17"), true));
        ASSERT_TRUE(directory.create(path("b/17"), true));
        ASSERT_TRUE(makeFile("a/17/file"));
        ASSERT_TRUE(directory.remove(path("b/17")));
        EXPECT_TRUE(QFileInfo::exists(path("a/17/file")));
        EXPECT_TRUE(QFileInfo::exists(path("a/17.lock")));
        EXPECT_FALSE(QFileInfo::exists(path("b/17.lock")));
    }
    EXPECT_FALSE(QFileInfo::exists(path("a/17")));
    EXPECT_FALSE(QFileInfo::exists(path("a/17.lock")));
}

TEST_F(CacheDirectoryTest, SharedByProcessesStaysWhenTheObjectGoes)
{
    {
        CacheDirectory directory;
        ASSERT_TRUE(directory.create(path("shared"), false));
    }
    EXPECT_TRUE(QFileInfo::exists(path("shared")));
}

// Clearing

TEST_F(CacheDirectoryTest, ClearedLosesItsPlainFilesOnly)
{
    CacheDirectory directory;
    ASSERT_TRUE(directory.create(own(), true));
    ASSERT_TRUE(makeFile(ownName() + "/a.bmd"));
    ASSERT_TRUE(makeFile(ownName() + "/any name"));
    ASSERT_TRUE(makeFile(ownName() + "/sub/b.bmd"));
    CacheDirectory::clearFiles(own());
    EXPECT_EQ(QDir(own()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), QStringList{"sub"});
    EXPECT_TRUE(QFileInfo::exists(own() + "sub/b.bmd"));
    EXPECT_TRUE(QFileInfo::exists(path(ownName() + ".lock")));
}

TEST_F(CacheDirectoryTest, ThatDoesNotExistIsClearedAlready)
{
    CacheDirectory::clearFiles(path("nowhere/"));
    EXPECT_EQ(entries(), QStringList{});
}

} // namespace
