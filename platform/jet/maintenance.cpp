#include "platform/jet/maintenance.h"

#include <optional>

#include <QCryptographicHash>
#include <QDataStream>
#include <QDir>
#include <QFileInfo>
#include <QMap>

#include "platform/jet/database.h"
#include "platform/jet/internal/catalogue.h"
#include "platform/jet/internal/creator.h"
#include "platform/jet/internal/diskfileaccess.h"
#include "platform/jet/internal/salvage.h"

namespace tolvane::jet {

using namespace internal;

namespace {

constexpr quint32 kSystemTdefPage = 2; // MSysObjects
constexpr int kTableObject = 1;

QString native(const QString &path)
{
    return QDir::toNativeSeparators(path);
}

// A file read whole through the engine's units, without an Engine (no refresh).
struct Source {
    std::unique_ptr<ConnectionLocks> locks; // outlives the store that reads under them
    std::unique_ptr<PageStore> store;
    std::optional<UsageMaps> maps;
    std::optional<TableRows> rows;
    Catalogue catalogue;
};

// The pages of the file, without its catalogue, read under locks taken for use. With Sole, a
// journal a killed writer left is rolled back on disk first: the file is about to be replaced,
// and the journal must not outlive it to be applied to the new one.
Result<std::unique_ptr<Source>> loadPages(FileAccess &files, const QString &path, ConnectionLocks::Use use)
{
    auto src = std::make_unique<Source>();
    Result<std::unique_ptr<ConnectionLocks>> locks = ConnectionLocks::open(files, path, use);
    if (!locks)
        return locks.status();
    src->locks = locks.take();
    if (use == ConnectionLocks::Use::Sole) {
        // Alone with the file, so no writer can hold this.
        Result<bool> writer = src->locks->tryLockWriter();
        if (!writer)
            return writer.status();
    }
    Result<std::unique_ptr<PageStore>> store = PageStore::open(files, *src->locks, path);
    if (src->locks->holdsWriter())
        src->locks->unlockWriter();
    if (!store)
        return store.status();
    src->store = store.take();
    src->maps.emplace(*src->store);
    src->rows.emplace(*src->store, *src->maps);
    return src;
}

Result<std::unique_ptr<Source>> loadSource(FileAccess &files, const QString &path, ConnectionLocks::Use use)
{
    Result<std::unique_ptr<Source>> src = loadPages(files, path, use);
    if (!src)
        return src;
    Result<Catalogue> catalogue = Catalogue::load(*(*src)->store, *(*src)->rows);
    if (!catalogue)
        return catalogue.status();
    (*src)->catalogue = catalogue.take();
    return src;
}

// One row of the system catalogue, comparable between two files: its place by names (ids
// differ between files) and its other values by column name.
struct SystemObject {
    QString key;
    QString name;
    int type = 0;
    quint32 tdefPage = 0; // for tables
    QMap<QString, QVariant> values;
};

QString objectKind(int type)
{
    switch (type) {
    case 1:
        return QStringLiteral("テーブル");
    case 5:
        return QStringLiteral("クエリ");
    case 4:
    case 6:
        return QStringLiteral("リンクテーブル");
    case 8:
        return QStringLiteral("リレーションシップ");
    case -32768:
        return QStringLiteral("フォーム");
    case -32764:
        return QStringLiteral("レポート");
    case -32766:
        return QStringLiteral("マクロ");
    case -32761:
        return QStringLiteral("モジュール");
    default:
        return QStringLiteral("オブジェクト");
    }
}

QString attributeName(const QString &column)
{
    if (column == QLatin1String("LvProp"))
        return QStringLiteral("プロパティ");
    if (column == QLatin1String("Owner"))
        return QStringLiteral("所有者");
    if (column == QLatin1String("Flags"))
        return QStringLiteral("属性");
    if (column.startsWith(QLatin1String("Lv")))
        return QStringLiteral("付随データ（%1）").arg(column);
    if (column == QLatin1String("Connect") || column == QLatin1String("Database")
        || column == QLatin1String("ForeignName"))
        return QStringLiteral("リンク先");
    return column;
}

Result<QList<SystemObject>> systemObjects(const Source &src)
{
    Result<TableDef> sys = parseTableDef(*src.store, kSystemTdefPage);
    if (!sys)
        return sys.status();
    QList<Row> rows;
    if (Status s = src.rows->scan(*sys,
            [&](RowId, const Row &r) {
                rows.append(r);
                return true;
            });
        !s)
        return s;
    auto col = [&](const char *name) {
        for (int i = 0; i < sys->columns.size(); ++i)
            if (sys->columns.at(i).name == QLatin1String(name))
                return i;
        return -1;
    };
    const int idCol = col("Id"), parentCol = col("ParentId"), nameCol = col("Name"), typeCol = col("Type");
    if (idCol < 0 || parentCol < 0 || nameCol < 0 || typeCol < 0)
        return Status::corruption(QStringLiteral("the system catalogue lacks its columns"));
    QHash<qint64, QString> names;
    for (const Row &r : rows)
        names.insert(r.at(idCol).toLongLong(), r.at(nameCol).toString());
    static const QStringList kSkipped { QStringLiteral("Id"), QStringLiteral("ParentId"), QStringLiteral("DateCreate"),
        QStringLiteral("DateUpdate") };
    QList<SystemObject> out;
    for (const Row &r : rows) {
        SystemObject o;
        o.name = r.at(nameCol).toString();
        o.type = r.at(typeCol).toInt();
        o.key = names.value(r.at(parentCol).toLongLong()) + u'/' + o.name + u'#' + QString::number(o.type);
        o.tdefPage = quint32(r.at(idCol).toLongLong()) & 0x00FFFFFF;
        for (int c = 0; c < sys->columns.size(); ++c)
            if (!kSkipped.contains(sys->columns.at(c).name) && r.at(c).isValid())
                o.values.insert(sys->columns.at(c).name, r.at(c));
        out.append(o);
    }
    return out;
}

// What the system catalogue of the old file holds that the new one does not, for the user.
QStringList objectDifferences(const Source &old, const Source &fresh)
{
    Result<QList<SystemObject>> a = systemObjects(old);
    Result<QList<SystemObject>> b = systemObjects(fresh);
    if (!a || !b)
        return { QStringLiteral("システムカタログ（%1）").arg((!a ? a.status() : b.status()).message()) };
    QHash<QString, SystemObject> theirs;
    for (const SystemObject &o : *b)
        theirs.insert(o.key, o);
    QStringList out;
    for (const SystemObject &o : *a) {
        const auto it = theirs.constFind(o.key);
        if (it == theirs.cend()) {
            out << QStringLiteral("%1「%2」").arg(objectKind(o.type), o.name);
            continue;
        }
        for (auto v = o.values.cbegin(); v != o.values.cend(); ++v)
            if (it->values.value(v.key()) != v.value())
                out << QStringLiteral("%1「%2」の%3").arg(objectKind(o.type), o.name, attributeName(v.key()));
        for (auto v = it->values.cbegin(); v != it->values.cend(); ++v)
            if (!o.values.contains(v.key()))
                out << QStringLiteral("%1「%2」の%3").arg(objectKind(o.type), o.name, attributeName(v.key()));
    }
    // Rows of the system tables other than the catalogue: access rights, query definitions,
    // relationships. The new file has its own; more in the old file are things it cannot carry.
    for (const SystemObject &o : *a) {
        if (o.type != kTableObject || !o.name.startsWith(QLatin1String("MSys")) || o.tdefPage == kSystemTdefPage)
            continue;
        const auto it = std::find_if(b->cbegin(), b->cend(), [&](const SystemObject &x) { return x.key == o.key; });
        if (it == b->cend())
            continue;
        const qint64 before = tdefRowCount(*old.store, o.tdefPage);
        const qint64 after = tdefRowCount(*fresh.store, it->tdefPage);
        if (before > after)
            out << QStringLiteral("%1 の %2 行").arg(o.name).arg(before - after);
    }
    out.removeDuplicates();
    return out;
}

// What of the table the creator cannot make as it is: in blocking what keeps it from making
// the table at all, in inexact what it makes differently (the rows read the same).
struct TableProblems {
    QStringList blocking;
    QStringList inexact;
    QStringList all() const { return inexact + blocking; }
};

TableProblems tableProblems(const Catalogue::Table &t)
{
    TableProblems out;
    if (t.def.numRealIndexes > 0 || t.def.numIndexes > 0)
        out.inexact << QStringLiteral("テーブル「%1」の索引").arg(t.name);
    for (const ColumnInfo &c : t.columns) {
        switch (c.type) {
        case ColumnType::Long:
        case ColumnType::DateTime:
            break;
        case ColumnType::Text:
            if (c.maxLength < 1 || c.maxLength > 255)
                out.blocking << QStringLiteral("テーブル「%1」の列「%2」（テキストの長さ %3）")
                                    .arg(t.name, c.name)
                                    .arg(c.maxLength);
            else if (!c.compressible)
                out.inexact << QStringLiteral("テーブル「%1」の列「%2」（Unicode 圧縮なしの設定）").arg(t.name, c.name);
            break;
        case ColumnType::Memo:
        case ColumnType::Ole:
            out.blocking << QStringLiteral("テーブル「%1」のメモ型・OLE 型の列「%2」").arg(t.name, c.name);
            break;
        default:
            out.blocking << QStringLiteral("テーブル「%1」の列「%2」（型 %3）").arg(t.name, c.name).arg(int(c.type));
            break;
        }
    }
    return out;
}

TableSpec specOf(const Catalogue::Table &t)
{
    TableSpec layout { t.name, {} };
    for (const ColumnInfo &c : t.columns)
        layout.columns.append({ c.name, c.type, c.type == ColumnType::Text ? c.maxLength : 0 });
    return layout;
}

void addToDigest(QCryptographicHash &digest, const Row &row)
{
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    for (const QVariant &v : row) {
        // Dates as their wall-clock text: the stream's form of a local QDateTime depends on
        // nothing but the value then.
        if (v.typeId() == QMetaType::QDateTime)
            out << v.toDateTime().toString(Qt::ISODateWithMs);
        else
            out << v;
    }
    digest.addData(bytes);
}

// Removes a file when dropped, unless kept.
class Scratch {
public:
    Scratch(FileAccess &files, QString path)
        : m_files(files)
        , m_path(std::move(path))
    {
    }
    ~Scratch()
    {
        if (!m_kept)
            m_files.remove(m_path);
    }
    void keep() { m_kept = true; }
    const QString &path() const { return m_path; }

private:
    FileAccess &m_files;
    QString m_path;
    bool m_kept = false;
};

// The rows of one table for the new file: read by feed, which calls its argument with each row
// and stops when it returns false.
struct TableJob {
    QString table;
    qint64 recorded = 0;
    std::function<Status(const std::function<bool(const Row &)> &)> feed;
    QByteArray digest; // filled while writing
    qint64 written = 0;
    qint64 refused = 0; // rows the new file would not take (repair only)
};

// Writes every job's rows into the new file at path in one transaction and then checks that
// the file reads back the same rows. strict: a row the new file refuses is an error; otherwise
// it is counted as refused.
Status fillAndCheck(
    FileAccess &files, const QString &path, QList<TableJob> &jobs, bool strict, const MaintenanceProgress &progress)
{
    qint64 total = 0, done = 0;
    for (const TableJob &j : jobs)
        total += j.recorded;
    {
        Result<std::unique_ptr<Database>> db = Database::open(files, path);
        if (!db)
            return db.status();
        if (Status s = (*db)->beginTransaction(); !s)
            return s;
        for (TableJob &job : jobs) {
            QCryptographicHash digest(QCryptographicHash::Sha1);
            Status failure;
            Status s = job.feed([&](const Row &row) {
                Result<RowId> id = (*db)->insertRow(job.table, row);
                if (!id) {
                    if (strict) {
                        failure = Status::corruption(QStringLiteral("テーブル「%1」の行を書き込めません：%2")
                                                         .arg(job.table, id.status().message()));
                        return false;
                    }
                    ++job.refused;
                } else {
                    addToDigest(digest, row);
                    ++job.written;
                }
                ++done;
                if (progress && (done % 256 == 0) && !progress(std::min(done, total), total)) {
                    failure = Status::cancelled(QStringLiteral("中止しました。"));
                    return false;
                }
                return true;
            });
            if (!failure)
                return failure;
            if (!s)
                return s;
            job.digest = digest.result();
        }
        if (Status s = (*db)->commit(); !s)
            return s;
    }
    if (progress && !progress(total, total))
        return Status::cancelled(QStringLiteral("中止しました。"));

    // The check: the new file opens and reads back every row as written.
    Result<std::unique_ptr<Database>> db = Database::open(files, path, Database::OpenMode::ReadOnly);
    if (!db)
        return db.status();
    for (const TableJob &job : jobs) {
        QCryptographicHash digest(QCryptographicHash::Sha1);
        qint64 n = 0;
        Status s = (*db)->scan(job.table, [&](RowId, const Row &row) {
            addToDigest(digest, row);
            ++n;
            return true;
        });
        if (!s)
            return s;
        Result<TableInfo> info = (*db)->tableInfo(job.table);
        if (!info || n != job.written || info->rowCount != job.written || digest.result() != job.digest)
            return Status::corruption(
                QStringLiteral("新しいファイルのテーブル「%1」が書き込んだ行と一致しません。").arg(job.table));
    }
    return Status::ok();
}

Status refusal(const QString &what, const QStringList &items)
{
    return Status::notSupported(what + QStringLiteral("\n・") + items.join(QStringLiteral("\n・")));
}

} // namespace

qint64 RepairReport::lostRows() const
{
    qint64 n = 0;
    for (const TableTally &t : tables)
        n += t.lost;
    return n;
}

QString compactionBackupPath(const QString &path)
{
    const QFileInfo fi(path);
    return fi.absolutePath() + u'/' + fi.completeBaseName() + QStringLiteral(".bak");
}

QString repairedPathFor(const QString &path)
{
    const QFileInfo fi(path);
    return fi.absolutePath() + u'/' + fi.completeBaseName() + QStringLiteral("_修復.mdb");
}

Result<CompactionReport> compactDatabase(const QString &path, const MaintenanceProgress &progress)
{
    DiskFileAccess disk;
    return compactDatabase(disk, path, progress);
}

Result<CompactionReport> compactDatabase(FileAccess &files, const QString &path, const MaintenanceProgress &progress)
{
    if (!files.exists(path))
        return Status::notFound(QStringLiteral("%1 が見つかりません。").arg(native(path)));
    const QFileInfo fi(path);
    const QString ldb = fi.absolutePath() + u'/' + fi.completeBaseName() + QStringLiteral(".ldb");
    if (files.exists(ldb))
        return Status::readOnly(
            QStringLiteral("ほかのプログラムがこのカタログを開いているため（ロックファイル %1）、最適化できません。")
                .arg(native(ldb)));

    // The file to itself for the whole run: no other connection has it open, and none opens it
    // until the new file is in place (ConnectionLocks: the open lock, held exclusively).
    Result<std::unique_ptr<Source>> src = loadSource(files, path, ConnectionLocks::Use::Sole);
    if (!src && src.status().code() == Status::Code::Busy)
        return Status::readOnly(QStringLiteral("ほかの接続がこのカタログを開いているため、最適化できません。"
                                               "閉じてからもう一度実行してください。"));
    if (!src)
        return src.status();
    const Catalogue &catalogue = (*src)->catalogue;

    QStringList problems;
    QList<TableSpec> specs;
    for (const QString &name : catalogue.tableNames()) {
        const Catalogue::Table *t = catalogue.find(name);
        problems << tableProblems(*t).all();
        specs.append(specOf(*t));
    }
    const QString refusedText
        = QStringLiteral("次のものは最適化後のファイルに引き継げないため、最適化しませんでした。");
    if (!problems.isEmpty())
        return refusal(refusedText, problems);

    // What a run that died may have left: the scratch file, and a journal of it that would
    // otherwise be applied to the new one.
    const QString newPath = path + QStringLiteral("-compact");
    for (const QString &leftover : { newPath, PageStore::journalPath(newPath) })
        if (Status s = files.remove(leftover); !s)
            return s;
    if (Status s = createDatabaseFile(files, newPath, specs); !s) {
        if (s.code() == Status::Code::InvalidArgument)
            return refusal(refusedText, { s.message() });
        return s;
    }
    Scratch scratch(files, newPath);
    {
        Result<std::unique_ptr<Source>> fresh = loadSource(files, newPath, ConnectionLocks::Use::Read);
        if (!fresh)
            return fresh.status();
        problems = objectDifferences(**src, **fresh);
        if (!problems.isEmpty())
            return refusal(refusedText, problems);
    }

    CompactionReport report;
    report.sizeBefore = qint64((*src)->store->pageCount()) * kPageSize;
    QList<TableJob> jobs;
    for (const QString &name : catalogue.tableNames()) {
        const Catalogue::Table *t = catalogue.find(name);
        TableJob job;
        job.table = name;
        job.recorded = tdefRowCount(*(*src)->store, t->def.tdefPage);
        const TableRows &rows = *(*src)->rows;
        job.feed = [&rows, t](const std::function<bool(const Row &)> &take) {
            return rows.scan(t->def, [&](RowId, const Row &r) { return take(r); });
        };
        jobs.append(job);
    }
    if (Status s = fillAndCheck(files, newPath, jobs, true, progress); !s)
        return s;

    // The old file is kept as a copy until the new one is durable in its place.
    const QString backup = compactionBackupPath(path);
    {
        Result<std::unique_ptr<File>> bak = files.open(backup, FileAccess::OpenMode::Replace);
        if (!bak)
            return bak.status();
        const QByteArray old = QByteArray::fromRawData(
            reinterpret_cast<const char *>((*src)->store->page(0)), qsizetype(report.sizeBefore));
        if (Status s = (*bak)->write(0, old); !s)
            return s;
        if (Status s = (*bak)->sync(); !s)
            return s;
    }
    if (Status s = files.syncFolder(fi.absolutePath()); !s)
        return s;
#ifdef Q_OS_WIN
    // Windows replaces no file that a handle (ours included) holds open, so the open lock goes
    // here. A connection opening the old file from here on makes the replace fail: the old
    // file then stays. Elsewhere the lock is held until the new file is in place, and a
    // connection that waited for it on the old file opens the new one (ConnectionLocks::open).
    src->reset();
#endif
    if (Status s = files.replace(newPath, path); !s)
        return s;
    scratch.keep();
    if (Status s = files.syncFolder(fi.absolutePath()); !s)
        return s;
    files.remove(backup);
    files.syncFolder(fi.absolutePath());

    Result<FileStamp> after = files.stamp(path);
    report.sizeAfter = after ? after->size : 0;
    for (const TableJob &j : jobs)
        report.tables.append({ j.table, j.recorded, j.written, 0 });
    return report;
}

Result<RepairReport> repairDatabase(const QString &path, const QString &target, const MaintenanceProgress &progress)
{
    DiskFileAccess disk;
    return repairDatabase(disk, path, target, progress);
}

Result<RepairReport> repairDatabase(
    FileAccess &files, const QString &path, const QString &target, const MaintenanceProgress &progress)
{
    if (!files.exists(path))
        return Status::notFound(QStringLiteral("%1 が見つかりません。").arg(native(path)));
    if (files.exists(target))
        return Status::invalidArgument(QStringLiteral("%1 はすでにあります。").arg(native(target)));

    // The file to itself for the whole run, as compaction has it: what is salvaged is then all
    // there is, with no connection adding to the file meanwhile. A file this process may not
    // write cannot be locked so; it is copied under the read lock, never mid-commit.
    const bool sole = files.isWritable(path);
    Result<std::unique_ptr<ConnectionLocks>> locks
        = ConnectionLocks::open(files, path, sole ? ConnectionLocks::Use::Sole : ConnectionLocks::Use::Read);
    if (!locks && locks.status().code() == Status::Code::Busy && sole)
        return Status::readOnly(QStringLiteral("ほかの接続がこのカタログを開いているため、修復できません。"
                                               "閉じてからもう一度実行してください。"));
    if (!locks)
        return locks.status();
    if (!sole) {
        if (Status s = (*locks)->lockRead(); !s)
            return s;
    }

    // The damaged file is only read: its bytes (cut or padded to whole pages) and any journal
    // beside it are copied to a scratch file that the engine's units read.
    RepairReport report;
    report.repairedPath = target;
    qint64 realSize = 0;
    Scratch scratch(files, target + QStringLiteral("-source"));
    Scratch scratchJournal(files, PageStore::journalPath(scratch.path()));
    for (const auto &[from, to] :
        { std::pair { path, scratch.path() }, std::pair { PageStore::journalPath(path), scratchJournal.path() } }) {
        if (!files.exists(from))
            continue;
        Result<std::unique_ptr<File>> in = files.open(from, FileAccess::OpenMode::Read);
        if (!in)
            return in.status();
        Result<QByteArray> bytes = (*in)->readAll();
        if (!bytes)
            return bytes.status();
        if (from == path)
            realSize = bytes->size();
        if (from == path && bytes->size() % kPageSize != 0) {
            report.damage << QStringLiteral("ファイルがページの途中で切れています（%1 バイト）").arg(bytes->size());
            bytes->append(QByteArray(kPageSize - bytes->size() % kPageSize, '\0'));
        }
        Result<std::unique_ptr<File>> out = files.open(to, FileAccess::OpenMode::Replace);
        if (!out)
            return out.status();
        if (Status s = (*out)->write(0, *bytes); !s)
            return s;
    }
    if (!sole)
        (*locks)->unlockRead();
    Result<std::unique_ptr<Source>> src = loadPages(files, scratch.path(), ConnectionLocks::Use::Read);
    if (!src)
        return src.status();
    // The tables as the catalogue lists them; when the catalogue or a table definition is too
    // damaged for that, the tables whose catalogue rows and definitions can still be read.
    QList<Catalogue::Table> tables;
    bool catalogueRead = true;
    if (Result<Catalogue> catalogue = Catalogue::load(*(*src)->store, *(*src)->rows); catalogue) {
        for (const QString &name : catalogue->tableNames())
            tables << *catalogue->find(name);
    } else if (catalogue.status().code() == Status::Code::NotSupported) {
        return catalogue.status(); // another format, or an encoded file: nothing to salvage
    } else {
        catalogueRead = false;
        report.damage << QStringLiteral("テーブルの一覧：%1").arg(catalogue.status().message());
        const SalvagedCatalogue salvaged = salvageCatalogue(*(*src)->store, realSize, *(*src)->maps);
        report.damage << salvaged.problems;
        for (const SalvagedTable &t : salvaged.tables)
            tables << Catalogue::Table { t.name, t.def, t.columns };
        if (tables.isEmpty())
            return Status::corruption(
                QStringLiteral("テーブルの一覧を読めないため、修復できません：%1").arg(catalogue.status().message()));
    }

    QList<TableSpec> specs;
    QList<const Catalogue::Table *> carried;
    QSet<quint32> tdefs;
    for (const Catalogue::Table &t : tables)
        tdefs.insert(t.def.tdefPage);
    for (const Catalogue::Table &table : tables) {
        const Catalogue::Table *t = &table;
        const QString &name = t->name;
        const TableProblems problems = tableProblems(*t);
        report.notCarried << problems.all();
        if (!problems.blocking.isEmpty()) {
            report.tables.append({ name, tdefRowCount(*(*src)->store, t->def.tdefPage), 0,
                tdefRowCount(*(*src)->store, t->def.tdefPage) });
            continue;
        }
        specs.append(specOf(*t));
        carried.append(t);
    }
    if (Status s = createDatabaseFile(files, target, specs); !s)
        return s;
    Scratch output(files, target);

    QList<TableJob> jobs;
    QHash<QString, SalvageTally> tallies;
    for (const Catalogue::Table *t : carried) {
        TableJob job;
        job.table = t->name;
        job.recorded = tdefRowCount(*(*src)->store, t->def.tdefPage);
        const Source &s = **src;
        QSet<quint32> others = tdefs;
        others.remove(t->def.tdefPage);
        job.feed = [&s, t, others, realSize, &tallies](const std::function<bool(const Row &)> &take) {
            bool stopped = false;
            tallies[t->name] = salvageRows(*s.store, realSize, *s.maps, t->def, others, [&](const Row &r) {
                if (!stopped)
                    stopped = !take(r);
            });
            return Status::ok();
        };
        jobs.append(job);
    }
    if (Status s = fillAndCheck(files, target, jobs, false, progress); !s)
        return s;
    if (catalogueRead) {
        Result<std::unique_ptr<Source>> fresh = loadSource(files, target, ConnectionLocks::Use::Read);
        if (!fresh)
            return fresh.status();
        for (const QString &item : objectDifferences(**src, **fresh))
            if (!report.notCarried.contains(item))
                report.notCarried << item;
    } else {
        report.notCarried << QStringLiteral(
            "テーブル以外のオブジェクト（システムカタログが壊れているため確かめていません）");
    }
    for (const TableJob &j : jobs) {
        const SalvageTally &tally = tallies.value(j.table);
        const qint64 lost = std::max(j.recorded - j.written, tally.unreadable + j.refused);
        report.tables.append({ j.table, j.recorded, j.written, lost });
        for (const QString &p : tally.problems)
            report.damage << QStringLiteral("テーブル「%1」：%2").arg(j.table, p);
    }
    output.keep();
    return report;
}

} // namespace tolvane::jet
