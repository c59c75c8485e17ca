#include <datastorage/arrays/DataArrayInfoStreamed.h>
#include <datastorage/cache/CacheRegistry_p.h>
#include <datastorage/cache/CacheThread_p.h>
#include <datastorage/cache/EvictionQueue_p.h>
#include <datastorage/cache/MemoryMeter_p.h>
#include <datastorage/cache/TaskTable_p.h>

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
        meter.remove(account);
        meter.recount();
    }

    MemoryMeter& meter = MemoryMeter::instance();
    const qint64 residentBefore = meter.residentBytes();
    std::atomic<qint64> samples{0};
    MemoryMeter::Account account{samples};
};

TEST_F(MemoryMeterAccount, CountsWhatAnOpenAccountGainsSinceTheLastRecount)
{
    meter.recount();
    const qint64 used = meter.usedBytes();
    samples = 5;
    meter.open(account);
    samples = 8;
    EXPECT_EQ(meter.usedBytes(), used + 12) << "only what came in while the account was open";
    meter.recount();
    EXPECT_EQ(meter.usedBytes(), used) << "an array that is not registered does not stay counted";
    samples = 9;
    EXPECT_EQ(meter.usedBytes(), used + 4);
    meter.settle(account);
    samples = 100;
    EXPECT_EQ(meter.usedBytes(), used + 4);
}

TEST_F(MemoryMeterAccount, ResidentBytesAreExactForRegisteredArrays)
{
    samples = 10;
    meter.addRegistrations(account, 1);
    EXPECT_EQ(meter.residentBytes(), residentBefore + 40);
    meter.open(account);
    samples = 15;
    EXPECT_EQ(meter.residentBytes(), residentBefore + 60);
    meter.addRegistrations(account, 1);
    EXPECT_EQ(meter.residentBytes(), residentBefore + 120) << "an array registered twice counts twice";
    samples = 0;
    meter.settle(account);
    EXPECT_EQ(meter.residentBytes(), residentBefore);
}

TEST_F(MemoryMeterAccount, ARecountLosesNothingThatALoaderAddsMeanwhile)
{
    meter.addRegistrations(account, 1);
    meter.open(account);
    constexpr qint64 additions = 200000;
    std::thread loader([this] {
        for (qint64 i = 0; i < additions; ++i)
            samples.fetch_add(1);
    });
    for (int i = 0; i < 1000; ++i)
        meter.recount();
    loader.join();
    EXPECT_EQ(meter.usedBytes(), meter.residentBytes());
    EXPECT_EQ(meter.residentBytes(), residentBefore + 4 * additions);
}

// ---- running tasks and what follows them

class TaskTableOrder : public ::testing::Test
{
protected:
    void SetUp() override { CacheThread::claim(); }

    auto note(int number)
    {
        return [this, number](bool) { order.push_back(number); };
    }

    std::unique_ptr<DataArrayInfoStreamed> a = named("a");
    std::unique_ptr<DataArrayInfoStreamed> b = named("b");
    TaskTable tasks;
    std::vector<int> order;
};

TEST_F(TaskTableOrder, RunsQueuedCompletionsInTheOrderOfTheirTasks)
{
    ASSERT_TRUE(tasks.begin(a.get()));
    ASSERT_FALSE(tasks.begin(a.get()));
    ASSERT_TRUE(tasks.begin(b.get()));
    EXPECT_TRUE(tasks.finish(b.get(), note(1)));
    EXPECT_TRUE(tasks.finish(a.get(), note(2)));
    EXPECT_FALSE(tasks.isRunning(a.get()));
    EXPECT_TRUE(order.empty());
    tasks.runPending();
    EXPECT_EQ(order, (std::vector{1, 2}));
}

TEST_F(TaskTableOrder, AWaitingThreadTakesTheCompletionOfItsTaskAlone)
{
    ASSERT_TRUE(tasks.begin(a.get()));
    ASSERT_TRUE(tasks.begin(b.get()));
    Signal waiting;
    std::thread worker([&] {
        ASSERT_TRUE(waiting.take());
        tasks.finish(b.get(), note(1));
        // The other thread may not wait yet; then its completion is queued behind, which is as good.
        tasks.finish(a.get(), note(2));
    });
    waiting.give();
    tasks.await(a.get());
    worker.join();
    ASSERT_FALSE(order.empty());
    EXPECT_NE(std::find(order.begin(), order.end(), 2), order.end());
    tasks.runPending();
    EXPECT_EQ(order.size(), 2U);
}

