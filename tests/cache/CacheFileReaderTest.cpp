#include <datastorage/cache/CacheFileReader_p.h>

#include <support/CacheFileBytes.h>
#include <support/Printers.h>
#include <support/RowLabel.h>

#include <QtCore/QDir>
#include <QtCore/QTemporaryDir>

#include <cstdint>
#include <limits>
#include <vector>

#include <gtest/gtest.h>

#if defined(Q_OS_UNIX)
#include <sys/stat.h>
#include <unistd.h>
#endif

using namespace vx::datastorage;

namespace {

using Values = std::vector<std::int32_t>;

constexpr qint64 largest = std::numeric_limits<qint64>::max();
constexpr qint64 smallest = std::numeric_limits<qint64>::min();

QByteArray bytesWithCount(qint64 count, const Values& samples)
{
    return cachefile::header() + cachefile::littleEndian(count) + cachefile::samples(samples);
}

class CacheFileReaderTest : public testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(m_directory.isValid()); }

    QString path(const QString& name) const { return m_directory.filePath(name); }

    QString fileWith(const QByteArray& bytes) const
    {
        QString name = path("file");
        EXPECT_TRUE(cachefile::write(name, bytes));
        return name;
    }

    static Values read(CacheFileReader& file, qint64 first, qint64 end, std::size_t room)
    {
        std::vector<DataTypeBase> out(room);
        const qint64 count = file.readSamples(first, end, out);
        Values values;
        for (qint64 i = 0; i < count; ++i)
            values.push_back(out.at(static_cast<std::size_t>(i)).intValue);
        return values;
    }

    static QString missing(const QString& name)
    {
        return "CacheTaskRead::run ERROR !\nCache file " + name + " doesn't exists\n";
    }
    static QString refused(const QString& name, const QString& reason)
    {
        return "CacheTaskRead::run ERROR !\n Cannot read " + name + "\nerror : " + reason;
    }
    /// What is said when `name` is refused as a plain open of it is.
    static QString refusedPlainly(const QString& name)
    {
        QFile file(name);
        EXPECT_FALSE(file.open(QIODevice::ReadOnly));
        return refused(name, file.errorString());
    }

    static void expectRefused(const QString& name, const QString& text)
    {
        CacheFileReader file;
        EXPECT_FALSE(file.open(name));
        file.readHead();
        EXPECT_EQ(file.version(), 0U);
        EXPECT_EQ(file.sampleCount(), -1);
        EXPECT_FALSE(file.hasRoomForSamples());
        EXPECT_EQ(read(file, 0, 1, 1), Values());
        CacheFileReader again;
        EXPECT_EQ(openCacheFile(again, name), text);
    }

    QTemporaryDir m_directory;
};

// What opening looks at

enum class Verdict
{
    Good,
    BadVersion,
    Unreadable
};

struct HeadRow
{
    const char* label;
    QByteArray bytes;
    quint32 version;
    qint64 count;
    Verdict verdict;
    qint64 held; ///< whole samples in the file
};

const QByteArray WHOLE = cachefile::file({1, 2, 3});

const HeadRow HEADS[] = {
    {"Whole", WHOLE, 2, 3, Verdict::Good, 3},
    {"NoSamples", cachefile::file({}), 2, 0, Verdict::Good, 0},
    {"MoreThanItsCount", WHOLE + "more", 2, 3, Verdict::Good, 4},
    {"AnyMagic", cachefile::header(1, 2) + WHOLE.mid(8), 2, 3, Verdict::Good, 3},
    {"NextVersion", cachefile::header(0xF83E9FCC, 3) + WHOLE.mid(8), 3, 3, Verdict::Good, 3},
    {"LastVersion", cachefile::header(0xF83E9FCC, 1) + WHOLE.mid(8), 1, 3, Verdict::BadVersion, 3},
    {"Empty", QByteArray(), 0, -1, Verdict::BadVersion, 0},
    {"ShortHeader", WHOLE.left(7), 0, -1, Verdict::BadVersion, 0},
    {"HeaderAlone", WHOLE.left(8), 2, -1, Verdict::Unreadable, 0},
    {"ShortCount", WHOLE.left(15), 2, -1, Verdict::Unreadable, 0},
    {"OldVersionAndShortCount", cachefile::header(0xF83E9FCC, 1) + "count", 1, -1, Verdict::BadVersion, 0},
    {"OneByteShort", WHOLE.left(27), 2, 3, Verdict::Unreadable, 2},
    {"CountBeyondLength", bytesWithCount(4, {1, 2, 3}), 2, 4, Verdict::Unreadable, 3},
    {"NegativeCount", bytesWithCount(-1, {1, 2, 3}), 2, -1, Verdict::Unreadable, 3},
    {"SmallestCount", bytesWithCount(smallest, {1, 2, 3}), 2, smallest, Verdict::Unreadable, 3},
    {"LargestCount", bytesWithCount(largest, {1, 2, 3}), 2, largest, Verdict::Unreadable, 3},
    {"BytesOfCountOverflowToZero", bytesWithCount(qint64{1} << 62, {1, 2, 3}), 2, qint64{1} << 62,
     Verdict::Unreadable, 3},
    {"BytesOfCountOverflowToTwelve", bytesWithCount((qint64{1} << 62) + 3, {1, 2, 3}), 2,
     (qint64{1} << 62) + 3, Verdict::Unreadable, 3},
};

