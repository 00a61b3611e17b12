#include "registration/ui/historygrid.h"

#include <QApplication>
#include <QEvent>
#include <QHeaderView>
#include <QItemSelectionModel>
#include <QLineEdit>
#include <QMouseEvent>
#include <QStandardItemModel>
#include <QStyledItemDelegate>
#include <QTableView>

#include "platform/apptitle.h"
#include "registration/ui/calendarpicker.h"
#include "registration/ui/slipeditors.h"

namespace tolvane::registration {

namespace {

constexpr int kDateCol = 1;
constexpr int kNoteCol = 2;
constexpr int kColumnTwips[3] = { 200, 1200, 2600 };
// The date text last accepted in a date cell: what a refused entry falls back to.
constexpr int kAcceptedDateRole = Qt::UserRole + 1;

// Notes are typed no longer than a history line can store.
class HistoryDelegate : public QStyledItemDelegate {
public:
    HistoryDelegate(Prompter &prompter, QObject *parent)
        : QStyledItemDelegate(parent)
        , m_prompter(prompter)
    {
    }

    QWidget *createEditor(QWidget *parent, const QStyleOptionViewItem &option, const QModelIndex &index) const override
    {
        QWidget *editor = QStyledItemDelegate::createEditor(parent, option, index);
        if (auto *line = qobject_cast<QLineEdit *>(editor); line && index.column() == kNoteCol)
            limitLineEditor(line, kHistoryNoteMaxLength, QStringLiteral("記事"), m_prompter);
        return editor;
    }

private:
    Prompter &m_prompter;
};

QList<QStandardItem *> lineItems(const QString &date, const QString &note, bool editable)
{
    QList<QStandardItem *> items { new QStandardItem, new QStandardItem(date), new QStandardItem(note) };
    items[kDateCol]->setData(date, kAcceptedDateRole);
    for (int c = 0; c < 3; ++c) {
        items[c]->setTextAlignment(Qt::AlignLeft | Qt::AlignVCenter);
        Qt::ItemFlags flags = Qt::ItemIsEnabled | Qt::ItemIsSelectable;
        if (editable && c > 0)
            flags |= Qt::ItemIsEditable;
        items[c]->setFlags(flags);
    }
    return items;
}

// Presses are recorded before the view moves its current cell.
class PressRecorder : public QObject {
public:
    PressRecorder(HistoryGrid *grid)
        : QObject(grid)
        , m_grid(grid)
    {
    }

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::Hide && watched == m_grid->view()) {
            // The calendar belongs to the history: it goes when the grid goes.
            if (CalendarPicker *calendar = m_grid->calendar())
                calendar->hide();
        } else if (event->type() == QEvent::MouseButtonPress && watched == m_grid->view()->viewport()) {
            const auto *me = static_cast<QMouseEvent *>(event);
            const QModelIndex index = m_grid->view()->indexAt(me->position().toPoint());
            m_grid->HistoryRow = index.isValid() ? index.row() : -1;
            m_grid->HistoryCol = index.isValid() ? index.column() : -1;
        }
        return QObject::eventFilter(watched, event);
    }

private:
    HistoryGrid *m_grid;
};

} // namespace

HistoryGrid::HistoryGrid(QTableView *view, CalendarPicker *calendar, Prompter &prompter, QObject *parent)
    : QObject(parent)
    , m_view(view)
    , m_model(new QStandardItemModel(0, 3, this))
    , m_calendar(calendar)
    , m_prompter(prompter)
{
    setUpGridView(m_view, QStringLiteral("vs"), m_model, new HistoryDelegate(m_prompter, this));
    setArchive(false);
    auto *recorder = new PressRecorder(this);
    m_view->viewport()->installEventFilter(recorder);
    m_view->installEventFilter(recorder);
    connect(m_view->selectionModel(), &QItemSelectionModel::currentChanged, this,
        [this](
            const QModelIndex &current, const QModelIndex &) { currentCellChanged(current.row(), current.column()); });
    connect(m_model, &QStandardItemModel::itemChanged, this, &HistoryGrid::lineChanged);
    if (m_calendar)
        connect(m_calendar, &CalendarPicker::datePicked, this, &HistoryGrid::writePickedDate);
    prepare();
}

void HistoryGrid::setArchive(bool archive)
{
    m_archive = archive;
    m_view->setEditTriggers(archive ? QAbstractItemView::NoEditTriggers
                                    : QAbstractItemView::SelectedClicked | QAbstractItemView::DoubleClicked
                | QAbstractItemView::EditKeyPressed | QAbstractItemView::AnyKeyPressed);
}

void HistoryGrid::markEdited()
{
    m_historyDirty = true;
    Q_EMIT edited();
}

void HistoryGrid::prepare()
{
    m_filling = true;
    m_view->clearSpans();
    m_model->clear();
    m_model->setColumnCount(3);
    QFont bold = m_view->font();
    bold.setBold(true);
    QList<QStandardItem *> title = lineItems({}, {}, false);
    title[kDateCol]->setText(QStringLiteral("改訂履歴"));
    title[kDateCol]->setFont(bold);
    m_model->appendRow(title);
    QList<QStandardItem *> headings = lineItems(QStringLiteral("改訂日付"), QStringLiteral("記事"), false);
    headings[kDateCol]->setFont(bold);
    headings[kNoteCol]->setFont(bold);
    m_model->appendRow(headings);
    m_view->setSpan(0, kDateCol, 1, 2);
    for (int c = 0; c < 3; ++c)
        m_view->setColumnWidth(c, twipsToPixels(m_view, kColumnTwips[c]));
    HistoryRow = HistoryCol = -1;
    m_refusalPending = false;
    m_filling = false;
    if (m_calendar)
        m_calendar->hide();
}

