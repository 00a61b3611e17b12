// RegistrationProgress: the cancellable progress dialog shown while a folder is registered or
// synchronised, with the file count. It appears only when the work lasts long enough to notice.
// GUI thread only.
#pragma once

#include <memory>

#include "registration/pathrecords.h"

class QProgressDialog;
class QWidget;

namespace tolvane::registration::ui {

class RegistrationProgress {
public:
    // fileCount: the number of listed files, shown in the label.
    RegistrationProgress(QWidget *parent, int fileCount);
    ~RegistrationProgress();
    RegistrationProgress(const RegistrationProgress &) = delete;
    RegistrationProgress &operator=(const RegistrationProgress &) = delete;

    // The callback for RegisterShownFolder: moves the bar, keeps the window responsive, and
    // returns false once the user pressed Cancel.
    Progress callback();
    bool wasCancelled() const;
    // True once the first report came (the dialog exists; it shows itself after a short delay).
    bool wasShown() const;

private:
    void createDialog();

    QWidget *m_parent;
    std::unique_ptr<QProgressDialog> m_dialog;
    int m_fileCount;
    bool m_cancelled = false;
};

} // namespace tolvane::registration::ui
