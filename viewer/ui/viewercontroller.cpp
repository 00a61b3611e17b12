#include "viewer/ui/viewercontroller.h"

#include <QDesktopServices>
#include <QDir>
#include <QEventLoop>
#include <QFileInfo>
#include <QGuiApplication>
#include <QShortcut>
#include <QTemporaryDir>
#include <QTextCharFormat>
#include <QTextEdit>
#include <QThread>
#include <QUrl>

#include "platform/apptitle.h"
#include "platform/desktopopen.h"
#include "platform/extract/extractionpool.h"
#include "platform/paths.h"
#include "platform/textextract.h"
#include "viewer/drawing/readers.h"
#include "viewer/drawing/render.h"
#include "viewer/notices.h"
#include "viewer/ui/phrasemarks.h"
#include "viewer/ui/picturedisplay.h"
#include "viewer/ui/pictureview.h"
#include "viewer/ui/textdisplay.h"

namespace tolvane::viewer::ui {

namespace {
// Pictures are shown on light grey, drawings on black.
const QColor kPictureBackground(0xE0, 0xE0, 0xE0);
const QColor kDrawingBackground(Qt::black);
} // namespace

ViewerController::ViewerController(Prompter &prompter, QWidget *frame, QObject *parent)
    : QObject(parent)
    , m_prompter(prompter)
    , m_picture(new PictureView(frame))
    , m_text(new QTextEdit(frame))
{
    m_picture->setObjectName(QStringLiteral("imk"));
    m_picture->hide();
    m_picture->setFocusPolicy(Qt::ClickFocus);
    auto *goTo = new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_G), m_picture);
    goTo->setContext(Qt::WidgetWithChildrenShortcut);
    connect(goTo, &QShortcut::activated, this, &ViewerController::GoToPage);
    connect(m_picture, &PictureView::doubleClicked, this, &ViewerController::GoToPage);
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
    m_drawing.reset();
    const Presentation presentation = presentationFor(name);
    m_multiPage = presentation == Presentation::MultiPagePicture;
    m_textShown = presentation == Presentation::OwnText || presentation == Presentation::ExtractedText;
    if (presentation != Presentation::Picture && presentation != Presentation::MultiPagePicture) {
        // The phrase marks must not carry over into the next text.
        m_text->clear();
        m_text->setCurrentCharFormat(QTextCharFormat());
    }
    switch (presentation) {
    case Presentation::Picture:
        Q_EMIT paneWanted(Pane::Picture);
        // DXF is routed as a picture, but no picture reader knows it: it is drawn like SXF, on
        // the pictures' grey.
        if (extensionOf(name).text.compare(QLatin1String("dxf"), Qt::CaseInsensitive) == 0)
            showDrawingFile(kPictureBackground);
        else
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
    m_drawing.reset();
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

void ViewerController::GoToPage()
{
    if (!m_multiPage || m_pageCount < 2)
        return;
    bool ok = false;
    const int page = m_prompter.number(
        appTitle(), QStringLiteral("表示するページ（1～%1）").arg(m_pageCount), m_currentPage + 1, 1, m_pageCount, &ok);
    if (!ok || page < 1 || page > m_pageCount)
        return;
    m_currentPage = page - 1;
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

SizeButton ViewerController::ToggleSizeCaption(const QString &caption)
{
    const SizeButton next = sizeButtonAfterPress(caption);
    m_picture->setScale(next.actualSize ? PictureView::Scale::ActualSize : PictureView::Scale::Fitted);
    return next;
}

void ViewerController::Rotate(bool left)
{
    // A view without a picture cannot turn: nothing is redrawn, as after a failed rotation.
    if (m_picture->hasImage())
        m_picture->rotateQuarter(left);
}

void ViewerController::Magnify()
{
    m_picture->setMagnifierEnabled(!m_picture->magnifierEnabled());
}

void ViewerController::ChooseBackColor()
{
    m_picture->setBackgroundColor(toggledBackground(m_picture->backgroundColor()));
}

QString ViewerController::ExportToExcel(const PictureSheet &sheet)
{
    const QString picture = shownPath();
    const auto noExcel = [this](const QString &detail) {
        const QString text = QStringLiteral("Excel が見つかりません。");
        m_prompter.inform(
            appTitle(), detail.isEmpty() ? text : text + QLatin1Char('\n') + detail, Prompter::Icon::Critical);
    };

    // A fresh folder per export: the user may keep several workbooks open at once.
    QTemporaryDir folder(QDir::tempPath() + QStringLiteral("/tolvane-excel-XXXXXX"));
    folder.setAutoRemove(false);
    const QString base = QFileInfo(m_name).completeBaseName();
    const QString xlsx = QDir::toNativeSeparators(
        folder.filePath((base.isEmpty() ? QStringLiteral("picture") : base) + QStringLiteral(".xlsx")));
    Result<PictureSheetOutcome> written = folder.isValid()
        ? writePictureSheet(xlsx, sheet, picture)
        : Result<PictureSheetOutcome>(Status::ioError(folder.errorString()));
    if (!written) {
        noExcel({});
        return {};
    }
    const bool opened = m_workbookOpener
        ? m_workbookOpener(xlsx)
        : desktopHasHandler(QStringLiteral("application/vnd.openxmlformats-officedocument.spreadsheetml.sheet"),
              QStringLiteral(".xlsx"))
            && openWithDesktop(xlsx);
    if (!opened) {
        noExcel(xlsx);
        return xlsx;
    }
    if (!written->pictureInserted)
        m_prompter.inform(appTitle(), picture + QStringLiteral("は見つかりません。"), Prompter::Icon::Critical);
    return xlsx;
}

void ViewerController::ShowDrawing()
{
    Q_EMIT paneWanted(Pane::Picture);
    showDrawingFile(kDrawingBackground);
}

bool ViewerController::showDrawingFile(const QColor &background)
{
    m_drawing.reset();
    // Drawn at the view's size in device pixels, so that the view shows it one to one.
    QSize size = m_picture->size() * m_picture->devicePixelRatioF();
    if (size.width() < 200 || size.height() < 200)
        size = QSize(1600, 1200);
    const QString path = shownPath();
    Result<drawing::Drawing> read = Status::cancelled();
    std::shared_ptr<const drawing::Drawing> shown;
    QImage image;
    // Reading and drawing a large drawing takes a moment: it runs on a worker thread while the
    // window keeps painting, under the wait cursor, taking no input until the picture is there.
    QGuiApplication::setOverrideCursor(Qt::WaitCursor);
    QEventLoop loop;
    std::unique_ptr<QThread> worker(QThread::create([&] {
        read = drawing::readDrawingFile(path);
        if (read) {
            shown = std::make_shared<const drawing::Drawing>(read.take());
            image = drawing::renderDrawingFitted(*shown, size, background);
        }
    }));
    connect(worker.get(), &QThread::finished, &loop, &QEventLoop::quit);
    worker->start();
    loop.exec(QEventLoop::ExcludeUserInputEvents);
    worker->wait();
    m_drawing = shown;
    QGuiApplication::restoreOverrideCursor();
    if (!read) {
        m_picture->clear();
        QString text = m_name + QStringLiteral(" を読込みに失敗しました。");
        if (read.status().code() == Status::Code::NotSupported
            && read.status().message() == QLatin1String("binary DXF"))
            text += QStringLiteral("\n（バイナリ形式の DXF には対応していません。）");
        m_prompter.inform(appTitle(), text, Prompter::Icon::Warning);
        return false;
    }
    m_picture->setBackgroundColor(background);
    m_picture->setImage(image);
    const QString skipped = drawing::skippedFeaturesText(*m_drawing);
    if (!skipped.isEmpty())
        m_prompter.inform(appTitle(), m_name + QStringLiteral("\n") + skipped, Prompter::Icon::Information);
    return true;
}

bool ViewerController::SearchStrFunc(const QString &word)
{
    if (m_textShown && markAllOccurrences(m_text, word) > 0)
        return true;
    m_prompter.inform(appTitle(), phraseNotFoundMessage(word), Prompter::Icon::Information);
    return false;
}

} // namespace tolvane::viewer::ui
