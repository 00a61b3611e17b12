// ScriptedPrompter: a Prompter for tests. Records every call and returns planned answers in
// order. An unplanned prompt, or a planned answer left unused at destruction, fails the test.
#pragma once

#include <functional>

#include <QList>
#include <QVariant>

#include "platform/prompter.h"

namespace tolvane::test {

class ScriptedPrompter : public Prompter {
public:
    struct Call {
        QString kind; // "message", "openFile", "saveFile", "folder", "color", "text", "number", "choice"
        QString title;
        QString text; // message text, filter, label, or the folder dialog's start folder
        Icon icon = Icon::None;
        Buttons buttons = Buttons::Ok;
    };
    // What a text or choice form showed besides its title and label (also recorded as a call).
    struct Form {
        QString initial; // text forms: the text the box starts with; choice forms: the placeholder
        QString okCaption; // text forms: the confirm button's caption
        QStringList items; // choice forms: the items offered
    };

    ~ScriptedPrompter() override;

    // Plans: each answers the next prompt of that kind, in order of planning.
    void planAnswer(Answer a) { m_plan.append({ QStringLiteral("message"), QVariant::fromValue(int(a)) }); }
    void planOpenFile(const QString &path) { m_plan.append({ QStringLiteral("openFile"), path }); }
    void planSaveFile(const QString &path) { m_plan.append({ QStringLiteral("saveFile"), path }); }
    void planFolder(const QString &path) { m_plan.append({ QStringLiteral("folder"), path }); }
    void planColor(const QColor &c) { m_plan.append({ QStringLiteral("color"), c }); }
    void planText(const QString &t, bool ok = true)
    {
        m_plan.append({ QStringLiteral("text"), ok ? QVariant(t) : QVariant() });
    }
    // A choice form: the index chosen (-1: confirmed without a choice), or cancelled.
    void planChoice(int index, bool ok = true)
    {
        m_plan.append({ QStringLiteral("choice"), ok ? QVariant(index) : QVariant() });
    }
    void planNumber(int n, bool ok = true)
    {
        m_plan.append({ QStringLiteral("number"), ok ? QVariant(n) : QVariant() });
    }

    const QList<Call> &calls() const { return m_calls; }
    // The text and choice forms shown, in order.
    const QList<Form> &forms() const { return m_forms; }
    // Messages only, for the usual assertions.
    QList<Call> messages() const;
    const Call &lastMessage() const;
    void clear()
    {
        m_calls.clear();
        m_forms.clear();
    }
    int unusedAnswers() const { return int(m_plan.size()); }
    // Messages with an OK button are answered Ok without planning when this is on (default).
    void setAutoAcknowledge(bool on) { m_autoAck = on; }
    // Called at every prompt, while it is "open": what the screen shows behind a dialog.
    std::function<void(const Call &)> onPrompt;

    Answer message(const Message &msg) override;
    QString openFile(const QString &title, const QString &filter, const QString &startDir) override;
    QString saveFile(const QString &title, const QString &filter, const QString &startDir) override;
    QString folder(const QString &title, const QString &startDir) override;
    QColor color(const QString &title, const QColor &initial, const QList<QColor> &customColours) override;
    // What the last colour picker was opened with.
    const QColor &lastColourInitial() const { return m_lastColourInitial; }
    const QList<QColor> &lastCustomColours() const { return m_lastCustomColours; }
    QString text(const QString &title, const QString &label, const QString &initial, bool *ok) override;
    int number(const QString &title, const QString &label, int initial, int min, int max, bool *ok) override;
    // Recorded as kind "text" (with initial and okCaption) and "choice" (with items).
    QString textForm(const TextForm &form, bool *ok) override;
    int choose(const ChoiceForm &form, bool *ok) override;

private:
    QVariant take(const QString &kind, const Call &call);
    struct Planned {
        QString kind;
        QVariant value;
    };
    QList<Planned> m_plan;
    QList<Call> m_calls;
    QList<Form> m_forms;
    bool m_autoAck = true;
    QColor m_lastColourInitial;
    QList<QColor> m_lastCustomColours;
};

} // namespace tolvane::test
