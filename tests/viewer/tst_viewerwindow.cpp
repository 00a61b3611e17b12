// The viewer in the real main window (offscreen), browsing a real folder in the file display
// with a catalogue open: which control comes to the front for each kind of file, what it
// shows, the viewer buttons and when they are rebuilt (a click in the file list always rebuilds
// them, "Prev"/"Next" only when the kind changes), the paging of a multi-page picture, the
// text size of file text and notices, the "apri" button, and drawings (SXF on request, DXF at
// once). Set TOLVANE_SCREENSHOT_DIR to keep a picture of the drawn SXF sheet.

#include <QAction>
#include <QApplication>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QMouseEvent>
#include <QStandardPaths>
#include <QStringEncoder>
#include <QTableView>
#include <QTemporaryDir>
#include <QTest>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextEdit>

#include "../search/searchcatalogue.h"
#include "../shell/form1harness.h"
#include "browser/ui/browsercontroller.h"
#include "drawingsamples.h"
#include "picturesamples.h"
#include "shell/modes.h"
#include "shell/ui/form1.h"
#include "support/scriptedprompter.h"
#include "viewer/ui/pictureview.h"
#include "viewer/ui/viewercontroller.h"

using namespace tolvane;
using tolvane::shell::Form1;

namespace {

// Point size of the character at position pos of the text view.
qreal sizeAt(QTextEdit *edit, int pos)
{
    QTextCursor c(edit->document());
    c.setPosition(pos);
    c.movePosition(QTextCursor::NextCharacter, QTextCursor::KeepAnchor);
    return c.charFormat().fontPointSize();
}

} // namespace

class TestViewerWindow : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_tmp; // the folder browsed
    QTemporaryDir m_catDir;
    int m_catalogues = 0;
    std::unique_ptr<test::Form1Harness> m_h;

    QString folder() const { return QDir::toNativeSeparators(m_tmp.path()); }
    Form1 &form() const { return *m_h->w; }
    test::ScriptedPrompter &prompter() const { return m_h->prompter; }
    QTextEdit *mData() const { return form().findChild<QTextEdit *>(QStringLiteral("mData")); }
    viewer::PictureView *imk() const { return form().findChild<viewer::PictureView *>(QStringLiteral("imk")); }
    QString shown() const { return form().browser().currentFileName(); }

    void writeBytes(const QString &name, const QByteArray &bytes)
    {
        QFile f(m_tmp.filePath(name));
        QVERIFY(f.open(QIODevice::WriteOnly));
        QCOMPARE(f.write(bytes), bytes.size());
    }

    void writePicture(const QString &name, const char *format, QColor colour = Qt::darkCyan)
    {
        QImage image(160, 90, QImage::Format_RGB32);
        image.fill(colour);
        QVERIFY(image.save(m_tmp.filePath(name), format));
    }

    bool show(const QString &name) { return m_h->showFile(name); }

    // A click on a toolbar button ("Next", "Gprev", "apri"...), only when it is there to click.
    bool press(const char *key) { return m_h->click(QString::fromLatin1(key)); }

    bool has(const char *key) const { return form().toolbarKeys().contains(QString::fromLatin1(key)); }

    // The viewer button set on the toolbar, told by the button only that set has: 0 none,
    // 1 text ("apri"), 2 picture ("excel"), 3 multi-page ("Gnext"), 4 drawing ("sxf"); -1 mixed.
    int viewerButtons() const
    {
        int kind = 0;
        int sets = 0;
        for (const auto &[key, k] : { std::pair { "apri", 1 }, { "excel", 2 }, { "Gnext", 3 }, { "sxf", 4 } }) {
            if (has(key)) {
                kind = k;
                ++sets;
            }
        }
        return sets > 1 ? -1 : kind;
    }

    bool enabled(const char *key) const
    {
        QAction *a = form().toolAction(QString::fromLatin1(key));
        return a && a->isEnabled();
    }

    // Options > text size, as the user picks it (the menu is open with a catalogue).
    void setTextSize(int points)
    {
        QVERIFY(form().menuItem(QStringLiteral("mOpt"))->isEnabled());
        QAction *item = form().menuItem(QStringLiteral("m%1").arg(points));
        QVERIFY(item && item->isEnabled());
        item->trigger();
        QCOMPARE(form().textFontSize(), points);
    }

    bool inFront(const char *name) const
    {
        auto *w = form().findChild<QWidget *>(QString::fromLatin1(name));
        return w && !w->isHidden();
    }

