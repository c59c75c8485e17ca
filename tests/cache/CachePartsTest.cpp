#include <datastorage/arrays/DataArrayInfoStreamed.h>
#include <datastorage/arrays/DataArrayStreamed_p.h>
#include <datastorage/arrays/SampleBlock_p.h>
#include <datastorage/arrays/StreamedEnvelope_p.h>
#include <datastorage/cache/CacheCounters_p.h>
#include <datastorage/cache/CacheRegistry_p.h>
#include <datastorage/cache/CacheThread_p.h>
#include <datastorage/cache/EvictionQueue_p.h>
#include <datastorage/cache/MemoryMeter_p.h>
#include <datastorage/cache/TaskTable_p.h>

#include <support/GatedPool.h>
#include <support/OpenStreamedArray.h>
#include <support/Printers.h>
#include <support/Signal.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

using namespace vx::datastorage;

namespace {

std::unique_ptr<DataArrayInfoStreamed> named(const QString& name)
{
    return std::make_unique<DataArrayInfoStreamed>(name, ParameterVoltage, Float, UsualUnit(UnitVolt));
}

} // namespace

// ---- the order of evictions

TEST(EvictionQueue, GivesTheLeastRecentlyStampedFirstAndKeepsTheLast)
{
    const auto a = named("a"), b = named("b"), c = named("c");
    EvictionQueue queue;
    queue.push(b.get());
    queue.push(a.get());
    queue.push(c.get());
    EXPECT_EQ(b->getLastTimeStreamed(), 0U);
    EXPECT_EQ(c->getLastTimeStreamed(), 2U);
    EXPECT_EQ(queue.popOldest(), b.get());
    EXPECT_EQ(queue.popOldest(), a.get());
    EXPECT_EQ(queue.popOldest(), nullptr) << "the last one stays";
}

TEST(EvictionQueue, KeepsTheOlderEntryOfAnArrayThatIsPushedAgain)
{
    const auto a = named("a"), b = named("b");
    EvictionQueue queue;
    queue.push(a.get());
    queue.push(b.get());
    queue.push(a.get());
    // The older entry is still at the top although its stamp is the newest now.
    EXPECT_EQ(queue.popOldest(), a.get());
    EXPECT_EQ(queue.popOldest(), b.get());
    EXPECT_EQ(queue.popOldest(), nullptr);
}

TEST(EvictionQueue, RemovesOneEntryOrEveryEntry)
{
    const auto a = named("a"), b = named("b"), c = named("c");
    EvictionQueue queue;
    for (const auto* info : {&a, &b, &a, &c})
        queue.push(info->get());
    queue.remove(a.get());
    EXPECT_EQ(queue.popOldest(), b.get());
    queue.push(b.get());
    queue.removeEvery(a.get());
    EXPECT_EQ(queue.popOldest(), c.get());
    EXPECT_EQ(queue.popOldest(), nullptr);
}

TEST(EvictionQueue, PutsAnEntryBackWithItsStamp)
{
    const auto a = named("a"), b = named("b"), c = named("c");
    EvictionQueue queue;
    for (const auto* info : {&a, &b, &c})
        queue.push(info->get());
    DataArrayInfoStreamed* oldest = queue.popOldest();
    queue.putBack(oldest);
    EXPECT_EQ(queue.popOldest(), a.get());
}

TEST(EvictionQueue, RemovingOneOfManyKeepsTheOrderOfTheRest)
{
    std::vector<std::unique_ptr<DataArrayInfoStreamed>> arrays;
    EvictionQueue queue;
    for (int i = 0; i < 200; ++i) {
        arrays.push_back(named(QString::number(i)));
        queue.push(arrays.back().get());
    }
    for (std::size_t i = 0; i < arrays.size(); i += 3)
        queue.remove(arrays[i].get());
    for (std::size_t i = 0; i + 2 < arrays.size(); ++i) {
        if (i % 3 != 0) {
            EXPECT_EQ(queue.popOldest(), arrays[i].get()) << i;
        }
    }
}

// ---- the memory figures

class MemoryMeterAccount : public ::testing::Test
{
protected:
    void TearDown() override
    {
        m_meter.remove(m_account);
        m_meter.recount();
    }

