// A cache file of any content is loaded, or refused with one error.

#include "FuzzSupport.h"

#include <datastorage/arrays/DataArrayInfoStreamed.h>
#include <datastorage/cache/CacheTaskRead.h>

#include <QtCore/QtEndian>

using namespace vx::datastorage;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QByteArray bytes = FuzzWorld::bytes(data, size);
    const QString path = FuzzWorld::instance().makeFile(bytes);
    DataArrayInfoStreamed info;
    info.createDataArray();
    CacheTaskRead task;
    task.setDataArrayInfoToRead(path, &info);
    int finished = 0;
    int failed = 0;
    QObject::connect(&task, &CacheTaskRead::signal_readFinished, [&finished] { ++finished; });
    QObject::connect(&task, &CacheTaskRead::signal_readError, [&failed] { ++failed; });
    task.run();
    require(finished + failed == 1, "one signal");
    require(info.isInError() == (failed == 1), "an error marks the array");
    if (failed == 1)
        return 0;
    const auto count = qFromLittleEndian<qint64>(bytes.constData() + 8);
    require(info.getSizeLoadedInMemory() == count, "all samples are loaded");
    for (qint64 index = 0; index < count; ++index)
        require(info.getSample(index).intValue ==
                    qFromLittleEndian<qint32>(bytes.constData() + 16 + 4 * index),
                "a sample is that of the file");
    return 0;
}
