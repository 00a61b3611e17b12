// The catalogue searches on a real catalogue file: pattern or exact matching, user text that
// holds quotes, brackets and underscores, inclusive periods, ordering, binder contents,
// narrowing an open result, and the classification box's contents.
#include <QTemporaryDir>
#include <QTest>

#include "search/catalogqueries.h"
#include "search/classnarrowing.h"
#include "search/perioddate.h"
#include "search/searchtexts.h"
#include "searchcatalogue.h"

using namespace tolvane;
using namespace tolvane::search;
using tolvane::test::fileNames;
using namespace Qt::StringLiterals;

namespace {
const QString kAsagiri = QStringLiteral(u"朝霧\u3000凪");
const QString kMinase = QStringLiteral(u"水無瀬\u3000灯");
const QString kShimotsuki = QStringLiteral(u"霜月\u3000柊");
} // namespace

class TestCatalogSearch : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void keyword_data();
    void keyword();
    void fileName_data();
    void fileName();
    void classification();
    void period_data();
    void period();
    void periodThatIsNotADate();
    void folder();
    void binderContents();
    void narrowing();
    void classCombo();
    void listedDates();

private:
    QTemporaryDir m_dir;
    test::SearchCatalogue m_cat;
};

void TestCatalogSearch::initTestCase()
{
    QVERIFY(m_dir.isValid());
    QVERIFY(m_cat.create(m_dir.filePath(QStringLiteral("search.mdb"))));
    m_cat.addSampleFiles();
}

void TestCatalogSearch::keyword_data()
{
    QTest::addColumn<QString>("word");
    QTest::addColumn<QStringList>("expected");

    QTest::newRow("percent alone matches every keyword")
        << QStringLiteral("%")
        << QStringList { u"report.doc"_s, u"plan_a.pdf"_s, u"planXa.pdf"_s, u"O'Brien.txt"_s, u"[draft].txt"_s,
               u"a_c.txt"_s, u"memo.txt"_s };
    QTest::newRow("prefix pattern, any case")
        << QStringLiteral("ab%") << QStringList { u"report.doc"_s, u"plan_a.pdf"_s, u"planXa.pdf"_s };
    QTest::newRow("no percent is exact") << QStringLiteral("ab") << QStringList { u"plan_a.pdf"_s };
    QTest::newRow("exact ignores case") << QStringLiteral("AB") << QStringList { u"plan_a.pdf"_s };
    QTest::newRow("underscore without percent is a character") << QStringLiteral("a_c") << QStringList { u"a_c.txt"_s };
    QTest::newRow("underscore in a pattern is any character")
        << QStringLiteral("a_c%") << QStringList { u"report.doc"_s, u"a_c.txt"_s };
    QTest::newRow("apostrophe") << QStringLiteral("O'Brien") << QStringList { u"O'Brien.txt"_s };
    QTest::newRow("apostrophe in a pattern") << QStringLiteral("%'%") << QStringList { u"O'Brien.txt"_s };
    QTest::newRow("double quote finds nothing, fails nothing") << QStringLiteral("say \"hi\"%") << QStringList {};
    QTest::newRow("a bracket written as a list") << QStringLiteral("[[]draft]%") << QStringList { u"[draft].txt"_s };
    QTest::newRow("brackets exact") << QStringLiteral("[draft] notes") << QStringList { u"[draft].txt"_s };
    QTest::newRow("suffix pattern") << QStringLiteral("%notes") << QStringList { u"[draft].txt"_s };
    QTest::newRow("empty word is the empty keyword, not a missing one") << QString() << QStringList { u"memo.txt"_s };
    QTest::newRow("unknown") << QStringLiteral("zzz") << QStringList {};
}

void TestCatalogSearch::keyword()
{
    QFETCH(QString, word);
    QFETCH(QStringList, expected);
    RecordsetSlot set;
    const auto found = QueryByKeyword(m_cat.db(), set, word.trimmed());
    QVERIFY2(found.isOk(), qPrintable(found.status().toString()));
    QCOMPARE(found.value(), !expected.isEmpty());
    QVERIFY(set);
    QCOMPARE(set->columnNames(), catalogColumns());
    QCOMPARE(fileNames(*set), expected);
}

