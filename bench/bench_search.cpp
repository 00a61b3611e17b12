// Times each catalogue search over a generated 100,000-file catalogue, beside mdb-export of
// FILE_ATR (a full read of the table by an independent reader) as the yardstick.
// Usage: bench_search [rows] [work-folder]. Prints times and ratios; asserts nothing.
#include <cstdio>
#include <functional>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>

#include "catalog/schema.h"
#include "platform/jet/database.h"
#include "search/catalogqueries.h"
#include "search/classnarrowing.h"

using namespace tolvane;

namespace {

void say(const QString &line)
{
    std::printf("%s\n", line.toUtf8().constData());
    std::fflush(stdout);
}

const QStringList kClasses { QStringLiteral(u"朝霧\u3000凪"), QStringLiteral(u"水無瀬\u3000灯"),
    QStringLiteral(u"霜月\u3000柊") };

Status build(const QString &path, int rows)
{
    Status st = jet::Database::create(path, catalog::catalogTables());
    if (!st)
        return st;
    auto opened = jet::Database::open(path);
    if (!opened)
        return opened.status();
    jet::Database &db = *opened.value();
    if (!(st = db.beginTransaction()))
        return st;
    auto insert = [&](const QString &table, const jet::Row &row) {
        auto id = db.insertRow(table, row);
        return id ? Status::ok() : id.status();
    };
    if (!(st = insert(catalog::kIdNoTable, { 100, 0, rows, 0, 0, 0, 0 }))
        || !(st = insert(catalog::kDbidTable, { 11 })))
        return st;
    const QStringList colours { QStringLiteral("&HFFFFC0"), QStringLiteral("&HC0FFFF"), QStringLiteral("&HFFC0C0") };
    for (int i = 0; i < 3; ++i)
        if (!(st = insert(catalog::kClassNTable, { kClasses[i], colours[i], i + 1 })))
            return st;
    for (int f = 1; f <= 100; ++f)
        if (!(st = insert(catalog::kPathNameTable, { f, QStringLiteral("C:\\data\\folder%1").arg(f) })))
            return st;
    const QDate first(2000, 1, 1);
    for (int i = 0; i < rows; ++i) {
        const jet::Row row { kClasses[i % 3], QStringLiteral("file%1.pdf").arg(i),
            QDateTime(first.addDays((i * 7) % 7300), QTime(0, 0)), QStringLiteral(u"kw%1 図面").arg(i % 1000),
            1 + i % 100, i + 1, colours[i % 3] };
        if (!(st = insert(catalog::kFileAtrTable, row)))
            return st;
    }
    return db.commit();
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    const int rows = args.size() > 1 ? args.at(1).toInt() : 100000;
    QTemporaryDir tmp;
    const QString dir = args.size() > 2 ? args.at(2) : tmp.path();
    const QString path = dir + QStringLiteral("/bench_search.mdb");
    QFile::remove(path);

    QElapsedTimer timer;
    timer.start();
    if (Status st = build(path, rows); !st) {
        say(QStringLiteral("build failed: ") + st.toString());
        return 1;
    }
    say(QStringLiteral("built %1 rows in %2 ms (one transaction)").arg(rows).arg(timer.elapsed()));

    // Yardstick: an independent reader exporting the whole table.
    timer.restart();
    QProcess exporter;
    exporter.start(QStringLiteral("mdb-export"), { path, QStringLiteral("FILE_ATR") });
    exporter.waitForFinished(-1);
    const qint64 exportMs = timer.elapsed();
    const int exportedLines = int(exporter.readAllStandardOutput().count('\n')) - 1;
    if (exporter.exitCode() != 0 || exporter.error() == QProcess::FailedToStart)
        say(QStringLiteral("mdb-export failed"));
    else
        say(QStringLiteral("mdb-export FILE_ATR: %1 rows in %2 ms").arg(exportedLines).arg(exportMs));

    auto opened = jet::Database::open(path, jet::Database::OpenMode::ReadOnly);
    if (!opened) {
        say(QStringLiteral("open failed: ") + opened.status().toString());
        return 1;
    }
    jet::Database &db = *opened.value();

    struct Case {
        QString name;
        std::function<Result<bool>(search::RecordsetSlot &)> run;
    };
    const QList<Case> cases {
        { QStringLiteral("folder pnID=17"), [&](auto &s) { return search::QueryByFolder(db, s, 17); } },
        { QStringLiteral("file name exact"),
            [&](auto &s) { return search::QueryByFileName(db, s, QStringLiteral("file50000.pdf")); } },
        { QStringLiteral("file name file5%"),
            [&](auto &s) { return search::QueryByFileName(db, s, QStringLiteral("file5%")); } },
        { QStringLiteral("class"), [&](auto &s) { return search::QueryByClass(db, s, kClasses[1]); } },
        { QStringLiteral("period one year"),
            [&](auto &s) {
                return search::QueryByPeriod(db, s, QStringLiteral("2005/01/01"), QStringLiteral("2005/12/31"));
            } },
        { QStringLiteral("keyword exact"),
            [&](auto &s) { return search::QueryByKeyword(db, s, QStringLiteral(u"kw123 図面")); } },
        { QStringLiteral("keyword %12%"),
            [&](auto &s) { return search::QueryByKeyword(db, s, QStringLiteral("%12%")); } },
        { QStringLiteral("keyword % (all)"),
            [&](auto &s) { return search::QueryByKeyword(db, s, QStringLiteral("%")); } },
    };
    say(QStringLiteral("%1 %2 %3 %4")
            .arg(QStringLiteral("search"), -22)
            .arg(QStringLiteral("rows"), 8)
            .arg(QStringLiteral("ms"), 8)
            .arg(QStringLiteral("x export"), 9));
    for (const Case &c : cases) {
        search::RecordsetSlot set;
        timer.restart();
        const auto found = c.run(set);
        const qint64 ms = timer.elapsed();
        if (!found) {
            say(c.name + QStringLiteral(": failed: ") + found.status().toString());
            continue;
        }
        const double ratio = exportMs > 0 ? double(ms) / double(exportMs) : 0.0;
        say(QStringLiteral("%1 %2 %3 %4").arg(c.name, -22).arg(set->recordCount(), 8).arg(ms, 8).arg(ratio, 9, 'f', 2));
    }

    // Narrowing filters the open result in memory.
    search::RecordsetSlot all;
    if (search::QueryByKeyword(db, all, QStringLiteral("%"))) {
        timer.restart();
        search::NarrowByClass(all.get(), kClasses[2]);
        say(QStringLiteral("%1 %2 %3")
                .arg(QStringLiteral("narrow by class"), -22)
                .arg(all->recordCount(), 8)
                .arg(timer.elapsed(), 8));
    }
    return 0;
}
