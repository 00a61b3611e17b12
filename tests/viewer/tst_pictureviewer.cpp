// The picture commands in the real main window (offscreen) on real picture files: the "size"
// toggle with its caption and scroll bars, quarter turns back and forth, the magnifier lens
// and its pixels, the background toggle, a large JPEG shown reduced then whole, and the
// "excel" export in both layouts read back from the written workbook, with its two failure
// messages. No picture file is written by any of it.
#include <QAction>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImageWriter>
#include <QLineEdit>
#include <QProcess>
#include <QRegularExpression>
#include <QScrollBar>
#include <QStandardPaths>
#include <QTableView>
#include <QTemporaryDir>
#include <QTest>

#include "../search/searchcatalogue.h"
#include "../shell/form1harness.h"
#include "browser/ui/browsercontroller.h"
#include "catalog/records.h"
#include "picturesamples.h"
#include "registration/ui/registrationcontroller.h"
#include "registration/ui/slipgrid.h"
#include "shell/modes.h"
#include "shell/ui/form1.h"
#include "support/scriptedprompter.h"
#include "viewer/ui/pictureview.h"
#include "viewer/ui/viewercontroller.h"

using namespace tolvane;
using tolvane::shell::Form1;
using tolvane::viewer::PictureView;

namespace {

// Every pixel of the test photograph tells where it is: red = x, green = y.
QRgb marker(int x, int y)
{
    return qRgb(x, y, 128);
}

// One entry of a written workbook (an .xlsx is a zip archive).
QString entry(const QString &xlsx, const QString &name)
{
    QProcess unzip;
    unzip.start(QStringLiteral("unzip"), { QStringLiteral("-p"), xlsx, name });
    if (!unzip.waitForFinished(10000))
        return {};
    return QString::fromUtf8(unzip.readAllStandardOutput());
}

QString unescape(QString s)
{
    return s.replace(QStringLiteral("&lt;"), QStringLiteral("<"))
        .replace(QStringLiteral("&gt;"), QStringLiteral(">"))
        .replace(QStringLiteral("&quot;"), QStringLiteral("\""))
        .replace(QStringLiteral("&amp;"), QStringLiteral("&"));
}

// The text cells of the first sheet, by address ("A1" → text).
QMap<QString, QString> cells(const QString &xlsx)
{
    QStringList shared;
    static const QRegularExpression si(
        QStringLiteral("<si>.*?<t[^>]*>(.*?)</t>.*?</si>"), QRegularExpression::DotMatchesEverythingOption);
    for (auto it = si.globalMatch(entry(xlsx, QStringLiteral("xl/sharedStrings.xml"))); it.hasNext();)
        shared << unescape(it.next().captured(1));
    QMap<QString, QString> out;
    static const QRegularExpression c(QStringLiteral("<c r=\"([A-Z]+[0-9]+)\"[^>]*t=\"s\"[^>]*><v>([0-9]+)</v></c>"));
    for (auto it = c.globalMatch(entry(xlsx, QStringLiteral("xl/worksheets/sheet1.xml"))); it.hasNext();) {
        const auto m = it.next();
        out.insert(m.captured(1), shared.value(m.captured(2).toInt()));
    }
    return out;
}

struct Anchor {
    int col = -1;
    int row = -1;
    qint64 cx = 0;
    qint64 cy = 0;
};

// Where the sheet's picture is anchored, and its size (EMU: 9525 to a pixel).
Anchor pictureAnchor(const QString &xlsx)
{
    const QString drawing = entry(xlsx, QStringLiteral("xl/drawings/drawing1.xml"));
    Anchor a;
    static const QRegularExpression from(
        QStringLiteral("<xdr:from><xdr:col>([0-9]+)</xdr:col>.*?<xdr:row>([0-9]+)</xdr:row>"));
    static const QRegularExpression ext(QStringLiteral("<a:ext cx=\"([0-9]+)\" cy=\"([0-9]+)\""));
    if (const auto m = from.match(drawing); m.hasMatch()) {
        a.col = m.captured(1).toInt();
        a.row = m.captured(2).toInt();
    }
    if (const auto m = ext.match(drawing); m.hasMatch()) {
        a.cx = m.captured(1).toLongLong();
        a.cy = m.captured(2).toLongLong();
    }
    return a;
}

} // namespace

