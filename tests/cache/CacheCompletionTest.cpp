#include <datastorage/cache/CacheManager.h>

#include <support/CacheFixture.h>
#include <support/Faults.h>
#include <support/ReaderThread.h>

#include <QtCore/QMetaMethod>
#include <QtCore/QMetaType>
#include <QtCore/QThread>
#include <QtCore/QThreadPool>

#include <string>
#include <vector>

#include <gtest/gtest.h>

using namespace vx::datastorage;

namespace {

/// A stamp that no push gives.
constexpr quint64 UNSTAMPED = quint64(1) << 60;

} // namespace

class CacheCompletion : public CacheFixture
{
protected:
    /// A completed write or read stamps its array; from here on that shows.
    static void forgetStamp(Array& array) { array.setLastTimeStreamed(UNSTAMPED); }
    static bool isStamped(const Array& array) { return array.getLastTimeStreamed() != UNSTAMPED; }

    static QString missingText(const Array& array)
    {
        return "CacheTaskRead::run ERROR !\nCache file " + fileOf(array) + " doesn't exists\n";
    }
};

// ---- on their way to the main thread

TEST_F(CacheCompletion, ATaskThatIsQueuedHasDoneNothing)
{
    GatedPool pool;
    Array& array = make("A");
    forgetStamp(array);
    fill(array, {1, 2});
    processEvents();
    EXPECT_FALSE(hasFile(array));
    EXPECT_FALSE(isStamped(array));
}

TEST_F(CacheCompletion, WaitsForTheEventLoop)
{
    GatedPool pool;
    Array& array = make("A");
    forgetStamp(array);
    fill(array, {1, 2});
    pool.runQueued();
    EXPECT_TRUE(hasFile(array));
    EXPECT_FALSE(isStamped(array)) << "the task is over, its completion is not";
    processEvents();
    EXPECT_TRUE(isStamped(array));
}

TEST_F(CacheCompletion, WithoutEventLoopWaitsForTheNextAwaitOfAnyArray)
{
    GatedPool pool;
    Array& array = make("A");
    Array& unknown = make("B");
    forgetStamp(array);
    fill(array, {1, 2});
    pool.runQueued();
    EXPECT_FALSE(isStamped(array));
    cache().awaitTaskFinished(&unknown);
    EXPECT_TRUE(isStamped(array));
}

TEST_F(CacheCompletion, RunsOnce)
{
    GatedPool pool;
    Array& array = make("A");
    fill(array, {1, 2});
    pool.runQueued();
    cache().awaitTaskFinished(&array);
    forgetStamp(array);
    processEvents(); // the posted call finds nothing left
    EXPECT_FALSE(isStamped(array));
}

TEST_F(CacheCompletion, OnePostedCallRunsAllOfThemInTheOrderOfTheTasks)
{
    GatedPool pool;
    std::vector<Array*> arrays;
    arrays.reserve(5);
    for (int i = 0; i < 5; ++i) {
        arrays.push_back(&make(QString("A%1").arg(i)));
    }
    for (const int i : {3, 0, 4, 1, 2}) {
        fill(*arrays[static_cast<std::size_t>(i)], {i});
        forgetStamp(*arrays[static_cast<std::size_t>(i)]);
    }
    pool.runQueued();
    processEvents();
    const quint64 first = arrays[3]->getLastTimeStreamed();
    EXPECT_NE(first, UNSTAMPED);
    EXPECT_EQ(arrays[0]->getLastTimeStreamed(), first + 1);
    EXPECT_EQ(arrays[4]->getLastTimeStreamed(), first + 2);
    EXPECT_EQ(arrays[1]->getLastTimeStreamed(), first + 3);
    EXPECT_EQ(arrays[2]->getLastTimeStreamed(), first + 4);
}

