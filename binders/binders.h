// Binders: the binder catalogue (BINDER_NAME: one row per binder, listed by BdNo) and the
// filing entries of each binder (BINDER: one row per filing, listed by DocNo). Listing,
// creating, renaming, deleting and ordering binders; filing a registered file, detaching it
// and ordering a binder's files. Every write runs in one transaction: it happens whole or not
// at all, and a failure is reported to the user. Values are bound, never spliced into a
// statement. The window and tolvane-cli share these rules and messages. GUI thread only (one
// Database).
#pragma once

#include <memory>

#include <QList>
#include <QString>
#include <QStringList>

#include "platform/jet/database.h"
#include "platform/jet/recordset.h"
#include "platform/prompter.h"
#include "platform/status.h"

namespace tolvane::binders {

using RecordsetSlot = std::unique_ptr<jet::Recordset>;

struct BinderEntry {
    int bdID = 0;
    QString bName;
    int BdNo = 0;
};

// How a binder command ended.
enum class Outcome {
    Done,
    Refused, // the user was told why (an empty or duplicate name, no row chosen); nothing written
    Declined, // the user answered No, or there was nothing to act on; nothing written
    Failed, // a counter or the database failed; the user was told; the binders are as they were
};

// ---- the binder catalogue ----

// The binder list (ShowBinders' statement): bdID, bName, BdNo of every binder in BdNo order,
// into set (whatever set held is closed first). Result: found (at least one binder).
Result<bool> OpenBinderList(jet::Database &db, RecordsetSlot &set);
// The same rows read out (the chooser of the filing dialog, tolvane-cli).
Result<QList<BinderEntry>> ReadBinders(jet::Database &db);
// Whether a binder has exactly this name as stored (case and width count). An empty table
// never matches.
Result<bool> BinderNameExists(jet::Database &db, const QString &name);
// The bdID of the binder named exactly name. Errors: NotFound; those of the database.
Result<int> FindBinder(jet::Database &db, const QString &name);
// Adds the BINDER_NAME row.
Status InsertBinderName(jet::Database &db, int bdID, const QString &name, int bdNo);

// Creates a binder from the name as typed: an empty name is refused before anything is drawn;
// then the next bdID and BdNo are drawn (a draw that fails is reported by the counter and
// creates nothing); a trimmed name that a binder already has is refused, and the two drawn
// values stay consumed; otherwise the row is added. bdID, when given, receives the new id.
Outcome CreateBinder(jet::Database &db, Prompter &prompter, const QString &typedName, int *bdID = nullptr);
// Gives binder bdID the trimmed typed name. An empty name and a name any binder has (its own
// included) are refused. binderSet is the open binder list (opened here when null); it is
// closed afterwards.
Outcome RenameBinder(
    jet::Database &db, Prompter &prompter, RecordsetSlot &binderSet, int bdID, const QString &typedName);
// Deletes binder bdID: its filing entries and its BINDER_NAME row. The files stay registered;
// the other binders keep their BdNo. binderSet (the open binder list, opened when null) is
// closed afterwards.
Outcome DeleteBinderRows(jet::Database &db, Prompter &prompter, RecordsetSlot &binderSet, int bdID);
// Stores the displayed order of the binders: each binder of binderSet (the open list, opened
// when null) gets as BdNo its position (1..n) among the displayed binders, or 0 when it is not
// displayed. The binders are matched by bdID, so that a name stored with blanks around it (the
// list shows names trimmed) keeps its place. Then "並べ替えを登録しました。". binderSet is closed.
Outcome SaveBinderOrder(
    jet::Database &db, Prompter &prompter, RecordsetSlot &binderSet, const QList<int> &displayedIds);

// ---- a binder's files ----

// The filing entries of binder bdID (bdID, fName, pnID, DocNo) in DocNo order, into set.
// Result: found (the binder holds at least one file).
Result<bool> OpenBinderContents(jet::Database &db, RecordsetSlot &set, int bdID);
// Files the registered file (pnID, fName) into binder bdID: draws the next DocNo and adds the
// BINDER row, then "表示中のファイルを、バインダ「name」　に登録しました。". Filing the same
// file twice adds a second row.
Outcome FileShownIntoBinder(
    jet::Database &db, Prompter &prompter, int bdID, const QString &binderName, int pnID, const QString &fName);
// Detaches the file of row (1-based, in DocNo order) of binderSet, the open contents of the
// binder named binderName, after asking. A row outside the contents does nothing (Declined,
// no question). The other entries keep their DocNo.
Outcome DetachFromBinder(
    jet::Database &db, Prompter &prompter, RecordsetSlot &binderSet, int row, const QString &binderName);
// Stores the displayed order of a binder's files: each entry of binderSet (the open contents)
// gets as DocNo the position (1..n) of the first displayed DocNo equal to its own, or 0. An
// empty binder: "バインダにはファイルがありません。". Then "並べ替えを登録しました。".
Outcome SaveFileOrder(
    jet::Database &db, Prompter &prompter, RecordsetSlot &binderSet, const QList<int> &displayedDocNos);

// The catalogue record (FILE_ATR) of the filing entry binderSet is on, into record: the table
// with a filter on its pnID and fName. Result: found (the file is still registered).
Result<bool> OpenFiledRecord(jet::Database &db, const jet::Recordset &binderSet, RecordsetSlot &record);

// ---- stepping ----

// One step of the circular walk over rs, whose current record is at position openedRow
// (1-based) of count: the next (or previous) visible record, the first after the last and the
// last before the first. Returns the new position.
int StepCircular(jet::Recordset &rs, int openedRow, int count, bool next);

} // namespace tolvane::binders
