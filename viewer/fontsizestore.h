// The text size remembered in the catalogue's FontSize table (one row, first column).
// Uses the caller's connection; GUI thread only, like every catalogue access.
#pragma once

#include "platform/jet/database.h"
#include "platform/status.h"

namespace tolvane::viewer {

// The text size of the program at start-up, and when nothing is stored.
constexpr int kDefaultTextFontSize = 10;

// SaveFontSize: writes textFontSize into the existing FontSize row. A table without a row gets
// its first row with the start-up size 10 instead; the chosen size reaches the table with the next
// change. Errors: those of the database (no table, read-only file); nothing is written then.
Status SaveFontSize(jet::Database *db, int textFontSize);

// The stored text size: first column of the first row, 10 when the table has no row or the
// value is not one of the sizes the menu offers. NotFound when the table is missing.
Result<int> ReadFontSize(jet::Database *db);

} // namespace tolvane::viewer
