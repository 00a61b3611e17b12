// The catalogue's maintenance commands as the user sees them: compaction ("データベースの最適化")
// and repair, with the texts that report their outcome. The work itself is the engine's
// (platform/jet/maintenance.h). Functions; GUI or CLI thread.
#pragma once

#include <functional>

#include "platform/jet/maintenance.h"
#include "platform/prompter.h"

namespace tolvane::catalog {

// What a finished compaction reports: sizes before and after.
QString compactionSummary(const jet::CompactionReport &report);
// What a finished repair reports: where the new file is, per table the rows salvaged and
// lost, what the new file does not carry and what damage was found (at most maxDamage lines).
QString repairSummary(const QString &original, const jet::RepairReport &report, int maxDamage = 20);
// A failed compaction or repair, for the user.
QString maintenanceFailure(bool repair, const Status &status);

// The compaction command ("データベースの最適化"). path: the catalogue in use, or empty to ask for
// a file. Asks to confirm, then calls closeCatalog (the window closes its own connection, which
// would otherwise refuse the work), compacts with progress and reports the outcome. True when
// the file was compacted; false when cancelled, refused or failed (the file is then unchanged).
bool CompactCatalogCommand(Prompter &prompter, const QString &path, const std::function<void()> &closeCatalog,
    const jet::MaintenanceProgress &progress);

// The repair command ("データベースの修復"): asks for the damaged file (starting in startDir),
// writes what can be read into repairedPathFor() beside it, and reports per table what was
// salvaged and lost. The chosen file is only read. When it is inUse (the catalogue the window
// has open), closeCatalog is called first: repair, like compaction, needs the file to itself.
// True when a repaired file was written.
bool RepairCatalogCommand(Prompter &prompter, const QString &startDir, const QString &inUse,
    const std::function<void()> &closeCatalog, const jet::MaintenanceProgress &progress);

} // namespace tolvane::catalog
