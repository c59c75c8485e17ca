#pragma once

#include <tools/Mutex.h>

#include <QtCore/qglobal.h>

#include <atomic>
#include <vector>

namespace vx::datastorage {

/// Counts the bytes of samples in memory without touching anything shared while samples are added or
/// loaded.
///
/// Two figures are kept. residentBytes() is exact: the bytes that the registered arrays hold now.
/// usedBytes() is what evictions are decided by: the exact figure as of the last recount(), plus
/// everything that came into memory since, registered or not.
///
/// An array whose count is about to change bit by bit (it is being filled or loaded) opens its account;
/// from then on the meter looks at the array's own counter when somebody asks. Everything else is
/// settled at once.
///
/// Lives for ever, so that arrays that outlive the cache manager can still close their accounts.
/// Threads: any; has its own lock, under which nothing else is called.
class MemoryMeter
{
public:
    /// What the meter knows of one array. Lives in the array; only the meter touches it.
    class Account
    {
    public:
        /// `samplesInMemory` must live as long as the account.
        explicit Account(const std::atomic<qint64>& samplesInMemory) : m_samples(samplesInMemory) {}

    private:
        friend class MemoryMeter;
        const std::atomic<qint64>& m_samples; ///< samples that the array has in memory
        qint64 m_settled = 0;                 ///< samples that m_settledBytes knows of
        qint64 m_counted = 0;                 ///< while open: samples that m_usedBytes knows of
        int m_registrations = 0;              ///< how often the array is registered in the cache
        bool m_open = false;
    };

    static MemoryMeter& instance();

    /// The array's count begins to change; does nothing when the account is open.
    void open(Account& account);
    /// The count has stopped changing, or has changed at once: takes it over. `used` follows the change
    /// only for an open account.
    void settle(Account& account);
    /// Closes the account of an array that is destroyed.
    void remove(Account& account);

    /// The array is registered in the cache `change` times more.
    void addRegistrations(Account& account, int change);

    /// Adds bytes that came into memory outside of any account.
    void addBytes(qint64 bytes);
    /// Makes usedBytes() exact.
    void recount();
    /// Makes usedBytes() 0; what comes into memory from now on counts.
    void forgetUsed();

    qint64 residentBytes() const;
    qint64 usedBytes() const;

private:
    MemoryMeter() = default;

    qint64 residentBytesNow() const VX_REQUIRES(m_mutex);
    void startCounting(qint64 bytes) VX_REQUIRES(m_mutex);

    mutable nel::tools::Mutex m_mutex;
    std::vector<Account*> m_open VX_GUARDED_BY(m_mutex);
    qint64 m_settledBytes VX_GUARDED_BY(m_mutex) = 0; ///< of the registered arrays, as last settled
    qint64 m_usedBytes VX_GUARDED_BY(m_mutex) = 0;    ///< without what open accounts have gained since
};

} // namespace vx::datastorage
