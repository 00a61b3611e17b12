// Queries and recordsets on a real catalogue file: conditions, ordering, grouping, cursor
// movement, filters and edits written through to the table.
#include <numeric>

#include <QTemporaryDir>
#include <QTest>

#include "jetfixtures.h"
#include "platform/jet/recordset.h"

using namespace tolvane;
using namespace tolvane::jet;
using namespace Qt::StringLiterals;

namespace {

using test::local;

const QList<TableSpec> kTables {
    { u"FILE_ATR"_s,
        { { u"Class"_s, ColumnType::Text, 60 }, { u"fName"_s, ColumnType::Text, 120 },
            { u"fDate"_s, ColumnType::DateTime, 0 }, { u"kStr"_s, ColumnType::Text, 200 },
            { u"pnID"_s, ColumnType::Long, 0 }, { u"hsID"_s, ColumnType::Long, 0 },
            { u"backC"_s, ColumnType::Text, 20 } } },
    { u"BINDER_NAME"_s,
        { { u"bdID"_s, ColumnType::Long, 0 }, { u"bName"_s, ColumnType::Text, 120 },
            { u"BdNo"_s, ColumnType::Long, 0 } } },
};

// fName, Class, fDate, kStr, pnID
const QList<Row> kFiles {
    { u"図面"_s, u"plan.p21"_s, local(2024, 4, 1, 9), u"橋梁　設計"_s, 1, 1, u"&HFFFFC0"_s },
    { u"写真"_s, u"IMG_0001.JPG"_s, local(2024, 4, 1), u"現場"_s, 2, 2, QVariant() },
    { u"図面"_s, u"Plan_B.sfc"_s, local(2024, 4, 30, 23, 59, 59), u"it's [draft] 100%"_s, 1, 3, QVariant() },
    { QVariant(), u"readme.txt"_s, QVariant(), QVariant(), 3, 4, QVariant() },
    { u"写真"_s, u"img_0002.jpg"_s, local(2024, 5, 1), u"現場 a_b"_s, 2, 5, QVariant() },
    { u"文書"_s, u"memo.rtf"_s, local(1890, 1, 1, 12), u"古い"_s, 3, 6, QVariant() },
};

QStringList names(Recordset &rs, const QString &field = u"fName"_s)
{
    QStringList out;
    for (rs.moveFirst(); !rs.eof(); rs.moveNext())
        out << rs.field(field).toString();
    return out;
}

} // namespace

class TstJetRecordset : public QObject {
    Q_OBJECT

private slots:
    void init();
    void likePatterns_data();
    void likePatterns();
    void conditions_data();
    void conditions();
    void orderingAndGrouping();
    void queriesAgreeWithDecodingEveryRow_data();
    void queriesAgreeWithDecodingEveryRow();
    void largeTableAgreesWithDecodingEveryRow();
    void navigation();
    void filterAndDeleteThenMove();
    void addAndProjectedUpdate();
    void transactionsThroughRecordsets();

private:
    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<Database> m_db;
    QString m_path;
};

void TstJetRecordset::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    m_path = m_dir->filePath(u"catalog.mdb"_s);
    QVERIFY(Database::create(m_path, kTables));
    auto db = Database::open(m_path);
    QVERIFY(db);
    m_db = db.take();
    QVERIFY(m_db->beginTransaction());
    for (const Row &r : kFiles)
        QVERIFY(m_db->insertRow(u"FILE_ATR"_s, r));
    QVERIFY(m_db->commit());
}

