#pragma once

#include <QtCore/QLoggingCategory>

namespace vx::datastorage {

/// What the cache does, for people who look for a fault. Quiet unless somebody enables its debug messages.
Q_DECLARE_LOGGING_CATEGORY(cacheLog)

} // namespace vx::datastorage
