#include <datastorage/cache/CacheTaskWrite.h>

#include <support/CacheFixture.h>
#include <support/Faults.h>
#include <support/RowLabel.h>
#include <support/TaskRecorder.h>

#include <QtCore/QFileInfo>
#include <QtCore/QMetaMethod>
#include <QtCore/QRegularExpression>

#include <cerrno>
#include <string>
#include <type_traits>
#include <vector>

#include <thread>

#include <gtest/gtest.h>

using namespace vx::datastorage;

namespace {

/// Opens what a write task shows to its subclasses.
struct OpenWriteTask : CacheTaskWrite
{
    using CacheTaskWrite::finishWrite;
    using CacheTaskWrite::getDetailedError;
};

} // namespace

class WriteTask : public CacheFixture
{
protected:
    using Emission = TaskRecorder::Emission;

    void SetUp() override
    {
        CacheFixture::SetUp();
        m_path = pathOf("array.bmd");
    }

    /// Writes `array` to path() on this thread and notes what the task says.
    void write(Array& array, bool append = false)
    {
        CacheTaskWrite task;
        m_recorder.listen(task);
        task.setDataArrayInfoToWrite(m_path, &array);
        task.setAppendMode(append);
        task.run();
    }

    void putFile(const QByteArray& bytes) const { ASSERT_TRUE(writeFile(m_path, bytes)); }

    void expectFinished(const Array& array) const
    {
        EXPECT_EQ(m_recorder.emissions(), (std::vector<Emission>{{"signal_writeFinished", &array, {}}}));
        EXPECT_FALSE(array.isInError());
    }

    void expectError(const Array& array, const QString& text) const
    {
        EXPECT_EQ(m_recorder.emissions(), (std::vector<Emission>{{"signal_writeError", &array, text}}));
    }

    /// One error signal whose text is `start`, the file, and a detail of the documented shape.
    void expectDetailedError(const Array& array, const QString& start) const
    {
        ASSERT_EQ(m_recorder.emissions().size(), 1U);
        const Emission& emission = m_recorder.emissions().front();
        EXPECT_EQ(emission.signalName, QString("signal_writeError"));
        EXPECT_EQ(emission.array, &array);
        const QString beginning = start + "\nError while writing data to " + m_path + "\n";
        ASSERT_TRUE(emission.error.startsWith(beginning)) << emission.error.toStdString();
        const QRegularExpression detail("^\\(.+\\)(, GetLastError returned : 0x[1-9a-f][0-9a-f]*)?$");
        EXPECT_TRUE(detail.match(emission.error.mid(beginning.size())).hasMatch())
            << emission.error.toStdString();
        EXPECT_TRUE(array.isInError());
    }

    QByteArray written() const { return readFile(m_path); }
    const QString& path() const { return m_path; }
    void setPath(const QString& path) { m_path = path; }
    const TaskRecorder& recorder() const { return m_recorder; }

private:
    QString m_path;
    TaskRecorder m_recorder;
};

// ---- new files

TEST_F(WriteTask, ANewFileIsHeaderAndBody)
{
    Array& array = make("A");
    add(array, {1, -2, NAN_PATTERN});
    write(array);
    expectFinished(array);
    EXPECT_EQ(written(), QByteArray::fromHex("cc9f3ef8"
                                             "02000000"
                                             "0300000000000000"
                                             "01000000"
                                             "feffffff"
                                             "0000c07f"));
}

TEST_F(WriteTask, ANewFileOfAnEmptyArrayHasAZeroCount)
{
    Array& array = make("A");
    write(array);
    expectFinished(array);
    EXPECT_EQ(written(), cacheFileBytes({}));
}

TEST_F(WriteTask, ANewFileIsOpenToEverybodyWhateverTheMask)
{
    Array& array = make("A");
    add(array, {1});
    for (const mode_t mask : {mode_t(0), mode_t(022), mode_t(077), mode_t(0777)}) {
        SCOPED_TRACE(mask);
        const mode_t previous = ::umask(mask);
        write(array);
        ::umask(previous);
        EXPECT_EQ(permissionsOf(path()), 0666);
        ASSERT_TRUE(QFile::remove(path()));
    }
    EXPECT_EQ(recorder().emissions().size(), 4U);
}

