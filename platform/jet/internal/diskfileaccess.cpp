#include "platform/jet/internal/diskfileaccess.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStorageInfo>

#ifdef Q_OS_WIN
#include <io.h>
#include <windows.h>
#else
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

#include "platform/jet/besidethread.h"

namespace tolvane::jet::internal {

namespace {

#ifndef Q_OS_WIN
// Up to n bytes from offset, fewer only at the end of the file; -1 on a failure.
qint64 preadFully(int fd, qint64 offset, char *to, qint64 n)
{
    qint64 done = 0;
    while (done < n) {
        const ssize_t got = ::pread(fd, to + done, size_t(n - done), off_t(offset + done));
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            return -1;
        if (got == 0)
            break;
        done += got;
    }
    return done;
}
#endif

#ifndef Q_OS_WIN
// Open-file-description locks where the system has them: they belong to the open file, as
// LockFileEx's do, so closing another descriptor of the same file keeps them and two files of
// one process exclude each other.
#ifdef F_OFD_SETLK
constexpr int kSetLock = F_OFD_SETLK;
#else
constexpr int kSetLock = F_SETLK;
#endif
#endif

Status ioError(const QString &what, const QString &path, const QString &why)
{
    return Status::ioError(QStringLiteral("%1 %2: %3").arg(what, QDir::toNativeSeparators(path), why));
}

// The one place that asks the system to put what was written through a descriptor on the
// storage device (a plain flush leaves it in the system's cache).
bool syncDescriptor(int fd)
{
#ifdef Q_OS_WIN
    return ::FlushFileBuffers(reinterpret_cast<HANDLE>(::_get_osfhandle(fd))) != 0;
#elif defined(Q_OS_DARWIN)
    // fsync() on macOS stops at the drive's cache.
    return ::fcntl(fd, F_FULLFSYNC) == 0 || ::fsync(fd) == 0;
#else
    return ::fsync(fd) == 0;
#endif
}

class DiskFile final : public File {
public:
    explicit DiskFile(const QString &path)
        : m_file(path)
    {
    }
    QFile &qfile() { return m_file; }

    Result<QByteArray> read(qint64 offset, qint64 size) override
    {
        QByteArray data(qsizetype(size), Qt::Uninitialized);
        const qint64 n = m_file.seek(offset) ? m_file.read(data.data(), size) : -1;
        if (n < 0)
            return failed(QStringLiteral("cannot read"));
        data.truncate(qsizetype(n));
        return data;
    }

    Result<qint64> readInto(qint64 offset, char *to, qint64 size) override
    {
#ifndef Q_OS_WIN
        // A whole catalogue is read in two halves at once: copying megabytes out of the page
        // cache (and the memory's first touch) is most of opening one. pread leaves the file's
        // position, and the one descriptor keeps its locks.
        constexpr qint64 kTwoThreadsFrom = 4 << 20;
        const int fd = m_file.handle();
        if (size >= kTwoThreadsFrom && fd >= 0 && BesideThread::worthwhile()) {
            const qint64 half = size / 2 / 4096 * 4096;
            qint64 second = -1;
            BesideThread other;
            if (other.start([&] { second = preadFully(fd, offset + half, to + half, size - half); })) {
                const qint64 first = preadFully(fd, offset, to, half);
                other.join();
                if (first < 0 || second < 0)
                    return failed(QStringLiteral("cannot read"));
                return first < half ? first : half + second;
            }
        }
#endif
        const qint64 n = m_file.seek(offset) ? m_file.read(to, size) : -1;
        if (n < 0)
            return failed(QStringLiteral("cannot read"));
        return n;
    }

    Status write(qint64 offset, QByteArrayView data) override
    {
        if (!m_file.seek(offset) || m_file.write(data.data(), data.size()) != data.size()) {
            // A disk without room is named as such, with what is missing.
            const qint64 free = QStorageInfo(QFileInfo(m_file.fileName()).absolutePath()).bytesAvailable();
            if (free >= 0 && free < data.size())
                return diskFullStatus(data.size() - free);
            return failed(QStringLiteral("cannot write"));
        }
        return Status::ok();
    }

    Result<qint64> size() override
    {
        return m_file.size();
    }

    Status resize(qint64 size) override
    {
        if (!m_file.resize(size))
            return failed(QStringLiteral("cannot set the size of"));
        return Status::ok();
    }

