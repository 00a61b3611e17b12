// Period bounds typed the ways people type dates, and the ones that are not dates.
#include <QTest>

#include "search/perioddate.h"

using namespace tolvane::search;

class TestPeriodDate : public QObject {
    Q_OBJECT

private slots:
    void understood_data();
    void understood();
    void refused_data();
    void refused();
};

void TestPeriodDate::understood_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QDateTime>("start");
    QTest::addColumn<QDateTime>("end");

    const QDate d(2009, 12, 31);
    const QDateTime dayStart(d, QTime(0, 0));
    const QDateTime dayEnd(d, QTime(23, 59, 59, 999));
    QTest::newRow("slashes") << QStringLiteral("2009/12/31") << dayStart << dayEnd;
    QTest::newRow("dashes") << QStringLiteral("2009-12-31") << dayStart << dayEnd;
    QTest::newRow("dots") << QStringLiteral("2009.12.31") << dayStart << dayEnd;
    QTest::newRow("compact") << QStringLiteral("20091231") << dayStart << dayEnd;
    QTest::newRow("month first") << QStringLiteral("12/31/2009") << dayStart << dayEnd;
    QTest::newRow("month first, dashes") << QStringLiteral("12-31-2009") << dayStart << dayEnd;
    QTest::newRow("blanks and date signs") << QStringLiteral("  #2009/12/31#  ") << dayStart << dayEnd;
    QTest::newRow("kanji") << QStringLiteral(u"2009年12月31日") << dayStart << dayEnd;
    QTest::newRow("full-width digits") << QStringLiteral(u"２００９／１２／３１") << dayStart << dayEnd;
    QTest::newRow("no leading zeros") << QStringLiteral("2010/1/5") << QDateTime(QDate(2010, 1, 5), QTime(0, 0))
                                      << QDateTime(QDate(2010, 1, 5), QTime(23, 59, 59, 999));
    QTest::newRow("day first when the month cannot be one") << QStringLiteral("31/12/2009") << dayStart << dayEnd;
    QTest::newRow("month first when both could be")
        << QStringLiteral("01/02/2010") << QDateTime(QDate(2010, 1, 2), QTime(0, 0))
        << QDateTime(QDate(2010, 1, 2), QTime(23, 59, 59, 999));

    QTest::newRow("hours and minutes") << QStringLiteral("2009/12/31 13:45") << QDateTime(d, QTime(13, 45))
                                       << QDateTime(d, QTime(13, 45, 59, 999));
    QTest::newRow("seconds") << QStringLiteral("2009-12-31 13:45:10") << QDateTime(d, QTime(13, 45, 10))
                             << QDateTime(d, QTime(13, 45, 10, 999));
    QTest::newRow("iso T") << QStringLiteral("2009-12-31T08:05:00") << QDateTime(d, QTime(8, 5))
                           << QDateTime(d, QTime(8, 5, 0, 999));
    QTest::newRow("pm") << QStringLiteral("12/31/2009 1:45 PM") << QDateTime(d, QTime(13, 45))
                        << QDateTime(d, QTime(13, 45, 59, 999));
    QTest::newRow("twelve am") << QStringLiteral("12/31/2009 12:10 am") << QDateTime(d, QTime(0, 10))
                               << QDateTime(d, QTime(0, 10, 59, 999));
    QTest::newRow("gogo") << QStringLiteral(u"2009/12/31 午後1:45") << QDateTime(d, QTime(13, 45))
                          << QDateTime(d, QTime(13, 45, 59, 999));
    QTest::newRow("kanji time") << QStringLiteral(u"2009年12月31日 9時05分30秒") << QDateTime(d, QTime(9, 5, 30))
                                << QDateTime(d, QTime(9, 5, 30, 999));
    QTest::newRow("midnight typed") << QStringLiteral("2009/12/31 0:00") << dayStart
                                    << QDateTime(d, QTime(0, 0, 59, 999));
}

void TestPeriodDate::understood()
{
    QFETCH(QString, text);
    QFETCH(QDateTime, start);
    QFETCH(QDateTime, end);
    QCOMPARE(parsePeriodBound(text, PeriodBound::Start), std::optional<QDateTime>(start));
    QCOMPARE(parsePeriodBound(text, PeriodBound::End), std::optional<QDateTime>(end));
}

void TestPeriodDate::refused_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("empty") << QString();
    QTest::newRow("blanks") << QStringLiteral("   ");
    QTest::newRow("start placeholder") << QStringLiteral(u"開始日付");
    QTest::newRow("end placeholder") << QStringLiteral(u"最終日付");
    QTest::newRow("until") << QStringLiteral(u"まで");
    QTest::newRow("no such day") << QStringLiteral("2009/02/30");
    QTest::newRow("month 13 both ways") << QStringLiteral("13/13/2009");
    QTest::newRow("two-digit year") << QStringLiteral("09/12/31");
    QTest::newRow("year and month only") << QStringLiteral("2009/12");
    QTest::newRow("trailing words") << QStringLiteral("2009/12/31 tomorrow");
    QTest::newRow("hour 24") << QStringLiteral("2009/12/31 24:00");
    QTest::newRow("13 pm") << QStringLiteral("2009/12/31 13:00 PM");
    QTest::newRow("minute 60") << QStringLiteral("2009/12/31 10:60");
    QTest::newRow("quote") << QStringLiteral("2009/12/31'");
    QTest::newRow("compact with more digits") << QStringLiteral("200912311");
}

void TestPeriodDate::refused()
{
    QFETCH(QString, text);
    QCOMPARE(parsePeriodBound(text, PeriodBound::Start), std::nullopt);
    QCOMPARE(parsePeriodBound(text, PeriodBound::End), std::nullopt);
}

QTEST_APPLESS_MAIN(TestPeriodDate)
#include "tst_perioddate.moc"
