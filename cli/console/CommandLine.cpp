#include "console/CommandLine.h"

#include <algorithm>

namespace vx::cli {
namespace {

/// The dashes in front of an option: one for a letter, two for a word.
QString dashed(const QString& name)
{
    return (name.size() == 1 ? QStringLiteral("-") : QStringLiteral("--")) + name;
}

/// What every command understands besides "--help".
constexpr Option LANGUAGE{
    "language", "LANG",
    "The language of the library's messages and of a configuration's texts: de, fr. Default: en."};

const Option* findOption(const Command& command, const QString& name)
{
    if (name == QLatin1String(LANGUAGE.name)) {
        return &LANGUAGE;
    }
    const auto found =
        std::find_if(command.options.begin(), command.options.end(),
                     [&name](const Option& option) { return name == QLatin1String(option.name); });
    return found == command.options.end() ? nullptr : &*found;
}

/// Takes the option at `index`, and its value from the next word when it stands there.
bool takeOption(const Command& command, const QStringList& words, qsizetype& index, Arguments& arguments,
                QString& error)
{
    const QString& word = words.at(index);
    const qsizetype equals = word.indexOf(QLatin1Char('='));
    const QString written = word.left(equals < 0 ? word.size() : equals);
    const qsizetype dashes = word.startsWith(QLatin1String("--")) ? 2 : 1;
    const QString name = word == QLatin1String("-h") ? QStringLiteral("help") : written.mid(dashes);
    if (name == QLatin1String("help") && (word == QLatin1String("-h") || dashes == 2)) {
        arguments.options.insert(name, {});
        return true;
    }
    const Option* option = findOption(command, name);
    if (option == nullptr || written != dashed(name)) {
        error = QStringLiteral("unknown option \"%1\"").arg(word);
        return false;
    }
    QStringList& values = arguments.options[name];
    if (option->value == nullptr) {
        if (equals >= 0) {
            error = QStringLiteral("option \"%1\" takes no value").arg(written);
            return false;
        }
        return true;
    }
    if (equals >= 0) {
        values.append(word.mid(equals + 1));
    } else if (index + 1 < words.size()) {
        values.append(words.at(++index));
    } else {
        error =
            QStringLiteral("option \"%1\" needs a value: %2").arg(written, QString::fromUtf8(option->value));
        return false;
    }
    return true;
}

/// Negative numbers and a lone dash are arguments.
bool isOption(const QString& word)
{
    return word.startsWith(QLatin1String("--")) ||
           (word.size() > 1 && word.startsWith(QLatin1Char('-')) && word.at(1).isLetter());
}

bool checkCount(const Command& command, const Arguments& arguments, QString& error)
{
    const qsizetype count = arguments.positional.size();
    if (arguments.has("help")) {
        return true;
    }
    if (count < command.minPositional) {
        error = QStringLiteral("expected %1").arg(QString::fromUtf8(command.synopsis));
        return false;
    }
    if (command.maxPositional >= 0 && count > command.maxPositional) {
        error =
            QStringLiteral("unexpected argument \"%1\"").arg(arguments.positional.at(command.maxPositional));
        return false;
    }
    return true;
}

QString optionUsage(const Option& option)
{
    QString usage = dashed(QLatin1String(option.name));
    if (option.value != nullptr) {
        usage += QLatin1Char(' ') + QString::fromUtf8(option.value);
    }
    return usage;
}

/// Breaks a text into lines of a terminal's width behind an indentation.
QString wrapped(const QString& text, qsizetype indentation)
{
    constexpr qsizetype WIDTH = 79;
    QString result;
    qsizetype column = indentation;
    for (const QString& word : text.split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
        if (column > indentation && column + 1 + word.size() > WIDTH) {
            result += QLatin1Char('\n') + QString(indentation, QLatin1Char(' '));
            column = indentation;
        } else if (column > indentation) {
            result += QLatin1Char(' ');
            ++column;
        }
        result += word;
        column += word.size();
    }
    return result;
}

QString optionsText(std::span<const Option> options)
{
    constexpr qsizetype COLUMN = 26;
    QString text;
    const Option help{"help", nullptr, "Show this text."};
    const auto add = [&text](const Option& option) {
        QString usage = QStringLiteral("  ") + optionUsage(option);
        usage = usage.size() < COLUMN - 1 ? usage.leftJustified(COLUMN)
                                          : usage + QLatin1Char('\n') + QString(COLUMN, QLatin1Char(' '));
        text += usage + wrapped(QString::fromUtf8(option.text), COLUMN) + QLatin1Char('\n');
    };
    std::for_each(options.begin(), options.end(), add);
    add(LANGUAGE);
    add(help);
    return text;
}

QString indented(const QString& lines)
{
    QString text;
    for (const QString& line : lines.split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
        text += QStringLiteral("  ") + line + QLatin1Char('\n');
    }
    return text;
}

} // namespace

QString Arguments::value(const char* name) const
{
    const QStringList given = values(name);
    return given.isEmpty() ? QString() : given.back();
}

bool parseArguments(const Command& command, const QStringList& words, Arguments& arguments, QString& error)
{
    bool optionsEnded = false;
    for (qsizetype i = 0; i < words.size(); ++i) {
        const QString& word = words.at(i);
        if (!optionsEnded && word == QLatin1String("--")) {
            optionsEnded = true;
        } else if (!optionsEnded && isOption(word)) {
            if (!takeOption(command, words, i, arguments, error)) {
                return false;
            }
        } else {
            arguments.positional.append(word);
        }
    }
    return checkCount(command, arguments, error);
}

QString helpText(const Command& command)
{
    QString text = QStringLiteral("Usage: vxdata %1 [options] %2\n\n")
                       .arg(QString::fromUtf8(command.name), QString::fromUtf8(command.synopsis));
    for (const QString& paragraph : QString::fromUtf8(command.description).split(QStringLiteral("\n\n"))) {
        text += wrapped(paragraph.simplified(), 0) + QStringLiteral("\n\n");
    }
    text += QStringLiteral("Options:\n") + optionsText(command.options);
    text += QStringLiteral("\nExamples:\n") + indented(QString::fromUtf8(command.examples));
    text += QStringLiteral("\nExit code: 0 done, 1 an input was bad, 2 wrong usage.\n");
    return text;
}

QString helpText(std::span<const Command* const> commands)
{
    constexpr qsizetype COLUMN = 14;
    QString text =
        QStringLiteral("Usage: vxdata COMMAND [options] [arguments]\n\n"
                       "Reads tables of battery and electrochemical measurements into streamed arrays,\n"
                       "keeps them within a memory budget, and answers from them.\n\n"
                       "Commands:\n");
    for (const Command* command : commands) {
        text += QStringLiteral("  ") + QString::fromUtf8(command->name).leftJustified(COLUMN) +
                wrapped(QString::fromUtf8(command->summary), COLUMN + 2) + QLatin1Char('\n');
    }
    text += QStringLiteral(
        "\n\"vxdata COMMAND --help\" explains a command. \"vxdata --version\" names the versions of\n"
        "the program, of its library and of Qt.\n\n"
        "Exit code: 0 done, 1 an input was bad (one line on the standard error stream says\n"
        "which file, line and cell), 2 wrong usage.\n");
    return text;
}

} // namespace vx::cli
