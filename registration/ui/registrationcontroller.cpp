#include "registration/ui/registrationcontroller.h"

#include <QCalendarWidget>
#include <QTableView>

#include "catalog/failuretext.h"
#include "platform/apptitle.h"
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

bool RegistrationController::SaveRecordIfDirty(jet::Database &db, jet::Recordset &rs, bool recordShown, Leaving leaving)
{
    const QString crlf = QStringLiteral("\r\n");
    bool dateRefused = false;
    if (recordShown) {
        m_slipGrid->finishEdit();
        if (leaving == Leaving::Step) {
            dateRefused = !m_historyGrid->finishEdit(); // told by the grid
        } else if (const std::optional<QString> refused = m_historyGrid->takeRefusal()) {
            const Prompter::Answer answer = m_prompter.message({ appTitle(),
                badHistoryDateMessage(*refused) + crlf + QStringLiteral("この記入は保存されません。　続けますか？"),
                Prompter::Icon::Warning, Prompter::Buttons::OkCancel });
            dateRefused = answer != Prompter::Answer::Ok;
        }
    }

    QStringList failures;
    if (m_slipGrid->isDirty()) {
        const Status saved = registration::SaveSlipFields(db, rs, m_slipGrid->edit());
        if (saved)
            m_slipGrid->markSaved();
        else
            failures << QStringLiteral("管理票（分類・キーワード・背景色）：") + catalog::failureReason(saved);
    }
    if (!dateRefused && m_historyGrid->isDirty()) {
        const Result<int> saved = registration::SaveHistory(db, rs, m_historyGrid->lines(), m_prompter);
        if (saved)
            m_historyGrid->markSaved();
        else
            failures << QStringLiteral("改訂履歴：") + catalog::failureReason(saved.status());
    }
    if (failures.isEmpty())
        return !dateRefused;

    const Prompter::Answer answer = m_prompter.message({ appTitle(),
        QStringLiteral("次の変更を保存できませんでした。") + crlf + failures.join(crlf) + crlf
            + QStringLiteral("保存せずに続けますか？　［いいえ］を選ぶと、変更を残したまま元の画面に戻ります。"),
        Prompter::Icon::Critical, Prompter::Buttons::YesNo });
    if (answer != Prompter::Answer::Yes)
        return false;
    m_slipGrid->markSaved();
    if (!dateRefused)
        m_historyGrid->markSaved();
    return !dateRefused;
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
