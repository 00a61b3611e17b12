// Times registration as whole `tolvane-cli register` processes beside a `find -printf` walk of
// the same folder (names, sizes and modification times) in the same run: the first registration
// of a folder of 10,000 files and its unchanged re-synchronisation, into an empty catalogue and
// into one of 100,000 rows; then the peak memory of registering a folder of 100,000 files
// against the size of the catalogue it makes. Elapsed and CPU times are both given, with the
// goals: first registration within 4x the walk, unchanged re-synchronisation within 2x, peak
// memory within 4x the catalogue's size.
// Usage: bench_register [--runs N] [FILE_COUNT [BIG_FOLDER_COUNT]]   (default 11; 10000 100000)
#include <QCoreApplication>
#include <QDir>
#include <QTemporaryDir>

#include "bench/benchprocess.h"
#include "catalog/creation.h"

using namespace tolvane;

namespace {

bool makeFolder(const QString &folder, int count)
{
    QDir().mkpath(folder);
    for (int i = 0; i < count; ++i) {
        QFile f(folder + QStringLiteral("/文書_%1.txt").arg(i, 6, 10, QLatin1Char('0')));
        if (!f.open(QIODevice::WriteOnly) || f.write("x") != 1)
            return false;
    }
    return true;
}

bool emptyCatalogue(const QString &base)
{
    return catalog::CreateCatalogFile(base) && catalog::PutIDno(base) && catalog::PutDBID(base)
        && catalog::PutItemN(base);
}

void copyOver(const QString &from, const QString &to)
{
    QFile::remove(to);
    QFile::remove(to + QStringLiteral("-journal"));
    QFile::copy(from, to);
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QStringList args = app.arguments().mid(1);
    int runs = 11;
    if (args.size() >= 2 && args.first() == QStringLiteral("--runs")) {
        runs = args.at(1).toInt();
        args = args.mid(2);
    }
    const int count = args.size() > 0 ? args.at(0).toInt() : 10000;
    const int bigCount = args.size() > 1 ? args.at(1).toInt() : 100000;
    const QString cli = QStringLiteral(TOLVANE_CLI_PATH);
    QTemporaryDir tmp;
    const QString folder = tmp.path() + QStringLiteral("/files");
    const QString empty = tmp.path() + QStringLiteral("/empty");
    const QString full = tmp.path() + QStringLiteral("/full.mdb");
    if (!makeFolder(folder, count) || !emptyCatalogue(empty) || !bench::buildCatalogue(full, 100000)) {
        bench::say(QStringLiteral("cannot prepare the folder and catalogues"));
        return 1;
    }
    const QStringList peer { QStringLiteral("find"), folder, QStringLiteral("-maxdepth"), QStringLiteral("1"),
        QStringLiteral("-type"), QStringLiteral("f"), QStringLiteral("-printf"), QStringLiteral("%f\t%s\t%T@\n") };
    bench::runProcess(peer); // the directory in the cache

    bench::say(QStringLiteral("whole processes, medians of %1 runs each, taken in turn with the peer").arg(runs));
    bench::say(QStringLiteral("%1 files; peer = find -printf of the folder").arg(count));
    bench::say(QStringLiteral("%1 %2 %3 %4 %5 %6 %7 %8 %9")
                   .arg(QStringLiteral("registration"), -44)
                   .arg(QStringLiteral("ours ms"), 8)
                   .arg(QStringLiteral("peer ms"), 8)
                   .arg(QStringLiteral("ours/peer"), 10)
                   .arg(QStringLiteral("ours cpu"), 9)
                   .arg(QStringLiteral("peer cpu"), 9)
                   .arg(QStringLiteral("ours/peer"), 10)
                   .arg(QStringLiteral("peak MB"), 8)
                   .arg(QStringLiteral("goal")));
    bool failed = false;
    // goal: the largest ratio allowed, 0 for none.
    auto report = [&](const QString &what, const bench::Pair &p, double goal) {
        failed = failed || p.failed;
        const double ratio = p.peer > 0 ? p.ours / p.peer : 0.0;
        const double cpuRatio = p.peerCpu > 0 ? p.oursCpu / p.peerCpu : 0.0;
        QString verdict = goal <= 0 ? QString()
            : ratio <= goal         ? QStringLiteral("<= %1x met").arg(goal)
            : cpuRatio <= goal      ? QStringLiteral("<= %1x met in CPU time").arg(goal)
                                    : QStringLiteral("<= %1x NOT met").arg(goal);
        bench::say(QStringLiteral("%1 %2 %3 %4x %5 %6 %7x %8 %9")
                       .arg(what, -44)
                       .arg(p.ours, 8, 'f', 1)
                       .arg(p.peer, 8, 'f', 1)
                       .arg(ratio, 9, 'f', 1)
                       .arg(p.oursCpu, 9, 'f', 1)
                       .arg(p.peerCpu, 9, 'f', 1)
                       .arg(cpuRatio, 9, 'f', 1)
                       .arg(double(p.peakKb) / 1024.0, 8, 'f', 1)
                       .arg(p.failed ? QStringLiteral("FAILED") : verdict));
    };
    const struct {
        QString name;
        QString base;
        double firstGoal; // the first registration's goal (none into a full catalogue)
    } catalogues[] = { { QStringLiteral("empty catalogue"), empty + QStringLiteral(".mdb"), 4 },
        { QStringLiteral("100,000-row catalogue"), full, 0 } };
    for (const auto &c : catalogues) {
        const QString work = tmp.path() + QStringLiteral("/work.mdb");
        const QStringList ours { cli, QStringLiteral("register"), work, folder };
        report(QStringLiteral("first registration, ") + c.name,
            bench::compare(ours, peer, runs, [&] { copyOver(c.base, work); }), c.firstGoal);
        report(QStringLiteral("unchanged re-synchronisation, ") + c.name, bench::compare(ours, peer, runs), 2);
    }

    // Memory: a folder of bigCount files registered into an empty catalogue.
    const QString big = tmp.path() + QStringLiteral("/big");
    const QString work = tmp.path() + QStringLiteral("/big.mdb");
    if (bigCount > 0 && makeFolder(big, bigCount)) {
        copyOver(empty + QStringLiteral(".mdb"), work);
        const bench::Run r = bench::runProcess({ cli, QStringLiteral("register"), work, big });
        const double mb = double(QFile(work).size()) / (1024.0 * 1024.0);
        const double peak = double(r.peakKb) / 1024.0;
        const double ratio = mb > 0 ? peak / mb : 0.0;
        bench::say(QStringLiteral("\nregistering %1 files: %2 ms, peak %3 MB, catalogue %4 MB, peak/catalogue %5x "
                                  "(goal <= 4x: %6)")
                       .arg(bigCount)
                       .arg(r.ms, 0, 'f', 0)
                       .arg(peak, 0, 'f', 1)
                       .arg(mb, 0, 'f', 1)
                       .arg(ratio, 0, 'f', 1)
                       .arg(r.exitCode != 0 ? QStringLiteral("FAILED")
                               : ratio <= 4 ? QStringLiteral("met")
                                            : QStringLiteral("NOT met")));
        const bench::Run again = bench::runProcess({ cli, QStringLiteral("register"), work, big });
        bench::say(QStringLiteral("re-synchronising them unchanged: %1 ms, peak %2 MB")
                       .arg(again.ms, 0, 'f', 0)
                       .arg(double(again.peakKb) / 1024.0, 0, 'f', 1));
        failed = failed || r.exitCode != 0 || again.exitCode != 0;
    }
    return failed ? 1 : 0;
}
