#include "browser/filelist.h"

#include <algorithm>

#include <QDir>
#include <QFileInfo>

#include "browser/bgrcolor.h"

namespace tolvane::browser {

QList<ListedFile> readFolderFiles(const QString &folder)
{
    QList<ListedFile> out;
    if (folder.isEmpty())
        return out;
    const QDir dir(folder);
    // One directory read; QFileInfo caches the stat that length and date need.
    const QFileInfoList infos = dir.entryInfoList(QDir::Files | QDir::Hidden, QDir::NoSort);
    // The order of the system's file list: by the upper-cased name, character by character (so
    // "A_B" follows "AB", as '_' comes after the capital letters); ties by exact text so the order
    // is stable on case-sensitive disks.
    struct Keyed {
        QString key;
        ListedFile file;
    };
    QList<Keyed> keyed;
    keyed.reserve(infos.size());
    for (const QFileInfo &fi : infos) {
        ListedFile f;
        f.name = fi.fileName();
        if (fi.exists()) {
            f.size = fi.size();
            f.modified = fi.lastModified();
        }
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

QString joinPath(const QString &folder, const QString &name)
{
    if (folder.isEmpty())
        return name;
    const QChar last = folder.back();
    if (last == QLatin1Char('/') || last == QLatin1Char('\\'))
        return folder + name;
    // Keep the folder's own separator style so the path shown to the user stays native.
    const QChar sep = folder.contains(QLatin1Char('\\')) && !folder.contains(QLatin1Char('/')) ? QLatin1Char('\\')
                                                                                               : QLatin1Char('/');
    return folder + sep + name;
}

QString fileDateText(const QString &path)
{
    const QFileInfo fi(path);
    if (!fi.exists())
        return {};
    return fi.lastModified().toString(QStringLiteral("yyyy-MM-dd"));
}

void TakeCurrentFile(const FileListModel &fr, BrowserState &state)
{
    const int row = state.CurrentResultRow;
    if (row < 1 || row >= fr.rows())
        return;
    state.CurrentFileName = fr.name(row);
    state.CurrentFileDate = fileDateText(joinPath(state.CurrentFolder, state.CurrentFileName));
}

void PutGreen_frList(FileListModel &fr, const BrowserState &state)
{
    if (state.PreviousResultRow != 0)
        fr.setRowColors(state.PreviousResultRow, kNormalBack, kNormalText);
    fr.setRowColors(state.CurrentResultRow, kHighlightBack, kHighlightText);
}

void PutWhite_frList(FileListModel &fr, const BrowserState &state)
{
    if (state.CurrentResultRow != 0)
        fr.setRowColors(state.CurrentResultRow, kNormalBack, kNormalText);
}

} // namespace tolvane::browser
