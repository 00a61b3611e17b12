#include "binders/ui/bindercontroller.h"

#include <functional>

#include <QApplication>
#include <QHeaderView>
#include <QStyle>
#include <QTreeWidget>

#include "binders/bindertexts.h"
#include "platform/apptitle.h"

namespace tolvane::binders::ui {

namespace {
// The binder's identifier is kept with its row, as text.
constexpr int kKeyRole = Qt::UserRole;
} // namespace

BinderController::BinderController(
    Prompter &prompter, const catalog::CatalogState &catalog, RecordsetSlot &binderSet, QWidget *frame, QObject *parent)
    : QObject(parent)
    , m_prompter(prompter)
    , m_catalog(catalog)
    , m_binderSet(binderSet)
    , m_list(new QTreeWidget(frame))
{
    m_list->setObjectName(QStringLiteral("fg3"));
    m_list->setColumnCount(1);
    m_list->header()->hide();
    m_list->setSelectionMode(QAbstractItemView::SingleSelection);
    m_list->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_list->hide();
    connect(m_list, &QTreeWidget::itemClicked, this, [this](QTreeWidgetItem *item) { rowClicked(item); });
    InitFG3();
}

jet::Database *BinderController::writableDb() const
{
    return m_catalog.isArchive() ? nullptr : m_catalog.db();
}

void BinderController::InitFG3()
{
    m_list->clear();
    m_root = new QTreeWidgetItem(m_list, { kRootText });
    m_root->setData(0, kKeyRole, QStringLiteral("0"));
    m_root->setExpanded(true);
}

int BinderController::ShowBinders()
{
    jet::Database *db = m_catalog.db();
    if (!db)
        return 0;
    const Result<bool> found = OpenBinderList(*db, m_binderSet);
    if (!found || !found.value())
        return 0;
    const QIcon picture = QApplication::style()->standardIcon(QStyle::SP_DirClosedIcon);
    int n = 0;
    for (m_binderSet->moveFirst(); !m_binderSet->eof(); m_binderSet->moveNext(), ++n) {
        auto *item = new QTreeWidgetItem(m_root, { m_binderSet->field(QStringLiteral("bName")).toString().trimmed() });
        item->setIcon(0, picture);
        item->setData(0, kKeyRole, QString::number(m_binderSet->field(QStringLiteral("bdID")).toInt()));
    }
    m_root->setExpanded(true);
    return n;
}

QList<int> BinderController::displayedIds() const
{
    QList<int> ids;
    for (int i = 0; i < m_root->childCount(); ++i)
        ids << m_root->child(i)->data(0, kKeyRole).toString().toInt();
    return ids;
}

int BinderController::selectedRow() const
{
    const QList<QTreeWidgetItem *> selected = m_list->selectedItems();
    if (selected.isEmpty() || selected.last() == m_root)
        return 0;
    return m_root->indexOfChild(selected.last()) + 1;
}

void BinderController::rowClicked(QTreeWidgetItem *item)
{
    if (!item)
        return;
    m_currentBinderID = item->data(0, kKeyRole).toString().toInt();
    m_currentBinderName = item->text(0);
    switch (m_clickAction) {
    case ClickAction::Select:
        break;
    case ClickAction::Rename:
        if (m_currentBinderID != 0)
            RenameBinderForm();
        break;
    case ClickAction::ShowContents:
        if (m_currentBinderID == 0)
            m_prompter.inform(appTitle(), kNoBindersMessage, Prompter::Icon::Warning);
        else
            Q_EMIT binderChosen(m_currentBinderID);
        break;
    }
}

void BinderController::refreshList()
{
    m_binderSet.reset();
    InitFG3();
    ShowBinders();
}

void BinderController::nameForm(const Prompter::TextForm &form, const std::function<Outcome(const QString &)> &write)
{
    Prompter::TextForm shown = form;
    for (;;) {
        bool ok = false;
        const QString typed = m_prompter.textForm(shown, &ok);
        if (!ok)
            return;
        const Outcome outcome = write(typed);
        if (outcome == Outcome::Refused) {
            // The form stays open with what was typed, for another name.
            shown.initial = typed;
            continue;
        }
        if (outcome == Outcome::Done)
            refreshList();
        return;
    }
}

void BinderController::CreateBinderForm()
{
    jet::Database *db = writableDb();
    if (!db)
        return;
    nameForm({ kCreateCaption, kCreatePrompt, QString(), kCreateButton, QStringLiteral("Form4") },
        [&](const QString &typed) { return CreateBinder(*db, m_prompter, typed); });
}

void BinderController::RenameBinderForm()
{
    jet::Database *db = writableDb();
    if (!db)
        return;
    const int bdID = m_currentBinderID;
    nameForm({ kRenameCaption, kRenamePrompt, m_currentBinderName, kRenameButton, QStringLiteral("Form4") },
        [&](const QString &typed) { return RenameBinder(*db, m_prompter, m_binderSet, bdID, typed); });
}

void BinderController::DeleteBinder()
{
    jet::Database *db = writableDb();
    if (!db)
        return;
    const int row = selectedRow();
    if (row < 1) {
        m_prompter.inform(appTitle(), kChooseToDeleteMessage, Prompter::Icon::Warning);
        return;
    }
    QTreeWidgetItem *item = m_root->child(row - 1);
    if (m_prompter.message(
            { appTitle(), deleteQuestion(item->text(0)), Prompter::Icon::Question, Prompter::Buttons::YesNo })
        != Prompter::Answer::Yes)
        return;
    DeleteBinderRows(*db, m_prompter, m_binderSet, item->data(0, kKeyRole).toString().toInt());
    refreshList();
}

void BinderController::MoveListRow(bool up)
{
    const int row = selectedRow();
    const int n = m_root->childCount();
    if (row < 1 || (up && row == 1) || (!up && row == n))
        return;
    QTreeWidgetItem *item = m_root->takeChild(row - 1);
    m_root->insertChild(up ? row - 2 : row, item);
    m_list->setCurrentItem(item);
    item->setSelected(true);
}

void BinderController::SaveNewOrder()
{
    jet::Database *db = writableDb();
    if (!db)
        return;
    const int row = selectedRow();
    if (SaveBinderOrder(*db, m_prompter, m_binderSet, displayedIds()) != Outcome::Done) {
        // What is stored is what is shown again.
        refreshList();
        return;
    }
    // The list reads back in its stored order, which is the order shown; the chosen row stays.
    refreshList();
    if (row >= 1 && row <= m_root->childCount())
        m_list->setCurrentItem(m_root->child(row - 1));
}

// The chooser's items: the binders' names in BdNo order; their identifiers are returned.
Result<QList<BinderEntry>> BinderController::FillBinderCombo(jet::Database &db, Prompter::ChoiceForm &form)
{
    auto binders = ReadBinders(db);
    if (binders)
        for (const BinderEntry &b : binders.value())
            form.items << b.bName;
    return binders;
}

void BinderController::Rec2Binder(int pnID, const QString &fName)
{
    jet::Database *db = writableDb();
    if (!db)
        return;
    Prompter::ChoiceForm form2 { kChooserText, QString(), {}, kChooserText, QStringLiteral("Form2") };
    const auto binders = FillBinderCombo(*db, form2);
    if (!binders)
        return;
    bool ok = false;
    const int index = m_prompter.choose(form2, &ok);
    if (!ok) {
        m_currentBinderID = -1;
        return;
    }
    if (index < 0 || index >= binders->size()) {
        m_currentBinderID = 0;
        m_prompter.inform(appTitle(), kChooseBinderMessage, Prompter::Icon::Warning);
        return;
    }
    m_currentBinderID = binders->at(index).bdID;
    m_currentBinderName = binders->at(index).bName;
    FileShownIntoBinder(*db, m_prompter, m_currentBinderID, m_currentBinderName, pnID, fName);
}

Result<bool> BinderController::QueryBinderContents()
{
    jet::Database *db = m_catalog.db();
    if (!db)
        return Status::invalidArgument(QStringLiteral("no catalogue"));
    return OpenBinderContents(*db, m_binderSet, m_currentBinderID);
}

bool BinderController::DetachFromBinder(int row)
{
    jet::Database *db = writableDb();
    return db && binders::DetachFromBinder(*db, m_prompter, m_binderSet, row, m_currentBinderName) == Outcome::Done;
}

bool BinderController::SaveFileOrder(const QList<int> &displayedDocNos)
{
    jet::Database *db = writableDb();
    return db && binders::SaveFileOrder(*db, m_prompter, m_binderSet, displayedDocNos) == Outcome::Done;
}

} // namespace tolvane::binders::ui
