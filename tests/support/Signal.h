#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

/// No wait of a test lasts longer than this: a lost wake-up is a failure, not a hang.
inline constexpr int TEST_PATIENCE_MILLISECONDS = 10000;

/// A counter that one thread raises and another one waits for.
///
/// Built on the standard mutex, which the thread sanitizer sees through; every wait is bounded.
class Signal
{
public:
    void give()
    {
        const std::lock_guard lock(m_mutex);
        ++m_count;
        // Still under the lock: who takes the signal may destroy it at once.
        m_condition.notify_all();
    }

    /// Waits for one give() and uses it up. False when none came in time.
    [[nodiscard]] bool take()
    {
        std::unique_lock lock(m_mutex);
        const auto end =
            std::chrono::system_clock::now() + std::chrono::milliseconds(TEST_PATIENCE_MILLISECONDS);
        if (!m_condition.wait_until(lock, end, [this] { return m_count > 0; })) {
            return false;
        }
        --m_count;
        return true;
    }

    /// Whether take() would return at once.
    [[nodiscard]] bool isGiven() const
    {
        const std::lock_guard lock(m_mutex);
        return m_count > 0;
    }

private:
    mutable std::mutex m_mutex;
    std::condition_variable m_condition;
    int m_count = 0;
};
