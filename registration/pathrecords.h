// Folder and file records as registration writes them: PATH_NAME (one row per folder, identified
// by its exact path text) and FILE_ATR (one row per file, identified by its name and its folder's
// pnID). Every value reaches the catalogue bound in a jet::Query condition or a row, never
// spliced into a statement text, so names with apostrophes or Japanese text need no care. GUI
// thread only (one Database).
#pragma once

#include <functional>
#include <optional>

#include <QDateTime>
#include <QSet>
#include <QStringList>

#include "catalog/records.h"
#include "platform/filetimes.h"
#include "platform/jet/database.h"
#include "platform/status.h"

namespace tolvane::registration {

// Long work reports (done, total) and returns false to stop; a stop fails with Cancelled.
using Progress = std::function<bool(int done, int total)>;

// Appends one PATH_NAME row. Errors of the database.
Status AddPathName(jet::Database &db, const QString &path, int pnID);

// A listed file that registration could not store, and why, in words for the user.
struct SkippedFile {
    QString name;
    QString reason;
    bool operator==(const SkippedFile &) const = default;
};

// Adds a FILE_ATR row (Class, kStr and backC empty, hsID 0, fDate the modification day of
// folder/name read from the disk) for every listed name not yet registered under pnID, and
// corrects the fDate of the registered ones whose day differs (counted in DateFixCount). Reads
// the folder's rows once and matches the names in memory by their exact text, the one rule by
// which a listed file and a registered row are the same file (the deletion pass keeps it too).
// A name the catalogue cannot store (longer than the fName column) is not added but appended to
// skipped, so that one such file does not keep the others out.
// Returns the number of rows added. Errors: Cancelled (stopped by progress), those of the
// database; rows written before a failure stay written, so run it inside a transaction.
Result<int> AddNewFiles(jet::Database &db, const QString &folder, int pnID, const QStringList &names, int &DateFixCount,
    QList<SkippedFile> &skipped, const Progress &progress = {});

// Deletes every FILE_ATR row of pnID whose fName is not in names. Returns the number deleted.
// Errors as AddNewFiles.
Result<int> DeleteMissingFiles(jet::Database &db, int pnID, const QStringList &names, const Progress &progress = {});

// A registered file as the synchronisation compares it: its row, fName and stored fDate (the OLE
// number; empty for null).
struct FolderFileRow {
    jet::RowId id;
    QString name;
    std::optional<double> date;
};

// The rows of folder pnID, in table order; only rows of that folder are decoded.
Result<QList<FolderFileRow>> ReadFolderFileRows(jet::Database &db, int pnID);

// The local days of modification times (an invalid time gives an invalid day), without a
// time-zone lookup per time.
QList<QDate> modificationDays(const QList<QDateTime> &modified);
// The local days of the files names in folder, read with one status call a file.
QList<QDate> modificationDays(const QString &folder, const QStringList &names);
QList<QDate> modificationDays(const QString &folder, const FileNames &names);

// AddNewFiles and DeleteMissingFiles on the folder's rows read once: days[i] is the day of
// names[i] (invalid when unreadable). DeleteMissingFiles takes the deleted rows out of rows, so
// that one reading serves both passes of a synchronisation.
Result<int> AddNewFiles(jet::Database &db, int pnID, const FileNames &names, const QList<QDate> &days,
    const QList<FolderFileRow> &rows, int &DateFixCount, QList<SkippedFile> &skipped, const Progress &progress = {});
Result<int> DeleteMissingFiles(
    jet::Database &db, const FileNames &names, QList<FolderFileRow> &rows, const Progress &progress = {});

} // namespace tolvane::registration