TEST_F(CacheCompletion, RunsOnTheMainThread)
{
    Array& array = make("A");
    cache().loadDataArrayInfoToCache(KEY, &array);
    const QThread* emitter = nullptr;
    const QMetaObject::Connection connection =
        QObject::connect(&cache(), &CacheManager::signal_cacheError,
                         [&emitter](const QString&) { emitter = QThread::currentThread(); });
    cache().readDataArrayFromDisk(&array);
    cache().awaitTaskFinished(&array);
    QObject::disconnect(connection);
    EXPECT_EQ(emitter, QThread::currentThread());
}

// ---- waiting

TEST_F(CacheCompletion, AwaitReturnsOnceTheTaskAndItsCompletionAreOver)
{
    GatedPool pool;
    Array& array = make("A");
    forgetStamp(array);
    fill(array, {1, 2});
    const long mainThread = threadId();
    ReaderThread<int> opener([&] {
        const bool waiting = awaitAsleep(mainThread);
        const bool early = hasFile(array);
        pool.open();
        return waiting && !early ? 1 : 0;
    });
    cache().awaitTaskFinished(&array);
    EXPECT_TRUE(hasFile(array));
    EXPECT_TRUE(isStamped(array));
    ASSERT_TRUE(opener.awaitReturned());
    EXPECT_EQ(opener.result(), 1);
}

TEST_F(CacheCompletion, AwaitWithoutATaskOnlyDrains)
{
    Array& array = store("A", {1});
    forgetStamp(array);
    cache().awaitTaskFinished(&array);
    cache().awaitTaskFinished(&make("B"));
    cache().awaitTaskFinished(nullptr);
    EXPECT_FALSE(isStamped(array));
}

TEST_F(CacheCompletion, AwaitDoesNotWaitForOtherArrays)
{
    Array& other = store("B", {1});
    GatedPool pool;
    Array& array = make("A");
    fill(array, {1, 2});
    cache().awaitTaskFinished(&other); // would end the patience of the gate
    EXPECT_FALSE(hasFile(array));
}

TEST_F(CacheCompletion, AwaitRunsEarlierCompletionsFirst)
{
    GatedPool pool;
    Array& first = make("A");
    Array& second = make("B");
    Array& third = make("C");
    fill(first, {1});
    fill(second, {2});
    pool.runQueued();
    for (Array* array : {&first, &second, &third}) {
        forgetStamp(*array);
    }
    fill(third, {3});
    const long mainThread = threadId();
    ReaderThread<int> opener([&] {
        const bool waiting = awaitAsleep(mainThread);
        pool.open();
        return waiting ? 1 : 0;
    });
    cache().awaitTaskFinished(&third);
    EXPECT_EQ(second.getLastTimeStreamed(), first.getLastTimeStreamed() + 1);
    EXPECT_EQ(third.getLastTimeStreamed(), second.getLastTimeStreamed() + 1);
    ASSERT_TRUE(opener.awaitReturned());
    EXPECT_EQ(opener.result(), 1);
}

TEST_F(CacheCompletion, AwaitLeavesTasksThatFinishWhileItWaitsToTheirOwnTurn)
{
    GatedPool pool;
    Array& first = make("A");
    Array& second = make("B");
    fill(first, {1});
    fill(second, {2});
    forgetStamp(first);
    forgetStamp(second);
    pool.addGate();
    const long mainThread = threadId();
    ReaderThread<int> opener([&] {
        const bool waiting = awaitAsleep(mainThread);
        pool.open();
        return waiting ? 1 : 0;
    });
    cache().awaitTaskFinished(&second);
    EXPECT_TRUE(isStamped(second));
    processEvents();
    EXPECT_TRUE(isStamped(first));
    ASSERT_TRUE(opener.awaitReturned());
    EXPECT_EQ(opener.result(), 1);
}

// ---- one task for each array

