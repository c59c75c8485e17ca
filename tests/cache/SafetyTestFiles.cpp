#include <support/CacheFixture.h>
#include <support/Faults.h>
#include <support/ReaderThread.h>
#include <support/TaskRecorder.h>

#include <archive/ArchiveContext.h>

#include <QtCore/QFileInfo>
#include <QtCore/QFuture>
#include <QtCore/QSet>

#include <numeric>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include <sys/stat.h>

#include <gtest/gtest.h>

using namespace vx::datastorage;

namespace {

using Samples = std::vector<std::int32_t>;

constexpr int LARGE = 500000;

} // namespace

class FileSafety : public CacheFixture
{
protected:
    /// Clears the error of an array as soon as it is reported, so that its readers go on.
    void forgive(Array& array)
    {
        m_forgiving.push_back(QObject::connect(&cache(), &CacheManager::signal_cacheError,
                                               [&array](const QString&) { array.setReadWriteError(false); }));
    }

    void TearDown() override
    {
        for (const QMetaObject::Connection& connection : m_forgiving) {
            QObject::disconnect(connection);
        }
        CacheFixture::TearDown();
    }

    static void expectFile(Array& array, const Samples& samples, const QString& key = KEY)
    {
        cache().awaitTaskFinished(&array);
        EXPECT_EQ(bytesOf(array, key), cacheFileBytes(samples));
        evict(array);
        EXPECT_EQ(samplesOf(array), samples);
    }

private:
    std::vector<QMetaObject::Connection> m_forgiving;
};

// ---- what may stand in the place of a cache file

TEST_F(FileSafety, APipeInPlaceOfTheFileIsAReadError)
{
    Array& array = make("A");
    const QString path = pathOf("pipe");
    ASSERT_EQ(::mkfifo(QFile::encodeName(path).constData(), 0666), 0);
    TaskRecorder recorder;
    ReaderThread<int> reader([&] {
        CacheTaskRead task;
        recorder.listen(task);
        task.setDataArrayInfoToRead(path, &array);
        task.run();
        return 1;
    });
    ASSERT_TRUE(reader.awaitReturned());
    ASSERT_EQ(recorder.emissions().size(), 1U);
    EXPECT_EQ(recorder.emissions()[0].signalName, QString("signal_readError"));
    EXPECT_TRUE(array.isInError());
}

TEST_F(FileSafety, APipeInPlaceOfTheFileIsAWriteError)
{
    Array& array = make("A");
    add(array, {1, 2, 3});
    const QString path = pathOf("pipe");
    ASSERT_EQ(::mkfifo(QFile::encodeName(path).constData(), 0666), 0);
    TaskRecorder recorder;
    ReaderThread<int> writer([&] {
        CacheTaskWrite task;
        recorder.listen(task);
        task.setDataArrayInfoToWrite(path, &array);
        task.run();
        return 1;
    });
    ASSERT_TRUE(writer.awaitReturned());
    ASSERT_EQ(recorder.emissions().size(), 1U);
    EXPECT_EQ(recorder.emissions()[0].array, &array);
    EXPECT_EQ(samplesOf(array), (Samples{1, 2, 3}));
}

TEST_F(FileSafety, APipeInPlaceOfTheFileCannotBeMapped)
{
    Array& array = make("A");
    cache().loadDataArrayInfoToCache(KEY, &array);
    ASSERT_EQ(::mkfifo(QFile::encodeName(fileOf(array)).constData(), 0666), 0);
    ReaderThread<std::int32_t> reader([&] { return bitsOf(cache().getSampleDirect(&array, 0)); });
    ASSERT_TRUE(reader.awaitReturned());
    EXPECT_EQ(reader.result(), 0);
    EXPECT_TRUE(array.isInError());
    array.setReadWriteError(false);
}

TEST_F(FileSafety, AMappedFileThatShrinksReadsAsNan)
{
    Array& array = store("A", sequence(LARGE, 1));
    ASSERT_EQ(bitsOf(cache().getSampleDirect(&array, LARGE - 1)), LARGE);
    ASSERT_TRUE(QFile::resize(fileOf(array), 16));
    EXPECT_EQ(bitsOf(cache().getSampleDirect(&array, LARGE - 1)), NAN_PATTERN);
    EXPECT_EQ(bitsOf(cache().getSampleDirect(&array, LARGE / 2)), NAN_PATTERN);
}

