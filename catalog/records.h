// Reading the catalogue's records as every subsystem needs them: the field positions of FILE_ATR
// and PATH_NAME rows, the folder of a record (GetPathID / GetPathName), how a stored value reads
// as text, and the classification list. Values reach the engine bound, never spliced into a
// statement text. GUI thread only (one Database).
#pragma once

#include <QDateTime>
#include <QList>
#include <QString>
#include <QStringList>
#include <QVariant>

#include "platform/jet/database.h"
#include "platform/status.h"

namespace tolvane::jet {
class Recordset;
}

namespace tolvane::catalog {

// Field positions of a FILE_ATR row.
enum FileAtrField {
    FClass = 0,
    FName = 1,
    FDate = 2,
    FKStr = 3,
    FPnID = 4,
    FHsID = 5,
    FBackC = 6,
    FileAtrFieldCount = 7
};
// Field positions of a PATH_NAME row.
enum PathNameField { PPnID = 0, PName = 1 };

// The pnID of the folder whose pName equals path exactly (case-sensitive, no separator
// trimming). Errors: NotFound when no row has it; those of the database.
Result<int> GetPathID(jet::Database &db, const QString &path);

// The pName of pnID. Errors: NotFound when no row has it; those of the database.
Result<QString> GetPathName(jet::Database &db, int pnID);

// The seven catalogue headings, in field order: "分類", "ファイル名", "更新年月日", "キーワード",
// "ファイル所在", "History", "BackCo". They head the result list and label the slip's rows.
const QStringList &CatalogHeadings();

// A modification time reduced to its day (time of day 0, local wall clock): what fDate stores.
QDateTime dayOf(const QDateTime &modified);

// A stored value as the lists and the slip show it: dates "yyyy/mm/dd" (with " hh:mm:ss" when
// they carry a time of day), null as empty text, anything else as its text.
QString fieldText(const QVariant &value);

// The file a FILE_ATR record names.
struct RecordFile {
    QString folder; // the record's folder, as PATH_NAME stores it
    QString name; // fName
    QString date; // fDate as "yyyy-mm-dd"; empty for null
};

// The file of the current record of rs (a recordset with the FILE_ATR fields by name).
// Errors: InvalidArgument (no current record), NotFound (its pnID names no folder: the
// catalogue is inconsistent), those of the database.
Result<RecordFile> TakeRecordFile(jet::Database &db, const jet::Recordset &rs);

// A classification as the searches and the slip offer it: its text and its colour text
// ("&HFFFFC0").
struct ClassItem {
    QString name;
    QString colour;
};

// The classifications of ClassN in list order (a03). Errors of the database.
Result<QList<ClassItem>> LoadClassItems(jet::Database &db);

} // namespace tolvane::catalog
