// The toolbar's commands: one value per button key, and the key each has on its button. The
// main window dispatches a click by the command of the button's key; a key that names no
// command is a programming error caught when the layout is built. Pure data; thread-safe.
#pragma once

#include <optional>

#include <QList>
#include <QString>

namespace tolvane::shell {

enum class Command {
    StartShowFile,
    DBopen,
    View,
    BackToStart,
    Search,
    DBrec,
    RecAll,
    Back2DB,
    DBsearch,
    DBFiles,
    DBClass,
    DBDate,
    DBKeyword,
    BDRsearch,
    DurSeek,
    WordSeek,
    FullTextSearch,
    FullTextSearchDB,
    BackTo,
    BackToINI,
    BackToSearch,
    Prev,
    Next,
    Rec2Binder,
    AddLine,
    DelLine,
    Up,
    Down,
    Reg,
    Apri,
    Del,
    Size,
    Left90,
    Right90,
    Enlarge,
    Gprev,
    Gnext,
    Sxf,
    BackColor,
    Excel,
};

// Every command, in the order above.
const QList<Command> &allCommands();
// The button key of a command ("StartShowFile", "apri", "left90" ...).
QString commandKey(Command command);
// The command of a button key; nullopt for a key that names none (placeholders).
std::optional<Command> commandForKey(const QString &key);

} // namespace tolvane::shell
