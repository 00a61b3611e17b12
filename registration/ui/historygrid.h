// HistoryGrid: the revision history grid `vs`: the title row "改訂履歴", the heading row
// ("改訂日付", "記事"), then one row per history line (date, note). Entering the date column shows
// the calendar; a picked date is written into the current line. A typed date that is not a date
// is refused with a message: the cell keeps its former text and stays current, with the
// calendar shown, so that nothing unstorable reaches the save. Any change of the lines sets
// HistoryDirty. "AddLine" appends an empty line, "DelLine" deletes the pressed line after a
// question. GUI thread only.
#pragma once

#include <optional>

#include <QObject>

#include "platform/prompter.h"
#include "registration/history.h"

class QStandardItem;
class QStandardItemModel;
class QTableView;

namespace tolvane::registration {

class CalendarPicker;

class HistoryGrid : public QObject {
    Q_OBJECT
public:
    // First grid row that holds a line.
    static constexpr int kFirstLineRow = 2;

    // Takes over view (owned by its parent widget); calendar may be null (no date picker).
    HistoryGrid(QTableView *view, CalendarPicker *calendar, Prompter &prompter, QObject *parent = nullptr);

    // HistoryDirty: lines were edited, added or deleted since the last prepare() or markSaved().
    bool isDirty() const { return m_historyDirty; }
    void markSaved() { m_historyDirty = false; }

    QTableView *view() const { return m_view; }
    QStandardItemModel *model() const { return m_model; }
    CalendarPicker *calendar() const { return m_calendar; }

    // An archive catalogue: lines cannot be edited, added or deleted.
    void setArchive(bool archive);

    // PrepareSlip's part for vs: title and headings, no lines.
    void prepare();
    // LoadHistory's part: appends the lines after the headings and sizes the grid.
    void showLines(const QList<HistoryLine> &lines);
    void setFontSize(int points);

    // The lines as they stand (an open edit is committed first).
    QList<HistoryLine> lines();
    int lineCount() const;
    // Ends an open edit. False when it ended with a refused date (the message has been shown
    // and the date cell is current again).
    bool finishEdit();
    // Ends an open edit without telling: the text of a date refused and not yet told, which is
    // then forgotten (the cell already holds its former date); nullopt when none is waiting.
    std::optional<QString> takeRefusal();

    // Row and column of the last mouse press (HistoryRow, HistoryCol).
    int HistoryRow = -1;
    int HistoryCol = -1;

    // EditHistoryLine: "AddLine" and "DelLine".
    void AddLine();
    void DelLine();

    // What a mouse press on (row, col) records; the current cell moves there too.
    void pressAt(int row, int col);
    // Sets a cell of a line as an edit by the user would.
    void editCell(int row, int col, const QString &text);

    void autoFit();

Q_SIGNALS:
    // The user changed, added or deleted a line (HistoryDirty became true).
    void edited();

private:
    void markEdited();
    void currentCellChanged(int row, int col);
    void writePickedDate(const QString &dateText);
    void lineChanged(QStandardItem *item);
    // Shows the refusal of the last bad date, if one is waiting; false when one was shown.
    bool showPendingRefusal();

    QTableView *m_view;
    QStandardItemModel *m_model;
    CalendarPicker *m_calendar;
    Prompter &m_prompter;
    bool m_historyDirty = false;
    bool m_archive = false;
    bool m_filling = false;
    // A refused date whose message is still to be shown, and its row.
    QString m_refusedText;
    int m_refusedRow = -1;
    bool m_refusalPending = false;
};

} // namespace tolvane::registration
