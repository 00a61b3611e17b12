#include "viewer/ui/viewercontroller.h"

#include <QDesktopServices>
#include <QTextCharFormat>
#include <QTextEdit>
#include <QUrl>

#include "platform/apptitle.h"
#include "platform/extract/extractionpool.h"
#include "platform/paths.h"
#include "platform/textextract.h"
#include "viewer/notices.h"
#include "viewer/ui/phrasemarks.h"
#include "viewer/ui/picturedisplay.h"
#include "viewer/ui/pictureview.h"
#include "viewer/ui/textdisplay.h"

namespace tolvane::viewer::ui {

ViewerController::ViewerController(Prompter &prompter, QWidget *frame, QObject *parent)
    : QObject(parent)
    , m_prompter(prompter)
    , m_picture(new PictureView(frame))
    , m_text(new QTextEdit(frame))
{
    m_picture->setObjectName(QStringLiteral("imk"));
    m_picture->hide();
    m_text->setObjectName(QStringLiteral("mData"));
    m_text->setReadOnly(true);
    m_text->hide();
}

ViewerController::~ViewerController() = default;

QString ViewerController::shownPath() const
{
    return joinPath(m_folder, m_name);
}

Presentation ViewerController::DispFR(const QString &folder, const QString &name, int fontSize)
{
    m_folder = folder;
    m_name = name;
    const Presentation presentation = presentationFor(name);
    m_textShown = presentation == Presentation::OwnText || presentation == Presentation::ExtractedText;
    if (presentation != Presentation::Picture && presentation != Presentation::MultiPagePicture) {
        // The phrase marks must not carry over into the next text.
        m_text->clear();
        m_text->setCurrentCharFormat(QTextCharFormat());
    }
    switch (presentation) {
    case Presentation::Picture:
        Q_EMIT paneWanted(Pane::Picture);
        DispPic(m_picture, folder, name, m_prompter);
        break;
    case Presentation::MultiPagePicture: {
        Q_EMIT paneWanted(Pane::Picture);
        const int pages = DispPicTIF(m_picture, folder, name, m_prompter);
        m_pageCount = pages > 0 ? pages : 1;
        m_currentPage = 0;
        Q_EMIT pageChanged(m_currentPage, m_pageCount);
        break;
    }
    case Presentation::DrawingNotice:
        Q_EMIT paneWanted(Pane::Text);
        RTXText(m_text, kNoticeDrawing, name);
        break;
    case Presentation::OwnText:
        Q_EMIT paneWanted(Pane::Text);
        loadTextFile(m_text, shownPath());
        applyTextFontSize(m_text, fontSize);
        break;
    case Presentation::ExtractedText: {
        Q_EMIT paneWanted(Pane::Text);
        if (!m_extractor && !m_workerExtractor)
            m_workerExtractor = std::make_unique<extract::WorkerTextExtractor>();
        ShowExtractedText(m_text, m_extractor ? *m_extractor : *m_workerExtractor, shownPath());
        applyTextFontSize(m_text, fontSize);
        break;
    }
    case Presentation::Unknown:
        Q_EMIT paneWanted(Pane::Text);
        RTXText(m_text, kNoticeUnsupported, name);
        break;
    }
    return presentation;
}

void ViewerController::ClearPicTxt()
{
    m_picture->clear();
    m_text->clear();
    m_textShown = false;
}

void ViewerController::StepPage(bool next)
{
    if (m_pageCount < 1)
        return;
    if (next)
        m_currentPage = m_currentPage + 1 > m_pageCount - 1 ? 0 : m_currentPage + 1;
    else
        m_currentPage = m_currentPage - 1 < 0 ? m_pageCount - 1 : m_currentPage - 1;
    ShowPage(m_picture, m_folder, m_name, m_currentPage);
    Q_EMIT pageChanged(m_currentPage, m_pageCount);
}

void ViewerController::OpenInApplication()
{
    const AppRoute route = appRouteFor(m_name);
    if (route == AppRoute::Nothing)
        return;
    if (route == AppRoute::Refused) {
        m_prompter.inform(appTitle(), appRefusalMessage(m_name), Prompter::Icon::Warning);
        return;
    }
    // The desktop opens the file with the application registered for it; when none is, nothing
    // visible happens, as when an office application cannot be started.
    if (m_opener)
        m_opener(shownPath());
    else
        QDesktopServices::openUrl(QUrl::fromLocalFile(shownPath()));
}

void ViewerController::ToggleSizeCaption() { }

void ViewerController::Rotate(bool left)
{
    Q_UNUSED(left);
}

void ViewerController::Magnify() { }

void ViewerController::ChooseBackColor() { }

void ViewerController::ExportToExcel() { }

void ViewerController::ShowDrawing() { }

bool ViewerController::SearchStrFunc(const QString &word)
{
    if (m_textShown && markAllOccurrences(m_text, word) > 0)
        return true;
    m_prompter.inform(appTitle(), phraseNotFoundMessage(word), Prompter::Icon::Information);
    return false;
}

} // namespace tolvane::viewer::ui
