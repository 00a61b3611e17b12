// Makes the README's pictures: the main window offscreen at start-up, with a catalogue
// open, and showing the files of a folder, saved as PNG files. Usage: tolvane-screenshots <output folder>
#include <QApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTextStream>

#include "catalog/creation.h"
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
    for (const char *name : { "議事録.txt", "見積書.txt", "readme.txt" }) {
        QFile f(QDir(folder).filePath(QString::fromUtf8(name)));
        if (f.open(QIODevice::WriteOnly))
            f.write("Almaren Tolvane\n");
    }

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
    return ok ? 0 : 1;
}
