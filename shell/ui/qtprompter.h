// QtPrompter: the Prompter shown to the user, with Qt's message box and dialogs.
#pragma once

#include <QPointer>
#include <QWidget>

#include "platform/prompter.h"

namespace tolvane::shell {

class QtPrompter : public Prompter {
public:
    // parent: the window the dialogs are modal to (may be set later).
    explicit QtPrompter(QWidget *parent = nullptr)
        : m_parent(parent)
    {
    }
    void setParent(QWidget *parent) { m_parent = parent; }

    Answer message(const Message &msg) override;
    QString openFile(const QString &title, const QString &filter, const QString &startDir) override;
    // Makes sure the chosen name ends in the filter's extension.
    QString saveFile(const QString &title, const QString &filter, const QString &startDir) override;
    QString folder(const QString &title, const QString &startDir) override;
    QColor color(const QString &title, const QColor &initial, const QList<QColor> &customColours) override;
    QString text(const QString &title, const QString &label, const QString &initial, bool *ok) override;
    int number(const QString &title, const QString &label, int initial, int min, int max, bool *ok) override;
    QString textForm(const TextForm &form, bool *ok) override;
    // A dialog with the drop-down list (Combo1) and the two buttons Command1(0) and Command1(1).
    int choose(const ChoiceForm &form, bool *ok) override;

    // The first extension of a filter such as "Database (*.mdb)" ("mdb"), or empty.
    static QString defaultSuffix(const QString &filter);

private:
    QPointer<QWidget> m_parent;
};

} // namespace tolvane::shell
