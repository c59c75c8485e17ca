#include "commands/Commands.h"
#include "console/Console.h"
#include "console/Language.h"
#ifdef VXDATA_HAS_PLOT
#include "plot/ChartDrawer.h"
#include "plot/ChartRenderer.h"
#endif

#include <datastorage/units/Converter.h>

#include <QtCore/QCoreApplication>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>

namespace {

using vx::cli::Command;
using vx::cli::Console;

/// Messages for people who look after the library have no place among the results.
void passOnWarnings(QtMsgType type, const QMessageLogContext&, const QString& message)
{
    if (type != QtDebugMsg && type != QtInfoMsg) {
        std::fprintf(stderr, "vxdata: %s\n", message.toUtf8().constData());
    }
}

const Command* findCommand(const QString& name)
{
    const auto found =
        std::find_if(vx::cli::COMMANDS.begin(), vx::cli::COMMANDS.end(),
                     [&name](const Command* command) { return name == QLatin1String(command->name); });
    return found == vx::cli::COMMANDS.end() ? nullptr : *found;
}

QString versionText()
{
    return QStringLiteral("vxdata %1\nlibrary VXDataStorage %1\nQt %2 (built with %3)\n%4, %5 build\n")
        .arg(QStringLiteral(VXDATA_VERSION), QString::fromLatin1(qVersion()), QStringLiteral(QT_VERSION_STR),
             QStringLiteral(VXDATA_COMPILER), QStringLiteral(VXDATA_BUILD_TYPE));
}

int runCommand(const Command& command, const QStringList& words, Console& console)
{
    vx::cli::Arguments arguments;
    QString error;
    if (!vx::cli::parseArguments(command, words, arguments, error)) {
        console.printError(
            QStringLiteral("%1: %2; see \"vxdata %1 --help\"").arg(QLatin1String(command.name), error));
        return vx::cli::WrongUsage;
    }
    if (arguments.has("help")) {
        console.print(vx::cli::helpText(command));
        return vx::cli::Done;
    }
    // For a new translation it is the language of the template, which need not be there yet.
    if (arguments.has("language") && &command != &vx::cli::TRANSLATIONS_COMMAND &&
        !vx::cli::useLanguage(arguments.value("language"), error)) {
        console.printError(error);
        return vx::cli::WrongUsage;
    }
    vx::datastorage::Converter::init();
    return command.run(arguments, console);
}

int dispatch(const QStringList& words, Console& console)
{
    const QString first = words.value(0);
    if (first.isEmpty()) {
        console.printError(QStringLiteral("expected a command; see \"vxdata --help\""));
        return vx::cli::WrongUsage;
    }
    if (first == QLatin1String("--version")) {
        console.print(versionText());
        return vx::cli::Done;
    }
    const Command* command = findCommand(first);
    if (command != nullptr) {
        return runCommand(*command, words.mid(1), console);
    }
    if (first == QLatin1String("--help") || first == QLatin1String("-h") || first == QLatin1String("help")) {
        const Command* wanted = findCommand(words.value(1));
        console.print(wanted == nullptr ? vx::cli::helpText(vx::cli::COMMANDS) : vx::cli::helpText(*wanted));
        return vx::cli::Done;
    }
    console.printError(QStringLiteral("unknown command \"%1\"; see \"vxdata --help\"").arg(first));
    return vx::cli::WrongUsage;
}

/// What draws charts is only started for the command that does.
std::unique_ptr<QCoreApplication> makeApplication(int& argc, char** argv)
{
#ifdef VXDATA_HAS_PLOT
    if (argc > 1 && std::strcmp(argv[1], vx::cli::PLOT_COMMAND.name) == 0) {
        vx::cli::setChartDrawer(vx::cli::renderChart);
        return vx::cli::makeChartApplication(argc, argv);
    }
#endif
    return std::make_unique<QCoreApplication>(argc, argv);
}

} // namespace

int main(int argc, char** argv)
{
    qInstallMessageHandler(passOnWarnings);
    const std::unique_ptr<QCoreApplication> application = makeApplication(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("vxdata"));
    QCoreApplication::setApplicationVersion(QStringLiteral(VXDATA_VERSION));
    Console console;
    int result = dispatch(QCoreApplication::arguments().mid(1), console);
    if (!console.flush() && result == vx::cli::Done) {
        console.printError(QStringLiteral("the standard output cannot be written"));
        result = vx::cli::BadInput;
    }
    return result;
}
