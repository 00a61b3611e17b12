// New database files: every file we create must pass the structure checker and read the same
// in mdbtools and mdb-reader; names or shapes we cannot write are refused before anything
// touches the disk.
#include "catalog/schema.h"
#include "platform/jet/database.h"
#include "platform/jet/internal/creator.h"
#include "support/oracles.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonObject>
#include <QSet>
#include <QTemporaryDir>
#include <QTest>

using namespace tolvane;
using namespace Qt::StringLiterals;
using jet::ColumnSpec;
using jet::ColumnType;
using jet::TableSpec;

Q_DECLARE_METATYPE(QList<jet::TableSpec>)

namespace {

ColumnSpec longCol(const QString &name) { return {name, ColumnType::Long, 0}; }
ColumnSpec dateCol(const QString &name) { return {name, ColumnType::DateTime, 0}; }
ColumnSpec textCol(const QString &name, int n) { return {name, ColumnType::Text, n}; }

QString mdbToolsType(const ColumnSpec &c)
{
    switch (c.type) {
    case ColumnType::Long: return u"Long Integer"_s;
    case ColumnType::DateTime: return u"DateTime"_s;
    default: return u"Text (%1)"_s.arg(c.textLength);
    }
}

QString mdbReaderType(const ColumnSpec &c)
{
    switch (c.type) {
    case ColumnType::Long: return u"long"_s;
    case ColumnType::DateTime: return u"datetime"_s;
    default: return u"text"_s;
    }
}

int mdbReaderSize(const ColumnSpec &c)
{
    switch (c.type) {
    case ColumnType::Long: return 4;
    case ColumnType::DateTime: return 8;
    default: return 2 * c.textLength;
    }
}

// The checker, mdbtools and mdb-reader all see exactly these empty tables.
void expectReadersSeeEmptyTables(const QString &path, const QList<TableSpec> &tables)
{
    const test::OracleResult check = test::jetCheck(path);
    QVERIFY2(check.ok, qPrintable(check.output));
    QStringList names;
    for (const TableSpec &t : tables)
        names.append(t.name);
    QVERIFY2(check.output.contains(u"OK, %1 tables, 0 rows,"_s.arg(tables.size())), qPrintable(check.output));
    QCOMPARE(test::mdbTables(path), names);

    const QJsonObject dump = test::mdbReaderDump(path);
    QVERIFY2(!dump.contains(u"error"_s), qPrintable(dump.value(u"error"_s).toString()));
    QStringList readerNames;
    for (const QJsonValue &v : dump[u"tableNames"_s].toArray())
        readerNames.append(v.toString());
    QCOMPARE(readerNames, names);

    for (const TableSpec &t : tables) {
        QList<QPair<QString, QString>> expected;
        for (const ColumnSpec &c : t.columns)
            expected.append({c.name, mdbToolsType(c)});
        QCOMPARE(test::mdbColumns(path, t.name), expected);
        QCOMPARE(test::mdbCount(path, t.name), 0);
        const test::ExportResult exported = test::mdbExportResult(path, t.name);
        QVERIFY2(exported.ok, qPrintable(exported.error));
        QVERIFY(exported.rows.isEmpty());

        const QJsonObject table = dump[u"tables"_s].toObject()[t.name].toObject();
        QCOMPARE(table[u"rowCount"_s].toInt(-1), 0);
        QVERIFY(table[u"rows"_s].toArray().isEmpty());
        const QJsonArray columns = table[u"columns"_s].toArray();
        QCOMPARE(columns.size(), t.columns.size());
        for (qsizetype i = 0; i < columns.size(); ++i) {
            const QJsonObject c = columns.at(i).toObject();
            QCOMPARE(c[u"name"_s].toString(), t.columns.at(i).name);
            QCOMPARE(c[u"type"_s].toString(), mdbReaderType(t.columns.at(i)));
            QCOMPARE(c[u"size"_s].toInt(), mdbReaderSize(t.columns.at(i)));
        }
    }
}

// Keys of the entries on an index leaf page, each without its 4-byte row pointer.
QList<QByteArray> leafKeys(const QByteArray &file, int page)
{
    const QByteArray p = file.mid(qsizetype(page) * 4096, 4096);
    QList<QByteArray> keys;
    int start = 0;
    for (int end = 1; end < 453 * 8 && 480 + end <= 4096; ++end) {
        if (uchar(p.at(27 + end / 8)) & (1u << (end % 8))) {
            keys.append(p.mid(480 + start, end - start - 4));
            start = end;
        }
    }
    return keys;
}

QByteArray readAll(const QString &path)
{
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

QList<TableSpec> manyTables(int n)
{
    QList<TableSpec> tables;
    for (int i = 0; i < n; ++i)
        tables.append({u"Table %1"_s.arg(i, 3, 10, QChar(u'0')), {longCol(u"id"_s), textCol(u"label"_s, 40)}});
    return tables;
}

} // namespace

class TstJetCreate : public QObject
{
    Q_OBJECT

private slots:
    void oraclesReadReferenceFile();
    void catalogueTablesReadByEveryReader();
    void unusualShapesReadByEveryReader_data();
    void unusualShapesReadByEveryReader();
    void nameIndexKeysMatchAnAccessMadeFile();
    void neverOverwritesAnExistingFile();
    void refusesWhatItCannotWrite_data();
    void refusesWhatItCannotWrite();
    void missingFolderIsNotFound();
    void rowsWrittenByTheEngineReadTheSameEverywhere();
    void tablesGrowPastManyPages();
    void fileGrowsPastTheFirstUsageMapWindow();
};

void TstJetCreate::oraclesReadReferenceFile()
{
    const QString sample = QStringLiteral(TOLVANE_SHARED_DIR "/testdata/jackcess-sample.mdb");
    const test::OracleResult check = test::jetCheck(sample, false);
    QVERIFY2(check.ok, qPrintable(check.output));
    QVERIFY(test::mdbToolsAvailable());
    QCOMPARE(test::mdbTables(sample), (QStringList{u"Items"_s, u"ManyRows"_s, u"Compressed"_s}));
    QCOMPARE(test::mdbCount(sample, u"ManyRows"_s), 400);
    QCOMPARE(test::mdbCount(sample, u"NoSuchTable"_s), -1);
    QVERIFY(!test::mdbExportResult(sample, u"NoSuchTable"_s).ok);
    const QList<QStringList> items = test::mdbExport(sample, u"Items"_s);
    QCOMPARE(items.size(), 8);
    QCOMPARE(items.at(0), (QStringList{u"1"_s, u"2024-01-02 03:04:05"_s, u"Alpha"_s, u"plain ascii"_s, u"10"_s}));
    QCOMPARE(items.at(2).at(3), u"empty name, null date"_s);
    QVERIFY(items.at(2).at(1).isNull());
    QCOMPARE(items.at(4).at(2), u"日本語"_s);
    QCOMPARE(items.at(6), (QStringList{u"7"_s, {}, {}, {}, {}}));
    const QList<QPair<QString, QString>> columns = test::mdbColumns(sample, u"Items"_s);
    QCOMPARE(columns.size(), 5);
    QCOMPARE(columns.at(2), (QPair<QString, QString>{u"Name"_s, u"Text (50)"_s}));
    QCOMPARE(columns.at(1).second, u"DateTime"_s);

    const QJsonObject dump = test::mdbReaderDump(sample);
    QVERIFY2(!dump.contains(u"error"_s), qPrintable(dump.value(u"error"_s).toString()));
    const QJsonObject table = dump[u"tables"_s].toObject()[u"Items"_s].toObject();
    QCOMPARE(table[u"rowCount"_s].toInt(), 8);
    const QJsonArray rows = table[u"rows"_s].toArray();
    QCOMPARE(rows.at(0).toArray().at(1).toString(), u"2024-01-02T03:04:05"_s);
    QVERIFY(rows.at(1).toArray().at(3).isNull());
    QCOMPARE(rows.at(2).toArray().at(2).toString(), QString()); // empty, not null
    QVERIFY(rows.at(2).toArray().at(2).isString());

    // A file that is not a database: every oracle says so instead of reading nothing.
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    const QString junk = dir.filePath(u"junk.mdb"_s);
    {
        QFile f(junk);
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.write(QByteArray(8192, 'x'));
    }
    QVERIFY(!test::jetCheck(junk).ok);
    QVERIFY(!test::jetCheck(junk).output.isEmpty());
    QCOMPARE(test::mdbCount(junk, u"Items"_s), -1);
    QVERIFY(test::mdbReaderDump(junk).contains(u"error"_s));
}

void TstJetCreate::catalogueTablesReadByEveryReader()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    const QString path = dir.filePath(u"カタログ 2024.mdb"_s);
    const QList<TableSpec> tables = catalog::catalogTables();
    const QDateTime before = QDateTime::currentDateTime().addSecs(-1);
    const Status s = jet::internal::createDatabaseFile(path, tables);
    QVERIFY2(s.isOk(), qPrintable(s.toString()));
    const QDateTime after = QDateTime::currentDateTime().addSecs(1);

