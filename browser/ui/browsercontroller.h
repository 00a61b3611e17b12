// BrowserController: the folder panel `fg` and the file list `fr` of the folder being browsed.
// It owns both widgets (under the main window's pane frame), the listed folder, the current row
// of the list and its highlight. The main window places the widgets and decides what a chosen
// file or folder means in the current mode; this class reports both by signals. GUI thread only.
#pragma once

#include <QDateTime>
#include <QObject>
#include <QStringList>

#include "platform/prompter.h"

class QTableView;
class QTreeView;
class QWidget;

namespace tolvane::jet {
class Database;
}

namespace tolvane::browser {
class FileListModel;
}

namespace tolvane::browser::ui {

class FileListView;
class FolderPanel;

class BrowserController : public QObject {
    Q_OBJECT
public:
    // The widgets are created hidden as children of frame.
    BrowserController(Prompter &prompter, QWidget *frame, QObject *parent = nullptr);

    QTreeView *folderPanel() const; // fg
    QTableView *fileList() const; // fr
    // fr brought to the front: its standard look, the first column firstColumnPx wide.
    void reapplyListLook(int firstColumnPx);

    // The folder whose files fr lists, exactly as the folder dialog returned it.
    const QString &listedFolder() const { return m_folder; }
    // The current file: its name and its modification day ("yyyy-mm-dd", read from the disk).
    const QString &currentFileName() const { return m_fileName; }
    const QString &currentFileDate() const { return m_fileDate; }
    // Grid row of the current file in fr (0: none).
    int currentRow() const { return m_currentRow; }
    // The names listed in fr, in list order.
    QStringList names() const;
    // Their modification times as the list read them (parallel to names()).
    QList<QDateTime> modifiedTimes() const;
    // Number of file rows in fr.
    int fileCount() const;

    void setFontSize(int points);

    // Prepares fg (empty) and fr (cleared, headings, start widths).
    void InitControls();
    // Refills fr with the files of folder.
    void ListFolderFiles(const QString &folder);
    // Lists the last listed folder again (a node chosen in fg while files are shown).
    void RelistFolder();
    // Shows the catalogue's registered folders in fg, chosenFolder marked open among them.
    void FillFolderPanel(jet::Database *db, const QString &chosenFolder);

    // Makes the first file current; false when fr lists none.
    bool TakeFirstFile();
    // The file of currentRow() becomes the shown one: the only row in green, its name and date
    // taken. previousRow is remembered as the row that carried the highlight before.
    void ShowListedFile(int previousRow);
    // "Prev"/"Next" over fr: the end messages at either end, otherwise the neighbouring file
    // becomes current, highlighted and scrolled to. False at an end.
    bool StepFolderFile(bool next);
    // The marks of a full-text search: every row white with black text, then the rows whose
    // flag is true dark red (192, 0, 0) with white text. hits has one flag per file row.
    void MarkFullTextHits(const QList<bool> &hits);
    // The row pressed last, before it is opened.
    int previousRow() const { return m_previousRow; }

Q_SIGNALS:
    // A node of fg was chosen (its display-order row and path).
    void folderChosen(int row, const QString &path);
    // A row of fr holding a file was clicked: it is now currentRow().
    void fileClicked();

private:
    void TakeCurrentFile();

    Prompter &m_prompter;
    FileListModel *m_files = nullptr;
    FolderPanel *m_panel = nullptr;
    FileListView *m_list = nullptr;
    QString m_folder;
    QString m_fileName;
    QString m_fileDate;
    int m_currentRow = 0;
    int m_currentCol = 0;
    int m_previousRow = 0;
    int m_folderPanelRow = 0;
    int m_fontSize = 10;
};

} // namespace tolvane::browser::ui
