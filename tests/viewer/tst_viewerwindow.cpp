// The viewer in the real main window (offscreen): which control comes to the front for each
// kind of file, what it shows, the viewer buttons and when they are rebuilt, the text size of
// file text and notices, and the "apri" command.
#include <array>

#include <QAction>
#include <QFile>
#include <QImage>
#include <QStringEncoder>
#include <QTemporaryDir>
#include <QTest>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextEdit>

#include "shell/toolbarlayouts.h"
#include "shell/ui/form1.h"
#include "support/scriptedprompter.h"
#include "viewer/ui/pictureview.h"

using namespace tolvane;
using tolvane::shell::Form1;
using tolvane::test::ScriptedPrompter;

namespace {

// Point size of the character at position pos of the text view.
qreal sizeAt(QTextEdit *edit, int pos)
{
    QTextCursor c(edit->document());
    c.setPosition(pos);
    c.movePosition(QTextCursor::NextCharacter, QTextCursor::KeepAnchor);
    return c.charFormat().fontPointSize();
}

// An uncompressed 8-bit grey TIFF with one page per grey level (Qt writes single pages only).
QByteArray multiPageTiff(const QList<int> &greys, int width = 40, int height = 30)
{
    QByteArray out("II*\0", 4);
    const auto u16 = [&](int v) { out.append(char(v & 0xFF)).append(char((v >> 8) & 0xFF)); };
    const auto u32 = [&](qint64 v) {
        for (int i = 0; i < 4; ++i)
            out.append(char((v >> (8 * i)) & 0xFF));
    };
    u32(0); // first IFD offset, patched below
    qsizetype patch = 4;
    for (const int grey : greys) {
        const qint64 data = out.size();
        out.append(QByteArray(width * height, char(grey)));
        if (out.size() % 2)
            out.append('\0');
        const qint64 ifd = out.size();
        for (int i = 0; i < 4; ++i)
            out[patch + i] = char((ifd >> (8 * i)) & 0xFF);
        const QList<std::array<qint64, 3>> entries { { 256, 4, width }, { 257, 4, height }, { 258, 3, 8 },
            { 259, 3, 1 }, { 262, 3, 1 }, { 273, 4, data }, { 277, 3, 1 }, { 278, 4, height },
            { 279, 4, width * height } };
        u16(int(entries.size()));
        for (const auto &e : entries) {
            u16(int(e[0]));
            u16(int(e[1]));
            u32(1);
            if (e[1] == 3) {
                u16(int(e[2]));
                u16(0);
            } else {
                u32(e[2]);
            }
        }
        patch = out.size();
        u32(0); // next IFD
    }
    return out;
}

} // namespace

class TestViewerWindow : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_tmp;
    std::unique_ptr<ScriptedPrompter> m_prompter;
    std::unique_ptr<Form1> m_form;

    QString folder() const { return m_tmp.path(); }

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

    void show(const QString &name)
    {
        m_form->CurrentFolder = folder();
        m_form->CurrentFileName = name;
        m_form->DispFR();
    }

    bool inFront(const char *name) const
    {
        auto *w = m_form->findChild<QWidget *>(QString::fromLatin1(name));
        return w && !w->isHidden();
    }

