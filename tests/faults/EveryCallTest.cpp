#include "FaultPlan.h"

#include <datastorage/arrays/PinnedSamples.h>

#include <support/CacheFixture.h>
#include <support/ReaderThread.h>

#include <archive/ArchiveContext.h>

#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

using namespace vx::datastorage;

namespace {

using Samples = std::vector<std::int32_t>;

/// More than one read of a file, and many growths of a block.
constexpr int MANY = 140000;
constexpr int STEP = 97;
/// More calls of one kind than any scenario makes.
constexpr int ENDLESS = 400;

const char* const CALL_NAMES[] = {"Open", "Read",   "Write",  "WriteShort",
                                  "Map",  "Rename", "Remove", "Allocate"};

} // namespace

/// One array, what has been added to it, and the steps of the scenarios.
class EveryCallBase : public CacheFixture
{
public:
    void SetUp() override
    {
        CacheFixture::SetUp();
        m_forgiving = QObject::connect(&cache(), &CacheManager::signal_cacheError, [this](const QString&) {
            ++m_errors;
            m_array->setReadWriteError(false);
        });
    }

    void TearDown() override
    {
        QObject::disconnect(m_forgiving);
        CacheFixture::TearDown();
    }

    // ---- steps

    /// Adds samples one by one and in a block, and learns from the size which of them found room.
    void add(int count)
    {
        constexpr int singles = 2000;
        for (int i = 0; i < std::min(singles, count); ++i) {
            const int value = nextValue();
            m_array->addSampleInt(value);
            take({value});
        }
        if (count > singles) {
            const Samples block = values(count - singles);
            m_array->addSamples(std::span<const int>(block));
            take(block);
        }
    }

    void begin() { m_array->startAddingData(); }
    void end() { m_array->endAddingData(KEY); }
    void prepareAppend() { cache().prepareAppendDataArray(m_array); }
    void endAppend() { cache().appendDataArray(m_array, KEY); }
    void write() { cache().writeDataArrayToDisk(m_array); }
    void await() { cache().awaitTaskFinished(m_array); }
    void rename() { m_array->updateDataCachePath("renamed"); }

    void clear()
    {
        m_array->clear();
        m_samples.clear();
        ++m_generation;
    }

    /// Lets the cache evict what it may.
    void evict()
    {
        await();
        cache().setCacheSizeInBytes(-1);
        push(*m_other);
        updateCache();
        cache().setCacheSizeInBytes(AMPLE_BUDGET);
    }

    void read()
    {
        for (std::size_t i = 0; i < m_samples.size(); i += STEP) {
            expectSample(i, bitsOf(m_array->getSample(static_cast<qint64>(i))));
        }
    }

    /// A few samples, where each is a read of the file.
    void readFew()
    {
        for (std::size_t i = 0; i < m_samples.size(); i += m_samples.size() / 3) {
            expectSample(i, bitsOf(m_array->getSample(static_cast<qint64>(i))));
        }
    }

    void readOnAnotherThread()
    {
        Samples out = values(static_cast<int>(m_samples.size()));
        ReaderThread<qint64> reader([&] { return m_array->readSamples(0, std::span<int>(out)); });
        ASSERT_TRUE(reader.awaitReturned());
        processEvents();
        const auto count = static_cast<std::size_t>(reader.result());
        EXPECT_TRUE(count == out.size() || hasError()) << count;
        for (std::size_t i = 0; i < count; i += STEP) {
            expectSample(i, out[i]);
        }
    }

    void readDirectly()
    {
        for (std::size_t i = 0; i < m_samples.size(); i += STEP) {
            const std::int32_t bits = bitsOf(cache().getSampleDirect(m_array, static_cast<qint64>(i)));
            if (bits != 0 || i != 0) { // the answer of the call that could not map the file
                expectSample(i, bits);
            }
        }
    }

    void pin()
    {
        const PinnedSamples view = m_array->pin(0, static_cast<qint64>(m_samples.size()));
        EXPECT_TRUE(view.count() == static_cast<qint64>(m_samples.size()) || hasError());
        for (std::size_t i = 0; i < static_cast<std::size_t>(view.count()); i += STEP) {
            expectSample(i, view.ints()[i]);
        }
    }

    void loadInBackground()
    {
        QFuture<LoadResult> load = cache().loadInBackground(m_array);
        while (!load.isFinished()) {
            QCoreApplication::processEvents();
        }
        EXPECT_TRUE(load.result().error.isEmpty() || hasError());
    }

    /// The description goes to JSON and comes back under a key whose file was put in place.
    void restore()
    {
        vx::archive::ArchiveContext context;
        QJsonObject object;
        EXPECT_TRUE(m_array->write(object, 1, context));
        context.dataSourcePath = "restored";
        m_array = m_restored;
        EXPECT_TRUE(m_array->read(object, 1, context));
    }

