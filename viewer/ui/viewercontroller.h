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

class QTextEdit;
class QWidget;

namespace tolvane {
class TextExtractor;
}

namespace tolvane::viewer {
class PictureView;
}

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
    // "apri": opens the shown file in its application. Other three-letter extensions are refused
    // with a message; other four-letter ones do nothing.
    void OpenInApplication();

    // TODO(#13): "size", "left90", "right90", "enlarge", "BackColor" and "excel".
    void ToggleSizeCaption();
    void Rotate(bool left);
    void Magnify();
    void ChooseBackColor();
    void ExportToExcel();
    // TODO(#14): "sxf" draws the shown drawing.
    void ShowDrawing();
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

    Prompter &m_prompter;
    PictureView *m_picture;
    QTextEdit *m_text;
    TextExtractor *m_extractor = nullptr;
    std::unique_ptr<TextExtractor> m_workerExtractor;
    bool m_textShown = false; // mData holds the shown file's own or extracted text
    std::function<bool(const QString &)> m_opener;
    QString m_folder;
    QString m_name;
    int m_pageCount = 0;
    int m_currentPage = 0;
};

} // namespace tolvane::viewer::ui