void TstJetRecordset::likePatterns_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<bool>("match");
    QTest::newRow("percent anywhere") << u"plan.p21"_s << u"%an%"_s << true;
    QTest::newRow("percent only") << u""_s << u"%"_s << true;
    QTest::newRow("underscore is one character") << u"abc"_s << u"a_c"_s << true;
    QTest::newRow("underscore is exactly one") << u"ac"_s << u"a_c"_s << false;
    QTest::newRow("case-insensitive") << u"IMG_0001.JPG"_s << u"img%.jpg"_s << true;
    QTest::newRow("quote is a character") << u"it's"_s << u"it's"_s << true;
    QTest::newRow("character list") << u"草案2019.doc"_s << u"[草素]案%"_s << true;
    QTest::newRow("character list is one character") << u"案2019"_s << u"[草案]案%"_s << false;
    QTest::newRow("range") << u"20191.txt"_s << u"2019[0-1]%"_s << true;
    QTest::newRow("outside the range") << u"20195.txt"_s << u"2019[0-1]%"_s << false;
    QTest::newRow("range without case") << u"D"_s << u"[a-z]"_s << true;
    QTest::newRow("negated list") << u"b1"_s << u"[!a]_"_s << true;
    QTest::newRow("negated list refuses") << u"a1"_s << u"[!a]_"_s << false;
    QTest::newRow("list after percent") << u"x_v2"_s << u"%v[0-9]"_s << true;
    QTest::newRow("unmatched bracket is literal") << u"[draft"_s << u"[draft"_s << true;
    QTest::newRow("bracket in a list") << u"[1]"_s << u"[[]1]"_s << true;
    QTest::newRow("star and question are characters") << u"abc"_s << u"a*"_s << false;
    QTest::newRow("hash is a character") << u"#1"_s << u"#_"_s << true;
    QTest::newRow("anchored at both ends") << u"xplan"_s << u"plan"_s << false;
    QTest::newRow("backtracking") << u"aXbXc"_s << u"%X_"_s << true;
    QTest::newRow("Japanese with U+3000") << u"橋梁　設計"_s << u"%　設%"_s << true;
    QTest::newRow("full-width is not half-width") << u"ＡＢＣ"_s << u"abc"_s << false;
}

void TstJetRecordset::likePatterns()
{
    QFETCH(QString, text);
    QFETCH(QString, pattern);
    QFETCH(bool, match);
    QCOMPARE(likeMatch(text, pattern), match);
}

void TstJetRecordset::conditions_data()
{
    QTest::addColumn<QList<Condition>>("where");
    QTest::addColumn<QStringList>("expected");
    QTest::newRow("equal text ignores case")
        << QList<Condition> { Condition::equal(u"fname"_s, u"PLAN.P21"_s) } << QStringList { u"plan.p21"_s };
    QTest::newRow("equal Long") << QList<Condition> { Condition::equal(u"pnID"_s, 2) }
                                << QStringList { u"IMG_0001.JPG"_s, u"img_0002.jpg"_s };
    QTest::newRow("equal null matches nothing")
        << QList<Condition> { Condition::equal(u"Class"_s, QVariant()) } << QStringList {};
    QTest::newRow("like keyword with quote and brackets")
        << QList<Condition> { Condition::like(u"kStr"_s, u"%'s [[]draft]%"_s) } << QStringList { u"Plan_B.sfc"_s };
    QTest::newRow("like percent sign in text needs only the pattern %")
        << QList<Condition> { Condition::like(u"kStr"_s, u"%100%"_s) } << QStringList { u"Plan_B.sfc"_s };
    QTest::newRow("like underscore") << QList<Condition> { Condition::like(u"fName"_s, u"img_000_.jpg"_s) }
                                     << QStringList { u"IMG_0001.JPG"_s, u"img_0002.jpg"_s };
    QTest::newRow("like skips nulls") << QList<Condition> { Condition::like(u"Class"_s, u"%"_s) }
                                      << QStringList { u"plan.p21"_s, u"IMG_0001.JPG"_s, u"Plan_B.sfc"_s,
                                             u"img_0002.jpg"_s, u"memo.rtf"_s };
    QTest::newRow("between dates inclusive")
        << QList<Condition> { Condition::between(u"fDate"_s, local(2024, 4, 1), local(2024, 4, 30, 23, 59, 59)) }
        << QStringList { u"plan.p21"_s, u"IMG_0001.JPG"_s, u"Plan_B.sfc"_s };
    QTest::newRow("between before 1899") << QList<Condition> { Condition::between(u"fDate"_s, local(1800, 1, 1),
        local(1899, 12, 31)) } << QStringList { u"memo.rtf"_s };
    QTest::newRow("between Longs and a like")
        << QList<Condition> { Condition::between(u"hsID"_s, 2, 5), Condition::like(u"fName"_s, u"%.jpg"_s) }
        << QStringList { u"IMG_0001.JPG"_s, u"img_0002.jpg"_s };
}

