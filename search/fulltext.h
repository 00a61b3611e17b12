// The full-text search over files: which names are searched (IsFullTextExtension) and, for a
// list of files, which of them hold a word. The answer is exactly what extracting every file
// at that moment and comparing normalised texts would give; the index only makes it fast:
// files that are new, changed since they were indexed, or indexed under another extractor
// are extracted first (in worker processes, with progress and cancel), the rest is looked up.
// A file that crashes or hangs its worker counts as a miss and is not tried again until it
// changes. Used from one thread at a time; the progress callback is called from the workers'
// threads.
#pragma once

#include <atomic>
#include <functional>

#include <QList>
#include <QString>
#include <QStringList>

#include "platform/extract/filestamp.h"
#include "platform/status.h"

namespace tolvane::extract {
class ExtractionPool;
}
namespace tolvane::jet {
class Database;
class Recordset;
} // namespace tolvane::jet

namespace tolvane::search {

class FullTextIndex;

// True when the name ends in one of the searchable extensions, spelt all in lower or all in
// upper case (a three-letter extension after a dot, or the four-letter docx, xlsx, pptx, html).
bool IsFullTextExtension(const QString &fileName);

// The full paths of the records of rs (any recordset with fName and pnID: a search result or a
// binder's contents), record n at index n; the cursor is left where it was. A record whose
// folder is unknown gives an empty path (never a hit).
Result<QStringList> recordPaths(jet::Database &db, jet::Recordset &rs);
// The full paths of every registered file.
Result<QStringList> registeredPaths(jet::Database &db);

class FullTextEngine {
public:
    // Files done out of those to extract, and the name of the one just done.
    using Progress = std::function<void(int done, int total, const QString &fileName)>;

    // Neither is owned; both outlive this object.
    FullTextEngine(FullTextIndex &index, extract::ExtractionPool &pool);

    // Brings the index up to date for the searchable files among paths, and forgets the files
    // it holds that are gone from the folders of paths. Cancelled when cancel was set (what was
    // extracted until then is kept).
    Status refresh(const QStringList &paths, const Progress &progress = {}, const std::atomic<bool> *cancel = nullptr);

    // For each path, whether that file is searchable, exists and holds word. Refreshes first.
    Result<QList<bool>> find(const QStringList &paths, const QString &word, const Progress &progress = {},
        const std::atomic<bool> *cancel = nullptr);

    // What the last refresh did.
    int lastExtracted() const { return m_extracted; }
    int lastFailed() const { return m_failed; }
    int lastForgotten() const { return m_forgotten; }

private:
    // The same, giving the stamp of each path as it was seen (not existing: not searchable or
    // not there).
    Status refresh(const QStringList &paths, QList<extract::FileStamp> &now, const Progress &progress,
        const std::atomic<bool> *cancel);
    // Drops the rows of files that are gone from the folders of paths.
    Status forgetVanished(const QStringList &paths, const QList<extract::FileStamp> &now);

    FullTextIndex &m_index;
    extract::ExtractionPool &m_pool;
    int m_extracted = 0;
    int m_failed = 0;
    int m_forgotten = 0;
};

} // namespace tolvane::search

namespace tolvane::search {

// The word dialog Form5 serves three searches (SearchPurpose).
enum class SearchPurpose { PhraseInFile = 0, FolderList = 1, ResultList = 2 };
QString form5Caption(SearchPurpose purpose);
QString form5Prompt(SearchPurpose purpose);
// Refusal of an empty word.
QString form5EmptyWordMessage();
// "「word」を含むファイルは見つかりませんでした。"
QString fullTextNotFoundMessage(const QString &word);
// The result list search that hid every row.
QString fullTextAllHiddenMessage(const QString &word);
// The question after a result list search that found something.
QString fullTextShowListQuestion();

} // namespace tolvane::search
