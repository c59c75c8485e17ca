// A cache file of any content is mapped, or refused.

#include "FuzzSupport.h"

#include <datastorage/cache/CacheReadManager.h>

#include <QtCore/QtEndian>

using namespace vx::datastorage;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    constexpr int missing = 0x7FC00000;
    const QByteArray bytes = FuzzWorld::bytes(data, size);
    const QString path = FuzzWorld::instance().makeFile(bytes);
    CacheReadManager& reader = CacheReadManager::instance();
    const int id = reader.getFreeId();
    const bool mapped = reader.initialize(id, path);
    const qint64 count = mapped ? qFromLittleEndian<qint64>(bytes.constData() + 8) : 0;
    require(count >= 0 && 16 + 4 * count <= bytes.size() + (mapped ? 0 : 16),
            "the file holds what is mapped");
    require(reader.getSampleDirect(id, -1).intValue == missing, "no sample before the first");
    require(reader.getSampleDirect(id, count).intValue == missing, "no sample behind the last");
    for (qint64 index = 0; index < count; ++index)
        require(reader.getSampleDirect(id, index).intValue ==
                    qFromLittleEndian<qint32>(bytes.constData() + 16 + 4 * index),
                "a sample is that of the file");
    reader.close(id);
    return 0;
}
