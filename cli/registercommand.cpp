// tolvane-cli register CATALOG.mdb FOLDER: opens the catalogue as the program does, lists FOLDER
// as the file list would, and runs the bulk registration on it with the confirmation answered Yes.
#include <QDir>
#include <QFileInfo>

#include "browser/filelist.h"
#include "catalog/catalogstate.h"
#include "catalog/lifecycle.h"
#include "cli/commands.h"
#include "cli/consoleprompter.h"
#include "registration/bulkregistration.h"

namespace tolvane::cli {

namespace {
// The folder as the folder dialog gives it: absolute, native separators, no trailing separator.
QString shownFolder(const QString &arg)
{
    QString path = QDir::cleanPath(QFileInfo(arg).absoluteFilePath());
    while (path.size() > 1 && path.endsWith(QLatin1Char('/')) && !path.endsWith(QLatin1String(":/")))
        path.chop(1);
    return QDir::toNativeSeparators(path);
}
} // namespace

int runRegister(const QStringList &args)
{
    if (args.size() != 2) {
        writeErr(QStringLiteral("usage: tolvane-cli register CATALOG.mdb FOLDER"));
        return 2;
    }
    ConsolePrompter prompter;
    prompter.setFileAnswer(QFileInfo(args[0]).absoluteFilePath());
    catalog::CatalogState state;
    std::unique_ptr<jet::Recordset> searchResultSet;
    std::unique_ptr<jet::Recordset> binderSet;
    switch (catalog::OpenCatalogFile(prompter, state, searchResultSet, binderSet)) {
    case catalog::OpenOutcome::Ordinary:
        if (state.db()->isReadOnly())
            return 1; // the reason was printed
        break;
    case catalog::OpenOutcome::Archive:
        writeErr(QStringLiteral("%1: archive catalogue; registration is disabled").arg(args[0]));
        return 1;
    case catalog::OpenOutcome::NotCatalog:
        return 1; // the refusal was printed
    case catalog::OpenOutcome::Cancelled:
    case catalog::OpenOutcome::ConnectFailed:
        writeErr(QStringLiteral("%1: cannot open the catalogue").arg(args[0]));
        return 1;
    }

    browser::FileListModel fr;
    const QString folder = shownFolder(args[1]);
    browser::ListFolderFiles(fr, folder);
    const auto outcome = registration::RegisterShownFolder(*state.db(), prompter, folder, fr.names());
    catalog::CloseCatalog(state, searchResultSet, binderSet);
    using Kind = registration::RegistrationOutcome::Kind;
    switch (outcome.kind) {
    case Kind::Registered:
    case Kind::Synchronised:
        return 0;
    case Kind::Failed:
        if (outcome.error.code() == Status::Code::Busy)
            writeErr(catalog::CatalogBusyMessage());
        else if (!prompter.refused())
            writeErr(outcome.error.toString());
        return 1;
    case Kind::Refused:
    case Kind::Declined:
    case Kind::Cancelled:
        return 1;
    }
    return 1;
}

} // namespace tolvane::cli
