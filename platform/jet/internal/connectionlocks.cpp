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

Result<std::unique_ptr<ConnectionLocks>> ConnectionLocks::open(FileAccess &files, const QString &path, Use use)
{
    const auto hadAlone = [] {
        return Status::busy(QStringLiteral("このカタログは最適化または修復の処理中のため、開けません。"
                                           "終わってからもう一度開いてください。"));
    };
    // Compaction puts a new file in the old one's place while it holds the open lock alone; a
    // connection that waited for the lock on the old file then holds it on a file nobody else
    // uses, and opens again. Each replacement needs the file alone, so a few rounds suffice;
    // should the identities still differ then (a file system that numbers one file differently
    // from one open to the next), the lock taken stands rather than keep everyone out.
    constexpr int kRounds = 4;
    for (int round = 0;; ++round) {
        Result<std::unique_ptr<File>> file
            = files.open(path, use == Use::Read ? FileAccess::OpenMode::Read : FileAccess::OpenMode::ReadWrite);
        if (!file)
            return file.status();
        std::unique_ptr<ConnectionLocks> locks(new ConnectionLocks(path, file.take()));
        if (use == Use::Sole) {
            Result<bool> alone = locks->tryLock(Kind::Exclusive, kOpenByte);
            if (!alone)
                return alone.status();
            if (!*alone)
                return Status::busy(QStringLiteral("ほかの接続がこのカタログを開いています。"));
        } else {
            Status s = locks->waitFor([&] { return locks->tryLock(Kind::Shared, kOpenByte); }, kOpenWaitMs, false);
            if (!s)
                return s.code() == Status::Code::Busy ? hadAlone() : s;
        }
        Result<bool> same = locks->lockedFileIsAtPath(files);
        if (!same)
            return same.status();
        if (*same || round + 1 == kRounds)
            return locks;
    }
}

Result<bool> ConnectionLocks::lockedFileIsAtPath(FileAccess &files) const
{
    Result<QByteArray> locked = m_file->identity();
    if (!locked)
        return locked.status();
    Result<std::unique_ptr<File>> now = files.open(m_path, FileAccess::OpenMode::Read);
    if (!now)
        return now.status();
    Result<QByteArray> current = (*now)->identity();
    if (!current)
        return current.status();
    return *locked == *current;
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

Status ConnectionLocks::waitFor(const std::function<Result<bool>()> &attempt, int timeoutMs, bool askHandler)
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
        if (waited.elapsed() >= timeoutMs) {
            if (!askHandler || !m_busyHandler || !m_busyHandler())
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

} // namespace tolvane::jet::internal
