#pragma once

#include <QtCore/QLoggingCategory>

namespace JsonUtils {

/// What the reading of JSON files does, for people who look for a fault. Quiet unless somebody enables its
/// debug messages.
Q_DECLARE_LOGGING_CATEGORY(jsonLog)

} // namespace JsonUtils
