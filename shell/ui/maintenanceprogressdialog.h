// MaintenanceProgressDialog: the progress of a compaction or repair in a modal dialog with a
// cancel button (「中止」). The dialog is made when the work reports its first step, and shows
// once the work takes longer than a moment. GUI thread only.
#pragma once

#include <memory>

#include <QPointer>
#include <QProgressDialog>

#include "platform/jet/maintenance.h"

namespace tolvane::shell {

class MaintenanceProgressDialog {
public:
    MaintenanceProgressDialog(QWidget *parent, QString label);
    ~MaintenanceProgressDialog();
    // Moves the bar, keeps the window responsive, and returns false once the user cancelled.
    // Valid while this object lives.
    jet::MaintenanceProgress callback();

private:
    QPointer<QWidget> m_parent;
    QString m_label;
    std::unique_ptr<QProgressDialog> m_dialog;
};

} // namespace tolvane::shell
