// Paths and file dates as the program shows and stores them. Pure functions over Qt's file
// APIs; thread-safe.
#pragma once

#include <QDateTime>
#include <QString>

namespace tolvane {

// Joins a folder and a file name with one separator, in the folder's own separator style (a
// folder written with backslashes only keeps them), so a path shown to the user stays native.
QString joinPath(const QString &folder, const QString &name);

// The one form in which a folder is shown, stored and looked up: absolute, cleaned (no "." or
// ".." parts, no doubled or trailing separator except at a root), native separators. The same
// folder typed with or without a trailing separator gives the same text.
QString normalFolderPath(const QString &folder);

// A moment as the lists show days: "yyyy-mm-dd"; empty for an invalid one.
QString dayText(const QDateTime &moment);

// The modification day of a file as "yyyy-mm-dd"; empty when the file or its date cannot be read.
QString fileDateText(const QString &path);

} // namespace tolvane
