#include "shell/ui/frmabout.h"

#include <QCoreApplication>
#include <QDialogButtonBox>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>
#include <QVersionNumber>

#include "platform/apptitle.h"

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
    layout->addWidget(title);
    const QVersionNumber v = QVersionNumber::fromString(QCoreApplication::applicationVersion());
    auto *version = new QLabel(
        QStringLiteral("Version %1.%2.%3").arg(v.majorVersion()).arg(v.minorVersion()).arg(v.microVersion()), this);
    version->setObjectName(QStringLiteral("lblVersion"));
    layout->addWidget(version);
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok, this);
    QPushButton *sysInfo = buttons->addButton(QString::fromUtf8("ｼｽﾃﾑ情報..."), QDialogButtonBox::ActionRole);
    sysInfo->setObjectName(QStringLiteral("cmdSysInfo"));
    connect(sysInfo, &QPushButton::clicked, this, &frmAbout::showSystemInfo);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    layout->addWidget(buttons);
}

void frmAbout::showSystemInfo()
{
    // No system-information tool is registered on this platform.
    m_prompter.inform(appTitle(), QString::fromUtf8("現時点ではｼｽﾃﾑ情報を使用できません"), Prompter::Icon::Warning);
}

} // namespace tolvane::shell