TEST_F(FileSafety, AFileThatShrinksWhileItIsLoadedShowsNoForeignValue)
{
    constexpr int count = 4 * 1024 * 1024;
    for (int round = 0; round < 5; ++round) {
        SCOPED_TRACE(round);
        Array& array = store(QString("A%1").arg(round), sequence(count));
        evict(array);
        const QString path = fileOf(array);
        cache().readDataArrayFromDisk(&array);
        ASSERT_TRUE(QFile::resize(path, 16 + 1024 * 1024 * round));
        cache().awaitTaskFinished(&array);
        array.setReadWriteError(false);
        const int loaded = array.getSizeLoadedInMemory();
        ASSERT_LE(loaded, count);
        for (int i = 0; i < loaded; ++i) {
            const std::int32_t sample = bitsOf(array.getSample(i));
            ASSERT_TRUE(sample == i || sample == NAN_PATTERN) << "sample " << i << " reads " << sample;
        }
    }
}

TEST_F(FileSafety, AFileThatVanishesIsAnErrorAndTheRestGoesOn)
{
    Array& array = store("A", {1, 2, 3});
    Array& other = store("B", {4});
    evict(array);
    evict(other);
    ASSERT_TRUE(QFile::remove(fileOf(array)));
    forgive(array);
    EXPECT_EQ(bitsOf(array.getSample(1)), NAN_PATTERN);
    EXPECT_EQ(errors().size(), 1);
    EXPECT_EQ(bitsOf(other.getSample(0)), 4);
}

TEST_F(FileSafety, ALinkThatLeadsNowhereIsNotWrittenThrough)
{
    Array& array = store("A", {1, 2});
    const QString elsewhere = pathOf("elsewhere");
    ASSERT_TRUE(QFile::remove(fileOf(array)));
    ASSERT_TRUE(QFile::link(elsewhere, fileOf(array)));
    add(array, {3});
    cache().writeDataArrayToDisk(&array);
    cache().awaitTaskFinished(&array);
    EXPECT_FALSE(QFile::exists(elsewhere));
    EXPECT_EQ(errors().size(), 1);
    array.setReadWriteError(false);
    EXPECT_EQ(samplesOf(array), (std::vector<std::int32_t>{1, 2, 3}));
}

// ---- stale files

TEST_F(FileSafety, AFileFromBeforeNeverBecomesTheStartOfANewArray)
{
    Array& array = make("A");
    ASSERT_TRUE(writeFile(fileOf(array), cacheFileBytes({9, 9, 9, 9, 9})));
    fill(array, {1, 2});
    expectFile(array, {1, 2});
}

TEST_F(FileSafety, ALongerArrayReplacesAFileFromBeforeToo)
{
    Array& array = make("A");
    ASSERT_TRUE(writeFile(fileOf(array), cacheFileBytes({9, 9})));
    fill(array, {1, 2, 3, 4});
    expectFile(array, {1, 2, 3, 4});
}

TEST_F(FileSafety, AnAppendOfANewArrayReplacesAFileFromBefore)
{
    Array& array = make("A");
    ASSERT_TRUE(writeFile(fileOf(array), cacheFileBytes({9, 9, 9})));
    add(array, {1, 2});
    cache().appendDataArray(&array, KEY);
    cache().awaitTaskFinished(&array);
    EXPECT_EQ(bytesOf(array), cacheFileBytes({1, 2}));
}

TEST_F(FileSafety, AFileLeftByRemoveAllIsReplaced)
{
    Array& old = store("A", {9, 9, 9});
    const QString path = fileOf(old);
    cache().removeAll();
    ASSERT_TRUE(QFile::exists(path));
    Array& array = make("A");
    fill(array, {1, 2});
    expectFile(array, {1, 2});
}

