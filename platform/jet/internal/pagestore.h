// PageStore: the whole database file held in memory as 4 KiB pages, with dirty-page tracking
// and an atomic commit through a rollback journal ("<file>-journal"). Every file operation goes
// through a FileAccess. Not thread-safe.
//
// Commit protocol: the original image of every page changed since the last commit, the
// original file size and a checksum are written to the journal and flushed to disk before
// the database file is touched; then the changed pages are written and flushed; then the
// journal is removed, which is the moment the commit takes effect. A journal found at open
// time (a "hot" journal) is complete only if its checksum holds; a complete one is copied back
// over the file, which restores the state of the last finished commit. An incomplete one
// means the file itself was never touched.
#pragma once

#include <memory>
#include <optional>

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QString>

#include "platform/jet/internal/bytes.h"
#include "platform/jet/internal/fileaccess.h"
#include "platform/status.h"

namespace tolvane::jet::internal {

class PageStore {
public:
    // Reads the whole file through files, which must outlive the store. When writable, a hot
    // journal is rolled back on disk first; otherwise it is applied to the in-memory image
    // only. Errors: NotFound, IOError, Corruption (size not a multiple of the page size, or a
    // journal naming pages beyond the file).
    static Result<std::unique_ptr<PageStore>> open(FileAccess &files, const QString &path, bool writable);

    static QString journalPath(const QString &path) { return path + QStringLiteral("-journal"); }

    const QString &path() const { return m_path; }
    quint32 pageCount() const { return quint32(m_data.size() / kPageSize); }
    // Requires: n < pageCount(). The pointer is valid until the next appendPage().
    const uchar *page(quint32 n) const
    {
        return reinterpret_cast<const uchar *>(m_data.constData()) + qint64(n) * kPageSize;
    }
    // Marks page n changed (remembering its committed image) and returns it for writing.
    // Requires: n < pageCount(). The pointer is valid until the next appendPage().
    uchar *mutablePage(quint32 n);
    // Adds a zero-filled page at the end and returns its number.
    quint32 appendPage();

    bool dirty() const { return !m_original.isEmpty() || pageCount() != m_committedPages; }
    // Makes every change since the last commit durable at once. On failure (IOError) the
    // in-memory image is rolled back to the last commit, and so is the file: at once when the
    // file can still be written, otherwise by the journal at the next open.
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

private:
    // The committed state a journal holds: the file's size and the images of changed pages.
    struct Journal {
        qint64 fileSize = 0;
        QList<QPair<quint32, QByteArray>> pages;
    };

    PageStore(FileAccess &files, const QString &path);
    // The file's stamp now; a missing file has the default stamp, unlike any real one.
    FileStamp currentStamp() const;
    // Rolls back a journal left by an interrupted commit, in memory and, when writeBack, on disk.
    Status recoverJournal(bool writeBack);
    // A complete journal's contents; nothing when there is none or it was cut short.
    Result<std::optional<Journal>> readJournal() const;
    Status writeJournal(const QList<quint32> &changed);
    Status writePages(const QList<quint32> &changed);
    // Puts journal's pages back into the file, cuts it to its size, then removes the journal.
    Status restoreFile(const Journal &journal);

    FileAccess &m_files;
    QString m_path;
    QByteArray m_data;
    quint32 m_committedPages = 0;
    QHash<quint32, QByteArray> m_original; // committed images of changed pages
    bool m_savepoint = false;
    quint32 m_savepointPages = 0;
    QHash<quint32, QByteArray> m_savepointImages;
    mutable FileStamp m_stamp;
};

} // namespace tolvane::jet::internal
