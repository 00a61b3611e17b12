#include "registration/pathrecords.h"

#include <QFileInfo>
#include <QHash>

#include "catalog/schema.h"
#include "platform/filetimes.h"
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

jet::Row newFileRow(const QString &name, int pnID, const QDate &day)
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

// Listed names are matched to rows by their exact text, as the deletion pass keeps rows. (On a
// disk that tells case apart, "a.txt" and "A.txt" are two files and get two rows; matched without
// case they would share one row whose date flipped between them at every synchronisation.)
QString matchKey(const QString &name)
{
    return name;
}

bool sameDate(const QVariant &stored, const QDateTime &day)
{
    if (!stored.isValid() || stored.isNull())
        return !day.isValid();
    return stored.toDateTime() == day;
}

// A stored fDate against a day, compared as wall-clock dates are (to the millisecond).
bool sameDay(const std::optional<double> &stored, const QDate &day)
{
    if (!stored)
        return !day.isValid();
    jet::OleDateParts parts;
    return day.isValid() && jet::oleDateParts(*stored, parts) && parts.msec == 0
        && parts.day == qint64(jet::oleDay(day));
}

} // namespace

QList<QDate> modificationDays(const QString &folder, const QStringList &names)
{
    const LocalCalendar calendar;
    QList<QDate> days;
    days.reserve(names.size());
    for (const QString &name : names) {
        const std::optional<qint64> t = fileModifiedInstant(joinPath(folder, name));
        days.append(t ? calendar.dayOf(*t) : QDate());
    }
    return days;
}

QList<QDate> modificationDays(const QList<QDateTime> &modified)
{
    const LocalCalendar calendar;
    QList<QDate> days;
    days.reserve(modified.size());
    for (const QDateTime &t : modified)
        days.append(!t.isValid()                ? QDate()
                : t.timeSpec() == Qt::LocalTime ? t.date()
                                                : calendar.dayOf(t.toMSecsSinceEpoch()));
    return days;
}

Result<QList<FolderFileRow>> ReadFolderFileRows(jet::Database &db, int pnID)
{
    auto rs = db.select(jet::Query(kFileAtrTable)
                            .select({ QStringLiteral("fName"), QStringLiteral("fDate") })
                            .where(jet::Condition::equal(QStringLiteral("pnID"), pnID)));
    if (!rs)
        return rs.status();
    jet::Recordset &r = **rs;
    QList<FolderFileRow> rows;
    rows.reserve(r.recordCount());
    for (r.moveFirst(); !r.eof(); r.moveNext())
        rows.append({ r.currentId(), r.field(0).toString(), r.oleDate(1) });
    return rows;
}

Result<bool> FindFileAndFixDate(
    jet::Database &db, const QString &name, int pnID, const QDateTime &date, int &DateFixCount)
{
    auto rs = db.select(jet::Query(kFileAtrTable)
                            .where(jet::Condition::equal(QStringLiteral("fName"), name))
                            .where(jet::Condition::equal(QStringLiteral("pnID"), pnID)));
    if (!rs)
        return rs.status();
    if ((*rs)->bof())
        return false;
    jet::Recordset &r = **rs;
    r.moveFirst();
    if (date.isValid() && !sameDate(r.field(FDate), date)) {
        if (r.setField(FDate, date) && r.update())
            ++DateFixCount;
    }
    return true;
}

bool IsNameInFileList(const QStringList &names, const QString &name)
{
    return names.contains(name);
}

bool IsNameInFileList(const QSet<QString> &names, const QString &name)
{
    return names.contains(name);
}

Result<int> AddNewFiles(jet::Database &db, const QString &folder, int pnID, const QStringList &names, int &DateFixCount,
    const Progress &progress)
{
    auto existing = ReadFolderFileRows(db, pnID);
    if (!existing)
        return existing.status();
    return AddNewFiles(db, pnID, names, modificationDays(folder, names), *existing, DateFixCount, progress);
}

Result<int> AddNewFiles(jet::Database &db, int pnID, const QStringList &names, const QList<QDate> &days,
    QList<FolderFileRow> &rows, int &DateFixCount, const Progress &progress)
{
    QHash<QString, int> byName; // match key -> index into rows
    byName.reserve(rows.size());
    for (int i = 0; i < rows.size(); ++i) {
        const QString key = matchKey(rows[i].name);
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
        const QDate day = days.value(i);
        const QString key = matchKey(name);
        const auto it = byName.constFind(key);
        if (it != byName.constEnd()) {
            FolderFileRow &row = rows[*it];
            // A listed file whose date cannot be read any more keeps its recorded date.
            if (day.isValid() && !sameDay(row.date, day)) {
                Result<jet::Row> stored = db.readRow(kFileAtrTable, row.id);
                if (!stored)
                    return stored.status();
                jet::Row updated = stored.take();
                updated[FDate] = day;
                const Status st = db.updateRow(kFileAtrTable, row.id, updated);
                if (!st)
                    return st;
                row.date = jet::oleDay(day);
                ++DateFixCount;
            }
            continue;
        }
        const auto id = db.insertRow(kFileAtrTable, newFileRow(name, pnID, day));
        if (!id)
            return id.status();
        rows.append({ id.value(), name, day.isValid() ? std::optional<double>(jet::oleDay(day)) : std::nullopt });
        byName.insert(key, int(rows.size()) - 1);
        ++added;
    }
    if (progress)
        progress(total, total);
    return added;
}

Result<int> DeleteMissingFiles(jet::Database &db, int pnID, const QStringList &names, const Progress &progress)
{
    auto existing = ReadFolderFileRows(db, pnID);
    if (!existing)
        return existing.status();
    return DeleteMissingFiles(db, names, *existing, progress);
}

Result<int> DeleteMissingFiles(
    jet::Database &db, const QStringList &names, QList<FolderFileRow> &rows, const Progress &progress)
{
    const QSet<QString> listed(names.cbegin(), names.cend());
    int deleted = 0;
    const int total = int(rows.size());
    QList<FolderFileRow> kept;
    kept.reserve(rows.size());
    for (int i = 0; i < total; ++i) {
        if (progress && (i % 256) == 0 && !progress(i, total)) {
            return Status::cancelled();
        }
        FolderFileRow &row = rows[i];
        if (IsNameInFileList(listed, row.name)) {
            kept.append(std::move(row));
            continue;
        }
        const Status st = db.deleteRow(kFileAtrTable, row.id);
        if (!st)
            return st;
        ++deleted;
    }
    rows = std::move(kept);
    return deleted;
}

} // namespace tolvane::registration