class CacheFileReaderHead : public CacheFileReaderTest, public testing::WithParamInterface<HeadRow>
{
protected:
    static QString textOf(Verdict verdict, const QString& name)
    {
        const QString start("CacheTaskRead::run ERROR !\n");
        switch (verdict) {
        case Verdict::BadVersion:
            return start + "Cache file " + name + " has bad version number\n";
        case Verdict::Unreadable:
            return start + "Error while reading data from " + name;
        default:
            return {};
        }
    }
};

TEST_P(CacheFileReaderHead, IsReadAndJudged)
{
    const HeadRow& row = GetParam();
    const QString name = fileWith(row.bytes);
    CacheFileReader file;
    EXPECT_EQ(openCacheFile(file, name), textOf(row.verdict, name));
    EXPECT_EQ(file.version(), row.version);
    EXPECT_EQ(file.sampleCount(), row.count);
    EXPECT_EQ(file.hasRoomForSamples(), row.count >= 0 && row.count <= row.held);
}

TEST_P(CacheFileReaderHead, DecidesNotHowMuchIsRead)
{
    const HeadRow& row = GetParam();
    CacheFileReader file;
    ASSERT_TRUE(file.open(fileWith(row.bytes)));
    file.readHead();
    EXPECT_EQ(read(file, 0, largest, 8).size(), static_cast<std::size_t>(row.held));
}

INSTANTIATE_TEST_SUITE_P(Rows, CacheFileReaderHead, testing::ValuesIn(HEADS), RowLabel{});

// Which samples are read

struct RangeRow
{
    const char* label;
    qint64 first;
    qint64 end;
    std::size_t room;
    Values samples;
};

const RangeRow RANGES[] = {
    {"All", 0, 4, 4, {10, 11, 12, 13}},
    {"AsManyAsThereIsRoomFor", 0, 4, 2, {10, 11}},
    {"NoRoom", 0, 4, 0, {}},
    {"FromTheMiddle", 2, 4, 4, {12, 13}},
    {"ToTheMiddle", 1, 3, 4, {11, 12}},
    {"EndBeyondTheFile", 3, largest, 4, {13}},
    {"FirstAtTheEnd", 4, 5, 4, {}},
    {"FirstBeyondTheFile", 5, largest, 4, {}},
    {"FirstBehindTheEnd", 2, 1, 4, {}},
    {"BytesOfFirstOverflowToZero", qint64{1} << 62, largest, 4, {}},
    {"LargestFirst", largest, largest, 4, {}},
    {"NegativeFirst", -1, 4, 4, {}},
    {"SmallestFirst", smallest, 4, 4, {}},
    {"NegativeEnd", 0, -1, 4, {}},
};

class CacheFileReaderRange : public CacheFileReaderTest, public testing::WithParamInterface<RangeRow>
{};

TEST_P(CacheFileReaderRange, IsCutToWhatTheFileHas)
{
    CacheFileReader file;
    // Half a sample more: what is not whole is none.
    ASSERT_EQ(openCacheFile(file, fileWith(cachefile::file({10, 11, 12, 13}) + "12")), QString());
    EXPECT_EQ(read(file, GetParam().first, GetParam().end, GetParam().room), GetParam().samples);
}

