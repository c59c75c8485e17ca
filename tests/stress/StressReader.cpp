#include "StressReader.h"

#include <datastorage/cache/CacheManager.h>

#include <algorithm>
#include <bit>
#include <limits>
#include <vector>

using namespace vx::datastorage;

namespace {

constexpr quint32 longestRange = 700;
constexpr quint32 longestEnvelope = 30'000;
constexpr quint32 mostColumns = 50;
constexpr quint32 callsPerVisit = 8;
constexpr int missingBits = 0x7FC00000;

} // namespace

void StressReader::run(const std::atomic<bool>& isOver)
{
    while (!isOver.load()) {
        StressSlot& slot = someArray(m_arrays, m_random);
        const std::shared_lock lock(slot.lifetime);
        for (quint32 call = m_random.upTo(callsPerVisit); call > 0 && !slot.isDestroyAhead.load(); --call)
            readOne(slot);
    }
}

StressReader::Before StressReader::look(const StressSlot& slot)
{
    // In this order: a count that is older than the expectation would promise too little, not too much.
    const quint64 clearedErrors = slot.clearedErrors();
    const Expectation expectation = slot.expectation();
    return {expectation, slot.written(), clearedErrors};
}

bool StressReader::wasInError(const StressSlot& slot, const Before& before)
{
    return slot.info->isInError() || slot.clearedErrors() != before.clearedErrors;
}

/// Mostly an index that the array has, sometimes one around it.
qint64 StressReader::someIndex(const StressSlot& slot)
{
    const qint64 size = std::max<qint64>(slot.announced(), 1);
    switch (m_random.upTo(15)) {
    case 0:
        return size - 1;
    case 1:
        return size + m_random.upTo(3);
    case 2:
        return -1;
    default:
        return static_cast<qint64>(m_random.next()) % size;
    }
}

void StressReader::readOne(StressSlot& slot)
{
    switch (m_random.upTo(7)) {
    case 0:
        readSize(slot);
        break;
    case 1:
    case 2:
        readRange(slot);
        break;
    case 3:
        readEnvelope(slot);
        break;
    default:
        readSample(slot);
    }
}

void StressReader::readSample(StressSlot& slot)
{
    const Before before = look(slot);
    const qint64 index = someIndex(slot);
    int bits = 0;
    if (m_random.upTo(1) == 0)
        bits = slot.info->getSample(index).intValue;
    else if (slot.hasInts())
        bits = slot.info->getSampleInt(index);
    else
        bits = std::bit_cast<int>(slot.info->getSampleFloat(index));
    m_report.count(Operation::ReadOne);
    // Who waits for a sample of an array in error gets it afterwards only if it is there by then.
    const bool isPossible =
        slot.isPossible(bits, index, before.expectation, before.written, slot.expectation());
    if (!isPossible && bits == missingBits && wasInError(slot, before))
        m_report.count(Operation::MissingInError);
    else
        check(slot, before, index, bits, "sample");
}

void StressReader::readRange(StressSlot& slot)
{
    m_report.count(Operation::ReadRange);
    if (slot.hasInts())
        readRangeOf<int>(slot);
    else
        readRangeOf<float>(slot);
}

/// A range may be short while the array is in error, nowhere else: the error may be that of another
/// reader, from before the array was repaired.
template <typename Sample>
void StressReader::readRangeOf(StressSlot& slot)
{
    const Before before = look(slot);
    const qint64 first = std::max<qint64>(someIndex(slot), 0);
    std::vector<Sample> samples(m_random.upTo(longestRange));
    const qint64 count = slot.info->readSamples(first, std::span<Sample>(samples));
    const Expectation after = slot.expectation();
    for (qint64 at = 0; at < count; ++at)
        check(slot, before, first + at, std::bit_cast<int>(samples[static_cast<std::size_t>(at)]), "range");
    const bool isSettled = before.expectation == after && !after.isChanging && !after.isDamaged;
    const qint64 promised = std::min(before.written - first, static_cast<qint64>(samples.size()));
    if (!isSettled || count >= promised)
        return;
    if (wasInError(slot, before))
        m_report.count(Operation::MissingInError);
    else
        m_report.fail(QStringLiteral("slot %1: a range from %2 has %3 samples instead of %4")
                          .arg(slot.number())
                          .arg(first)
                          .arg(count)
                          .arg(promised));
}

