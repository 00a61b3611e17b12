// BinderController: the binder list `fg3` and the binder commands as the user runs them: the
// list's rows, creating and renaming binders in the name form (Form4), deleting and reordering
// binders, filing the shown file through the binder chooser (Form2), a binder's contents into
// BinderSet, detaching a file and storing the order of a binder's files. It owns the list
// widget; the main window places it, keeps the mode, the toolbar and the result list `fs`, and
// hears of a chosen binder by signal. Every write is refused in an archive catalogue. GUI
// thread only.
#pragma once

#include <QObject>
#include <QStringList>

#include "binders/binders.h"
#include "catalog/catalogstate.h"
#include "platform/prompter.h"

class QTreeWidget;
class QTreeWidgetItem;
class QWidget;

namespace tolvane::binders::ui {

class BinderController : public QObject {
    Q_OBJECT
public:
    // What a click on a binder row does besides choosing it.
    enum class ClickAction {
        Select, // binder maintenance: create, delete, reorder
        Rename, // the name form opens for the clicked binder
        ShowContents, // the binder-contents panel: the binder's files are wanted (binderChosen)
    };

    // binderSet is the main window's BinderSet; it and catalog outlive this object. The list is
    // created hidden as a child of frame.
    BinderController(Prompter &prompter, const catalog::CatalogState &catalog, RecordsetSlot &binderSet, QWidget *frame,
        QObject *parent = nullptr);

    QTreeWidget *binderList() const { return m_list; } // fg3

    // CurrentBinderID and CurrentBinderName: the binder chosen last (in fg3 or in Form2): 0 for
    // none or the root row, -1 after a cancelled chooser.
    int CurrentBinderID() const { return m_currentBinderID; }
    const QString &CurrentBinderName() const { return m_currentBinderName; }
    void setClickAction(ClickAction action) { m_clickAction = action; }

    // Empties fg3 to its root row "バインダ".
    void InitFG3();
    // Lists the binders under the root row in BdNo order, from BinderSet (left open). Returns
    // the number of binders.
    int ShowBinders();
    // Rows 1..n of fg3: the binders' identifiers as displayed.
    QList<int> displayedIds() const;
    // The row of fg3 chosen last (0: the root or none).
    int selectedRow() const;

    // The name form for a new binder (opened at once by "バインダ作成").
    void CreateBinderForm();
    // "del" while deleting binders: the chosen binder, after asking.
    void DeleteBinder();
    // "up" / "down" while reordering binders: moves the chosen row in the display only.
    void MoveListRow(bool up);
    // "reg" while reordering binders: stores the displayed order.
    void SaveNewOrder();

    // "Rec2Binder": the chooser (Form2), then the record's file (pnID, fName) filed.
    void Rec2Binder(int pnID, const QString &fName);

    // The files of the chosen binder into BinderSet, in DocNo order. Result: found.
    Result<bool> QueryBinderContents();
    // "del" while detaching: the file of row (1-based) of the shown contents, after asking.
    // True when it was detached.
    bool DetachFromBinder(int row);
    // "reg" while reordering a binder's files: the DocNo cells of the displayed rows in order.
    // True when stored.
    bool SaveFileOrder(const QList<int> &displayedDocNos);

Q_SIGNALS:
    // A binder was clicked in the binder-contents panel: its files are wanted.
    void binderChosen(int bdID);

private:
    void rowClicked(QTreeWidgetItem *item);
    static Result<QList<BinderEntry>> FillBinderCombo(jet::Database &db, Prompter::ChoiceForm &form);
    void RenameBinderForm();
    // Form4: asks for a name until write accepts one (or the form is cancelled).
    void nameForm(const Prompter::TextForm &form, const std::function<Outcome(const QString &)> &write);
    void refreshList();
    jet::Database *writableDb() const;

    Prompter &m_prompter;
    const catalog::CatalogState &m_catalog;
    RecordsetSlot &m_binderSet;
    QTreeWidget *m_list;
    QTreeWidgetItem *m_root = nullptr;
    ClickAction m_clickAction = ClickAction::Select;
    int m_currentBinderID = 0;
    QString m_currentBinderName;
};

} // namespace tolvane::binders::ui