INSTANTIATE_TEST_SUITE_P(Rows, CacheFileReaderRange, testing::ValuesIn(RANGES), RowLabel{});

TEST_F(CacheFileReaderTest, GivesWhatIsLeftOfAFileThatWasCutOff)
{
    const QString name = fileWith(cachefile::file({10, 11, 12}));
    CacheFileReader file;
    ASSERT_EQ(openCacheFile(file, name), QString());
    ASSERT_TRUE(QFile::resize(name, 16 + 6));
    EXPECT_EQ(read(file, 0, 3, 3), Values{10});
    EXPECT_EQ(read(file, 2, 3, 3), Values());
}

TEST_F(CacheFileReaderTest, SeesSamplesThatWereAppendedSinceItWasOpened)
{
    const QString name = fileWith(cachefile::file({10}));
    CacheFileReader file;
    ASSERT_TRUE(file.open(name));
    ASSERT_TRUE(QFile::exists(fileWith(cachefile::file({10, 11, 12}))));
    file.readHead();
    EXPECT_TRUE(file.hasRoomForSamples());
    EXPECT_EQ(read(file, 0, file.sampleCount(), 8), (Values{10, 11, 12}));
}

// What is opened

TEST_F(CacheFileReaderTest, AMissingFileIsRefused)
{
    expectRefused(path("missing"), missing(path("missing")));
}

TEST_F(CacheFileReaderTest, NoPathIsRefused)
{
    expectRefused(QString(), missing(QString()));
}

TEST_F(CacheFileReaderTest, ADirectoryIsRefused)
{
    expectRefused(m_directory.path(), refusedPlainly(m_directory.path()));
}

TEST_F(CacheFileReaderTest, APathDoesNotEndAtAZeroByte)
{
    const QString longer = fileWith(WHOLE) + QChar(u'\0') + "more";
    expectRefused(longer, missing(longer));
}

#if defined(Q_OS_UNIX)
TEST_F(CacheFileReaderTest, AnUnreadableFileIsRefused)
{
    const QString name = fileWith(WHOLE);
    if (::geteuid() == 0)
        GTEST_SKIP() << "nothing is unreadable for root";
    ASSERT_EQ(::chmod(QFile::encodeName(name).constData(), 0), 0);
    expectRefused(name, refusedPlainly(name));
}

TEST_F(CacheFileReaderTest, APipeIsRefusedWithoutWaitingForItsWriter)
{
    const QString name = path("pipe");
    ASSERT_EQ(::mkfifo(QFile::encodeName(name).constData(), 0600), 0);
    expectRefused(name, refused(name, QFile().errorString()));
}

TEST_F(CacheFileReaderTest, ADeviceIsRefused)
{
    const QString name("/dev/zero");
    expectRefused(name, refused(name, QFile().errorString()));
}

TEST_F(CacheFileReaderTest, ALinkLeadsToItsFile)
{
    ASSERT_TRUE(QFile::link(fileWith(WHOLE), path("link")));
    CacheFileReader file;
    ASSERT_EQ(openCacheFile(file, path("link")), QString());
    EXPECT_EQ(read(file, 0, file.sampleCount(), 8), (Values{1, 2, 3}));
}

TEST_F(CacheFileReaderTest, ALinkThatLeadsNowhereIsAMissingFile)
{
    ASSERT_TRUE(QFile::link(path("nowhere"), path("link")));
    expectRefused(path("link"), missing(path("link")));
}
#endif

#if defined(Q_OS_LINUX)
TEST_F(CacheFileReaderTest, LeavesNothingOpen)
{
    const auto openFiles = [] {
        return QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::AllEntries | QDir::System).size();
    };
    ASSERT_EQ(::mkfifo(path("pipe").toLocal8Bit().constData(), 0600), 0);
    const QString good = fileWith(WHOLE);
    const qsizetype before = openFiles();
    for (const QString& name : {good, path("missing"), m_directory.path(), path("pipe")}) {
        CacheFileReader file;
        EXPECT_EQ(openCacheFile(file, name).isEmpty(), name == good);
        EXPECT_EQ(openFiles(), before + (name == good ? 1 : 0));
    }
    EXPECT_EQ(openFiles(), before);
}
#endif

} // namespace