TEST_F(TaskTableOrder, NoCompletionIsLeftBehindByATaskThatEndsWhileSomebodyBeginsToWait)
{
    for (int round = 0; round < 2000; ++round) {
        ASSERT_TRUE(tasks.begin(a.get()));
        std::atomic<bool> isCompleted{false};
        std::thread worker([&] { tasks.finish(a.get(), [&](bool) { isCompleted = true; }); });
        tasks.await(a.get());
        ASSERT_TRUE(isCompleted) << "round " << round;
        worker.join();
    }
}

TEST_F(TaskTableOrder, ACompletionMayWaitForItsOwnArrayAndForOthers)
{
    ASSERT_TRUE(tasks.begin(a.get()));
    ASSERT_TRUE(tasks.begin(b.get()));
    tasks.finish(a.get(), [this](bool) {
        order.push_back(1);
        tasks.await(a.get());
        tasks.await(b.get());
        order.push_back(3);
    });
    tasks.finish(b.get(), note(2));
    tasks.runPending();
    EXPECT_EQ(order, (std::vector{1, 2, 3}));
}

TEST_F(TaskTableOrder, TellsACompletionThatItsArrayIsGone)
{
    ASSERT_TRUE(tasks.begin(a.get()));
    bool before = false;
    bool after = true;
    tasks.finish(a.get(), [&](bool) {
        before = tasks.isCompleting(a.get());
        tasks.forget(a.get());
        after = tasks.isCompleting(a.get());
    });
    tasks.runPending();
    EXPECT_TRUE(before);
    EXPECT_FALSE(after);
    EXPECT_FALSE(tasks.isCompleting(a.get()));
}

TEST_F(TaskTableOrder, DropsTheCompletionsOfAnArrayThatIsForgotten)
{
    ASSERT_TRUE(tasks.begin(a.get()));
    tasks.finish(a.get(), note(1));
    tasks.post(b.get(), [this] { order.push_back(2); });
    tasks.forget(a.get());
    tasks.runPending();
    EXPECT_EQ(order, std::vector{2});
}

TEST_F(TaskTableOrder, RemembersAWriteThatWasAskedForMeanwhile)
{
    std::vector<bool> requested;
    for (const bool ask : {false, true}) {
        ASSERT_TRUE(tasks.begin(a.get()));
        if (ask) {
            EXPECT_FALSE(tasks.beginWrite(a.get()));
        }
        tasks.finish(a.get(), [&](bool write) { requested.push_back(write); });
        tasks.runPending();
    }
    EXPECT_EQ(requested, (std::vector{false, true}));
}

TEST_F(TaskTableOrder, AWriteBeginsWhenNothingRuns)
{
    ASSERT_TRUE(tasks.beginWrite(a.get()));
    EXPECT_TRUE(tasks.isRunning(a.get()));
    std::vector<bool> requested;
    tasks.finish(a.get(), [&](bool write) { requested.push_back(write); });
    tasks.runPending();
    EXPECT_EQ(requested, std::vector{false});
}

TEST_F(TaskTableOrder, RunsOnlyWhatWasQueuedBefore)
{
    int runs = 0;
    std::function<void()> again = [&] {
        if (++runs < 10)
            tasks.post(a.get(), again);
    };
    tasks.post(a.get(), again);
    tasks.runPending();
    EXPECT_EQ(runs, 1); // whatever is queued meanwhile waits for the next turn
}

TEST_F(TaskTableOrder, WhoOnlyWantsSamplesStandsBackWhileTheArrayIsAwaited)
{
    ASSERT_TRUE(tasks.begin(a.get()));
    Signal isOver;
    std::thread waiting([&] {
        tasks.await(a.get());
        isOver.give();
    });
    EXPECT_FALSE(tasks.beginUnlessAwaited(a.get()));
    tasks.finish(a.get(), note(1));
    EXPECT_TRUE(isOver.take());
    waiting.join();
    EXPECT_TRUE(tasks.beginUnlessAwaited(a.get()));
}

