#include "registration/pathrecords.h"

#include <algorithm>
#include <limits>

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

jet::Row newFileRow(QStringView name, int pnID, const QDate &day)
{
    jet::Row row(FileAtrFieldCount);
    row[FClass] = QString();
    row[FName] = name.toString();
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
QStringView matchKey(QStringView name)
{
    return name;
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

// For each listed name, the index of its first listing when it was listed before, else -1.
// Found by sorting hashes rather than keeping a table of every name.
QList<int> firstListings(const FileNames &names)
{
    QList<QPair<size_t, int>> hashed(names.size());
    for (int i = 0; i < names.size(); ++i)
        hashed[i] = { qHash(matchKey(names.at(i))), i };
    std::sort(hashed.begin(), hashed.end());
    QList<int> first(names.size(), -1);
    for (qsizetype run = 0; run < hashed.size();) {
        qsizetype end = run + 1;
        while (end < hashed.size() && hashed.at(end).first == hashed.at(run).first)
            ++end;
        for (qsizetype k = run + 1; k < end; ++k) // runs are one long unless names repeat
            for (qsizetype j = run; j < k; ++j)
                if (first.at(hashed.at(j).second) < 0
                    && matchKey(names.at(hashed.at(j).second)) == matchKey(names.at(hashed.at(k).second))) {
                    first[hashed.at(k).second] = hashed.at(j).second;
                    break;
                }
        run = end;
    }
    return first;
}

} // namespace

QList<QDate> modificationDays(const QString &folder, const QStringList &names)
{
    return modificationDays(folder, FileNames::fromList(names));
}

QList<QDate> modificationDays(const QString &folder, const FileNames &names)
{
    const LocalCalendar calendar;
    QList<QDate> days;
    days.reserve(names.size());
    for (qsizetype i = 0; i < names.size(); ++i) {
        const std::optional<qint64> t = fileModifiedInstant(joinPath(folder, names.at(i).toString()));
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

Result<int> AddNewFiles(jet::Database &db, const QString &folder, int pnID, const QStringList &names, int &DateFixCount,
    QList<SkippedFile> &skipped, const Progress &progress)
{
    auto existing = ReadFolderFileRows(db, pnID);
    if (!existing)
        return existing.status();
    const FileNames listed = FileNames::fromList(names);
    return AddNewFiles(db, pnID, listed, modificationDays(folder, listed), *existing, DateFixCount, skipped, progress);
}

Result<int> AddNewFiles(jet::Database &db, int pnID, const FileNames &names, const QList<QDate> &days,
    const QList<FolderFileRow> &rows, int &DateFixCount, QList<SkippedFile> &skipped, const Progress &progress)
{
    QHash<QStringView, int> byName; // match key -> index into rows
    byName.reserve(rows.size());
    for (int i = 0; i < rows.size(); ++i) {
        const QStringView key = matchKey(rows[i].name);
        if (!byName.contains(key)) // the first row of a name wins, as in the single-file lookup
            byName.insert(key, i);
    }
    // A name listed again names the row its first listing found or added. Rows added here are
    // kept apart (no name: the listing has it), so that a large first registration holds one
    // small record a file.
    // Per listing: until it is handled, the index of its first listing (-1 when it is the first);
    // then the row it names: an index into rows, or rows.size() + one into added. A listing only
    // ever looks up a first listing, which has been handled by then.
    QList<int> slot = firstListings(names);
    struct Added {
        jet::RowId id;
        qint32 day; // the stored fDate: an OLE day number, kNoDay for null
    };
    constexpr qint32 kNoDay = std::numeric_limits<qint32>::min();
    QList<Added> added;
    QHash<int, double> fixed; // dates corrected in rows, by index

    const int total = int(names.size());
    for (int i = 0; i < total; ++i) {
        if (progress && (i % 64) == 0 && !progress(i, total)) {
            return Status::cancelled();
        }
        const QStringView name = names.at(i);
        if (name.size() > kFileNameMaxLength) {
            skipped.append(
                { name.toString(), QStringLiteral("ファイル名が長すぎます（%1文字まで）").arg(kFileNameMaxLength) });
            continue;
        }
        const QDate day = days.value(i);
        int ref = -1;
        if (slot.at(i) >= 0) {
            ref = slot.at(slot.at(i));
        } else if (const auto it = byName.constFind(matchKey(name)); it != byName.constEnd()) {
            ref = *it;
        }
        if (ref >= 0) {
            slot[i] = ref;
            const bool isAdded = ref >= rows.size();
            const jet::RowId id = isAdded ? added.at(ref - rows.size()).id : rows.at(ref).id;
            const qint32 addedDay = isAdded ? added.at(ref - rows.size()).day : kNoDay;
            const std::optional<double> stored = isAdded
                ? (addedDay == kNoDay ? std::nullopt : std::optional<double>(addedDay))
                : fixed.contains(ref) ? fixed.value(ref)
                                      : rows.at(ref).date;
            // A listed file whose date cannot be read any more keeps its recorded date.
            if (day.isValid() && !sameDay(stored, day)) {
                Result<jet::Row> values = db.readRow(kFileAtrTable, id);
                if (!values)
                    return values.status();
                jet::Row updated = values.take();
                updated[FDate] = day;
                const Status st = db.updateRow(kFileAtrTable, id, updated);
                if (!st)
                    return st;
                if (isAdded)
                    added[ref - rows.size()].day = qint32(jet::oleDay(day));
                else
                    fixed.insert(ref, jet::oleDay(day));
                ++DateFixCount;
            }
            continue;
        }
        const auto id = db.insertRow(kFileAtrTable, newFileRow(name, pnID, day));
        if (!id)
            return id.status();
        added.append({ id.value(), day.isValid() ? qint32(jet::oleDay(day)) : kNoDay });
        slot[i] = int(rows.size() + added.size()) - 1;
    }
    if (progress)
        progress(total, total);
    return int(added.size());
}

Result<int> DeleteMissingFiles(jet::Database &db, int pnID, const QStringList &names, const Progress &progress)
{
    auto existing = ReadFolderFileRows(db, pnID);
    if (!existing)
        return existing.status();
    return DeleteMissingFiles(db, FileNames::fromList(names), *existing, progress);
}

Result<int> DeleteMissingFiles(
    jet::Database &db, const FileNames &names, QList<FolderFileRow> &rows, const Progress &progress)
{
    QSet<QStringView> listed;
    listed.reserve(names.size());
    for (qsizetype i = 0; i < names.size(); ++i)
        listed.insert(matchKey(names.at(i)));
    int deleted = 0;
    const int total = int(rows.size());
    QList<FolderFileRow> kept;
    kept.reserve(rows.size());
    for (int i = 0; i < total; ++i) {
        if (progress && (i % 256) == 0 && !progress(i, total)) {
            return Status::cancelled();
        }
        FolderFileRow &row = rows[i];
        if (listed.contains(matchKey(row.name))) {
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
