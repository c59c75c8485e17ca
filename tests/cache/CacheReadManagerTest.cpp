#include <datastorage/cache/CacheReadManager.h>

#include <support/CacheFileBytes.h>
#include <support/RowLabel.h>

#include <QtCore/QDir>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

#include <atomic>
#include <limits>
#include <ostream>
#include <thread>
#include <type_traits>
#include <vector>

#if defined(Q_OS_UNIX)
#include <sys/stat.h>
#endif

using vx::datastorage::CacheReadManager;

namespace {

constexpr std::int32_t MISSING = 2143289344;
constexpr quint32 MAGIC = 0xF83E9FCC;

static_assert(!std::is_default_constructible_v<CacheReadManager>);
static_assert(!std::is_destructible_v<CacheReadManager>);
static_assert(!std::is_copy_constructible_v<CacheReadManager>);

class CacheReadManagerTest : public testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(m_directory.isValid()); }
    void TearDown() override { manager().closeAll(); }

    static CacheReadManager& manager() { return CacheReadManager::instance(); }
    static std::int32_t sample(int id, qint64 index) { return manager().getSampleDirect(id, index).intValue; }

    QString path(const QString& name) const { return m_directory.filePath(name); }

    /// The path of a new valid cache file with these samples.
    QString fileOf(const std::vector<std::int32_t>& values)
    {
        QString name = path(QString::number(m_files++) + ".bmd");
        EXPECT_TRUE(cachefile::write(name, cachefile::file(values)));
        return name;
    }

    /// A new id with a new file of these samples mapped under it.
    int mapped(const std::vector<std::int32_t>& values)
    {
        const int id = manager().getFreeId();
        EXPECT_TRUE(manager().initialize(id, fileOf(values)));
        return id;
    }

    QTemporaryDir m_directory;
    int m_files = 0;
};

// The object and its ids

TEST_F(CacheReadManagerTest, IsOneObject)
{
    EXPECT_EQ(&CacheReadManager::instance(), &CacheReadManager::instance());
}

TEST_F(CacheReadManagerTest, HandsOutIdsDenselyFromZero)
{
    for (int expected = 0; expected < 3000; ++expected)
        ASSERT_EQ(manager().getFreeId(), expected);
}

TEST_F(CacheReadManagerTest, HandsOutAClosedIdNext)
{
    for (int i = 0; i < 5; ++i)
        manager().getFreeId();
    manager().close(3);
    EXPECT_EQ(manager().getFreeId(), 3);
    EXPECT_EQ(manager().getFreeId(), 5);
}

TEST_F(CacheReadManagerTest, HandsOutClosedIdsOldestFirst)
{
    for (int i = 0; i < 5; ++i)
        manager().getFreeId();
    for (const int id : {4, 0, 2})
        manager().close(id);
    for (const int expected : {4, 0, 2, 5})
        EXPECT_EQ(manager().getFreeId(), expected);
}

TEST_F(CacheReadManagerTest, HandsOutAReleasedIdTwice)
{
    for (int i = 0; i < 5; ++i)
        manager().getFreeId();
    manager().releaseId(3);
    for (const int expected : {3, 3, 5})
        EXPECT_EQ(manager().getFreeId(), expected);
}

TEST_F(CacheReadManagerTest, QueuesAnIdOncePerClosing)
{
    manager().getFreeId();
    manager().close(0);
    manager().close(0);
    for (const int expected : {0, 0, 1})
        EXPECT_EQ(manager().getFreeId(), expected);
}

TEST_F(CacheReadManagerTest, IgnoresUnknownIdsWhenClosing)
{
    const int id = mapped({42});
    for (const int unknown : {-1, id + 1, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()}) {
        manager().close(unknown);
        manager().releaseId(unknown);
    }
    EXPECT_EQ(sample(id, 0), 42);
    EXPECT_EQ(manager().getFreeId(), id + 1);
}

