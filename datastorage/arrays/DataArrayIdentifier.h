#pragma once

#include <archive/ArchiveContext.h>
#include <datastorage/Export.h>

#include <QtCore/QJsonObject>
#include <QtCore/QString>

namespace vx::datastorage {

/// The name and the category by which a configuration names a data array: "Voltage" of "Cell", say.
/// A value type: copies are independent.
///
/// Threads: none of its own; one object belongs to one thread at a time.
class VXDATASTORAGE_EXPORT DataArrayIdentifier
{
public:
    /// Both texts empty.
    DataArrayIdentifier() = default;
    DataArrayIdentifier(const QString& name, const QString& category);
    DataArrayIdentifier(const DataArrayIdentifier&) = default;
    DataArrayIdentifier& operator=(const DataArrayIdentifier&) = default;
    virtual ~DataArrayIdentifier();

    /// Takes the members "name" and "category" of `object`; what is missing or no string becomes an
    /// empty text. `version` and `context` are not used. Always true.
    virtual bool read(const QJsonObject& object, int version, vx::archive::ArchiveContext& context);

    /// Sets the members "name" and "category" of `object`. `version` and `context` are not used. Always
    /// true.
    virtual bool write(QJsonObject& object, int version, vx::archive::ArchiveContext& context) const;

    /// The name of the array and the category that it belongs to.
    const QString& getName() const;
    void setName(const QString& name);
    const QString& getCategory() const;
    void setCategory(const QString& category);

private:
    QString m_name;
    QString m_category;
};

} // namespace vx::datastorage
