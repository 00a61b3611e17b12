// Which presentation, viewer buttons and application route a file name gets, and the notices.
// (Which pane comes to the front is checked in the main window, tst_viewerwindow.)
#include <QTest>

#include "viewer/dispatch.h"
#include "viewer/notices.h"

using namespace tolvane::viewer;

Q_DECLARE_METATYPE(tolvane::viewer::Presentation)
Q_DECLARE_METATYPE(tolvane::viewer::AppRoute)

class TestViewerDispatch : public QObject {
    Q_OBJECT

private slots:
    void presentation_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<Presentation>("presentation");
        QTest::addColumn<int>("kind");
        QTest::addColumn<bool>("hidesText1");

        const auto row = [](const char *name, Presentation p, int kind, bool hides) {
            QTest::newRow(name) << QString::fromUtf8(name) << p << kind << hides;
        };
        // Pictures: upper and lower case only.
        row("photo.JPG", Presentation::Picture, 2, true);
        row("photo.jpg", Presentation::Picture, 2, true);
        row("photo.Jpg", Presentation::Unknown, 0, false);
        row("scan.jpeg", Presentation::Picture, 2, true);
        row("scan.JPEG", Presentation::Picture, 2, true);
        row("drawing.dxf", Presentation::Picture, 2, true);
        row("図面.SVG", Presentation::Picture, 2, true);
        // Multi-page pictures.
        row("plan.tiff", Presentation::MultiPagePicture, 3, true);
        row("plan.TIF", Presentation::MultiPagePicture, 3, true);
        row("plan.Tif", Presentation::Unknown, 0, false);
        // SXF drawings.
        row("bridge.p21", Presentation::DrawingNotice, 4, true);
        row("bridge.P21", Presentation::DrawingNotice, 4, true);
        row("bridge.SFC", Presentation::DrawingNotice, 4, true);
        // Own text leaves Text1(0) alone.
        row("memo.txt", Presentation::OwnText, 1, false);
        row("memo.RTF", Presentation::OwnText, 1, false);
        // Extracted text.
        row("report.pdf", Presentation::ExtractedText, 1, false);
        row("report.docx", Presentation::ExtractedText, 1, false);
        row("report.PPTX", Presentation::ExtractedText, 1, false);
        row("sheet.123", Presentation::ExtractedText, 1, false);
        row("letter.jtd", Presentation::ExtractedText, 1, false);
        row("mail.eml", Presentation::ExtractedText, 1, false);
        row("page.html", Presentation::ExtractedText, 1, false);
        row("page.HTML", Presentation::ExtractedText, 1, false);
        // Unknown: three letters leave Text1(0), four letters or none hide it.
        row("page.htm", Presentation::Unknown, 0, false);
        row("archive.zip", Presentation::Unknown, 0, false);
        row("a.b", Presentation::Unknown, 0, true);
        row("README", Presentation::Unknown, 0, true);
        row("x.md", Presentation::Unknown, 0, true);
        row("notes.markdown", Presentation::Unknown, 0, true);
        row("", Presentation::Unknown, 0, true);
    }

    void presentation()
    {
        QFETCH(QString, name);
        QFETCH(Presentation, presentation);
        QFETCH(int, kind);
        QFETCH(bool, hidesText1);
        QCOMPARE(presentationFor(name), presentation);
        QCOMPARE(toolbarKindFor(presentationFor(name)), kind);
        QCOMPARE(hidesSearchText(name), hidesText1);
    }

    void extension()
    {
        QCOMPARE(extensionOf(QStringLiteral("a.jpg")).text, QStringLiteral("jpg"));
        QVERIFY(extensionOf(QStringLiteral("a.jpg")).threeLetter);
        QCOMPARE(extensionOf(QStringLiteral("a.docx")).text, QStringLiteral("docx"));
        QVERIFY(!extensionOf(QStringLiteral("a.docx")).threeLetter);
        QCOMPARE(extensionOf(QStringLiteral("a.b")).text, QStringLiteral("a.b"));
        QCOMPARE(extensionOf(QStringLiteral(".jpg")).text, QStringLiteral("jpg"));
    }

    void appRoute_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<AppRoute>("route");
        const auto row = [](const char *name, AppRoute r) { QTest::newRow(name) << QString::fromUtf8(name) << r; };
        row("a.doc", AppRoute::Word);
        row("a.DOCX", AppRoute::Word);
        row("a.jtd", AppRoute::Jxw);
        row("a.TXT", AppRoute::TextEditor);
        row("a.rtf", AppRoute::RichText);
        row("a.xls", AppRoute::Spreadsheet);
        row("a.xlsx", AppRoute::Spreadsheet);
        row("a.PDF", AppRoute::ShellOpen);
        row("report.ppt", AppRoute::Refused);
        row("a.Doc", AppRoute::Refused);
        row("photo.jpg", AppRoute::Refused);
        row("report.pptx", AppRoute::Nothing);
        row("page.html", AppRoute::Nothing);
        row("README", AppRoute::Nothing);
    }

    void appRoute()
    {
        QFETCH(QString, name);
        QFETCH(AppRoute, route);
        QCOMPARE(appRouteFor(name), route);
    }

    void refusalMessageKeepsTheExtensionsCase()
    {
        QCOMPARE(appRefusalMessage(QStringLiteral("IMG.JPG")),
            QStringLiteral("JPG　ー＞アプリケーションソフトを起動できません。"));
    }

    void notices()
    {
        const QString name = QStringLiteral("橋梁一般図.p21");
        const QStringList drawing = noticeText(kNoticeDrawing, name).split(QStringLiteral("\r\n"));
        QCOMPARE(drawing.size(), 7);
        QCOMPARE(drawing.mid(0, 3), (QStringList { QString(), QString(), QString() }));
        QCOMPARE(drawing[3], QStringLiteral(" 橋梁一般図.p21"));
        QCOMPARE(drawing[4], QString());
        QCOMPARE(
            drawing[5], QStringLiteral("p21、sfc　形式図面を表示するには「図面表示」ボタンをクリックしてください。　"));
        QCOMPARE(drawing[6], QStringLiteral("ファイルサイズが大きい場合、表示には時間がかかります。"));

        QCOMPARE(noticeText(kNoticeUnsupported, QStringLiteral("photo.Jpg")),
            QStringLiteral("\r\n\r\n\r\n photo.Jpg\r\n\r\n表示できないファイル形式です。"));
        QCOMPARE(noticeText(3, name), QString());
    }
};

QTEST_APPLESS_MAIN(TestViewerDispatch)
#include "tst_viewerdispatch.moc"
