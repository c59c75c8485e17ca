#include <datastorage/config/ConfigLog_p.h>

namespace vx::datastorage {

Q_LOGGING_CATEGORY(configLog, "vx.datastorage.config", QtWarningMsg)

} // namespace vx::datastorage
