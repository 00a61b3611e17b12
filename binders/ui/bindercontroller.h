// BinderController: the binder list `fg3` and the commands on binders and their files. It owns
// the list widget; the main window places it and keeps the mode and toolbar. GUI thread only.
//
// TODO(#17): the binder list's rows, creating, renaming, deleting and reordering binders, filing
// the shown file ("Rec2Binder"), a binder's files and their order, and stepping through them.
#pragma once

#include <QObject>

class QTableView;
class QWidget;

namespace tolvane::binders::ui {

class BinderController : public QObject {
    Q_OBJECT
public:
    // The list is created hidden as a child of frame.
    explicit BinderController(QWidget *frame, QObject *parent = nullptr);

    QTableView *binderList() const { return m_list; } // fg3

    void RestoreBinderPanel(); // "BackTo" from a binder's file
    void Rec2Binder(); // "Rec2Binder"
    void MoveListRow(bool up); // "up" / "down"
    void SaveNewOrder(); // "reg"
    void DeleteOrDetach(); // "del": deletes a binder or detaches a file

private:
    QTableView *m_list;
};

} // namespace tolvane::binders::ui
