#pragma once

#include <QtCore/QLoggingCategory>

namespace vx::datastorage {

/// What the reading of configurations does, for people who look for a fault. Quiet unless somebody enables
/// its debug messages.
Q_DECLARE_LOGGING_CATEGORY(configLog)

} // namespace vx::datastorage
