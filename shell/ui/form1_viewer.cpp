// Form1: viewer handlers. DispFR shows the current file by its extension (picture, multi-page
// picture, drawing notice, own text, extracted text or the "cannot display" notice) and keeps
// the viewer part of the toolbar in step; "apri" opens the file in its application.
#include <QDesktopServices>
#include <QTableView>
#include <QTextEdit>
#include <QUrl>

#include "platform/apptitle.h"
#include "platform/textextract.h"
#include "shell/ui/form1.h"
#include "viewer/dispatch.h"
#include "viewer/notices.h"
#include "viewer/ui/picturedisplay.h"
#include "viewer/ui/pictureview.h"
#include "viewer/ui/textdisplay.h"

namespace tolvane::shell {

namespace {

constexpr int kFileListFirstColumnTwips = 800;

} // namespace

// Replaces the imk placeholder by the picture view.
void Form1::SetupViewer()
{
    auto *view = new viewer::PictureView(area());
    view->setGeometry(imk->geometry());
    view->setVisible(!imk->isHidden());
    delete imk;
    imk = view;
    m_pictureView = view;
}

// Brings one of the right-area controls to the front and hides the others named for the
// selector: 0 none, 1 and 10 fr, 2 imk, 4 mData, 11 fs.
void Form1::BringPanelToFront(int selector)
{
    const viewer::PanelPlan plan = viewer::panelPlanFor(selector);
    if (!plan.known)
        return;
    auto control = [this](const QString &name) -> QWidget * {
        if (name == viewer::kFileList)
            return fr;
        if (name == viewer::kResultList)
            return fs;
        if (name == viewer::kPictureView)
            return imk;
        if (name == viewer::kTextView)
            return mData;
        return nullptr;
    };
    for (const QString &name : plan.hidden) {
        if (QWidget *w = control(name)) {
            w->hide();
            w->lower();
        }
    }
    if (QWidget *front = control(plan.front)) {
        if (selector == 1)
            fr->setColumnWidth(0, twipsToPixels(kFileListFirstColumnTwips));
        front->show();
        front->raise();
    }
}

// Empties the picture view and the text pane.
void Form1::ClearPicTxt()
{
    m_pictureView->clear();
    mData->clear();
}

// Leaves the single-file view.
void Form1::PutViewerAway()
{
    ClearPicTxt();
}

void Form1::DispFR()
{
    using viewer::Presentation;
    const Presentation presentation = viewer::presentationFor(CurrentFileName);
    const QString path = viewer::joinPath(CurrentFolder, CurrentFileName);
    const auto showViewerButtons = [this](int kind) {
        if (ViewerToolbarKind == kind)
            return;
        ShowLayout(ViewerLayout(kind, ModeNo, LayoutState, m_catalog.isArchive()));
        ViewerToolbarKind = kind;
    };
    const auto hideSearchText = [this] {
        if (auto *text = findChild<QWidget *>(QStringLiteral("Text1(0)")))
            text->hide();
    };

    switch (presentation) {
    case Presentation::Picture:
        BringPanelToFront(2);
        viewer::DispPic(m_pictureView, CurrentFolder, CurrentFileName, m_prompter);
        showViewerButtons(ViewerKind::Picture);
        hideSearchText();
        break;
    case Presentation::MultiPagePicture: {
        BringPanelToFront(2);
        const int pages = viewer::DispPicTIF(m_pictureView, CurrentFolder, CurrentFileName, m_prompter);
        PageCount = pages > 0 ? pages : 1;
        CurrentPage = 0;
        showViewerButtons(ViewerKind::MultiPage);
        setToolEnabled(QStringLiteral("Gprev"), PageCount != 1);
        setToolEnabled(QStringLiteral("Gnext"), PageCount != 1);
        setStatusPanelText(2, viewer::multiPageStatusText(CurrentPage, PageCount));
        hideSearchText();
        break;
    }
    case Presentation::DrawingNotice:
        BringPanelToFront(4);
        RTXText(viewer::kNoticeDrawing);
        showViewerButtons(ViewerKind::Drawing);
        hideSearchText();
        break;
    case Presentation::OwnText:
        BringPanelToFront(4);
        viewer::loadTextFile(mData, path);
        viewer::applyTextFontSize(mData, TextFontSize);
        showViewerButtons(ViewerKind::Application);
        break;
    case Presentation::ExtractedText:
        BringPanelToFront(4);
        ShowExtractedText();
        viewer::applyTextFontSize(mData, TextFontSize);
        showViewerButtons(ViewerKind::Application);
        break;
    case Presentation::Unknown:
        BringPanelToFront(4);
        RTXText(viewer::kNoticeUnsupported);
        showViewerButtons(ViewerKind::None);
        if (viewer::hidesSearchText(CurrentFileName))
            hideSearchText();
        break;
    }
}

void Form1::ShowExtractedText()
{
    BuiltinTextExtractor builtin;
    TextExtractor &extractor = TextExtractorOverride ? *TextExtractorOverride : builtin;
    viewer::ShowExtractedText(mData, extractor, viewer::joinPath(CurrentFolder, CurrentFileName));
}

void Form1::RTXText(int notice)
{
    viewer::RTXText(mData, notice, CurrentFileName);
}

// "apri": opens the shown file in its application. Other three-letter extensions are refused
// with a message; other four-letter ones do nothing.
void Form1::OpenInApplication()
{
    const viewer::AppRoute route = viewer::appRouteFor(CurrentFileName);
    if (route == viewer::AppRoute::Nothing)
        return;
    if (route == viewer::AppRoute::Refused) {
        m_prompter.inform(appTitle(), viewer::appRefusalMessage(CurrentFileName), Prompter::Icon::Warning);
        return;
    }
    // The desktop opens the file with the application registered for it; when none is, nothing
    // visible happens, as when an office application cannot be started.
    const QString path = viewer::joinPath(CurrentFolder, CurrentFileName);
    if (FileOpener)
        FileOpener(path);
    else
        QDesktopServices::openUrl(QUrl::fromLocalFile(path));
}

// Picture operations: "size", "left90", "right90", "enlarge", "Gprev", "Gnext", "sxf", "BackColor".
// Paging through a multi-page picture works here; the other operations come with the picture
// tools.
void Form1::PictureCommand(const QString &key)
{
    if (key == QLatin1String("Gprev") || key == QLatin1String("Gnext")) {
        if (PageCount < 1)
            return;
        if (key == QLatin1String("Gnext"))
            CurrentPage = CurrentPage + 1 > PageCount - 1 ? 0 : CurrentPage + 1;
        else
            CurrentPage = CurrentPage - 1 < 0 ? PageCount - 1 : CurrentPage - 1;
        viewer::ShowPage(m_pictureView, CurrentFolder, CurrentFileName, CurrentPage);
        setStatusPanelText(2, viewer::multiPageStatusText(CurrentPage, PageCount));
    }
}

// "excel": exports the shown picture with its catalogue data.
void Form1::ExportToExcel() { }

} // namespace tolvane::shell
