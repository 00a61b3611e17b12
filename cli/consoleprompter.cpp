#include "cli/consoleprompter.h"

#include <cstdio>

namespace tolvane::cli {

namespace {
void write(std::FILE *to, QString text)
{
    text.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    if (!text.endsWith(QLatin1Char('\n')))
        text += QLatin1Char('\n');
    const QByteArray utf8 = text.toUtf8();
    std::fwrite(utf8.constData(), 1, size_t(utf8.size()), to);
    std::fflush(to);
}
} // namespace

void writeOut(const QString &text)
{
    write(stdout, text);
}

void writeErr(const QString &text)
{
    write(stderr, text);
}

Prompter::Answer ConsolePrompter::message(const Message &msg)
{
    switch (msg.buttons) {
    case Buttons::YesNo:
    case Buttons::YesNoCancel:
        return Answer::Yes;
    case Buttons::OkCancel:
    case Buttons::Ok:
        break;
    }
    if (msg.icon == Icon::Warning || msg.icon == Icon::Critical) {
        m_refused = true;
        writeErr(msg.text);
    } else {
        ++m_information;
        writeOut(msg.text);
    }
    return Answer::Ok;
}

QString ConsolePrompter::openFile(const QString &, const QString &, const QString &)
{
    return m_file;
}

QString ConsolePrompter::saveFile(const QString &, const QString &, const QString &)
{
    return m_file;
}

QString ConsolePrompter::folder(const QString &, const QString &)
{
    return {};
}

QColor ConsolePrompter::color(const QString &, const QColor &, const QList<QColor> &)
{
    return {};
}

QString ConsolePrompter::text(const QString &, const QString &, const QString &, bool *ok)
{
    if (ok)
        *ok = false;
    return {};
}

int ConsolePrompter::number(const QString &, const QString &, int initial, int, int, bool *ok)
{
    if (ok)
        *ok = false;
    return initial;
}

} // namespace tolvane::cli