void TstJetRecordset::conditions()
{
    QFETCH(QList<Condition>, where);
    QFETCH(QStringList, expected);
    Query q(u"FILE_ATR"_s);
    q.conditions = where;
    auto rs = m_db->select(q);
    QVERIFY2(rs, qPrintable(rs.status().toString()));
    QCOMPARE(names(**rs), expected);
    QCOMPARE((*rs)->recordCount(), expected.size());
}

void TstJetRecordset::orderingAndGrouping()
{
    auto rs = m_db->select(Query(u"FILE_ATR"_s).select({ u"fName"_s, u"Class"_s }).order(u"Class"_s));
    QVERIFY(rs);
    QCOMPARE((*rs)->fieldCount(), 2);
    // Nulls first; equal keys keep their storage order.
    QCOMPARE(names(**rs),
        (QStringList {
            u"readme.txt"_s, u"IMG_0001.JPG"_s, u"img_0002.jpg"_s, u"plan.p21"_s, u"Plan_B.sfc"_s, u"memo.rtf"_s }));
    auto byName = m_db->select(Query(u"FILE_ATR"_s).order(u"fName"_s));
    QCOMPARE(names(**byName),
        (QStringList {
            u"IMG_0001.JPG"_s, u"img_0002.jpg"_s, u"memo.rtf"_s, u"plan.p21"_s, u"Plan_B.sfc"_s, u"readme.txt"_s }));
    auto byDate = m_db->select(Query(u"FILE_ATR"_s).order(u"fDate"_s, true));
    QCOMPARE(names(**byDate).first(), u"img_0002.jpg"_s);
    QCOMPARE(names(**byDate).last(), u"readme.txt"_s);

    QCOMPARE(m_db->select(Query(u"FILE_ATR"_s).select({ u"nope"_s })).status().code(), Status::Code::InvalidArgument);
    QCOMPARE(m_db->select(Query(u"NOPE"_s)).status().code(), Status::Code::NotFound);

    const auto groups = m_db->groupCount(u"FILE_ATR"_s, u"pnID"_s);
    QVERIFY(groups);
    QCOMPARE(groups->size(), 3);
    QCOMPARE(groups->at(0), (QPair<QVariant, int> { 1, 2 }));
    QCOMPARE(groups->at(2), (QPair<QVariant, int> { 3, 2 }));
    QVERIFY(m_db->insertRow(u"FILE_ATR"_s, Row { u"ZUMEN"_s, u"x"_s, QVariant(), QVariant(), 9, 9, QVariant() }));
    QVERIFY(m_db->insertRow(u"FILE_ATR"_s, Row { u"zumen"_s, u"y"_s, QVariant(), QVariant(), 9, 9, QVariant() }));
    const auto classes = m_db->groupCount(u"FILE_ATR"_s, u"Class"_s, { Condition::between(u"pnID"_s, 1, 9) });
    QCOMPARE(classes->size(), 4); // text groups ignore case; nulls are left out
    QCOMPARE(classes->first(), (QPair<QVariant, int> { u"ZUMEN"_s, 2 }));
}