private slots:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        QVERIFY(m_tmp.isValid() && m_catDir.isValid());
        writePicture(QStringLiteral("photo.png"), "PNG");
        writePicture(QStringLiteral("photo2.jpg"), "JPG", Qt::darkRed);
        writePicture(QStringLiteral("scan.TIF"), "TIFF");
        writeBytes(QStringLiteral("broken.jpg"), QByteArray("\xFF\xD8\xFF\xE0 this is not a picture", 26));
        writeBytes(QStringLiteral("memo.txt"),
            QStringEncoder("windows-31j").encode(QStringLiteral("管理票のメモです。\r\n二行目")));
        writeBytes(QStringLiteral("letter.rtf"),
            "{\\rtf1\\ansi\\ansicpg932{\\fonttbl{\\f0\\fcharset128 x;}}\\f0\\fs20 "
            "\\'93\\'fa\\'96\\'7b\\par\\b bold\\b0\\par}");
        writeBytes(QStringLiteral("bridge.p21"), "ISO-10303-21;");
        writeBytes(QStringLiteral("photo.Jpg"), "whatever");
        writeBytes(QStringLiteral("README"), "read me");
        writeBytes(QStringLiteral("scan3.tiff"), test::multiPageTiff({ 30, 120, 220 }, 40, 30));
        writeBytes(QStringLiteral("archive.zip"), "PK\x05\x06");
        writeBytes(QStringLiteral("drawing.sfc"), test::drawings::sampleSfc());
        writeBytes(QStringLiteral("drawing.dxf"), test::drawings::sampleDxf());
        writeBytes(
            QStringLiteral("drawing2.dxf"), QByteArray("AutoCAD Binary DXF\r\n\x1a\0", 22) + QByteArray(40, '\0'));
        for (const char *name : { "report.pdf", "book.xlsx", "letter.doc", "report.pptx", "report.ppt" })
            writeBytes(QString::fromLatin1(name), "not a document");
    }

    // A fresh window with a fresh catalogue open, in the file display of the folder: its first
    // file (archive.zip) shown.
    void init()
    {
        const QString catalogue = m_catDir.filePath(QStringLiteral("viewer%1.mdb").arg(++m_catalogues));
        {
            test::SearchCatalogue cat;
            QVERIFY(cat.create(catalogue));
        }
        m_h = std::make_unique<test::Form1Harness>();
        QVERIFY(m_h->open(catalogue));
        QVERIFY(m_h->click(QStringLiteral("BackToStart")));
        QVERIFY(m_h->showFolder(folder()));
        QCOMPARE(form().browser().listedFolder(), folder());
        QCOMPARE(shown(), QStringLiteral("archive.zip"));
        prompter().clear();
    }

    void cleanup() { m_h.reset(); }

    void pictureIsShownFittedInTheFront()
    {
        QVERIFY(show(QStringLiteral("photo.png")));
        QVERIFY(inFront("imk"));
        QVERIFY(!inFront("mData"));
        viewer::PictureView *view = imk();
        QCOMPARE(view, form().viewer().pictureView());
        QVERIFY(view->hasImage());
        QCOMPARE(view->image().size(), QSize(160, 90));
        view->resize(400, 400);
        // Fitted: the whole width used, the aspect ratio kept, centred vertically.
        QCOMPARE(view->pictureRect(), QRect(0, 87, 400, 225));
        QCOMPARE(viewerButtons(), 2);
        QVERIFY(has("excel"));
        QVERIFY(prompter().messages().isEmpty());

        // One that cannot be read is said so, with the picture view empty in front.
        QVERIFY(show(QStringLiteral("broken.jpg")));
        QCOMPARE(prompter().messages().size(), 1);
        const auto msg = prompter().lastMessage();
        QCOMPARE(msg.title, QStringLiteral("Almaren Tolvane"));
        QCOMPARE(msg.text, QStringLiteral("broken.jpg を読込みに失敗しました。"));
        QCOMPARE(msg.icon, Prompter::Icon::Warning);
        QVERIFY(inFront("imk"));
        QVERIFY(!imk()->hasImage());
    }

    void viewerButtonsAreRebuiltOnlyWhenTheKindChanges()
    {
        QVERIFY(show(QStringLiteral("photo.png")));
        form().toolAction(QStringLiteral("excel"))->setEnabled(false);
        QVERIFY(press("Next")); // same kind: the toolbar stays as it is
        QCOMPARE(shown(), QStringLiteral("photo2.jpg"));
        QVERIFY(!enabled("excel"));
        QCOMPARE(imk()->image().pixelColor(0, 0), QColor(Qt::darkRed));

        QVERIFY(press("Prev"));
        QVERIFY(press("Prev")); // unknown after a picture: no viewer buttons, the mode's own stay
        QCOMPARE(shown(), QStringLiteral("photo.Jpg"));
        QCOMPARE(viewerButtons(), 0);
        for (const char *key : { "apri", "excel", "sxf" })
            QVERIFY(!has(key));
        for (const char *key : { "BackTo", "Prev", "Next" })
            QVERIFY(has(key));
        const QStringList unknown = form().toolbarKeys();
        QVERIFY(press("Prev")); // text: rebuilt with "apri"
        QCOMPARE(shown(), QStringLiteral("memo.txt"));
        QCOMPARE(viewerButtons(), 1);
        QVERIFY(has("apri"));
        QVERIFY(!has("excel"));
        QVERIFY(show(QStringLiteral("README"))); // unknown after text: the same buttons as before
        QCOMPARE(form().toolbarKeys(), unknown);
        QVERIFY(show(QStringLiteral("memo.txt")));
        QVERIFY(press("Next"));
        QVERIFY(press("Next")); // a picture after the unknown: rebuilt, "excel" enabled again
        QCOMPARE(shown(), QStringLiteral("photo.png"));
        QCOMPARE(viewerButtons(), 2);
        QVERIFY(enabled("excel"));

        // A click in the list rebuilds them whatever the kind.
        form().toolAction(QStringLiteral("excel"))->setEnabled(false);
        QVERIFY(show(QStringLiteral("photo2.jpg")));
        QVERIFY(enabled("excel"));
        QVERIFY(prompter().messages().isEmpty());
    }

    // Stepped to from a multi-page TIFF, a single-page one keeps the paging buttons, disabled;
    // stepped back, the multi-page one pages round in both directions.
    void tiffPaging()
    {
        QVERIFY(show(QStringLiteral("scan3.tiff")));
        QVERIFY(press("Prev"));
        QCOMPARE(shown(), QStringLiteral("scan.TIF"));
        QVERIFY(inFront("imk"));
        QVERIFY(imk()->hasImage());
        QCOMPARE(viewerButtons(), 3);
        QCOMPARE(form().viewer().pageCount(), 1);
        QVERIFY(!enabled("Gprev"));
        QVERIFY(!enabled("Gnext"));
        QCOMPARE(form().statusPanelText(2),
            QStringLiteral("「次へ」「戻る」ボタンでファイルを次々と表示します。　ヘルプ：F1キー　　"));

        QVERIFY(press("Next"));
        QCOMPARE(form().viewer().pageCount(), 3);
        QCOMPARE(form().viewer().currentPage(), 0);
        QVERIFY(enabled("Gprev"));
        QVERIFY(enabled("Gnext"));
        QCOMPARE(form().statusPanelText(2), QStringLiteral("マルチページ：　1/3"));
        const auto grey = [&] { return qGray(imk()->image().pixel(5, 5)); };
        QCOMPARE(grey(), 30);
        QVERIFY(press("Gnext"));
        QCOMPARE(form().statusPanelText(2), QStringLiteral("マルチページ：　2/3"));
        QCOMPARE(grey(), 120);
        QVERIFY(press("Gprev"));
        QVERIFY(press("Gprev")); // wraps to the last page
        QCOMPARE(form().statusPanelText(2), QStringLiteral("マルチページ：　3/3"));
        QCOMPARE(grey(), 220);
        QVERIFY(press("Gnext"));
        QCOMPARE(form().viewer().currentPage(), 0);
    }

    // File text takes the chosen text size, rich text keeps its bold; notices stay at 12 points.
    void textSizes()
    {
        setTextSize(14);
        QVERIFY(show(QStringLiteral("memo.txt")));
        QVERIFY(inFront("mData"));
        QCOMPARE(mData()->toPlainText(), QStringLiteral("管理票のメモです。\n二行目"));
        QCOMPARE(sizeAt(mData(), 0), 14.0);
        QCOMPARE(sizeAt(mData(), 10), 14.0);

        QVERIFY(show(QStringLiteral("letter.rtf")));
        QCOMPARE(mData()->toPlainText(), QStringLiteral("日本\nbold\n"));
        QCOMPARE(sizeAt(mData(), 0), 14.0);
        QTextCursor c(mData()->document());
        c.setPosition(4);
        c.movePosition(QTextCursor::NextCharacter, QTextCursor::KeepAnchor);
        QCOMPARE(c.charFormat().fontWeight(), int(QFont::Bold));

        QVERIFY(show(QStringLiteral("photo.Jpg")));
        QVERIFY(inFront("mData"));
        QVERIFY(!inFront("imk"));
        QVERIFY(mData()->toPlainText().endsWith(QStringLiteral(" photo.Jpg\n\n表示できないファイル形式です。")));
        QCOMPARE(sizeAt(mData(), 5), 12.0);
        QVERIFY(show(QStringLiteral("bridge.p21")));
        QCOMPARE(viewerButtons(), 4);
        QVERIFY(mData()->toPlainText().contains(QStringLiteral("「図面表示」ボタンをクリックしてください。　")));
        QCOMPARE(sizeAt(mData(), 5), 12.0);
    }

    void searchTextBoxFollowsTheExtension()
    {
        auto *text1 = form().findChild<QWidget *>(QStringLiteral("Text1(0)"));
        QVERIFY(text1);
        const auto check = [&](const char *name, bool hidden) {
            text1->show();
            QVERIFY(show(QString::fromLatin1(name)));
            QCOMPARE(text1->isHidden(), hidden);
        };
        check("photo.png", true);
        check("memo.txt", false);
        check("archive.zip", false);
        check("README", true);
    }

    void openInApplication()
    {
        QStringList opened;
        form().viewer().setFileOpener([&](const QString &path) {
            opened.append(path);
            return true;
        });
        for (const char *name : { "memo.txt", "report.pdf", "book.xlsx", "letter.doc" }) {
            QVERIFY(show(QString::fromLatin1(name)));
            QVERIFY(press("apri"));
        }
        QCOMPARE(opened.size(), 4);
        QCOMPARE(opened.first(), folder() + QDir::separator() + QStringLiteral("memo.txt"));

        QVERIFY(show(QStringLiteral("report.pptx")));
        QVERIFY(press("apri"));
        QVERIFY(prompter().messages().isEmpty());

        QVERIFY(show(QStringLiteral("report.ppt")));
        QVERIFY(press("apri"));
        QCOMPARE(prompter().messages().size(), 1);
        QCOMPARE(prompter().lastMessage().text, QStringLiteral("ppt　ー＞アプリケーションソフトを起動できません。"));
        QCOMPARE(prompter().lastMessage().icon, Prompter::Icon::Warning);
        QCOMPARE(opened.size(), 4);
    }

    void drawingsAreDrawnInThePictureView()
    {
        // Counts the pixels of the shown picture that have colour.
        const auto count = [&](QColor colour) {
            const QImage image = imk()->image();
            int n = 0;
            for (int y = 0; y < image.height(); ++y)
                for (int x = 0; x < image.width(); ++x)
                    n += image.pixelColor(x, y) == colour;
            return n;
        };
        QVERIFY(show(QStringLiteral("drawing.sfc")));
        QVERIFY(inFront("mData")); // the notice first
        QVERIFY(press("sxf"));
        QVERIFY(inFront("imk"));
        QVERIFY(!inFront("mData"));
        QVERIFY(imk()->hasImage());
        QCOMPARE(imk()->backgroundColor(), QColor(Qt::black));
        QCOMPARE(imk()->image().pixelColor(0, 0), QColor(Qt::black));
        QVERIFY(count(Qt::white) > 500); // the frame
        QVERIFY(count(QColor(0, 160, 160)) > 50); // the circle
        QVERIFY(form().viewer().shownDrawing());
        QVERIFY(prompter().messages().isEmpty());
        if (const QString dir = qEnvironmentVariable("TOLVANE_SCREENSHOT_DIR"); !dir.isEmpty()) {
            QDir().mkpath(dir);
            QVERIFY(form().grab().save(QDir(dir).filePath(QStringLiteral("drawing.png"))));
            // The lens over the sheet's Japanese text (about 206, 273 mm on the 420 × 297 mm sheet).
            imk()->setMagnifierEnabled(true);
            const QRect sheet = imk()->pictureRect();
            const QPoint at(sheet.left() + sheet.width() * 206 / 420, sheet.top() + sheet.height() * (297 - 273) / 297);
            QWidget *viewport = imk()->viewport();
            QMouseEvent move(
                QEvent::MouseMove, at, viewport->mapToGlobal(at), Qt::NoButton, Qt::NoButton, Qt::NoModifier);
            QApplication::sendEvent(viewport, &move);
            QVERIFY(!imk()->lensImage(at).isNull());
            QVERIFY(imk()->grab().save(QDir(dir).filePath(QStringLiteral("drawing-lens.png"))));
            imk()->setMagnifierEnabled(false);
        }

        // DXF is routed as a picture: drawn at once, on the pictures' grey, white turned black.
        QVERIFY(show(QStringLiteral("drawing.dxf")));
        QVERIFY(inFront("imk"));
        QCOMPARE(viewerButtons(), 2);
        QCOMPARE(imk()->backgroundColor(), QColor(0xE0, 0xE0, 0xE0));
        QVERIFY(count(Qt::red) > 100);
        QVERIFY(count(Qt::black) > 10); // the text
        QVERIFY(prompter().messages().isEmpty());

        QVERIFY(show(QStringLiteral("drawing2.dxf")));
        QCOMPARE(prompter().lastMessage().text,
            QStringLiteral("drawing2.dxf を読込みに失敗しました。\n（バイナリ形式の DXF には対応していません。）"));
        QVERIFY(!imk()->hasImage());
        QVERIFY(!form().viewer().shownDrawing());

        QVERIFY(show(QStringLiteral("bridge.p21")));
        QVERIFY(press("sxf"));
        QCOMPARE(prompter().lastMessage().text, QStringLiteral("bridge.p21 を読込みに失敗しました。"));
        QCOMPARE(prompter().lastMessage().icon, Prompter::Icon::Warning);
    }

    void leavingTheFileEmptiesBothPanes()
    {
        QVERIFY(show(QStringLiteral("memo.txt")));
        QVERIFY(show(QStringLiteral("photo.png")));
        QVERIFY(!mData()->toPlainText().isEmpty()); // the hidden text pane keeps the last text
        QVERIFY(m_h->click(QStringLiteral("BackTo")));
        QVERIFY(!imk()->hasImage());
        QVERIFY(mData()->toPlainText().isEmpty());
    }
};

QTEST_MAIN(TestViewerWindow)
#include "tst_viewerwindow.moc"
