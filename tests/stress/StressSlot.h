#pragma once

#include <datastorage/arrays/DataArrayInfoStreamed.h>

#include <support/Random.h>

#include <algorithm>
#include <atomic>
#include <deque>
#include <memory>
#include <shared_mutex>

/// What readers may expect of an array at one moment.
///
/// Packed into one word, so that a reader that finds the same word before and after its call knows that
/// nothing has changed meanwhile: every change raises the epoch.
struct Expectation
{
    quint64 epoch = 0;       ///< 40 bits
    quint64 generation = 0;  ///< 22 bits; a new one with each emptying of the array
    bool isChanging = false; ///< between this generation and the next
    bool isDamaged = false;  ///< samples may be missing

    static Expectation unpack(quint64 word);
    quint64 pack() const;
    bool operator==(const Expectation&) const = default;
};

/// One array of the stress program, with everything that readers need to check what they get.
///
/// The sample at an index is a function of slot, generation and index. Whole numbers that a float holds
/// exactly, so that no conversion on the way changes them; never 0, never the pattern of a missing sample.
///
/// Threads: the main thread changes the slot; readers call the const functions and, while they hold
/// `lifetime` shared, the descriptor.
class StressSlot
{
public:
    StressSlot(int number, bool hasInts, qint64 usualSize);

    int number() const { return m_number; }
    bool hasInts() const { return m_hasInts; }
    qint64 usualSize() const { return m_usualSize; }

    static int valueOf(int slot, quint64 generation, qint64 index);
    int value(quint64 generation, qint64 index) const { return valueOf(m_number, generation, index); }
    /// The 32 bits in which the array holds `value`.
    int bits(int value) const;

    Expectation expectation() const { return Expectation::unpack(m_expectation.load()); }
    /// Samples of the current generation that have been added.
    qint64 written() const { return m_written.load(); }
    /// As written(), with those that are being added now.
    qint64 announced() const { return m_announced.load(); }

    /// Whether `bits` is what a reader may have got for `index` if the slot was as `before` when it
    /// began, with `writtenBefore` samples, and is as `after` now.
    bool isPossible(int bits, qint64 index, const Expectation& before, qint64 writtenBefore,
                    const Expectation& after) const;

    /// Changes whenever an error of the array is cleared.
    quint64 clearedErrors() const { return m_clearedErrors.load(); }

    // Main thread.
    /// Clears the error of the array, if it has one.
    void clearError();
    void beginGeneration();
    void endGeneration();
    void setDamaged(bool isDamaged);
    /// Adds `count` samples of the current generation, some one by one, some in blocks.
    void addSamples(qint64 count, quint32 mixture);
    void createDescriptor();
    /// Ends the descriptor; the caller holds `lifetime` alone.
    void destroyDescriptor() { info.reset(); }

    std::unique_ptr<vx::datastorage::DataArrayInfoStreamed> info;
    std::shared_mutex lifetime;              ///< shared by readers during a call, held alone to destroy
    std::atomic<bool> isDestroyAhead{false}; ///< readers do not begin new calls
    QString key;
    bool mayLackFile = true; ///< main thread: emptied, and not known to be written since

private:
    void change(Expectation next);

    const int m_number;
    const bool m_hasInts;
    const qint64 m_usualSize;
    std::atomic<quint64> m_expectation{0};
    std::atomic<qint64> m_written{0};
    std::atomic<qint64> m_announced{0};
    std::atomic<quint64> m_clearedErrors{0};
};

/// One of the arrays, those in front more often.
inline StressSlot& someArray(std::deque<StressSlot>& arrays, Random& random)
{
    const auto last = static_cast<quint32>(arrays.size() - 1);
    return arrays[std::min(random.upTo(last), random.upTo(last))];
}
