#include <datastorage/arrays/DataType.h>

#include <optional>

namespace vx::datastorage {

static_assert(sizeof(DataTypeBase) == 4, "a sample is 32 bits in memory budgets and cache files");

namespace {

std::optional<DataType> findDataType(const QString& text)
{
    for (const DataType type : {Float, Int, Enum}) {
        if (text == getDataTypeAsString(type)) {
            return type;
        }
    }
    return std::nullopt;
}

} // namespace

QString getDataTypeAsString(DataType type)
{
    // The literals are constant data: a name is handed out without an allocation, and also before the
    // constructors of other translation units have run.
    switch (type) {
    case Int:
        return QStringLiteral("INT");
    case Enum:
        return QStringLiteral("ENUM");
    case Float:
        break;
    }
    return QStringLiteral("FLOAT");
}

DataType getDataTypeFromString(const QString& text)
{
    return findDataType(text).value_or(Float);
}

bool isValidType(const QString& text)
{
    return findDataType(text).has_value();
}

} // namespace vx::datastorage
