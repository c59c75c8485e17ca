#include <datastorage/arrays/DataArrayInfoStreamed.h>
#include <datastorage/arrays/DataArrayStreamed_p.h>
#include <datastorage/cache/CacheManager.h>

#include <support/CacheFixture.h>
#include <support/PoolTask.h>
#include <support/Random.h>
#include <support/RefusedNew.h>

#include <QtCore/QDeadlineTimer>

#include <atomic>
#include <cmath>
#include <thread>

using namespace vx::datastorage;

namespace {

using Bits = std::vector<std::int32_t>;

constexpr int LONG = 1'000'000; ///< samples; more than an envelope reads without its blocks
constexpr int SHORT = 5'000;

bool isSame(double a, double b)
{
    return a == b || (std::isnan(a) && std::isnan(b));
}

/// Arrays whose samples come from a table that the test keeps, so that nothing has to be in memory.
class CacheEnvelope : public CacheFixture
{
protected:
    static Bits someBits(int count, quint32 seed)
    {
        constexpr std::uint32_t odd[] = {0x7FC00000, 0xFFC00000, 0x7F800000, 0xFF800000, 0, 0x80000000};
        Random random(seed);
        Bits bits;
        for (int i = 0; i < count; ++i) {
            const std::uint32_t value = random.onceIn(50) ? odd[random.upTo(5)] : random.next();
            bits.push_back(static_cast<std::int32_t>(value));
        }
        return bits;
    }

    static void addBits(Array& array, const Bits& bits)
    {
        if (array.getDataType() != Float) {
            array.addSamples(std::span<const int>(bits));
            return;
        }
        for (const std::int32_t each : bits)
            array.addSample(DataTypeBase{.intValue = each});
    }

    Array& written(const QString& name, const Bits& bits, DataType type = Float)
    {
        Array& array = make(name, type);
        array.startAddingData();
        addBits(array, bits);
        array.endAddingData(KEY);
        cache().awaitTaskFinished(&array);
        return array;
    }

    /// The description of `array` as another one, with no samples in memory, on a copy of the file.
    Array& restored(Array& array, const QString& name)
    {
        QJsonObject object;
        vx::archive::ArchiveContext context;
        context.dataSourcePath = KEY;
        EXPECT_TRUE(array.write(object, 0, context));
        object.insert("name", name);
        Array& other = make(name, array.getDataType());
        EXPECT_TRUE(QFile::copy(fileOf(array), fileOf(other)));
        EXPECT_TRUE(other.read(object, 0, context));
        return other;
    }

    static EnvelopeColumn columnOf(const Bits& bits, DataType type, qint64 first, qint64 last)
    {
        EnvelopeColumn column{first, last - first};
        for (qint64 i = first; i < last; ++i) {
            const DataTypeBase sample{.intValue = bits[static_cast<std::size_t>(i)]};
            const double value =
                type == Float ? static_cast<double>(sample.floatValue) : static_cast<double>(sample.intValue);
            if (type == Float ? std::isnan(value) : sample.intValue == 2143289344) {
                ++column.missing;
                continue;
            }
            column.minimum = value < column.minimum || std::isnan(column.minimum) ? value : column.minimum;
            column.maximum = value > column.maximum || std::isnan(column.maximum) ? value : column.maximum;
        }
        return column;
    }

    /// Whether the columns of a range are what `bits` say.
    static testing::AssertionResult isEnvelope(const Array& array, const Bits& bits, qint64 first,
                                               qint64 last, int columns)
    {
        const std::vector<EnvelopeColumn> envelope = array.envelope(first, last, columns);
        if (static_cast<qint64>(envelope.size()) != std::min<qint64>(columns, last - first))
            return testing::AssertionFailure() << envelope.size() << " columns";
        qint64 at = first;
        for (const EnvelopeColumn& column : envelope) {
            if (column.first != at || column.count < 1 || at + column.count > last)
                return testing::AssertionFailure() << column.count << " samples at " << column.first;
            at += column.count;
            const EnvelopeColumn expected = columnOf(bits, array.getDataType(), column.first, at);
            if (column.missing != expected.missing || !isSame(column.minimum, expected.minimum) ||
                !isSame(column.maximum, expected.maximum))
                return testing::AssertionFailure() << "the samples from " << column.first << " to " << at;
        }
        return at == last ? testing::AssertionSuccess() : testing::AssertionFailure() << "end " << at;
    }

