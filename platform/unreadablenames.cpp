#include "platform/unreadablenames.h"

#include <QFile>

#if defined(Q_OS_UNIX)
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#endif

namespace tolvane {

QStringList unreadableFileNames(const QString &folder)
{
    QStringList out;
#if defined(Q_OS_UNIX)
    DIR *dir = ::opendir(QFile::encodeName(folder).constData());
    if (!dir)
        return out;
    const int fd = ::dirfd(dir);
    while (const dirent *entry = ::readdir(dir)) {
        const QByteArray raw(entry->d_name);
        if (raw == "." || raw == "..")
            continue;
        if (QFile::encodeName(QFile::decodeName(raw)) == raw)
            continue;
        struct stat st;
        if (::fstatat(fd, entry->d_name, &st, 0) != 0 || !S_ISREG(st.st_mode))
            continue;
        out.append(QString::fromUtf8(raw));
    }
    ::closedir(dir);
    out.sort();
#else
    Q_UNUSED(folder);
#endif
    return out;
}

bool isFaithfulPath(const QString &path)
{
    return !path.contains(QChar::ReplacementCharacter);
}

} // namespace tolvane
