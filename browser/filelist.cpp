#include "browser/filelist.h"

#include <algorithm>

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
    // One directory read and one status call a file; times stay instants until a row is shown.
    QList<FolderEntry> entries = readFolderEntries(folder);
    // The order of the system's file list: by the upper-cased name, character by character (so
    // "A_B" follows "AB", as '_' comes after the capital letters); ties by exact text so the order
    // is stable on case-sensitive disks.
    struct Keyed {
        QString key;
        ListedFile file;
    };
    QList<Keyed> keyed;
    keyed.reserve(entries.size());
    for (FolderEntry &e : entries) {
        ListedFile f;
        f.name = std::move(e.name);
        f.size = e.size;
        if (e.modified)
            f.modified = QDateTime::fromMSecsSinceEpoch(*e.modified, Qt::UTC);
        keyed.append({ f.name.toUpper(), std::move(f) });
    }
    std::sort(keyed.begin(), keyed.end(), [](const Keyed &a, const Keyed &b) {
        const int c = a.key.compare(b.key, Qt::CaseSensitive);
        return c != 0 ? c < 0 : a.file.name < b.file.name;
    });
    out.reserve(keyed.size());
    for (Keyed &k : keyed)
        out.append(std::move(k.file));
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
