#include "platform/filetimes.h"

#include <algorithm>

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#ifdef Q_OS_UNIX
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <time.h>
#endif

namespace tolvane {

void sortAsFileList(QList<FolderEntry> &entries)
{
    struct Keyed {
        QString key;
        FolderEntry entry;
    };
    QList<Keyed> keyed;
    keyed.reserve(entries.size());
    for (FolderEntry &e : entries) {
        QString key = e.name.toUpper();
        keyed.append({ std::move(key), std::move(e) });
    }
    std::sort(keyed.begin(), keyed.end(), [](const Keyed &a, const Keyed &b) {
        const int c = a.key.compare(b.key, Qt::CaseSensitive);
        return c != 0 ? c < 0 : a.entry.name < b.entry.name;
    });
    entries.clear();
    for (Keyed &k : keyed)
        entries.append(std::move(k.entry));
}

#ifdef Q_OS_UNIX

namespace {

qint64 instantOf(const struct stat &st)
{
#if defined(Q_OS_DARWIN)
    return qint64(st.st_mtimespec.tv_sec) * 1000 + st.st_mtimespec.tv_nsec / 1000000;
#else
    return qint64(st.st_mtim.tv_sec) * 1000 + st.st_mtim.tv_nsec / 1000000;
#endif
}

} // namespace

QList<FolderEntry> readFolderEntries(const QString &folder)
{
    QList<FolderEntry> out;
    if (folder.isEmpty())
        return out;
    DIR *dir = ::opendir(QFile::encodeName(QDir::fromNativeSeparators(folder)).constData());
    if (!dir)
        return out;
    const int fd = ::dirfd(dir);
    while (const struct dirent *e = ::readdir(dir)) {
        const char *name = e->d_name;
        if (name[0] == '.' && (name[1] == 0 || (name[1] == '.' && name[2] == 0)))
            continue;
#ifdef _DIRENT_HAVE_D_TYPE
        if (e->d_type != DT_REG && e->d_type != DT_LNK && e->d_type != DT_UNKNOWN)
            continue;
#endif
        // Links are followed: a link to a file lists as that file; a broken one is left out, as
        // are sockets, pipes and devices.
        struct stat st;
        if (::fstatat(fd, name, &st, 0) != 0 || !S_ISREG(st.st_mode))
            continue;
        out.append({ QFile::decodeName(name), qint64(st.st_size), instantOf(st) });
    }
    ::closedir(dir);
    return out;
}

std::optional<qint64> fileModifiedInstant(const QString &path)
{
    struct stat st;
    if (::stat(QFile::encodeName(QDir::fromNativeSeparators(path)).constData(), &st) != 0)
        return std::nullopt;
    return instantOf(st);
}

LocalCalendar::LocalCalendar()
{
    ::tzset(); // once: localtime_r itself does not look at the zone again
}

QDate LocalCalendar::dayOf(qint64 instant) const
{
    const time_t secs = time_t(instant >= 0 ? instant / 1000 : -((-instant + 999) / 1000));
    struct tm tm;
    if (!::localtime_r(&secs, &tm))
        return QDateTime::fromMSecsSinceEpoch(instant).date();
    return QDate(tm.tm_year + 1900, tm.tm_mon + 1, tm.tm_mday);
}

#else

QList<FolderEntry> readFolderEntries(const QString &folder)
{
    QList<FolderEntry> out;
    if (folder.isEmpty())
        return out;
    const QFileInfoList infos = QDir(folder).entryInfoList(QDir::Files | QDir::Hidden, QDir::NoSort);
    for (const QFileInfo &fi : infos) {
        FolderEntry f;
        f.name = fi.fileName();
        if (fi.exists()) {
            f.size = fi.size();
            f.modified = fi.lastModified().toMSecsSinceEpoch();
        }
        out.append(std::move(f));
    }
    return out;
}

std::optional<qint64> fileModifiedInstant(const QString &path)
{
    const QFileInfo fi(path);
    if (!fi.exists())
        return std::nullopt;
    const QDateTime t = fi.lastModified();
    return t.isValid() ? std::optional<qint64>(t.toMSecsSinceEpoch()) : std::nullopt;
}

LocalCalendar::LocalCalendar() = default;

QDate LocalCalendar::dayOf(qint64 instant) const
{
    return QDateTime::fromMSecsSinceEpoch(instant).date();
}

#endif

} // namespace tolvane
