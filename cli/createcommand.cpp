// tolvane-cli create CATALOG.mdb: the create command of the program, with its messages.
#include <QFileInfo>

#include "catalog/catalogstate.h"
#include "catalog/lifecycle.h"
#include "cli/commands.h"
#include "cli/consoleprompter.h"

namespace tolvane::cli {

int runCreate(const QStringList &args)
{
    if (args.size() != 1) {
        writeErr(QStringLiteral("usage: tolvane-cli create CATALOG.mdb"));
        return 2;
    }
    ConsolePrompter prompter;
    prompter.setFileAnswer(QFileInfo(args[0]).absoluteFilePath());
    catalog::CatalogState state;
    catalog::CreateCatalog(prompter, state);
    return prompter.refused() || prompter.informationCount() == 0 ? 1 : 0;
}

} // namespace tolvane::cli