void TstJetRecordset::queriesAgreeWithDecodingEveryRow_data()
{
    QTest::addColumn<QList<Condition>>("where");
    QTest::addColumn<QString>("orderBy");
    QTest::addColumn<bool>("descending");
    const QList<Condition> all;
    QTest::newRow("text equal, several hits")
        << QList<Condition> { Condition::equal(u"Class"_s, u"写真"_s) } << u""_s << false;
    QTest::newRow("compressed text equal ignores case")
        << QList<Condition> { Condition::equal(u"fName"_s, u"IMG_0002.JPG"_s) } << u""_s << false;
    QTest::newRow("like over all, by date descending")
        << QList<Condition> { Condition::like(u"fName"_s, u"%"_s) } << u"fDate"_s << true;
    QTest::newRow("date equal to the millisecond")
        << QList<Condition> { Condition::equal(u"fDate"_s, local(2024, 4, 30, 23, 59, 59)) } << u""_s << false;
    QTest::newRow("date equal to a QDate")
        << QList<Condition> { Condition::equal(u"fDate"_s, QDate(2024, 5, 1)) } << u""_s << false;
    QTest::newRow("dates across 1899, by date")
        << QList<Condition> { Condition::between(u"fDate"_s, local(1850, 6, 15, 18), local(2024, 4, 1, 9)) }
        << u"fDate"_s << false;
    QTest::newRow("Long equal to a double")
        << QList<Condition> { Condition::equal(u"pnID"_s, 2.0) } << u"kStr"_s << false;
    QTest::newRow("Long equal to text") << QList<Condition> { Condition::equal(u"pnID"_s, u"3"_s) } << u""_s << false;
    QTest::newRow("between with a null bound")
        << QList<Condition> { Condition::between(u"hsID"_s, QVariant(), 4) } << u""_s << false;
    QTest::newRow("no condition, by class descending") << all << u"Class"_s << true;
    QTest::newRow("no condition, by number") << all << u"hsID"_s << true;
}

// Every query is checked against decoding every row, matching with Condition::matches and
// sorting stably with compareValues: the same rows in the same order with the same values.
void TstJetRecordset::queriesAgreeWithDecodingEveryRow()
{
    QFETCH(QList<Condition>, where);
    QFETCH(QString, orderBy);
    QFETCH(bool, descending);
    // Two more rows for the less common paths: a date before 1899 (a negative OLE number with a
    // positive time of day) and a time with milliseconds.
    QVERIFY(m_db->insertRow(u"FILE_ATR"_s,
        Row { u"文書"_s, u"ms.doc"_s, local(2024, 4, 1, 9).addMSecs(123), u"x"_s, 3, 8, u"&HC0FFFF"_s }));

    Result<TableInfo> info = m_db->tableInfo(u"FILE_ATR"_s);
    QVERIFY(info);
    QList<RowId> ids;
    QList<Row> rows;
    m_db->scan(u"FILE_ATR"_s, [&](RowId id, const Row &row) {
        for (const Condition &c : where)
            if (!c.matches(row.at(info->columnIndex(c.column))))
                return true;
        ids.append(id);
        rows.append(row);
        return true;
    });
    if (!orderBy.isEmpty()) {
        const int col = info->columnIndex(orderBy);
        QList<int> order(rows.size());
        std::iota(order.begin(), order.end(), 0);
        std::stable_sort(order.begin(), order.end(), [&](int a, int b) {
            const int c = compareValues(rows.at(a).at(col), rows.at(b).at(col));
            return descending ? c > 0 : c < 0;
        });
        QList<RowId> sortedIds;
        QList<Row> sortedRows;
        for (int i : order) {
            sortedIds.append(ids.at(i));
            sortedRows.append(rows.at(i));
        }
        ids = sortedIds;
        rows = sortedRows;
    }

    Query q(u"FILE_ATR"_s);
    q.conditions = where;
    if (!orderBy.isEmpty())
        q.order(orderBy, descending);
    auto rs = m_db->select(q);
    QVERIFY2(rs, qPrintable(rs.status().toString()));
    Recordset &r = **rs;
    QCOMPARE(r.recordCount(), rows.size());
    int i = 0;
    for (r.moveFirst(); !r.eof(); r.moveNext(), ++i) {
        QCOMPARE(r.currentId(), ids.at(i));
        for (int f = 0; f < r.fieldCount(); ++f) {
            QCOMPARE(r.field(f), rows.at(i).at(f));
            // The accessors for showing many rows say the same as the fields.
            if (const auto ole = r.oleDate(f))
                QCOMPARE(fromOleDate(*ole), r.field(f).toDateTime());
            else if (const auto text = r.textField(f))
                QCOMPARE(text->toString(), r.field(f).toString());
            else
                QVERIFY(!r.field(f).isValid() || r.field(f).typeId() == QMetaType::Int);
        }
    }
}

