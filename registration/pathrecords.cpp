#include "registration/pathrecords.h"

#include <QFileInfo>
#include <QHash>

#include "browser/filelist.h"
#include "catalog/schema.h"
#include "platform/jet/recordset.h"

namespace tolvane::registration {

using catalog::kFileAtrTable;
using catalog::kPathNameTable;

QDateTime dayOf(const QDateTime &modified)
{
    if (!modified.isValid())
        return {};
    return QDateTime(modified.toLocalTime().date(), QTime(0, 0), Qt::LocalTime);
}

int GetPathID(jet::Database *db, const QString &path)
{
    if (!db)
        return -1;
    // The database compares text without case; the folder identity is the exact text, so the
    // rows are walked and compared here.
    int found = -1;
    const Status st = db->scan(kPathNameTable, [&](jet::RowId, const jet::Row &row) {
        if (row.size() > PName && row[PName].toString() == path) {
            found = row[PPnID].toInt();
            return false;
        }
        return true;
    });
    return st.isOk() ? found : -1;
}

QString GetPathName(jet::Database *db, int pnID)
{
    if (!db)
        return kNoPathName;
    auto rs = db->select(jet::Query(kPathNameTable)
                             .select({ QStringLiteral("pnID"), QStringLiteral("pName") })
                             .where(jet::Condition::equal(QStringLiteral("pnID"), pnID)));
    if (!rs || (*rs)->bof())
        return kNoPathName;
    (*rs)->moveFirst();
    return (*rs)->field(1).toString();
}

bool AddPathName(jet::Database *db, const QString &path, int pnID, Status *error)
{
    if (!db) {
        if (error)
            *error = Status::invalidArgument(QStringLiteral("no catalogue"));
        return false;
    }
    jet::Row row(2);
    row[PPnID] = pnID;
    row[PName] = path;
    const auto id = db->insertRow(kPathNameTable, row);
    if (!id) {
        if (error)
            *error = id.status();
        return false;
    }
    return true;
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
Result<QList<FolderRow>> readFolderRows(jet::Database *db, int pnID)
{
    if (!db)
        return Status::invalidArgument(QStringLiteral("no catalogue"));
    QList<FolderRow> rows;
    const Status st = db->scan(kFileAtrTable, [&](jet::RowId id, const jet::Row &row) {
        if (row.size() == FileAtrFieldCount && row[FPnID].isValid() && row[FPnID].toInt() == pnID)
            rows.append({ id, row });
        return true;
    });
    if (!st)
        return st;
    return rows;
}

// Hands a failure to the caller's error slot, when it gave one.
void setError(Status *error, Status st)
{
    if (error)
        *error = std::move(st);
}

bool sameDate(const QVariant &stored, const QDateTime &day)
{
    if (!stored.isValid() || stored.isNull())
        return !day.isValid();
    return stored.toDateTime() == day;
}

} // namespace

bool FindFileAndFixDate(jet::Database *db, const QString &name, int pnID, const QDateTime &date, int &DateFixCount)
{
    if (!db)
        return false;
    auto rs = db->select(jet::Query(kFileAtrTable)
                             .where(jet::Condition::equal(QStringLiteral("fName"), name))
                             .where(jet::Condition::equal(QStringLiteral("pnID"), pnID)));
    if (!rs || (*rs)->bof())
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

int AddNewFiles(jet::Database *db, const QString &folder, int pnID, const QStringList &names, int &DateFixCount,
    Status *error, const Progress &progress)
{
    auto existing = readFolderRows(db, pnID);
    if (!existing) {
        setError(error, existing.status());
        return 0;
    }
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
            setError(error, Status::cancelled());
            return added;
        }
        const QString &name = names[i];
        const QDateTime day = dayOf(QFileInfo(browser::joinPath(folder, name)).lastModified());
        const QString key = matchKey(name);
        const auto it = byName.constFind(key);
        if (it != byName.constEnd()) {
            FolderRow &row = rows[*it];
            // A listed file whose date cannot be read any more keeps its recorded date.
            if (day.isValid() && !sameDate(row.values[FDate], day)) {
                jet::Row updated = row.values;
                updated[FDate] = day.isValid() ? QVariant(day) : QVariant();
                const Status st = db->updateRow(kFileAtrTable, row.id, updated);
                if (!st) {
                    setError(error, st);
                    return added;
                }
                row.values = updated;
                ++DateFixCount;
            }
            continue;
        }
        const jet::Row values = newFileRow(name, pnID, day);
        const auto id = db->insertRow(kFileAtrTable, values);
        if (!id) {
            setError(error, id.status());
            return added;
        }
        rows.append({ id.value(), values });
        byName.insert(key, int(rows.size()) - 1);
        ++added;
    }
    if (progress)
        progress(total, total);
    return added;
}

int DeleteMissingFiles(jet::Database *db, int pnID, const QStringList &names, Status *error, const Progress &progress)
{
    auto existing = readFolderRows(db, pnID);
    if (!existing) {
        setError(error, existing.status());
        return 0;
    }
    const QSet<QString> listed(names.cbegin(), names.cend());
    int deleted = 0;
    const int total = int(existing->size());
    for (int i = 0; i < total; ++i) {
        if (progress && (i % 256) == 0 && !progress(i, total)) {
            setError(error, Status::cancelled());
            return deleted;
        }
        const FolderRow &row = existing->at(i);
        if (IsNameInFileList(listed, row.values[FName].toString()))
            continue;
        const Status st = db->deleteRow(kFileAtrTable, row.id);
        if (!st) {
            setError(error, st);
            return deleted;
        }
        ++deleted;
    }
    return deleted;
}

bool TakeRecordFile(jet::Database *db, const jet::Recordset &rs, bool inFolderSearch, browser::BrowserState &state)
{
    if (rs.bof() || rs.eof())
        return false;
    state.CurrentFileName = rs.field(QStringLiteral("fName")).toString();
    const QVariant date = rs.field(QStringLiteral("fDate"));
    state.CurrentFileDate = date.isValid() ? date.toDateTime().toString(QStringLiteral("yyyy-MM-dd")) : QString();
    if (inFolderSearch)
        return true;
    state.CurrentFolder = GetPathName(db, rs.field(QStringLiteral("pnID")).toInt());
    return state.CurrentFolder != kNoPathName;
}

} // namespace tolvane::registration
