// The revision history (改訂履歴) of a registered file: its FILE_REV lines, keyed by the file's
// hsID, read in date order and replaced as a whole when saved. A file has hsID 0 until its
// history is first saved; the first save draws a new hsID from the IDno counters, and the file
// keeps it from then on, even when all its lines are deleted. GUI thread only.
#pragma once

#include <QDate>
#include <QList>
#include <QString>

#include "platform/jet/database.h"
#include "platform/prompter.h"
#include "platform/status.h"

namespace tolvane::jet {
class Recordset;
}

namespace tolvane::registration {

// One line: the revision date as the history grid shows it ("yyyy-mm-dd") and the note.
struct HistoryLine {
    QString date;
    QString note;
    bool operator==(const HistoryLine &) const = default;
};

// The text asking to pick a line before deleting.
inline const QString kSelectLineMessage = QStringLiteral("削除行を選択してください。");

// The question before deleting line number `line` (1 for the first line) dated `date`:
// "1行目（改訂日付：2010-01-05）を削除します。　削除後は復活できません。　実行しますか？".
QString deleteLineQuestion(int line, const QString &date);

// The date text written into the history grid for a date picked on the calendar: "yyyy-mm-dd".
QString calendarDateText(const QDate &date);

// Whether text can be stored as a revision date: empty (no date), or year first with "-", "/"
// or "." between the parts (2010-01-05, 2010/1/5), optionally with a time of day.
bool isHistoryDateText(const QString &text);

// The longest note a history line can hold.
constexpr int kHistoryNoteMaxLength = 255;

// The refusal shown when a typed revision date is not a date; the cell keeps its former text.
QString badHistoryDateMessage(const QString &text);

// A stored revision date as the grid shows it: "yyyy-mm-dd", with " hh:mm:ss" when it carries a
// time of day; empty for null.
QString historyDateText(const QVariant &a01);

// LoadHistory: the lines of hsID in ascending a01 (empty for hsID 0). Errors of the database.
Result<QList<HistoryLine>> LoadHistory(jet::Database &db, int hsID);

// SaveHistory: replaces the FILE_REV lines of the current record of fileRecord (a FILE_ATR
// recordset on db) by lines, in one transaction. When the record's hsID is 0 a new one is drawn
// (catalog NextHsID, which reports a broken counter row through prompter) and stored in the
// record. Empty lines are kept; an empty date is stored as null. Returns the file's hsID.
// Errors: InvalidArgument (no current record; a date that is not a date; a note longer than
// 255 characters), Corruption (no hsID could be drawn) and those of the database. On any error
// nothing is written: the old lines, the record's hsID and the counter stay as they were.
Result<int> SaveHistory(
    jet::Database &db, jet::Recordset &fileRecord, const QList<HistoryLine> &lines, Prompter &prompter);

} // namespace tolvane::registration
