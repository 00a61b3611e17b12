// Registers a generated folder of many files into a new catalogue, then synchronises it
// unchanged, and prints both times beside a bare directory walk with stat of the same folder.
// Usage: bench_register [FILE_COUNT] (default 10000).
#include <cstdio>

#include <QCoreApplication>
#include <QDir>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include "browser/filelist.h"
#include "catalog/creation.h"
#include "platform/jet/database.h"
#include "registration/bulkregistration.h"

using namespace tolvane;

namespace {

class YesPrompter : public Prompter {
public:
    QString last;
    Answer message(const Message &m) override
    {
        if (m.buttons == Buttons::YesNo)
            return Answer::Yes;
        last = m.text;
        return Answer::Ok;
    }
    QString openFile(const QString &, const QString &, const QString &) override { return {}; }
    QString saveFile(const QString &, const QString &, const QString &) override { return {}; }
    QString folder(const QString &, const QString &) override { return {}; }
    QColor color(const QString &, const QColor &, const QList<QColor> &) override { return {}; }
    QString text(const QString &, const QString &, const QString &, bool *ok) override
    {
        *ok = false;
        return {};
    }
    int number(const QString &, const QString &, int i, int, int, bool *ok) override
    {
        *ok = false;
        return i;
    }
};

double walkWithStat(const QString &folder, qint64 *sum)
{
    QElapsedTimer t;
    t.start();
    QDirIterator it(folder, QDir::Files);
    while (it.hasNext()) {
        it.next();
        const QFileInfo fi = it.fileInfo();
        *sum += fi.size() + fi.lastModified().toSecsSinceEpoch() % 7;
    }
    return double(t.nsecsElapsed()) / 1e6;
}

void print(const char *what, double ms, double base)
{
    std::printf("%-28s %10.1f ms   x%.1f of the walk\n", what, ms, base > 0 ? ms / base : 0.0);
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    const int count = argc > 1 ? QString::fromLocal8Bit(argv[1]).toInt() : 10000;
    QTemporaryDir tmp;
    const QString folder = tmp.path() + QStringLiteral("/files");
    QDir().mkpath(folder);
    for (int i = 0; i < count; ++i) {
        QFile f(folder + QStringLiteral("/文書_%1.txt").arg(i, 6, 10, QLatin1Char('0')));
        if (!f.open(QIODevice::WriteOnly) || f.write("x") != 1)
            return 1;
    }
    const QString base = tmp.path() + QStringLiteral("/bench");
    if (!catalog::CreateCatalogFile(base) || !catalog::PutIDno(base) || !catalog::PutDBID(base)
        || !catalog::PutItemN(base)) {
        std::fprintf(stderr, "cannot create the catalogue\n");
        return 1;
    }
    auto db = jet::Database::open(base + QStringLiteral(".mdb"));
    if (!db) {
        std::fprintf(stderr, "%s\n", qPrintable(db.status().toString()));
        return 1;
    }

    qint64 sum = 0;
    walkWithStat(folder, &sum); // warm the directory cache
    const double walk = walkWithStat(folder, &sum);

    QElapsedTimer t;
    t.start();
    browser::FileListModel fr;
    browser::ListFolderFiles(fr, folder);
    const double list = double(t.nsecsElapsed()) / 1e6;

    YesPrompter prompter;
    jet::Database &catalogue = **db;
    t.restart();
    auto first = registration::RegisterShownFolder(catalogue, prompter, folder, fr.names());
    const double reg = double(t.nsecsElapsed()) / 1e6;
    const QString firstMsg = prompter.last;
    t.restart();
    auto again = registration::RegisterShownFolder(catalogue, prompter, folder, fr.names());
    const double sync = double(t.nsecsElapsed()) / 1e6;

    std::printf("files: %d\n", count);
    print("directory walk with stat", walk, walk);
    print("file list (fr)", list, walk);
    print("first registration", reg, walk);
    print("unchanged resynchronisation", sync, walk);
    std::printf("messages: %s / %s\n", firstMsg.toUtf8().constData(), prompter.last.toUtf8().constData());
    const bool ok = first.kind == registration::RegistrationOutcome::Kind::Registered && first.added == count
        && again.kind == registration::RegistrationOutcome::Kind::Synchronised && again.added == 0
        && again.deleted == 0;
    return ok ? 0 : 1;
}
