#include "classes/classlistmodel.h"

#include <QBrush>

#include "platform/bgrcolor.h"

namespace tolvane::classes {

ClassListModel::ClassListModel(QObject *parent)
    : QAbstractTableModel(parent)
{
}

Status ClassListModel::load(jet::Database &db)
{
    auto rows = ReadClassList(db);
    beginResetModel();
    m_rows = rows ? rows.take() : QList<ClassRow>();
    m_edited = false;
    endResetModel();
    return rows.status();
}

bool ClassListModel::addRow()
{
    if (!m_rows.isEmpty() && m_rows.last().name.isEmpty())
        return false;
    const int at = int(m_rows.size());
    beginInsertRows({}, at, at);
    m_rows.append(ClassRow());
    endInsertRows();
    return true;
}

bool ClassListModel::removeRow(int row)
{
    if (row < 0 || row >= m_rows.size())
        return false;
    beginRemoveRows({}, row, row);
    m_rows.removeAt(row);
    endRemoveRows();
    m_edited = true;
    return true;
}

int ClassListModel::moveRow(int row, bool up)
{
    const int to = up ? row - 1 : row + 1;
    if (row < 0 || row >= m_rows.size() || to < 0 || to >= m_rows.size())
        return -1;
    // Qt names the destination as the row the moved one goes before.
    beginMoveRows({}, row, row, {}, up ? to : to + 1);
    m_rows.move(row, to);
    endMoveRows();
    m_edited = true;
    return to;
}

bool ClassListModel::setRowColour(int row, const QColor &color)
{
    if (row < 0 || row >= m_rows.size() || !color.isValid())
        return false;
    m_rows[row].colour = bgrDecimalText(color);
    m_edited = true;
    Q_EMIT dataChanged(index(row, 0), index(row, ColumnCount - 1));
    return true;
}

QColor ClassListModel::rowColour(int row) const
{
    return row >= 0 && row < m_rows.size() ? colorFromBgrText(m_rows[row].colour) : QColor();
}

Status ClassListModel::store(jet::Database &db)
{
    if (!m_edited)
        return Status::ok();
    const Status st = StoreClassList(db, m_rows);
    if (!st)
        return st;
    for (qsizetype i = 0; i < m_rows.size(); ++i)
        m_rows[i].position = QString::number(i + 1);
    m_edited = false;
    if (!m_rows.isEmpty())
        Q_EMIT dataChanged(index(0, PositionColumn), index(int(m_rows.size()) - 1, PositionColumn));
    return st;
}

int ClassListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_rows.size());
}

int ClassListModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant ClassListModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= m_rows.size())
        return {};
    const ClassRow &r = m_rows[index.row()];
    switch (role) {
    case Qt::DisplayRole:
    case Qt::EditRole:
        switch (index.column()) {
        case NameColumn:
            return r.name;
        case ColourColumn:
            return r.colour;
        case PositionColumn:
            return r.position;
        default:
            return {};
        }
    case Qt::BackgroundRole:
        // The name and colour cells show the class as the lists will: on its colour.
        if (index.column() != PositionColumn)
            if (const QColor c = colorFromBgrText(r.colour); c.isValid())
                return QBrush(c);
        return {};
    case Qt::ForegroundRole:
        if (index.column() != PositionColumn)
            if (const QColor c = colorFromBgrText(r.colour); c.isValid())
                return QBrush(c.lightness() < 128 ? Qt::white : Qt::black);
        return {};
    default:
        return {};
    }
}

QVariant ClassListModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (role != Qt::DisplayRole)
        return {};
    if (orientation == Qt::Vertical)
        return QString(); // the fixed column carries no text
    switch (section) {
    case NameColumn:
        return QStringLiteral("名前");
    case ColourColumn:
        return QStringLiteral("背景色");
    default:
        return QString();
    }
}

Qt::ItemFlags ClassListModel::flags(const QModelIndex &index) const
{
    Qt::ItemFlags f = QAbstractTableModel::flags(index);
    if (index.isValid() && index.column() == NameColumn)
        f |= Qt::ItemIsEditable;
    return f;
}

bool ClassListModel::setData(const QModelIndex &index, const QVariant &value, int role)
{
    if (role != Qt::EditRole || !index.isValid() || index.column() != NameColumn || index.row() >= m_rows.size())
        return false;
    const QString name = value.toString();
    if (name == m_rows[index.row()].name)
        return true;
    m_rows[index.row()].name = name;
    m_edited = true;
    Q_EMIT dataChanged(index, index);
    return true;
}

} // namespace tolvane::classes
