#include "browser/ui/browsercontroller.h"

#include "browser/filelist.h"
#include "browser/filelistmodel.h"
#include "browser/ui/filelistview.h"
#include "browser/ui/folderpanel.h"
#include "platform/apptitle.h"
#include "platform/paths.h"

namespace tolvane::browser::ui {

BrowserController::BrowserController(Prompter &prompter, QWidget *frame, QObject *parent)
    : QObject(parent)
    , m_prompter(prompter)
    , m_files(new FileListModel(this))
    , m_panel(new FolderPanel(frame))
    , m_list(new FileListView(m_files, frame))
{
    m_panel->setObjectName(QStringLiteral("fg"));
    m_panel->hide();
    m_list->setObjectName(QStringLiteral("fr"));
    m_list->hide();

    connect(m_panel, &FolderPanel::folderChosen, this, [this](int row, const QString &path) {
        m_folderPanelRow = row;
        Q_EMIT folderChosen(row, path);
    });
    connect(m_list, &FileListView::rowPressed, this, [this](int row, int col) {
        m_currentRow = row;
        m_currentCol = col;
        m_previousRow = m_currentRow;
    });
    connect(m_list, &FileListView::rowClicked, this, [this](int, int) {
        if (m_currentRow >= 1 && m_currentRow < m_files->rows())
            Q_EMIT fileClicked();
    });
}

QTreeView *BrowserController::folderPanel() const
{
    return m_panel;
}

void BrowserController::reapplyListLook(int firstColumnPx)
{
    m_list->setFirstColumnWidth(firstColumnPx);
}

QTableView *BrowserController::fileList() const
{
    return m_list;
}

QStringList BrowserController::names() const
{
    return m_files->names();
}

QList<QDateTime> BrowserController::modifiedTimes() const
{
    QList<QDateTime> times;
    times.reserve(m_files->files().size());
    for (const ListedFile &f : m_files->files())
        times.append(f.modified);
    return times;
}

int BrowserController::fileCount() const
{
    return m_files->rows() - 1;
}

void BrowserController::setFontSize(int points)
{
    m_fontSize = points;
}

void BrowserController::InitControls()
{
    m_panel->clearFolders();
    m_list->initControls();
    m_list->setStartWidths();
    m_folderPanelRow = 0;
}

void BrowserController::ListFolderFiles(const QString &folder)
{
    m_folder = folder;
    browser::ListFolderFiles(*m_files, folder);
    m_list->setFontSize(m_fontSize);
    m_list->fitColumns();
}

void BrowserController::RelistFolder()
{
    ListFolderFiles(m_folder);
}

void BrowserController::FillFolderPanel(jet::Database *db, const QString &chosenFolder)
{
    m_panel->fillRegisteredFolders(db);
    m_panel->markFolder(chosenFolder);
    m_folderPanelRow = m_panel->currentRow();
}

void BrowserController::TakeCurrentFile()
{
    if (m_currentRow < 1 || m_currentRow >= m_files->rows())
        return;
    m_fileName = m_files->name(m_currentRow);
    m_fileDate = fileDateText(joinPath(m_folder, m_fileName));
}

bool BrowserController::TakeFirstFile()
{
    m_currentRow = 1;
    return m_files->rows() >= 2;
}

void BrowserController::ShowListedFile(int previousRow)
{
    TakeCurrentFile();
    // The highlight follows the shown file wherever the previous one was.
    m_files->clearRowColors();
    PutGreen_frList(*m_files, 0, m_currentRow);
    m_previousRow = previousRow;
}

bool BrowserController::StepFolderFile(bool next)
{
    if (!next && m_currentRow < 2) {
        m_prompter.inform(appTitle(), QStringLiteral("最初のファイルに到達しました。"), Prompter::Icon::Warning);
        return false;
    }
    if (next && m_currentRow >= m_files->rows() - 1) {
        m_prompter.inform(appTitle(), QStringLiteral("最後のファイルに到達しました。"), Prompter::Icon::Warning);
        return false;
    }
    m_previousRow = m_currentRow;
    m_currentRow += next ? 1 : -1;
    PutGreen_frList(*m_files, m_previousRow, m_currentRow);
    m_list->scrollTo(m_files->index(m_currentRow - 1, 0));
    TakeCurrentFile();
    return true;
}

} // namespace tolvane::browser::ui

namespace tolvane::browser::ui {

void BrowserController::MarkFullTextHits(const QList<bool> &hits)
{
    const int rows = fileCount();
    for (int row = 1; row <= rows; ++row)
        m_files->setRowColors(row, Qt::white, Qt::black);
    for (int row = 1; row <= rows && row <= hits.size(); ++row) {
        if (hits.at(row - 1))
            m_files->setRowColors(row, QColor(192, 0, 0), Qt::white);
    }
}

} // namespace tolvane::browser::ui