// A table large enough to be searched in two halves at once: the same rows in the same order
// as decoding every row in one pass, equal keys across the halves kept in storage order.
void TstJetRecordset::largeTableAgreesWithDecodingEveryRow()
{
    const QStringList classes { u"図面"_s, u"写真"_s, u"文書"_s };
    QVERIFY(m_db->beginTransaction());
    for (int i = 0; i < 9000; ++i)
        QVERIFY(m_db->insertRow(u"FILE_ATR"_s,
            Row { i % 17 == 0 ? QVariant() : QVariant(classes.at(i % 3)), u"f%1.pdf"_s.arg(i),
                i % 50 == 0 ? QVariant() : QVariant(local(2024, 1, 1 + (i * 7) % 28, i % 2)), u"語 %1"_s.arg(i % 9),
                i % 10, i, u"&HC0FFFF"_s }));
    QVERIFY(m_db->commit());
    const test::OracleResult check = test::jetCheck(m_path, true);
    QVERIFY2(check.ok, qPrintable(check.output));
    Result<TableInfo> info = m_db->tableInfo(u"FILE_ATR"_s);
    QVERIFY(info);

    struct Case {
        QList<Condition> where;
        QString orderBy;
        bool descending = false;
    };
    const QList<Case> cases {
        { {}, {}, false },
        { { Condition::equal(u"Class"_s, u"写真"_s) }, u"fDate"_s, false },
        { { Condition::like(u"fName"_s, u"%1%"_s) }, u"fDate"_s, true },
        { {}, u"Class"_s, false },
        { { Condition::between(u"pnID"_s, 2, 5) }, u"hsID"_s, true },
    };
    for (const Case &c : cases) {
        QList<RowId> ids;
        QList<Row> rows;
        m_db->scan(u"FILE_ATR"_s, [&](RowId id, const Row &row) {
            for (const Condition &w : c.where)
                if (!w.matches(row.at(info->columnIndex(w.column))))
                    return true;
            ids.append(id);
            rows.append(row);
            return true;
        });
        QList<int> order(rows.size());
        std::iota(order.begin(), order.end(), 0);
        if (!c.orderBy.isEmpty()) {
            const int col = info->columnIndex(c.orderBy);
            std::stable_sort(order.begin(), order.end(), [&](int a, int b) {
                const int cmp = compareValues(rows.at(a).at(col), rows.at(b).at(col));
                return c.descending ? cmp > 0 : cmp < 0;
            });
        }
        Query q(u"FILE_ATR"_s);
        q.conditions = c.where;
        if (!c.orderBy.isEmpty())
            q.order(c.orderBy, c.descending);
        auto rs = m_db->select(q);
        QVERIFY2(rs, qPrintable(rs.status().toString()));
        Recordset &r = **rs;
        QCOMPARE(r.recordCount(), rows.size());
        int i = 0;
        for (r.moveFirst(); !r.eof(); r.moveNext(), ++i) {
            QCOMPARE(r.currentId(), ids.at(order.at(i)));
            for (int f = 0; f < r.fieldCount(); ++f)
                QCOMPARE(r.field(f), rows.at(order.at(i)).at(f));
        }
    }

    // A sorted result of both halves takes edits: a text many rows keep once changes for its
    // own row only, and a new row comes last.
    auto rs = m_db->select(Query(u"FILE_ATR"_s).where(Condition::equal(u"Class"_s, u"写真"_s)).order(u"fDate"_s));
    QVERIFY(rs);
    Recordset &r = **rs;
    const int count = r.recordCount();
    r.moveFirst();
    r.move(10);
    QVERIFY(r.setField(u"Class"_s, u"図面"_s));
    QVERIFY(r.update());
    for (int step : { -1, 1, 1 }) {
        r.move(step);
        QCOMPARE(r.field(u"Class"_s).toString(), step == 1 && r.position() == 10 ? u"図面"_s : u"写真"_s);
    }
    QVERIFY(r.addNew());
    QVERIFY(r.setField(u"fName"_s, u"new.pdf"_s));
    QVERIFY(r.update());
    QCOMPARE(r.recordCount(), count + 1);
    r.moveLast();
    QCOMPARE(r.field(u"fName"_s).toString(), u"new.pdf"_s);
    QCOMPARE(r.field(u"Class"_s), QVariant());
}