TEST_F(WriteTask, AnAppendToAMissingFileWritesItWhole)
{
    Array& array = make("A");
    add(array, {1, 2});
    write(array, true);
    expectFinished(array);
    EXPECT_EQ(written(), cacheFileBytes({1, 2}));
}

TEST_F(WriteTask, ALargeArrayIsWrittenWhole)
{
    Array& array = make("A");
    add(array, sequence(300000));
    write(array);
    expectFinished(array);
    EXPECT_EQ(written(), cacheFileBytes(sequence(300000)));
}

// ---- current files

TEST_F(WriteTask, ACurrentFileIsUpdated)
{
    Array& array = make("A");
    putFile(cacheFileBytes({10, 11}));
    add(array, {1, 2, 3});
    write(array);
    expectFinished(array);
    EXPECT_EQ(written(), cacheFileBytes({10, 11, 3}));
}

TEST_F(WriteTask, AnAppendAddsEverySampleInMemory)
{
    Array& array = make("A");
    putFile(cacheFileBytes({10, 11}));
    add(array, {1, 2, 3});
    write(array, true);
    expectFinished(array);
    EXPECT_EQ(written(), cacheFileBytes({10, 11, 1, 2, 3}));
}

TEST_F(WriteTask, ACurrentFileKeepsAForeignMagic)
{
    Array& array = make("A");
    putFile(cacheFileHeader(2, 0x12345678) + bodyBytes({10}));
    add(array, {1, 2});
    write(array);
    expectFinished(array);
    EXPECT_EQ(written(), cacheFileHeader(2, 0x12345678) + bodyBytes({10, 2}));
}

TEST_F(WriteTask, BatchModeFollowsTheAppendFlag)
{
    Array& array = make("A");
    add(array, {1});
    write(array, true);
    EXPECT_TRUE(array.isUseBatchMode());
    write(array, false);
    EXPECT_FALSE(array.isUseBatchMode());
}

TEST_F(WriteTask, BatchModeFollowsTheAppendFlagOfAWriteThatFails)
{
    Array& array = make("A");
    setPath(pathOf("missing/array.bmd"));
    write(array, true);
    EXPECT_TRUE(array.isUseBatchMode());
    write(array, false);
    EXPECT_FALSE(array.isUseBatchMode());
}

// ---- outdated files

struct OutdatedRow
{
    const char* label;
    QByteArray bytes;
};

const OutdatedRow OUTDATED[] = {
    {"Empty", {}},
    {"OneByte", "x"},
    {"MagicOnly", cacheFileHeader().left(4)},
    {"SevenBytes", cacheFileHeader().left(7)},
    {"Version0", cacheFileHeader(0) + bodyBytes({9, 9, 9, 9, 9})},
    {"Version1", cacheFileHeader(1) + bodyBytes({9, 9, 9, 9, 9})},
    {"Version3", cacheFileHeader(3) + bodyBytes({9, 9, 9, 9, 9})},
    {"LargestVersion", cacheFileHeader(0xFFFFFFFF) + bodyBytes({9, 9, 9, 9, 9})},
};

class WriteTaskOutdated : public WriteTask, public ::testing::WithParamInterface<OutdatedRow>
{};

TEST_P(WriteTaskOutdated, FileIsReplaced)
{
    for (const bool append : {false, true}) {
        SCOPED_TRACE(append);
        Array& array = make("A");
        add(array, {1, 2});
        putFile(GetParam().bytes);
        QFile::setPermissions(path(), QFileDevice::ReadOwner | QFileDevice::WriteOwner);
        write(array, append);
        EXPECT_EQ(written(), cacheFileBytes({1, 2}));
        EXPECT_EQ(permissionsOf(path()), 0666);
        EXPECT_FALSE(array.isInError());
    }
    ASSERT_EQ(recorder().emissions().size(), 2U);
    EXPECT_EQ(recorder().emissions()[0].signalName, QString("signal_writeFinished"));
    EXPECT_EQ(recorder().emissions()[1].signalName, QString("signal_writeFinished"));
}