    expectReadersSeeEmptyTables(path, tables);
    if (QTest::currentTestFailed())
        return;
    QCOMPARE(QFileInfo(path).size() % 4096, 0);

    // Our own engine reads the same definitions back; text columns accept compressed text.
    {
        Result<std::unique_ptr<jet::Database>> db = jet::Database::open(path, jet::Database::OpenMode::ReadOnly);
        QVERIFY2(db.isOk(), qPrintable(db.status().toString()));
        QStringList names;
        for (const TableSpec &t : tables)
            names.append(t.name);
        QCOMPARE((*db)->tableNames(), names);
        for (const TableSpec &t : tables) {
            const Result<jet::TableInfo> info = (*db)->tableInfo(t.name);
            QVERIFY2(info.isOk(), qPrintable(info.status().toString()));
            QCOMPARE(info->rowCount, 0);
            QCOMPARE(info->columns.size(), t.columns.size());
            for (qsizetype i = 0; i < t.columns.size(); ++i) {
                const jet::ColumnInfo &c = info->columns.at(i);
                QCOMPARE(c.name, t.columns.at(i).name);
                QCOMPARE(c.type, t.columns.at(i).type);
                QCOMPARE(c.number, int(i));
                if (c.type == ColumnType::Text) {
                    QCOMPARE(c.maxLength, t.columns.at(i).textLength);
                    QVERIFY(c.compressible);
                }
            }
        }
    }
    QCOMPARE(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden), QStringList{u"カタログ 2024.mdb"_s});

    // The header's creation date is the time of creation, in local wall-clock time.
    const QDateTime created = QDateTime::fromString(test::mdbReaderDump(path)[u"creationDate"_s].toString(), Qt::ISODate);
    QVERIFY2(created >= before && created <= after, qPrintable(created.toString(Qt::ISODate)));
}

