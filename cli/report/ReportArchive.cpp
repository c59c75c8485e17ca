#include "report/ReportArchive.h"

#include "report/CacheFileHeader.h"

#include <datastorage/cache/CacheManager.h>
#include <datastorage/units/Converter.h>

#include <archive/ArchiveContext.h>

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QSaveFile>

namespace vx::cli {
namespace {

using datastorage::CacheManager;
using datastorage::DataArrayInfoStreamed;
using vx::archive::ArchiveContext;

constexpr int ARCHIVE_VERSION = 1;
constexpr const char* ARCHIVE_FILE = "report.json";

bool fail(InputError& error, const QString& file, const QString& text)
{
    error.file = file;
    error.text = text;
    return false;
}

/// Copies a file, replacing what is there.
bool copyFile(const QString& from, const QString& to, InputError& error)
{
    QFile::remove(to);
    QFile source(from);
    return source.copy(to) || fail(error, to, QStringLiteral("cannot be written: ") + source.errorString());
}

bool saveColumn(const MeasuredColumn& column, const QString& key, const QString& file, QJsonObject& object,
                InputError& error)
{
    ArchiveContext context;
    QJsonObject descriptor;
    if (!column.array->write(descriptor, ARCHIVE_VERSION, context)) {
        return fail(error, file,
                    QStringLiteral("the array %1 cannot be described").arg(column.array->getName()));
    }
    object.insert(QStringLiteral("heading"), column.heading);
    object.insert(QStringLiteral("declaredName"), column.declaredName);
    object.insert(QStringLiteral("displayUnit"), unitText(column.displayUnit));
    object.insert(QStringLiteral("descriptor"), descriptor);
    return copyFile(CacheManager::instance().getFullFilename(key, column.array.get()), file, error);
}

bool saveTable(const MeasuredTable& table, int number, const QDir& directory, QJsonObject& object,
               InputError& error)
{
    QJsonArray arrays;
    for (std::size_t i = 0; i < table.columns.size(); ++i) {
        const QString file = QStringLiteral("%1-%2.bmd").arg(number).arg(i + 1);
        QJsonObject array;
        if (!saveColumn(table.columns[i], table.key, directory.filePath(file), array, error)) {
            return false;
        }
        array.insert(QStringLiteral("file"), file);
        arrays.append(array);
    }
    object.insert(QStringLiteral("path"), table.path);
    object.insert(QStringLiteral("key"), table.key);
    object.insert(QStringLiteral("rows"), table.rows);
    object.insert(QStringLiteral("warnings"), QJsonArray::fromStringList(table.warnings));
    object.insert(QStringLiteral("arrays"), arrays);
    return true;
}

/// The saved copy must be a cache file with as many samples as the descriptor says.
bool checkFile(const QString& path, qint64 samples, InputError& error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return fail(error, path, QStringLiteral("cannot be read: ") + file.errorString());
    }
    CacheFileHeader header;
    QString text;
    if (!readCacheFileHeader(file, header, text)) {
        return fail(error, path, text);
    }
    if (header.samples != samples) {
        return fail(error, path,
                    QStringLiteral("expected %1 samples as its descriptor says, found %2")
                        .arg(samples)
                        .arg(header.samples));
    }
    return true;
}

/// The description without its samples, to learn name and size before anything is filed.
bool checkDescriptor(const QJsonObject& descriptor, const QString& archive, qint64& samples,
                     InputError& error)
{
    const QJsonObject dataArray = descriptor.value(QLatin1String("dataArray")).toObject();
    bool ok = false;
    samples = dataArray.value(QLatin1String("realSize")).toString().toLongLong(&ok);
    const int type = descriptor.value(QLatin1String("type")).toInt(-1);
    if (!ok || samples < 0 || type < datastorage::Float || type > datastorage::Enum ||
        descriptor.value(QLatin1String("name")).toString().isEmpty()) {
        return fail(error, archive, QStringLiteral("expected array descriptors with name, type and size"));
    }
    return true;
}

bool openColumn(const QJsonObject& object, const QDir& directory, const MeasuredTable& table,
                MeasuredColumn& column, InputError& error)
{
    const QString archive = directory.filePath(QLatin1String(ARCHIVE_FILE));
    const QJsonObject descriptor = object.value(QLatin1String("descriptor")).toObject();
    const QString file = object.value(QLatin1String("file")).toString();
    if (file.isEmpty() || file != QFileInfo(file).fileName()) {
        return fail(error, archive,
                    QStringLiteral("expected the name of a cache file, found \"%1\"").arg(file));
    }
    qint64 samples = 0;
    if (!checkDescriptor(descriptor, archive, samples, error) ||
        !checkFile(directory.filePath(file), samples, error)) {
        return false;
    }
    CacheManager& cache = CacheManager::instance();
    column.array = std::make_unique<DataArrayInfoStreamed>();
    column.array->createDataArray();
    column.array->setName(descriptor.value(QLatin1String("name")).toString());
    const QString target = cache.getFullFilename(table.key, column.array.get());
    if (QFileInfo::exists(target)) {
        return fail(
            error, archive,
            QStringLiteral("expected each array once, found \"%1\" twice").arg(column.array->getName()));
    }
    ArchiveContext context;
    context.dataSourcePath = table.key;
    if (!copyFile(directory.filePath(file), target, error)) {
        return false;
    }
    if (!column.array->read(descriptor, ARCHIVE_VERSION, context)) {
        return fail(error, archive,
                    QStringLiteral("the descriptor of \"%1\" cannot be read").arg(column.array->getName()));
    }
    column.heading = object.value(QLatin1String("heading")).toString();
    column.declaredName = object.value(QLatin1String("declaredName")).toString();
    column.displayUnit = readUnit(object.value(QLatin1String("displayUnit")).toString());
    if (!isUnitOf(column.displayUnit, column.array->getPhysicalParameter())) {
        column.displayUnit = datastorage::Converter::getMainUnit(column.array->getPhysicalParameter());
    }
    return true;
}

bool openTable(const QJsonObject& object, const QDir& directory, MeasuredTable& table, InputError& error)
{
    table.path = object.value(QLatin1String("path")).toString();
    table.key = object.value(QLatin1String("key")).toString();
    table.rows = object.value(QLatin1String("rows")).toInteger();
    for (const auto& warning : object.value(QLatin1String("warnings")).toArray()) {
        table.warnings.append(warning.toString());
    }
    if (table.key.isEmpty()) {
        return fail(error, directory.filePath(QLatin1String(ARCHIVE_FILE)),
                    QStringLiteral("expected a \"key\" for each file"));
    }
    for (const auto& value : object.value(QLatin1String("arrays")).toArray()) {
        MeasuredColumn column;
        if (!openColumn(value.toObject(), directory, table, column, error)) {
            return false;
        }
        table.columns.push_back(std::move(column));
    }
    return true;
}

} // namespace

