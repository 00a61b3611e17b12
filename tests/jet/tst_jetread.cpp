// Reading files written by another Jet writer, and refusing files that are not Jet 4 data
// this engine can read.
#include <QDateTime>
#include <QFile>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>

#include "jetfixtures.h"
#include "platform/jet/database.h"
#include "platform/jet/internal/datapage.h"

using namespace tolvane;
using namespace tolvane::jet;
using namespace Qt::StringLiterals;

Q_DECLARE_METATYPE(tolvane::jet::DamageFinding::Kind)

namespace {

using test::kLargeFile;
using test::kSampleFile;
using test::local;
const QString kLargeFigures = QStringLiteral(TOLVANE_SHARED_DIR "/testdata/jackcess-large.txt");

// Whole seconds from 1899-12-30 00:00:00 in wall-clock time.
qint64 oleSeconds(const QDateTime &dt)
{
    return QDate(1899, 12, 30).daysTo(dt.date()) * 86400 + dt.time().msecsSinceStartOfDay() / 1000;
}

QString stamp(const QDateTime &dt)
{
    return dt.toString(u"yyyy-MM-dd HH:mm:ss"_s);
}

QString valueText(const QVariant &v, ColumnType type)
{
    if (!v.isValid())
        return u"NULL"_s;
    if (type == ColumnType::DateTime)
        return stamp(v.toDateTime());
    if (type == ColumnType::Text)
        return u'"' + v.toString() + u'"';
    return v.toString();
}

// The figures of one table in the layout of the reference figures file.
QStringList tableFigures(Database &db, const test::StoredFile &file, const QString &table)
{
    const TableInfo info = *db.tableInfo(table);
    const QList<Row> rows = test::scanAll(db, table);
    QStringList out;
    out << u"table %1: %2 columns (in order, with figures), %3 live rows"_s.arg(table)
               .arg(info.columns.size())
               .arg(rows.size());
    for (int c = 0; c < info.columns.size(); ++c) {
        const ColumnInfo &col = info.columns.at(c);
        if (col.type == ColumnType::Long) {
            qint64 n = 0, sum = 0;
            for (const Row &r : rows)
                if (r.at(c).isValid())
                    ++n, sum += r.at(c).toInt();
            out << u"  %1 Long: non-null %2, sum %3"_s.arg(col.name).arg(n).arg(sum);
        } else if (col.type == ColumnType::DateTime) {
            qint64 n = 0, before = 0, secs = 0;
            QDateTime lo, hi;
            for (const Row &r : rows) {
                if (!r.at(c).isValid())
                    continue;
                const QDateTime dt = r.at(c).toDateTime();
                ++n;
                const qint64 s = oleSeconds(dt);
                before += s < 0 ? 1 : 0;
                secs += s;
                if (!lo.isValid() || oleSeconds(dt) < oleSeconds(lo))
                    lo = dt;
                if (!hi.isValid() || oleSeconds(dt) > oleSeconds(hi))
                    hi = dt;
            }
            out << u"  %1 DateTime: non-null %2, before 1899-12-30: %3, seconds sum %4, min %5, max %6"_s.arg(col.name)
                       .arg(n)
                       .arg(before)
                       .arg(secs)
                       .arg(lo.isValid() ? stamp(lo) : u"-"_s, hi.isValid() ? stamp(hi) : u"-"_s);
        } else if (col.type == ColumnType::Text) {
            qint64 nulls = 0, empty = 0, units = 0, unitSum = 0, longest = 0, ideo = 0, kana = 0, pairs = 0;
            for (const Row &r : rows) {
                if (!r.at(c).isValid()) {
                    ++nulls;
                    continue;
                }
                const QString s = r.at(c).toString();
                empty += s.isEmpty() ? 1 : 0;
                units += s.size();
                longest = std::max<qint64>(longest, s.size());
                bool hasIdeo = false, hasKana = false, hasPair = false;
                for (QChar ch : s) {
                    unitSum += ch.unicode();
                    hasIdeo = hasIdeo || ch.unicode() == 0x3000;
                    hasKana = hasKana || (ch.unicode() >= 0xFF61 && ch.unicode() <= 0xFF9F);
                    hasPair = hasPair || ch.isHighSurrogate();
                }
                ideo += hasIdeo, kana += hasKana, pairs += hasPair;
            }
            out << u"  %1 Text(%2%3): null %4, empty %5, code units %6, code-unit sum %7, longest %8, with U+3000 %9, "
                   u"with half-width kana %10, with surrogate pairs %11"_s.arg(col.name)
                       .arg(col.maxLength)
                       .arg(col.compressible ? u", compression on"_s : QString())
                       .arg(nulls)
                       .arg(empty)
                       .arg(units)
                       .arg(unitSum)
                       .arg(longest)
                       .arg(ideo)
                       .arg(kana)
                       .arg(pairs);
        }
    }
    const internal::PhysicalStats st = file.stats(table);
    out << u"  physical: %1 data pages, %2 row headers, %3 deleted slots, %4 overflow pointers, %5 overflow targets"_s
               .arg(st.dataPages)
               .arg(st.rowHeaders)
               .arg(st.deletedSlots)
               .arg(st.overflowPointers)
               .arg(st.overflowTargets);
    if (table == u"Docs") {
        out << u"  edge rows (DocId 1..12, all values):"_s;
        for (int id = 1; id <= 12; ++id) {
            for (const Row &r : rows) {
                if (r.at(0).toInt() != id)
                    continue;
                QStringList parts;
                for (int c = 0; c < info.columns.size(); ++c)
                    parts << info.columns.at(c).name + u'=' + valueText(r.at(c), info.columns.at(c).type);
                out << u"    "_s + parts.join(u' ');
            }
        }
    }
    return out;
}

// A value that makes a row grow, so that an update has to move it.
QVariant growingValue(const ColumnInfo &c)
{
    return c.type == ColumnType::Text ? QVariant(QString(c.maxLength, u'長')) : QVariant(8);
}

bool writeAll(const QString &path, const QByteArray &data)
{
    QFile f(path);
    return f.open(QIODevice::WriteOnly | QIODevice::Truncate) && f.write(data) == data.size();
}

} // namespace

