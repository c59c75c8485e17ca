#include <datastorage/cache/MemoryMeter_p.h>

#include <algorithm>

namespace vx::datastorage {

namespace {

constexpr qint64 bytesPerSample = 4;

} // namespace

MemoryMeter& MemoryMeter::instance()
{
    // Never destroyed: arrays with static lifetime close their accounts after everything else is gone.
    static MemoryMeter* const meter = new MemoryMeter;
    return *meter;
}

void MemoryMeter::open(Account& account)
{
    const nel::tools::Locker lock(m_mutex);
    if (account.m_open)
        return;
    account.m_open = true;
    account.m_counted = account.m_samples.load(std::memory_order_relaxed);
    m_open.push_back(&account);
}

void MemoryMeter::settle(Account& account)
{
    const nel::tools::Locker lock(m_mutex);
    const qint64 samples = account.m_samples.load(std::memory_order_relaxed);
    m_settledBytes += bytesPerSample * account.m_registrations * (samples - account.m_settled);
    account.m_settled = samples;
    if (!account.m_open)
        return;
    m_usedBytes += bytesPerSample * (samples - account.m_counted);
    account.m_open = false;
    m_open.erase(std::find(m_open.begin(), m_open.end(), &account));
}

void MemoryMeter::remove(Account& account)
{
    settle(account);
    addRegistrations(account, -account.m_registrations);
}

void MemoryMeter::addRegistrations(Account& account, int change)
{
    const nel::tools::Locker lock(m_mutex);
    const qint64 samples = account.m_samples.load(std::memory_order_relaxed);
    const int times = account.m_registrations + change;
    m_settledBytes += bytesPerSample * (times * samples - account.m_registrations * account.m_settled);
    account.m_settled = samples;
    account.m_registrations = times;
}

void MemoryMeter::addBytes(qint64 bytes)
{
    const nel::tools::Locker lock(m_mutex);
    m_usedBytes += bytes;
}

void MemoryMeter::recount()
{
    const nel::tools::Locker lock(m_mutex);
    startCounting(0);
    qint64 bytes = m_settledBytes;
    for (const Account* account : m_open)
        bytes += bytesPerSample * account->m_registrations * (account->m_counted - account->m_settled);
    m_usedBytes = bytes;
}

void MemoryMeter::forgetUsed()
{
    const nel::tools::Locker lock(m_mutex);
    startCounting(0);
}

void MemoryMeter::startCounting(qint64 bytes)
{
    m_usedBytes = bytes;
    for (Account* account : m_open)
        account->m_counted = account->m_samples.load(std::memory_order_relaxed);
}

qint64 MemoryMeter::residentBytesNow() const
{
    qint64 bytes = m_settledBytes;
    for (const Account* account : m_open) {
        const qint64 samples = account->m_samples.load(std::memory_order_relaxed);
        bytes += bytesPerSample * account->m_registrations * (samples - account->m_settled);
    }
    return bytes;
}

qint64 MemoryMeter::residentBytes() const
{
    const nel::tools::Locker lock(m_mutex);
    return residentBytesNow();
}

qint64 MemoryMeter::usedBytes() const
{
    const nel::tools::Locker lock(m_mutex);
    qint64 bytes = m_usedBytes;
    for (const Account* account : m_open)
        bytes += bytesPerSample * (account->m_samples.load(std::memory_order_relaxed) - account->m_counted);
    return bytes;
}

} // namespace vx::datastorage
