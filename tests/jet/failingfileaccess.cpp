#include "failingfileaccess.h"

#include <utility>

namespace tolvane::test {

using jet::internal::File;

class FailingFileAccess::FaultyFile final : public File {
public:
    FaultyFile(FailingFileAccess &owner, const QString &path, std::unique_ptr<File> disk)
        : m_owner(owner)
        , m_path(path)
        , m_disk(std::move(disk))
    {
    }

    Result<QByteArray> read(qint64 offset, qint64 size) override
    {
        if (Status s = m_owner.alive(); !s)
            return s;
        return m_disk->read(offset, size);
    }
    Status write(qint64 offset, QByteArrayView data) override { return m_owner.write(*m_disk, m_path, offset, data); }
    Result<qint64> size() override
    {
        if (Status s = m_owner.alive(); !s)
            return s;
        return m_disk->size();
    }
    Status resize(qint64 size) override
    {
        if (Status s = m_owner.alive(); !s)
            return s;
        return m_disk->resize(size);
    }
    Status sync() override { return m_owner.sync(*m_disk); }
    Result<bool> tryLock(LockKind kind, qint64 offset, qint64 length) override
    {
        return m_disk->tryLock(kind, offset, length);
    }
    Status unlock(qint64 offset, qint64 length) override { return m_disk->unlock(offset, length); }
    Result<QByteArray> identity() override { return m_disk->identity(); }

private:
    FailingFileAccess &m_owner;
    QString m_path;
    std::unique_ptr<File> m_disk;
};

void FailingFileAccess::arm(Fault fault, int n)
{
    m_fault = fault;
    m_at = n;
    m_syncs = 0;
    m_dead = false;
    m_log.clear();
}

Status FailingFileAccess::alive() const
{
    return m_dead ? Status::ioError(QStringLiteral("the process has died")) : Status::ok();
}

Status FailingFileAccess::write(File &file, const QString &path, qint64 offset, QByteArrayView data)
{
    if (Status s = alive(); !s)
        return s;
    m_log.append({ path, offset, data.size() });
    const bool struck = m_log.size() == m_at;
    switch (m_fault) {
    case Fault::ShortWrite:
        if (struck) {
            file.write(offset, data.first(data.size() / 2));
            return Status::ioError(QStringLiteral("write cut short"));
        }
        break;
    case Fault::DiskFull:
        if (m_log.size() >= m_at) {
            Result<qint64> size = file.size();
            if (!size || offset + data.size() > *size)
                return jet::internal::diskFullStatus(offset + data.size() - *size);
        }
        break;
    case Fault::Crash:
        m_dead = struck;
        break;
    case Fault::None:
    case Fault::FailedSync:
        break;
    }
    return file.write(offset, data);
}

Status FailingFileAccess::sync(File &file)
{
    if (Status s = alive(); !s)
        return s;
    if (m_fault == Fault::FailedSync && ++m_syncs >= m_at)
        return Status::ioError(QStringLiteral("the device failed to flush"));
    return file.sync();
}

Result<std::unique_ptr<File>> FailingFileAccess::open(const QString &path, OpenMode mode)
{
    if (Status s = alive(); !s)
        return s;
    Result<std::unique_ptr<File>> disk = m_disk.open(path, mode);
    if (!disk)
        return disk.status();
    if (auto hook = std::exchange(m_afterOpen, {}))
        hook(path);
    return std::unique_ptr<File>(new FaultyFile(*this, path, disk.take()));
}

Status FailingFileAccess::remove(const QString &path)
{
    if (Status s = alive(); !s)
        return s;
    return m_disk.remove(path);
}

Status FailingFileAccess::rename(const QString &from, const QString &to)
{
    if (Status s = alive(); !s)
        return s;
    return m_disk.rename(from, to);
}

Status FailingFileAccess::replace(const QString &from, const QString &to)
{
    if (Status s = alive(); !s)
        return s;
    return m_disk.replace(from, to);
}

Status FailingFileAccess::syncFolder(const QString &folder)
{
    if (Status s = alive(); !s)
        return s;
    return m_disk.syncFolder(folder);
}

} // namespace tolvane::test