/// Columns of an array that changes meanwhile may be of either content: those are not looked at.
void StressReader::readEnvelope(StressSlot& slot)
{
    const Before before = look(slot);
    const qint64 first = m_random.upTo(3) == 0 ? 0 : std::max<qint64>(someIndex(slot), 0);
    const qint64 last = first + m_random.upTo(m_random.upTo(1) == 0 ? longestRange : longestEnvelope);
    const std::vector<EnvelopeColumn> columns =
        slot.info->envelope(first, last, static_cast<int>(1 + m_random.upTo(mostColumns)));
    m_report.count(Operation::ReadEnvelope);
    const Expectation after = slot.expectation();
    if (before.expectation != after || after.isChanging || after.isDamaged)
        return;
    const bool wasBroken = wasInError(slot, before);
    qint64 at = first;
    for (std::size_t i = 0; i < columns.size(); ++i) {
        const EnvelopeColumn& column = columns[i];
        const bool isLost = column.count == 0;
        if (column.first != at || (isLost && !wasBroken && column.first < before.written))
            m_report.fail(QStringLiteral("slot %1: a column of %2 samples from %3 instead of %4")
                              .arg(slot.number())
                              .arg(column.count)
                              .arg(column.first)
                              .arg(at));
        at = isLost && i + 1 < columns.size() ? columns[i + 1].first : column.first + column.count;
        if (!isLost)
            checkColumn(slot, before, column);
    }
}

void StressReader::checkColumn(const StressSlot& slot, const Before& before, const EnvelopeColumn& column)
{
    int minimum = std::numeric_limits<int>::max();
    int maximum = std::numeric_limits<int>::min();
    for (qint64 i = column.first; i < column.first + column.count; ++i) {
        const int value = slot.value(before.expectation.generation, i);
        minimum = std::min(minimum, value);
        maximum = std::max(maximum, value);
    }
    if (column.missing != 0 || column.minimum != minimum || column.maximum != maximum)
        m_report.fail(QStringLiteral("slot %1: %2 samples from %3 are %4 to %5, not %6 to %7, %8 missing")
                          .arg(slot.number())
                          .arg(column.count)
                          .arg(column.first)
                          .arg(minimum)
                          .arg(maximum)
                          .arg(column.minimum)
                          .arg(column.maximum)
                          .arg(column.missing));
}

void StressReader::readSize(StressSlot& slot)
{
    const Before before = look(slot);
    const qint64 size = slot.info->getSize();
    const qint64 announced = slot.announced();
    const Expectation after = slot.expectation();
    m_report.count(Operation::ReadSize);
    if (before.expectation.isChanging || before.expectation.generation != after.generation ||
        after.isChanging)
        return;
    if (size < before.written || size > announced)
        m_report.fail(QStringLiteral("slot %1: size %2, expected %3 to %4")
                          .arg(slot.number())
                          .arg(size)
                          .arg(before.written)
                          .arg(announced));
}

void StressReader::readDirect(StressSlot& slot)
{
    const Before before = look(slot);
    const qint64 index = someIndex(slot);
    CacheManager& cache = CacheManager::instance();
    int bits = cache.getSampleDirect(slot.info.get(), index).intValue;
    if (!slot.isPossible(bits, index, before.expectation, before.written, slot.expectation())) {
        // Samples that were added without a bracket are in the file once their write has been run.
        cache.awaitTaskFinished(slot.info.get());
        bits = cache.getSampleDirect(slot.info.get(), index).intValue;
    }
    m_report.count(Operation::ReadDirect, slot.number());
    // Where no file can be mapped the first sample is 0, and what a mapped file has lost may read as 0.
    const bool mayBeZero = before.written == 0 || slot.expectation().isDamaged;
    if (bits != 0 || !mayBeZero)
        check(slot, before, index, bits, "direct sample");
}

void StressReader::check(const StressSlot& slot, const Before& before, qint64 index, int bits,
                         const char* call)
{
    const Expectation after = slot.expectation();
    if (slot.isPossible(bits, index, before.expectation, before.written, after))
        return;
    m_report.fail(QStringLiteral("slot %1, generation %2 to %3, epoch %4 to %5: %6 %7 of %8 is %9")
                      .arg(slot.number())
                      .arg(before.expectation.generation)
                      .arg(after.generation)
                      .arg(before.expectation.epoch)
                      .arg(after.epoch)
                      .arg(QLatin1String(call))
                      .arg(index)
                      .arg(before.written)
                      .arg(static_cast<quint32>(bits), 8, 16));
}
