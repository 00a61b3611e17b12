// FailingFileAccess: the disk (DiskFileAccess) with faults on cue for the engine's tests: a
// write that stores only half its bytes, a disk that fills up, syncs that fail, and a process
// that dies after a given write. It logs the writes it passes on. One thread.
#pragma once

#include <functional>

#include <QList>

#include "platform/jet/internal/diskfileaccess.h"

namespace tolvane::test {

class FailingFileAccess final : public jet::internal::FileAccess {
public:
    enum class Fault {
        None,
        ShortWrite, // the nth write stores the first half of its bytes and fails
        DiskFull, // from the nth write on, a write that would grow its file fails, storing nothing
        FailedSync, // from the nth file sync on, every one fails
        Crash, // the process dies after the nth write: every later operation fails
    };
    struct Write {
        QString path;
        qint64 offset = 0;
        qint64 size = 0;
    };

    // Arms fault to strike at the nth write or sync (from 1) counted from now, and starts a new
    // log. Fault::None only logs.
    void arm(Fault fault, int n);
    void disarm() { arm(Fault::None, 0); }
    // The writes passed on (or attempted) since the last arm().
    const QList<Write> &writes() const { return m_log; }

    Result<std::unique_ptr<jet::internal::File>> open(const QString &path, OpenMode mode) override;
    bool exists(const QString &path) override { return m_disk.exists(path); }
    bool isWritable(const QString &path) override { return m_disk.isWritable(path); }
    Result<jet::internal::FileStamp> stamp(const QString &path) override { return m_disk.stamp(path); }
    Status remove(const QString &path) override;
    Status rename(const QString &from, const QString &to) override;
    Status replace(const QString &from, const QString &to) override;
    Status syncFolder(const QString &folder) override;
    // The disk's free space, or what setFreeSpace() made of it.
    qint64 freeSpace(const QString &folder) override { return m_free >= 0 ? m_free : m_disk.freeSpace(folder); }
    void setFreeSpace(qint64 bytes) { m_free = bytes; }
    // Runs hook once, right after the next file is opened (with its path): for races with
    // whoever opened it.
    void afterNextOpen(std::function<void(const QString &path)> hook) { m_afterOpen = std::move(hook); }

private:
    class FaultyFile;
    Status write(jet::internal::File &file, const QString &path, qint64 offset, QByteArrayView data);
    Status sync(jet::internal::File &file);
    Status alive() const;

    jet::internal::DiskFileAccess m_disk;
    Fault m_fault = Fault::None;
    int m_at = 0;
    int m_syncs = 0;
    bool m_dead = false;
    qint64 m_free = -1;
    std::function<void(const QString &)> m_afterOpen;
    QList<Write> m_log;
};

} // namespace tolvane::test
