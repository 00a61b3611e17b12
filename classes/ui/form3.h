// Form3: the classification editor, a modal dialog over the open catalogue. It owns its grid
// `fg` (the working copy of ClassN, ClassListModel), its toolbar `Toolbar1` and status bar, and
// stores the whole list in one transaction on "reg". Whoever opens it reloads its own class
// table when classesStored() is reported. GUI thread only.
#pragma once

#include <QDialog>

#include "platform/jet/database.h"
#include "platform/prompter.h"

class QAction;
class QStatusBar;
class QTableView;
class QToolBar;

namespace tolvane::classes {

class ClassListModel;

namespace ui {

class Form3 : public QDialog {
    Q_OBJECT
public:
    // The help topic of the dialog.
    static constexpr int kHelpContextId = 10032;

    // Reads ClassN from db at once (an unreadable table is reported, leaves the grid empty and
    // "reg" disabled). db must outlive the dialog. fontSize is the main window's text size
    // (TextFontSize).
    Form3(Prompter &prompter, jet::Database &db, int fontSize, QWidget *parent = nullptr);
    ~Form3() override;

    QTableView *grid() const { return fg; }
    ClassListModel &model() const { return *m_model; }
    QToolBar *toolbar() const { return Toolbar1; }
    // The toolbar's buttons, by key ("add", "del", "up", "down", "backC", "reg", "cancel").
    QAction *toolAction(const QString &key) const;
    // Grid row (1.. data rows, 0 heading or none yet, -1 outside the rows) and column of the last
    // mouse press on the grid.
    int clickedRow() const { return m_clickedRow; }
    int clickedColumn() const { return m_clickedCol; }

    // The toolbar's click handler.
    void Toolbar1_ButtonClick(const QString &key);

Q_SIGNALS:
    // The list was stored: ClassN now holds what the grid showed.
    void classesStored();
    // F1 was pressed: the help topic contextId is wanted.
    void helpRequested(int contextId);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void buildToolbar();
    int twipsToPixels(int twips) const;
    void autoSizeColumns();
    void fg_MouseDown(const QPoint &viewportPos);
    void addRow();
    void deleteRow();
    void moveRow(bool up);
    void chooseColour();
    void storeAndClose();
    int selectedDataRow() const; // 0-based model row, -1 when none

    Prompter &m_prompter;
    jet::Database &m_db;
    ClassListModel *m_model;
    QToolBar *Toolbar1 = nullptr;
    QTableView *fg = nullptr;
    QStatusBar *StatusBar1 = nullptr;
    int m_clickedRow = 0;
    int m_clickedCol = 0;
};

} // namespace ui
} // namespace tolvane::classes
