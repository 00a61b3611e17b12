// Makes the README's pictures: the main window offscreen at start-up, with a catalogue
// open, showing the files of a folder, reordering binders, a binder's files, a filed record
// being stepped through, a keyword search's result, a registered photograph beside its slip,
// the magnifier lens, a multi-page scan with its page counter, and the help window, saved as
// PNG files. With a second folder, the user manual's pictures go there: all of the above and
// the screens only the manual shows (registration, the search panels, the classification
// editor).
// Usage: tolvane-screenshots <output folder> [<manual picture folder>]
#include <optional>
#include <tiffio.h>

#include <QAbstractScrollArea>
#include <QApplication>
#include <QDir>
#include <QFile>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QTableView>
#include <QTemporaryDir>
#include <QTextStream>
#include <QTimer>
#include <QTreeWidget>

#include "binders/ui/bindercontroller.h"
#include "catalog/creation.h"
#include "catalog/schema.h"
#include "platform/jet/database.h"
#include "platform/jet/recordset.h"
#include "search/ui/searchcontroller.h"
#include "shell/ui/form1.h"
#include "shell/ui/helpwindow.h"
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
    Answer message(const Message &m) override
    {
        return m.buttons == Buttons::YesNo || m.buttons == Buttons::YesNoCancel ? Answer::Yes : Answer::Ok;
    }
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

    void setFolder(const QString &folder) { m_folder = folder; }

private:
    QString m_file;
    QString m_folder;
};

// Where the pictures go: the README's folder and, when given, the manual's.
struct Output {
    QDir readme;
    std::optional<QDir> manual;
};

bool saveTo(const QImage &picture, const QDir &out, const char *name)
{
    const QString path = out.filePath(QString::fromLatin1(name));
    const bool ok = picture.save(path);
    QTextStream(stdout) << (ok ? "wrote " : "FAILED ") << path << '\n';
    return ok;
}

bool save(QWidget &w, const Output &out, const char *name)
{
    QCoreApplication::processEvents();
    const QImage picture = w.grab().toImage();
    return saveTo(picture, out.readme, name) && (!out.manual || saveTo(picture, *out.manual, name));
}

// A picture only the manual shows.
bool saveManual(QWidget &w, const Output &out, const char *name)
{
    QCoreApplication::processEvents();
    return !out.manual || saveTo(w.grab().toImage(), *out.manual, name);
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
    // The counters have handed out what was written, so that later registrations draw new ids.
    auto idno = (*db)->openTable(kIdNoTable);
    ok = ok && idno && (*idno)->setField(QStringLiteral("pnID"), 1).isOk()
        && (*idno)->setField(QStringLiteral("bdID"), int(binders.size())).isOk() && (*idno)->update().isOk();
    return ok;
}

void clickBinder(tolvane::shell::Form1 &w, int row)
{
    QTreeWidget *fg3 = w.binders().binderList();
    Q_EMIT fg3->itemClicked(fg3->topLevelItem(0)->child(row - 1), 0);
}

// A photograph-like picture: sky, sun, hills and a harbour wall.
QImage landscape()
{
    QImage image(1600, 1067, QImage::Format_RGB32);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    QLinearGradient sky(0, 0, 0, 700);
    sky.setColorAt(0, QColor(70, 120, 200));
    sky.setColorAt(1, QColor(250, 200, 150));
    p.fillRect(image.rect(), sky);
    p.setBrush(QColor(255, 230, 160));
    p.setPen(Qt::NoPen);
    p.drawEllipse(QPointF(1150, 420), 90, 90);
    QPainterPath hills(QPointF(0, 720));
    hills.cubicTo(300, 520, 600, 640, 900, 600);
    hills.cubicTo(1200, 560, 1400, 680, 1600, 640);
    hills.lineTo(1600, 1067);
    hills.lineTo(0, 1067);
    p.fillPath(hills, QColor(60, 110, 70));
    QLinearGradient sea(0, 760, 0, 1067);
    sea.setColorAt(0, QColor(40, 90, 140));
    sea.setColorAt(1, QColor(20, 50, 90));
    p.fillRect(QRect(0, 780, 1600, 287), sea);
    p.fillRect(QRect(200, 840, 900, 40), QColor(180, 170, 160));
    for (int i = 0; i < 12; ++i)
        p.fillRect(QRect(230 + i * 70, 800, 30, 40), QColor(200, 60 + i * 10, 50));
    return image;
}

