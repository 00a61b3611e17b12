// FullTextSession: what the full-text searches of the window keep between runs: the extraction
// workers and the index of the catalogue in use (or of loose folders when none is open),
// opened on first use and again when the catalogue changes. A run goes on in a thread of its
// own while the window shows a progress dialog (files read out of those to read, the current
// file's name) whose cancel button stops it; the window stays responsive. GUI thread only.
#pragma once

#include <memory>

#include <QList>
#include <QString>
#include <QStringList>

#include "platform/extract/extractionpool.h"
#include "platform/status.h"

class QWidget;

namespace tolvane::search {
class FullTextIndex;
}

namespace tolvane::search::ui {

class FullTextSession {
public:
    FullTextSession();
    ~FullTextSession();

    // Options of the workers for later runs (tests shorten the time limit).
    void setExtractionOptions(const extract::ExtractionOptions &options);

    // For each path, whether the file holds word (see FullTextEngine::find), using the index of
    // catalogPath (empty: no catalogue). Cancelled when the user stopped it. An index found
    // damaged on the way is deleted and the search run once more on a new one.
    Result<QList<bool>> find(
        QWidget *parent, const QString &catalogPath, const QStringList &paths, const QString &word);

    // The index file in use (empty before the first run).
    QString indexFile() const;

private:
    Status openIndex(const QString &catalogPath);
    Result<QList<bool>> run(QWidget *parent, const QString &catalogPath, const QStringList &paths, const QString &word);

    extract::ExtractionOptions m_options;
    std::unique_ptr<extract::ExtractionPool> m_pool;
    std::unique_ptr<FullTextIndex> m_index;
    QString m_indexFor;
};

} // namespace tolvane::search::ui
