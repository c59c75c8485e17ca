#include <support/CacheFixture.h>
#include <support/PoolTask.h>
#include <support/Signal.h>

#include <tools/Mutex.h>

#include <QtCore/QDeadlineTimer>
#include <QtCore/QFuture>
#include <QtCore/QStorageInfo>

#include <algorithm>
#include <cerrno>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <gtest/gtest.h>

// The thread sanitizer has a thread of its own, which begins with the first other one and never ends: a
// process cannot leave a view of the disks that this thread shares.
#if defined(__linux__) && !defined(VX_THREAD_SANITIZER)
#define CAN_MOUNT 1
#include <sched.h>
#include <sys/mount.h>
#else
#define CAN_MOUNT 0
#endif

using namespace vx::datastorage;

namespace {

using Samples = std::vector<std::int32_t>;

/// Samples of which a small disk takes some thousands, but not all, beside its ballast.
constexpr int MANY = 150'000;
constexpr int BATCH = 20'000;

/// A disk of 1 MiB that is there for this process alone, and only while this object lives.
///
/// Threads: main; the pool's threads see the disk when they were started under it, which is seen to.
class SmallDisk
{
public:
    static constexpr qint64 BYTES = qint64{1024} * 1024;

    explicit SmallDisk(const QString& path) : m_path(path)
    {
#if CAN_MOUNT
        const QByteArray name = QFile::encodeName(path);
        m_previous = ::open("/proc/self/ns/mnt", O_RDONLY | O_CLOEXEC);
        if (m_previous < 0 || !QThreadPool::globalInstance()->waitForDone(TEST_PATIENCE_MILLISECONDS) ||
            QDir("/proc/self/task").entryList(QDir::Dirs | QDir::NoDotAndDotDot).size() != 1 ||
            ::unshare(CLONE_NEWNS) != 0) // other threads would not see the disk
            return;
        m_isApart = true;
        m_isMounted = ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                      ::mount("tmpfs", name.constData(), "tmpfs", 0, "size=1m") == 0;
#endif
    }
    ~SmallDisk()
    {
#if CAN_MOUNT
        const QString directory = QDir::currentPath();
        EXPECT_TRUE(QThreadPool::globalInstance()->waitForDone(TEST_PATIENCE_MILLISECONDS));
        EXPECT_TRUE(!m_isMounted || ::umount2(QFile::encodeName(m_path).constData(), MNT_DETACH) == 0);
        EXPECT_TRUE(!m_isApart || goBack());
        if (m_previous >= 0)
            ::close(m_previous);
        QDir::setCurrent(directory);
#endif
    }
    SmallDisk(const SmallDisk&) = delete;
    SmallDisk& operator=(const SmallDisk&) = delete;

    /// Whether the disk is there, for the threads of the pool too.
    bool isThere() const
    {
        if (!m_isMounted)
            return false;
        qint64 bytes = 0;
        Signal isKnown;
        PoolTask::start([&] {
            bytes = QStorageInfo(m_path).bytesTotal();
            isKnown.give();
        });
        return isKnown.take() && bytes == BYTES;
    }

private:
#if CAN_MOUNT
    /// The system refuses as long as a thread of the pool, which has the same view of the disks, has not
    /// quite ended; the pool does not wait for that.
    bool goBack() const
    {
        const QDeadlineTimer patience(TEST_PATIENCE_MILLISECONDS);
        while (::setns(m_previous, CLONE_NEWNS) != 0) {
            if (errno != EINVAL || patience.hasExpired())
                return false;
            std::this_thread::yield();
        }
        return true;
    }
#endif

