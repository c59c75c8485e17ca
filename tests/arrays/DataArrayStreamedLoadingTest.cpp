#include <datastorage/arrays/DataArrayStreamed.h>

#include <support/EventProbe.h>
#include <support/FaultyDevice.h>
#include <support/OpenStreamedArray.h>
#include <support/ReaderThread.h>
#include <support/RowLabel.h>
#include <support/Signal.h>

#include <QtCore/QObject>

#include <array>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

using namespace vx::datastorage;

namespace {

constexpr int SAMPLES_PER_CHUNK = 256;
constexpr qint64 CHUNK = 1024;
constexpr qint64 TEN_MEBIBYTES = 10485760;

/// A body of any size of which no byte exists: its count can be read, its samples are left as they are
/// in the block.
class ImaginaryBody : public QIODevice
{
public:
    explicit ImaginaryBody(qint64 count) : m_count(count) { open(ReadOnly | Unbuffered); }

    bool isSequential() const override { return false; }
    qint64 size() const override { return 8 + 4 * m_count; }

    /// Called before the n-th chunk, counted from 0, is delivered.
    void onChunk(std::function<void(qint64 n)> hook) { m_hook = std::move(hook); }

protected:
    qint64 readData(char* data, qint64 bytes) override
    {
        if (pos() == 0) {
            const QByteArray count = countBytes(m_count);
            std::memcpy(data, count.constData(), 8);
            return 8;
        }
        m_hook(m_chunks++);
        return bytes;
    }

    qint64 writeData(const char* /*data*/, qint64 /*bytes*/) override { return -1; }

private:
    qint64 m_count;
    qint64 m_chunks = 0;
    std::function<void(qint64)> m_hook = [](qint64) {};
};

/// An array whose error flag releases its readers when a test ends early.
struct LoadingArray : OpenStreamedArray
{
    ~LoadingArray() override { setReadWriteError(false); }
};

using Reader = ReaderThread<std::int32_t>;

std::unique_ptr<Reader> startReader(const LoadingArray& array, qint64 index)
{
    return std::make_unique<Reader>([&array, index] { return bitsOf(array.getSampleWhileReading(index)); });
}

} // namespace

TEST(DataArrayStreamedLoading, ASmallArrayReleasesItsReadersWhenItIsWhole)
{
    BytesDevice bytes(bodyBytes(sequence(4 * SAMPLES_PER_CHUNK, 100)));
    FaultyDevice device(bytes);
    LoadingArray array;
    const auto first = startReader(array, 0);
    const auto last = startReader(array, 4 * SAMPLES_PER_CHUNK - 1);
    ASSERT_TRUE(first->awaitBlocked());
    ASSERT_TRUE(last->awaitBlocked());
    bool early = false;
    device.onRead([&](int) { early = early || first->hasReturned() || last->hasReturned(); });
    ASSERT_TRUE(array.readFromDiskStream(device));
    EXPECT_FALSE(early) << "a reader came back before the array was loaded";
    ASSERT_TRUE(first->awaitReturned());
    ASSERT_TRUE(last->awaitReturned());
    EXPECT_EQ(first->result(), 100);
    EXPECT_EQ(last->result(), 100 + 4 * SAMPLES_PER_CHUNK - 1);
}

struct WakeRow
{
    const char* label;
    qint64 bytes;     ///< of samples
    qint64 threshold; ///< bytes after which readers are released
};

const WakeRow WAKES[] = {
    {"JustAboveTenMebibytes", TEN_MEBIBYTES + CHUNK, TEN_MEBIBYTES},
    {"ThirtyMebibytes", 3 * TEN_MEBIBYTES, TEN_MEBIBYTES},
    {"At500Mebibytes", 524288000, TEN_MEBIBYTES},
    {"TwoPercentOf600Megabytes", 600000000, 12000000},
};

class DataArrayStreamedWake : public ::testing::TestWithParam<WakeRow>
{};

