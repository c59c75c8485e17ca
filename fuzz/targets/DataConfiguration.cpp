// A data configuration of any content is read, or refused with a text.

#include "FuzzSupport.h"

#include <datastorage/config/ConfigDataArrayManager.h>
#include <datastorage/units/Converter.h>

using namespace vx::datastorage;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QString path = FuzzWorld::instance().makeFile(FuzzWorld::bytes(data, size));
    static const bool isReady = (Converter::init(), true);
    require(isReady, "the tables are there");
    ConfigDataArrayManager manager;
    QString error;
    const bool isRead = manager.readDataConfiguration(path, 1, error);
    require(isRead == error.isEmpty(), "a text for a refusal, and only for that");
    manager.deleteAllAndClear();
    return 0;
}