void TestCatalogSearch::fileName_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QStringList>("expected");

    QTest::newRow("exact") << QStringLiteral("plan_a.pdf") << QStringList { u"plan_a.pdf"_s };
    QTest::newRow("exact, other case") << QStringLiteral("REPORT.DOC") << QStringList { u"report.doc"_s };
    QTest::newRow("underscore wildcard in a pattern")
        << QStringLiteral("plan_a%") << QStringList { u"plan_a.pdf"_s, u"planXa.pdf"_s };
    QTest::newRow("extension pattern") << QStringLiteral(
        "%.txt") << QStringList { u"O'Brien.txt"_s, u"[draft].txt"_s, u"a_c.txt"_s, u"memo.txt"_s };
    QTest::newRow("apostrophe") << QStringLiteral("O'Brien.txt") << QStringList { u"O'Brien.txt"_s };
    QTest::newRow("bracket in a pattern") << QStringLiteral("%[%") << QStringList { u"[draft].txt"_s };
    QTest::newRow("bracket exact") << QStringLiteral("[draft].txt") << QStringList { u"[draft].txt"_s };
    QTest::newRow("closing bracket and quote") << QStringLiteral("%]'%") << QStringList {};
    QTest::newRow("part of a name without percent") << QStringLiteral("plan") << QStringList {};
}

void TestCatalogSearch::fileName()
{
    QFETCH(QString, name);
    QFETCH(QStringList, expected);
    RecordsetSlot set;
    const auto found = QueryByFileName(m_cat.db(), set, name);
    QVERIFY2(found.isOk(), qPrintable(found.status().toString()));
    QCOMPARE(found.value(), !expected.isEmpty());
    QCOMPARE(fileNames(*set), expected);
}

void TestCatalogSearch::classification()
{
    RecordsetSlot set;
    // Ordered by date, not by catalogue order.
    QVERIFY(QueryByClass(m_cat.db(), set, kShimotsuki).value());
    QCOMPARE(fileNames(*set), (QStringList { u"a_c.txt"_s, u"O'Brien.txt"_s }));
    QVERIFY(QueryByClass(m_cat.db(), set, kAsagiri).value());
    QCOMPARE(fileNames(*set), (QStringList { u"report.doc"_s, u"planXa.pdf"_s }));

    const auto quoted = QueryByClass(m_cat.db(), set, QStringLiteral("O'Neil"));
    QVERIFY(quoted.isOk());
    QVERIFY(!quoted.value());
    QVERIFY(set->bof());
}

void TestCatalogSearch::period_data()
{
    QTest::addColumn<QString>("start");
    QTest::addColumn<QString>("end");
    QTest::addColumn<QStringList>("expected");

    QTest::newRow("both ends inclusive, end day whole")
        << QStringLiteral("2009/12/30") << QStringLiteral("2009/12/31")
        << QStringList { u"report.doc"_s, u"plan_a.pdf"_s, u"O'Brien.txt"_s };
    QTest::newRow("one day") << QStringLiteral("2009-12-31") << QStringLiteral("2009-12-31")
                             << QStringList { u"plan_a.pdf"_s, u"O'Brien.txt"_s };
    QTest::newRow("month first, no leading zeros")
        << QStringLiteral("12/31/2009") << QStringLiteral("1/1/2010")
        << QStringList { u"plan_a.pdf"_s, u"O'Brien.txt"_s, u"planXa.pdf"_s };
    QTest::newRow("start with a time") << QStringLiteral("2009/12/31 12:00") << QStringLiteral("2010/01/01")
                                       << QStringList { u"O'Brien.txt"_s, u"planXa.pdf"_s };
    QTest::newRow("end with a time") << QStringLiteral("2009/12/31") << QStringLiteral("2009/12/31 15:29")
                                     << QStringList { u"plan_a.pdf"_s };
    QTest::newRow("end at that minute") << QStringLiteral("2009/12/31") << QStringLiteral("2009/12/31 15:30")
                                        << QStringList { u"plan_a.pdf"_s, u"O'Brien.txt"_s };
    QTest::newRow("start after end") << QStringLiteral("2010/01/01") << QStringLiteral("2009/12/30") << QStringList {};
    QTest::newRow("whole catalogue") << QStringLiteral("1900/01/01") << QStringLiteral("2100/12/31")
                                     << QStringList { u"a_c.txt"_s, u"memo.txt"_s, u"report.doc"_s, u"plan_a.pdf"_s,
                                            u"O'Brien.txt"_s, u"planXa.pdf"_s, u"[draft].txt"_s, u"scan.tif"_s };
}