TEST_F(FileSafety, AFilePutInPlaceForADocumentIsKept)
{
    Array& array = make("before");
    ASSERT_TRUE(writeFile(pathOf("saved"), cacheFileBytes({5, 6, 7})));
    Array& named = make("A");
    ASSERT_TRUE(QFile::copy(pathOf("saved"), fileOf(named)));
    vx::archive::ArchiveContext context;
    context.dataSourcePath = KEY;
    ASSERT_TRUE(
        array.read(QJsonObject{{"name", "A"}, {"dataArray", QJsonObject{{"realSize", "3"}}}}, 1, context));
    EXPECT_EQ(samplesOf(array), (Samples{5, 6, 7}));
    array.startAddingData();
    add(array, {8});
    array.endAddingData(KEY);
    expectFile(array, {5, 6, 7, 8});
}

// ---- files that cannot be removed

namespace {

/// Puts the directory of the cache out of reach while it lives.
class DirectoryAway
{
public:
    explicit DirectoryAway(const QString& path) : m_path(QDir(path).path())
    {
        QDir().rename(m_path, m_path + ".away");
    }
    ~DirectoryAway() { QDir().rename(m_path + ".away", m_path); }
    DirectoryAway(const DirectoryAway&) = delete;
    DirectoryAway& operator=(const DirectoryAway&) = delete;

private:
    QString m_path;
};

} // namespace

TEST_F(FileSafety, AFileThatCouldNotBeRemovedIsNotContinuedAfterClear)
{
    Array& array = store("A", {1, 2, 3});
    {
        const SealedDirectory sealed(cache().getDefaultCachePath());
        if (!sealed.isSealed()) {
            GTEST_SKIP() << "this process cannot be kept from removing files";
        }
        array.clear();
        ASSERT_TRUE(hasFile(array));
    }
    add(array, {7, 8, 9, 10, 11});
    cache().writeDataArrayToDisk(&array);
    expectFile(array, {7, 8, 9, 10, 11});
    EXPECT_EQ(errors(), QStringList());
}

TEST_F(FileSafety, AFileThatWasOutOfReachIsNotContinuedAfterClear)
{
    Array& array = store("A", {1, 2, 3});
    {
        const DirectoryAway away(cache().getDefaultCachePath());
        array.clear();
    }
    ASSERT_TRUE(hasFile(array));
    add(array, {7, 8, 9, 10, 11});
    cache().writeDataArrayToDisk(&array);
    expectFile(array, {7, 8, 9, 10, 11});
}

TEST_F(FileSafety, AFileFromBeforeThatCouldNotBeRemovedIsNotContinued)
{
    Array& array = make("A");
    ASSERT_TRUE(writeFile(fileOf(array), cacheFileBytes({9, 9})));
    {
        const SealedDirectory sealed(cache().getDefaultCachePath());
        if (!sealed.isSealed()) {
            GTEST_SKIP() << "this process cannot be kept from removing files";
        }
        fill(array, {1, 2, 3, 4});
        cache().awaitTaskFinished(&array);
    }
    array.setReadWriteError(false);
    cache().writeDataArrayToDisk(&array);
    expectFile(array, {1, 2, 3, 4});
}

TEST_F(FileSafety, SamplesOfAFileThatCouldNotBeRemovedAreNotShownAfterClear)
{
    Array& array = store("A", {1, 2, 3});
    {
        const DirectoryAway away(cache().getDefaultCachePath());
        array.clear();
    }
    ASSERT_TRUE(hasFile(array));
    forgive(array);
    EXPECT_EQ(bitsOf(array.getSample(0)), NAN_PATTERN);
    EXPECT_NE(bitsOf(cache().getSampleDirect(&array, 0)), 1);
    cache().prepareAppendDataArray(&array);
    EXPECT_EQ(bitsOf(array.getSample(0)), NAN_PATTERN);
    add(array, {4});
    cache().appendDataArray(&array, KEY);
    expectFile(array, {4});
}

