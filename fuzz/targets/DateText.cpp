// Any text is a date-time or none, and a valid one has a valid date and time.

#include "FuzzSupport.h"

#include <json/JsonUtils.h>

#include <QtCore/QJsonValue>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzWorld::instance();
    const QString text = QString::fromUtf8(FuzzWorld::bytes(data, size));
    const QDateTime moment = JsonUtils::convertStringToQDateTime(text);
    require(!moment.isValid() || (moment.date().isValid() && moment.time().isValid()), "valid parts");
    require(JsonUtils::convertJsonValueToQDateTime(QJsonValue(text)) == moment, "the same from JSON");
    return 0;
}