TEST_F(CacheCompletion, AWriteWhileAnotherWriteWaitsIsDropped)
{
    GatedPool pool;
    Array& array = make("A");
    fill(array, {1});
    EXPECT_TRUE(cache().writeDataArrayToDisk(&array));
    EXPECT_TRUE(cache().writeDataArrayToDisk(&array));
    pool.runQueued();
    processEvents();
    const quint64 stamp = array.getLastTimeStreamed();
    push(array);
    EXPECT_EQ(array.getLastTimeStreamed(), stamp + 1);
    forgetStamp(array);
    pool.runQueued();
    processEvents();
    EXPECT_FALSE(isStamped(array)) << "another write ran";
}

TEST_F(CacheCompletion, AWriteWhileAReadRunsIsDropped)
{
    Array& array = store("A", {1, 2});
    evict(array);
    ASSERT_TRUE(QFile::remove(fileOf(array)));
    GatedPool pool;
    EXPECT_TRUE(cache().readDataArrayFromDisk(&array));
    EXPECT_TRUE(cache().writeDataArrayToDisk(&array));
    pool.runQueued();
    processEvents();
    pool.runQueued();
    processEvents();
    EXPECT_EQ(errors(), QStringList(missingText(array)));
    EXPECT_FALSE(hasFile(array)) << "a write ran after the read";
}

TEST_F(CacheCompletion, AReadWaitsForTheWriteOfTheArray)
{
    GatedPool pool;
    Array& array = make("A");
    fill(array, {1, 2, 3});
    pool.open();
    EXPECT_TRUE(cache().readDataArrayFromDisk(&array));
    cache().awaitTaskFinished(&array);
    EXPECT_TRUE(errors().isEmpty());
    EXPECT_EQ(array.getSizeLoadedInMemory(), 3);
}

TEST_F(CacheCompletion, ASecondReadWaitsForTheFirstAndStampsAgain)
{
    Array& array = store("A", {1, 2, 3});
    evict(array);
    const quint64 before = array.getLastTimeStreamed();
    cache().readDataArrayFromDisk(&array);
    cache().readDataArrayFromDisk(&array);
    cache().awaitTaskFinished(&array);
    EXPECT_EQ(array.getLastTimeStreamed(), before + 2);
    EXPECT_EQ(array.getSizeLoadedInMemory(), 3);
    EXPECT_EQ(array.getSampleInt(2), 3);
}

TEST_F(CacheCompletion, AnAppendWaitsForTheTaskOfTheArray)
{
    GatedPool pool;
    Array& array = make("A");
    fill(array, {1, 2});
    pool.open();
    EXPECT_TRUE(cache().appendDataArray(&array, "other key"));
    cache().awaitTaskFinished(&array);
    EXPECT_TRUE(errors().isEmpty());
    EXPECT_FALSE(isInMemory(array)) << "the append dropped the samples";
}

// ---- errors

TEST_F(CacheCompletion, AReadErrorIsEmittedUnchangedAndFlagsTheArray)
{
    Array& array = make("A");
    cache().loadDataArrayInfoToCache(KEY, &array);
    EXPECT_TRUE(cache().readDataArrayFromDisk(&array));
    cache().awaitTaskFinished(&array);
    EXPECT_EQ(errors(), QStringList(missingText(array)));
    EXPECT_TRUE(array.isInError());
    EXPECT_TRUE(cache().isCached(&array)) << "it stays registered";
}

TEST_F(CacheCompletion, AReadErrorTakesNoStamp)
{
    Array& array = make("A");
    cache().loadDataArrayInfoToCache(KEY, &array);
    forgetStamp(array);
    cache().readDataArrayFromDisk(&array);
    cache().awaitTaskFinished(&array);
    EXPECT_FALSE(isStamped(array));
}