TEST_F(FileSafety, AFilePutInPlaceAfterAFailedRemovalCounts)
{
    Array& array = store("A", {1, 2, 3});
    {
        const DirectoryAway away(cache().getDefaultCachePath());
        array.clear();
        cache().removeDataArrayInfoFromCache(&array);
    }
    ASSERT_TRUE(writeFile(fileOf(array), cacheFileBytes({5, 6})));
    vx::archive::ArchiveContext context;
    context.dataSourcePath = KEY;
    ASSERT_TRUE(
        array.read(QJsonObject{{"name", "A"}, {"dataArray", QJsonObject{{"realSize", "2"}}}}, 1, context));
    EXPECT_EQ(samplesOf(array), (Samples{5, 6}));
    fill(array, {7});
    expectFile(array, {5, 6, 7});
}

// ---- the directory

TEST_F(FileSafety, TheDirectoryOfAProcessIsItsOwnersOnly)
{
    const mode_t previous = ::umask(0);
    cache().setDefaultCachePath(pathOf("cache"), true);
    const bool made = cache().checkDefaultCacheDirectory();
    ::umask(previous);
    ASSERT_TRUE(made);
    EXPECT_EQ(permissionsOf(cache().getDefaultCachePath()), 0700);
    EXPECT_TRUE(cache().removeCacheDirectory());
}

TEST_F(FileSafety, ALinkIsNotTakenForTheDirectoryOfTheProcess)
{
    ASSERT_TRUE(QDir().mkpath(pathOf("elsewhere")));
    ASSERT_TRUE(QDir().mkpath(pathOf("cache")));
    cache().setDefaultCachePath(pathOf("cache"), true);
    QString link = cache().getDefaultCachePath();
    link.chop(1);
    ASSERT_TRUE(QFile::link(pathOf("elsewhere"), link));
    EXPECT_FALSE(cache().checkDefaultCacheDirectory());
    EXPECT_TRUE(QFile::remove(link));
}

// ---- a full disk

TEST_F(FileSafety, AFillOnAFullDiskKeepsTheSamplesAndIsReportedOnce)
{
    Array& array = make("A");
    {
        const FullDisk full(4096);
        fill(array, sequence(LARGE));
        cache().awaitTaskFinished(&array);
    }
    processEvents();
    EXPECT_EQ(errors().size(), 1);
    EXPECT_TRUE(array.isInError());
    array.setReadWriteError(false);
    EXPECT_EQ(array.getSizeLoadedInMemory(), LARGE);
    EXPECT_TRUE(cache().writeDataArrayToDisk(&array));
    cache().awaitTaskFinished(&array);
    EXPECT_EQ(errors().size(), 1);
    expectFile(array, sequence(LARGE));
}

TEST_F(FileSafety, AnUpdateOnAFullDiskKeepsTheSamplesAndCanBeRetried)
{
    Array& array = store("A", {1, 2, 3});
    add(array, sequence(LARGE, 4));
    {
        const FullDisk full(4096);
        cache().writeDataArrayToDisk(&array);
        cache().awaitTaskFinished(&array);
    }
    processEvents();
    EXPECT_EQ(errors().size(), 1);
    array.setReadWriteError(false);
    EXPECT_EQ(array.getSizeLoadedInMemory(), LARGE + 3);
    cache().writeDataArrayToDisk(&array);
    expectFile(array, sequence(LARGE + 3, 1));
}

TEST_F(FileSafety, AnAppendOnAFullDiskDropsNothingAndCanBeRetried)
{
    for (const int count : {3, LARGE}) {
        SCOPED_TRACE(count);
        Array& array = store(QString("A%1").arg(count), {1, 2, 3});
        cache().prepareAppendDataArray(&array);
        add(array, sequence(count, 4));
        const qsizetype before = errors().size();
        {
            const FullDisk full(30);
            cache().appendDataArray(&array, KEY);
            cache().awaitTaskFinished(&array);
        }
        processEvents();
        EXPECT_EQ(errors().size(), before + 1);
        EXPECT_TRUE(array.isInError());
        array.setReadWriteError(false);
        EXPECT_EQ(array.getSizeLoadedInMemory(), count) << "the new samples stay";
        EXPECT_EQ(array.getSize(), count + 3);
        cache().writeDataArrayToDisk(&array);
        expectFile(array, sequence(count + 3, 1));
    }
}

