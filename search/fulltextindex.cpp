#include "search/fulltextindex.h"

#include <sqlite3.h>

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <QStorageInfo>
#include <QTemporaryFile>

#include "platform/extract/searchtext.h"

namespace tolvane::search {

namespace {

// Raise when the tables change; kTokenizer when the tokens do.
constexpr const char *kSchema = "2";
constexpr const char *kTokenizer = "bigram1";
constexpr const char *kTokenizerName = "tolvane_bigram";

// Length of the UTF-8 sequence that starts with byte c (1 for stray continuation bytes).
int utf8Length(unsigned char c)
{
    if (c >= 0xf0)
        return 4;
    if (c >= 0xe0)
        return 3;
    if (c >= 0xc0)
        return 2;
    return 1;
}

// The tokenizer: every character with its successor is one token, at consecutive positions;
// the last character of a text is a token of its own, so that a one-character prefix query
// finds it too. In a query, a text of two or more characters gives only its pairs.
int bigramTokenize(Fts5Tokenizer *, void *ctx, int flags, const char *text, int size,
    int (*token)(void *, int, const char *, int, int, int))
{
    std::vector<int> starts;
    starts.reserve(size_t(size));
    for (int i = 0; i < size;) {
        starts.push_back(i);
        i += utf8Length(static_cast<unsigned char>(text[i]));
    }
    const int n = int(starts.size());
    auto end = [&](int k) { return k + 1 < n ? starts[size_t(k) + 1] : size; };
    const bool query = (flags & FTS5_TOKENIZE_QUERY) != 0;
    for (int k = 0; k < n; ++k) {
        int rc = SQLITE_OK;
        if (k + 1 < n) {
            rc = token(ctx, 0, text + starts[size_t(k)], end(k + 1) - starts[size_t(k)], starts[size_t(k)], end(k + 1));
        } else if (!query || n == 1) {
            rc = token(ctx, 0, text + starts[size_t(k)], end(k) - starts[size_t(k)], starts[size_t(k)], end(k));
        }
        if (rc != SQLITE_OK)
            return rc;
    }
    return SQLITE_OK;
}

int bigramCreate(void *, const char **, int, Fts5Tokenizer **out)
{
    static int dummy;
    *out = reinterpret_cast<Fts5Tokenizer *>(&dummy);
    return SQLITE_OK;
}

void bigramDelete(Fts5Tokenizer *) { }

Status sqliteError(sqlite3 *db, const char *what)
{
    const int code = db ? sqlite3_errcode(db) : SQLITE_ERROR;
    const QString text
        = QString::fromUtf8(what) + QStringLiteral(": ") + QString::fromUtf8(db ? sqlite3_errmsg(db) : "no database");
    if (code == SQLITE_CORRUPT || code == SQLITE_NOTADB)
        return Status::corruption(text);
    return Status::ioError(text);
}

bool exec(sqlite3 *db, const char *sql)
{
    return sqlite3_exec(db, sql, nullptr, nullptr, nullptr) == SQLITE_OK;
}

struct Statement {
    sqlite3_stmt *stmt = nullptr;
    Statement(sqlite3 *db, const char *sql) { sqlite3_prepare_v2(db, sql, -1, &stmt, nullptr); }
    ~Statement() { sqlite3_finalize(stmt); }
    explicit operator bool() const { return stmt != nullptr; }
    void bind(int i, const QString &s)
    {
        const QByteArray u = s.toUtf8();
        sqlite3_bind_text(stmt, i, u.constData(), int(u.size()), SQLITE_TRANSIENT);
    }
    void bind(int i, qint64 v) { sqlite3_bind_int64(stmt, i, v); }
    QString text(int i) const
    {
        return QString::fromUtf8(
            reinterpret_cast<const char *>(sqlite3_column_text(stmt, i)), sqlite3_column_bytes(stmt, i));
    }
};

Status registerTokenizer(sqlite3 *db)
{
    fts5_api *api = nullptr;
    Statement s(db, "SELECT fts5(?1)");
    if (!s)
        return sqliteError(db, "fts5");
    sqlite3_bind_pointer(s.stmt, 1, reinterpret_cast<void *>(&api), "fts5_api_ptr", nullptr);
    sqlite3_step(s.stmt);
    if (!api)
        return Status::notSupported(QStringLiteral("SQLite without FTS5"));
    static fts5_tokenizer tokenizer { bigramCreate, bigramDelete, bigramTokenize };
    if (api->xCreateTokenizer(api, kTokenizerName, nullptr, &tokenizer, nullptr) != SQLITE_OK)
        return sqliteError(db, "tokenizer");
    return Status::ok();
}

QString metaValue(sqlite3 *db, const char *key)
{
    Statement s(db, "SELECT value FROM meta WHERE key = ?1");
    if (!s)
        return {};
    s.bind(1, QString::fromUtf8(key));
    if (sqlite3_step(s.stmt) != SQLITE_ROW)
        return {};
    return s.text(0);
}

// The identity of the index format: a file with another one is thrown away.
QList<std::pair<const char *, QString>> expectedMeta()
{
    return { { "schema", QString::fromUtf8(kSchema) }, { "tokenizer", QString::fromUtf8(kTokenizer) },
        { "rule", extract::searchTextRuleVersion() } };
}

// Network file systems do not share the memory map that WAL needs.
bool isLocalDisk(const QString &file)
{
    const QByteArray type = QStorageInfo(QFileInfo(file).absolutePath()).fileSystemType().toLower();
    for (const char *remote : { "nfs", "cifs", "smb", "sshfs", "9p", "afs", "fuse", "davfs", "ncp" }) {
        if (type.contains(remote))
            return false;
    }
    return true;
}

} // namespace

FullTextIndex::FullTextIndex(QString file)
    : m_file(std::move(file))
{
}

FullTextIndex::~FullTextIndex()
{
    sqlite3_close_v2(m_db);
}

QString FullTextIndex::locationFor(const QString &catalogPath)
{
    if (!catalogPath.isEmpty()) {
        const QFileInfo catalog(catalogPath);
        const QString beside = catalog.absoluteFilePath() + QStringLiteral(".fulltext");
        if (QFileInfo(beside).isFile() && QFileInfo(beside).isWritable())
            return beside;
        // The folder takes new files when a probe can be created there (permission bits alone
        // say nothing for administrators, read-only mounts or locked folders).
        QTemporaryFile probe(catalog.absolutePath() + QStringLiteral("/.tolvane-probe-XXXXXX"));
        if (probe.open())
            return beside;
    }
    const QString cache = QStandardPaths::writableLocation(QStandardPaths::CacheLocation) + QStringLiteral("/fulltext");
    QDir().mkpath(cache);
    if (catalogPath.isEmpty())
        return cache + QStringLiteral("/folders.fulltext");
    const QByteArray key
        = QCryptographicHash::hash(QFileInfo(catalogPath).absoluteFilePath().toUtf8(), QCryptographicHash::Sha1)
              .toHex();
    return cache + QLatin1Char('/') + QString::fromLatin1(key.left(16)) + QLatin1Char('-')
        + QFileInfo(catalogPath).completeBaseName() + QStringLiteral(".fulltext");
}

Result<std::unique_ptr<FullTextIndex>> FullTextIndex::open(const QString &file)
{
    // Two tries: the file as found, then a fresh one in its place.
    for (int attempt = 0; attempt < 2; ++attempt) {
        std::unique_ptr<FullTextIndex> index(new FullTextIndex(file));
        const QByteArray name = QFile::encodeName(file);
        if (sqlite3_open_v2(name.constData(), &index->m_db,
                SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX, nullptr)
            != SQLITE_OK) {
            return sqliteError(index->m_db, "open");
        }
        sqlite3_busy_timeout(index->m_db, 5000);
        Status s = index->prepare();
        if (s)
            return index;
        if (attempt == 0 && s.code() != Status::Code::IOError) {
            index.reset();
            for (const char *suffix : { "", "-wal", "-shm", "-journal" })
                QFile::remove(file + QString::fromLatin1(suffix));
            continue;
        }
        return s;
    }
    return Status::ioError(file);
}

Status FullTextIndex::prepare()
{
    if (Status s = registerTokenizer(m_db); !s)
        return s;
    exec(m_db, isLocalDisk(m_file) ? "PRAGMA journal_mode=WAL" : "PRAGMA journal_mode=DELETE");
    exec(m_db, "PRAGMA synchronous=NORMAL");
    const bool exists = exec(m_db, "SELECT 1 FROM meta LIMIT 1");
    if (exists) {
        for (const auto &[key, value] : expectedMeta()) {
            if (metaValue(m_db, key) != value)
                return Status::corruption(QStringLiteral("index of another make"));
        }
        return loadEntries();
    }
    if (sqlite3_errcode(m_db) == SQLITE_NOTADB || sqlite3_errcode(m_db) == SQLITE_CORRUPT)
        return sqliteError(m_db, "meta");
    // A new index.
    if (!exec(m_db, "BEGIN"))
        return sqliteError(m_db, "begin");
    const char *schema
        = "CREATE TABLE meta(key TEXT PRIMARY KEY, value TEXT NOT NULL);"
          "CREATE TABLE files(id INTEGER PRIMARY KEY, path TEXT NOT NULL UNIQUE, size INTEGER NOT NULL,"
          " mtime INTEGER NOT NULL, state INTEGER NOT NULL, version TEXT NOT NULL);"
          "CREATE VIRTUAL TABLE body USING fts5(text, tokenize='tolvane_bigram', prefix='1', columnsize=0);";
    if (!exec(m_db, schema)) {
        const Status s = sqliteError(m_db, "schema");
        exec(m_db, "ROLLBACK");
        return s;
    }
    for (const auto &[key, value] : expectedMeta()) {
        Statement s(m_db, "INSERT INTO meta(key, value) VALUES(?1, ?2)");
        s.bind(1, QString::fromUtf8(key));
        s.bind(2, value);
        if (sqlite3_step(s.stmt) != SQLITE_DONE) {
            exec(m_db, "ROLLBACK");
            return sqliteError(m_db, "meta");
        }
    }
    if (!exec(m_db, "COMMIT"))
        return sqliteError(m_db, "commit");
    return Status::ok();
}

Status FullTextIndex::loadEntries()
{
    m_entries.clear();
    Statement s(m_db, "SELECT id, path, size, mtime, state, version FROM files");
    if (!s)
        return sqliteError(m_db, "files");
    int rc;
    while ((rc = sqlite3_step(s.stmt)) == SQLITE_ROW) {
        Entry e;
        e.id = sqlite3_column_int64(s.stmt, 0);
        e.stamp.exists = true;
        e.stamp.size = sqlite3_column_int64(s.stmt, 2);
        e.stamp.modifiedNs = sqlite3_column_int64(s.stmt, 3);
        e.state = sqlite3_column_int(s.stmt, 4) == 1 ? State::Failed : State::Text;
        e.version = s.text(5);
        m_entries.insert(s.text(1), e);
    }
    if (rc != SQLITE_DONE)
        return sqliteError(m_db, "files");
    return Status::ok();
}

const FullTextIndex::Entry *FullTextIndex::entry(const QString &path) const
{
    const auto it = m_entries.constFind(path);
    return it == m_entries.cend() ? nullptr : &*it;
}

Status FullTextIndex::begin()
{
    return exec(m_db, "BEGIN IMMEDIATE") ? Status::ok() : sqliteError(m_db, "begin");
}

Status FullTextIndex::commit()
{
    return exec(m_db, "COMMIT") ? Status::ok() : sqliteError(m_db, "commit");
}

void FullTextIndex::rollback()
{
    exec(m_db, "ROLLBACK");
    loadEntries(); // the cache follows the file
}

Status FullTextIndex::store(const QString &path, const extract::FileStamp &stamp, State state, const QString &version,
    const QString &normalizedText)
{
    if (Status s = remove(path); !s)
        return s;
    Statement ins(m_db, "INSERT INTO files(path, size, mtime, state, version) VALUES(?1, ?2, ?3, ?4, ?5)");
    ins.bind(1, path);
    ins.bind(2, stamp.size);
    ins.bind(3, stamp.modifiedNs);
    ins.bind(4, qint64(state == State::Failed ? 1 : 0));
    ins.bind(5, version);
    if (sqlite3_step(ins.stmt) != SQLITE_DONE)
        return sqliteError(m_db, "files");
    Entry e { sqlite3_last_insert_rowid(m_db), stamp, state, version };
    if (state == State::Text && !normalizedText.isEmpty()) {
        Statement body(m_db, "INSERT INTO body(rowid, text) VALUES(?1, ?2)");
        body.bind(1, e.id);
        body.bind(2, normalizedText);
        if (sqlite3_step(body.stmt) != SQLITE_DONE)
            return sqliteError(m_db, "body");
    }
    m_entries.insert(path, e);
    return Status::ok();
}

Status FullTextIndex::remove(const QString &path)
{
    const auto it = m_entries.constFind(path);
    if (it == m_entries.cend())
        return Status::ok();
    const qint64 id = it->id;
    Statement body(m_db, "DELETE FROM body WHERE rowid = ?1");
    body.bind(1, id);
    if (sqlite3_step(body.stmt) != SQLITE_DONE)
        return sqliteError(m_db, "body");
    Statement files(m_db, "DELETE FROM files WHERE id = ?1");
    files.bind(1, id);
    if (sqlite3_step(files.stmt) != SQLITE_DONE)
        return sqliteError(m_db, "files");
    m_entries.remove(path);
    return Status::ok();
}

QString FullTextIndex::matchExpression(const QString &normalizedWord)
{
    QString quoted = normalizedWord;
    quoted.replace(QLatin1Char('"'), QStringLiteral("\"\""));
    quoted = QLatin1Char('"') + quoted + QLatin1Char('"');
    // One character: every pair that starts with it, and the text's last character.
    if (normalizedWord.size() == 1 || (normalizedWord.size() == 2 && normalizedWord.at(0).isHighSurrogate()))
        quoted += QStringLiteral(" *");
    return quoted;
}

Result<QSet<qint64>> FullTextIndex::match(const QString &normalizedWord)
{
    QSet<qint64> ids;
    if (normalizedWord.isEmpty())
        return ids;
    Statement s(m_db, "SELECT rowid FROM body WHERE body MATCH ?1");
    if (!s)
        return sqliteError(m_db, "match");
    s.bind(1, matchExpression(normalizedWord));
    int rc;
    while ((rc = sqlite3_step(s.stmt)) == SQLITE_ROW)
        ids.insert(sqlite3_column_int64(s.stmt, 0));
    if (rc != SQLITE_DONE)
        return sqliteError(m_db, "match");
    return ids;
}

} // namespace tolvane::search
