#pragma once

#include <support/Signal.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QEvent>
#include <QtCore/QObject>

/// Lives on the thread whose events are of interest and tells another thread that they are handled.
///
/// The event carries nothing, so that nothing is shared through Qt's event queue, into which the thread
/// sanitizer cannot see.
class EventProbe : public QObject
{
public:
    /// Sends an event to the probe's thread and waits until it has been handled. False when that takes
    /// too long.
    [[nodiscard]] bool passes()
    {
        QCoreApplication::postEvent(this, new QEvent(QEvent::User));
        return m_handled.take();
    }

    bool event(QEvent* /*event*/) override
    {
        m_handled.give();
        return true;
    }

private:
    Signal m_handled;
};
