// HelpWindow: the user manual in a window of its own (a QTextBrowser with contents, back and
// forward), opened by F1 and the Help menu. It belongs to the main window and is reused.
#pragma once

#include <QWidget>

#include "shell/helplauncher.h"

class QTextBrowser;

namespace tolvane::shell {

class HelpWindow : public QWidget, public HelpLauncher {
    Q_OBJECT

public:
    explicit HelpWindow(QWidget *parent = nullptr);

    // Shows the page of contextId (its first page when the topic's page is missing) and
    // brings the window to the front.
    bool showHelp(const QString &firstPage, int contextId) override;

    QTextBrowser *browser() const { return m_browser; }

private:
    QTextBrowser *m_browser = nullptr;
    QString m_firstPage;
};

} // namespace tolvane::shell
