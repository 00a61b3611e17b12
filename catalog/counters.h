// Identifier counters drawn from the one IDno row. Identifiers are carried in 32 bits
// throughout (the columns hold 32 bits); a draw that cannot go on returns 0 (failed draw).
#pragma once

#include "platform/jet/database.h"
#include "platform/prompter.h"

namespace tolvane::catalog {

// Each returns the new value (1 or more); -1 when IDno has no row (after showing the kind's
// "Critical Error DB broken ->IDno..." message); 0 on any other failure (no message).
// Callers treat both -1 and 0 as a failed draw.
int NextPnID(jet::Database *db, Prompter &prompter);
int NextHsID(jet::Database *db, Prompter &prompter);
int NextBdID(jet::Database *db, Prompter &prompter);
int NextBndNo(jet::Database *db, Prompter &prompter);
int NextDocNo(jet::Database *db, Prompter &prompter);

} // namespace tolvane::catalog
