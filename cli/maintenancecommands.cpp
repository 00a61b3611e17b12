// tolvane-cli compact CATALOG.mdb and tolvane-cli repair CATALOG.mdb [NEW.mdb]: the File menu's
// compaction and repair without the window. Exit 0 when done, 1 when refused or failed.
#include <QFileInfo>

#include "catalog/lifecycle.h"
#include "catalog/maintenance.h"
#include "cli/commands.h"
#include "cli/consoleprompter.h"
#include "platform/jet/database.h"

namespace tolvane::cli {

int runCompact(const QStringList &args)
{
    if (args.size() != 1) {
        writeErr(QStringLiteral("usage: tolvane-cli compact CATALOG.mdb"));
        return 2;
    }
    const QString path = QFileInfo(args[0]).absoluteFilePath();
    {
        // Only a catalogue of this program is compacted (closed again before: compaction needs
        // the file to itself). One that cannot be opened is left to compaction to report.
        auto db = jet::Database::open(path, jet::Database::OpenMode::ReadOnly);
        if (db && !catalog::IsCatalog(**db)) {
            writeErr(catalog::notCatalogMessage());
            return 1;
        }
    }
    Result<jet::CompactionReport> r = jet::compactDatabase(path);
    if (!r) {
        writeErr(catalog::maintenanceFailure(false, r.status()));
        return 1;
    }
    writeOut(catalog::compactionSummary(*r));
    return 0;
}

int runRepair(const QStringList &args)
{
    if (args.size() != 1 && args.size() != 2) {
        writeErr(QStringLiteral("usage: tolvane-cli repair CATALOG.mdb [NEW.mdb]"));
        return 2;
    }
    const QString path = QFileInfo(args[0]).absoluteFilePath();
    const QString target = args.size() == 2 ? QFileInfo(args[1]).absoluteFilePath() : jet::repairedPathFor(path);
    Result<jet::RepairReport> r = jet::repairDatabase(path, target);
    if (!r) {
        writeErr(catalog::maintenanceFailure(true, r.status()));
        return 1;
    }
    writeOut(catalog::repairSummary(path, *r, 1000));
    return 0;
}

} // namespace tolvane::cli
