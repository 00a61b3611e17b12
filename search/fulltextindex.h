// The persistent full-text index: a rebuildable cache of the normalised text of files, kept
// in an SQLite file of its own (never in the catalogue) with an FTS5 table whose tokenizer cuts
// text into overlapping character pairs. A word of two or more characters is looked up as the
// phrase of its pairs, one character as a prefix; the tokens are quoted, so nothing the user
// types becomes query syntax. Each file's row records the size and modification time the text
// was taken at, and whether its extraction failed, so that a changed file is read again.
// An index written under another schema, tokenizer or normalisation is discarded and rebuilt,
// as is a damaged one. One object per thread at a time (callers serialise).
#pragma once

#include <memory>
#include <optional>

#include <QHash>
#include <QSet>
#include <QString>
#include <QStringList>

#include "platform/extract/filestamp.h"
#include "platform/status.h"

struct sqlite3;

namespace tolvane::search {

class FullTextIndex {
public:
    enum class State { Text = 0, Failed = 1 };
    struct Entry {
        qint64 id = 0;
        extract::FileStamp stamp;
        State state = State::Text;
        QString version; // the extractor's version the row was written under
    };

    // Opens or creates the index file, rebuilding it when it is of another make or damaged.
    // IOError when it can be neither opened nor created.
    static Result<std::unique_ptr<FullTextIndex>> open(const QString &file);

    // Where the index of a catalogue lives: beside it (the catalogue's file name plus
    // ".fulltext") when its folder takes new files, else in the user's cache folder under a
    // name derived from the catalogue's full path. An empty catalogue path (no catalogue open)
    // gives the cache folder's index for loose folders.
    static QString locationFor(const QString &catalogPath);

    ~FullTextIndex();
    FullTextIndex(const FullTextIndex &) = delete;
    FullTextIndex &operator=(const FullTextIndex &) = delete;

    const QString &file() const { return m_file; }
    // The row of path, or null; valid until the next write.
    const Entry *entry(const QString &path) const;
    qsizetype fileCount() const { return m_entries.size(); }
    // The paths of every file the index holds.
    QStringList paths() const { return m_entries.keys(); }

    // Writes are grouped: begin() ... store() ... commit(); an interrupted group leaves the
    // index as it was before begin().
    Status begin();
    Status commit();
    void rollback();
    // Records the file's text (normalised) or its failure, replacing what was there.
    Status store(const QString &path, const extract::FileStamp &stamp, State state, const QString &version,
        const QString &normalizedText);
    // Forgets files (deleted from the disk).
    Status remove(const QString &path);

    // Ids of the rows whose text contains the normalised word; empty word: none.
    Result<QSet<qint64>> match(const QString &normalizedWord);

    // The FTS5 expression for a normalised word (exposed for its tests).
    static QString matchExpression(const QString &normalizedWord);

private:
    explicit FullTextIndex(QString file);
    Status prepare();
    Status loadEntries();

    QString m_file;
    sqlite3 *m_db = nullptr;
    QHash<QString, Entry> m_entries;
};

} // namespace tolvane::search