    MemoryMeter& m_meter = MemoryMeter::instance();
    const qint64 m_residentBefore = m_meter.residentBytes();
    std::atomic<qint64> m_samples{0};
    MemoryMeter::Account m_account{m_samples};
};

TEST_F(MemoryMeterAccount, CountsWhatAnOpenAccountGainsSinceTheLastRecount)
{
    m_meter.recount();
    const qint64 used = m_meter.usedBytes();
    m_samples = 5;
    m_meter.open(m_account);
    m_samples = 8;
    EXPECT_EQ(m_meter.usedBytes(), used + 12) << "only what came in while the account was open";
    m_meter.recount();
    EXPECT_EQ(m_meter.usedBytes(), used) << "an array that is not registered does not stay counted";
    m_samples = 9;
    EXPECT_EQ(m_meter.usedBytes(), used + 4);
    m_meter.settle(m_account);
    m_samples = 100;
    EXPECT_EQ(m_meter.usedBytes(), used + 4);
}

TEST_F(MemoryMeterAccount, ResidentBytesAreExactForRegisteredArrays)
{
    m_samples = 10;
    m_meter.addRegistrations(m_account, 1);
    EXPECT_EQ(m_meter.residentBytes(), m_residentBefore + 40);
    m_meter.open(m_account);
    m_samples = 15;
    EXPECT_EQ(m_meter.residentBytes(), m_residentBefore + 60);
    m_meter.addRegistrations(m_account, 1);
    EXPECT_EQ(m_meter.residentBytes(), m_residentBefore + 120) << "an array registered twice counts twice";
    m_samples = 0;
    m_meter.settle(m_account);
    EXPECT_EQ(m_meter.residentBytes(), m_residentBefore);
}

TEST_F(MemoryMeterAccount, ARecountLosesNothingThatALoaderAddsMeanwhile)
{
    m_meter.addRegistrations(m_account, 1);
    m_meter.open(m_account);
    constexpr qint64 additions = 200000;
    std::thread loader([this] {
        for (qint64 i = 0; i < additions; ++i)
            m_samples.fetch_add(1);
    });
    for (int i = 0; i < 1000; ++i)
        m_meter.recount();
    loader.join();
    EXPECT_EQ(m_meter.usedBytes(), m_meter.residentBytes());
    EXPECT_EQ(m_meter.residentBytes(), m_residentBefore + 4 * additions);
}

// ---- running tasks and what follows them

class TaskTableOrder : public ::testing::Test
{
protected:
    void SetUp() override { CacheThread::claim(); }

    auto note(int number)
    {
        return [this, number](bool) { m_order.push_back(number); };
    }

    std::unique_ptr<DataArrayInfoStreamed> m_a = named("a");
    std::unique_ptr<DataArrayInfoStreamed> m_b = named("b");
    TaskTable m_tasks;
    std::vector<int> m_order;
};

TEST_F(TaskTableOrder, RunsQueuedCompletionsInTheOrderOfTheirTasks)
{
    ASSERT_TRUE(m_tasks.begin(m_a.get()));
    ASSERT_FALSE(m_tasks.begin(m_a.get()));
    ASSERT_TRUE(m_tasks.begin(m_b.get()));
    EXPECT_TRUE(m_tasks.finish(m_b.get(), note(1)));
    EXPECT_TRUE(m_tasks.finish(m_a.get(), note(2)));
    EXPECT_FALSE(m_tasks.isRunning(m_a.get()));
    EXPECT_TRUE(m_tasks.isBusy(m_a.get()));
    EXPECT_TRUE(m_order.empty());
    m_tasks.runPending();
    EXPECT_FALSE(m_tasks.isBusy(m_a.get()));
    EXPECT_EQ(m_order, (std::vector{1, 2}));
}

TEST_F(TaskTableOrder, AWaitingThreadTakesTheCompletionOfItsTaskAlone)
{
    ASSERT_TRUE(m_tasks.begin(m_a.get()));
    ASSERT_TRUE(m_tasks.begin(m_b.get()));
    Signal waiting;
    std::thread worker([&] {
        ASSERT_TRUE(waiting.take());
        m_tasks.finish(m_b.get(), note(1));
        // The other thread may not wait yet; then its completion is queued behind, which is as good.
        m_tasks.finish(m_a.get(), note(2));
    });
    waiting.give();
    m_tasks.await(m_a.get());
    worker.join();
    ASSERT_FALSE(m_order.empty());
    EXPECT_NE(std::find(m_order.begin(), m_order.end(), 2), m_order.end());
    m_tasks.runPending();
    EXPECT_EQ(m_order.size(), 2U);
}

