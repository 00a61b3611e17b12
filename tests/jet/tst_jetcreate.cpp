// New database files: every file we create must pass the structure checker and read the same
// in mdbtools and mdb-reader; names or shapes we cannot write are refused before anything
// touches the disk.
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QTest>

#include "catalog/schema.h"
#include "failingfileaccess.h"
#include "jetfixtures.h"
#include "platform/jet/database.h"

using namespace tolvane;
using namespace Qt::StringLiterals;
using jet::ColumnSpec;
using jet::ColumnType;
using jet::TableSpec;

using Fault = test::FailingFileAccess::Fault;

Q_DECLARE_METATYPE(QList<jet::TableSpec>)
Q_DECLARE_METATYPE(Fault)

namespace {

ColumnSpec longCol(const QString &name)
{
    return { name, ColumnType::Long, 0 };
}
ColumnSpec dateCol(const QString &name)
{
    return { name, ColumnType::DateTime, 0 };
}
ColumnSpec textCol(const QString &name, int n)
{
    return { name, ColumnType::Text, n };
}

QString mdbToolsType(const ColumnSpec &c)
{
    switch (c.type) {
    case ColumnType::Long:
        return u"Long Integer"_s;
    case ColumnType::DateTime:
        return u"DateTime"_s;
    default:
        return u"Text (%1)"_s.arg(c.textLength);
    }
}

// mdb-reader's type name and size in bytes.
QPair<QString, int> mdbReaderType(const ColumnSpec &c)
{
    switch (c.type) {
    case ColumnType::Long:
        return { u"long"_s, 4 };
    case ColumnType::DateTime:
        return { u"datetime"_s, 8 };
    default:
        return { u"text"_s, 2 * c.textLength };
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
            expected.append({ c.name, mdbToolsType(c) });
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
            QCOMPARE((QPair<QString, int> { c[u"type"_s].toString(), c[u"size"_s].toInt() }),
                mdbReaderType(t.columns.at(i)));
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

QList<TableSpec> manyTables(int n)
{
    QList<TableSpec> tables;
    for (int i = 0; i < n; ++i)
        tables.append({ u"Table %1"_s.arg(i, 3, 10, QChar(u'0')), { longCol(u"id"_s), textCol(u"label"_s, 40) } });
    return tables;
}

} // namespace

class TstJetCreate : public QObject {
    Q_OBJECT

private slots:
    void oraclesRefuseWhatIsNotADatabase();
    void catalogueTablesReadByEveryReader();
    void unusualShapesReadByEveryReader_data();
    void unusualShapesReadByEveryReader();
    void nameIndexKeysMatchAnAccessMadeFile();
    void neverOverwritesAnExistingFile();
    void diskFaultsLeaveNoFile_data();
    void diskFaultsLeaveNoFile();
    void refusesWhatItCannotWrite_data();
    void refusesWhatItCannotWrite();
    void rowsWrittenByTheEngineReadTheSameEverywhere();
    void tablesGrowPastManyPages();
    void fileGrowsPastTheFirstUsageMapWindow();
};

void TstJetCreate::oraclesRefuseWhatIsNotADatabase()
{
    // An oracle that read nothing would agree with any engine: each must say so instead.
    QVERIFY(test::mdbToolsAvailable());
    QTemporaryDir dir;
    const QString junk = dir.filePath(u"junk.mdb"_s);
    {
        QFile f(junk);
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.write(QByteArray(8192, 'x'));
    }
    const test::OracleResult check = test::jetCheck(junk);
    QVERIFY(!check.ok && !check.output.isEmpty());
    QCOMPARE(test::mdbCount(junk, u"Items"_s), -1);
    QVERIFY(!test::mdbExportResult(test::kSampleFile, u"NoSuchTable"_s).ok);
    QVERIFY(test::mdbReaderDump(junk).contains(u"error"_s));
}

void TstJetCreate::catalogueTablesReadByEveryReader()
{
    QTemporaryDir dir;
    const QString path = dir.filePath(u"カタログ 2024.mdb"_s);
    const QList<TableSpec> tables = catalog::catalogTables();
    const QDateTime before = QDateTime::currentDateTime().addSecs(-1);
    const Status s = jet::Database::create(path, tables);
    QVERIFY2(s.isOk(), qPrintable(s.toString()));
    const QDateTime after = QDateTime::currentDateTime().addSecs(1);

    expectReadersSeeEmptyTables(path, tables);
    if (QTest::currentTestFailed())
        return;
    QCOMPARE(QFileInfo(path).size() % 4096, 0);
    QCOMPARE(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden), QStringList { u"カタログ 2024.mdb"_s });

    // Our own engine reads the same definitions back; text columns accept compressed text.
    auto db = jet::Database::open(path, jet::Database::OpenMode::ReadOnly);
    QVERIFY2(db, qPrintable(db.status().toString()));
    for (const TableSpec &t : tables) {
        const Result<jet::TableInfo> info = (*db)->tableInfo(t.name);
        QVERIFY2(info, qPrintable(t.name));
        QCOMPARE(info->columns.size(), t.columns.size());
        for (qsizetype i = 0; i < t.columns.size(); ++i) {
            const jet::ColumnInfo &c = info->columns.at(i);
            QCOMPARE((std::tuple { c.name, c.type, c.number }),
                (std::tuple { t.columns.at(i).name, t.columns.at(i).type, int(i) }));
            if (c.type == ColumnType::Text)
                QVERIFY(c.maxLength == t.columns.at(i).textLength && c.compressible);
        }
    }

    // The header's creation date is the time of creation, in local wall-clock time.
    const QDateTime created
        = QDateTime::fromString(test::mdbReaderDump(path)[u"creationDate"_s].toString(), Qt::ISODate);
    QVERIFY2(created >= before && created <= after, qPrintable(created.toString(Qt::ISODate)));
}

void TstJetCreate::unusualShapesReadByEveryReader_data()
{
    QTest::addColumn<QList<TableSpec>>("tables");

    QTest::newRow("no user tables") << QList<TableSpec> {};
    QTest::newRow("one table, one column") << QList<TableSpec> { { u"DBID"_s, { longCol(u"dbid"_s) } } };
    QTest::newRow("widest text and single-character text")
        << QList<TableSpec> { { u"T"_s, { textCol(u"wide"_s, 255), textCol(u"narrow"_s, 1), dateCol(u"when"_s) } } };
    QTest::newRow("underscores and digits") << QList<TableSpec> { { u"FontSize"_s, { longCol(u"02Font_Size"_s) } },
        { u"_2024_v3_"_s, { longCol(u"9"_s), textCol(u"a_b_c"_s, 10) } }, { u"123"_s, { dateCol(u"0"_s) } } };
    QTest::newRow("punctuation and spaces in names") << QList<TableSpec> { { u"Old (1999) #2"_s, { longCol(u"x"_s) } },
        { u"a+b=c; d/e & f@g"_s, { longCol(u"y"_s) } }, { u"^{|}~ $% *,:<>?\\\""_s, { longCol(u"z"_s) } } };
    QTest::newRow("column names in Japanese")
        << QList<TableSpec> { { u"Notes"_s, { textCol(u"件名"_s, 100), dateCol(u"登録日"_s), longCol(u"番号"_s) } } };

    // 255 columns with long names do not fit one definition page.
    QList<ColumnSpec> wide;
    for (int i = 0; i < 255; ++i) {
        const QString name = u"column_%1_"_s.arg(i, 3, 10, QChar(u'0')).leftJustified(64, u'x');
        switch (i % 3) {
        case 0:
            wide.append(longCol(name));
            break;
        case 1:
            wide.append(dateCol(name));
            break;
        default:
            wide.append(textCol(name, 1 + i));
            break;
        }
    }
    QTest::newRow("255 columns") << QList<TableSpec> { { u"Wide"_s, wide }, { u"After"_s, { longCol(u"n"_s) } } };

    // More tables than the first usage-map page holds.
    QTest::newRow("60 tables") << manyTables(60);
}

void TstJetCreate::unusualShapesReadByEveryReader()
{
    QFETCH(QList<TableSpec>, tables);
    QTemporaryDir dir;
    const QString path = dir.filePath(u"shape.mdb"_s);
    const Status s = jet::Database::create(path, tables);
    QVERIFY2(s.isOk(), qPrintable(s.toString()));
    expectReadersSeeEmptyTables(path, tables);
}

void TstJetCreate::nameIndexKeysMatchAnAccessMadeFile()
{
    // The sample's catalogue index was written by Access and Jackcess. A new file with the same
    // table names must produce byte-identical keys for every name they share.
    QTemporaryDir dir;
    const QString path = dir.filePath(u"same-names.mdb"_s);
    const QList<TableSpec> tables = { { u"Items"_s, { longCol(u"ItemId"_s) } }, { u"ManyRows"_s, { longCol(u"N"_s) } },
        { u"Compressed"_s, { longCol(u"Id"_s) } } };
    QVERIFY(jet::Database::create(path, tables).isOk());

    constexpr int kNameIndexRoot = 7;
    const QList<QByteArray> ours = leafKeys(test::fileBytes(path), kNameIndexRoot);
    const QList<QByteArray> theirs = leafKeys(test::fileBytes(test::kSampleFile), kNameIndexRoot);
    QCOMPARE(ours.size(), 8 + 3); // Jet's containers, MSysDb and system tables, then ours
    for (const QByteArray &key : ours)
        QVERIFY2(theirs.contains(key), key.toHex().constData());
}

void TstJetCreate::neverOverwritesAnExistingFile()
{
    QTemporaryDir dir;
    const QString path = dir.filePath(u"catalogue.mdb"_s);
    {
        QFile f(path);
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.write("not a database");
    }
    Status s = jet::Database::create(path, catalog::catalogTables());
    QCOMPARE(s.code(), Status::Code::InvalidArgument);
    QCOMPARE(test::fileBytes(path), QByteArray("not a database"));

    // A second creation over a file this code made fails the same way and keeps the first.
    const QString made = dir.filePath(u"made.mdb"_s);
    QVERIFY(jet::Database::create(made, { { u"First"_s, { longCol(u"a"_s) } } }).isOk());
    const QByteArray first = test::fileBytes(made);
    s = jet::Database::create(made, { { u"Second"_s, { longCol(u"b"_s) } } });
    QCOMPARE(s.code(), Status::Code::InvalidArgument);
    QCOMPARE(test::fileBytes(made), first);
    QCOMPARE(test::mdbTables(made), QStringList { u"First"_s });

    // Nothing is left behind: no temporary files beside the two.
    QCOMPARE(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden, QDir::Name),
        (QStringList { u"catalogue.mdb"_s, u"made.mdb"_s }));

