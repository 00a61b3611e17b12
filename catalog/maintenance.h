// The catalogue's maintenance commands as the user sees them: compaction ("データベースの最適化")
// and repair, with the texts that report their outcome. The work itself is the engine's
// (platform/jet/maintenance.h). Functions; GUI or CLI thread.
#pragma once

#include "platform/jet/maintenance.h"

namespace tolvane::catalog {

// What a finished compaction reports: sizes before and after.
QString compactionSummary(const jet::CompactionReport &report);
// What a finished repair reports: where the new file is, per table the rows salvaged and
// lost, what the new file does not carry and what damage was found (at most maxDamage lines).
QString repairSummary(const QString &original, const jet::RepairReport &report, int maxDamage = 20);
// A failed compaction or repair, for the user.
QString maintenanceFailure(bool repair, const Status &status);

} // namespace tolvane::catalog