void TstJetCreate::unusualShapesReadByEveryReader_data()
{
    QTest::addColumn<QList<TableSpec>>("tables");

    QTest::newRow("no user tables") << QList<TableSpec>{};
    QTest::newRow("one table, one column") << QList<TableSpec>{{u"DBID"_s, {longCol(u"dbid"_s)}}};
    QTest::newRow("widest text and single-character text")
        << QList<TableSpec>{{u"T"_s, {textCol(u"wide"_s, 255), textCol(u"narrow"_s, 1), dateCol(u"when"_s)}}};
    QTest::newRow("underscores and digits")
        << QList<TableSpec>{{u"FontSize"_s, {longCol(u"02Font_Size"_s)}},
                            {u"_2024_v3_"_s, {longCol(u"9"_s), textCol(u"a_b_c"_s, 10)}},
                            {u"123"_s, {dateCol(u"0"_s)}}};
    QTest::newRow("punctuation and spaces in names")
        << QList<TableSpec>{{u"Old (1999) #2"_s, {longCol(u"x"_s)}},
                            {u"a+b=c; d/e & f@g"_s, {longCol(u"y"_s)}},
                            {u"^{|}~ $% *,:<>?\\\""_s, {longCol(u"z"_s)}}};
    QTest::newRow("column names in Japanese")
        << QList<TableSpec>{{u"Notes"_s, {textCol(u"件名"_s, 100), dateCol(u"登録日"_s), longCol(u"番号"_s)}}};

    // 255 columns with long names do not fit one definition page.
    QList<ColumnSpec> wide;
    for (int i = 0; i < 255; ++i) {
        const QString name = u"column_%1_"_s.arg(i, 3, 10, QChar(u'0')).leftJustified(64, u'x');
        switch (i % 3) {
        case 0: wide.append(longCol(name)); break;
        case 1: wide.append(dateCol(name)); break;
        default: wide.append(textCol(name, 1 + i)); break;
        }
    }
    QTest::newRow("255 columns") << QList<TableSpec>{{u"Wide"_s, wide}, {u"After"_s, {longCol(u"n"_s)}}};

    // More tables than the first usage-map page holds.
    QTest::newRow("60 tables") << manyTables(60);
}