    s = jet::Database::create(dir.filePath(u"no/such/folder/x.mdb"_s), catalog::catalogTables());
    QCOMPARE(s.code(), Status::Code::NotFound);
}

void TstJetCreate::diskFaultsLeaveNoFile_data()
{
    QTest::addColumn<Fault>("fault");
    QTest::addColumn<int>("at");
    QTest::newRow("disk full") << Fault::DiskFull << 10;
    QTest::newRow("short write") << Fault::ShortWrite << 10;
    QTest::newRow("sync fails") << Fault::FailedSync << 1;
    QTest::newRow("crash") << Fault::Crash << 10;
}

void TstJetCreate::diskFaultsLeaveNoFile()
{
    QFETCH(Fault, fault);
    QFETCH(int, at);
    QTemporaryDir dir;
    const QString path = dir.filePath(u"catalogue.mdb"_s);
    test::FailingFileAccess files;
    files.arm(fault, at);
    const Status::Code code = jet::Database::create(files, path, catalog::catalogTables()).code();
    QCOMPARE(code, fault == Fault::DiskFull ? Status::Code::DiskFull : Status::Code::IOError);
    QVERIFY(!QFile::exists(path));
    // A live process removes its temporary file; a dead one leaves it, hidden.
    const QStringList left = QDir(dir.path()).entryList(QDir::Files | QDir::Hidden);
    QCOMPARE(left.size(), fault == Fault::Crash ? 1 : 0);
}

