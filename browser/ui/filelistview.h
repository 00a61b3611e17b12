// FileListView: the file list grid `fr` showing a FileListModel: three columns under one heading
// row, the size column right-aligned, mouse presses reported as grid rows. GUI thread only.
#pragma once

#include <QTableView>

#include "browser/filelistmodel.h"
#include "platform/ui/columnfit.h"

namespace tolvane::browser::ui {

class FileListView : public QTableView {
    Q_OBJECT
public:
    // The view does not own model; model must outlive it.
    explicit FileListView(FileListModel *model, QWidget *parent = nullptr);

    FileListModel *fileModel() const { return m_model; }

    // InitControls' part for `fr`: emptied, headings, no border.
    void initControls();
    // Column widths of the file-display start (column 0 1400, column 1 600 twips).
    void setStartWidths();
    // The standard look brought back: the first column firstColumnPx wide.
    void setFirstColumnWidth(int firstColumnPx);
    // After a listing: sizes and dates to their contents, the names take the rest of the pane.
    void fitColumns();
    void setFontSize(int points);
    // Grid row (0 heading, 1.. files, -1 outside) under a point of the viewport.
    int gridRowAt(const QPoint &viewportPos) const;

signals:
    // A mouse press (before the click): grid row and column under the mouse (-1 outside).
    void rowPressed(int gridRow, int col);
    // A click released on the list: the handler opens the file of the pressed row.
    void rowClicked(int gridRow, int col);

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    FileListModel *m_model;
    tolvane::ui::ColumnFitter *m_fitter;
    int m_pressRow = -1;
    int m_pressCol = -1;
};

// Twips to device pixels for a widget's screen (15 twips per pixel at 96 dpi).
int twipsToPixels(const QWidget *widget, int twips);

} // namespace tolvane::browser::ui