TEST_F(TaskTableOrder, AnotherThreadRunsOnlyTheCompletionsOfTheArrayItWaitsFor)
{
    ASSERT_TRUE(tasks.begin(a.get()));
    ASSERT_TRUE(tasks.begin(b.get()));
    tasks.finish(a.get(), note(1));
    tasks.finish(b.get(), note(2));
    std::thread([this] { tasks.await(b.get()); }).join();
    EXPECT_EQ(order, std::vector{2});
    tasks.runPending();
    EXPECT_EQ(order, (std::vector{2, 1}));
}

// ---- keys and files

class CacheRegistryFiles : public ::testing::Test
{
protected:
    using State = CacheRegistry::State;

    void SetUp() override { registry.setDirectory("/cache/"); }

    std::unique_ptr<DataArrayInfoStreamed> a = named("U");
    std::unique_ptr<DataArrayInfoStreamed> b = named("U");
    CacheRegistry registry;
};

TEST_F(CacheRegistryFiles, NamesTheFileByKeyAndName)
{
    EXPECT_TRUE(registry.insert(State::Cached, "run.csv", a.get()));
    EXPECT_EQ(registry.fileOf(a.get()), "/cache/run.csv__U.bmd");
    EXPECT_EQ(registry.key(State::Cached, a.get()), "run.csv");
    EXPECT_TRUE(registry.key(State::Updating, a.get()).isNull());
    EXPECT_TRUE(registry.contains("run.csv", "U"));
    EXPECT_FALSE(registry.contains("run.csv", "u"));
}

TEST_F(CacheRegistryFiles, TwoArraysNeverShareAFile)
{
    registry.insert(State::Cached, "run.csv", a.get());
    registry.insert(State::Cached, "run.csv", b.get());
    EXPECT_NE(registry.fileOf(a.get()), registry.fileOf(b.get()));
    EXPECT_EQ(registry.fileName("run.csv", "U"), registry.fileOf(a.get()));
}

TEST_F(CacheRegistryFiles, PairsWhoseTextsBecomeEqualGetFilesOfTheirOwn)
{
    registry.insert(State::Cached, "a:b", a.get());
    registry.insert(State::Cached, "a__b", b.get());
    EXPECT_EQ(registry.fileOf(a.get()), "/cache/a__b__U.bmd");
    EXPECT_NE(registry.fileOf(b.get()), registry.fileOf(a.get()));
    EXPECT_EQ(registry.fileName("a__b", "U"), registry.fileOf(b.get()));
    registry.removeEvery(a.get());
    EXPECT_EQ(registry.fileName("a:b", "U"), "/cache/a__b__U.bmd") << "free again";
}

TEST_F(CacheRegistryFiles, AnArrayKeepsItsFileWhileItIsFiledSomewhere)
{
    registry.insert(State::Cached, "run.csv", a.get());
    const QString file = registry.fileOf(a.get());
    a->setName("I");
    registry.insert(State::Updating, "run.csv", a.get());
    EXPECT_EQ(registry.remove(State::Cached, "run.csv", a.get()), 1);
    EXPECT_EQ(registry.fileOf(a.get()), file);
    EXPECT_EQ(registry.key(State::Updating, a.get()), "run.csv");
    EXPECT_EQ(registry.registrations(a.get()), 0);
    registry.remove(State::Updating, "run.csv", a.get());
    EXPECT_FALSE(registry.isKnown(a.get()));
}

TEST_F(CacheRegistryFiles, AnArrayFiledTwiceHasTheFirstKeyInOrder)
{
    registry.insert(State::Cached, "z", a.get());
    registry.insert(State::Cached, "a", a.get());
    EXPECT_EQ(registry.key(State::Cached, a.get()), "a");
    EXPECT_EQ(registry.registrations(a.get()), 2);
    EXPECT_EQ(registry.remove(State::Cached, "z", a.get()), 1);
    EXPECT_EQ(registry.key(State::Cached, a.get()), "a");
    registry.insert(State::Cached, "a", a.get());
    EXPECT_EQ(registry.remove(State::Cached, "a", a.get()), 2) << "every equal entry";
}

TEST_F(CacheRegistryFiles, ForgettingLeavesNoEntry)
{
    registry.insert(State::Cached, QString(), a.get());
    registry.insert(State::Cached, "k", a.get());
    registry.insert(State::Updating, "u", a.get());
    registry.removeEvery(a.get());
    EXPECT_TRUE(registry.cachedArrays().isEmpty());
    EXPECT_TRUE(registry.arrays().isEmpty());
    EXPECT_TRUE(registry.key(State::Updating, a.get()).isNull());
}