void TstJetCreate::unusualShapesReadByEveryReader()
{
    QFETCH(QList<TableSpec>, tables);
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    const QString path = dir.filePath(u"shape.mdb"_s);
    const Status s = jet::internal::createDatabaseFile(path, tables);
    QVERIFY2(s.isOk(), qPrintable(s.toString()));
    expectReadersSeeEmptyTables(path, tables);
}

void TstJetCreate::nameIndexKeysMatchAnAccessMadeFile()
{
    // The sample's catalogue index was written by Access and Jackcess. A new file with the same
    // table names must produce byte-identical keys for every name they share.
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    const QString path = dir.filePath(u"same-names.mdb"_s);
    const QList<TableSpec> tables = {{u"Items"_s, {longCol(u"ItemId"_s)}},
                                     {u"ManyRows"_s, {longCol(u"N"_s)}},
                                     {u"Compressed"_s, {longCol(u"Id"_s)}}};
    QVERIFY(jet::internal::createDatabaseFile(path, tables).isOk());

    constexpr int kNameIndexRoot = 7;
    const QList<QByteArray> ours = leafKeys(readAll(path), kNameIndexRoot);
    const QList<QByteArray> theirs =
        leafKeys(readAll(QStringLiteral(TOLVANE_SHARED_DIR "/testdata/jackcess-sample.mdb")), kNameIndexRoot);
    QCOMPARE(ours.size(), 8 + 3); // Jet's containers, MSysDb and system tables, then ours
    for (const QByteArray &key : ours)
        QVERIFY2(theirs.contains(key), key.toHex().constData());
}

void TstJetCreate::neverOverwritesAnExistingFile()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    const QString path = dir.filePath(u"catalogue.mdb"_s);
    {
        QFile f(path);
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.write("not a database");
    }
    Status s = jet::internal::createDatabaseFile(path, catalog::catalogTables());
    QCOMPARE(s.code(), Status::Code::InvalidArgument);
    QCOMPARE(readAll(path), QByteArray("not a database"));

    // A second creation over a file this code made fails the same way and keeps the first.
    const QString made = dir.filePath(u"made.mdb"_s);
    QVERIFY(jet::internal::createDatabaseFile(made, {{u"First"_s, {longCol(u"a"_s)}}}).isOk());
    const QByteArray first = readAll(made);
    s = jet::internal::createDatabaseFile(made, {{u"Second"_s, {longCol(u"b"_s)}}});
    QCOMPARE(s.code(), Status::Code::InvalidArgument);
    QCOMPARE(readAll(made), first);
    QCOMPARE(test::mdbTables(made), QStringList{u"First"_s});

    // Nothing is left behind: no temporary files beside the two.
    QCOMPARE(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden, QDir::Name),
             (QStringList{u"catalogue.mdb"_s, u"made.mdb"_s}));
}

