// Identifier counters drawn from the one IDno row. Identifiers are carried in 32 bits
// throughout (the columns hold 32 bits); a draw never hands out a value that wrapped.
#pragma once

#include "platform/jet/database.h"
#include "platform/prompter.h"
#include "platform/status.h"

namespace tolvane::catalog {

// Each returns the new value (1 or more). Errors: Corruption when IDno has no row (after showing
// the kind's "Critical Error DB broken ->IDno..." message through prompter), or when the counter
// is exhausted or unreadable (no message); those of the database.
Result<int> NextPnID(jet::Database &db, Prompter &prompter);
Result<int> NextHsID(jet::Database &db, Prompter &prompter);
Result<int> NextBdID(jet::Database &db, Prompter &prompter);
Result<int> NextBndNo(jet::Database &db, Prompter &prompter);
Result<int> NextDocNo(jet::Database &db, Prompter &prompter);

} // namespace tolvane::catalog