private slots:
    void initTestCase()
    {
        QVERIFY(m_tmp.isValid());
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
        writeBytes(QStringLiteral("scan3.tiff"), multiPageTiff({ 30, 120, 220 }));
    }

    void init()
    {
        m_prompter = std::make_unique<ScriptedPrompter>();
        m_form = std::make_unique<Form1>(*m_prompter);
        m_form->ModeNo = 3; // a search list: the record display's buttons
        m_form->LayoutState = 2;
    }

    void cleanup()
    {
        m_form.reset();
        m_prompter.reset();
    }

    void pictureIsShownFittedInTheFront()
    {
        show(QStringLiteral("photo.png"));
        QVERIFY(inFront("imk"));
        QVERIFY(!inFront("mData"));
        viewer::PictureView *imk = m_form->pictureView();
        QVERIFY(imk->hasImage());
        QCOMPARE(imk->image().size(), QSize(160, 90));
        imk->resize(400, 400);
        // Fitted: the whole width used, the aspect ratio kept, centred vertically.
        QCOMPARE(imk->pictureRect(), QRect(0, 87, 400, 225));
        QCOMPARE(m_form->ViewerToolbarKind, 2);
        QVERIFY(m_form->toolbarKeys().contains(QStringLiteral("excel")));
        QVERIFY(m_prompter->messages().isEmpty());
    }

    void viewerButtonsAreRebuiltOnlyWhenTheKindChanges()
    {
        show(QStringLiteral("photo.png"));
        m_form->setToolEnabled(QStringLiteral("excel"), false);
        show(QStringLiteral("photo2.jpg")); // same kind: the toolbar stays as it is
        QVERIFY(!m_form->toolAction(QStringLiteral("excel"))->isEnabled());
        QCOMPARE(m_form->pictureView()->image().pixelColor(0, 0), QColor(Qt::darkRed));

        show(QStringLiteral("memo.txt")); // text after a picture: rebuilt with "apri"
        QCOMPARE(m_form->ViewerToolbarKind, 1);
        QVERIFY(m_form->toolbarKeys().contains(QStringLiteral("apri")));
        QVERIFY(!m_form->toolbarKeys().contains(QStringLiteral("excel")));

        show(QStringLiteral("photo.Jpg")); // unknown: no viewer buttons
        QCOMPARE(m_form->ViewerToolbarKind, 0);
        for (const QString &key : { QStringLiteral("apri"), QStringLiteral("excel"), QStringLiteral("sxf") })
            QVERIFY(!m_form->toolbarKeys().contains(key));
        show(QStringLiteral("memo.txt")); // and back to "apri"
        QVERIFY(m_form->toolbarKeys().contains(QStringLiteral("apri")));

        show(QStringLiteral("photo.png"));
        m_form->setToolEnabled(QStringLiteral("excel"), false);
        m_form->ViewerToolbarKind = 0; // what the list handlers do before showing a file
        show(QStringLiteral("photo2.jpg"));
        QVERIFY(m_form->toolAction(QStringLiteral("excel"))->isEnabled());
    }

    void singlePageTiff()
    {
        show(QStringLiteral("scan.TIF"));
        QVERIFY(inFront("imk"));
        QVERIFY(m_form->pictureView()->hasImage());
        QCOMPARE(m_form->ViewerToolbarKind, 3);
        QCOMPARE(m_form->PageCount, 1);
        QVERIFY(!m_form->toolAction(QStringLiteral("Gprev"))->isEnabled());
        QVERIFY(!m_form->toolAction(QStringLiteral("Gnext"))->isEnabled());
        QCOMPARE(m_form->statusPanelText(2),
            QStringLiteral("「次へ」「戻る」ボタンでファイルを次々と表示します。　ヘルプ：F1キー　　"));
    }

    void multiPageTiffPaging()
    {
        show(QStringLiteral("scan3.tiff"));
        QCOMPARE(m_form->PageCount, 3);
        QCOMPARE(m_form->CurrentPage, 0);
        QVERIFY(m_form->toolAction(QStringLiteral("Gprev"))->isEnabled());
        QVERIFY(m_form->toolAction(QStringLiteral("Gnext"))->isEnabled());
        QCOMPARE(m_form->statusPanelText(2), QStringLiteral("マルチページ：　1/3"));
        const auto grey = [&] { return qGray(m_form->pictureView()->image().pixel(5, 5)); };
        QCOMPARE(grey(), 30);
        m_form->Toolbar_ButtonClick(QStringLiteral("Gnext"));
        QCOMPARE(m_form->statusPanelText(2), QStringLiteral("マルチページ：　2/3"));
        QCOMPARE(grey(), 120);
        m_form->Toolbar_ButtonClick(QStringLiteral("Gprev"));
        m_form->Toolbar_ButtonClick(QStringLiteral("Gprev")); // wraps to the last page
        QCOMPARE(m_form->statusPanelText(2), QStringLiteral("マルチページ：　3/3"));
        QCOMPARE(grey(), 220);
        m_form->Toolbar_ButtonClick(QStringLiteral("Gnext"));
        QCOMPARE(m_form->CurrentPage, 0);
    }

    void brokenPictureIsReported()
    {
        show(QStringLiteral("broken.jpg"));
        QCOMPARE(m_prompter->messages().size(), 1);
        const auto msg = m_prompter->lastMessage();
        QCOMPARE(msg.title, QStringLiteral("Almaren Tolvane"));
        QCOMPARE(msg.text, QStringLiteral("broken.jpg を読込みに失敗しました。"));
        QCOMPARE(msg.icon, Prompter::Icon::Warning);
        QVERIFY(inFront("imk"));
        QVERIFY(!m_form->pictureView()->hasImage());
    }

    void noticesAreAtSize12()
    {
        m_form->TextFontSize = 16;
        show(QStringLiteral("photo.Jpg"));
        QVERIFY(inFront("mData"));
        QVERIFY(!inFront("imk"));
        const QStringList lines = m_form->mData->toPlainText().split(QLatin1Char('\n'));
        QCOMPARE(lines.size(), 6);
        QCOMPARE(lines[3], QStringLiteral(" photo.Jpg"));
        QCOMPARE(lines[5], QStringLiteral("表示できないファイル形式です。"));
        QCOMPARE(sizeAt(m_form->mData, 5), 12.0);

        show(QStringLiteral("bridge.p21"));
        QCOMPARE(m_form->ViewerToolbarKind, 4);
        QVERIFY(m_form->toolbarKeys().contains(QStringLiteral("sxf")));
        QVERIFY(m_form->mData->toPlainText().contains(QStringLiteral("「図面表示」ボタンをクリックしてください。　")));
        QCOMPARE(sizeAt(m_form->mData, 5), 12.0);
    }

    void fileTextTakesTheTextSize()
    {
        m_form->TextFontSize = 14;
        show(QStringLiteral("memo.txt"));
        QVERIFY(inFront("mData"));
        QCOMPARE(m_form->mData->toPlainText(), QStringLiteral("管理票のメモです。\n二行目"));
        QCOMPARE(sizeAt(m_form->mData, 0), 14.0);
        QCOMPARE(sizeAt(m_form->mData, 10), 14.0);

        show(QStringLiteral("letter.rtf"));
        QCOMPARE(m_form->mData->toPlainText(), QStringLiteral("日本\nbold\n"));
        QCOMPARE(sizeAt(m_form->mData, 0), 14.0);
        QTextCursor c(m_form->mData->document());
        c.setPosition(4);
        c.movePosition(QTextCursor::NextCharacter, QTextCursor::KeepAnchor);
        QCOMPARE(c.charFormat().fontWeight(), int(QFont::Bold));
    }

    void searchTextBoxFollowsTheExtension()
    {
        auto *text1 = m_form->findChild<QWidget *>(QStringLiteral("Text1(0)"));
        QVERIFY(text1);
        const auto check = [&](const char *name, bool hidden) {
            text1->show();
            show(QString::fromLatin1(name));
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
        m_form->FileOpener = [&](const QString &path) {
            opened.append(path);
            return true;
        };
        m_form->CurrentFolder = folder();
        for (const char *name : { "memo.txt", "report.pdf", "book.xlsx", "letter.doc" }) {
            m_form->CurrentFileName = QString::fromLatin1(name);
            m_form->OpenInApplication();
        }
        QCOMPARE(opened.size(), 4);
        QCOMPARE(opened.first(), m_tmp.filePath(QStringLiteral("memo.txt")));

        m_form->CurrentFileName = QStringLiteral("report.pptx");
        m_form->OpenInApplication();
        QVERIFY(m_prompter->messages().isEmpty());

        m_form->CurrentFileName = QStringLiteral("report.ppt");
        m_form->Toolbar_ButtonClick(QStringLiteral("apri"));
        QCOMPARE(m_prompter->messages().size(), 1);
        QCOMPARE(m_prompter->lastMessage().text, QStringLiteral("ppt　ー＞アプリケーションソフトを起動できません。"));
        QCOMPARE(m_prompter->lastMessage().icon, Prompter::Icon::Warning);
        QCOMPARE(opened.size(), 4);
    }

    void clearPicTxtEmptiesBoth()
    {
        show(QStringLiteral("photo.png"));
        m_form->mData->setPlainText(QStringLiteral("x"));
        m_form->ClearPicTxt();
        QVERIFY(!m_form->pictureView()->hasImage());
        QVERIFY(m_form->mData->toPlainText().isEmpty());
    }
};

QTEST_MAIN(TestViewerWindow)
#include "tst_viewerwindow.moc"
