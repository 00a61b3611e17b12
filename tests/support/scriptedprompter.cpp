#include "support/scriptedprompter.h"

#include <QTest>

namespace tolvane::test {

ScriptedPrompter::~ScriptedPrompter()
{
    if (!m_plan.isEmpty())
        QTest::qFail(qPrintable(QStringLiteral("ScriptedPrompter: %1 planned answer(s) unused, first: %2")
                                    .arg(m_plan.size())
                                    .arg(m_plan.first().kind)),
            __FILE__, __LINE__);
}

QList<ScriptedPrompter::Call> ScriptedPrompter::messages() const
{
    QList<Call> out;
    for (const Call &c : m_calls)
        if (c.kind == QLatin1String("message"))
            out.append(c);
    return out;
}

const ScriptedPrompter::Call &ScriptedPrompter::lastMessage() const
{
    static const Call none;
    for (auto it = m_calls.crbegin(); it != m_calls.crend(); ++it)
        if (it->kind == QLatin1String("message"))
            return *it;
    return none;
}

QVariant ScriptedPrompter::take(const QString &kind, const Call &call)
{
    m_calls.append(call);
    if (onPrompt)
        onPrompt(call);
    for (int i = 0; i < m_plan.size(); ++i) {
        if (m_plan[i].kind == kind) {
            QVariant v = m_plan[i].value;
            m_plan.removeAt(i);
            return v;
        }
    }
    if (kind == QLatin1String("message") && m_autoAck && call.buttons == Buttons::Ok)
        return int(Answer::Ok);
    QTest::qFail(
        qPrintable(QStringLiteral("ScriptedPrompter: unexpected %1 \"%2\": %3").arg(kind, call.title, call.text)),
        __FILE__, __LINE__);
    return {};
}

Prompter::Answer ScriptedPrompter::message(const Message &msg)
{
    const QVariant v
        = take(QStringLiteral("message"), { QStringLiteral("message"), msg.title, msg.text, msg.icon, msg.buttons });
    if (!v.isValid())
        return msg.buttons == Buttons::YesNo || msg.buttons == Buttons::YesNoCancel ? Answer::No : Answer::Cancel;
    return Answer(v.toInt());
}

QString ScriptedPrompter::openFile(const QString &title, const QString &filter, const QString &)
{
    return take(QStringLiteral("openFile"), { QStringLiteral("openFile"), title, filter }).toString();
}

QString ScriptedPrompter::saveFile(const QString &title, const QString &filter, const QString &)
{
    return take(QStringLiteral("saveFile"), { QStringLiteral("saveFile"), title, filter }).toString();
}

QString ScriptedPrompter::folder(const QString &title, const QString &startDir)
{
    // The start folder is recorded as the call's text.
    return take(QStringLiteral("folder"), { QStringLiteral("folder"), title, startDir }).toString();
}

QColor ScriptedPrompter::color(const QString &title, const QColor &initial, const QList<QColor> &customColours)
{
    m_lastColourInitial = initial;
    m_lastCustomColours = customColours;
    const QVariant v = take(QStringLiteral("color"), { QStringLiteral("color"), title, {} });
    return v.isValid() ? v.value<QColor>() : QColor();
}

QString ScriptedPrompter::text(const QString &title, const QString &label, const QString &, bool *ok)
{
    const QVariant v = take(QStringLiteral("text"), { QStringLiteral("text"), title, label });
    if (ok)
        *ok = v.isValid();
    return v.toString();
}

int ScriptedPrompter::number(const QString &title, const QString &label, int initial, int, int, bool *ok)
{
    const QVariant v = take(QStringLiteral("number"), { QStringLiteral("number"), title, label });
    if (ok)
        *ok = v.isValid();
    return v.isValid() ? v.toInt() : initial;
}

QString ScriptedPrompter::textForm(const TextForm &form, bool *ok)
{
    m_forms.append({ form.initial, form.okCaption, {} });
    const QVariant v = take(
        QStringLiteral("text"), { QStringLiteral("text"), form.title, form.label, Icon::None, Buttons::OkCancel });
    if (ok)
        *ok = v.isValid();
    return v.toString();
}

int ScriptedPrompter::choose(const ChoiceForm &form, bool *ok)
{
    m_forms.append({ form.placeholder, {}, form.items });
    const QVariant v = take(
        QStringLiteral("choice"), { QStringLiteral("choice"), form.title, form.label, Icon::None, Buttons::OkCancel });
    if (ok)
        *ok = v.isValid();
    return v.isValid() ? v.toInt() : -1;
}

} // namespace tolvane::test