TEST_F(FileSafety, SamplesInTheFileAreReadWhileNewOnesCannotBeWritten)
{
    Array& array = store("A", sequence(LARGE, 1));
    cache().prepareAppendDataArray(&array);
    add(array, {-1, -2});
    {
        const FullDisk full(4096);
        cache().appendDataArray(&array, KEY);
        cache().awaitTaskFinished(&array);
        processEvents();
        array.setReadWriteError(false);
        for (int i = 0; i < LARGE; i += LARGE / 10) {
            EXPECT_EQ(array.getSampleInt(i), i + 1);
            Samples range(3);
            EXPECT_EQ(array.readSamples(LARGE - 3, std::span<std::int32_t>(range)), 3);
            EXPECT_EQ(range, (Samples{LARGE - 2, LARGE - 1, LARGE}));
        }
        EXPECT_EQ(bitsOf(array.getSample(LARGE + 1)), -2);
        EXPECT_EQ(errors().size(), 1) << "reading is no reason to write again";
        EXPECT_FALSE(array.isInError());
    }
    cache().writeDataArrayToDisk(&array);
    Samples all = sequence(LARGE, 1);
    all.insert(all.end(), {-1, -2});
    expectFile(array, all);
}

TEST_F(FileSafety, AnAppendToAFileWithAnotherCountIsAnErrorAndTouchesNothing)
{
    for (const qint64 count : {qint64{-5}, qint64{2}, qint64{1} << 62}) {
        SCOPED_TRACE(count);
        Array& array = store(QString("A%1").arg(count), {1, 2, 3});
        cache().prepareAppendDataArray(&array);
        add(array, {4, 5});
        const QByteArray bytes = cacheFileHeader() + countBytes(count) + sampleBytes({1, 2, 3});
        ASSERT_TRUE(writeFile(fileOf(array), bytes));
        const qsizetype before = errors().size();
        cache().appendDataArray(&array, KEY);
        cache().awaitTaskFinished(&array);
        EXPECT_EQ(errors().size(), before + 1);
        EXPECT_TRUE(array.isInError());
        EXPECT_EQ(bytesOf(array), bytes);
        array.setReadWriteError(false);
        EXPECT_EQ(array.getSizeLoadedInMemory(), 2) << "the new samples stay";
        EXPECT_EQ(bitsOf(array.getSample(4)), 5);
    }
}

TEST_F(FileSafety, OtherArraysGoOnWhileTheDiskIsFull)
{
    Array& small = store("small", {1, 2, 3});
    evict(small);
    Array& array = make("A");
    const FullDisk full(4096);
    fill(array, sequence(LARGE));
    cache().awaitTaskFinished(&array);
    EXPECT_EQ(samplesOf(small), (Samples{1, 2, 3}));
    fill(small, {4});
    cache().awaitTaskFinished(&small);
    EXPECT_EQ(bytesOf(small), cacheFileBytes({1, 2, 3, 4}));
    EXPECT_EQ(errors().size(), 1);
}

TEST_F(FileSafety, ADirectoryThatVanishedIsAnErrorThatCanBeRepaired)
{
    Array& array = store("A", {1, 2, 3});
    ASSERT_TRUE(cache().removeCacheDirectory());
    add(array, {4});
    cache().writeDataArrayToDisk(&array);
    cache().awaitTaskFinished(&array);
    if (!errors().isEmpty()) {
        EXPECT_EQ(errors().size(), 1);
        EXPECT_TRUE(array.isInError());
        array.setReadWriteError(false);
        ASSERT_TRUE(cache().checkDefaultCacheDirectory());
        cache().writeDataArrayToDisk(&array);
    }
    expectFile(array, {1, 2, 3, 4});
}

// ---- brackets over faults