void TstJetCreate::refusesWhatItCannotWrite_data()
{
    QTest::addColumn<QList<TableSpec>>("tables");
    const ColumnSpec id = longCol(u"id"_s);

    QTest::newRow("apostrophe in a table name") << QList<TableSpec>{{u"Bob's"_s, {id}}};
    QTest::newRow("hyphen in a table name") << QList<TableSpec>{{u"PATH-NAME"_s, {id}}};
    QTest::newRow("Japanese table name") << QList<TableSpec>{{u"分類"_s, {id}}};
    QTest::newRow("accented table name") << QList<TableSpec>{{u"Café"_s, {id}}};
    QTest::newRow("empty table name") << QList<TableSpec>{{QString(), {id}}};
    QTest::newRow("65-character table name") << QList<TableSpec>{{QString(65, u'A'), {id}}};
    QTest::newRow("leading space") << QList<TableSpec>{{u" Items"_s, {id}}};
    QTest::newRow("trailing space") << QList<TableSpec>{{u"Items "_s, {id}}};
    QTest::newRow("dot") << QList<TableSpec>{{u"a.b"_s, {id}}};
    QTest::newRow("brackets") << QList<TableSpec>{{u"[a]"_s, {id}}};
    QTest::newRow("system table name") << QList<TableSpec>{{u"MSysObjects"_s, {id}}};
    QTest::newRow("same table twice, any case") << QList<TableSpec>{{u"Items"_s, {id}}, {u"ITEMS"_s, {id}}};
    QTest::newRow("no columns") << QList<TableSpec>{{u"Empty"_s, {}}};
    QList<ColumnSpec> tooMany;
    for (int i = 0; i < 256; ++i)
        tooMany.append(longCol(u"c%1"_s.arg(i)));
    QTest::newRow("256 columns") << QList<TableSpec>{{u"Wide"_s, tooMany}};
    QTest::newRow("same column twice") << QList<TableSpec>{{u"T"_s, {id, longCol(u"ID"_s)}}};
    QTest::newRow("column with a tab") << QList<TableSpec>{{u"T"_s, {longCol(u"a\tb"_s)}}};
    QTest::newRow("column with an exclamation mark") << QList<TableSpec>{{u"T"_s, {longCol(u"wow!"_s)}}};
    QTest::newRow("Text(0)") << QList<TableSpec>{{u"T"_s, {textCol(u"t"_s, 0)}}};
    QTest::newRow("Text(256)") << QList<TableSpec>{{u"T"_s, {textCol(u"t"_s, 256)}}};
    QTest::newRow("memo column") << QList<TableSpec>{{u"T"_s, {ColumnSpec{u"m"_s, ColumnType::Memo, 0}}}};
    QTest::newRow("integer column") << QList<TableSpec>{{u"T"_s, {ColumnSpec{u"i"_s, ColumnType::Integer, 0}}}};
    QTest::newRow("more tables than the catalogue index holds") << manyTables(400);
}

void TstJetCreate::refusesWhatItCannotWrite()
{
    QFETCH(QList<TableSpec>, tables);
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    const Status s = jet::internal::createDatabaseFile(dir.filePath(u"refused.mdb"_s), tables);
    QCOMPARE(s.code(), Status::Code::InvalidArgument);
    QVERIFY(!s.message().isEmpty());
    QVERIFY(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden).isEmpty());
}

void TstJetCreate::missingFolderIsNotFound()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    const Status s = jet::internal::createDatabaseFile(dir.filePath(u"no/such/folder/x.mdb"_s), catalog::catalogTables());
    QCOMPARE(s.code(), Status::Code::NotFound);
}