    Status sync() override
    {
        if (!m_file.flush() || !syncDescriptor(m_file.handle()))
            return failed(QStringLiteral("cannot flush to disk"));
        return Status::ok();
    }

    Result<bool> tryLock(LockKind kind, qint64 offset, qint64 length) override
    {
#ifdef Q_OS_WIN
        const HANDLE h = reinterpret_cast<HANDLE>(::_get_osfhandle(m_file.handle()));
        OVERLAPPED at = {};
        at.Offset = DWORD(quint64(offset));
        at.OffsetHigh = DWORD(quint64(offset) >> 32);
        const DWORD flags = LOCKFILE_FAIL_IMMEDIATELY | (kind == LockKind::Exclusive ? LOCKFILE_EXCLUSIVE_LOCK : 0);
        if (::LockFileEx(h, flags, 0, DWORD(quint64(length)), DWORD(quint64(length) >> 32), &at))
            return true;
        if (::GetLastError() == ERROR_LOCK_VIOLATION)
            return false;
#else
        struct flock lock = {};
        lock.l_type = kind == LockKind::Exclusive ? F_WRLCK : F_RDLCK;
        lock.l_whence = SEEK_SET;
        lock.l_start = off_t(offset);
        lock.l_len = off_t(length);
        if (::fcntl(m_file.handle(), kSetLock, &lock) == 0)
            return true;
        if (errno == EACCES || errno == EAGAIN)
            return false;
#endif
        return ioError(QStringLiteral("cannot lock"), m_file.fileName(), qt_error_string());
    }

    Status unlock(qint64 offset, qint64 length) override
    {
#ifdef Q_OS_WIN
        const HANDLE h = reinterpret_cast<HANDLE>(::_get_osfhandle(m_file.handle()));
        OVERLAPPED at = {};
        at.Offset = DWORD(quint64(offset));
        at.OffsetHigh = DWORD(quint64(offset) >> 32);
        if (::UnlockFileEx(h, 0, DWORD(quint64(length)), DWORD(quint64(length) >> 32), &at))
            return Status::ok();
#else
        struct flock lock = {};
        lock.l_type = F_UNLCK;
        lock.l_whence = SEEK_SET;
        lock.l_start = off_t(offset);
        lock.l_len = off_t(length);
        if (::fcntl(m_file.handle(), kSetLock, &lock) == 0)
            return Status::ok();
#endif
        return ioError(QStringLiteral("cannot unlock"), m_file.fileName(), qt_error_string());
    }

    Result<QByteArray> identity() override
    {
#ifdef Q_OS_WIN
        const HANDLE h = reinterpret_cast<HANDLE>(::_get_osfhandle(m_file.handle()));
        BY_HANDLE_FILE_INFORMATION info = {};
        if (!::GetFileInformationByHandle(h, &info))
            return ioError(
                QStringLiteral("cannot identify"), m_file.fileName(), qt_error_string(int(::GetLastError())));
        const quint32 id[] = { info.dwVolumeSerialNumber, info.nFileIndexHigh, info.nFileIndexLow };
#else
        struct stat info = {};
        if (::fstat(m_file.handle(), &info) != 0)
            return ioError(QStringLiteral("cannot identify"), m_file.fileName(), qt_error_string(errno));
        const quint64 id[] = { quint64(info.st_dev), quint64(info.st_ino) };
#endif
        return QByteArray(reinterpret_cast<const char *>(id), sizeof id);
    }

private:
    Status failed(const QString &what) const
    {
        return ioError(what, m_file.fileName(), m_file.errorString());
    }

