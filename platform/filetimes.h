// A folder's files with their modification times, read with one status call a file, and the
// local calendar day of such times found without a time-zone lookup per call (glibc stats
// /etc/localtime on every local-time conversion Qt asks of it when TZ is unset). Times are
// instants: milliseconds since 1970-01-01 UTC. Thread-compatible.
#pragma once

#include <optional>

#include <QDate>
#include <QList>
#include <QString>

namespace tolvane {

struct FolderEntry {
    QString name; // as the file system gives it
    qint64 size = -1; // bytes
    std::optional<qint64> modified; // instant; empty when it could not be read
};

// The files of folder (not its sub-folders), hidden ones included, links followed to files;
// in the order the system gives them. Empty when the folder cannot be read.
QList<FolderEntry> readFolderEntries(const QString &folder);

// Puts entries in the order of the system's file list: by the upper-cased name, character by
// character (so "A_B" follows "AB", as '_' comes after the capital letters); ties by exact text so
// the order is stable on case-sensitive disks.
void sortAsFileList(QList<FolderEntry> &entries);

// The modification instant of one file; empty when it cannot be read.
std::optional<qint64> fileModifiedInstant(const QString &path);

// Local calendar days of instants, in the time zone the system has when the object is made.
class LocalCalendar {
public:
    LocalCalendar();
    QDate dayOf(qint64 instant) const;
};

} // namespace tolvane