class TstJetRead : public QObject {
    Q_OBJECT

private slots:
    void sampleFromAnotherWriter();
    void largeFileFigures();
    void refusesWhatItCannotRead_data();
    void refusesWhatItCannotRead();
    void malformedPagesNeverCrash();
    void damageFoundAtOpen_data();
    void damageFoundAtOpen();
    void oleDateConversion_data();
    void oleDateConversion();
};

void TstJetRead::sampleFromAnotherWriter()
{
    auto db = Database::open(kSampleFile, Database::OpenMode::ReadOnly);
    QVERIFY2(db, qPrintable(db.status().toString()));
    QCOMPARE((*db)->tableNames(), (QStringList { u"Items"_s, u"ManyRows"_s, u"Compressed"_s }));
    QVERIFY((*db)->hasTable(u"Items"_s));
    QVERIFY(!(*db)->hasTable(u"items"_s));
    QVERIFY(!(*db)->hasTable(u"MSysObjects"_s));
    QCOMPARE((*db)->tableInfo(u"items"_s)->name, u"Items"_s);
    QCOMPARE((*db)->tableInfo(u"Nope"_s).status().code(), Status::Code::NotFound);

    const TableInfo items = *(*db)->tableInfo(u"Items"_s);
    QCOMPARE(items.columns.size(), 5);
    QCOMPARE(items.columns.at(2).name, u"Name"_s);
    QCOMPARE(items.columns.at(2).type, ColumnType::Text);
    QCOMPARE(items.columns.at(2).maxLength, 50);
    QCOMPARE(items.columns.at(1).type, ColumnType::DateTime);
    QCOMPARE(items.rowCount, 8);

    // One row deleted (ItemId 8) and one moved by an update (ItemId 9).
    const QList<Row> rows = test::scanAll(**db, u"Items"_s);
    QCOMPARE(rows.size(), 8);
    QCOMPARE(rows.at(0), (Row { 1, local(2024, 1, 2, 3, 4, 5), u"Alpha"_s, u"plain ascii"_s, 10 }));
    QCOMPARE(rows.at(2).at(1), QVariant());
    QCOMPARE(rows.at(2).at(2), QVariant(u""_s));
    QCOMPARE(
        rows.at(3), (Row { 4, local(1850, 6, 15, 18), u"Grüße été"_s, u"latin-1 chars (compressible)"_s, 2147483647 }));
    QCOMPARE(rows.at(4).at(2).toString(), u"日本語"_s);
    QCOMPARE(rows.at(4).at(4).toInt(), std::numeric_limits<int>::min());
    QCOMPARE(rows.at(6), (Row { 7, QVariant(), QVariant(), QVariant(), QVariant() }));
    QCOMPARE(rows.at(7).at(0).toInt(), 9);
    QVERIFY(rows.at(7).at(3).toString().startsWith(u"this note was made much longer"_s));

    QCOMPARE(test::scanAll(**db, u"ManyRows"_s).size(), 400);
    const QList<Row> compressed = test::scanAll(**db, u"Compressed"_s);
    QCOMPARE(compressed.size(), 6);
    QCOMPARE(compressed.at(2).at(1).toString(), u"café crème"_s);
    QCOMPARE(compressed.at(3).at(1).toString(), u"omega Ω is not Latin-1"_s);
    QCOMPARE(compressed.at(4).at(1), QVariant(u""_s));
    QCOMPARE(compressed.at(5).at(1), QVariant());
    JET_VERIFY_ORACLES(kSampleFile);
}

