// The main window offscreen with every dialog answered by the scripted prompter, a toolbar click
// as the user makes it (only on a button that is there, visible and enabled), and the usual ways
// in: a catalogue opened, a folder's files shown, one file clicked.
#pragma once

#include <memory>

#include <QApplication>
#include <QTableView>
#include <QTest>
#include <QToolButton>

#include "browser/ui/browsercontroller.h"
#include "shell/modes.h"
#include "shell/panes.h"
#include "shell/ui/form1.h"
#include "support/scriptedprompter.h"

namespace tolvane::test {

inline bool clickTool(shell::Form1 &w, const QString &key)
{
    QCoreApplication::processEvents(); // lets the toolbar lay out buttons added by the last command
    QToolButton *b = w.toolButton(key);
    if (!b || !b->isVisible() || !b->isEnabled()) {
        qWarning("toolbar button %s is not there to click (toolbar: %s)", qPrintable(key),
            qPrintable(w.toolbarKeys().join(QLatin1Char(' '))));
        return false;
    }
    QTest::mouseClick(b, Qt::LeftButton);
    return true;
}

inline bool clickTool(shell::Form1 &w, const char *key)
{
    return clickTool(w, QString::fromLatin1(key));
}

// What breaks the state's table: a widget it always shows that is hidden, a visible one it does
// not name, or a search input over a toolbar button. Empty when the screen and the table agree.
inline QString tableMismatch(const shell::Form1 &w)
{
    const shell::ShownWidgets shown = w.shownWidgets();
    QStringList wrong;
    for (unsigned i = 0; i < unsigned(shell::Widget::Count); ++i) {
        const auto name = shell::Widget(i);
        const bool visible = w.tableWidget(name)->isVisible();
        if (visible && !shown.allows(name))
            wrong << shell::widgetName(name) + QStringLiteral(" shown");
        else if (!visible && (shown.always & shell::bit(name)))
            wrong << shell::widgetName(name) + QStringLiteral(" missing");
    }
    // The search inputs lie on the toolbar: none may cover a button.
    for (auto box : { shell::Widget::Text1_0, shell::Widget::Text1_1, shell::Widget::Combo1 }) {
        const QWidget *b = w.tableWidget(box);
        if (!b->isVisible())
            continue;
        for (const QString &key : w.toolbarKeys())
            if (const QToolButton *t = w.toolButton(key);
                t && t->isVisible() && t->geometry().intersects(b->geometry()))
                wrong << shell::widgetName(box) + QStringLiteral(" over ") + key;
    }
    return wrong.join(QStringLiteral(", "));
}

// Prompter first, window last: the window goes first, then the prompter checks its plan.
struct Form1Harness {
    ScriptedPrompter prompter;
    std::unique_ptr<shell::Form1> w;

    explicit Form1Harness(shell::HelpLauncher *help = nullptr)
    {
        w = std::make_unique<shell::Form1>(prompter, help);
        w->show();
        QApplication::setActiveWindow(w.get());
    }

    bool click(const QString &key) { return clickTool(*w, key); }

    // The catalogue at path opened through the toolbar; true when it is open.
    bool open(const QString &path)
    {
        prompter.planOpenFile(path);
        return click(QStringLiteral("DBopen")) && w->catalog().isOpen();
    }

    // From the start screen, the file display of folder: its first file shown.
    bool showFolder(const QString &folder)
    {
        if (!click(QStringLiteral("StartShowFile")))
            return false;
        prompter.planFolder(folder);
        return click(QStringLiteral("View")) && w->mode() == shell::Mode::FileShow;
    }

    // A click on the row of name in the file list fr, as the user shows a file; true when shown.
    bool showFile(const QString &name)
    {
        auto *fr = w->findChild<QTableView *>(QStringLiteral("fr"));
        const int row = w->browser().names().indexOf(name);
        if (!fr || !fr->isVisible() || row < 0) {
            qWarning("%s is not listed to click", qPrintable(name));
            return false;
        }
        const QModelIndex cell = fr->model()->index(row, 0);
        fr->scrollTo(cell);
        QTest::mouseClick(fr->viewport(), Qt::LeftButton, {}, fr->visualRect(cell).center());
        return w->browser().currentFileName() == name;
    }
};

} // namespace tolvane::test
