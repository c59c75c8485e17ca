#include <datastorage/cache/CacheTaskRead.h>

#include <support/CacheFixture.h>
#include <support/ReaderThread.h>
#include <support/RowLabel.h>
#include <support/TaskRecorder.h>

#include <QtCore/QMetaMethod>

#include <limits>
#include <string>
#include <type_traits>
#include <vector>

#include <thread>

#include <gtest/gtest.h>

using namespace vx::datastorage;

class ReadTask : public CacheFixture
{
protected:
    using Emission = TaskRecorder::Emission;

    /// Reads `path` into `array` on this thread and notes what the task says.
    void read(const QString& path, Array& array)
    {
        CacheTaskRead task;
        m_recorder.listen(task);
        task.setDataArrayInfoToRead(path, &array);
        task.run();
    }

    /// A file of the test with these bytes.
    QString fileWith(const QByteArray& bytes)
    {
        QString path = pathOf("array.bmd");
        EXPECT_TRUE(writeFile(path, bytes));
        return path;
    }

    void expectFinished(const Array& array)
    {
        EXPECT_EQ(m_recorder.emissions(), (std::vector<Emission>{{"signal_readFinished", &array, {}}}));
        EXPECT_FALSE(array.isInError());
    }

    void expectError(const Array& array, const QString& text)
    {
        EXPECT_EQ(m_recorder.emissions(), (std::vector<Emission>{{"signal_readError", &array, text}}));
        EXPECT_TRUE(array.isInError());
        EXPECT_EQ(array.getSizeLoadedInMemory(), 0);
    }

    const TaskRecorder& recorder() const { return m_recorder; }

private:
    TaskRecorder m_recorder;
};

TEST_F(ReadTask, LoadsTheSamplesOfItsFile)
{
    Array& array = make("A");
    read(fileWith(cacheFileBytes({1, -2, NAN_PATTERN})), array);
    expectFinished(array);
    EXPECT_EQ(array.getSizeLoadedInMemory(), 3);
    EXPECT_EQ(bitsOf(array.getSample(0)), 1);
    EXPECT_EQ(bitsOf(array.getSample(1)), -2);
    EXPECT_EQ(bitsOf(array.getSample(2)), NAN_PATTERN);
}

TEST_F(ReadTask, LoadsAnEmptyBody)
{
    Array& array = make("A");
    read(fileWith(cacheFileBytes({})), array);
    expectFinished(array);
    EXPECT_EQ(array.getSizeLoadedInMemory(), 0);
}

TEST_F(ReadTask, LeavesTheFileAsItIs)
{
    Array& array = make("A");
    const QString path = fileWith(cacheFileBytes({1, 2}));
    read(path, array);
    EXPECT_EQ(readFile(path), cacheFileBytes({1, 2}));
}

TEST_F(ReadTask, AMissingFileIsAnError)
{
    Array& array = make("A");
    const QString path = pathOf("missing.bmd");
    read(path, array);
    expectError(array, "CacheTaskRead::run ERROR !\nCache file " + path + " doesn't exists\n");
}

TEST_F(ReadTask, AnEmptyFileNameIsAMissingFile)
{
    Array& array = make("A");
    read(QString(), array);
    expectError(array, "CacheTaskRead::run ERROR !\nCache file  doesn't exists\n");
}

TEST_F(ReadTask, ADirectoryInPlaceOfTheFileCannotBeRead)
{
    Array& array = make("A");
    const QString path = pathOf("directory");
    ASSERT_TRUE(QDir().mkdir(path));
    QFile file(path);
    ASSERT_FALSE(file.open(QIODevice::ReadOnly));
    read(path, array);
    expectError(array,
                "CacheTaskRead::run ERROR !\n Cannot read " + path + "\nerror : " + file.errorString());
}

struct VersionRow
{
    const char* label;
    quint32 version;
    bool isAccepted;
};

