#include "shell/ui/maintenanceprogressdialog.h"

#include <QCoreApplication>

namespace tolvane::shell {

namespace {
constexpr int kSteps = 1000;
}

MaintenanceProgressDialog::MaintenanceProgressDialog(QWidget *parent, QString label)
    : m_parent(parent)
    , m_label(std::move(label))
{
}

MaintenanceProgressDialog::~MaintenanceProgressDialog() = default;

jet::MaintenanceProgress MaintenanceProgressDialog::callback()
{
    return [this](qint64 done, qint64 total) {
        if (!m_dialog) {
            m_dialog = std::make_unique<QProgressDialog>(m_label, QStringLiteral("中止"), 0, kSteps, m_parent);
            m_dialog->setObjectName(QStringLiteral("maintenanceProgress"));
            m_dialog->setWindowModality(Qt::WindowModal);
            m_dialog->setMinimumDuration(500);
            m_dialog->setAutoClose(false);
            m_dialog->setAutoReset(false);
        }
        m_dialog->setValue(total > 0 ? int(done * kSteps / total) : 0);
        QCoreApplication::processEvents();
        return !m_dialog->wasCanceled();
    };
}

} // namespace tolvane::shell
