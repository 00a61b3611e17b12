// SlipGrid: the management slip grid `fg2` (3 columns, 8 rows): the title row, then the seven
// fields of the opened record with their labels. The classification (drop-down of the
// classification names) and the keywords can be edited; a click on any other value is refused
// with a message, and nothing can be edited in an archive catalogue. An edit sets SlipDirty;
// choosing a classification also colours its cell and writes the colour number into the colour
// row. GUI thread only.
#pragma once

#include <QObject>
#include <QStringList>

#include "platform/prompter.h"
#include "registration/slip.h"

class QStandardItemModel;
class QTableView;

namespace tolvane::registration {

class SlipGrid : public QObject {
    Q_OBJECT
public:
    // Takes over view (owned by its parent widget).
    SlipGrid(QTableView *view, Prompter &prompter, QObject *parent = nullptr);

    // SlipDirty: the fields were edited since the last prepare() or markSaved().
    bool isDirty() const { return m_slipDirty; }
    void markSaved() { m_slipDirty = false; }

    QTableView *view() const { return m_view; }
    QStandardItemModel *model() const { return m_model; }

    // An archive catalogue: the grid is not editable and presses do nothing.
    void setArchive(bool archive);
    void setClassChoices(const QList<catalog::ClassItem> &choices);

    // PrepareSlip's part for fg2: empties the grid and writes the row labels (from headings,
    // the seven catalogue headings) and the title set-up.
    void prepare(const QStringList &headings);
    // FillSlip: the title, the seven values (row 5 shows folder instead of the pnID), the
    // classification cell's colour from backC, the text size; then sizes the grid.
    void fill(const SlipRecord &record, const QString &folder, int openedRow, int resultCount, int fontSize);

    // The texts of the value column (rows 1..7) and its title.
    QString cellText(int row, int col = 2) const;
    // The three fields the slip writes back. Ends an open edit first.
    SlipEdit edit();
    // Commits an editor that is still open.
    void finishEdit();

    // What a mouse press on (row, col) does; returns true when the cell may now be edited.
    // Shows the refusal message for managed rows.
    bool pressAt(int row, int col);
    // Sets the value of an editable cell as an edit by the user would (tests, scripted use).
    void editCell(int row, const QString &text);

    // Sizes the columns to their contents (label and value columns), then the rows.
    void autoFit();

signals:
    // Left/Right arrow while the grid has a current cell: step to the previous/next record.
    void stepRequested(bool next);
    // The user changed a field (SlipDirty became true).
    void edited();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void afterEdit(int row);
    void applyFontSize(int points);

    QTableView *m_view;
    QObject *m_viewport = nullptr;
    QStandardItemModel *m_model;
    Prompter &m_prompter;
    bool m_slipDirty = false;
    bool m_archive = false;
    bool m_filling = false;
    QList<catalog::ClassItem> m_choices;
};

} // namespace tolvane::registration
