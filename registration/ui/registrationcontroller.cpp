#include "registration/ui/registrationcontroller.h"

#include <QCalendarWidget>
#include <QTableView>

#include "platform/jet/recordset.h"
#include "registration/bulkregistration.h"
#include "registration/history.h"
#include "registration/slip.h"
#include "registration/ui/calendarpicker.h"
#include "registration/ui/historygrid.h"
#include "registration/ui/registrationprogress.h"
#include "registration/ui/slipgrid.h"

namespace tolvane::registration::ui {

RegistrationController::RegistrationController(Prompter &prompter, QWidget *frame, QObject *parent)
    : QObject(parent)
    , m_prompter(prompter)
    , m_slipView(new QTableView(frame))
    , m_historyView(new QTableView(frame))
    , m_calendar(new QCalendarWidget(frame))
{
    m_slipView->setObjectName(QStringLiteral("fg2"));
    m_historyView->setObjectName(QStringLiteral("vs"));
    m_calendar->setObjectName(QStringLiteral("Calendar"));
    for (QWidget *w : { static_cast<QWidget *>(m_slipView), static_cast<QWidget *>(m_historyView),
             static_cast<QWidget *>(m_calendar) })
        w->hide();
    m_calendarPicker = new CalendarPicker(m_calendar, this);
    m_slipGrid = new SlipGrid(m_slipView, m_prompter, this);
    m_historyGrid = new HistoryGrid(m_historyView, m_calendarPicker, m_prompter, this);
    connect(m_slipGrid, &SlipGrid::stepRequested, this, &RegistrationController::stepRequested);
    connect(m_slipGrid, &SlipGrid::edited, this, &RegistrationController::edited);
    connect(m_historyGrid, &HistoryGrid::edited, this, &RegistrationController::edited);
}

QTableView *RegistrationController::slipView() const
{
    return m_slipView;
}

QTableView *RegistrationController::historyView() const
{
    return m_historyView;
}

QCalendarWidget *RegistrationController::calendar() const
{
    return m_calendar;
}

bool RegistrationController::hasUnsavedEdits() const
{
    return m_slipGrid->isDirty() || m_historyGrid->isDirty();
}

void RegistrationController::ShowRecord(jet::Database &db, const jet::Recordset &rs, const RecordView &view)
{
    PrepareSlip(view);
    FillSlip(rs, view);
    if (rs.field(QStringLiteral("hsID")).toInt() != 0)
        LoadHistory(db, rs);
    m_historyGrid->setFontSize(view.fontSize);
}

// The slip grids emptied, with their labels and headings.
void RegistrationController::PrepareSlip(const RecordView &view)
{
    m_slipGrid->setArchive(view.archive);
    m_historyGrid->setArchive(view.archive);
    m_slipGrid->setClassChoices(view.classes);
    m_slipGrid->prepare(catalog::CatalogHeadings());
    m_historyGrid->prepare();
    // Nothing of the previous record stays: its unsaved marks go with it.
    discardEdits();
}

void RegistrationController::FillSlip(const jet::Recordset &rs, const RecordView &view)
{
    m_slipGrid->fill(readSlipRecord(rs), view.folder, view.openedRow, view.resultCount, view.fontSize);
}

void RegistrationController::LoadHistory(jet::Database &db, const jet::Recordset &rs)
{
    const int hsID = rs.field(QStringLiteral("hsID")).toInt();
    if (auto lines = registration::LoadHistory(db, hsID))
        m_historyGrid->showLines(*lines);
}

void RegistrationController::SaveSlipFields(jet::Database &db, jet::Recordset &rs)
{
    if (registration::SaveSlipFields(db, rs, m_slipGrid->edit()))
        m_slipGrid->markSaved();
}

void RegistrationController::SaveHistory(jet::Database &db, jet::Recordset &rs)
{
    if (registration::SaveHistory(db, rs, m_historyGrid->lines(), m_prompter))
        m_historyGrid->markSaved();
}

bool RegistrationController::SaveRecordIfDirty(jet::Database &db, jet::Recordset &rs, bool recordShown)
{
    if (recordShown) {
        m_slipGrid->finishEdit();
        if (!m_historyGrid->finishEdit())
            return false;
    }
    if (m_slipGrid->isDirty())
        SaveSlipFields(db, rs);
    if (m_historyGrid->isDirty())
        SaveHistory(db, rs);
    discardEdits();
    return true;
}

void RegistrationController::discardEdits()
{
    m_slipGrid->markSaved();
    m_historyGrid->markSaved();
}

void RegistrationController::AddLine()
{
    m_historyGrid->AddLine();
}

void RegistrationController::DelLine()
{
    m_historyGrid->DelLine();
}

// The list is the truth about the folder's contents; nothing on screen changes afterwards.
void RegistrationController::RegisterShownFolder(jet::Database &db, const QString &folder, const QStringList &names,
    QWidget *progressParent, const QList<QDateTime> &modified)
{
    RegistrationProgress progress(progressParent, int(names.size()));
    registration::RegisterShownFolder(db, m_prompter, folder, names, modified, progress.callback());
}

} // namespace tolvane::registration::ui
