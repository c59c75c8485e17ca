#pragma once

#include <support/Signal.h>

#include <QtCore/QFile>

#include <atomic>
#include <functional>
#include <memory>
#include <thread>

#include <sys/syscall.h>
#include <unistd.h>

/// Waits until the thread `id` of this process sleeps, as the system reports it, or `done` says that
/// there is nothing to wait for. False when neither happened in time.
inline bool awaitAsleep(
    long id, const std::function<bool()>& done = [] { return false; })
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(TEST_PATIENCE_MILLISECONDS);
    while (std::chrono::steady_clock::now() < end) {
        if (done()) {
            return true;
        }
        QFile status(QString("/proc/self/task/%1/stat").arg(id));
        if (status.open(QIODevice::ReadOnly)) {
            const QByteArray line = status.readAll();
            const qsizetype nameEnd = line.lastIndexOf(')');
            if (nameEnd > 0 && line.mid(nameEnd + 2, 1) == "S") {
                return true;
            }
        }
        std::this_thread::yield();
    }
    return false;
}

/// The system's number of the calling thread.
inline long threadId()
{
    return ::syscall(SYS_gettid);
}

/// Runs one call that may block on a thread of its own and tells whether it came back.
///
/// A call that never comes back does not hold up the test: its thread is left alone then.
template <typename Result>
class ReaderThread
{
public:
    explicit ReaderThread(std::function<Result()> call) : m_state(std::make_shared<State>())
    {
        m_thread = std::thread([state = m_state, call = std::move(call)] {
            state->id = threadId();
            state->started.give();
            state->result = call();
            state->hasReturned = true;
            state->returned.give();
        });
    }

    ~ReaderThread()
    {
        if (m_joined || m_state->returned.take()) {
            m_thread.join();
        } else {
            m_thread.detach();
        }
    }

    ReaderThread(const ReaderThread&) = delete;
    ReaderThread& operator=(const ReaderThread&) = delete;

    /// Waits until the call sleeps (or is over).
    [[nodiscard]] bool awaitBlocked()
    {
        if (!m_state->started.take()) {
            return false;
        }
        return awaitAsleep(m_state->id, [this] { return m_state->hasReturned.load(); });
    }

    [[nodiscard]] bool hasReturned() const { return m_state->hasReturned; }

    /// Waits until the call is over. False when it does not end in time.
    [[nodiscard]] bool awaitReturned()
    {
        if (m_joined) {
            return true;
        }
        m_joined = m_state->returned.take();
        return m_joined;
    }

    /// What the call returned; to be asked for after awaitReturned().
    Result result() const { return m_state->result; }

private:
    struct State
    {
        Signal started;
        Signal returned;
        std::atomic<bool> hasReturned = false;
        long id = 0;
        Result result{};
    };

    std::shared_ptr<State> m_state;
    std::thread m_thread;
    bool m_joined = false; ///< the call is over, and the signal of that has been used up
};
