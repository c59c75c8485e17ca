#pragma once

#include <support/Signal.h>

#include <QtCore/QRunnable>
#include <QtCore/QThreadPool>

#include <atomic>
#include <memory>
#include <vector>

#include <gtest/gtest.h>

/// Narrows the global thread pool to one thread and occupies it with a gate, so that every task started
/// after that is pending for as long as the gate stays closed. The pool runs its queue in order.
///
/// Threads: made, used and destroyed on one thread.
class GatedPool
{
public:
    GatedPool() : m_previousCount(pool().maxThreadCount())
    {
        pool().waitForDone(TEST_PATIENCE_MILLISECONDS);
        pool().setMaxThreadCount(1);
        addGate();
        awaitGate(*m_gates.front());
    }

    ~GatedPool()
    {
        drain();
        pool().setMaxThreadCount(m_previousCount);
    }

    GatedPool(const GatedPool&) = delete;
    GatedPool& operator=(const GatedPool&) = delete;

    /// Queues one more gate behind everything queued so far.
    void addGate()
    {
        m_gates.push_back(std::make_unique<Gate>());
        pool().start(m_gates.back().get());
    }

    /// Opens the gate that occupies the pool; does not wait for the tasks behind it.
    void open() { m_gates[m_closed++]->mayFinish.give(); }

    /// Waits until the pool stands at its next gate.
    void awaitNext() { awaitGate(*m_gates[m_closed]); }

    /// Lets everything run that is queued now and returns with the pool occupied again: the tasks are
    /// over, and what they posted is still waiting.
    void runQueued()
    {
        addGate();
        open();
        awaitNext();
    }

    /// Opens every gate and waits until the pool is idle.
    void drain()
    {
        while (m_closed < m_gates.size()) {
            open();
        }
        EXPECT_TRUE(pool().waitForDone(TEST_PATIENCE_MILLISECONDS)) << "a task does not end";
        for (const std::unique_ptr<Gate>& gate : m_gates) {
            EXPECT_FALSE(gate->gaveUp) << "somebody waited for a task behind the closed gate";
        }
        m_gates.clear();
        m_closed = 0;
    }

private:
    struct Gate : QRunnable
    {
        Gate() { setAutoDelete(false); }

        void run() override
        {
            started.give();
            gaveUp = !mayFinish.take();
        }

        Signal started;
        Signal mayFinish;
        std::atomic<bool> gaveUp = false;
    };

    static QThreadPool& pool() { return *QThreadPool::globalInstance(); }

    static void awaitGate(Gate& gate)
    {
        EXPECT_TRUE(gate.started.take()) << "the pool does not reach the gate";
    }

    std::vector<std::unique_ptr<Gate>> m_gates;
    std::size_t m_closed = 0; ///< index of the first gate that is still closed
    int m_previousCount;
};