const VersionRow VERSIONS[] = {
    {"Version2", 2, true},
    {"Version3", 3, true},
    {"LargestSigned", 0x7FFFFFFF, true},
    {"FirstNegativeIfSigned", 0x80000000, true},
    {"LargestUnsigned", 0xFFFFFFFF, true},
    {"Version0", 0, false},
    {"Version1", 1, false},
};

class ReadTaskVersion : public ReadTask, public ::testing::WithParamInterface<VersionRow>
{};

TEST_P(ReadTaskVersion, IsAcceptedFrom2On)
{
    Array& array = make("A");
    const QString path = fileWith(cacheFileHeader(GetParam().version) + bodyBytes({7}));
    read(path, array);
    if (GetParam().isAccepted) {
        expectFinished(array);
        EXPECT_EQ(bitsOf(array.getSample(0)), 7);
    } else {
        expectError(array, "CacheTaskRead::run ERROR !\nCache file " + path + " has bad version number\n");
    }
}

INSTANTIATE_TEST_SUITE_P(Headers, ReadTaskVersion, ::testing::ValuesIn(VERSIONS), RowLabel{});

TEST_F(ReadTask, TheMagicIsNotLookedAt)
{
    Array& array = make("A");
    read(fileWith(cacheFileHeader(2, 0) + bodyBytes({7})), array);
    expectFinished(array);
    EXPECT_EQ(bitsOf(array.getSample(0)), 7);
}

class ReadTaskShortHeader : public ReadTask, public ::testing::WithParamInterface<int>
{};

TEST_P(ReadTaskShortHeader, IsABadVersion)
{
    Array& array = make("A");
    const QString path = fileWith(cacheFileHeader().left(GetParam()));
    read(path, array);
    expectError(array, "CacheTaskRead::run ERROR !\nCache file " + path + " has bad version number\n");
}

INSTANTIATE_TEST_SUITE_P(Bytes, ReadTaskShortHeader, ::testing::Range(0, 8),
                         [](const auto& row) { return "Of" + std::to_string(row.param); });

class ReadTaskShortCount : public ReadTask, public ::testing::WithParamInterface<int>
{};

TEST_P(ReadTaskShortCount, LoadsNothing)
{
    Array& array = make("A");
    read(fileWith(cacheFileBytes({1, 2}).left(GetParam())), array);
    EXPECT_EQ(recorder().emissions().size(), 1U);
    EXPECT_EQ(array.getSizeLoadedInMemory(), 0);
}

INSTANTIATE_TEST_SUITE_P(Bytes, ReadTaskShortCount, ::testing::Range(8, 16),
                         [](const auto& row) { return "Of" + std::to_string(row.param); });

struct TruncationRow
{
    const char* label;
    int count;
    qint64 bytesThere; ///< of samples
};

const TruncationRow TRUNCATIONS[] = {
    {"NothingThere", 3, 0},
    {"OneByteMissing", 3, 11},
    {"OneSampleMissing", 1000, 3996},
    {"OneChunkMissing", 512, 1024},
    {"MoreThanHalfMissing", 100000, 40000},
};

class ReadTaskTruncation : public ReadTask, public ::testing::WithParamInterface<TruncationRow>
{};

TEST_P(ReadTaskTruncation, IsAReadError)
{
    Array& array = make("A");
    const QByteArray whole = cacheFileBytes(sequence(GetParam().count));
    const QString path = fileWith(whole.left(16 + GetParam().bytesThere));
    read(path, array);
    EXPECT_EQ(recorder().emissions(),
              (std::vector<Emission>{{"signal_readError", &array,
                                      "CacheTaskRead::run ERROR !\nError while reading data from " + path}}));
    EXPECT_TRUE(array.isInError());
}

INSTANTIATE_TEST_SUITE_P(Files, ReadTaskTruncation, ::testing::ValuesIn(TRUNCATIONS), RowLabel{});

struct CountRow
{
    const char* label;
    qint64 count;
};