// A three-page fax scan (G4), each page a few lines of text.
bool writeScan(const QString &path)
{
    TIFF *tiff = TIFFOpen(QFile::encodeName(path).constData(), "w");
    if (!tiff)
        return false;
    const int width = 1700, height = 2200;
    for (int n = 0; n < 3; ++n) {
        QImage paper(width, height, QImage::Format_RGB32);
        paper.fill(Qt::white);
        QPainter p(&paper);
        p.setPen(Qt::black);
        QFont font(QStringLiteral("Noto Sans CJK JP"));
        font.setPixelSize(64);
        p.setFont(font);
        p.drawText(150, 250, QStringLiteral("打合せ記録　第%1頁").arg(n + 1));
        font.setPixelSize(40);
        p.setFont(font);
        for (int line = 0; line < 30; ++line)
            p.drawText(150, 420 + line * 56,
                QStringLiteral("%1. 現地確認の結果を図面に反映し、次回までに修正案を提出する。").arg(line + 1));
        p.drawRect(100, 150, width - 200, height - 300);
        p.end();
        // Min-is-white: a set bit is black ink.
        QImage page = paper.convertToFormat(QImage::Format_Mono, Qt::ThresholdDither);
        if (qGray(page.color(1)) > 128)
            page.invertPixels();
        TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, width);
        TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, height);
        TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 1);
        TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, 1);
        TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_CCITTFAX4);
        TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISWHITE);
        TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, height);
        TIFFSetField(tiff, TIFFTAG_XRESOLUTION, 200.0f);
        TIFFSetField(tiff, TIFFTAG_YRESOLUTION, 200.0f);
        TIFFSetField(tiff, TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
        TIFFSetField(tiff, TIFFTAG_SUBFILETYPE, FILETYPE_PAGE);
        TIFFSetField(tiff, TIFFTAG_PAGENUMBER, n, 3);
        for (int y = 0; y < height; ++y)
            TIFFWriteScanline(tiff, page.scanLine(y), uint32_t(y), 0);
        TIFFWriteDirectory(tiff);
    }
    TIFFClose(tiff);
    return true;
}

// A left click on a cell of a grid, as the user makes it.
void clickCell(QTableView *view, int row, int col)
{
    const QPoint at = view->visualRect(view->model()->index(row, col)).center();
    for (const QEvent::Type type : { QEvent::MouseButtonPress, QEvent::MouseButtonRelease }) {
        QMouseEvent e(type, at, view->viewport()->mapToGlobal(at), Qt::LeftButton,
            type == QEvent::MouseButtonPress ? Qt::LeftButton : Qt::NoButton, Qt::NoModifier);
        QApplication::sendEvent(view->viewport(), &e);
    }
}

// The result-list row of fileName (column 2 holds the names), -1 when it is not there.
int resultRow(QTableView *fs, const QString &fileName)
{
    for (int r = 0; r < fs->model()->rowCount(); ++r)
        for (int c = 0; c < fs->model()->columnCount(); ++c)
            if (fs->model()->index(r, c).data().toString() == fileName)
                return r;
    return -1;
}

} // namespace

