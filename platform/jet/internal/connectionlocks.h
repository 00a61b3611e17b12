// ConnectionLocks: the byte-range locks by which the connections to one database file, in this
// process and in others (on a shared folder too), take turns: one writer at a time, from the
// start of its transaction until its commit is durable, and no reader while a commit changes
// the file. Not thread-safe.
//
// The locked bytes lie at 2 GiB, past the end of any Jet 4 file, where no reader of the file
// looks (Windows locks are mandatory). Each is one byte:
//   open     shared by every connection while it is open; exclusive by one that must be alone
//   writer   exclusive from the start of a write transaction until its commit is durable
//   pending  exclusive while a writer waits for readers to leave and then changes the file;
//            readers take it shared for a moment before read, so that readers coming one after
//            another cannot keep a writer out
//   read     shared while a connection reads the file; exclusive while a writer changes it
#pragma once

#include <functional>
#include <memory>

#include "platform/jet/internal/fileaccess.h"

namespace tolvane::jet::internal {

class ConnectionLocks {
public:
    static constexpr qint64 kOpenByte = qint64(1) << 31;
    static constexpr qint64 kWriterByte = kOpenByte + 1;
    static constexpr qint64 kPendingByte = kOpenByte + 2;
    static constexpr qint64 kReadByte = kOpenByte + 3;
    static constexpr int kDefaultBusyTimeoutMs = 5000;

    // Opens the file at path through files (which must outlive the locks) for locking, for
    // writing when writable, and takes the open lock (waiting as lockWriter() does while a
    // connection holds it alone). Errors: those of FileAccess::open, Busy.
    static Result<std::unique_ptr<ConnectionLocks>> open(FileAccess &files, const QString &path, bool writable);
    ~ConnectionLocks();

    // How long a lock is waited for before the busy handler is asked (ms), and the handler:
    // true to wait as long again, false to give up with Busy. Without a handler the first wait
    // is the last.
    void setBusyTimeout(int ms) { m_timeoutMs = ms; }
    void setBusyHandler(std::function<bool()> handler) { m_busyHandler = std::move(handler); }

    // The writer lock. Requires: opened writable, and not held already.
    Result<bool> tryLockWriter();
    Status lockWriter();
    void unlockWriter();
    bool holdsWriter() const { return m_writer; }

    // Reading the file: waits while a commit changes it. Every lockRead() that succeeded is
    // followed by one unlockRead().
    Status lockRead();
    void unlockRead();

    // Changing the file (a commit's page writes, a journal rolled back): waits until no
    // connection reads it. Requires: the writer lock is held.
    Status lockChange();
    void unlockChange();

    // True when another connection has the file open. Requires: opened writable.
    Result<bool> openElsewhere();

private:
    ConnectionLocks(QString path, std::unique_ptr<File> file);
    Result<bool> tryLock(File::LockKind kind, qint64 byte);
    void unlock(qint64 byte);
    // Tries attempt until it succeeds, consulting the busy handler after each timeout.
    Status waitFor(const std::function<Result<bool>()> &attempt);

    QString m_path;
    std::unique_ptr<File> m_file;
    int m_timeoutMs = kDefaultBusyTimeoutMs;
    std::function<bool()> m_busyHandler;
    bool m_writer = false;
};

} // namespace tolvane::jet::internal
