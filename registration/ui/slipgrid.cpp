#include "registration/ui/slipgrid.h"

#include <QComboBox>
#include <QEvent>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMouseEvent>
#include <QStandardItemModel>
#include <QStyledItemDelegate>
#include <QTableView>

#include "platform/apptitle.h"
#include "platform/bgrcolor.h"
#include "registration/ui/slipeditors.h"

namespace tolvane::registration {

namespace {

constexpr int kLabelCol = 1;
constexpr int kValueCol = 2;
constexpr int kColumnTwips[3] = { 200, 1200, 2600 };

// The classification row edits through a drop-down of the classification names; the
// keyword row through the ordinary line editor.
class SlipDelegate : public QStyledItemDelegate {
public:
    SlipDelegate(const QList<catalog::ClassItem> &choices, Prompter &prompter, QObject *parent)
        : QStyledItemDelegate(parent)
        , m_choices(choices)
        , m_prompter(prompter)
    {
    }

    QWidget *createEditor(QWidget *parent, const QStyleOptionViewItem &option, const QModelIndex &index) const override
    {
        if (index.row() != SlipRow::Class) {
            QWidget *editor = QStyledItemDelegate::createEditor(parent, option, index);
            // Keywords are typed no longer than the record can store.
            if (auto *line = qobject_cast<QLineEdit *>(editor); line && index.row() == SlipRow::Keywords)
                limitLineEditor(line, kKeywordsMaxLength, QStringLiteral("キーワード"), m_prompter);
            return editor;
        }
        auto *combo = new QComboBox(parent);
        combo->setObjectName(QStringLiteral("fg2ClassList"));
        // The list text is "|name1|name2|": one entry per name between the bars.
        const QStringList names = classificationListText(m_choices).split(QLatin1Char('|'), Qt::SkipEmptyParts);
        combo->addItems(names);
        return combo;
    }

    void setEditorData(QWidget *editor, const QModelIndex &index) const override
    {
        if (auto *combo = qobject_cast<QComboBox *>(editor)) {
            combo->setCurrentIndex(combo->findText(index.data().toString()));
            return;
        }
        QStyledItemDelegate::setEditorData(editor, index);
    }

    void setModelData(QWidget *editor, QAbstractItemModel *model, const QModelIndex &index) const override
    {
        if (auto *combo = qobject_cast<QComboBox *>(editor)) {
            if (combo->currentIndex() >= 0)
                model->setData(index, combo->currentText());
            return;
        }
        QStyledItemDelegate::setModelData(editor, model, index);
    }

private:
    const QList<catalog::ClassItem> &m_choices;
    Prompter &m_prompter;
};

} // namespace

SlipGrid::SlipGrid(QTableView *view, Prompter &prompter, QObject *parent)
    : QObject(parent)
    , m_view(view)
    , m_model(new QStandardItemModel(SlipRow::Count, 3, this))
    , m_prompter(prompter)
{
    setUpGridView(m_view, QStringLiteral("fg2"), m_model, new SlipDelegate(m_choices, m_prompter, this));
    m_view->setEditTriggers(QAbstractItemView::SelectedClicked | QAbstractItemView::DoubleClicked
        | QAbstractItemView::EditKeyPressed | QAbstractItemView::AnyKeyPressed);
    for (int c = 0; c < 3; ++c)
        m_view->setColumnWidth(c, twipsToPixels(m_view, kColumnTwips[c]));
    m_viewport = m_view->viewport();
    m_viewport->installEventFilter(this);
    m_view->installEventFilter(this);
    connect(m_model, &QStandardItemModel::itemChanged, this, [this](QStandardItem *item) {
        if (!m_filling && item->column() == kValueCol)
            afterEdit(item->row());
    });
}

void SlipGrid::setArchive(bool archive)
{
    m_archive = archive;
    m_view->setEditTriggers(archive ? QAbstractItemView::NoEditTriggers
                                    : QAbstractItemView::SelectedClicked | QAbstractItemView::DoubleClicked
                | QAbstractItemView::EditKeyPressed | QAbstractItemView::AnyKeyPressed);
}

void SlipGrid::setClassChoices(const QList<catalog::ClassItem> &choices)
{
    m_choices = choices;
}

void SlipGrid::prepare(const QStringList &headings)
{
    m_filling = true;
    m_view->clearSpans();
    m_model->clear();
    m_model->setRowCount(SlipRow::Count);
    m_model->setColumnCount(3);
    for (int r = 0; r < SlipRow::Count; ++r) {
        for (int c = 0; c < 3; ++c) {
            auto *item = new QStandardItem;
            item->setTextAlignment(Qt::AlignLeft | Qt::AlignVCenter);
            item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable);
            m_model->setItem(r, c, item);
        }
    }
    // Row 0: the title spans the label and value columns, in bold.
    m_view->setSpan(SlipRow::Title, kLabelCol, 1, 2);
    QFont bold = m_view->font();
    bold.setBold(true);
    m_model->item(SlipRow::Title, kLabelCol)->setFont(bold);
    for (int r = 1; r < SlipRow::Count && r - 1 < headings.size(); ++r)
        m_model->item(r, kLabelCol)->setText(headings.at(r - 1));
    for (int c = 0; c < 3; ++c)
        m_view->setColumnWidth(c, twipsToPixels(m_view, kColumnTwips[c]));
    // No cell is current until the user clicks one.
    m_view->selectionModel()->clear();
    m_filling = false;
}