TEST_F(CacheCompletion, AReadErrorIsNotEmittedBeforeTheMainThreadIsReady)
{
    GatedPool pool;
    Array& array = make("A");
    cache().loadDataArrayInfoToCache(KEY, &array);
    cache().readDataArrayFromDisk(&array);
    pool.runQueued();
    EXPECT_TRUE(errors().isEmpty());
    EXPECT_TRUE(array.isInError()) << "the task itself flags the array";
    processEvents();
    EXPECT_EQ(errors().size(), 1);
}

TEST_F(CacheCompletion, ErrorsThatCauseErrorsDoNotMakeTheTurnsOfTheEventLoopLonger)
{
    constexpr int arrayCount = 8;
    constexpr int enough = 2000;
    std::vector<Array*> arrays;
    for (int number = 0; number < arrayCount; ++number) {
        arrays.push_back(&make(QString::number(number)));
        fill(*arrays.back(), {1, 2});
        cache().awaitTaskFinished(arrays.back());
        ASSERT_TRUE(QFile::remove(fileOf(*arrays.back())));
        arrays.back()->removeFromMemory();
    }
    // As readers do that want samples of arrays whose errors are cleared as they come.
    const auto readAgain = [&](const QString& error) {
        for (Array* array : arrays) {
            if (errors().size() >= enough || !error.contains(fileOf(*array)))
                continue;
            array->setReadWriteError(false);
            cache().prefetch(array);
        }
        QThreadPool::globalInstance()->waitForDone();
    };
    const QObject listener;
    QObject::connect(&cache(), &CacheManager::signal_cacheError, &listener, readAgain);
    for (Array* array : arrays)
        cache().prefetch(array);
    QThreadPool::globalInstance()->waitForDone();
    for (int turn = 0; turn < 4; ++turn) {
        const qsizetype before = errors().size();
        processEvents();
        EXPECT_GE(errors().size() - before, arrayCount) << turn;
        EXPECT_LT(errors().size() - before, 40 * arrayCount) << turn;
    }
    while (errors().size() < enough)
        processEvents();
    for (Array* array : arrays)
        cache().awaitTaskFinished(array);
    EXPECT_LE(errors().size(), enough + arrayCount) << "one error for each read";
}

TEST_F(CacheCompletion, AnErrorIsEmittedInAnEventLoopAfterTheOneThatWasKeptWaiting)
{
    Array& array = make("A");
    cache().loadDataArrayInfoToCache(KEY, &array);
    for (int round = 0; round < 40; ++round) {
        cache().readDataArrayFromDisk(&array);
        QThreadPool::globalInstance()->waitForDone();
        processEvents();
        EXPECT_EQ(errors().size(), round + 1);
    }
}

TEST_F(CacheCompletion, AWriteErrorIsEmittedUnchangedAndFlagsTheArray)
{
    Array& array = make("A");
    ASSERT_TRUE(QDir().mkdir(fileOf(array)));
    fill(array, {1, 2});
    forgetStamp(array);
    cache().awaitTaskFinished(&array);
    EXPECT_EQ(errors(), QStringList("CacheTaskWrite::run ERROR !\nCannot open file " + fileOf(array)));
    EXPECT_TRUE(array.isInError());
    EXPECT_FALSE(isStamped(array));
    EXPECT_TRUE(cache().isCached(&array));
    array.setReadWriteError(false);
    EXPECT_EQ(samplesOf(array), (std::vector<std::int32_t>{1, 2})) << "the samples stay";
}

TEST_F(CacheCompletion, AnAppendErrorEndsTheBatchMode)
{
    Array& array = make("A");
    ASSERT_TRUE(QDir().mkdir(fileOf(array)));
    add(array, {1, 2});
    cache().appendDataArray(&array, KEY);
    cache().awaitTaskFinished(&array);
    EXPECT_EQ(errors().size(), 1);
    EXPECT_TRUE(array.isInError());
    EXPECT_FALSE(array.isUseBatchMode());
    EXPECT_TRUE(isInMemory(array)) << "what did not reach the disk stays in memory";
}