TEST_F(CacheReadManagerTest, ForgetsEverythingWhenAllIsClosed)
{
    const int first = mapped({1});
    const int second = mapped({2});
    manager().close(first);
    manager().closeAll();
    EXPECT_EQ(sample(first, 0), MISSING);
    EXPECT_EQ(sample(second, 0), MISSING);
    EXPECT_FALSE(manager().initialize(0, fileOf({3})));
    EXPECT_EQ(manager().getFreeId(), 0);
    EXPECT_EQ(manager().getFreeId(), 1);
    EXPECT_EQ(sample(0, 0), MISSING);
}

TEST_F(CacheReadManagerTest, CanCloseAllTwice)
{
    mapped({1});
    manager().closeAll();
    manager().closeAll();
    EXPECT_EQ(manager().getFreeId(), 0);
}

// Samples

TEST_F(CacheReadManagerTest, ReadsEverySample)
{
    std::vector<std::int32_t> values(5000);
    for (std::size_t i = 0; i < values.size(); ++i)
        values[i] = static_cast<std::int32_t>(i * 2654435761U);
    const int id = mapped(values);
    for (std::size_t i = 0; i < values.size(); ++i)
        ASSERT_EQ(sample(id, static_cast<qint64>(i)), values[i]) << i;
}

TEST_F(CacheReadManagerTest, ReadsFloatsByTheirBits)
{
    const int id = mapped({0x3F800000, static_cast<std::int32_t>(0xC0490FDB)});
    EXPECT_EQ(manager().getSampleDirect(id, 0).floatValue, 1.0F);
    EXPECT_FLOAT_EQ(manager().getSampleDirect(id, 1).floatValue, -3.14159274F);
}

TEST_F(CacheReadManagerTest, AnswersMissingOutsideTheFile)
{
    const int id = mapped({10, 20, 30});
    EXPECT_EQ(sample(id, 2), 30);
    for (const qint64 index : {qint64{-1}, qint64{3}, qint64{4}, std::numeric_limits<qint64>::min(),
                               std::numeric_limits<qint64>::max(), qint64{1} << 62}) {
        SCOPED_TRACE(index);
        EXPECT_EQ(sample(id, index), MISSING);
    }
}

