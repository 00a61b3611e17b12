// PageStore: the whole database file held in memory as 4 KiB pages, with dirty-page tracking
// and an atomic commit through a rollback journal ("<file>-journal"). Not thread-safe.
//
// Commit protocol: the original image of every page changed since the last commit, the
// original file size and a checksum are written to the journal and flushed to disk before
// the database file is touched; then the changed pages are written and flushed; then the
// journal is removed. A journal found at open time (a "hot" journal) is complete only if its
// checksum holds; a complete one is copied back over the file, which restores the state of
// the last finished commit. An incomplete one means the file itself was never touched.
#pragma once

#include <memory>

#include <QByteArray>
#include <QHash>
#include <QString>

#include "platform/status.h"

namespace tolvane::jet::internal {

class PageStore {
public:
    // Reads the whole file. When writable, a hot journal is rolled back on disk first;
    // otherwise it is applied to the in-memory image only. Errors: NotFound, IOError,
    // Corruption (size not a multiple of the page size).
    static Result<std::unique_ptr<PageStore>> open(const QString &path, bool writable);

    static QString journalPath(const QString &path) { return path + QStringLiteral("-journal"); }

    const QString &path() const { return m_path; }
    quint32 pageCount() const { return quint32(m_data.size() / kPageBytes); }
    // Requires: n < pageCount(). The pointer is valid until the next appendPage().
    const uchar *page(quint32 n) const
    {
        return reinterpret_cast<const uchar *>(m_data.constData()) + qint64(n) * kPageBytes;
    }
    // Marks page n changed (remembering its committed image) and returns it for writing.
    uchar *mutablePage(quint32 n);
    // Adds a zero-filled page at the end and returns its number.
    quint32 appendPage();

    bool dirty() const { return !m_original.isEmpty() || pageCount() != m_committedPages; }
    // Makes every change since the last commit durable at once. On failure the in-memory
    // image is rolled back to the last commit.
    Status commit();
    // Forgets every change since the last commit.
    void rollback();

    // A savepoint inside the current change set: rollbackToSavepoint() undoes only what was
    // changed after beginSavepoint(). One level.
    void beginSavepoint();
    void releaseSavepoint();
    void rollbackToSavepoint();

    // True when the file on disk is no longer the one this image was read from or last
    // committed to (another connection wrote it).
    // File times are coarse (a few milliseconds, two seconds on FAT), so a write by another
    // connection in the same tick as our own leaves them unchanged: while the file's last
    // change is that recent, its bytes are compared as well.
    bool changedOnDisk() const;

    // Test hook: when set, commit() stops after flushing the journal and writing this many
    // pages to the database file, as a crash there would (returns IOError).
    void setCrashAfterPagesForTesting(int pages) { m_crashAfter = pages; }

private:
    static constexpr int kPageBytes = 4096;
    struct Fingerprint {
        qint64 size = -1;
        qint64 modified = 0;
        qint64 changed = 0;
        bool operator==(const Fingerprint &) const = default;
        // True when the times are old enough that any later write must change them.
        bool settled() const;
    };
    static Fingerprint fingerprint(const QString &path);

    PageStore() = default;
    static Status recoverJournal(const QString &path, QByteArray *image, bool writeBack);

    QString m_path;
    QByteArray m_data;
    quint32 m_committedPages = 0;
    QHash<quint32, QByteArray> m_original; // committed images of changed pages
    bool m_savepoint = false;
    quint32 m_savepointPages = 0;
    QHash<quint32, QByteArray> m_savepointImages;
    int m_crashAfter = -1;
    mutable Fingerprint m_fingerprint;
};

} // namespace tolvane::jet::internal
