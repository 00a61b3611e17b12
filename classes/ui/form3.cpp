#include "classes/ui/form3.h"

#include <QAction>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPainter>
#include <QShortcut>
#include <QStatusBar>
#include <QStyledItemDelegate>
#include <QTableView>
#include <QToolBar>
#include <QVBoxLayout>

#include "classes/classlistmodel.h"
#include "platform/apptitle.h"
#include "platform/ui/gridview.h"

namespace tolvane::classes::ui {

namespace {

struct ButtonSpec {
    const char *key;
    const char *caption;
    const char *themeIcon; // freedesktop name; a drawn tile where the desktop has none
    const char *glyph;
    QRgb colour;
    const char *toolTip;
};

// The toolbar after its leading placeholder ("ph1", 200 twips wide).
const ButtonSpec kButtons[] = {
    { "add", "行追加", "list-add", "+", 0xff2e8b57, "最下段に１行追加" },
    { "del", "行削除", "list-remove", "\xE2\x88\x92", 0xffb03a2e, "選択行を削除" },
    { "up", "行移動", "go-up", "\xE2\x96\xB2", 0xff6a6a6a, "" },
    { "down", "行移動", "go-down", "\xE2\x96\xBC", 0xff6a6a6a, "" },
    { "backC", "背景色", "format-fill-color", "\xE8\x89\xB2", 0xffc68a12, "" }, // 色
    { "reg", "登録", "document-save", "\xE7\x99\xBB", 0xff3d7ab8, "編集結果を登録" }, // 登
    { "cancel", "キャンセル", nullptr, nullptr, 0, "" },
};

QIcon buttonIcon(const ButtonSpec &b)
{
    if (!b.glyph)
        return {};
    QIcon drawn;
    for (int size : { 16, 24, 32 }) {
        QPixmap pm(size, size);
        pm.fill(Qt::transparent);
        QPainter p(&pm);
        p.setRenderHint(QPainter::Antialiasing);
        p.setPen(Qt::NoPen);
        p.setBrush(QColor::fromRgba(b.colour));
        p.drawRoundedRect(QRectF(1, 1, size - 2, size - 2), size / 6.0, size / 6.0);
        QFont f = p.font();
        f.setBold(true);
        f.setPixelSize(size * 3 / 5);
        p.setFont(f);
        p.setPen(Qt::white);
        p.drawText(QRect(0, 0, size, size), Qt::AlignCenter, QString::fromUtf8(b.glyph));
        p.end();
        drawn.addPixmap(pm);
    }
    const QString theme = QString::fromLatin1(b.themeIcon);
    return QIcon::hasThemeIcon(theme) ? QIcon::fromTheme(theme, drawn) : drawn;
}

// Typing is limited to what ClassN.a01 holds.
class NameDelegate : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;
    QWidget *createEditor(QWidget *parent, const QStyleOptionViewItem &option, const QModelIndex &index) const override
    {
        QWidget *editor = QStyledItemDelegate::createEditor(parent, option, index);
        if (auto *line = qobject_cast<QLineEdit *>(editor))
            line->setMaxLength(ClassListModel::kMaxNameLength);
        return editor;
    }
};

// The grid, able to finish an edit on request.
class ClassGrid : public QTableView {
public:
    using QTableView::QTableView;
    void commitOpenEditor()
    {
        if (state() != EditingState)
            return;
        if (QWidget *editor = indexWidget(currentIndex())) {
            commitData(editor);
            closeEditor(editor, QAbstractItemDelegate::NoHint);
        }
    }
};

} // namespace

