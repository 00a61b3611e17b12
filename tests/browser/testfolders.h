// Test helpers shared across the subsystems' tests: a new catalogue on disk, real files with
// chosen sizes and modification times, a file's bytes, and reading a table back.
#pragma once

#include <memory>

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QTest>

#include "catalog/creation.h"
#include "platform/jet/database.h"

namespace tolvane::test {

// Creates dir/name.mdb as the create command does; its path, or empty on failure.
inline QString newCatalogueFile(const QString &dir, const QString &name = QStringLiteral("cat"))
{
    const QString base = dir + QLatin1Char('/') + name;
    if (!catalog::CreateCatalogFile(base) || !catalog::PutIDno(base) || !catalog::PutDBID(base)
        || !catalog::PutItemN(base))
        return {};
    return base + QStringLiteral(".mdb");
}

// Creates dir/name.mdb as the create command does and opens it.
inline std::unique_ptr<jet::Database> newCatalogue(const QString &dir, const QString &name = QStringLiteral("cat"))
{
    const QString path = newCatalogueFile(dir, name);
    if (path.isEmpty())
        return nullptr;
    auto db = jet::Database::open(path);
    return db ? db.take() : nullptr;
}

// The whole content of a file (empty when it cannot be read): to show a file untouched.
inline QByteArray bytesOf(const QString &path)
{
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

inline bool setModified(const QString &path, const QDateTime &modified)
{
    QFile f(path);
    return f.open(QIODevice::ReadWrite) && f.setFileTime(modified, QFileDevice::FileModificationTime);
}

// Writes a file of size bytes and sets its modification time (when valid).
inline bool writeFile(const QString &path, qint64 size, const QDateTime &modified = {})
{
    QFile f(path);
    if (!f.open(QIODevice::WriteOnly))
        return false;
    if (size > 0 && f.write(QByteArray(size, 'x')) != size)
        return false;
    f.close(); // the time is set after the data is on disk, or the flush would renew it
    return !modified.isValid() || setModified(path, modified);
}

// Every row of table in storage order.
inline QList<jet::Row> tableRows(jet::Database *db, const QString &table)
{
    QList<jet::Row> rows;
    const Status st = db->scan(table, [&](jet::RowId, const jet::Row &r) {
        rows.append(r);
        return true;
    });
    if (!st)
        QTest::qFail(qPrintable(st.toString()), __FILE__, __LINE__);
    return rows;
}

} // namespace tolvane::test
