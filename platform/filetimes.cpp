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

FileNames FileNames::fromList(const QStringList &names)
{
    FileNames out;
    qsizetype chars = 0;
    for (const QString &n : names)
        chars += n.size();
    out.reserve(names.size(), chars);
    for (const QString &n : names)
        out.append(n);
    return out;
}

void FileNames::reserve(qsizetype names, qsizetype chars)
{
    m_ends.reserve(names);
    m_text.reserve(chars);
}

void FileNames::append(QStringView name)
{
    const qsizetype at = m_text.size();
    m_text.resize(at + name.size());
    std::memcpy(m_text.data() + at, name.utf16(), size_t(name.size()) * sizeof(char16_t));
    m_ends.append(qint32(m_text.size()));
}

namespace {

// The order of the system's file list over count names (see sortAsFileList).
QList<int> fileListOrder(qsizetype count, const std::function<QStringView(qsizetype)> &nameAt)
{
    // The upper-cased names go into one buffer, not a string each: a folder of a hundred
    // thousand files would otherwise leave as many freed small blocks behind.
    QList<char16_t> keys;
    QList<qsizetype> starts;
    starts.reserve(count + 1);
    for (qsizetype i = 0; i < count; ++i) {
        const QString upper = nameAt(i).toString().toUpper();
        const qsizetype at = keys.size();
        starts.append(at);
        keys.resize(at + upper.size());
        std::memcpy(keys.data() + at, upper.constData(), size_t(upper.size()) * sizeof(char16_t));
    }
    starts.append(keys.size());
    auto key = [&](int i) { return QStringView(keys.constData() + starts.at(i), starts.at(i + 1) - starts.at(i)); };
    QList<int> order(count);
    for (int i = 0; i < order.size(); ++i)
        order[i] = i;
    std::sort(order.begin(), order.end(), [&](int a, int b) {
        const int c = key(a).compare(key(b), Qt::CaseSensitive);
        return c != 0 ? c < 0 : nameAt(a).compare(nameAt(b), Qt::CaseSensitive) < 0;
    });
    return order;
}

// Runs file for each file of folder as readFolderEntries lists it: its name, size and
// modification instant (empty when unreadable).
void forEachFolderFile(
    const QString &folder, const std::function<void(const QString &, qint64, std::optional<qint64>)> &file);

} // namespace

void sortAsFileList(QList<FolderEntry> &entries)
{
    QList<int> order = fileListOrder(entries.size(), [&](qsizetype i) { return QStringView(entries.at(i).name); });
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

void sortAsFileList(FolderListing &listing)
{
    const QList<int> order = fileListOrder(listing.names.size(), [&](qsizetype i) { return listing.names.at(i); });
    FolderListing sorted;
    qsizetype chars = 0;
    for (qsizetype i = 0; i < listing.names.size(); ++i)
        chars += listing.names.at(i).size();
    sorted.names.reserve(order.size(), chars);
    sorted.modified.reserve(order.size());
    for (int i : order) {
        sorted.names.append(listing.names.at(i));
        sorted.modified.append(listing.modified.at(i));
    }
    listing = std::move(sorted);
}

QList<FolderEntry> readFolderEntries(const QString &folder)
{
    QList<FolderEntry> out;
    forEachFolderFile(folder, [&](const QString &name, qint64 size, std::optional<qint64> modified) {
        out.append({ name, size, modified });
    });
    return out;
}

FolderListing readFolderListing(const QString &folder)
{
    FolderListing out;
    forEachFolderFile(folder, [&](const QString &name, qint64, std::optional<qint64> modified) {
        out.names.append(name);
        out.modified.append(modified ? *modified : FolderListing::kUnknown);
    });
    return out;
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

namespace {

void forEachFolderFile(
    const QString &folder, const std::function<void(const QString &, qint64, std::optional<qint64>)> &file)
{
    if (folder.isEmpty())
        return;
    DIR *dir = ::opendir(QFile::encodeName(QDir::fromNativeSeparators(folder)).constData());
    if (!dir)
        return;
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
        file(decoded, qint64(st.st_size), instantOf(st));
    }
    ::closedir(dir);
}

} // namespace

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

namespace {

void forEachFolderFile(
    const QString &folder, const std::function<void(const QString &, qint64, std::optional<qint64>)> &file)
{
    if (folder.isEmpty())
        return;
    const QFileInfoList infos = QDir(folder).entryInfoList(QDir::Files | QDir::Hidden, QDir::NoSort);
    for (const QFileInfo &fi : infos) {
        if (fi.exists())
            file(fi.fileName(), fi.size(), fi.lastModified().toMSecsSinceEpoch());
        else
            file(fi.fileName(), -1, std::nullopt);
    }
}

} // namespace

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
