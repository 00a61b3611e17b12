#include "registration/ui/registrationprogress.h"

#include "platform/apptitle.h"

#include <QCoreApplication>
#include <QProgressDialog>

namespace tolvane::registration::ui {

RegistrationProgress::RegistrationProgress(QWidget *parent, int fileCount)
    : m_dialog(std::make_unique<QProgressDialog>(parent)), m_fileCount(fileCount)
{
    m_dialog->setObjectName(QStringLiteral("RegistrationProgress"));
    m_dialog->setWindowTitle(appTitle());
    m_dialog->setLabelText(QStringLiteral("%1 件のファイル情報を登録しています…").arg(fileCount));
    m_dialog->setCancelButtonText(QStringLiteral("キャンセル"));
    m_dialog->setWindowModality(Qt::WindowModal);
    m_dialog->setMinimumDuration(400);
    m_dialog->setAutoClose(false);
    m_dialog->setAutoReset(false);
    m_dialog->setRange(0, qMax(1, fileCount));
    m_dialog->setValue(0);
}

RegistrationProgress::~RegistrationProgress() = default;

Progress RegistrationProgress::callback()
{
    return [this](int done, int total) {
        if (m_dialog->maximum() != qMax(1, total))
            m_dialog->setMaximum(qMax(1, total));
        m_dialog->setValue(qMin(done, m_dialog->maximum()));
        QCoreApplication::processEvents();
        return !m_dialog->wasCanceled();
    };
}

bool RegistrationProgress::wasCancelled() const
{
    return m_dialog->wasCanceled();
}

} // namespace tolvane::registration::ui
