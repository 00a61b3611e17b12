#include "search/fulltext.h"

#include <mutex>
#include <thread>

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>

#include "catalog/records.h"
#include "platform/extract/documenttext.h"
#include "platform/extract/extractionpool.h"
#include "platform/extract/filestamp.h"
#include "platform/extract/searchtext.h"
#include "platform/jet/database.h"
#include "platform/jet/recordset.h"
#include "platform/paths.h"
#include "search/fulltextindex.h"

namespace tolvane::search {

namespace {

// The name part of a path with either separator (cheaper than QFileInfo in the long loops).
QString fileNameOf(const QString &path)
{
    const qsizetype slash = std::max(path.lastIndexOf(QLatin1Char('/')), path.lastIndexOf(QLatin1Char('\\')));
    return path.mid(slash + 1);
}

// The folder part of the same.
QString folderOf(const QString &path)
{
    const qsizetype slash = std::max(path.lastIndexOf(QLatin1Char('/')), path.lastIndexOf(QLatin1Char('\\')));
    return slash < 0 ? QString() : path.left(slash);
}

} // namespace

bool IsFullTextExtension(const QString &fileName)
{
    static const char *const three[] = { "rtf", "txt", "xls", "doc", "ppt", "pdf", "jaw", "jtw", "jbw", "juw", "jfw",
        "jvw", "jtd", "jtt", "oas", "oa2", "oa3", "bun", "sxc", "sxw", "sxi", "sxd", "ods", "odt", "odp", "odg", "wj2",
        "wj3", "wk3", "wk4", "123", "wri", "mht", "eml" };
    static const char *const four[] = { "docx", "xlsx", "pptx", "html" };
    const qsizetype n = fileName.size();
    if (n < 4)
        return false;
    const bool dotted = fileName.at(n - 4) == QLatin1Char('.');
    const qsizetype length = dotted ? 3 : 4;
    const QChar *ext = fileName.constData() + n - length;
    // Exactly the listed spelling in lower case, or the same in upper case ("123" has no case).
    auto matches = [&](const char *name) {
        bool lower = true;
        bool upper = true;
        for (qsizetype i = 0; i < length; ++i) {
            const char16_t c = ext[i].unicode();
            const char l = name[i];
            const char u = (l >= 'a' && l <= 'z') ? char(l - 32) : l;
            lower = lower && c == char16_t(l);
            upper = upper && c == char16_t(u);
        }
        return lower || upper;
    };
    if (dotted) {
        for (const char *name : three) {
            if (matches(name))
                return true;
        }
        return false;
    }
    for (const char *name : four) {
        if (matches(name))
            return true;
    }
    return false;
}

namespace {

// The stamps of the searchable files among paths (others: not existing). A repeat search is
// mostly this: one status call per file, spread over the cores for long lists.
QList<extract::FileStamp> stampsOf(const QStringList &paths)
{
    QList<extract::FileStamp> stamps(paths.size());
    auto work = [&](qsizetype from, qsizetype to) {
        for (qsizetype i = from; i < to; ++i) {
            if (IsFullTextExtension(fileNameOf(paths.at(i))))
                stamps[i] = extract::fileStamp(paths.at(i));
        }
    };
    const qsizetype n = paths.size();
    const qsizetype threads = n < 2000 ? 1 : qsizetype(std::max(1u, std::min(4u, std::thread::hardware_concurrency())));
    std::vector<std::thread> helpers;
    for (qsizetype t = 1; t < threads; ++t)
        helpers.emplace_back(work, n * t / threads, n * (t + 1) / threads);
    work(0, n / threads);
    for (std::thread &h : helpers)
        h.join();
    return stamps;
}

} // namespace

Result<QStringList> recordPaths(jet::Database &db, jet::Recordset &rs)
{
    QStringList paths;
    const int at = rs.position();
    const int nameField = rs.fieldIndex(QStringLiteral("fName"));
    const int folderField = rs.fieldIndex(QStringLiteral("pnID"));
    if (nameField < 0 || folderField < 0)
        return Status::invalidArgument(QStringLiteral("fName, pnID"));
    QHash<int, QString> folders;
    for (rs.moveFirst(); !rs.eof(); rs.moveNext()) {
        const int pnID = rs.field(folderField).toInt();
        auto it = folders.find(pnID);
        if (it == folders.end()) {
            Result<QString> folder = catalog::GetPathName(db, pnID);
            if (!folder && folder.status().code() != Status::Code::NotFound)
                return folder.status();
            it = folders.insert(pnID, folder ? *folder : QString());
        }
        paths << (it->isEmpty() ? QString() : joinPath(*it, rs.field(nameField).toString()));
    }
    if (at >= 0) {
        rs.moveFirst();
        rs.move(at);
    }
    return paths;
}

Result<QStringList> registeredPaths(jet::Database &db)
{
    Result<std::unique_ptr<jet::Recordset>> table = db.openTable(QStringLiteral("FILE_ATR"));
    if (!table)
        return table.status();
    return recordPaths(db, **table);
}

FullTextEngine::FullTextEngine(FullTextIndex &index, extract::ExtractionPool &pool)
    : m_index(index)
    , m_pool(pool)
{
}

Status FullTextEngine::refresh(const QStringList &paths, const Progress &progress, const std::atomic<bool> *cancel)
{
    QList<extract::FileStamp> now;
    return refresh(paths, now, progress, cancel);
}

Status FullTextEngine::refresh(
    const QStringList &paths, QList<extract::FileStamp> &now, const Progress &progress, const std::atomic<bool> *cancel)
{
    m_extracted = 0;
    m_failed = 0;
    m_forgotten = 0;
    const QString version = extract::extractorVersion();
    QStringList stale;
    QList<extract::FileStamp> stamps;
    now = stampsOf(paths);
    if (Status s = forgetVanished(paths, now); !s)
        return s;
    for (qsizetype i = 0; i < paths.size(); ++i) {
        const QString &path = paths.at(i);
        const extract::FileStamp &stamp = now.at(i);
        if (!stamp.exists)
            continue;
        const FullTextIndex::Entry *e = m_index.entry(path);
        if (e && e->stamp == stamp && e->version == version)
            continue;
        stale << path;
        stamps << stamp;
    }
    if (stale.isEmpty())
        return Status::ok();

    // Rows are written in groups, each group one transaction, so that a cancel or a failure
    // keeps every file done before it and nothing half-written.
    std::mutex lock;
    Status writeError;
    int done = 0;
    int inGroup = 0;
    QElapsedTimer groupTime;
    groupTime.start();
    if (Status s = m_index.begin(); !s)
        return s;
    const Status run = m_pool.run(
        stale,
        [&](qsizetype i, extract::ExtractionOutcome outcome) {
            const bool failed = outcome.kind != extract::ExtractionOutcome::Kind::Text;
            const QString text = failed ? QString() : extract::normalizeForSearch(outcome.text);
            std::lock_guard<std::mutex> guard(lock);
            if (writeError.isOk()) {
                writeError = m_index.store(stale.at(i), stamps.at(i),
                    failed ? FullTextIndex::State::Failed : FullTextIndex::State::Text, version, text);
                if (writeError.isOk() && (++inGroup >= 500 || groupTime.elapsed() > 2000)) {
                    writeError = m_index.commit();
                    if (writeError.isOk())
                        writeError = m_index.begin();
                    inGroup = 0;
                    groupTime.restart();
                }
            }
            ++done;
            ++m_extracted;
            if (failed)
                ++m_failed;
            if (progress)
                progress(done, int(stale.size()), fileNameOf(stale.at(i)));
        },
        cancel);
    if (!writeError.isOk()) {
        m_index.rollback();
        return writeError;
    }
    if (Status s = m_index.commit(); !s) {
        m_index.rollback();
        return s;
    }
    return run;
}

Status FullTextEngine::forgetVanished(const QStringList &paths, const QList<extract::FileStamp> &now)
{
    // Only folders that can be read now count: a share that is away for a moment must not
    // empty the index.
    QHash<QString, bool> folders; // folder -> readable now
    QSet<QString> listed;
    listed.reserve(paths.size());
    for (const QString &path : paths) {
        if (path.isEmpty())
            continue;
        listed.insert(path);
        const QString folder = folderOf(path);
        if (!folders.contains(folder))
            folders.insert(folder, QFileInfo(folder).isDir());
    }
    QStringList gone;
    for (qsizetype i = 0; i < paths.size(); ++i) {
        if (!now.at(i).exists && m_index.entry(paths.at(i)) && folders.value(folderOf(paths.at(i))))
            gone << paths.at(i); // listed but deleted, or no longer a searchable spelling
    }
    const QStringList held = m_index.paths();
    for (const QString &path : held) {
        if (!listed.contains(path) && folders.value(folderOf(path)) && !QFileInfo::exists(path))
            gone << path; // deleted from a listed folder
    }
    if (gone.isEmpty())
        return Status::ok();
    if (Status s = m_index.begin(); !s)
        return s;
    for (const QString &path : std::as_const(gone)) {
        if (Status s = m_index.remove(path); !s) {
            m_index.rollback();
            return s;
        }
    }
    if (Status s = m_index.commit(); !s) {
        m_index.rollback();
        return s;
    }
    m_forgotten = int(gone.size());
    return Status::ok();
}

Result<QList<bool>> FullTextEngine::find(
    const QStringList &paths, const QString &word, const Progress &progress, const std::atomic<bool> *cancel)
{
    QList<extract::FileStamp> now;
    if (Status s = refresh(paths, now, progress, cancel); !s)
        return s;
    QList<bool> hits(paths.size(), false);
    const QString needle = extract::normalizeForSearch(word);
    if (needle.isEmpty())
        return hits;
    Result<QSet<qint64>> ids = m_index.match(needle);
    if (!ids)
        return ids.status();
    if (ids->isEmpty())
        return hits;
    for (qsizetype i = 0; i < paths.size(); ++i) {
        if (!now.at(i).exists)
            continue; // not searchable, or not there
        const FullTextIndex::Entry *e = m_index.entry(paths.at(i));
        // The file as it is now must be the file that was indexed (a changed file that could
        // not be read again is no hit).
        if (e && e->state == FullTextIndex::State::Text && e->stamp == now.at(i) && ids->contains(e->id))
            hits[i] = true;
    }
    return hits;
}

} // namespace tolvane::search