void TestCatalogSearch::period()
{
    QFETCH(QString, start);
    QFETCH(QString, end);
    QFETCH(QStringList, expected);
    RecordsetSlot set;
    const auto found = QueryByPeriod(m_cat.db(), set, start, end);
    QVERIFY2(found.isOk(), qPrintable(found.status().toString()));
    QCOMPARE(found.value(), !expected.isEmpty());
    QCOMPARE(fileNames(*set), expected);
}

void TestCatalogSearch::periodThatIsNotADate()
{
    RecordsetSlot set;
    QVERIFY(QueryByKeyword(m_cat.db(), set, QStringLiteral("%")).value());
    // The untouched panel texts are not dates: the search fails and leaves no result behind.
    const auto found = QueryByPeriod(m_cat.db(), set, kStartDateText, kUntilText);
    QVERIFY(!found.isOk());
    QCOMPARE(found.status().code(), Status::Code::InvalidArgument);
    QVERIFY(!set);
    QVERIFY(!QueryByPeriod(m_cat.db(), set, QStringLiteral("2009/12/01"), QString()).isOk());
    QVERIFY(!QueryByPeriod(m_cat.db(), set, QStringLiteral("2009/02/30"), QStringLiteral("2009/12/31")).isOk());
}

void TestCatalogSearch::folder()
{
    RecordsetSlot set;
    QVERIFY(QueryByFolder(m_cat.db(), set, 1).value());
    QCOMPARE(fileNames(*set), (QStringList { u"report.doc"_s, u"plan_a.pdf"_s, u"planXa.pdf"_s, u"scan.tif"_s }));
    set->moveFirst();
    QCOMPARE(set->field(QStringLiteral("pnID")).toInt(), 1);
    QCOMPARE(set->field(QStringLiteral("hsID")).toInt(), 1);
    QCOMPARE(set->field(QStringLiteral("backC")).toString(), QStringLiteral("&HFFFFC0"));
    QCOMPARE(set->field(QStringLiteral("fDate")).toDateTime(), QDateTime(QDate(2009, 12, 30), QTime(0, 0)));

    const auto none = QueryByFolder(m_cat.db(), set, -1);
    QVERIFY(none.isOk());
    QVERIFY(!none.value());
}

void TestCatalogSearch::binderContents()
{
    QTemporaryDir dir;
    test::SearchCatalogue cat;
    QVERIFY(cat.create(dir.filePath(QStringLiteral("binders.mdb"))));
    cat.addBinderRow(5, QStringLiteral("third.pdf"), 1, 30);
    cat.addBinderRow(6, QStringLiteral("other.pdf"), 1, 1);
    cat.addBinderRow(5, QStringLiteral("first.pdf"), 2, 10);
    cat.addBinderRow(5, QStringLiteral("second.pdf"), 1, 20);
    cat.addBinderRow(5, QStringLiteral("first.pdf"), 2, 40);

    RecordsetSlot set;
    QVERIFY(QueryBinderContents(cat.db(), set, 5).value());
    QCOMPARE(set->columnNames(), binderColumns());
    QCOMPARE(fileNames(*set), (QStringList { u"first.pdf"_s, u"second.pdf"_s, u"third.pdf"_s, u"first.pdf"_s }));
    QVERIFY(!QueryBinderContents(cat.db(), set, 7).value());
}