    QFile m_file;
};

} // namespace

Result<std::unique_ptr<File>> DiskFileAccess::open(const QString &path, OpenMode mode)
{
    QIODevice::OpenMode flags = QIODevice::ReadWrite | QIODevice::Unbuffered;
    switch (mode) {
    case OpenMode::Read:
        flags = QIODevice::ReadOnly | QIODevice::ExistingOnly | QIODevice::Unbuffered;
        break;
    case OpenMode::ReadWrite:
        flags |= QIODevice::ExistingOnly;
        break;
    case OpenMode::Replace:
        flags |= QIODevice::Truncate;
        break;
    case OpenMode::CreateNew:
        flags |= QIODevice::NewOnly;
        break;
    }
    auto file = std::make_unique<DiskFile>(path);
    if (file->qfile().open(flags))
        return std::unique_ptr<File>(std::move(file));
    const bool existing = mode == OpenMode::Read || mode == OpenMode::ReadWrite;
    if (existing && !QFileInfo::exists(path))
        return Status::notFound(QStringLiteral("no such file: %1").arg(QDir::toNativeSeparators(path)));
    const QString folder = QFileInfo(path).absolutePath();
    if (!existing && !QFileInfo(folder).isDir())
        return Status::notFound(QStringLiteral("folder %1 does not exist").arg(QDir::toNativeSeparators(folder)));
    if (mode == OpenMode::CreateNew && QFileInfo::exists(path))
        return Status::invalidArgument(QStringLiteral("%1 already exists").arg(QDir::toNativeSeparators(path)));
    return ioError(QStringLiteral("cannot open"), path, file->qfile().errorString());
}

bool DiskFileAccess::exists(const QString &path)
{
    return QFileInfo::exists(path);
}

bool DiskFileAccess::isWritable(const QString &path)
{
    return QFileInfo(path).isWritable();
}

Result<FileStamp> DiskFileAccess::stamp(const QString &path)
{
    const QFileInfo fi(path);
    if (!fi.exists())
        return Status::notFound(QStringLiteral("no such file: %1").arg(QDir::toNativeSeparators(path)));
    return FileStamp { fi.size(), fi.lastModified().toMSecsSinceEpoch(), fi.metadataChangeTime().toMSecsSinceEpoch() };
}

Status DiskFileAccess::remove(const QString &path)
{
    QFile f(path);
    if (!f.exists() || f.remove())
        return Status::ok();
    return ioError(QStringLiteral("cannot remove"), path, f.errorString());
}

Status DiskFileAccess::rename(const QString &from, const QString &to)
{
    const auto exists = [&] {
        return Status::invalidArgument(QStringLiteral("%1 already exists").arg(QDir::toNativeSeparators(to)));
    };
#ifndef Q_OS_WIN
    // A hard link never replaces its target, so a file that appears meanwhile is kept. (QFile's
    // rename checks first and, when the move then fails, copies over whatever is there.)
    const QByteArray source = QFile::encodeName(from);
    if (::link(source.constData(), QFile::encodeName(to).constData()) == 0) {
        ::unlink(source.constData());
        return Status::ok();
    }
    if (errno == EEXIST)
        return exists();
        // Volumes without hard links: the plain rename below.
#endif
    if (QFileInfo::exists(to) || QFileInfo(to).isSymLink())
        return exists();
    QFile f(from);
    if (!f.rename(to))
        return ioError(QStringLiteral("cannot rename %1 to").arg(QDir::toNativeSeparators(from)), to, f.errorString());
    return Status::ok();
}

Status DiskFileAccess::replace(const QString &from, const QString &to)
{
#ifdef Q_OS_WIN
    const std::wstring source = QDir::toNativeSeparators(from).toStdWString();
    const std::wstring target = QDir::toNativeSeparators(to).toStdWString();
    if (::MoveFileExW(source.c_str(), target.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH))
        return Status::ok();
    return ioError(QStringLiteral("cannot move %1 over").arg(QDir::toNativeSeparators(from)), to,
        qt_error_string(int(::GetLastError())));
#else
    if (::rename(QFile::encodeName(from).constData(), QFile::encodeName(to).constData()) == 0)
        return Status::ok();
    return ioError(
        QStringLiteral("cannot move %1 over").arg(QDir::toNativeSeparators(from)), to, qt_error_string(errno));
#endif
}

qint64 DiskFileAccess::freeSpace(const QString &folder)
{
    const QStorageInfo storage(folder);
    return storage.isValid() ? storage.bytesAvailable() : -1;
}

Status DiskFileAccess::syncFolder(const QString &folder)
{
#ifdef Q_OS_WIN
    Q_UNUSED(folder);
    return Status::ok();
#else
    const int fd = ::open(QFile::encodeName(folder).constData(), O_RDONLY | O_DIRECTORY);
    const bool ok = fd >= 0 && syncDescriptor(fd);
    const int error = errno;
    if (fd >= 0)
        ::close(fd);
    if (!ok)
        return ioError(QStringLiteral("cannot flush the folder"), folder, qt_error_string(error));
    return Status::ok();
#endif
}

} // namespace tolvane::jet::internal