void TstJetRead::largeFileFigures()
{
    // Every figure the reference file lists, computed from what the engine reads.
    QStringList expected;
    for (const QString &line : QString::fromUtf8(test::fileBytes(kLargeFigures)).split(u'\n')) {
        if (!line.startsWith(u"table ") && !line.startsWith(u"  "))
            continue;
        const qsizetype cut = line.indexOf(u';');
        expected << (line.startsWith(u"  physical:") && cut > 0 ? line.left(cut) : line);
    }
    QVERIFY(expected.size() > 150);

    const test::StoredFile file(kLargeFile);
    auto db = Database::open(kLargeFile, Database::OpenMode::ReadOnly);
    QVERIFY(db);
    QCOMPARE((*db)->tableNames(), (QStringList { u"Docs"_s, u"Events"_s, u"Wide"_s, u"Later"_s, u"Nothing"_s }));
    QStringList actual;
    for (const QString &t : (*db)->tableNames())
        actual << tableFigures(**db, file, t);
    QCOMPARE(actual.size(), expected.size());
    for (int i = 0; i < expected.size(); ++i)
        QCOMPARE(actual.at(i), expected.at(i));
    // Every row as mdbtools and mdb-reader read it; Later's first rows predate three added
    // columns and read as null there. The file comes with leaked pages of its own writer.
    JET_VERIFY_ORACLES(kLargeFile, false);
}

void TstJetRead::refusesWhatItCannotRead_data()
{
    QTest::addColumn<int>("offset");
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<int>("code");
    const int notSupported = int(Status::Code::NotSupported);
    const int corruption = int(Status::Code::Corruption);
    QTest::newRow("Jet 3 version byte") << 0x14 << QByteArray(1, '\0') << notSupported;
    QTest::newRow("ACCDB version byte") << 0x14 << QByteArray(1, '\x02') << notSupported;
    QTest::newRow("ACE signature") << 4 << QByteArray("Standard ACE DB") << notSupported;
    // Flipping bits of the masked area changes the decoded field.
    QTest::newRow("database key set") << 0x3E << QByteArray("\x01\x02\x03\x04", 4) << notSupported;
    QTest::newRow("password set") << 0x42 << QByteArray("\x55\x55\x55\x55", 4) << notSupported;
    QTest::newRow("not a Jet signature") << 4 << QByteArray("Standard XYZ DB") << corruption;
    QTest::newRow("system tdef page wiped") << 2 * 4096 << QByteArray(4096, '\0') << corruption;
    QTest::newRow("catalogue tdef garbage") << 2 * 4096 + 45 << QByteArray("\xff\xff\xff\xff\xff\xff", 6) << corruption;
}

void TstJetRead::refusesWhatItCannotRead()
{
    QFETCH(int, offset);
    QFETCH(QByteArray, bytes);
    QFETCH(int, code);
    QTemporaryDir dir;
    const QString path = dir.filePath(u"bad.mdb"_s);
    QByteArray data = test::fileBytes(kSampleFile);
    for (int i = 0; i < bytes.size(); ++i)
        data[offset + i] = offset >= 0x18 && offset < 0x98 ? char(data[offset + i] ^ bytes[i]) : bytes[i];
    QVERIFY(writeAll(path, data));
    auto db = Database::open(path);
    QVERIFY(!db);
    QCOMPARE(int(db.status().code()), code);
}

