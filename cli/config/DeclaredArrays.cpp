#include "config/DeclaredArrays.h"

#include "config/JsonPlace.h"

#include <datastorage/config/ConfigDataArray.h>

#include <QtCore/QFile>
#include <QtCore/QJsonObject>

namespace vx::cli {
namespace {

constexpr const char* BUILT_IN_FILE = ":/vxdata/data/default-data-configuration.json";

} // namespace

DeclaredArrays::~DeclaredArrays()
{
    DeclaredArrays::deleteAllAndClear();
}

bool DeclaredArrays::read(const QString& fileName, InputError& error)
{
    m_path = {QStringLiteral("Version")};
    QString text;
    const QString path = fileName.isEmpty() ? QLatin1String(BUILT_IN_FILE) : fileName;
    if (readDataConfiguration(path, CONFIGURATION_VERSION, text)) {
        return true;
    }
    error = locate(path, text);
    return false;
}

bool DeclaredArrays::readEnumArray(const QJsonObject& root, QString& error)
{
    m_path = {QStringLiteral("Enum")};
    m_enumerations += root.value(QLatin1String("Enum")).toObject().keys();
    return ConfigDataArrayManager::readEnumArray(root, error);
}

bool DeclaredArrays::readMeasuresArray(const QJsonObject& root, QString& error)
{
    m_path = {QStringLiteral("Measures")};
    m_category.clear();
    m_index = 0;
    return ConfigDataArrayManager::readMeasuresArray(root, error);
}

datastorage::ConfigDataArray* DeclaredArrays::readVariable(const QString& category, const QJsonValue& value,
                                                           QString& error)
{
    if (category != m_category) {
        m_category = category;
        m_index = 0;
    }
    m_path = {QStringLiteral("Measures"), category, QString::number(m_index)};
    ++m_index;
    return ConfigDataArrayManager::readVariable(category, value, error);
}

/// The place of an error: of the syntax error when the file is no JSON, else of the value that was read.
InputError DeclaredArrays::locate(const QString& fileName, const QString& text) const
{
    InputError error;
    error.file = fileName;
    error.text = text;
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly)) {
        error.text += QStringLiteral(": ") + file.errorString();
        return error;
    }
    const QByteArray json = file.readAll();
    TextPlace place = placeOfSyntaxError(json);
    if (place.line == 0) {
        place = placeOfValue(json, m_path);
    }
    error.line = place.line;
    error.column = place.column;
    if (m_path.size() > 1) {
        error.text = m_path.join(QLatin1Char('/')) + QStringLiteral(": ") + error.text;
    }
    return error;
}

} // namespace vx::cli
