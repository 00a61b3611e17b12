// FileAccess: the engine's one way to the file system. The page store and the creator open,
// read, write, flush, rename and remove files only through it, so that tests can put a
// fault-injecting implementation where DiskFileAccess (diskfileaccess.h) normally stands.
// Implementations and their files are used from one thread at a time.
#pragma once

#include <algorithm>
#include <cstring>
#include <memory>

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

#include "platform/status.h"

namespace tolvane::jet::internal {

// An open file. Offsets and sizes are in bytes. Every failure is IOError naming the file.
class File {
public:
    virtual ~File() = default;

    // Up to size bytes from offset: fewer only where the file ends.
    virtual Result<QByteArray> read(qint64 offset, qint64 size) = 0;
    // The same into memory the caller gives; returns the number of bytes read.
    virtual Result<qint64> readInto(qint64 offset, char *to, qint64 size)
    {
        Result<QByteArray> bytes = read(offset, size);
        if (!bytes)
            return bytes.status();
        std::memcpy(to, bytes->constData(), size_t(bytes->size()));
        return qint64(bytes->size());
    }
    // Writes all of data at offset, growing the file when it reaches past the end. A failure
    // may leave part of data written.
    virtual Status write(qint64 offset, QByteArrayView data) = 0;
    virtual Result<qint64> size() = 0;
    // Cuts the file to size bytes, or grows it with zeros.
    virtual Status resize(qint64 size) = 0;
    // Returns once everything written so far is on the storage device.
    virtual Status sync() = 0;

    // Byte-range locks between open files, with try semantics: true when the lock is now held,
    // false when another open file holds a conflicting one. Several shared locks may cover the
    // same bytes; an exclusive one excludes every other lock, also one taken through another
    // file of the same process. A file never locks bytes it already locks (systems differ on
    // what that does): it unlocks them first. Locks may lie beyond the end of the file; on
    // Windows they are mandatory (they block reads and writes of the bytes they cover), so
    // callers lock only bytes no one reads. Requires: the file is open for writing when kind is
    // Exclusive. Locks end with unlock() or when the file is closed. (On POSIX systems without
    // open-file-description locks they belong to the process instead: two files of one process
    // do not exclude each other, and closing any file on the same disk file ends them.)
    enum class LockKind { Shared, Exclusive };
    virtual Result<bool> tryLock(LockKind kind, qint64 offset, qint64 length) = 0;
    virtual Status unlock(qint64 offset, qint64 length) = 0;

    // What tells this file from every other file on the system (its volume and file number),
    // whatever name it has now: two open files hold the same identity exactly when they are
    // the same file. Locks belong to the file, not to its name, so this shows whether a file
    // opened by name is still the one that name stands for after another was put in its place.
    virtual Result<QByteArray> identity() = 0;

    // The whole file.
    Result<QByteArray> readAll()
    {
        Result<qint64> n = size();
        if (!n)
            return n.status();
        return read(0, *n);
    }
};

// Size and times of last change of a file, to notice that someone else wrote it.
struct FileStamp {
    qint64 size = -1;
    qint64 modifiedMs = 0; // content written
    qint64 changedMs = 0; // content or metadata changed
    bool operator==(const FileStamp &) const = default;
};

class FileAccess {
public:
    enum class OpenMode {
        Read, // an existing file, for reading
        ReadWrite, // an existing file, for reading and writing
        Replace, // a new or emptied file, for reading and writing
        CreateNew, // a file that must not exist yet, for reading and writing
    };

    virtual ~FileAccess() = default;

    // Errors: NotFound (no such file for Read and ReadWrite; no such folder for the others),
    // InvalidArgument (CreateNew and the file exists), IOError.
    virtual Result<std::unique_ptr<File>> open(const QString &path, OpenMode mode) = 0;
    // A file or folder at path.
    virtual bool exists(const QString &path) = 0;
    // True when this process may write the file or folder at path.
    virtual bool isWritable(const QString &path) = 0;
    // NotFound when there is no file.
    virtual Result<FileStamp> stamp(const QString &path) = 0;
    // Removes a file; removing one that does not exist succeeds.
    virtual Status remove(const QString &path) = 0;
    // Gives the file at from the name to, on the same volume; never replaces a file:
    // InvalidArgument when to exists. IOError otherwise.
    virtual Status rename(const QString &from, const QString &to) = 0;
    // Gives the file at from the name to, on the same volume, replacing a file there in one
    // step: someone opening to finds the old file or the new one, never none. IOError.
    virtual Status replace(const QString &from, const QString &to) = 0;
    // Makes the files created, renamed and removed in folder durable.
    virtual Status syncFolder(const QString &folder) = 0;
    // Bytes the user may still write on the disk that holds folder; -1 when unknown.
    virtual qint64 freeSpace(const QString &folder) { return (void)folder, -1; }
};

// The failure of a write the disk has no room for: how much more is needed, in words for the
// user (the kilobytes or megabytes missing, rounded up).
inline Status diskFullStatus(qint64 missingBytes)
{
    const qint64 kb = (std::max<qint64>(missingBytes, 1) + 1023) / 1024;
    const QString amount = kb < 1024 ? QStringLiteral("%1 KB").arg(kb)
                                     : QStringLiteral("%1 MB").arg(QString::number((kb + 1023) / 1024));
    return Status::diskFull(
        QStringLiteral("ディスクの空き容量が足りません。　あと約 %1 の空きが必要です。").arg(amount));
}

} // namespace tolvane::jet::internal
