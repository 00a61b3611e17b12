#include "registration/pathrecords.h"

#include <QFileInfo>
#include <QHash>
#include <QSet>

#include "catalog/schema.h"
#include "platform/jet/recordset.h"
#include "platform/paths.h"

namespace tolvane::registration {

using catalog::kFileAtrTable;
using catalog::kPathNameTable;
using namespace catalog; // field positions

Status AddPathName(jet::Database &db, const QString &path, int pnID)
{
    jet::Row row(2);
    row[PPnID] = pnID;
    row[PName] = path;
    const auto id = db.insertRow(kPathNameTable, row);
    return id ? Status::ok() : id.status();
}

namespace {

jet::Row newFileRow(const QString &name, int pnID, const QDateTime &day)
{
    jet::Row row(FileAtrFieldCount);
    row[FClass] = QString();
    row[FName] = name;
    row[FDate] = day.isValid() ? QVariant(day) : QVariant();
    row[FKStr] = QString();
    row[FPnID] = pnID;
    row[FHsID] = 0;
    row[FBackC] = QString();
    return row;
}

// A registered file's row as read once for the in-memory matching.
struct FolderRow {
    jet::RowId id;
    jet::Row values;
};

// Listed names are matched to rows by their exact text, as the deletion pass keeps rows. (On a
// disk that tells case apart, "a.txt" and "A.txt" are two files and get two rows; matched without
// case they would share one row whose date flipped between them at every synchronisation.)
QString matchKey(const QString &name)
{
    return name;
}

// The rows registered in folder pnID, in table order.
Result<QList<FolderRow>> readFolderRows(jet::Database &db, int pnID)
{
    QList<FolderRow> rows;
    const Status st = db.scan(kFileAtrTable, [&](jet::RowId id, const jet::Row &row) {
        if (row.size() == FileAtrFieldCount && row[FPnID].isValid() && row[FPnID].toInt() == pnID)
            rows.append({ id, row });
        return true;
    });
    if (!st)
        return st;
    return rows;
}

bool sameDate(const QVariant &stored, const QDateTime &day)
{
    if (!stored.isValid() || stored.isNull())
        return !day.isValid();
    return stored.toDateTime() == day;
}

} // namespace

Result<int> AddNewFiles(jet::Database &db, const QString &folder, int pnID, const QStringList &names, int &DateFixCount,
    QList<SkippedFile> &skipped, const Progress &progress)
{
    auto existing = readFolderRows(db, pnID);
    if (!existing)
        return existing.status();
    QHash<QString, int> byName; // match key -> index into rows
    QList<FolderRow> &rows = *existing;
    byName.reserve(rows.size());
    for (int i = 0; i < rows.size(); ++i) {
        const QString key = matchKey(rows[i].values[FName].toString());
        if (!byName.contains(key)) // the first row of a name wins, as in the single-file lookup
            byName.insert(key, i);
    }

    int added = 0;
    const int total = int(names.size());
    for (int i = 0; i < total; ++i) {
        if (progress && (i % 64) == 0 && !progress(i, total)) {
            return Status::cancelled();
        }
        const QString &name = names[i];
        if (name.size() > kFileNameMaxLength) {
            skipped.append({ name, QStringLiteral("ファイル名が長すぎます（%1文字まで）").arg(kFileNameMaxLength) });
            continue;
        }
        const QDateTime day = dayOf(QFileInfo(joinPath(folder, name)).lastModified());
        const QString key = matchKey(name);
        const auto it = byName.constFind(key);
        if (it != byName.constEnd()) {
            FolderRow &row = rows[*it];
            // A listed file whose date cannot be read any more keeps its recorded date.
            if (day.isValid() && !sameDate(row.values[FDate], day)) {
                jet::Row updated = row.values;
                updated[FDate] = day.isValid() ? QVariant(day) : QVariant();
                const Status st = db.updateRow(kFileAtrTable, row.id, updated);
                if (!st)
                    return st;
                row.values = updated;
                ++DateFixCount;
            }
            continue;
        }
        const jet::Row values = newFileRow(name, pnID, day);
        const auto id = db.insertRow(kFileAtrTable, values);
        if (!id)
            return id.status();
        rows.append({ id.value(), values });
        byName.insert(key, int(rows.size()) - 1);
        ++added;
    }
    if (progress)
        progress(total, total);
    return added;
}

Result<int> DeleteMissingFiles(jet::Database &db, int pnID, const QStringList &names, const Progress &progress)
{
    auto existing = readFolderRows(db, pnID);
    if (!existing)
        return existing.status();
    QSet<QString> listed;
    listed.reserve(names.size());
    for (const QString &name : names)
        listed.insert(matchKey(name));
    int deleted = 0;
    const int total = int(existing->size());
    for (int i = 0; i < total; ++i) {
        if (progress && (i % 256) == 0 && !progress(i, total)) {
            return Status::cancelled();
        }
        const FolderRow &row = existing->at(i);
        if (listed.contains(matchKey(row.values[FName].toString())))
            continue;
        const Status st = db.deleteRow(kFileAtrTable, row.id);
        if (!st)
            return st;
        ++deleted;
    }
    return deleted;
}

} // namespace tolvane::registration
