// The subcommands of tolvane-cli. Each takes the arguments after the subcommand name, writes
// UTF-8 to stdout/stderr, and returns the process exit code (0 success, 1 refusal or failure).
#pragma once

#include <QStringList>

#include "search/catalogqueries.h"

namespace tolvane::jet {
class Database;
}

namespace tolvane::cli {

int runCreate(const QStringList &args);
int runRegister(const QStringList &args);
int runDump(const QStringList &args);
// Prints the rows; a search with --output goes to runSearchExport instead.
int runSearch(const QStringList &args);
int runSearchExport(const QStringList &args);
int runClasses(const QStringList &args);
int runCompact(const QStringList &args);
int runRepair(const QStringList &args);
int runBinder(const QStringList &args);
// Needs a QGuiApplication (fonts).
int runRender(const QStringList &args);
int runIndex(const QStringList &args);
int runFullText(const QStringList &args);

// A catalogue search as `search` takes it (the catalogue's path first, then the options):
// result holds the found rows; without result the search refused, failed or found nothing,
// and said so, and exitCode tells which.
struct CatalogueSearch {
    int exitCode = 0;
    search::RecordsetSlot result;
};
CatalogueSearch searchCatalogue(jet::Database &db, const QStringList &args);

} // namespace tolvane::cli
