#pragma once

#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <span>

namespace vx::cli {

class Console;

/// How a command ended; the exit code of the program.
enum ExitCode
{
    Done = 0,      ///< everything was done
    BadInput = 1,  ///< an input was bad; one line on the standard error stream says which and where
    WrongUsage = 2 ///< the command line was wrong
};

/// One option of a command, as the parser and the help text see it.
struct Option
{
    const char* name;  ///< without its dashes: two, or one for a single letter
    const char* value; ///< what the value is, for the help text; null for a switch
    const char* text;  ///< one sentence
};

/// The arguments of one call of a command.
class Arguments
{
public:
    QStringList positional;
    /// Options given, each with its values in the order given; a switch has an empty list.
    QMap<QString, QStringList> options;

    bool has(const char* name) const { return options.contains(QLatin1String(name)); }
    /// The last value given, or an empty text.
    QString value(const char* name) const;
    QStringList values(const char* name) const { return options.value(QLatin1String(name)); }
};

/// One command of the program: what it is called, what it takes and what it does.
struct Command
{
    const char* name;
    const char* synopsis;    ///< the arguments, for the usage line
    const char* summary;     ///< one line, for the list of commands
    const char* description; ///< paragraphs of its help text
    const char* examples;    ///< one call per line
    std::span<const Option> options;
    qsizetype minPositional;
    qsizetype maxPositional; ///< -1: any number
    ExitCode (*run)(const Arguments& arguments, Console& console);
};

/// Splits the words behind the command's name into options and the rest. Understood are "--name value",
/// "--name=value", the same with one dash for a name of one letter, and "--", behind which everything is an
/// argument. False with `error` set for an unknown option, a missing or superfluous value and a wrong number
/// of arguments; "--help" is always known and makes the number of arguments free.
bool parseArguments(const Command& command, const QStringList& words, Arguments& arguments, QString& error);

/// The help text of one command.
QString helpText(const Command& command);

/// The help text of the program.
QString helpText(std::span<const Command* const> commands);

} // namespace vx::cli