void TstJetCreate::refusesWhatItCannotWrite_data()
{
    QTest::addColumn<QList<TableSpec>>("tables");
    const ColumnSpec id = longCol(u"id"_s);

    QTest::newRow("apostrophe in a table name") << QList<TableSpec> { { u"Bob's"_s, { id } } };
    QTest::newRow("hyphen in a table name") << QList<TableSpec> { { u"PATH-NAME"_s, { id } } };
    QTest::newRow("Japanese table name") << QList<TableSpec> { { u"分類"_s, { id } } };
    QTest::newRow("accented table name") << QList<TableSpec> { { u"Café"_s, { id } } };
    QTest::newRow("empty table name") << QList<TableSpec> { { QString(), { id } } };
    QTest::newRow("65-character table name") << QList<TableSpec> { { QString(65, u'A'), { id } } };
    QTest::newRow("leading space") << QList<TableSpec> { { u" Items"_s, { id } } };
    QTest::newRow("trailing space") << QList<TableSpec> { { u"Items "_s, { id } } };
    QTest::newRow("dot") << QList<TableSpec> { { u"a.b"_s, { id } } };
    QTest::newRow("brackets") << QList<TableSpec> { { u"[a]"_s, { id } } };
    QTest::newRow("system table name") << QList<TableSpec> { { u"MSysObjects"_s, { id } } };
    QTest::newRow("same table twice, any case") << QList<TableSpec> { { u"Items"_s, { id } }, { u"ITEMS"_s, { id } } };
    QTest::newRow("no columns") << QList<TableSpec> { { u"Empty"_s, {} } };
    QList<ColumnSpec> tooMany;
    for (int i = 0; i < 256; ++i)
        tooMany.append(longCol(u"c%1"_s.arg(i)));
    QTest::newRow("256 columns") << QList<TableSpec> { { u"Wide"_s, tooMany } };
    QTest::newRow("same column twice") << QList<TableSpec> { { u"T"_s, { id, longCol(u"ID"_s) } } };
    QTest::newRow("column with a tab") << QList<TableSpec> { { u"T"_s, { longCol(u"a\tb"_s) } } };
    QTest::newRow("column with an exclamation mark") << QList<TableSpec> { { u"T"_s, { longCol(u"wow!"_s) } } };
    QTest::newRow("Text(0)") << QList<TableSpec> { { u"T"_s, { textCol(u"t"_s, 0) } } };
    QTest::newRow("Text(256)") << QList<TableSpec> { { u"T"_s, { textCol(u"t"_s, 256) } } };
    QTest::newRow("memo column") << QList<TableSpec> { { u"T"_s, { ColumnSpec { u"m"_s, ColumnType::Memo, 0 } } } };
    QTest::newRow("integer column") << QList<TableSpec> { { u"T"_s,
        { ColumnSpec { u"i"_s, ColumnType::Integer, 0 } } } };
    QTest::newRow("more tables than the catalogue index holds") << manyTables(400);
}

