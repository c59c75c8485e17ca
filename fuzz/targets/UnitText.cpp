// The printed form of what any text was read as is read as the same unit.

#include "FuzzSupport.h"

#include <datastorage/units/Converter.h>
#include <datastorage/units/UsualUnit.h>

using namespace vx::datastorage;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzWorld::instance();
    static const bool isReady = (Converter::init(), true);
    require(isReady, "the tables are there");
    const UsualUnit unit = Converter::getUsualUnitFromString(QString::fromUtf8(FuzzWorld::bytes(data, size)));
    const QString printed = UsualUnit::castUsualUnitAsString(unit);
    const UsualUnit again = Converter::getUsualUnitFromString(printed);
    require(UsualUnit::castUsualUnitAsString(again) == printed, "the printed form stays the same");
    return 0;
}
