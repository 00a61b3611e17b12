// ResultListModel: the data of the result list `fs`, a grid of cells that the searches, the
// folder panel and the binder browsing fill. It counts rows the way the grid does: row 0 is the
// heading row (shown as the header), data rows are 1..rows()-1; model row i is grid row i + 1.
// Columns are plain indexes from 0. Cells carry a value, a back colour and a text colour; columns
// can be hidden (views follow columnHiddenChanged). GUI thread only.
#pragma once

#include <QAbstractTableModel>
#include <QColor>
#include <QList>
#include <QVariant>

namespace tolvane::search {

class ResultListModel : public QAbstractTableModel {
    Q_OBJECT
public:
    explicit ResultListModel(QObject *parent = nullptr);

    // Text shown for a cell value: dates "yyyy/MM/dd" (with " HH:mm:ss" when the time of day
    // is not 0), numbers in decimal, text as is, null empty.
    static QString displayText(const QVariant &value);

    // Grid row count including the heading row (at least 1).
    int rows() const { return int(m_rows.size()) + 1; }
    int cols() const { return m_cols; }
    // Sets the number of grid rows (n >= 1; rows beyond n are dropped, new rows are empty).
    void setRows(int n);
    // Sets the number of columns (n >= 0); headings and cells beyond n are dropped.
    void setCols(int n);
    // Appends one empty data row; returns its grid row.
    int addRow();
    // Appends many rows at once (each a list of cell values from column 0); returns the grid
    // row of the first. Cheaper than addRow() for long results.
    // backColumn/backColors, when given, colour that column of each appended row (an invalid
    // colour leaves the cell's default).
    int appendRows(const QList<QList<QVariant>> &rows, int backColumn = -1, const QList<QColor> &backColors = {});

    // Moves data row from to grid row to (both 1..rows()-1), the others closing up.
    void moveDataRow(int from, int to);

    // Cell access by grid row: row 0 addresses the heading. Out-of-range writes are ignored,
    // reads give a null value.
    void setCell(int row, int col, const QVariant &value);
    QVariant cell(int row, int col) const;
    QString text(int row, int col) const { return displayText(cell(row, col)); }
    void setCellBackColor(int row, int col, const QColor &color);
    void setCellTextColor(int row, int col, const QColor &color);
    QColor cellBackColor(int row, int col) const;
    QColor cellTextColor(int row, int col) const;

    void setColumnHidden(int col, bool hidden);
    bool isColumnHidden(int col) const;

    // Text size in points applied by the views (0: the view's own).
    void setFontSize(int points);
    int fontSize() const { return m_fontSize; }

    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

signals:
    void columnHiddenChanged(int col, bool hidden);
    void fontSizeChanged(int points);

private:
    struct Cell {
        QVariant value;
        QColor back;
        QColor text;
    };
    using GridRow = QList<Cell>;
    Cell *cellAt(int row, int col);
    const Cell *cellAt(int row, int col) const;

    int m_cols = 0;
    GridRow m_heading;
    QList<GridRow> m_rows;
    QList<bool> m_hidden;
    int m_fontSize = 0;
};

} // namespace tolvane::search
