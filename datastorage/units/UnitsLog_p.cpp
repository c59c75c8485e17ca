#include <datastorage/units/UnitsLog_p.h>

namespace vx::datastorage {

Q_LOGGING_CATEGORY(unitsLog, "vx.datastorage.units", QtWarningMsg)

void noteUnknownUnit(const QString& text)
{
    qCDebug(unitsLog) << "unknown unit" << text;
}

} // namespace vx::datastorage
