// Folder and file records: PATH_NAME (one row per folder, identified by its exact path text) and
// FILE_ATR (one row per file, identified by its name and its folder's pnID). Every value reaches
// the catalogue bound in a jet::Query condition or a row, never spliced into a statement text,
// so names with apostrophes or Japanese text need no care. GUI thread only (one Database).
#pragma once

#include <functional>

#include <QDateTime>
#include <QSet>
#include <QStringList>

#include "browser/browserstate.h"
#include "platform/jet/database.h"
#include "platform/status.h"

namespace tolvane::jet {
class Recordset;
}

namespace tolvane::registration {

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

// The text GetPathName gives for an unknown pnID.
inline const QString kNoPathName = QStringLiteral("NONE");

// Long work reports (done, total) and returns false to stop; a stop fails with Cancelled.
using Progress = std::function<bool(int done, int total)>;

// A modification time reduced to its day (time of day 0, local wall clock): what fDate stores.
QDateTime dayOf(const QDateTime &modified);

// The pnID of the folder whose pName equals path exactly (case-sensitive, no separator
// trimming); -1 when no row has it, when the table is empty, or on any read error.
int GetPathID(jet::Database *db, const QString &path);

// The pName of pnID, or "NONE" when no row has it (or on a read error).
QString GetPathName(jet::Database *db, int pnID);

// Appends one PATH_NAME row. False on failure (error, when given, says why).
bool AddPathName(jet::Database *db, const QString &path, int pnID, Status *error = nullptr);

// True when a FILE_ATR row with that name and pnID exists; its fDate is set to date when it
// differs (DateFixCount counts the correction; an invalid date corrects nothing). False when no
// row matches or on failure.
bool FindFileAndFixDate(jet::Database *db, const QString &name, int pnID, const QDateTime &date, int &DateFixCount);

// True when names (the file list's column 0) holds exactly that text.
bool IsNameInFileList(const QStringList &names, const QString &name);
bool IsNameInFileList(const QSet<QString> &names, const QString &name);

// Adds a FILE_ATR row (Class, kStr and backC empty, hsID 0, fDate the modification day of
// folder/name read from the disk) for every listed name not yet registered under pnID, and
// corrects the fDate of the registered ones whose day differs (counted in DateFixCount). Reads
// the folder's rows once and matches the names in memory by their exact text.
// Returns the number of rows added; on failure (or a stop by progress) the count reached so far,
// with error set. Runs inside the caller's transaction when one is open.
int AddNewFiles(jet::Database *db, const QString &folder, int pnID, const QStringList &names, int &DateFixCount,
    Status *error = nullptr, const Progress &progress = {});

// Deletes every FILE_ATR row of pnID whose fName is not in names. Returns the number deleted;
// on failure the count reached so far, with error set.
int DeleteMissingFiles(
    jet::Database *db, int pnID, const QStringList &names, Status *error = nullptr, const Progress &progress = {});

// From the current record of a result recordset with the FILE_ATR fields: CurrentFileName =
// fName, CurrentFileDate = fDate as "yyyy-mm-dd" and, unless inFolderSearch (whose folder is
// already current), CurrentFolder = GetPathName(pnID). Returns false when that lookup gave
// "NONE" (the catalogue is inconsistent; CurrentFolder then holds "NONE") or the recordset has
// no current record.
bool TakeRecordFile(jet::Database *db, const jet::Recordset &rs, bool inFolderSearch, browser::BrowserState &state);

} // namespace tolvane::registration
