#include "commands/Commands.h"
#include "config/TranslationTemplate.h"
#include "console/Console.h"

namespace vx::cli {
namespace {

ExitCode run(const Arguments& arguments, Console& console)
{
    InputError error;
    const QString text = translationTemplate(arguments.positional.at(0), arguments.value("language"), error);
    if (text.isNull()) {
        console.printError(formatError(error));
        return BadInput;
    }
    console.print(text);
    return Done;
}

} // namespace

const Command TRANSLATIONS_COMMAND{
    "translations",
    "CONFIG",
    "Write the template of a translation for a configuration.",
    "Prints every text of the JSON file that is translated when the file is read, in the \".ts\" format of "
    "Qt's tools, each in its context: the keys from the root to the text. Translate it with Qt Linguist or "
    "an editor, compile it with \"lrelease\", and put the result beside the file as CONFIG_LANG.qm.",
    "vxdata translations cell.json --language de > cell_de.ts\n"
    "lrelease cell_de.ts\n"
    "vxdata check cell.json --language de\n",
    {},
    1,
    1,
    run,
};

} // namespace vx::cli
