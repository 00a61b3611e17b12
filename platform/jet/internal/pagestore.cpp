#include "platform/jet/internal/pagestore.h"

#include <algorithm>
#include <cstdlib>

#include <QDateTime>
#include <QDir>
#include <QFileInfo>

#include "platform/jet/internal/bytes.h"

namespace tolvane::jet::internal {

namespace {

// Journal layout: magic, committed file size (8 bytes), entry count (4), then per entry the
// page number (4) and its committed image, then an FNV-1a checksum (8) of everything before it.
constexpr char kJournalMagic[8] = { 'T', 'o', 'l', 'v', 'J', 'n', 'l', '1' };
constexpr int kJournalHeader = 8 + 8 + 4;

class Fnv1a {
public:
    void add(QByteArrayView data)
    {
        for (char c : data) {
            m_hash ^= quint8(c);
            m_hash *= 1099511628211ULL;
        }
    }
    quint64 value() const { return m_hash; }

private:
    quint64 m_hash = 14695981039346656037ULL;
};

QString folderOf(const QString &path)
{
    return QFileInfo(path).absolutePath();
}

// True when the stamp's times were old enough, when it was taken, that any later write must
// change them.
bool settled(const FileStamp &stamp, qint64 seenMs)
{
    constexpr qint64 kCoarsestTimestampMs = 3000;
    return seenMs - stamp.modifiedMs > kCoarsestTimestampMs && seenMs - stamp.changedMs > kCoarsestTimestampMs;
}

} // namespace

bool PageImage::resize(qint64 size)
{
    if (size > m_block.capacity()) {
        const qint64 capacity = std::max(size, m_block.capacity() + m_block.capacity() / 2);
        const auto pages = m_size == 0 ? LargeBlock::Pages::Large : LargeBlock::Pages::Small;
        if (!m_block.reserve(capacity, m_size, pages))
            return false;
    }
    if (size > m_size) {
        // Bytes written before and cut off since are zeroed; the rest still are.
        if (m_clean > m_size)
            std::memset(m_block.data() + m_size, 0, size_t(std::min(size, m_clean) - m_size));
    }
    m_size = size;
    m_clean = std::max(m_clean, size);
    return true;
}

PageStore::PageStore(FileAccess &files, ConnectionLocks &locks, const QString &path)
    : m_files(files)
    , m_locks(locks)
    , m_path(path)
{
}

FileStamp PageStore::currentStamp() const
{
    Result<FileStamp> s = m_files.stamp(m_path);
    return s ? *s : FileStamp {};
}

void PageStore::rememberStamp() const
{
    m_stampSeenMs = QDateTime::currentMSecsSinceEpoch();
    m_stamp = currentStamp();
}

Result<std::unique_ptr<PageStore>> PageStore::open(FileAccess &files, ConnectionLocks &locks, const QString &path)
{
    std::unique_ptr<PageStore> store(new PageStore(files, locks, path));
    // The writer lock keeps every other writer out: nothing changes the file meanwhile, and a
    // journal found now belongs to a writer that is gone.
    const bool writer = locks.holdsWriter();
    if (!writer) {
        if (Status s = locks.lockRead(); !s)
            return s;
    }
    const Status read = store->readFile(writer);
    if (!writer)
        locks.unlockRead();
    if (!read)
        return read;
    if (store->m_data.size() < kPageSize)
        return Status::corruption(QStringLiteral("%1 is not a Jet database (size %2 is less than a page)")
                                      .arg(QDir::toNativeSeparators(path))
                                      .arg(store->m_data.size()));
    // A file cut short inside a page: the whole pages are read, and the check at open says so.
    store->m_strayBytes = store->m_data.size() % kPageSize;
    store->m_data.chop(store->m_strayBytes);
    store->m_committedPages = store->pageCount();
    return store;
}

Status PageStore::readFile(bool writeBack)
{
    {
        Result<std::unique_ptr<File>> f = m_files.open(m_path, FileAccess::OpenMode::Read);
        if (!f)
            return f.status();
        Result<qint64> size = (*f)->size();
        if (!size)
            return size.status();
        if (!m_data.resize(*size))
            return Status::ioError(QStringLiteral("no memory for %1").arg(QDir::toNativeSeparators(m_path)));
        Result<qint64> read = (*f)->readInto(0, m_data.data(), *size);
        if (!read)
            return read.status();
        m_data.resize(*read);
    }
    // Taken before the journal is looked at: a later commit then shows in a later stamp.
    rememberStamp();
    m_hadHotJournal = m_files.exists(journalPath(m_path));
    return recoverJournal(writeBack);
}

Result<std::optional<PageStore::Journal>> PageStore::readJournal() const
{
    Result<std::unique_ptr<File>> f = m_files.open(journalPath(m_path), FileAccess::OpenMode::Read);
    if (!f)
        return f.status();
    Result<QByteArray> bytes = (*f)->readAll();
    if (!bytes)
        return bytes.status();
    const QByteArray &j = *bytes;
    if (j.size() < kJournalHeader + 8 || std::memcmp(j.constData(), kJournalMagic, 8) != 0)
        return std::optional<Journal>();
    const uchar *p = bytesAt(j, 0);
    const quint64 fileSize = u64(p + 8);
    const quint32 count = u32(p + 16);
    const qint64 expected = kJournalHeader + qint64(count) * (4 + kPageSize) + 8;
    Fnv1a sum;
    sum.add(QByteArrayView(j).first(std::min<qint64>(expected - 8, j.size())));
    if (j.size() != expected || fileSize % kPageSize != 0 || u64(p + expected - 8) != sum.value())
        return std::optional<Journal>();
    Journal journal;
    journal.fileSize = qint64(fileSize);
    for (quint32 i = 0; i < count; ++i) {
        const qsizetype at = kJournalHeader + qsizetype(i) * (4 + kPageSize);
        const quint32 pg = u32(p + at);
        if ((qint64(pg) + 1) * kPageSize > journal.fileSize)
            return Status::corruption(QStringLiteral("journal names page %1 beyond the file").arg(pg));
        journal.pages.append({ pg, j.mid(at + 4, kPageSize) });
    }
    return std::optional<Journal>(std::move(journal));
}

Status PageStore::recoverJournal(bool writeBack)
{
    const QString jpath = journalPath(m_path);
    if (!m_files.exists(jpath))
        return Status::ok();
    Result<std::optional<Journal>> journal = readJournal();
    if (!journal)
        return journal.status();
    if (!journal->has_value()) {
        // Cut short while being written: the database file was not touched yet.
        return writeBack ? m_files.remove(jpath) : Status::ok();
    }
    const Journal &j = **journal;
    if (!m_data.resize(std::max<qint64>(j.fileSize, m_data.size())))
        return Status::ioError(QStringLiteral("no memory for %1").arg(QDir::toNativeSeparators(m_path)));
    for (const auto &[pg, image] : j.pages)
        std::memcpy(m_data.data() + qint64(pg) * kPageSize, image.constData(), size_t(image.size()));
    m_data.resize(j.fileSize);
    if (!writeBack)
        return Status::ok();
    if (Status s = m_locks.lockChange(); !s)
        return s;
    Status s = restoreFile(j);
    m_locks.unlockChange();
    if (s)
        rememberStamp();
    return s;
}

Status PageStore::restoreFile(const Journal &journal)
{
    {
        Result<std::unique_ptr<File>> f = m_files.open(m_path, FileAccess::OpenMode::ReadWrite);
        if (!f)
            return f.status();
        for (const auto &[pg, image] : journal.pages) {
            if (Status s = (*f)->write(qint64(pg) * kPageSize, image); !s)
                return s;
        }
        if (Status s = (*f)->resize(journal.fileSize); !s)
            return s;
        if (Status s = (*f)->sync(); !s)
            return s;
    }
    if (Status s = m_files.remove(journalPath(m_path)); !s)
        return s;
    return m_files.syncFolder(folderOf(m_path));
}

bool PageStore::changedOnDisk() const
{
    const FileStamp now = currentStamp();
    if (now != m_stamp)
        return true;
    if (settled(m_stamp, m_stampSeenMs))
        return false;
    // Same size and times, but recent enough to hide another write: look at the bytes, never
    // in the middle of a commit.
    if (!m_locks.lockRead())
        return true;
    bool same = false;
    if (Result<std::unique_ptr<File>> f = m_files.open(m_path, FileAccess::OpenMode::Read)) {
        // Compared a piece at a time: no second image of the file, and the first difference ends it.
        constexpr qint64 kPiece = 256 * 1024;
        QByteArray piece(qsizetype(kPiece), Qt::Uninitialized);
        Result<qint64> size = (*f)->size();
        same = size && *size == m_data.size();
        for (qint64 at = 0; same && at < m_data.size(); at += kPiece) {
            const qint64 n = std::min(kPiece, m_data.size() - at);
            Result<qint64> got = (*f)->readInto(at, piece.data(), n);
            same = got && *got == n && std::memcmp(piece.constData(), m_data.constData() + at, size_t(n)) == 0;
        }
        same = same && !m_files.exists(journalPath(m_path));
        if (same)
            rememberStamp();
    }
    m_locks.unlockRead();
    return !same;
}

uchar *PageStore::mutablePage(quint32 n)
{
    const char *src = m_data.constData() + qint64(n) * kPageSize;
    if (n < m_committedPages && !m_original.contains(n))
        m_original.insert(n, QByteArray(src, kPageSize));
    if (m_savepoint && n < m_savepointPages && !m_savepointImages.contains(n))
        m_savepointImages.insert(n, QByteArray(src, kPageSize));
    return reinterpret_cast<uchar *>(m_data.data()) + qint64(n) * kPageSize;
}

quint32 PageStore::appendPage()
{
    const quint32 n = pageCount();
    if (!m_data.resize(m_data.size() + kPageSize))
        qFatal("out of memory for a page of %s", qPrintable(m_path));
    return n;
}

void PageStore::beginSavepoint()
{
    m_savepoint = true;
    m_savepointPages = pageCount();
    m_savepointImages.clear();
}

void PageStore::releaseSavepoint()
{
    m_savepoint = false;
    m_savepointImages.clear();
}

void PageStore::rollbackToSavepoint()
{
    if (!m_savepoint)
        return;
    for (auto it = m_savepointImages.cbegin(); it != m_savepointImages.cend(); ++it)
        std::memcpy(m_data.data() + qint64(it.key()) * kPageSize, it.value().constData(), kPageSize);
    m_data.resize(qint64(m_savepointPages) * kPageSize);
    releaseSavepoint();
}

void PageStore::rollback()
{
    for (auto it = m_original.cbegin(); it != m_original.cend(); ++it)
        std::memcpy(m_data.data() + qint64(it.key()) * kPageSize, it.value().constData(), kPageSize);
    m_data.resize(qint64(m_committedPages) * kPageSize);
    m_original.clear();
    releaseSavepoint();
}

Status PageStore::writeJournal(const QList<quint32> &changed)
{
    // Written piece by piece: a journal cut short anywhere fails its checksum and is ignored.
    Result<std::unique_ptr<File>> f = m_files.open(journalPath(m_path), FileAccess::OpenMode::Replace);
    if (!f)
        return f.status();
    File &journal = **f;
    Fnv1a sum;
    qint64 at = 0;
    auto append = [&](QByteArrayView piece) {
        sum.add(piece);
        const Status s = journal.write(at, piece);
        at += piece.size();
        return s;
    };
    ByteWriter header;
    header.bytes(QByteArrayView(kJournalMagic, 8));
    header.u64(quint64(m_committedPages) * kPageSize);
    header.u32(quint32(changed.size()));
    if (Status s = append(header.data()); !s)
        return s;
    for (quint32 pg : changed) {
        ByteWriter entry;
        entry.u32(pg);
        entry.bytes(m_original.value(pg));
        if (Status s = append(entry.data()); !s)
            return s;
    }
    ByteWriter checksum;
    checksum.u64(sum.value());
    if (Status s = append(checksum.data()); !s)
        return s;
    if (Status s = journal.sync(); !s)
        return s;
    return m_files.syncFolder(folderOf(m_path));
}

Status PageStore::writePages(const QList<quint32> &changed)
{
    Result<std::unique_ptr<File>> f = m_files.open(m_path, FileAccess::OpenMode::ReadWrite);
    if (!f)
        return f.status();
    QList<quint32> toWrite = changed;
    for (quint32 pg = m_committedPages; pg < pageCount(); ++pg)
        toWrite.append(pg);
    for (quint32 pg : toWrite) {
        const QByteArrayView image(m_data.constData() + qint64(pg) * kPageSize, kPageSize);
        if (Status s = (*f)->write(qint64(pg) * kPageSize, image); !s)
            return s;
    }
    if (Status s = (*f)->resize(m_data.size()); !s)
        return s;
    return (*f)->sync();
}

Status PageStore::commit()
{
    releaseSavepoint();
    if (!dirty())
        return Status::ok();
    QList<quint32> changed = m_original.keys();
    std::sort(changed.begin(), changed.end());

    // 0. Room for the journal and for the file's growth, asked before anything is written: a
    // disk without it fails the commit untouched, and the user learns how much is missing.
    const qint64 journalBytes = kJournalHeader + qint64(changed.size()) * (4 + kPageSize) + 8;
    const qint64 growth = std::max<qint64>(m_data.size() - qint64(m_committedPages) * kPageSize, 0);
    if (const qint64 free = m_files.freeSpace(folderOf(m_path)); free >= 0 && free < journalBytes + growth) {
        rollback();
        return diskFullStatus(journalBytes + growth - free);
    }

    // 1. The journal: everything needed to put the file back as it is now on disk. Until it is
    // complete the file is untouched, so a failure here only needs the journal gone (one left
    // behind fails its checksum, or holds exactly what the file holds).
    if (Status s = writeJournal(changed); !s) {
        m_files.remove(journalPath(m_path));
        rollback();
        return s;
    }

    // 2. The pages themselves: the changed ones, then everything appended. 3. Removing the
    // journal makes the commit final. Readers wait meanwhile: the file is neither state.
    if (Status s = m_locks.lockChange(); !s) {
        m_files.remove(journalPath(m_path));
        rollback();
        return s;
    }
    Status s = writePages(changed);
    if (s)
        s = m_files.remove(journalPath(m_path));
    if (!s) {
        // The file may be half-written: it is put back from the committed images now, or, when
        // that fails too, from the journal by the next writer.
        Journal committed { qint64(m_committedPages) * kPageSize, {} };
        for (quint32 pg : changed)
            committed.pages.append({ pg, m_original.value(pg) });
        restoreFile(committed);
        m_locks.unlockChange();
        rollback();
        return s;
    }
    m_locks.unlockChange();
    // The commit has taken effect. Should the folder not be flushed, a power failure may still
    // bring the journal back and the next writer roll the commit back: the file stays whole.
    m_files.syncFolder(folderOf(m_path));
    m_original.clear();
    m_committedPages = pageCount();
    rememberStamp();
    return Status::ok();
}

} // namespace tolvane::jet::internal