class TestPictureViewer : public QObject {
    Q_OBJECT

    QTemporaryDir m_tmp;
    QTemporaryDir m_catDir;
    QString m_catalogue;
    QHash<QString, QPair<QByteArray, QDateTime>> m_before; // every picture file as written
    std::unique_ptr<test::Form1Harness> m_h;
    QStringList m_opened; // workbooks handed to the spreadsheet application
    bool m_haveSpreadsheet = true;

    QString folder() const { return QDir::toNativeSeparators(m_tmp.path()); }
    Form1 &form() const { return *m_h->w; }
    test::ScriptedPrompter &prompter() const { return m_h->prompter; }
    PictureView *imk() const { return form().findChild<PictureView *>(QStringLiteral("imk")); }
    bool press(const char *key) { return m_h->click(QString::fromLatin1(key)); }
    QAction *tool(const char *key) const { return form().toolAction(QString::fromLatin1(key)); }

    bool show(const QString &name) { return m_h->showFile(name); }

    void startWindow()
    {
        m_h = std::make_unique<test::Form1Harness>();
        form().resize(1200, 800);
        m_opened.clear();
        form().viewer().setWorkbookOpener([this](const QString &path) {
            m_opened << path;
            return m_haveSpreadsheet;
        });
        QVERIFY(m_h->open(m_catalogue));
    }

    // The file display of the folder, with the catalogue open.
    void showFolder()
    {
        startWindow();
        QVERIFY(m_h->click(QStringLiteral("BackToStart")));
        QVERIFY(m_h->showFolder(folder()));
    }

private slots:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        QVERIFY(m_tmp.isValid() && m_catDir.isValid());
        QImage photo(160, 90, QImage::Format_RGB32);
        for (int y = 0; y < 90; ++y)
            for (int x = 0; x < 160; ++x)
                photo.setPixel(x, y, marker(x, y));
        QVERIFY(photo.save(m_tmp.filePath(QStringLiteral("photo.png")), "PNG"));
        QVERIFY(photo.save(m_tmp.filePath(QStringLiteral("photo.tif")), "TIFF"));
        QVERIFY(photo.save(m_tmp.filePath(QStringLiteral("view.png")), "PNG"));
        // Three pages, each one grey level (10, 20, 30) throughout.
        QFile pages(m_tmp.filePath(QStringLiteral("pages.tif")));
        QVERIFY(pages.open(QIODevice::WriteOnly));
        pages.write(test::multiPageTiff({ 10, 20, 30 }, 8, 8));
        pages.close();
        QImage wide(2000, 1500, QImage::Format_RGB32);
        wide.fill(Qt::darkGreen);
        QVERIFY(wide.save(m_tmp.filePath(QStringLiteral("wide.png")), "PNG"));
        // Large enough to be shown reduced first: left half black, right half white.
        QImage large(4000, 3000, QImage::Format_RGB32);
        large.fill(Qt::white);
        for (int y = 0; y < 3000; ++y)
            std::fill_n(reinterpret_cast<QRgb *>(large.scanLine(y)), 2000, qRgb(0, 0, 0));
        QImageWriter jpeg(m_tmp.filePath(QStringLiteral("large.jpg")), "jpeg");
        QVERIFY(jpeg.write(large));
        QFile drawing(m_tmp.filePath(QStringLiteral("bridge.p21")));
        QVERIFY(drawing.open(QIODevice::WriteOnly));
        drawing.write("ISO-10303-21;");
        drawing.close();
        for (const QFileInfo &f : QDir(m_tmp.path()).entryInfoList(QDir::Files)) {
            QFile file(f.filePath());
            QVERIFY(file.open(QIODevice::ReadOnly));
            m_before.insert(f.fileName(), { file.readAll(), f.lastModified() });
        }

