#include <datastorage/arrays/SampleEnvelope_p.h>

#include <support/Random.h>
#include <support/RefusedNew.h>

#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

using namespace vx::datastorage;

namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int QUERIES = 50'000;
#else
constexpr int QUERIES = 1'000'000;
#endif

constexpr std::int32_t MISSING = 2143289344;

/// Bits that are easy to take wrongly: NaN of all sorts, infinities, both zeros, extremes, and others.
std::int32_t oddBits(Random& random)
{
    constexpr std::uint32_t odd[] = {0x7FC00000, 0xFFC00000, 0x7F800001, 0x7F800000, 0xFF800000, 0x00000000,
                                     0x80000000, 0x7FFFFFFF, 0x00000001, 0x80000001, 0x7F7FFFFF, 0xFF7FFFFF};
    return static_cast<std::int32_t>(random.onceIn(3) ? odd[random.upTo(std::size(odd) - 1)] : random.next());
}

/// Samples with long runs of missing ones, so that whole blocks have nothing else.
std::vector<DataTypeBase> oddSamples(qint64 count, quint32 seed)
{
    Random random(seed);
    std::vector<DataTypeBase> samples;
    while (static_cast<qint64>(samples.size()) < count) {
        if (random.onceIn(1500))
            samples.insert(samples.end(), random.upTo(700), DataTypeBase{.intValue = MISSING});
        samples.push_back({.intValue = oddBits(random)});
    }
    samples.resize(static_cast<std::size_t>(count));
    return samples;
}

/// The same figures by looking at every sample.
EnvelopeColumn columnOf(std::span<const DataTypeBase> samples, SampleKind kind, qint64 first, qint64 last)
{
    EnvelopeColumn column{first, last - first};
    for (qint64 i = first; i < last; ++i) {
        const DataTypeBase sample = samples[static_cast<std::size_t>(i)];
        const bool isFloat = kind == SampleKind::Float;
        const double value =
            isFloat ? static_cast<double>(sample.floatValue) : static_cast<double>(sample.intValue);
        if (isFloat ? std::isnan(value) : sample.intValue == MISSING) {
            ++column.missing;
            continue;
        }
        column.minimum = value < column.minimum || std::isnan(column.minimum) ? value : column.minimum;
        column.maximum = value > column.maximum || std::isnan(column.maximum) ? value : column.maximum;
    }
    return column;
}

bool isSame(double a, double b)
{
    return a == b || (std::isnan(a) && std::isnan(b));
}

bool isSame(const EnvelopeColumn& a, const EnvelopeColumn& b)
{
    return a.first == b.first && a.count == b.count && a.missing == b.missing &&
           isSame(a.minimum, b.minimum) && isSame(a.maximum, b.maximum);
}

SampleEnvelope envelopeInPieces(std::span<const DataTypeBase> samples, SampleKind kind, quint32 longest)
{
    Random random(longest);
    SampleEnvelope envelope(kind);
    while (!samples.empty()) {
        const auto part = samples.first(std::min<std::size_t>(1 + random.upTo(longest - 1), samples.size()));
        envelope.append(part);
        samples = samples.subspan(part.size());
    }
    return envelope;
}

class SampleEnvelopeOf : public testing::TestWithParam<SampleKind>
{};

std::string kindName(const testing::TestParamInfo<SampleKind>& info)
{
    return info.param == SampleKind::Float ? "Float" : "Int";
}

} // namespace

INSTANTIATE_TEST_SUITE_P(Kinds, SampleEnvelopeOf, testing::Values(SampleKind::Float, SampleKind::Int),
                         kindName);

TEST_P(SampleEnvelopeOf, SamplesInOnePassIsWhatEverySampleSays)
{
    const SampleKind kind = GetParam();
    const std::vector<DataTypeBase> samples = oddSamples(3000, 1);
    for (qint64 first = 0; first < 40; ++first) {
        for (qint64 count = 0; count < 600; ++count) {
            const EnvelopeRange range = envelopeOf(
                std::span(samples).subspan(static_cast<std::size_t>(first), static_cast<std::size_t>(count)),
                kind);
            ASSERT_TRUE(isSame(envelopeColumn(range, kind, first, count),
                               columnOf(samples, kind, first, first + count)))
                << first << " " << count;
        }
    }
}

TEST_P(SampleEnvelopeOf, SamplesThatAreCopiedIsTheSameAndTheyArriveAsTheyAre)
{
    const SampleKind kind = GetParam();
    const std::vector<DataTypeBase> samples = oddSamples(3000, 6);
    for (std::size_t count = 0; count < 600; ++count) {
        const auto part = std::span(samples).subspan(count, count);
        std::vector<DataTypeBase> copy(count + 1, DataTypeBase{.intValue = 12345});
        EXPECT_EQ(copyWithEnvelope(part, kind, copy.data()), envelopeOf(part, kind)) << count;
        for (std::size_t i = 0; i < count; ++i)
            ASSERT_EQ(copy[i].intValue, part[i].intValue) << i << " of " << count;
        EXPECT_EQ(copy[count].intValue, 12345) << "behind " << count;
    }
}

