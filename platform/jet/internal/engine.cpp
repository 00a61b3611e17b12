#include "platform/jet/internal/engine.h"

#include <QDir>
#include <QFileInfo>

#include "platform/jet/internal/catalogue.h"
#include "platform/jet/internal/integrity.h"
#include "platform/jet/internal/rowcodec.h"

namespace tolvane::jet {

using namespace internal;

// One reading of the file: the store and the units working on it, replaced together when
// another connection's commit is picked up.
struct Engine::Image {
    explicit Image(std::unique_ptr<PageStore> s)
        : store(std::move(s))
    {
    }
    std::unique_ptr<PageStore> store;
    UsageMaps maps { *store };
    TableRows rows { *store, maps };
    Catalogue catalogue;
    QList<DamageFinding> damage;
};

struct Engine::Target {
    const Catalogue::Table *table;
    Row values;
};

namespace {

Status noTable(const QString &name)
{
    return Status::notFound(QStringLiteral("no table %1").arg(name));
}

} // namespace

Engine::Engine(FileAccess &files)
    : m_files(files)
{
}

Engine::~Engine() = default;

const QList<DamageFinding> &Engine::damage() const
{
    return m_image->damage;
}

QString Engine::path() const
{
    return m_image->store->path();
}

Result<std::unique_ptr<Engine::Image>> Engine::load(const QString &path) const
{
    Result<std::unique_ptr<PageStore>> store = PageStore::open(m_files, *m_locks, path);
    if (!store)
        return store.status();
    auto image = std::make_unique<Image>(store.take());
    Result<Catalogue> catalogue = Catalogue::load(*image->store, image->rows);
    if (!catalogue)
        return catalogue.status();
    image->catalogue = catalogue.take();
    image->damage = checkIntegrity(*image->store, image->maps, image->catalogue, image->store->strayBytes());
    return image;
}

void Engine::adopt(std::unique_ptr<Image> image)
{
    m_image = std::move(image);
    if (m_image->damage.isEmpty() || m_damaged)
        return;
    // A damaged file is never written: a write would build on what could not be read.
    m_damaged = true;
    m_readOnly = true;
    constexpr int kShown = 5;
    QStringList lines { QStringLiteral("ファイルが損傷しています。") };
    for (int i = 0; i < std::min<qsizetype>(kShown, m_image->damage.size()); ++i)
        lines << m_image->damage.at(i).text();
    if (m_image->damage.size() > kShown)
        lines << QStringLiteral("ほかに %1 件の問題があります。").arg(m_image->damage.size() - kShown);
    m_readOnlyReason = lines.join(QStringLiteral("\r\n"));
}

Result<std::unique_ptr<Engine>> Engine::open(FileAccess &files, const QString &path, bool readOnly)
{
    if (!files.exists(path))
        return Status::notFound(QStringLiteral("no such file: %1").arg(QDir::toNativeSeparators(path)));
    std::unique_ptr<Engine> e(new Engine(files));
    const QFileInfo fi(path);
    e->m_lockFilePath = fi.absolutePath() + QLatin1Char('/') + fi.completeBaseName() + QStringLiteral(".ldb");
    // The reasons are shown to the user as they stand.
    if (readOnly) {
        e->m_readOnlyReason = QStringLiteral("読み取り専用で開くよう指定されました。");
    } else if (files.exists(e->m_lockFilePath)) {
        e->m_readOnlyReason
            = QStringLiteral("他のプログラムがこのファイルを開いています（ロックファイル %1 があります）。")
                  .arg(QDir::toNativeSeparators(e->m_lockFilePath));
    } else if (!files.isWritable(path)) {
        e->m_readOnlyReason = QStringLiteral("ファイルに書き込む権限がありません。");
    } else if (!files.isWritable(fi.absolutePath())) {
        e->m_readOnlyReason = QStringLiteral("ファイルのあるフォルダに書き込む権限がありません。");
    }
    e->m_readOnly = !e->m_readOnlyReason.isEmpty();
    Result<std::unique_ptr<ConnectionLocks>> locks
        = ConnectionLocks::open(files, path, e->m_readOnly ? ConnectionLocks::Use::Read : ConnectionLocks::Use::Write);
    if (!locks)
        return locks.status();
    e->m_locks = locks.take();
    // A journal left by a killed writer is rolled back on disk when no other writer is at work
    // now; otherwise this connection applies it to its own image and the next writer does it.
    bool writer = false;
    if (!e->m_readOnly) {
        Result<bool> taken = e->m_locks->tryLockWriter();
        writer = taken.isOk() && *taken;
    }
    Result<std::unique_ptr<Image>> image = e->load(path);
    if (writer)
        e->m_locks->unlockWriter();
    if (!image)
        return image.status();
    e->adopt(image.take());
    return e;
}

Status Engine::refreshIfChanged()
{
    if (m_inTransaction || m_image->store->dirty() || !m_image->store->changedOnDisk())
        return Status::ok();
    Result<std::unique_ptr<Image>> image = load(path());
    if (!image)
        return image.status();
    adopt(image.take());
    return Status::ok();
}

void Engine::reloadTables()
{
    // The definitions were read from this same store before the changes, so they parse again.
    m_image->catalogue.reload(*m_image->store);
    m_image->rows.forgetInsertPages();
}

QStringList Engine::tableNames() const
{
    return m_image->catalogue.tableNames();
}

bool Engine::hasTable(const QString &name) const
{
    return m_image->catalogue.contains(name);
}

Result<TableInfo> Engine::tableInfo(const QString &name) const
{
    const Catalogue::Table *t = m_image->catalogue.find(name);
    if (!t)
        return noTable(name);
    TableInfo info;
    info.name = t->name;
    info.columns = t->columns;
    info.rowCount = tdefRowCount(*m_image->store, t->def.tdefPage);
    return info;
}

// ---------------------------------------------------------------------------------------------
// Transactions

Status Engine::beginTransaction()
{
    if (m_readOnly)
        return Status::readOnly(QStringLiteral("the database is read-only: %1").arg(m_readOnlyReason));
    if (m_inTransaction)
        return Status::invalidArgument(QStringLiteral("a transaction is already open"));
    if (m_files.exists(m_lockFilePath))
        return Status::readOnly(QStringLiteral("another program has the file open (lock file %1 exists)")
                                    .arg(QDir::toNativeSeparators(m_lockFilePath)));
    if (Status s = m_locks->lockWriter(); !s)
        return s;
    // Every page another connection committed is picked up before the first read: the file is
    // read again and compared whole, since its times may not show a change (coarse clocks,
    // cached attributes on shared folders).
    Result<std::unique_ptr<Image>> current = load(path());
    if (!current) {
        m_locks->unlockWriter();
        return current.status();
    }
    if (!(*current)->store->sameImage(*m_image->store) || (*current)->store->hadHotJournal())
        adopt(current.take());
    if (m_damaged) {
        m_locks->unlockWriter();
        return Status::readOnly(QStringLiteral("the database is read-only: %1").arg(m_readOnlyReason));
    }
    m_inTransaction = true;
    return Status::ok();
}

Status Engine::commit()
{
    if (!m_inTransaction)
        return Status::invalidArgument(QStringLiteral("no transaction is open"));
    m_inTransaction = false;
    Status s = m_image->store->commit();
    if (!s)
        reloadTables();
    m_locks->unlockWriter();
    return s;
}

void Engine::rollback()
{
    m_inTransaction = false;
    m_image->store->rollback();
    reloadTables();
    m_locks->unlockWriter();
}

template <class T, class F> T Engine::autoTransaction(F body)
{
    if (m_inTransaction)
        return body();
    if (Status s = beginTransaction(); !s)
        return s;
    T result = body();
    if (!result.isOk()) {
        rollback();
        return result;
    }
    if (Status s = commit(); !s)
        return s;
    return result;
}

template <class T, class F> T Engine::writeOperation(F op)
{
    // Each operation is atomic: on failure its own changes are undone. Requires: a
    // transaction is open (autoTransaction).
    PageStore &store = *m_image->store;
    store.beginSavepoint();
    T result = op();
    if (!result.isOk()) {
        store.rollbackToSavepoint();
        reloadTables();
        return result;
    }
    store.releaseSavepoint();
    return result;
}

// ---------------------------------------------------------------------------------------------
// Rows

Result<const Catalogue::Table *> Engine::writableTable(const QString &table) const
{
    if (m_readOnly)
        return Status::readOnly(QStringLiteral("the database is read-only: %1").arg(m_readOnlyReason));
    const Catalogue::Table *t = m_image->catalogue.find(table);
    if (!t)
        return noTable(table);
    if (t->def.numRealIndexes > 0)
        return Status::notSupported(QStringLiteral("table %1 has indexes; writing it is not supported").arg(t->name));
    if (t->def.hasLongValues)
        return Status::notSupported(
            QStringLiteral("table %1 has memo or OLE columns; writing it is not supported").arg(t->name));
    return t;
}

Result<Engine::Target> Engine::writeTarget(const QString &table, const Row &values) const
{
    Result<const Catalogue::Table *> t = writableTable(table);
    if (!t)
        return t.status();
    Result<Row> normalized = normalizeRow((*t)->def, (*t)->columns, values);
    if (!normalized)
        return normalized.status();
    return Target { *t, normalized.take() };
}

// The target is found after the transaction has begun: its start may read the file anew.
Result<RowId> Engine::insertRow(const QString &table, const Row &values)
{
    if (m_readOnly)
        return writableTable(table).status();
    return autoTransaction<Result<RowId>>([&]() -> Result<RowId> {
        Result<Target> target = writeTarget(table, values);
        if (!target)
            return target.status();
        return writeOperation<Result<RowId>>([&] { return m_image->rows.insert(target->table->def, target->values); });
    });
}

Status Engine::updateRow(const QString &table, RowId id, const Row &values, const RowExpectation &expected)
{
    if (m_readOnly)
        return writableTable(table).status();
    return autoTransaction<Status>([&]() -> Status {
        Result<Target> target = writeTarget(table, values);
        if (!target)
            return target.status();
        if (Status s = meetsExpectation(*target->table, id, expected); !s)
            return s;
        return writeOperation<Status>([&] { return m_image->rows.update(target->table->def, id, target->values); });
    });
}

Status Engine::deleteRow(const QString &table, RowId id, const RowExpectation &expected)
{
    if (m_readOnly)
        return writableTable(table).status();
    return autoTransaction<Status>([&]() -> Status {
        Result<const Catalogue::Table *> t = writableTable(table);
        if (!t)
            return t.status();
        if (Status s = meetsExpectation(**t, id, expected); !s)
            return s;
        return writeOperation<Status>([&] { return m_image->rows.remove((*t)->def, id); });
    });
}

// Runs under the writer lock, after the transaction's start picked up every other commit, so
// the row compared is the row written.
Status Engine::meetsExpectation(const Catalogue::Table &table, RowId id, const RowExpectation &expected) const
{
    if (expected.isEmpty())
        return Status::ok();
    Result<Row> stored = m_image->rows.read(table.def, id);
    if (!stored)
        return stored.status().code() == Status::Code::NotFound ? rowChangedElsewhere() : stored.status();
    for (const auto &[column, value] : expected)
        if (column < 0 || column >= stored->size() || !sameStoredValue(stored->at(column), value))
            return rowChangedElsewhere();
    return Status::ok();
}

Result<Row> Engine::readRow(const QString &table, RowId id) const
{
    const Catalogue::Table *t = m_image->catalogue.find(table);
    if (!t)
        return noTable(table);
    return m_image->rows.read(t->def, id);
}

Status Engine::scan(const QString &table, const std::function<bool(RowId, const Row &)> &visit) const
{
    const Catalogue::Table *t = m_image->catalogue.find(table);
    if (!t)
        return noTable(table);
    Status s = m_image->rows.scan(t->def, visit);
    if (s.code() == Status::Code::Corruption)
        return Status::corruption(QStringLiteral("table %1, %2").arg(t->name, s.message()));
    return s;
}

Result<SelectedRows> Engine::select(const Query &query) const
{
    const Catalogue::Table *t = m_image->catalogue.find(query.table);
    if (!t)
        return noTable(query.table);
    Result<SelectedRows> r = selectRows(m_image->rows, *m_image->store, *t, query);
    if (!r && r.status().code() == Status::Code::Corruption)
        return Status::corruption(QStringLiteral("table %1, %2").arg(t->name, r.status().message()));
    return r;
}

} // namespace tolvane::jet
