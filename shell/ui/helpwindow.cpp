#include "shell/ui/helpwindow.h"

#include <QAction>
#include <QApplication>
#include <QDialog>
#include <QDir>
#include <QFileInfo>
#include <QStyle>
#include <QTextBrowser>
#include <QToolBar>
#include <QUrl>
#include <QVBoxLayout>

#include "platform/utf8.h"
#include "shell/helptopics.h"

namespace tolvane::shell {

HelpWindow::HelpWindow(QWidget *parent)
    : QWidget(parent, Qt::Window)
{
    setObjectName(QStringLiteral("HelpWindow"));
    setWindowTitle(u("Almaren Tolvane ヘルプ"));
    resize(860, 680);

    m_browser = new QTextBrowser(this);
    m_browser->setObjectName(QStringLiteral("HelpBrowser"));
    m_browser->setOpenExternalLinks(true);

    auto *bar = new QToolBar(this);
    bar->setObjectName(QStringLiteral("HelpToolbar"));
    const auto add = [&](const char *name, const char *text, QStyle::StandardPixmap icon) {
        QAction *a = bar->addAction(style()->standardIcon(icon), u(text));
        a->setObjectName(QString::fromLatin1(name));
        return a;
    };
    QAction *contents = add("HelpContents", "目次", QStyle::SP_DirHomeIcon);
    QAction *back = add("HelpBack", "戻る", QStyle::SP_ArrowBack);
    QAction *forward = add("HelpForward", "進む", QStyle::SP_ArrowForward);
    bar->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    back->setEnabled(false);
    forward->setEnabled(false);
    connect(contents, &QAction::triggered, this, [this] { showHelp(m_firstPage, 0); });
    connect(back, &QAction::triggered, m_browser, &QTextBrowser::backward);
    connect(forward, &QAction::triggered, m_browser, &QTextBrowser::forward);
    connect(m_browser, &QTextBrowser::backwardAvailable, back, &QAction::setEnabled);
    connect(m_browser, &QTextBrowser::forwardAvailable, forward, &QAction::setEnabled);
    connect(m_browser, &QTextBrowser::sourceChanged, this,
        [this] { setWindowTitle(u("Almaren Tolvane ヘルプ － ") + m_browser->documentTitle()); });

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(bar);
    layout->addWidget(m_browser);
}

bool HelpWindow::showHelp(const QString &firstPage, int contextId)
{
    m_firstPage = firstPage;
    const QDir manual = QFileInfo(firstPage).dir();
    const QString page = helpPage(contextId);
    const qsizetype hash = page.indexOf(QLatin1Char('#'));
    QUrl url = QUrl::fromLocalFile(manual.filePath(page.left(hash)));
    if (hash >= 0)
        url.setFragment(page.mid(hash + 1));
    if (!QFileInfo(url.toLocalFile()).isReadable())
        url = QUrl::fromLocalFile(firstPage);
    if (!QFileInfo(url.toLocalFile()).isReadable())
        return false;
    m_browser->setSource(url);
    // Asked from a modal dialog, the window goes with that dialog while it is open: otherwise
    // the dialog would block it.
    if (auto *dialog = qobject_cast<QDialog *>(QApplication::activeModalWidget()); dialog && dialog != parentWidget()) {
        QWidget *home = parentWidget();
        setParent(dialog, Qt::Window);
        connect(
            dialog, &QDialog::finished, this,
            [this, home] {
                const bool wasVisible = isVisible();
                setParent(home, Qt::Window);
                setVisible(wasVisible);
            },
            Qt::SingleShotConnection);
    }
    show();
    raise();
    activateWindow();
    return true;
}

} // namespace tolvane::shell
