#include "StressSlot.h"

#include <algorithm>
#include <bit>
#include <vector>

using vx::datastorage::DataArrayInfoStreamed;

namespace {

constexpr int missingBits = 0x7FC00000;
constexpr quint64 generationBits = 22;
constexpr quint64 generationMask = (quint64{1} << generationBits) - 1;

} // namespace

Expectation Expectation::unpack(quint64 word)
{
    return {word >> (generationBits + 2), (word >> 2) & generationMask, (word & 1) != 0, (word & 2) != 0};
}

quint64 Expectation::pack() const
{
    return (epoch << (generationBits + 2)) | ((generation & generationMask) << 2) | (isDamaged ? 2U : 0U) |
           (isChanging ? 1U : 0U);
}

StressSlot::StressSlot(int number, bool hasInts, qint64 usualSize)
    : m_number(number), m_hasInts(hasInts), m_usualSize(usualSize)
{}

int StressSlot::valueOf(int slot, quint64 generation, qint64 index)
{
    quint64 mixed = (static_cast<quint64>(slot) << 58) ^ (generation << 36) ^ static_cast<quint64>(index);
    mixed = (mixed ^ (mixed >> 31)) * 0x9E3779B97F4A7C15U;
    mixed = (mixed ^ (mixed >> 29)) * 0xBF58476D1CE4E5B9U;
    return static_cast<int>((mixed >> 32) % 0x7FFFFEU) + 1;
}

int StressSlot::bits(int value) const
{
    return m_hasInts ? value : std::bit_cast<int>(static_cast<float>(value));
}

bool StressSlot::isPossible(int bits, qint64 index, const Expectation& before, qint64 writtenBefore,
                            const Expectation& after) const
{
    if (index < 0)
        return bits == missingBits;
    const bool isSettled = before == after && !before.isChanging && !before.isDamaged;
    if (isSettled && index < writtenBefore)
        return bits == this->bits(value(before.generation, index));
    if (bits == missingBits)
        return true;
    const quint64 last = after.generation + (after.isChanging ? 1 : 0);
    for (quint64 generation = before.generation; generation <= last; ++generation)
        if (bits == this->bits(value(generation, index)))
            return true;
    return false;
}

void StressSlot::change(Expectation next)
{
    ++next.epoch;
    m_expectation.store(next.pack());
}

void StressSlot::clearError()
{
    if (!info->isInError())
        return;
    // Twice: a reader may have begun, or may look again, while the error is about to go.
    ++m_clearedErrors;
    info->setReadWriteError(false);
    ++m_clearedErrors;
}

void StressSlot::beginGeneration()
{
    Expectation next = expectation();
    next.isChanging = true;
    change(next);
    mayLackFile = true;
    m_written.store(0);
    m_announced.store(0);
}

void StressSlot::endGeneration()
{
    Expectation next = expectation();
    next.isChanging = false;
    next.isDamaged = false;
    ++next.generation;
    change(next);
}

void StressSlot::setDamaged(bool isDamaged)
{
    Expectation next = expectation();
    next.isDamaged = isDamaged;
    change(next);
}

void StressSlot::addSamples(qint64 count, quint32 mixture)
{
    const quint64 generation = expectation().generation;
    const qint64 end = m_written.load() + count;
    mayLackFile = mayLackFile || m_written.load() == 0;
    m_announced.store(end);
    std::vector<int> ints;
    std::vector<float> floats;
    while (m_written.load() < end) {
        const qint64 first = m_written.load();
        mixture = mixture * 1664525U + 1013904223U;
        const qint64 block =
            std::min<qint64>(mixture % 5 == 0 ? 1 + mixture % 40 : m_usualSize / 3 + 1, end - first);
        ints.clear();
        for (qint64 index = first; index < first + block; ++index)
            ints.push_back(value(generation, index));
        floats.assign(ints.begin(), ints.end());
        if (mixture % 5 == 0) {
            for (std::size_t at = 0; at < ints.size(); ++at)
                m_hasInts ? info->addSampleInt(ints[at]) : info->addSampleFloat(floats[at]);
        } else {
            m_hasInts ? info->addSamples(std::span<const int>(ints))
                      : info->addSamples(std::span<const float>(floats));
        }
        m_written.store(first + block);
    }
}

void StressSlot::createDescriptor()
{
    using namespace vx::datastorage;
    info = std::make_unique<DataArrayInfoStreamed>(QStringLiteral("array %1").arg(m_number), ParameterVoltage,
                                                   m_hasInts ? Int : Float, UsualUnit());
    info->createDataArray();
}