int main(int argc, char *argv[])
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Almaren Tolvane"));
    tolvane::shell::InstallJapaneseInterface(app);
    Output out { QDir(argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral(".")), std::nullopt };
    if (argc > 2)
        out.manual = QDir(QString::fromLocal8Bit(argv[2]));
    if (!QDir().mkpath(out.readme.path()) || (out.manual && !QDir().mkpath(out.manual->path())))
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

    // A folder of pictures to register: a photograph and a multi-page scan.
    const QString pictures = tmp.filePath(QStringLiteral("現場写真"));
    QDir().mkpath(pictures);
    if (!landscape().save(QDir(pictures).filePath(QStringLiteral("港の朝.jpg")), "JPG", 92)
        || !writeScan(QDir(pictures).filePath(QStringLiteral("打合せ記録.tif"))))
        return 4;

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
    ok = saveManual(window, out, "fileshow-start.png") && ok;

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

    // Register the pictures, find them with a keyword search for "%", open the photograph.
    window.Toolbar_ButtonClick(QStringLiteral("BackToStart"));
    window.Toolbar_ButtonClick(QStringLiteral("DBopen"));
    prompter.setFolder(pictures);
    window.Toolbar_ButtonClick(QStringLiteral("DBrec"));
    ok = saveManual(window, out, "record.png") && ok;
    window.Toolbar_ButtonClick(QStringLiteral("RecAll"));
    window.Toolbar_ButtonClick(QStringLiteral("BackTo"));
    window.Toolbar_ButtonClick(QStringLiteral("Search"));
    ok = saveManual(window, out, "search-menu.png") && ok;
    window.Toolbar_ButtonClick(QStringLiteral("DBDate"));
    ok = saveManual(window, out, "search-period.png") && ok;
    window.Toolbar_ButtonClick(QStringLiteral("BackToSearch"));
    window.Toolbar_ButtonClick(QStringLiteral("DBKeyword"));
    if (auto *word = window.findChild<QLineEdit *>(QStringLiteral("Text1(0)")))
        word->setText(QStringLiteral("%"));
    window.Toolbar_ButtonClick(QStringLiteral("DurSeek"));
    ok = save(window, out, "result-list.png") && ok;
    auto *fs = window.findChild<QTableView *>(QStringLiteral("fs"));
    const int photo = fs ? resultRow(fs, QStringLiteral("港の朝.jpg")) : -1;
    if (photo < 0)
        return 5;
    clickCell(fs, photo, 1);
    QCoreApplication::processEvents();
    ok = save(window, out, "picture-slip.png") && ok;

    // The lens over the harbour wall.
    window.Toolbar_ButtonClick(QStringLiteral("enlarge"));
    if (auto *imk = window.findChild<QAbstractScrollArea *>(QStringLiteral("imk"))) {
        QWidget *view = imk->viewport();
        const QPoint at(view->width() * 38 / 100, view->height() * 78 / 100);
        QMouseEvent move(QEvent::MouseMove, at, view->mapToGlobal(at), Qt::NoButton, Qt::NoButton, Qt::NoModifier);
        QApplication::sendEvent(view, &move);
    }
    ok = save(window, out, "lens.png") && ok;
    window.Toolbar_ButtonClick(QStringLiteral("enlarge"));

    // The scan, on its second page.
    window.Toolbar_ButtonClick(QStringLiteral("BackTo"));
    const int scan = resultRow(fs, QStringLiteral("打合せ記録.tif"));
    if (scan < 0)
        return 6;
    clickCell(fs, scan, 1);
    window.Toolbar_ButtonClick(QStringLiteral("Gnext"));
    ok = save(window, out, "scan.png") && ok;

    // The classification editor, from its menu item.
    QTimer::singleShot(0, &window, [&] {
        if (QWidget *dialog = QApplication::activeModalWidget()) {
            ok = saveManual(*dialog, out, "classes.png") && ok;
            dialog->close();
        }
    });
    window.menuItem(QStringLiteral("mAidCombo"))->trigger();

    // The help window at the page of the slip, beside the program.
    window.ShowHelp();
    if (auto *help = window.findChild<tolvane::shell::HelpWindow *>(QStringLiteral("HelpWindow")))
        ok = save(*help, out, "help.png") && ok;
    else
        ok = false;
    return ok ? 0 : 1;
}