TEST_P(DataArrayStreamedWake, ReleasesReadersEveryTwoPercentOrTenMebibytes)
{
    ImaginaryBody body(GetParam().bytes / 4);
    LoadingArray array;
    const auto reader = startReader(array, 0);
    ASSERT_TRUE(reader->awaitBlocked());
    // The chunk that completes the threshold, and the one after it.
    const qint64 completing = (GetParam().threshold + CHUNK - 1) / CHUNK - 1;
    bool early = false;
    bool released = false;
    body.onChunk([&](qint64 n) {
        if (n <= completing) {
            early = early || reader->hasReturned();
        } else if (n == completing + 1) {
            released = reader->awaitReturned();
        }
    });
    ASSERT_TRUE(array.readFromDiskStream(body));
    EXPECT_FALSE(early) << "the reader came back before the threshold";
    if ((completing + 1) * CHUNK < GetParam().bytes) {
        EXPECT_TRUE(released) << "the reader still waited after the threshold";
    }
    EXPECT_TRUE(reader->awaitReturned());
    EXPECT_EQ(array.getSizeLoadedInMemory(), GetParam().bytes / 4);
}

INSTANTIATE_TEST_SUITE_P(Sizes, DataArrayStreamedWake, ::testing::ValuesIn(WAKES), RowLabel{});

TEST(DataArrayStreamedLoading, EveryThresholdReleasesTheReadersThatItReaches)
{
    // Three steps of 10 MiB; a reader of the second step's first sample waits through the first wake-up.
    ImaginaryBody body(3 * TEN_MEBIBYTES / 4);
    LoadingArray array;
    const auto reader = startReader(array, TEN_MEBIBYTES / 4);
    ASSERT_TRUE(reader->awaitBlocked());
    const qint64 chunksPerStep = TEN_MEBIBYTES / CHUNK;
    bool early = false;
    bool released = false;
    body.onChunk([&](qint64 n) {
        if (n <= chunksPerStep) {
            early = early || reader->hasReturned();
        } else if (n == 2 * chunksPerStep) {
            released = reader->awaitReturned();
        }
    });
    ASSERT_TRUE(array.readFromDiskStream(body));
    EXPECT_FALSE(early);
    EXPECT_TRUE(released);
}

TEST(DataArrayStreamedLoading, LoadedSamplesAreReadableDuringTheLoad)
{
    BytesDevice bytes(bodyBytes(sequence(4 * SAMPLES_PER_CHUNK, 100)));
    FaultyDevice device(bytes);
    LoadingArray array;
    std::vector<std::int32_t> seen;
    device.onRead([&](int n) {
        if (n > 1) { // read 0 is the count, read 1 the first chunk
            const qint64 newest = static_cast<qint64>(n - 1) * SAMPLES_PER_CHUNK - 1;
            EXPECT_TRUE(array.isLoadedInMemory(newest));
            EXPECT_FALSE(array.isLoadedInMemory(newest + 1));
            seen.push_back(bitsOf(array.getSampleWhileReading(newest)));
        }
    });
    ASSERT_TRUE(array.readFromDiskStream(device));
    EXPECT_EQ(seen, (std::vector<std::int32_t>{355, 611, 867}));
}

TEST(DataArrayStreamedLoading, AReaderOfALoadedSampleDoesNotWait)
{
    BytesDevice bytes(bodyBytes(sequence(3 * SAMPLES_PER_CHUNK, 100)));
    FaultyDevice device(bytes);
    LoadingArray array;
    bool returned = false;
    device.onRead([&](int n) {
        if (n == 2) {
            const auto reader = startReader(array, SAMPLES_PER_CHUNK - 1);
            returned = reader->awaitReturned();
            EXPECT_EQ(reader->result(), 100 + SAMPLES_PER_CHUNK - 1);
        }
    });
    ASSERT_TRUE(array.readFromDiskStream(device));
    EXPECT_TRUE(returned);
}

struct GetterRow
{
    const char* label;
    std::int32_t (*get)(const LoadingArray&, qint64);
};

const GetterRow GETTERS[] = {
    {"getSampleWhileReading",
     [](const LoadingArray& array, qint64 index) { return bitsOf(array.getSampleWhileReading(index)); }},
    {"getSampleFloatWhileReading",
     [](const LoadingArray& array, qint64 index) { return bitsOf(array.getSampleFloatWhileReading(index)); }},
    {"getSampleIntWhileReading",
     [](const LoadingArray& array, qint64 index) { return array.getSampleIntWhileReading(index); }},
};

