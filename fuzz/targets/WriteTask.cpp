// An array is written over an existing file of any content. The first input byte says how many samples the
// array has and whether they are to be appended.

#include "FuzzSupport.h"

#include <datastorage/arrays/DataArrayInfoStreamed.h>
#include <datastorage/cache/CacheTaskRead.h>
#include <datastorage/cache/CacheTaskWrite.h>

using namespace vx::datastorage;

namespace {

constexpr int firstValue = 1000;

bool write(DataArrayInfoStreamed& info, const QString& path, bool append)
{
    CacheTaskWrite task;
    task.setAppendMode(append);
    task.setDataArrayInfoToWrite(path, &info);
    int finished = 0;
    int failed = 0;
    QObject::connect(&task, &CacheTaskWrite::signal_writeFinished, [&finished] { ++finished; });
    QObject::connect(&task, &CacheTaskWrite::signal_writeError, [&failed] { ++failed; });
    task.run();
    require(finished + failed == 1, "one signal");
    return finished == 1;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0)
        return 0;
    const int count = data[0] % 64;
    const bool append = data[0] >= 128;
    const QString path = FuzzWorld::instance().makeFile(FuzzWorld::bytes(data + 1, size - 1));
    DataArrayInfoStreamed info;
    info.createDataArray();
    for (int index = 0; index < count; ++index)
        info.addSampleInt(firstValue + index);
    const bool written = write(info, path, append);
    require(info.getSizeLoadedInMemory() == count, "the samples stay in memory");
    for (int index = 0; index < count; ++index)
        require(info.getSample(index).intValue == firstValue + index, "the samples stay as they are");
    if (!written || append)
        return 0;
    DataArrayInfoStreamed copy;
    copy.createDataArray();
    CacheTaskRead task;
    task.setDataArrayInfoToRead(path, &copy);
    task.run();
    require(!copy.isInError() && copy.getSizeLoadedInMemory() == count, "what was written can be read");
    return 0;
}
