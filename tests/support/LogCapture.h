#pragma once

#include <tools/Mutex.h>

#include <QtCore/QLoggingCategory>
#include <QtCore/QString>
#include <QtCore/QStringList>

/// Keeps what goes to Qt's message log while it lives, as "category: text", instead of printing it. One
/// at a time. Messages may come from any thread.
class LogCapture
{
public:
    LogCapture() : m_before(qInstallMessageHandler(keep))
    {
        const nel::tools::Locker lock(mutex());
        lines().clear();
    }
    ~LogCapture()
    {
        qInstallMessageHandler(m_before);
        QLoggingCategory::setFilterRules(QString());
    }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    /// Enables the debug messages of `category` until the object ends.
    static void enable(const QString& category)
    {
        QLoggingCategory::setFilterRules(category + QStringLiteral(".debug=true"));
    }

    static QStringList taken()
    {
        const nel::tools::Locker lock(mutex());
        return lines();
    }

private:
    static nel::tools::Mutex& mutex()
    {
        static nel::tools::Mutex mutex;
        return mutex;
    }
    static QStringList& lines()
    {
        static QStringList lines;
        return lines;
    }
    static void keep(QtMsgType /*type*/, const QMessageLogContext& context, const QString& text)
    {
        const nel::tools::Locker lock(mutex());
        lines().append(QLatin1String(context.category) + QLatin1String(": ") + text);
    }

    QtMessageHandler m_before;
};