TEST(EnvelopeOfInts, LargerThanTheMissingOneIsWhatTheySay)
{
    for (const qint32 other : {MISSING + 1, std::numeric_limits<qint32>::max()}) {
        std::vector<DataTypeBase> samples(100, DataTypeBase{.intValue = MISSING});
        samples[50].intValue = other;
        const EnvelopeRange range = envelopeOf(samples, SampleKind::Int);
        EXPECT_EQ(range, (EnvelopeRange{other, other, 99}));
    }
}

TEST(EnvelopeOfMany, CountsMissingOnesBeyondAMillion)
{
    const std::vector<DataTypeBase> samples(3'000'000, DataTypeBase{.intValue = MISSING});
    for (const SampleKind kind : {SampleKind::Float, SampleKind::Int})
        EXPECT_EQ(envelopeOf(samples, kind), EnvelopeRange{.missing = 3'000'000});
}

TEST_P(SampleEnvelopeOf, SamplesThatAreCopiedInPiecesIsTheSameAsOfThoseAppended)
{
    const SampleKind kind = GetParam();
    const std::vector<DataTypeBase> samples = oddSamples(10'000, 7);
    std::vector<DataTypeBase> copy(samples.size());
    SampleEnvelope envelope(kind);
    Random random(8);
    for (std::size_t at = 0; at < samples.size();) {
        const std::size_t count = std::min<std::size_t>(1 + random.upTo(900), samples.size() - at);
        const auto part = std::span(samples).subspan(at, count);
        EXPECT_EQ(envelope.appendCopied(part, copy.data() + at), envelopeOf(part, kind));
        at += count;
        ASSERT_EQ(envelope.size(), static_cast<qint64>(at));
    }
    const SampleEnvelope appended = envelopeInPieces(samples, kind, 1000);
    for (qint64 last = ENVELOPE_LEAF; last <= envelope.size(); last += ENVELOPE_LEAF)
        ASSERT_EQ(envelope.range(0, last), appended.range(0, last)) << last;
    for (std::size_t i = 0; i < samples.size(); ++i)
        ASSERT_EQ(copy[i].intValue, samples[i].intValue) << i;
}

TEST_P(SampleEnvelopeOf, CopiedSamplesWithoutMemoryEndsEarlyButTheyAllArrive)
{
    if (!RefusedNew::isPossible())
        GTEST_SKIP() << "the sanitizer has the memory";
    const SampleKind kind = GetParam();
    const std::vector<DataTypeBase> samples = oddSamples(5000, 9);
    std::vector<DataTypeBase> copy(samples.size());
    SampleEnvelope envelope(kind);
    EnvelopeRange range;
    {
        const RefusedNew refused = RefusedNew::nth(7);
        range = envelope.appendCopied(samples, copy.data());
        ASSERT_EQ(refused.count(), 1);
    }
    EXPECT_LT(envelope.size(), 5000);
    EXPECT_EQ(range, envelopeOf(samples, kind));
    for (std::size_t i = 0; i < samples.size(); ++i)
        ASSERT_EQ(copy[i].intValue, samples[i].intValue) << i;
    EXPECT_TRUE(envelope.append(std::span(samples).subspan(static_cast<std::size_t>(envelope.size()))));
    EXPECT_EQ(envelope.range(0, 5000), range);
}

TEST_P(SampleEnvelopeOf, RandomRangesIsWhatEverySampleSays)
{
    const SampleKind kind = GetParam();
    // Ranges within a part of the samples, so that the pass over every sample stays short, at any height
    // of the pyramid.
    constexpr quint32 count = 16 * 16 * 256 * 3 + 100;
    const std::vector<DataTypeBase> samples = oddSamples(count, 2);
    const SampleEnvelope envelope = envelopeInPieces(samples, kind, 1000);
    ASSERT_EQ(envelope.size(), count);
    Random random(3);
    for (int i = 0; i < QUERIES / 2; ++i) {
        const qint64 first = random.upTo((count - 1) / ENVELOPE_LEAF) * ENVELOPE_LEAF;
        const qint64 blocks = random.onceIn(1000) ? random.upTo(800) : random.upTo(4);
        const qint64 last = std::min<qint64>(first + blocks * ENVELOPE_LEAF, count);
        ASSERT_TRUE(isSame(envelopeColumn(envelope.range(first, last), kind, first, last - first),
                           columnOf(samples, kind, first, last)))
            << first << " to " << last;
    }
}

TEST_P(SampleEnvelopeOf, AppendedSamplesIsTheSameAfterEveryPiece)
{
    const SampleKind kind = GetParam();
    const std::vector<DataTypeBase> samples = oddSamples(3000, 4);
    SampleEnvelope envelope(kind);
    for (std::size_t i = 0; i < samples.size(); ++i) {
        envelope.append(std::span(samples).subspan(i, 1));
        const auto size = static_cast<qint64>(i) + 1;
        ASSERT_EQ(envelope.size(), size);
        if (i % 7 != 0)
            continue;
        ASSERT_TRUE(
            isSame(envelopeColumn(envelope.range(0, size), kind, 0, size), columnOf(samples, kind, 0, size)))
            << size;
    }
}

TEST_P(SampleEnvelopeOf, SamplesOfTheSameValueHasThatValue)
{
    const SampleKind kind = GetParam();
    for (const std::int32_t bits :
         {0x7F800000, static_cast<std::int32_t>(0xFF800000), 0, 0x7FFFFFFE, -1, 0x7FC00000}) {
        const std::vector<DataTypeBase> samples(1000, DataTypeBase{.intValue = bits});
        const SampleEnvelope envelope = envelopeInPieces(samples, kind, 300);
        EXPECT_TRUE(
            isSame(envelopeColumn(envelope.range(0, 1000), kind, 0, 1000), columnOf(samples, kind, 0, 1000)))
            << bits;
    }
}

TEST_P(SampleEnvelopeOf, SamplesWithoutMemoryEndsBeforeThoseThatAreRefused)
{
    if (!RefusedNew::isPossible())
        GTEST_SKIP() << "the sanitizer has the memory";
    const SampleKind kind = GetParam();
    constexpr qint64 count = qint64{16} * 16 * ENVELOPE_LEAF + 700;
    const std::vector<DataTypeBase> samples = oddSamples(count, 5);
    const auto isWhatItsSamplesSay = [&](const SampleEnvelope& envelope) {
        for (qint64 first = 0; first <= envelope.size(); first += 85 * ENVELOPE_LEAF) {
            const qint64 last = envelope.size();
            if (!isSame(envelopeColumn(envelope.range(first, last), kind, first, last - first),
                        columnOf(samples, kind, first, last)))
                return false;
        }
        return true;
    };
    int number = 0;
    for (bool isRefused = true; isRefused;) {
        SCOPED_TRACE(++number);
        SampleEnvelope envelope(kind);
        envelope.append(std::span(samples).first(10));
        {
            const RefusedNew refused = RefusedNew::nth(number);
            const bool isWhole = envelope.append(std::span(samples).subspan(10));
            isRefused = refused.count() > 0;
            EXPECT_EQ(isWhole, !isRefused);
        }
        EXPECT_EQ(envelope.size() == count, !isRefused);
        EXPECT_TRUE(isWhatItsSamplesSay(envelope));
        const auto rest = std::span(samples).subspan(static_cast<std::size_t>(envelope.size()));
        EXPECT_TRUE(envelope.append(rest)) << "there is memory again";
        ASSERT_EQ(envelope.size(), count);
        EXPECT_TRUE(isWhatItsSamplesSay(envelope));
    }
    EXPECT_GT(number, 30) << "three columns of leaves and two levels grow";
}

TEST(SampleEnvelope, TakesAtMostFourHundredthsOfTheSamples)
{
    const std::vector<DataTypeBase> samples(1000, DataTypeBase{.intValue = 1});
    SampleEnvelope envelope;
    EXPECT_EQ(envelope.bytes(), 0);
    for (qint64 size = 1000; size <= 2'000'000; size += 1000) {
        envelope.append(samples);
        ASSERT_GT(envelope.bytes(), 0);
        ASSERT_LE(envelope.bytes() * 100, size * 4 * 4) << size;
    }
}

TEST(EnvelopeEdges, AreInOrderAndCoverTheRange)
{
    Random random(5);
    for (int i = 0; i < 20'000; ++i) {
        const qint64 first = qint64{random.next()} << random.upTo(29);
        const qint64 last = first + (qint64{random.next()} >> random.upTo(31)) + 1;
        const EnvelopeEdges edges(first, last, 1 + static_cast<int>(random.upTo(50)));
        ASSERT_EQ(edges[0], first);
        ASSERT_EQ(edges[edges.columns()], last);
        for (qint64 column = 0; column < edges.columns(); ++column)
            ASSERT_LT(edges[column], edges[column + 1]) << first << " to " << last;
    }
}

TEST(EnvelopeEdges, AreSnappedFrom256SamplesOn)
{
    EXPECT_FALSE(EnvelopeEdges(0, 2559, 10).isSnapped());
    EXPECT_TRUE(EnvelopeEdges(0, 2560, 10).isSnapped());
    EXPECT_EQ(EnvelopeEdges(127, 2687, 10)[1], 256);
    EXPECT_EQ(EnvelopeEdges(128, 2688, 10)[1], 512);
    EXPECT_FALSE(EnvelopeEdges(0, 0, 10).isSnapped());
}
