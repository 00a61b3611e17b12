// ViewerController: the viewer panes of the right-hand area, the picture view `imk` and the text
// view `mData`. DispFR shows a file by its extension (picture, multi-page picture, drawing
// notice, own text, extracted text or the "cannot display" notice); the picture commands and
// "apri" work on the file shown last. The main window brings the wanted pane to the front and
// keeps the toolbar in step with what was shown. GUI thread only.
#pragma once

#include <functional>
#include <memory>

#include <QObject>

#include "platform/prompter.h"
#include "viewer/dispatch.h"
#include "viewer/excelexport.h"
#include "viewer/pictureops.h"

class QTextEdit;
class QWidget;

namespace tolvane {
class TextExtractor;
}

namespace tolvane::viewer {
class PictureView;
namespace drawing {
struct Drawing;
}
} // namespace tolvane::viewer

namespace tolvane::viewer::ui {

class ViewerController : public QObject {
    Q_OBJECT
public:
    // The panes are created hidden as children of frame.
    ViewerController(Prompter &prompter, QWidget *frame, QObject *parent = nullptr);
    ~ViewerController() override;

    PictureView *pictureView() const { return m_picture; } // imk
    QTextEdit *textView() const { return m_text; } // mData

    // The extractor behind extracted text (null: a worker process, see extractionpool.h); not owned.
    void setTextExtractor(TextExtractor *extractor) { m_extractor = extractor; }
    // Opens a file in the desktop's application for it (unset: QDesktopServices).
    void setFileOpener(std::function<bool(const QString &path)> opener) { m_opener = std::move(opener); }
    // Opens a written workbook; false when no spreadsheet application is there (unset: the
    // desktop's handler for .xlsx, when it has one).
    void setWorkbookOpener(std::function<bool(const QString &path)> opener) { m_workbookOpener = std::move(opener); }

    // The two panes DispFR may want in front.
    enum class Pane { Picture, Text };

    // Shows folder/name by its extension, text at fontSize points. Emits paneWanted before the
    // file is read, so that a load-failure message comes up over the right pane.
    Presentation DispFR(const QString &folder, const QString &name, int fontSize);
    // Pages of the multi-page picture shown last (PageCount, 1 after a failure) and the shown
    // one (CurrentPage, 0-based).
    int pageCount() const { return m_pageCount; }
    int currentPage() const { return m_currentPage; }

    // Empties the picture view and the text pane.
    void ClearPicTxt();

    // "Gprev" / "Gnext": the previous or next page, wrapping around at either end.
    void StepPage(bool next);
    // Asks for a page number (1 to PageCount) and shows that page of the multi-page picture
    // shown last; a double click on the picture or Ctrl+G on it does the same. Nothing happens
    // for a picture of one page or when the input is cancelled.
    void GoToPage();
    // "apri": opens the shown file in its application. Other three-letter extensions are refused
    // with a message; other four-letter ones do nothing.
    void OpenInApplication();

    // "size": caption is the button's caption now. Shows the picture at actual size (caption
    // "原寸") or fitted ("スケール") and returns the button's new caption, image and tool tip.
    SizeButton ToggleSizeCaption(const QString &caption);
    // "left90" / "right90": turns the view of the picture a quarter turn; the file is not
    // touched. Nothing happens without a picture.
    void Rotate(bool left);
    // "enlarge": switches the 200 × 200 magnifier lens at the pointer on or off.
    void Magnify();
    // "BackColor": grey (&HE0E0E0) unless the background is grey, then black.
    void ChooseBackColor();
    // "excel": writes the shown picture with the data of sheet into a new workbook in a fresh
    // temporary folder and opens it. Messages (critical): "Excel が見つかりません。" when the
    // workbook cannot be written or opened (with the written file named when there is no
    // spreadsheet application); the picture's full path + "は見つかりません。" when the picture
    // could not be read (the data stays on the sheet). Returns the workbook's path (empty when
    // none was written).
    QString ExportToExcel(const PictureSheet &sheet);
    // "sxf": reads the shown SXF drawing and draws it in the picture view on black. A drawing
    // that cannot be read gives the load-failure message; features it cannot draw are named in
    // one notice.
    void ShowDrawing();
    // The drawing shown last (DXF or SXF), null after any other file; kept for redrawing.
    const drawing::Drawing *shownDrawing() const { return m_drawing.get(); }
    // SearchStrFunc: marks every occurrence of word in the shown text ("WordSeek" after the
    // word dialog). True when at least one was found; otherwise the not-found message, also when
    // no text is shown (a picture, a drawing or a notice).
    bool SearchStrFunc(const QString &word);

Q_SIGNALS:
    void paneWanted(Pane pane);
    // The shown page of a multi-page picture changed (also after DispFR shows its first page).
    void pageChanged(int currentPage, int pageCount);

private:
    QString shownPath() const;
    // Reads the shown file as a drawing and shows it rendered on background. False on failure.
    bool showDrawingFile(const QColor &background);

    Prompter &m_prompter;
    PictureView *m_picture;
    QTextEdit *m_text;
    TextExtractor *m_extractor = nullptr;
    std::unique_ptr<TextExtractor> m_workerExtractor;
    bool m_textShown = false; // mData holds the shown file's own or extracted text
    std::function<bool(const QString &)> m_opener;
    std::function<bool(const QString &)> m_workbookOpener;
    QString m_folder;
    QString m_name;
    bool m_multiPage = false; // the shown file is a multi-page picture
    int m_pageCount = 0;
    int m_currentPage = 0;
    std::shared_ptr<const drawing::Drawing> m_drawing;
};

} // namespace tolvane::viewer::ui
