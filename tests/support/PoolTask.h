#pragma once

#include <tools/TaskHandOff_p.h>

#include <QtCore/QRunnable>
#include <QtCore/QThreadPool>

#include <functional>
#include <utility>

/// A call on a thread of the global pool. Handed over so that the thread sanitizer sees it, which it does not
/// when Qt makes a task of a lambda.
class PoolTask : public QRunnable
{
public:
    /// Queues `call`; what it refers to has to live until it is over.
    static void start(std::function<void()> call)
    {
        auto* task = new PoolTask(std::move(call)); // the pool deletes it
        nel::tools::releaseTask(task);
        QThreadPool::globalInstance()->start(task);
    }

    void run() override
    {
        nel::tools::acquireTask(this);
        m_call();
    }

private:
    explicit PoolTask(std::function<void()> call) : m_call(std::move(call)) {}

    const std::function<void()> m_call;
};