void TestCatalogSearch::narrowing()
{
    RecordsetSlot set;
    QVERIFY(QueryByKeyword(m_cat.db(), set, QStringLiteral("%")).value());
    const QStringList all = fileNames(*set);

    QCOMPARE(NarrowByClass(set.get(), kMinase), NarrowOutcome::Narrowed);
    QCOMPARE(fileNames(*set), (QStringList { u"plan_a.pdf"_s, u"memo.txt"_s }));
    // A second narrowing replaces the first rather than narrowing further.
    QCOMPARE(
        NarrowByClass(set.get(), QStringLiteral("  ") + kShimotsuki + QStringLiteral(" ")), NarrowOutcome::Narrowed);
    QCOMPARE(fileNames(*set), (QStringList { u"O'Brien.txt"_s, u"a_c.txt"_s }));
    QCOMPARE(NarrowByClass(set.get(), kNoNarrowingItem), NarrowOutcome::Cleared);
    QCOMPARE(fileNames(*set), all);

    // A classification with a quote narrows to nothing; from then on every pick, the
    // no-narrowing item included, leaves the result empty until a new search.
    QCOMPARE(NarrowByClass(set.get(), QStringLiteral("O'Neil [x]")), NarrowOutcome::Emptied);
    QCOMPARE(set->recordCount(), 0);
    QVERIFY(set->bof());
    QCOMPARE(NarrowByClass(set.get(), kNoNarrowingItem), NarrowOutcome::Ignored);
    QCOMPARE(NarrowByClass(set.get(), kMinase), NarrowOutcome::Ignored);
    QCOMPARE(set->recordCount(), 0);

    // A new search brings a fresh, unfiltered result.
    QVERIFY(QueryByFileName(m_cat.db(), set, QStringLiteral("%.pdf")).value());
    QVERIFY(!set->filtered());
    QCOMPARE(fileNames(*set), (QStringList { u"plan_a.pdf"_s, u"planXa.pdf"_s }));

    // No result to narrow: nothing happens.
    QCOMPARE(NarrowByClass(nullptr, kMinase), NarrowOutcome::Ignored);
    QVERIFY(!QueryByKeyword(m_cat.db(), set, QStringLiteral("zzz")).value());
    QCOMPARE(NarrowByClass(set.get(), kNoNarrowingItem), NarrowOutcome::Ignored);
}

void TestCatalogSearch::classCombo()
{
    // Items come in order of their colour text.
    const auto narrowing = FillClassCombo(m_cat.db(), true);
    QVERIFY(narrowing.isOk());
    QCOMPARE(narrowing->items, (QStringList { kNoNarrowingItem, kMinase, kShimotsuki, kAsagiri }));
    QCOMPARE(narrowing->text, kNarrowCaption);

    const auto chooser = FillClassCombo(m_cat.db(), false);
    QVERIFY(chooser.isOk());
    QCOMPARE(chooser->items, (QStringList { kMinase, kShimotsuki, kAsagiri }));
    QCOMPARE(chooser->text, kChooseClassCaption);

    QTemporaryDir dir;
    QVERIFY(jet::Database::create(dir.filePath(QStringLiteral("empty.mdb")), catalog::catalogTables()).isOk());
    auto empty = jet::Database::open(dir.filePath(QStringLiteral("empty.mdb")));
    QVERIFY(empty.isOk());
    const auto none = FillClassCombo(*empty.value(), true);
    QVERIFY(none.isOk());
    QVERIFY(none->items.isEmpty());
    QCOMPARE(none->text, kNarrowCaption);
}

void TestCatalogSearch::listedDates()
{
    const auto dates = periodDates(m_cat.db());
    QVERIFY(dates.isOk());
    QStringList texts;
    for (const QDateTime &d : dates.value())
        texts.append(formatListedDate(d));
    QCOMPARE(texts,
        (QStringList { u"2009/06/15"_s, u"2009/12/29"_s, u"2009/12/30"_s, u"2009/12/31"_s, u"2009/12/31 15:30:00"_s,
            u"2010/01/01"_s, u"2010/01/02"_s, u"2010/02/01"_s }));
}

QTEST_GUILESS_MAIN(TestCatalogSearch)
#include "tst_catalogsearch.moc"
