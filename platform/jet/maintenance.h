// Maintenance of whole catalogue files: compaction (every table's live rows written into a new
// file, which then replaces the old one) and repair (every row that can still be read written
// into a new file beside a damaged one). Both build the new file with the creator and fill it
// through the ordinary write path. Functions, no state; one thread at a time per file.
#pragma once

#include <functional>

#include <QList>
#include <QString>
#include <QStringList>

#include "platform/status.h"

namespace tolvane::jet {

namespace internal {
class FileAccess;
}

// Reports progress: done out of total rows. Returning false cancels the work (Cancelled);
// nothing is left behind.
using MaintenanceProgress = std::function<bool(qint64 done, qint64 total)>;

// One table's rows: how many its definition records, how many reached the new file, and how
// many could not be read.
struct TableTally {
    QString table;
    qint64 recorded = 0;
    qint64 written = 0;
    qint64 lost = 0;
};

struct CompactionReport {
    qint64 sizeBefore = 0;
    qint64 sizeAfter = 0;
    QList<TableTally> tables;
};

struct RepairReport {
    QString repairedPath;
    QList<TableTally> tables;
    // What the new file does not carry (texts for the user, Japanese), and what was found damaged.
    QStringList notCarried;
    QStringList damage;
    qint64 lostRows() const;
};

// "<folder>/<name>.bak": where compaction keeps the old file until the new one is durable.
QString compactionBackupPath(const QString &path);
// "<folder>/<name>_修復.mdb": where repair writes by default.
QString repairedPathFor(const QString &path);

// Compacts the file at path: writes every user table's live rows, in storage order, into a new
// file made by the creator, checks that it reads back row for row, and puts it in the old
// file's place in one step; the old file stays as compactionBackupPath() until the new one is
// durable. A kill at any moment leaves the old file or the new one at path. It has the file to
// itself (the open lock of internal/connectionlocks.h, exclusively) from start to end: no
// connection opens the file meanwhile.
// Errors, each with a message for the user (Japanese):
//  - ReadOnly: another connection has the file open, or a lock file (.ldb) lies beside it;
//  - NotSupported: the file holds what the new file cannot carry exactly (indexes, memo or OLE
//    columns, other column types, queries, relationships, properties, further objects): the
//    message names them;
//  - Cancelled: progress returned false; NotFound, Corruption, IOError.
// On every error the file at path is unchanged.
Result<CompactionReport> compactDatabase(const QString &path, const MaintenanceProgress &progress = {});
Result<CompactionReport> compactDatabase(
    internal::FileAccess &files, const QString &path, const MaintenanceProgress &progress = {});

// Repairs the file at path: writes every row that can still be read, table by table, into a new
// file at target (which must not exist) and reports per table what was written and what was
// lost. The file at path is only read, and had to itself as compaction has it (a file this
// process may not write is read under the read lock instead). Tables the new file cannot hold
// are listed in notCarried. Errors: ReadOnly (another connection has the file open; message
// for the user, Japanese), InvalidArgument (target exists), Corruption (not even the list of
// tables can be read), Cancelled, NotFound, IOError; the target then does not exist.
Result<RepairReport> repairDatabase(
    const QString &path, const QString &target, const MaintenanceProgress &progress = {});
Result<RepairReport> repairDatabase(
    internal::FileAccess &files, const QString &path, const QString &target, const MaintenanceProgress &progress = {});

} // namespace tolvane::jet
