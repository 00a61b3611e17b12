#include "search/ui/searchpanel.h"

#include <QComboBox>
#include <QCompleter>
#include <QEvent>
#include <QLineEdit>
#include <QTimer>

#include "search/searchtexts.h"

namespace tolvane::search::ui {

namespace {

constexpr int kWordLeft = 2000;
constexpr int kWordWidth = 3000;
constexpr int kClassLeft = 2000;
constexpr int kClassWidth = 3000;
constexpr int kDateLeft = 2200;
constexpr int kDateWidth = 2000;
constexpr int kNarrowingWidth = 2400;

bool isPanelPlaceholder(const QString &text)
{
    return text == kStartDateText || text == kEndDateText || text == kUntilText || text == kFromText;
}

// Typing into a box that still shows one of the panel's fixed texts replaces that text.
class PlaceholderSelector : public QObject {
public:
    using QObject::QObject;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::FocusIn) {
            auto *edit = qobject_cast<QLineEdit *>(watched);
            if (edit && isPanelPlaceholder(edit->text()))
                QTimer::singleShot(0, edit, [edit] { edit->selectAll(); });
        }
        return false;
    }
};

} // namespace

int twipsToPixels(const QWidget *widget, int twips)
{
    const int dpi = widget ? widget->logicalDpiX() : 96;
    return (twips * dpi + 720) / 1440;
}

int SearchPanel::narrowingBoxLeft(SearchKind kind)
{
    switch (kind) {
    case SearchKind::Folder:
        return 3700;
    case SearchKind::FileName:
        return 7800;
    case SearchKind::Keyword:
        return 8000;
    case SearchKind::Period:
        return 9600;
    case SearchKind::Class:
        break;
    }
    return kClassLeft;
}

SearchPanel::SearchPanel(QWidget *host, QObject *parent)
    : QObject(parent)
    , m_host(host)
{
    auto *selector = new PlaceholderSelector(this);
    for (int i = 0; i < 2; ++i) {
        m_text[i] = new QLineEdit(host);
        m_text[i]->setObjectName(QStringLiteral("Text1(%1)").arg(i));
        m_text[i]->installEventFilter(selector);
        m_text[i]->hide();
    }
    m_combo = new QComboBox(host);
    m_combo->setObjectName(QStringLiteral("Combo1"));
    // A drop-down box whose text can be set apart from its items ("分類で絞込み").
    m_combo->setEditable(true);
    m_combo->setInsertPolicy(QComboBox::NoInsert);
    m_combo->hide();
    connect(m_combo, &QComboBox::activated, this,
        [this](int index) { emit classPicked(m_combo->itemText(index), m_combo->itemData(index)); });
    // The controls are centred on the host's height, which the toolbar settles only when shown.
    if (host)
        host->installEventFilter(this);
}

bool SearchPanel::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_host && event->type() == QEvent::Resize)
        relayout();
    return QObject::eventFilter(watched, event);
}

QLineEdit *SearchPanel::Text1(int index) const
{
    return m_text[index == 0 ? 0 : 1];
}

QComboBox *SearchPanel::Combo1() const
{
    return m_combo;
}

int SearchPanel::px(int twips) const
{
    return twipsToPixels(m_host, twips);
}

void SearchPanel::place(QWidget *w, int leftTwips, int widthTwips)
{
    const int height = w->sizeHint().height();
    const int hostHeight = m_host ? m_host->height() : height;
    QRect r(px(leftTwips), qMax(0, (hostHeight - height) / 2), px(widthTwips), height);
    // The second date box follows the first wherever that went.
    if (w == m_text[1] && m_layout == Layout::Period)
        r.moveLeft(qMax(r.left(), m_text[0]->geometry().right() + 1));
    for (bool moved = true; moved;) {
        moved = false;
        for (const QRect &b : m_buttons) {
            if (b.intersects(r)) {
                r.moveLeft(b.right() + 2);
                moved = true;
            }
        }
    }
    w->setGeometry(r);
    w->raise();
}

void SearchPanel::keepClearOf(const QList<QRect> &buttons)
{
    if (buttons == m_buttons)
        return;
    m_buttons = buttons;
    relayout();
}

void SearchPanel::LayoutSearchPanel(Layout layout)
{
    m_layout = layout;
    switch (layout) {
    case Layout::Hidden:
        hideAll();
        break;
    case Layout::Word:
        hideCombo();
        m_text[0]->clear();
        m_text[0]->setToolTip(kWordToolTip);
        m_text[0]->setCompleter(nullptr);
        place(m_text[0], kWordLeft, kWordWidth);
        m_text[0]->show();
        m_text[1]->clear();
        m_text[1]->hide();
        break;
    case Layout::Class:
        m_text[0]->hide();
        m_text[1]->hide();
        m_comboLeft = kClassLeft;
        place(m_combo, kClassLeft, kClassWidth);
        m_combo->show();
        break;
    case Layout::Period:
        hideCombo();
        m_text[0]->setToolTip({});
        m_text[0]->setText(kStartDateText);
        m_text[1]->setText(kEndDateText);
        place(m_text[0], kDateLeft, kDateWidth);
        place(m_text[1], kDateLeft + kDateWidth, kDateWidth);
        m_text[0]->show();
        m_text[1]->show();
        break;
    }
}

void SearchPanel::hideAll()
{
    m_text[0]->hide();
    m_text[1]->hide();
    m_combo->hide();
}

QString SearchPanel::word() const
{
    return m_text[0]->text();
}

QString SearchPanel::startDate() const
{
    return m_text[0]->text().trimmed();
}

QString SearchPanel::endDate() const
{
    return m_text[1]->text().trimmed();
}

QString SearchPanel::comboText() const
{
    return m_combo->currentText().trimmed();
}

void SearchPanel::showClassItems(const ClassComboContents &contents)
{
    m_combo->clear();
    m_combo->addItems(contents.items);
    m_combo->setCurrentIndex(-1);
    m_combo->setEditText(contents.text);
    place(m_combo, m_comboLeft, m_layout == Layout::Class ? kClassWidth : kNarrowingWidth);
    m_combo->show();
}

void SearchPanel::hideCombo()
{
    m_combo->hide();
    m_combo->clear();
}

void SearchPanel::setComboLeft(int twips)
{
    m_comboLeft = twips;
    place(m_combo, twips, m_layout == Layout::Class ? kClassWidth : kNarrowingWidth);
}

void SearchPanel::setPeriodDates(const QStringList &dates)
{
    m_combo->clear();
    m_combo->addItems(dates);
    m_combo->setEditText(kFromText);
    for (QLineEdit *edit : m_text) {
        auto *completer = new QCompleter(dates, edit);
        completer->setCompletionMode(QCompleter::PopupCompletion);
        edit->setCompleter(completer);
    }
}

void SearchPanel::relayout()
{
    switch (m_layout) {
    case Layout::Hidden:
        break;
    case Layout::Word:
        place(m_text[0], kWordLeft, kWordWidth);
        break;
    case Layout::Class:
        place(m_combo, m_comboLeft, kClassWidth);
        break;
    case Layout::Period:
        place(m_text[0], kDateLeft, kDateWidth);
        place(m_text[1], kDateLeft + kDateWidth, kDateWidth);
        break;
    }
    if (m_layout != Layout::Class && m_combo->isVisible())
        place(m_combo, m_comboLeft, kNarrowingWidth);
}

} // namespace tolvane::search::ui
