// RegistrationController: the management slip `fg2`, the revision history `vs` with its calendar
// `Calendar`, and the registration of a shown folder ("RecAll"). It owns the three widgets and
// the unsaved-edit marks (SlipDirty, HistoryDirty); the main window hands it the record to show
// and the catalogue to write to, and hears of edits and step keys by signals. GUI thread only.
#pragma once

#include <QList>
#include <QObject>

#include "catalog/records.h"
#include "platform/prompter.h"

class QCalendarWidget;
class QTableView;
class QWidget;

namespace tolvane::jet {
class Database;
class Recordset;
} // namespace tolvane::jet

namespace tolvane::registration {
class CalendarPicker;
class HistoryGrid;
class SlipGrid;
} // namespace tolvane::registration

namespace tolvane::registration::ui {

class RegistrationController : public QObject {
    Q_OBJECT
public:
    // The widgets are created hidden as children of frame.
    RegistrationController(Prompter &prompter, QWidget *frame, QObject *parent = nullptr);

    QTableView *slipView() const; // fg2
    QTableView *historyView() const; // vs
    QCalendarWidget *calendar() const; // Calendar
    SlipGrid *slipGrid() const { return m_slipGrid; }
    HistoryGrid *historyGrid() const { return m_historyGrid; }
    CalendarPicker *calendarPicker() const { return m_calendarPicker; }

    // SlipDirty or HistoryDirty: edits of the shown record not yet written.
    bool hasUnsavedEdits() const;

    // What the slip shows besides the record itself.
    struct RecordView {
        QString folder; // the record's folder, as shown in the slip
        int openedRow = 0; // its row in the list (the slip's title)
        int resultCount = 0;
        int fontSize = 10;
        bool archive = false;
        QList<catalog::ClassItem> classes; // the classification drop-down
    };
    // The current record of rs in the slip and history (PrepareSlip, FillSlip, LoadHistory);
    // the marks of the previous record are dropped.
    void ShowRecord(jet::Database &db, const jet::Recordset &rs, const RecordView &view);

    // How the shown record is left: for another record or list (the record stays shown when
    // something cannot be saved), or for good (its catalogue is closed or the window closes).
    enum class Leaving { Step, Close };
    // Before the record is left: the slip fields and the history lines, with edits still open in
    // either grid. recordShown: the slip is on screen (open editors count). Whatever can be saved
    // is saved. A typed revision date that was refused keeps the history unsaved: on a step the
    // user is told and the record stays with that date cell current; on closing the user is asked
    // whether to go on without that entry. A save that fails is named, with its reason, and the
    // user chooses between staying (the edits kept for the next try) and going on without them.
    // False: stay on the record.
    bool SaveRecordIfDirty(jet::Database &db, jet::Recordset &rs, bool recordShown, Leaving leaving = Leaving::Step);
    // Forgets the marks without writing (the record's catalogue is gone).
    void discardEdits();

    void AddLine(); // "AddLine": a new revision-history line
    void DelLine(); // "DelLine": deletes the selected line

    // "RecAll": registers (or synchronises) folder from the names listed for it, with a
    // cancellable progress dialog over progressParent. modified, when it has a time for each
    // name, spares reading the files again.
    void RegisterShownFolder(jet::Database &db, const QString &folder, const QStringList &names,
        QWidget *progressParent, const QList<QDateTime> &modified = {});

Q_SIGNALS:
    // Left/Right arrow in the slip: step to the previous/next record.
    void stepRequested(bool next);
    // The user edited the slip or the history.
    void edited();

private:
    void PrepareSlip(const RecordView &view);
    void FillSlip(const jet::Recordset &rs, const RecordView &view);
    void LoadHistory(jet::Database &db, const jet::Recordset &rs);

    Prompter &m_prompter;
    QTableView *m_slipView;
    QTableView *m_historyView;
    QCalendarWidget *m_calendar;
    CalendarPicker *m_calendarPicker;
    SlipGrid *m_slipGrid;
    HistoryGrid *m_historyGrid;
};

} // namespace tolvane::registration::ui