TEST_F(TaskTableOrder, NoCompletionIsLeftBehindByATaskThatEndsWhileSomebodyBeginsToWait)
{
    for (int round = 0; round < 2000; ++round) {
        ASSERT_TRUE(m_tasks.begin(m_a.get()));
        std::atomic<bool> isCompleted{false};
        std::thread worker([&] { m_tasks.finish(m_a.get(), [&](bool) { isCompleted = true; }); });
        m_tasks.await(m_a.get());
        ASSERT_TRUE(isCompleted) << "round " << round;
        worker.join();
    }
}

TEST_F(TaskTableOrder, ACompletionMayWaitForItsOwnArrayAndForOthers)
{
    ASSERT_TRUE(m_tasks.begin(m_a.get()));
    ASSERT_TRUE(m_tasks.begin(m_b.get()));
    m_tasks.finish(m_a.get(), [this](bool) {
        m_order.push_back(1);
        m_tasks.await(m_a.get());
        m_tasks.await(m_b.get());
        m_order.push_back(3);
    });
    m_tasks.finish(m_b.get(), note(2));
    m_tasks.runPending();
    EXPECT_EQ(m_order, (std::vector{1, 2, 3}));
}

TEST_F(TaskTableOrder, TellsACompletionThatItsArrayIsGone)
{
    ASSERT_TRUE(m_tasks.begin(m_a.get()));
    bool before = false;
    bool after = true;
    m_tasks.finish(m_a.get(), [&](bool) {
        before = m_tasks.isCompleting(m_a.get());
        m_tasks.forget(m_a.get());
        after = m_tasks.isCompleting(m_a.get());
    });
    m_tasks.runPending();
    EXPECT_TRUE(before);
    EXPECT_FALSE(after);
    EXPECT_FALSE(m_tasks.isCompleting(m_a.get()));
}

TEST_F(TaskTableOrder, DropsTheCompletionsOfAnArrayThatIsForgotten)
{
    ASSERT_TRUE(m_tasks.begin(m_a.get()));
    m_tasks.finish(m_a.get(), note(1));
    m_tasks.post(m_b.get(), [this] { m_order.push_back(2); });
    m_tasks.forget(m_a.get());
    m_tasks.runPending();
    EXPECT_EQ(m_order, std::vector{2});
}

TEST_F(TaskTableOrder, RemembersAWriteThatWasAskedForMeanwhile)
{
    std::vector<bool> requested;
    for (const bool ask : {false, true}) {
        ASSERT_TRUE(m_tasks.begin(m_a.get()));
        if (ask) {
            EXPECT_FALSE(m_tasks.beginWrite(m_a.get()));
        }
        m_tasks.finish(m_a.get(), [&](bool write) { requested.push_back(write); });
        m_tasks.runPending();
    }
    EXPECT_EQ(requested, (std::vector{false, true}));
}

TEST_F(TaskTableOrder, AWriteBeginsWhenNothingRuns)
{
    ASSERT_TRUE(m_tasks.beginWrite(m_a.get()));
    EXPECT_TRUE(m_tasks.isRunning(m_a.get()));
    std::vector<bool> requested;
    m_tasks.finish(m_a.get(), [&](bool write) { requested.push_back(write); });
    m_tasks.runPending();
    EXPECT_EQ(requested, std::vector{false});
}

TEST_F(TaskTableOrder, RunsOnlyWhatWasQueuedBefore)
{
    int runs = 0;
    std::function<void()> again = [&] {
        if (++runs < 10)
            m_tasks.post(m_a.get(), again);
    };
    m_tasks.post(m_a.get(), again);
    m_tasks.runPending();
    EXPECT_EQ(runs, 1); // whatever is queued meanwhile waits for the next turn
}

TEST_F(TaskTableOrder, WhoWaitsDoesNotRunReportsForEver)
{
    int runs = 0;
    std::function<void()> again = [&] {
        if (++runs < 10)
            m_tasks.post(m_a.get(), again);
    };
    m_tasks.post(m_a.get(), again);
    m_tasks.await(m_a.get());
    EXPECT_EQ(runs, 1);
    EXPECT_TRUE(m_tasks.isBusy(m_a.get())) << "the report that came meanwhile waits for its turn";
    m_tasks.await(m_a.get());
    EXPECT_EQ(runs, 2);
}

