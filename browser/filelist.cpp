#include "browser/filelist.h"

#include "platform/filetimes.h"

namespace tolvane::browser {

namespace {
// The current-file highlight (green back, white text) and normal rows.
const QColor kHighlightBack = QColor(0, 192, 0);
const QColor kHighlightText = QColor(255, 255, 255);
const QColor kNormalBack = QColor(255, 255, 255);
const QColor kNormalText = QColor(0, 0, 0);
} // namespace

QList<ListedFile> readFolderFiles(const QString &folder)
{
    QList<ListedFile> out;
    if (folder.isEmpty())
        return out;
    // One directory read and one status call a file, in the order of the system's file list;
    // times stay instants until a row is shown.
    QList<FolderEntry> entries = readFolderEntries(folder);
    sortAsFileList(entries);
    out.reserve(entries.size());
    for (FolderEntry &e : entries) {
        ListedFile f;
        f.name = std::move(e.name);
        f.size = e.size;
        if (e.modified)
            f.modified = QDateTime::fromMSecsSinceEpoch(*e.modified, Qt::UTC);
        out.append(std::move(f));
    }
    return out;
}

int ListFolderFiles(FileListModel &fr, const QString &folder)
{
    fr.setFiles(readFolderFiles(folder));
    return fr.rows() - 1;
}

void PutGreen_frList(FileListModel &fr, int previousRow, int currentRow)
{
    if (previousRow != 0)
        fr.setRowColors(previousRow, kNormalBack, kNormalText);
    fr.setRowColors(currentRow, kHighlightBack, kHighlightText);
}

void PutWhite_frList(FileListModel &fr, int currentRow)
{
    if (currentRow != 0)
        fr.setRowColors(currentRow, kNormalBack, kNormalText);
}

} // namespace tolvane::browser
