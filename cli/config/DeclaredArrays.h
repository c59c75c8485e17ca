#pragma once

#include "InputError.h"

#include <datastorage/config/ConfigDataArrayManager.h>

#include <QtCore/QStringList>

namespace vx::cli {

/// The arrays that a data configuration declares, and the place of an error in it.
class DeclaredArrays : private datastorage::ConfigDataArrayManager
{
public:
    /// "Version" that a data configuration must have.
    static constexpr int CONFIGURATION_VERSION = 1;

    DeclaredArrays() = default;
    DeclaredArrays(const DeclaredArrays&) = delete;
    DeclaredArrays& operator=(const DeclaredArrays&) = delete;
    ~DeclaredArrays() override;

    /// Reads a data configuration file; an empty name means the built-in configuration. False with `error`
    /// set to the library's error and its place. Needs Converter::init().
    bool read(const QString& fileName, InputError& error);

    /// The arrays in the order of the registry; they live as long as this object.
    QList<datastorage::ConfigDataArray*> arrays() const { return getConfigDataArrayList(); }

    /// Names of the enumerations in the file.
    const QStringList& enumerations() const { return m_enumerations; }

protected:
    bool readEnumArray(const QJsonObject& root, QString& error) override;
    bool readMeasuresArray(const QJsonObject& root, QString& error) override;
    datastorage::ConfigDataArray* readVariable(const QString& category, const QJsonValue& value,
                                               QString& error) override;

private:
    InputError locate(const QString& fileName, const QString& text) const;

    QStringList m_enumerations;
    QStringList m_path; ///< of the value that is being read
    QString m_category;
    qsizetype m_index = 0; ///< in the category, of the variable that comes next
};

} // namespace vx::cli