void TstJetRecordset::navigation()
{
    auto rs = m_db->openTable(u"FILE_ATR"_s);
    QVERIFY(rs);
    Recordset &r = **rs;
    QCOMPARE(r.recordCount(), 6);
    QVERIFY(!r.bof() && !r.eof());
    QCOMPARE(r.position(), 0);
    QCOMPARE(r.field(u"FNAME"_s).toString(), u"plan.p21"_s);
    QCOMPARE(r.field(1), r.field(u"fName"_s));
    r.movePrevious();
    QVERIFY(r.bof() && !r.eof());
    QCOMPARE(r.position(), -1);
    QCOMPARE(r.field(1), QVariant());
    r.moveNext();
    r.move(3);
    QCOMPARE(r.field(u"fName"_s).toString(), u"readme.txt"_s);
    QCOMPARE(r.field(u"Class"_s), QVariant());
    r.move(-2);
    QCOMPARE(r.position(), 1);
    r.moveLast();
    r.moveNext();
    r.moveNext();
    QVERIFY(r.eof() && !r.bof());
    r.movePrevious();
    QCOMPARE(r.field(u"fName"_s).toString(), u"memo.rtf"_s);
    r.move(100);
    QVERIFY(r.eof());
    r.move(-100);
    QVERIFY(r.bof());

    auto empty = m_db->select(Query(u"FILE_ATR"_s).where(Condition::equal(u"pnID"_s, 99)));
    (*empty)->moveFirst();
    (*empty)->moveLast();
    QVERIFY((*empty)->bof() && (*empty)->eof());
    QCOMPARE((*empty)->setField(0, 1).code(), Status::Code::InvalidArgument);
}

void TstJetRecordset::filterAndDeleteThenMove()
{
    auto rs = m_db->openTable(u"FILE_ATR"_s);
    Recordset &r = **rs;
    r.setFilter({ Condition::equal(u"pnID"_s, 2) });
    QVERIFY(r.filtered());
    QCOMPARE(r.recordCount(), 2);
    QCOMPARE(r.field(u"fName"_s).toString(), u"IMG_0001.JPG"_s);
    QCOMPARE(r.position(), 0);

    QVERIFY(r.deleteCurrent());
    QCOMPARE(r.field(u"fName"_s).toString(), u"IMG_0001.JPG"_s); // still on it until a move
    QCOMPARE(r.deleteCurrent().code(), Status::Code::InvalidArgument);
    r.moveNext();
    QCOMPARE(r.field(u"fName"_s).toString(), u"img_0002.jpg"_s);
    QCOMPARE(r.recordCount(), 1);
    r.movePrevious();
    QVERIFY(r.bof());

    r.clearFilter();
    QCOMPARE(r.recordCount(), 5);
    QCOMPARE(
        names(r), (QStringList { u"plan.p21"_s, u"Plan_B.sfc"_s, u"readme.txt"_s, u"img_0002.jpg"_s, u"memo.rtf"_s }));
    r.setFilter({ Condition::like(u"fName"_s, u"%.zip"_s) });
    QVERIFY(r.bof() && r.eof());
    r.setFilter({ Condition::equal(u"notInRecordset"_s, 1) });
    QCOMPARE(r.recordCount(), 0);

    QCOMPARE(m_db->tableInfo(u"FILE_ATR"_s)->rowCount, 5);
    auto again = m_db->openTable(u"FILE_ATR"_s);
    QCOMPARE((*again)->recordCount(), 5);
}

