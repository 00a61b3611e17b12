#include "platform/jet/internal/pagestore.h"

#include <algorithm>

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include "platform/jet/internal/bytes.h"

#ifdef Q_OS_WIN
#include <io.h>
#else
#include <fcntl.h>
#include <unistd.h>
#endif

namespace tolvane::jet::internal {

namespace {

constexpr char kJournalMagic[8] = { 'T', 'o', 'l', 'v', 'J', 'n', 'l', '1' };
constexpr int kJournalHeader = 8 + 8 + 4;

quint64 fnv1a(const char *data, qint64 size)
{
    quint64 h = 14695981039346656037ULL;
    for (qint64 i = 0; i < size; ++i) {
        h ^= quint8(data[i]);
        h *= 1099511628211ULL;
    }
    return h;
}

void putU64(char *p, quint64 v)
{
    for (int i = 0; i < 8; ++i)
        p[i] = char(v >> (8 * i));
}

quint64 getU64(const char *p)
{
    quint64 v = 0;
    for (int i = 7; i >= 0; --i)
        v = (v << 8) | quint8(p[i]);
    return v;
}

bool syncFile(QFile &f)
{
    if (!f.flush())
        return false;
#ifdef Q_OS_WIN
    return _commit(f.handle()) == 0;
#else
    return ::fsync(f.handle()) == 0;
#endif
}

// Makes a created or removed directory entry durable.
void syncDirectoryOf(const QString &path)
{
#ifndef Q_OS_WIN
    const QByteArray dir = QFile::encodeName(QFileInfo(path).absolutePath());
    const int fd = ::open(dir.constData(), O_RDONLY);
    if (fd >= 0) {
        ::fsync(fd);
        ::close(fd);
    }
#else
    Q_UNUSED(path);
#endif
}

} // namespace

Status PageStore::recoverJournal(const QString &path, QByteArray *image, bool writeBack)
{
    const QString jpath = journalPath(path);
    QFile jf(jpath);
    if (!jf.exists())
        return Status::ok();
    if (!jf.open(QIODevice::ReadOnly))
        return Status::ioError(QStringLiteral("cannot read the journal %1").arg(jpath));
    const QByteArray j = jf.readAll();
    jf.close();

    bool complete = j.size() >= kJournalHeader + 8 && std::memcmp(j.constData(), kJournalMagic, 8) == 0;
    quint64 originalSize = 0;
    quint32 count = 0;
    if (complete) {
        originalSize = getU64(j.constData() + 8);
        count = u32(reinterpret_cast<const uchar *>(j.constData()) + 16);
        const qint64 expected = kJournalHeader + qint64(count) * (4 + kPageBytes) + 8;
        complete = j.size() == expected && originalSize % kPageBytes == 0
            && getU64(j.constData() + expected - 8) == fnv1a(j.constData(), expected - 8);
    }
    if (!complete) {
        // Torn while being written: the database file was not touched yet.
        if (writeBack && !QFile::remove(jpath))
            return Status::ioError(QStringLiteral("cannot remove the stale journal %1").arg(jpath));
        return Status::ok();
    }

    image->resize(qsizetype(std::max<quint64>(originalSize, quint64(image->size()))));
    const char *p = j.constData() + kJournalHeader;
    for (quint32 i = 0; i < count; ++i, p += 4 + kPageBytes) {
        const quint32 pg = u32(reinterpret_cast<const uchar *>(p));
        if (qint64(pg + 1) * kPageBytes > qint64(originalSize))
            return Status::corruption(QStringLiteral("journal names page %1 beyond the file").arg(pg));
        std::memcpy(image->data() + qint64(pg) * kPageBytes, p + 4, kPageBytes);
    }
    image->resize(qsizetype(originalSize));
    if (!writeBack)
        return Status::ok();

    QFile df(path);
    if (!df.open(QIODevice::ReadWrite))
        return Status::ioError(QStringLiteral("cannot roll back %1: %2").arg(path, df.errorString()));
    p = j.constData() + kJournalHeader;
    for (quint32 i = 0; i < count; ++i, p += 4 + kPageBytes) {
        const quint32 pg = u32(reinterpret_cast<const uchar *>(p));
        if (!df.seek(qint64(pg) * kPageBytes) || df.write(p + 4, kPageBytes) != kPageBytes)
            return Status::ioError(QStringLiteral("cannot roll back %1: %2").arg(path, df.errorString()));
    }
    if (!df.resize(qint64(originalSize)) || !syncFile(df))
        return Status::ioError(QStringLiteral("cannot roll back %1: %2").arg(path, df.errorString()));
    df.close();
    if (!QFile::remove(jpath))
        return Status::ioError(QStringLiteral("cannot remove the journal %1").arg(jpath));
    syncDirectoryOf(path);
    return Status::ok();
}

PageStore::Fingerprint PageStore::fingerprint(const QString &path)
{
    const QFileInfo fi(path);
    if (!fi.exists())
        return {};
    return { fi.size(), fi.lastModified().toMSecsSinceEpoch(), fi.metadataChangeTime().toMSecsSinceEpoch() };
}

bool PageStore::Fingerprint::settled() const
{
    constexpr qint64 kCoarsestTimestampMs = 3000;
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    return now - modified > kCoarsestTimestampMs && now - changed > kCoarsestTimestampMs;
}

bool PageStore::changedOnDisk() const
{
    const Fingerprint now = fingerprint(m_path);
    if (now != m_fingerprint)
        return true;
    if (m_fingerprint.settled())
        return false;
    // Same size and times, but recent enough to hide another write: look at the bytes.
    QFile f(m_path);
    if (!f.open(QIODevice::ReadOnly))
        return true;
    const QByteArray disk = f.readAll();
    if (disk.size() != m_data.size() || disk != m_data)
        return true;
    m_fingerprint = now;
    return false;
}

Result<std::unique_ptr<PageStore>> PageStore::open(const QString &path, bool writable)
{
    QFile f(path);
    if (!f.exists())
        return Status::notFound(QStringLiteral("no such file: %1").arg(QDir::toNativeSeparators(path)));
    if (!f.open(QIODevice::ReadOnly))
        return Status::ioError(
            QStringLiteral("cannot read %1: %2").arg(QDir::toNativeSeparators(path), f.errorString()));
    std::unique_ptr<PageStore> store(new PageStore);
    store->m_path = path;
    store->m_data = f.readAll();
    f.close();
    if (QFile::exists(journalPath(path))) {
        Status s = recoverJournal(path, &store->m_data, writable);
        if (!s)
            return s;
    }
    if (store->m_data.isEmpty() || store->m_data.size() % kPageBytes != 0)
        return Status::corruption(QStringLiteral("%1 is not a Jet database (size %2 is not a whole number of pages)")
                                      .arg(QDir::toNativeSeparators(path))
                                      .arg(store->m_data.size()));
    store->m_committedPages = store->pageCount();
    store->m_fingerprint = fingerprint(path);
    return store;
}

uchar *PageStore::mutablePage(quint32 n)
{
    const char *src = m_data.constData() + qint64(n) * kPageBytes;
    if (n < m_committedPages && !m_original.contains(n))
        m_original.insert(n, QByteArray(src, kPageBytes));
    if (m_savepoint && n < m_savepointPages && !m_savepointImages.contains(n))
        m_savepointImages.insert(n, QByteArray(src, kPageBytes));
    return reinterpret_cast<uchar *>(m_data.data()) + qint64(n) * kPageBytes;
}

quint32 PageStore::appendPage()
{
    const quint32 n = pageCount();
    m_data.append(QByteArray(kPageBytes, '\0'));
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
        std::memcpy(m_data.data() + qint64(it.key()) * kPageBytes, it.value().constData(), kPageBytes);
    m_data.resize(qsizetype(m_savepointPages) * kPageBytes);
    releaseSavepoint();
}

void PageStore::rollback()
{
    for (auto it = m_original.cbegin(); it != m_original.cend(); ++it)
        std::memcpy(m_data.data() + qint64(it.key()) * kPageBytes, it.value().constData(), kPageBytes);
    m_data.resize(qsizetype(m_committedPages) * kPageBytes);
    m_original.clear();
    releaseSavepoint();
}

Status PageStore::commit()
{
    releaseSavepoint();
    if (!dirty())
        return Status::ok();
    QList<quint32> changed = m_original.keys();
    std::sort(changed.begin(), changed.end());

    // 1. The journal: everything needed to put the file back as it is now on disk.
    QByteArray j;
    j.reserve(kJournalHeader + changed.size() * (4 + kPageBytes) + 8);
    j.append(kJournalMagic, 8);
    char buf[8];
    putU64(buf, quint64(m_committedPages) * kPageBytes);
    j.append(buf, 8);
    put32(reinterpret_cast<uchar *>(buf), quint32(changed.size()));
    j.append(buf, 4);
    for (quint32 pg : changed) {
        put32(reinterpret_cast<uchar *>(buf), pg);
        j.append(buf, 4);
        j.append(m_original.value(pg));
    }
    putU64(buf, fnv1a(j.constData(), j.size()));
    j.append(buf, 8);

    const QString jpath = journalPath(m_path);
    auto fail = [&](const QString &what, const QString &err) {
        rollback();
        return Status::ioError(QStringLiteral("%1 %2: %3").arg(what, QDir::toNativeSeparators(m_path), err));
    };
    {
        QFile jf(jpath);
        if (!jf.open(QIODevice::WriteOnly | QIODevice::Truncate) || jf.write(j) != j.size() || !syncFile(jf))
            return fail(QStringLiteral("cannot write the journal of"), jf.errorString());
        jf.close();
        syncDirectoryOf(jpath);
    }

    // 2. The pages themselves: the changed ones, then everything appended.
    QFile df(m_path);
    if (!df.open(QIODevice::ReadWrite))
        return fail(QStringLiteral("cannot write"), df.errorString());
    // Once writing has begun the file may be half-written: it is put back from the journal now.
    auto failWriting = [&]() {
        const QString err = df.errorString();
        df.close();
        rollback();
        QByteArray scratch;
        recoverJournal(m_path, &scratch, true);
        return Status::ioError(QStringLiteral("cannot write %1: %2").arg(QDir::toNativeSeparators(m_path), err));
    };
    QList<quint32> toWrite = changed;
    for (quint32 pg = m_committedPages; pg < pageCount(); ++pg)
        toWrite.append(pg);
    int written = 0;
    for (quint32 pg : toWrite) {
        if (m_crashAfter >= 0 && written >= m_crashAfter) {
            df.flush();
            m_crashAfter = -1;
            return Status::ioError(QStringLiteral("simulated crash during commit"));
        }
        if (!df.seek(qint64(pg) * kPageBytes)
            || df.write(m_data.constData() + qint64(pg) * kPageBytes, kPageBytes) != kPageBytes)
            return failWriting();
        ++written;
    }
    if (!df.resize(m_data.size()) || !syncFile(df))
        return failWriting();
    df.close();

    // 3. Done: the journal is no longer needed.
    QFile::remove(jpath);
    syncDirectoryOf(jpath);
    m_original.clear();
    m_committedPages = pageCount();
    m_fingerprint = fingerprint(m_path);
    return Status::ok();
}

} // namespace tolvane::jet::internal