void TstJetRead::malformedPagesNeverCrash()
{
    QTemporaryDir dir;
    const QString path = dir.filePath(u"fuzz.mdb"_s);
    QCOMPARE(Database::open(dir.filePath(u"missing.mdb"_s)).status().code(), Status::Code::NotFound);
    QVERIFY(writeAll(path, QByteArray("hello, not a database")));
    QCOMPARE(Database::open(path).status().code(), Status::Code::Corruption);
    QVERIFY(writeAll(path, QByteArray(8192, '\0')));
    QCOMPARE(Database::open(path).status().code(), Status::Code::Corruption);
    QVERIFY(writeAll(path, test::fileBytes(kSampleFile).left(4096 * 3)));
    (void)Database::open(path, Database::OpenMode::ReadOnly); // truncated: may fail, never crash

    // Random damage to data, map and tdef pages: opening, reading and writing may fail, never
    // crash.
    const QByteArray original = test::fileBytes(kSampleFile);
    QRandomGenerator rng(20261123);
    int failures = 0;
    for (int round = 0; round < 400; ++round) {
        QByteArray data = original;
        const int page = 1 + int(rng.bounded(quint32(data.size() / 4096 - 1)));
        if (round % 10 == 0) {
            for (int i = 0; i < 4096; ++i)
                data[page * 4096 + i] = char(rng.bounded(256));
        } else {
            const int hits = 1 + int(rng.bounded(12));
            for (int h = 0; h < hits; ++h)
                data[page * 4096 + int(rng.bounded(4096))] = char(rng.bounded(256));
        }
        QVERIFY(writeAll(path, data));
        auto db = Database::open(path);
        if (!db) {
            ++failures;
            continue;
        }
        // Writes run in a transaction that is rolled back: the damage is not made permanent.
        (*db)->beginTransaction();
        for (const QString &t : (*db)->tableNames()) {
            QList<RowId> ids;
            const Status s = (*db)->scan(t, [&](RowId id, const Row &) {
                ids << id;
                return true;
            });
            failures += s ? 0 : 1;
            const TableInfo info = *(*db)->tableInfo(t);
            Row row;
            for (const ColumnInfo &c : info.columns)
                row << (c.type == ColumnType::Text ? QVariant(u"fuzz"_s) : QVariant(7));
            (*db)->insertRow(t, row);
            if (!ids.isEmpty()) {
                row[info.columns.size() - 1] = growingValue(info.columns.last());
                (*db)->updateRow(t, ids.first(), row);
                (*db)->deleteRow(t, ids.last());
            }
        }
        (*db)->rollback();
    }
    qInfo("damaged copies refused or partly unreadable: %d of 400", failures);
}

void TstJetRead::oleDateConversion_data()
{
    QTest::addColumn<QDateTime>("dt");
    QTest::addColumn<double>("ole");
    QTest::newRow("epoch") << local(1899, 12, 30) << 0.0;
    QTest::newRow("one second before the epoch") << local(1899, 12, 29, 23, 59, 59) << -(1.0 + 86399.0 / 86400.0);
    QTest::newRow("1850 evening keeps a positive time") << local(1850, 6, 15, 18) << -18095.75;
    QTest::newRow("noon 1900-01-01") << local(1900, 1, 1, 12) << 2.5;
    QTest::newRow("2024 leap day") << local(2024, 2, 29, 6) << 45351.25;
    QTest::newRow("year 100") << local(100, 1, 1) << -657434.0;
    QTest::newRow("year 9999 last second") << local(9999, 12, 31, 23, 59, 59) << 2958465.0 + 86399.0 / 86400.0;
}

void TstJetRead::oleDateConversion()
{
    QFETCH(QDateTime, dt);
    QFETCH(double, ole);
    QVERIFY(qAbs(toOleDate(dt) - ole) < 1e-9);
    QCOMPARE(fromOleDate(ole), dt);
    QCOMPARE(fromOleDate(toOleDate(dt.addMSecs(123))), dt.addMSecs(123));
}

void TstJetRead::damageFoundAtOpen_data()
{
    QTest::addColumn<QString>("damage");
    QTest::addColumn<DamageFinding::Kind>("kind");
    QTest::newRow("truncated at a page") << u"cut at a page"_s << DamageFinding::Kind::PageBeyondEnd;
    QTest::newRow("truncated inside a page") << u"cut inside a page"_s << DamageFinding::Kind::FileEndsInsidePage;
    QTest::newRow("page type byte changed") << u"type byte"_s << DamageFinding::Kind::WrongPageType;
    QTest::newRow("page overwritten by another") << u"overwritten"_s << DamageFinding::Kind::WrongOwner;
    QTest::newRow("usage map bit cleared") << u"map bit"_s << DamageFinding::Kind::RowCountMismatch;
}

