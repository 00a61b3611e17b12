// Helper of the transaction tests: a second process, killed by the test.
// Usage: jetkillhelper FILE ROWS_PER_TRANSACTION
//   Writes transactions into a catalogue until it is killed. Each transaction inserts ROWS rows
//   carrying its sequence number (one more than the largest already stored) and makes one
//   earlier row grow, so that it moves. After each commit it prints "committed <seq>".
// Usage: jetkillhelper --lock FILE
//   Locks bytes 0-99 of FILE exclusively and 100-199 shared, prints "locked" and waits.
// Usage: jetkillhelper --open FILE
//   Opens FILE as a read-only connection, prints "open" and waits; exits 1 with the reason on
//   standard error when it cannot.
#include <cstdio>

#include <QCoreApplication>
#include <QDateTime>
#include <QRandomGenerator>
#include <QThread>

#include "platform/jet/database.h"
#include "platform/jet/internal/diskfileaccess.h"

using namespace tolvane;
using namespace tolvane::jet;

namespace {

int holdLocks(const QString &path)
{
    internal::DiskFileAccess disk;
    auto file = disk.open(path, internal::FileAccess::OpenMode::ReadWrite);
    if (!file)
        return 1;
    Result<bool> exclusive = (*file)->tryLock(internal::File::LockKind::Exclusive, 0, 100);
    Result<bool> shared = (*file)->tryLock(internal::File::LockKind::Shared, 100, 100);
    if (!exclusive || !*exclusive || !shared || !*shared)
        return 1;
    std::printf("locked\n");
    std::fflush(stdout);
    for (;;)
        QThread::sleep(60);
}

int holdConnection(const QString &path)
{
    auto db = Database::open(path, Database::OpenMode::ReadOnly);
    if (!db) {
        std::fprintf(stderr, "%s\n", db.status().toString().toUtf8().constData());
        return 1;
    }
    std::printf("open\n");
    std::fflush(stdout);
    for (;;)
        QThread::sleep(60);
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    if (argc < 3)
        return 2;
    if (QString::fromLocal8Bit(argv[1]) == u"--lock")
        return holdLocks(QString::fromLocal8Bit(argv[2]));
    if (QString::fromLocal8Bit(argv[1]) == u"--open")
        return holdConnection(QString::fromLocal8Bit(argv[2]));
    const QString path = QString::fromLocal8Bit(argv[1]);
    const int perTxn = QString::fromLocal8Bit(argv[2]).toInt();
    auto db = Database::open(path);
    if (!db) {
        std::fprintf(stderr, "%s\n", qPrintable(db.status().toString()));
        return 1;
    }
    int seq = 0;
    QList<RowId> ids;
    (*db)->scan(QStringLiteral("Log"), [&](RowId id, const Row &r) {
        seq = std::max(seq, r.at(0).toInt());
        ids.append(id);
        return true;
    });
    QRandomGenerator rng(quint32(QDateTime::currentMSecsSinceEpoch()));
    for (;;) {
        ++seq;
        if (!(*db)->beginTransaction())
            return 1;
        QDateTime now = QDateTime::currentDateTime();
        now.setTime(QTime(now.time().hour(), now.time().minute(), now.time().second()));
        for (int i = 0; i < perTxn; ++i) {
            const QString label = QStringLiteral("txn %1 row %2 ").arg(seq).arg(i).repeated(1 + int(rng.bounded(4)));
            Result<RowId> id = (*db)->insertRow(QStringLiteral("Log"), Row { seq, i, label.left(120), now });
            if (!id) {
                std::fprintf(stderr, "%s\n", qPrintable(id.status().toString()));
                return 1;
            }
            ids.append(*id);
        }
        const RowId grow = ids.at(int(rng.bounded(quint32(ids.size()))));
        Result<Row> row = (*db)->readRow(QStringLiteral("Log"), grow);
        if (row) {
            Row r = *row;
            r[2] = QString(120, QChar(u'伸'));
            (*db)->updateRow(QStringLiteral("Log"), grow, r);
        }
        if (Status s = (*db)->commit(); !s) {
            std::fprintf(stderr, "%s\n", qPrintable(s.toString()));
            return 1;
        }
        std::printf("committed %d\n", seq);
        std::fflush(stdout);
    }
}
