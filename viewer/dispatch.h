// How the viewer presents a file, decided from its name alone: the extension tables of the
// display dispatcher and of the "open in its application" command, the viewer button sets, and
// which display controls the panel selector brings to the front. Pure functions; thread-safe.
#pragma once

#include <QString>
#include <QStringList>

namespace tolvane::viewer {

// The extension as the dispatcher sees it: the last three characters when the fourth from the
// end is ".", otherwise the last four characters (a name of one to three characters is
// taken whole). Only all-upper-case and all-lower-case spellings of the listed extensions match.
struct Extension {
    QString text;
    bool threeLetter = false;
};
Extension extensionOf(const QString &fileName);

enum class Presentation {
    Picture, // single picture in imk
    MultiPagePicture, // multi-page picture with paging
    DrawingNotice, // SXF drawing: a notice in mData, drawn on request
    OwnText, // plain or rich text loaded into mData
    ExtractedText, // text extracted from an office document or PDF
    Unknown, // "format cannot be displayed" notice
};
Presentation presentationFor(const QString &fileName);

// Viewer button set (ViewerToolbarKind) of a presentation: 0 none, 1 text, 2 picture,
// 3 multi-page picture, 4 drawing.
int toolbarKindFor(Presentation presentation);
// Toolbar keys of a viewer button set, in order.
QStringList viewerButtonKeys(int kind);

// Whether showing the file hides the search text box Text1(0). Own and extracted text leave it
// alone, and so does an unknown three-letter extension.
bool hidesSearchText(const QString &fileName);

// What "apri" does with a file.
enum class AppRoute {
    Word, // word processor documents
    Jxw, // Ichitaro documents
    TextEditor, // plain text
    RichText, // rich text
    Spreadsheet, // Excel workbooks
    ShellOpen, // PDF: the associated program
    Refused, // other three-letter extensions: a message
    Nothing, // other four-letter extensions
};
AppRoute appRouteFor(const QString &fileName);
// The message of a refused extension: the extension as written, then
// "　ー＞アプリケーションソフトを起動できません。".
QString appRefusalMessage(const QString &fileName);

// The four display controls of the right-hand area, by object name.
inline const QString kFileList = QStringLiteral("fr");
inline const QString kResultList = QStringLiteral("fs");
inline const QString kPictureView = QStringLiteral("imk");
inline const QString kTextView = QStringLiteral("mData");

// BringPanelToFront: the control a selector makes visible and raises (empty for none), and those
// it hides and lowers. An unknown selector has neither.
struct PanelPlan {
    QString front;
    QStringList hidden;
    bool known = false;
};
PanelPlan panelPlanFor(int selector);

// Status-bar text of a multi-page picture: "マルチページ：　1/3" for the first of three pages, or
// the browsing hint when the file has one page.
QString multiPageStatusText(int currentPage, int pageCount);

} // namespace tolvane::viewer
