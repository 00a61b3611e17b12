// The catalogue searches: the five selections of registered files (folder, file name,
// classification, period, keyword) and the contents of one binder. Each replaces the recordset
// it is given with a fresh static snapshot that stays open for narrowing, stepping and
// rebuilding the list. User text is always bound as a value, never spliced into a statement.
// Not thread-safe: use on the thread that owns the Database.
#pragma once

#include <memory>

#include <QDateTime>

#include "platform/jet/database.h"
#include "platform/jet/recordset.h"
#include "platform/status.h"

namespace tolvane::search {

using RecordsetSlot = std::unique_ptr<jet::Recordset>;

// The seven FILE_ATR fields every catalogue search selects, in result order:
// Class, fName, fDate, kStr, pnID, hsID, backC.
const QStringList &catalogColumns();
// The four BINDER fields of a binder's contents: bdID, fName, pnID, DocNo.
const QStringList &binderColumns();

// True when text is searched as a pattern (Like) rather than for equality: it holds a "%".
// "_" and other pattern characters do not switch to the pattern form (inside a pattern "_"
// still stands for any one character).
bool isPatternText(const QString &text);

// Each query below first closes the recordset in set, then opens the new one into it.
// Result: found (the new set is not at BOF). On failure set stays empty (null) and the status
// tells why (the database's own errors, or InvalidArgument for a period bound that is not a date).

// Files registered in folder pnID, in catalogue order.
Result<bool> QueryByFolder(jet::Database &db, RecordsetSlot &set, int pnID);
// Files whose name equals fileName, or matches it when it holds "%"; catalogue order.
Result<bool> QueryByFileName(jet::Database &db, RecordsetSlot &set, const QString &fileName);
// Files of the classification className (text equality), ordered by date.
Result<bool> QueryByClass(jet::Database &db, RecordsetSlot &set, const QString &className);
// Files dated from start to end, both included, ordered by date. The bounds are typed text
// (see perioddate.h); an end without a time of day includes that whole day.
Result<bool> QueryByPeriod(jet::Database &db, RecordsetSlot &set, const QString &start, const QString &end);
// Same with bounds already understood.
Result<bool> QueryByPeriodBounds(jet::Database &db, RecordsetSlot &set, const QDateTime &from, const QDateTime &to);
// Files whose keyword text equals word, or matches it when it holds "%"; catalogue order.
Result<bool> QueryByKeyword(jet::Database &db, RecordsetSlot &set, const QString &word);
// The files of binder bdID in filing order (DocNo).
Result<bool> QueryBinderContents(jet::Database &db, RecordsetSlot &set, int bdID);

// The distinct dates of FILE_ATR.fDate, ascending, each once (the period panel's choices).
Result<QList<QDateTime>> periodDates(jet::Database &db);

} // namespace tolvane::search