TEST_F(TaskTableOrder, WhoWaitsRunsTheCompletionOfATaskThatWasBegunMeanwhile)
{
    m_tasks.post(m_a.get(), [this] {
        ASSERT_TRUE(m_tasks.begin(m_a.get()));
        m_tasks.finish(m_a.get(), note(1));
    });
    m_tasks.await(m_a.get());
    EXPECT_EQ(m_order, std::vector{1});
    EXPECT_FALSE(m_tasks.isBusy(m_a.get()));
}

TEST_F(TaskTableOrder, NobodyWaitsForATaskThatWasForgottenWhileItRan)
{
    ASSERT_TRUE(m_tasks.begin(m_a.get()));
    m_tasks.forgetRunning();
    EXPECT_EQ(m_tasks.runningCount(), 0);
    m_tasks.await(m_a.get());
    EXPECT_TRUE(m_tasks.finish(m_a.get(), note(1))) << "what follows it is queued";
    m_tasks.runPending();
    EXPECT_EQ(m_order, std::vector{1});
}

TEST_F(TaskTableOrder, AStopTakesBackWhatHasNotStarted)
{
    GatedPool pool;
    std::atomic<bool> hasRun{false};
    QRunnable* task = QRunnable::create([&hasRun] { hasRun = true; });
    ASSERT_TRUE(m_tasks.begin(m_a.get()));
    m_tasks.setRunnable(m_a.get(), task);
    QThreadPool::globalInstance()->start(task);
    m_tasks.stop();
    EXPECT_EQ(m_tasks.runningCount(), 0);
    pool.drain();
    EXPECT_FALSE(hasRun);
}

TEST_F(TaskTableOrder, WhoWaitsRunsATaskThatMayRunAnywhereIfItCanBeTakenBack)
{
    QRunnable* taken = nullptr;
    TaskTable tasks({}, [&taken](QRunnable* runnable) {
        taken = runnable;
        return true;
    });
    ASSERT_TRUE(tasks.begin(m_a.get()));
    std::thread::id thread;
    const auto life = std::make_shared<int>();
    QRunnable* task = QRunnable::create([&, life] {
        thread = std::this_thread::get_id();
        EXPECT_FALSE(tasks.finish(m_a.get(), note(1))) << "who waits takes what follows";
    });
    tasks.setRunnable(m_a.get(), task, TaskTable::RunsOn::AnyThread);
    tasks.await(m_a.get());
    EXPECT_EQ(taken, task);
    EXPECT_EQ(thread, std::this_thread::get_id());
    EXPECT_EQ(m_order, std::vector{1});
    EXPECT_FALSE(tasks.isBusy(m_a.get()));
    EXPECT_EQ(life.use_count(), 1) << "the task is gone";
}

TEST_F(TaskTableOrder, WhoWaitsLeavesATaskOfThePoolToIt)
{
    TaskTable tasks({}, [](QRunnable*) {
        ADD_FAILURE() << "it was asked for";
        return true;
    });
    ASSERT_TRUE(tasks.begin(m_a.get()));
    QRunnable* task = QRunnable::create([&] { tasks.finish(m_a.get(), note(1)); });
    tasks.setRunnable(m_a.get(), task);
    QThreadPool::globalInstance()->start(task);
    tasks.await(m_a.get());
    EXPECT_EQ(m_order, std::vector{1});
}

TEST_F(TaskTableOrder, ATaskThatWaitsForOthersIsNotTakenOutOfItsTurn)
{
    GatedPool pool;
    std::atomic<bool> hasRun{false};
    QRunnable* task = QRunnable::create([&hasRun] { hasRun = true; });
    QThreadPool::globalInstance()->start(task);
    EXPECT_FALSE(TaskTable::takeFromIdlePool(task));
    pool.drain();
    EXPECT_TRUE(hasRun);
}

