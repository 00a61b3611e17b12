#include "browser/filelistmodel.h"

#include <cmath>

#include <QBrush>
#include <QLocale>

namespace tolvane::browser {

FileListModel::FileListModel(QObject *parent)
    : QAbstractTableModel(parent)
{
}

QStringList FileListModel::headings()
{
    return { QStringLiteral("ファイル名"), QStringLiteral("サイズﾞ KB"), QStringLiteral("更新日時") };
}

QString FileListModel::formatSizeKB(qint64 bytes)
{
    if (bytes < 0)
        return {};
    // "#,##0.#": rounded to one decimal, the decimal dropped when it is 0.
    const double kb = std::round(double(bytes) / 1024.0 * 10.0) / 10.0;
    static const QLocale c = [] {
        QLocale l(QLocale::English, QLocale::UnitedStates);
        l.setNumberOptions(QLocale::DefaultNumberOptions);
        return l;
    }();
    QString s = c.toString(kb, 'f', 1);
    if (s.endsWith(QLatin1String(".0")))
        s.chop(2);
    return s;
}

QString FileListModel::formatDateTime(const QDateTime &dt)
{
    return dt.isValid() ? dt.toLocalTime().toString(QStringLiteral("yyyy/MM/dd HH:mm:ss")) : QString();
}

void FileListModel::clear()
{
    setFiles({});
}

void FileListModel::setFiles(QList<ListedFile> files)
{
    beginResetModel();
    m_files = std::move(files);
    m_colors = QList<RowColors>(m_files.size());
    endResetModel();
}

QString FileListModel::name(int gridRow) const
{
    if (gridRow < 1 || gridRow > m_files.size())
        return {};
    return m_files[gridRow - 1].name;
}

QStringList FileListModel::names() const
{
    QStringList out;
    out.reserve(m_files.size());
    for (const ListedFile &f : m_files)
        out.append(f.name);
    return out;
}

void FileListModel::setRowColors(int gridRow, const QColor &back, const QColor &text)
{
    if (gridRow < 1 || gridRow > m_files.size())
        return;
    m_colors[gridRow - 1] = { back, text };
    emit dataChanged(
        index(gridRow - 1, 0), index(gridRow - 1, ColumnCount - 1), { Qt::BackgroundRole, Qt::ForegroundRole });
}

void FileListModel::clearRowColors()
{
    if (m_files.isEmpty())
        return;
    m_colors = QList<RowColors>(m_files.size());
    emit dataChanged(
        index(0, 0), index(int(m_files.size()) - 1, ColumnCount - 1), { Qt::BackgroundRole, Qt::ForegroundRole });
}

QColor FileListModel::rowBackColor(int gridRow) const
{
    return gridRow >= 1 && gridRow <= m_colors.size() ? m_colors[gridRow - 1].back : QColor();
}

QColor FileListModel::rowTextColor(int gridRow) const
{
    return gridRow >= 1 && gridRow <= m_colors.size() ? m_colors[gridRow - 1].text : QColor();
}

int FileListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_files.size());
}

int FileListModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant FileListModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= m_files.size())
        return {};
    const ListedFile &f = m_files[index.row()];
    switch (role) {
    case Qt::ToolTipRole:
        // The whole name, however narrow its column.
        return index.column() == NameColumn ? QVariant(f.name) : QVariant();
    case Qt::DisplayRole:
        switch (index.column()) {
        case NameColumn:
            return f.name;
        case SizeColumn:
            return formatSizeKB(f.size);
        case DateColumn:
            return formatDateTime(f.modified);
        }
        break;
    case Qt::EditRole:
        switch (index.column()) {
        case NameColumn:
            return f.name;
        case SizeColumn:
            return f.size < 0 ? QVariant() : QVariant(double(f.size) / 1024.0);
        case DateColumn:
            return f.modified.isValid() ? QVariant(f.modified) : QVariant();
        }
        break;
    case Qt::TextAlignmentRole:
        if (index.column() == SizeColumn)
            return QVariant::fromValue(Qt::AlignRight | Qt::AlignVCenter);
        return QVariant::fromValue(Qt::AlignLeft | Qt::AlignVCenter);
    case Qt::BackgroundRole: {
        const QColor c = m_colors[index.row()].back;
        return c.isValid() ? QVariant(QBrush(c)) : QVariant();
    }
    case Qt::ForegroundRole: {
        const QColor c = m_colors[index.row()].text;
        return c.isValid() ? QVariant(QBrush(c)) : QVariant();
    }
    default:
        break;
    }
    return {};
}

QVariant FileListModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation == Qt::Horizontal && role == Qt::DisplayRole && section >= 0 && section < ColumnCount)
        return headings().at(section);
    if (orientation == Qt::Vertical && role == Qt::DisplayRole)
        return section + 1;
    return {};
}

} // namespace tolvane::browser
