#include <datastorage/units/StoreOptValueInJson.h>

#include <QtCore/QJsonObject>

namespace vx::datastorage {

namespace {

template <typename T>
void writeMember(QJsonObject& object, const OptionalValue<T>& value, const QString& key)
{
    QJsonObject member;
    member.insert(QLatin1String("exists"), value.exists);
    member.insert(QLatin1String("value"), value.value);
    object.insert(key, member);
}

} // namespace

void StoreOptValueInJson::writeOptDoubleMember(QJsonObject& object, int /*version*/,
                                               vx::archive::ArchiveContext& /*context*/,
                                               const OptionalValue<double>& value, const QString& key)
{
    writeMember(object, value, key);
}

void StoreOptValueInJson::writeOptStringMember(QJsonObject& object, int /*version*/,
                                               vx::archive::ArchiveContext& /*context*/,
                                               const OptionalValue<QString>& value, const QString& key)
{
    writeMember(object, value, key);
}

} // namespace vx::datastorage
