#include "report/CacheWatch.h"

#include <datastorage/cache/CacheManager.h>

#include <QtCore/QDir>

namespace vx::cli {

using datastorage::CacheManager;

CacheWatch::CacheWatch()
{
    CacheManager& cache = CacheManager::instance();
    m_connection =
        QObject::connect(&cache, &CacheManager::signal_cacheError, &cache, [this](const QString& error) {
            if (m_error.isEmpty()) {
                m_error = error.simplified();
            }
        });
}

CacheWatch::~CacheWatch()
{
    QObject::disconnect(m_connection);
}

QString CacheWatch::takeError()
{
    QString error;
    error.swap(m_error);
    return error;
}

bool CacheWatch::await(const datastorage::DataArrayInfoStreamed& array)
{
    CacheManager::instance().awaitTaskFinished(&array);
    return m_error.isEmpty() && !array.isInError();
}

CacheFigures CacheWatch::figures()
{
    const CacheManager& cache = CacheManager::instance();
    const datastorage::CacheStatistics statistics = cache.statistics();
    CacheFigures figures;
    figures.budget = statistics.budgetBytes;
    figures.held = statistics.sampleBytes;
    figures.reloads = static_cast<qint64>(statistics.loads);
    figures.evictions = static_cast<qint64>(statistics.evictions);
    const QDir directory(cache.getDefaultCachePath());
    figures.files = directory.entryList({QStringLiteral("*.bmd")}, QDir::Files).size();
    return figures;
}

} // namespace vx::cli
