#pragma once

#include <QtCore/QLoggingCategory>
#include <QtCore/QString>

namespace vx::datastorage {

/// What the reading of units does, for people who look for a fault. Quiet unless somebody enables its debug
/// messages.
Q_DECLARE_LOGGING_CATEGORY(unitsLog)

/// A text was met that is no unit. Out of line, so that reading a unit stays short.
void noteUnknownUnit(const QString& text);

} // namespace vx::datastorage
