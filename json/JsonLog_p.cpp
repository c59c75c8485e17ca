#include <json/JsonLog_p.h>

namespace JsonUtils {

Q_LOGGING_CATEGORY(jsonLog, "vx.datastorage.json", QtWarningMsg)

} // namespace JsonUtils