TEST_F(FileSafety, ABracketOverAFailedReloadKeepsTheFile)
{
    Array& array = store("A", {1, 2, 3});
    evict(array);
    const QString path = fileOf(array);
    const QByteArray whole = readFile(path);
    ASSERT_TRUE(writeFile(path, whole.left(whole.size() - 4))); // the reload fails
    forgive(array);
    array.startAddingData();
    EXPECT_EQ(readFile(path), whole.left(whole.size() - 4)) << "the only copy";
    EXPECT_GE(errors().size(), 1);
    ASSERT_TRUE(writeFile(path, whole)); // and the file comes back, from a backup
    add(array, {4});
    array.endAddingData(KEY);
    cache().awaitTaskFinished(&array);
    EXPECT_EQ(readFile(path).left(28), (cacheFileHeader() + countBytes(4) + sampleBytes({1, 2, 3})));
}

TEST_F(FileSafety, ABracketOverAMissingFileStillTakesSamples)
{
    Array& array = store("A", {1, 2, 3});
    evict(array);
    ASSERT_TRUE(QFile::remove(fileOf(array)));
    forgive(array);
    array.startAddingData();
    add(array, {4});
    array.endAddingData(KEY);
    cache().awaitTaskFinished(&array);
    processEvents();
    EXPECT_TRUE(cache().isCached(&array));
    EXPECT_GE(errors().size(), 1);
}

// ---- names

struct NamePair
{
    const char* label;
    const char* firstKey;
    const char* firstName;
    const char* secondKey;
    const char* secondName;
};

const NamePair SAME_NAMES[] = {
    {"Joint", "a__b", "c", "a", "b__c"},         {"Colon", "a:b", "A", "a__b", "A"},
    {"Slash", "a/b", "A", "a_slash_b", "A"},     {"SpecialCharacters", "a*b", "A", "a?b", "A"},
    {"InTheName", "k", "U/V", "k", "U_slash_V"},
};

class FileNameSafety : public FileSafety, public ::testing::WithParamInterface<NamePair>
{};

TEST_P(FileNameSafety, PairsWhoseNamesBecomeEqualShareNoFile)
{
    Array& first = store(GetParam().firstName, {1, 2, 3}, GetParam().firstKey);
    Array& second = store(GetParam().secondName, {4, 5}, GetParam().secondKey);
    evict(first);
    evict(second);
    EXPECT_EQ(samplesOf(first), (Samples{1, 2, 3}));
    EXPECT_EQ(samplesOf(second), (Samples{4, 5}));
    EXPECT_EQ(bitsOf(cache().getSampleDirect(&first, 0)), 1);
    EXPECT_EQ(bitsOf(cache().getSampleDirect(&second, 0)), 4);
    evict(second);
    destroy(first);
    EXPECT_EQ(samplesOf(second), (Samples{4, 5})) << "the file went with the other array";
    EXPECT_TRUE(errors().isEmpty());
}

TEST_P(FileNameSafety, TheListNamesTheFileOfEach)
{
    Array& first = store(GetParam().firstName, {1, 2, 3}, GetParam().firstKey);
    Array& second = store(GetParam().secondName, {4, 5}, GetParam().secondKey);
    evict(first);
    evict(second);
    QStringList files = cache().getDataSourceFileCacheList(GetParam().firstKey, "");
    if (QString(GetParam().firstKey) != GetParam().secondKey) {
        files += cache().getDataSourceFileCacheList(GetParam().secondKey, "");
    }
    ASSERT_EQ(files.size(), 2);
    EXPECT_NE(files[0], files[1]);
    const QSet<QByteArray> contents{readFile(files[0]), readFile(files[1])};
    EXPECT_EQ(contents, (QSet<QByteArray>{cacheFileBytes({1, 2, 3}), cacheFileBytes({4, 5})}));
}

TEST_P(FileNameSafety, ANewKeyThatMeetsAnothersNameTakesNoFile)
{
    Array& first = store(GetParam().firstName, {1, 2, 3}, GetParam().firstKey);
    Array& second = store(GetParam().secondName, {4, 5}, "elsewhere");
    EXPECT_TRUE(cache().updateDataCachePath(GetParam().secondKey, &second));
    evict(first);
    evict(second);
    EXPECT_EQ(samplesOf(first), (Samples{1, 2, 3}));
    EXPECT_EQ(samplesOf(second), (Samples{4, 5}));
}

