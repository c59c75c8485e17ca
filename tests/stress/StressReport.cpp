#include "StressReport.h"

#include <cstdio>

namespace {

constexpr std::array<const char*, static_cast<std::size_t>(Operation::Count)> names{
    "samples read by other threads",
    "ranges read by other threads",
    "envelopes asked for",
    "reads that an error has left without samples",
    "sizes read by other threads",
    "samples read on the main thread",
    "direct samples",
    "fills",
    "updates",
    "appends",
    "additions without a bracket",
    "clears",
    "renames",
    "re-creations",
    "drops from memory",
    "loads",
    "writes",
    "JSON writes",
    "budget changes",
    "files damaged",
    "damaged arrays filled anew",
    "lost files written again",
    "directory outages",
    "cache errors signalled",
};

constexpr int slotRange = 1000;

} // namespace

void StressReport::count(Operation operation, int slot)
{
    count(operation);
    m_last[m_begun.fetch_add(1) % m_last.size()].store(static_cast<int>(operation) * slotRange + slot);
}

/// The operations of the main thread that came last, the newest at the end, each with its array.
void StressReport::printLast() const
{
    const std::size_t begun = m_begun.load();
    for (std::size_t at = begun < m_last.size() ? 0 : begun - m_last.size(); at < begun; ++at) {
        const int last = m_last[at % m_last.size()].load();
        std::fprintf(stderr, "  array %2d: %s\n", last % slotRange,
                     names[static_cast<std::size_t>(last / slotRange)]);
    }
}

void StressReport::fail(const QString& text)
{
    const int before = m_failures.fetch_add(1);
    if (before >= printedFailures)
        return;
    const std::lock_guard lock(m_printing);
    if (before == 0)
        printLast();
    std::fprintf(stderr, "FAILED: %s\n", qPrintable(text));
}

void StressReport::print() const
{
    qint64 total = 0;
    for (std::size_t at = 0; at < names.size(); ++at) {
        const qint64 count = m_counts[at].load();
        total += count;
        std::printf("%12lld  %s\n", count, names[at]);
    }
    std::printf("%12lld  operations, %d failures\n", total, m_failures.load());
}
