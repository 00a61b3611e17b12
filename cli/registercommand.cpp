// tolvane-cli register CATALOG.mdb FOLDER: opens the catalogue as the program does, lists FOLDER
// as the file list would (same files, same order), and runs the bulk registration on it with the confirmation answered
// Yes.
#include <QDir>
#include <QFileInfo>

#include "catalog/catalogstate.h"
#include "catalog/lifecycle.h"
#include "cli/commands.h"
#include "cli/consoleprompter.h"
#include "platform/filetimes.h"
#include "platform/paths.h"
#include "registration/bulkregistration.h"

namespace tolvane::cli {

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

    // The folder's files as the file list shows them, with the days of the times it read, kept
    // compactly: a folder may hold a hundred thousand files.
    const QString folder = normalFolderPath(args[1]);
    FolderListing files = readFolderListing(folder);
    sortAsFileList(files);
    QList<QDate> days;
    days.reserve(files.modified.size());
    const LocalCalendar calendar;
    for (qint64 t : std::as_const(files.modified))
        days.append(t == FolderListing::kUnknown ? QDate() : calendar.dayOf(t));
    files.modified = {};
    const auto outcome = registration::RegisterShownFolder(*state.db(), prompter, folder, files.names, days);
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
