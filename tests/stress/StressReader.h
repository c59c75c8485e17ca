#pragma once

#include "StressReport.h"
#include "StressSlot.h"

#include <support/Random.h>

#include <atomic>
#include <deque>

/// Reads samples of all arrays, on the main or any other thread, and checks every one of them.
class StressReader
{
public:
    StressReader(std::deque<StressSlot>& arrays, StressReport& report, quint32 seed)
        : m_arrays(arrays), m_report(report), m_random(seed)
    {}

    /// Reads until `isOver`, on a thread of its own.
    void run(const std::atomic<bool>& isOver);

    /// Reads something of `slot`, whose descriptor lives until the call ends.
    void readOne(StressSlot& slot);
    /// Reads one sample without loading the array. Main thread.
    void readDirect(StressSlot& slot);

private:
    struct Before
    {
        Expectation expectation;
        qint64 written;
        quint64 clearedErrors;
    };
    static Before look(const StressSlot& slot);
    /// Whether the array is in error, or was since `before`: then samples may be missing that it has.
    static bool wasInError(const StressSlot& slot, const Before& before);

    qint64 someIndex(const StressSlot& slot);
    void readSample(StressSlot& slot);
    void readRange(StressSlot& slot);
    template <typename Sample>
    void readRangeOf(StressSlot& slot);
    void readEnvelope(StressSlot& slot);
    void checkColumn(const StressSlot& slot, const Before& before,
                     const vx::datastorage::EnvelopeColumn& column);
    void readSize(StressSlot& slot);
    void check(const StressSlot& slot, const Before& before, qint64 index, int bits, const char* call);

    std::deque<StressSlot>& m_arrays;
    StressReport& m_report;
    Random m_random;
};