TEST_F(TaskTableOrder, AStopWaitsForWhatRuns)
{
    ASSERT_TRUE(m_tasks.begin(m_a.get()));
    ASSERT_TRUE(m_tasks.begin(m_b.get()));
    Signal stopping;
    std::thread worker([&] {
        ASSERT_TRUE(stopping.take());
        m_tasks.finish(m_b.get(), note(1));
        m_tasks.finish(m_a.get(), note(2));
    });
    stopping.give();
    m_tasks.stop();
    EXPECT_EQ(m_tasks.runningCount(), 0);
    worker.join();
}

TEST_F(TaskTableOrder, WhoOnlyWantsSamplesStandsBackWhileTheArrayIsAwaited)
{
    ASSERT_TRUE(m_tasks.begin(m_a.get()));
    Signal isOver;
    std::thread waiting([&] {
        m_tasks.await(m_a.get());
        isOver.give();
    });
    EXPECT_FALSE(m_tasks.beginUnlessAwaited(m_a.get()));
    m_tasks.finish(m_a.get(), note(1));
    EXPECT_TRUE(isOver.take());
    waiting.join();
    EXPECT_TRUE(m_tasks.beginUnlessAwaited(m_a.get()));
}

TEST_F(TaskTableOrder, QueuedErrorsAreFewAgainWhenTheyHaveBeenRun)
{
    int errors = 0;
    while (m_tasks.awaitFewErrors(m_a.get(), 0)) {
        ASSERT_LT(errors, 100);
        ASSERT_TRUE(m_tasks.begin(m_a.get()));
        m_tasks.finish(m_a.get(), note(++errors), TaskTable::Outcome::Error);
    }
    EXPECT_GT(errors, 1);
    EXPECT_TRUE(m_tasks.awaitFewErrors(m_b.get(), 0)) << "another array has nothing to do with it";
    m_tasks.post(m_a.get(), [] { ADD_FAILURE() << "one error more"; });
    bool areFew = false;
    std::thread waiting([&] { areFew = m_tasks.awaitFewErrors(m_a.get(), TEST_PATIENCE_MILLISECONDS); });
    m_tasks.runPending();
    waiting.join();
    EXPECT_TRUE(areFew);
    EXPECT_EQ(m_order.size(), static_cast<std::size_t>(errors));
}

TEST_F(TaskTableOrder, ErrorsOfAnArrayThatIsForgottenCountNoMore)
{
    for (int i = 0; i < 100; ++i)
        m_tasks.post(m_a.get(), [] {});
    EXPECT_FALSE(m_tasks.awaitFewErrors(m_a.get(), 0));
    m_tasks.forget(m_a.get());
    EXPECT_TRUE(m_tasks.awaitFewErrors(m_a.get(), 0));
}

TEST_F(TaskTableOrder, AnotherThreadRunsOnlyTheCompletionsOfTheArrayItWaitsFor)
{
    ASSERT_TRUE(m_tasks.begin(m_a.get()));
    ASSERT_TRUE(m_tasks.begin(m_b.get()));
    m_tasks.finish(m_a.get(), note(1));
    m_tasks.finish(m_b.get(), note(2));
    std::thread([this] { m_tasks.await(m_b.get()); }).join();
    EXPECT_EQ(m_order, std::vector{2});
    m_tasks.runPending();
    EXPECT_EQ(m_order, (std::vector{2, 1}));
}

// ---- keys and files

class CacheRegistryFiles : public ::testing::Test
{
protected:
    using State = CacheRegistry::State;

    void SetUp() override { m_registry.setDirectory("/cache/"); }

    std::unique_ptr<DataArrayInfoStreamed> m_a = named("U");
    std::unique_ptr<DataArrayInfoStreamed> m_b = named("U");
    CacheRegistry m_registry;
};

TEST_F(CacheRegistryFiles, NamesTheFileByKeyAndName)
{
    EXPECT_TRUE(m_registry.insert(State::Cached, "run.csv", m_a.get()));
    EXPECT_EQ(m_registry.fileOf(m_a.get()), "/cache/run.csv__U.bmd");
    EXPECT_EQ(m_registry.key(State::Cached, m_a.get()), "run.csv");
    EXPECT_TRUE(m_registry.key(State::Updating, m_a.get()).isNull());
    EXPECT_TRUE(m_registry.contains("run.csv", "U"));
    EXPECT_FALSE(m_registry.contains("run.csv", "u"));
}

