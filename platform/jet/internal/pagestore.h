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
//
// Between connections (ConnectionLocks): the file is read under the read lock, so never in the
// middle of a commit's page writes; a commit writes its pages and removes its journal under the
// change lock; a hot journal is put back on disk only by the holder of the writer lock (any
// other reader applies it to its own image), since only then is its writer surely gone.
#pragma once

#include <algorithm>
#include <memory>
#include <optional>

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QString>

#include "platform/jet/internal/bytes.h"
#include "platform/jet/internal/connectionlocks.h"
#include "platform/jet/internal/fileaccess.h"
#include "platform/jet/largeblock.h"
#include "platform/status.h"

namespace tolvane::jet::internal {

// The bytes of a page store's image: one block of exactly the bytes in use (LargeBlock), read in
// place; a file read whole is given large pages, an image grown page by page keeps small ones,
// so that it never holds more than a page beyond its end. Bytes grown into are zero. Not
// copyable.
class PageImage {
public:
    qint64 size() const { return m_size; }
    const char *constData() const { return m_block.data(); }
    char *data() { return m_block.data(); }
    QByteArrayView view() const { return QByteArrayView(m_block.data(), m_size); }
    // False when the memory cannot be had (the image is then unchanged).
    bool resize(qint64 size);
    void chop(qint64 n) { resize(m_size - std::min(n, m_size)); }

private:
    LargeBlock m_block;
    qint64 m_size = 0;
    qint64 m_clean = 0; // bytes from here on were never written: still zero
};

class PageStore {
public:
    // Reads the whole file through files and locks, which must outlive the store. A hot
    // journal is applied to the image; when locks hold the writer lock it is rolled back on
    // disk too (an incomplete one removed), otherwise the file is read under the read lock and
    // left as it is. A partial page at the end is left out (strayBytes()). Errors: NotFound,
    // IOError, Busy, Corruption (not one whole page, or a journal naming pages beyond the file).
    static Result<std::unique_ptr<PageStore>> open(FileAccess &files, ConnectionLocks &locks, const QString &path);

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
    // Bytes of a partial page at the end of the file, left out of the image (a damaged file).
    qint64 strayBytes() const { return m_strayBytes; }
    // True when the file held a hot journal when this image was read.
    bool hadHotJournal() const { return m_hadHotJournal; }
    // True when other holds the same committed bytes.
    bool sameImage(const PageStore &other) const { return m_data.view() == other.m_data.view(); }
    // Makes every change since the last commit durable at once. On failure (IOError, or Busy
    // when readers did not let the pages be written) the in-memory image is rolled back to the
    // last commit, and so is the file: at once when the file can still be written, otherwise
    // by the journal at the next write transaction. Requires: the writer lock is held.
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
    // connection in the same tick as our own leaves them unchanged: until the file's times
    // were seen that much older than the moment they were seen, its bytes are compared too.
    // A write transaction does not rely on this: it compares the bytes under the writer lock.
    bool changedOnDisk() const;

private:
    // The committed state a journal holds: the file's size and the images of changed pages.
    struct Journal {
        qint64 fileSize = 0;
        QList<QPair<quint32, QByteArray>> pages;
    };

    PageStore(FileAccess &files, ConnectionLocks &locks, const QString &path);
    // Reads the file and applies a hot journal to the image; when writeBack, also to the file.
    Status readFile(bool writeBack);
    // The file's stamp now; a missing file has the default stamp, unlike any real one.
    FileStamp currentStamp() const;
    void rememberStamp() const;
    // Rolls back a journal left by an interrupted commit, in memory and, when writeBack, on disk.
    Status recoverJournal(bool writeBack);
    // A complete journal's contents; nothing when there is none or it was cut short.
    Result<std::optional<Journal>> readJournal() const;
    Status writeJournal(const QList<quint32> &changed);
    Status writePages(const QList<quint32> &changed);
    // Puts journal's pages back into the file, cuts it to its size, then removes the journal.
    Status restoreFile(const Journal &journal);

    FileAccess &m_files;
    ConnectionLocks &m_locks;
    QString m_path;
    bool m_hadHotJournal = false;
    qint64 m_strayBytes = 0;
    PageImage m_data;
    quint32 m_committedPages = 0;
    QHash<quint32, QByteArray> m_original; // committed images of changed pages
    bool m_savepoint = false;
    quint32 m_savepointPages = 0;
    QHash<quint32, QByteArray> m_savepointImages;
    mutable FileStamp m_stamp;
    mutable qint64 m_stampSeenMs = 0; // when m_stamp was taken
};

} // namespace tolvane::jet::internal
