#include "commands/Commands.h"
#include "support/Printers.h"

#include <QtCore/QFile>
#include <QtCore/QRegularExpression>
#include <QtCore/QSet>

#include <gtest/gtest.h>

namespace {

QString readText(const char* path)
{
    QFile file{QLatin1String(path)};
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << path;
    return QString::fromUtf8(file.readAll());
}

QSet<QString> optionsOfCommands()
{
    QSet<QString> options{"--help", "--language", "--version"};
    for (const vx::cli::Command* command : vx::cli::COMMANDS) {
        for (const vx::cli::Option& option : command->options) {
            const QLatin1String name(option.name);
            if (name.size() > 1) {
                options.insert(QStringLiteral("--") + name);
            }
        }
    }
    return options;
}

/// Options of one letter, which cannot be told from those of other programs in the same text.
QStringList lettersOfCommands()
{
    QStringList letters;
    for (const vx::cli::Command* command : vx::cli::COMMANDS) {
        for (const vx::cli::Option& option : command->options) {
            const QLatin1String name(option.name);
            if (name.size() == 1) {
                letters.append(QStringLiteral("-") + name);
            }
        }
    }
    return letters;
}

QSet<QString> optionsIn(const QString& text)
{
    QSet<QString> options;
    static const QRegularExpression pattern("--[a-z][a-z-]*");
    for (auto matches = pattern.globalMatch(text); matches.hasNext();) {
        options.insert(matches.next().captured());
    }
    return options;
}

TEST(ManualPage, NamesEveryCommandAndOption)
{
    QString page = readText(VXDATA_SOURCE_DIR "/vxdata.1");
    page.remove(QLatin1Char('\\'));
    EXPECT_EQ(optionsIn(page), optionsOfCommands());
    for (const QString& letter : lettersOfCommands()) {
        EXPECT_TRUE(page.contains(QStringLiteral("\n.BI %1 ").arg(letter))) << letter.toStdString();
    }
    for (const vx::cli::Command* command : vx::cli::COMMANDS) {
        EXPECT_TRUE(page.contains(QStringLiteral("\n.B %1\n").arg(QLatin1String(command->name))))
            << command->name;
    }
}

TEST(ShellCompletion, OffersEveryCommandAndOption)
{
    const QString script = readText(VXDATA_SOURCE_DIR "/completion/vxdata.bash");
    EXPECT_EQ(optionsIn(script), optionsOfCommands());
    for (const QString& letter : lettersOfCommands()) {
        EXPECT_TRUE(script.contains(QStringLiteral("%1 ").arg(letter))) << letter.toStdString();
    }
    for (const vx::cli::Command* command : vx::cli::COMMANDS) {
        EXPECT_TRUE(script.contains(QLatin1String(command->name))) << command->name;
    }
}

} // namespace
