#include "config/TranslationTemplate.h"

#include "config/JsonPlace.h"

#include <json/JsonUtils.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtCore/QJsonObject>
#include <QtCore/QMap>
#include <QtCore/QStringList>
#include <QtCore/QTranslator>

#include <array>

namespace vx::cli {
namespace {

/// Notes what is looked up while it lives. What the reader asks for is what it will ask for later.
class LookUps : public QTranslator
{
public:
    LookUps() { QCoreApplication::installTranslator(this); }
    ~LookUps() override { QCoreApplication::removeTranslator(this); }
    LookUps(const LookUps&) = delete;
    LookUps& operator=(const LookUps&) = delete;

    bool isEmpty() const override { return false; }

    QString translate(const char* context, const char* text, const char*, int) const override
    {
        QStringList& texts = m_texts[QString::fromUtf8(context)];
        const QString source = QString::fromUtf8(text);
        if (!source.isEmpty() && !texts.contains(source)) {
            texts.append(source);
        }
        return {};
    }

    /// The texts by context, each in the order of the file.
    const QMap<QString, QStringList>& texts() const { return m_texts; }

private:
    mutable QMap<QString, QStringList> m_texts;
};

/// Whether the reader compares the texts of a context with fixed names.
bool isFixed(const QString& context)
{
    constexpr std::array MEMBERS{"PhysicalParameter", "Type", "Unit"};
    for (const char* member : MEMBERS) {
        if (context.startsWith(QLatin1String("Measures_")) &&
            context.endsWith(QLatin1Char('_') + QLatin1String(member))) {
            return true;
        }
    }
    return false;
}

QString message(const QString& text, bool fixed)
{
    const QString source = text.toHtmlEscaped();
    QString lines = QStringLiteral("    <message>\n        <source>%1</source>\n").arg(source);
    if (fixed) {
        lines +=
            QStringLiteral("        <extracomment>Read by the program: leave it as it is.</extracomment>\n"
                           "        <translation>%1</translation>\n")
                .arg(source);
    } else {
        lines += QStringLiteral("        <translation type=\"unfinished\"></translation>\n");
    }
    return lines + QStringLiteral("    </message>\n");
}

QString document(const QMap<QString, QStringList>& texts, const QString& language)
{
    QString lines =
        QStringLiteral("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<!DOCTYPE TS>\n<TS version=\"2.1\"");
    if (!language.isEmpty()) {
        lines += QStringLiteral(" language=\"%1\"").arg(language.toHtmlEscaped());
    }
    lines += QStringLiteral(" sourcelanguage=\"en\">\n");
    for (auto context = texts.constBegin(); context != texts.constEnd(); ++context) {
        if (context->isEmpty()) {
            continue;
        }
        lines += QStringLiteral("<context>\n    <name>%1</name>\n").arg(context.key().toHtmlEscaped());
        for (const QString& text : *context) {
            lines += message(text, isFixed(context.key()));
        }
        lines += QStringLiteral("</context>\n");
    }
    return lines + QStringLiteral("</TS>\n");
}

} // namespace

QString translationTemplate(const QString& fileName, const QString& language, InputError& error)
{
    QJsonObject root;
    QString text;
    const LookUps lookUps;
    if (JsonUtils::openJsonDocument(fileName, text, root)) {
        return document(lookUps.texts(), language);
    }
    error.file = fileName;
    error.text = text;
    QFile file(fileName);
    if (file.open(QIODevice::ReadOnly)) {
        const TextPlace place = placeOfSyntaxError(file.readAll());
        error.line = place.line;
        error.column = place.column;
    }
    return {};
}

} // namespace vx::cli