TEST_P(WriteTaskOutdated, FileIsDeletedFirst)
{
    Array& array = make("A");
    add(array, {1, 2});
    putFile(GetParam().bytes);
    QFile old(path()); // a deleted file keeps its bytes for who has it open
    ASSERT_TRUE(old.open(QIODevice::ReadOnly));
    write(array);
    EXPECT_EQ(old.readAll(), GetParam().bytes);
    EXPECT_EQ(written(), cacheFileBytes({1, 2}));
}

INSTANTIATE_TEST_SUITE_P(Files, WriteTaskOutdated, ::testing::ValuesIn(OUTDATED), RowLabel{});

// ---- failures

TEST_F(WriteTask, AMissingDirectoryCannotBeOpened)
{
    Array& array = make("A");
    setPath(pathOf("missing/array.bmd"));
    write(array);
    expectError(array, "CacheTaskWrite::run ERROR !\nCannot open file " + path());
    EXPECT_FALSE(array.isInError()) << "the task does not mark this error itself";
}

TEST_F(WriteTask, ADirectoryInPlaceOfTheFileCannotBeOpened)
{
    Array& array = make("A");
    add(array, {1});
    setPath(pathOf("directory"));
    ASSERT_TRUE(QDir().mkdir(path()));
    write(array);
    expectError(array, "CacheTaskWrite::run ERROR !\nCannot open file " + path());
    EXPECT_FALSE(array.isInError());
    EXPECT_TRUE(QFileInfo(path()).isDir());
}

TEST_F(WriteTask, AnEmptyFileThatStaysCannotBeDeleted)
{
    Array& array = make("A");
    add(array, {1});
    putFile({});
    ASSERT_EQ(::chmod(QFile::encodeName(path()).constData(), 0666), 0);
    {
        const SealedDirectory sealed(QFileInfo(path()).path());
        if (!sealed.isSealed()) {
            GTEST_SKIP() << "this process cannot change its user";
        }
        write(array);
    }
    expectError(array, "CacheTaskWrite::run ERROR !\nCannot delete empty file " + path());
    EXPECT_FALSE(array.isInError());
    EXPECT_EQ(written(), QByteArray());
}

TEST_F(WriteTask, AnOutdatedFileThatStaysIsReportedAndStillReplaced)
{
    Array& array = make("A");
    add(array, {1, 2});
    putFile(cacheFileHeader(3) + bodyBytes({9, 9, 9}));
    ASSERT_EQ(::chmod(QFile::encodeName(path()).constData(), 0666), 0);
    {
        const SealedDirectory sealed(QFileInfo(path()).path());
        if (!sealed.isSealed()) {
            GTEST_SKIP() << "this process cannot change its user";
        }
        write(array);
    }
    EXPECT_EQ(recorder().emissions(),
              (std::vector<Emission>{
                  {"signal_writeError", &array, "CacheTaskWrite::run ERROR !\nCannot delete file " + path()},
                  {"signal_writeFinished", &array, {}},
              }));
    EXPECT_FALSE(array.isInError());
    EXPECT_EQ(written(), cacheFileBytes({1, 2}));
}

TEST_F(WriteTask, AFullDiskFailsTheWriteOfALargeBody)
{
    Array& array = make("A");
    add(array, sequence(500000));
    {
        const FullDisk full(4096);
        write(array);
    }
    expectDetailedError(array, "CacheTaskWrite::run ERROR (write failed !) !");
    EXPECT_LE(written().size(), 4096);
    EXPECT_EQ(array.getSizeLoadedInMemory(), 500000) << "the samples stay";
    EXPECT_EQ(samplesOf(array), sequence(500000));
}

