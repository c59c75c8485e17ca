#pragma once

#include <datastorage/Export.h>
#include <datastorage/config/ConfigDataArray.h>

#include <QtCore/QJsonObject>
#include <QtCore/QJsonValue>
#include <QtCore/QList>
#include <QtCore/QString>

namespace vx::datastorage {

/// Reads the data configuration file, which declares the data arrays an experiment can produce, and
/// keeps the declared arrays for queries by name, category and kind. The run-time enumerations of the
/// file go to the DynamicEnumHandler.
///
/// Made to be derived from: the reader calls every operation of its own through the virtual table, so
/// a derived manager that reads more members of a variable overrides readVariable(), and one that keeps
/// them in a class of its own overrides createConfigDataArray().
///
/// Ownership: the manager deletes its arrays in deleteAllAndClear() only; its destructor does not. A
/// copy refers to the same arrays, so only one of several copies may delete them, and the others then
/// hold dangling pointers. What a query returns belongs to the manager; every query compares exactly
/// and answers in the order of the registry.
///
/// Threads: one thread at a time; the enumerations are shared by all managers. Converter::init() comes
/// first: before it every physical parameter is unknown.
class VXDATASTORAGE_EXPORT ConfigDataArrayManager
{
public:
    /// No arrays.
    ConfigDataArrayManager() = default;
    ConfigDataArrayManager(const ConfigDataArrayManager&) = default;
    ConfigDataArrayManager& operator=(const ConfigDataArrayManager&) = default;
    virtual ~ConfigDataArrayManager();

    /// Reads the file: root, "Version" (which must equal `version`), enumerations, arrays. The texts of
    /// the file are translated first, as JsonUtils::openJsonDocument() does. Arrays are added to those
    /// already there; an enumeration replaces the one of its name.
    ///
    /// False, with `error` set, at the first step that fails; what was read before stays.
    virtual bool readDataConfiguration(const QString& filePath, int version, QString& error);

    /// Every array of this category.
    virtual QList<ConfigDataArray*> getConfigDataArrayFromCategory(const QString& category) const;

    /// The first array with this name and category, or null.
    virtual ConfigDataArray* getConfigDataArrayFromNameAndCategory(const QString& name,
                                                                   const QString& category) const;

    /// Every array of this name.
    virtual QList<ConfigDataArray*> getConfigDataArrayFromName(const QString& name) const;

    /// Adds `array` at the end, also when it is there already; null is ignored.
    virtual void append(ConfigDataArray* array);

    /// Deletes every array, and each only once.
    virtual void deleteAllAndClear();

    /// Every array.
    QList<ConfigDataArray*> getConfigDataArrayList() const;

    /// Every array of this kind.
    QList<ConfigDataArray*> getConfigDataArrayListOfType(DataConfigType type) const;

    /// Every array of another kind.
    QList<ConfigDataArray*> getConfigDataArrayListExcludingType(DataConfigType type) const;

    /// Every array of this kind in this category.
    QList<ConfigDataArray*> getConfigDataArrayListOfTypeFromCategory(const QString& category,
                                                                     DataConfigType type) const;

protected:
    /// Files the enumerations of the object "Enum" of `root`: a member per enumeration, an object of
    /// integers by label. False, with "Enum object missing", when "Enum" is no object.
    virtual bool readEnumArray(const QJsonObject& root, QString& error);

    /// Appends the arrays of the object "Measures" of `root`: a member per category, an array of
    /// variables; categories by ascending name, variables in the order of the file. False when
    /// "Measures" is no object ("Measures object missing") or a variable is refused; the arrays before
    /// that one stay.
    virtual bool readMeasuresArray(const QJsonObject& root, QString& error);

    /// A new array from the texts "Name", "PhysicalParameter", "Type" and "Unit" of the object `value`,
    /// owned by the caller. Null, with `error` set, when parameter, type or unit, checked in this order,
    /// is unknown.
    virtual ConfigDataArray* readVariable(const QString& category, const QJsonValue& value, QString& error);

    /// A new default array, owned by the caller. A null array makes readVariable() return null.
    virtual ConfigDataArray* createConfigDataArray();

private:
    QList<ConfigDataArray*> m_arrays; ///< in the order of append()
};

} // namespace vx::datastorage
