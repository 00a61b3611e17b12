// Makes the README's pictures: the main window offscreen at start-up, with a catalogue
// open, showing the files of a folder, reordering binders, a binder's files, and a filed
// record being stepped through, saved as PNG files. Usage: tolvane-screenshots <output folder>
#include <QApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTextStream>
#include <QTreeWidget>

#include "binders/ui/bindercontroller.h"
#include "catalog/creation.h"
#include "catalog/schema.h"
#include "platform/jet/database.h"
#include "search/ui/searchcontroller.h"
#include "shell/ui/form1.h"
#include "shell/ui/japaneseinterface.h"

namespace {

// Answers the open dialog with one fixed file and cancels everything else.
class FixedPrompter : public tolvane::Prompter {
public:
    FixedPrompter(QString file, QString folder)
        : m_file(std::move(file))
        , m_folder(std::move(folder))
    {
    }
    Answer message(const Message &) override { return Answer::Ok; }
    QString openFile(const QString &, const QString &, const QString &) override { return m_file; }
    QString saveFile(const QString &, const QString &, const QString &) override { return {}; }
    QString folder(const QString &, const QString &) override { return m_folder; }
    QColor color(const QString &, const QColor &, const QList<QColor> &) override { return {}; }
    QString text(const QString &, const QString &, const QString &, bool *ok) override
    {
        *ok = false;
        return {};
    }
    int number(const QString &, const QString &, int initial, int, int, bool *ok) override
    {
        *ok = false;
        return initial;
    }

private:
    QString m_file;
    QString m_folder;
};

bool save(QWidget &w, const QDir &out, const char *name)
{
    QCoreApplication::processEvents();
    const QString path = out.filePath(QString::fromLatin1(name));
    const bool ok = w.grab().save(path);
    QTextStream(stdout) << (ok ? "wrote " : "FAILED ") << path << '\n';
    return ok;
}

// The folder's files registered, and three binders, the first holding all of them.
bool fillCatalogue(const QString &path, const QString &folder, const QStringList &files)
{
    auto db = tolvane::jet::Database::open(path);
    if (!db)
        return false;
    using namespace tolvane::catalog;
    bool ok = (*db)->insertRow(kPathNameTable, { 1, QDir::toNativeSeparators(folder) }).isOk();
    const QDateTime day(QDate(2024, 4, 1), QTime(0, 0));
    int docNo = 0;
    for (const QString &file : files) {
        ok = ok
            && (*db)->insertRow(kFileAtrTable, { QString(), file, day, QStringLiteral("会議"), 1, 0, QString() }).isOk()
            && (*db)->insertRow(kBinderTable, { 1, file, 1, ++docNo }).isOk();
    }
    const QStringList binders { QStringLiteral("2024年度 会議"), QStringLiteral("見積・契約"), QStringLiteral("図面") };
    for (int i = 0; i < binders.size(); ++i)
        ok = ok && (*db)->insertRow(kBinderNameTable, { i + 1, binders[i], i + 1 }).isOk();
    return ok;
}

void clickBinder(tolvane::shell::Form1 &w, int row)
{
    QTreeWidget *fg3 = w.binders().binderList();
    Q_EMIT fg3->itemClicked(fg3->topLevelItem(0)->child(row - 1), 0);
}

} // namespace

int main(int argc, char *argv[])
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Almaren Tolvane"));
    tolvane::shell::InstallJapaneseInterface(app);
    const QDir out(argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral("."));
    if (!out.exists() && !QDir().mkpath(out.path()))
        return 2;

    QTemporaryDir tmp;
    const QString base = tmp.filePath(QStringLiteral("書類"));
    if (!tolvane::catalog::CreateCatalogFile(base) || !tolvane::catalog::PutIDno(base)
        || !tolvane::catalog::PutDBID(base) || !tolvane::catalog::PutItemN(base))
        return 3;

    // A folder with a few text files for the file view.
    const QString folder = tmp.filePath(QStringLiteral("資料"));
    QDir().mkpath(folder);
    QStringList files;
    for (const char *name : { "議事録.txt", "見積書.txt", "readme.txt" }) {
        files << QString::fromUtf8(name);
        QFile f(QDir(folder).filePath(files.last()));
        if (f.open(QIODevice::WriteOnly))
            f.write("Almaren Tolvane\n");
    }
    if (!fillCatalogue(base + QStringLiteral(".mdb"), folder, files))
        return 3;

    FixedPrompter prompter(base + QStringLiteral(".mdb"), folder);
    tolvane::shell::Form1 window(prompter);
    window.show();
    bool ok = save(window, out, "start.png");
    window.OpenCatalog();
    ok = save(window, out, "dbuse.png") && ok;
    window.Toolbar_ButtonClick(QStringLiteral("BackToStart"));
    window.Toolbar_ButtonClick(QStringLiteral("StartShowFile"));
    window.Toolbar_ButtonClick(QStringLiteral("View"));
    ok = save(window, out, "files.png") && ok;

    window.menuItem(QStringLiteral("mSort2"))->trigger();
    window.binders().binderList()->setCurrentItem(window.binders().binderList()->topLevelItem(0)->child(2));
    window.Toolbar_ButtonClick(QStringLiteral("up"));
    ok = save(window, out, "binders.png") && ok;
    window.menuItem(QStringLiteral("mSearch7"))->trigger();
    clickBinder(window, 1);
    ok = save(window, out, "binder-contents.png") && ok;
    Q_EMIT window.search().recordRowClicked(1);
    window.Toolbar_ButtonClick(QStringLiteral("Next"));
    ok = save(window, out, "binder-stepping.png") && ok;
    return ok ? 0 : 1;
}