void TstJetRecordset::addAndProjectedUpdate()
{
    // A recordset over two columns: the table's other columns survive its updates.
    auto rs = m_db->select(
        Query(u"FILE_ATR"_s).select({ u"kStr"_s, u"fName"_s }).where(Condition::equal(u"fName"_s, u"plan.p21"_s)));
    Recordset &r = **rs;
    QCOMPARE(r.recordCount(), 1);
    QVERIFY(r.setField(u"kStr"_s, u"更新した　キーワード、かなり長くなって元の場所には収まらない"_s));
    QVERIFY(r.editing());
    QCOMPARE(r.field(u"kStr"_s).toString(), u"更新した　キーワード、かなり長くなって元の場所には収まらない"_s);
    QVERIFY(r.update());
    QVERIFY(!r.editing());
    const Row stored = *m_db->readRow(u"FILE_ATR"_s, r.currentId());
    QCOMPARE(stored.at(0).toString(), u"図面"_s);
    QCOMPARE(stored.at(2).toDateTime(), local(2024, 4, 1, 9));
    QCOMPARE(stored.at(3).toString(), u"更新した　キーワード、かなり長くなって元の場所には収まらない"_s);
    QCOMPARE(stored.at(6).toString(), u"&HFFFFC0"_s);

    QVERIFY(r.setField(u"fName"_s, QString(121, u'x')));
    QCOMPARE(r.update().code(), Status::Code::InvalidArgument); // a 121-character name does not fit
    r.cancelUpdate();
    QCOMPARE(r.field(u"fName"_s).toString(), u"plan.p21"_s);

    QVERIFY(r.addNew());
    QVERIFY(r.setField(1, u"new.dxf"_s));
    QVERIFY(r.update());
    QCOMPARE(r.recordCount(), 2);
    QCOMPARE(r.field(u"fName"_s).toString(), u"new.dxf"_s);
    QCOMPARE(r.field(u"kStr"_s), QVariant());
    const Row added = *m_db->readRow(u"FILE_ATR"_s, r.currentId());
    QCOMPARE(added, (Row { QVariant(), u"new.dxf"_s, QVariant(), QVariant(), QVariant(), QVariant(), QVariant() }));

    // Positional writes reach every column of the row.
    auto binders = m_db->openTable(u"BINDER_NAME"_s);
    QVERIFY((*binders)->addNew());
    for (int i = 0; i < 3; ++i)
        QVERIFY((*binders)->setField(i, i == 1 ? QVariant(u"バインダ"_s) : QVariant(i + 10)));
    QVERIFY((*binders)->update());
    QCOMPARE(test::scanAll(*m_db, u"BINDER_NAME"_s), (QList<Row> { Row { 10, u"バインダ"_s, 12 } }));
    m_db.reset();
    JET_VERIFY_ORACLES(m_path);
}

void TstJetRecordset::transactionsThroughRecordsets()
{
    QVERIFY(m_db->beginTransaction());
    QCOMPARE(m_db->beginTransaction().code(), Status::Code::InvalidArgument);
    auto rs = m_db->openTable(u"FILE_ATR"_s);
    QVERIFY((*rs)->deleteCurrent());
    QVERIFY((*rs)->addNew());
    QVERIFY((*rs)->setField(u"fName"_s, u"temp"_s));
    QVERIFY((*rs)->update());
    QCOMPARE(m_db->tableInfo(u"FILE_ATR"_s)->rowCount, 6);
    m_db->rollback();
    QVERIFY(!m_db->inTransaction());
    QCOMPARE(m_db->commit().code(), Status::Code::InvalidArgument);
    const QList<Row> rows = test::scanAll(*m_db, u"FILE_ATR"_s);
    QCOMPARE(rows, kFiles);
}

QTEST_GUILESS_MAIN(TstJetRecordset)
#include "tst_jetrecordset.moc"
