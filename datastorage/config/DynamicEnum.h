#pragma once

#include <datastorage/Export.h>

#include <QtCore/QList>
#include <QtCore/QString>

#include <string>
#include <unordered_map>

namespace vx::datastorage {

/// An enumeration that is known at run time only: a name and a set of labels, each with an integer.
///
/// A label is there once; several labels may share a value. Labels go in as UTF-8 and come out as
/// QString. A copy is independent of its source.
///
/// Threads: none of its own. One thread at a time fills it; then any number may read.
class VXDATASTORAGE_EXPORT DynamicEnum
{
public:
    /// No name, no labels.
    DynamicEnum() = default;
    DynamicEnum(const QString& name);
    DynamicEnum(const DynamicEnum&) = default;
    DynamicEnum& operator=(const DynamicEnum&) = default;
    virtual ~DynamicEnum();

    /// The name under which the enumeration is filed.
    const QString& getName() const;

    /// The name under which the DynamicEnumHandler has filed the enumeration does not change with it.
    void setName(const QString& name);

    /// Adds the label `key`, or gives the label the new value.
    void addKeyValue(const std::string& key, int value);

    /// The value of the label `key`; 0 when there is no such label.
    int getValue(const std::string& key) const;

    /// The same, and whether there is such a label.
    int getValue(const std::string& key, bool& found) const;

    /// A label with this value, any of them when there are several; a null string when there is none.
    /// Linear in the number of labels.
    const QString getKey(int value) const;

    /// Every label, in no particular order.
    QList<QString> getKeys();

    /// Every label, by ascending value; labels of one value in no particular order.
    QList<QString> getKeysSortedByValue() const;

    /// The values by label; valid while the enumeration lives.
    const std::unordered_map<std::string, int>& getKeyValues() const;

    /// The number of labels.
    int getValuesCount() const;

    /// The smallest value; without labels the largest `int`, so that any value is smaller.
    int getMinValue() const;

    /// The largest value; without labels the smallest `int`.
    int getMaxValue() const;

    /// Whether there is a label `key`.
    bool isKeyExists(const QString& key) const;

    /// Linear in the number of labels.
    bool isValueExists(int value) const;

private:
    QString m_name;
    std::unordered_map<std::string, int> m_keyValues; ///< by UTF-8 label
};

} // namespace vx::datastorage
