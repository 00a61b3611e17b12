// Shared helpers of the engine tests: writable copies of reference files, a view of a file's
// structure through the engine's own units, and a comparison of what the engine reads with what
// jet-check, mdbtools and mdb-reader see in the same file.
#pragma once

#include <algorithm>
#include <optional>
#include <tuple>

#include <QDateTime>
#include <QFile>
#include <QJsonArray>
#include <QJsonObject>

#include "platform/jet/database.h"
#include "platform/jet/internal/catalogue.h"
#include "platform/jet/internal/diskfileaccess.h"
#include "support/oracles.h"

namespace tolvane::test {

inline const QString kSampleFile = QStringLiteral(TOLVANE_SHARED_DIR "/testdata/jackcess-sample.mdb");
inline const QString kLargeFile = QStringLiteral(TOLVANE_SHARED_DIR "/testdata/jackcess-large.mdb");

// A writable copy of source at path.
inline bool copyFile(const QString &source, const QString &path)
{
    QFile::remove(path);
    if (!QFile::copy(source, path))
        return false;
    return QFile::setPermissions(path, QFile::permissions(path) | QFileDevice::WriteOwner);
}

inline QByteArray fileBytes(const QString &path)
{
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

inline QDateTime local(int y, int mo, int d, int h = 0, int mi = 0, int s = 0)
{
    return QDateTime(QDate(y, mo, d), QTime(h, mi, s), Qt::LocalTime);
}

inline QList<jet::Row> scanAll(jet::Database &db, const QString &table)
{
    QList<jet::Row> rows;
    db.scan(table, [&](jet::RowId, const jet::Row &r) {
        rows.append(r);
        return true;
    });
    return rows;
}

// A file as the engine's units read it (its pages, usage maps, table definitions and slots),
// for tests that look below the rows. Read-only; a hot journal is applied in memory only.
class StoredFile {
public:
    explicit StoredFile(const QString &path)
    {
        auto locks = jet::internal::ConnectionLocks::open(m_disk, path, jet::internal::ConnectionLocks::Use::Read);
        if (!locks)
            qFatal("cannot open %s: %s", qPrintable(path), qPrintable(locks.status().toString()));
        m_locks = locks.take();
        auto store = jet::internal::PageStore::open(m_disk, *m_locks, path);
        if (!store)
            qFatal("cannot read %s: %s", qPrintable(path), qPrintable(store.status().toString()));
        m_store = store.take();
        m_maps.emplace(*m_store);
        m_rows.emplace(*m_store, *m_maps);
        auto catalogue = jet::internal::Catalogue::load(*m_store, *m_rows);
        if (!catalogue)
            qFatal("cannot read %s: %s", qPrintable(path), qPrintable(catalogue.status().toString()));
        m_catalogue = catalogue.take();
    }

    const jet::internal::PageStore &store() const { return *m_store; }
    const jet::internal::UsageMaps &maps() const { return *m_maps; }
    // Requires: the table exists.
    const jet::internal::TableDef &def(const QString &table) const { return m_catalogue.find(table)->def; }
    jet::internal::PhysicalStats stats(const QString &table) const { return *m_rows->stats(def(table)); }
    QList<quint32> pages(jet::internal::MapRef map) const { return *m_maps->pages(map); }

private:
    jet::internal::DiskFileAccess m_disk;
    std::unique_ptr<jet::internal::ConnectionLocks> m_locks;
    std::unique_ptr<jet::internal::PageStore> m_store;
    std::optional<jet::internal::UsageMaps> m_maps;
    std::optional<jet::internal::TableRows> m_rows;
    jet::internal::Catalogue m_catalogue;
};

// mdbtools prints a surrogate pair as two question marks.
inline QString asMdbTools(QString s)
{
    for (QChar &c : s)
        if (c.isSurrogate())
            c = u'?';
    return s;
}

// Dates that the oracles print correctly: both misread days before 1900, and mdbtools the
// last day of year 9999.
inline bool oracleDate(const QDateTime &dt)
{
    return dt.date() >= QDate(1900, 1, 1) && dt.date() < QDate(9999, 12, 31);
}

// Empty when every oracle agrees with the engine about the file; otherwise what differs.
// Rows are compared as sorted lists: readers that do not follow overflow pointers list a
// moved row where its data lies.
inline QString oracleMismatch(const QString &path, bool noLeaks = true)
{
    const OracleResult check = jetCheck(path, noLeaks);
    if (!check.ok)
        return QStringLiteral("jet-check: ") + check.output;
    auto opened = jet::Database::open(path, jet::Database::OpenMode::ReadOnly);
    if (!opened)
        return QStringLiteral("engine: ") + opened.status().toString();
    jet::Database &db = **opened;
    if (mdbTables(path) != db.tableNames())
        return QStringLiteral("mdb-tables: %1 / ours %2").arg(mdbTables(path).join(u','), db.tableNames().join(u','));
    const QJsonObject dump = mdbReaderDump(path);
    if (dump.contains(QStringLiteral("error")))
        return QStringLiteral("mdb-reader: ") + dump.value(QStringLiteral("error")).toString();
    QStringList readerNames;
    for (const QJsonValue &v : dump.value(QStringLiteral("tableNames")).toArray())
        readerNames << v.toString();
    if (readerNames != db.tableNames())
        return QStringLiteral("mdb-reader table names: %1").arg(readerNames.join(u','));

    for (const QString &table : db.tableNames()) {
        const jet::TableInfo info = *db.tableInfo(table);
        const QList<jet::Row> rows = scanAll(db, table);
        if (rows.size() != info.rowCount)
            return QStringLiteral("%1: %2 rows scanned, tdef says %3").arg(table).arg(rows.size()).arg(info.rowCount);
        if (mdbCount(path, table) != info.rowCount)
            return QStringLiteral("%1: mdb-count %2, ours %3").arg(table).arg(mdbCount(path, table)).arg(info.rowCount);

        QStringList ours, theirs, oursJs, theirsJs;
        for (const jet::Row &r : rows) {
            QStringList f, j;
            for (int c = 0; c < r.size(); ++c) {
                const QVariant &v = r.at(c);
                const jet::ColumnType type = info.columns.at(c).type;
                if (!v.isValid()) {
                    f << QStringLiteral("<null>");
                    j << QStringLiteral("<null>");
                } else if (type == jet::ColumnType::DateTime) {
                    const QDateTime dt = v.toDateTime();
                    f << (oracleDate(dt) ? dt.toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"))
                                         : QStringLiteral("<old>"));
                    j << (oracleDate(dt) ? dt.toString(QStringLiteral("yyyy-MM-ddTHH:mm:ss"))
                                         : QStringLiteral("<old>"));
                } else if (type == jet::ColumnType::Text) {
                    const QString s = v.toString();
                    f << (s.isEmpty() ? QStringLiteral("<null>") : asMdbTools(s));
                    j << s;
                } else {
                    f << v.toString();
                    j << v.toString();
                }
            }
            ours << f.join(u'\x1f');
            oursJs << j.join(u'\x1f');
        }
        const ExportResult exported = mdbExportResult(path, table);
        if (!exported.ok)
            return QStringLiteral("mdb-export %1: %2").arg(table, exported.error);
        for (const QStringList &e : exported.rows) {
            QStringList f;
            for (int c = 0; c < e.size(); ++c) {
                if (e.at(c).isNull())
                    f << QStringLiteral("<null>");
                else if (info.columns.at(c).type == jet::ColumnType::DateTime
                    && !oracleDate(QDateTime::fromString(e.at(c), QStringLiteral("yyyy-MM-dd HH:mm:ss"))))
                    f << QStringLiteral("<old>");
                else
                    f << e.at(c);
            }
            theirs << f.join(u'\x1f');
        }
        const QJsonObject t = dump.value(QStringLiteral("tables")).toObject().value(table).toObject();
        if (t.value(QStringLiteral("rowCount")).toInt() != info.rowCount)
            return QStringLiteral("%1: mdb-reader rowCount %2")
                .arg(table)
                .arg(t.value(QStringLiteral("rowCount")).toInt());
        for (const QJsonValue &rv : t.value(QStringLiteral("rows")).toArray()) {
            QStringList j;
            const QJsonArray a = rv.toArray();
            for (int c = 0; c < a.size(); ++c) {
                const QJsonValue v = a.at(c);
                if (v.isNull())
                    j << QStringLiteral("<null>");
                else if (info.columns.at(c).type == jet::ColumnType::DateTime)
                    j << (oracleDate(
                              QDateTime::fromString(v.toString().left(19), QStringLiteral("yyyy-MM-ddTHH:mm:ss")))
                            ? v.toString()
                            : QStringLiteral("<old>"));
                else if (v.isDouble())
                    j << QString::number(qint64(v.toDouble()));
                else
                    j << v.toString();
            }
            theirsJs << j.join(u'\x1f');
        }
        for (const auto &[reader, a, b] :
            { std::tuple { "mdb-export", &ours, &theirs }, std::tuple { "mdb-reader", &oursJs, &theirsJs } }) {
            std::sort(a->begin(), a->end());
            std::sort(b->begin(), b->end());
            if (*a == *b)
                continue;
            for (int i = 0; i < std::min(a->size(), b->size()); ++i)
                if (a->at(i) != b->at(i))
                    return QStringLiteral("%1: %2 row differs: ours [%3] theirs [%4]")
                        .arg(table, QLatin1String(reader), a->at(i), b->at(i));
            return QStringLiteral("%1: %2 %3 rows, ours %4")
                .arg(table, QLatin1String(reader))
                .arg(b->size())
                .arg(a->size());
        }
    }
    return {};
}

} // namespace tolvane::test

// Fails the calling test with the first difference when the oracles disagree with the engine.
#define JET_VERIFY_ORACLES(...)                                                                                        \
    do {                                                                                                               \
        const QString jetOracleMismatch = tolvane::test::oracleMismatch(__VA_ARGS__);                                  \
        QVERIFY2(jetOracleMismatch.isEmpty(), qPrintable(jetOracleMismatch));                                          \
    } while (false)