TEST_F(WriteTask, AFullDiskFailsTheWriteOfASmallBody)
{
    Array& array = make("A");
    add(array, {1, 2, 3});
    {
        const FullDisk full(20);
        write(array);
    }
    ASSERT_EQ(recorder().emissions().size(), 1U);
    EXPECT_EQ(recorder().emissions()[0].signalName, QString("signal_writeError"));
    const bool flushFailed = recorder().onlyError().contains("(cannot flush !)");
    expectDetailedError(array, flushFailed ? "CacheTaskWrite::run ERROR (cannot flush !) !"
                                           : "CacheTaskWrite::run ERROR (write failed !) !");
    EXPECT_EQ(samplesOf(array), (std::vector<std::int32_t>{1, 2, 3}));
}

TEST_F(WriteTask, AFullDiskFailsAnAppend)
{
    for (const int count : {3, 500000}) {
        SCOPED_TRACE(count);
        Array& array = make("A");
        putFile(cacheFileBytes({10, 11}));
        add(array, sequence(count));
        TaskRecorder local;
        CacheTaskWrite task;
        local.listen(task);
        task.setDataArrayInfoToWrite(path(), &array);
        task.setAppendMode(true);
        {
            const FullDisk full(24);
            task.run();
        }
        ASSERT_EQ(local.emissions().size(), 1U);
        EXPECT_EQ(local.emissions()[0].signalName, QString("signal_writeError"));
        EXPECT_TRUE(local.onlyError().contains("(write failed !)") ||
                    local.onlyError().contains("(cannot flush !)"))
            << local.onlyError().toStdString();
        EXPECT_TRUE(array.isInError());
        EXPECT_EQ(samplesOf(array), sequence(count));
        EXPECT_EQ(written().left(8), cacheFileHeader());
        EXPECT_EQ(written().mid(16, 8), sampleBytes({10, 11})) << "what was on disk stays";
    }
}

TEST_F(WriteTask, AWriteAfterAFailedOneWritesEverything)
{
    Array& array = make("A");
    add(array, sequence(500000));
    {
        const FullDisk full(4096);
        write(array);
    }
    ASSERT_TRUE(array.isInError());
    array.setReadWriteError(false);
    write(array);
    ASSERT_EQ(recorder().emissions().size(), 2U);
    EXPECT_EQ(recorder().emissions()[1].signalName, QString("signal_writeFinished"));
    EXPECT_EQ(written(), cacheFileBytes(sequence(500000)));
}

// ---- the end of a write

TEST_F(WriteTask, FinishWriteSaysFinishedOnceTheBytesAreOut)
{
    Array& array = make("A");
    OpenWriteTask task;
    TaskRecorder recorder;
    recorder.listen(task);
    task.setDataArrayInfoToWrite(path(), &array);
    QFile file(path());
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("buffered");
    task.finishWrite(file, true);
    EXPECT_EQ(recorder.emissions(), (std::vector<Emission>{{"signal_writeFinished", &array, {}}}));
    EXPECT_FALSE(file.isOpen());
    EXPECT_EQ(written(), QByteArray("buffered"));
    EXPECT_FALSE(array.isInError());
}

TEST_F(WriteTask, FinishWriteReportsAFailedWrite)
{
    Array& array = make("A");
    OpenWriteTask task;
    TaskRecorder recorder;
    recorder.listen(task);
    task.setDataArrayInfoToWrite(path(), &array);
    QFile file(path());
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    errno = 0;
    task.finishWrite(file, false);
    ASSERT_EQ(recorder.emissions().size(), 1U);
    EXPECT_EQ(recorder.onlyError(),
              "CacheTaskWrite::run ERROR (write failed !) !\nError while writing data to " + path() + "\n(" +
                  file.errorString() + ")");
    EXPECT_FALSE(file.isOpen());
    EXPECT_TRUE(array.isInError());
}

