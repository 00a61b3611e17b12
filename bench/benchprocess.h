// Whole-process timing for the benches: runs a command with its output sent to /dev/null and
// reports the wall time, the CPU time (user + system) and the peak resident memory (wait4), medians over runs taken in
// turn with a peer command, and a catalogue generator. Linux only, like the peers it compares with.
#pragma once

#include <algorithm>
#include <cstdio>
#include <fcntl.h>
#include <functional>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QByteArray>
#include <QElapsedTimer>
#include <QFile>
#include <QList>
#include <QStringList>

#include "catalog/schema.h"
#include "platform/jet/database.h"

namespace bench {

struct Run {
    double ms = 0;
    double cpuMs = 0; // user + system time of the process
    long peakKb = 0;
    int exitCode = -1;
};

inline Run runProcess(const QStringList &argv)
{
    QList<QByteArray> bytes;
    for (const QString &a : argv)
        bytes.append(QFile::encodeName(a));
    QList<char *> args;
    for (QByteArray &b : bytes)
        args.append(b.data());
    args.append(nullptr);
    QElapsedTimer t;
    t.start();
    const pid_t pid = fork();
    if (pid == 0) {
        const int null = open("/dev/null", O_WRONLY);
        dup2(null, 1);
        dup2(null, 2);
        execvp(args[0], args.data());
        _exit(127);
    }
    Run r;
    int status = 0;
    struct rusage usage { };
    if (pid < 0 || wait4(pid, &status, 0, &usage) < 0)
        return r;
    r.ms = double(t.nsecsElapsed()) / 1e6;
    r.cpuMs = double(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) * 1e3
        + double(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e3;
    r.peakKb = usage.ru_maxrss;
    r.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return r;
}

inline double median(QList<double> v)
{
    if (v.isEmpty())
        return 0;
    std::sort(v.begin(), v.end());
    return v.size() % 2 ? v.at(v.size() / 2) : (v.at(v.size() / 2 - 1) + v.at(v.size() / 2)) / 2;
}

struct Pair {
    double ours = 0; // median ms
    double peer = 0;
    double oursCpu = 0; // median CPU ms
    double peerCpu = 0;
    long peakKb = 0; // largest of ours
    bool failed = false;
};

// Runs ours and the peer `runs` times each, in turn; before each run of ours, prepare (when
// given) puts its input in place, untimed.
inline Pair compare(const QStringList &ours, const QStringList &peer, int runs,
    const std::function<void()> &prepare = {}, int expectedExit = 0)
{
    QList<double> a, b, aCpu, bCpu;
    Pair p;
    for (int i = 0; i < runs; ++i) {
        if (prepare)
            prepare();
        const Run r = runProcess(ours);
        if (r.exitCode != expectedExit)
            p.failed = true;
        a.append(r.ms);
        aCpu.append(r.cpuMs);
        p.peakKb = std::max(p.peakKb, r.peakKb);
        const Run q = runProcess(peer);
        b.append(q.ms);
        bCpu.append(q.cpuMs);
    }
    p.ours = median(a);
    p.peer = median(b);
    p.oursCpu = median(aCpu);
    p.peerCpu = median(bCpu);
    return p;
}

inline void say(const QString &line)
{
    std::printf("%s\n", line.toUtf8().constData());
    std::fflush(stdout);
}

inline const QStringList &classNames()
{
    static const QStringList names { QStringLiteral(u"朝霧\u3000凪"), QStringLiteral(u"水無瀬\u3000灯"),
        QStringLiteral(u"霜月\u3000柊") };
    return names;
}

// A catalogue of `rows` files in 100 folders ("C:\data\folderN"), three classes in turn, a day
// every week over twenty years, keywords "kwN 図面" (N = row mod 1000).
inline tolvane::Status buildCatalogue(const QString &path, int rows)
{
    using namespace tolvane;
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
        if (!(st = insert(catalog::kClassNTable, { classNames()[i], colours[i], i + 1 })))
            return st;
    for (int f = 1; f <= 100; ++f)
        if (!(st = insert(catalog::kPathNameTable, { f, QStringLiteral("C:\\data\\folder%1").arg(f) })))
            return st;
    const QDate first(2000, 1, 1);
    for (int i = 0; i < rows; ++i) {
        const jet::Row row { classNames()[i % 3], QStringLiteral("file%1.pdf").arg(i), first.addDays((i * 7) % 7300),
            QStringLiteral(u"kw%1 図面").arg(i % 1000), 1 + i % 100, i + 1, colours[i % 3] };
        if (!(st = insert(catalog::kFileAtrTable, row)))
            return st;
    }
    return db.commit();
}

} // namespace bench
