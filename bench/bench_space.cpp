// Space: a catalogue of ROWS file rows, half of them deleted, then compacted (sizes before and
// after, time); then a re-synchronisation loop on the compacted file (delete 1,000 rows, add
// 1,000, 50 times) with the file's size against its compacted size. Asserts nothing.
//   bench_space [ROWS] [KEEP_DIR]   (KEEP_DIR: keep compacted.mdb, as compaction left it, and
//                                    space.mdb, after the loop, there for other readers)
#include <cstdio>

#include <QCoreApplication>
#include <QDateTime>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include "catalog/schema.h"
#include "platform/jet/database.h"
#include "platform/jet/maintenance.h"

using namespace tolvane;
using namespace tolvane::jet;

namespace {

Row fileRow(int i)
{
    static const QDateTime base(QDate(2015, 1, 1), QTime(8, 0), Qt::LocalTime);
    return { QStringLiteral("朝霧　凪"), QStringLiteral("document_%1_報告書.pdf").arg(i, 7, 10, QLatin1Char('0')),
        base.addSecs(qint64(i) * 3571), QStringLiteral("keyword%1 工事 写真").arg(i % 97), i % 50 + 1, i,
        QStringLiteral("&HFFFFC0") };
}

qint64 sizeOf(const QString &path)
{
    return QFileInfo(path).size();
}

bool fail(const char *what, const Status &s)
{
    std::fprintf(stderr, "%s: %s\n", what, qPrintable(s.toString()));
    return false;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    const int rows = argc > 1 ? QString::fromLocal8Bit(argv[1]).toInt() : 100000;
    QTemporaryDir tmp;
    const QString dir = argc > 2 ? QString::fromLocal8Bit(argv[2]) : tmp.path();
    const QString path = dir + QStringLiteral("/space.mdb");
    QFile::remove(path);
    if (Status s = Database::create(path, catalog::catalogTables()); !s)
        return fail("create", s), 1;
    const QString table = QStringLiteral("FILE_ATR");
    {
        auto db = Database::open(path);
        if (!db)
            return fail("open", db.status()), 1;
        (*db)->beginTransaction();
        for (int i = 0; i < rows; ++i)
            if (auto id = (*db)->insertRow(table, fileRow(i)); !id)
                return fail("insert", id.status()), 1;
        if (Status s = (*db)->commit(); !s)
            return fail("commit", s), 1;
        const qint64 full = sizeOf(path);
        QList<RowId> ids;
        (*db)->scan(table, [&](RowId id, const Row &) {
            ids.append(id);
            return true;
        });
        (*db)->beginTransaction();
        for (int i = 0; i < ids.size(); i += 2)
            (*db)->deleteRow(table, ids.at(i));
        if (Status s = (*db)->commit(); !s)
            return fail("commit", s), 1;
        std::printf("%d rows: %lld bytes; half deleted: %lld bytes\n", rows, full, sizeOf(path));
    }
    QElapsedTimer t;
    t.start();
    Result<CompactionReport> r = compactDatabase(path);
    if (!r)
        return fail("compact", r.status()), 1;
    const qint64 compacted = r->sizeAfter;
    std::printf("compacted in %.2f s: %lld -> %lld bytes (%.3f of the full file's half)\n", double(t.elapsed()) / 1000,
        r->sizeBefore, compacted, double(compacted) / double(r->sizeBefore));

    if (argc > 2) {
        QFile::remove(dir + QStringLiteral("/compacted.mdb"));
        QFile::copy(path, dir + QStringLiteral("/compacted.mdb"));
    }

    // Re-synchronisation: the oldest 1,000 rows go, 1,000 new ones come, in one transaction each.
    auto db = Database::open(path);
    if (!db)
        return fail("open", db.status()), 1;
    int next = rows;
    qint64 largest = 0;
    for (int round = 1; round <= 50; ++round) {
        QList<RowId> ids;
        (*db)->scan(table, [&](RowId id, const Row &) {
            ids.append(id);
            return ids.size() < 1000;
        });
        (*db)->beginTransaction();
        for (const RowId &id : ids)
            (*db)->deleteRow(table, id);
        for (int i = 0; i < 1000; ++i)
            (*db)->insertRow(table, fileRow(next++));
        if (Status s = (*db)->commit(); !s)
            return fail("commit", s), 1;
        largest = std::max(largest, sizeOf(path));
        if (round % 10 == 0)
            std::printf("round %d: %lld bytes, %.3f x compacted\n", round, sizeOf(path),
                double(sizeOf(path)) / double(compacted));
    }
    std::printf("largest during the loop: %.3f x compacted\n", double(largest) / double(compacted));
    return 0;
}