namespace tolvane::search {

namespace {
const QString kPromptLines = QStringLiteral(u"検索語句を記入して下さい。\nワイルドカードは使用できません\uff61 ");
}

QString form5Caption(SearchPurpose purpose)
{
    return purpose == SearchPurpose::PhraseInFile ? QStringLiteral(u"ファイル内語句検索") : QStringLiteral(u"全文検索");
}

QString form5Prompt(SearchPurpose purpose)
{
    switch (purpose) {
    case SearchPurpose::PhraseInFile:
        break;
    case SearchPurpose::FolderList:
        return kPromptLines + QStringLiteral(u"\n検索語句が見つかったファイルは左パネル・ファイル名が反転します。");
    case SearchPurpose::ResultList:
        return kPromptLines + QStringLiteral(u"\n検索語句が見つからなかった場合、その行は隠されます。");
    }
    return kPromptLines;
}

QString form5EmptyWordMessage()
{
    return QStringLiteral(u"検索語句を記入して下さい。\u3000ワイルドカードは使用できません。");
}

QString fullTextNotFoundMessage(const QString &word)
{
    return QStringLiteral(u"「") + word + QStringLiteral(u"」を含むファイルは見つかりませんでした。");
}

QString fullTextAllHiddenMessage(const QString &word)
{
    return fullTextNotFoundMessage(word) + QStringLiteral(u"\nOKボタンで検索結果一覧を再表示します。");
}

QString fullTextShowListQuestion()
{
    return QStringLiteral(u"検索結果一覧を再表示しますか？\u3000各個表示しますか？\n"
                          u"検索結果一覧再表示の場合は「はい」を、各個表示の場合は「いいえ」を選択してください。\n"
                          u"この場合、任意行をクリックすると、そのファイルから各個表示を開始します。");
}

} // namespace tolvane::search
