#include <datastorage/cache/CacheLog_p.h>

namespace vx::datastorage {

Q_LOGGING_CATEGORY(cacheLog, "vx.datastorage.cache", QtWarningMsg)

} // namespace vx::datastorage
