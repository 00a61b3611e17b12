#include "platform/extract/filestamp.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>

#ifdef Q_OS_UNIX
#include <sys/stat.h>
#endif

namespace tolvane::extract {

FileStamp fileStamp(const QString &path)
{
    FileStamp stamp;
#ifdef Q_OS_UNIX
    // A repeat search stats every file of the list; the plain call is several times cheaper
    // than QFileInfo.
    struct stat st;
    if (::stat(QFile::encodeName(path).constData(), &st) != 0 || !S_ISREG(st.st_mode))
        return stamp;
    stamp.exists = true;
    stamp.size = qint64(st.st_size);
    stamp.modifiedNs = qint64(st.st_mtim.tv_sec) * 1000000000 + qint64(st.st_mtim.tv_nsec);
#else
    const QFileInfo info(path);
    if (!info.isFile())
        return stamp;
    stamp.exists = true;
    stamp.size = info.size();
    stamp.modifiedNs = info.lastModified().toMSecsSinceEpoch() * 1000000;
#endif
    return stamp;
}

} // namespace tolvane::extract