TEST_F(CacheRegistryFiles, TwoArraysNeverShareAFile)
{
    m_registry.insert(State::Cached, "run.csv", m_a.get());
    m_registry.insert(State::Cached, "run.csv", m_b.get());
    EXPECT_NE(m_registry.fileOf(m_a.get()), m_registry.fileOf(m_b.get()));
    EXPECT_EQ(m_registry.fileName("run.csv", "U"), m_registry.fileOf(m_a.get()));
}

TEST_F(CacheRegistryFiles, PairsWhoseTextsBecomeEqualGetFilesOfTheirOwn)
{
    m_registry.insert(State::Cached, "a:b", m_a.get());
    m_registry.insert(State::Cached, "a__b", m_b.get());
    EXPECT_EQ(m_registry.fileOf(m_a.get()), "/cache/a__b__U.bmd");
    EXPECT_NE(m_registry.fileOf(m_b.get()), m_registry.fileOf(m_a.get()));
    EXPECT_EQ(m_registry.fileName("a__b", "U"), m_registry.fileOf(m_b.get()));
    m_registry.removeEvery(m_a.get());
    EXPECT_EQ(m_registry.fileName("a:b", "U"), "/cache/a__b__U.bmd") << "free again";
}

TEST_F(CacheRegistryFiles, AnArrayKeepsItsFileWhileItIsFiledSomewhere)
{
    m_registry.insert(State::Cached, "run.csv", m_a.get());
    const QString file = m_registry.fileOf(m_a.get());
    m_a->setName("I");
    m_registry.insert(State::Updating, "run.csv", m_a.get());
    EXPECT_EQ(m_registry.remove(State::Cached, "run.csv", m_a.get()), 1);
    EXPECT_EQ(m_registry.fileOf(m_a.get()), file);
    EXPECT_EQ(m_registry.key(State::Updating, m_a.get()), "run.csv");
    EXPECT_EQ(m_registry.registrations(m_a.get()), 0);
    m_registry.remove(State::Updating, "run.csv", m_a.get());
    EXPECT_FALSE(m_registry.isKnown(m_a.get()));
}

TEST_F(CacheRegistryFiles, AnArrayFiledTwiceHasTheFirstKeyInOrder)
{
    m_registry.insert(State::Cached, "z", m_a.get());
    m_registry.insert(State::Cached, "a", m_a.get());
    EXPECT_EQ(m_registry.key(State::Cached, m_a.get()), "a");
    EXPECT_EQ(m_registry.registrations(m_a.get()), 2);
    EXPECT_EQ(m_registry.remove(State::Cached, "z", m_a.get()), 1);
    EXPECT_EQ(m_registry.key(State::Cached, m_a.get()), "a");
    m_registry.insert(State::Cached, "a", m_a.get());
    EXPECT_EQ(m_registry.remove(State::Cached, "a", m_a.get()), 2) << "every equal entry";
}

TEST_F(CacheRegistryFiles, ArraysOfOneKeyStandInTheOrderOfTheNewestFirst)
{
    using Filed = QList<std::pair<QString, DataArrayInfoStreamed*>>;
    const std::unique_ptr<DataArrayInfoStreamed> c = named("C");
    m_registry.insert(State::Cached, "run", m_a.get());
    m_registry.insert(State::Cached, "run", m_b.get());
    m_registry.insert(State::Cached, "a", c.get());
    m_registry.insert(State::Cached, "run", c.get());
    EXPECT_EQ(m_registry.cachedArrays(),
              (Filed{{"a", c.get()}, {"run", c.get()}, {"run", m_b.get()}, {"run", m_a.get()}}));
    EXPECT_EQ(m_registry.remove(State::Cached, "run", m_b.get()), 1);
    m_registry.removeEvery(c.get());
    EXPECT_EQ(m_registry.cachedArrays(), (Filed{{"run", m_a.get()}}));
}

TEST_F(CacheRegistryFiles, ForgettingLeavesNoEntry)
{
    m_registry.insert(State::Cached, QString(), m_a.get());
    m_registry.insert(State::Cached, "k", m_a.get());
    m_registry.insert(State::Updating, "u", m_a.get());
    m_registry.removeEvery(m_a.get());
    EXPECT_TRUE(m_registry.cachedArrays().isEmpty());
    EXPECT_TRUE(m_registry.arrays().isEmpty());
    EXPECT_TRUE(m_registry.key(State::Updating, m_a.get()).isNull());
}

