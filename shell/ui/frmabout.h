// frmAbout: the version dialog.
#pragma once

#include <QDialog>

#include "platform/prompter.h"

namespace tolvane::shell {

class frmAbout : public QDialog {
    Q_OBJECT

public:
    explicit frmAbout(Prompter &prompter, QWidget *parent = nullptr);

private:
    void showSystemInfo();

    Prompter &m_prompter;
};

} // namespace tolvane::shell