void HistoryGrid::showLines(const QList<HistoryLine> &lines)
{
    m_filling = true;
    for (const HistoryLine &line : lines)
        m_model->appendRow(lineItems(line.date, line.note, !m_archive));
    m_filling = false;
    autoFit();
}

void HistoryGrid::setFontSize(int points)
{
    if (points <= 0)
        return;
    const QFont bold = setViewPointSize(m_view, points);
    m_filling = true;
    if (m_model->rowCount() >= kFirstLineRow) {
        m_model->item(0, kDateCol)->setFont(bold);
        m_model->item(1, kDateCol)->setFont(bold);
        m_model->item(1, kNoteCol)->setFont(bold);
    }
    m_filling = false;
    m_view->resizeRowsToContents();
}

bool HistoryGrid::finishEdit()
{
    commitOpenEditors(m_view);
    return showPendingRefusal();
}

void HistoryGrid::lineChanged(QStandardItem *item)
{
    if (m_filling || item->row() < kFirstLineRow)
        return;
    if (item->column() != kDateCol || isHistoryDateText(item->text())) {
        if (item->column() == kDateCol)
            item->setData(item->text(), kAcceptedDateRole);
        markEdited();
        return;
    }
    // Not a date: the cell goes back to what it held, and the user is told.
    const QString typed = item->text();
    m_filling = true;
    item->setText(item->data(kAcceptedDateRole).toString());
    m_filling = false;
    // An entry left for the calendar is replaced by the date picked there: nothing to tell.
    if (m_calendar && m_calendar->hasFocus())
        return;
    m_refusedText = typed;
    m_refusedRow = item->row();
    if (!m_refusalPending) {
        m_refusalPending = true;
        // Told once the editor has closed, so that the message does not end the edit again.
        QMetaObject::invokeMethod(this, &HistoryGrid::showPendingRefusal, Qt::QueuedConnection);
    }
}

std::optional<QString> HistoryGrid::takeRefusal()
{
    commitOpenEditors(m_view);
    if (!m_refusalPending)
        return std::nullopt;
    m_refusalPending = false;
    return m_refusedText;
}

bool HistoryGrid::showPendingRefusal()
{
    if (!m_refusalPending)
        return true;
    m_refusalPending = false;
    if (m_refusedRow >= kFirstLineRow && m_refusedRow < m_model->rowCount()) {
        HistoryRow = m_refusedRow;
        HistoryCol = kDateCol;
        m_view->setCurrentIndex(m_model->index(m_refusedRow, kDateCol));
        if (m_calendar && !m_archive)
            m_calendar->showInFront();
    }
    m_prompter.inform(appTitle(), badHistoryDateMessage(m_refusedText), Prompter::Icon::Warning);
    return false;
}

QList<HistoryLine> HistoryGrid::lines()
{
    finishEdit();
    QList<HistoryLine> out;
    for (int r = kFirstLineRow; r < m_model->rowCount(); ++r)
        out.append({ m_model->item(r, kDateCol)->text(), m_model->item(r, kNoteCol)->text() });
    return out;
}

int HistoryGrid::lineCount() const
{
    return qMax(0, m_model->rowCount() - kFirstLineRow);
}

void HistoryGrid::AddLine()
{
    if (m_archive)
        return;
    m_filling = true;
    m_model->appendRow(lineItems({}, {}, true));
    m_filling = false;
}

void HistoryGrid::DelLine()
{
    if (m_archive || m_model->rowCount() <= kFirstLineRow)
        return;
    if (HistoryRow < kFirstLineRow || HistoryRow >= m_model->rowCount()) {
        m_prompter.inform(appTitle(), kSelectLineMessage, Prompter::Icon::Warning);
        return;
    }
    const QString date = m_model->item(HistoryRow, kDateCol)->text();
    const Prompter::Answer answer = m_prompter.message(
        { appTitle(), deleteLineQuestion(HistoryRow - 1, date), Prompter::Icon::Question, Prompter::Buttons::YesNo });
    if (answer != Prompter::Answer::Yes)
        return;
    m_model->removeRow(HistoryRow);
    markEdited();
    // The pressed row is gone: a second "DelLine" needs a new choice.
    HistoryRow = -1;
}

void HistoryGrid::pressAt(int row, int col)
{
    HistoryRow = row;
    HistoryCol = col;
    m_view->setCurrentIndex(m_model->index(row, col));
}

void HistoryGrid::editCell(int row, int col, const QString &text)
{
    if (m_archive || row < kFirstLineRow || row >= m_model->rowCount() || col < kDateCol || col > kNoteCol)
        return;
    m_model->item(row, col)->setText(text);
}

void HistoryGrid::currentCellChanged(int row, int col)
{
    if (!m_calendar)
        return;
    if (col == kDateCol && row >= kFirstLineRow && !m_archive)
        m_calendar->showInFront();
    else
        m_calendar->hide();
}

void HistoryGrid::writePickedDate(const QString &dateText)
{
    const int row = m_view->currentIndex().row();
    if (row < kFirstLineRow || row >= m_model->rowCount() || m_archive)
        return;
    // An entry still open in the cell gives way to the picked date.
    commitOpenEditors(m_view);
    m_refusalPending = false;
    m_model->item(row, kDateCol)->setText(dateText);
    markEdited();
}

void HistoryGrid::autoFit()
{
    fitTwoColumns(m_view, kDateCol, kColumnTwips[1], kNoteCol, kColumnTwips[2]);
}

} // namespace tolvane::registration
