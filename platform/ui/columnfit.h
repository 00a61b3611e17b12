// ColumnFitter: the column widths of a list grid. Columns are fitted to their contents and
// headings (never cut); the flexible columns (file names, keywords) share the rest of the pane,
// are elided in the middle when they do not fit, and follow the pane when the splitter or the
// window moves. A width the user sets by dragging a heading's edge is kept for the rest of the
// run, in every later listing of any grid with the same object name. GUI thread only.
#pragma once

#include <QHash>
#include <QList>
#include <QObject>

class QTableView;

namespace tolvane::ui {

class ColumnFitter : public QObject {
    Q_OBJECT
public:
    // Takes over view's column widths; flexible: the columns that share the rest of the pane.
    ColumnFitter(QTableView *view, QList<int> flexible);

    // After a listing: every column to its contents, then the pane shared out.
    void fit();
    // Until the next fit, the widths stay as they are set (an emptied list keeps its starting
    // widths).
    void stop() { m_fitted = false; }
    // Forgets the widths users set (a new run).
    static void forgetUserWidths();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void share();
    void sectionResized(int column, int oldWidth, int newWidth);
    QHash<int, int> &userWidths() const;

    QTableView *m_view;
    QList<int> m_flexible;
    QHash<int, int> m_natural; // content width of each column at the last fit
    bool m_setting = false;
    bool m_fitted = false;
    bool m_dragging = false; // a mouse button is down on the headings
};

} // namespace tolvane::ui