TEST_F(CacheCompletion, TheNextWriteAfterAnErrorIsCarriedOut)
{
    Array& array = make("A");
    ASSERT_TRUE(QDir().mkdir(fileOf(array)));
    fill(array, {1, 2});
    cache().awaitTaskFinished(&array);
    ASSERT_EQ(errors().size(), 1);
    ASSERT_TRUE(QDir().rmdir(fileOf(array)));
    array.setReadWriteError(false);
    EXPECT_TRUE(cache().writeDataArrayToDisk(&array));
    cache().awaitTaskFinished(&array);
    EXPECT_EQ(errors().size(), 1);
    EXPECT_EQ(bytesOf(array), cacheFileBytes({1, 2}));
}

TEST_F(CacheCompletion, ErrorsOfSeveralArraysComeInTheOrderOfTheTasks)
{
    GatedPool pool;
    std::vector<Array*> arrays;
    QStringList expected;
    for (int i = 0; i < 4; ++i) {
        arrays.push_back(&make(QString("A%1").arg(i)));
        cache().loadDataArrayInfoToCache(KEY, arrays.back());
        cache().readDataArrayFromDisk(arrays.back());
        expected.append(missingText(*arrays.back()));
    }
    pool.runQueued();
    processEvents();
    EXPECT_EQ(errors(), expected);
}

// ---- the object

TEST_F(CacheCompletion, MetaObjectListsTheSignalAndTheSlotsInOrder)
{
    const QMetaObject& meta = CacheManager::staticMetaObject;
    const QByteArrayList names{"signal_cacheError", "onWriteTaskFinished", "onWriteTaskError",
                               "onReadTaskFinished", "onReadTaskError"};
    ASSERT_EQ(meta.methodCount() - meta.methodOffset(), names.size());
    for (int i = 0; i < names.size(); ++i) {
        const QMetaMethod method = meta.method(meta.methodOffset() + i);
        EXPECT_EQ(method.name(), names[i]);
        EXPECT_EQ(method.methodType(), i == 0 ? QMetaMethod::Signal : QMetaMethod::Slot);
        EXPECT_EQ(method.access(), QMetaMethod::Public);
    }
    const int first = meta.methodOffset();
    EXPECT_EQ(meta.method(first).parameterNames(), QByteArrayList{"error"});
    EXPECT_EQ(meta.method(first + 1).parameterNames(), QByteArrayList{"dataArrayInfo"});
    EXPECT_EQ(meta.method(first + 2).parameterNames(), (QByteArrayList{"dataArrayInfo", "error"}));
    EXPECT_EQ(meta.method(first + 3).parameterNames(), QByteArrayList{"dataArrayInfo"});
    EXPECT_EQ(meta.method(first + 4).parameterNames(), (QByteArrayList{"dataArrayInfo", "error"}));
    EXPECT_EQ(QByteArray(meta.className()), QByteArray("vx::datastorage::CacheManager"));
}

TEST_F(CacheCompletion, TheHandleOfAnArrayIsAMetaType)
{
    EXPECT_TRUE(QMetaType::fromType<vx::datastorage::DataArrayInfoStreamed*>().isValid());
    const QMetaObject& meta = CacheManager::staticMetaObject;
    const QMetaMethod slot = meta.method(meta.methodOffset() + 1);
    EXPECT_EQ(slot.parameterMetaType(0), QMetaType::fromType<vx::datastorage::DataArrayInfoStreamed*>());
    EXPECT_TRUE(QMetaType::fromName("vx::datastorage::DataArrayInfoStreamed*").isValid());
}

TEST_F(CacheCompletion, ReadsAndWritesAlwaysAnswerTrue)
{
    Array& unknown = make("A");
    EXPECT_TRUE(cache().readDataArrayFromDisk(&unknown));
    EXPECT_TRUE(cache().writeDataArrayToDisk(&unknown));
    cache().awaitTaskFinished(&unknown);
}