bool saveTables(const std::vector<MeasuredTable>& tables, const QString& directoryName, InputError& error)
{
    const QDir directory(directoryName);
    if (!directory.mkpath(QStringLiteral("."))) {
        return fail(error, directoryName, QStringLiteral("cannot be made"));
    }
    QJsonArray files;
    for (const MeasuredTable& table : tables) {
        QJsonObject object;
        if (!saveTable(table, static_cast<int>(files.size()) + 1, directory, object, error)) {
            return false;
        }
        files.append(object);
    }
    const QJsonObject root{{QStringLiteral("Version"), ARCHIVE_VERSION}, {QStringLiteral("files"), files}};
    QSaveFile file(directory.filePath(QLatin1String(ARCHIVE_FILE)));
    if (!file.open(QIODevice::WriteOnly) || file.write(QJsonDocument(root).toJson()) < 0 || !file.commit()) {
        return fail(error, file.fileName(), QStringLiteral("cannot be written: ") + file.errorString());
    }
    return true;
}

bool openTables(std::vector<MeasuredTable>& tables, const QString& directoryName, InputError& error)
{
    const QDir directory(directoryName);
    QFile file(directory.filePath(QLatin1String(ARCHIVE_FILE)));
    if (!file.open(QIODevice::ReadOnly)) {
        return fail(error, file.fileName(), QStringLiteral("cannot be read: ") + file.errorString());
    }
    QJsonParseError parseError;
    const QJsonObject root = QJsonDocument::fromJson(file.readAll(), &parseError).object();
    if (root.value(QLatin1String("Version")).toInt() != ARCHIVE_VERSION ||
        !root.value(QLatin1String("files")).isArray()) {
        return fail(error, file.fileName(),
                    QStringLiteral("expected a report saved with --save, version %1").arg(ARCHIVE_VERSION));
    }
    for (const auto& value : root.value(QLatin1String("files")).toArray()) {
        MeasuredTable table;
        const bool opened = openTable(value.toObject(), directory, table, error);
        tables.push_back(std::move(table));
        if (!opened) {
            return false;
        }
    }
    return true;
}

} // namespace vx::cli