        // A catalogue whose first folder is the test folder, with photo.png registered.
        m_catalogue = m_catDir.filePath(QStringLiteral("pictures.mdb"));
        test::SearchCatalogue cat;
        QVERIFY(cat.create(m_catalogue, folder()));
        cat.addFile({ QStringLiteral(u"朝霧\u3000凪"), QStringLiteral("photo.png"),
            QDateTime(QDate(2024, 5, 1), QTime(0, 0)), QStringLiteral("港の朝"), 1, 0, QStringLiteral("&HFFFFC0") });
    }

    void cleanup()
    {
        m_h.reset();
        m_haveSpreadsheet = true;
    }

    // Reading, turning, enlarging and exporting never write a picture file.
    void cleanupTestCase()
    {
        for (auto it = m_before.cbegin(); it != m_before.cend(); ++it) {
            const QString path = m_tmp.filePath(it.key());
            if (!QFile::exists(path))
                continue; // removed by a test on purpose
            QFile file(path);
            QVERIFY(file.open(QIODevice::ReadOnly));
            QVERIFY2(file.readAll() == it.value().first, qPrintable(it.key()));
            QCOMPARE(QFileInfo(path).lastModified(), it.value().second);
        }
    }

    void sizeTogglesActualSizeAndBack()
    {
        showFolder();
        QVERIFY(show(QStringLiteral("wide.png")));
        PictureView *view = imk();
        QCOMPARE(view->backgroundColor(), QColor(0xE0, 0xE0, 0xE0));
        QCOMPARE(view->scale(), PictureView::Scale::Fitted);
        QVERIFY(view->pictureRect().width() < 2000);
        QCOMPARE(tool("size")->iconText(), QStringLiteral("原寸"));

        QVERIFY(press("size"));
        QCOMPARE(view->scale(), PictureView::Scale::ActualSize);
        QCOMPARE(view->pictureRect().size(), QSize(2000, 1500));
        QTRY_VERIFY(view->horizontalScrollBar()->isVisible());
        QCOMPARE(view->horizontalScrollBar()->maximum(), 2000 - view->viewport()->width());
        QCOMPARE(tool("size")->iconText(), QStringLiteral("スケール"));
        QCOMPARE(tool("size")->toolTip(), QStringLiteral("写真を画面サイズに合わせて表示"));
        view->horizontalScrollBar()->setValue(300);
        QCOMPARE(view->pictureRect().left(), -300);

        // The next picture comes up fitted; the caption stays as the user left it.
        QVERIFY(press("Prev"));
        QCOMPARE(form().browser().currentFileName(), QStringLiteral("view.png"));
        QCOMPARE(view->scale(), PictureView::Scale::Fitted);
        QCOMPARE(tool("size")->iconText(), QStringLiteral("スケール"));

        QVERIFY(press("size"));
        QCOMPARE(view->scale(), PictureView::Scale::Fitted);
        QCOMPARE(tool("size")->iconText(), QStringLiteral("原寸"));
        QCOMPARE(tool("size")->toolTip(), QStringLiteral("写真を原寸表示"));
        QTRY_VERIFY(!view->horizontalScrollBar()->isVisible());

        // The background toggles between the pictures' grey and black.
        QVERIFY(show(QStringLiteral("bridge.p21")));
        QVERIFY(press("BackColor"));
        QCOMPARE(view->backgroundColor(), QColor(Qt::black));
        QVERIFY(press("BackColor"));
        QCOMPARE(view->backgroundColor(), QColor(0xE0, 0xE0, 0xE0));
        QVERIFY(prompter().messages().isEmpty());
    }

    void turnsLeftThenRightGiveTheStart()
    {
        showFolder();
        QVERIFY(show(QStringLiteral("photo.png")));
        PictureView *view = imk();
        QCoreApplication::processEvents();
        const QImage start = view->viewport()->grab().toImage();
        const QSize area = view->viewport()->size();
        QCOMPARE(view->pictureRect().size(), QSize(160, 90).scaled(area, Qt::KeepAspectRatio));

        QVERIFY(press("left90"));
        QCOMPARE(view->quarterTurns(), 1);
        // Turned to the left: upright 90 × 160, the top-left corner now at the bottom left.
        const QRect turned = view->pictureRect();
        QCOMPARE(turned.size(), QSize(90, 160).scaled(area, Qt::KeepAspectRatio));
        const QImage left = view->viewport()->grab().toImage();
        const QRgb bottomLeft = left.pixel(turned.left() + 2, turned.bottom() - 2);
        QVERIFY2(qRed(bottomLeft) < 8 && qGreen(bottomLeft) < 8, qPrintable(QColor(bottomLeft).name()));

        QVERIFY(press("right90"));
        QCOMPARE(view->quarterTurns(), 0);
        QCOMPARE(view->viewport()->grab().toImage(), start);
        QVERIFY(press("right90"));
        QCOMPARE(view->quarterTurns(), 3);
        QCOMPARE(view->image().size(), QSize(160, 90)); // the picture itself is not turned
    }

    // The lens shows the picture twice as large as the view, from the picture's own pixels.
    void lensShowsThePicturePixels()
    {
        showFolder();
        QVERIFY(show(QStringLiteral("photo.png")));
        PictureView *view = imk();
        QVERIFY(!view->magnifierEnabled());
        QVERIFY(press("enlarge"));
        QVERIFY(view->magnifierEnabled());
        QCoreApplication::processEvents();
        const QRect r = view->pictureRect();
        const qreal s = r.width() / 160.0; // view pixels per picture pixel
        QVERIFY(s > 1);

        // Under the pointer: the middle of picture pixel (60, 40); the lens shows 2s lens
        // pixels per picture pixel around it.
        const QPoint at = r.topLeft() + QPoint(qRound(60.5 * s), qRound(40.5 * s));
        const auto lensAt = [&](int dx, int dy) { return QPoint(100 + qRound(2 * s * dx), 100 + qRound(2 * s * dy)); };
        const QImage lens = view->lensImage(at);
        QCOMPARE(lens.size(), QSize(200, 200));
        QCOMPARE(QColor(lens.pixel(lensAt(0, 0))), QColor(marker(60, 40)));
        QCOMPARE(QColor(lens.pixel(lensAt(1, 0))), QColor(marker(61, 40)));
        QCOMPARE(QColor(lens.pixel(lensAt(-2, 3))), QColor(marker(58, 43)));
        QVERIFY(view->lensImage(r.topLeft() - QPoint(2, 2)).isNull()); // off the picture

        // The pointer over the view draws the lens where it is: six picture pixels to the right
        // the lens shows pixel 66, the picture beneath it pixel 72.
        const QPoint probe = at + lensAt(6, 0) - QPoint(100, 100);
        const auto redAtProbe = [&] { return qRed(view->viewport()->grab().toImage().pixel(probe)); };
        QTest::mouseMove(view->viewport(), at);
        QTRY_VERIFY(qAbs(redAtProbe() - 66) <= 1);
        QVERIFY(press("enlarge"));
        QVERIFY(!view->magnifierEnabled());
        QTest::mouseMove(view->viewport(), at + QPoint(1, 0));
        QTRY_VERIFY(qAbs(redAtProbe() - 72) <= 1);
    }

    void largeJpegIsShownAndLoadedWhole()
    {
        showFolder();
        QVERIFY(show(QStringLiteral("large.jpg")));
        PictureView *view = imk();
        QVERIFY(view->hasImage());
        QVERIFY(prompter().messages().isEmpty());
        QCOMPARE(view->image().size(), QSize(4000, 3000)); // waits for the full-resolution load
        QVERIFY(press("enlarge"));
        const QRect r = view->pictureRect();
        QVERIFY(qGray(view->lensImage(r.topLeft() + QPoint(r.width() / 4, r.height() / 2)).pixel(100, 100)) < 30);
        QVERIFY(qGray(view->lensImage(r.topLeft() + QPoint(3 * r.width() / 4, r.height() / 2)).pixel(100, 100)) > 225);
        QVERIFY(press("size"));
        QCOMPARE(view->pictureRect().size(), QSize(4000, 3000));
    }

    // A multi-page picture goes to a page by its number: double click or Ctrl+G on the picture.
    void goToPage()
    {
        showFolder();
        QVERIFY(show(QStringLiteral("pages.tif")));
        QCOMPARE(form().viewer().pageCount(), 3);
        prompter().planNumber(3);
        QTest::mouseDClick(imk()->viewport(), Qt::LeftButton, {}, imk()->viewport()->rect().center());
        QCOMPARE(form().viewer().currentPage(), 2);
        QCOMPARE(form().statusPanelText(2), QStringLiteral("マルチページ：　3/3"));
        QCOMPARE(qRed(imk()->image().pixel(0, 0)), 30);
        prompter().planNumber(0, false); // cancelled: the page stays
        imk()->setFocus();
        QTest::keyClick(imk(), Qt::Key_G, Qt::ControlModifier);
        QCOMPARE(form().viewer().currentPage(), 2);
        QVERIFY(show(QStringLiteral("photo.png")));
        QTest::mouseDClick(imk()->viewport(), Qt::LeftButton, {}, imk()->viewport()->rect().center());
        QVERIFY(prompter().messages().isEmpty()); // a single picture asks for nothing
    }

    void exportWithFileData()
    {
        showFolder();
        QVERIFY(show(QStringLiteral("photo.tif")));
        QVERIFY(show(QStringLiteral("photo.png")));
        QVERIFY(press("excel"));
        QVERIFY(prompter().messages().isEmpty());
        QCOMPARE(m_opened.size(), 1);
        const QString xlsx = m_opened.first();
        QVERIFY(QFileInfo(xlsx).isFile());
        const auto c = cells(xlsx);
        QCOMPARE(c.value(QStringLiteral("A1")),
            QStringLiteral(
                "表示中の写真とそのデータをここに出力しました。\nここでの編集は元のデータには影響しません。"));
        QCOMPARE(c.value(QStringLiteral("A3")), QStringLiteral("pictures"));
        QCOMPARE(c.value(QStringLiteral("A4")), folder());
        QCOMPARE(c.value(QStringLiteral("A5")), QStringLiteral("photo.png"));
        QCOMPARE(c.value(QStringLiteral("A6")),
            QFileInfo(m_tmp.filePath(QStringLiteral("photo.png")))
                .lastModified()
                .toString(QStringLiteral("yyyy-MM-dd")));
        QCOMPARE(c.size(), 5);
        const QString sheet = entry(xlsx, QStringLiteral("xl/worksheets/sheet1.xml"));
        QVERIFY(sheet.contains(QStringLiteral("<row r=\"1\" ")) && sheet.contains(QStringLiteral("ht=\"30\"")));
        const Anchor a = pictureAnchor(xlsx);
        QCOMPARE(a.col, 0);
        QCOMPARE(a.row, 7); // A8
        // At the picture's own size, as its resolution (96 dpi) gives it: 9525 EMU a pixel.
        QVERIFY(qAbs(a.cx - 160 * 9525) < 9525);
        QVERIFY(qAbs(a.cy - 90 * 9525) < 9525);
    }

    void exportWithSlip()
    {
        startWindow();
        for (const char *key : { "Search", "DBKeyword" })
            QVERIFY(m_h->click(QString::fromLatin1(key)));
        auto *word = form().findChild<QLineEdit *>(QStringLiteral("Text1(0)"));
        QVERIFY(word && word->isVisible());
        word->setText(QStringLiteral("%"));
        QVERIFY(press("DurSeek"));
        auto *fs = form().findChild<QTableView *>(QStringLiteral("fs"));
        QTRY_VERIFY(fs->isVisible());
        QTest::mouseClick(fs->viewport(), Qt::LeftButton, {}, fs->visualRect(fs->model()->index(0, 2)).center());
        QCOMPARE(form().registration().slipGrid()->cellText(2), QStringLiteral("photo.png"));
        QVERIFY(imk()->hasImage());
        QVERIFY(press("excel"));
        QVERIFY(prompter().messages().isEmpty());
        QCOMPARE(m_opened.size(), 1);
        const auto c = cells(m_opened.first());
        QCOMPARE(c.value(QStringLiteral("A1")),
            QStringLiteral("表示中の写真とその登録済みデータを全てここに出力しました。\nここでの編集は元のデータには影"
                           "響しません。"));
        QCOMPARE(c.value(QStringLiteral("A3")), QStringLiteral("pictures"));
        for (int i = 0; i < 5; ++i)
            QCOMPARE(c.value(QStringLiteral("A%1").arg(6 + i)), catalog::CatalogHeadings().at(i));
        QCOMPARE(c.value(QStringLiteral("B6")), QStringLiteral(u"朝霧\u3000凪"));
        QCOMPARE(c.value(QStringLiteral("B7")), QStringLiteral("photo.png"));
        QVERIFY(c.value(QStringLiteral("B8")).startsWith(QStringLiteral("2024")));
        QCOMPARE(c.value(QStringLiteral("B9")), QStringLiteral("港の朝"));
        QCOMPARE(c.value(QStringLiteral("B10")), folder());
        QVERIFY(!c.contains(QStringLiteral("A4")) && !c.contains(QStringLiteral("A11")));
        const Anchor a = pictureAnchor(m_opened.first());
        QCOMPARE(a.row, 13); // A14
        QVERIFY(qAbs(a.cx - 160 * 9525) < 9525);

        // The result list itself goes out too: File > 検索結果を書き出す, as shown.
        const QString list = m_catDir.filePath(QStringLiteral("result.xlsx"));
        prompter().planSaveFile(list);
        form().menuItem(QStringLiteral("mFileExportList"))->trigger();
        QVERIFY(prompter().messages().isEmpty());
        const auto shown = cells(list);
        const QAbstractItemModel *model = fs->model();
        QCOMPARE(model->rowCount(), 1);
        for (int col = 0; col < model->columnCount(); ++col) {
            const QString cell = QString(QChar(u'A' + col));
            QCOMPARE(shown.value(cell + QLatin1Char('1')), model->headerData(col, Qt::Horizontal).toString());
            QCOMPARE(shown.value(cell + QLatin1Char('2')), model->index(0, col).data().toString());
        }
        const QStringList second = shown.values().filter(QRegularExpression(QStringLiteral(".+")));
        QVERIFY(second.contains(QStringLiteral(u"朝霧\u3000凪")));
        QVERIFY(second.contains(QStringLiteral("港の朝")));
        QVERIFY(!second.filter(QRegularExpression(QStringLiteral("^2024.05.01"))).isEmpty());
    }

    // No spreadsheet application: said, the workbook left to open by hand. A picture gone from
    // the disk: said, the workbook written with its data and no picture.
    void exportFailuresAreSaid()
    {
        QFile::copy(m_tmp.filePath(QStringLiteral("photo.png")), m_tmp.filePath(QStringLiteral("gone.png")));
        showFolder();
        QVERIFY(show(QStringLiteral("photo.png")));
        m_haveSpreadsheet = false;
        QVERIFY(press("excel"));
        QCOMPARE(m_opened.size(), 1);
        QCOMPARE(prompter().messages().size(), 1);
        const auto msg = prompter().lastMessage();
        QCOMPARE(msg.title, QStringLiteral("Almaren Tolvane"));
        QCOMPARE(msg.text, QStringLiteral("Excel が見つかりません。\n") + m_opened.first());
        QCOMPARE(msg.icon, Prompter::Icon::Critical);
        QVERIFY(QFileInfo(m_opened.first()).isFile());

        m_haveSpreadsheet = true;
        QVERIFY(show(QStringLiteral("gone.png")));
        QVERIFY(QFile::remove(m_tmp.filePath(QStringLiteral("gone.png"))));
        QVERIFY(press("excel"));
        QCOMPARE(prompter().messages().size(), 2);
        QCOMPARE(
            prompter().lastMessage().text, folder() + QDir::separator() + QStringLiteral("gone.pngは見つかりません。"));
        QCOMPARE(prompter().lastMessage().icon, Prompter::Icon::Critical);
        QCOMPARE(m_opened.size(), 2);
        QCOMPARE(cells(m_opened.last()).value(QStringLiteral("A5")), QStringLiteral("gone.png")); // the data stays
        QVERIFY(entry(m_opened.last(), QStringLiteral("xl/drawings/drawing1.xml")).isEmpty());
    }
};

QTEST_MAIN(TestPictureViewer)
#include "tst_pictureviewer.moc"
