// A cache configuration of any content is applied, or refused with a text.

#include "FuzzSupport.h"

#include <datastorage/cache/CacheManager.h>

using namespace vx::datastorage;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const FuzzWorld& world = FuzzWorld::instance();
    const QString path = world.makeFile(FuzzWorld::bytes(data, size));
    CacheManager& cache = CacheManager::instance();
    cache.setDefaultCachePath(world.path("cache"), true);
    cache.setCacheSizeInBytes(1000);
    QString error;
    const bool isRead = cache.readCacheConfiguration(path, 1, error);
    require(isRead == error.isEmpty(), "a text for a refusal, and only for that");
    require(cache.getCacheSizeInBytes() > 0, "a budget");
    require(cache.getDefaultCachePath().endsWith(QLatin1Char('/')), "a directory");
    // The directory is removed at the end: it must be ours.
    cache.setDefaultCachePath(world.path("cache"), true);
    return 0;
}
