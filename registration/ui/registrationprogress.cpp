#include "registration/ui/registrationprogress.h"

#include <QCoreApplication>
#include <QProgressDialog>

#include "platform/apptitle.h"

namespace tolvane::registration::ui {

RegistrationProgress::RegistrationProgress(QWidget *parent, int fileCount)
    : m_parent(parent)
    , m_fileCount(fileCount)
{
}

void RegistrationProgress::createDialog()
{
    // Made on the first report, so that it cannot appear while the confirmation is asked.
    m_dialog = std::make_unique<QProgressDialog>(m_parent);
    m_dialog->setObjectName(QStringLiteral("RegistrationProgress"));
    m_dialog->setWindowTitle(appTitle());
    m_dialog->setLabelText(QStringLiteral("%1 件のファイル情報を登録しています…").arg(m_fileCount));
    m_dialog->setCancelButtonText(QStringLiteral("キャンセル"));
    m_dialog->setWindowModality(Qt::WindowModal);
    m_dialog->setMinimumDuration(400);
    m_dialog->setAutoClose(true);
    m_dialog->setAutoReset(true);
    m_dialog->setRange(0, qMax(1, m_fileCount));
    m_dialog->setValue(0);
}

RegistrationProgress::~RegistrationProgress() = default;

Progress RegistrationProgress::callback()
{
    return [this](int done, int total) {
        if (!m_dialog)
            createDialog();
        if (m_cancelled)
            return false;
        if (m_dialog->maximum() != qMax(1, total))
            m_dialog->setMaximum(qMax(1, total));
        m_dialog->setValue(qMin(done, m_dialog->maximum()));
        // Until the dialog shows (and blocks the window), clicks must not start other commands.
        QCoreApplication::processEvents(
            m_dialog->isVisible() ? QEventLoop::AllEvents : QEventLoop::ExcludeUserInputEvents);
        m_cancelled = m_dialog->wasCanceled();
        return !m_cancelled;
    };
}

bool RegistrationProgress::wasCancelled() const
{
    return m_cancelled;
}

bool RegistrationProgress::wasShown() const
{
    return m_dialog != nullptr;
}

} // namespace tolvane::registration::ui
