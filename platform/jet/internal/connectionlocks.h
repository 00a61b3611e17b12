// ConnectionLocks: the one lock scheme of the engine. Every connection to a database file, in
// this process and in others (on a shared folder too), takes turns with the others through
// byte-range locks on four bytes of the file: one writer at a time, from the start of its
// transaction until its commit is durable; no reader while a commit changes the file; and work
// that replaces or salvages the whole file (compaction, repair) only while no connection has
// it open, with newcomers turned away until that work is done. Not thread-safe.
//
// The bytes, one each (docs/jet4-engine.md, "Several connections", says why they lie there):
//   0x80000000 open     shared by every connection for as long as it is open; exclusive for the
//                       whole run of work that must have the file to itself
//   0x80000001 writer   exclusive from the start of a write transaction until its commit is
//                       durable (or its rollback); a hot journal is put back only by its holder
//   0x80000002 pending  exclusive while a writer waits for readers to leave and then changes the
//                       file; readers take it shared for a moment before read, so that readers
//                       coming one after another cannot keep a writer out
//   0x80000003 read     shared while a connection reads the file; exclusive while a writer
//                       changes it
// A Jet 4 file ends before 2 GiB, so no reader of the file ever reads these bytes (Windows
// locks are mandatory), and they lie above every offset Jet itself locks.
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
    // How long an open waits for work that has the file to itself before it is turned away.
    static constexpr int kOpenWaitMs = 2000;

    enum class Use {
        Read, // a connection that only reads
        Write, // a connection that may write
        Sole, // work that must have the file to itself (may write, never waits)
    };

    // Opens the file at path through files (which must outlive the locks) for locking, for
    // writing unless use is Read, and takes the open lock: shared, waiting up to kOpenWaitMs
    // while the file is had alone; exclusive for Sole, at once or not at all. Either way the
    // lock is then on the file the path names now, also when another file was put in its
    // place meanwhile. Errors: those of FileAccess::open; Busy, with a message for the user
    // (Japanese), when the file is had alone (Read, Write) or open elsewhere (Sole).
    static Result<std::unique_ptr<ConnectionLocks>> open(FileAccess &files, const QString &path, Use use);
    ~ConnectionLocks();

    // How long a lock is waited for before the busy handler is asked (ms), and the handler:
    // true to wait as long again, false to give up with Busy. Without a handler the first wait
    // is the last.
    void setBusyTimeout(int ms) { m_timeoutMs = ms; }
    void setBusyHandler(std::function<bool()> handler) { m_busyHandler = std::move(handler); }

    // The writer lock. Requires: not opened for Read, and not held already.
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

private:
    ConnectionLocks(QString path, std::unique_ptr<File> file);
    Result<bool> tryLock(File::LockKind kind, qint64 byte);
    void unlock(qint64 byte);
    // True when the locked file is still the one at the path.
    Result<bool> lockedFileIsAtPath(FileAccess &files) const;
    // Tries attempt until it succeeds, for timeoutMs and then as long again each time the busy
    // handler (when asked) says so.
    Status waitFor(const std::function<Result<bool>()> &attempt, int timeoutMs, bool askHandler);
    Status waitFor(const std::function<Result<bool>()> &attempt) { return waitFor(attempt, m_timeoutMs, true); }

    QString m_path;
    std::unique_ptr<File> m_file;
    int m_timeoutMs = kDefaultBusyTimeoutMs;
    std::function<bool()> m_busyHandler;
    bool m_writer = false;
};

} // namespace tolvane::jet::internal