void SlipGrid::fill(const SlipRecord &record, const QString &folder, int openedRow, int resultCount, int fontSize)
{
    m_filling = true;
    m_model->item(SlipRow::Title, kLabelCol)->setText(slipTitle(openedRow, resultCount));
    const QString values[SlipRow::Count] = { QString(), record.Class, record.fName, record.fDate, record.kStr, folder,
        QString::number(record.hsID), record.backC };
    for (int r = 1; r < SlipRow::Count; ++r) {
        QStandardItem *item = m_model->item(r, kValueCol);
        item->setText(values[r]);
        Qt::ItemFlags flags = Qt::ItemIsEnabled | Qt::ItemIsSelectable;
        if (isSlipRowEditable(r))
            flags |= Qt::ItemIsEditable;
        item->setFlags(flags);
    }
    const QColor back = colorFromBgrText(record.backC);
    m_model->item(SlipRow::Class, kValueCol)->setBackground(back.isValid() ? QBrush(back) : QBrush());
    m_filling = false;
    applyFontSize(fontSize);
    autoFit();
}

QString SlipGrid::cellText(int row, int col) const
{
    const QStandardItem *item = m_model->item(row, col);
    return item ? item->text() : QString();
}

void SlipGrid::finishEdit()
{
    commitOpenEditors(m_view);
}

SlipEdit SlipGrid::edit()
{
    finishEdit();
    return { cellText(SlipRow::Class), cellText(SlipRow::Keywords), cellText(SlipRow::BackColor) };
}

bool SlipGrid::pressAt(int row, int col)
{
    if (m_archive)
        return false;
    if (col < kValueCol || row < 1 || row >= SlipRow::Count)
        return false;
    if (isSlipRowEditable(row))
        return true;
    m_prompter.inform(appTitle(), kManagedRowMessage, Prompter::Icon::Warning);
    return false;
}

void SlipGrid::editCell(int row, const QString &text)
{
    if (m_archive || !isSlipRowEditable(row))
        return;
    m_model->item(row, kValueCol)->setText(text);
}

void SlipGrid::afterEdit(int row)
{
    m_slipDirty = true;
    Q_EMIT edited();
    if (row != SlipRow::Class)
        return;
    const QString name = cellText(SlipRow::Class);
    for (const catalog::ClassItem &c : m_choices) {
        if (c.name != name)
            continue;
        m_filling = true;
        const QColor colour = colorFromBgrText(c.colour);
        m_model->item(SlipRow::Class, kValueCol)->setBackground(colour.isValid() ? QBrush(colour) : QBrush());
        m_model->item(SlipRow::BackColor, kValueCol)->setText(colourNumberText(c.colour));
        m_filling = false;
        break;
    }
}

void SlipGrid::applyFontSize(int points)
{
    if (points <= 0)
        return;
    const QFont bold = setViewPointSize(m_view, points);
    m_filling = true;
    m_model->item(SlipRow::Title, kLabelCol)->setFont(bold);
    m_filling = false;
}

void SlipGrid::autoFit()
{
    fitTwoColumns(m_view, kLabelCol, kColumnTwips[1], kValueCol, kColumnTwips[2]);
}

bool SlipGrid::eventFilter(QObject *watched, QEvent *event)
{
    // Compare against the pointer kept at installation: the view may be half destroyed
    // when its viewport sends its last events.
    if (watched == m_viewport && event->type() == QEvent::MouseButtonPress) {
        const auto *me = static_cast<QMouseEvent *>(event);
        const QModelIndex index = m_view->indexAt(me->position().toPoint());
        if (index.isValid())
            pressAt(index.row(), index.column());
    } else if (watched == m_view && event->type() == QEvent::KeyPress) {
        const auto *ke = static_cast<QKeyEvent *>(event);
        if ((ke->key() == Qt::Key_Left || ke->key() == Qt::Key_Right) && m_view->currentIndex().isValid()
            && openEditors(m_view).isEmpty()) {
            emit stepRequested(ke->key() == Qt::Key_Right);
            return true;
        }
    }
    return QObject::eventFilter(watched, event);
}

} // namespace tolvane::registration
