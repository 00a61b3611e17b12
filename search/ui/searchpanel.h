// The search panel: the word and date boxes Text1(0) and Text1(1) and the classification box
// Combo1, placed over the toolbar beside the search buttons. Positions are in twips from the
// host's left edge, converted through the screen's logical DPI. GUI thread only.
#pragma once

#include <QList>
#include <QObject>
#include <QPointer>
#include <QRect>

#include "search/classnarrowing.h"
#include "search/searchstate.h"

class QComboBox;
class QLineEdit;
class QWidget;

namespace tolvane::search::ui {

// Pixels for a length in twips (1440 per inch) on widget's screen.
int twipsToPixels(const QWidget *widget, int twips);

class SearchPanel : public QObject {
    Q_OBJECT
public:
    // How the panel is laid out: nothing shown, the word box (file-name and keyword searches),
    // the classification chooser, or the two date boxes.
    enum class Layout { Hidden, Word, Class, Period };

    // Combo1's left edge after a search, in twips, by search kind.
    static int narrowingBoxLeft(SearchKind kind);

    // Creates the three controls as hidden children of host (objectNames "Text1(0)",
    // "Text1(1)", "Combo1").
    explicit SearchPanel(QWidget *host, QObject *parent = nullptr);

    QLineEdit *Text1(int index) const;
    QComboBox *Combo1() const;

    // Shows and places the controls for a layout (LayoutSearchPanel).
    void LayoutSearchPanel(Layout layout);
    void hideAll();

    // The texts the searches read: trimmed, except word() which is as typed.
    QString word() const;
    QString startDate() const;
    QString endDate() const;
    QString comboText() const;

    // Fills Combo1 (visible) with contents; its text becomes contents.text.
    void showClassItems(const ClassComboContents &contents);
    // Hides Combo1 and clears its list.
    void hideCombo();
    void setComboLeft(int twips);
    // The dates that have files: kept as Combo1's (hidden) list and offered as completions in
    // both date boxes.
    void setPeriodDates(const QStringList &dates);
    // The toolbar's buttons (host coordinates): a control whose place would cover one moves to
    // the right until it covers none. Re-applies the placement when they changed.
    void keepClearOf(const QList<QRect> &buttons);
    // Re-applies the current placement (after the host's DPI or size changed).
    void relayout();

signals:
    // The user picked an item of Combo1 (text, the item's data value).
    void classPicked(const QString &text, const QVariant &data);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    int px(int twips) const;
    void place(QWidget *w, int leftTwips, int widthTwips);

    QPointer<QWidget> m_host;
    QLineEdit *m_text[2] = { nullptr, nullptr };
    QComboBox *m_combo = nullptr;
    Layout m_layout = Layout::Hidden;
    int m_comboLeft = 2000;
    QList<QRect> m_buttons;
};

} // namespace tolvane::search::ui