INSTANTIATE_TEST_SUITE_P(Names, FileNameSafety, ::testing::ValuesIn(SAME_NAMES),
                         [](const auto& row) { return std::string(row.param.label); });

TEST_F(FileSafety, ANameBeyondTheLimitOfTheFileSystemWorks)
{
    const QStringList keys{QString("C:/") + QString("directory/").repeated(40) + "run1.dat",
                           QString("C:/") + QString("directory/").repeated(40) + "run2.dat",
                           QString("Größe/").repeated(60), QString("x").repeated(5000)};
    std::vector<Array*> arrays;
    for (int i = 0; i < keys.size(); ++i) {
        arrays.push_back(&store("A", {i, i + 1}, keys[i]));
        EXPECT_LE(QFile::encodeName(QFileInfo(fileOf(*arrays.back(), keys[i])).fileName()).size(), 255);
        EXPECT_TRUE(hasFile(*arrays.back(), keys[i]));
        evict(*arrays.back());
    }
    for (int i = 0; i < keys.size(); ++i) {
        EXPECT_EQ(samplesOf(*arrays[static_cast<std::size_t>(i)]), (Samples{i, i + 1}));
    }
    arrays[0]->startAddingData();
    add(*arrays[0], {2});
    arrays[0]->endAddingData(keys[0]);
    expectFile(*arrays[0], {0, 1, 2}, keys[0]);
    EXPECT_TRUE(errors().isEmpty());
}

TEST_F(FileSafety, NamesUpToTheLimitStayAsTheyAre)
{
    Array& array = make("A");
    const QString key(255 - 7, 'k'); // and "__A.bmd"
    EXPECT_EQ(fileOf(array, key), cache().getDefaultCachePath() + key + "__A.bmd");
    fill(array, {1}, key);
    expectFile(array, {1}, key);
}

// ---- memory

#if CAN_LIMIT_MEMORY

namespace {

constexpr rlim_t SPARE = rlim_t{48} * 1024 * 1024;
constexpr int TOO_MANY = 40000000; // 160 MB

} // namespace

TEST_F(FileSafety, FillingBeyondTheMemoryIsAnErrorOnTheArray)
{
    Array& array = make("A");
    {
        const LittleMemory little(SPARE);
        while (!array.isInError() && array.getSizeLoadedInMemory() < TOO_MANY) {
            array.addSampleInt(array.getSizeLoadedInMemory());
        }
        for (int i = 0; i < 100; ++i) {
            array.addSampleInt(i); // there is still no room
        }
    }
    EXPECT_TRUE(array.isInError());
    array.setReadWriteError(false);
    const int held = array.getSizeLoadedInMemory();
    EXPECT_LT(held, TOO_MANY);
    for (int i = 0; i < held; i += 1000) {
        ASSERT_EQ(bitsOf(array.getSample(i)), i);
    }
}

TEST_F(FileSafety, ABlockBeyondTheMemoryIsDroppedWhole)
{
    constexpr int size = 1000000;
    const Samples block = sequence(size);
    Array& array = make("A");
    DataArrayInfo plain("B", ParameterVoltage, Int, UsualUnit(UnitVolt));
    plain.createDataArray();
    {
        const LittleMemory little(SPARE);
        while (!array.isInError() && array.getSize() < TOO_MANY) {
            array.addSamples(std::span<const int>(block));
        }
        for (qint64 before = -1; before < plain.getSize() && before < TOO_MANY;) {
            before = plain.getSize();
            plain.addSamples(std::span<const int>(block));
        }
    }
    EXPECT_TRUE(array.isInError());
    array.setReadWriteError(false);
    for (DataArrayInfo* info : {static_cast<DataArrayInfo*>(&array), &plain}) {
        ASSERT_LT(info->getSize(), TOO_MANY);
        EXPECT_EQ(info->getSize() % size, 0);
        const qint64 held = info->getSize();
        // A plain array, whose errors nobody sees and clears, asks the system again after a while.
        for (int tries = 0; info->getSize() == held && tries < 100000; ++tries) {
            info->addSamples(std::span<const int>(block));
        }
        ASSERT_EQ(info->getSize(), held + size) << "with memory again there is room";
        EXPECT_EQ(bitsOf(info->getSample(held + 5)), 5);
        EXPECT_EQ(bitsOf(info->getSample(held + size - 1)), size - 1);
    }
}