// ---- what was found out about an array's content

TEST(ArrayContent, IsActedOnUntilTheArrayIsCleared)
{
    const auto a = named("a");
    a->createDataArray();
    const DataArrayStreamed& array = *StreamedArrayAccess::arrayOf(*a);
    const quint64 content = StreamedArrayAccess::contentGeneration(array);
    int calls = 0;
    const auto act = [&calls] { ++calls; };
    a->addSampleFloat(1);
    EXPECT_TRUE(StreamedArrayAccess::actOnContent(array, content, act));
    a->clear();
    a->addSampleFloat(2);
    EXPECT_FALSE(StreamedArrayAccess::actOnContent(array, content, act))
        << "an error of samples that are gone";
    EXPECT_EQ(calls, 1);
}

// ---- what a reader remembers of a block

TEST(StreamedBlock, WhoLooksForASampleLearnsThatTheBlockHasLostIt)
{
    const auto info = named("a");
    info->createDataArray();
    DataArrayStreamed& array = *StreamedArrayAccess::arrayOf(*info);
    for (int i = 0; i < 10; ++i) {
        info->addSampleFloat(static_cast<float>(i));
    }
    StreamedArrayAccess::setSamplesOnDisk(array, 7); // a write is over that had begun before the last three
    const quint64 before = StreamedArrayAccess::loadGeneration(array);
    StreamedArrayAccess::dropWritten(array);
    ASSERT_EQ(StreamedArrayAccess::firstIndex(array), 7);
    EXPECT_NE(StreamedArrayAccess::loadGeneration(array), before);
    EXPECT_EQ(info->getSampleFloat(9), 9.0F);
}

TEST(StreamedBlock, AnArrayThatIsCutShortStartsItsEnvelopeOver)
{
    OpenStreamedArray array;
    array.addInts(sequence(1000));
    StreamedEnvelope::extend(array);
    const ArrayEnvelope& envelope = StreamedArrayAccess::state(array).envelope;
    ASSERT_EQ(envelope.extent().size, 1000);
    array.resize(2000);
    EXPECT_EQ(envelope.extent().size, 1000);
    array.resize(100);
    EXPECT_EQ(envelope.extent().size, 0);
}

TEST(StreamedBlock, SumsUpSamplesWhileTheyAreAddedOneByOne)
{
    OpenStreamedArray array;
    const ArrayEnvelope& envelope = StreamedArrayAccess::state(array).envelope;
    for (int i = 0; i < 300'000; ++i) {
        array.addSampleFloat(1.0F);
        ASSERT_LE(envelope.extent().size, i + 1);
        ASSERT_LT(i - envelope.extent().size, 65536) << "at " << i;
    }
}

class StreamedBlockOf : public testing::TestWithParam<std::size_t>
{};

INSTANTIATE_TEST_SUITE_P(Samples, StreamedBlockOf, testing::Values(10, 1000, 8192, 8193, 1'000'000),
                         testing::PrintToStringParamName());

TEST_P(StreamedBlockOf, SamplesSumsThemUpWhileTheyAreAdded)
{
    const auto array = named("U");
    array->createDataArray();
    const ArrayEnvelope& envelope =
        StreamedArrayAccess::state(*StreamedArrayAccess::arrayOf(*array)).envelope;
    const std::vector<float> block(GetParam(), 1.0F);
    for (std::size_t i = 1; i * GetParam() <= 2'000'000; ++i) {
        array->addSamples(std::span<const float>(block));
        ASSERT_EQ(array->getSize(), static_cast<qint64>(i * GetParam()));
        ASSERT_EQ(envelope.extent().size, array->getSize());
    }
}

TEST(StreamedBlock, OfManySamplesIsSummedUpBehindSinglesThatWereNot)
{
    const auto array = named("U");
    array->createDataArray();
    const ArrayEnvelope& envelope =
        StreamedArrayAccess::state(*StreamedArrayAccess::arrayOf(*array)).envelope;
    for (int i = 0; i < 5000; ++i)
        array->addSampleFloat(1.0F);
    ASSERT_LT(envelope.extent().size, 5000);
    array->addSamples(std::span<const float>(std::vector<float>(8192, 2.0F)));
    EXPECT_EQ(envelope.extent().size, 5000 + 8192);
}