class DataArrayStreamedGetter : public ::testing::TestWithParam<GetterRow>
{};

TEST_P(DataArrayStreamedGetter, WaitsForItsSample)
{
    BytesDevice device(bodyBytes(sequence(10, 100)));
    LoadingArray array;
    Reader reader([&] { return GetParam().get(array, 9); });
    ASSERT_TRUE(reader.awaitBlocked());
    EXPECT_FALSE(reader.hasReturned());
    ASSERT_TRUE(array.readFromDiskStream(device));
    ASSERT_TRUE(reader.awaitReturned());
    EXPECT_EQ(reader.result(), 109);
}

TEST_P(DataArrayStreamedGetter, KeepsItsThreadsEventsFlowingAfterAnError)
{
    LoadingArray array;
    Signal ready;
    EventProbe* receiver = nullptr;
    ReaderThread<std::int32_t> reader([&] {
        EventProbe here;
        receiver = &here;
        ready.give();
        return GetParam().get(array, 0);
    });
    ASSERT_TRUE(ready.take());
    ASSERT_TRUE(reader.awaitBlocked());
    array.setReadWriteError(true);
    for (int i = 0; i < 3; ++i) {
        ASSERT_TRUE(receiver->passes()) << "event " << i << " of the waiting thread is not handled";
        EXPECT_FALSE(reader.hasReturned());
    }
    array.setReadWriteError(false);
    ASSERT_TRUE(reader.awaitReturned());
    EXPECT_EQ(reader.result(), NAN_PATTERN) << "nothing was loaded";
}

TEST_P(DataArrayStreamedGetter, WaitsInItsEventsWhenTheErrorWasThereBefore)
{
    LoadingArray array;
    array.setReadWriteError(true);
    Signal ready;
    EventProbe* receiver = nullptr;
    ReaderThread<std::int32_t> reader([&] {
        EventProbe here;
        receiver = &here;
        ready.give();
        return GetParam().get(array, 0);
    });
    ASSERT_TRUE(ready.take());
    ASSERT_TRUE(receiver->passes());
    EXPECT_FALSE(reader.hasReturned());
    array.setReadWriteError(false);
    EXPECT_TRUE(reader.awaitReturned());
}

TEST_P(DataArrayStreamedGetter, FindsItsSampleWhenTheErrorWasRepaired)
{
    BytesDevice device(bodyBytes(sequence(10, 100)));
    LoadingArray array;
    Signal ready;
    EventProbe* receiver = nullptr;
    ReaderThread<std::int32_t> reader([&] {
        EventProbe here;
        receiver = &here;
        ready.give();
        return GetParam().get(array, 9);
    });
    ASSERT_TRUE(ready.take());
    array.setReadWriteError(true);
    ASSERT_TRUE(receiver->passes());
    ASSERT_TRUE(array.readFromDiskStream(device));
    EXPECT_FALSE(reader.hasReturned()) << "the error is still flagged";
    array.setReadWriteError(false);
    ASSERT_TRUE(reader.awaitReturned());
    EXPECT_EQ(reader.result(), 109);
}

INSTANTIATE_TEST_SUITE_P(Every, DataArrayStreamedGetter, ::testing::ValuesIn(GETTERS), RowLabel{});

TEST(DataArrayStreamedLoading, AnErrorReleasesEveryReader)
{
    constexpr std::size_t readerCount = 5;
    LoadingArray array;
    std::array<EventProbe*, readerCount> receivers{};
    std::array<Signal, readerCount> ready;
    std::vector<std::unique_ptr<Reader>> readers;
    for (std::size_t i = 0; i < readerCount; ++i) {
        readers.push_back(std::make_unique<Reader>([&, i] {
            EventProbe here;
            receivers.at(i) = &here;
            ready.at(i).give();
            return bitsOf(array.getSampleWhileReading(static_cast<qint64>(i)));
        }));
        ASSERT_TRUE(ready.at(i).take());
        ASSERT_TRUE(readers.back()->awaitBlocked());
    }
    array.setReadWriteError(true);
    for (EventProbe* receiver : receivers) {
        ASSERT_TRUE(receiver->passes());
    }
    array.setReadWriteError(false);
    for (const auto& reader : readers) {
        ASSERT_TRUE(reader->awaitReturned());
    }
}
