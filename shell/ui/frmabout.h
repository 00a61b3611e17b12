// frmAbout: the version dialog: the program's title and version, and a button that starts the
// desktop's system-information tool. GUI thread only.
#pragma once

#include <QDialog>

#include "platform/prompter.h"

namespace tolvane::shell {

class frmAbout : public QDialog {
    Q_OBJECT

public:
    explicit frmAbout(Prompter &prompter, QWidget *parent = nullptr);

    // "cmdSysInfo": starts the system-information tool, or says that there is none.
    void cmdSysInfo_Click();

private:
    Prompter &m_prompter;
};

} // namespace tolvane::shell