void TstJetCreate::refusesWhatItCannotWrite()
{
    QFETCH(QList<TableSpec>, tables);
    QTemporaryDir dir;
    const Status s = jet::Database::create(dir.filePath(u"refused.mdb"_s), tables);
    QCOMPARE(s.code(), Status::Code::InvalidArgument);
    QVERIFY(!s.message().isEmpty());
    QVERIFY(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden).isEmpty());
}

void TstJetCreate::rowsWrittenByTheEngineReadTheSameEverywhere()
{
    QTemporaryDir dir;
    const QString path = dir.filePath(u"filled.mdb"_s);
    QVERIFY(jet::Database::create(path, catalog::catalogTables()).isOk());

    const QDateTime when(QDate(2024, 2, 29), QTime(23, 59, 58));
    const QList<jet::Row> fileRows = {
        { u"朝霧　凪"_s, u"report, \"final\".docx"_s, when, u"tab\there; semi;colon"_s, 1, 1, u"&HFFFFC0"_s },
        { u"水無瀬　灯"_s, u"ﾒﾓ.txt"_s, QDateTime(QDate(2000, 1, 1), QTime(0, 0)), u"line one\nline two"_s, 2147483647,
            -2147483647 - 1, QString() },
        { QVariant(), u"plain.pdf"_s, QVariant(), QVariant(), 0, QVariant(), QVariant() },
        { u"霜月　柊"_s, QString(120, u'長'), when.addDays(-365 * 30), QString(200, u'x'), -1, 42, u"&HC0FFFF"_s },
    };
    {
        auto db = jet::Database::open(path);
        QVERIFY2(db, qPrintable(db.status().toString()));
        QVERIFY((*db)->beginTransaction());
        for (const jet::Row &row : fileRows)
            QVERIFY((*db)->insertRow(catalog::kFileAtrTable, row));
        QVERIFY((*db)->insertRow(catalog::kIdNoTable, { 0, 0, 0, 0, 0, 0, 0 }));
        QVERIFY((*db)->insertRow(catalog::kDbidTable, { catalog::kOrdinaryCatalogMark }));
        QVERIFY((*db)->commit());
        QCOMPARE(test::scanAll(**db, catalog::kFileAtrTable), fileRows);
    }
    // Quotes, separators, line breaks and limits come back the same from every reader.
    JET_VERIFY_ORACLES(path);
}