TEST_F(WriteTask, FinishWriteReportsAFailedFlush)
{
    QFile file("/dev/full");
    if (!file.open(QIODevice::WriteOnly)) {
        GTEST_SKIP() << "no device that is always full";
    }
    Array& array = make("A");
    OpenWriteTask task;
    TaskRecorder recorder;
    recorder.listen(task);
    task.setDataArrayInfoToWrite("the file's name", &array);
    file.write("buffered");
    task.finishWrite(file, true);
    ASSERT_EQ(recorder.emissions().size(), 1U);
    EXPECT_EQ(recorder.onlyError(),
              QString("CacheTaskWrite::run ERROR (cannot flush !) !\nError while writing data to the "
                      "file's name\n(No space left on device), GetLastError returned : 0x1c"));
    EXPECT_TRUE(array.isInError());
}

struct SystemErrorRow
{
    const char* label;
    int code;
    const char* suffix;
};

const SystemErrorRow SYSTEM_ERRORS[] = {
    {"None", 0, ""},
    {"One", 1, ", GetLastError returned : 0x1"},
    {"Ten", 10, ", GetLastError returned : 0xa"},
    {"NoSpace", 28, ", GetLastError returned : 0x1c"},
    {"Large", 0x70, ", GetLastError returned : 0x70"},
    {"Larger", 0xabc, ", GetLastError returned : 0xabc"},
};

class WriteTaskDetail : public WriteTask, public ::testing::WithParamInterface<SystemErrorRow>
{};

TEST_P(WriteTaskDetail, HoldsTheSystemErrorInHexadecimalUnlessItIs0)
{
    const OpenWriteTask task;
    QFile file(path());
    const QString start = "(" + file.errorString() + ")";
    errno = GetParam().code;
    const QString detail = task.getDetailedError(file);
    EXPECT_EQ(detail, start + GetParam().suffix);
}

INSTANTIATE_TEST_SUITE_P(Codes, WriteTaskDetail, ::testing::ValuesIn(SYSTEM_ERRORS), RowLabel{});

// ---- the object

TEST_F(WriteTask, SpeaksOnTheThreadThatRunsIt)
{
    Array& array = make("A");
    CacheTaskWrite task;
    TaskRecorder recorder;
    recorder.listen(task);
    task.setDataArrayInfoToWrite(path(), &array);
    std::thread([&task] { task.run(); }).join();
    ASSERT_EQ(recorder.threads().size(), 1U);
    EXPECT_NE(recorder.threads().front(), QThread::currentThread());
}

TEST_F(WriteTask, IsAnObjectFirstAndARunnableSecond)
{
    static_assert(std::is_convertible_v<CacheTaskWrite*, QObject*>);
    static_assert(std::is_convertible_v<CacheTaskWrite*, QRunnable*>);
    CacheTaskWrite task;
    EXPECT_EQ(static_cast<void*>(static_cast<QObject*>(&task)), static_cast<void*>(&task));
    EXPECT_GT(static_cast<void*>(static_cast<QRunnable*>(&task)), static_cast<void*>(&task));
    EXPECT_EQ(task.parent(), nullptr);
}

TEST_F(WriteTask, DeclaresTheFinishedSignalBeforeTheErrorSignal)
{
    const QMetaObject& meta = CacheTaskWrite::staticMetaObject;
    ASSERT_EQ(meta.methodCount() - meta.methodOffset(), 2);
    const QMetaMethod finished = meta.method(meta.methodOffset());
    const QMetaMethod error = meta.method(meta.methodOffset() + 1);
    EXPECT_EQ(finished.name(), QByteArray("signal_writeFinished"));
    EXPECT_EQ(finished.methodType(), QMetaMethod::Signal);
    EXPECT_EQ(finished.parameterNames(), QByteArrayList{"dataArray"});
    EXPECT_EQ(error.name(), QByteArray("signal_writeError"));
    EXPECT_EQ(error.methodType(), QMetaMethod::Signal);
    EXPECT_EQ(error.parameterNames(), (QByteArrayList{"dataArray", "error"}));
    EXPECT_EQ(error.parameterTypes().at(1), QByteArray("QString"));
}