void TstJetCreate::rowsWrittenByTheEngineReadTheSameEverywhere()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    const QString path = dir.filePath(u"filled.mdb"_s);
    QVERIFY(jet::internal::createDatabaseFile(path, catalog::catalogTables()).isOk());

    const QDateTime when(QDate(2024, 2, 29), QTime(23, 59, 58));
    const QList<jet::Row> fileRows = {
        {u"朝霧　凪"_s, u"report, \"final\".docx"_s, when, u"tab\there; semi;colon"_s, 1, 1, u"&HFFFFC0"_s},
        {u"水無瀬　灯"_s, u"ﾒﾓ.txt"_s, QDateTime(QDate(2000, 1, 1), QTime(0, 0)), u"line one\nline two"_s,
         2147483647, -2147483647 - 1, QString()},
        {QVariant(), u"plain.pdf"_s, QVariant(), QVariant(), 0, QVariant(), QVariant()},
        {u"霜月　柊"_s, QString(120, u'長'), when.addDays(-365 * 30), QString(200, u'x'), -1, 42, u"&HC0FFFF"_s},
    };
    {
        Result<std::unique_ptr<jet::Database>> db = jet::Database::open(path);
        QVERIFY2(db.isOk(), qPrintable(db.status().toString()));
        QVERIFY((*db)->beginTransaction().isOk());
        for (const jet::Row &row : fileRows) {
            const Result<jet::RowId> id = (*db)->insertRow(catalog::kFileAtrTable, row);
            QVERIFY2(id.isOk(), qPrintable(id.status().toString()));
        }
        QVERIFY((*db)->insertRow(catalog::kIdNoTable, {0, 0, 0, 0, 0, 0, 0}).isOk());
        QVERIFY((*db)->insertRow(catalog::kDbidTable, {catalog::kOrdinaryCatalogMark}).isOk());
        QVERIFY((*db)->commit().isOk());
    }

    const test::OracleResult check = test::jetCheck(path);
    QVERIFY2(check.ok, qPrintable(check.output));
    QCOMPARE(test::mdbCount(path, catalog::kFileAtrTable), fileRows.size());
    QCOMPARE(test::mdbCount(path, catalog::kIdNoTable), 1);
    QCOMPARE(test::mdbExport(path, catalog::kDbidTable), QList<QStringList>{QStringList{u"11"_s}});

    const QList<QStringList> exported = test::mdbExport(path, catalog::kFileAtrTable);
    const QJsonArray read = test::mdbReaderDump(path)[u"tables"_s].toObject()[catalog::kFileAtrTable].toObject()[u"rows"_s].toArray();
    QCOMPARE(exported.size(), fileRows.size());
    QCOMPARE(read.size(), fileRows.size());
    for (qsizetype r = 0; r < fileRows.size(); ++r) {
        const jet::Row &row = fileRows.at(r);
        for (qsizetype c = 0; c < row.size(); ++c) {
            const QVariant &v = row.at(c);
            const QJsonValue fromReader = read.at(r).toArray().at(c);
            QString asText;
            if (v.typeId() == QMetaType::QDateTime)
                asText = v.toDateTime().toString(u"yyyy-MM-dd HH:mm:ss"_s);
            else if (v.isValid())
                asText = v.toString();
            const QString where = u"row %1 column %2"_s.arg(r).arg(c);
            // mdbtools prints an empty text like a null.
            QVERIFY2(exported.at(r).at(c) == (asText.isEmpty() ? QString() : asText), qPrintable(where));
            if (!v.isValid()) {
                QVERIFY2(fromReader.isNull(), qPrintable(where));
            } else if (v.typeId() == QMetaType::QDateTime) {
                QCOMPARE(fromReader.toString(), v.toDateTime().toString(u"yyyy-MM-ddTHH:mm:ss"_s));
            } else if (v.typeId() == QMetaType::Int) {
                QCOMPARE(fromReader.toInteger(), v.toInt());
            } else {
                QCOMPARE(fromReader.toString(), v.toString());
            }
        }
    }
}

