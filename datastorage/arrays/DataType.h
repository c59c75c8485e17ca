#pragma once

#include <datastorage/Export.h>

#include <QtCore/QString>

#include <cstdint>

namespace vx::datastorage {

/// What the 32 bits of a sample mean. Files and configurations carry the text name or, in the JSON
/// form of a descriptor, the number; neither may change.
enum DataType : std::int32_t
{
    Float = 0, ///< "FLOAT": an IEEE-754 single
    Int = 1,   ///< "INT": a signed 32-bit integer
    Enum = 2,  ///< "ENUM": an integer that stands for a label; stored and added like Int
};

/// One sample: 32 bits, kept and copied as they are. Which member is meant is known by the array's
/// DataType; reading the other one gives the same bits in its own type, never a conversion.
union DataTypeBase
{
    std::int32_t intValue; ///< of Int and Enum arrays
    float floatValue;      ///< of Float arrays
};

/// The text name of `type`. A number outside the enumeration gives "FLOAT".
VXDATASTORAGE_EXPORT QString getDataTypeAsString(DataType type);

/// The type named `text`, compared case-sensitively. Any other text gives Float, so ask isValidType()
/// first where an unknown name must be noticed.
VXDATASTORAGE_EXPORT DataType getDataTypeFromString(const QString& text);

/// Whether `text` is exactly one of "FLOAT", "INT" and "ENUM".
VXDATASTORAGE_EXPORT bool isValidType(const QString& text);

} // namespace vx::datastorage
