// Engine speed: 100,000 rows shaped like the file-attribute table inserted in one transaction,
// then scanned and filtered, and the same table exported by mdbtools for comparison.
// Prints times and ratios; asserts nothing.
//   bench_jet [ROWS]
#include <cstdio>

#include <QCoreApplication>
#include <QDateTime>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>

#include "platform/jet/database.h"
#include "platform/jet/recordset.h"

using namespace tolvane;
using namespace tolvane::jet;

namespace {

double seconds(QElapsedTimer &t)
{
    const double s = double(t.nsecsElapsed()) / 1e9;
    t.restart();
    return s;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    const int rows = argc > 1 ? QString::fromLocal8Bit(argv[1]).toInt() : 100000;
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("bench.mdb"));
    const QList<TableSpec> tables { { QStringLiteral("FILE_ATR"),
        { { QStringLiteral("Class"), ColumnType::Text, 60 }, { QStringLiteral("fName"), ColumnType::Text, 120 },
            { QStringLiteral("fDate"), ColumnType::DateTime, 0 }, { QStringLiteral("kStr"), ColumnType::Text, 200 },
            { QStringLiteral("pnID"), ColumnType::Long, 0 }, { QStringLiteral("hsID"), ColumnType::Long, 0 },
            { QStringLiteral("backC"), ColumnType::Text, 20 } } } };
    if (Status s = Database::create(path, tables); !s) {
        std::fprintf(stderr, "create: %s\n", qPrintable(s.toString()));
        return 1;
    }
    auto db = Database::open(path);
    if (!db) {
        std::fprintf(stderr, "open: %s\n", qPrintable(db.status().toString()));
        return 1;
    }
    const QStringList classes { QStringLiteral("朝霧　凪"), QStringLiteral("水無瀬　灯"), QStringLiteral("霜月　柊") };
    const QDateTime base(QDate(2015, 1, 1), QTime(8, 0), Qt::LocalTime);

    QElapsedTimer t;
    t.start();
    (*db)->beginTransaction();
    for (int i = 0; i < rows; ++i) {
        const Row r { classes.at(i % 3), QStringLiteral("document_%1_報告書.pdf").arg(i, 6, 10, QLatin1Char('0')),
            base.addSecs(qint64(i) * 3571),
            QStringLiteral("keyword%1 工事 写真 %2").arg(i % 97).arg(i % 13 == 0 ? QStringLiteral("x-ray") : QString()),
            1 + i / 500, i + 1, QStringLiteral("&HFFFFC0") };
        if (Result<RowId> id = (*db)->insertRow(QStringLiteral("FILE_ATR"), r); !id) {
            std::fprintf(stderr, "insert: %s\n", qPrintable(id.status().toString()));
            return 1;
        }
    }
    const double insertTime = seconds(t);
    if (Status s = (*db)->commit(); !s) {
        std::fprintf(stderr, "commit: %s\n", qPrintable(s.toString()));
        return 1;
    }
    const double commitTime = seconds(t);
    const qint64 size = QFileInfo(path).size();

    auto reopened = Database::open(path);
    const double openTime = seconds(t);
    qint64 scanned = 0;
    (*reopened)->scan(QStringLiteral("FILE_ATR"), [&](RowId, const Row &) {
        ++scanned;
        return true;
    });
    const double scanTime = seconds(t);
    auto like = (*reopened)->select(
        Query(QStringLiteral("FILE_ATR")).where(Condition::like(QStringLiteral("kStr"), QStringLiteral("%x%"))));
    const double likeTime = seconds(t);
    auto range = (*reopened)->select(
        Query(QStringLiteral("FILE_ATR"))
            .where(Condition::between(QStringLiteral("fDate"), base.addDays(100), base.addDays(400)))
            .order(QStringLiteral("fDate")));
    const double rangeTime = seconds(t);

    QProcess mdb;
    mdb.start(QStringLiteral("mdb-export"), { path, QStringLiteral("FILE_ATR") });
    double mdbTime = -1;
    qint64 mdbLines = -1;
    if (mdb.waitForStarted()) {
        QByteArray out;
        while (mdb.state() != QProcess::NotRunning) {
            mdb.waitForReadyRead(1000);
            out += mdb.readAllStandardOutput();
        }
        out += mdb.readAllStandardOutput();
        mdbTime = seconds(t);
        mdbLines = out.count('\n') - 1;
    }

    std::printf("rows                      %d (file %.1f MB)\n", rows, double(size) / 1e6);
    std::printf("insert, one transaction   %8.3f s  (%.0f rows/s)\n", insertTime, rows / insertTime);
    std::printf("commit                    %8.3f s\n", commitTime);
    std::printf("open                      %8.3f s\n", openTime);
    std::printf("scan                      %8.3f s  (%lld rows)\n", scanTime, scanned);
    std::printf("select Like '%%x%%'         %8.3f s  (%d rows)\n", likeTime, like ? (*like)->recordCount() : -1);
    std::printf("select date range, sorted %8.3f s  (%d rows)\n", rangeTime, range ? (*range)->recordCount() : -1);
    if (mdbTime >= 0) {
        std::printf("mdb-export                %8.3f s  (%lld rows)\n", mdbTime, mdbLines);
        std::printf("ratio scan / mdb-export   %8.2f\n", scanTime / mdbTime);
        std::printf("ratio Like / mdb-export   %8.2f\n", likeTime / mdbTime);
    } else {
        std::printf("mdb-export                not available\n");
    }
    return 0;
}
