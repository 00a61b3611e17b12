// frmAbout: the version dialog.
#pragma once

#include "platform/prompter.h"

#include <QDialog>

namespace tolvane::shell {

class frmAbout : public QDialog
{
    Q_OBJECT

public:
    explicit frmAbout(Prompter &prompter, QWidget *parent = nullptr);

private:
    void showSystemInfo();

    Prompter &m_prompter;
};

} // namespace tolvane::shell