TEST(StreamedBlock, SumsUpIntsInAnArrayOfFloatsAsTheFloatsThatTheyAre)
{
    const auto array = named("U");
    array->createDataArray();
    std::vector<int> bits(100'000, 0x3F800000); // 1.0F
    bits[70'000] = 0x7FC00000;
    bits[80'000] = static_cast<int>(0xC0000000); // -2.0F, and as an int the smallest
    array->addSamples(std::span<const int>(bits));
    const std::vector<EnvelopeColumn> columns = array->envelope(0, 100'000, 1);
    ASSERT_EQ(columns.size(), 1U);
    EXPECT_EQ(columns[0].minimum, -2.0);
    EXPECT_EQ(columns[0].maximum, 1.0);
    EXPECT_EQ(columns[0].missing, 1);
    EXPECT_EQ(array->getMin(), static_cast<float>(static_cast<int>(0xC0000000)));
    EXPECT_EQ(array->getMax(), static_cast<float>(0x3F800000));
}

TEST(ArrayEnvelope, FollowsOnlyWhatItHasNoGapBeforeAndALimitedNumber)
{
    const std::vector<DataTypeBase> samples(300'000, DataTypeBase{.floatValue = 1.0F});
    ArrayEnvelope envelope;
    envelope.follow(1, samples);
    EXPECT_EQ(envelope.extent().size, 0) << "sample 0 is not there";
    envelope.follow(0, samples);
    EXPECT_EQ(envelope.extent().size, 131'072);
    envelope.follow(100'000, std::span(samples).first(200'000));
    EXPECT_EQ(envelope.extent().size, 262'144);
    envelope.follow(0, samples);
    envelope.follow(0, samples);
    EXPECT_EQ(envelope.extent().size, 300'000);
}

TEST(ArrayEnvelope, TakesCopiedSamplesOnlyWhenTheyFollowAndAreOfItsKind)
{
    const std::vector<DataTypeBase> samples(1000, DataTypeBase{.intValue = 7});
    std::vector<DataTypeBase> copy(1000);
    ArrayEnvelope envelope;
    envelope.setKind(SampleKind::Int);
    const EnvelopeRange range = envelopeOf(samples, SampleKind::Int);
    EXPECT_EQ(envelope.appendCopied(SampleKind::Int, 1, samples, copy.data()), range);
    EXPECT_EQ(envelope.extent().size, 0) << "a gap";
    EXPECT_EQ(envelope.appendCopied(SampleKind::Float, 0, samples, copy.data()),
              envelopeOf(samples, SampleKind::Float));
    EXPECT_EQ(envelope.extent().size, 0) << "another kind";
    EXPECT_EQ(copy[999].intValue, 7);
    EXPECT_EQ(envelope.appendCopied(SampleKind::Int, 0, samples, copy.data()), range);
    EXPECT_EQ(envelope.extent().size, 1000);
}

// ---- blocks of samples

TEST(SampleBlock, OfASizeThatNoArrayCanHaveIsRefused)
{
    constexpr qint64 tooMany = SampleBlock::maximumSamples + 1;
    EXPECT_EQ(SampleBlock::allocate(-1), nullptr);
    EXPECT_EQ(SampleBlock::allocate(tooMany), nullptr);
    DataTypeBase* block = SampleBlock::allocate(1);
    ASSERT_NE(block, nullptr);
    block->intValue = 7;
    EXPECT_EQ(SampleBlock::resize(block, 1, -1), nullptr);
    EXPECT_EQ(SampleBlock::resize(block, 1, tooMany), nullptr);
    EXPECT_EQ(block->intValue, 7) << "the block stays";
    SampleBlock::release(block);
}

// ---- figures

TEST(CacheCounters, HaveNoLoadTimesBeforeTheFirstLoad)
{
    CacheCounters counters;
    CacheStatistics statistics;
    counters.report(statistics);
    EXPECT_EQ(statistics.loads, 0U);
    EXPECT_EQ(statistics.loadMedianMilliseconds, 0.0);
    EXPECT_EQ(statistics.load99Milliseconds, 0.0);
    counters.countLoad(1'000'000);
    counters.report(statistics);
    EXPECT_EQ(statistics.loads, 1U);
    EXPECT_GE(statistics.loadMedianMilliseconds, 1.0);
    EXPECT_LE(statistics.loadMedianMilliseconds, 2.2);
}
