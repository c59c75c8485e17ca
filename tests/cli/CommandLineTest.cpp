#include "console/CommandLine.h"
#include "commands/Commands.h"
#include "support/Printers.h"
#include "support/RowLabel.h"

#include <gtest/gtest.h>

namespace {

using vx::cli::Arguments;
using vx::cli::Command;
using vx::cli::parseArguments;

constexpr vx::cli::Option OPTIONS[] = {
    {"size", "N", "A size."},
    {"fast", nullptr, "A switch."},
    {"o", "FILE", "A letter."},
};

const Command COMMAND{"do", "FILE [OTHER]", "", "", "", OPTIONS, 1, 2, nullptr};

struct RefusedRow
{
    const char* label;
    QStringList words;
    const char* error;
};

const RefusedRow REFUSED[] = {
    {"NoArgument", {}, "expected FILE [OTHER]"},
    {"TooManyArguments", {"a", "b", "c"}, "unexpected argument \"c\""},
    {"UnknownOption", {"a", "--slow"}, "unknown option \"--slow\""},
    {"UnknownShortOption", {"a", "-f"}, "unknown option \"-f\""},
    {"MissingValue", {"a", "--size"}, "option \"--size\" needs a value: N"},
    {"MissingValueOfALetter", {"a", "-o"}, "option \"-o\" needs a value: FILE"},
    {"LetterWithTwoDashes", {"a", "--o", "b"}, "unknown option \"--o\""},
    {"WordWithOneDash", {"a", "-size", "1"}, "unknown option \"-size\""},
    {"ValueOfASwitch", {"a", "--fast=yes"}, "option \"--fast\" takes no value"},
};

class RefusedArguments : public ::testing::TestWithParam<RefusedRow>
{};

TEST_P(RefusedArguments, AreNamed)
{
    Arguments arguments;
    QString error;
    EXPECT_FALSE(parseArguments(COMMAND, GetParam().words, arguments, error));
    EXPECT_EQ(error, GetParam().error);
}

INSTANTIATE_TEST_SUITE_P(Words, RefusedArguments, ::testing::ValuesIn(REFUSED), RowLabel());

TEST(ParsedArguments, TakeLettersWithOneDash)
{
    Arguments arguments;
    QString error;
    ASSERT_TRUE(parseArguments(COMMAND, {"-o", "-b", "a", "-o=c"}, arguments, error));
    EXPECT_EQ(arguments.values("o"), (QStringList{"-b", "c"}));
    EXPECT_EQ(arguments.positional, QStringList{"a"});
}

TEST(ParsedArguments, HoldOptionsAndTheRest)
{
    Arguments arguments;
    QString error;
    ASSERT_TRUE(
        parseArguments(COMMAND, {"a", "--size", "1", "--fast", "--size=2=3", "-5"}, arguments, error));
    EXPECT_EQ(arguments.positional, (QStringList{"a", "-5"}));
    EXPECT_EQ(arguments.values("size"), (QStringList{"1", "2=3"}));
    EXPECT_EQ(arguments.value("size"), "2=3");
    EXPECT_TRUE(arguments.has("fast"));
    EXPECT_FALSE(arguments.has("slow"));
    EXPECT_TRUE(error.isEmpty());
}

TEST(ParsedArguments, AreNoOptionsBehindTwoDashes)
{
    Arguments arguments;
    QString error;
    ASSERT_TRUE(parseArguments(COMMAND, {"--", "--size", "--help"}, arguments, error));
    EXPECT_EQ(arguments.positional, (QStringList{"--size", "--help"}));
}

TEST(ParsedArguments, NeedNothingElseForHelp)
{
    for (const char* word : {"--help", "-h"}) {
        Arguments arguments;
        QString error;
        EXPECT_TRUE(parseArguments(COMMAND, {word}, arguments, error));
        EXPECT_TRUE(arguments.has("help"));
    }
}

TEST(CommandHelp, NamesEveryOptionAndKeepsToTheWidthOfATerminal)
{
    for (const Command* command : vx::cli::COMMANDS) {
        SCOPED_TRACE(command->name);
        const QString help = vx::cli::helpText(*command);
        for (const vx::cli::Option& option : command->options) {
            const QLatin1String name(option.name);
            EXPECT_TRUE(
                help.contains(QStringLiteral("\n  ") + QLatin1String(name.size() == 1 ? "-" : "--") + name))
                << option.name;
        }
        EXPECT_TRUE(help.startsWith(QStringLiteral("Usage: vxdata ") + QLatin1String(command->name)));
        EXPECT_TRUE(help.contains(QStringLiteral("Examples:\n  vxdata ") + QLatin1String(command->name)));
        for (const QString& line : help.split(QLatin1Char('\n'))) {
            EXPECT_LE(line.size(), 100) << line.toStdString();
        }
    }
}

TEST(CommandHelp, ListsEveryCommand)
{
    const QString help = vx::cli::helpText(vx::cli::COMMANDS);
    for (const Command* command : vx::cli::COMMANDS) {
        EXPECT_TRUE(help.contains(QStringLiteral("\n  ") + QLatin1String(command->name) + QLatin1Char(' ')))
            << command->name;
    }
}

} // namespace
