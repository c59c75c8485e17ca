#pragma once

#include <QtCore/QString>

#include <array>
#include <atomic>
#include <mutex>

/// What the stress program does, each counted.
enum class Operation
{
    ReadOne,
    ReadRange,
    ReadEnvelope,
    MissingInError,
    ReadSize,
    ReadOnMainThread,
    ReadDirect,
    Fill,
    Update,
    Append,
    AddUnannounced,
    Clear,
    Rename,
    Recreate,
    Drop,
    Load,
    Write,
    ToJson,
    Budget,
    Damage,
    Repair,
    Replace,
    Outage,
    CacheError,
    Count
};

/// Counts the operations and collects what went wrong. Threads: any.
class StressReport
{
public:
    void count(Operation operation) { m_counts[static_cast<std::size_t>(operation)].fetch_add(1); }
    /// Counts an operation of the main thread on an array and remembers it for a while.
    void count(Operation operation, int slot);
    /// Prints what went wrong (the first few times) and lets the run fail.
    void fail(const QString& text);
    bool hasFailed() const { return m_failures.load() > 0; }
    void print() const;

private:
    static constexpr int printedFailures = 20;
    static constexpr int rememberedOperations = 60;

    void printLast() const;

    std::array<std::atomic<qint64>, static_cast<std::size_t>(Operation::Count)> m_counts{};
    std::array<std::atomic<int>, rememberedOperations> m_last{}; ///< operation and slot, in a ring
    std::atomic<std::size_t> m_begun{0};                         ///< of the remembered kind
    std::atomic<int> m_failures{0};
    std::mutex m_printing;
};
