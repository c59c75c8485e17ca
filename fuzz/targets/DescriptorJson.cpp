// A descriptor reads any JSON, and what it writes then comes back the same.

#include "FuzzSupport.h"

#include <datastorage/arrays/DataArrayInfoStreamed.h>
#include <datastorage/cache/CacheManager.h>

#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

using namespace vx::datastorage;

namespace {

QJsonObject readAndWrite(const QJsonObject& object)
{
    DataArrayInfoStreamed info;
    info.createDataArray();
    vx::archive::ArchiveContext context;
    context.dataSourcePath = QStringLiteral("source");
    info.read(object, 1, context);
    QJsonObject written;
    require(info.write(written, 1, context), "a descriptor can be written");
    return written;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const FuzzWorld& world = FuzzWorld::instance();
    CacheManager::instance().setDefaultCachePath(world.path("cache"), true);
    const QJsonObject once = readAndWrite(QJsonDocument::fromJson(FuzzWorld::bytes(data, size)).object());
    require(readAndWrite(once) == once, "what was written reads as the same");
    return 0;
}