void TstJetCreate::tablesGrowPastManyPages()
{
    // The first and the last of many tables (their usage maps lie on different pages) grow
    // to dozens of data pages each, interleaved.
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    const QString path = dir.filePath(u"grown.mdb"_s);
    const QList<TableSpec> tables = manyTables(40);
    QVERIFY(jet::internal::createDatabaseFile(path, tables).isOk());
    const QString first = tables.first().name;
    const QString last = tables.last().name;
    constexpr int kRows = 1500;
    {
        Result<std::unique_ptr<jet::Database>> db = jet::Database::open(path);
        QVERIFY2(db.isOk(), qPrintable(db.status().toString()));
        QVERIFY((*db)->beginTransaction().isOk());
        for (int i = 0; i < kRows; ++i) {
            QVERIFY((*db)->insertRow(first, {i, u"first %1 "_s.arg(i).leftJustified(40, u'.')}).isOk());
            QVERIFY((*db)->insertRow(last, {-i, u"最後 %1"_s.arg(i)}).isOk());
        }
        QVERIFY((*db)->commit().isOk());
    }
    const test::OracleResult check = test::jetCheck(path);
    QVERIFY2(check.ok, qPrintable(check.output));
    QVERIFY2(check.output.contains(u"OK, 40 tables, %1 rows,"_s.arg(2 * kRows)), qPrintable(check.output));
    QCOMPARE(test::mdbCount(path, first), kRows);
    QCOMPARE(test::mdbCount(path, last), kRows);
    const QList<QStringList> exported = test::mdbExport(path, last);
    QCOMPARE(exported.size(), kRows);
    QCOMPARE(exported.at(kRows - 1), (QStringList{QString::number(-(kRows - 1)), u"最後 %1"_s.arg(kRows - 1)}));
    const QJsonObject readerTables = test::mdbReaderDump(path)[u"tables"_s].toObject();
    for (const QString &name : {first, last}) {
        const QJsonObject t = readerTables[name].toObject();
        QCOMPARE(t[u"rowCount"_s].toInt(), kRows);
        QCOMPARE(t[u"rows"_s].toArray().size(), kRows);
    }
    QCOMPARE(readerTables[first].toObject()[u"rows"_s].toArray().at(7).toArray().at(1).toString(),
             u"first 7 "_s.leftJustified(40, u'.'));
}

void TstJetCreate::fileGrowsPastTheFirstUsageMapWindow()
{
    // A new file's maps cover its first 512 pages; a catalogue of long folder paths outgrows
    // them, and every reader must still find every row.
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    const QString path = dir.filePath(u"large.mdb"_s);
    QVERIFY(jet::internal::createDatabaseFile(path, catalog::catalogTables()).isOk());
    constexpr int kRows = 4000; // seven 255-character Japanese paths fill a page
    {
        Result<std::unique_ptr<jet::Database>> db = jet::Database::open(path);
        QVERIFY2(db.isOk(), qPrintable(db.status().toString()));
        QVERIFY((*db)->beginTransaction().isOk());
        for (int i = 0; i < kRows; ++i) {
            const QString folder = u"Ｃ：\\書類\\%1\\"_s.arg(i).leftJustified(255, u'階');
            const Result<jet::RowId> id = (*db)->insertRow(catalog::kPathNameTable, {i + 1, folder});
            QVERIFY2(id.isOk(), qPrintable(id.status().toString()));
        }
        QVERIFY((*db)->commit().isOk());
    }
    QVERIFY(QFileInfo(path).size() > 512 * 4096);
    const test::OracleResult check = test::jetCheck(path);
    QVERIFY2(check.ok, qPrintable(check.output));
    QCOMPARE(test::mdbCount(path, catalog::kPathNameTable), kRows);
    const QList<QStringList> exported = test::mdbExport(path, catalog::kPathNameTable);
    QCOMPARE(exported.size(), kRows);
    QSet<QString> ids;
    for (const QStringList &row : exported)
        ids.insert(row.value(0));
    QCOMPARE(ids.size(), kRows);
    const QJsonObject table =
        test::mdbReaderDump(path)[u"tables"_s].toObject()[catalog::kPathNameTable].toObject();
    QCOMPARE(table[u"rowCount"_s].toInt(), kRows);
    QCOMPARE(table[u"rows"_s].toArray().size(), kRows);
}

QTEST_GUILESS_MAIN(TstJetCreate)
#include "tst_jetcreate.moc"