    /// As isEnvelope(), over the whole array and over parts of it, wide and narrow.
    static testing::AssertionResult isEnvelope(const Array& array, const Bits& bits, quint32 seed = 1)
    {
        const auto size = static_cast<qint64>(bits.size());
        if (array.getSize() != size)
            return testing::AssertionFailure() << "the array has " << array.getSize() << " samples";
        testing::AssertionResult result = isEnvelope(array, bits, 0, size, 100);
        Random random(seed);
        for (int i = 0; i < 10 && result; ++i) {
            const qint64 first = random.upTo(static_cast<quint32>(size - 2));
            const qint64 last = first + 1 + random.upTo(static_cast<quint32>(size - first - 1));
            result = isEnvelope(array, bits, first, last, 1 + static_cast<int>(random.upTo(300)));
            if (result)
                result = isEnvelope(array, bits, first, std::min(last, first + 1000), 30);
        }
        return result;
    }

    static qint64 bytesRead(Array& array)
    {
        return StreamedArrayAccess::state(*StreamedArrayAccess::arrayOf(array)).envelope.bytesRead.load();
    }

    template <typename Predicate>
    static bool waitFor(Predicate done)
    {
        const QDeadlineTimer deadline(TEST_PATIENCE_MILLISECONDS);
        while (!done() && !deadline.hasExpired())
            QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        return done();
    }
};

class CacheEnvelopeOf : public CacheEnvelope, public testing::WithParamInterface<DataType>
{};

std::string typeName(const testing::TestParamInfo<DataType>& info)
{
    return getDataTypeAsString(info.param).toStdString();
}

} // namespace

INSTANTIATE_TEST_SUITE_P(Types, CacheEnvelopeOf, testing::Values(Float, Int, Enum), typeName);

TEST_P(CacheEnvelopeOf, SamplesThatAreBeingAddedIsWhatTheySay)
{
    Array& array = make("U", GetParam());
    Bits bits;
    for (quint32 i = 0; i < 8; ++i) {
        const Bits more = someBits(static_cast<int>(100 + 3000 * i), i);
        addBits(array, more);
        bits.insert(bits.end(), more.begin(), more.end());
        ASSERT_TRUE(isEnvelope(array, bits, i)) << i;
    }
}

TEST_P(CacheEnvelopeOf, AnEvictedArrayIsWhatItsSamplesSayAndBringsNothingIntoMemory)
{
    const Bits bits = someBits(LONG + 77, 1);
    Array& array = written("U", bits, GetParam());
    evict(array);
    EXPECT_TRUE(array.isEnvelopeReady());
    EXPECT_TRUE(isEnvelope(array, bits));
    EXPECT_FALSE(isInMemory(array));
    EXPECT_TRUE(errors().isEmpty());
}

TEST_P(CacheEnvelopeOf, ARestoredArrayIsMadeFromItsFileWithoutBringingItIntoMemory)
{
    const Bits bits = someBits(LONG + 77, 2);
    Array& array = restored(written("U", bits, GetParam()), "V");
    EXPECT_FALSE(array.isEnvelopeReady());
    EXPECT_TRUE(isEnvelope(array, bits));
    EXPECT_TRUE(array.isEnvelopeReady());
    EXPECT_FALSE(isInMemory(array));
}

TEST_F(CacheEnvelope, OfAnEvictedArrayReadsItsOuterEdgesAlone)
{
    const Bits bits = someBits(LONG, 3);
    Array& array = written("U", bits);
    evict(array);
    ASSERT_EQ(array.envelope(1, LONG - 1, 2000).size(), 2000U);
    EXPECT_GT(bytesRead(array), 0);
    EXPECT_LE(bytesRead(array), 2 * (256 * 4 + 24));
    const qint64 before = bytesRead(array);
    ASSERT_EQ(array.envelope(0, LONG, 2000).size(), 2000U);
    EXPECT_EQ(bytesRead(array), before) << "there are no outer edges";
}

