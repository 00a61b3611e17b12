#include "search/resultlistmodel.h"

#include <QBrush>
#include <QDateTime>

#include "catalog/records.h"

namespace tolvane::search {

ResultListModel::ResultListModel(QObject *parent)
    : QAbstractTableModel(parent)
{
}

QString ResultListModel::displayText(const QVariant &value)
{
    return catalog::fieldText(value);
}

void ResultListModel::setRows(int n)
{
    n = qMax(1, n);
    const int have = rows();
    if (n < have) {
        beginRemoveRows({}, n - 1, have - 2);
        m_rows.resize(n - 1);
        endRemoveRows();
    } else if (n > have) {
        beginInsertRows({}, have - 1, n - 2);
        for (int i = have; i < n; ++i)
            m_rows.append(GridRow(m_cols));
        endInsertRows();
    }
}

void ResultListModel::setCols(int n)
{
    n = qMax(0, n);
    if (n == m_cols)
        return;
    const bool shrinking = n < m_cols;
    if (shrinking)
        beginRemoveColumns({}, n, m_cols - 1);
    else
        beginInsertColumns({}, m_cols, n - 1);
    const int old = m_cols;
    m_cols = n;
    m_heading.resize(n);
    for (GridRow &r : m_rows)
        r.resize(n);
    m_hidden.resize(n);
    if (shrinking) {
        endRemoveColumns();
    } else {
        endInsertColumns();
        for (int c = old; c < n; ++c)
            emit columnHiddenChanged(c, false);
    }
}

int ResultListModel::addRow()
{
    const int row = int(m_rows.size());
    beginInsertRows({}, row, row);
    m_rows.append(GridRow(m_cols));
    endInsertRows();
    return row + 1;
}

void ResultListModel::moveDataRow(int from, int to)
{
    const int n = int(m_rows.size());
    if (from < 1 || from > n || to < 1 || to > n || from == to)
        return;
    // Qt names the destination as the row the moved one goes before.
    beginMoveRows({}, from - 1, from - 1, {}, to > from ? to : to - 1);
    m_rows.move(from - 1, to - 1);
    endMoveRows();
}

int ResultListModel::appendRows(const QList<QList<QVariant>> &rows, int backColumn, const QList<QColor> &backColors)
{
    const int first = int(m_rows.size());
    if (rows.isEmpty())
        return first + 1;
    beginInsertRows({}, first, first + int(rows.size()) - 1);
    m_rows.reserve(first + rows.size());
    for (qsizetype i = 0; i < rows.size(); ++i) {
        const QList<QVariant> &values = rows[i];
        GridRow r(m_cols);
        for (int c = 0; c < m_cols && c < values.size(); ++c)
            r[c].value = values[c];
        if (backColumn >= 0 && backColumn < m_cols && i < backColors.size())
            r[backColumn].back = backColors[i];
        m_rows.append(std::move(r));
    }
    endInsertRows();
    return first + 1;
}

ResultListModel::Cell *ResultListModel::cellAt(int row, int col)
{
    if (col < 0 || col >= m_cols || row < 0 || row > m_rows.size())
        return nullptr;
    return row == 0 ? &m_heading[col] : &m_rows[row - 1][col];
}

const ResultListModel::Cell *ResultListModel::cellAt(int row, int col) const
{
    return const_cast<ResultListModel *>(this)->cellAt(row, col);
}

void ResultListModel::setCell(int row, int col, const QVariant &value)
{
    Cell *c = cellAt(row, col);
    if (!c)
        return;
    c->value = value;
    if (row == 0)
        emit headerDataChanged(Qt::Horizontal, col, col);
    else
        emit dataChanged(index(row - 1, col), index(row - 1, col), { Qt::DisplayRole, Qt::EditRole });
}

QVariant ResultListModel::cell(int row, int col) const
{
    const Cell *c = cellAt(row, col);
    return c ? c->value : QVariant();
}

void ResultListModel::setCellBackColor(int row, int col, const QColor &color)
{
    if (Cell *c = cellAt(row, col)) {
        c->back = color;
        if (row > 0)
            emit dataChanged(index(row - 1, col), index(row - 1, col), { Qt::BackgroundRole });
    }
}

void ResultListModel::setCellTextColor(int row, int col, const QColor &color)
{
    if (Cell *c = cellAt(row, col)) {
        c->text = color;
        if (row > 0)
            emit dataChanged(index(row - 1, col), index(row - 1, col), { Qt::ForegroundRole });
    }
}

QColor ResultListModel::cellBackColor(int row, int col) const
{
    const Cell *c = cellAt(row, col);
    return c ? c->back : QColor();
}

QColor ResultListModel::cellTextColor(int row, int col) const
{
    const Cell *c = cellAt(row, col);
    return c ? c->text : QColor();
}

void ResultListModel::setColumnHidden(int col, bool hidden)
{
    if (col < 0 || col >= m_cols)
        return;
    m_hidden[col] = hidden;
    emit columnHiddenChanged(col, hidden);
}

bool ResultListModel::isColumnHidden(int col) const
{
    return col >= 0 && col < m_cols && m_hidden[col];
}

void ResultListModel::setFontSize(int points)
{
    if (points == m_fontSize)
        return;
    m_fontSize = points;
    emit fontSizeChanged(points);
}

int ResultListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_rows.size());
}

int ResultListModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : m_cols;
}

QVariant ResultListModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid())
        return {};
    const Cell *c = cellAt(index.row() + 1, index.column());
    if (!c)
        return {};
    switch (role) {
    case Qt::DisplayRole:
        return displayText(c->value);
    case Qt::ToolTipRole:
        // Whole names and keywords, however narrow their columns.
        return index.column() >= 1 ? QVariant(displayText(c->value)) : QVariant();
    case Qt::EditRole:
        return c->value;
    case Qt::BackgroundRole:
        return c->back.isValid() ? QVariant(QBrush(c->back)) : QVariant();
    case Qt::ForegroundRole:
        return c->text.isValid() ? QVariant(QBrush(c->text)) : QVariant();
    default:
        return {};
    }
}

QVariant ResultListModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation == Qt::Horizontal) {
        if (role == Qt::DisplayRole && section >= 0 && section < m_cols)
            return displayText(m_heading[section].value);
        return {};
    }
    if (role == Qt::DisplayRole)
        return section + 1;
    return {};
}

} // namespace tolvane::search
