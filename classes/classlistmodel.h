// ClassListModel: the classification editor's working copy of ClassN, behind the grid `fg` of
// Form3: columns name ("名前"), colour ("背景色") and stored position, in list order, with the
// edits the editor offers (add, delete, move, rename, colour) and whether anything changed
// since the list was read or stored (the edited flag). Storing writes only when it did. GUI
// thread only.
#pragma once

#include <QAbstractTableModel>

#include "classes/classlist.h"

namespace tolvane::classes {

class ClassListModel : public QAbstractTableModel {
    Q_OBJECT
public:
    enum Column { NameColumn = 0, ColourColumn = 1, PositionColumn = 2, ColumnCount = 3 };

    explicit ClassListModel(QObject *parent = nullptr);

    // Replaces the rows with ClassN's, in list order; the edited flag is cleared. On an error
    // the list is left empty.
    Status load(jet::Database &db);

    const QList<ClassRow> &rows() const { return m_rows; }
    // The edited flag: a change that must be stored was made since the last load or store.
    bool isEdited() const { return m_edited; }

    // "add": appends an empty row, unless the last row's name is still empty (false: nothing
    // added). Adding alone does not set the edited flag; typing a name into the new row does.
    bool addRow();
    // "del": removes row (0-based); false when there is no such row.
    bool removeRow(int row);
    // "up" / "down": moves row one place; returns its new index, or -1 when it cannot move
    // (no such row, the first row up, the last row down).
    int moveRow(int row, bool up);
    // "backC": the row's colour becomes color, as decimal blue-green-red text.
    bool setRowColour(int row, const QColor &color);
    // The row's stored colour; invalid when it has none or its text is no colour.
    QColor rowColour(int row) const;

    // "reg": when edited, replaces ClassN with the rows in one transaction (positions 1..n) and
    // clears the flag; otherwise writes nothing. On failure the table and the rows stay as they
    // were and the flag stays set. Errors: those of StoreClassList.
    Status store(jet::Database &db);

    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
    // Only the name can be typed: the colour is chosen in the colour dialog, so that it is always
    // a colour the lists can show, and the position is rewritten by every store anyway.
    Qt::ItemFlags flags(const QModelIndex &index) const override;
    // Renames (NameColumn only); the flag is set when the text really changes.
    bool setData(const QModelIndex &index, const QVariant &value, int role = Qt::EditRole) override;

    // A name longer than this does not fit ClassN.a01.
    static constexpr int kMaxNameLength = 60;

private:
    QList<ClassRow> m_rows;
    bool m_edited = false;
};

} // namespace tolvane::classes
