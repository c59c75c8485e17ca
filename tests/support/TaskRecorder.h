#pragma once

#include <datastorage/cache/CacheTaskRead.h>
#include <datastorage/cache/CacheTaskWrite.h>

#include <QtCore/QString>
#include <QtCore/QThread>

#include <ostream>
#include <vector>

/// Notes the signals of a task in the order of their emission, on whichever thread they come.
class TaskRecorder
{
public:
    struct Emission
    {
        QString signalName;
        const vx::datastorage::DataArrayInfoStreamed* array = nullptr;
        QString error;

        bool operator==(const Emission&) const = default;
    };

    void listen(const vx::datastorage::CacheTaskRead& task)
    {
        using vx::datastorage::CacheTaskRead;
        using vx::datastorage::DataArrayInfoStreamed;
        QObject::connect(&task, &CacheTaskRead::signal_readFinished,
                         [this](DataArrayInfoStreamed* array) { note("signal_readFinished", array, {}); });
        QObject::connect(&task, &CacheTaskRead::signal_readError,
                         [this](DataArrayInfoStreamed* array, const QString& error) {
                             note("signal_readError", array, error);
                         });
    }

    void listen(const vx::datastorage::CacheTaskWrite& task)
    {
        using vx::datastorage::CacheTaskWrite;
        using vx::datastorage::DataArrayInfoStreamed;
        QObject::connect(&task, &CacheTaskWrite::signal_writeFinished,
                         [this](DataArrayInfoStreamed* array) { note("signal_writeFinished", array, {}); });
        QObject::connect(&task, &CacheTaskWrite::signal_writeError,
                         [this](DataArrayInfoStreamed* array, const QString& error) {
                             note("signal_writeError", array, error);
                         });
    }

    const std::vector<Emission>& emissions() const { return m_emissions; }
    const std::vector<const QThread*>& threads() const { return m_threads; }

    /// The text of the only emission, when that is an error.
    QString onlyError() const { return m_emissions.size() == 1 ? m_emissions.front().error : QString(); }

private:
    void note(const char* name, const vx::datastorage::DataArrayInfoStreamed* array, const QString& error)
    {
        m_emissions.push_back({name, array, error});
        m_threads.push_back(QThread::currentThread());
    }

    std::vector<Emission> m_emissions;
    std::vector<const QThread*> m_threads;
};

inline void PrintTo(const TaskRecorder::Emission& emission, std::ostream* stream)
{
    *stream << emission.signalName.toStdString() << "(\"" << emission.error.toStdString() << "\")";
}
