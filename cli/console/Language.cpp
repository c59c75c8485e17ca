#include "console/Language.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QLocale>
#include <QtCore/QTranslator>

#include <memory>

namespace vx::cli {
namespace {

QString installedTranslations()
{
    return QDir::cleanPath(QCoreApplication::applicationDirPath() +
                           QStringLiteral("/" VXDATA_TRANSLATIONS_FROM_PROGRAM));
}

/// Loads NAME_LANGUAGE.qm from a directory, or that of a language it falls back to. The translation lives as
/// long as the application.
bool install(const QString& name, const QString& language, const QString& directory)
{
    auto translator = std::make_unique<QTranslator>();
    if (!translator->load(QLocale(language), name, QStringLiteral("_"), directory)) {
        return false;
    }
    translator->setParent(QCoreApplication::instance());
    return QCoreApplication::installTranslator(translator.release());
}

bool isEnglish(const QString& language)
{
    return QLocale(language).language() == QLocale::English;
}

QStringList installedLanguages()
{
    QStringList languages;
    const QString prefix = QStringLiteral("vxdatastorage_");
    const QDir directory(installedTranslations());
    for (const QString& file :
         directory.entryList({prefix + QStringLiteral("*.qm")}, QDir::Files, QDir::Name)) {
        languages.append(QFileInfo(file).completeBaseName().mid(prefix.size()));
    }
    return languages;
}

} // namespace

bool useLanguage(const QString& language, QString& error)
{
    if (isEnglish(language) || install(QStringLiteral("vxdatastorage"), language, installedTranslations())) {
        return true;
    }
    const QStringList languages = QStringList{QStringLiteral("en")} + installedLanguages();
    error = QStringLiteral("no translation for the language \"%1\"; there are: %2")
                .arg(language, languages.join(QStringLiteral(", ")));
    return false;
}

void useLanguageOf(const QString& configuration, const QString& language)
{
    const QFileInfo file(configuration);
    if (!language.isEmpty() && !isEnglish(language) &&
        !install(file.completeBaseName(), language, file.absolutePath())) {
        install(file.completeBaseName(), language, installedTranslations());
    }
}

} // namespace vx::cli
