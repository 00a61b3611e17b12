#include "shell/commands.h"

#include <QHash>

namespace tolvane::shell {

namespace {

struct Entry {
    Command command;
    const char *key;
};

constexpr Entry kEntries[] = {
    { Command::StartShowFile, "StartShowFile" },
    { Command::DBopen, "DBopen" },
    { Command::View, "View" },
    { Command::BackToStart, "BackToStart" },
    { Command::Search, "Search" },
    { Command::DBrec, "DBrec" },
    { Command::RecAll, "RecAll" },
    { Command::Back2DB, "Back2DB" },
    { Command::DBsearch, "DBsearch" },
    { Command::DBFiles, "DBFiles" },
    { Command::DBClass, "DBClass" },
    { Command::DBDate, "DBDate" },
    { Command::DBKeyword, "DBKeyword" },
    { Command::BDRsearch, "BDRsearch" },
    { Command::DurSeek, "DurSeek" },
    { Command::WordSeek, "WordSeek" },
    { Command::FullTextSearch, "FullTextSearch" },
    { Command::FullTextSearchDB, "FullTextSearchDB" },
    { Command::BackTo, "BackTo" },
    { Command::BackToINI, "BackToINI" },
    { Command::BackToSearch, "BackToSearch" },
    { Command::Prev, "Prev" },
    { Command::Next, "Next" },
    { Command::Rec2Binder, "Rec2Binder" },
    { Command::AddLine, "AddLine" },
    { Command::DelLine, "DelLine" },
    { Command::Up, "up" },
    { Command::Down, "down" },
    { Command::Reg, "reg" },
    { Command::Apri, "apri" },
    { Command::Del, "del" },
    { Command::Size, "size" },
    { Command::Left90, "left90" },
    { Command::Right90, "right90" },
    { Command::Enlarge, "enlarge" },
    { Command::Gprev, "Gprev" },
    { Command::Gnext, "Gnext" },
    { Command::Sxf, "sxf" },
    { Command::BackColor, "BackColor" },
    { Command::Excel, "excel" },
};

} // namespace

const QList<Command> &allCommands()
{
    static const QList<Command> all = [] {
        QList<Command> out;
        for (const Entry &e : kEntries)
            out.append(e.command);
        return out;
    }();
    return all;
}

QString commandKey(Command command)
{
    for (const Entry &e : kEntries)
        if (e.command == command)
            return QString::fromLatin1(e.key);
    return {};
}

std::optional<Command> commandForKey(const QString &key)
{
    static const QHash<QString, Command> byKey = [] {
        QHash<QString, Command> out;
        for (const Entry &e : kEntries)
            out.insert(QString::fromLatin1(e.key), e.command);
        return out;
    }();
    const auto it = byKey.constFind(key);
    if (it == byKey.constEnd())
        return std::nullopt;
    return *it;
}

} // namespace tolvane::shell
