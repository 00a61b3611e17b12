#include "browser/ui/folderpanel.h"

#include <algorithm>

#include <QHash>
#include <QHeaderView>
#include <QKeyEvent>
#include <QStandardItemModel>
#include <QStyle>

#include "catalog/schema.h"
#include "platform/jet/database.h"

namespace tolvane::browser::ui {

namespace {
constexpr int kOpenRole = Qt::UserRole + 1;

} // namespace

FolderPanel::FolderPanel(QWidget *parent)
    : QTreeView(parent)
    , m_model(new QStandardItemModel(this))
{
    setObjectName(QStringLiteral("fg"));
    setModel(m_model);
    setHeaderHidden(true);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setSelectionMode(QAbstractItemView::SingleSelection);
    setUniformRowHeights(true);
    setTextElideMode(Qt::ElideMiddle); // both the drive and the folder name stay readable
    // Double click toggles a node (the tree's own behaviour); Left and Right: keyPressEvent.
    setExpandsOnDoubleClick(true);
    connect(selectionModel(), &QItemSelectionModel::currentChanged, this, &FolderPanel::onCurrentChanged);
}

void FolderPanel::clearFolders()
{
    m_quiet = true;
    m_model->clear();
    m_quiet = false;
}

void FolderPanel::setFolders(const QStringList &paths)
{
    m_quiet = true;
    m_model->clear();
    QStringList sorted = paths;
    sorted.removeDuplicates();
    std::sort(sorted.begin(), sorted.end());
    // Sorted by text, a folder comes after every folder that contains it, so its nearest
    // registered ancestor (found by cutting the path at its separators) is already placed.
    QHash<QString, QStandardItem *> placed;
    const QIcon closed = style()->standardIcon(QStyle::SP_DirClosedIcon);
    for (const QString &path : std::as_const(sorted)) {
        QStandardItem *parentItem = nullptr;
        for (qsizetype cut = path.size() - 2; cut > 0 && !parentItem; --cut) {
            const QChar c = path.at(cut);
            if (c != QLatin1Char('/') && c != QLatin1Char('\\'))
                continue;
            parentItem = placed.value(path.left(cut), nullptr);
            if (!parentItem)
                parentItem = placed.value(path.left(cut + 1), nullptr); // a root such as "C:\\"
        }
        auto *item = new QStandardItem(closed, path);
        item->setData(false, kOpenRole);
        item->setToolTip(path);
        if (parentItem)
            parentItem->appendRow(item);
        else
            m_model->appendRow(item);
        placed.insert(path, item);
    }
    expandAll();
    m_quiet = false;
}

void FolderPanel::fillRegisteredFolders(jet::Database *db)
{
    QStringList paths;
    if (db) {
        const Status st = db->scan(catalog::kPathNameTable, [&](jet::RowId, const jet::Row &row) {
            if (row.size() > 1 && row[1].isValid())
                paths.append(row[1].toString());
            return true;
        });
        if (!st)
            paths.clear();
    }
    setFolders(paths);
}

bool FolderPanel::markFolder(const QString &path)
{
    const int n = folderCount();
    for (int r = 0; r < n; ++r) {
        const QModelIndex idx = indexOfRow(r);
        if (idx.data(Qt::DisplayRole).toString() == path) {
            m_quiet = true;
            const QModelIndex prev = currentIndex();
            if (prev.isValid())
                setPicture(prev, false);
            setCurrentIndex(idx);
            setPicture(idx, true);
            m_quiet = false;
            return true;
        }
    }
    return false;
}

void FolderPanel::keyPressEvent(QKeyEvent *event)
{
    // The tree's own Left would move to the parent once the node is collapsed (and Right to the
    // first child once it is expanded), choosing another folder; here they only fold and unfold.
    if (event->modifiers() == Qt::NoModifier || event->modifiers() == Qt::KeypadModifier) {
        const QModelIndex current = currentIndex();
        if (event->key() == Qt::Key_Left) {
            if (current.isValid())
                collapse(current);
            event->accept();
            return;
        }
        if (event->key() == Qt::Key_Right) {
            if (current.isValid())
                expand(current);
            event->accept();
            return;
        }
    }
    QTreeView::keyPressEvent(event);
}

void FolderPanel::setPicture(const QModelIndex &index, bool open)
{
    QStandardItem *item = m_model->itemFromIndex(index);
    if (!item)
        return;
    item->setData(open, kOpenRole);
    item->setIcon(style()->standardIcon(open ? QStyle::SP_DirOpenIcon : QStyle::SP_DirClosedIcon));
}

void FolderPanel::onCurrentChanged(const QModelIndex &current, const QModelIndex &previous)
{
    if (m_quiet)
        return;
    if (previous.isValid())
        setPicture(previous, false);
    if (!current.isValid())
        return;
    setPicture(current, true);
    emit folderChosen(rowOfIndex(current), current.data(Qt::DisplayRole).toString());
}

namespace {
void collect(const QStandardItemModel *m, const QModelIndex &parent, QList<QModelIndex> &out)
{
    for (int r = 0; r < m->rowCount(parent); ++r) {
        const QModelIndex idx = m->index(r, 0, parent);
        out.append(idx);
        collect(m, idx, out);
    }
}
} // namespace

QModelIndex FolderPanel::indexOfRow(int row) const
{
    QList<QModelIndex> all;
    collect(m_model, {}, all);
    return row >= 0 && row < all.size() ? all[row] : QModelIndex();
}

int FolderPanel::rowOfIndex(const QModelIndex &index) const
{
    QList<QModelIndex> all;
    collect(m_model, {}, all);
    return int(all.indexOf(index));
}

int FolderPanel::folderCount() const
{
    QList<QModelIndex> all;
    collect(m_model, {}, all);
    return int(all.size());
}

QString FolderPanel::folderPath(int row) const
{
    return indexOfRow(row).data(Qt::DisplayRole).toString();
}

QStringList FolderPanel::folderPaths() const
{
    QList<QModelIndex> all;
    collect(m_model, {}, all);
    QStringList out;
    for (const QModelIndex &i : std::as_const(all))
        out.append(i.data(Qt::DisplayRole).toString());
    return out;
}

int FolderPanel::currentRow() const
{
    return currentIndex().isValid() ? rowOfIndex(currentIndex()) : -1;
}

void FolderPanel::setCurrentRow(int row)
{
    const QModelIndex idx = indexOfRow(row);
    if (idx.isValid())
        setCurrentIndex(idx);
}

bool FolderPanel::isOpenPicture(int row) const
{
    return indexOfRow(row).data(kOpenRole).toBool();
}

} // namespace tolvane::browser::ui
