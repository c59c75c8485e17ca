#include <datastorage/cache/CacheTaskRead.h>

#include <datastorage/arrays/DataArrayStreamed_p.h>
#include <datastorage/arrays/SampleLoader_p.h>
#include <datastorage/cache/CacheFileReader_p.h>

#include <tools/TaskHandOff_p.h>

namespace vx::datastorage {

namespace {

/// Whether what the file of `info` holds does not count, because it should have been deleted or was not
/// written to its end.
bool isVoid(DataArrayInfoStreamed* info)
{
    const DataArrayStreamed* array = StreamedArrayAccess::arrayOf(*info);
    return array && StreamedArrayAccess::state(*array).fileIsPartial;
}

bool loadSamples(CacheFileReader& file, DataArrayInfoStreamed* info)
{
    DataArrayStreamed* array = StreamedArrayAccess::arrayOf(*info);
    return array && SampleLoader(*array).load(file);
}

} // namespace

CacheTaskRead::CacheTaskRead() = default;

CacheTaskRead::~CacheTaskRead() = default;

void CacheTaskRead::setDataArrayInfoToRead(const QString& fileName, DataArrayInfoStreamed* info)
{
    m_fileName = fileName;
    m_info = info;
}

void CacheTaskRead::run()
{
    nel::tools::acquireTask(this);
    const QString error = load(m_fileName, m_info);
    if (error.isEmpty()) {
        Q_EMIT signal_readFinished(m_info);
        return;
    }
    m_info->setReadWriteError(true);
    Q_EMIT signal_readError(m_info, error);
}

/// Loads the array; returns the text of what went wrong, empty when nothing did.
QString CacheTaskRead::load(const QString& fileName, DataArrayInfoStreamed* info)
{
    CacheFileReader file;
    QString error = openCacheFile(file, fileName);
    if (error.isEmpty() && (isVoid(info) || !loadSamples(file, info)))
        return cacheFileReadError(fileName);
    return error;
}

} // namespace vx::datastorage
