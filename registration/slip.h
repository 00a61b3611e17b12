// The management slip (管理票) of a catalogue record: the seven FILE_ATR values as the slip grid
// shows them, which rows the user may edit, the classification choices, and writing the edited
// fields back. Catalogue access goes through the caller's connection; GUI thread only.
#pragma once

#include <QList>
#include <QString>

#include "catalog/records.h"
#include "platform/jet/database.h"
#include "platform/status.h"

namespace tolvane::jet {
class Recordset;
}

namespace tolvane::registration {

// Rows of the slip grid fg2: 0 is the title, 1..7 the record's fields in FILE_ATR order.
namespace SlipRow {
constexpr int Title = 0;
constexpr int Class = 1;
constexpr int FileName = 2;
constexpr int Date = 3;
constexpr int Keywords = 4;
constexpr int Folder = 5;
constexpr int History = 6;
constexpr int BackColor = 7;
constexpr int Count = 8;
} // namespace SlipRow

// The refusal shown when a managed row of the slip is clicked for editing.
inline const QString kManagedRowMessage = QStringLiteral("Tolvane が管理する項目は編集できません。");

// The values of one record as texts of the slip's value column (rows 1..7).
struct SlipRecord {
    QString Class;
    QString fName;
    QString fDate; // as the result list shows dates
    QString kStr;
    int pnID = 0;
    int hsID = 0;
    QString backC;
};

// The current record of a FILE_ATR recordset (fields by name). Empty values when there is none.
SlipRecord readSlipRecord(const jet::Recordset &rs);

// "管理票　" + openedRow + "/" + resultCount, e.g. "管理票　3/25".
QString slipTitle(int openedRow, int resultCount);

// Whether a value cell (column 2) of the row may be edited: only the classification and the
// keywords. The other rows are managed by the program.
bool isSlipRowEditable(int row);

// The drop-down list text of the classification row: "|" then each name followed by "|".
QString classificationListText(const QList<catalog::ClassItem> &choices);

// The colour of a classification as the number written into the colour row: "&HFFFFC0" gives
// "16777152". Empty when the colour text cannot be read.
QString colourNumberText(const QString &colourText);

// The longest keyword text a record can store.
constexpr int kKeywordsMaxLength = 200;

// What the slip writes back: the three user-set fields. The other four are never written.
struct SlipEdit {
    QString Class;
    QString kStr;
    QString backC;
};

// SaveSlipFields: writes Class, kStr and backC into the current record of rs (a FILE_ATR
// recordset on db) in one transaction. On failure nothing is written and the record keeps its
// old values. Errors: InvalidArgument (no current record, text too long for its column) and
// those of the database (ReadOnly for an archive or locked file).
Status SaveSlipFields(jet::Database &db, jet::Recordset &rs, const SlipEdit &edit);

} // namespace tolvane::registration
