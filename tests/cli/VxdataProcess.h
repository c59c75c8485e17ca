#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QStringList>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

#include <optional>
#include <string>

/// How a run of the program ended.
struct ProcessResult
{
    int exitCode = -1;
    QByteArray output; ///< standard output
    QByteArray errors; ///< standard error stream

    /// The output as a JSON object; empty when it is none.
    QJsonObject json() const;
    /// The error stream without its last line end.
    QString errorLine() const;
};

/// Runs the built program with a directory of its own for files and cache.
class VxdataTest : public ::testing::Test
{
protected:
    void SetUp() override;

    ProcessResult run(const QStringList& arguments) const;
    /// As run(), for another build of the program.
    ProcessResult runProgram(const QString& program, const QStringList& arguments) const;

    /// Writes a file into the directory and returns its path.
    QString write(const QString& name, const QByteArray& content) const;
    QByteArray read(const QString& path) const;
    QString path(const QString& name) const;

    /// Runs "report --json" and expects success; `arguments` holds tables and options.
    QJsonObject report(const QStringList& arguments) const;

    /// What is left in the directory for cache files.
    QStringList leftovers() const;

private:
    QTemporaryDir m_directory;
};

/// The array `name` of file number `file` in a report; an empty object when there is none.
QJsonObject arrayOf(const QJsonObject& report, const QString& name, qsizetype file = 0);

/// The names of the arrays of a file, in order.
QStringList arrayNames(const QJsonObject& report, qsizetype file = 0);

/// The warnings of a file.
QStringList warningsOf(const QJsonObject& report, qsizetype file = 0);

/// A JSON number; nothing for null.
std::optional<double> numberOf(const QJsonObject& object, const char* key);
