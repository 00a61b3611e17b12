#include "shell/ui/frmabout.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "platform/apptitle.h"
#include "platform/systeminfo.h"
#include "shell/programversion.h"

namespace tolvane::shell {

frmAbout::frmAbout(Prompter &prompter, QWidget *parent)
    : QDialog(parent)
    , m_prompter(prompter)
{
    setObjectName(QStringLiteral("frmAbout"));
    setWindowTitle(appTitle() + QString::fromUtf8("のﾊﾞｰｼﾞｮﾝ情報"));
    auto *layout = new QVBoxLayout(this);
    auto *title = new QLabel(appTitle(), this);
    QFont f = title->font();
    f.setPointSize(f.pointSize() + 4);
    f.setBold(true);
    title->setFont(f);
    title->setObjectName(QStringLiteral("lblTitle"));
    layout->addWidget(title);
    auto *version = new QLabel(versionLabelText(), this);
    version->setObjectName(QStringLiteral("lblVersion"));
    layout->addWidget(version);
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok, this);
    buttons->button(QDialogButtonBox::Ok)->setObjectName(QStringLiteral("cmdOK"));
    QPushButton *sysInfo = buttons->addButton(QString::fromUtf8("ｼｽﾃﾑ情報..."), QDialogButtonBox::ActionRole);
    sysInfo->setObjectName(QStringLiteral("cmdSysInfo"));
    connect(sysInfo, &QPushButton::clicked, this, &frmAbout::cmdSysInfo_Click);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    layout->addWidget(buttons);
}

void frmAbout::cmdSysInfo_Click()
{
    if (!startSystemInfoTool())
        m_prompter.inform(
            appTitle(), QString::fromUtf8("現時点ではｼｽﾃﾑ情報を使用できません"), Prompter::Icon::Information);
}

} // namespace tolvane::shell