void TstJetCreate::tablesGrowPastManyPages()
{
    // The first and the last of many tables (their usage maps lie on different pages) grow
    // to dozens of data pages each, interleaved.
    QTemporaryDir dir;
    const QString path = dir.filePath(u"grown.mdb"_s);
    const QList<TableSpec> tables = manyTables(40);
    QVERIFY(jet::Database::create(path, tables).isOk());
    {
        auto db = jet::Database::open(path);
        QVERIFY2(db, qPrintable(db.status().toString()));
        QVERIFY((*db)->beginTransaction());
        for (int i = 0; i < 1500; ++i) {
            QVERIFY((*db)->insertRow(tables.first().name, { i, u"first %1 "_s.arg(i).leftJustified(40, u'.') }));
            QVERIFY((*db)->insertRow(tables.last().name, { -i, u"最後 %1"_s.arg(i) }));
        }
        QVERIFY((*db)->commit());
    }
    QCOMPARE(test::mdbCount(path, tables.last().name), 1500);
    JET_VERIFY_ORACLES(path);
}

void TstJetCreate::fileGrowsPastTheFirstUsageMapWindow()
{
    // A new file's maps cover its first 512 pages; a catalogue of long folder paths outgrows
    // them, and every reader must still find every row.
    QTemporaryDir dir;
    const QString path = dir.filePath(u"large.mdb"_s);
    QVERIFY(jet::Database::create(path, catalog::catalogTables()).isOk());
    {
        auto db = jet::Database::open(path);
        QVERIFY2(db, qPrintable(db.status().toString()));
        QVERIFY((*db)->beginTransaction());
        for (int i = 0; i < 4000; ++i) // seven 255-character Japanese paths fill a page
            QVERIFY((*db)->insertRow(
                catalog::kPathNameTable, { i + 1, u"Ｃ：\\書類\\%1\\"_s.arg(i).leftJustified(255, u'階') }));
        QVERIFY((*db)->commit());
    }
    QVERIFY(QFileInfo(path).size() > 512 * 4096);
    QCOMPARE(test::mdbCount(path, catalog::kPathNameTable), 4000);
    JET_VERIFY_ORACLES(path);
}

QTEST_GUILESS_MAIN(TstJetCreate)
#include "tst_jetcreate.moc"