// Damaged copies of a sound file: each is found out at open, opened read-only with what was
// found, read as far as it can be, and left byte for byte as it was.
void TstJetRead::damageFoundAtOpen()
{
    QFETCH(QString, damage);
    QFETCH(DamageFinding::Kind, kind);
    QTemporaryDir dir;
    const QString sound = dir.filePath(u"sound.mdb"_s);
    QVERIFY(Database::create(sound,
        { { u"Files"_s, { { u"Name"_s, ColumnType::Text, 100 }, { u"Folder"_s, ColumnType::Long, 0 } } },
            { u"Folders"_s, { { u"Id"_s, ColumnType::Long, 0 }, { u"Path"_s, ColumnType::Text, 200 } } } }));
    {
        auto db = Database::open(sound);
        QVERIFY((*db)->beginTransaction());
        for (int i = 0; i < 20; ++i)
            QVERIFY((*db)->insertRow(u"Folders"_s, Row { i, u"C:\\書類\\%1"_s.arg(i) }));
        for (int i = 0; i < 305; ++i)
            QVERIFY((*db)->insertRow(u"Files"_s, Row { u"file %1 with a longish name.txt"_s.arg(i), i % 20 }));
        QVERIFY((*db)->commit());
        QVERIFY(!(*db)->isDamaged());
    }
    QByteArray bytes = test::fileBytes(sound);
    QList<quint32> filePages;
    quint32 folderPage = 0;
    internal::MapRef fileMap;
    {
        const test::StoredFile stored(sound);
        fileMap = stored.def(u"Files"_s).ownedMap;
        filePages = stored.pages(fileMap);
        folderPage = stored.pages(stored.def(u"Folders"_s).ownedMap).value(0);
    }
    QVERIFY(filePages.size() >= 4 && folderPage > 0);
    const quint32 lastFilePage = filePages.last();
    QCOMPARE(qint64(lastFilePage + 1) * internal::kPageSize, bytes.size()); // the last page of the file
    auto page = [&](quint32 n) { return bytes.data() + qint64(n) * internal::kPageSize; };
    if (damage == u"cut at a page")
        bytes.truncate(qsizetype(lastFilePage - 1) * internal::kPageSize);
    else if (damage == u"cut inside a page")
        bytes.chop(1000);
    else if (damage == u"type byte")
        page(filePages[1])[0] = char(internal::kPageTdef);
    else if (damage == u"overwritten")
        std::memcpy(page(folderPage), page(filePages[0]), internal::kPageSize);
    else if (damage == u"map bit") {
        // The inline map: type, start page, then a bit a page.
        const uchar *mapPage = reinterpret_cast<const uchar *>(page(fileMap.page));
        const auto row = internal::rowExtent(mapPage, fileMap.row);
        QVERIFY(row && mapPage[row->start] == 0);
        const quint32 start = internal::u32(mapPage + row->start + 1);
        const quint32 bit = filePages[1] - start;
        page(fileMap.page)[row->start + 5 + bit / 8] &= char(~(1 << (bit % 8)));
    }
    const QString damaged = dir.filePath(u"damaged.mdb"_s);
    {
        QFile f(damaged);
        QVERIFY(f.open(QIODevice::WriteOnly) && f.write(bytes) == bytes.size());
    }

    auto db = Database::open(damaged);
    QVERIFY2(db, qPrintable(db.status().toString()));
    QVERIFY((*db)->isDamaged());
    QVERIFY((*db)->isReadOnly());
    const QList<DamageFinding> found = (*db)->damage();
    QVERIFY(!found.isEmpty());
    QVERIFY2(std::any_of(found.cbegin(), found.cend(), [&](const DamageFinding &f) { return f.kind == kind; }),
        qPrintable((*db)->readOnlyReason()));
    QVERIFY((*db)->readOnlyReason().startsWith(u"ファイルが損傷しています。"_s));
    for (const DamageFinding &f : found)
        QVERIFY((*db)->readOnlyReason().contains(f.text()));
    // Fewer rows than the definitions say can be read, and the finding says how many: the
    // row count always disagrees with the rows the table's pages hold, or a page is named.
    const int rows = int(test::scanAll(**db, u"Files"_s).size() + test::scanAll(**db, u"Folders"_s).size());
    QVERIFY(rows < 325);
    QCOMPARE((*db)->insertRow(u"Files"_s, Row { u"new"_s, 1 }).status().code(), Status::Code::ReadOnly);
    QCOMPARE((*db)->beginTransaction().code(), Status::Code::ReadOnly);
    db->reset();
    QCOMPARE(test::fileBytes(damaged), bytes);
}

QTEST_GUILESS_MAIN(TstJetRead)
#include "tst_jetread.moc"
