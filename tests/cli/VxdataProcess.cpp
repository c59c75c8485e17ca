#include "cli/VxdataProcess.h"

#include <QtCore/QDirIterator>
#include <QtCore/QFile>
#include <QtCore/QJsonDocument>
#include <QtCore/QProcess>
#include <QtCore/QProcessEnvironment>

QJsonObject ProcessResult::json() const
{
    return QJsonDocument::fromJson(output).object();
}

QString ProcessResult::errorLine() const
{
    QString text = QString::fromUtf8(errors);
    if (text.endsWith(QLatin1Char('\n'))) {
        text.chop(1);
    }
    return text;
}

void VxdataTest::SetUp()
{
    ASSERT_TRUE(m_directory.isValid());
    ASSERT_TRUE(QDir(m_directory.path()).mkdir("tmp"));
}

ProcessResult VxdataTest::run(const QStringList& arguments) const
{
    return runProgram(QStringLiteral(VXDATA_PROGRAM), arguments);
}

ProcessResult VxdataTest::runProgram(const QString& program, const QStringList& arguments) const
{
    constexpr int TIMEOUT_MILLISECONDS = 240000;
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("TMPDIR", path("tmp"));
    environment.insert("LC_ALL", "C.UTF-8");
    process.setProcessEnvironment(environment);
    process.setWorkingDirectory(m_directory.path());
    process.start(program, arguments);
    ProcessResult result;
    if (!process.waitForFinished(TIMEOUT_MILLISECONDS) || process.exitStatus() != QProcess::NormalExit) {
        process.kill();
        process.waitForFinished();
        ADD_FAILURE() << "vxdata did not end by itself: " << process.errorString().toStdString();
        return result;
    }
    result.exitCode = process.exitCode();
    result.output = process.readAllStandardOutput();
    result.errors = process.readAllStandardError();
    return result;
}

QString VxdataTest::path(const QString& name) const
{
    return m_directory.filePath(name);
}

QString VxdataTest::write(const QString& name, const QByteArray& content) const
{
    QFile file(path(name));
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size()) {
        ADD_FAILURE() << "cannot write " << name.toStdString();
    }
    return file.fileName();
}

QByteArray VxdataTest::read(const QString& path) const
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        ADD_FAILURE() << "cannot read " << path.toStdString();
    }
    return file.readAll();
}

QJsonObject VxdataTest::report(const QStringList& arguments) const
{
    const ProcessResult result = run(QStringList{"report", "--json"} + arguments);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.errorLine().toStdString(), "");
    return result.json();
}

QStringList VxdataTest::leftovers() const
{
    QStringList files;
    QDirIterator entries(path("tmp"), QDir::Files, QDirIterator::Subdirectories);
    while (entries.hasNext()) {
        files.append(entries.next());
    }
    return files;
}

QJsonObject arrayOf(const QJsonObject& report, const QString& name, qsizetype file)
{
    for (const auto& array : report["files"].toArray().at(file).toObject()["arrays"].toArray()) {
        if (array.toObject()["name"].toString() == name) {
            return array.toObject();
        }
    }
    ADD_FAILURE() << "no array " << name.toStdString() << " in file " << file;
    return {};
}

QStringList arrayNames(const QJsonObject& report, qsizetype file)
{
    QStringList names;
    for (const auto& array : report["files"].toArray().at(file).toObject()["arrays"].toArray()) {
        names.append(array.toObject()["name"].toString());
    }
    return names;
}

QStringList warningsOf(const QJsonObject& report, qsizetype file)
{
    QStringList warnings;
    for (const auto& warning : report["files"].toArray().at(file).toObject()["warnings"].toArray()) {
        warnings.append(warning.toString());
    }
    return warnings;
}

std::optional<double> numberOf(const QJsonObject& object, const char* key)
{
    const QJsonValue value = object.value(QLatin1String(key));
    EXPECT_FALSE(value.isUndefined()) << key;
    return value.isDouble() ? std::optional<double>(value.toDouble()) : std::nullopt;
}