TEST_F(CacheReadManagerTest, AnswersMissingWithoutAMapping)
{
    const int id = manager().getFreeId();
    for (const int any :
         {id, id + 1, 100'000, -1, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()}) {
        SCOPED_TRACE(any);
        EXPECT_EQ(sample(any, 0), MISSING);
    }
}

TEST_F(CacheReadManagerTest, AnswersMissingAfterClosing)
{
    const int id = mapped({10});
    ASSERT_EQ(sample(id, 0), 10);
    manager().close(id);
    EXPECT_EQ(sample(id, 0), MISSING);
}

TEST_F(CacheReadManagerTest, AnswersMissingAfterReleasing)
{
    const int id = mapped({10});
    manager().releaseId(id);
    EXPECT_EQ(sample(id, 0), MISSING);
}

TEST_F(CacheReadManagerTest, ReadsTheFileThatWasMappedThoughAnotherTookItsPlace)
{
    const QString file = fileOf({1, 2, 3});
    const int id = manager().getFreeId();
    ASSERT_TRUE(manager().initialize(id, file));
    ASSERT_TRUE(QFile::remove(file));
    ASSERT_TRUE(cachefile::write(file, cachefile::file({7, 8, 9, 10})));
    EXPECT_EQ(sample(id, 1), 2);
    EXPECT_EQ(sample(id, 3), MISSING);
}

// Mapping

TEST_F(CacheReadManagerTest, MapsAFileUnderAReusedId)
{
    const int id = mapped({1});
    manager().close(id);
    ASSERT_EQ(manager().getFreeId(), id);
    ASSERT_TRUE(manager().initialize(id, fileOf({5, 6})));
    EXPECT_EQ(sample(id, 1), 6);
}

TEST_F(CacheReadManagerTest, MapsAFileInPlaceOfTheOneBefore)
{
    const int id = mapped({1, 2, 3});
    ASSERT_TRUE(manager().initialize(id, fileOf({9})));
    EXPECT_EQ(sample(id, 0), 9);
    EXPECT_EQ(sample(id, 1), MISSING);
    EXPECT_EQ(manager().getFreeId(), id + 1) << "mapping again gives nothing back";
}

TEST_F(CacheReadManagerTest, LeavesNothingMappedWhenASecondMappingFails)
{
    const int id = mapped({1, 2, 3});
    EXPECT_FALSE(manager().initialize(id, path("nowhere.bmd")));
    EXPECT_EQ(sample(id, 0), MISSING);
    ASSERT_TRUE(manager().initialize(id, fileOf({4})));
    EXPECT_EQ(sample(id, 0), 4);
}

TEST_F(CacheReadManagerTest, RefusesIdsThatWereNeverHandedOut)
{
    const QString file = fileOf({1});
    EXPECT_FALSE(manager().initialize(0, file));
    const int id = manager().getFreeId();
    EXPECT_FALSE(manager().initialize(id + 1, file));
    EXPECT_FALSE(manager().initialize(-1, file));
    EXPECT_FALSE(manager().initialize(std::numeric_limits<int>::max(), file));
    EXPECT_EQ(manager().getFreeId(), id + 1);
}

TEST_F(CacheReadManagerTest, MapsManyFilesAtOnce)
{
    // More than the first rows of the table; the number of open files is limited, so most ids stay empty.
    for (int i = 0; i < 5000; ++i)
        manager().getFreeId();
    for (int id = 0; id < 5000; id += 100)
        ASSERT_TRUE(manager().initialize(id, fileOf({id, id + 1})));
    for (int id = 0; id < 5000; id += 100) {
        ASSERT_EQ(sample(id, 0), id);
        ASSERT_EQ(sample(id, 1), id + 1);
        ASSERT_EQ(sample(id + 1, 0), MISSING);
    }
}

#if defined(Q_OS_LINUX)
TEST_F(CacheReadManagerTest, KeepsOneFileOpenPerMapping)
{
    const auto openFiles = [] {
        return QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::AllEntries | QDir::System).size();
    };
    const qsizetype before = openFiles();
    const int first = mapped({1});
    mapped({2});
    EXPECT_EQ(openFiles(), before + 2);
    EXPECT_TRUE(manager().initialize(first, fileOf({3})));
    EXPECT_EQ(openFiles(), before + 2);
    EXPECT_FALSE(manager().initialize(first, path("nowhere")));
    EXPECT_EQ(openFiles(), before + 1);
    manager().closeAll();
    EXPECT_EQ(openFiles(), before);
}
#endif

/// The start of a file whose count says `count`, with `samples` samples behind it.
QByteArray claiming(qint64 count, int samples)
{
    return cachefile::header() + cachefile::littleEndian(count) +
           cachefile::samples(std::vector<std::int32_t>(static_cast<std::size_t>(samples), 77));
}

struct FileCase
{
    const char* label;
    QByteArray bytes;
    qint64 readable; ///< samples that can be read, -1 for a file that is refused
};

void PrintTo(const FileCase& row, std::ostream* stream)
{
    *stream << row.bytes.size() << " bytes";
}

constexpr qint64 LARGEST = std::numeric_limits<qint64>::max();