    // ---- around a scenario

    void makeArrays(int number)
    {
        m_samples.clear();
        m_errors = 0;
        m_generation = 0;
        m_other = &store(QString("other %1").arg(number), {1}, "other");
        m_restored = &make(QString("restored %1").arg(number));
        m_array = &make(QString("array %1").arg(number));
    }

    void storeArray()
    {
        begin();
        add(MANY);
        end();
        await();
        ASSERT_TRUE(writeFile(fileOf(*m_array, "restored"), cacheFileBytes(m_samples)));
        evict();
        ASSERT_FALSE(isInMemory(*m_array));
    }

    /// After the fault is gone everything works, and nothing is lost.
    void recover()
    {
        await();
        processEvents();
        m_array->setReadWriteError(false);
        m_errors = 0;
        if (!cache().isCached(m_array)) {
            cache().addDataArrayInfoToCache(KEY, m_array);
        }
        write();
        await();
        EXPECT_EQ(m_array->getSize(), static_cast<qint64>(m_samples.size()));
        read();
        evict();
        EXPECT_EQ(samplesOf(*m_array), m_samples);
        EXPECT_EQ(m_errors, 0) << errors().last().toStdString();
    }

protected:
    bool hasError() const { return m_errors > 0 || m_array->isInError(); }

private:
    Samples values(int count) const
    {
        const FaultPlan::Pause pause;
        return sequence(count, nextValue());
    }

    int nextValue() const { return static_cast<int>(m_samples.size()) + 1000000 * m_generation; }

    /// Notes samples that have been added, unless there was no room for them.
    void take(const Samples& samples)
    {
        const auto expected = static_cast<qint64>(m_samples.size()) + static_cast<qint64>(samples.size());
        if (m_array->getSize() == expected) {
            const FaultPlan::Pause pause;
            m_samples.insert(m_samples.end(), samples.begin(), samples.end());
            return;
        }
        EXPECT_EQ(m_array->getSize(), static_cast<qint64>(m_samples.size()));
        EXPECT_TRUE(m_array->isInError()) << "samples were dropped without a word";
        m_array->setReadWriteError(false);
        ++m_errors;
    }

    void expectSample(std::size_t index, std::int32_t bits)
    {
        if (bits != m_samples[index] && !(bits == NAN_PATTERN && hasError())) {
            ADD_FAILURE() << "sample " << index << " is " << bits << ", not " << m_samples[index];
        }
    }

    Array* m_array = nullptr;
    Array* m_other = nullptr;
    Array* m_restored = nullptr;
    Samples m_samples;
    int m_errors = 0;
    int m_generation = 0;
    QMetaObject::Connection m_forgiving;
};

