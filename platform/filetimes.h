// A folder's files with their modification times, read with one status call a file, and the
// local calendar day of such times found without a time-zone lookup per call (glibc stats
// /etc/localtime on every local-time conversion Qt asks of it when TZ is unset). Times are
// instants: milliseconds since 1970-01-01 UTC. Thread-compatible.
#pragma once

#include <functional>
#include <limits>
#include <optional>

#include <QDate>
#include <QList>
#include <QString>
#include <QStringList>

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

// File names kept in one buffer: a folder of a hundred thousand files costs its text and an
// index, not a string each.
class FileNames {
public:
    FileNames() = default;
    static FileNames fromList(const QStringList &names);

    qsizetype size() const { return m_ends.size(); }
    bool isEmpty() const { return m_ends.isEmpty(); }
    QStringView at(qsizetype i) const
    {
        const qint32 from = i == 0 ? 0 : m_ends.at(i - 1);
        return QStringView(m_text.constData() + from, m_ends.at(i) - from);
    }
    void reserve(qsizetype names, qsizetype chars);
    void append(QStringView name);

private:
    QList<char16_t> m_text;
    QList<qint32> m_ends; // where each name's text ends
};

// A folder's files as registration needs them: what readFolderEntries gives, without sizes, in
// a compact form: modified[i] is the instant of names.at(i), kUnknown when it could not be read.
struct FolderListing {
    static constexpr qint64 kUnknown = std::numeric_limits<qint64>::min();
    FileNames names;
    QList<qint64> modified;
};
FolderListing readFolderListing(const QString &folder);
// As sortAsFileList above: the same order.
void sortAsFileList(FolderListing &listing);

// The modification instant of one file; empty when it cannot be read.
std::optional<qint64> fileModifiedInstant(const QString &path);

// Local calendar days of instants, in the time zone the system has when the object is made.
class LocalCalendar {
public:
    LocalCalendar();
    QDate dayOf(qint64 instant) const;
};

} // namespace tolvane