const FileCase FILES[] = {
    {"Whole", claiming(3, 3), 3},
    {"WithBytesBehind", claiming(3, 5), 3},
    {"WithPartOfASampleBehind", claiming(3, 3) + "ab", 3},
    {"NoSamples", claiming(0, 0), 0},
    {"NoSamplesWithBytesBehind", claiming(0, 4), 0},
    {"Empty", QByteArray(), -1},
    {"OneByte", claiming(0, 0).left(1), -1},
    {"MagicOnly", claiming(0, 0).left(4), -1},
    {"SevenBytes", claiming(0, 0).left(7), -1},
    {"HeaderOnly", claiming(0, 0).left(8), -1},
    {"NineBytes", claiming(0, 0).left(9), -1},
    {"FifteenBytes", claiming(0, 0).left(15), -1},
    {"ForeignMagic", cachefile::header(0x12345678, 2) + claiming(3, 3).mid(8), -1},
    {"VersionZero", cachefile::header(MAGIC, 0) + claiming(3, 3).mid(8), -1},
    {"VersionOne", cachefile::header(MAGIC, 1) + claiming(3, 3).mid(8), -1},
    {"VersionThree", cachefile::header(MAGIC, 3) + claiming(3, 3).mid(8), -1},
    {"VersionAllBits", cachefile::header(MAGIC, 0xFFFFFFFF) + claiming(3, 3).mid(8), -1},
    {"OneSampleShort", claiming(4, 3), -1},
    {"OneByteShort", claiming(3, 3).chopped(1), -1},
    {"CountWithoutSamples", claiming(1, 0), -1},
    {"CountMinusOne", claiming(-1, 3), -1},
    {"CountSmallest", claiming(std::numeric_limits<qint64>::min(), 3), -1},
    {"CountLargest", claiming(LARGEST, 3), -1},
    {"CountTimesFourIsZero", claiming(qint64{1} << 62, 3), -1},
    {"CountTimesFourIsTwelve", claiming((qint64{1} << 62) + 3, 3), -1},
    {"CountTimesFourIsNegative", claiming(qint64{1} << 61, 3), -1},
    {"CountNegativeTimesFourIsTwelve", claiming(-(qint64{1} << 62) + 3, 3), -1},
    {"CountBeyondTheAddressSpace", claiming(qint64{1} << 58, 3), -1},
    {"CountInOtherByteOrder", claiming(qint64{3} << 56, 3), -1},
};

class CacheReadManagerFile : public CacheReadManagerTest, public testing::WithParamInterface<FileCase>
{
protected:
    void SetUp() override { ASSERT_TRUE(cachefile::write(path("file.bmd"), GetParam().bytes)); }

    void expectWhatTheFileHolds(int id) const
    {
        const qint64 readable = GetParam().readable;
        EXPECT_EQ(sample(id, -1), MISSING);
        for (qint64 index = 0; index < readable; ++index)
            EXPECT_EQ(sample(id, index), 77) << index;
        for (const qint64 index : {qMax(readable, qint64{0}), qint64{1} << 40, LARGEST})
            EXPECT_EQ(sample(id, index), MISSING) << index;
    }
};

TEST_P(CacheReadManagerFile, IsMappedExactlyWhenItIsSound)
{
    const int id = manager().getFreeId();
    EXPECT_EQ(manager().initialize(id, path("file.bmd")), GetParam().readable >= 0);
    expectWhatTheFileHolds(id);
}

TEST_P(CacheReadManagerFile, TakesThePlaceOfAnEarlierMapping)
{
    const int id = mapped({1, 2, 3, 4, 5, 6});
    EXPECT_EQ(manager().initialize(id, path("file.bmd")), GetParam().readable >= 0);
    expectWhatTheFileHolds(id);
}

TEST_P(CacheReadManagerFile, IsValidWhateverItHolds)
{
    EXPECT_TRUE(manager().isValid(path("file.bmd")));
}

INSTANTIATE_TEST_SUITE_P(Files, CacheReadManagerFile, testing::ValuesIn(FILES), RowLabel{});

// What is no file