namespace {

using Steps = void (*)(EveryCallBase&);

struct Scenario
{
    const char* label;
    bool isStored;           ///< the array is in its file, and not in memory, when the steps begin
    std::vector<Call> calls; ///< that the scenario makes
    Steps steps;
};

const Scenario SCENARIOS[] = {
    {"Fill",
     false,
     {Call::Open, Call::Write, Call::WriteShort, Call::Remove, Call::Allocate},
     [](EveryCallBase& t) { t.begin(), t.add(MANY), t.end(), t.await(), t.read(); }},
    {"FillAndEvict",
     false,
     {Call::Open, Call::Read, Call::Write, Call::WriteShort, Call::Remove, Call::Allocate},
     [](EveryCallBase& t) { t.begin(), t.add(MANY), t.end(), t.evict(), t.read(), t.evict(), t.read(); }},
    {"FillAndAdd",
     false,
     {Call::Open, Call::Read, Call::Write, Call::WriteShort, Call::Remove, Call::Allocate},
     [](EveryCallBase& t) { t.begin(), t.add(MANY), t.end(), t.await(), t.add(3000), t.write(), t.read(); }},
    {"Read",
     true,
     {Call::Open, Call::Read, Call::Allocate},
     [](EveryCallBase& t) { t.read(), t.evict(), t.read(); }},
    {"ReadOnAnotherThread",
     true,
     {Call::Open, Call::Read, Call::Allocate},
     [](EveryCallBase& t) { t.readOnAnotherThread(), t.read(); }},
    {"ReadDirectly",
     true,
     {Call::Open, Call::Read, Call::Map, Call::Allocate},
     [](EveryCallBase& t) { t.readDirectly(), t.readDirectly(), t.read(); }},
    {"Pin",
     true,
     {Call::Open, Call::Read, Call::Allocate},
     [](EveryCallBase& t) { t.pin(), t.evict(), t.read(); }},
    {"LoadInBackground",
     true,
     {Call::Open, Call::Read, Call::Allocate},
     [](EveryCallBase& t) { t.loadInBackground(), t.read(); }},
    {"Append",
     true,
     {Call::Open, Call::Read, Call::Write, Call::WriteShort, Call::Allocate},
     [](EveryCallBase& t) {
         t.prepareAppend(), t.add(3000), t.readFew(), t.endAppend(), t.await(), t.read();
         t.prepareAppend(), t.add(MANY), t.endAppend(), t.await(), t.read();
     }},
    {"Update",
     true,
     {Call::Open, Call::Read, Call::Write, Call::WriteShort, Call::Remove, Call::Allocate},
     [](EveryCallBase& t) {
         t.begin(), t.add(3000), t.read(), t.end(), t.evict(), t.read();
         t.begin(), t.add(10), t.end(), t.read();
     }},
    {"AddWithoutABracket",
     true,
     {Call::Open, Call::Read, Call::Write, Call::WriteShort, Call::Allocate},
     [](EveryCallBase& t) { t.add(3000), t.write(), t.read(), t.add(10), t.write(), t.await(), t.read(); }},
    {"Rename",
     true,
     {Call::Open, Call::Read, Call::Rename, Call::Allocate},
     [](EveryCallBase& t) { t.rename(), t.read(), t.evict(), t.read(); }},
    {"Clear",
     true,
     {Call::Open, Call::Read, Call::Write, Call::WriteShort, Call::Remove},
     [](EveryCallBase& t) { t.clear(), t.begin(), t.add(5000), t.end(), t.evict(), t.read(); }},
    {"ClearAndAdd",
     true,
     {Call::Open, Call::Read, Call::Write, Call::WriteShort, Call::Remove},
     [](EveryCallBase& t) { t.clear(), t.add(5000), t.write(), t.evict(), t.read(); }},
    {"Restore",
     true,
     {Call::Open, Call::Read, Call::Write, Call::WriteShort, Call::Remove, Call::Allocate},
     [](EveryCallBase& t) { t.restore(), t.read(), t.begin(), t.add(3000), t.end(), t.evict(), t.read(); }},
};

struct Row
{
    Scenario scenario;
    Call call;
};

std::vector<Row> rows()
{
    std::vector<Row> rows;
    for (const Scenario& scenario : SCENARIOS) {
        for (const Call call : scenario.calls) {
            rows.push_back({scenario, call});
        }
    }
    return rows;
}

} // namespace

class EveryCall : public EveryCallBase, public ::testing::WithParamInterface<Row>
{};

TEST_P(EveryCall, MayFail)
{
    const auto& [scenario, call] = GetParam();
    if (call == Call::Allocate && !FaultPlan::canRefuseMemory()) {
        GTEST_SKIP() << "the sanitizer has the memory";
    }
    int number = 0;
    for (bool hasFailed = true; hasFailed && !HasFailure();) {
        ASSERT_LT(++number, ENDLESS);
        SCOPED_TRACE(number);
        makeArrays(number);
        if (scenario.isStored) {
            storeArray();
        }
        {
            const FaultPlan plan(call, number, cache().getDefaultCachePath());
            scenario.steps(*this);
            await();
            hasFailed = plan.hasFailed();
        }
        recover();
    }
    EXPECT_GT(number, 1) << "no such call is made";
}

INSTANTIATE_TEST_SUITE_P(Scenarios, EveryCall, ::testing::ValuesIn(rows()), [](const auto& row) {
    return std::string(row.param.scenario.label) + "_" + CALL_NAMES[static_cast<int>(row.param.call)];
});

class EveryCallOfTheDirectory : public EveryCallBase, public ::testing::WithParamInterface<Call>
{};

TEST_P(EveryCallOfTheDirectory, MayFail)
{
    int number = 0;
    for (bool hasFailed = true; hasFailed && !HasFailure();) {
        ASSERT_LT(++number, ENDLESS);
        SCOPED_TRACE(number);
        const QString parent = pathOf(QString("parent %1").arg(number));
        ASSERT_TRUE(QDir().mkpath(parent + "/999999999"));
        ASSERT_TRUE(writeFile(parent + "/999999999.lock", QByteArray()));
        cache().setDefaultCachePath(parent, true);
        {
            const FaultPlan plan(GetParam(), number, parent);
            if (cache().checkDefaultCacheDirectory()) {
                cache().removeCacheDirectory();
            }
            hasFailed = plan.hasFailed();
        }
        EXPECT_TRUE(cache().checkDefaultCacheDirectory());
        makeArrays(number);
        storeArray();
        recover();
        cache().setDefaultCachePath(pathOf(QString()), false);
    }
    EXPECT_GT(number, 1) << "no such call is made";
}

INSTANTIATE_TEST_SUITE_P(Calls, EveryCallOfTheDirectory,
                         ::testing::Values(Call::Open, Call::Read, Call::Write, Call::Rename, Call::Remove),
                         [](const auto& row) {
                             return std::string(CALL_NAMES[static_cast<int>(row.param)]);
                         });