TEST_F(CacheEnvelope, OfAFewSamplesOfARestoredArrayReadsNoMoreThanThose)
{
    const Bits bits = someBits(LONG, 4);
    Array& array = restored(written("U", bits), "V");
    EXPECT_TRUE(isEnvelope(array, bits, 500'001, 502'000, 5));
    EXPECT_LE(bytesRead(array), 2000 * 4 + 100);
    EXPECT_FALSE(array.isEnvelopeReady());
}

TEST_F(CacheEnvelope, OfALoadedArrayNeedsNoFile)
{
    const Bits bits = someBits(LONG, 5);
    Array& array = restored(written("U", bits), "V");
    load(array);
    EXPECT_TRUE(array.isEnvelopeReady());
    evict(array);
    EXPECT_TRUE(array.isEnvelopeReady());
    EXPECT_TRUE(isEnvelope(array, bits, 0, LONG, 2000));
    EXPECT_EQ(bytesRead(array), 0);
}

TEST_F(CacheEnvelope, IsPreparedInTheBackground)
{
    const Bits bits = someBits(LONG, 6);
    Array& array = restored(written("U", bits), "V");
    const QFuture<EnvelopeResult> future = cache().prepareEnvelope(&array);
    EXPECT_EQ(future.progressMaximum(), LONG);
    ASSERT_TRUE(waitFor([&] { return future.isFinished(); }));
    EXPECT_TRUE(future.result().isReady);
    EXPECT_TRUE(array.isEnvelopeReady());
    EXPECT_FALSE(isInMemory(array));
    const qint64 before = bytesRead(array);
    EXPECT_GE(before, LONG * 4);
    EXPECT_TRUE(isEnvelope(array, bits, 0, LONG, 2000));
    EXPECT_EQ(bytesRead(array), before);
    EXPECT_TRUE(cache().prepareEnvelope(&array).isFinished()) << "nothing is left to do";
}

TEST_F(CacheEnvelope, ThatCannotBePreparedSaysWhy)
{
    Array& array = restored(written("U", someBits(LONG, 6)), "V");
    const QString file = fileOf(array);
    ASSERT_TRUE(QFile::remove(file));
    const QFuture<EnvelopeResult> future = cache().prepareEnvelope(&array);
    ASSERT_TRUE(waitFor([&] { return future.isFinished(); }));
    EXPECT_FALSE(future.result().isReady);
    EXPECT_EQ(future.result().error, "CacheTaskRead::run ERROR !\nCache file " + file + " doesn't exists\n");
    EXPECT_TRUE(waitFor([&] { return !errors().isEmpty(); }));
    EXPECT_EQ(errors(), QStringList{future.result().error});
    EXPECT_TRUE(array.isInError());
}

TEST_F(CacheEnvelope, RequestsWaitForWhatTheirTaskHasToSay)
{
    Array& array = restored(written("U", someBits(LONG, 6)), "V");
    Array& other = store("W", {1, 2, 3});
    const QString error = "CacheTaskRead::run ERROR !\nCache file " + fileOf(array) + " doesn't exists\n";
    ASSERT_TRUE(QFile::remove(fileOf(array)));
    GatedPool gate;
    const QFuture<EnvelopeResult> envelope = cache().prepareEnvelope(&array);
    gate.runQueued();
    cache().loadInBackground(&other); // looks at all requests
    EXPECT_FALSE(envelope.isFinished()) << "the task is over, but not what follows it";
    processEvents();
    ASSERT_TRUE(envelope.isFinished());
    EXPECT_EQ(envelope.result().error, error);

    array.setReadWriteError(false);
    const QFuture<LoadResult> load = cache().loadInBackground(&array);
    gate.runQueued();
    cache().loadInBackground(&other);
    EXPECT_FALSE(load.isFinished());
    processEvents();
    ASSERT_TRUE(load.isFinished());
    EXPECT_EQ(load.result().error, error);
}