TEST_F(CacheReadManagerTest, RefusesAMissingFile)
{
    const int id = manager().getFreeId();
    EXPECT_FALSE(manager().initialize(id, path("nowhere.bmd")));
    EXPECT_FALSE(manager().initialize(id, QString()));
    EXPECT_FALSE(manager().isValid(path("nowhere.bmd")));
    EXPECT_FALSE(manager().isValid(QString()));
}

TEST_F(CacheReadManagerTest, RefusesADirectory)
{
    const int id = manager().getFreeId();
    EXPECT_FALSE(manager().initialize(id, m_directory.path()));
    EXPECT_FALSE(manager().isValid(m_directory.path()));
    EXPECT_FALSE(manager().isValid(m_directory.path() + '/'));
}

TEST_F(CacheReadManagerTest, RefusesAPathThatGoesOnBehindItsEnd)
{
    const int id = manager().getFreeId();
    const QString hidden = fileOf({1}) + QChar(u'\0') + "more";
    EXPECT_FALSE(manager().initialize(id, hidden));
    EXPECT_FALSE(manager().isValid(hidden));
}

#if defined(Q_OS_UNIX)

TEST_F(CacheReadManagerTest, RefusesAPipeWithoutWaitingForAWriter)
{
    ASSERT_EQ(::mkfifo(path("pipe").toLocal8Bit().constData(), 0600), 0);
    const int id = mapped({1});
    EXPECT_FALSE(manager().isValid(path("pipe")));
    EXPECT_FALSE(manager().initialize(id, path("pipe")));
    EXPECT_EQ(sample(id, 0), MISSING);
}

TEST_F(CacheReadManagerTest, RefusesADevice)
{
    const int id = manager().getFreeId();
    EXPECT_FALSE(manager().initialize(id, QStringLiteral("/dev/zero")));
    EXPECT_FALSE(manager().isValid(QStringLiteral("/dev/null")));
}

TEST_F(CacheReadManagerTest, FollowsALinkToAFile)
{
    ASSERT_TRUE(QFile::link(fileOf({8}), path("link")));
    ASSERT_TRUE(QFile::link(path("nowhere"), path("dangling")));
    const int id = manager().getFreeId();
    EXPECT_TRUE(manager().initialize(id, path("link")));
    EXPECT_EQ(sample(id, 0), 8);
    EXPECT_TRUE(manager().isValid(path("link")));
    EXPECT_FALSE(manager().isValid(path("dangling")));
}

#endif

// Threads

TEST_F(CacheReadManagerTest, ServesReadersWhileOtherIdsComeAndGo)
{
    constexpr int readers = 4;
    constexpr int rounds = 400;
    std::vector<int> ids;
    for (int reader = 0; reader < readers; ++reader) {
        std::vector<std::int32_t> values;
        values.reserve(1000);
        for (int i = 0; i < 1000; ++i)
            values.push_back(reader * 1000 + i);
        ids.push_back(mapped(values));
    }
    const QString other = fileOf({-1, -2, -3});

    std::atomic<bool> finished{false};
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    threads.reserve(readers);
    std::atomic<int> running{0};
    for (int reader = 0; reader < readers; ++reader) {
        threads.emplace_back([&, reader] {
            ++running;
            const int id = ids[static_cast<std::size_t>(reader)];
            do {
                for (int i = 0; i < 1000; ++i) {
                    if (CacheReadManager::instance().getSampleDirect(id, i).intValue != reader * 1000 + i)
                        ++wrong;
                }
            } while (!finished);
        });
    }
    while (running < readers)
        std::this_thread::yield();
    // Ids go beyond the first rows of the table, which has to grow while the others read.
    int highest = 0;
    for (int round = 0; round < rounds; ++round) {
        for (int i = 0; i < 20; ++i)
            highest = manager().getFreeId();
        EXPECT_TRUE(manager().initialize(highest, other));
        EXPECT_EQ(sample(highest, 2), -3);
        manager().close(highest);
    }
    finished = true;
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
    EXPECT_GT(highest, 2048) << "the table had to grow twice";
}

} // namespace
