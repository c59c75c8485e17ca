// Reading a data configuration of 10,000 variables, against parsing the same bytes as a JSON document.
// Reading the file is part of both.
#include "Support.h"

#include <datastorage/config/ConfigDataArrayManager.h>

#include <QtCore/QFile>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

#include <benchmark/benchmark.h>

namespace vx::bench {

namespace {

constexpr int VARIABLES = 10'000;
constexpr int CATEGORIES = 20;
constexpr int VERSION = 3;

QByteArray configuration()
{
    QJsonObject measures;
    for (int category = 0; category < CATEGORIES; ++category) {
        QJsonArray variables;
        for (int i = 0; i < VARIABLES / CATEGORIES; ++i)
            variables.append(QJsonObject{{"Name", QStringLiteral("Variable %1").arg(i)},
                                         {"PhysicalParameter", "Mass Electric Charge"},
                                         {"Type", i % 2 == 0 ? "FLOAT" : "INT"},
                                         {"Unit", "mA.h/g"}});
        measures.insert(QStringLiteral("Category %1").arg(category), variables);
    }
    return QJsonDocument(QJsonObject{{"Version", VERSION}, {"Enum", QJsonObject()}, {"Measures", measures}})
        .toJson(QJsonDocument::Indented);
}

class ConfigurationFile
{
public:
    ConfigurationFile() : m_name(QFile::decodeName(m_scratch.path().c_str()))
    {
        QFile file(m_name);
        if (file.open(QIODevice::WriteOnly))
            file.write(configuration());
    }
    const QString& name() const { return m_name; }

private:
    ScratchFile m_scratch;
    QString m_name;
};

void configurationLibrary(benchmark::State& state)
{
    const ConfigurationFile file;
    for (auto _ : state) {
        datastorage::ConfigDataArrayManager manager;
        QString error;
        if (!manager.readDataConfiguration(file.name(), VERSION, error) ||
            manager.getConfigDataArrayList().size() != VARIABLES)
            state.SkipWithError(error.toUtf8().constData());
        state.PauseTiming();
        manager.deleteAllAndClear();
        state.ResumeTiming();
    }
    countItems(state, std::size_t{VARIABLES});
}
BENCHMARK(configurationLibrary)->Name("DataConfiguration/library")->UseRealTime();

void configurationLimit(benchmark::State& state)
{
    const ConfigurationFile name;
    for (auto _ : state) {
        QFile file(name.name());
        if (!file.open(QIODevice::ReadOnly))
            state.SkipWithError("the file is not there");
        const QJsonDocument document = QJsonDocument::fromJson(file.readAll());
        if (document.isEmpty())
            state.SkipWithError("the file is no document");
    }
    countItems(state, std::size_t{VARIABLES});
}
BENCHMARK(configurationLimit)->Name("DataConfiguration/limit")->UseRealTime();

} // namespace

} // namespace vx::bench