TEST_F(CacheEnvelope, PreparedForAnArrayThatIsDestroyedEnds)
{
    QFuture<EnvelopeResult> future;
    Array& array = restored(written("U", someBits(LONG, 6)), "V");
    future = cache().prepareEnvelope(&array);
    destroy(array);
    EXPECT_TRUE(future.isFinished());
}

TEST_F(CacheEnvelope, StartsOverWhenTheArrayIsCleared)
{
    Array& array = written("U", someBits(LONG, 7));
    evict(array);
    ASSERT_EQ(array.envelope(0, LONG, 10).size(), 10U);
    array.clear();
    EXPECT_TRUE(array.envelope(0, LONG, 10).empty());
    const Bits bits = someBits(LONG - 300'000, 8);
    array.startAddingData();
    addBits(array, bits);
    EXPECT_TRUE(isEnvelope(array, bits));
    array.endAddingData(KEY);
    evict(array);
    EXPECT_TRUE(isEnvelope(array, bits));
}

TEST_F(CacheEnvelope, GoesOnWhenTheContentIsUpdated)
{
    Bits bits = someBits(LONG, 9);
    Array& array = written("U", bits);
    evict(array);
    const Bits more = someBits(SHORT, 10);
    bits.insert(bits.end(), more.begin(), more.end());
    array.startAddingData();
    addBits(array, more);
    EXPECT_TRUE(isEnvelope(array, bits));
    array.endAddingData(KEY);
    evict(array);
    EXPECT_TRUE(isEnvelope(array, bits));
}

TEST_F(CacheEnvelope, GoesOnWhenSamplesAreAppendedToTheFile)
{
    Bits bits = someBits(LONG + 100, 11);
    Array& source = written("U", bits);
    for (Array* array : {&source, &restored(source, "V")}) {
        SCOPED_TRACE(array->getName().toStdString());
        Bits all = bits;
        for (quint32 i = 0; i < 3; ++i) {
            const Bits more = someBits(SHORT, 12 + i);
            all.insert(all.end(), more.begin(), more.end());
            cache().prepareAppendDataArray(array);
            addBits(*array, more);
            ASSERT_TRUE(isEnvelope(*array, all)) << "while the append is open";
            cache().appendDataArray(array, KEY);
            ASSERT_TRUE(isEnvelope(*array, all)) << "while it may be written";
            cache().awaitTaskFinished(array);
            ASSERT_TRUE(isEnvelope(*array, all));
        }
        EXPECT_TRUE(errors().isEmpty());
    }
}

TEST_F(CacheEnvelope, CountsSamplesThatWaitForALoad)
{
    Bits bits = someBits(LONG, 13);
    Array& array = written("U", bits);
    evict(array);
    GatedPool gate;
    cache().readDataArrayFromDisk(&array);
    const Bits more = someBits(SHORT, 14);
    addBits(array, more); // the block will be the load's
    bits.insert(bits.end(), more.begin(), more.end());
    EXPECT_TRUE(isEnvelope(array, bits));
    gate.open();
    cache().awaitTaskFinished(&array);
    EXPECT_TRUE(isEnvelope(array, bits));
}

TEST_F(CacheEnvelope, IsAskedForOnThePoolThreadBehindWhichTheWriteIsQueued)
{
    // The file has the new count already, as while a write goes on, so that only the write task makes it
    // readable.
    Bits bits = someBits(SHORT, 39);
    Array& array = written("U", bits, Int);
    cache().prepareAppendDataArray(&array);
    const Bits more = someBits(SHORT, 40);
    addBits(array, more);
    StreamedArrayAccess::state(*StreamedArrayAccess::arrayOf(array)).trustedCount = SHORT;
    ASSERT_TRUE(
        writeFile(fileOf(array), cacheFileHeader() + countBytes(qint64{2} * SHORT) + sampleBytes(bits)));
    bits.insert(bits.end(), more.begin(), more.end());

    GatedPool gate;
    Signal isAnswered;
    bool isRight = false;
    PoolTask::start([&] {
        isRight = isEnvelope(array, bits, 1, SHORT + 1, 20);
        isAnswered.give();
    });
    cache().appendDataArray(&array, KEY);
    gate.open();
    EXPECT_TRUE(isAnswered.take()) << "the reader keeps the pool from what it waits for";
    QThreadPool::globalInstance()->setMaxThreadCount(2); // and lets go of it
    gate.drain();
    EXPECT_TRUE(isRight);
    cache().awaitTaskFinished(&array);
    EXPECT_EQ(bytesOf(array), cacheFileBytes(bits));
    EXPECT_TRUE(errors().isEmpty());
}

TEST_F(CacheEnvelope, FollowsTheArrayToAnotherFile)
{
    const Bits bits = someBits(LONG, 15);
    Array& array = written("U", bits);
    evict(array);
    array.updateDataCachePath("C:/data/run2.dat");
    EXPECT_TRUE(isEnvelope(array, bits));
    EXPECT_TRUE(errors().isEmpty());
}

TEST_F(CacheEnvelope, FollowsTheDataType)
{
    const Bits bits = someBits(LONG, 16);
    Array& array = written("U", bits, Float);
    evict(array);
    array.setDataType(Int);
    EXPECT_TRUE(isEnvelope(array, bits));
    array.setDataType(Float);
    EXPECT_TRUE(isEnvelope(array, bits));
}

TEST_F(CacheEnvelope, StartsOverWhenAnotherDeviceIsRead)
{
    Array& array = written("U", someBits(SHORT, 17));
    const Bits bits = someBits(SHORT, 18);
    BytesDevice device(bodyBytes(bits));
    ASSERT_TRUE(array.readFromDiskStream(device));
    EXPECT_TRUE(isEnvelope(array, bits));
}

TEST_F(CacheEnvelope, HasEmptyColumnsWhereTheFileIsMissing)
{
    const Bits bits = someBits(LONG, 19);
    Array& array = written("U", bits);
    evict(array);
    ASSERT_TRUE(QFile::remove(fileOf(array)));
    std::vector<EnvelopeColumn> envelope = array.envelope(1, LONG - 1, 10);
    ASSERT_EQ(envelope.size(), 10U);
    for (const std::size_t outer : {0U, 9U}) {
        EXPECT_EQ(envelope[outer].count, 0);
        EXPECT_EQ(envelope[outer].missing, 0);
        EXPECT_TRUE(std::isnan(envelope[outer].minimum));
        EXPECT_TRUE(std::isnan(envelope[outer].maximum));
    }
    for (std::size_t i = 1; i < 9; ++i) {
        const EnvelopeColumn& column = envelope[i];
        const EnvelopeColumn expected = columnOf(bits, Float, column.first, column.first + column.count);
        EXPECT_GT(column.count, 0);
        EXPECT_EQ(column.missing, expected.missing);
        EXPECT_EQ(column.minimum, expected.minimum);
    }
    EXPECT_TRUE(array.isInError());
    EXPECT_EQ(errors(),
              QStringList{"CacheTaskRead::run ERROR !\nCache file " + fileOf(array) + " doesn't exists\n"});
    array.envelope(1, LONG - 1, 10);
    EXPECT_EQ(errors().size(), 1) << "in error nothing is read";
}

TEST_F(CacheEnvelope, HasEmptyColumnsWhereTheFileIsShort)
{
    const Bits bits = someBits(LONG, 20);
    Array& array = restored(written("U", bits), "V");
    const Bits half(bits.begin(), bits.begin() + LONG / 2);
    ASSERT_TRUE(writeFile(fileOf(array), cacheFileBytes(half)));
    const std::vector<EnvelopeColumn> envelope = array.envelope(0, LONG, 100);
    ASSERT_EQ(envelope.size(), 100U);
    for (const EnvelopeColumn& column : envelope) {
        if (column.first + column.count > LONG / 2 || column.count == 0) {
            EXPECT_EQ(column.count, 0) << column.first;
            EXPECT_GT(column.first, LONG / 2 - LONG / 50) << "those that are there are told";
            continue;
        }
        const EnvelopeColumn expected = columnOf(bits, Float, column.first, column.first + column.count);
        EXPECT_EQ(column.missing, expected.missing);
        EXPECT_TRUE(isSame(column.minimum, expected.minimum));
        EXPECT_TRUE(isSame(column.maximum, expected.maximum));
    }
    EXPECT_TRUE(array.isInError());
    EXPECT_EQ(errors().size(), 1);
}

TEST_F(CacheEnvelope, HasEmptyColumnsWhereTheFileIsDamaged)
{
    const Bits bits = someBits(SHORT, 21);
    const QByteArray good = cacheFileBytes(bits);
    for (const QByteArray& bytes :
         {QByteArray(), good.left(12), good.left(good.size() - 1), cacheFileHeader(1) + bodyBytes(bits),
          cacheFileHeader() + countBytes(-1) + sampleBytes(bits)}) {
        SCOPED_TRACE(bytes.size());
        Array& array = restored(written("U", bits), "V");
        ASSERT_TRUE(writeFile(fileOf(array), bytes));
        for (const int columns : {3, SHORT}) {
            array.setReadWriteError(false);
            for (const EnvelopeColumn& column : array.envelope(0, SHORT, columns))
                ASSERT_EQ(column.count, 0);
            EXPECT_TRUE(array.isInError());
        }
        destroy(array);
    }
}

TEST_F(CacheEnvelope, OfNewSamplesIsThereWhenTheFileOfTheOldOnesIsNot)
{
    Bits bits = someBits(SHORT, 22);
    Array& array = written("U", bits);
    cache().prepareAppendDataArray(&array);
    const Bits more = someBits(LONG, 23);
    addBits(array, more);
    bits.insert(bits.end(), more.begin(), more.end());
    ASSERT_TRUE(QFile::remove(fileOf(array)));
    const std::vector<EnvelopeColumn> envelope = array.envelope(SHORT - 10, LONG, 20'000);
    ASSERT_EQ(envelope.size(), 20'000U);
    EXPECT_EQ(envelope[0].count, 0);
    EXPECT_TRUE(isEnvelope(array, bits, SHORT, SHORT + LONG, 20'000));
}

TEST_F(CacheEnvelope, IsCountedInTheStatistics)
{
    const qint64 before = cache().statistics().envelopeBytes;
    Array& array = written("U", someBits(LONG, 24));
    const qint64 bytes = cache().statistics().envelopeBytes - before;
    EXPECT_GE(bytes, LONG * 4 / 128);
    EXPECT_LE(bytes * 100, qint64{LONG} * 4 * 4);
    evict(array);
    EXPECT_EQ(cache().statistics().envelopeBytes - before, bytes) << "it stays";
    array.clear();
    EXPECT_EQ(cache().statistics().envelopeBytes, before);
}

TEST_F(CacheEnvelope, IsAskedForByManyThreadsWhileSamplesAreAdded)
{
    const Bits bits = someBits(LONG, 25);
    Array& array = make("U", Int);
    std::atomic<bool> isOver{false};
    std::atomic<int> wrong{0};
    std::vector<std::thread> readers;
    for (quint32 seed = 0; seed < 3; ++seed) {
        readers.emplace_back([&, seed] {
            Random random(seed);
            while (!isOver.load()) {
                const qint64 size = array.getSize();
                const qint64 first = size > 1 ? random.upTo(static_cast<quint32>(size - 1)) : 0;
                if (first < size && !isEnvelope(array, bits, first, size, 20))
                    ++wrong;
            }
        });
    }
    constexpr std::size_t step = 10'000;
    for (std::size_t at = 0; at < bits.size(); at += step) {
        if (at % (20 * step) == 0) {
            if (at > 0) {
                array.endAddingData(KEY);
                evict(array);
            }
            array.startAddingData();
        }
        array.addSamples(std::span<const int>(bits).subspan(at, step));
    }
    isOver = true;
    for (std::thread& reader : readers)
        reader.join();
    EXPECT_EQ(wrong, 0);
    EXPECT_TRUE(isEnvelope(array, bits));
    EXPECT_TRUE(errors().isEmpty());
}

TEST_F(CacheEnvelope, IsAskedForByManyThreadsWhileTheArrayIsLoadedAndMoved)
{
    const Bits bits = someBits(LONG, 26);
    Array& array = restored(written("U", bits), "V");
    std::atomic<int> done{0};
    std::atomic<int> wrong{0};
    std::vector<std::thread> readers;
    for (quint32 seed = 0; seed < 3; ++seed) {
        readers.emplace_back([&, seed] {
            for (quint32 i = 0; i < 5; ++i)
                wrong += isEnvelope(array, bits, seed * 100 + i) ? 0 : 1;
            ++done;
        });
    }
    for (int i = 0; done.load() < 3; ++i) {
        load(array);
        array.updateDataCachePath(i % 2 == 0 ? "C:/data/run2.dat" : KEY);
        evict(array);
        processEvents();
    }
    for (std::thread& reader : readers)
        reader.join();
    EXPECT_EQ(wrong, 0);
    EXPECT_TRUE(errors().isEmpty());
}

// ---- no memory

namespace {

/// Blocks from here on are refused: those of an envelope of more than LONG / 4 samples, and room for
/// samples that are read. The columns of the questions are smaller.
constexpr std::size_t REFUSED_BYTES = 8192;

const char* const NO_MEMORY = "There is no memory for the envelope";

class CacheEnvelopeWithoutMemory : public CacheEnvelope
{
protected:
    void SetUp() override
    {
        if (!RefusedNew::isPossible())
            GTEST_SKIP() << "the sanitizer has the memory";
        CacheEnvelope::SetUp();
    }

    void TearDown() override
    {
        if (RefusedNew::isPossible())
            CacheEnvelope::TearDown();
    }

    /// Whether the columns of the whole array and of parts of it are what `bits` say.
    static void expectEnvelope(const Array& array, const Bits& bits)
    {
        const auto size = static_cast<qint64>(bits.size());
        EXPECT_TRUE(isEnvelope(array, bits, 0, size, 100));
        EXPECT_TRUE(isEnvelope(array, bits, 1, size - 1, 100));
        EXPECT_TRUE(isEnvelope(array, bits, size / 2, size, 7));
        EXPECT_TRUE(isEnvelope(array, bits, size / 3, size / 3 + 20'000, 100));
    }

    /// Whether an envelope that was not finished for want of memory is, once there is some.
    void expectRepaired(Array& array, const Bits& bits)
    {
        const QFuture<EnvelopeResult> future = cache().prepareEnvelope(&array);
        ASSERT_TRUE(waitFor([&] { return future.isFinished(); }));
        EXPECT_EQ(future.result().error, QString());
        EXPECT_TRUE(array.isEnvelopeReady());
        EXPECT_TRUE(isEnvelope(array, bits));
        EXPECT_TRUE(errors().isEmpty());
        EXPECT_FALSE(array.isInError());
    }
};

} // namespace

TEST_F(CacheEnvelopeWithoutMemory, OfAnArrayThatIsWrittenAndEvictedIsMadeFromItsSamples)
{
    const Bits bits = someBits(LONG, 30);
    Array& other = store("other", {1});
    Array& array = make("U");
    array.startAddingData();
    {
        const RefusedNew refused = RefusedNew::from(REFUSED_BYTES);
        addBits(array, bits);
        const int whileAdding = refused.count();
        EXPECT_GT(whileAdding, 0) << "samples are summed up while they are added";
        array.endAddingData(KEY);
        cache().awaitTaskFinished(&array);
        EXPECT_GT(refused.count(), whileAdding) << "the task sums up what it has written";
        expectEnvelope(array, bits);
        cache().setCacheSizeInBytes(1);
        push(other); // the newest stays
        updateCache();
        ASSERT_FALSE(isInMemory(array));
        EXPECT_FALSE(array.isEnvelopeReady());
        expectEnvelope(array, bits);
        EXPECT_FALSE(isInMemory(array));
    }
    expectRepaired(array, bits);
}

TEST_F(CacheEnvelopeWithoutMemory, OfAnArrayThatIsLoadedIsMadeFromItsSamples)
{
    const Bits bits = someBits(LONG, 31);
    Array& array = restored(written("U", bits), "V");
    {
        const RefusedNew refused = RefusedNew::from(REFUSED_BYTES);
        load(array);
        EXPECT_GT(refused.count(), 0) << "the loader sums up what it brings";
        ASSERT_TRUE(isInMemory(array));
        EXPECT_TRUE(array.isEnvelopeReady()) << "nothing is needed from the file";
        expectEnvelope(array, bits);
        evict(array);
        expectEnvelope(array, bits);
    }
    expectRepaired(array, bits);
}

TEST_F(CacheEnvelopeWithoutMemory, OfAnArrayThatIsRestoredIsMadeFromItsFile)
{
    const Bits bits = someBits(LONG, 32);
    Array& array = restored(written("U", bits), "V");
    {
        const RefusedNew refused = RefusedNew::from(REFUSED_BYTES);
        expectEnvelope(array, bits);
        EXPECT_GT(refused.count(), 0);
    }
    expectRepaired(array, bits);
}

TEST_F(CacheEnvelopeWithoutMemory, OfSamplesThatAreAppendedIsMadeFromTheSamples)
{
    Bits bits = someBits(LONG, 33);
    Array& array = written("U", bits);
    const Bits more = someBits(LONG, 34);
    bits.insert(bits.end(), more.begin(), more.end());
    {
        const RefusedNew refused = RefusedNew::from(REFUSED_BYTES);
        cache().prepareAppendDataArray(&array);
        addBits(array, more);
        expectEnvelope(array, bits);
        cache().appendDataArray(&array, KEY);
        cache().awaitTaskFinished(&array);
        EXPECT_FALSE(isInMemory(array)) << "what was appended leaves memory";
        expectEnvelope(array, bits);
        EXPECT_GT(refused.count(), 0);
    }
    expectRepaired(array, bits);
}

TEST_F(CacheEnvelopeWithoutMemory, CannotBePreparedAndSaysWhy)
{
    const Bits bits = someBits(LONG, 35);
    Array& array = restored(written("U", bits), "V");
    {
        const RefusedNew refused = RefusedNew::from(REFUSED_BYTES);
        const QFuture<EnvelopeResult> future = cache().prepareEnvelope(&array);
        ASSERT_TRUE(waitFor([&] { return future.isFinished(); }));
        EXPECT_FALSE(future.result().isReady);
        EXPECT_EQ(future.result().error, NO_MEMORY);
        EXPECT_FALSE(array.isEnvelopeReady());
        EXPECT_FALSE(array.isInError()) << "there is nothing wrong with its samples";
    }
    expectRepaired(array, bits);
}

TEST_F(CacheEnvelopeWithoutMemory, IsReadyWhenTheSamplesItDoesNotCoverAreInMemory)
{
    // Part of the samples is in the file and part in memory, neither of them summed up.
    Bits bits = someBits(SHORT, 36);
    Array& array = restored(written("U", bits), "V");
    cache().prepareAppendDataArray(&array);
    const Bits more = someBits(LONG, 37);
    addBits(array, more);
    bits.insert(bits.end(), more.begin(), more.end());
    {
        const RefusedNew refused = RefusedNew::from(REFUSED_BYTES);
        const QFuture<EnvelopeResult> future = cache().prepareEnvelope(&array);
        ASSERT_TRUE(waitFor([&] { return future.isFinished(); }));
        EXPECT_TRUE(future.result().isReady) << "what is in memory needs nothing from the file";
        expectEnvelope(array, bits);
    }
    expectRepaired(array, bits);
}

TEST_F(CacheEnvelopeWithoutMemory, HasNoColumnWhenThereIsNoMemoryForThose)
{
    const Bits bits = someBits(LONG, 38);
    Array& array = written("U", bits);
    DataArrayInfo plain("P", ParameterVoltage, Float, UsualUnit(UnitVolt));
    plain.createDataArray();
    for (int i = 0; i < SHORT; ++i)
        plain.addSampleFloat(1);
    {
        const RefusedNew refused = RefusedNew::from(REFUSED_BYTES);
        EXPECT_TRUE(array.envelope(0, LONG, 5000).empty());
        EXPECT_TRUE(plain.envelope(0, SHORT, 5000).empty());
        EXPECT_GT(refused.count(), 0);
    }
    EXPECT_TRUE(isEnvelope(array, bits, 0, LONG, 5000));
    EXPECT_EQ(plain.envelope(0, SHORT, 5000).size(), 5000U);
}
