#include "platform/jet/internal/connectionlocks.h"

#include <algorithm>

#include <QDir>
#include <QElapsedTimer>
#include <QThread>

namespace tolvane::jet::internal {

using Kind = File::LockKind;

ConnectionLocks::ConnectionLocks(QString path, std::unique_ptr<File> file)
    : m_path(std::move(path))
    , m_file(std::move(file))
{
}

// Closing the file ends every lock it holds.
ConnectionLocks::~ConnectionLocks() = default;

Result<std::unique_ptr<ConnectionLocks>> ConnectionLocks::open(FileAccess &files, const QString &path, bool writable)
{
    Result<std::unique_ptr<File>> file
        = files.open(path, writable ? FileAccess::OpenMode::ReadWrite : FileAccess::OpenMode::Read);
    if (!file)
        return file.status();
    std::unique_ptr<ConnectionLocks> locks(new ConnectionLocks(path, file.take()));
    if (Status s = locks->waitFor([&] { return locks->tryLock(Kind::Shared, kOpenByte); }); !s)
        return s;
    return locks;
}

Result<bool> ConnectionLocks::tryLock(Kind kind, qint64 byte)
{
    return m_file->tryLock(kind, byte, 1);
}

void ConnectionLocks::unlock(qint64 byte)
{
    // Unlocking what this file holds fails only when the file is gone, and closing it ends the
    // lock anyway.
    m_file->unlock(byte, 1);
}

Status ConnectionLocks::waitFor(const std::function<Result<bool>()> &attempt)
{
    QElapsedTimer waited;
    waited.start();
    int pauseMs = 1;
    for (;;) {
        Result<bool> taken = attempt();
        if (!taken)
            return taken.status();
        if (*taken)
            return Status::ok();
        if (waited.elapsed() >= m_timeoutMs) {
            if (!m_busyHandler || !m_busyHandler())
                return Status::busy(
                    QStringLiteral("%1 is being changed by another connection").arg(QDir::toNativeSeparators(m_path)));
            waited.restart();
        }
        QThread::msleep(ulong(pauseMs));
        pauseMs = std::min(pauseMs * 2, 20);
    }
}

Result<bool> ConnectionLocks::tryLockWriter()
{
    Result<bool> taken = tryLock(Kind::Exclusive, kWriterByte);
    m_writer = taken.isOk() && *taken;
    return taken;
}

Status ConnectionLocks::lockWriter()
{
    return waitFor([this] { return tryLockWriter(); });
}

void ConnectionLocks::unlockWriter()
{
    if (m_writer)
        unlock(kWriterByte);
    m_writer = false;
}

Status ConnectionLocks::lockRead()
{
    return waitFor([this]() -> Result<bool> {
        Result<bool> gate = tryLock(Kind::Shared, kPendingByte);
        if (!gate || !*gate)
            return gate;
        Result<bool> read = tryLock(Kind::Shared, kReadByte);
        unlock(kPendingByte);
        return read;
    });
}

void ConnectionLocks::unlockRead()
{
    unlock(kReadByte);
}

Status ConnectionLocks::lockChange()
{
    if (Status s = waitFor([this] { return tryLock(Kind::Exclusive, kPendingByte); }); !s)
        return s;
    Status s = waitFor([this] { return tryLock(Kind::Exclusive, kReadByte); });
    if (!s)
        unlock(kPendingByte);
    return s;
}

void ConnectionLocks::unlockChange()
{
    unlock(kReadByte);
    unlock(kPendingByte);
}

Result<bool> ConnectionLocks::openElsewhere()
{
    unlock(kOpenByte);
    Result<bool> alone = tryLock(Kind::Exclusive, kOpenByte);
    if (alone && *alone)
        unlock(kOpenByte);
    // Shared again; should another connection have taken the byte alone in between, it is
    // there, which is what the answer says.
    Result<bool> shared = tryLock(Kind::Shared, kOpenByte);
    if (!alone)
        return alone.status();
    if (!shared)
        return shared.status();
    return !*alone;
}

} // namespace tolvane::jet::internal