const CountRow IMPOSSIBLE_COUNTS[] = {
    {"MinusOne", -1},
    {"Smallest", std::numeric_limits<qint64>::min()},
    {"OneTooMany", 4},
    {"FourTimesIsZero", qint64(1) << 62},
    {"FourTimesIsThree", (qint64(1) << 62) + 3},
    {"FourTimesOverflows", qint64(1) << 61},
    {"Huge", qint64(1) << 46},
    {"Largest", std::numeric_limits<qint64>::max()},
};

class ReadTaskImpossibleCount : public ReadTask, public ::testing::WithParamInterface<CountRow>
{};

TEST_P(ReadTaskImpossibleCount, IsAReadError)
{
    Array& array = make("A");
    const QString path = fileWith(cacheFileHeader() + countBytes(GetParam().count) + sampleBytes({1, 2, 3}));
    read(path, array);
    EXPECT_EQ(recorder().emissions(),
              (std::vector<Emission>{{"signal_readError", &array,
                                      "CacheTaskRead::run ERROR !\nError while reading data from " + path}}));
    EXPECT_TRUE(array.isInError());
    ASSERT_LE(array.getSizeLoadedInMemory(), 4);
    for (int i = 0; i < array.getSizeLoadedInMemory(); ++i) {
        EXPECT_EQ(bitsOf(array.getSample(i)), i < 3 ? i + 1 : NAN_PATTERN);
    }
}

INSTANTIATE_TEST_SUITE_P(Counts, ReadTaskImpossibleCount, ::testing::ValuesIn(IMPOSSIBLE_COUNTS), RowLabel{});

TEST_F(ReadTask, BytesBehindTheBodyAreIgnored)
{
    Array& array = make("A");
    read(fileWith(cacheFileBytes({1, 2}) + sampleBytes({3, 4, 5})), array);
    expectFinished(array);
    EXPECT_EQ(array.getSizeLoadedInMemory(), 2);
}

TEST_F(ReadTask, SpeaksOnTheThreadThatRunsIt)
{
    Array& array = make("A");
    const QString path = fileWith(cacheFileBytes({1}));
    CacheTaskRead task;
    TaskRecorder recorder;
    recorder.listen(task);
    task.setDataArrayInfoToRead(path, &array);
    std::thread([&task] { task.run(); }).join();
    ASSERT_EQ(recorder.threads().size(), 1U);
    EXPECT_NE(recorder.threads().front(), QThread::currentThread());
}

TEST_F(ReadTask, IsAnObjectFirstAndARunnableSecond)
{
    static_assert(std::is_convertible_v<CacheTaskRead*, QObject*>);
    static_assert(std::is_convertible_v<CacheTaskRead*, QRunnable*>);
    CacheTaskRead task;
    EXPECT_EQ(static_cast<void*>(static_cast<QObject*>(&task)), static_cast<void*>(&task));
    EXPECT_GT(static_cast<void*>(static_cast<QRunnable*>(&task)), static_cast<void*>(&task));
    EXPECT_EQ(task.parent(), nullptr);
}

TEST_F(ReadTask, DeclaresTheFinishedSignalBeforeTheErrorSignal)
{
    const QMetaObject& meta = CacheTaskRead::staticMetaObject;
    ASSERT_EQ(meta.methodCount() - meta.methodOffset(), 2);
    const QMetaMethod finished = meta.method(meta.methodOffset());
    const QMetaMethod error = meta.method(meta.methodOffset() + 1);
    EXPECT_EQ(finished.name(), QByteArray("signal_readFinished"));
    EXPECT_EQ(finished.methodType(), QMetaMethod::Signal);
    EXPECT_EQ(finished.parameterNames(), QByteArrayList{"dataArray"});
    EXPECT_EQ(error.name(), QByteArray("signal_readError"));
    EXPECT_EQ(error.methodType(), QMetaMethod::Signal);
    EXPECT_EQ(error.parameterNames(), (QByteArrayList{"dataArray", "error"}));
    EXPECT_EQ(error.parameterTypes().at(1), QByteArray("QString"));
}