    QString m_path;
    int m_previous = -1;
    bool m_isApart = false;
    bool m_isMounted = false;
};

class SmallDiskSafety : public CacheFixture
{
protected:
    void SetUp() override
    {
        CacheFixture::SetUp();
        const QString path = pathOf("small");
        ASSERT_TRUE(QDir().mkpath(path));
        m_disk = std::make_unique<SmallDisk>(path);
        if (!m_disk->isThere())
            GTEST_SKIP() << "this process may not mount a disk";
        cache().setDefaultCachePath(path, false);
        ASSERT_TRUE(writeFile(ballast(), QByteArray(700'000, 'b')));
    }

    void TearDown() override
    {
        CacheFixture::TearDown();
        m_disk.reset();
    }

    QString ballast() const { return pathOf("small/ballast"); }

    /// Lets what was started end, and expects that it has told of `failures` failed writes.
    void expectFailures(Array& array, qsizetype failures)
    {
        cache().awaitTaskFinished(&array);
        processEvents();
        EXPECT_EQ(errors().size(), failures);
        EXPECT_EQ(array.isInError(), failures > 0);
        array.setReadWriteError(false);
    }

    /// Makes room and has the array written: then nothing may be missing. Before, `unwritten` samples at
    /// the end are in memory.
    void expectRetried(Array& array, const Samples& samples, int unwritten)
    {
        const qsizetype before = errors().size();
        ASSERT_EQ(array.getSize(), static_cast<qint64>(samples.size()));
        ASSERT_GE(array.getSizeLoadedInMemory(), unwritten);
        for (std::size_t i = samples.size() - static_cast<std::size_t>(unwritten); i < samples.size(); ++i)
            ASSERT_EQ(bitsOf(array.getSample(static_cast<qint64>(i))), samples[i]);
        ASSERT_TRUE(QFile::remove(ballast()));
        cache().writeDataArrayToDisk(&array);
        cache().awaitTaskFinished(&array);
        EXPECT_EQ(bytesOf(array), cacheFileBytes(samples));
        evict(array);
        EXPECT_EQ(samplesOf(array), samples);
        EXPECT_EQ(errors().size(), before);
    }

private:
    std::unique_ptr<SmallDisk> m_disk;
};

} // namespace

TEST_F(SmallDiskSafety, AFillThatDoesNotFitIsRetriedWhenThereIsRoom)
{
    Array& array = make("A");
    fill(array, sequence(MANY));
    expectFailures(array, 1);
    cache().writeDataArrayToDisk(&array);
    expectFailures(array, 2);
    expectRetried(array, sequence(MANY), MANY);
}

TEST_F(SmallDiskSafety, AnUpdateThatDoesNotFitIsRetriedWhenThereIsRoom)
{
    Array& array = store("A", sequence(BATCH));
    add(array, sequence(MANY - BATCH, BATCH));
    cache().writeDataArrayToDisk(&array);
    expectFailures(array, 1);
    expectRetried(array, sequence(MANY), MANY - BATCH);
}

TEST_F(SmallDiskSafety, AFurtherFillThatDoesNotFitIsRetriedWhenThereIsRoom)
{
    Array& array = store("A", sequence(BATCH));
    evict(array);
    fill(array, sequence(MANY - BATCH, BATCH));
    expectFailures(array, 1);
    expectRetried(array, sequence(MANY), MANY - BATCH);
}

TEST_F(SmallDiskSafety, BatchesThatAreAppendedUntilTheDiskIsFullLoseNothing)
{
    Array& array = store("A", sequence(BATCH));
    int size = BATCH;
    int written = BATCH;
    qsizetype failures = 0;
    for (; size < MANY; size += BATCH) {
        cache().prepareAppendDataArray(&array); // what is left from the last batch is tried again
        processEvents();
        const qsizetype before = errors().size();
        EXPECT_EQ(before, failures > 0 ? 2 * failures : 0);
        add(array, sequence(BATCH, size));
        cache().appendDataArray(&array, KEY);
        cache().awaitTaskFinished(&array);
        processEvents();
        EXPECT_EQ(errors().size() - before, array.isInError() ? 1 : 0) << size;
        if (array.isInError())
            ++failures;
        else
            written = size + BATCH;
        array.setReadWriteError(false);
    }
    EXPECT_GT(failures, 1);
    EXPECT_GT(written, BATCH);
    expectRetried(array, sequence(size), size - written);
}

// ---- no file can be opened

namespace {

/// While it lives, this process has as many files open as it may have.
class NoDescriptors
{
public:
    NoDescriptors()
    {
        constexpr rlim_t few = 128; // more than are open otherwise
        ::getrlimit(RLIMIT_NOFILE, &m_previous);
        rlimit limit = m_previous;
        limit.rlim_cur = std::min(few, m_previous.rlim_cur);
        ::setrlimit(RLIMIT_NOFILE, &limit);
        for (int one = ::open("/dev/null", O_RDONLY); one >= 0; one = ::open("/dev/null", O_RDONLY))
            m_open.push_back(one);
        EXPECT_EQ(errno, EMFILE);
    }
    ~NoDescriptors()
    {
        for (const int one : m_open)
            ::close(one);
        ::setrlimit(RLIMIT_NOFILE, &m_previous);
    }
    NoDescriptors(const NoDescriptors&) = delete;
    NoDescriptors& operator=(const NoDescriptors&) = delete;

private:
    rlimit m_previous{};
    std::vector<int> m_open;
};

class DescriptorSafety : public CacheFixture
{
protected:
    void SetUp() override
    {
        CacheFixture::SetUp();
        // A thread that Qt starts needs descriptors of its own: there is one, and no other is started.
        m_threads = QThreadPool::globalInstance()->maxThreadCount();
#if defined(__SANITIZE_ADDRESS__)
        GTEST_SKIP() << "the sanitizer looks at memory through pipes, and needs descriptors for them";
#endif
        QThreadPool::globalInstance()->setMaxThreadCount(1);
        Signal isStarted;
        PoolTask::start([&isStarted] { isStarted.give(); });
        ASSERT_TRUE(isStarted.take());
    }

    void TearDown() override
    {
        CacheFixture::TearDown();
        QThreadPool::globalInstance()->setMaxThreadCount(m_threads);
    }

    static QString cannotRead(const Array& array)
    {
        return "CacheTaskRead::run ERROR !\n Cannot read " + fileOf(array) + "\nerror : Too many open files";
    }
    static QString cannotWrite(const Array& array)
    {
        return "CacheTaskWrite::run ERROR !\nCannot open file " + fileOf(array);
    }

    void expectError(Array& array, const QString& error)
    {
        cache().awaitTaskFinished(&array);
        processEvents();
        EXPECT_EQ(errors(), QStringList{error});
        EXPECT_TRUE(array.isInError());
        array.setReadWriteError(false);
    }

    /// With files again, everything works.
    void expectUsable(Array& array, Samples samples)
    {
        const qsizetype before = errors().size();
        cache().writeDataArrayToDisk(&array);
        cache().awaitTaskFinished(&array);
        EXPECT_EQ(bytesOf(array), cacheFileBytes(samples));
        evict(array);
        EXPECT_EQ(samplesOf(array), samples);
        EXPECT_EQ(bitsOf(cache().getSampleDirect(&array, 1)), samples[1]);
        fill(array, {77});
        samples.push_back(77);
        cache().awaitTaskFinished(&array);
        evict(array);
        EXPECT_EQ(samplesOf(array), samples);
        EXPECT_EQ(errors().size(), before);
    }

private:
    int m_threads = 0;
};

} // namespace

TEST_F(DescriptorSafety, LoadingWithoutAnyIsAReadError)
{
    Array& array = store("A", {1, 2, 3});
    evict(array);
    {
        const NoDescriptors none;
        cache().readDataArrayFromDisk(&array);
        expectError(array, cannotRead(array));
        EXPECT_FALSE(isInMemory(array));
    }
    expectUsable(array, {1, 2, 3});
}

TEST_F(DescriptorSafety, LoadingInTheBackgroundWithoutAnySaysWhy)
{
    Array& array = store("A", {1, 2, 3});
    evict(array);
    {
        const NoDescriptors none;
        const QFuture<LoadResult> load = cache().loadInBackground(&array);
        cache().awaitTaskFinished(&array);
        ASSERT_TRUE(load.isFinished());
        EXPECT_EQ(load.result().error, cannotRead(array));
        expectError(array, cannotRead(array));
    }
    expectUsable(array, {1, 2, 3});
}

TEST_F(DescriptorSafety, AFirstWriteWithoutAnyIsAWriteErrorAndKeepsTheSamples)
{
    Array& array = make("A");
    {
        const NoDescriptors none;
        fill(array, {1, 2, 3});
        expectError(array, cannotWrite(array));
        EXPECT_EQ(samplesOf(array), (Samples{1, 2, 3}));
    }
    expectUsable(array, {1, 2, 3});
}

TEST_F(DescriptorSafety, AnUpdateWithoutAnyIsAWriteErrorAndKeepsTheSamples)
{
    Array& array = store("A", {1, 2, 3});
    add(array, {4});
    {
        const NoDescriptors none;
        cache().writeDataArrayToDisk(&array);
        expectError(array, cannotWrite(array));
        EXPECT_EQ(samplesOf(array), (Samples{1, 2, 3, 4}));
    }
    EXPECT_EQ(bytesOf(array), cacheFileBytes({1, 2, 3}));
    expectUsable(array, {1, 2, 3, 4});
}

TEST_F(DescriptorSafety, AnAppendWithoutAnyIsAWriteErrorAndKeepsTheNewSamples)
{
    Array& array = store("A", {1, 2, 3});
    cache().prepareAppendDataArray(&array);
    add(array, {4, 5});
    {
        const NoDescriptors none;
        cache().appendDataArray(&array, KEY);
        expectError(array, cannotWrite(array));
        EXPECT_EQ(array.getSizeLoadedInMemory(), 2);
    }
    EXPECT_EQ(bytesOf(array), cacheFileBytes({1, 2, 3}));
    expectUsable(array, {1, 2, 3, 4, 5});
}

TEST_F(DescriptorSafety, ADirectSampleWithoutAnyIsAnError)
{
    Array& array = store("A", {1, 2, 3});
    {
        const NoDescriptors none;
        EXPECT_EQ(bitsOf(cache().getSampleDirect(&array, 1)), 0);
        expectError(array, "[CacheReadManager] Cannot initialize mmap for file:" + fileOf(array));
    }
    expectUsable(array, {1, 2, 3});
}

TEST_F(DescriptorSafety, AnEnvelopeWithoutAnyHasEmptyColumns)
{
    Array& array = store("A", {1, 2, 3});
    evict(array);
    {
        const NoDescriptors none;
        const std::vector<EnvelopeColumn> envelope = array.envelope(0, 3, 3);
        ASSERT_EQ(envelope.size(), 3U);
        EXPECT_EQ(envelope[1].count, 0);
        expectError(array, cannotRead(array));
    }
    EXPECT_EQ(array.envelope(0, 3, 3).at(1).maximum, 2);
    expectUsable(array, {1, 2, 3});
}

// ---- the directory of the cache is deleted

namespace {

class GoneDirectorySafety : public CacheFixture
{
protected:
    static void removeDirectory() { ASSERT_TRUE(QDir(cache().getDefaultCachePath()).removeRecursively()); }
    static void makeDirectory() { ASSERT_TRUE(cache().checkDefaultCacheDirectory()); }
};

} // namespace

TEST_F(GoneDirectorySafety, AResidentArrayIsWrittenAgainWhenTheDirectoryIsBack)
{
    Array& array = store("A", {1, 2, 3});
    removeDirectory();
    EXPECT_EQ(samplesOf(array), (Samples{1, 2, 3}));
    add(array, {4});
    cache().writeDataArrayToDisk(&array);
    cache().awaitTaskFinished(&array);
    EXPECT_EQ(errors(), QStringList{"CacheTaskWrite::run ERROR !\nCannot open file " + fileOf(array)});
    EXPECT_TRUE(array.isInError());
    array.setReadWriteError(false);
    EXPECT_EQ(samplesOf(array), (Samples{1, 2, 3, 4})) << "nothing is lost";
    makeDirectory();
    cache().writeDataArrayToDisk(&array);
    cache().awaitTaskFinished(&array);
    EXPECT_EQ(bytesOf(array), cacheFileBytes({1, 2, 3, 4}));
    evict(array);
    EXPECT_EQ(samplesOf(array), (Samples{1, 2, 3, 4}));
    EXPECT_EQ(errors().size(), 1);
}

TEST_F(GoneDirectorySafety, AnEvictedArrayIsAReadErrorAndCanBeFilledAgain)
{
    Array& array = store("A", {1, 2, 3});
    Array& resident = store("B", {4, 5});
    evict(array);
    removeDirectory();
    load(array);
    EXPECT_EQ(errors(),
              QStringList{"CacheTaskRead::run ERROR !\nCache file " + fileOf(array) + " doesn't exists\n"});
    EXPECT_TRUE(array.isInError());
    array.setReadWriteError(false);
    EXPECT_EQ(array.getSize(), 3) << "the samples are gone, not their number";
    EXPECT_EQ(samplesOf(resident), (Samples{4, 5}));
    makeDirectory();
    array.clear();
    fill(array, {6, 7});
    cache().awaitTaskFinished(&array);
    EXPECT_EQ(bytesOf(array), cacheFileBytes({6, 7}));
    evict(array);
    EXPECT_EQ(samplesOf(array), (Samples{6, 7}));
    EXPECT_EQ(errors().size(), 1);
}

TEST_F(GoneDirectorySafety, NewSamplesOfAnEvictedArrayTakeNobodysPlace)
{
    Array& array = store("A", {1, 2, 3});
    const QByteArray file = bytesOf(array);
    cache().prepareAppendDataArray(&array);
    add(array, {4, 5});
    removeDirectory();
    cache().appendDataArray(&array, KEY);
    cache().awaitTaskFinished(&array);
    EXPECT_EQ(errors().size(), 1);
    array.setReadWriteError(false);
    makeDirectory();
    cache().writeDataArrayToDisk(&array); // the samples before them are nowhere
    cache().awaitTaskFinished(&array);
    EXPECT_EQ(errors().size(), 2);
    EXPECT_TRUE(array.isInError());
    array.setReadWriteError(false);
    EXPECT_EQ(array.getSizeLoadedInMemory(), 2) << "the new samples stay";
    EXPECT_EQ(bitsOf(array.getSample(3)), 4);
    ASSERT_TRUE(writeFile(fileOf(array), file)); // and the file comes back, from a backup
    cache().writeDataArrayToDisk(&array);
    cache().awaitTaskFinished(&array);
    EXPECT_EQ(errors().size(), 2);
    evict(array);
    EXPECT_EQ(samplesOf(array), (Samples{1, 2, 3, 4, 5}));
}

// ---- the file of an array in memory is deleted, or cut

namespace {

struct LostFile
{
    const char* name;
    void (*lose)(const QString& file);
};

void PrintTo(const LostFile& loss, std::ostream* out)
{
    *out << loss.name;
}

class LostFileSafety : public CacheFixture, public ::testing::WithParamInterface<LostFile>
{
protected:
    static void lose(Array& array) { GetParam().lose(fileOf(array)); }

    void evictToOneByte() const
    {
        cache().setCacheSizeInBytes(1);
        updateCache();
    }

    static void expectWritten(Array& array, const std::vector<std::int32_t>& samples)
    {
        cache().awaitTaskFinished(&array);
        EXPECT_EQ(bytesOf(array), cacheFileBytes(samples));
        evict(array);
        EXPECT_EQ(samplesOf(array), samples);
    }
};

INSTANTIATE_TEST_SUITE_P(
    Losses, LostFileSafety,
    ::testing::Values(LostFile{"deleted", [](const QString& file) { ASSERT_TRUE(QFile::remove(file)); }},
                      LostFile{"cut", [](const QString& file) { ASSERT_TRUE(QFile::resize(file, 20)); }},
                      LostFile{"emptied", [](const QString& file) { ASSERT_TRUE(QFile::resize(file, 0)); }},
                      LostFile{"replaced", [](const QString& file) {
                                   ASSERT_TRUE(QFile::remove(file));
                                   ASSERT_TRUE(writeFile(file, "something else"));
                               }}));

} // namespace

TEST_P(LostFileSafety, AnArrayIsWrittenAgainInsteadOfEvicted)
{
    Array& array = store("A", {1, 2, 3});
    Array& other = store("B", {4, 5});
    store("C", {6});
    lose(array);
    evictToOneByte();
    EXPECT_TRUE(isInMemory(array)) << "nowhere else";
    EXPECT_FALSE(isInMemory(other));
    cache().awaitTaskFinished(&array);
    EXPECT_EQ(bytesOf(array), cacheFileBytes({1, 2, 3}));
    updateCache();
    EXPECT_FALSE(isInMemory(array)) << "it is on disk again";
    EXPECT_EQ(samplesOf(array), (std::vector<std::int32_t>{1, 2, 3}));
    EXPECT_TRUE(errors().isEmpty());
}

TEST_P(LostFileSafety, AnAppendWritesTheArrayAgainFirst)
{
    Array& array = store("A", {1, 2, 3});
    lose(array);
    cache().prepareAppendDataArray(&array);
    add(array, {4, 5});
    cache().appendDataArray(&array, KEY);
    expectWritten(array, {1, 2, 3, 4, 5});
    EXPECT_TRUE(errors().isEmpty());
}

TEST_P(LostFileSafety, AnUpdateWritesTheArrayAgain)
{
    Array& array = store("A", {1, 2, 3});
    lose(array);
    fill(array, {4});
    expectWritten(array, {1, 2, 3, 4});
    EXPECT_TRUE(errors().isEmpty());
}

TEST_F(GoneDirectorySafety, ArraysThatCannotBeWrittenAgainStayInMemoryAndAreReportedOnce)
{
    Array& array = store("A", {1, 2, 3});
    store("B", {4, 5});
    store("C", {6});
    removeDirectory();
    cache().setCacheSizeInBytes(1);
    for (int i = 0; i < 5; ++i) {
        updateCache();
        cache().awaitTaskFinished(&array);
        array.setReadWriteError(false);
    }
    EXPECT_EQ(errors().filter(fileOf(array)).size(), 1);
    EXPECT_EQ(samplesOf(array), (std::vector<std::int32_t>{1, 2, 3}));
    makeDirectory();
    cache().writeDataArrayToDisk(&array);
    cache().awaitTaskFinished(&array);
    updateCache();
    EXPECT_FALSE(isInMemory(array));
    EXPECT_EQ(samplesOf(array), (std::vector<std::int32_t>{1, 2, 3}));
}

TEST_F(GoneDirectorySafety, NewSamplesWhoseFileIsGoneStayInMemory)
{
    Array& array = store("A", {1, 2, 3});
    evict(array);
    array.startAddingData();
    removeDirectory();
    makeDirectory();
    load(array); // in vain
    array.setReadWriteError(false);
    add(array, {4, 5});
    array.endAddingData(KEY);
    cache().awaitTaskFinished(&array);
    array.setReadWriteError(false);
    for (int i = 0; i < 2; ++i) {
        array.startAddingData();
        array.endAddingData(KEY);
        cache().awaitTaskFinished(&array);
        array.setReadWriteError(false);
        EXPECT_EQ(bitsOf(array.getSample(4)), 5);
    }
}