TEST_F(FileSafety, LoadingBeyondTheMemoryIsAReadError)
{
    Array& array = make("A");
    vx::archive::ArchiveContext context;
    context.dataSourcePath = KEY;
    ASSERT_TRUE(array.read(
        QJsonObject{{"name", "A"}, {"dataArray", QJsonObject{{"realSize", QString::number(TOO_MANY)}}}}, 1,
        context));
    ASSERT_TRUE(writeFile(fileOf(array), cacheFileHeader() + countBytes(TOO_MANY)));
    ASSERT_TRUE(QFile::resize(fileOf(array), 16 + 4LL * TOO_MANY)); // a file of zeros
    {
        const LittleMemory little(SPARE);
        load(array);
    }
    EXPECT_EQ(errors(),
              QStringList("CacheTaskRead::run ERROR !\nError while reading data from " + fileOf(array)));
    EXPECT_TRUE(array.isInError());
    array.setReadWriteError(false);
    load(array);
    EXPECT_EQ(array.getSizeLoadedInMemory(), TOO_MANY) << "with memory again it can be loaded";
}

TEST_F(FileSafety, ACopyBeyondTheMemoryIsAResultWithAnError)
{
    Array& array = make("A");
    while (array.getSizeLoadedInMemory() < TOO_MANY)
        array.addSampleInt(array.getSizeLoadedInMemory());
    array.endAddingData(KEY);
    cache().awaitTaskFinished(&array);
    {
        const LittleMemory little(SPARE);
        const ReadResult read = cache().readInBackground(&array, 0, TOO_MANY).result();
        EXPECT_EQ(read.error, "The samples cannot be brought into memory");
        EXPECT_TRUE(read.samples.isEmpty());
    }
    const ReadResult read = cache().readInBackground(&array, TOO_MANY - 2, 5).result();
    EXPECT_EQ(read.error, QString());
    ASSERT_EQ(read.samples.size(), 2);
    EXPECT_EQ(bitsOf(read.samples[1]), TOO_MANY - 1);
    EXPECT_FALSE(array.isInError()) << "it is in memory as before";
}

TEST_F(FileSafety, AClearedErrorLetsAFillGoOnOnceThereIsMemory)
{
    Array& array = make("A");
    {
        const LittleMemory little(SPARE);
        while (!array.isInError() && array.getSizeLoadedInMemory() < TOO_MANY) {
            array.addSampleInt(array.getSizeLoadedInMemory());
        }
        array.addSampleInt(-1);
    }
    const int held = array.getSizeLoadedInMemory();
    ASSERT_LT(held, TOO_MANY);
    array.setReadWriteError(false);
    array.addSampleInt(held);
    EXPECT_EQ(array.getSizeLoadedInMemory(), held + 1);
    EXPECT_EQ(bitsOf(array.getSample(held)), held);
    EXPECT_FALSE(array.isInError());
}

TEST_F(FileSafety, SamplesAddedDuringALoadWithoutMemoryAreAnErrorOnTheArray)
{
    Array& array = store("A", {1, 2, 3});
    evict(array);
    int held = 3;
    Samples block(1000);
    {
        GatedPool pool;
        cache().readDataArrayFromDisk(&array); // waits, and what is added waits for it
        const LittleMemory little(SPARE);
        while (!array.isInError() && held < TOO_MANY) {
            std::iota(block.begin(), block.end(), held);
            array.addSamples(std::span<const int>(block));
            held = static_cast<int>(array.getSize());
        }
    }
    EXPECT_TRUE(array.isInError());
    array.setReadWriteError(false);
    ASSERT_LT(held, TOO_MANY);
    cache().awaitTaskFinished(&array);
    EXPECT_EQ(bitsOf(array.getSample(2)), 3);
    EXPECT_EQ(bitsOf(array.getSample(held - 1)), held - 1);
}

#endif
