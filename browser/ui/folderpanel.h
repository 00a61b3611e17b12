// FolderPanel: the folder panel `fg`, a one-column outline of folders. Each node's text is a
// folder's full path exactly as stored in the catalogue's PATH_NAME.pName (the folder search
// looks it up by exact text). The panel shows the registered folders of the open catalogue: a
// folder registered inside another registered folder is nested under it, everything else sits
// at the top level, each level sorted by path. Nodes carry the closed-folder picture; the
// folder chosen last carries the open one. GUI thread only.
#pragma once

#include <QPersistentModelIndex>
#include <QTreeView>

class QStandardItemModel;

namespace tolvane::jet {
class Database;
}

namespace tolvane::browser::ui {

class FolderPanel : public QTreeView {
    Q_OBJECT
public:
    explicit FolderPanel(QWidget *parent = nullptr);

    // InitControls' part for `fg`: no rows.
    void clearFolders();
    // Shows these folder paths (nesting as described above). Selects no node.
    void setFolders(const QStringList &paths);
    // Shows the folders registered in db (PATH_NAME); empty for a null db or a read error.
    void fillRegisteredFolders(jet::Database *db);
    // Makes the node of path current (without the folderChosen signal) and gives it the open
    // picture. False when no node has that text.
    bool markFolder(const QString &path);

    // Node count in display order (depth first), and a node's path by that row.
    int folderCount() const;
    QString folderPath(int row) const;
    QStringList folderPaths() const;
    // Display-order row of the current node; -1 without one.
    int currentRow() const;
    // Makes the node of a display-order row current (emits folderChosen when it changes).
    void setCurrentRow(int row);
    // True when the node of that row shows the open picture.
    bool isOpenPicture(int row) const;

signals:
    // The current node changed (SelectFolderNode): its display-order row and path, after the
    // pictures were swapped.
    void folderChosen(int row, const QString &path);

protected:
    // Left collapses the current node and Right expands it; neither moves to another node.
    void keyPressEvent(QKeyEvent *event) override;

private:
    void onCurrentChanged(const QModelIndex &current, const QModelIndex &previous);
    void setPicture(const QModelIndex &index, bool open);
    QModelIndex indexOfRow(int row) const;
    int rowOfIndex(const QModelIndex &index) const;

    QStandardItemModel *m_model;
    bool m_quiet = false;
};

} // namespace tolvane::browser::ui