Form3::Form3(Prompter &prompter, jet::Database &db, int fontSize, QWidget *parent)
    : QDialog(parent)
    , m_prompter(prompter)
    , m_db(db)
    , m_model(new ClassListModel(this))
{
    setObjectName(QStringLiteral("Form3"));
    setWindowTitle(QStringLiteral("分類項目"));
    resize(twipsToPixels(8000), twipsToPixels(7000));

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);

    Toolbar1 = new QToolBar(this);
    Toolbar1->setObjectName(QStringLiteral("Toolbar1"));
    Toolbar1->setToolButtonStyle(Qt::ToolButtonTextUnderIcon);
    Toolbar1->setIconSize(QSize(24, 24));
    layout->addWidget(Toolbar1);

    fg = new ClassGrid(this);
    fg->setObjectName(QStringLiteral("fg"));
    fg->setModel(m_model);
    fg->setItemDelegateForColumn(ClassListModel::NameColumn, new NameDelegate(fg));
    fg->setSelectionMode(QAbstractItemView::SingleSelection);
    fg->setSelectionBehavior(QAbstractItemView::SelectItems);
    fg->setEditTriggers(QAbstractItemView::DoubleClicked | QAbstractItemView::SelectedClicked
        | QAbstractItemView::EditKeyPressed | QAbstractItemView::AnyKeyPressed);
    fg->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    fg->verticalHeader()->setFixedWidth(twipsToPixels(400));
    fg->horizontalHeader()->setStretchLastSection(false);
    tolvane::ui::setGridFontSize(fg, fontSize);
    fg->viewport()->installEventFilter(this);
    fg->horizontalHeader()->installEventFilter(this);
    layout->addWidget(fg, 1);

    StatusBar1 = new QStatusBar(this);
    StatusBar1->setObjectName(QStringLiteral("StatusBar1"));
    StatusBar1->setSizeGripEnabled(false);
    auto *panel = new QLabel(QStringLiteral("ヘルプ：　F1キー"), StatusBar1);
    panel->setObjectName(QStringLiteral("StatusBar1Panel1"));
    StatusBar1->addWidget(panel, 1);
    layout->addWidget(StatusBar1);

    const Status loaded = m_model->load(m_db);
    autoSizeColumns();
    buildToolbar();
    if (!loaded) {
        // An empty grid stored over a list that could not be read would lose it.
        toolAction(QStringLiteral("reg"))->setEnabled(false);
        m_prompter.inform(appTitle(), QStringLiteral("分類項目を読み込めませんでした。"), Prompter::Icon::Warning);
    }

    auto *f1 = new QShortcut(QKeySequence(Qt::Key_F1), this);
    f1->setContext(Qt::WindowShortcut);
    connect(f1, &QShortcut::activated, this, [this] { Q_EMIT helpRequested(kHelpContextId); });
}

Form3::~Form3() = default;

int Form3::twipsToPixels(int twips) const
{
    return twips * logicalDpiX() / 1440;
}

void Form3::buildToolbar()
{
    auto *gap = new QWidget(Toolbar1);
    gap->setObjectName(QStringLiteral("ph1"));
    gap->setFixedWidth(twipsToPixels(200));
    Toolbar1->addWidget(gap)->setObjectName(QStringLiteral("ph1"));
    for (const ButtonSpec &b : kButtons) {
        const QString caption = QString::fromUtf8(b.caption);
        const QString tip = QString::fromUtf8(b.toolTip);
        auto *a = new QAction(buttonIcon(b), caption, Toolbar1);
        a->setObjectName(QString::fromLatin1(b.key));
        a->setIconText(caption);
        a->setToolTip(tip);
        a->setWhatsThis(tip); // the button's description
        Toolbar1->addAction(a);
        if (QWidget *w = Toolbar1->widgetForAction(a)) {
            w->setObjectName(a->objectName());
            if (tip.isEmpty())
                w->installEventFilter(this); // no tool tip at all rather than the caption
        }
    }
    connect(Toolbar1, &QToolBar::actionTriggered, this, [this](QAction *a) { Toolbar1_ButtonClick(a->objectName()); });
}

QAction *Form3::toolAction(const QString &key) const
{
    const QList<QAction *> actions = Toolbar1->actions();
    for (QAction *a : actions)
        if (a->objectName() == key)
            return a;
    return nullptr;
}

void Form3::autoSizeColumns()
{
    const int extra = twipsToPixels(600);
    for (int c = 0; c < ClassListModel::ColumnCount; ++c) {
        fg->resizeColumnToContents(c);
        fg->setColumnWidth(c, fg->columnWidth(c) + extra);
    }
    fg->setColumnWidth(ClassListModel::NameColumn, twipsToPixels(2000));
}

bool Form3::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::ToolTip && qobject_cast<QWidget *>(watched)
        && qobject_cast<QWidget *>(watched)->parentWidget() == Toolbar1)
        return true;
    if (event->type() == QEvent::MouseButtonPress) {
        const QPoint pos = static_cast<QMouseEvent *>(event)->position().toPoint();
        if (watched == fg->viewport()) {
            fg_MouseDown(pos);
        } else if (watched == fg->horizontalHeader()) {
            m_clickedRow = 0;
            const int col = fg->horizontalHeader()->logicalIndexAt(pos);
            m_clickedCol = col < 0 ? -1 : col + 1;
        }
    }
    return QDialog::eventFilter(watched, event);
}

