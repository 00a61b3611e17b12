#include "platform/filetimes.h"

#include <algorithm>
#include <cstring>

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
    // The upper-cased names go into one buffer, not a string each: a folder of a hundred
    // thousand files would otherwise leave as many freed small blocks behind.
    QList<char16_t> keys;
    QList<qsizetype> starts;
    starts.reserve(entries.size() + 1);
    for (const FolderEntry &e : entries) {
        const QString upper = e.name.toUpper();
        const qsizetype at = keys.size();
        starts.append(at);
        keys.resize(at + upper.size());
        std::memcpy(keys.data() + at, upper.constData(), size_t(upper.size()) * sizeof(char16_t));
    }
    starts.append(keys.size());
    auto key = [&](int i) { return QStringView(keys.constData() + starts.at(i), starts.at(i + 1) - starts.at(i)); };
    QList<int> order(entries.size());
    for (int i = 0; i < order.size(); ++i)
        order[i] = i;
    std::sort(order.begin(), order.end(), [&](int a, int b) {
        const int c = key(a).compare(key(b), Qt::CaseSensitive);
        return c != 0 ? c < 0 : entries.at(a).name < entries.at(b).name;
    });
    keys = {};
    starts = {};
    // Put in order in place, following each cycle of the permutation: no second list.
    for (int i = 0; i < order.size(); ++i) {
        if (order.at(i) < 0)
            continue;
        int at = i;
        while (order.at(at) != i) {
            const int from = order.at(at);
            std::swap(entries[at], entries[from]);
            order[at] = -1;
            at = from;
        }
        order[at] = -1;
    }
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
        // A name that is not valid in the system's encoding decodes to text that names no file:
        // it cannot be shown or registered (unreadableFileNames finds such files to name them).
        const QString decoded = QFile::decodeName(name);
        if (QFile::encodeName(decoded) != QByteArrayView(name))
            continue;
        struct stat st;
        if (::fstatat(fd, name, &st, 0) != 0 || !S_ISREG(st.st_mode))
            continue;
        out.append({ decoded, qint64(st.st_size), instantOf(st) });
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
