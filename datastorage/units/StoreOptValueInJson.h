#pragma once

#include <datastorage/Export.h>
#include <datastorage/units/OptionalValue.h>

#include <archive/ArchiveContext.h>

#include <QtCore/QString>

QT_BEGIN_NAMESPACE
class QJsonObject;
QT_END_NAMESPACE

namespace vx::datastorage {

/// Writes optional values as members of a JSON object: each an object of two members, "exists" (boolean,
/// the presence) and "value" (the value, written even when it is absent).
///
/// Threads: any, for objects that no other thread uses.
class VXDATASTORAGE_EXPORT StoreOptValueInJson
{
public:
    /// Sets the member `key` of `object` to {"exists": ..., "value": number}. `version` and `context` are
    /// not used.
    static void writeOptDoubleMember(QJsonObject& object, int version, vx::archive::ArchiveContext& context,
                                     const OptionalValue<double>& value, const QString& key);

    /// Sets the member `key` of `object` to {"exists": ..., "value": text}. `version` and `context` are not
    /// used.
    static void writeOptStringMember(QJsonObject& object, int version, vx::archive::ArchiveContext& context,
                                     const OptionalValue<QString>& value, const QString& key);
};

} // namespace vx::datastorage