// The grid's rows and columns count as the original grid's: row 0 and column 0 are the fixed
// heading row and column, so the model's row r is grid row r + 1. The view itself selects the
// pressed cell.
void Form3::fg_MouseDown(const QPoint &viewportPos)
{
    m_clickedRow = tolvane::ui::gridRowAt(fg, viewportPos);
    const int col = fg->columnAt(viewportPos.x());
    m_clickedCol = col < 0 ? -1 : col + 1;
}

void Form3::Toolbar1_ButtonClick(const QString &key)
{
    // A name still being typed counts as typed before any button acts (the toolbar's buttons
    // take no focus, so the editor would otherwise stay open).
    static_cast<ClassGrid *>(fg)->commitOpenEditor();
    if (key == QLatin1String("add"))
        addRow();
    else if (key == QLatin1String("del"))
        deleteRow();
    else if (key == QLatin1String("up"))
        moveRow(true);
    else if (key == QLatin1String("down"))
        moveRow(false);
    else if (key == QLatin1String("backC"))
        chooseColour();
    else if (key == QLatin1String("reg"))
        storeAndClose();
    else if (key == QLatin1String("cancel"))
        reject();
}

void Form3::addRow()
{
    if (!m_model->addRow()) {
        m_prompter.inform(
            appTitle(), QStringLiteral("追加済みです。　空白を埋めてから追加してください。"), Prompter::Icon::Warning);
        return;
    }
    fg->scrollToBottom();
}

void Form3::deleteRow()
{
    if (m_clickedRow <= 0 || !m_model->removeRow(m_clickedRow - 1))
        return;
    // The pressed row is gone; the next press names the row to act on.
    m_clickedRow = 0;
    fg->clearSelection();
}

int Form3::selectedDataRow() const
{
    const QModelIndexList selected = fg->selectionModel()->selectedIndexes();
    return selected.isEmpty() ? -1 : selected.last().row();
}

void Form3::moveRow(bool up)
{
    const int row = selectedDataRow();
    if (row < 0)
        return;
    const int col = fg->currentIndex().isValid() ? fg->currentIndex().column() : 0;
    const int to = m_model->moveRow(row, up);
    if (to < 0)
        return;
    // The selection, and the row the other buttons act on, go with the moved row, so that
    // pressing again moves it further.
    fg->setCurrentIndex(m_model->index(to, col));
    if (m_clickedRow == row + 1)
        m_clickedRow = to + 1;
    else if (m_clickedRow == to + 1)
        m_clickedRow = row + 1;
}

void Form3::chooseColour()
{
    if (m_clickedRow <= 0 || m_clickedRow > m_model->rowCount()) {
        m_prompter.inform(
            appTitle(), QStringLiteral("背景色を変更する行を選択してください。"), Prompter::Icon::Warning);
        return;
    }
    const int row = m_clickedRow - 1;
    const QColor current = m_model->rowColour(row);
    const QColor chosen = m_prompter.color(
        QStringLiteral("背景色"), current.isValid() ? current : QColor(Qt::white), colourBlindSafePalette());
    if (chosen.isValid())
        m_model->setRowColour(row, chosen);
}

void Form3::storeAndClose()
{
    if (!m_model->isEdited()) {
        accept();
        return;
    }
    const Status st = m_model->store(m_db);
    if (!st) {
        // Nothing was changed in the catalogue: the edits stay in the grid to be fixed,
        // stored again or cancelled.
        QString text = QStringLiteral("分類項目を登録できませんでした。元の分類項目はそのまま残っています。");
        if (st.code() == Status::Code::InvalidArgument)
            text += QStringLiteral("\r\n名前は60文字までです。");
        else if (st.code() == Status::Code::ReadOnly)
            text += QStringLiteral("\r\nこのデータベースには書き込めません。");
        m_prompter.inform(appTitle(), text, Prompter::Icon::Warning);
        return;
    }
    Q_EMIT classesStored();
    accept();
}

} // namespace tolvane::classes::ui
